#include "SEditCtrl.h"

#include "wnd/SWndDialogEntry.h"

SEditCtrl::SEditCtrl() : m_selectAll(false), m_noPopupMenu(false)
{
}

SEditCtrl::~SEditCtrl()
{
}

bool SEditCtrl::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    static const struct {
        const char* key;
        DWORD style;
    } kFlags[] = {{"EDIT_AUTOHSCROLL", ES_AUTOHSCROLL},
                  {"EDIT_AUTOVSCROLL", ES_AUTOVSCROLL},
                  {"EDIT_HSCROLL", WS_HSCROLL},
                  {"EDIT_VSCROLL", WS_VSCROLL},
                  {"EDIT_READONLY", ES_READONLY},
                  {"EDIT_NEVERHIDESELECTION", ES_NOHIDESEL},
                  {"EDIT_LOWER", ES_LOWERCASE},
                  {"EDIT_UPPER", ES_UPPERCASE},
                  {"EDIT_MULTILINE", ES_MULTILINE},
                  {"EDIT_PASSWORD", ES_PASSWORD},
                  {"EDIT_NUMBER", ES_NUMBER}};
    DWORD style = 0;
    for (const auto& flag : kFlags)
        if (entry.GetBool(flag.key))
            style |= flag.style;
    SString align = entry.GetText("EDIT_ALIGN");
    if (align == "_CENTER")
        style |= ES_CENTER;
    else if (align == "_RIGHT")
        style |= ES_RIGHT;
    m_selectAll = entry.GetBool("EDIT_SELECTALL");
    m_noPopupMenu = entry.GetBool("EDIT_NOPOPUPMENU");
    if (!CreateChild("EDIT", parent, entry, style))
        return false;
    if (entry.caption.IsEmpty() && entry.HasKey("EDIT_TEXT"))
        SetText(entry.GetText("EDIT_TEXT").Text());
    return true;
}

void SEditCtrl::SetSel(int start, int end)
{
    if (GetHandle())
        Send(EM_SETSEL, (WPARAM)start, (LPARAM)end);
}

bool SEditCtrl::GetSel(int* start, int* end) const
{
    DWORD first = 0, last = 0;
    bool ok = GetHandle() != nullptr;
    if (ok)
        SendMessageA(GetHandle(), EM_GETSEL, (WPARAM)&first, (LPARAM)&last);
    if (start)
        *start = (int)first;
    if (end)
        *end = (int)last;
    return ok;
}

LRESULT SEditCtrl::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_SETFOCUS:
        if (m_selectAll) {
            LRESULT result = SWnd::Handler(msg, wParam, lParam);
            Send(EM_SETSEL, 0, -1);
            return result;
        }
        break;
    case WM_CONTEXTMENU:
        if (m_noPopupMenu)
            return 0;
        break;
    default:
        break;
    }
    return SWnd::Handler(msg, wParam, lParam);
}
