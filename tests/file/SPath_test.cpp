#include "file/SPath.h"

#include <string>

#include <windows.h>

#include <gtest/gtest.h>

namespace {

// Root, FolderPart, Name, Full and Parent joined with "|".
std::string Parts(const SPath& path)
{
    std::string parts;
    for (const SString& part : {path.Root(), path.FolderPart(), path.Name(), path.Full()})
        parts += std::string(part.Text()) + "|";
    return parts + path.Parent().Text();
}

TEST(SPathTest, PartsOfLocalShareAndUrlPaths)
{
    // The text, its kind, its parts with the folder-separator rule on and off.
    // A bare server or host gets a root with its separator added, and is also the name.
    const struct {
        const char* text;
        int kind;
        const char *on, *off;
    } cases[] = {
        {"C:/dir\\sub/file.txt", SPATH_LOCAL,
         "C:\\|dir\\sub\\|file.txt|C:\\dir\\sub\\file.txt|C:\\dir\\sub\\",
         "C:\\|dir\\sub|file.txt|C:\\dir\\sub\\file.txt|C:\\dir\\sub"},
        {"C:\\dir\\sub\\", SPATH_LOCAL, "C:\\|dir\\sub\\||C:\\dir\\sub\\|C:\\dir\\",
         "C:\\|dir\\sub||C:\\dir\\sub|C:\\dir"},
        {"C:\\file.txt", SPATH_LOCAL, "C:\\||file.txt|C:\\file.txt|C:\\",
         "C:\\||file.txt|C:\\file.txt|C:\\"},
        {"C:\\", SPATH_LOCAL, "C:\\|||C:\\|", "C:\\|||C:\\|"},
        {"\\\\server\\share/dir\\file.txt", SPATH_SHARE,
         "\\\\server\\|share\\dir\\|file.txt|\\\\server\\share\\dir\\file.txt|"
         "\\\\server\\share\\dir\\",
         "\\\\server\\|share\\dir|file.txt|\\\\server\\share\\dir\\file.txt|"
         "\\\\server\\share\\dir"},
        {"\\\\server\\share\\", SPATH_SHARE,
         "\\\\server\\|share\\||\\\\server\\share\\|\\\\server\\",
         "\\\\server\\|share||\\\\server\\share|\\\\server\\"},
        {"\\\\server", SPATH_SHARE, "\\\\server\\||server|\\\\server|\\\\server\\",
         "\\\\server\\||server|\\\\server|\\\\server\\"},
        // A doubled separator leaves an empty folder; walking up still ends at the root.
        {"\\\\server\\\\share\\app\\", SPATH_SHARE,
         "\\\\server\\|\\share\\app\\||\\\\server\\\\share\\app\\|\\\\server\\\\share\\",
         "\\\\server\\|\\share\\app||\\\\server\\\\share\\app|\\\\server\\\\share"},
        {"\\\\server\\\\", SPATH_SHARE, "\\\\server\\|\\||\\\\server\\\\|\\\\server\\",
         "\\\\server\\|||\\\\server\\|"},
        {"http://host//", SPATH_URL, "http://host/|/||http://host//|http://host/",
         "http://host/|||http://host/|"},
        {"http://host\\a\\b.bin", SPATH_URL,
         "http://host/|a/|b.bin|http://host/a/b.bin|http://host/a/",
         "http://host/|a|b.bin|http://host/a/b.bin|http://host/a"},
        {"http://host", SPATH_URL, "http://host/||host|http://host|http://host/",
         "http://host/||host|http://host|http://host/"},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.text);
        SPath path(c.text);
        EXPECT_EQ(path.GetKind(), c.kind);
        EXPECT_STREQ(path.GetText().Text(), c.text);
        EXPECT_EQ(Parts(path), c.on);
        bool hasName = !path.Name().IsEmpty();
        EXPECT_EQ(path.HasName(), hasName);
        EXPECT_EQ(path.IsSubFolder(), !hasName && !path.FolderPart().IsEmpty());
        path.SetFolderSeparator(false);
        EXPECT_EQ(Parts(path), c.off);
    }

    SPath path, url;
    EXPECT_TRUE(path.SetFolder("C:\\dir") == SPATH_LOCAL && path.Full() == "C:\\dir\\");
    EXPECT_TRUE(url.SetFolder("ftp://host/a") == SPATH_URL && url.Full() == "ftp://host/a/");
}

TEST(SPathTest, RelativePathsAreMadeAbsolute)
{
    char old[MAX_PATH], temp[MAX_PATH], current[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, old);
    GetTempPathA(MAX_PATH, temp);
    ASSERT_TRUE(SetCurrentDirectoryA(temp));
    GetCurrentDirectoryA(MAX_PATH, current);
    SString here(current);   // no trailing separator below a root
    SString above = here.Left(here.ReverseFind('\\') + 1);

    SPath path("x/y.txt"), dot("."), up("..");
    EXPECT_TRUE(path.Full() == here + "\\x\\y.txt" && path.GetText() == "x/y.txt");
    EXPECT_TRUE(dot.Full() == here + "\\" && dot.IsSubFolder() && up.Full() == above);
    SetCurrentDirectoryA(old);
}

TEST(SPathTest, TitleAndExtension)
{
    // Path, Title, Extension with dot, Extension upper-cased without dot;
    // only "a" to "z" change case.
    const char* rows[][4] = {
        {"C:\\dir.d\\Archive.Tar.gZ", "Archive.Tar", ".gZ", "GZ"},
        {"C:\\dir.d\\README", "README", "", ""},
        {"C:\\.profile", "", ".profile", "PROFILE"},
    };
    for (auto& r : rows) {
        SPath path(r[0]);
        EXPECT_STREQ(path.Title().Text(), r[1]) << r[0];
        EXPECT_STREQ(path.Extension(true, false).Text(), r[2]) << r[0];
        EXPECT_STREQ(path.Extension(false, true).Text(), r[3]) << r[0];
    }
    EXPECT_STREQ(SPath("C:\\a.gZ").Extension(true, true).Text(), ".GZ");
}

TEST(SPathTest, RejectedTextsAndInvalidPaths)
{
    for (const char* bad : {"C:\\a\"b", "C:\\a*", "C:\\a?b", "C:\\a\x1f"})
        EXPECT_FALSE(SPath::IsValidChars(bad)) << bad;
    EXPECT_TRUE(SPath::IsValidChars("C:\\a|b\\c:d \x7f\xe4"));

    SPath path("C:\\a.txt");
    EXPECT_TRUE(path.Set("C:\\b?.txt") == SPATH_INVALID && path.GetText() == "C:\\a.txt");   // kept
    EXPECT_TRUE(path.Set(nullptr) == SPATH_INVALID && path.GetText() == "");
    EXPECT_EQ(path.Set("C:\\a|b.txt"), SPATH_LOCAL);
    // The scheme ends at the first ":" and must be followed by "//".
    EXPECT_EQ(path.Set("C:\\dir\\http://host"), SPATH_INVALID);
    // A local path's full form holds at most 1023 characters.
    EXPECT_EQ(path.Set(("C:\\" + std::string(1021, 'n')).c_str()), SPATH_INVALID);

    path.Set("http:\\\\x?");
    EXPECT_FALSE(path.IsValid());
    for (const SString& part : {path.Root(), path.FolderPart(), path.Name(), path.Full(),
                                path.Parent(), path.Title(), path.Extension(true, false)})
        EXPECT_TRUE(part.IsEmpty());
    SStringArray parts;
    EXPECT_FALSE(path.HasName() || path.IsSubFolder() || path.Split(&parts) || parts.GetCount());
}

TEST(SPathTest, SplitGivesComponentsRootFirst)
{
    // The path and its components joined with "|".
    const char* cases[][2] = {
        {"C:\\src\\sub\\a.txt", "C:\\|src|sub|a.txt"},
        {"\\\\server\\share\\dir\\file.txt", "\\\\server\\|share|dir|file.txt"},
        {"http://host\\a/b.bin", "http://host/|a|b.bin"},
        {"http://host/a//b.bin", "http://host/|a|b.bin"},
    };
    for (auto& c : cases) {
        SStringArray parts;
        parts.Add("kept");
        int count = SPath(c[0]).Split(&parts);
        EXPECT_EQ(count, parts.GetCount() - 1) << c[0];
        EXPECT_STREQ(parts.Join("|", 1).Text(), c[1]);
    }
}

}   // namespace
