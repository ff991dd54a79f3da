// SWnd: one native window and the object that handles its messages. Every
// window of the library (dialogs, controls, hidden service windows) is an
// SWnd: the one library window procedure looks the handle up in a
// process-wide table and hands each message to the object's PreFilter and
// Handler. Native controls ("BUTTON", "EDIT", ...) are wrapped by creating
// them with CreateClass, which subclasses them so that their Handler sees
// every message and Default reaches the control's own procedure.
#pragma once

#include <windows.h>

#include "core/SString.h"

class SWndDialogEntry;

// Messages of the library's own numbering (WM_APP = 0x8000).
enum : UINT {
    SWM_CREATE = 33769,        // first message; lParam = user value; non-zero refuses
    SWM_DIALOGREADY = 33770,   // dialog built; lParam = user value
    SWM_OK = 33774,            // OK of a modal dialog
    SWM_CANCEL = 33775,        // cancel of a modal dialog
    SWM_DROPFILES = 33776,     // wParam = SStringArray* of dropped paths
    SWM_MOUSEEXTRA1 = 33783,   // the three extra mouse events of the controls
    SWM_MOUSEEXTRA2 = 33784,
    SWM_MOUSEEXTRA3 = 33785,
    SWM_CAPTUREMOVE = 33797,      // captured mouse moved; wParam = capture kind
    SWM_CAPTUREEND = 33798,       // captured button released; wParam = capture kind
    SWM_CAPTURELOST = 33799,      // capture taken away; wParam = capture kind
    SWM_THREADNOTIFY = 34778,     // worker notification; wParam = code, lParam = value
    SWM_THREADMESSAGE = 34779,    // message to the worker
    SWM_THREADEND = 34780,        // worker ended
    SWM_COMMAND = 35779,          // control command; wParam = the control's SWnd*
    SWM_TOOLBARRESIZED = 35808,   // wParam = the tool bar host
    SWM_LABELMOUSE = 35868,       // label mouse event; wParam = control, lParam = event
    SWM_PROGRESSMOUSE = 35958,    // progress bar mouse event
};

// Window class names registered by SWndApp::Init.
#define SWND_CLASS "CLASS_SWND"
#define SWND_CLASS_NOCLOSE "CLASS_SWNDEX"

class SWnd {
public:
    SWnd();
    SWnd(const SWnd&) = delete;
    SWnd& operator=(const SWnd&) = delete;
    // Destroys the window if one exists. Its WM_DESTROY then reaches only
    // SWnd's own handler, so a derived class that handles WM_DESTROY destroys
    // the window in its own destructor.
    virtual ~SWnd();

    // Creates the window in the library class "CLASS_SWND" (or
    // "CLASS_SWNDEX" with noClose): WS_VISIBLE is held back until the create
    // message SWM_CREATE (lParam = user) has been answered, and a window
    // without a parent is a pop-up. False when the object already has a
    // window, when the platform refuses the window, or when the handler
    // answers SWM_CREATE non-zero (the half-made window is destroyed first).
    bool Create(const char* title, DWORD style, DWORD exStyle, const RECT* rect, HWND parent,
                HMENU menuOrId, LPARAM user, HINSTANCE instance = nullptr, bool noClose = false);
    // The same for a window of another class (a native control): the window
    // is subclassed, so Handler sees its messages and Default passes them to
    // the class's own procedure. The same failures as Create.
    bool CreateClass(const char* className, const char* title, DWORD style, DWORD exStyle,
                     const RECT* rect, HWND parent, HMENU menuOrId, LPARAM user,
                     HINSTANCE instance = nullptr);

    // Creates the window of one control entry of a dialog text as a child of
    // parent: the dialog builder calls this on a new object of the entry's
    // type. The base version makes a plain library window with the entry's
    // caption, style, ex-style, position and ID; controls override it to
    // create their native class (usually through CreateChild) and apply their
    // own properties. False when the window cannot be created.
    virtual bool CreateFromEntry(SWnd* parent, const SWndDialogEntry& entry);

    // The object of a window handle; null when the handle is not in the table.
    static SWnd* FromHandle(HWND hwnd);
    // The library window procedure of both library classes and of every
    // subclassed control.
    static LRESULT CALLBACK WindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);

    // Sees every message first and may rewrite wParam and lParam; false stops
    // the message (the window procedure then returns 0). The base passes all.
    virtual bool PreFilter(UINT msg, WPARAM* wParam, LPARAM* lParam);
    // The message handler. Overrides end by calling their base's Handler; the
    // base handles SWM_CREATE (accepts), WM_DROPFILES (sends SWM_DROPFILES),
    // reflects child notifications to the child's OnReflect, moves the focus
    // between tab-enabled controls on Tab, and ends with Default.
    virtual LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam);
    // The default processing: the subclassed control's own procedure, or
    // DefWindowProcA for library windows.
    virtual LRESULT Default(UINT msg, WPARAM wParam, LPARAM lParam);
    // A notification that this control sent to its parent (WM_COMMAND,
    // WM_NOTIFY, WM_CTLCOLOR*, WM_DRAWITEM, WM_MEASUREITEM, WM_DELETEITEM,
    // WM_COMPAREITEM, WM_HSCROLL, WM_VSCROLL), offered to the control by the
    // parent's base handler. Return true and set *result to consume it; the
    // base returns false.
    virtual bool OnReflect(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result);

    // Delivers a message synchronously through the window procedure (so
    // PreFilter runs too). 0 when there is no window.
    LRESULT Deliver(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0);

    // Thin wrappers: each returns the Win32 function's result (0/FALSE/null
    // when the object has no window).
    BOOL Show(int command = SW_SHOW);
    BOOL Hide();
    BOOL Enable(bool enable = true);
    BOOL SetText(const char* text);
    // The window text; empty when there is no window or no text.
    SString GetText() const;
    BOOL Move(int x, int y, int width, int height, bool repaint = true);
    BOOL Invalidate(bool erase = true);
    BOOL Redraw(UINT flags = RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
    BOOL GetClientRect(RECT* rect) const;
    BOOL GetWindowRect(RECT* rect) const;
    HWND GetParent() const;
    HWND SetFocus();
    LRESULT Send(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0);
    BOOL Post(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0);
    // A message box owned by this window (none when there is no window);
    // returns the pressed button's id, or 0 when the box cannot be shown.
    int ShowMessage(const char* text, const char* caption, UINT type);
    BOOL Destroy();
    BOOL IsVisible() const;
    // The control identifier (GetWindowLongA GWL_ID); 0 without a window.
    int GetId() const;

    HWND GetHandle() const { return m_hWnd; }
    // The thread that owns the window; 0 without a window.
    DWORD GetThreadId() const { return m_threadId; }
    // True while the window runs a modal loop (SWndApp::RunModalLoop); the
    // loop ends on the round after it is cleared.
    bool IsModal() const { return m_modal; }
    void SetModal(bool modal) { m_modal = modal; }
    // Computed at creation: a border, sizing frame or edge / a caption with a
    // system menu.
    bool HasFrame() const { return m_hasFrame; }
    bool HasCaption() const { return m_hasCaption; }
    // Tab navigation group of a control; -1 (the default) keeps it out of
    // Tab navigation.
    int GetTabGroup() const { return m_tabGroup; }
    void SetTabGroup(int group) { m_tabGroup = group; }
    // The control's automatic layout flags (HALIGN | VALIGN of its entry).
    uint32_t GetLayoutFlags() const { return m_layoutFlags; }
    void SetLayoutFlags(uint32_t flags) { m_layoutFlags = flags; }

protected:
    // Creates a child of parent from a control entry in className (null: the
    // library class), with the entry's caption, style | WS_CHILD | addStyle,
    // ex-style | addExStyle, position and ID. False as Create.
    bool CreateChild(const char* className, SWnd* parent, const SWndDialogEntry& entry,
                     DWORD addStyle = 0, DWORD addExStyle = 0);

private:
    bool CreateWindowOf(const char* className, bool subclass, const char* title, DWORD style,
                        DWORD exStyle, const RECT* rect, HWND parent, HMENU menuOrId, LPARAM user,
                        HINSTANCE instance);
    LRESULT OnDropFiles(HDROP drop);
    // Forgets every window of the handle table (application shutdown).
    static void ClearHandleTable();
    bool MoveTabFocus(bool backward);

    HWND m_hWnd;   // null while no window exists
    DWORD m_threadId;
    bool m_modal;
    bool m_hasFrame;
    bool m_hasCaption;
    WNDPROC m_nativeProc;   // the subclassed control's own procedure, or null
    int m_tabGroup;
    uint32_t m_layoutFlags;

    friend class SWndApp;
};
