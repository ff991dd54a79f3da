#include "file/SDisk.h"

#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include <windows.h>

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

void RemoveTree(const SString& folder)
{
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((folder + "\\*").Text(), &data);
    for (bool more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileA(find, &data)) {
        SString path = folder + "\\" + data.cFileName;
        if (!strcmp(data.cFileName, ".") || !strcmp(data.cFileName, ".."))
            continue;
        SetFileAttributesA(path.Text(), FILE_ATTRIBUTE_NORMAL);
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            RemoveTree(path);
        else
            DeleteFileA(path.Text());
    }
    if (find != INVALID_HANDLE_VALUE)
        FindClose(find);
    RemoveDirectoryA(folder.Text());
}

// Each test works in a fresh folder below the temporary folder (root, written
// without a trailing separator), removed afterwards.
class SDiskTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        GetCurrentDirectoryA(MAX_PATH, m_oldCurrent);
        static int serial = 0;
        root.Format("%svxdisk%lu_%d", temp, GetCurrentProcessId(), ++serial);
        ASSERT_TRUE(CreateDirectoryA(root.Text(), nullptr));
    }
    void TearDown() override
    {
        SetCurrentDirectoryA(m_oldCurrent);
        RemoveTree(root);
    }

    SString At(const char* relative) const { return root + "\\" + relative; }
    // Entries ending in "\\" are folders, the others files of `size` bytes;
    // a leading "!" hides the entry.
    void Make(std::initializer_list<const char*> entries, int size = 0)
    {
        for (const char* entry : entries) {
            bool hidden = entry[0] == '!';
            SString path = At(entry + (hidden ? 1 : 0));
            if (path.GetAt(path.GetLength() - 1) == '\\') {
                ASSERT_TRUE(CreateDirectoryA(path.Text(), nullptr)) << entry;
            } else {
                FILE* file = fopen(path.Text(), "wb");
                ASSERT_NE(file, nullptr) << entry;
                for (int i = 0; i < size; i++)
                    fputc('x', file);
                fclose(file);
            }
            DWORD attributes = GetFileAttributesA(path.Text());
            if (hidden)
                attributes |= FILE_ATTRIBUTE_HIDDEN;
            ASSERT_TRUE(SetFileAttributesA(path.Text(), attributes)) << entry;
        }
    }
    void MakeTree()
    {
        Make({"a.txt", "b.dat", "!h.txt", "empty\\", "full\\", "full\\sub\\", "full\\sub\\y.txt",
              "full\\x.txt", "!hid\\", "hid\\z.txt", "onlydirs\\", "onlydirs\\inner\\", "quiet\\",
              "!quiet\\q.txt"});
    }

    // The listing of pattern (below root) with root's prefix taken off.
    Names Walk(const char* pattern, uint32_t flags, int* count = nullptr, int* files = nullptr,
               int* folders = nullptr)
    {
        SDisk disk;
        SStringArray out;
        int found = disk.List(&out, At(pattern).Text(), flags, files, folders);
        if (count)
            *count = found;
        Names names;
        SString prefix = root + "\\";
        for (int i = 0; i < out.GetCount(); i++) {
            SString name = out.GetAt(i);
            EXPECT_EQ(name.Left(prefix.GetLength()), prefix);
            names.push_back(name.Mid(prefix.GetLength()).Text());
        }
        return names;
    }

    SString root;

private:
    char m_oldCurrent[MAX_PATH];
};

TEST_F(SDiskTest, ListWalksPreOrderInDirectoryOrderWithTopLevelCounters)
{
    MakeTree();
    const uint32_t all = SDISK_RECURSE | SDISK_FOLDERS | SDISK_FILES;
    int count = 0, files = -1, folders = -1;
    EXPECT_EQ(Walk("*.*", all, &count, &files, &folders),
              (Names {"a.txt", "b.dat", "empty\\", "full\\", "full\\sub\\", "full\\sub\\y.txt",
                      "full\\x.txt", "h.txt", "hid\\", "hid\\z.txt", "onlydirs\\",
                      "onlydirs\\inner\\", "quiet\\", "quiet\\q.txt"}));
    EXPECT_EQ(count, 14);
    EXPECT_EQ(files, 3);
    EXPECT_EQ(folders, 5);

    EXPECT_EQ(Walk("*.*", all | SDISK_NOHIDDEN, &count, &files, &folders),
              (Names {"a.txt", "b.dat", "empty\\", "full\\", "full\\sub\\", "full\\sub\\y.txt",
                      "full\\x.txt", "onlydirs\\", "onlydirs\\inner\\", "quiet\\"}));
    EXPECT_EQ(count, 10);
    EXPECT_EQ(files, 2);
    EXPECT_EQ(folders, 4);

    EXPECT_EQ(Walk("*.*", SDISK_FILES), (Names {"a.txt", "b.dat", "h.txt"}));
    EXPECT_EQ(Walk("*", SDISK_RECURSE | SDISK_FOLDERS),
              (Names {"empty\\", "full\\", "full\\sub\\", "hid\\", "onlydirs\\",
                      "onlydirs\\inner\\", "quiet\\"}));
    EXPECT_EQ(Walk("missing\\*.*", all, &count, &files, &folders), Names {});
    EXPECT_EQ(count + files + folders, 0);
}

TEST_F(SDiskTest, ListFolderFiltersLookAtDirectContentOnly)
{
    MakeTree();
    const uint32_t walk = SDISK_RECURSE | SDISK_FOLDERS;
    EXPECT_EQ(Walk("*.*", walk | SDISK_NOFILES),
              (Names {"empty\\", "onlydirs\\", "onlydirs\\inner\\"}));
    // A hidden file does not count when hidden entries are skipped.
    EXPECT_EQ(Walk("*.*", walk | SDISK_NOFILES | SDISK_NOHIDDEN),
              (Names {"empty\\", "onlydirs\\", "onlydirs\\inner\\", "quiet\\"}));
    EXPECT_EQ(Walk("*.*", walk | SDISK_HASFILES),
              (Names {"full\\", "full\\sub\\", "hid\\", "quiet\\"}));
    EXPECT_EQ(Walk("*.*", walk | SDISK_NOFOLDERS),
              (Names {"empty\\", "full\\sub\\", "hid\\", "onlydirs\\inner\\", "quiet\\"}));
    EXPECT_EQ(Walk("*.*", walk | SDISK_HASFOLDERS), (Names {"full\\", "onlydirs\\"}));
    EXPECT_EQ(Walk("*.*", walk | SDISK_HASFILES | SDISK_HASFOLDERS), (Names {"full\\"}));

    // Contradictory filters switch folders off; files are still listed.
    int count = -1;
    EXPECT_EQ(Walk("*.*", walk | SDISK_NOFILES | SDISK_HASFILES, &count), Names {});
    EXPECT_EQ(count, 0);
    EXPECT_EQ(Walk("*.*", walk | SDISK_NOFOLDERS | SDISK_HASFOLDERS), Names {});
    EXPECT_EQ(Walk("*.*", walk | SDISK_FILES | SDISK_NOFOLDERS | SDISK_HASFOLDERS | SDISK_NOHIDDEN),
              (Names {"a.txt", "b.dat", "full\\sub\\y.txt", "full\\x.txt"}));
    EXPECT_EQ(Walk("*.*", SDISK_RECURSE), Names {});

    // The five-choice form: recurse, folders, files, empty folders only, hidden.
    SDisk disk;
    SString all = At("*.*");
    EXPECT_EQ(disk.List(nullptr, all.Text(), true, true, false, true, true), 2);
    EXPECT_EQ(disk.List(nullptr, all.Text(), false, false, true, false, false), 2);
    EXPECT_EQ(disk.List(nullptr, all.Text(), false, false, true, false, true), 3);
    EXPECT_EQ(disk.List(nullptr, all.Text(), true, true, true, true, false), 7);
}

TEST_F(SDiskTest, ListMaskDescendsIntoNonMatchingFoldersAndKeepsThePrefix)
{
    Make({"src\\", "src\\data\\", "src\\data\\x.txt", "src\\data\\y.bin", "src\\data\\run.log",
          "src\\dir.txt\\", "src\\dir.txt\\k.txt", "src\\notes.txt", "src\\readme.md"});
    int count = 0, files = -1, folders = -1;
    EXPECT_EQ(Walk("src\\*.txt", SDISK_RECURSE | SDISK_FILES),
              (Names {"src\\data\\x.txt", "src\\dir.txt\\k.txt", "src\\notes.txt"}));
    EXPECT_EQ(
        Walk("src\\*.txt", SDISK_RECURSE | SDISK_FILES | SDISK_FOLDERS, &count, &files, &folders),
        (Names {"src\\data\\x.txt", "src\\dir.txt\\", "src\\dir.txt\\k.txt", "src\\notes.txt"}));
    EXPECT_EQ(count, 4);
    EXPECT_EQ(files, 1);
    EXPECT_EQ(folders, 1);
    // Nothing matches at the top level, yet the walk goes down.
    EXPECT_EQ(Walk("src\\*.log", SDISK_RECURSE | SDISK_FILES), (Names {"src\\data\\run.log"}));
    EXPECT_EQ(Walk("src\\*.log", SDISK_FILES), Names {});

    // The folder part stays as written: relative, and with its own separator.
    ASSERT_TRUE(SetCurrentDirectoryA(root.Text()));
    SDisk disk;
    SStringArray out;
    EXPECT_EQ(disk.List(&out, "src/*.txt", SDISK_RECURSE | SDISK_FILES), 3);
    EXPECT_STREQ(out.GetText(0), "src/data\\x.txt");
    EXPECT_STREQ(out.GetText(2), "src/notes.txt");
}

TEST_F(SDiskTest, ListExactNameGivesTheBareName)
{
    MakeTree();
    SDisk disk;
    SStringArray out;
    int files = -1, folders = -1;
    EXPECT_EQ(disk.List(&out, At("full").Text(), SDISK_FOLDERS | SDISK_FILES, &files, &folders), 1);
    EXPECT_EQ(disk.List(&out, At("a.txt").Text(), SDISK_FILES), 1);
    EXPECT_STREQ(out.Join("|").Text(), "full\\|a.txt");
    EXPECT_EQ(files, 0);
    EXPECT_EQ(folders, 1);
    EXPECT_EQ(disk.List(nullptr, At("full").Text(), SDISK_FOLDERS | SDISK_HASFILES), 1);
    EXPECT_EQ(disk.List(nullptr, At("full").Text(), SDISK_FOLDERS | SDISK_NOFILES), 0);
    EXPECT_EQ(disk.List(nullptr, At("full").Text(), SDISK_FILES), 0);
    EXPECT_EQ(disk.List(nullptr, At("a.txt").Text(), SDISK_FOLDERS), 0);
    EXPECT_EQ(disk.List(nullptr, At("h.txt").Text(), SDISK_FILES | SDISK_NOHIDDEN), 0);
}

TEST_F(SDiskTest, ExistsIsFileIsFolderAndSizes)
{
    MakeTree();
    Make({"some.bin"}, 1234);
    SDisk disk;
    EXPECT_TRUE(disk.Exists(At("a.txt").Text()));
    EXPECT_STREQ(disk.GetBuffer(), At("a.txt").Text());
    EXPECT_TRUE(disk.Exists(At("full\\").Text()));
    EXPECT_FALSE(disk.Exists(At("nope").Text()));
    EXPECT_FALSE(disk.Exists(""));

    for (const char* file : {"a.txt", "h.txt"})
        EXPECT_TRUE(disk.IsFile(At(file).Text())) << file;
    for (const char* other : {"a.txt\\", "full", "full\\", "nope.txt"})
        EXPECT_FALSE(disk.IsFile(At(other).Text())) << other;
    for (const char* folder : {"full", "full\\", "full/", "hid"})
        EXPECT_TRUE(disk.IsFolder(At(folder).Text())) << folder;
    for (const char* other : {"a.txt", "nope\\"})
        EXPECT_FALSE(disk.IsFolder(At(other).Text())) << other;

    // Relative names are looked up in the current folder only.
    ASSERT_TRUE(SetCurrentDirectoryA(At("full").Text()));
    EXPECT_TRUE(disk.IsFile("x.txt"));
    EXPECT_TRUE(disk.IsFolder("sub"));
    EXPECT_TRUE(disk.Exists("sub\\y.txt"));
    EXPECT_STREQ(disk.GetBuffer(), At("full\\sub\\y.txt").Text());
    EXPECT_FALSE(disk.IsFile("a.txt"));

    EXPECT_EQ(disk.FileSize(At("some.bin").Text()), 1234u);
    EXPECT_EQ(disk.FileSizeByStream(At("some.bin").Text()), 1234u);
    EXPECT_EQ(disk.FileSize(At("nope.bin").Text()), 0u);
    EXPECT_EQ(disk.FileSizeByStream(At("nope.bin").Text()), 0xFFFFFFFFu);
    EXPECT_EQ(disk.FileSizeByStream(""), 0xFFFFFFFFu);
}

TEST_F(SDiskTest, TempFolderAndTempFileName)
{
    SDisk disk;
    SString folder = disk.TempFolder();
    ASSERT_GT(folder.GetLength(), 3);
    EXPECT_EQ(folder.GetAt(folder.GetLength() - 1), '\\');
    EXPECT_TRUE(disk.IsFolder(folder.Text()));
    EXPECT_TRUE(disk.SetFolderSeparator(false));
    EXPECT_EQ(disk.TempFolder(), folder.Left(folder.GetLength() - 1));

    disk.SetFolderSeparator(true);
    SString first = disk.TempFileName();
    SString second = disk.TempFileName();
    EXPECT_TRUE(disk.GetFolderSeparator());
    EXPECT_STREQ(disk.GetBuffer(), second.Text());
    EXPECT_NE(first, second);
    for (const SString* name : {&first, &second}) {
        EXPECT_EQ(name->Left(folder.GetLength() + 3).CompareNoCase((folder + "tmp").Text()), 0);
        EXPECT_EQ(name->Right(4).CompareNoCase(".tmp"), 0);
        EXPECT_TRUE(disk.IsFile(name->Text()));
        EXPECT_TRUE(disk.Remove(name->Text()));
        EXPECT_FALSE(disk.Remove(name->Text()));
    }
}

TEST_F(SDiskTest, CreateFolder)
{
    Make({"a.txt"});
    SDisk disk;
    EXPECT_FALSE(disk.CreateFolder(At("x\\y").Text(), false));
    EXPECT_FALSE(disk.IsFolder(At("x").Text()));
    EXPECT_TRUE(disk.CreateFolder(At("x\\y\\z").Text(), true));
    EXPECT_TRUE(disk.IsFolder(At("x\\y\\z").Text()));
    EXPECT_TRUE(disk.CreateFolder(At("x\\y\\z\\").Text(), false));   // already there
    EXPECT_TRUE(disk.CreateFolder((root + "/x/w/").Text(), false));
    EXPECT_TRUE(disk.IsFolder(At("x\\w").Text()));
    EXPECT_FALSE(disk.CreateFolder(At("a.txt\\sub").Text(), true));   // a file in the way

    ASSERT_TRUE(SetCurrentDirectoryA(root.Text()));
    EXPECT_TRUE(disk.CreateFolder("rel\\deep", true));
    EXPECT_TRUE(disk.IsFolder(At("rel\\deep").Text()));
    for (const char* never : {"C:\\", "C:", ""})
        EXPECT_FALSE(disk.CreateFolder(never, true)) << never;
}

TEST_F(SDiskTest, UniqueName)
{
    SDisk disk;
    SString folder = root + "\\";
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", "upd"), folder + "pkg.upd");
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", ""), folder + "pkg");
    Make({"pkg.upd"});

    // The number is rand() / 32768 * 1000000, truncated; a taken one is drawn again.
    srand(7);
    int first = (int)((long long)rand() * 1000000 / 32768);
    int second = (int)((long long)rand() * 1000000 / 32768);
    SString expected;
    expected.Format("%spkg%d.upd", folder.Text(), first);
    srand(7);
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", "upd"), expected);
    Make({expected.Mid(folder.GetLength()).Text()});
    expected.Format("%spkg%d.upd", folder.Text(), second);
    srand(7);
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", "upd"), expected);

    // Without the separator rule the folder is written bare and joined with "\\".
    disk.SetFolderSeparator(false);
    EXPECT_EQ(disk.UniqueName(root.Text(), "other", "bin"), folder + "other.bin");
    EXPECT_EQ(disk.UniqueName(At("nope\\").Text(), "pkg", "upd"), SString());
    EXPECT_EQ(disk.UniqueName(At("pkg.upd").Text(), "pkg", "upd"), SString());
}

TEST_F(SDiskTest, OpenStartsInTheFilesOwnFolder)
{
    Make({"run\\"});
    FILE* script = fopen(At("run\\where.bat").Text(), "wb");
    ASSERT_NE(script, nullptr);
    fputs("@cd > where.txt\r\n", script);
    fclose(script);

    SDisk disk;
    ASSERT_TRUE(disk.Open(At("run\\where.bat").Text(), nullptr, true, SW_HIDE));
    SString written = At("run\\where.txt");
    for (int i = 0; i < 200 && disk.FileSize(written.Text()) == 0; i++)
        Sleep(50);
    char line[MAX_PATH] = {};
    FILE* file = fopen(written.Text(), "rb");
    ASSERT_NE(file, nullptr);
    fgets(line, sizeof(line), file);
    fclose(file);
    SString folder(line);
    folder.Trim();
    EXPECT_EQ(folder.CompareNoCase(At("run").Text()), 0) << line;
    EXPECT_FALSE(disk.Open(At("run\\missing.bat").Text(), nullptr, true, SW_HIDE));
}

}   // namespace
