#include "core/SVersion.h"

#include <gtest/gtest.h>

TEST(SVersion, ParsesOnlyOneToFourBoundedNumbers)
{
    struct Row {
        const char* text;
        const char* parsed;   // null: refused
    } rows[] = {
        {"2", "2.0.0.0"},       {"2.1", "2.1.0.0"},
        {"1.0.0.7", "1.0.0.7"}, {"65535.0.00012.65535", "65535.0.12.65535"},
        {"65536", nullptr},     {"1.99999999999", nullptr},
        {"1.2.3.4.5", nullptr}, {"", nullptr},
        {"1..2", nullptr},      {".1", nullptr},
        {"1.", nullptr},        {"v2.1", nullptr},
        {"2.1-beta", nullptr},  {"+2", nullptr},
        {" 2", nullptr},        {"2 ", nullptr},
    };
    for (const Row& row : rows) {
        SVersion version(0x00090009, 0x00090009);
        EXPECT_EQ(version.Parse(row.text), row.parsed != nullptr) << row.text;
        EXPECT_STREQ(version.GetText().Text(), row.parsed ? row.parsed : "9.9.9.9") << row.text;
    }
    EXPECT_FALSE(SVersion().Parse(nullptr));
}

TEST(SVersion, OrdersPartByPartAndMatchesTheFixedFileVersion)
{
    SVersion fixed(0x00020001, 0x00000003);
    EXPECT_TRUE(fixed.GetText() == "2.1.0.3" && fixed.GetPacked() == 0x0002000100000003ull);

    struct Row {
        const char *a, *b;
        int order;
    } rows[] = {
        {"2.1", "2.1.0.0", 0}, {"1.10", "1.9", 1},  {"1.9", "1.10", -1},
        {"2", "1.65535", 1},   {"1.0.0.1", "1", 1}, {"0.0.0.1", "0.0.1", -1},
    };
    for (const Row& row : rows) {
        SVersion a, b;
        ASSERT_TRUE(a.Parse(row.a) && b.Parse(row.b));
        EXPECT_EQ(a.Compare(b), row.order) << row.a << " vs " << row.b;
    }
}
