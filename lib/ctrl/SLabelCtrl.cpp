#include "SLabelCtrl.h"

#include <string.h>

#include "SCtrlColor.h"
#include "SMouseEvent.h"
#include "wnd/SWndApp.h"
#include "wnd/SWndDialogEntry.h"

namespace {

// Memory device context with a bitmap compatible with another context;
// restores and frees both on scope exit.
class MemoryDc {
public:
    MemoryDc(HDC dc, int width, int height)
        : m_dc(CreateCompatibleDC(dc)), m_bitmap(CreateCompatibleBitmap(dc, width, height)),
          m_old(nullptr)
    {
        if (m_dc && m_bitmap)
            m_old = SelectObject(m_dc, m_bitmap);
    }
    ~MemoryDc()
    {
        if (m_old)
            SelectObject(m_dc, m_old);
        if (m_bitmap)
            DeleteObject(m_bitmap);
        if (m_dc)
            DeleteDC(m_dc);
    }
    bool IsValid() const { return m_old != nullptr; }
    HDC Get() const { return m_dc; }

private:
    HDC m_dc;
    HBITMAP m_bitmap;
    HGDIOBJ m_old;
};

int NormalizeAlign(int align)
{
    int h = align & 3;   // 3, 2, 1 or 0: the low bits decide
    int v = (align & SLabelCtrl::ALIGN_BOTTOM) ? SLabelCtrl::ALIGN_BOTTOM
        : (align & SLabelCtrl::ALIGN_MIDDLE)   ? SLabelCtrl::ALIGN_MIDDLE
                                               : 0;
    return h | v;
}

}   // namespace

SLabelCtrl::SLabelCtrl()
    : m_font(nullptr), m_textColor(GetSysColor(COLOR_BTNTEXT)),
      m_backColor(GetSysColor(COLOR_BTNFACE)), m_transparent(false), m_erased(false), m_align(0)
{
}

SLabelCtrl::~SLabelCtrl()
{
}

int SLabelCtrl::AlignOfWord(const char* word)
{
    static const struct {
        const char* word;
        int value;
    } kWords[] = {{"_LEFT", ALIGN_LEFT},       {"_CENTER", ALIGN_CENTER}, {"_RIGHT", ALIGN_RIGHT},
                  {"_JUSTIFY", ALIGN_JUSTIFY}, {"_TOP", ALIGN_TOP},       {"_MIDDLE", ALIGN_MIDDLE},
                  {"_BOTTOM", ALIGN_BOTTOM}};
    if (!word)
        return 0;
    for (const auto& w : kWords)
        if (strcmp(word, w.word) == 0)
            return w.value;
    return 0;
}

bool SLabelCtrl::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    // The colours are settled before the window exists, so the first paint
    // already uses them.
    m_backColor = SCtrlColor::ToColorRef(entry.backColor, GetSysColor(COLOR_BTNFACE));
    m_textColor = SCtrlColor::ToColorRef(entry.textColor, GetSysColor(COLOR_BTNTEXT));
    m_transparent = entry.transparent;
    m_align = NormalizeAlign(AlignOfWord(entry.GetText("LABEL_HALIGN").Text()) |
                             AlignOfWord(entry.GetText("LABEL_VALIGN").Text()));
    if (!CreateChild(nullptr, parent, entry))
        return false;
    if (entry.caption.IsEmpty() && entry.HasKey("LABEL_TEXT"))
        SWnd::SetText(entry.GetText("LABEL_TEXT").Text());
    return true;
}

void SLabelCtrl::SetAlign(int align)
{
    align = NormalizeAlign(align);
    if (align == m_align)
        return;
    m_align = align;
    RedrawNow();
}

void SLabelCtrl::SetColors(COLORREF text, COLORREF back)
{
    m_textColor = text;
    m_backColor = back;
    RedrawNow();
}

void SLabelCtrl::SetTransparent(bool transparent)
{
    if (transparent == m_transparent)
        return;
    m_transparent = transparent;
    RedrawNow();
}

void SLabelCtrl::RedrawNow()
{
    if (GetHandle())
        Redraw(RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
}

void SLabelCtrl::DrawText(HDC dc, const RECT& client)
{
    RECT rect = client;
    InflateRect(&rect, -2, -2);
    UINT format = DT_SINGLELINE | DT_NOPREFIX;
    int h = m_align & 15;
    if (h == ALIGN_CENTER)
        format |= DT_CENTER;
    else if (h == ALIGN_RIGHT)
        format |= DT_RIGHT;
    if (m_align & ALIGN_BOTTOM)
        format |= DT_BOTTOM;
    else if (m_align & ALIGN_MIDDLE)
        format |= DT_VCENTER;

    SString text = GetText();
    HFONT font = m_font ? m_font : SWndApp::GetFont(SWND_FONT_MESSAGE);
    int oldMode = SetBkMode(dc, TRANSPARENT);
    COLORREF oldColor = SetTextColor(dc, m_textColor);
    HGDIOBJ oldFont = font ? SelectObject(dc, font) : nullptr;
    ::DrawTextA(dc, text.Text(), text.GetLength(), &rect, format);
    if (oldFont)
        SelectObject(dc, oldFont);
    SetTextColor(dc, oldColor);
    SetBkMode(dc, oldMode);
}

void SLabelCtrl::Draw(HDC dc)
{
    RECT client;
    if (!GetClientRect(&client))
        return;
    if (!m_transparent) {
        HBRUSH brush = CreateSolidBrush(m_backColor);
        FillRect(dc, &client, brush);
        DeleteObject(brush);
        DrawText(dc, client);
        return;
    }
    // Transparent: the parent paints its background into an off-screen
    // image at the label's place, the text goes on top, and the result is
    // copied in one step so the label does not flicker.
    int width = client.right - client.left;
    int height = client.bottom - client.top;
    MemoryDc memory(dc, width, height);
    if (!memory.IsValid()) {
        DrawText(dc, client);
        return;
    }
    HWND parent = GetParent();
    POINT origin = {0, 0};
    if (parent)
        MapWindowPoints(GetHandle(), parent, &origin, 1);
    POINT oldOrigin;
    SetViewportOrgEx(memory.Get(), -origin.x, -origin.y, &oldOrigin);
    if (!parent || !SendMessageA(parent, WM_ERASEBKGND, (WPARAM)memory.Get(), 0)) {
        SetViewportOrgEx(memory.Get(), oldOrigin.x, oldOrigin.y, nullptr);
        FillRect(memory.Get(), &client, GetSysColorBrush(COLOR_BTNFACE));
    }
    SetViewportOrgEx(memory.Get(), oldOrigin.x, oldOrigin.y, nullptr);
    DrawText(memory.Get(), client);
    BitBlt(dc, 0, 0, width, height, memory.Get(), 0, 0, SRCCOPY);
}

LRESULT SLabelCtrl::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_ERASEBKGND:
        if (!wParam)
            break;
        Draw((HDC)wParam);
        m_erased = true;
        return 1;
    case WM_PRINTCLIENT:
        Draw((HDC)wParam);
        return 0;
    case WM_PAINT: {
        // The label is drawn on erase; a paint without one (an update region
        // invalidated without erasing) draws here instead.
        PAINTSTRUCT ps;
        m_erased = false;
        HDC dc = BeginPaint(GetHandle(), &ps);
        if (dc && !m_erased)
            Draw(dc);
        m_erased = false;
        EndPaint(GetHandle(), &ps);
        return 0;
    }
    case WM_SETFONT:
        m_font = (HFONT)wParam;
        if (LOWORD(lParam))
            RedrawNow();
        return 0;
    case WM_GETFONT:
        return (LRESULT)m_font;
    case WM_SETTEXT: {
        LRESULT result = SWnd::Handler(msg, wParam, lParam);
        RedrawNow();
        return result;
    }
    default:
        if (SMouseEvent::Forward(this, SWM_LABELMOUSE, msg, lParam))
            return 0;
        break;
    }
    return SWnd::Handler(msg, wParam, lParam);
}
