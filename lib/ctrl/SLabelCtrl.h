// SLabelCtrl: one line of static text drawn by the control itself, with its
// own font, colours, alignment and an optional transparent background. Mouse
// buttons are reported to the parent as SWM_LABELMOUSE (see SMouseEvent).
#pragma once

#include <windows.h>

#include <stdint.h>

#include "wnd/SWnd.h"

class SLabelCtrl : public SWnd {
public:
    // Alignment values: one horizontal value in the low four bits, one
    // vertical value above them. JUSTIFY is kept but draws like LEFT.
    enum : int {
        ALIGN_LEFT = 0,
        ALIGN_CENTER = 1,
        ALIGN_RIGHT = 2,
        ALIGN_JUSTIFY = 3,
        ALIGN_TOP = 0,
        ALIGN_MIDDLE = 16,
        ALIGN_BOTTOM = 32,
    };

    SLabelCtrl();
    ~SLabelCtrl() override;

    // Creates the label from a dialog entry: caption (or LABEL_TEXT), colours,
    // TRANSPARENT, LABEL_HALIGN and LABEL_VALIGN. False when the window
    // cannot be created.
    bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry) override;

    // The text is the window text: SetText (WM_SETTEXT) redraws at once.
    // Keeps one horizontal value (3 when both low bits are set, else 2, else
    // 1, else 0) and one vertical value (32 if set, else 16, else 0) and
    // redraws when that changes the alignment.
    void SetAlign(int align);
    int GetAlign() const { return m_align; }
    // Colours as GDI colour references; both redraw the label.
    void SetColors(COLORREF text, COLORREF back);
    COLORREF GetTextColor() const { return m_textColor; }
    COLORREF GetBackColor() const { return m_backColor; }
    // A transparent label shows its parent's background behind the text.
    void SetTransparent(bool transparent);
    bool IsTransparent() const { return m_transparent; }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

    // The alignment value of the dialog words ("_CENTER", "_BOTTOM", ...);
    // 0 for an empty or unknown word.
    static int AlignOfWord(const char* word);

private:
    void Draw(HDC dc);
    void DrawText(HDC dc, const RECT& client);
    void RedrawNow();

    HFONT m_font;   // not owned: the font given by WM_SETFONT, or null
    COLORREF m_textColor;
    COLORREF m_backColor;
    bool m_transparent;
    bool m_erased;   // drawn on erase since the last WM_PAINT
    int m_align;
};
