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
    // The platform split removes ordinary quoting; a pair that survives it
    // (written doubled inside quotes) is what stripping removes.
    EXPECT_EQ(SWndApp::GetArgFrom("p \"\"\"abc\"\"\"", 0, false), "\"abc\"");
    EXPECT_EQ(SWndApp::GetArgFrom("p \"\"\"abc\"\"\"", 0, true), "abc");
    EXPECT_EQ(SWndApp::GetArgFrom("p \"\"abc\"\"", 0, true), "abc");
    // A lone quote character is no enclosing pair.
    EXPECT_EQ(SWndApp::GetArgFrom("p \"\"\"\"", 0, true), "\"");
    // Only a text without further quotes inside loses its enclosing pair.
    EXPECT_EQ(SWndApp::GetArgFrom("p \"\"\"a\"\"\"b\"\"\"", 0, true), "\"a\"b\"");
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
    EXPECT_TRUE(SWndApp::RegisterThread(1100));   // already there
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

TEST(SWndApp, DrainQueueDropsUserInputOnly)
{
    // Typed keys wait in the queue of the focused window's thread.
    SWnd wnd;
    RECT r = {0, 0, 100, 60};
    ASSERT_TRUE(wnd.Create("", WS_VISIBLE | WS_CAPTION, 0, &r, nullptr, nullptr, 0));
    SetForegroundWindow(wnd.GetHandle());
    wnd.SetFocus();
    PumpUntil([&] { return GetFocus() == wnd.GetHandle(); }, 1000);
    SWndApp::DrainQueue();
    wnd.Post(WM_APP + 60);
    keybd_event('A', 0, 0, 0);
    keybd_event('A', 0, KEYEVENTF_KEYUP, 0);
    DWORD start = GetTickCount();
    while (!(HIWORD(GetQueueStatus(QS_KEY)) & QS_KEY) && GetTickCount() - start < 2000)
        Sleep(10);
    ASSERT_TRUE(HIWORD(GetQueueStatus(QS_KEY)) & QS_KEY);
    EXPECT_GE(SWndApp::DrainQueue(), 2);
    EXPECT_FALSE(HIWORD(GetQueueStatus(QS_KEY)) & QS_KEY);
    // Posted messages stay, and nothing was dispatched.
    MSG msg;
    EXPECT_TRUE(PeekMessageA(&msg, wnd.GetHandle(), WM_APP + 60, WM_APP + 60, PM_REMOVE));
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

}   // namespace
