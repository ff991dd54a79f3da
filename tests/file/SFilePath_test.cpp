// The disk kind on real files in a fresh temporary folder, and the memory
// kind's loaders (disk file, resources linked into this program).
#include "file/SFileMem.h"
#include "file/SFilePath.h"

#include <string.h>

#include <string>

#include <windows.h>

#include <gtest/gtest.h>

namespace {

class SFilePathTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char temp[MAX_PATH];
        ASSERT_GT(GetTempPathA(MAX_PATH, temp), 0u);
        folder.Format("%sSFilePath_test_%lu_%lu", temp, GetCurrentProcessId(), GetTickCount());
        ASSERT_TRUE(CreateDirectoryA(folder.Text(), nullptr));
    }
    void TearDown() override
    {
        WIN32_FIND_DATAA data;
        HANDLE find = FindFirstFileA((folder + "\\*").Text(), &data);
        if (find != INVALID_HANDLE_VALUE) {
            do
                DeleteFileA((folder + "\\" + data.cFileName).Text());
            while (FindNextFileA(find, &data));
            FindClose(find);
        }
        RemoveDirectoryA(folder.Text());
    }
    SString Path(const char* name) { return folder + "\\" + name; }
    void Make(const SString& path, const std::string& bytes)
    {
        FILE* f = fopen(path.Text(), "wb");
        ASSERT_TRUE(f);
        fwrite(bytes.data(), 1, bytes.size(), f);
        fclose(f);
    }
    std::string Bytes(const SString& path)
    {
        SFileMem mem;
        if (!mem.LoadFile(path.Text()))
            return "<missing>";
        return std::string((const char*)mem.GetData(), (size_t)mem.Size());
    }
    bool Exists(const SString& path)
    {
        return GetFileAttributesA(path.Text()) != INVALID_FILE_ATTRIBUTES;
    }
    SString folder;
};

TEST_F(SFilePathTest, ModesFollowTheFlags)
{
    SString path = Path("a.bin");
    SString missing = Path("missing.bin");
    char buffer[8] = {};
    SFilePath file;

    // read + write + create: emptied, then both ways.
    Make(path, "old");
    ASSERT_TRUE(file.Open(path.Text(), true, true, true));
    EXPECT_STREQ(file.GetPath().Text(), path.Text());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(file.WriteString("abc"), 3);
    file.Rewind();
    EXPECT_EQ(file.Read(buffer, 8), 3);
    file.Close();
    EXPECT_EQ(Bytes(path), "abc");
    EXPECT_STREQ(file.GetPath().Text(), "");

    // read + write: must exist, keeps the bytes.
    EXPECT_FALSE(file.Open(missing.Text(), true, false, true));
    EXPECT_FALSE(Exists(missing));
    ASSERT_TRUE(file.Open(path.Text(), true, false, true));
    EXPECT_EQ(file.Size(), 3);
    EXPECT_EQ(file.WriteString("X"), 1);
    file.Close();
    EXPECT_EQ(Bytes(path), "Xbc");

    // read: create is ignored, nothing can be written.
    EXPECT_FALSE(file.Open(missing.Text(), false, true, true));
    ASSERT_TRUE(file.Open(path.Text(), false, true, true));
    EXPECT_EQ(file.WriteString("zz"), 0);
    file.Close();
    EXPECT_EQ(Bytes(path), "Xbc");

    // write + create: emptied; nothing can be read.
    ASSERT_TRUE(file.Open(path.Text(), true, true, false));
    EXPECT_EQ(file.Size(), 0);
    file.WriteString("new");
    file.Rewind();
    EXPECT_EQ(file.Read(buffer, 8), 0);
    file.Close();
    EXPECT_EQ(Bytes(path), "new");

    // write alone appends, wherever the position was put, and creates.
    ASSERT_TRUE(file.Open(path.Text(), true, false, false));
    file.Rewind();
    file.WriteString("+1");
    file.Close();
    EXPECT_EQ(Bytes(path), "new+1");
    ASSERT_TRUE(file.Open(missing.Text(), true, false, false));
    file.Close();
    EXPECT_TRUE(Exists(missing));

    // Neither read nor write, or no path: fails, and the earlier file is closed.
    ASSERT_TRUE(file.Open(path.Text(), false, false, true));
    EXPECT_FALSE(file.Open(path.Text(), false, true, false));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_STREQ(file.GetPath().Text(), "");
    EXPECT_FALSE(file.Open("", false, false, true));
    EXPECT_FALSE(file.Open(nullptr, false, false, true));

    // The constructor opens at once: write + create.
    SFilePath made(Path("made.txt").Text(), true, true, false);
    ASSERT_TRUE(made.IsOpen());
    made.WriteLine("1.0.0.0");
    made.Close();
    EXPECT_EQ(Bytes(Path("made.txt")), "1.0.0.0\r\n");
}

TEST_F(SFilePathTest, OnlySharedOpensLetOthersIn)
{
    SString path = Path("share.bin");
    Make(path, "data");
    SFilePath first, second;
    // Unshared writing: nobody else gets in, not even to read.
    ASSERT_TRUE(first.Open(path.Text(), true, false, true, false));
    EXPECT_FALSE(second.Open(path.Text(), false, false, true, true));
    EXPECT_FALSE(second.Open(path.Text(), false, false, true, false));
    first.Close();
    // Unshared reading: other readers, but no writer.
    ASSERT_TRUE(first.Open(path.Text(), false, false, true, false));
    EXPECT_TRUE(second.Open(path.Text(), false, false, true, true));
    second.Close();
    EXPECT_FALSE(second.Open(path.Text(), true, false, true, true));
    SFileMem whole;
    EXPECT_TRUE(whole.LoadFile(path.Text()));
    first.Close();
    // A file held for unshared writing cannot be loaded.
    ASSERT_TRUE(first.Open(path.Text(), true, false, true, false));
    EXPECT_FALSE(whole.LoadFile(path.Text()));
    first.Close();

    ASSERT_TRUE(first.Open(path.Text(), true, false, true, true));
    ASSERT_TRUE(second.Open(path.Text(), false, false, true, true));
    first.WriteString("DA");
    first.Close();
    char buffer[4];
    EXPECT_EQ(second.Read(buffer, 4), 4);
    EXPECT_EQ(std::string(buffer, 4), "DAta");
}

TEST_F(SFilePathTest, DeleteOnClose)
{
    SString path = Path("temp.bin");
    {
        SFilePath file(path.Text(), true, true, false);
        file.SetDeleteOnClose(path.Text());
        file.WriteString("x");
        EXPECT_TRUE(Exists(path));
    }
    EXPECT_FALSE(Exists(path));

    SFilePath file(path.Text(), true, true, false);
    file.SetDeleteOnClose(path.Text());
    file.SetDeleteOnClose(nullptr);
    file.Close();
    EXPECT_TRUE(Exists(path));
    // Reopening closes the earlier file, deleting it as asked.
    SString other = Path("other.bin");
    file.SetDeleteOnClose(path.Text());
    ASSERT_TRUE(file.Open(other.Text(), true, true, false));
    EXPECT_FALSE(Exists(path));
    file.Close();
    EXPECT_TRUE(Exists(other));
}

TEST_F(SFilePathTest, PositionsSizesAndDirection)
{
    SString path = Path("pos.bin");
    SFilePath file(path.Text(), true, true, true);
    ASSERT_TRUE(file.IsOpen());
    file.WriteString("hello");
    EXPECT_EQ(file.Tell(), 5);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Seek(-5), 5);
    EXPECT_EQ(file.Seek(6), 5);
    EXPECT_EQ(file.Seek(1), 1);
    EXPECT_EQ(file.Size(), 5);
    EXPECT_EQ(file.Tell(), 1);
    EXPECT_EQ(file.Remaining(), 4);

    // Reading and writing in turn without moving in between.
    char buffer[8] = {};
    EXPECT_EQ(file.Read(buffer, 1), 1);
    EXPECT_EQ(file.WriteString("XY"), 2);
    EXPECT_EQ(file.Read(buffer, 8), 1);
    EXPECT_EQ(buffer[0], 'o');
    memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(file.Read(buffer, 8), 0);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(file.Read(buffer, 0), 0);

    // SetSize moves there and cuts or grows the file, with zeros.
    EXPECT_TRUE(file.SetSize(2));
    EXPECT_EQ(file.Tell(), 2);
    EXPECT_TRUE(file.SetSize(4));
    EXPECT_EQ(file.Tell(), 4);
    EXPECT_FALSE(file.SetSize(-1));
    file.WriteString("!");
    file.Close();
    EXPECT_EQ(Bytes(path), std::string("he\0\0!", 5));

    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.Seek(3), 0);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(file.WriteString("x"), 0);
    EXPECT_FALSE(file.SetSize(0));
}

TEST_F(SFilePathTest, TextAndSearchOverTheStream)
{
    SString path = Path("text.txt");
    std::string body(5000, 'w');
    Make(path, "first\r\n" + body + "\rthird\n" + std::string("str\0", 4) + "needle");
    SFilePath file(path.Text(), false, false, true);
    SString line;
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_STREQ(line.Text(), "first");
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_EQ(line.GetLength(), 5000);
    EXPECT_TRUE(file.ReadLineWithEnd(line));
    EXPECT_STREQ(line.Text(), "third\r\n");
    EXPECT_STREQ(file.ReadString().Text(), "str");
    int at = file.Tell();
    EXPECT_EQ(file.Find("needle", 6), at);
    EXPECT_TRUE(file.IsEnd());
    file.Seek(at);
    // The prefix at the end matches; the disk kind stops at the end.
    EXPECT_EQ(file.Find("dlexyz", 6), at + 3);
    EXPECT_EQ(file.Tell(), file.Size());
    file.Rewind();
    EXPECT_EQ(file.Find("absent!", 7), -1);
    EXPECT_EQ(file.Tell(), 0);
}

TEST_F(SFilePathTest, CompressBetweenDiskFiles)
{
    std::string raw;
    for (int i = 0; i < 250000; i++)
        raw += (char)((i * 7) % 251 < 200 ? 'a' + i % 13 : i * 31);
    SString rawPath = Path("raw.bin"), packedPath = Path("packed.bin"), outPath = Path("out.bin");
    Make(rawPath, raw);

    SFilePath source(rawPath.Text(), false, false, true);
    SFilePath packed(packedPath.Text(), true, true, true);
    int written = source.Compress(&packed);
    EXPECT_EQ(written, packed.Size());
    // The same bytes as from memory.
    SFileMem memory, memoryPacked;
    memory.Write(raw.data(), (int)raw.size());
    memory.Rewind();
    memory.Compress(&memoryPacked);
    packed.Close();
    EXPECT_TRUE(Bytes(packedPath) ==
                std::string((const char*)memoryPacked.GetData(), (size_t)memoryPacked.Size()));

    SFilePath in;
    ASSERT_TRUE(in.Open(packedPath.Text(), false, false, true, true));
    SFilePath out(outPath.Text(), true, true, true);
    EXPECT_EQ(in.Uncompress(&out), 250000);
    out.Close();
    EXPECT_TRUE(Bytes(outPath) == raw);
}

TEST_F(SFilePathTest, MemoryLoaders)
{
    SString path = Path("load.bin");
    Make(path, std::string("ab\0cd", 5));
    SFileMem file;
    file.WriteString("previous");
    ASSERT_TRUE(file.LoadFile(path.Text()));
    EXPECT_EQ(file.Size(), 5);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(memcmp(file.GetData(), "ab\0cd", 5), 0);
    EXPECT_FALSE(file.LoadFile(Path("missing").Text()));
    EXPECT_EQ(file.Size(), 5);
    EXPECT_FALSE(file.LoadFile(""));
    Make(path, "");
    ASSERT_TRUE(file.LoadFile(path.Text()));
    EXPECT_EQ(file.Size(), 0);

    // Resources linked into this program (SFilePath_test.rc).
    SFileMem dialog("BINARY", 150);
    ASSERT_TRUE(dialog.IsOpen());
    SString line;
    EXPECT_TRUE(dialog.ReadLine(line));
    EXPECT_STREQ(line.Text(), "[dialog]");
    EXPECT_EQ(dialog.Size(), 19);
    EXPECT_TRUE(file.LoadResource("binary", 151));
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_FALSE(file.LoadResource("BINARY", 999));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.LoadResource(nullptr, 150));
    EXPECT_TRUE(file.LoadResource("BINARY", 150, GetModuleHandleA(nullptr)));
    EXPECT_EQ(file.Size(), 19);
}

}   // namespace
