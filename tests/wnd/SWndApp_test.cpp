// The application object: command-line arguments, the thread table, the
// two loops and the service windows.
#include <gtest/gtest.h>

#include <limits.h>

#include "WndTestSupport.h"
#include "core/SStringArray.h"
#include "wnd/SWndApp.h"

namespace {

::testing::Environment* const env = ::testing::AddGlobalTestEnvironment(new WndEnvironment);

TEST(SWndApp, ArgumentSplitting)
{
    const struct {
        const char* line;
        int index;
        bool strip;
        const char* expected;
    } cases[] = {
        // A quoted folder that ends in a backslash keeps its closing quote.
        {"prog.exe \"C:\\Program Files\\App\\\" x", 0, true, "C:\\Program Files\\App\\"},
        {"prog.exe \"C:\\Program Files\\App\\\" x", 1, true, "x"},
        {"prog a b", 1, true, "b"},
        {"prog a b", 2, true, ""},
        {"prog a b", -1, true, ""},
        {"prog a b", INT_MAX, true, ""},
        // The platform split removes ordinary quoting; a pair that survives it
        // (written doubled inside quotes) is what stripping removes.
        {"p \"\"\"abc\"\"\"", 0, false, "\"abc\""},
        {"p \"\"\"abc\"\"\"", 0, true, "abc"},
        {"p \"\"\"\"", 0, true, "\""},   // a lone quote is no enclosing pair
        // Only a text without further quotes inside loses its enclosing pair.
        {"p \"\"\"a\"\"\"b\"\"\"", 0, true, "\"a\"b\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SWndApp::GetArgFrom(c.line, c.index, c.strip), c.expected)
            << (c.line ? c.line : "(null)") << " #" << c.index;
    SStringArray words;
    EXPECT_TRUE(SWndApp::SplitArgs("prog.exe \"C:\\Program Files\\App\\\" x", &words) == 3 &&
                SWndApp::SplitArgs("prog a", nullptr) == 0);
}

TEST(SWndApp, StateAfterInitAndThreadTable)
{
    // The test program's own command line has no arguments, and no icons.
    EXPECT_TRUE(SWndApp::GetArgCount() == 0 && !SWndApp::SetIcons(107, 108));
    SString folder = SWndApp::GetProgramFolder();
    EXPECT_TRUE(folder.GetAt(folder.GetLength() - 1) == '\\' &&
                SWndApp::GetProgramPath().Left(folder.GetLength()) == folder);
    EXPECT_FALSE(SWndApp::Init(GetModuleHandleA(nullptr), false, false, false));

    EXPECT_EQ(SWndApp::FindThread(GetCurrentThreadId()), 0);
    // Slot 0 is taken: 255 further threads fit, the 256th does not. The ids
    // lie far above Wine's, so none is this thread's own (already counted).
    const DWORD base = 0x40000000, extra = base + 1000;
    for (DWORD id = base; id < base + 255; id++)
        ASSERT_TRUE(SWndApp::RegisterThread(id)) << id;
    EXPECT_FALSE(SWndApp::RegisterThread(extra));
    EXPECT_TRUE(SWndApp::UnregisterThread(base + 100) && SWndApp::RegisterThread(extra));
    EXPECT_FALSE(SWndApp::UnregisterThread(GetCurrentThreadId()));
    for (DWORD id = base; id < base + 255; id++)
        SWndApp::UnregisterThread(id);
    SWndApp::UnregisterThread(extra);
}

void CountIdle(void* arg)
{
    int* count = (int*)arg;
    if (++*count == 3)
        PostQuitMessage(4);
}

TEST(SWndApp, RunLoopStyles)
{
    // Polling: the idle callback runs while the queue is empty.
    bool wait = false;
    int idle = 0;
    EXPECT_TRUE(SWndApp::RunLoop(&wait, CountIdle, &idle) == 4 && idle >= 3);

    // Blocking: GetMessageA until WM_QUIT.
    wait = true;
    PostQuitMessage(9);
    EXPECT_TRUE(SWndApp::RunLoop(&wait) == 9 && !TakeQuit());
}

}   // namespace
