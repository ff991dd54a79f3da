// SProgressCtrl: the native progress bar ("msctls_progress32"). Its range is
// 0..100 until the dialog text or SetRange says otherwise. Mouse buttons are
// reported to the parent as SWM_PROGRESSMOUSE (see SMouseEvent).
#pragma once

#include <windows.h>

#include "wnd/SWnd.h"

class SProgressCtrl : public SWnd {
public:
    SProgressCtrl();
    ~SProgressCtrl() override;

    // Creates the bar from a dialog entry: the PBS_ style bits (also from
    // PROGRESS_VERTICAL, PROGRESS_SMOOTH, PROGRESS_MARQUEE), the range 0..100
    // and then PROGRESS_MINVALUE..PROGRESS_MAXVALUE (defaults 0 and 100), the
    // position PROGRESS_VALUE. False when the window cannot be created.
    bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry) override;

    // Sets the range (PBM_SETRANGE32); returns the previous range packed as
    // the native control answers it, 0 without a window.
    LRESULT SetRange(int minimum, int maximum);
    // The range; false (both 0) without a window.
    bool GetRange(int* minimum, int* maximum) const;
    // Sets the position, which the bar clamps to its range; returns the
    // previous position, 0 without a window.
    int SetPos(int position);
    // The position; 0 without a window.
    int GetPos() const;

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;
};
