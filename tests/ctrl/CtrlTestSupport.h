// Shared pieces of the control tests: the application state for the whole
// program, dialogs built from inline texts, and a dialog that records what
// its controls report.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "core/SString.h"
#include "ctrl/SMouseEvent.h"
#include "file/SFileMem.h"
#include "wnd/SWndApp.h"
#include "wnd/SWndDialog.h"

// Starts the application state once for the test program.
class AppEnvironment : public ::testing::Environment {
public:
    void SetUp() override { SWndApp::Init(GetModuleHandleA(nullptr), false, false, false); }
    void TearDown() override { SWndApp::Exit(); }
};

// A dialog text: the header, then the given sections (each "[TYPE]\r\nK=V\r\n...").
inline SString DialogText(std::initializer_list<const char*> sections)
{
    SString text("VORLIX DIALOG 1.0.0.0\r\n\r\n");
    bool first = true;
    for (const char* section : sections) {
        if (!first)
            text += "\r\n";
        text += section;
        first = false;
    }
    return text;
}

// What a dialog received from its controls.
struct Report {
    UINT msg;
    WPARAM wParam;
    int code, x, y;   // the mouse event record, when there is one
};

class RecordingDialog : public SWndDialog {
public:
    std::vector<Report> reports;

    bool Build(const SString& text)
    {
        SFileMem file;
        file.Write(text.Text(), text.GetLength());
        file.Seek(0);
        return CreateFromText(&file, nullptr, nullptr, true, 0);
    }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        if (msg == SWM_COMMAND) {
            reports.push_back({msg, wParam, 0, 0, 0});
        } else if (msg == SWM_LABELMOUSE || msg == SWM_PROGRESSMOUSE) {
            const SMouseEvent* event = (const SMouseEvent*)lParam;
            reports.push_back({msg, wParam, event->code, event->x, event->y});
        }
        return SWndDialog::Handler(msg, wParam, lParam);
    }
};

// Lets pending messages (painting, focus) run.
inline void Pump()
{
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}
