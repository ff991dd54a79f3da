// The client helper: its command line against the tool's own argument reader
// (whatever the helper writes must come back as the four arguments, exactly),
// its fetch and background check against real servers on 127.0.0.1, its state
// file, its write probe and the updater's own update.
#include <gtest/gtest.h>

#include <memory>

#include "E2eSupport.h"

#include "../servers/TestServers.h"
#include "UpdateClient/SUpdateClient.h"
#include "system/SSystem.h"
#include "wnd/SWndApp.h"

namespace {

TEST(SUpdateClient, CommandLineReadsBackAsTheFourArguments)
{
    struct Case {
        const char *folder, *exe;
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

TEST(SUpdateClient, DescriptionVersionsAndPackageAddress)
{
    SUpdateDescription desc;
    const char text[] = "2.5.0.0\r\n123456\r\nfrom 1.0 99 a.bin\r\n";
    ASSERT_TRUE(SUpdateClient::ParseDescription(text, sizeof(text) - 1, &desc));
    EXPECT_TRUE(desc.version == "2.5.0.0" && desc.size == 123456ul);
    EXPECT_FALSE(SUpdateClient::ParseDescription("1.0\r\n", 5, &desc) ||
                 SUpdateClient::ParseDescription("1.0\r\n12x\r\n", 10, &desc));

    // Only 1 to 4 numbers up to 65535 are ordered; any other text is below
    // every version.
    struct Order {
        const char *a, *b;
        int result;
    } orders[] = {
        {"1.10.0.0", "1.9.0.0", 1}, {"1.0", "1.0.0.0", 0}, {"2", "10", -1},
        {"65535", "65534.9", 1},    {"v2.1", "1.0", -1},   {"2.1-beta", "2.1", -1},
        {"1.2.3.4.5", "0", -1},     {"65536", "1", -1},    {"", "0", -1},
        {"1..2", "0", -1},          {"2.1-beta", "v3", 0}, {"0.0.0.1", "0", 1},
    };
    for (const Order& o : orders)
        EXPECT_EQ(SUpdateClient::CompareVersions(o.a, o.b), o.result) << o.a << " vs " << o.b;

    const char* urls[][2] = {
        {"http://h/v1.2/release", "http://h/v1.2/release.bin"},
        {"http://h/a/latest.upd?v=2.1", "http://h/a/latest.bin?v=2.1"},
        {"https://h/latest.upd#v2.1", "https://h/latest.bin#v2.1"},
        {"https://h/x.y/latest?a=b.c#d.e", "https://h/x.y/latest.bin?a=b.c#d.e"},
        {"C:\\pub #1\\app.upd", "C:\\pub #1\\app.bin"},
    };
    for (auto& url : urls)
        EXPECT_EQ(SUpdateClient::PackageUrlFor(url[0]), url[1]);
}

// The helper against real servers: nginx and the fault server on 127.0.0.1.
const auto* const g_serving = ServeProgram("client");

class SUpdateClientNet : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(e2e::WriteFileText(g_servers.Www() + "app.upd", "2.0.0.0\r\n4321\r\n"));
    }
    e2e::TempDir m_dir {"vx client "};
};

TEST_F(SUpdateClientNet, FetchKeepsItsTimeLimitAndRedirectRules)
{
    const std::string good = g_servers.Nginx("app.upd");
    struct Case {
        std::string url;
        bool ok;
    } cases[] = {
        {good + "?v=2.1", true},
        {g_servers.Fault("hop/19?to=" + good), true},   // 20 redirects
        {g_servers.Fault("hop/20?to=" + good), false},
        {g_servers.Fault("loop/app.upd"), false},
        {g_servers.Https("down/app.upd"), false},   // https to http
        {g_servers.Fault("silent/app.upd"), false},
        {g_servers.Fault("status/404"), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url);
        SUpdateDescription desc;
        DWORD start = GetTickCount();
        EXPECT_EQ(SUpdateClient::FetchDescription(c.url.c_str(), &desc, 3000), c.ok);
        EXPECT_LT(GetTickCount() - start, 6000u);
        EXPECT_EQ(desc.size, c.ok ? 4321ul : 0ul);
    }
    SUpdateDescription desc;
    EXPECT_TRUE(SUpdateClient::FetchDescription(g_servers.Https("app.upd").c_str(), &desc));
}

TEST_F(SUpdateClientNet, BackgroundCheckHoldsBackAVersionWhoseHandoverFailed)
{
    HWND window =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    const std::string state = m_dir / "state.txt", url = g_servers.Nginx("app.upd");
    auto check = [&](const char* running, const std::string& address, unsigned long backoff) {
        EXPECT_TRUE(SUpdateClient::CheckInBackground(address.c_str(), running, state.c_str(),
                                                     window, WM_APP + 7, 3000, backoff));
        MSG message = {};
        e2e::WaitUntil([&] { return PeekMessageA(&message, window, 0, 0, PM_REMOVE); }, 10000);
        std::unique_ptr<SUpdateCheck> result((SUpdateCheck*)message.lParam);
        EXPECT_TRUE(result && message.message == WM_APP + 7 && message.wParam == result->result);
        return result ? result->result : -1;
    };
    EXPECT_EQ(check("1.0", url, 60), SUpdateCheck::NEWER);
    EXPECT_EQ(check("2.0", url, 60), SUpdateCheck::CURRENT);
    EXPECT_EQ(check("1.0", g_servers.Fault("status/404"), 60), SUpdateCheck::FAILED);

    // A handover whose updater cannot start, as after a declined elevation.
    std::string version;
    const SUpdatePackage package {"p"};
    EXPECT_FALSE(SUpdateClient::HandOver(state.c_str(), (m_dir / "none.exe").c_str(), "2.0.0.0",
                                         package, m_dir.Path().c_str(), nullptr));
    EXPECT_EQ(SUpdateClient::TakeOutcome(state.c_str(), "1.0", &version),
              SUpdateClient::UPDATE_FAILED);
    EXPECT_EQ(version, "2.0.0.0");
    EXPECT_EQ(SUpdateClient::TakeOutcome(state.c_str(), "1.0", &version),
              SUpdateClient::NO_HANDOVER);
    EXPECT_EQ(check("1.0", url, 60), SUpdateCheck::HELD_BACK);
    EXPECT_EQ(check("1.0", url, 0), SUpdateCheck::NEWER);
    EXPECT_FALSE(SUpdateClient::IsHeldBack(state.c_str(), "2.0.0.1", 60));

    EXPECT_FALSE(SUpdateClient::HandOver(state.c_str(), (m_dir / "none.exe").c_str(), "2.0.0.0",
                                         package, m_dir.Path().c_str(), nullptr));
    EXPECT_EQ(SUpdateClient::TakeOutcome(state.c_str(), "2.0", &version), SUpdateClient::UPDATED);
    EXPECT_FALSE(e2e::FileExists(state));
    DestroyWindow(window);
}

TEST_F(SUpdateClientNet, UnwritableFolderAsksForRightsAndNextUpdaterIsAdopted)
{
    // /sys refuses new files even to root, which Wine runs as here.
    EXPECT_STREQ(SUpdateClient::VerbFor("Z:\\sys\\"), "runas");
    EXPECT_STREQ(SUpdateClient::VerbFor((m_dir / "missing\\").c_str()), "runas");
    EXPECT_EQ(SUpdateClient::VerbFor(m_dir.Path().c_str()), nullptr);
    EXPECT_EQ(e2e::CountFiles(m_dir.Path()), 0) << "the probe file stayed";

    const std::string updater = m_dir / "Update.exe", next = updater + ".next";
    ASSERT_TRUE(e2e::WriteFileText(updater, "old") && e2e::WriteFileText(next, "new"));
    HANDLE held = CreateFileA(updater.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(SUpdateClient::AdoptNextUpdater(updater.c_str()), SUpdateClient::KEPT_OLD);
    CloseHandle(held);
    EXPECT_EQ(e2e::ReadFileText(updater), "old");
    EXPECT_EQ(SUpdateClient::AdoptNextUpdater(updater.c_str()), SUpdateClient::ADOPTED);
    EXPECT_EQ(e2e::ReadFileText(updater), "new");
    EXPECT_EQ(SUpdateClient::AdoptNextUpdater(updater.c_str()), SUpdateClient::NO_NEXT_UPDATER);
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
