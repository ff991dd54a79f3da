#include "SProgressCtrl.h"

#include <commctrl.h>

#include "SMouseEvent.h"
#include "wnd/SWndDialogEntry.h"

SProgressCtrl::SProgressCtrl()
{
}

SProgressCtrl::~SProgressCtrl()
{
}

bool SProgressCtrl::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    DWORD style = 0;
    if (entry.GetBool("PROGRESS_VERTICAL"))
        style |= PBS_VERTICAL;
    if (entry.GetBool("PROGRESS_SMOOTH"))
        style |= PBS_SMOOTH;
    if (entry.GetBool("PROGRESS_MARQUEE"))
        style |= PBS_MARQUEE;
    if (!CreateChild(PROGRESS_CLASSA, parent, entry, style))
        return false;
    SetRange(0, 100);
    int minimum = entry.HasKey("PROGRESS_MINVALUE") ? entry.GetInt("PROGRESS_MINVALUE") : 0;
    int maximum = entry.HasKey("PROGRESS_MAXVALUE") ? entry.GetInt("PROGRESS_MAXVALUE") : 100;
    SetRange(minimum, maximum);
    SetPos(entry.GetInt("PROGRESS_VALUE"));
    return true;
}

LRESULT SProgressCtrl::SetRange(int minimum, int maximum)
{
    if (!GetHandle())
        return 0;
    return Send(PBM_SETRANGE32, (WPARAM)minimum, (LPARAM)maximum);
}

bool SProgressCtrl::GetRange(int* minimum, int* maximum) const
{
    PBRANGE range = {0, 0};
    bool ok = GetHandle() != nullptr;
    if (ok)
        SendMessageA(GetHandle(), PBM_GETRANGE, TRUE, (LPARAM)&range);
    if (minimum)
        *minimum = range.iLow;
    if (maximum)
        *maximum = range.iHigh;
    return ok;
}

int SProgressCtrl::SetPos(int position)
{
    if (!GetHandle())
        return 0;
    return (int)Send(PBM_SETPOS, (WPARAM)position, 0);
}

int SProgressCtrl::GetPos() const
{
    if (!GetHandle())
        return 0;
    return (int)SendMessageA(GetHandle(), PBM_GETPOS, 0, 0);
}

LRESULT SProgressCtrl::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (SMouseEvent::Forward(this, SWM_PROGRESSMOUSE, msg, lParam))
        return 0;
    return SWnd::Handler(msg, wParam, lParam);
}
