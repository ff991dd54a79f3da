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
        GetTempPathA(MAX_PATH, temp);
        folder.Format("%sSFilePath_test_%lu_%lu", temp, GetCurrentProcessId(), GetTickCount());
        ASSERT_TRUE(CreateDirectoryA(folder.Text(), nullptr));
    }
    void TearDown() override
    {
        WIN32_FIND_DATAA data;
        HANDLE find = FindFirstFileA((folder + "\\*").Text(), &data);
        while (find != INVALID_HANDLE_VALUE) {
            DeleteFileA((folder + "\\" + data.cFileName).Text());
            if (!FindNextFileA(find, &data)) {
                FindClose(find);
                break;
            }
        }
        RemoveDirectoryA(folder.Text());
    }
    SString Path(const char* name) { return folder + "\\" + name; }
    static void Make(const SString& path, const std::string& bytes)
    {
        SFilePath file(path.Text(), true, true, false);
        file.Write(bytes.data(), (int)bytes.size());
    }
    static std::string Bytes(const SString& path)
    {
        SFileMem mem;
        if (!mem.LoadFile(path.Text()))
            return "<missing>";
        return std::string((const char*)mem.GetData(), (size_t)mem.Size());
    }
    SString folder;
};

TEST_F(SFilePathTest, ModesFollowTheFlags)
{
    // Each row: flags; the file after writing "XY" at the start of "old";
    // whether reading works; whether a missing file opens.
    struct {
        bool write, create, read;
        const char* after;
        bool reads, opensMissing;
    } modes[] = {
        {true, true, true, "XY", true, true},        {true, false, true, "XYd", true, false},
        {false, true, true, "old", true, false},     {false, false, true, "old", true, false},
        {true, true, false, "XY", false, true},      {true, false, false, "oldXY", false, true},
        {false, true, false, nullptr, false, false}, {false, false, false, nullptr, false, false},
    };
    SString path = Path("a.bin");
    for (auto& m : modes) {
        SCOPED_TRACE(testing::Message() << m.write << m.create << m.read);
        SString missing = Path("missing.bin");
        Make(path, "old");
        SFilePath file;
        ASSERT_EQ(file.Open(path.Text(), m.write, m.create, m.read), m.after != nullptr);
        if (!m.after) {
            EXPECT_FALSE(file.IsOpen());
            EXPECT_STREQ(file.GetPath().Text(), "");
            continue;
        }
        EXPECT_STREQ(file.GetPath().Text(), path.Text());
        file.Rewind();
        file.WriteString("XY");
        file.Rewind();
        char buffer[8];
        EXPECT_EQ(file.Read(buffer, 8) > 0, m.reads);
        file.Close();
        EXPECT_EQ(Bytes(path), m.after);
        EXPECT_EQ(file.Open(missing.Text(), m.write, m.create, m.read), m.opensMissing);
        file.Close();
        DeleteFileA(missing.Text());
    }
    // A failing open closes the earlier file; no path fails.
    SFilePath file(path.Text(), false, false, true);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_FALSE(file.Open("", false, false, true));
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(SFilePathTest, OnlySharedOpensLetOthersIn)
{
    SString path = Path("share.bin");
    Make(path, "data");
    SFilePath first, second;
    SFileMem whole;
    // Unshared writing: nobody else gets in, not even to read or load.
    ASSERT_TRUE(first.Open(path.Text(), true, false, true, false));
    EXPECT_FALSE(second.Open(path.Text(), false, false, true, true));
    EXPECT_FALSE(whole.LoadFile(path.Text()));
    // Unshared reading: other readers, but no writer.
    ASSERT_TRUE(first.Open(path.Text(), false, false, true, false));
    EXPECT_TRUE(whole.LoadFile(path.Text()));
    EXPECT_FALSE(second.Open(path.Text(), true, false, true, true));
    // Shared both ways.
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
    SString path = Path("temp.bin"), other = Path("other.bin");
    {
        SFilePath file(path.Text(), true, true, false);
        file.SetDeleteOnClose(path.Text());
    }
    EXPECT_EQ(Bytes(path), "<missing>");
    SFilePath file(path.Text(), true, true, false);
    file.SetDeleteOnClose(path.Text());
    file.SetDeleteOnClose(nullptr);
    file.Close();
    EXPECT_EQ(Bytes(path), "");
    file.SetDeleteOnClose(path.Text());
    ASSERT_TRUE(file.Open(other.Text(), true, true, false));   // closes first
    EXPECT_EQ(Bytes(path), "<missing>");
}

TEST_F(SFilePathTest, PositionsSizesAndDirection)
{
    SString path = Path("pos.bin");
    SFilePath file(path.Text(), true, true, true);
    file.Fill('.', 10000);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Seek(-5), 10000);
    EXPECT_EQ(file.Seek(10001), 10000);
    EXPECT_EQ(file.Seek(1), 1);
    EXPECT_EQ(file.Size(), 10000);
    EXPECT_EQ(file.Tell(), 1);

    // Reading and writing in turn without moving in between, after a read
    // has filled the runtime's buffer ahead.
    char buffer[8];
    EXPECT_EQ(file.Read(buffer, 1), 1);
    EXPECT_EQ(file.WriteString("XY"), 2);
    EXPECT_EQ(file.Read(buffer, 1), 1);
    EXPECT_EQ(file.Tell(), 5);
    EXPECT_EQ(file.WriteString("Z"), 1);

    // SetSize moves there and cuts or grows the file, with zeros.
    EXPECT_TRUE(file.SetSize(7));
    EXPECT_EQ(file.Tell(), 7);
    EXPECT_TRUE(file.SetSize(9));
    EXPECT_EQ(file.Tell(), 9);
    EXPECT_FALSE(file.SetSize(-1));
    memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(file.Read(buffer, 8), 0);
    EXPECT_EQ(buffer[0], '#');
    file.Close();
    EXPECT_EQ(Bytes(path), std::string("..XY.Z.\0\0", 9));

    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(file.WriteString("x"), 0);
    EXPECT_FALSE(file.SetSize(0));
}

TEST_F(SFilePathTest, TextSearchAndCompressOverTheStream)
{
    SString path = Path("text.txt");
    Make(path,
         "first\r\n" + std::string(5000, 'w') + "\rthird\n" + std::string("s\0", 2) + "needle");
    SFilePath file(path.Text(), false, false, true);
    SString line;
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_EQ(line.GetLength(), 5000);
    EXPECT_TRUE(file.ReadLineWithEnd(line));
    EXPECT_STREQ(line.Text(), "third\r\n");
    EXPECT_STREQ(file.ReadString().Text(), "s");
    int at = file.Tell();
    EXPECT_EQ(file.Find("dlexyz", 6), at + 3);   // the prefix at the end matches
    EXPECT_EQ(file.Tell(), file.Size());         // the disk kind stops at the end

    std::string raw;
    for (int i = 0; i < 250000; i++)
        raw += (char)(i % 7 ? 'a' + i % 13 : i * 31);
    SString rawPath = Path("raw.bin"), packedPath = Path("packed.bin"), outPath = Path("out.bin");
    Make(rawPath, raw);
    SFileMem memory, memoryPacked;
    memory.Write(raw.data(), (int)raw.size());
    memory.Rewind();
    memory.Compress(&memoryPacked);
    {
        SFilePath source(rawPath.Text(), false, false, true);
        SFilePath packed(packedPath.Text(), true, true, false);
        EXPECT_EQ(source.Compress(&packed), memoryPacked.Size());
    }
    EXPECT_EQ(Bytes(packedPath),
              std::string((const char*)memoryPacked.GetData(), (size_t)memoryPacked.Size()));
    {
        SFilePath packed(packedPath.Text(), false, false, true);
        SFilePath out(outPath.Text(), true, true, true);
        EXPECT_EQ(packed.Uncompress(&out), 250000);
    }
    EXPECT_TRUE(Bytes(outPath) == raw);
}

TEST_F(SFilePathTest, MemoryLoaders)
{
    SString path = Path("load.bin");
    Make(path, std::string("ab\0cd", 5));
    SFileMem file;
    file.WriteString("previous");
    ASSERT_TRUE(file.LoadFile(path.Text()));
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(std::string((const char*)file.GetData(), (size_t)file.Size()),
              std::string("ab\0cd", 5));
    EXPECT_FALSE(file.LoadFile(Path("missing").Text()));
    EXPECT_EQ(file.Size(), 5);

    // Resources linked into this program (SFilePath_test.rc).
    SFileMem dialog("BINARY", 150);
    SString line;
    EXPECT_TRUE(dialog.ReadLine(line));
    EXPECT_STREQ(line.Text(), "[dialog]");
    EXPECT_EQ(dialog.Size(), 19);
    EXPECT_TRUE(file.LoadResource("binary", 151));   // empty, but open
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_FALSE(file.LoadResource("BINARY", 999));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_TRUE(file.LoadResource("BINARY", 150, GetModuleHandleA(nullptr)));
    EXPECT_EQ(file.Size(), 19);
}

}   // namespace
