#include "file/SResourceIndex.h"

#include <stdlib.h>
#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "file/SFileMem.h"

namespace {

std::string LE32(uint32_t v)
{
    char b[4] = {(char)v, (char)(v >> 8), (char)(v >> 16), (char)(v >> 24)};
    return std::string(b, 4);
}

bool ReadFrom(SResourceIndex& index, const std::string& bytes, bool* compressed = nullptr)
{
    SFileMem file;
    file.Write(bytes.data(), (int)bytes.size());
    file.Rewind();
    return index.Read(file, compressed);
}

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
    EXPECT_EQ(index.Find("dir\\file500.txt"), 500);
    EXPECT_EQ(index.Find("dir\\file1000.txt"), -1);
    EXPECT_EQ(index.Find(nullptr), -1);
    EXPECT_EQ(index.GetOffset(1000), 5000);
    EXPECT_EQ(index.GetOffset(1001), -1);
    EXPECT_STREQ(index.GetName(-1), "");
    // Reset releases the value (the sanitizer build reports a leak otherwise).
    index.Reset();
    EXPECT_EQ(index.GetCount(), 0);
    EXPECT_EQ(index.Find("dir\\file1.txt"), -1);
}

TEST(SResourceIndex, ReadsRecordsUpToTheEndMarker)
{
    SResourceIndex index;
    bool compressed = true;
    std::string archive = "SRES" + LE32(0x100) + LE32(3) + "a.txt" + std::string(1, '\0') +
                          "abc" + LE32(0) + "b" + std::string(1, '\0') + LE32(0xFFFFFFFFu);
    ASSERT_TRUE(ReadFrom(index, archive, &compressed));
    EXPECT_FALSE(compressed);
    ASSERT_EQ(index.GetCount(), 2);
    EXPECT_EQ(index.GetOffset(0), 18);
    EXPECT_EQ(index.GetLength(0), 3u);
    EXPECT_EQ(index.GetOffset(1), 27);

    // Every cut fails; the records read before the cut stay.
    for (size_t cut = 0; cut < archive.size(); cut++) {
        SResourceIndex partial;
        EXPECT_FALSE(ReadFrom(partial, archive.substr(0, cut))) << cut;
        EXPECT_LE(partial.GetCount(), 2);
    }
    SResourceIndex partial;
    EXPECT_FALSE(ReadFrom(partial, archive.substr(0, 20)));
    EXPECT_EQ(partial.GetCount(), 1);
}

} // namespace
