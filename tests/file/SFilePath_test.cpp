// The disk kind on real files in a fresh temporary folder, and the memory
// kind's loaders (disk file, resources linked into this program). Reading by
// copy and chunked compression over a disk file run in the archive's tests.
#include "file/SFilePath.h"

#include <string>

#include <gtest/gtest.h>

#include "FileTestSupport.h"

namespace {

using SFilePathTest = TempFolderTest;

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
    std::string path = Path("a.bin"), missing = Path("missing.bin");
    for (auto& m : modes) {
        SCOPED_TRACE(testing::Message() << m.write << m.create << m.read);
        Put("a.bin", "old");
        SFilePath file;
        ASSERT_EQ(file.Open(path.c_str(), m.write, m.create, m.read), m.after != nullptr);
        EXPECT_STREQ(file.GetPath().Text(), m.after ? path.c_str() : "");
        if (!m.after)
            continue;
        file.Rewind();
        file.WriteString("XY");
        file.Rewind();
        char buffer[8];
        EXPECT_EQ(file.Read(buffer, 8) > 0, m.reads);
        file.Close();
        EXPECT_EQ(Get("a.bin"), m.after);
        EXPECT_EQ(file.Open(missing.c_str(), m.write, m.create, m.read), m.opensMissing);
        file.Close();
        DeleteFileA(missing.c_str());
    }
    // A failing open closes the earlier file; no path fails.
    SFilePath file(path.c_str(), false, false, true);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_FALSE(file.Open("", false, false, true) || file.IsOpen());
}

TEST_F(SFilePathTest, OnlySharedOpensLetOthersIn)
{
    std::string path = Path("share.bin");
    Put("share.bin", "data");
    SFilePath first, second;
    SFileMem whole;
    // Unshared writing: nobody else gets in, not even to read or load.
    ASSERT_TRUE(first.Open(path.c_str(), true, false, true, false));
    EXPECT_FALSE(second.Open(path.c_str(), false, false, true, true) ||
                 whole.LoadFile(path.c_str()));
    // Unshared reading: other readers, but no writer.
    ASSERT_TRUE(first.Open(path.c_str(), false, false, true, false));
    EXPECT_TRUE(whole.LoadFile(path.c_str()) &&
                !second.Open(path.c_str(), true, false, true, true));
    // Shared both ways.
    ASSERT_TRUE(first.Open(path.c_str(), true, false, true, true));
    ASSERT_TRUE(second.Open(path.c_str(), false, false, true, true));
    first.WriteString("DA");
    first.Close();
    char buffer[4];
    EXPECT_TRUE(second.Read(buffer, 4) == 4 && std::string(buffer, 4) == "DAta");
}

TEST_F(SFilePathTest, PositionsSizesAndDirection)
{
    std::string path = Path("pos.bin");
    SFilePath file(path.c_str(), true, true, true);
    file.Fill('.', 10000);
    EXPECT_TRUE(file.IsEnd() && file.Seek(-5) == 10000 && file.Seek(10001) == 10000);
    EXPECT_TRUE(file.Seek(1) == 1 && file.Size() == 10000);

    // Reading and writing in turn without moving in between, after a read
    // has filled the runtime's buffer ahead.
    char buffer[8];
    EXPECT_TRUE(file.Read(buffer, 1) == 1 && file.WriteString("XY") == 2);
    EXPECT_TRUE(file.Read(buffer, 1) == 1 && file.Tell() == 5 && file.WriteString("Z") == 1);

    // SetSize moves there and cuts or grows the file, with zeros.
    EXPECT_TRUE(file.SetSize(7) && file.SetSize(9) && file.Tell() == 9 && !file.SetSize(-1));
    EXPECT_EQ(file.Read(buffer, 8), 0);
    file.Close();
    EXPECT_EQ(Get("pos.bin"), std::string("..XY.Z.\0\0", 9));
    // A prefix match at the end: the disk kind stops at the end.
    ASSERT_TRUE(file.Open(path.c_str(), false, false, true));
    file.Seek(2);
    EXPECT_TRUE(file.Find("\0\0\0", 3) == 7 && file.Tell() == 9);
    file.Close();

    // Closed: nothing to measure, read or write.
    EXPECT_TRUE(file.Size() == 0 && file.IsEnd() && file.Read(buffer, 4) == 0);
    EXPECT_TRUE(file.WriteString("x") == 0 && !file.SetSize(0));
}

TEST_F(SFilePathTest, MemoryLoaders)
{
    std::string path = Path("load.bin");
    Put("load.bin", std::string("ab\0cd", 5));
    SFileMem file;
    file.WriteString("previous");
    ASSERT_TRUE(file.LoadFile(path.c_str()) && Contents(file) == std::string("ab\0cd", 5));
    EXPECT_FALSE(file.LoadFile(Path("missing").c_str()));

    // Resources linked into this program (SFilePath_test.rc).
    SFileMem dialog("BINARY", 150);
    EXPECT_EQ(Contents(dialog), std::string("[dialog]\r\nline two\0", 19));
    EXPECT_TRUE(file.LoadResource("binary", 151) && file.Size() == 0);   // empty, but open
    EXPECT_FALSE(file.LoadResource("BINARY", 999) || file.IsOpen());
}

}   // namespace
