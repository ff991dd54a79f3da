#include "core/SStringParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Parses text and returns the tokens, or {"<n>"} for a negative count.
std::vector<std::string> Split(const char* text, const char* separators, uint32_t options = 0,
                               char quote = '"')
{
    SStringParser parser(text);
    int count = parser.Parse(separators, options, quote);
    std::vector<std::string> tokens;
    if (count < 0)
        return {std::to_string(count)};
    EXPECT_EQ(count, parser.GetCount());
    for (int i = 0; i < parser.GetCount(); i++)
        tokens.push_back(parser.GetToken(i).Text());
    return tokens;
}

using Tokens = std::vector<std::string>;

}   // namespace

TEST(SStringParser, Quotes)
{
    EXPECT_EQ(Split("a,\"b,c\",d", ",", SPARSER_QUOTES), (Tokens {"a", "\"b,c\"", "d"}));
    EXPECT_EQ(Split("a,\"b,c\",d", ","), (Tokens {"a", "\"b", "c\"", "d"}));
    EXPECT_EQ(Split("x\"1,2\"y,z", ",", SPARSER_QUOTES), (Tokens {"x\"1,2\"y", "z"}));
    EXPECT_EQ(Split("'a b' c", " ", SPARSER_QUOTES, '\''), (Tokens {"'a b'", "c"}));
    EXPECT_EQ(Split("\"\",", ",", SPARSER_QUOTES), (Tokens {"\"\"", ""}));
    EXPECT_EQ(Split("a,\"b", ",", SPARSER_QUOTES), (Tokens {"-1"}));
    EXPECT_EQ(Split("\"", ",", SPARSER_QUOTES), (Tokens {"-1"}));
    // A quote that is also a separator is refused, and blanks only by trimming.
    EXPECT_EQ(Split("a,b", ",", SPARSER_QUOTES, ','), (Tokens {"-1"}));
    EXPECT_EQ(Split("a,b", ",", 0, ','), (Tokens {"-1"}));
    EXPECT_EQ(Split("a b", ",", SPARSER_TRIM, ' '), (Tokens {"-1"}));
    EXPECT_EQ(Split("a b", ",", 0, ' '), (Tokens {"a b"}));
    EXPECT_EQ(Split("a,b", nullptr), (Tokens {"a,b"}));
}

TEST(SStringParser, SeparatorsAndEmptyTokens)
{
    EXPECT_EQ(Split("a,", ","), (Tokens {"a", ""}));
    EXPECT_EQ(Split(",", ","), (Tokens {"", ""}));
    EXPECT_EQ(Split("a,,b", ","), (Tokens {"a", "", "b"}));
    EXPECT_EQ(Split("a;b,c", ",;"), (Tokens {"a", "b", "c"}));
    EXPECT_EQ(Split("a , b", ","), (Tokens {"a ", " b"}));
    EXPECT_EQ(Split("a , b", ",", SPARSER_TRIM), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("  ,\t b\t ", ",", SPARSER_TRIM), (Tokens {"", "\t b\t"}));
    // Blank separators: a run counts once.
    EXPECT_EQ(Split("a \t b", " \t"), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("a   b  ", " "), (Tokens {"a", "b"}));
    EXPECT_EQ(Split(" a", " "), (Tokens {"", "a"}));
    // With only space separating blanks, a tab after the run is text.
    EXPECT_EQ(Split("a \tb", " "), (Tokens {"a", "\tb"}));
    EXPECT_EQ(Split("a \t b", " ,\t"), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("a \t b", " ,"), (Tokens {"a", "\t", "b"}));
    // A separator right behind a blank run merges with it.
    EXPECT_EQ(Split("a ,b", ", "), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("a  ,,b", ", "), (Tokens {"a", "", "b"}));
    EXPECT_EQ(Split("a, b", ", "), (Tokens {"a", "", "b"}));
    EXPECT_EQ(Split("\"x  y\"  z", " ", SPARSER_QUOTES), (Tokens {"\"x  y\"", "z"}));
}

TEST(SStringParser, StateAcrossCalls)
{
    SStringParser parser("one,Two");
    EXPECT_EQ(parser.Parse(",", SPARSER_QUOTES | SPARSER_TRIM, '\''), 2);
    EXPECT_TRUE(parser.IsQuote('\'') && !parser.IsQuote('"') && !parser.IsSeparator(0));
    EXPECT_STREQ(parser.GetToken(2).Text(), "");
    EXPECT_STREQ(parser.GetToken(-1).Text(), "");
    EXPECT_EQ(parser.Find("Two"), 1);
    EXPECT_EQ(parser.Find("two"), -1);
    EXPECT_EQ(parser.Find("two", false), 1);

    // A new parse replaces the tokens; an empty text changes nothing.
    parser = "x";
    EXPECT_EQ(parser.Parse(","), 1);
    parser = "";
    EXPECT_EQ(parser.Parse(";"), 0);
    EXPECT_EQ(parser.GetCount(), 1);
    EXPECT_STREQ(parser.GetSeparators().Text(), ",");

    // A failure resets everything but the text.
    parser = "\"open,a";
    EXPECT_EQ(parser.Parse(",", SPARSER_QUOTES), -1);
    EXPECT_TRUE(parser.GetCount() == 0 && parser.GetSeparators().IsEmpty());
    EXPECT_TRUE(parser.GetOptions() == 0 && !parser.IsQuote('"'));
    EXPECT_STREQ(parser.Text(), "\"open,a");
}

TEST(SStringParser, OutsideArray)
{
    SStringArray out;
    out.Add("kept");
    SStringParser parser("a,b");
    EXPECT_EQ(parser.Parse(",", 0, '"', &out), 2);
    EXPECT_EQ(parser.GetCount(), 0);
    EXPECT_STREQ(out.Join("|").Text(), "kept|a|b");

    parser = "c,\"d";
    EXPECT_EQ(parser.Parse(",", SPARSER_QUOTES, '"', &out), -1);
    EXPECT_STREQ(out.Join("|").Text(), "kept|a|b");
}

TEST(SStringParser, NextTokenSteps)
{
    SStringParser parser("a,b,");
    ASSERT_TRUE(parser.Start(","));
    SString token;
    for (const char* expected : {"a", "b", ""}) {
        EXPECT_EQ(parser.NextToken(token), 1);
        EXPECT_STREQ(token.Text(), expected);
    }
    EXPECT_EQ(parser.NextToken(token), 0);
    EXPECT_FALSE(parser.Start(",", 0, ','));

    SStringParser open("\"x");
    ASSERT_TRUE(open.Start(",", SPARSER_QUOTES));
    EXPECT_EQ(open.NextToken(token), -1);
    EXPECT_EQ(open.NextToken(token), 0);
}
