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
        {"prog.exe", 0, true, ""},
        // A quoted folder that ends in a backslash keeps its closing quote.
        {"prog.exe \"C:\\Program Files\\App\\\" x", 0, true, "C:\\Program Files\\App\\"},
        {"prog.exe \"C:\\Program Files\\App\\\" x", 1, true, "x"},
        {"prog a b", 1, true, "b"},
        {"prog a b", 0, false, "a"},
        {"prog a b", 2, true, ""},
        {"prog a b", -1, true, ""},
        {"prog a b", INT_MAX, true, ""},
        {"prog a b", INT_MIN, true, ""},
        {nullptr, 0, true, ""},
        // The platform split removes ordinary quoting; a pair that survives it
        // (written doubled inside quotes) is what stripping removes.
        {"p \"\"\"abc\"\"\"", 0, false, "\"abc\""},
        {"p \"\"\"abc\"\"\"", 0, true, "abc"},
        {"p \"\"abc\"\"", 0, true, "abc"},
        {"p \"\"\"\"", 0, true, "\""},   // a lone quote is no enclosing pair
        // Only a text without further quotes inside loses its enclosing pair.
        {"p \"\"\"a\"\"\"b\"\"\"", 0, true, "\"a\"b\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SWndApp::GetArgFrom(c.line, c.index, c.strip), c.expected)
            << (c.line ? c.line : "(null)") << " #" << c.index;
    SStringArray words;
    EXPECT_EQ(SWndApp::SplitArgs("prog.exe \"C:\\Program Files\\App\\\" x", &words), 3);
    EXPECT_EQ(SWndApp::SplitArgs("prog a", nullptr), 0);
}

TEST(SWndApp, StateAfterInit)
{
    // The test program's own command line has no arguments.
    EXPECT_EQ(SWndApp::GetArgCount(), 0);
    SString path = SWndApp::GetProgramPath();
    SString folder = SWndApp::GetProgramFolder();
    ASSERT_FALSE(folder.IsEmpty());
    EXPECT_EQ(folder.GetAt(folder.GetLength() - 1), '\\');
    EXPECT_EQ(path.Left(folder.GetLength()).CompareNoCase(folder.Text()), 0);
    for (int i = 0; i < SWND_FONT_COUNT; i++)
        EXPECT_NE(SWndApp::GetFont(i), nullptr) << i;
    EXPECT_EQ(SWndApp::GetFont(SWND_FONT_COUNT), nullptr);

    // Both classes exist with the library procedure; the second has no close.
    WNDCLASSEXA plain = {}, noClose = {};
    plain.cbSize = noClose.cbSize = sizeof plain;
    ASSERT_TRUE(GetClassInfoExA(SWndApp::GetInstance(), "CLASS_SWND", &plain));
    ASSERT_TRUE(GetClassInfoExA(SWndApp::GetInstance(), "CLASS_SWNDEX", &noClose));
    EXPECT_EQ(plain.style, 11u);
    EXPECT_EQ(noClose.style, 11u | 0x200u);
    ASSERT_NE(SWndApp::GetAppWindow(), nullptr);
    EXPECT_FALSE(SWndApp::Init(GetModuleHandleA(nullptr), false, false, false));
    // The test program has no icon resources.
    EXPECT_FALSE(SWndApp::SetIcons(107, 108));
}

TEST(SWndApp, ThreadTable)
{
    EXPECT_EQ(SWndApp::FindThread(GetCurrentThreadId()), 0);
    EXPECT_FALSE(SWndApp::RegisterThread(0));
    // Slot 0 is taken: 255 further threads fit, the 256th does not.
    for (DWORD id = 1000; id < 1255; id++)
        ASSERT_TRUE(SWndApp::RegisterThread(id)) << id;
    EXPECT_FALSE(SWndApp::RegisterThread(5000));
    EXPECT_TRUE(SWndApp::UnregisterThread(1100));
    EXPECT_TRUE(SWndApp::RegisterThread(5000));
    EXPECT_GT(SWndApp::FindThread(5000), 0);
    EXPECT_FALSE(SWndApp::UnregisterThread(GetCurrentThreadId()));
    for (DWORD id = 1000; id < 1255; id++)
        SWndApp::UnregisterThread(id);
    SWndApp::UnregisterThread(5000);
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
    EXPECT_EQ(SWndApp::RunLoop(&wait, CountIdle, &idle), 4);
    EXPECT_GE(idle, 3);

    // Blocking: GetMessageA until WM_QUIT.
    wait = true;
    PostQuitMessage(9);
    EXPECT_EQ(SWndApp::RunLoop(&wait), 9);
    EXPECT_FALSE(TakeQuit());
}

}   // namespace
