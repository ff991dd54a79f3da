#include "SWndApp.h"

#include <commctrl.h>
#include <objbase.h>
#include <shellapi.h>
#include <stdlib.h>
#include <string.h>

#include "file/SPath.h"

// GDI+ through its flat start-up API; the C++ headers are not needed for it.
extern "C" {
struct SGdiplusStartupInput {
    UINT32 version;
    void* debugCallback;
    BOOL suppressBackgroundThread;
    BOOL suppressExternalCodecs;
};
int WINAPI GdiplusStartup(ULONG_PTR* token, const SGdiplusStartupInput* input, void* output);
void WINAPI GdiplusShutdown(ULONG_PTR token);
}

namespace {

const int kThreadSlots = 256;

// IDirectSound8's first slots, enough to set the cooperative level and to
// release it; the object comes from dsound.dll, loaded only when asked for.
struct SDirectSound {
    struct VTable {
        HRESULT(WINAPI* QueryInterface)(SDirectSound*, const IID&, void**);
        ULONG(WINAPI* AddRef)(SDirectSound*);
        ULONG(WINAPI* Release)(SDirectSound*);
        void* CreateSoundBuffer;
        void* GetCaps;
        void* DuplicateSoundBuffer;
        HRESULT(WINAPI* SetCooperativeLevel)(SDirectSound*, HWND, DWORD);
    } * vtable;
};
typedef HRESULT(WINAPI* DirectSoundCreate8Proc)(const GUID*, SDirectSound**, void*);
typedef int(WINAPI* WSAStartupProc)(WORD, void*);
typedef int(WINAPI* WSACleanupProc)();

struct AppState {
    bool initialized = false;
    DWORD processId = 0;
    HINSTANCE instance = nullptr;
    bool noCom = false;
    bool comStarted = false;
    bool socketsStarted = false;
    int osClass = 0;
    volatile LONG threads[kThreadSlots] = {};
    UINT findReplaceMessage = 0;
    int argCount = 0;
    SString programPath;
    SString programFolder;
    HFONT fonts[SWND_FONT_COUNT] = {};
    SWndApp* appWindow = nullptr;   // owned
    SWnd* plainWindow = nullptr;    // owned
    SArray<HWND> modeless;
    HMODULE richEdit = nullptr;
    ULONG_PTR gdiplusToken = 0;
    HMODULE winsock = nullptr;
    HMODULE dsound = nullptr;
    SDirectSound* sound = nullptr;
    SWnd* captureTarget = nullptr;   // not owned
    int captureKind = 0;
    char keyNames[256][32] = {};
};

AppState& State()
{
    static AppState state;
    return state;
}

int QueryOsClass()
{
    OSVERSIONINFOA info;
    memset(&info, 0, sizeof(info));
    info.dwOSVersionInfoSize = sizeof(info);
#if defined(_MSC_VER)
#pragma warning(suppress : 4996)
#endif
    if (!GetVersionExA(&info))
        return 0;
    DWORD major = info.dwMajorVersion, minor = info.dwMinorVersion;
    if (info.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS && major == 4) {
        if (minor == 0)
            return 1;
        if (minor == 10)
            return 3;
        if (minor == 90)
            return 4;
    } else if (info.dwPlatformId == VER_PLATFORM_WIN32_NT) {
        if (major == 4 && minor == 0)
            return 2;
        if (major == 5 && minor == 0)
            return 5;
        if (major == 5 && (minor == 1 || minor == 2))
            return 6;
        if (major == 6 && minor == 0)
            return 7;
    }
    return 8;
}

void FillKeyNames(AppState& state)
{
    for (int vk = 0; vk < 256; vk++) {
        state.keyNames[vk][0] = 0;
        UINT scan = MapVirtualKeyA((UINT)vk, 0);
        if (!scan)
            continue;
        LONG code = (LONG)(scan << 16);
        // The navigation block shares scan codes with the keypad; the
        // extended bit picks the dedicated keys.
        if ((vk >= VK_PRIOR && vk <= VK_DOWN) || vk == VK_INSERT || vk == VK_DELETE ||
            vk == VK_DIVIDE || vk == VK_NUMLOCK)
            code |= 1 << 24;
        if (GetKeyNameTextA(code, state.keyNames[vk], 32) <= 0)
            state.keyNames[vk][0] = 0;
    }
}

HFONT FontFrom(const LOGFONTA& font)
{
    return CreateFontIndirectA(&font);
}

void CreateFonts(AppState& state)
{
    // The structure size of the layout without the padded-border field, which
    // every system version accepts.
    NONCLIENTMETRICSA metrics;
    memset(&metrics, 0, sizeof(metrics));
    metrics.cbSize = 340;
    if (SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, 340, &metrics, 0)) {
        state.fonts[SWND_FONT_MESSAGE] = FontFrom(metrics.lfMessageFont);
        state.fonts[SWND_FONT_MENU] = FontFrom(metrics.lfMenuFont);
        state.fonts[SWND_FONT_STATUS] = FontFrom(metrics.lfStatusFont);
        state.fonts[SWND_FONT_CAPTION] = FontFrom(metrics.lfCaptionFont);
        state.fonts[SWND_FONT_SMALLCAPTION] = FontFrom(metrics.lfSmCaptionFont);
    }
    LOGFONTA small;
    memset(&small, 0, sizeof(small));
    if (metrics.lfMessageFont.lfFaceName[0])
        small = metrics.lfMessageFont;
    else
        lstrcpynA(small.lfFaceName, "MS Shell Dlg", LF_FACESIZE);
    HDC screen = GetDC(nullptr);
    small.lfHeight = -MulDiv(8, screen ? GetDeviceCaps(screen, LOGPIXELSY) : 96, 72);
    if (screen)
        ReleaseDC(nullptr, screen);
    small.lfWidth = 0;
    small.lfWeight = FW_NORMAL;
    small.lfItalic = small.lfUnderline = small.lfStrikeOut = 0;
    state.fonts[SWND_FONT_SMALL] = CreateFontIndirectA(&small);
}

bool RegisterClasses(HINSTANCE instance)
{
    WNDCLASSEXA wc;
    memset(&wc, 0, sizeof(wc));
    wc.cbSize = sizeof(wc);
    wc.style = CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS;
    wc.lpfnWndProc = SWnd::WindowProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursorA(nullptr, (LPCSTR)IDC_ARROW);
    wc.hbrBackground = (HBRUSH)(COLOR_BTNFACE + 1);
    wc.lpszClassName = SWND_CLASS;
    bool ok = RegisterClassExA(&wc) != 0;
    wc.style |= CS_NOCLOSE;
    wc.lpszClassName = SWND_CLASS_NOCLOSE;
    return RegisterClassExA(&wc) != 0 && ok;
}

void StartSound(AppState& state)
{
    state.dsound = LoadLibraryA("dsound.dll");
    if (!state.dsound)
        return;
    DirectSoundCreate8Proc create =
        (DirectSoundCreate8Proc)(void*)GetProcAddress(state.dsound, "DirectSoundCreate8");
    if (!create)
        return;
    for (int attempt = 0; attempt < 10; attempt++) {
        SDirectSound* sound = nullptr;
        HRESULT hr = create(nullptr, &sound, nullptr);
        if (SUCCEEDED(hr) && sound) {
            state.sound = sound;
            if (state.appWindow)
                sound->vtable->SetCooperativeLevel(sound, state.appWindow->GetHandle(), 2);
            return;
        }
        if (hr != (HRESULT)0x8878000A && hr != (HRESULT)0x88780078)
            return;
        // A device busy or without driver often comes free a moment later.
        DWORD start = GetTickCount();
        while (GetTickCount() - start < 500) {}
    }
}

// The 8-bit command line with every backslash-quote pair doubled to
// backslash-backslash-quote, so that a quoted folder ending in a backslash
// keeps its closing quote through CommandLineToArgvW.
int SplitCommandLine(const char* commandLine, SStringArray* out)
{
    if (!commandLine || !out)
        return 0;
    SString line(commandLine);
    line.Replace("\\\"", "\\\\\"");
    int wideLength = MultiByteToWideChar(CP_ACP, 0, line.Text(), -1, nullptr, 0);
    if (wideLength <= 0)
        return 0;
    wchar_t* wide = new wchar_t[wideLength];
    MultiByteToWideChar(CP_ACP, 0, line.Text(), -1, wide, wideLength);
    int count = 0;
    // An empty line would make the platform report the running program.
    LPWSTR* words = wide[0] ? CommandLineToArgvW(wide, &count) : nullptr;
    delete[] wide;
    if (!words)
        return 0;
    for (int i = 0; i < count; i++) {
        SString word;
        word.Assign(words[i]);
        out->Add(word.Text());
    }
    LocalFree(words);
    return count < 0 ? 0 : count;
}

SString Strip(const SString& word, bool stripQuotes)
{
    if (stripQuotes && word.IsQuoted('"'))
        return word.Mid(1, word.GetLength() - 2);
    return word;
}

}   // namespace

SWndApp::SWndApp()
{
}

SWndApp::~SWndApp()
{
}

bool SWndApp::IsInitialized()
{
    return State().initialized;
}

bool SWndApp::Init(HINSTANCE instance, bool noCom, bool sockets, bool sound)
{
    AppState& state = State();
    if (state.initialized)
        return false;
    state.initialized = true;

    state.socketsStarted = false;
    state.processId = GetCurrentProcessId();
    state.instance = instance ? instance : GetModuleHandleA(nullptr);
    state.noCom = noCom;

    for (int i = 0; i < kThreadSlots; i++)
        state.threads[i] = 0;
    state.threads[0] = (LONG)GetCurrentThreadId();

    state.osClass = QueryOsClass();
    srand((unsigned)GetTickCount());

    FillKeyNames(state);
    state.findReplaceMessage = RegisterWindowMessageA("commdlg_FindReplace");

    SStringArray words;
    int count = SplitCommandLine(GetCommandLineA(), &words);
    state.argCount = count > 0 ? count - 1 : 0;
    if (count > 0) {
        state.programPath = words.GetAt(0);
        SPath path(state.programPath.Text());
        state.programFolder = path.Parent();
    }

    CreateFonts(state);

    // The native controls of the library (progress bar, status bar) need the
    // common-control classes registered.
    INITCOMMONCONTROLSEX controls = {sizeof(controls),
                                     ICC_WIN95_CLASSES | ICC_PROGRESS_CLASS | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    RegisterClasses(state.instance);

    state.plainWindow = new SWnd();
    state.plainWindow->Create("", 0, 0, nullptr, nullptr, nullptr, 0, state.instance, true);
    state.appWindow = new SWndApp();
    state.appWindow->Create("", 0, 0, nullptr, nullptr, nullptr, 0, state.instance, false);

    if (!noCom)
        state.comStarted = SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));

    state.richEdit = LoadLibraryA("Riched20.dll");

    SGdiplusStartupInput input = {1, nullptr, FALSE, FALSE};
    if (GdiplusStartup(&state.gdiplusToken, &input, nullptr) != 0)
        state.gdiplusToken = 0;

    // Winsock and DirectSound are loaded only when asked for, so the program
    // imports neither library.
    if (sockets) {
        state.winsock = LoadLibraryA("ws2_32.dll");
        WSAStartupProc start = state.winsock
            ? (WSAStartupProc)(void*)GetProcAddress(state.winsock, "WSAStartup")
            : nullptr;
        char data[1024];   // larger than any WSADATA
        state.socketsStarted = start && start(0x0202, data) == 0;
    }
    if (sound)
        StartSound(state);
    return true;
}

void SWndApp::Exit()
{
    AppState& state = State();
    if (!state.initialized)
        return;

    if (state.sound)
        state.sound->vtable->Release(state.sound);
    state.sound = nullptr;
    if (state.dsound)
        FreeLibrary(state.dsound);
    state.dsound = nullptr;
    if (state.socketsStarted && state.winsock) {
        WSACleanupProc cleanup = (WSACleanupProc)(void*)GetProcAddress(state.winsock, "WSACleanup");
        if (cleanup)
            cleanup();
    }
    if (state.winsock)
        FreeLibrary(state.winsock);
    state.winsock = nullptr;
    state.socketsStarted = false;
    if (state.gdiplusToken)
        GdiplusShutdown(state.gdiplusToken);
    state.gdiplusToken = 0;

    // The two hidden windows are destroyed through their objects first, so
    // that emptying the handle table leaves no object pointing at a window.
    state.captureTarget = nullptr;
    delete state.appWindow;
    state.appWindow = nullptr;
    delete state.plainWindow;
    state.plainWindow = nullptr;
    ClearHandleTable();
    if (state.richEdit)
        FreeLibrary(state.richEdit);
    state.richEdit = nullptr;
    if (state.comStarted)
        CoUninitialize();
    state.comStarted = false;
    UnregisterClassA(SWND_CLASS, state.instance);
    UnregisterClassA(SWND_CLASS_NOCLOSE, state.instance);

    for (int i = 0; i < SWND_FONT_COUNT; i++) {
        if (state.fonts[i])
            DeleteObject(state.fonts[i]);
        state.fonts[i] = nullptr;
    }
    state.programPath.Empty();
    state.programFolder.Empty();
    state.argCount = 0;
    state.modeless.FreeSlots();
    for (int i = 0; i < kThreadSlots; i++)
        state.threads[i] = 0;
    state.processId = 0;
    state.instance = nullptr;
    state.initialized = false;
}

bool SWndApp::SetIcons(int bigIconId, int smallIconId)
{
    AppState& state = State();
    if (!state.initialized || !state.appWindow || !state.plainWindow)
        return false;
    HICON big = LoadIconA(state.instance, MAKEINTRESOURCEA(bigIconId));
    HICON small = LoadIconA(state.instance, MAKEINTRESOURCEA(smallIconId));
    if (!big || !small)
        return false;
    // One window of each class carries the icons to its whole class.
    HWND windows[2] = {state.appWindow->GetHandle(), state.plainWindow->GetHandle()};
    for (HWND hwnd : windows) {
        if (!hwnd)
            continue;
        SetClassLongPtrA(hwnd, GCLP_HICON, (LONG_PTR)big);
        SetClassLongPtrA(hwnd, GCLP_HICONSM, (LONG_PTR)small);
    }
    return true;
}

int SWndApp::GetArgCount()
{
    return State().argCount;
}

SString SWndApp::GetArg(int index, bool stripQuotes)
{
    return GetArgFrom(GetCommandLineA(), index, stripQuotes);
}

SString SWndApp::GetArgFrom(const char* commandLine, int index, bool stripQuotes)
{
    if (index < 0)
        return SString();
    SStringArray words;
    int count = SplitCommandLine(commandLine, &words);
    // Compared without adding to index, which may be INT_MAX.
    if (index >= count - 1)
        return SString();
    return Strip(words.GetAt(index + 1), stripQuotes);
}

int SWndApp::SplitArgs(const char* commandLine, SStringArray* out)
{
    return SplitCommandLine(commandLine, out);
}

// Offers msg to the listed modeless dialogs; true when one took it.
static bool OfferToModeless(MSG* msg)
{
    SArray<HWND>& modeless = State().modeless;
    for (int i = 0; i < modeless.GetCount(); i++) {
        if (IsDialogMessageA(modeless.GetAt(i), msg))
            return true;
    }
    return false;
}

int SWndApp::RunLoop(bool* wait, SWndIdleProc idle, void* idleArg)
{
    MSG msg;
    for (;;) {
        if (!wait || *wait) {
            BOOL got = GetMessageA(&msg, nullptr, 0, 0);
            if (got == 0)
                return (int)msg.wParam;
            if (got < 0)
                return -1;
        } else if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (idle)
                idle(idleArg);
            continue;
        } else if (msg.message == WM_QUIT) {
            return (int)msg.wParam;
        }
        if (!OfferToModeless(&msg)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
}

int SWndApp::RunModalLoop(SWnd* window, bool* wait, SWndIdleProc idle, void* idleArg)
{
    if (!window || !window->GetHandle())
        return -1;
    window->SetModal(true);
    MSG msg;
    int result = 0;
    for (;;) {
        if (!window->GetHandle() || !window->IsModal())
            break;
        if (!wait || *wait) {
            BOOL got = GetMessageA(&msg, nullptr, 0, 0);
            if (got < 0) {
                result = -1;
                break;
            }
            if (got == 0) {
                // The enclosing loop must end too.
                result = (int)msg.wParam;
                PostQuitMessage(result);
                break;
            }
        } else if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (idle)
                idle(idleArg);
            continue;
        } else if (msg.message == WM_QUIT) {
            result = (int)msg.wParam;
            PostQuitMessage(result);
            break;
        }
        if (State().modeless.GetCount() == 0) {
            if (msg.message == WM_KEYDOWN && msg.wParam == VK_RETURN)
                window->Deliver(SWM_OK, 0, 1);
            else if (msg.message == WM_KEYDOWN && msg.wParam == VK_ESCAPE)
                window->Deliver(SWM_CANCEL, 0, 1);
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        } else if (!OfferToModeless(&msg)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
    window->SetModal(false);
    return result;
}

int SWndApp::DrainQueue()
{
    // PM_REMOVE with the queue-kind bits 0x70000 (keys, mouse moves, mouse
    // buttons) in the filter's upper word.
    MSG msg;
    int count = 0;
    while (PeekMessageA(&msg, nullptr, 0, 0, 0x70001))
        count++;
    return count;
}

bool SWndApp::AddModeless(HWND dialog)
{
    SArray<HWND>& modeless = State().modeless;
    if (!dialog || modeless.Find(dialog) >= 0)
        return false;
    return modeless.Add(dialog) >= 0;
}

bool SWndApp::RemoveModeless(HWND dialog)
{
    SArray<HWND>& modeless = State().modeless;
    int index = dialog ? modeless.Find(dialog) : -1;
    if (index < 0)
        return false;
    modeless.RemoveAt(index);
    return true;
}

int SWndApp::GetModelessCount()
{
    return State().modeless.GetCount();
}

bool SWndApp::RegisterThread(DWORD threadId)
{
    if (threadId == 0)
        return false;
    if (FindThread(threadId) >= 0)
        return true;
    AppState& state = State();
    // Slots are claimed atomically: workers register from their own threads.
    for (int i = 1; i < kThreadSlots; i++) {
        if (InterlockedCompareExchange(&state.threads[i], (LONG)threadId, 0) == 0)
            return true;
    }
    return false;
}

bool SWndApp::UnregisterThread(DWORD threadId)
{
    if (threadId == 0)
        return false;
    AppState& state = State();
    for (int i = 1; i < kThreadSlots; i++) {
        if (InterlockedCompareExchange(&state.threads[i], 0, (LONG)threadId) == (LONG)threadId)
            return true;
    }
    return false;
}

int SWndApp::FindThread(DWORD threadId)
{
    if (threadId == 0)
        return -1;
    AppState& state = State();
    for (int i = 0; i < kThreadSlots; i++) {
        if ((DWORD)state.threads[i] == threadId)
            return i;
    }
    return -1;
}

int SWndApp::GetOsClass()
{
    return State().osClass;
}

HINSTANCE SWndApp::GetInstance()
{
    return State().instance;
}

DWORD SWndApp::GetProcessId()
{
    return State().processId;
}

bool SWndApp::IsSocketsStarted()
{
    return State().socketsStarted;
}

UINT SWndApp::GetFindReplaceMessage()
{
    return State().findReplaceMessage;
}

const SString& SWndApp::GetProgramPath()
{
    return State().programPath;
}

const SString& SWndApp::GetProgramFolder()
{
    return State().programFolder;
}

HFONT SWndApp::GetFont(int which)
{
    if (which < 0 || which >= SWND_FONT_COUNT)
        return nullptr;
    return State().fonts[which];
}

const char* SWndApp::GetKeyName(int virtualKey)
{
    if (virtualKey < 0 || virtualKey > 255)
        return "";
    return State().keyNames[virtualKey];
}

SWndApp* SWndApp::GetAppWindow()
{
    return State().appWindow;
}

HWND SWndApp::GetPlainWindow()
{
    return State().plainWindow ? State().plainWindow->GetHandle() : nullptr;
}

bool SWndApp::BeginCapture(SWnd* target, int kind)
{
    AppState& state = State();
    if (!target || !state.appWindow || !state.appWindow->GetHandle())
        return false;
    state.captureTarget = target;
    state.captureKind = kind;
    SetCapture(state.appWindow->GetHandle());
    return true;
}

void SWndApp::EndCapture()
{
    AppState& state = State();
    if (!state.captureTarget)
        return;
    state.captureTarget = nullptr;
    ReleaseCapture();
}

LRESULT SWndApp::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    AppState& state = State();
    SWnd* target = state.captureTarget;
    if (target) {
        POINT point = {(short)LOWORD(lParam), (short)HIWORD(lParam)};
        switch (msg) {
        case WM_MOUSEMOVE:
            ClientToScreen(GetHandle(), &point);
            target->Send(SWM_CAPTUREMOVE, (WPARAM)state.captureKind, MAKELPARAM(point.x, point.y));
            return 0;
        case WM_LBUTTONUP:
        case WM_RBUTTONUP:
            if ((msg == WM_LBUTTONUP && state.captureKind == 1) ||
                (msg == WM_RBUTTONUP && state.captureKind == 4)) {
                ClientToScreen(GetHandle(), &point);
                // Cleared first: the capture change that ReleaseCapture
                // causes is then not reported as a loss.
                state.captureTarget = nullptr;
                ReleaseCapture();
                target->Send(SWM_CAPTUREEND, (WPARAM)state.captureKind,
                             MAKELPARAM(point.x, point.y));
                return 0;
            }
            break;
        case WM_CAPTURECHANGED:
            state.captureTarget = nullptr;
            target->Send(SWM_CAPTURELOST, (WPARAM)state.captureKind, 0);
            return 0;
        default:
            break;
        }
    }
    return SWnd::Handler(msg, wParam, lParam);
}
