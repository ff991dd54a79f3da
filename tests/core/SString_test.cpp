#include "core/SString.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <stdio.h>

#include <string>

TEST(SString, CapacityGrowsInSixteenByteStepsAndNeverShrinks)
{
    SString s;
    EXPECT_EQ(s.GetCapacity(), 16);
    // 15 + 1 is a multiple of 16: the next one up is needed.
    const int steps[][2] = {{14, 16},   {15, 32}, {16, 32}, {31, 48},
                            {100, 112}, {0, 112}, {-7, 112}};
    for (const auto& step : steps) {
        s.SetLength(step[0]);
        EXPECT_EQ(s.GetCapacity(), step[1]) << step[0];
        EXPECT_EQ(s.Text()[s.GetLength()], 0);
    }
    EXPECT_EQ(s.GetLength(), 0);

    SString filled("ab");   // growing keeps the characters
    filled.SetLength(5, 'x');
    filled.SetLength(3, 'y');
    EXPECT_STREQ(filled.Text(), "abx");
}

TEST(SString, AssignAppendAndCopy)
{
    SString s;
    s.Assign("abcdef", 3);
    EXPECT_STREQ(s.Text(), "abc");
    s.Assign(static_cast<const char*>(nullptr));
    s.Assign(static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(s.IsEmpty());

    s = "0123456789";
    s.Append(s.Text());   // own text, reallocation on the way
    s.Append(s.Text() + 18);
    EXPECT_STREQ(s.Text(), "0123456789012345678989");
    s.Assign(s.Text() + 10, 4);
    s.Assign(s.Text() + 1, 2);   // the terminator lands inside the source
    EXPECT_STREQ(s.Text(), "12");
    s += '\0';
    EXPECT_EQ(s.GetLength(), 2);

    SString a("text");
    a.SetData(0, 7);
    a.SetData(1, 9);
    EXPECT_EQ(SString(a).GetData(0), 0u);
    SString b;
    b.Copy(a, true);
    EXPECT_STREQ(b.Text(), "text");
    EXPECT_TRUE(b.GetData(0) == 7 && b.GetData(1) == 9);

    SString moved(static_cast<SString&&>(a));
    EXPECT_STREQ(moved.Text(), "text");
    EXPECT_STREQ(a.Text(), "");
    a = "again";   // a moved-from string is usable
    EXPECT_STREQ(("<" + a + "," + SString("z")).Text(), "<again,z");

#ifdef _WIN32
    s.Assign(L"caf\u00e9 0123456789abcdef");   // e acute exists in the ANSI code pages we run on
    EXPECT_EQ(s.GetLength(), 21);
    EXPECT_EQ((unsigned char)s.GetAt(3), 0xE9);
#else
    s.Assign(L"caf\u00e9");
    EXPECT_STREQ(s.Text(), "caf?");
#endif
}

TEST(SString, CharactersCompareAndCase)
{
    SString s("hello");
    EXPECT_EQ(s.GetAt(-1), 0);
    EXPECT_EQ(s.GetAt(5), 0);
    s.SetAt(-1, 'x');
    s.SetAt(5, 'x');
    s.SetAt(0, 'j');
    EXPECT_STREQ(s.Text(), "jello");
    s.SetAt(2, 0);
    EXPECT_EQ(s.GetLength(), 2);

    SString abc("abc");
    EXPECT_EQ(abc.Compare("abe"), -1);   // a byte difference of 2 still gives -1
    EXPECT_EQ(abc.Compare("abc"), 0);
    EXPECT_EQ(abc.Compare("ab"), 1);
    EXPECT_EQ(abc.Compare(nullptr), 1);
    EXPECT_EQ(abc.CompareNoCase("ABC"), 0);
    EXPECT_EQ(abc.CompareNoCase("ABZ"), -1);
    EXPECT_TRUE(abc == "abc" && abc != "ABC");
}

TEST(SString, FindRanges)
{
    SString s("abcabc");
    struct {
        int start, count, expected;
    } chars[] = {{0, -1, 0}, {1, -1, 3},  {-5, -1, 0}, {1, 2, -1},
                 {1, 3, 3},  {6, -1, -1}, {5, 9, -1}};
    for (const auto& c : chars)
        EXPECT_EQ(s.Find('a', c.start, c.count), c.expected) << c.start << "," << c.count;
    EXPECT_EQ(s.Find('c', 4, 100), 5);   // a count past the end means to the end
    EXPECT_EQ(SString("aaab").FindNot('a', 0, 3), -1);
    EXPECT_EQ(SString("aaab").FindNot('a', 1), 3);

    struct {
        int start, count, expected;
    } texts[] = {{0, -1, 1}, {2, -1, 4}, {0, 2, -1}, {0, 3, 1}, {3, 2, -1}, {5, -1, -1}};
    for (const auto& t : texts)
        EXPECT_EQ(s.Find("bc", t.start, t.count), t.expected) << t.start << "," << t.count;
    EXPECT_EQ(s.Find("abcabcx"), -1);
    SString cut("abcabcxa");   // "xa" stays in the buffer behind the terminator
    cut.SetLength(6);
    EXPECT_EQ(cut.Find('a', 4, 100), -1);
    EXPECT_EQ(cut.Find("xa", 0, 100), -1);
    EXPECT_EQ(s.Find(""), -1);

    SString h("Hello World");
    EXPECT_EQ(h.FindNoCase("WORLD"), 6);
    EXPECT_EQ(h.FindNoCase("world", 0, -1, true), 11);
    EXPECT_EQ(h.FindNoCase("world", 0, 10), -1);

    EXPECT_EQ(s.ReverseFind('a'), 3);
    EXPECT_EQ(s.ReverseFind('a', 2), 0);
    EXPECT_EQ(s.ReverseFind('c', 5), 5);
    EXPECT_EQ(s.ReverseFind('a', 6), -1);
    EXPECT_EQ(s.ReverseFind('a', -2), -1);
}

TEST(SString, TextTests)
{
    EXPECT_EQ(SString().CountLines(), 1);
    EXPECT_EQ(SString("a\r\nb\r\n").CountLines(), 3);
    EXPECT_EQ(SString("a\nb\n\r").CountLines(), 1);
    EXPECT_EQ(SString("\r\r\n\n").CountLines(), 2);

    EXPECT_TRUE(SString("\"a b\"").IsQuoted());
    EXPECT_TRUE(SString("\"\"").IsQuoted());
    EXPECT_FALSE(SString("\"").IsQuoted());
    EXPECT_FALSE(SString("\"a\"b\"").IsQuoted());
    EXPECT_TRUE(SString("'x'").IsQuoted('\''));

    for (const char* text : {"0", "-12", "3.25", " \t-0.5 \t", ".5", "-.5", "007"})
        EXPECT_TRUE(SString(text).IsNumber()) << text;
    for (const char* text :
         {"", "  ", "-", " - ", "5.", "1.2.3", "1-2", "--1", "1 2", "+1", "1e5", ".", "-."})
        EXPECT_FALSE(SString(text).IsNumber()) << text;
    EXPECT_TRUE(SString(" -42 ").IsInteger());
    EXPECT_FALSE(SString("4.2").IsInteger());

    for (const char* text : {"FF", "ff", "#Ff", "0xff", "0XFF", "00ff"})
        EXPECT_EQ(SString(text).HexToUInt64(), 255u) << text;
    EXPECT_EQ(SString("FFFFFFFFFFFFFFFF").HexToUInt64(), UINT64_MAX);
    EXPECT_EQ(SString("#0123456789abcdef").HexToUInt64(), 0x0123456789ABCDEFull);
    for (const char* text :
         {"00000000000000001", "0x1FFFFFFFFFFFFFFFF", "12G4", " FF", "##FF", "0x", ""})
        EXPECT_EQ(SString(text).HexToUInt64(), 0u) << text;
}

TEST(SString, FormatMatchesTheRuntime)
{
    SString s;
    EXPECT_EQ(s.Format("%d-%s-%c-%%", -42, "text", 'z'), 12);
    EXPECT_STREQ(s.Text(), "-42-text-z-%");

    char expected[4096];
#define EXPECT_FORMAT(...)                                                                         \
    s.Format(__VA_ARGS__);                                                                         \
    snprintf(expected, sizeof expected, __VA_ARGS__);                                              \
    EXPECT_STREQ(s.Text(), expected);                                                              \
    EXPECT_GT(s.GetCapacity(), s.GetLength())

    EXPECT_FORMAT("%*d|%-*d|%.*s", 40, 7, -30, 8, 2, "abcdef");
    EXPECT_FORMAT("%f", 1e308);
    EXPECT_FORMAT("%.100e|%g|%#x|%o|%llu", -1.5, 0.1, 255u, 8u, 18446744073709551615ull);
    EXPECT_FORMAT("%500s|%.0f|%5c|%.40d", "r", 2.5, 'c', 3);
    EXPECT_FORMAT("%s%s%u", std::string(3000, 'q').c_str(), "!", 12345u);
#undef EXPECT_FORMAT

    // The size comes from the directives alone: small values get room for the largest.
    SString small, large;
    small.Format("%lld %#llo %c", 1ll, 1ull, 'a');
    large.Format("%lld %#llo %c", LLONG_MIN, ULLONG_MAX, 'a');
    EXPECT_GT(small.GetCapacity(), large.GetLength());

    s = "abc";
    s.Format("[%s|%s]", s.Text(), s.Text());   // its own text as argument
    EXPECT_STREQ(s.Text(), "[abc|abc]");
    SString big;
    big.SetLength(1000);
    big.Format("x");
    EXPECT_EQ(big.GetCapacity(), 1008);   // never shrinks
    EXPECT_STREQ(big.Text(), "x");
}

TEST(SString, SubstringsTrimAndReplace)
{
    SString s("abcdef");
    EXPECT_STREQ(s.Left(2).Text(), "ab");
    EXPECT_STREQ(s.Left(99).Text(), "abcdef");
    EXPECT_STREQ(s.Right(2).Text(), "ef");
    EXPECT_STREQ(s.Mid(2, 2).Text(), "cd");
    EXPECT_STREQ(s.Mid(-3, 2).Text(), "ab");
    EXPECT_STREQ(s.Mid(6).Text(), "");
    EXPECT_STREQ(s.Mid(4, 100).Text(), "ef");

    SString t(" \t\r\n a b \n");
    t.Trim();
    EXPECT_STREQ(t.Text(), "a b");

    SString r("a.b.c");
    EXPECT_EQ(r.Replace(".", "::"), 2);
    EXPECT_STREQ(r.Text(), "a::b::c");
    EXPECT_EQ(r.Replace("::", nullptr), 2);
    EXPECT_STREQ(r.Text(), "abc");
    EXPECT_EQ(r.Replace("", "x"), 0);
    SString many;
    many.SetLength(1000, 'x');
    EXPECT_EQ(many.Replace("x", "yz"), 1000);
    EXPECT_EQ(many.Find("xy"), -1);
    EXPECT_EQ(many.GetLength(), 2000);
    SString overlap("aaaa");
    EXPECT_EQ(overlap.Replace("aa", "a"), 2);
    EXPECT_STREQ(overlap.Text(), "aa");
    SString path("a/b/c");
    EXPECT_EQ(path.Replace('/', '\\'), 2);
    EXPECT_EQ(path.Replace('\\', '\0'), 0);
    EXPECT_STREQ(path.Text(), "a\\b\\c");
}
