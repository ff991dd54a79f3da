// SMouseEvent: the mouse event record that the label and the progress bar
// send to their parent (SWM_LABELMOUSE / SWM_PROGRESSMOUSE, wParam = the
// control, lParam = the record's address, valid only during that call).
#pragma once

#include <windows.h>

class SWnd;

struct SMouseEvent {
    // Event code bits: which button and what happened.
    enum : int {
        LEFT = 1,
        MIDDLE = 2,
        RIGHT = 4,
        DOWN = 8,
        UP = 16,
        EXTRA = 32,   // one of the library's extra mouse messages
        DOUBLE = 64,
    };

    int code;
    int x;   // screen coordinates
    int y;

    // The event code of a mouse message: button down, up and double click of
    // the three buttons, and the extra messages SWM_MOUSEEXTRA1..3 (33, 34,
    // 36); 0 for any other message.
    static int CodeOf(UINT msg);
    // Sends notifyMsg to the control's parent when msg is a mouse message of
    // CodeOf; the position is lParam's client point turned into screen
    // coordinates (the cursor position for the extra messages). False, with
    // nothing sent, for other messages; true otherwise, also when the control
    // has no parent.
    static bool Forward(SWnd* control, UINT notifyMsg, UINT msg, LPARAM lParam);
};
