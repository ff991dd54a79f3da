#include "file/SPath.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace {

// The parts of a path under one folder-separator rule.
struct Parts {
    const char* root;
    const char* folderPart;
    const char* name;
    const char* full;
    const char* parent;
};

struct PartsCase {
    const char* text;
    int kind;
    Parts on;    // folder-separator rule on
    Parts off;   // and off
};

TEST(SPathTest, PartsOfLocalShareAndUrlPaths)
{
    const PartsCase cases[] = {
        {"C:/dir\\sub/file.txt",
         SPATH_LOCAL,
         {"C:\\", "dir\\sub\\", "file.txt", "C:\\dir\\sub\\file.txt", "C:\\dir\\sub\\"},
         {"C:\\", "dir\\sub", "file.txt", "C:\\dir\\sub\\file.txt", "C:\\dir\\sub"}},
        {"C:\\dir\\sub\\",
         SPATH_LOCAL,
         {"C:\\", "dir\\sub\\", "", "C:\\dir\\sub\\", "C:\\dir\\"},
         {"C:\\", "dir\\sub", "", "C:\\dir\\sub", "C:\\dir"}},
        {"C:\\dir\\",
         SPATH_LOCAL,
         {"C:\\", "dir\\", "", "C:\\dir\\", "C:\\"},
         {"C:\\", "dir", "", "C:\\dir", "C:\\"}},
        {"C:\\file.txt",
         SPATH_LOCAL,
         {"C:\\", "", "file.txt", "C:\\file.txt", "C:\\"},
         {"C:\\", "", "file.txt", "C:\\file.txt", "C:\\"}},
        {"C:\\", SPATH_LOCAL, {"C:\\", "", "", "C:\\", ""}, {"C:\\", "", "", "C:\\", ""}},
        {"\\\\server\\share/dir\\file.txt",
         SPATH_SHARE,
         {"\\\\server\\", "share\\dir\\", "file.txt", "\\\\server\\share\\dir\\file.txt",
          "\\\\server\\share\\dir\\"},
         {"\\\\server\\", "share\\dir", "file.txt", "\\\\server\\share\\dir\\file.txt",
          "\\\\server\\share\\dir"}},
        {"\\\\server\\share\\",
         SPATH_SHARE,
         {"\\\\server\\", "share\\", "", "\\\\server\\share\\", "\\\\server\\"},
         {"\\\\server\\", "share", "", "\\\\server\\share", "\\\\server\\"}},
        {"\\\\server\\",
         SPATH_SHARE,
         {"\\\\server\\", "", "", "\\\\server\\", ""},
         {"\\\\server\\", "", "", "\\\\server\\", ""}},
        // A bare server or host is a root: the separator is added, nothing is a name.
        {"\\\\server",
         SPATH_SHARE,
         {"\\\\server\\", "", "", "\\\\server", ""},
         {"\\\\server\\", "", "", "\\\\server\\", ""}},
        {"http://host\\a\\b.bin",
         SPATH_URL,
         {"http://host/", "a/", "b.bin", "http://host/a/b.bin", "http://host/a/"},
         {"http://host/", "a", "b.bin", "http://host/a/b.bin", "http://host/a"}},
        {"https://host/a/b/",
         SPATH_URL,
         {"https://host/", "a/b/", "", "https://host/a/b/", "https://host/a/"},
         {"https://host/", "a/b", "", "https://host/a/b", "https://host/a"}},
        {"http://host/",
         SPATH_URL,
         {"http://host/", "", "", "http://host/", ""},
         {"http://host/", "", "", "http://host/", ""}},
        {"http://host",
         SPATH_URL,
         {"http://host/", "", "", "http://host", ""},
         {"http://host/", "", "", "http://host/", ""}},
    };
    for (const PartsCase& c : cases) {
        SPath path(c.text);
        EXPECT_EQ(path.GetKind(), c.kind) << c.text;
        EXPECT_STREQ(path.GetText().Text(), c.text);
        bool hasName = c.on.name[0] != 0;
        EXPECT_EQ(path.HasName(), hasName) << c.text;
        EXPECT_EQ(path.IsSubFolder(), !hasName && c.on.folderPart[0] != 0) << c.text;
        for (bool rule : {true, false}) {
            SCOPED_TRACE((SString(c.text) + (rule ? " rule on" : " rule off")).Text());
            path.SetFolderSeparator(rule);
            const Parts& e = rule ? c.on : c.off;
            EXPECT_STREQ(path.Root().Text(), e.root);
            EXPECT_STREQ(path.FolderPart().Text(), e.folderPart);
            EXPECT_STREQ(path.Name().Text(), e.name);
            EXPECT_STREQ(path.Full().Text(), e.full);
            EXPECT_STREQ(path.Parent().Text(), e.parent);
        }
    }

    SPath path;
    EXPECT_EQ(path.SetFolder("C:\\dir"), SPATH_LOCAL);
    EXPECT_STREQ(path.Full().Text(), "C:\\dir\\");
    path.SetFolder("C:\\dir/");
    EXPECT_STREQ(path.Full().Text(), "C:\\dir\\");
    path.SetFolder("ftp://host/a");
    EXPECT_STREQ(path.Full().Text(), "ftp://host/a/");
    EXPECT_TRUE(path.IsSubFolder());
    EXPECT_TRUE(path.IsUrl());
    path.Set("\\\\s\\x");
    EXPECT_TRUE(path.IsShare());
}

TEST(SPathTest, RelativePathsAreMadeAbsolute)
{
    char old[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, old);
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    ASSERT_TRUE(SetCurrentDirectoryA(temp));
    char current[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, current);
    SString here(current);   // no trailing separator below a root
    SString above = here.Left(here.ReverseFind('\\') + 1);

    SPath path("x/y.txt");
    EXPECT_EQ(path.Full(), here + "\\x\\y.txt");
    EXPECT_STREQ(path.GetText().Text(), "x/y.txt");
    path.Set(".");
    EXPECT_EQ(path.Full(), here + "\\");
    EXPECT_TRUE(path.IsSubFolder());
    path.Set("..");
    EXPECT_EQ(path.Full(), above);
    path.Set("sub\\..\\.");
    EXPECT_EQ(path.Full(), here);
    EXPECT_TRUE(path.HasName());
    SetCurrentDirectoryA(old);
}

TEST(SPathTest, UrlAndShareTexts)
{
    SPath path;
    // The scheme ends at the first ":" and must be followed by "//".
    EXPECT_EQ(path.Set("C:\\dir\\http://host"), SPATH_INVALID);
    EXPECT_FALSE(path.IsValid());
    EXPECT_TRUE(SPath::IsUrlText("a://"));
    EXPECT_FALSE(SPath::IsUrlText("://host"));
    EXPECT_FALSE(SPath::IsUrlText("http:/host"));
    EXPECT_FALSE(SPath::IsUrlText(nullptr));
    EXPECT_TRUE(SPath::IsShareText("\\\\x"));
    EXPECT_FALSE(SPath::IsShareText("//x"));
    EXPECT_FALSE(SPath::IsShareText("\\x"));
}

TEST(SPathTest, NameTitleExtension)
{
    SPath path("C:\\dir.d\\Archive.Tar.gZ");
    EXPECT_STREQ(path.Title().Text(), "Archive.Tar");
    EXPECT_STREQ(path.Extension(true, false).Text(), ".gZ");
    EXPECT_STREQ(path.Extension(false, false).Text(), "gZ");
    EXPECT_STREQ(path.Extension(true, true).Text(), ".GZ");
    EXPECT_STREQ(path.Extension(false, true).Text(), "GZ");

    path.Set("C:\\dir.d\\README");
    EXPECT_STREQ(path.Title().Text(), "README");
    EXPECT_STREQ(path.Extension(true, true).Text(), "");
    path.Set("C:\\dir.d\\");
    EXPECT_STREQ(path.Title().Text(), "");
    EXPECT_STREQ(path.Extension(true, false).Text(), "");
    // Only "a" to "z" change case.
    path.Set("C:\\x.\xe4z{");
    EXPECT_STREQ(path.Extension(false, true).Text(), "\xe4Z{");
    path.Set("C:\\.profile");
    EXPECT_STREQ(path.Title().Text(), "");
    EXPECT_STREQ(path.Extension(false, false).Text(), "profile");
}

TEST(SPathTest, RejectedTextsAndInvalidPaths)
{
    for (const char* bad :
         {"C:\\a\"b", "C:\\a*", "C:\\a<b", "C:\\a>b", "C:\\a?b", "C:\\a\tb", "C:\\a\x1f"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(SPath::IsValidChars(bad));
    }
    EXPECT_TRUE(SPath::IsValidChars("C:\\a|b\\c:d \x7f\xe4"));

    SPath path("C:\\a.txt");
    EXPECT_EQ(path.Set("C:\\b?.txt"), SPATH_INVALID);
    EXPECT_STREQ(path.GetText().Text(), "C:\\a.txt");
    for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(path.Set(empty), SPATH_INVALID);
        EXPECT_STREQ(path.GetText().Text(), "");
    }
    EXPECT_EQ(path.Set("C:\\a|b.txt"), SPATH_LOCAL);

    path.Set("http:\\\\x?");
    EXPECT_FALSE(path.IsValid());
    for (const SString& part : {path.Root(), path.FolderPart(), path.Name(), path.Full(),
                                path.Parent(), path.Title(), path.Extension(true, false)})
        EXPECT_TRUE(part.IsEmpty());
    EXPECT_FALSE(path.HasName());
    EXPECT_FALSE(path.IsSubFolder());
    SStringArray parts;
    EXPECT_EQ(path.Split(&parts), 0);
    EXPECT_EQ(parts.GetCount(), 0);
}

TEST(SPathTest, SplitGivesComponentsRootFirst)
{
    struct Case {
        const char* path;
        const char* joined;   // the components joined with "|"
    } cases[] = {
        {"C:\\src\\sub\\a.txt", "C:\\|src|sub|a.txt"},
        {"C:\\src\\sub\\", "C:\\|src|sub"},
        {"C:\\", "C:\\"},
        {"\\\\server\\share\\dir\\file.txt", "\\\\server\\|share|dir|file.txt"},
        {"http://host\\a/b.bin", "http://host/|a|b.bin"},
        {"http://host", "http://host/"},
        {"http://host/a//b.bin", "http://host/|a|b.bin"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        SPath path(c.path);
        SStringArray parts;
        parts.Add("kept");
        int count = path.Split(&parts);
        EXPECT_EQ(count, parts.GetCount() - 1);
        EXPECT_STREQ(parts.Join("|", 1).Text(), c.joined);
    }

    // A file's name relative to a folder holding it.
    SPath folder, file;
    folder.SetFolder("C:\\src");
    file.Set("C:\\src\\sub\\deep\\a.txt");
    SStringArray folderParts, fileParts;
    int below = folder.Split(&folderParts);
    file.Split(&fileParts);
    EXPECT_STREQ(fileParts.Join("\\", below).Text(), "sub\\deep\\a.txt");
}

}   // namespace
