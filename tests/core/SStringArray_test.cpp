#include "core/SArray.h"
#include "core/SStringArray.h"

#include <gtest/gtest.h>

namespace {

// Exposes the default comparison of the template.
class IntArray : public SArray<int> {
public:
    int CompareWith(int index, int value) const
    {
        return CompareSlot(&GetSlots()[index], value, 0);
    }
};

}   // namespace

TEST(SArray, SlotBlockGrowsAndShrinksInStepsOf64)
{
    SArray<int> a;
    EXPECT_EQ(a.GetCapacity(), 0);
    a.SetCount(0);
    EXPECT_EQ(a.GetCapacity(), 64);
    for (int i = 0; i < 64; i++)
        a.Add(i);
    EXPECT_EQ(a.GetCapacity(), 128);
    EXPECT_EQ(a.GetAt(63), 63);

    a.SetCount(200);
    EXPECT_EQ(a.GetCapacity(), 256);
    EXPECT_EQ(a.GetAt(63), 63);
    a.SetCount(10);   // shrinks the block, keeping the first slots
    EXPECT_EQ(a.GetCapacity(), 64);
    EXPECT_EQ(a.GetAt(9), 9);
    a.SetCount(-3);
    EXPECT_TRUE(a.GetCount() == 0 && a.GetCapacity() == 64);
}

TEST(SArray, InsertClampsTheIndexAndMovesSlotsUp)
{
    SArray<int> a;
    for (int v : {1, 2, 3})
        a.Add(v);
    EXPECT_EQ(a.Insert(9, 1000), 3);
    EXPECT_EQ(a.GetAt(3), 9);
    EXPECT_EQ(a.Insert(7, 1, 3), 1);
    int expected[] = {1, 7, 7, 7, 2, 3, 9};
    ASSERT_EQ(a.GetCount(), 7);
    for (int i = 0; i < 7; i++)
        EXPECT_EQ(a.GetAt(i), expected[i]) << i;
    EXPECT_EQ(a.Insert(5, 0, 0), -1);
    EXPECT_EQ(a.Insert(5, -1, -2), -1);
    EXPECT_EQ(a.GetCount(), 7);
    EXPECT_EQ(a.Insert(4, -5, 2), 7);
    EXPECT_EQ(a.GetCount(), 9);
    EXPECT_EQ(a.Insert(0, 0), 0);
    EXPECT_EQ(a.GetAt(1), 1);

    EXPECT_EQ(a.RemoveAt(1, 4), 4);
    EXPECT_EQ(a.GetAt(1), 2);
    EXPECT_EQ(a.RemoveAt(4, 100), 2);
    EXPECT_EQ(a.GetCount(), 4);
    EXPECT_EQ(a.RemoveAt(4), 0);
}

TEST(SArray, FindRangeRules)
{
    SArray<int> a;
    EXPECT_EQ(a.Find(0), -1);
    for (int v : {5, 6, 7, 5})
        a.Add(v);
    EXPECT_EQ(a.Find(5), 0);
    EXPECT_EQ(a.Find(5, 1), 3);
    EXPECT_EQ(a.Find(5, 1, 3), -1);   // end is not included
    EXPECT_EQ(a.Find(5, 1, 4), 3);
    EXPECT_EQ(a.Find(5, 1, 99), 3);
    EXPECT_EQ(a.Find(5, 4), -1);   // start at the count, even with an empty range
    EXPECT_EQ(a.Find(5, 4, 4), -1);
    EXPECT_EQ(a.Find(5, -1), -1);
}

TEST(SArray, DefaultComparisonIsUnsigned32Bit)
{
    IntArray a;
    a.Add(-1);
    a.Add(3);
    EXPECT_EQ(a.CompareWith(0, -1), 0);
    EXPECT_EQ(a.CompareWith(0, 1), 1);   // 0xFFFFFFFF is above 1
    EXPECT_EQ(a.CompareWith(1, 4), -1);
    a.SetFlags(SARRAY_REVERSE);
    EXPECT_EQ(a.CompareWith(0, 1), -1);
    EXPECT_EQ(a.CompareWith(1, 4), 1);
    EXPECT_EQ(a.CompareWith(1, 3), 0);
}

TEST(SStringArray, OwnsCopiesAndComparesByFlags)
{
    SStringArray a;
    char buffer[] = "Name";
    a.Add(buffer);
    buffer[0] = 'X';   // the element is a copy
    a.Add(nullptr);
    EXPECT_STREQ(a.GetText(0), "Name");
    EXPECT_STREQ(a.GetText(1), "");
    EXPECT_STREQ(a.GetText(-1), "");

    EXPECT_EQ(a.Find("NAME"), -1);
    EXPECT_EQ(a.Find("Name"), 0);
    EXPECT_EQ(a.Find(""), 1);
    a.SetFlags(SARRAY_NOCASE);
    EXPECT_EQ(a.Find("NAME"), 0);
    EXPECT_EQ(a.Find("nAmE", 1), -1);

    SStringArray b;
    b.Add("b");
    EXPECT_EQ(b.Compare(&b.GetSlots()[0], "d", 0, 0), -1);
    EXPECT_EQ(b.Compare(&b.GetSlots()[0], "d", SARRAY_REVERSE, 0), 1);
    EXPECT_EQ(b.Compare(&b.GetSlots()[0], "B", SARRAY_NOCASE, 0), 0);
    EXPECT_EQ(b.Compare(&b.GetSlots()[0], nullptr, 0, 0), 1);
}

TEST(SStringArray, EmptyingAndEditing)
{
    SStringArray a;
    a.Split("one,two,three", ',');
    a.SetAt(1, "TWO");
    a.SetAt(3, "ignored");
    EXPECT_STREQ(a.Join(",").Text(), "one,TWO,three");

    a.DeleteElements();   // slots stay, emptied
    EXPECT_TRUE(a.GetCount() == 3 && a.GetSlots()[0] == 0);
    a.SetAt(0, "back");   // an emptied slot gets a new element
    EXPECT_STREQ(a.GetText(0), "back");
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
    EXPECT_STREQ(a.Join(" | ", 3).Text(), "");
    EXPECT_STREQ(a.Join(" | ", -1).Text(), "");
    EXPECT_STREQ(a.Join(" | ", 0, 0).Text(), "");
    EXPECT_STREQ(a.Join(" | ", 1, 1).Text(), "b");
    EXPECT_STREQ(a.Join(" | ", 2, 50).Text(), "c");
    EXPECT_STREQ(a.Join(nullptr).Text(), "abc");
}
