// SEditCtrl: the native edit field ("EDIT"). Options of the dialog text
// become native style bits; two are the control's own: select-all on focus
// and no context menu.
#pragma once

#include <windows.h>

#include "core/SString.h"
#include "wnd/SWnd.h"

class SEditCtrl : public SWnd {
public:
    SEditCtrl();
    ~SEditCtrl() override;

    // Creates the field from a dialog entry: the style bits (also from
    // EDIT_ALIGN and the boolean EDIT_ keys), the caption (or EDIT_TEXT) as
    // its text, EDIT_SELECTALL and EDIT_NOPOPUPMENU. False when the window
    // cannot be created.
    bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry) override;

    // The text is the window text: SetText / GetText of the window base.

    // Selects the characters from start up to end (-1: to the end of the text).
    void SetSel(int start, int end);
    // The selection; false (both 0) without a window.
    bool GetSel(int* start, int* end) const;

    // With select-all, gaining the focus selects the whole text.
    void SetSelectAll(bool selectAll) { m_selectAll = selectAll; }
    bool IsSelectAll() const { return m_selectAll; }
    // With no popup menu, the field shows no context menu.
    void SetNoPopupMenu(bool noPopupMenu) { m_noPopupMenu = noPopupMenu; }
    bool IsNoPopupMenu() const { return m_noPopupMenu; }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

private:
    bool m_selectAll;
    bool m_noPopupMenu;
};
