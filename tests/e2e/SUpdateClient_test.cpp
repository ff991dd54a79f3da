// The client helper against the tool's own argument reader: whatever the
// helper writes must come back as the four arguments, exactly.
#include <gtest/gtest.h>

#include "UpdateClient/SUpdateClient.h"
#include "system/SSystem.h"
#include "wnd/SWndApp.h"

namespace {

TEST(SUpdateClient, CommandLineReadsBackAsTheFourArguments)
{
    struct Case {
        const char* folder;
        const char* exe;
    } cases[] = {
        {"C:\\Program Files\\My App\\", "C:\\Program Files\\My App\\app.exe"},
        {"C:\\app", "C:\\app\\app.exe"},
        {"\\\\server\\share\\app\\", "\\\\server\\share\\app\\app.exe"},
        {"D:\\", "D:\\a b.exe"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.folder);
        std::string line;
        ASSERT_TRUE(SUpdateClient::BuildCommandLine("C:\\My App\\Update.exe", 4294967295ul,
                                                    "http://127.0.0.1:8080/a b/app.bin", c.folder,
                                                    c.exe, &line));
        SStringArray args;
        ASSERT_EQ(SWndApp::SplitArgs(line.c_str(), &args), 5);
        const char* expected[] = {"4294967295", "http://127.0.0.1:8080/a b/app.bin", c.folder,
                                  c.exe};
        for (int i = 0; i < 4; i++)
            EXPECT_STREQ(SWndApp::GetArgFrom(line.c_str(), i, true).Text(), expected[i]) << i;
    }
    std::string line;
    EXPECT_FALSE(SUpdateClient::BuildCommandLine("u.exe", 1, "a\"b", "c", "d", &line));
    EXPECT_FALSE(SUpdateClient::BuildCommandLine("u.exe", 1, "a", "C:\\app\\\\", "d", &line));
}

TEST(SUpdateClient, ApplicationPathIsTheFormTheRunningCheckSees)
{
    // This program, spelt as applications spell their own path.
    char own[MAX_PATH], shortForm[MAX_PATH];
    GetModuleFileNameA(nullptr, own, MAX_PATH);
    ASSERT_GT(GetShortPathNameA(own, shortForm, MAX_PATH), 0u);
    std::string slashed(own);
    for (char& c : slashed)
        c = c == '\\' ? '/' : c;
    EXPECT_EQ(SSystem::CountModules(slashed.c_str()), 0u);
    const char* spellings[] = {nullptr, own, slashed.c_str(), shortForm};
    for (const char* spelling : spellings) {
        std::string line;
        ASSERT_TRUE(SUpdateClient::BuildCommandLine("u.exe", 1, "p", "d", spelling, &line));
        SString probe = SWndApp::GetArgFrom(line.c_str(), 3, true);
        EXPECT_STREQ(probe.Text(), own) << (spelling ? spelling : "(null)");
        EXPECT_GE(SSystem::CountModules(probe.Text()), 1u);
    }
    // A file that is not there keeps the full form of its text.
    EXPECT_EQ(SUpdateClient::ProbePath("C:/no such/./app.exe"), "C:\\no such\\app.exe");
}

TEST(SUpdateClient, DescriptionAndVersions)
{
    SUpdateDescription desc;
    const char text[] = "2.5.0.0\r\n123456\r\n";
    ASSERT_TRUE(SUpdateClient::ParseDescription(text, sizeof(text) - 1, &desc));
    EXPECT_TRUE(desc.version == "2.5.0.0" && desc.size == 123456ul);
    // An empty version line is what the maker writes for an empty version.
    ASSERT_TRUE(SUpdateClient::ParseDescription("\r\n7\r\n", 5, &desc));
    EXPECT_TRUE(desc.version == "" && desc.size == 7ul);
    EXPECT_FALSE(SUpdateClient::ParseDescription("1.0\r\n", 5, &desc) ||
                 SUpdateClient::ParseDescription("1.0\r\n12x\r\n", 10, &desc));

    EXPECT_TRUE(SUpdateClient::CompareVersions("1.10.0.0", "1.9.0.0") == 1 &&
                SUpdateClient::CompareVersions("1.0", "1.0.0.0") == 0 &&
                SUpdateClient::CompareVersions("2", "10") == -1);
    EXPECT_EQ(SUpdateClient::PackageUrlFor("http://h/v1.2/release"), "http://h/v1.2/release.bin");
}

TEST(SUpdateClient, PicksTheDeltaMadeForTheInstalledVersion)
{
    // Lines that are not whole delta lines, or name a file elsewhere, are
    // left out; the last one has no line end, as where a download stopped.
    const char text[] =
        "3.0\r\n9000\r\nfrom 1.0 500 r-from-1.0.bin\r\nfrom 2 700 r-from-2.bin\r\n"
        "from 2.5 x r.bin\r\nfrom 2.6 8 ../r.bin\r\nnotes\r\nfrom 2.7 9 r-from-2.7.b";
    SUpdateDescription desc;
    ASSERT_TRUE(SUpdateClient::ParseDescription(text, sizeof(text) - 1, &desc));
    ASSERT_EQ(desc.deltas.size(), 2u);
    struct Case {
        const char *installed, *url;
        unsigned long size;
    } cases[] = {
        {"1.0.0.0", "http://h/a/r-from-1.0.bin", 500},
        {"2.0", "http://h/a/r-from-2.bin", 700},
        {"1.5", "http://h/a/r.bin", 9000},
        {"2.7", "http://h/a/r.bin", 9000},
    };
    for (const Case& c : cases) {
        SUpdatePackage package = SUpdateClient::PackageFor("http://h/a/r.upd", desc, c.installed);
        EXPECT_TRUE(package.url == c.url && package.size == c.size) << c.installed;
    }
}

}   // namespace
