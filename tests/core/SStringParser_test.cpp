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
    EXPECT_EQ(Split("'a b' c", " ", SPARSER_QUOTES, '\''), (Tokens {"'a b'", "c"}));
    EXPECT_EQ(Split("\"\",", ",", SPARSER_QUOTES), (Tokens {"\"\"", ""}));
    EXPECT_EQ(Split("a,\"b", ",", SPARSER_QUOTES), (Tokens {"-1"}));
    // A quote that is also a separator is refused, and blanks only by trimming.
    EXPECT_EQ(Split("a,b", ",", SPARSER_QUOTES, ','), (Tokens {"-1"}));
    EXPECT_EQ(Split("a b", ",", SPARSER_TRIM, ' '), (Tokens {"-1"}));
    EXPECT_EQ(Split("a b", ",", 0, ' '), (Tokens {"a b"}));
    EXPECT_EQ(Split("a,b", nullptr), (Tokens {"a,b"}));
}

TEST(SStringParser, SeparatorsAndEmptyTokens)
{
    EXPECT_EQ(Split("a,", ","), (Tokens {"a", ""}));
    EXPECT_EQ(Split("a,,b", ","), (Tokens {"a", "", "b"}));
    EXPECT_EQ(Split("a , b", ",", SPARSER_TRIM), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("  ,\t b\t ", ",", SPARSER_TRIM), (Tokens {"", "\t b\t"}));
    // Blank separators: a run counts once.
    EXPECT_EQ(Split(" a", " "), (Tokens {"", "a"}));
    // With only space separating blanks, a tab after the run is text.
    EXPECT_EQ(Split("a \tb", " "), (Tokens {"a", "\tb"}));
    EXPECT_EQ(Split("a \t b", " ,"), (Tokens {"a", "\t", "b"}));
    // A separator right behind a blank run merges with it.
    EXPECT_EQ(Split("a ,b", ", "), (Tokens {"a", "b"}));
    EXPECT_EQ(Split("a  ,,b", ", "), (Tokens {"a", "", "b"}));
    EXPECT_EQ(Split("\"x  y\"  z", " ", SPARSER_QUOTES), (Tokens {"\"x  y\"", "z"}));
}
