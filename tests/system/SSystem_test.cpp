// The process probe over real copies of a sample program, and the wait built
// on it over a scripted probe and clock.
#include "system/SSystem.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "wnd/SWndApp.h"

namespace {

// Polls for up to 10 s until path is counted wanted times.
bool CountBecomes(const std::string& path, uint32_t wanted)
{
    for (DWORD start = GetTickCount(); GetTickCount() - start < 10000; Sleep(50)) {
        if (SSystem::CountModules(path.c_str()) == wanted)
            return true;
    }
    return false;
}

TEST(SSystemTest, CountsModulesOfTheSamePathIgnoringLetterCaseOnly)
{
    // A copy under long names, so that its short form differs from it.
    char temp[MAX_PATH], shortPath[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    std::string folder = temp + ("Probe Folder " + std::to_string(GetCurrentProcessId()));
    std::string program = folder + "\\Sleeper Program.exe";
    CreateDirectoryA(folder.c_str(), nullptr);
    ASSERT_TRUE(CopyFileA(VX_BIN_DIR "/vx_sleeper.exe", program.c_str(), FALSE));
    ASSERT_NE(GetShortPathNameA(program.c_str(), shortPath, MAX_PATH), 0u);
    ASSERT_NE(0, _stricmp(shortPath, program.c_str()));
    EXPECT_EQ(SSystem::CountModules(program.c_str()), 0u);

    // Two processes, one started from the path in lower case; asked in upper case.
    std::string lower = program, upper = program, slashes = program;
    CharLowerA(&lower[0]);
    CharUpperA(&upper[0]);
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    PROCESS_INFORMATION started[2] = {};
    for (int i = 0; i < 2; i++) {
        STARTUPINFOA si = {};
        si.cb = sizeof(si);
        ASSERT_TRUE(CreateProcessA((i ? lower : program).c_str(), nullptr, nullptr, nullptr, FALSE,
                                   0, nullptr, nullptr, &si, &started[i]));
    }
    EXPECT_TRUE(CountBecomes(upper, 2));
    // The comparison is textual: other spellings of the same file are not counted.
    for (const std::string& other :
         {std::string(shortPath), slashes, std::string("Sleeper Program.exe")})
        EXPECT_EQ(SSystem::CountModules(other.c_str()), 0u) << other;
    for (PROCESS_INFORMATION& pi : started) {
        TerminateProcess(pi.hProcess, 0);
        WaitForSingleObject(pi.hProcess, 5000);
        CloseHandle(pi.hProcess);
        CloseHandle(pi.hThread);
    }
    EXPECT_TRUE(CountBecomes(program, 0));
    DeleteFileA(program.c_str());
    RemoveDirectoryA(folder.c_str());

    // No path: this program.
    SWndApp::Init(GetModuleHandleA(nullptr), true, false, false);
    EXPECT_TRUE(SSystem::CountModules(nullptr) == 1u && SSystem::CountModules("") == 1u);
    SWndApp::Exit();
}

// A clock that moves one millisecond per read, and a probe that notes the
// time of each call and answers 1 for its first g_loaded calls, then 0.
uint32_t g_now, g_loaded;
std::vector<uint32_t> g_calls;
uint32_t Tick()
{
    return g_now++;
}
uint32_t Probe(const char*)
{
    g_calls.push_back(g_now);
    return g_calls.size() <= g_loaded ? 1 : 0;
}

TEST(SSystemTest, WaitSpinsOnTheClockBetweenLooks)
{
    const struct {
        uint32_t start, loaded;
        bool ended;
        size_t looks;
    } rows[] = {
        {0, 0, true, 1},   // not running: no wait at all
        {0, 3, true, 4},
        {0xFFFFFF00u, 3, true, 4},   // the counter wraps during the wait
        {0, 100, false, 20},         // still there after the limit
        {0xFFFFF000u, 100, false, 20},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.loaded);
        g_now = row.start;
        g_loaded = row.loaded;
        g_calls.clear();
        EXPECT_EQ(row.ended, SSystem::WaitForModuleEnd("app.exe", 10000, 500, Probe, Tick));
        ASSERT_EQ(row.looks, g_calls.size());
        EXPECT_LE(g_calls[0] - row.start, 2u);
        // Each step is 500 ms of clock reads, not a sleep.
        for (size_t i = 1; i < g_calls.size(); i++)
            EXPECT_TRUE(g_calls[i] - g_calls[i - 1] >= 500 && g_calls[i] - g_calls[i - 1] <= 504)
                << g_calls[i] - g_calls[i - 1];
    }
    EXPECT_TRUE(SSystem::WaitForModuleEnd(VX_BIN_DIR "/no such program.exe", 10000, 500));
}

}   // namespace
