#include "SListCtrl.h"

#include "SCtrlColor.h"
#include "core/SStringArray.h"
#include "wnd/SWndDialogEntry.h"

SListCtrl::SListCtrl()
    : m_textColor(GetSysColor(COLOR_WINDOWTEXT)), m_selBackColor(GetSysColor(COLOR_HIGHLIGHT)),
      m_selTextColor(GetSysColor(COLOR_HIGHLIGHTTEXT)), m_backBrush(nullptr), m_font(nullptr)
{
}

SListCtrl::~SListCtrl()
{
    // The window goes first: its WM_DESTROY frees the item records.
    Destroy();
    FreeItems();
    if (m_backBrush)
        DeleteObject(m_backBrush);
}

bool SListCtrl::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    // Owner drawn so that the selection colours apply; the list box keeps
    // the strings too, for its keyboard search and sorting.
    DWORD style = LBS_OWNERDRAWFIXED | LBS_HASSTRINGS | LBS_NOTIFY;
    if (entry.GetBool("LIST_HSCROLL"))
        style |= WS_HSCROLL;
    if (entry.GetBool("LIST_VSCROLL"))
        style |= WS_VSCROLL;
    if (entry.GetBool("LIST_DISABLENOSCROLL"))
        style |= LBS_DISABLENOSCROLL;
    if (entry.GetBool("LIST_NOINTEGRALHEIGHT"))
        style |= LBS_NOINTEGRALHEIGHT;
    if (entry.GetBool("LIST_SORT"))
        style |= LBS_SORT;
    SString selection = entry.GetText("LIST_SELECTION");
    if (selection == "_NONE")
        style |= LBS_NOSEL;
    else if (selection == "_MULTIPLE")
        style |= LBS_MULTIPLESEL;
    else if (selection == "_EXTENDED")
        style |= LBS_EXTENDEDSEL;

    m_textColor = SCtrlColor::ToColorRef(entry.textColor, GetSysColor(COLOR_WINDOWTEXT));
    m_selBackColor =
        SCtrlColor::ToColorRef(entry.GetColor("LIST_SELBACKCOLOR"), GetSysColor(COLOR_HIGHLIGHT));
    m_selTextColor = SCtrlColor::ToColorRef(entry.GetColor("LIST_SELTEXTCOLOR"),
                                            GetSysColor(COLOR_HIGHLIGHTTEXT));
    if (entry.backColor != SWND_COLOR_NOTSET)
        m_backBrush = CreateSolidBrush(SCtrlColor::ToColorRef(entry.backColor, 0));

    if (!CreateChild("LISTBOX", parent, entry, style))
        return false;
    SString content = entry.GetText("LIST_CONTENT");
    if (!content.IsEmpty()) {
        SStringArray items;
        items.Split(content.Text(), '|');
        InsertStrings(&items, -1);
    }
    return true;
}

SListCtrl::Item* SListCtrl::GetItem(int index) const
{
    if (!GetHandle())
        return nullptr;
    LRESULT data = SendMessageA(GetHandle(), LB_GETITEMDATA, (WPARAM)index, 0);
    if (data == LB_ERR)
        return nullptr;
    return (Item*)data;
}

int SListCtrl::InsertString(const char* text, int position, uint32_t value1, uint32_t value2,
                            uint32_t value3)
{
    if (!GetHandle())
        return -1;
    Item* item = new Item;
    item->text.Assign(text);
    item->values[0] = value1;
    item->values[1] = value2;
    item->values[2] = value3;
    LRESULT index = position >= 0
        ? Send(LB_INSERTSTRING, (WPARAM)position, (LPARAM)item->text.Text())
        : Send(LB_ADDSTRING, 0, (LPARAM)item->text.Text());
    if (index < 0) {
        delete item;
        return -1;
    }
    Send(LB_SETITEMDATA, (WPARAM)index, (LPARAM)item);
    return (int)index;
}

int SListCtrl::InsertStrings(const SStringArray* strings, int position, uint32_t value1,
                             uint32_t value2, uint32_t value3)
{
    if (!strings || strings->GetCount() == 0 || !GetHandle())
        return 0;
    if (position < -1 || position > GetCount())
        position = -1;
    int count = strings->GetCount();
    for (int i = 0; i < count; i++)
        InsertString(strings->GetText(i), position < 0 ? -1 : position + i, value1, value2, value3);
    return count;
}

int SListCtrl::Remove(int index)
{
    if (!GetHandle())
        return -1;
    LRESULT result = Send(LB_DELETESTRING, (WPARAM)index, 0);
    return result == LB_ERR ? -1 : (int)result;
}

void SListCtrl::RemoveAll()
{
    if (GetHandle())
        Send(LB_RESETCONTENT);
}

int SListCtrl::GetCount() const
{
    if (!GetHandle())
        return 0;
    LRESULT count = SendMessageA(GetHandle(), LB_GETCOUNT, 0, 0);
    return count < 0 ? 0 : (int)count;
}

SString SListCtrl::GetItemText(int index) const
{
    Item* item = GetItem(index);
    return item ? item->text : SString();
}

uint32_t SListCtrl::GetItemValue(int index, int which) const
{
    Item* item = GetItem(index);
    if (!item || which < 0 || which > 2)
        return 0;
    return item->values[which];
}

int SListCtrl::GetSelection() const
{
    if (!GetHandle())
        return -1;
    LRESULT index = SendMessageA(GetHandle(), LB_GETCURSEL, 0, 0);
    return index < 0 ? -1 : (int)index;
}

bool SListCtrl::SetSelection(int index)
{
    if (!GetHandle() || index < -1 || index >= GetCount())
        return false;
    Send(LB_SETCURSEL, (WPARAM)index, 0);
    return true;
}

bool SListCtrl::IsSelected(int index) const
{
    return GetHandle() && SendMessageA(GetHandle(), LB_GETSEL, (WPARAM)index, 0) > 0;
}

void SListCtrl::SetColors(COLORREF text, COLORREF selBack, COLORREF selText)
{
    m_textColor = text;
    m_selBackColor = selBack;
    m_selTextColor = selText;
    if (GetHandle())
        Invalidate();
}

void SListCtrl::FreeItems()
{
    if (!GetHandle())
        return;
    int count = GetCount();
    for (int i = 0; i < count; i++) {
        delete GetItem(i);
        Send(LB_SETITEMDATA, (WPARAM)i, 0);
    }
}

void SListCtrl::UpdateItemHeight()
{
    // An owner-drawn list keeps the item height of its creation font; it
    // follows the font set later by hand.
    HDC dc = GetDC(GetHandle());
    if (!dc)
        return;
    HGDIOBJ old = m_font ? SelectObject(dc, m_font) : nullptr;
    TEXTMETRICA metrics;
    if (GetTextMetricsA(dc, &metrics))
        Send(LB_SETITEMHEIGHT, 0, MAKELPARAM(metrics.tmHeight + 2, 0));
    if (old)
        SelectObject(dc, old);
    ReleaseDC(GetHandle(), dc);
}

void SListCtrl::DrawItem(const DRAWITEMSTRUCT* draw)
{
    HDC dc = draw->hDC;
    RECT rect = draw->rcItem;
    bool selected = (draw->itemState & ODS_SELECTED) != 0;
    if (selected) {
        HBRUSH brush = CreateSolidBrush(m_selBackColor);
        FillRect(dc, &rect, brush);
        DeleteObject(brush);
    } else {
        FillRect(dc, &rect, m_backBrush ? m_backBrush : GetSysColorBrush(COLOR_WINDOW));
    }
    if (draw->itemID != (UINT)-1) {
        Item* item = (Item*)draw->itemData;
        if (item) {
            int oldMode = SetBkMode(dc, TRANSPARENT);
            COLORREF oldColor = SetTextColor(dc, selected ? m_selTextColor : m_textColor);
            RECT text = rect;
            text.left += 2;
            ::DrawTextA(dc, item->text.Text(), item->text.GetLength(), &text,
                        DT_SINGLELINE | DT_NOPREFIX | DT_VCENTER | DT_LEFT);
            SetTextColor(dc, oldColor);
            SetBkMode(dc, oldMode);
        }
    }
    if (draw->itemState & ODS_FOCUS)
        DrawFocusRect(dc, &rect);
}

LRESULT SListCtrl::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case LB_DELETESTRING: {
        // The record goes with its item; the list box itself knows nothing of it.
        Item* item = GetItem((int)wParam);
        LRESULT result = Default(msg, wParam, lParam);
        if (result != LB_ERR)
            delete item;
        return result;
    }
    case LB_RESETCONTENT:
    case WM_DESTROY:
        FreeItems();
        break;
    case WM_SETFONT: {
        m_font = (HFONT)wParam;
        LRESULT result = SWnd::Handler(msg, wParam, lParam);
        UpdateItemHeight();
        return result;
    }
    default:
        break;
    }
    return SWnd::Handler(msg, wParam, lParam);
}

bool SListCtrl::OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    (void)wParam;
    switch (msg) {
    case WM_DRAWITEM:
        DrawItem((const DRAWITEMSTRUCT*)lParam);
        *result = TRUE;
        return true;
    case WM_CTLCOLORLISTBOX:
        if (!m_backBrush)
            return false;
        *result = (LRESULT)m_backBrush;
        return true;
    case WM_DELETEITEM:
        // Records are freed by the list itself (LB_DELETESTRING, LB_RESETCONTENT, WM_DESTROY).
        *result = TRUE;
        return true;
    default:
        return false;
    }
}
