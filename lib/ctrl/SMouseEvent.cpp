#include "SMouseEvent.h"

#include "wnd/SWnd.h"

int SMouseEvent::CodeOf(UINT msg)
{
    switch (msg) {
    case WM_LBUTTONDOWN:
        return LEFT | DOWN;
    case WM_LBUTTONUP:
        return LEFT | UP;
    case WM_LBUTTONDBLCLK:
        return LEFT | DOUBLE;
    case WM_RBUTTONDOWN:
        return RIGHT | DOWN;
    case WM_RBUTTONUP:
        return RIGHT | UP;
    case WM_RBUTTONDBLCLK:
        return RIGHT | DOUBLE;
    case WM_MBUTTONDOWN:
        return MIDDLE | DOWN;
    case WM_MBUTTONUP:
        return MIDDLE | UP;
    case WM_MBUTTONDBLCLK:
        return MIDDLE | DOUBLE;
    case SWM_MOUSEEXTRA1:
        return EXTRA | LEFT;
    case SWM_MOUSEEXTRA2:
        return EXTRA | MIDDLE;
    case SWM_MOUSEEXTRA3:
        return EXTRA | RIGHT;
    default:
        return 0;
    }
}

bool SMouseEvent::Forward(SWnd* control, UINT notifyMsg, UINT msg, LPARAM lParam)
{
    int code = CodeOf(msg);
    if (code == 0)
        return false;
    SMouseEvent event = {code, 0, 0};
    POINT pt;
    if (code & EXTRA) {
        // The extra messages carry no position of their own.
        if (!GetCursorPos(&pt))
            pt.x = pt.y = 0;
    } else {
        pt.x = (short)LOWORD(lParam);
        pt.y = (short)HIWORD(lParam);
        ClientToScreen(control->GetHandle(), &pt);
    }
    event.x = pt.x;
    event.y = pt.y;
    HWND parent = control->GetParent();
    if (parent)
        SendMessageA(parent, notifyMsg, (WPARAM)control, (LPARAM)&event);
    return true;
}
