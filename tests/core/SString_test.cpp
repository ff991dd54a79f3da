#include "core/SString.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <stdio.h>

#include <string>

TEST(SString, CapacityGrowsInSixteenByteStepsAndNeverShrinks)
{
    SString s;
    // 15 + 1 is a multiple of 16: the next one up is needed.
    const int steps[][2] = {{0, 16}, {15, 32}, {100, 112}, {-7, 112}};
    for (const auto& step : steps) {
        s.SetLength(step[0]);
        EXPECT_EQ(s.GetCapacity(), step[1]) << step[0];
        EXPECT_EQ(s.Text()[s.GetLength()], 0);
    }
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
    SString moved(static_cast<SString&&>(a));
    EXPECT_TRUE(moved == "text" && a == "");
    a = "again";   // a moved-from string is usable
    EXPECT_STREQ(("<" + a + "," + SString("z")).Text(), "<again,z");
}

TEST(SString, CharactersCompareAndCase)
{
    SString s("hello");
    EXPECT_TRUE(s.GetAt(-1) == 0 && s.GetAt(5) == 0);
    s.SetAt(-1, 'x');
    s.SetAt(5, 'x');
    s.SetAt(2, 0);
    EXPECT_TRUE(s == "he" && s.GetLength() == 2);

    SString abc("abc");
    EXPECT_EQ(abc.Compare("abe"), -1);   // a byte difference of 2 still gives -1
    EXPECT_TRUE(abc.Compare("ab") == 1 && abc.Compare(nullptr) == 1);
    EXPECT_TRUE(abc.CompareNoCase("ABC") == 0 && abc.CompareNoCase("ABZ") == -1);
    EXPECT_TRUE(abc == "abc" && abc != "ABC");
    EXPECT_TRUE(SString("\"\"").IsQuoted() && SString("'x'").IsQuoted('\''));
    EXPECT_FALSE(SString("\"").IsQuoted() || SString("\"a\"b\"").IsQuoted());
    // Numbers: digits, at most one point that is not last, a minus only first.
    for (const char* number : {" -12.5\t", ".5", "007"})
        EXPECT_TRUE(SString(number).IsNumber()) << number;
    for (const char* other : {"12.", "-", "1.2.3", "1-2", "1 2", "1e3", " \t"})
        EXPECT_FALSE(SString(other).IsNumber()) << other;
    EXPECT_TRUE(SString("-3").IsInteger() && !SString("3.5").IsInteger());
}

TEST(SString, FindRanges)
{
    SString s("abcabc");
    struct {
        int start, count, expected;
    } chars[] = {{0, -1, 0}, {1, -1, 3}, {-5, -1, 0}, {1, 2, -1},
                 {1, 3, 3},  {2, 99, 3}, {6, -1, -1}, {5, 9, -1}};   // 99: to the end
    for (const auto& c : chars)
        EXPECT_EQ(s.Find('a', c.start, c.count), c.expected) << c.start << "," << c.count;

    struct {
        int start, count, expected;
    } texts[] = {{0, -1, 1}, {2, -1, 4}, {0, 2, -1}, {0, 3, 1}, {3, 2, -1}, {5, -1, -1}};
    for (const auto& t : texts)
        EXPECT_EQ(s.Find("bc", t.start, t.count), t.expected) << t.start << "," << t.count;
    EXPECT_TRUE(s.Find("abcabcx") == -1 && s.Find("") == -1);
    SString cut("abcabcxa");   // "xa" stays in the buffer behind the terminator
    cut.SetLength(6);
    EXPECT_TRUE(cut.Find('a', 4, 100) == -1 && cut.Find("xa", 0, 100) == -1);
    EXPECT_EQ(SString("Hello World").FindNoCase("world", 0, -1, true), 11);
    EXPECT_TRUE(s.ReverseFind('a') == 3 && s.ReverseFind('a', 2) == 0 &&
                s.ReverseFind('a', 6) == -1);
}

TEST(SString, FormatMatchesTheRuntime)
{
    SString s;
    EXPECT_TRUE(s.Format("%d-%s-%c-%%", -42, "text", 'z') == 12 && s == "-42-text-z-%");

    char expected[4096];
#define EXPECT_FORMAT(...)                                                                         \
    s.Format(__VA_ARGS__);                                                                         \
    snprintf(expected, sizeof expected, __VA_ARGS__);                                              \
    EXPECT_STREQ(s.Text(), expected);                                                              \
    EXPECT_GT(s.GetCapacity(), s.GetLength())

    EXPECT_FORMAT("%*d|%-*d|%.*s", 40, 7, -30, 8, 2, "abcdef");
    EXPECT_FORMAT("%f|%.100e|%#x|%llu", 1e308, -1.5, 255u, 18446744073709551615ull);
    EXPECT_FORMAT("%500s|%.40d|%s", "r", 3, std::string(3000, 'q').c_str());
#undef EXPECT_FORMAT

    // The size comes from the directives alone: small values get room for the largest.
    SString small, large;
    small.Format("%lld %#llo %c", 1ll, 1ull, 'a');
    large.Format("%lld %#llo %c", LLONG_MIN, ULLONG_MAX, 'a');
    EXPECT_GT(small.GetCapacity(), large.GetLength());

    s = "abc";
    s.Format("[%s|%s]", s.Text(), s.Text());   // its own text as argument
    EXPECT_STREQ(s.Text(), "[abc|abc]");
}

TEST(SString, SubstringsTrimAndReplace)
{
    SString s("abcdef");
    EXPECT_EQ(s.Left(99) + s.Right(2) + s.Mid(-3, 2) + "|" + s.Mid(6) + s.Mid(4, 100),
              "abcdefefab|ef");

    SString t(" \t\r\n a b \n");
    t.Trim();
    EXPECT_STREQ(t.Text(), "a b");

    SString r("a.b.c");
    EXPECT_TRUE(r.Replace(".", "::") == 2 && r == "a::b::c");
    EXPECT_TRUE(r.Replace("::", nullptr) == 2 && r.Replace("", "x") == 0 && r == "abc");
    SString many;
    many.SetLength(1000, 'x');
    EXPECT_EQ(many.Replace("x", "yz"), 1000);
    EXPECT_TRUE(many.Find("xy") == -1 && many.GetLength() == 2000);
    SString overlap("aaaa");
    EXPECT_TRUE(overlap.Replace("aa", "a") == 2 && overlap == "aa");
    SString path("a/b/c");
    EXPECT_TRUE(path.Replace('/', '\\') == 2 && path.Replace('\\', '\0') == 0 && path == "a\\b\\c");
}
