// SampleApp: a small application kept up to date by Update.exe, built three
// times (versions 1, 2 and 3) for the demo and the whole-program tests.
//
// On start it appends "started <version>" to SampleApp.log beside its
// executable. When SampleApp.ini beside it names a description file
// ([update] url=...), it fetches it; a newer version there makes it start
// Update.exe (beside it) in install mode and exit at once. Otherwise it shows
// a small window with its version until closed, or until the ini's
// exitafter=<ms> (or the argument --exit-after <ms>) has passed.
// The argument --hold <ms> skips the update check and keeps the process
// alive, window-less, for that long (a process that holds its executable).
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

// Returns true when Update.exe took over and this process must exit.
bool CheckForUpdate()
{
    std::string url = IniString("url");
    if (url.empty())
        return false;
    SUpdateDescription desc;
    if (!SUpdateClient::FetchDescription(url.c_str(), &desc)) {
        Log("update check failed");
        return false;
    }
    if (SUpdateClient::CompareVersions(desc.version.c_str(), SAMPLE_VERSION) <= 0) {
        Log("up to date");
        return false;
    }
    std::string updater = g_folder + "Update.exe";
    SUpdatePackage package = SUpdateClient::PackageFor(url.c_str(), desc, SAMPLE_VERSION);
    if (!SUpdateClient::StartUpdater(updater.c_str(), package.size, package.url.c_str(),
                                     g_folder.c_str(), g_exePath.c_str())) {
        Log("could not start Update.exe");
        return false;
    }
    std::string line = "handing over to Update.exe for version " + desc.version + ": " +
        package.url + ", " + std::to_string(package.size) + " bytes";
    Log(line.c_str());
    return true;
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
        const char* text = "Sample application, version " SAMPLE_VERSION;
        DrawTextA(dc, text, -1, &client, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        EndPaint(window, &paint);
        return 0;
    }
    case WM_TIMER:
        DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

int ShowVersionWindow(HINSTANCE instance, int exitAfter)
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursor(nullptr, IDC_ARROW);
    windowClass.lpszClassName = "VorlixSampleApp";
    RegisterClassA(&windowClass);
    HWND window = CreateWindowExA(0, "VorlixSampleApp", "Sample App " SAMPLE_VERSION,
                                  WS_OVERLAPPEDWINDOW | WS_VISIBLE, 380, 120, 360, 140, nullptr,
                                  nullptr, instance, nullptr);
    if (!window)
        return 1;
    if (exitAfter >= 0)
        SetTimer(window, 1, (UINT)exitAfter, nullptr);
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
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
    if (CheckForUpdate())
        return 0;
    return ShowVersionWindow(instance, exitAfter);
}
