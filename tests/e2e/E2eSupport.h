// Helpers for whole-program tests: unique temporary folders, files, child
// processes with their own temporary folder, and the windows they show.
#pragma once

#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace e2e {

inline std::string BinDir()
{
    std::string dir = VX_BIN_DIR;
    std::replace(dir.begin(), dir.end(), '/', '\\');
    return dir.back() == '\\' ? dir : dir + '\\';
}

// A fresh folder below the system temporary folder, removed with its content
// when the object goes away. Path() ends in a backslash.
class TempDir {
public:
    explicit TempDir(const char* prefix = "vx e2e ")
    {
        char base[MAX_PATH];
        GetTempPathA(MAX_PATH, base);
        static int counter = 0;
        char name[MAX_PATH * 2];
        snprintf(name, sizeof(name), "%s%s%lu-%d-%lu\\", base, prefix, GetCurrentProcessId(),
                 ++counter, GetTickCount());
        m_path = name;
        CreateDirectoryA(m_path.c_str(), nullptr);
    }
    ~TempDir() { RemoveTree(m_path); }
    const std::string& Path() const { return m_path; }
    std::string operator/(const char* name) const { return m_path + name; }

    static void RemoveTree(const std::string& folder)
    {
        std::error_code error;
        std::filesystem::remove_all(folder, error);
    }

private:
    std::string m_path;
};

// Writes the file, creating its missing folders.
inline bool WriteFileText(const std::string& path, const std::string& bytes)
{
    for (size_t i = 3; i < path.size(); i++) {
        if (path[i] == '\\')
            CreateDirectoryA(path.substr(0, i).c_str(), nullptr);
    }
    std::ofstream file(path, std::ios::binary);
    return file.write(bytes.data(), (std::streamsize)bytes.size()).flush().good();
}

inline std::string ReadFileText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Polls done() every 50 ms for at most timeoutMs.
template <class Done>
bool WaitUntil(Done done, DWORD timeoutMs)
{
    for (DWORD start = GetTickCount(); !done(); Sleep(50)) {
        if (GetTickCount() - start >= timeoutMs)
            return false;
    }
    return true;
}

inline bool FileExists(const std::string& path)
{
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

inline int CountFiles(const std::string& folder)
{
    std::error_code error;
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        count += entry.is_regular_file();
    return count;
}

// A started program. Its TEMP and TMP point to tempFolder when one is given,
// so what it leaves in its temporary folder can be checked.
class Process {
public:
    Process() { memset(&m_info, 0, sizeof(m_info)); }
    ~Process()
    {
        if (m_info.hProcess) {
            if (WaitForSingleObject(m_info.hProcess, 0) == WAIT_TIMEOUT)
                TerminateProcess(m_info.hProcess, 1);
            CloseHandle(m_info.hProcess);
            CloseHandle(m_info.hThread);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    bool Start(const std::string& exe, const std::string& arguments,
               const std::string& tempFolder = "")
    {
        std::string line = "\"" + exe + "\"" + (arguments.empty() ? "" : " " + arguments);
        // The child inherits TEMP and TMP, set here for the moment of its start.
        std::string dir = tempFolder, old[2];
        if (dir.size() > 3 && dir.back() == '\\')
            dir.pop_back();
        const char* names[2] = {"TEMP", "TMP"};
        for (int i = 0; i < 2 && !dir.empty(); i++) {
            old[i].resize(GetEnvironmentVariableA(names[i], &old[i][0], 0));
            GetEnvironmentVariableA(names[i], &old[i][0], (DWORD)old[i].size());
            old[i].resize(strlen(old[i].c_str()));
            SetEnvironmentVariableA(names[i], dir.c_str());
        }
        STARTUPINFOA startup;
        memset(&startup, 0, sizeof(startup));
        startup.cb = sizeof(startup);
        bool started = CreateProcessA(exe.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr,
                                      nullptr, &startup, &m_info) != FALSE;
        for (int i = 0; i < 2 && !dir.empty(); i++)
            SetEnvironmentVariableA(names[i], old[i].c_str());
        return started;
    }

    // True when the program ended within timeoutMs.
    bool Wait(DWORD timeoutMs)
    {
        return m_info.hProcess && WaitForSingleObject(m_info.hProcess, timeoutMs) == WAIT_OBJECT_0;
    }
    bool IsRunning() const
    {
        return m_info.hProcess && WaitForSingleObject(m_info.hProcess, 0) == WAIT_TIMEOUT;
    }
    DWORD ExitCode() const
    {
        DWORD code = 0xDEAD;
        GetExitCodeProcess(m_info.hProcess, &code);
        return code;
    }
    DWORD Id() const { return m_info.dwProcessId; }

private:
    PROCESS_INFORMATION m_info;
};

inline std::string WindowText(HWND window)
{
    char text[1024] = "";
    // WM_GETTEXT is marshalled across processes; GetWindowTextA is not for
    // another process's controls.
    SendMessageTimeoutA(window, WM_GETTEXT, sizeof(text), (LPARAM)text, SMTO_ABORTIFHUNG, 2000,
                        nullptr);
    return text;
}

inline BOOL CALLBACK CollectWindow(HWND window, LPARAM data)
{
    ((std::vector<HWND>*)data)->push_back(window);
    return TRUE;
}

// A top-level window of the process with that title (null for any), or null.
inline HWND FindProcessWindow(DWORD processId, const char* title, bool visibleOnly = true)
{
    std::vector<HWND> windows;
    EnumWindows(CollectWindow, (LPARAM)&windows);
    for (HWND window : windows) {
        DWORD owner = 0;
        char text[256] = "";
        GetWindowThreadProcessId(window, &owner);
        GetWindowTextA(window, text, sizeof(text));
        if (owner == processId && (!visibleOnly || IsWindowVisible(window)) &&
            (!title || !strcmp(text, title)))
            return window;
    }
    return nullptr;
}

// Polls for the window for at most timeoutMs.
inline HWND WaitForProcessWindow(DWORD processId, const char* title, DWORD timeoutMs)
{
    HWND window = nullptr;
    WaitUntil([&] { return (window = FindProcessWindow(processId, title)) != nullptr; }, timeoutMs);
    return window;
}

// Writes a stored package at path whose one entry, name, is a hole of bytes
// in the file (it takes no disk space). Returns the package's size.
inline uint64_t WriteHolePackage(const std::string& path, const char* name, uint32_t bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write("SRES\0\0\0\0", 8).write((const char*)&bytes, 4).write(name, strlen(name) + 1);
    uint64_t end = 12 + strlen(name) + 1 + (uint64_t)bytes;
    out.seekp((std::streamoff)end).write("\xFF\xFF\xFF\xFF", 4);
    return end + 4;
}

// Clicks the button of that caption in the sample application's update
// prompt, once the process shows it.
inline bool PressPromptButton(DWORD processId, const char* button, DWORD timeoutMs = 20000)
{
    HWND prompt = WaitForProcessWindow(processId, "Sample App update", timeoutMs);
    HWND target = prompt ? FindWindowExA(prompt, nullptr, "Button", button) : nullptr;
    return target && PostMessageA(target, BM_CLICK, 0, 0);
}

// The texts of the window's children, each between line breaks.
inline std::string ChildTexts(HWND parent)
{
    std::vector<HWND> children;
    EnumChildWindows(parent, CollectWindow, (LPARAM)&children);
    std::string texts = "\n";
    for (HWND child : children)
        texts += WindowText(child) + "\n";
    return texts;
}

// Waits until a file holds text, for at most timeoutMs.
inline bool WaitForFileText(const std::string& path, const std::string& text, DWORD timeoutMs)
{
    return WaitUntil([&] { return ReadFileText(path).find(text) != std::string::npos; }, timeoutMs);
}

// Waits until a child of the window reads text, for at most timeoutMs.
inline bool WaitForChildText(HWND parent, const std::string& text, DWORD timeoutMs)
{
    return WaitUntil(
        [&] { return ChildTexts(parent).find("\n" + text + "\n") != std::string::npos; },
        timeoutMs);
}

// Makes dir (ending in "\\") an installed sample application 1 with updater as
// its Update.exe and an empty "temp\\"; started, the application logs it and ends.
inline bool PrepareApp(const std::string& dir, const std::string& updater)
{
    return WriteFileText(dir + "SampleApp.ini", "[update]\r\nexitafter=0\r\n") &&
        CreateDirectoryA((dir + "temp").c_str(), nullptr) &&
        CopyFileA((BinDir() + "SampleApp1.exe").c_str(), (dir + "SampleApp.exe").c_str(), FALSE) &&
        CopyFileA(updater.c_str(), (dir + "Update.exe").c_str(), FALSE);
}

// Starts dir's Update.exe (see PrepareApp) with its four arguments quoted as
// given, dest (or dir) the destination, dir + "temp\\" its temporary folder.
inline bool StartUpdate(Process* updater, const std::string& dir, const std::string& size,
                        const std::string& url, const std::string& dest = "")
{
    return updater->Start(dir + "Update.exe",
                          "\"" + size + "\" \"" + url + "\" \"" + (dest.empty() ? dir : dest) +
                              "\" \"" + dir + "SampleApp.exe\"",
                          dir + "temp\\");
}

// What a console tool printed and its exit code (0xDEAD when it did not end
// within 60 s and was stopped).
struct PackResult {
    DWORD code = 0xDEAD;
    std::string out, err;
};

// Runs the build's UpdatePack.exe with arguments, its stdout and stderr sent
// to files in dir; the texts come back without "\r".
inline PackResult RunPack(const TempDir& dir, const std::string& arguments)
{
    PackResult result;
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    const std::string paths[2] = {dir / "stdout.txt", dir / "stderr.txt"};
    HANDLE handles[2];
    for (int i = 0; i < 2; i++)
        handles[i] = CreateFileA(paths[i].c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                                 CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = handles[0];
    startup.hStdError = handles[1];
    std::string exe = BinDir() + "UpdatePack.exe", line = "\"" + exe + "\" " + arguments;
    PROCESS_INFORMATION info;
    if (CreateProcessA(exe.c_str(), &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &info)) {
        if (WaitForSingleObject(info.hProcess, 60000) != WAIT_OBJECT_0)
            TerminateProcess(info.hProcess, 0xDEAD);
        GetExitCodeProcess(info.hProcess, &result.code);
        CloseHandle(info.hProcess);
        CloseHandle(info.hThread);
    }
    std::string* texts[2] = {&result.out, &result.err};
    for (int i = 0; i < 2; i++) {
        CloseHandle(handles[i]);
        *texts[i] = ReadFileText(paths[i]);
        std::string& text = *texts[i];
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    }
    return result;
}

// The path in double quotes for a command line.
inline std::string Quote(const std::string& path)
{
    std::string text = path;
    // A trailing backslash would escape the closing quote.
    if (!text.empty() && text.back() == '\\')
        text.pop_back();
    return "\"" + text + "\"";
}

}   // namespace e2e
