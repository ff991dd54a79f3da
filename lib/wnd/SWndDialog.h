// SWndDialog: a window built from a dialog text ("VORLIX DIALOG 1.0.0.0").
// CreateFromText parses the document (SWndDialogDesc), creates the dialog
// window from the first entry and one control per further entry, in document
// order, and finally delivers SWM_DIALOGREADY. The dialog keeps one row per
// control: the object, its ID, its NAME and the font made for it.
#pragma once

#include <windows.h>

#include "SWnd.h"
#include "SWndDialogDesc.h"
#include "core/SArray.h"
#include "core/SStringArray.h"

class SFile;
class SResource;

// Automatic layout flags of a control (its entry's HALIGN | VALIGN): when the
// dialog's client area grows by dx, dy from its built size, a control moves
// or grows by that change (whole or half) as its flags say.
enum : uint32_t {
    SWND_AUTOLEFT = 0x1,         // stays (the default)
    SWND_AUTOCENTER = 0x2,       // moves by dx / 2
    SWND_AUTOCENTERHALF = 0x4,   // moves by dx / 4
    SWND_AUTORIGHT = 0x8,        // moves by dx
    SWND_AUTORIGHTHALF = 0x10,   // moves by dx / 2
    SWND_AUTOWIDTH = 0x20,       // grows by dx
    SWND_AUTOWIDTHHALF = 0x40,   // grows by dx / 2
    SWND_AUTOTOP = 0x100,        // the same for dy
    SWND_AUTOMIDDLE = 0x200,
    SWND_AUTOMIDDLEHALF = 0x400,
    SWND_AUTOBOTTOM = 0x800,
    SWND_AUTOBOTTOMHALF = 0x1000,
    SWND_AUTOHEIGHT = 0x2000,
    SWND_AUTOHEIGHTHALF = 0x4000,
};

// Maps a tool bar button's or menu item's name to a command number.
typedef int (*SWndNameToCommand)(const char* name);

class SWndDialog : public SWnd {
public:
    SWndDialog();
    // Destroys the window (running the dialog's own clean-up) and the rows.
    ~SWndDialog() override;

    // Builds the dialog from the document at its current position. parent
    // null makes a top-level window; popup selects WS_POPUP (else WS_CHILD);
    // user is handed to SWM_CREATE and SWM_DIALOGREADY. The archive (not
    // owned; may be null) supplies icon, image, menu and tool bar entries;
    // the two callbacks may be null. False, with nothing shown and no ready
    // message, when the dialog already has a window, the document is null or
    // fails to parse (GetDesc().GetErrorLine() names the line), or the
    // window cannot be created.
    bool CreateFromText(SFile* document, HWND parent, SResource* archive, bool popup, LPARAM user,
                        SWndNameToCommand toolBarCommand = nullptr,
                        SWndNameToCommand menuCommand = nullptr);
    // The same from a parsed description (copied into the dialog).
    bool CreateFromDesc(const SWndDialogDesc& desc, HWND parent, bool popup, LPARAM user);

    // The first control whose NAME equals name exactly; null when none.
    SWnd* FindByName(const char* name) const;
    // The first control with that ID; null when none.
    SWnd* FindById(int id) const;
    // The row of a control object, or -1.
    int GetRow(const SWnd* control) const;
    int GetRowCount() const { return m_controls.GetCount(); }
    // Row accessors: null / 0 / "" / null outside 0 .. count-1.
    SWnd* GetRowControl(int row) const;
    int GetRowId(int row) const;
    const char* GetRowName(int row) const;
    HFONT GetRowFont(int row) const;

    // The description the dialog was built from (empty before a build), its
    // positions scaled from 96 dots per inch to the display's.
    const SWndDialogDesc& GetDesc() const { return m_desc; }
    // Scales the description's positions from 96 dots per inch to dpi,
    // rounding to the nearest pixel; at 96 or below nothing changes. Building
    // scales to the display's own.
    void ScaleToDisplay(int dpi);
    // The status bar made from DIALOG_STATUSBARTEXT, or null.
    SWnd* GetStatusBar() const { return m_statusBar; }
    // The brush of BACKCOLOR, or null when the dialog keeps the default.
    HBRUSH GetBackBrush() const { return m_backBrush; }

    // Handles SWM_COMMAND (a control named "OK" / "CANCEL" delivers SWM_OK /
    // SWM_CANCEL while the dialog is modal), SWM_TOOLBARRESIZED, the minimum
    // and maximum tracking size, the background colour, dragging by the
    // client area, automatic layout on resize and the WM_DESTROY clean-up;
    // then the window base's handling.
    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

protected:
    // Makes the (window-less) object for a control entry: the library's
    // label, progress, list, edit and button controls, or a plain SWnd for
    // every other type. Derived dialogs may supply their own.
    virtual SWnd* NewControl(const SWndDialogEntry& entry);

private:
    bool Build(HWND parent, bool popup, LPARAM user);
    void ScaleToDisplay();
    bool CreateControl(const SWndDialogEntry& entry);
    void CreateStatusBar(const SString& texts);
    void DestroyRows();
    void LayOut(int width, int height);
    void OnToolBarResized(SWnd* host);

    SWndDialogDesc m_desc;
    SArray<SWnd*> m_controls;   // owns the control objects
    SArray<intptr_t> m_ids;
    SStringArray m_names;
    SArray<HFONT> m_fonts;   // owns the fonts; null for a control without its own
    SWnd* m_statusBar;       // owned, or null
    HBRUSH m_backBrush;      // owned, or null
    SIZE m_minSize;          // window size limits; 0 when unset
    SIZE m_maxSize;
    SIZE m_layoutBase;                // client size the control positions refer to
    SArray<intptr_t> m_layoutRects;   // per row: x, y, w, h at build time (4 slots)
    HWND m_lastFocus;                 // the control that had the focus when the dialog was left
    bool m_moveWithMouse;
    int m_toolBarHeight;   // height of the tool bar host at its last resize
};
