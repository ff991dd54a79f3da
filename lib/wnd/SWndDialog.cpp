#include "SWndDialog.h"

#include <commctrl.h>
#include <shellapi.h>
#include <string.h>

#include "SWndApp.h"
#include "ctrl/SButtonCtrl.h"
#include "ctrl/SCtrlColor.h"
#include "ctrl/SEditCtrl.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "ctrl/SProgressCtrl.h"
#include "file/SFile.h"

namespace {

// Caption, system menu, sizing frame, minimise and maximise boxes; client and
// static edge: what a layered dialog drops.
const DWORD kLayerStyleBits = 0x00CF0000;
const DWORD kLayerExStyleBits = 0x00020200;

// A platform font for a FONT entry: flag 1 bold, 2 italic, 4 underline,
// 8 strike-out; the size is in points.
HFONT CreateEntryFont(const SWndDialogEntry& entry)
{
    LOGFONTA font;
    memset(&font, 0, sizeof(font));
    HDC screen = GetDC(nullptr);
    int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSY) : 96;
    if (screen)
        ReleaseDC(nullptr, screen);
    int size = entry.fontSize > 0 ? entry.fontSize : 8;
    font.lfHeight = -MulDiv(size, dpi, 72);
    font.lfWeight = (entry.fontFlags & 1) ? FW_BOLD : FW_NORMAL;
    font.lfItalic = (entry.fontFlags & 2) ? TRUE : FALSE;
    font.lfUnderline = (entry.fontFlags & 4) ? TRUE : FALSE;
    font.lfStrikeOut = (entry.fontFlags & 8) ? TRUE : FALSE;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfQuality = DEFAULT_QUALITY;
    lstrcpynA(font.lfFaceName, entry.fontFace.Text(), LF_FACESIZE);
    return CreateFontIndirectA(&font);
}

// A step of the automatic layout: whole, half or quarter of the change.
int Shift(uint32_t flags, int delta, uint32_t whole, uint32_t half, uint32_t quarter)
{
    if (flags & whole)
        return delta;
    if (flags & half)
        return delta / 2;
    if (flags & quarter)
        return delta / 4;
    return 0;
}

}   // namespace

SWndDialog::SWndDialog()
    : m_statusBar(nullptr), m_backBrush(nullptr), m_lastFocus(nullptr), m_moveWithMouse(false),
      m_toolBarHeight(0)
{
    m_minSize.cx = m_minSize.cy = 0;
    m_maxSize.cx = m_maxSize.cy = 0;
    m_layoutBase.cx = m_layoutBase.cy = 0;
}

SWndDialog::~SWndDialog()
{
    // Destroyed here, while this object's handler still runs the clean-up.
    if (GetHandle())
        Destroy();
    DestroyRows();
}

bool SWndDialog::CreateFromText(SFile* document, HWND parent, SResource* archive, bool popup,
                                LPARAM user, SWndNameToCommand toolBarCommand,
                                SWndNameToCommand menuCommand)
{
    // The archive's entries (icon, image, shape, menu, tool bar) and the two
    // name mappings serve widgets the library's dialogs here do not build.
    (void)archive;
    (void)toolBarCommand;
    (void)menuCommand;
    if (GetHandle() || !document)
        return false;
    if (!m_desc.Load(document))
        return false;
    ScaleToDisplay();
    return Build(parent, popup, user);
}

bool SWndDialog::CreateFromDesc(const SWndDialogDesc& desc, HWND parent, bool popup, LPARAM user)
{
    if (GetHandle())
        return false;
    if (&desc != &m_desc) {
        m_desc.Clear();
        m_desc.GetDialog() = desc.GetDialog();
        for (int i = 0; i < desc.GetControlCount(); i++)
            m_desc.AddControl(*desc.GetControl(i));
        ScaleToDisplay();
    }
    return Build(parent, popup, user);
}

namespace {

// Positions in dialog texts are pixels at 96 dots per inch; on a scaled
// display they grow with the fonts, so the layout keeps its proportions.
void ScaleForDisplay(SWndDialogEntry* entry, int dpi)
{
    entry->x = (short)MulDiv(entry->x, dpi, 96);
    entry->y = (short)MulDiv(entry->y, dpi, 96);
    entry->width = (short)MulDiv(entry->width, dpi, 96);
    entry->height = (short)MulDiv(entry->height, dpi, 96);
}

}   // namespace

void SWndDialog::ScaleToDisplay()
{
    HDC screen = GetDC(nullptr);
    int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSY) : 96;
    if (screen)
        ReleaseDC(nullptr, screen);
    ScaleToDisplay(dpi);
}

void SWndDialog::ScaleToDisplay(int dpi)
{
    if (dpi <= 96)
        return;
    ScaleForDisplay(&m_desc.GetDialog(), dpi);
    for (int i = 0; i < m_desc.GetControlCount(); i++)
        ScaleForDisplay(m_desc.GetControl(i), dpi);
}

bool SWndDialog::Build(HWND parent, bool popup, LPARAM user)
{
    const SWndDialogEntry& dialog = m_desc.GetDialog();
    DestroyRows();

    DWORD style = dialog.style & ~WS_VISIBLE;
    // A window without a parent cannot be a child: it stays a pop-up.
    style |= (popup || !parent) ? WS_POPUP : WS_CHILD;
    DWORD exStyle = dialog.exStyle;
    bool layered = dialog.GetBool("DIALOG_LAYER");
    if (layered) {
        style &= ~kLayerStyleBits;
        exStyle &= ~kLayerExStyleBits;
    }
    RECT rect = {dialog.x, dialog.y, dialog.x + dialog.width, dialog.y + dialog.height};
    if (!Create(dialog.caption.Text(), style, exStyle, &rect, parent, nullptr, user, nullptr,
                dialog.GetBool("DIALOG_NOCLOSE")))
        return false;
    HWND hwnd = GetHandle();

    // The POSITION size is the client area: add what the frame takes.
    RECT client, window;
    ::GetClientRect(hwnd, &client);
    ::GetWindowRect(hwnd, &window);
    int frameWidth = (window.right - window.left) - (client.right - client.left);
    int frameHeight = (window.bottom - window.top) - (client.bottom - client.top);
    SetWindowPos(hwnd, nullptr, 0, 0, dialog.width + frameWidth, dialog.height + frameHeight,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);

    if (dialog.GetBool("DIALOG_DRAGFILES"))
        DragAcceptFiles(hwnd, TRUE);

    SString statusText = dialog.GetText("DIALOG_STATUSBARTEXT");
    if (!layered && !statusText.IsEmpty())
        CreateStatusBar(statusText);

    for (int i = 0; i < m_desc.GetControlCount(); i++)
        CreateControl(*m_desc.GetControl(i));

    if (dialog.backColor != SWND_COLOR_NOTSET) {
        m_backBrush = CreateSolidBrush(SCtrlColor::ToColorRef(dialog.backColor, 0));
        InvalidateRect(hwnd, nullptr, TRUE);
    }

    ::GetWindowRect(hwnd, &window);
    SIZE size = {window.right - window.left, window.bottom - window.top};
    if (dialog.GetBool("DIALOG_MINSIZE"))
        m_minSize = size;
    if (dialog.GetBool("DIALOG_MAXSIZE"))
        m_maxSize = size;

    ::GetClientRect(hwnd, &client);
    m_layoutBase.cx = client.right - client.left;
    m_layoutBase.cy = client.bottom - client.top;

    if (dialog.GetBool("DIALOG_MAXIMIZED"))
        ShowWindow(hwnd, SW_MAXIMIZE);
    if (dialog.GetBool("DIALOG_MINIMIZED"))
        ShowWindow(hwnd, SW_MINIMIZE);
    m_moveWithMouse = dialog.GetBool("DIALOG_MOVEWITHMOUSE");
    if (layered) {
        SetWindowLongA(hwnd, GWL_EXSTYLE, GetWindowLongA(hwnd, GWL_EXSTYLE) | WS_EX_LAYERED);
        SetLayeredWindowAttributes(hwnd, 0, 255, LWA_ALPHA);
    }

    if (dialog.HasKey("DIALOG_FOCUS")) {
        SWnd* focus = FindById(dialog.GetInt("DIALOG_FOCUS"));
        if (focus && focus->GetHandle()) {
            m_lastFocus = focus->GetHandle();
            ::SetFocus(m_lastFocus);
        }
    }

    if (dialog.style & WS_VISIBLE)
        ShowWindow(hwnd, SW_SHOW);

    Deliver(SWM_DIALOGREADY, 0, user);
    return true;
}

SWnd* SWndDialog::NewControl(const SWndDialogEntry& entry)
{
    switch (entry.type) {
    case SWND_TYPE_LABEL:
        return new SLabelCtrl();
    case SWND_TYPE_PROGRESS:
        return new SProgressCtrl();
    case SWND_TYPE_LIST:
        return new SListCtrl();
    case SWND_TYPE_EDIT:
        return new SEditCtrl();
    case SWND_TYPE_BUTTON:
        return new SButtonCtrl();
    // The widget library's types are built as plain windows with their
    // position and caption, so a document naming them still loads.
    default:
        return new SWnd();
    }
}

bool SWndDialog::CreateControl(const SWndDialogEntry& entry)
{
    SWnd* control = NewControl(entry);
    if (!control)
        return false;
    if (!control->CreateFromEntry(this, entry)) {
        delete control;
        return false;
    }
    HFONT own = nullptr;
    if (entry.hasFont && !entry.fontFace.IsEmpty())
        own = CreateEntryFont(entry);
    HFONT font = own ? own : SWndApp::GetFont(SWND_FONT_MESSAGE);
    if (font)
        control->Send(WM_SETFONT, (WPARAM)font, FALSE);
    if (entry.GetBool("TABENABLED"))
        control->SetTabGroup(entry.GetInt("TABGROUP"));
    control->SetLayoutFlags((uint32_t)(entry.GetInt("HALIGN") | entry.GetInt("VALIGN")));

    m_controls.Add(control);
    m_ids.Add(entry.id);
    m_names.Add(entry.name.Text());
    m_fonts.Add(own);
    m_layoutRects.Add(entry.x);
    m_layoutRects.Add(entry.y);
    m_layoutRects.Add(entry.width);
    m_layoutRects.Add(entry.height);
    return true;
}

void SWndDialog::CreateStatusBar(const SString& texts)
{
    SStringArray parts;
    int count = parts.Split(texts.Text(), '|');
    if (count < 1)
        return;
    SWnd* bar = new SWnd();
    if (!bar->CreateClass(STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE, 0, nullptr, GetHandle(),
                          nullptr, 0)) {
        delete bar;
        return;
    }
    m_statusBar = bar;
    RECT client;
    ::GetClientRect(GetHandle(), &client);
    int width = client.right - client.left;
    int* edges = new int[count];
    for (int i = 0; i < count; i++)
        edges[i] = (i + 1) * (width / count);
    bar->Send(SB_SETPARTS, (WPARAM)count, (LPARAM)edges);
    delete[] edges;
    for (int i = 0; i < count; i++)
        bar->Send(SB_SETTEXTA, (WPARAM)i, (LPARAM)parts.GetText(i));
    HFONT font = SWndApp::GetFont(SWND_FONT_STATUS);
    if (font)
        bar->Send(WM_SETFONT, (WPARAM)font, FALSE);
    bar->Send(WM_SIZE, 0, 0);

    RECT barRect, window;
    bar->GetWindowRect(&barRect);
    ::GetWindowRect(GetHandle(), &window);
    SetWindowPos(GetHandle(), nullptr, 0, 0, window.right - window.left,
                 window.bottom - window.top + (barRect.bottom - barRect.top),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    bar->Send(WM_SIZE, 0, 0);
}

void SWndDialog::DestroyRows()
{
    for (int i = 0; i < m_controls.GetCount(); i++)
        delete m_controls.GetAt(i);
    m_controls.FreeSlots();
    m_ids.FreeSlots();
    m_names.RemoveAll();
    for (int i = 0; i < m_fonts.GetCount(); i++) {
        if (m_fonts.GetAt(i))
            DeleteObject(m_fonts.GetAt(i));
    }
    m_fonts.FreeSlots();
    m_layoutRects.FreeSlots();
    delete m_statusBar;
    m_statusBar = nullptr;
    if (m_backBrush)
        DeleteObject(m_backBrush);
    m_backBrush = nullptr;
    m_lastFocus = nullptr;
    m_minSize.cx = m_minSize.cy = 0;
    m_maxSize.cx = m_maxSize.cy = 0;
}

SWnd* SWndDialog::FindByName(const char* name) const
{
    if (!name)
        return nullptr;
    for (int i = 0; i < m_controls.GetCount(); i++) {
        if (strcmp(m_names.GetText(i), name) == 0)
            return m_controls.GetAt(i);
    }
    return nullptr;
}

SWnd* SWndDialog::FindById(int id) const
{
    for (int i = 0; i < m_controls.GetCount(); i++) {
        if ((int)m_ids.GetAt(i) == id)
            return m_controls.GetAt(i);
    }
    return nullptr;
}

int SWndDialog::GetRow(const SWnd* control) const
{
    if (!control)
        return -1;
    for (int i = 0; i < m_controls.GetCount(); i++) {
        if (m_controls.GetAt(i) == control)
            return i;
    }
    return -1;
}

SWnd* SWndDialog::GetRowControl(int row) const
{
    return row >= 0 && row < m_controls.GetCount() ? m_controls.GetAt(row) : nullptr;
}

int SWndDialog::GetRowId(int row) const
{
    return row >= 0 && row < m_ids.GetCount() ? (int)m_ids.GetAt(row) : 0;
}

const char* SWndDialog::GetRowName(int row) const
{
    return m_names.GetText(row);
}

HFONT SWndDialog::GetRowFont(int row) const
{
    return row >= 0 && row < m_fonts.GetCount() ? m_fonts.GetAt(row) : nullptr;
}

void SWndDialog::LayOut(int width, int height)
{
    int dx = width - m_layoutBase.cx;
    int dy = height - m_layoutBase.cy;
    for (int i = 0; i < m_controls.GetCount(); i++) {
        SWnd* control = m_controls.GetAt(i);
        uint32_t flags = control->GetLayoutFlags();
        if (!flags || !control->GetHandle())
            continue;
        int x = (int)m_layoutRects.GetAt(i * 4) +
            Shift(flags, dx, SWND_AUTORIGHT, SWND_AUTOCENTER | SWND_AUTORIGHTHALF,
                  SWND_AUTOCENTERHALF);
        int y = (int)m_layoutRects.GetAt(i * 4 + 1) +
            Shift(flags, dy, SWND_AUTOBOTTOM, SWND_AUTOMIDDLE | SWND_AUTOBOTTOMHALF,
                  SWND_AUTOMIDDLEHALF);
        int w = (int)m_layoutRects.GetAt(i * 4 + 2) +
            Shift(flags, dx, SWND_AUTOWIDTH, SWND_AUTOWIDTHHALF, 0);
        int h = (int)m_layoutRects.GetAt(i * 4 + 3) +
            Shift(flags, dy, SWND_AUTOHEIGHT, SWND_AUTOHEIGHTHALF, 0);
        control->Move(x, y, w < 0 ? 0 : w, h < 0 ? 0 : h, true);
    }
}

// The tool bar host changed its height: the dialog grows by the change and
// every other direct child moves down by it.
void SWndDialog::OnToolBarResized(SWnd* host)
{
    RECT hostRect, window;
    if (!host || !host->GetWindowRect(&hostRect) || !GetWindowRect(&window))
        return;
    int height = hostRect.bottom - hostRect.top;
    int change = height - m_toolBarHeight;
    m_toolBarHeight = height;
    if (change == 0)
        return;
    SetWindowPos(GetHandle(), nullptr, 0, 0, window.right - window.left,
                 window.bottom - window.top + change, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    for (HWND child = ::GetWindow(GetHandle(), GW_CHILD); child;
         child = ::GetWindow(child, GW_HWNDNEXT)) {
        if (child == host->GetHandle())
            continue;
        RECT rect;
        ::GetWindowRect(child, &rect);
        MapWindowPoints(nullptr, GetHandle(), (POINT*)&rect, 2);
        SetWindowPos(child, nullptr, rect.left, rect.top + change, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

LRESULT SWndDialog::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case SWM_TOOLBARRESIZED:
        OnToolBarResized((SWnd*)wParam);
        break;
    case SWM_COMMAND:
        if (IsModal()) {
            int row = GetRow((SWnd*)wParam);
            if (row >= 0 && strcmp(m_names.GetText(row), "OK") == 0)
                Deliver(SWM_OK, 0, 0);
            else if (row >= 0 && strcmp(m_names.GetText(row), "CANCEL") == 0)
                Deliver(SWM_CANCEL, 0, 0);
        }
        break;
    case WM_GETMINMAXINFO:
        if (lParam) {
            MINMAXINFO* info = (MINMAXINFO*)lParam;
            if (m_minSize.cx > 0) {
                info->ptMinTrackSize.x = m_minSize.cx;
                info->ptMinTrackSize.y = m_minSize.cy;
            }
            if (m_maxSize.cx > 0) {
                info->ptMaxTrackSize.x = m_maxSize.cx;
                info->ptMaxTrackSize.y = m_maxSize.cy;
            }
        }
        break;
    case WM_ERASEBKGND:
        if (m_backBrush && wParam) {
            RECT client;
            ::GetClientRect(GetHandle(), &client);
            FillRect((HDC)wParam, &client, m_backBrush);
            return 1;
        }
        break;
    case WM_NCHITTEST:
        if (m_moveWithMouse) {
            LRESULT hit = SWnd::Handler(msg, wParam, lParam);
            return hit == HTCLIENT ? HTCAPTION : hit;
        }
        break;
    case WM_SIZE:
        if (m_statusBar)
            m_statusBar->Send(WM_SIZE, 0, 0);
        if (wParam != SIZE_MINIMIZED && m_layoutBase.cx > 0)
            LayOut(LOWORD(lParam), HIWORD(lParam));
        break;
    case WM_ACTIVATE:
        // Like a system dialog: the control that had the focus gets it back
        // when the dialog is activated again.
        if (LOWORD(wParam) == WA_INACTIVE) {
            HWND focus = GetFocus();
            if (focus && IsChild(GetHandle(), focus))
                m_lastFocus = focus;
        } else if (m_lastFocus && IsWindow(m_lastFocus) && IsChild(GetHandle(), m_lastFocus)) {
            ::SetFocus(m_lastFocus);
            return 0;
        }
        break;
    case WM_DESTROY:
        Hide();
        DestroyRows();
        break;
    default:
        break;
    }
    return SWnd::Handler(msg, wParam, lParam);
}
