#include "SWnd.h"

#include <shellapi.h>
#include <string.h>

#include <unordered_map>

#include "SWndApp.h"
#include "SWndDialogEntry.h"
#include "core/SArray.h"
#include "core/SStringArray.h"
#include "file/SDisk.h"

namespace {

// The process-wide table from window handle to object. Worker threads create
// their own hidden windows, so lookups and changes take a lock; the lock is
// never held while a handler runs.
class HandleTable {
public:
    HandleTable() { InitializeCriticalSection(&m_lock); }
    ~HandleTable() { DeleteCriticalSection(&m_lock); }

    SWnd* Find(HWND hwnd)
    {
        EnterCriticalSection(&m_lock);
        auto it = m_map.find(hwnd);
        SWnd* wnd = it == m_map.end() ? nullptr : it->second;
        LeaveCriticalSection(&m_lock);
        return wnd;
    }
    void Add(HWND hwnd, SWnd* wnd)
    {
        EnterCriticalSection(&m_lock);
        m_map[hwnd] = wnd;
        LeaveCriticalSection(&m_lock);
    }
    void Remove(HWND hwnd, const SWnd* wnd)
    {
        EnterCriticalSection(&m_lock);
        auto it = m_map.find(hwnd);
        if (it != m_map.end() && it->second == wnd)
            m_map.erase(it);
        LeaveCriticalSection(&m_lock);
    }
    void Clear()
    {
        EnterCriticalSection(&m_lock);
        m_map.clear();
        LeaveCriticalSection(&m_lock);
    }

private:
    CRITICAL_SECTION m_lock;
    std::unordered_map<HWND, SWnd*> m_map;
};

// Never destroyed: windows of objects with static storage may outlive every
// other static of the program.
HandleTable& Table()
{
    static HandleTable* table = new HandleTable;
    return *table;
}

}   // namespace

SWnd::SWnd()
    : m_hWnd(nullptr), m_threadId(0), m_modal(false), m_hasFrame(false), m_hasCaption(false),
      m_nativeProc(nullptr), m_tabGroup(-1), m_layoutFlags(0)
{
}

SWnd::~SWnd()
{
    if (m_hWnd) {
        HWND hwnd = m_hWnd;
        DestroyWindow(hwnd);
        // A window of another thread cannot be destroyed from here; the
        // object must not stay reachable through the table either way.
        Table().Remove(hwnd, this);
        m_hWnd = nullptr;
    }
}

SWnd* SWnd::FromHandle(HWND hwnd)
{
    if (!hwnd)
        return nullptr;
    return Table().Find(hwnd);
}

void SWnd::ClearHandleTable()
{
    Table().Clear();
}

LRESULT CALLBACK SWnd::WindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    SWnd* wnd = Table().Find(hwnd);
    if (!wnd)
        return DefWindowProcA(hwnd, msg, wParam, lParam);
    LRESULT result = 0;
    if (wnd->PreFilter(msg, &wParam, &lParam))
        result = wnd->Handler(msg, wParam, lParam);
    if (msg == WM_DESTROY) {
        Table().Remove(hwnd, wnd);
        // The remaining messages of a subclassed control (WM_NCDESTROY frees
        // its data) must reach its own procedure, not DefWindowProcA.
        if (wnd->m_nativeProc)
            SetWindowLongPtrA(hwnd, GWLP_WNDPROC, (LONG_PTR)wnd->m_nativeProc);
        if (wnd->m_hWnd == hwnd) {
            wnd->m_hWnd = nullptr;
            wnd->m_threadId = 0;
            wnd->m_nativeProc = nullptr;
        }
    }
    return result;
}

bool SWnd::Create(const char* title, DWORD style, DWORD exStyle, const RECT* rect, HWND parent,
                  HMENU menuOrId, LPARAM user, HINSTANCE instance, bool noClose)
{
    return CreateWindowOf(noClose ? SWND_CLASS_NOCLOSE : SWND_CLASS, false, title, style, exStyle,
                          rect, parent, menuOrId, user, instance);
}

bool SWnd::CreateClass(const char* className, const char* title, DWORD style, DWORD exStyle,
                       const RECT* rect, HWND parent, HMENU menuOrId, LPARAM user,
                       HINSTANCE instance)
{
    if (!className || !*className)
        return false;
    // The library classes already use the library procedure.
    bool library =
        lstrcmpiA(className, SWND_CLASS) == 0 || lstrcmpiA(className, SWND_CLASS_NOCLOSE) == 0;
    return CreateWindowOf(className, !library, title, style, exStyle, rect, parent, menuOrId, user,
                          instance);
}

bool SWnd::CreateWindowOf(const char* className, bool subclass, const char* title, DWORD style,
                          DWORD exStyle, const RECT* rect, HWND parent, HMENU menuOrId, LPARAM user,
                          HINSTANCE instance)
{
    if (m_hWnd)
        return false;
    bool visible = (style & WS_VISIBLE) != 0;
    style &= ~WS_VISIBLE;
    if (!parent)
        style |= WS_POPUP;
    m_hasFrame = (style & (WS_BORDER | WS_THICKFRAME)) ||
        (exStyle & (WS_EX_CLIENTEDGE | WS_EX_STATICEDGE | WS_EX_WINDOWEDGE));
    m_hasCaption = (style & WS_SYSMENU) && (style & WS_CAPTION) == WS_CAPTION;

    int x = 0, y = 0, width = 0, height = 0;
    if (rect) {
        x = rect->left;
        y = rect->top;
        width = rect->right - rect->left;
        height = rect->bottom - rect->top;
    }
    if (!instance)
        instance = SWndApp::GetInstance();
    if (!instance)
        instance = GetModuleHandleA(nullptr);

    HWND hwnd = CreateWindowExA(exStyle, className, title ? title : "", style, x, y, width, height,
                                parent, menuOrId, instance, nullptr);
    if (!hwnd)
        return false;
    m_nativeProc = nullptr;
    if (subclass)
        m_nativeProc = (WNDPROC)SetWindowLongPtrA(hwnd, GWLP_WNDPROC, (LONG_PTR)WindowProc);
    m_hWnd = hwnd;
    m_threadId = GetWindowThreadProcessId(hwnd, nullptr);
    Table().Add(hwnd, this);

    if (WindowProc(hwnd, SWM_CREATE, 0, user) != 0) {
        // Refused: the object forgets the window before it is destroyed, so
        // its handler never sees the destruction of a window it refused.
        Table().Remove(hwnd, this);
        if (m_nativeProc)
            SetWindowLongPtrA(hwnd, GWLP_WNDPROC, (LONG_PTR)m_nativeProc);
        m_hWnd = nullptr;
        m_threadId = 0;
        m_nativeProc = nullptr;
        DestroyWindow(hwnd);
        return false;
    }
    if (visible && m_hWnd)
        ShowWindow(m_hWnd, SW_SHOW);
    return m_hWnd != nullptr;
}

bool SWnd::CreateChild(const char* className, SWnd* parent, const SWndDialogEntry& entry,
                       DWORD addStyle, DWORD addExStyle)
{
    if (!parent || !parent->GetHandle())
        return false;
    RECT rect = {entry.x, entry.y, entry.x + entry.width, entry.y + entry.height};
    DWORD style = entry.style | WS_CHILD | addStyle;
    DWORD exStyle = entry.exStyle | addExStyle;
    HMENU id = (HMENU)(INT_PTR)entry.id;
    if (!className)
        return Create(entry.caption.Text(), style, exStyle, &rect, parent->GetHandle(), id, 0);
    return CreateClass(className, entry.caption.Text(), style, exStyle, &rect, parent->GetHandle(),
                       id, 0);
}

bool SWnd::CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry)
{
    return CreateChild(nullptr, parent, entry);
}

bool SWnd::PreFilter(UINT msg, WPARAM* wParam, LPARAM* lParam)
{
    (void)msg;
    (void)wParam;
    (void)lParam;
    return true;
}

bool SWnd::OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    (void)msg;
    (void)wParam;
    (void)lParam;
    (void)result;
    return false;
}

LRESULT SWnd::Default(UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (m_nativeProc)
        return CallWindowProcA(m_nativeProc, m_hWnd, msg, wParam, lParam);
    return DefWindowProcA(m_hWnd, msg, wParam, lParam);
}

LRESULT SWnd::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    HWND child = nullptr;
    switch (msg) {
    case SWM_CREATE:
        return 0;
    case WM_DROPFILES:
        return OnDropFiles((HDROP)wParam);
    case WM_COMMAND:
    case WM_HSCROLL:
    case WM_VSCROLL:
    case WM_CTLCOLORMSGBOX:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
        child = (HWND)lParam;
        break;
    case WM_NOTIFY:
        if (lParam)
            child = ((NMHDR*)lParam)->hwndFrom;
        break;
    case WM_DRAWITEM:
        if (lParam && ((DRAWITEMSTRUCT*)lParam)->CtlType != ODT_MENU)
            child = ((DRAWITEMSTRUCT*)lParam)->hwndItem;
        break;
    case WM_MEASUREITEM:
        // Sent while the control is being created, before its handle is in
        // the table; later ones find it by ID.
        if (lParam && ((MEASUREITEMSTRUCT*)lParam)->CtlType != ODT_MENU)
            child = GetDlgItem(m_hWnd, (int)((MEASUREITEMSTRUCT*)lParam)->CtlID);
        break;
    case WM_DELETEITEM:
        if (lParam)
            child = ((DELETEITEMSTRUCT*)lParam)->hwndItem;
        break;
    case WM_COMPAREITEM:
        if (lParam)
            child = ((COMPAREITEMSTRUCT*)lParam)->hwndItem;
        break;
    case WM_KEYDOWN:
        if (wParam == VK_TAB && m_tabGroup >= 0 && MoveTabFocus(GetKeyState(VK_SHIFT) < 0))
            return 0;
        break;
    case WM_CHAR:
        // The Tab that moved the focus must not reach the control as text.
        if (wParam == '\t' && m_tabGroup >= 0)
            return 0;
        break;
    default:
        break;
    }
    if (child && child != m_hWnd) {
        SWnd* wnd = FromHandle(child);
        LRESULT result = 0;
        if (wnd && wnd->OnReflect(msg, wParam, lParam, &result))
            return result;
    }
    return Default(msg, wParam, lParam);
}

LRESULT SWnd::OnDropFiles(HDROP drop)
{
    SStringArray paths;
    int count = (int)DragQueryFileA(drop, 0xFFFFFFFF, nullptr, 0);
    if (count > 0) {
        char* buffer = new char[261];
        SDisk disk;
        for (int i = 0; i < count; i++) {
            buffer[0] = 0;
            UINT length = DragQueryFileA(drop, (UINT)i, buffer, 260);
            buffer[length < 260 ? length : 260] = 0;
            SString path(buffer);
            // A folder gets one trailing "\\" (a drive root already has it).
            if (disk.IsFolder(buffer) && path.GetAt(path.GetLength() - 1) != '\\' &&
                path.GetAt(path.GetLength() - 1) != '/')
                path += "\\";
            paths.Add(path.Text());
        }
        delete[] buffer;
    }
    // The drop handle is deliberately not released (no DragFinish): the
    // sender owns it.
    Send(SWM_DROPFILES, (WPARAM)&paths, 0);
    return 0;
}

bool SWnd::MoveTabFocus(bool backward)
{
    HWND parent = ::GetParent(m_hWnd);
    if (!parent)
        return false;
    // Candidates in tab-group order, and by creation (z) order within a group.
    SArray<SWnd*> order;
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        SWnd* wnd = FromHandle(child);
        if (!wnd || wnd->m_tabGroup < 0)
            continue;
        if (wnd != this && (!IsWindowVisible(child) || !IsWindowEnabled(child)))
            continue;
        int at = order.GetCount();
        while (at > 0 && order.GetAt(at - 1)->m_tabGroup > wnd->m_tabGroup)
            at--;
        order.Insert(wnd, at);
    }
    int self = order.Find(this);
    if (self < 0 || order.GetCount() < 2)
        return false;
    int count = order.GetCount();
    int next = backward ? (self + count - 1) % count : (self + 1) % count;
    ::SetFocus(order.GetAt(next)->m_hWnd);
    return true;
}

LRESULT SWnd::Deliver(UINT msg, WPARAM wParam, LPARAM lParam)
{
    return m_hWnd ? WindowProc(m_hWnd, msg, wParam, lParam) : 0;
}

BOOL SWnd::Show(int command)
{
    return m_hWnd ? ShowWindow(m_hWnd, command) : FALSE;
}

BOOL SWnd::Hide()
{
    return m_hWnd ? ShowWindow(m_hWnd, SW_HIDE) : FALSE;
}

BOOL SWnd::Enable(bool enable)
{
    return m_hWnd ? EnableWindow(m_hWnd, enable ? TRUE : FALSE) : FALSE;
}

BOOL SWnd::SetText(const char* text)
{
    return m_hWnd ? SetWindowTextA(m_hWnd, text ? text : "") : FALSE;
}

SString SWnd::GetText() const
{
    SString text;
    if (!m_hWnd)
        return text;
    int length = GetWindowTextLengthA(m_hWnd);
    if (length <= 0 || !text.SetLength(length, false))
        return text;
    int read = GetWindowTextA(m_hWnd, text.GetBuffer(), length + 1);
    text.SetLength(read < 0 ? 0 : (read > length ? length : read));
    return text;
}

BOOL SWnd::Move(int x, int y, int width, int height, bool repaint)
{
    return m_hWnd ? MoveWindow(m_hWnd, x, y, width, height, repaint ? TRUE : FALSE) : FALSE;
}

BOOL SWnd::Invalidate(bool erase)
{
    return m_hWnd ? InvalidateRect(m_hWnd, nullptr, erase ? TRUE : FALSE) : FALSE;
}

BOOL SWnd::Redraw(UINT flags)
{
    return m_hWnd ? RedrawWindow(m_hWnd, nullptr, nullptr, flags) : FALSE;
}

BOOL SWnd::GetClientRect(RECT* rect) const
{
    return m_hWnd && rect ? ::GetClientRect(m_hWnd, rect) : FALSE;
}

BOOL SWnd::GetWindowRect(RECT* rect) const
{
    return m_hWnd && rect ? ::GetWindowRect(m_hWnd, rect) : FALSE;
}

HWND SWnd::GetParent() const
{
    return m_hWnd ? ::GetParent(m_hWnd) : nullptr;
}

HWND SWnd::SetFocus()
{
    return m_hWnd ? ::SetFocus(m_hWnd) : nullptr;
}

int SWnd::ShowMessage(const char* text, const char* caption, UINT type)
{
    return MessageBoxA(m_hWnd, text, caption, type);
}

LRESULT SWnd::Send(UINT msg, WPARAM wParam, LPARAM lParam)
{
    return m_hWnd ? SendMessageA(m_hWnd, msg, wParam, lParam) : 0;
}

BOOL SWnd::Post(UINT msg, WPARAM wParam, LPARAM lParam)
{
    return m_hWnd ? PostMessageA(m_hWnd, msg, wParam, lParam) : FALSE;
}

BOOL SWnd::Destroy()
{
    return m_hWnd ? DestroyWindow(m_hWnd) : FALSE;
}

BOOL SWnd::IsVisible() const
{
    return m_hWnd ? IsWindowVisible(m_hWnd) : FALSE;
}

int SWnd::GetId() const
{
    return m_hWnd ? (int)GetWindowLongA(m_hWnd, GWL_ID) : 0;
}
