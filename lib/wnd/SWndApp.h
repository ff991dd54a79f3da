// SWndApp: the process-wide application state and its message loops. All
// operations are static, over one global state that Init sets and Exit
// clears; the one SWndApp object is the hidden application window, which
// also serves the controls' mouse capture.
#pragma once

#include <windows.h>

#include "SWnd.h"
#include "core/SString.h"
#include "core/SStringArray.h"

// Called by the polling style of the loops whenever the queue is empty.
typedef void (*SWndIdleProc)(void* arg);

// The six standard fonts.
enum SWndAppFont {
    SWND_FONT_CAPTION = 0,
    SWND_FONT_SMALLCAPTION = 1,
    SWND_FONT_MENU = 2,
    SWND_FONT_STATUS = 3,
    SWND_FONT_MESSAGE = 4,
    SWND_FONT_SMALL = 5,   // 8 points, the message font's face
    SWND_FONT_COUNT = 6
};

class SWndApp : public SWnd {
public:
    // Starts the application state: thread table with the calling thread in
    // slot 0, the operating-system class, the command line, the fonts, the
    // two window classes and hidden windows, COM (unless noCom), the rich-edit
    // library, GDI+, and optionally Winsock 2.2 and DirectSound. Never fails:
    // a step that cannot be done leaves its part empty. Calling Init again
    // without Exit does nothing and returns false; otherwise true.
    static bool Init(HINSTANCE instance, bool noCom, bool sockets, bool sound);
    // Shuts everything down in reverse; does nothing before Init.
    static void Exit();
    static bool IsInitialized();

    // Loads both icons from the module and makes them the class icons of both
    // library classes. False when Init has not run or an icon is missing.
    static bool SetIcons(int bigIconId, int smallIconId);

    // Number of arguments after the program path; 0 when the command line
    // could not be split.
    static int GetArgCount();
    // Argument index (0 = the first after the program path) of the current
    // command line, split again on each call; empty for an index outside
    // 0 .. count-1. With stripQuotes, a text of at least two characters that
    // begins and ends with a double quote and holds no other loses both.
    static SString GetArg(int index, bool stripQuotes);
    // The same rules over an explicit command line: GetArgFrom reads one
    // argument, SplitArgs puts every word (program path first) into out and
    // returns their number, 0 when the split fails or out is null.
    static SString GetArgFrom(const char* commandLine, int index, bool stripQuotes);
    static int SplitArgs(const char* commandLine, SStringArray* out);

    // The main loop; ends when WM_QUIT is taken. wait (read on every round;
    // null counts as set) selects GetMessageA (set) or PeekMessageA with the
    // idle callback (clear). Returns the WM_QUIT exit code.
    static int RunLoop(bool* wait, SWndIdleProc idle = nullptr, void* idleArg = nullptr);
    // Runs while window has a handle and its modal flag is set (the loop sets
    // the flag on entry and clears it on return). Enter and Escape deliver
    // SWM_OK / SWM_CANCEL (lParam 1) to window while no modeless dialog is
    // listed. A WM_QUIT taken here is posted again. Returns the WM_QUIT exit
    // code, or 0 when the window ended the loop; -1 for a null window or one
    // without a handle.
    static int RunModalLoop(SWnd* window, bool* wait, SWndIdleProc idle = nullptr,
                            void* idleArg = nullptr);
    // Removes the waiting keyboard and mouse messages without dispatching
    // any (PeekMessageA with 0x70001); returns the number removed.
    static int DrainQueue();

    // Modeless dialogs whose keyboard messages go through IsDialogMessageA in
    // both loops. Add is false for a null handle or one already listed;
    // Remove is false for one not listed.
    static bool AddModeless(HWND dialog);
    static bool RemoveModeless(HWND dialog);
    static int GetModelessCount();

    // Per-thread records (256 slots, slot 0 is the thread that ran Init).
    // Register is false when the id is 0 or every slot is taken; a thread
    // already registered keeps its slot (true). Unregister is false for an id
    // not registered; slot 0 is freed only by Exit.
    static bool RegisterThread(DWORD threadId);
    static bool UnregisterThread(DWORD threadId);
    // The slot of a thread, or -1.
    static int FindThread(DWORD threadId);

    // Operating-system class 1-8 (0 when the version query failed).
    static int GetOsClass();
    static HINSTANCE GetInstance();
    static DWORD GetProcessId();
    static bool IsSocketsStarted();
    // The registered message number of "commdlg_FindReplace"; 0 before Init.
    static UINT GetFindReplaceMessage();
    // The program's full path / its folder (ending in "\\"); empty before Init.
    static const SString& GetProgramPath();
    static const SString& GetProgramFolder();
    // One of the six fonts; null for another index or before Init.
    static HFONT GetFont(int which);
    // The display name of a virtual key; "" for an unknown key.
    static const char* GetKeyName(int virtualKey);
    // The hidden application window; null before Init.
    static SWndApp* GetAppWindow();
    // The hidden plain window's handle; null before Init.
    static HWND GetPlainWindow();

    // Mouse capture for controls: captures the mouse through the hidden
    // application window and forwards moves to target as SWM_CAPTUREMOVE
    // (wParam kind, lParam screen position); a left-button (kind 1) or
    // right-button (kind 4) release ends it with SWM_CAPTUREEND, a lost
    // capture sends SWM_CAPTURELOST. False before Init or for a null target.
    static bool BeginCapture(SWnd* target, int kind);
    static void EndCapture();

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

private:
    SWndApp();
    ~SWndApp() override;
};
