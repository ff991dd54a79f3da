#include "SButtonCtrl.h"

#include "wnd/SWndDialogEntry.h"

SButtonCtrl::SButtonCtrl()
{
}

SButtonCtrl::~SButtonCtrl()
{
}

bool SButtonCtrl::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    DWORD style = 0;
    if (entry.GetBool("BUTTON_FLAT"))
        style |= BS_FLAT;
    if (entry.GetBool("BUTTON_DEFAULT"))
        style |= BS_DEFPUSHBUTTON;
    if (entry.GetBool("BUTTON_MULTILINE"))
        style |= BS_MULTILINE;
    SString halign = entry.GetText("BUTTON_HALIGN");
    if (halign == "_LEFT")
        style |= BS_LEFT;
    else if (halign == "_CENTER")
        style |= BS_CENTER;
    else if (halign == "_RIGHT")
        style |= BS_RIGHT;
    SString valign = entry.GetText("BUTTON_VALIGN");
    if (valign == "_TOP")
        style |= BS_TOP;
    else if (valign == "_MIDDLE")
        style |= BS_VCENTER;
    else if (valign == "_BOTTOM")
        style |= BS_BOTTOM;
    return CreateChild("BUTTON", parent, entry, style);
}

void SButtonCtrl::Click()
{
    if (GetHandle())
        Send(BM_CLICK);
}

bool SButtonCtrl::OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    (void)lParam;
    if (msg != WM_COMMAND || HIWORD(wParam) != BN_CLICKED)
        return false;
    HWND parent = GetParent();
    if (parent)
        SendMessageA(parent, SWM_COMMAND, (WPARAM)this, 0);
    *result = 0;
    return true;
}
