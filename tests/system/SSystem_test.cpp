// The process probe over real copies of a sample program.
#include "system/SSystem.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

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

TEST(SSystemTest, CountsProcessesOfTheExactPathIgnoringCase)
{
    char program[MAX_PATH];
    GetFullPathNameA(VX_BIN_DIR "/vx_sleeper.exe", MAX_PATH, program, nullptr);
    EXPECT_EQ(SSystem::CountModules(program), 0u);
    PROCESS_INFORMATION started[2] = {};
    for (PROCESS_INFORMATION& pi : started) {
        STARTUPINFOA si = {};
        si.cb = sizeof(si);
        ASSERT_TRUE(CreateProcessA(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &si, &pi));
    }
    EXPECT_TRUE(CountBecomes(program, 2));
    std::string upper = program, slashes = program;
    for (size_t i = 0; i < upper.size(); i++) {
        upper[i] = (char)toupper((unsigned char)upper[i]);
        slashes[i] = slashes[i] == '\\' ? '/' : slashes[i];
    }
    EXPECT_EQ(SSystem::CountModules(upper.c_str()), 2u);
    // The comparison is textual: other spellings of the path are not counted.
    EXPECT_EQ(SSystem::CountModules(slashes.c_str()), 0u);
    EXPECT_EQ(SSystem::CountModules("vx_sleeper.exe"), 0u);
    for (PROCESS_INFORMATION& pi : started) {
        TerminateProcess(pi.hProcess, 0);
        CloseHandle(pi.hProcess);
        CloseHandle(pi.hThread);
    }
    EXPECT_TRUE(CountBecomes(program, 0));

    // No path: this program.
    SWndApp::Init(GetModuleHandleA(nullptr), true, false, false);
    EXPECT_EQ(SSystem::CountModules(nullptr), 1u);
    EXPECT_EQ(SSystem::CountModules(""), 1u);
    SWndApp::Exit();
}

}   // namespace
