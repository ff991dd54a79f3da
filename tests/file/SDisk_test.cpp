#include "file/SDisk.h"

#include <stdio.h>
#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include "FileTestSupport.h"

namespace {

class SDiskTest : public TempFolderTest {
protected:
    SString At(const char* relative) const { return Path(relative).c_str(); }
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
                Put(entry + (hidden ? 1 : 0), std::string((size_t)size, 'x'));
            }
            if (hidden)
                SetFileAttributesA(path.Text(),
                                   GetFileAttributesA(path.Text()) | FILE_ATTRIBUTE_HIDDEN);
        }
    }
    void MakeTree()
    {
        Make({"a.txt", "b.dat", "!h.txt", "empty\\", "full\\", "full\\sub\\", "full\\sub\\y.txt",
              "full\\x.txt", "!hid\\", "hid\\z.txt", "onlydirs\\", "onlydirs\\inner\\", "quiet\\",
              "!quiet\\q.txt"});
    }

    // The listing of pattern (below root) with root's prefix taken off, joined
    // with "|", then the count found and the top level's file and folder
    // counts.
    std::string Walk(const char* pattern, uint32_t flags)
    {
        SDisk disk;
        SStringArray out;
        int files = -1, folders = -1;
        int found = disk.List(&out, At(pattern).Text(), flags, &files, &folders);
        std::string names;
        SString prefix = root.c_str();
        for (int i = 0; i < out.GetCount(); i++) {
            EXPECT_EQ(out.GetAt(i).Left(prefix.GetLength()), prefix);
            names += out.GetAt(i).Mid(prefix.GetLength()).Text() + std::string("|");
        }
        return names + std::to_string(found) + " " + std::to_string(files) + " " +
            std::to_string(folders);
    }
};

const uint32_t kWalk = SDISK_RECURSE | SDISK_FOLDERS, kAll = kWalk | SDISK_FILES;

TEST_F(SDiskTest, ListWalksPreOrderWithFiltersAndTopLevelCounters)
{
    MakeTree();
    // Folder filters look at a folder's direct content only; a hidden file
    // does not count when hidden entries are skipped. Contradictory filters
    // switch folders off, files are still listed.
    const struct {
        const char* pattern;
        uint32_t flags;
        const char* walk;
    } rows[] = {
        {"*.*", kAll,
         "a.txt|b.dat|empty\\|full\\|full\\sub\\|full\\sub\\y.txt|full\\x.txt|h.txt|hid\\|"
         "hid\\z.txt|onlydirs\\|onlydirs\\inner\\|quiet\\|quiet\\q.txt|14 3 5"},
        {"*.*", kAll | SDISK_NOHIDDEN,
         "a.txt|b.dat|empty\\|full\\|full\\sub\\|full\\sub\\y.txt|full\\x.txt|onlydirs\\|"
         "onlydirs\\inner\\|quiet\\|10 2 4"},
        {"*.*", SDISK_FILES, "a.txt|b.dat|h.txt|3 3 0"},
        {"*", kWalk, "empty\\|full\\|full\\sub\\|hid\\|onlydirs\\|onlydirs\\inner\\|quiet\\|7 0 5"},
        {"missing\\*.*", kAll, "0 0 0"},
        {"*.*", kWalk | SDISK_NOFILES, "empty\\|onlydirs\\|onlydirs\\inner\\|3 0 2"},
        {"*.*", kWalk | SDISK_NOFILES | SDISK_NOHIDDEN,
         "empty\\|onlydirs\\|onlydirs\\inner\\|quiet\\|4 0 3"},
        {"*.*", kWalk | SDISK_HASFILES, "full\\|full\\sub\\|hid\\|quiet\\|4 0 3"},
        {"*.*", kWalk | SDISK_NOFOLDERS,
         "empty\\|full\\sub\\|hid\\|onlydirs\\inner\\|quiet\\|5 0 3"},
        {"*.*", kWalk | SDISK_HASFOLDERS, "full\\|onlydirs\\|2 0 2"},
        {"*.*", kWalk | SDISK_NOFILES | SDISK_HASFILES, "0 0 0"},
        {"*.*", kAll | SDISK_NOFOLDERS | SDISK_HASFOLDERS | SDISK_NOHIDDEN,
         "a.txt|b.dat|full\\sub\\y.txt|full\\x.txt|4 2 0"},
        {"*.*", SDISK_RECURSE, "0 0 0"},
    };
    for (auto& r : rows)
        EXPECT_EQ(Walk(r.pattern, r.flags), r.walk) << r.pattern << " " << r.flags;

    // The five-choice form: recurse, folders, files, empty folders only, hidden.
    SDisk disk;
    SString all = At("*.*");
    EXPECT_EQ(disk.List(nullptr, all.Text(), true, true, false, true, true), 2);
    EXPECT_EQ(disk.List(nullptr, all.Text(), false, false, true, false, false), 2);
    EXPECT_EQ(disk.List(nullptr, all.Text(), false, false, true, false, true), 3);
    EXPECT_EQ(disk.List(nullptr, all.Text(), true, true, true, true, false), 7);

    // An exact name gives the bare name, filters applied.
    SStringArray out;
    EXPECT_EQ(disk.List(&out, At("full").Text(), SDISK_FOLDERS | SDISK_FILES), 1);
    EXPECT_EQ(disk.List(&out, At("a.txt").Text(), SDISK_FILES), 1);
    EXPECT_STREQ(out.Join("|").Text(), "full\\|a.txt");
    EXPECT_EQ(disk.List(nullptr, At("full").Text(), SDISK_FOLDERS | SDISK_HASFILES), 1);
    EXPECT_EQ(disk.List(nullptr, At("full").Text(), SDISK_FOLDERS | SDISK_NOFILES), 0);
    EXPECT_EQ(disk.List(nullptr, At("h.txt").Text(), SDISK_FILES | SDISK_NOHIDDEN), 0);
    // "?" alone makes no wildcard mask: the system matches it, the name comes bare.
    out.RemoveAll();
    EXPECT_EQ(disk.List(&out, At("?.txt").Text(), SDISK_FILES), 2);
    EXPECT_STREQ(out.Join("|").Text(), "a.txt|h.txt");
}

TEST_F(SDiskTest, ListMaskDescendsIntoNonMatchingFoldersAndKeepsThePrefix)
{
    Make({"src\\", "src\\data\\", "src\\data\\x.txt", "src\\data\\y.bin", "src\\data\\run.log",
          "src\\dir.txt\\", "src\\dir.txt\\k.txt", "src\\notes.txt", "src\\readme.md"});
    EXPECT_EQ(Walk("src\\*.txt", SDISK_RECURSE | SDISK_FILES),
              "src\\data\\x.txt|src\\dir.txt\\k.txt|src\\notes.txt|3 1 0");
    EXPECT_EQ(Walk("src\\*.txt", kAll),
              "src\\data\\x.txt|src\\dir.txt\\|src\\dir.txt\\k.txt|src\\notes.txt|4 1 1");
    // Nothing matches at the top level, yet the walk goes down.
    EXPECT_EQ(Walk("src\\*.log", SDISK_RECURSE | SDISK_FILES), "src\\data\\run.log|1 0 0");
    EXPECT_EQ(Walk("src\\*.log", SDISK_FILES), "0 0 0");

    // The folder part stays as written: relative, and with its own separator.
    ASSERT_TRUE(SetCurrentDirectoryA(root.c_str()));
    SDisk disk;
    SStringArray out;
    EXPECT_EQ(disk.List(&out, "src/*.txt", SDISK_RECURSE | SDISK_FILES), 3);
    EXPECT_STREQ(out.GetText(0), "src/data\\x.txt");
    EXPECT_STREQ(out.GetText(2), "src/notes.txt");
}

TEST_F(SDiskTest, ExistsIsFileIsFolderAndSizes)
{
    MakeTree();
    Make({"some.bin"}, 1234);
    SDisk disk;
    EXPECT_TRUE(disk.Exists(At("full\\").Text()));
    EXPECT_FALSE(disk.Exists(At("nope").Text()) || disk.Exists(""));
    // Path, IsFile, IsFolder.
    const struct {
        const char* path;
        bool file, folder;
    } rows[] = {{"a.txt", true, false}, {"h.txt", true, false},     {"a.txt\\", false, false},
                {"full", false, true},  {"full\\", false, true},    {"full/", false, true},
                {"hid", false, true},   {"nope.txt", false, false}, {"nope\\", false, false}};
    for (auto& r : rows) {
        EXPECT_EQ(disk.IsFile(At(r.path).Text()), r.file) << r.path;
        EXPECT_EQ(disk.IsFolder(At(r.path).Text()), r.folder) << r.path;
    }

    // Relative names are looked up in the current folder only, never along PATH.
    ASSERT_TRUE(SetCurrentDirectoryA(At("full").Text()));
    EXPECT_TRUE(disk.Exists("sub\\y.txt"));
    EXPECT_STREQ(disk.GetBuffer(), At("full\\sub\\y.txt").Text());
    std::string path = getenv("PATH") ? getenv("PATH") : "";
    _putenv_s("PATH", root.c_str());
    EXPECT_FALSE(disk.Exists("a.txt"));
    EXPECT_FALSE(disk.IsFile("a.txt"));
    _putenv_s("PATH", path.c_str());

    EXPECT_TRUE(disk.FileSize(At("some.bin").Text()) == 1234u &&
                disk.FileSizeByStream(At("some.bin").Text()) == 1234u);
    EXPECT_EQ(disk.FileSize(At("nope.bin").Text()), 0u);
    EXPECT_EQ(disk.FileSizeByStream(At("nope.bin").Text()) & disk.FileSizeByStream(""),
              0xFFFFFFFFu);
}

TEST_F(SDiskTest, TempFolderAndTempFileName)
{
    // The temporary folder named in 8.3 form comes back in its long form.
    Make({"Long Temporary Folder\\"});
    char shortForm[MAX_PATH], saved[MAX_PATH] = "";
    ASSERT_GT(GetShortPathNameA(At("Long Temporary Folder").Text(), shortForm, MAX_PATH), 0u);
    ASSERT_EQ(SString(shortForm).Find("Long Temporary"), -1) << shortForm;
    DWORD savedLength = GetEnvironmentVariableA("TMP", saved, MAX_PATH);
    SetEnvironmentVariableA("TMP", shortForm);
    SDisk disk;
    SString folder = disk.TempFolder();
    SetEnvironmentVariableA("TMP", savedLength ? saved : nullptr);
    EXPECT_EQ(folder, At("Long Temporary Folder\\"));
    EXPECT_TRUE(disk.SetFolderSeparator(false));
    folder = disk.TempFolder();
    EXPECT_NE(folder.GetAt(folder.GetLength() - 1), '\\');
    folder += "\\";

    // The name is made without the separator rule, which is then restored.
    SString names[2];
    for (bool rule : {false, true}) {
        disk.SetFolderSeparator(rule);
        SString name = names[rule] = disk.TempFileName();
        EXPECT_EQ(disk.GetFolderSeparator(), rule);
        EXPECT_STREQ(disk.GetBuffer(), name.Text());
        EXPECT_EQ(name.Left(folder.GetLength() + 3).CompareNoCase((folder + "tmp").Text()), 0);
        EXPECT_EQ(name.Right(4).CompareNoCase(".tmp"), 0);
        EXPECT_TRUE(disk.IsFile(name.Text()));
        EXPECT_TRUE(disk.Remove(name.Text()));
        EXPECT_FALSE(disk.Remove(name.Text()));
    }
    EXPECT_NE(names[0], names[1]);
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
    EXPECT_TRUE(disk.CreateFolder(At("x/w/").Text(), false));
    EXPECT_TRUE(disk.IsFolder(At("x\\w").Text()));
    EXPECT_FALSE(disk.CreateFolder(At("a.txt\\sub").Text(), true));   // a file in the way

    ASSERT_TRUE(SetCurrentDirectoryA(root.c_str()));
    EXPECT_TRUE(disk.CreateFolder("rel\\deep", true));
    EXPECT_TRUE(disk.IsFolder(At("rel\\deep").Text()));
    // Texts that cannot be made end with false: roots, a doubled separator
    // (its parent once was the path itself), deep and over-long paths.
    std::string deepShare = "\\\\nohost\\share";
    while (deepShare.size() < 1000)
        deepShare += "\\d";
    for (std::string never :
         {std::string("C:\\"), std::string("C:"), std::string(""),
          std::string("\\\\nohost\\\\share\\app"), std::string("http://h//a//b/"), deepShare,
          deepShare + deepShare, root + std::string(2000, 'n')})
        EXPECT_FALSE(disk.CreateFolder(never.c_str(), true)) << never.size();
}

TEST_F(SDiskTest, UniqueName)
{
    SDisk disk;
    SString folder = root.c_str(), bare = folder.Left(folder.GetLength() - 1);
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", ""), folder + "pkg");
    Make({"pkg.upd"});

    // The number is rand() / 32768 * 1000000, truncated.
    srand(7);
    SString first;
    first.Format("pkg%d.upd", (int)((long long)rand() * 1000000 / 32768));
    srand(7);
    EXPECT_EQ(disk.UniqueName(folder.Text(), "pkg", "upd"), folder + first);

    // Without the separator rule the folder is written bare and joined with "\\".
    disk.SetFolderSeparator(false);
    EXPECT_EQ(disk.UniqueName(bare.Text(), "other", "bin"), folder + "other.bin");
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
    SFileMem file;
    SString line;
    ASSERT_TRUE(file.LoadFile(written.Text()));
    file.ReadLine(line, true);
    EXPECT_EQ(line.CompareNoCase(At("run").Text()), 0) << line.Text();
    EXPECT_FALSE(disk.Open(At("run\\missing.bat").Text(), nullptr, true, SW_HIDE));
}

}   // namespace
