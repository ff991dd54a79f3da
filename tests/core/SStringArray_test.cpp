#include "core/SArray.h"
#include "core/SStringArray.h"

#include <gtest/gtest.h>

TEST(SArray, InsertRemoveAndFindRanges)
{
    SArray<int> a;
    for (int v : {1, 2, 3, 5})
        a.Add(v);
    EXPECT_EQ(a.Insert(9, 1000), 4);   // clamped to the end
    // Fewer new slots than elements behind them: the move must go from the back.
    EXPECT_EQ(a.Insert(7, 1, 2), 1);
    int expected[] = {1, 7, 7, 2, 3, 5, 9};
    ASSERT_EQ(a.GetCount(), 7);
    for (int i = 0; i < 7; i++)
        EXPECT_EQ(a.GetAt(i), expected[i]) << i;
    EXPECT_TRUE(a.Insert(5, 0, 0) == -1 && a.Insert(5, -1, -2) == -1);
    EXPECT_EQ(a.Insert(4, -5, 2), 7);

    // Find's end is not included; a start at the count finds nothing.
    EXPECT_TRUE(a.Find(7, 2) == 2 && a.Find(2, 1, 3) == -1 && a.Find(9, 1, 99) == 6);
    EXPECT_TRUE(a.Find(4, 9) == -1 && a.Find(1, -1) == -1);

    EXPECT_TRUE(a.RemoveAt(1, 4) == 4 && a.GetAt(1) == 5);
    EXPECT_EQ(a.RemoveAt(3, 100), 2);
    EXPECT_TRUE(a.GetCount() == 3 && a.RemoveAt(3) == 0);
}

TEST(SStringArray, OwnsCopiesAndComparesByFlags)
{
    SStringArray a;
    char buffer[] = "Name";
    a.Add(buffer);
    buffer[0] = 'X';   // the element is a copy
    a.Add(nullptr);
    EXPECT_TRUE(a.Join("|") == "Name|" && a.GetCount() == 2 && a.GetText(-1)[0] == 0);

    EXPECT_TRUE(a.Find("NAME") == -1 && a.Find("") == 1);
    a.SetFlags(SARRAY_NOCASE);
    EXPECT_TRUE(a.Find("NAME") == 0 && a.Find("nAmE", 1) == -1);
    a.RemoveAll();
    EXPECT_TRUE(a.GetCount() == 0 && a.GetCapacity() == 64);
}

TEST(SStringArray, SplitAndJoin)
{
    SStringArray parts;
    EXPECT_EQ(parts.Split("a,,b,", ','), 4);
    EXPECT_STREQ(parts.Join("|").Text(), "a||b|");
    EXPECT_EQ(parts.Split("", ','), 0);
    EXPECT_EQ(parts.Split("solo", ','), 1);
    EXPECT_STREQ(parts.GetText(4), "solo");

    SStringArray a;
    a.Split("a,b,c", ',');
    // Out of range, one from the middle, a count past the end, no separator.
    EXPECT_EQ(a.Join(" | ", 3) + a.Join(" | ", -1) + "/" + a.Join(" | ", 1, 1) +
                  a.Join(" | ", 2, 50) + "/" + a.Join(nullptr),
              "/bc/abc");
}
