#include "file/SResourceIndex.h"

#include <stdio.h>
#include <stdlib.h>

#include <gtest/gtest.h>

namespace {

TEST(SResourceIndex, LookupsIgnoreCaseAndFindTheFirstAcrossGrowth)
{
    SResourceIndex index;
    char name[32];
    for (int i = 0; i < 1000; i++) {
        snprintf(name, sizeof(name), "Dir\\File%d.TXT", i);
        ASSERT_EQ(index.Append(name, nullptr, i, (uint32_t)i), i);
    }
    ASSERT_EQ(index.Append("dir\\file500.txt", malloc(16), 5000, 1), 1000);
    for (int i = 0; i < 1000; i += 37) {
        snprintf(name, sizeof(name), "dir\\file%d.txt", i);
        EXPECT_EQ(index.Find(name), i);
    }
    EXPECT_TRUE(index.Find("dir\\file500.txt") == 500 && index.Find("dir\\file1000.txt") == -1);
    // Reset releases the value (the sanitizer build reports a leak otherwise).
    index.Reset();
    EXPECT_EQ(index.Find("dir\\file1.txt"), -1);
}

}   // namespace
