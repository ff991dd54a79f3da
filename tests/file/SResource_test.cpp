#include "file/SResource.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FileTestSupport.h"
#include "file/SDisk.h"
#include "file/SFilePath.h"

namespace {

std::string Record(const std::string& name, const std::string& data)
{
    return LE32((uint32_t)data.size()) + name + std::string(1, '\0') + data;
}

const std::string kEnd = LE32(0xFFFFFFFFu);

class SResourceTest : public TempFolderTest {
protected:
    // Packs the files of root + "src\\" under names, in that order.
    std::string Pack(const std::vector<std::string>& names, bool compress)
    {
        SResource writer;
        EXPECT_TRUE(writer.SetFolder(Path("src").c_str()));
        for (const std::string& name : names)
            EXPECT_TRUE(writer.Add(name.c_str())) << name;
        SFilePath out(Path("pack.bin").c_str(), true, true, false);
        EXPECT_TRUE(writer.Write(&out, compress));
        out.Close();
        return Get("pack.bin");
    }
};

TEST_F(SResourceTest, WritesExactBytesAndRoundTripsInBothModes)
{
    // Chunk boundaries on both sides of 100000, more chunks than the packer has
    // slots, empty files in the middle and at the very end, nested folders.
    const int sizes[] = {1, 99999, 100000, 0, 100001, 1500000, 250000, 0};
    const char* names[] = {"one",           "a\\b\\ninetynine", "a\\hundred.k", "empty",
                           "a\\b\\c\\over", "big.dat",          "bigger.dat",   "z\\last-empty"};
    for (int i = 0; i < 8; i++)
        Put(std::string("src\\") + names[i], MixedData(sizes[i], i));
    for (bool compress : {false, true}) {
        SCOPED_TRACE(compress ? "compressed" : "stored");
        std::string expected = "SRES" + LE32(compress ? 1 : 0);
        for (int i = 0; i < 8; i++) {
            std::string raw = MixedData(sizes[i], i);
            expected += Record(names[i], compress ? ChunkStream(raw) : raw);
        }
        expected += kEnd;
        ASSERT_EQ(Pack(std::vector<std::string>(names, names + 8), compress), expected);

        SResource reader;
        ASSERT_TRUE(reader.Open(Path("pack.bin").c_str()));
        EXPECT_EQ(reader.IsCompressed(), compress);
        ASSERT_EQ(reader.GetIndex().GetCount(), 8);
        SStringArray failures;
        ASSERT_TRUE(reader.ExtractAll(Path(compress ? "outc" : "outs").c_str(), &failures));
        EXPECT_EQ(failures.GetCount(), 0);
        for (int i = 0; i < 8; i++)
            EXPECT_TRUE(Get(std::string(compress ? "outc\\" : "outs\\") + names[i]) ==
                        MixedData(sizes[i], i))
                << names[i];

        // Extract appends at the position and rewinds on request; the lookup
        // ignores letter case.
        SFileMem mem;
        mem.Write("xy", 2);
        ASSERT_TRUE(reader.Extract(&mem, "A\\HUNDRED.K", true));
        EXPECT_TRUE(mem.Tell() == 0 && mem.Size() == 100002);
        EXPECT_FALSE(reader.Extract(&mem, "absent", false));
    }
}

// The progress callback opens g_target: unshared, keeping the handle, at
// g_keepAt thousandths; otherwise for shared reading, counting refusals.
std::string g_target;
int g_keepAt = -1, g_refused = 0;
HANDLE g_kept = INVALID_HANDLE_VALUE;
bool Intervene(int thousandths, int)
{
    bool keep = thousandths == g_keepAt;
    HANDLE h =
        CreateFileA(g_target.c_str(), GENERIC_READ, keep ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        g_refused += GetLastError() == ERROR_SHARING_VIOLATION;
    else if (keep)
        g_kept = h;
    else
        CloseHandle(h);
    return true;
}

TEST_F(SResourceTest, EmptyArchiveAndWriterRules)
{
    // No entries: the 12 bytes, which open to an empty index and unpack to an
    // empty folder.
    std::string empty = "SRES" + LE32(1) + kEnd;
    Put("src\\.keep", "");
    EXPECT_EQ(Pack({}, true), empty);
    SResource reader;
    ASSERT_TRUE(reader.Open(Path("pack.bin").c_str()));
    EXPECT_EQ(reader.GetIndex().GetCount(), 0);
    EXPECT_TRUE(reader.ExtractAll(Path("new\\deeper").c_str()));
    EXPECT_NE(GetFileAttributesA(Path("new\\deeper").c_str()), INVALID_FILE_ATTRIBUTES);

    // A name is refused when it repeats one ignoring case, and by a reader.
    SResource writer;
    ASSERT_TRUE(writer.SetFolder(Path("src").c_str()));
    EXPECT_TRUE(writer.Add("Dir\\File.txt") && !writer.Add("dir\\FILE.TXT") && !reader.Add("x"));

    // A file missing when the archive is written leaves no record, and so
    // does one of 4 GB + 1000 bytes (sparse), which must not measure 1000.
    Put("src\\a", "abc");
    Put("src\\huge", "");
    std::filesystem::resize_file(Path("src\\huge"), (4ull << 30) + 1000);
    ASSERT_EQ(SDisk().FileSizeByStream(Path("src\\huge").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(Pack({"gone", "huge", "a"}, false), "SRES" + LE32(0) + Record("a", "abc") + kEnd);

    // A file measured but then not opened: its record is written, then the
    // write fails without an end marker.
    Put("src\\b", "bb");
    ASSERT_TRUE(writer.SetFolder(Path("src").c_str()));
    writer.Add("a");
    writer.Add("b");
    writer.SetProgress(Intervene, 0);
    g_target = Path("src\\b");
    g_keepAt = 500;
    SFileMem out;
    EXPECT_FALSE(writer.Write(&out, false));
    CloseHandle(g_kept);
    g_keepAt = -1;
    EXPECT_EQ(Contents(out), "SRES" + LE32(0) + Record("a", "abc") + LE32(2) + "b" + '\0');
}

TEST_F(SResourceTest, ReaderRulesOnCraftedArchives)
{
    // Two names equal ignoring case: both are listed, lookups and unpacking
    // find the first. Only the mode word's first byte counts (0x100: stored).
    Put("crafted.bin",
        "SRES" + LE32(0x100) + Record("Same.txt", "first") + Record("SAME.TXT", "second") + kEnd);
    SResource reader;
    ASSERT_TRUE(reader.Open(Path("crafted.bin").c_str()) && !reader.IsCompressed() &&
                reader.GetIndex().GetCount() == 2);
    SFileMem mem;
    ASSERT_TRUE(reader.Extract(&mem, "same.txt", true) && reader.ExtractAll(Path("dup").c_str()));
    EXPECT_TRUE(mem.ReadText() == "first" && Get("dup\\Same.txt") == "first");

    // An archive inside a larger file, found by its start offset.
    Put("host.bin", "prefix" + std::string("SRES") + LE32(0) + Record("x", "42") + kEnd);
    mem.Close();
    ASSERT_TRUE(reader.Open(Path("host.bin").c_str(), 6) && reader.Extract(&mem, "x", true));
    EXPECT_EQ(mem.ReadText(), "42");
    EXPECT_FALSE(reader.Open(Path("host.bin").c_str(), 0));

    // An empty compressed entry takes the next four bytes as its chunk
    // count: the end marker gives an empty file at once; a record's length
    // has the name and data after it read as the empty entry's chunks.
    std::string packed = ChunkStream("hello").substr(12);
    Put("empties.bin",
        "SRES" + LE32(1) + Record("e", "") +
            Record("\x05", std::string(2, '\0') + LE32(packed.size()) + packed) + Record("z", "") +
            kEnd);
    ASSERT_TRUE(reader.Open(Path("empties.bin").c_str()));
    mem.Close();
    ASSERT_TRUE(reader.Extract(&mem, "e", false) && reader.Extract(&mem, "z", true));
    EXPECT_EQ(mem.ReadText(), "hello");

    // Opening fails for a missing file, a folder, or no path, and leaves the
    // reader empty.
    EXPECT_TRUE(!reader.Open(Path("missing.bin").c_str()) && reader.GetIndex().GetCount() == 0);
    EXPECT_FALSE(reader.Open(root.c_str()) || reader.Open("") ||
                 reader.ExtractAll(Path("nothing").c_str()));
}

TEST_F(SResourceTest, MalformedArchivesFailQuickly)
{
    Put("src\\a\\one", MixedData(150000, 1));
    Put("src\\two", MixedData(10, 2));
    const std::string good = Pack({"a\\one", "two"}, true);
    DWORD start = GetTickCount();

    // Cut at every offset: no cut opens, and whatever index was read still
    // unpacks without trouble.
    for (size_t cut = 0; cut < good.size(); cut += (cut < 64 || good.size() - cut < 64) ? 1 : 997) {
        Put("cut.bin", good.substr(0, cut));
        SResource reader;
        EXPECT_FALSE(reader.Open(Path("cut.bin").c_str())) << cut;
        SStringArray failures;
        reader.ExtractAll(Path("cutout").c_str(), &failures);
    }

    // Without its end marker the archive fails to open, but keeps its path
    // and the index read, which still extracts.
    SResource reader;
    Put("cut.bin", good.substr(0, good.size() - 4));
    EXPECT_FALSE(reader.Open(Path("cut.bin").c_str()));
    EXPECT_EQ(reader.GetPath().Full(), Path("cut.bin").c_str());
    ASSERT_EQ(reader.GetIndex().GetCount(), 2);
    SFileMem mem;
    ASSERT_TRUE(reader.Extract(&mem, "two", true));
    EXPECT_EQ(Contents(mem), MixedData(10, 2));

    // Bad magic; a name without its 0 byte at the end of the file.
    Put("bad.bin", "SREZ" + LE32(0) + kEnd);
    EXPECT_FALSE(reader.Open(Path("bad.bin").c_str()));
    Put("bad.bin", "SRES" + LE32(0) + LE32(1) + "noterminator");
    EXPECT_FALSE(reader.Open(Path("bad.bin").c_str()));
    // A length far beyond the file must not send the reader backwards.
    Put("bad.bin", "SRES" + LE32(0) + LE32(0xFFFFFFF0u) + "n" + std::string(1, '\0') + kEnd);
    EXPECT_FALSE(reader.Open(Path("bad.bin").c_str()));

    EXPECT_LT(GetTickCount() - start, 30000u);
}

TEST_F(SResourceTest, ExtractAllListsFailedTargetsAndGoesOn)
{
    // A target held open without sharing, and a file standing where a target
    // needs its folder. (A read-only attribute is no test here: Wine run by
    // root writes such files all the same.)
    const char* names[] = {"a.txt", "locked.txt", "blocked\\b.txt", "z.txt"};
    for (const char* name : names)
        Put(std::string("src\\") + name, name);
    Pack(std::vector<std::string>(names, names + 4), true);

    Put("out\\locked.txt", "old");
    Put("out\\blocked", "a file where a folder should be");
    HANDLE lock = CreateFileA(Path("out\\locked.txt").c_str(), GENERIC_READ, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(lock, INVALID_HANDLE_VALUE);

    SResource reader;
    ASSERT_TRUE(reader.Open(Path("pack.bin").c_str()));
    SStringArray failures;
    failures.Add("kept");
    // Each target is opened unshared while its entry is unpacked.
    reader.SetProgress(Intervene, 0);
    g_target = Path("out\\z.txt");
    g_refused = 0;
    EXPECT_TRUE(reader.ExtractAll(Path("out").c_str(), &failures));
    EXPECT_EQ(g_refused, 1);
    CloseHandle(lock);
    ASSERT_EQ(failures.GetCount(), 3);
    EXPECT_STREQ(failures.GetText(1), Path("out\\locked.txt").c_str());
    EXPECT_STREQ(failures.GetText(2), Path("out\\blocked\\b.txt").c_str());
    EXPECT_EQ(Get("out\\a.txt") + Get("out\\z.txt") + Get("out\\locked.txt"), "a.txtz.txtold");

    // A destination that cannot be a folder is refused, the list untouched.
    failures.RemoveAll();
    EXPECT_FALSE(reader.ExtractAll(Path("out\\a.txt").c_str(), &failures) ||
                 reader.ExtractAll("", &failures) || failures.GetCount() != 0);
}

}   // namespace
