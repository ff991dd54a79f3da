// DemoDriver: drives Update.exe's make dialog the way a publisher would, for
// the demo script: types the version and the folder, presses "Make" and
// answers the Save As dialog; and answers the application's prompt the way a
// user would.
//
//   DemoDriver make UPDATE_EXE VERSION FOLDER DESC_PATH [SYNC_FOLDER]
//   DemoDriver click WINDOW_TITLE BUTTON_TEXT
//
// With SYNC_FOLDER it creates SYNC_FOLDER\maker-ready once the fields are
// filled and waits (at most 30 s) for SYNC_FOLDER\maker-go before pressing
// "Make", so that the caller can take a screenshot. Exit code 0 when the
// description file was written, 1 otherwise, 2 for a usage error.
//
// click waits at most 60 s for a visible window of any program with that
// title and presses its button with that text; exit code 0 when pressed.
#include <windows.h>

#include <stdio.h>
#include <string.h>

#include <string>

namespace {

struct Search {
    // 0 for any process.
    DWORD processId;
    const char* title;
    HWND found;
};

BOOL CALLBACK FindStep(HWND window, LPARAM data)
{
    Search* search = (Search*)data;
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    char text[256] = "";
    GetWindowTextA(window, text, sizeof(text));
    if ((!search->processId || owner == search->processId) && IsWindowVisible(window) &&
        !strcmp(text, search->title)) {
        search->found = window;
        return FALSE;
    }
    return TRUE;
}

HWND WaitForWindow(DWORD processId, const char* title, DWORD timeoutMs)
{
    DWORD start = GetTickCount();
    do {
        Search search = {processId, title, nullptr};
        EnumWindows(FindStep, (LPARAM)&search);
        if (search.found)
            return search.found;
        Sleep(50);
    } while (GetTickCount() - start < timeoutMs);
    return nullptr;
}

bool WaitForFile(const std::string& path, DWORD timeoutMs)
{
    DWORD start = GetTickCount();
    do {
        if (GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES)
            return true;
        Sleep(50);
    } while (GetTickCount() - start < timeoutMs);
    return false;
}

void SetText(HWND window, const char* text)
{
    SendMessageTimeoutA(window, WM_SETTEXT, 0, (LPARAM)text, SMTO_ABORTIFHUNG, 5000, nullptr);
}

int Make(const char* updateExe, const char* version, const char* folder, const char* descPath,
         const char* syncFolder)
{
    std::string line = std::string("\"") + updateExe + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(updateExe, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        fprintf(stderr, "DemoDriver: cannot start %s\n", updateExe);
        return 1;
    }
    int result = 1;
    HWND dialog = WaitForWindow(process.dwProcessId, "Make update files", 30000);
    if (dialog) {
        SetText(GetDlgItem(dialog, 7), version);
        SetText(GetDlgItem(dialog, 3), folder);
        printf("maker: version %s, folder %s\n", version, folder);
        fflush(stdout);
        if (syncFolder) {
            std::string sync(syncFolder);
            CloseHandle(CreateFileA((sync + "\\maker-ready").c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, 0, nullptr));
            WaitForFile(sync + "\\maker-go", 30000);
        }
        DeleteFileA(descPath);
        PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(1, BN_CLICKED), (LPARAM)GetDlgItem(dialog, 1));
        HWND save = WaitForWindow(process.dwProcessId, "Save As", 30000);
        if (save) {
            for (int id : {0x47C, 0x480}) {
                HWND field = GetDlgItem(save, id);
                if (field)
                    SetText(field, descPath);
            }
            PostMessageA(save, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
            if (WaitForFile(descPath, 120000)) {
                // The description is written last; let the maker finish it.
                SendMessageTimeoutA(dialog, WM_NULL, 0, 0, SMTO_NORMAL, 30000, nullptr);
                printf("maker: wrote %s\n", descPath);
                result = 0;
            }
        }
        PostMessageA(dialog, WM_CLOSE, 0, 0);
    }
    if (WaitForSingleObject(process.hProcess, 10000) != WAIT_OBJECT_0)
        TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (result != 0)
        fprintf(stderr, "DemoDriver: the maker did not write %s\n", descPath);
    return result;
}

int Click(const char* title, const char* button)
{
    HWND window = WaitForWindow(0, title, 60000);
    HWND target = window ? FindWindowExA(window, nullptr, "Button", button) : nullptr;
    if (!target) {
        fprintf(stderr, "DemoDriver: no window \"%s\" with a button \"%s\"\n", title, button);
        return 1;
    }
    printf("pressed \"%s\" in \"%s\"\n", button, title);
    fflush(stdout);
    PostMessageA(target, BM_CLICK, 0, 0);
    return 0;
}

}   // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && !strcmp(argv[1], "click"))
        return Click(argv[2], argv[3]);
    if (argc >= 6 && argc <= 7 && !strcmp(argv[1], "make"))
        return Make(argv[2], argv[3], argv[4], argv[5], argc == 7 ? argv[6] : nullptr);
    fprintf(stderr,
            "usage: DemoDriver make UPDATE_EXE VERSION FOLDER DESC_PATH [SYNC_FOLDER]\n"
            "       DemoDriver click WINDOW_TITLE BUTTON_TEXT\n");
    return 2;
}
