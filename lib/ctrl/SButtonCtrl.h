// SButtonCtrl: the native push button ("BUTTON"). A press is reported to the
// parent as the control command SWM_COMMAND with wParam = the button object;
// the parent reads the button's ID with GetWindowLongA(GWL_ID).
#pragma once

#include <windows.h>

#include "wnd/SWnd.h"

class SButtonCtrl : public SWnd {
public:
    SButtonCtrl();
    ~SButtonCtrl() override;

    // Creates the button from a dialog entry: the BS_ style bits (also from
    // BUTTON_FLAT, BUTTON_DEFAULT, BUTTON_MULTILINE, BUTTON_HALIGN and
    // BUTTON_VALIGN) and the caption. False when the window cannot be created.
    bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry) override;

    // Presses the button as a click would (BM_CLICK).
    void Click();

    bool OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result) override;
};
