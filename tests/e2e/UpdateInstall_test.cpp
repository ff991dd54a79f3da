// Update.exe in install mode as a whole program: a real application process
// that holds its executable, packages served by nginx and the fault server on
// 127.0.0.1, and the "Update" dialog read back from the live window.
#include <gtest/gtest.h>

#include "E2eSupport.h"

#include <commctrl.h>

#include "../servers/TestServers.h"
#include "file/SFilePath.h"
#include "file/SResource.h"

using namespace e2e;

namespace {

const char* kPayloadText = "payload of version two\r\n";
const size_t kBigSize = 8000000;

const auto* const g_serving = ServeProgram("install");

class UpdateInstall : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_served = g_servers.Www();
        // The application's folder has a space in its name, and the
        // destination is passed quoted with its trailing backslash.
        m_appDir = m_root / "my app\\";
        m_tempDir = m_appDir + "temp\\";
        ASSERT_TRUE(PrepareApp(m_appDir, BinDir() + "Update.exe"));
    }

    std::string AppExe() const { return m_appDir + "SampleApp.exe"; }
    std::string Log() const { return ReadFileText(m_appDir + "SampleApp.log"); }

    // Packs version 2 of the application with a data folder into the served
    // folder; returns the package size. With bulk, "bulk\\big.dat" (kBigSize
    // bytes) comes first and bulk small files follow it in "bulk\\".
    unsigned long ServePackage(const char* name, int bulk = 0)
    {
        std::string source = m_root / "source\\";
        std::vector<std::pair<std::string, std::string>> files;   // name, bytes
        if (bulk) {
            std::string big(kBigSize, 0);
            for (size_t i = 0, x = 1; i < big.size(); i++)
                big[i] = (char)((x = x * 1103515245 + 12345) >> 16);
            files.push_back({"bulk\\big.dat", big});
        }
        for (int i = 0; i < bulk; i++) {
            std::string name = "bulk\\" + std::to_string(i) + ".txt";
            files.push_back({name, name});
        }
        files.insert(files.end(),
                     {{"SampleApp.exe", ReadFileText(BinDir() + "SampleApp2.exe")},
                      {"data\\readme.txt", kPayloadText},
                      {"data\\empty.dat", ""}});
        SResource writer;
        writer.SetFolder(source.c_str());
        for (const auto& file : files)
            EXPECT_TRUE(WriteFileText(source + file.first, file.second) &&
                        writer.Add(file.first.c_str(), nullptr));
        std::string package = m_served + name;
        SFilePath out(package.c_str(), true, true, false);
        EXPECT_TRUE(writer.Write(&out, true));
        out.Close();
        return (unsigned long)ReadFileText(package).size();
    }

    // Starts the application (holding its executable for holdMs) and then
    // Update.exe.
    void StartInstall(Process* app, Process* updater, const std::string& size,
                      const std::string& url, int holdMs = 500, const std::string& dest = "")
    {
        ASSERT_TRUE(app->Start(AppExe(), "--hold " + std::to_string(holdMs)));
        ASSERT_TRUE(StartUpdate(updater, m_appDir, size, url, dest));
    }

    // Expects the "Update" dialog to show "Failed." with an empty list (and
    // the bar at position bar, unless -1), and that nothing was started; then
    // closes it and expects exit code 0.
    void ExpectFailedDialog(Process* updater, int bar)
    {
        HWND dialog = WaitForProcessWindow(updater->Id(), "Update", 20000);
        ASSERT_NE(dialog, nullptr) << "no Update dialog";
        ASSERT_TRUE(WaitForChildText(dialog, "Failed.", 20000)) << "label never read \"Failed.\"";
        EXPECT_EQ(ChildTexts(dialog).find("\nUpdating files...\n"), std::string::npos);
        HWND list = FindWindowExA(dialog, nullptr, "ListBox", nullptr);
        HWND progress = FindWindowExA(dialog, nullptr, PROGRESS_CLASSA, nullptr);
        ASSERT_TRUE(list && progress && SendMessageA(list, LB_GETCOUNT, 0, 0) == 0);
        EXPECT_TRUE(bar < 0 || SendMessageA(progress, PBM_GETPOS, 0, 0) == bar);
        EXPECT_TRUE(updater->IsRunning()) << "the dialog must stay open on failure";
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        ASSERT_TRUE(updater->Wait(10000));
        EXPECT_EQ(updater->ExitCode(), 0u);
        EXPECT_EQ(Log().find("started 2.0.0.0"), std::string::npos);
        EXPECT_FALSE(FileExists(m_appDir + "data\\readme.txt"));
        EXPECT_EQ(CountFiles(m_tempDir), 0) << "the temporary file was left behind";
    }

    TempDir m_root;
    std::string m_served, m_appDir, m_tempDir;
};

TEST_F(UpdateInstall, InstallsAndRestartsTheApplication)
{
    // From nginx; without a Content-Length, where only the size check
    // decides, with the size read as strtol reads it (leading blanks, a sign,
    // up to the first non-digit); and from a local path, copied.
    std::string size = std::to_string(ServePackage("app.bin"));
    std::pair<std::string, std::string> rounds[] = {
        {g_servers.Nginx("app.bin"), size},
        {g_servers.Fault("nolength/app.bin"), " \t+" + size + "x9"},
        {m_served + "app.bin", size},
    };
    for (auto& round : rounds) {
        SCOPED_TRACE(round.first);
        // The version started by the previous round may still be closing.
        WaitUntil(
            [&] { return CopyFileA((BinDir() + "SampleApp1.exe").c_str(), AppExe().c_str(), 0); },
            10000);
        DeleteFileA((m_appDir + "SampleApp.log").c_str());
        DeleteFileA((m_appDir + "data\\readme.txt").c_str());
        Process app, updater;
        StartInstall(&app, &updater, round.second, round.first);
        ASSERT_TRUE(updater.Wait(30000)) << "Update.exe did not finish";
        EXPECT_EQ(updater.ExitCode(), 0u);
        EXPECT_EQ(ReadFileText(AppExe()), ReadFileText(BinDir() + "SampleApp2.exe"));
        EXPECT_EQ(ReadFileText(m_appDir + "data\\readme.txt"), kPayloadText);
        EXPECT_TRUE(FileExists(m_appDir + "data\\empty.dat"));
        EXPECT_EQ(CountFiles(m_tempDir), 0) << "the temporary file was left behind";
        EXPECT_TRUE(WaitForFileText(m_appDir + "SampleApp.log", "started 2.0.0.0", 10000))
            << "the new version was not started: " << Log();
    }
}

TEST_F(UpdateInstall, VersionOneTakesItsDeltaAndASkippedVersionTheFullPackage)
{
    // Release 1 installed; release 2 keeps one file, changes the program and
    // one file, adds one and drops one, which stays on the disk.
    const std::pair<std::string, std::string> files[] = {
        {"r1\\data\\keep.dat", "kept"},
        {"r1\\data\\readme.txt", "one"},
        {"r1\\old.txt", "only in 1"},
        {"r2\\data\\keep.dat", "kept"},
        {"r2\\data\\readme.txt", kPayloadText},
        {"r2\\new\\added.txt", "added in 2"},
        {"r1\\SampleApp.exe", ReadFileText(BinDir() + "SampleApp1.exe")},
        {"r2\\SampleApp.exe", ReadFileText(BinDir() + "SampleApp2.exe")},
    };
    for (const auto& file : files)
        ASSERT_TRUE(WriteFileText(m_root / file.first.c_str(), file.second));
    const std::string r1 = Quote(m_served + "r1.upd"),
                      makes[] = {Quote(m_root / "r1") + " " + r1 + " --version 1.0.0.0",
                                 Quote(m_root / "r2") + " " + Quote(m_served + "app.upd") +
                                     " --version 2.0.0.0 --since " + r1};
    for (const std::string& make : makes)
        ASSERT_EQ(RunPack(m_root, "make " + make).code, 0u) << make;
    const std::string extract = "extract " + Quote(m_served + "r1.bin") + " " + Quote(m_appDir);
    const std::string desc = ReadFileText(m_served + "app.upd");
    ASSERT_TRUE(WriteFileText(m_appDir + "SampleApp.ini",
                              "[update]\r\nexitafter=0\r\nurl=" + g_servers.Nginx("app.upd") +
                                  "\r\nstate=" + m_root / "state.txt" + "\r\n"));
    // The second round finds a delta only for another version.
    for (const char* round : {"app-from-1.0.0.0.bin", "app.bin"}) {
        SCOPED_TRACE(round);
        if (!strcmp(round, "app.bin")) {
            std::string other = desc;
            other.replace(other.find("from 1.0.0.0"), 12, "from 1.5.0.0");
            ASSERT_TRUE(WriteFileText(m_served + "app.upd", other));
        }
        // Release 1, once the version started last time has ended.
        ASSERT_TRUE(WaitUntil([&] { return RunPack(m_root, extract).code == 0; }, 20000));
        DeleteFileA((m_appDir + "SampleApp.log").c_str());
        DeleteFileA((m_appDir + "new\\added.txt").c_str());
        Process app;
        ASSERT_TRUE(app.Start(AppExe(), "", m_tempDir));
        ASSERT_TRUE(PressPromptButton(app.Id(), "Update now")) << Log();
        ASSERT_TRUE(WaitForFileText(m_appDir + "SampleApp.log", "started 2.0.0.0", 60000)) << Log();
        EXPECT_NE(Log().find(g_servers.Nginx(round) + ", " +
                             std::to_string(ReadFileText(m_served + round).size()) + " bytes"),
                  std::string::npos)
            << Log();
        for (const char* name :
             {"SampleApp.exe", "data\\keep.dat", "data\\readme.txt", "new\\added.txt"})
            EXPECT_TRUE(ReadFileText(m_appDir + name) == ReadFileText(m_root / "r2\\" + name))
                << name;
        EXPECT_EQ(ReadFileText(m_appDir + "old.txt"), "only in 1");
    }
}

TEST_F(UpdateInstall, FailuresLeaveTheDialogWithFailed)
{
    unsigned long size = ServePackage("app.bin");
    ASSERT_TRUE(WriteFileText(m_served + "notes.txt", "this is no package"));
    // The bar shows the offset of the last block received, truncated. Blocks
    // are 1024 bytes, each reported: of a 307200-byte body cut after 150
    // blocks, the last begins at 152576, 496.67 thousandths (2048-byte blocks
    // would give 493, 512-byte ones 498).
    struct Case {
        const char* name;
        std::string size, url, dest;
        int bar;
    } cases[] = {
        {"smaller than expected", std::to_string(size + 1), g_servers.Nginx("app.bin"), "", -1},
        {"larger than expected", std::to_string(size - 1), g_servers.Nginx("app.bin"), "", -1},
        {"not an archive", "18", g_servers.Nginx("notes.txt"), "", -1},
        {"server error", std::to_string(size), g_servers.Fault("status/500"), "", -1},
        {"body cut short", "307200", g_servers.Fault("short/307200"), "", 496},
        {"destination not creatable", std::to_string(size), g_servers.Nginx("app.bin"),
         m_appDir + "SampleApp.ini\\sub\\", -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Process app, updater;
        StartInstall(&app, &updater, c.size, c.url, 500, c.dest);
        ExpectFailedDialog(&updater, c.bar);
    }
}

TEST_F(UpdateInstall, ClosingStopsTheInstallWithinASecond)
{
    // Closed while a download trickles or stalls, once the unpacking has begun
    // (thrice: the stop races it), while a local package is copied or its 1 GB
    // stored entry unpacked, the program exits at once, leaving no temporary
    // file, nothing started and no file cut short.
    std::string size = std::to_string(ServePackage("bulk.bin", 400));
    std::string big = m_appDir + "bulk\\big.dat", huge = m_appDir + "huge.dat";
    std::string local = m_root / "huge.bin",
                localSize = std::to_string(WriteHolePackage(local, "huge.dat", 1u << 30));
    std::string trickle = g_servers.Fault("trickle/bulk.bin"), unpack = g_servers.Nginx("bulk.bin");
    // Each URL with the file whose appearance is awaited, or none for 500 ms.
    const std::string urls[] = {
        trickle, g_servers.Fault("stall/bulk.bin"), unpack, unpack, unpack, local, local};
    const std::string awaited[] = {"", "", big, big, big, "", huge};
    for (int i = 0; i < 7; i++) {
        SCOPED_TRACE(urls[i] + " " + awaited[i]);
        TempDir::RemoveTree(m_appDir + "bulk\\");
        Process app, updater;
        StartInstall(&app, &updater, urls[i] == local ? localSize : size, urls[i]);
        HWND dialog = WaitForProcessWindow(updater.Id(), "Update", 20000);
        ASSERT_NE(dialog, nullptr);
        DWORD start = GetTickCount();
        while (awaited[i].empty() ? GetTickCount() - start < 500
                                  : !FileExists(awaited[i]) && GetTickCount() - start < 60000)
            Sleep(1);
        // The stop takes well under a second; the bound allows for a loaded
        // machine, yet ends before the forced end or a going unpacking would.
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        ASSERT_TRUE(updater.Wait(2000)) << "Update.exe still runs after the close";
        EXPECT_EQ(CountFiles(m_tempDir), 0) << "the temporary file was left behind";
        EXPECT_FALSE(FileExists(huge)) << "the entry cut short was left behind";
        std::error_code error;   // every file unpacked is whole
        for (const auto& f : std::filesystem::directory_iterator(m_appDir + "bulk", error)) {
            std::string name = f.path().filename().string();
            EXPECT_EQ(f.file_size(), name == "big.dat" ? kBigSize : 5 + name.size()) << name;
        }
        EXPECT_EQ(Log().find("started 2.0.0.0"), std::string::npos);
    }
}

TEST_F(UpdateInstall, GivesUpSilentlyWhenTheApplicationKeepsRunning)
{
    // The tool's hidden windows exist from just before the wait begins, which
    // times the wait apart from Wine's start-up. Only the lower bound is tight;
    // the upper one (the application holds on past it) tells giving up apart.
    unsigned long size = ServePackage("app.bin");
    Process app, updater;
    DWORD start = GetTickCount(), waitStart = 0;
    StartInstall(&app, &updater, std::to_string(size), g_servers.Nginx("app.bin"), 90000);
    bool windowSeen = false;
    while (updater.IsRunning() && GetTickCount() - start < 60000) {
        if (!waitStart && FindProcessWindow(updater.Id(), nullptr, false))
            waitStart = GetTickCount();
        windowSeen = windowSeen || FindProcessWindow(updater.Id(), nullptr) != nullptr;
        Sleep(20);
    }
    DWORD end = GetTickCount();
    ASSERT_TRUE(updater.Wait(0)) << "Update.exe still waits after 60 s";
    EXPECT_EQ(updater.ExitCode(), 0u);
    ASSERT_NE(waitStart, 0u);
    EXPECT_GE(end - waitStart, 10000u);
    EXPECT_FALSE(windowSeen);
    EXPECT_TRUE(app.IsRunning());
    EXPECT_NE(ReadFileText(AppExe()), ReadFileText(BinDir() + "SampleApp2.exe"));
}

}   // namespace
