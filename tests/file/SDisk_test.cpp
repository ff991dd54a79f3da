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

    // The listing of pattern (below root) without root's prefix, joined with
    // "|", then the count found and the top level's file and folder counts.
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
    // A hidden file does not count when hidden entries are skipped.
    const struct {
        const char* pattern;
        uint32_t flags;
        const char* walk;
    } rows[] = {
        {"*.*", kAll,
         "a.txt|b.dat|empty\\|full\\|full\\sub\\|full\\sub\\y.txt|full\\x.txt|h.txt|hid\\|"
         "hid\\z.txt|onlydirs\\|onlydirs\\inner\\|quiet\\|quiet\\q.txt|14 3 5"},
        {"*.*", SDISK_RECURSE | SDISK_FILES | SDISK_NOHIDDEN,
         "a.txt|b.dat|full\\sub\\y.txt|full\\x.txt|4 2 0"},
        {"*.*", SDISK_FILES, "a.txt|b.dat|h.txt|3 3 0"},
        {"*.*", SDISK_RECURSE | SDISK_FILES,
         "a.txt|b.dat|full\\sub\\y.txt|full\\x.txt|h.txt|hid\\z.txt|quiet\\q.txt|7 3 0"},
        {"missing\\*.*", kAll, "0 0 0"},
        {"*.*", kWalk | SDISK_HASFILES, "full\\|full\\sub\\|hid\\|quiet\\|4 0 3"},
    };
    for (auto& r : rows)
        EXPECT_EQ(Walk(r.pattern, r.flags), r.walk) << r.pattern << " " << r.flags;

    // An exact name gives the bare name. "?" alone makes no wildcard mask:
    // the system matches it, the name comes bare.
    SDisk disk;
    SStringArray out;
    EXPECT_TRUE(disk.List(&out, At("a.txt").Text(), SDISK_FILES) == 1 &&
                disk.List(&out, At("?.txt").Text(), SDISK_FILES) == 2);
    EXPECT_STREQ(out.Join("|").Text(), "a.txt|a.txt|h.txt");
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
    } rows[] = {{"h.txt", true, false},
                {"a.txt\\", false, false},
                {"full/", false, true},
                {"hid", false, true},
                {"nope\\", false, false}};
    for (auto& r : rows) {
        EXPECT_EQ(disk.IsFile(At(r.path).Text()), r.file) << r.path;
        EXPECT_EQ(disk.IsFolder(At(r.path).Text()), r.folder) << r.path;
    }

    // Relative names are looked up in the current folder only, never along PATH.
    ASSERT_TRUE(SetCurrentDirectoryA(At("full").Text()));
    EXPECT_TRUE(disk.Exists("sub\\y.txt") && At("full\\sub\\y.txt") == disk.GetBuffer());
    std::string path = getenv("PATH") ? getenv("PATH") : "";
    _putenv_s("PATH", root.c_str());
    EXPECT_FALSE(disk.Exists("a.txt") || disk.IsFile("a.txt"));
    _putenv_s("PATH", path.c_str());

    EXPECT_TRUE(disk.FileSize(At("some.bin").Text()) == 1234u &&
                disk.FileSizeByStream(At("some.bin").Text()) == 1234u &&
                disk.FileSize(At("nope.bin").Text()) == 0u);
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
        EXPECT_TRUE(disk.GetFolderSeparator() == rule && name == disk.GetBuffer());
        EXPECT_EQ(name.Left(folder.GetLength() + 3).CompareNoCase((folder + "tmp").Text()), 0);
        EXPECT_EQ(name.Right(4).CompareNoCase(".tmp"), 0);
        EXPECT_TRUE(disk.IsFile(name.Text()) && disk.Remove(name.Text()) &&
                    !disk.Remove(name.Text()));
    }
    EXPECT_NE(names[0], names[1]);
}

TEST_F(SDiskTest, CreateFolder)
{
    Make({"a.txt"});
    SDisk disk;
    EXPECT_FALSE(disk.CreateFolder(At("x\\y").Text(), false) || disk.IsFolder(At("x").Text()));
    // Four missing levels: the walk up makes the top one, the rest go top-down.
    EXPECT_TRUE(disk.CreateFolder(At("x/y\\z\\w").Text(), true) &&
                disk.IsFolder(At("x\\y\\z\\w").Text()));
    EXPECT_TRUE(disk.CreateFolder(At("x\\y\\z\\w\\").Text(), false));   // already there
    EXPECT_FALSE(disk.CreateFolder(At("a.txt\\sub").Text(), true));     // a file in the way
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
