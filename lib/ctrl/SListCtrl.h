// SListCtrl: the native list box ("LISTBOX"), drawn by the control itself
// with its text and selection colours. Each item carries an item record
// owned by the control (its text and three caller values), handed to the
// list box as the item's data and freed when the item is removed.
#pragma once

#include <windows.h>

#include <stdint.h>

#include "core/SString.h"
#include "wnd/SWnd.h"

class SStringArray;

class SListCtrl : public SWnd {
public:
    SListCtrl();
    // Destroys the window, freeing every item record and the back brush.
    ~SListCtrl() override;

    // Creates the list from a dialog entry: the style bits (also from
    // LIST_HSCROLL, LIST_VSCROLL, LIST_DISABLENOSCROLL, LIST_NOINTEGRALHEIGHT,
    // LIST_SORT and LIST_SELECTION), TEXTCOLOR, BACKCOLOR, LIST_SELBACKCOLOR,
    // LIST_SELTEXTCOLOR and the initial items of LIST_CONTENT (separated by
    // "|"). False when the window cannot be created.
    bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry) override;

    // Inserts one item at position (LB_INSERTSTRING), or appends it when the
    // position is negative (LB_ADDSTRING). Returns the item's index; -1 when
    // the control has no window or the list box refuses the item (a position
    // beyond the last item, no memory).
    int InsertString(const char* text, int position = -1, uint32_t value1 = 0, uint32_t value2 = 0,
                     uint32_t value3 = 0);
    // Inserts every string of the array in array order. A position below -1
    // or above the item count counts as -1: each string is appended;
    // otherwise string i goes to position + i. Returns the array's count; 0
    // for a null or empty array or a control without a window.
    int InsertStrings(const SStringArray* strings, int position = -1, uint32_t value1 = 0,
                      uint32_t value2 = 0, uint32_t value3 = 0);
    // Removes the item; returns the remaining count, or -1 for an index
    // outside the list or a control without a window.
    int Remove(int index);
    // Removes every item.
    void RemoveAll();

    // The number of items; 0 without a window.
    int GetCount() const;
    // The item's text; empty outside the list.
    SString GetItemText(int index) const;
    // Caller value 0, 1 or 2 of the item; 0 outside the list or for another
    // value number.
    uint32_t GetItemValue(int index, int which) const;

    // The selected item of a single-selection list; -1 when none.
    int GetSelection() const;
    // Selects the item (-1 clears the selection) of a single-selection list;
    // false for an index outside the list.
    bool SetSelection(int index);
    // Whether the item is selected (any selection style).
    bool IsSelected(int index) const;

    // Colours as GDI colour references; the list is redrawn.
    void SetColors(COLORREF text, COLORREF selBack, COLORREF selText);
    COLORREF GetTextColor() const { return m_textColor; }
    COLORREF GetSelBackColor() const { return m_selBackColor; }
    COLORREF GetSelTextColor() const { return m_selTextColor; }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;
    bool OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result) override;

private:
    struct Item {
        SString text;
        uint32_t values[3];
    };

    Item* GetItem(int index) const;
    void FreeItems();
    void UpdateItemHeight();
    void DrawItem(const DRAWITEMSTRUCT* draw);

    COLORREF m_textColor;
    COLORREF m_selBackColor;
    COLORREF m_selTextColor;
    HBRUSH m_backBrush;   // owned; null for the system's window colour
    HFONT m_font;         // not owned: the font given by WM_SETFONT, or null
};
