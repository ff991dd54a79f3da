// SampleApp: a small application kept up to date by Update.exe, built three
// times (versions 1, 2 and 3) for the demo and the whole-program tests.
//
// On start it appends "started <version>" to SampleApp.log beside its
// executable, puts an Update.exe.next beside it in Update.exe's place, and
// tells how its last handover to Update.exe ended ("Updated to X" or "The
// update to X failed"). Its window, with its version, appears at once. When
// SampleApp.ini beside it names a description file ([update] url=...), it
// checks that on a background thread; a newer version brings up a prompt
// ("Version X is available", "Update now" / "Later"), and "Update now" starts
// Update.exe (beside it) in install mode and exits. A version whose handover
// failed is not offered again for a day. Everything it tells is logged too.
//
// Other ini keys: exitafter=<ms> (or the argument --exit-after <ms>) closes
// the window after that long, or once the check has answered and no prompt
// is open; state=<path> places the per-user state file
// elsewhere; backoff=<seconds> and timeout=<ms> set the helper's back-off and
// fetch time limit. The argument --hold <ms> skips everything above and keeps
// the process alive, window-less, for that long (a process that holds its
// executable).
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "UpdateClient/SUpdateClient.h"

#ifndef SAMPLE_VERSION
#define SAMPLE_VERSION "1.0.0.0"
#endif

namespace {

std::string g_folder;   // the executable's folder, with its trailing backslash
std::string g_exePath;

void Log(const char* text)
{
    std::string path = g_folder + "SampleApp.log";
    FILE* log = fopen(path.c_str(), "ab");
    if (!log)
        return;
    fprintf(log, "%s\r\n", text);
    fclose(log);
}

std::string IniString(const char* key)
{
    char value[1024] = "";
    std::string ini = g_folder + "SampleApp.ini";
    GetPrivateProfileStringA("update", key, "", value, sizeof(value), ini.c_str());
    return value;
}

const UINT kCheckDone = WM_APP + 1;
const char kPromptClass[] = "VorlixSamplePrompt";

HWND g_window = nullptr;
HWND g_prompt = nullptr;
bool g_checking = false;   // a background check has not answered yet
std::string g_outcome;     // the window's second line: how the last handover ended
std::string g_status;      // its third: what the check found
std::string g_statePath;
SUpdateCheck* g_offer = nullptr;   // owned: the update the prompt offers

void Tell(const std::string& text, std::string* line = &g_status)
{
    Log(text.c_str());
    *line = text;
    if (g_window)
        InvalidateRect(g_window, nullptr, TRUE);
}

unsigned long IniNumber(const char* key, unsigned long otherwise)
{
    std::string text = IniString(key);
    return text.empty() ? otherwise : strtoul(text.c_str(), nullptr, 10);
}

// Hands over to Update.exe for the offered version. True when it took over
// and this process must exit.
bool HandOver(const SUpdateCheck& offer)
{
    std::string updater = g_folder + "Update.exe";
    SUpdatePackage package =
        SUpdateClient::PackageFor(offer.url.c_str(), offer.desc, SAMPLE_VERSION);
    if (!SUpdateClient::HandOver(g_statePath.c_str(), updater.c_str(), offer.desc.version.c_str(),
                                 package, g_folder.c_str(), g_exePath.c_str())) {
        Tell("could not start Update.exe");
        return false;
    }
    Log(("handing over to Update.exe for version " + offer.desc.version + ": " + package.url +
         ", " + std::to_string(package.size) + " bytes")
            .c_str());
    return true;
}

void StartCheck()
{
    std::string url = IniString("url");
    if (url.empty())
        return;
    g_checking = SUpdateClient::CheckInBackground(
        url.c_str(), SAMPLE_VERSION, g_statePath.c_str(), g_window, kCheckDone,
        IniNumber("timeout", SUpdateClient::DEFAULT_TIMEOUT_MS),
        IniNumber("backoff", SUpdateClient::DEFAULT_BACKOFF_SECONDS));
    if (!g_checking)
        Tell("update check failed");
}

void TellOutcome()
{
    std::string version;
    switch (SUpdateClient::TakeOutcome(g_statePath.c_str(), SAMPLE_VERSION, &version)) {
    case SUpdateClient::UPDATED:
        Tell("Updated to " + version, &g_outcome);
        break;
    case SUpdateClient::UPDATE_FAILED:
        Tell("The update to " + version + " failed", &g_outcome);
        break;
    default:
        break;
    }
}

LRESULT CALLBACK PromptProc(HWND prompt, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_COMMAND && (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL)) {
        if (LOWORD(wParam) == IDOK && g_offer && HandOver(*g_offer)) {
            DestroyWindow(g_window);
            return 0;
        }
        if (LOWORD(wParam) == IDCANCEL)
            Tell("later");
        DestroyWindow(prompt);
        return 0;
    }
    if (message == WM_CLOSE) {
        PostMessageA(prompt, WM_COMMAND, IDCANCEL, 0);
        return 0;
    }
    return DefWindowProcA(prompt, message, wParam, lParam);
}

void ShowPrompt(const std::string& version)
{
    HINSTANCE instance = GetModuleHandleA(nullptr);
    HWND prompt = g_prompt = CreateWindowExA(WS_EX_DLGMODALFRAME, kPromptClass, "Sample App update",
                                             WS_POPUP | WS_CAPTION | WS_SYSMENU, 420, 180, 300, 130,
                                             g_window, nullptr, instance, nullptr);
    if (!prompt)
        return;
    HFONT font = (HFONT)GetStockObject(DEFAULT_GUI_FONT);
    std::string text = "Version " + version + " is available";
    struct {
        const char* cls;
        const char* text;
        DWORD style;
        int id, x, y, w, h;
    } items[] = {
        {"STATIC", text.c_str(), SS_CENTER, 0, 10, 14, 270, 20},
        {"BUTTON", "Update now", BS_DEFPUSHBUTTON | WS_TABSTOP, IDOK, 50, 50, 90, 26},
        {"BUTTON", "Later", BS_PUSHBUTTON | WS_TABSTOP, IDCANCEL, 150, 50, 90, 26},
    };
    for (const auto& item : items) {
        HWND child = CreateWindowExA(0, item.cls, item.text, WS_CHILD | WS_VISIBLE | item.style,
                                     item.x, item.y, item.w, item.h, prompt,
                                     (HMENU)(INT_PTR)item.id, instance, nullptr);
        SendMessageA(child, WM_SETFONT, (WPARAM)font, FALSE);
    }
    // Shown only now, whole: a prompt seen without its buttons could not be
    // answered.
    ShowWindow(prompt, SW_SHOW);
    SetFocus(GetDlgItem(prompt, IDOK));
}

void OnCheckDone(SUpdateCheck* check)
{
    g_checking = false;
    switch (check->result) {
    case SUpdateCheck::NEWER:
        delete g_offer;
        g_offer = check;
        Tell("Version " + check->desc.version + " is available");
        ShowPrompt(check->desc.version);
        return;
    case SUpdateCheck::HELD_BACK:
        Tell("held back " + check->desc.version + " after a failed update");
        break;
    case SUpdateCheck::CURRENT:
        Tell("up to date");
        break;
    default:
        Tell("update check failed");
        break;
    }
    delete check;
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(window, &paint);
        RECT client;
        GetClientRect(window, &client);
        FillRect(dc, &client, (HBRUSH)(COLOR_WINDOW + 1));
        SetBkMode(dc, TRANSPARENT);
        std::string text =
            "Sample application, version " SAMPLE_VERSION "\n" + g_outcome + "\n" + g_status;
        DrawTextA(dc, text.c_str(), -1, &client, DT_CENTER);
        EndPaint(window, &paint);
        return 0;
    }
    case kCheckDone:
        OnCheckDone((SUpdateCheck*)lParam);
        return 0;
    case WM_TIMER:
        // The timer fires again until the check has answered and no prompt
        // waits for the user.
        if (!g_checking && !IsWindow(g_prompt))
            DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

int Run(HINSTANCE instance, int exitAfter)
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursor(nullptr, IDC_ARROW);
    windowClass.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    windowClass.lpszClassName = "VorlixSampleApp";
    RegisterClassA(&windowClass);
    windowClass.lpfnWndProc = PromptProc;
    windowClass.hbrBackground = (HBRUSH)(COLOR_BTNFACE + 1);
    windowClass.lpszClassName = kPromptClass;
    RegisterClassA(&windowClass);
    g_window = CreateWindowExA(0, "VorlixSampleApp", "Sample App " SAMPLE_VERSION,
                               WS_OVERLAPPEDWINDOW | WS_VISIBLE, 380, 120, 360, 140, nullptr,
                               nullptr, instance, nullptr);
    if (!g_window)
        return 1;
    if (exitAfter >= 0)
        SetTimer(g_window, 1, (UINT)exitAfter, nullptr);
    StartCheck();
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        if (IsWindow(g_prompt) && IsDialogMessageA(g_prompt, &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    delete g_offer;
    return 0;
}

}   // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int)
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    g_exePath = path;
    g_folder = g_exePath.substr(0, g_exePath.find_last_of('\\') + 1);

    int exitAfter = -1;
    int hold = -1;
    for (int i = 1; i + 1 < __argc; i++) {
        if (!strcmp(__argv[i], "--exit-after"))
            exitAfter = atoi(__argv[i + 1]);
        else if (!strcmp(__argv[i], "--hold"))
            hold = atoi(__argv[i + 1]);
    }
    std::string iniExit = IniString("exitafter");
    if (exitAfter < 0 && !iniExit.empty())
        exitAfter = atoi(iniExit.c_str());

    std::string line = std::string("started ") + SAMPLE_VERSION;
    Log(line.c_str());
    if (hold >= 0) {
        Sleep((DWORD)hold);
        return 0;
    }
    // The updater is not running now: the one time it can be replaced.
    switch (SUpdateClient::AdoptNextUpdater((g_folder + "Update.exe").c_str())) {
    case SUpdateClient::ADOPTED:
        Log("adopted Update.exe.next");
        break;
    case SUpdateClient::KEPT_OLD:
        Log("could not replace Update.exe with Update.exe.next");
        break;
    default:
        break;
    }
    g_statePath = IniString("state");
    if (g_statePath.empty())
        g_statePath = SUpdateClient::StatePathFor("Vorlix SampleApp");
    TellOutcome();
    return Run(instance, exitAfter);
}
