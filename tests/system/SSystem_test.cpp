// The process probe over real processes: copies of a small sample program
// started from a temporary folder whose name has spaces.
#include "system/SSystem.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "wnd/SWndApp.h"

namespace {

class App : public ::testing::Environment {
    void SetUp() override { SWndApp::Init(GetModuleHandleA(nullptr), true, false, false); }
    void TearDown() override { SWndApp::Exit(); }
};

const auto* const g_app = ::testing::AddGlobalTestEnvironment(new App());

// Polls for up to 10 s until path is counted wanted times.
bool CountBecomes(const std::string& path, uint32_t wanted)
{
    for (DWORD start = GetTickCount(); GetTickCount() - start < 10000; Sleep(50)) {
        if (SSystem::CountModules(path.c_str()) == wanted)
            return true;
    }
    return false;
}

std::string Mapped(std::string s, int (*f)(int))
{
    for (char& c : s)
        c = (char)f((unsigned char)c);
    return s;
}

class SSystemTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char temp[MAX_PATH], longTemp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        GetLongPathNameA(temp, longTemp, MAX_PATH);
        folder = std::string(longTemp) + "vx probe " + std::to_string(GetCurrentProcessId());
        CreateDirectoryA(folder.c_str(), nullptr);
        for (const char* name : {"\\Sample Program.exe", "\\Idle Program.exe"}) {
            std::string source = std::string(VX_BIN_DIR) + "/vx_sleeper.exe";
            ASSERT_TRUE(CopyFileA(source.c_str(), (folder + name).c_str(), FALSE));
        }
        program = folder + "\\Sample Program.exe";
    }
    void TearDown() override
    {
        for (PROCESS_INFORMATION& pi : started) {
            TerminateProcess(pi.hProcess, 0);
            WaitForSingleObject(pi.hProcess, 5000);
            CloseHandle(pi.hProcess);
            CloseHandle(pi.hThread);
        }
        DeleteFileA(program.c_str());
        DeleteFileA((folder + "\\Idle Program.exe").c_str());
        RemoveDirectoryA(folder.c_str());
    }
    void Launch()
    {
        std::string line = "\"" + program + "\" 30000";
        STARTUPINFOA si = {};
        si.cb = sizeof(si);
        PROCESS_INFORMATION pi = {};
        ASSERT_TRUE(CreateProcessA(program.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &si, &pi));
        started.push_back(pi);
    }

    std::string folder, program;
    std::vector<PROCESS_INFORMATION> started;
};

TEST_F(SSystemTest, CountsProcessesOfTheExactPathIgnoringCase)
{
    EXPECT_EQ(SSystem::CountModules(program.c_str()), 0u);
    Launch();
    ASSERT_TRUE(CountBecomes(program, 1));
    EXPECT_EQ(SSystem::CountModules(Mapped(program, toupper).c_str()), 1u);
    EXPECT_EQ(SSystem::CountModules(Mapped(program, tolower).c_str()), 1u);

    // The comparison is textual: other spellings of the same file, or a copy
    // of it elsewhere, are not found.
    char shortPath[MAX_PATH];
    ASSERT_GT(GetShortPathNameA(program.c_str(), shortPath, MAX_PATH), 0u);
    ASSERT_NE(program, shortPath);
    EXPECT_EQ(SSystem::CountModules(shortPath), 0u);
    EXPECT_EQ(
        SSystem::CountModules(Mapped(program, [](int c) { return c == '\\' ? '/' : c; }).c_str()),
        0u);
    EXPECT_EQ(SSystem::CountModules("Sample Program.exe"), 0u);
    EXPECT_EQ(SSystem::CountModules((folder + "\\Idle Program.exe").c_str()), 0u);

    Launch();
    ASSERT_TRUE(CountBecomes(program, 2));
    TerminateProcess(started[0].hProcess, 0);
    EXPECT_TRUE(CountBecomes(program, 1));
    TerminateProcess(started[1].hProcess, 0);
    EXPECT_TRUE(CountBecomes(program, 0));
}

TEST_F(SSystemTest, CountsLibrariesAndDefaultsToThisProgram)
{
    // Every process has the system library loaded: this one and the sample.
    char kernel[MAX_PATH];
    GetModuleFileNameA(GetModuleHandleA("kernel32.dll"), kernel, MAX_PATH);
    uint32_t before = SSystem::CountModules(kernel);
    EXPECT_GE(before, 1u);
    Launch();
    ASSERT_TRUE(CountBecomes(program, 1));
    EXPECT_GE(SSystem::CountModules(kernel), before + 1);

    // No path: this program, as its command line names it.
    char own[MAX_PATH];
    GetModuleFileNameA(nullptr, own, MAX_PATH);
    EXPECT_EQ(SSystem::CountModules(own), 1u);
    EXPECT_EQ(SSystem::CountModules(nullptr), 1u);
    EXPECT_EQ(SSystem::CountModules(""), 1u);
}

}   // namespace
