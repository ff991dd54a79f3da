// The application object: command-line arguments, the thread table, the
// two loops and the service windows.
#include <gtest/gtest.h>

#include <string.h>

#include "WndTestSupport.h"
#include "core/SStringArray.h"
#include "wnd/SWndApp.h"

namespace {

::testing::Environment* const env = ::testing::AddGlobalTestEnvironment(new WndEnvironment);

TEST(SWndApp, ArgumentSplitting)
{
    SStringArray words;
    EXPECT_EQ(SWndApp::SplitArgs("prog.exe", &words), 1);
    EXPECT_EQ(SWndApp::GetArgFrom("prog.exe", 0, true), "");

    // A quoted folder that ends in a backslash keeps its closing quote.
    const char* folder = "prog.exe \"C:\\Program Files\\App\\\" x";
    EXPECT_EQ(SWndApp::GetArgFrom(folder, 0, true), "C:\\Program Files\\App\\");
    EXPECT_EQ(SWndApp::GetArgFrom(folder, 1, true), "x");
    SStringArray folderWords;
    EXPECT_EQ(SWndApp::SplitArgs(folder, &folderWords), 3);

    EXPECT_EQ(SWndApp::GetArgFrom("prog a b", 1, true), "b");
    EXPECT_EQ(SWndApp::GetArgFrom("prog a b", 0, false), "a");
    EXPECT_EQ(SWndApp::GetArgFrom("prog a b", 2, true), "");
    EXPECT_EQ(SWndApp::GetArgFrom("prog a b", -1, true), "");
    EXPECT_EQ(SWndApp::GetArgFrom(nullptr, 0, true), "");
    EXPECT_EQ(SWndApp::SplitArgs("prog a", nullptr), 0);
}

TEST(SWndApp, QuoteStripping)
{
    // The platform split removes ordinary quoting; quotes that survive it
    // (escaped ones) are what stripping sees.
    EXPECT_EQ(SWndApp::GetArgFrom("p \\\"abc\\\"", 0, false), "\"abc\"");
    EXPECT_EQ(SWndApp::GetArgFrom("p \\\"abc\\\"", 0, true), "abc");
    // A text holding a further quote inside is left alone.
    EXPECT_EQ(SWndApp::GetArgFrom("p \\\"a\\\"b\\\"", 0, true), "\"a\"b\"");
    // A lone quote character is no enclosing pair.
    EXPECT_EQ(SWndApp::GetArgFrom("p \\\"", 0, true), "\"");
    EXPECT_EQ(SWndApp::GetArgFrom("p \\\"\\\"", 0, true), "");
}

TEST(SWndApp, StateAfterInit)
{
    // The test program's own command line has no arguments.
    EXPECT_EQ(SWndApp::GetArgCount(), 0);
    EXPECT_EQ(SWndApp::GetArg(0, true), "");
    SString path = SWndApp::GetProgramPath();
    SString folder = SWndApp::GetProgramFolder();
    ASSERT_FALSE(folder.IsEmpty());
    EXPECT_EQ(folder.GetAt(folder.GetLength() - 1), '\\');
    EXPECT_EQ(path.Left(folder.GetLength()).CompareNoCase(folder.Text()), 0);
    EXPECT_NE(path.FindNoCase("SWnd"), -1);

    for (int i = 0; i < SWND_FONT_COUNT; i++)
        EXPECT_NE(SWndApp::GetFont(i), nullptr) << i;
    EXPECT_EQ(SWndApp::GetFont(SWND_FONT_COUNT), nullptr);
    LOGFONTA small;
    ASSERT_TRUE(GetObjectA(SWndApp::GetFont(SWND_FONT_SMALL), sizeof(small), &small));
    EXPECT_LT(small.lfHeight, 0);

    EXPECT_GE(SWndApp::GetOsClass(), 1);
    EXPECT_LE(SWndApp::GetOsClass(), 8);
    EXPECT_NE(SWndApp::GetFindReplaceMessage(), 0u);
    EXPECT_EQ(SWndApp::GetProcessId(), GetCurrentProcessId());

    // Both classes exist with the library procedure; the second has no close.
    WNDCLASSEXA plain, noClose;
    memset(&plain, 0, sizeof(plain));
    memset(&noClose, 0, sizeof(noClose));
    plain.cbSize = noClose.cbSize = sizeof(plain);
    ASSERT_TRUE(GetClassInfoExA(SWndApp::GetInstance(), "CLASS_SWND", &plain));
    ASSERT_TRUE(GetClassInfoExA(SWndApp::GetInstance(), "CLASS_SWNDEX", &noClose));
    EXPECT_EQ(plain.style, 11u);
    EXPECT_EQ(noClose.style, 11u | 0x200u);
    ASSERT_NE(SWndApp::GetAppWindow(), nullptr);
    EXPECT_FALSE(IsWindowVisible(SWndApp::GetAppWindow()->GetHandle()));
    EXPECT_FALSE(IsWindowVisible(SWndApp::GetPlainWindow()));
    EXPECT_FALSE(SWndApp::Init(GetModuleHandleA(nullptr), false, false, false));
}

TEST(SWndApp, ThreadTable)
{
    EXPECT_EQ(SWndApp::FindThread(GetCurrentThreadId()), 0);
    EXPECT_FALSE(SWndApp::RegisterThread(0));
    // Slot 0 is taken: 255 further threads fit, the 256th does not.
    for (DWORD id = 1000; id < 1255; id++)
        ASSERT_TRUE(SWndApp::RegisterThread(id)) << id;
    EXPECT_FALSE(SWndApp::RegisterThread(5000));
    EXPECT_TRUE(SWndApp::RegisterThread(1100));  // already there
    EXPECT_TRUE(SWndApp::UnregisterThread(1100));
    EXPECT_FALSE(SWndApp::UnregisterThread(1100));
    EXPECT_TRUE(SWndApp::RegisterThread(5000));
    EXPECT_EQ(SWndApp::FindThread(1100), -1);
    EXPECT_GT(SWndApp::FindThread(5000), 0);
    EXPECT_FALSE(SWndApp::UnregisterThread(GetCurrentThreadId()));
    for (DWORD id = 1000; id < 1255; id++)
        SWndApp::UnregisterThread(id);
    SWndApp::UnregisterThread(5000);
    EXPECT_TRUE(SWndApp::RegisterThread(5001));
    SWndApp::UnregisterThread(5001);
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

TEST(SWndApp, DrainQueueDropsInput)
{
    HWND hwnd = SWndApp::GetAppWindow()->GetHandle();
    PostMessageA(hwnd, WM_KEYDOWN, 'A', 0);
    PostMessageA(hwnd, WM_MOUSEMOVE, 0, 0);
    EXPECT_EQ(SWndApp::DrainQueue(), 2);
    EXPECT_EQ(SWndApp::DrainQueue(), 0);
}

TEST(SWndApp, ModelessList)
{
    HWND a = SWndApp::GetPlainWindow();
    EXPECT_FALSE(SWndApp::AddModeless(nullptr));
    EXPECT_TRUE(SWndApp::AddModeless(a));
    EXPECT_FALSE(SWndApp::AddModeless(a));
    EXPECT_EQ(SWndApp::GetModelessCount(), 1);
    EXPECT_TRUE(SWndApp::RemoveModeless(a));
    EXPECT_FALSE(SWndApp::RemoveModeless(a));
    EXPECT_EQ(SWndApp::GetModelessCount(), 0);
}

}  // namespace
