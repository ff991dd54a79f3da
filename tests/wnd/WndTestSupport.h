// Shared pieces of the window framework tests: the application state for the
// whole program and a message pump with a deadline.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "wnd/SWnd.h"
#include "wnd/SWndApp.h"

class WndEnvironment : public ::testing::Environment {
public:
    void SetUp() override { SWndApp::Init(GetModuleHandleA(nullptr), false, false, false); }
    void TearDown() override { SWndApp::Exit(); }
};

// Dispatches waiting messages (none when pump is false) until done() holds or
// ms milliseconds passed; returns done().
template <class Done>
bool PumpUntil(Done done, DWORD ms = 3000, bool pump = true)
{
    DWORD start = GetTickCount();
    while (!done() && GetTickCount() - start < ms) {
        MSG msg;
        while (pump && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
        if (!done())
            pump ? (void)MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT) : Sleep(5);
    }
    return done();
}

// The window class name of the object's window.
inline std::string ClassOf(const SWnd& wnd)
{
    char name[32] = "";
    GetClassNameA(wnd.GetHandle(), name, sizeof(name));
    return name;
}

// Takes a WM_QUIT left in the queue; true when there was one.
inline bool TakeQuit(int* code = nullptr)
{
    MSG msg;
    if (!PeekMessageA(&msg, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE))
        return false;
    if (code)
        *code = (int)msg.wParam;
    return true;
}
