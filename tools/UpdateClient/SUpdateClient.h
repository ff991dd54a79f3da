// SUpdateClient: a header-only helper for an application that is kept up to
// date by Update.exe. It needs only the Windows SDK (link wininet and shell32)
// and can be dropped into any Win32 program.
//
// Typical use, early in the application's start-up:
//
//     SUpdateClient::AdoptNextUpdater(updaterPath);          // before anything else
//     std::string state = SUpdateClient::StatePathFor("My App"), version;
//     if (SUpdateClient::TakeOutcome(state.c_str(), MY_VERSION, &version) == ...)
//         ...                                               // "Updated to X" / "failed"
//     SUpdateClient::CheckInBackground(url, MY_VERSION, state.c_str(), window, WM_APP + 1);
//
// and, when the window gets that message with SUpdateCheck::NEWER and the user
// agrees, HandOver (which records the handover in the state file, then starts
// Update.exe) and exit at once: Update.exe waits at most 10 s for this
// process to end.
//
// The description file (".upd") written by Update.exe's make mode holds two
// lines: the version text and the package size in bytes. The package (".bin")
// lies beside it under the same title; PackageUrlFor derives its address.
//
// Lines after the second describe delta packages, each holding only the files
// that changed since one earlier release: "from <version> <size> <file name>",
// the file lying beside the description. PackageFor picks the delta made for
// the installed version, or else the full package; an application on any
// other version still gets everything it needs.
//
// Beyond starting Update.exe, the helper keeps an application from stalling
// or looping:
// - The description fetch has a time limit for the whole exchange (default
//   10 s), follows at most 20 redirects and never one from https to http.
// - A small per-user state file records the version handed over for; the next
//   start learns whether that handover succeeded, and a version whose
//   handover failed is not offered again for a while (default 24 h).
// - A destination folder the user cannot write makes Update.exe start with the
//   "runas" verb, so that the system asks for rights.
// - An Update.exe.next beside Update.exe (shipped inside a package) replaces
//   Update.exe at the next start, when the updater is not running.
//
// The application path reaches Update.exe as ProbePath gives it: the full
// path of the executable as the system reports it for a running process,
// backslashes only. Update.exe compares it with the running programs as text,
// so any other spelling of the same file would not be waited for.
#pragma once

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>
#include <wininet.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

// One delta line of a description.
struct SUpdateDelta {
    std::string from;         // the version it updates
    unsigned long size = 0;   // its size in bytes
    std::string file;         // its file name, beside the description
};

struct SUpdateDescription {
    std::string version;      // line 1, as the publisher typed it
    unsigned long size = 0;   // line 2: package size in bytes
    std::vector<SUpdateDelta> deltas;
};

// The package to hand to Update.exe.
struct SUpdatePackage {
    std::string url;
    unsigned long size = 0;
    bool delta = false;
};

// What a background check reports: sent as the lParam of the caller's
// message (wParam holds result too). The window that receives it owns it and
// deletes it.
struct SUpdateCheck {
    enum Result {
        FAILED,      // no description: unreachable, too slow, refused or unreadable
        CURRENT,     // the published version is not newer than the running one
        NEWER,       // a newer version is published: offer it
        HELD_BACK,   // newer, but its handover failed a short while ago
    };
    Result result = FAILED;
    std::string url;           // the description's address
    SUpdateDescription desc;   // valid unless FAILED
};

class SUpdateClient {
public:
    // Parses the two lines of a description file and the delta lines after
    // them. False when the text has no second line or the second line is not
    // a decimal number. A delta line that is not whole (no line end, as where
    // a download stopped) or not of the delta form is left out.
    static bool ParseDescription(const char* text, size_t length, SUpdateDescription* out)
    {
        if (!text || !out)
            return false;
        std::string all(text, length);
        size_t end1 = all.find('\n');
        if (end1 == std::string::npos)
            return false;
        std::string line1 = all.substr(0, end1);
        std::string line2 = all.substr(end1 + 1);
        TrimLineEnd(&line1);
        size_t end2 = line2.find('\n');
        if (end2 != std::string::npos)
            line2.resize(end2);
        TrimLineEnd(&line2);
        if (line2.empty() || line2.find_first_not_of("0123456789") != std::string::npos)
            return false;
        out->version = line1;
        out->size = strtoul(line2.c_str(), nullptr, 10);
        out->deltas.clear();
        for (size_t at = end2 == std::string::npos ? all.size() : end1 + 1 + end2 + 1;
             at < all.size();) {
            size_t end = all.find('\n', at);
            if (end == std::string::npos)
                break;
            SUpdateDelta delta;
            if (ParseDelta(all.substr(at, end - at), &delta))
                out->deltas.push_back(delta);
            at = end + 1;
        }
        return true;
    }

    // Reads a description file from disk. False when it cannot be read or parsed.
    static bool ReadDescriptionFile(const char* path, SUpdateDescription* out)
    {
        HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        char buffer[4096];
        DWORD read = 0;
        BOOL ok = ReadFile(file, buffer, sizeof(buffer), &read, nullptr);
        CloseHandle(file);
        return ok && ParseDescription(buffer, read, out);
    }

    enum {
        DEFAULT_TIMEOUT_MS = 10000,
        MAX_REDIRECTS = 20,
        DEFAULT_BACKOFF_SECONDS = 24 * 60 * 60,
    };

    // Downloads a description file (at most 4 KB) with a fresh, uncached GET.
    // The whole exchange, redirects included, ends within timeoutMs: a server
    // that does not answer in time fails the fetch (the request is left to a
    // thread of its own, which ends when the network layer gives up). At most
    // 20 redirects are followed, and none from https to plain http. False
    // when the server cannot be reached in time, answers other than 200, a
    // redirect is refused, or the text cannot be parsed.
    static bool FetchDescription(const char* url, SUpdateDescription* out,
                                 DWORD timeoutMs = DEFAULT_TIMEOUT_MS)
    {
        if (!url || !out)
            return false;
        _Fetch* fetch = new _Fetch;
        fetch->url = url;
        fetch->timeoutMs = timeoutMs;
        HANDLE thread = StartJob(fetch);
        if (!thread)
            return false;
        bool done = WaitForSingleObject(thread, timeoutMs) == WAIT_OBJECT_0;
        CloseHandle(thread);
        bool ok = done && fetch->ok;
        if (ok)
            *out = fetch->desc;
        fetch->Release();
        return ok;
    }

    // True for a version text that can be ordered: 1 to 4 dot-separated
    // runs of decimal digits, each at most 65535 ("2", "2.1", "1.0.0.7").
    static bool IsVersion(const char* text)
    {
        if (!text || !*text)
            return false;
        int parts = 0;
        for (const char* p = text;; p++) {
            unsigned long value = 0;
            const char* digits = p;
            while (*p >= '0' && *p <= '9' && value <= 65535)
                value = value * 10 + (unsigned long)(*p++ - '0');
            if (p == digits || value > 65535 || ++parts > 4)
                return false;
            if (*p == 0)
                return true;
            if (*p != '.')
                return false;
        }
    }

    // Orders version texts part by part as numbers ("1.10" > "1.9"; missing
    // parts count as 0, so "2.1" equals "2.1.0.0"). A text that is not a
    // version (IsVersion) is lower than every version and equal to any other
    // such text, so "v2.1" or "2.1-beta" is never offered as newer. Returns
    // -1, 0 or 1.
    static int CompareVersions(const char* a, const char* b)
    {
        bool va = IsVersion(a), vb = IsVersion(b);
        if (!va || !vb)
            return va == vb ? 0 : va ? 1 : -1;
        while (*a || *b) {
            unsigned long x = *a ? strtoul(a, const_cast<char**>(&a), 10) : 0;
            unsigned long y = *b ? strtoul(b, const_cast<char**>(&b), 10) : 0;
            if (x != y)
                return x < y ? -1 : 1;
            a += *a == '.';
            b += *b == '.';
        }
        return 0;
    }

    // The package address for a description address: the extension of the
    // last path segment replaced by ".bin" (added when it has none). In an
    // address with a scheme ("http://..."), a query ("?v=2.1") and a
    // fragment ("#x") are kept as they are; a local path has neither.
    static std::string PackageUrlFor(const char* descriptionUrl)
    {
        std::string url(descriptionUrl ? descriptionUrl : "");
        size_t pathEnd =
            url.find("://") != std::string::npos ? url.find_first_of("?#") : std::string::npos;
        if (pathEnd == std::string::npos)
            pathEnd = url.size();
        std::string path = url.substr(0, pathEnd);
        size_t dot = path.rfind('.');
        size_t slash = path.find_last_of("/\\");
        if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
            path.resize(dot);
        return path + ".bin" + url.substr(pathEnd);
    }

    // The package for an application of installedVersion, given the
    // description read from descriptionUrl: the delta whose "from" version
    // equals the installed one (as CompareVersions compares), beside the
    // description; else the full package (PackageUrlFor) with line 2's size.
    static SUpdatePackage PackageFor(const char* descriptionUrl, const SUpdateDescription& desc,
                                     const char* installedVersion)
    {
        SUpdatePackage package;
        for (const SUpdateDelta& delta : desc.deltas) {
            if (CompareVersions(delta.from.c_str(), installedVersion) == 0) {
                // The description's own query and fragment are not the delta's.
                std::string url(descriptionUrl ? descriptionUrl : "");
                if (url.find("://") != std::string::npos &&
                    url.find_first_of("?#") != std::string::npos)
                    url.resize(url.find_first_of("?#"));
                size_t slash = url.find_last_of("/\\");
                url.resize(slash == std::string::npos ? 0 : slash + 1);
                package.url = url + delta.file;
                package.size = delta.size;
                package.delta = true;
                return package;
            }
        }
        package.url = PackageUrlFor(descriptionUrl);
        package.size = desc.size;
        return package;
    }

    // One argument as Update.exe reads it back: wrapped in double quotes as it
    // stands. Update.exe turns every backslash-quote into backslash-backslash-
    // quote before splitting, so a folder ending in a backslash keeps both its
    // backslash and its closing quote; the usual doubling of trailing
    // backslashes must therefore not be done. False for a text holding a
    // double quote, which no path or address contains, and for one ending in
    // two backslashes, which would reach Update.exe with an odd backslash run
    // before the closing quote: neither can be passed through.
    static bool QuoteArgument(const char* text, std::string* out)
    {
        if (!text || strchr(text, '"'))
            return false;
        size_t length = strlen(text);
        if (length >= 2 && text[length - 1] == '\\' && text[length - 2] == '\\')
            return false;
        *out += '"';
        *out += text;
        *out += '"';
        return true;
    }

    // The application path in the form Update.exe's process probe sees for a
    // running executable: a full path, backslashes only, long names (no 8.3
    // parts). The probe compares paths as text, ignoring only letter case, so
    // "C:/App/app.exe" or "APP~1.EXE" would never be found running and the
    // update would be installed over the live program. A null or empty path
    // stands for the calling program's own executable. A path the system
    // cannot make full is passed with its "/" turned into "\\".
    static std::string ProbePath(const char* applicationPath)
    {
        char path[MAX_PATH];
        DWORD length = 0;
        if (!applicationPath || !*applicationPath)
            length = GetModuleFileNameA(nullptr, path, MAX_PATH);
        else
            length = GetFullPathNameA(applicationPath, MAX_PATH, path, nullptr);
        if (length == 0 || length >= MAX_PATH) {
            std::string text(applicationPath ? applicationPath : "");
            for (char& c : text)
                c = c == '/' ? '\\' : c;
            return text;
        }
        // Only an existing file has a long form; otherwise the full form stays.
        char longPath[MAX_PATH];
        length = GetLongPathNameA(path, longPath, MAX_PATH);
        return length > 0 && length < MAX_PATH ? longPath : path;
    }

    // The whole command line: the updater path and the four arguments
    // (package size, package address, destination folder, application path).
    // The application path is passed as ProbePath gives it.
    static bool BuildCommandLine(const char* updaterPath, unsigned long size,
                                 const char* packageUrl, const char* destinationFolder,
                                 const char* applicationPath, std::string* out)
    {
        char number[32];
        wsprintfA(number, "%lu", size);
        out->clear();
        return QuoteArgument(updaterPath, out) && Append(number, out) && Append(packageUrl, out) &&
            Append(destinationFolder, out) && Append(ProbePath(applicationPath).c_str(), out);
    }

    // Starts Update.exe in install mode; applicationPath (null: this program)
    // is the executable to wait for and start again. When the destination
    // folder cannot be written by this user (CanWriteFolder), Update.exe is
    // started with the "runas" verb, so the system asks for rights; the
    // application it restarts then runs with those rights too. On true the
    // caller must exit at once: the updater waits at most 10 s for the
    // application's executable to be unloaded, and installs nothing if it is
    // still loaded then. False when an argument cannot be quoted or the
    // process cannot be started (the user declining the rights included).
    static bool StartUpdater(const char* updaterPath, unsigned long size, const char* packageUrl,
                             const char* destinationFolder, const char* applicationPath)
    {
        std::string line;
        if (!updaterPath || !*updaterPath ||
            !BuildCommandLine(updaterPath, size, packageUrl, destinationFolder, applicationPath,
                              &line))
            return false;
        if (const char* verb = VerbFor(destinationFolder)) {
            // The parameters are the line without the quoted updater path.
            std::string parameters = line.substr(strlen(updaterPath) + 3);
            SHELLEXECUTEINFOA info;
            ZeroMemory(&info, sizeof(info));
            info.cbSize = sizeof(info);
            // The system's own prompt for rights still shows; its error boxes do not.
            info.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
            info.lpVerb = verb;
            info.lpFile = updaterPath;
            info.lpParameters = parameters.c_str();
            info.nShow = SW_SHOWNORMAL;
            return ShellExecuteExA(&info) != FALSE;
        }
        STARTUPINFOA startup;
        ZeroMemory(&startup, sizeof(startup));
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process;
        if (!CreateProcessA(updaterPath, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                            &startup, &process))
            return false;
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return true;
    }

    // True when this user can create a file in folder: a probe file is
    // created there and deleted again. False for a folder that is missing.
    static bool CanWriteFolder(const char* folder)
    {
        if (!folder || !*folder)
            return false;
        char name[64];
        wsprintfA(name, ".vx-write-probe-%lu-%lu", GetCurrentProcessId(), GetTickCount());
        std::string probe(folder);
        if (probe.back() != '\\' && probe.back() != '/')
            probe += '\\';
        probe += name;
        HANDLE file = CreateFileA(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        CloseHandle(file);
        return true;
    }

    // The verb StartUpdater starts Update.exe with for that destination:
    // "runas" when the folder cannot be written, null for a plain start.
    static const char* VerbFor(const char* destinationFolder)
    {
        return CanWriteFolder(destinationFolder) ? nullptr : "runas";
    }

    // Records the handover for version in the state file, then starts
    // Update.exe for package (as PackageFor picked it) as StartUpdater does.
    // On true the caller must exit at once. A handover that cannot start stays
    // recorded, and so counts as failed at the next start.
    static bool HandOver(const char* statePath, const char* updaterPath, const char* version,
                         const SUpdatePackage& package, const char* destinationFolder,
                         const char* applicationPath)
    {
        WriteState(statePath, "handover", Now(), version ? version : "");
        return StartUpdater(updaterPath, package.size, package.url.c_str(), destinationFolder,
                            applicationPath);
    }

    // The per-user state file of an application: "update-state.txt" in a
    // folder named appName under the user's local application data (created
    // when missing). Empty when that folder is unknown.
    static std::string StatePathFor(const char* appName)
    {
        char base[MAX_PATH];
        if (!appName || !*appName ||
            SHGetFolderPathA(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, base) !=
                S_OK)
            return std::string();
        std::string folder = std::string(base) + "\\" + appName;
        CreateDirectoryA(folder.c_str(), nullptr);
        return folder + "\\update-state.txt";
    }

    enum Outcome { NO_HANDOVER, UPDATED, UPDATE_FAILED };

    // What became of the last handover, asked once at start-up. UPDATED when
    // the running version is at least the one handed over for (the record is
    // then removed); UPDATE_FAILED when it is lower (the record becomes a
    // failure at this time, which IsHeldBack reads); NO_HANDOVER when none
    // is pending. version receives the version handed over for.
    static Outcome TakeOutcome(const char* statePath, const char* runningVersion,
                               std::string* version)
    {
        std::string kind, recorded;
        unsigned long long time = 0;
        if (!ReadState(statePath, &kind, &time, &recorded) || kind != "handover")
            return NO_HANDOVER;
        if (version)
            *version = recorded;
        if (CompareVersions(runningVersion, recorded.c_str()) >= 0) {
            DeleteFileA(statePath);
            return UPDATED;
        }
        WriteState(statePath, "failed", Now(), recorded);
        return UPDATE_FAILED;
    }

    // True while a handover for exactly this version text failed less than
    // backoffSeconds ago (a clock set back ends the wait).
    static bool IsHeldBack(const char* statePath, const char* version,
                           unsigned long backoffSeconds = DEFAULT_BACKOFF_SECONDS)
    {
        std::string kind, recorded;
        unsigned long long time = 0, now = Now();
        return ReadState(statePath, &kind, &time, &recorded) && kind == "failed" && version &&
            recorded == version && now >= time && now - time < backoffSeconds;
    }

    // Checks for an update on a thread of its own and posts message to window
    // with the result: wParam the SUpdateCheck::Result, lParam a new
    // SUpdateCheck that the window deletes. A published version newer than
    // runningVersion is NEWER, or HELD_BACK while IsHeldBack says so for it
    // (statePath may be null: nothing is held back). False when the thread
    // cannot start; nothing is posted then.
    static bool CheckInBackground(const char* url, const char* runningVersion,
                                  const char* statePath, HWND window, UINT message,
                                  DWORD timeoutMs = DEFAULT_TIMEOUT_MS,
                                  unsigned long backoffSeconds = DEFAULT_BACKOFF_SECONDS)
    {
        _Check* check = new _Check;
        check->url = url ? url : "";
        check->running = runningVersion ? runningVersion : "";
        check->state = statePath ? statePath : "";
        check->window = window;
        check->message = message;
        check->timeoutMs = timeoutMs;
        check->backoffSeconds = backoffSeconds;
        HANDLE thread = StartJob(check);
        return thread && CloseHandle(thread);
    }

    enum Adoption { NO_NEXT_UPDATER, ADOPTED, KEPT_OLD };

    // Replaces the updater with updaterPath + ".next" when that file exists;
    // call it at start, before any check, while the updater is not running.
    // ADOPTED when the new one took its place; KEPT_OLD when the replace
    // failed, leaving the old updater and the ".next" file as they were (the
    // next start tries again); NO_NEXT_UPDATER when there is none.
    static Adoption AdoptNextUpdater(const char* updaterPath)
    {
        if (!updaterPath)
            return NO_NEXT_UPDATER;
        std::string next = std::string(updaterPath) + ".next";
        DWORD attributes = GetFileAttributesA(next.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY))
            return NO_NEXT_UPDATER;
        return MoveFileExA(next.c_str(), updaterPath,
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)
            ? ADOPTED
            : KEPT_OLD;
    }

private:
    // "from <version> <size> <file name>": the version of digits and dots,
    // the size decimal, the name the rest of the line, a plain name with no
    // folder part.
    static bool ParseDelta(std::string line, SUpdateDelta* out)
    {
        TrimLineEnd(&line);
        if (line.compare(0, 5, "from ") != 0)
            return false;
        size_t space1 = line.find(' ', 5);
        size_t space2 = space1 == std::string::npos ? space1 : line.find(' ', space1 + 1);
        if (space2 == std::string::npos)
            return false;
        std::string from = line.substr(5, space1 - 5);
        std::string size = line.substr(space1 + 1, space2 - space1 - 1);
        std::string file = line.substr(space2 + 1);
        if (from.empty() || from.find_first_not_of("0123456789.") != std::string::npos ||
            size.empty() || size.find_first_not_of("0123456789") != std::string::npos ||
            file.empty() || file.find_first_of("/\\:") != std::string::npos || file == "." ||
            file == "..")
            return false;
        out->from = from;
        out->size = strtoul(size.c_str(), nullptr, 10);
        out->file = file;
        return true;
    }

    // One fetch, shared by the caller and the thread that makes it; the last
    // of the two to let go deletes it.
    struct _Fetch {
        std::string url;
        DWORD timeoutMs = DEFAULT_TIMEOUT_MS;
        SUpdateDescription desc;
        bool ok = false;
        volatile LONG refs = 2;

        void Release()
        {
            if (InterlockedDecrement(&refs) == 0)
                delete this;
        }
        static DWORD WINAPI Run(void* data)
        {
            _Fetch* fetch = (_Fetch*)data;
            fetch->ok = Fetch(fetch->url, fetch->timeoutMs, &fetch->desc);
            fetch->Release();
            return 0;
        }
    };

    struct _Check {
        std::string url, running, state;
        HWND window = nullptr;
        UINT message = 0;
        DWORD timeoutMs = DEFAULT_TIMEOUT_MS;
        unsigned long backoffSeconds = DEFAULT_BACKOFF_SECONDS;

        static DWORD WINAPI Run(void* data)
        {
            _Check* check = (_Check*)data;
            SUpdateCheck* result = new SUpdateCheck;
            result->url = check->url;
            if (!FetchDescription(check->url.c_str(), &result->desc, check->timeoutMs))
                result->result = SUpdateCheck::FAILED;
            else if (CompareVersions(result->desc.version.c_str(), check->running.c_str()) <= 0)
                result->result = SUpdateCheck::CURRENT;
            else if (!check->state.empty() &&
                     IsHeldBack(check->state.c_str(), result->desc.version.c_str(),
                                check->backoffSeconds))
                result->result = SUpdateCheck::HELD_BACK;
            else
                result->result = SUpdateCheck::NEWER;
            if (!PostMessageA(check->window, check->message, (WPARAM)result->result,
                              (LPARAM)result))
                delete result;
            delete check;
            return 0;
        }
    };

    // Runs job->Run(job) on a new thread; the job is deleted when it cannot start.
    template <class Job>
    static HANDLE StartJob(Job* job)
    {
        HANDLE thread = CreateThread(nullptr, 0, Job::Run, job, 0, nullptr);
        if (!thread)
            delete job;
        return thread;
    }

    static bool IsHttps(const std::string& url) { return _strnicmp(url.c_str(), "https:", 6) == 0; }

    // The fetch itself, on its own thread. Redirects are followed here, one
    // request at a time, so that their count and scheme can be checked.
    static bool Fetch(const std::string& url, DWORD timeoutMs, SUpdateDescription* out)
    {
        HINTERNET root = InternetOpenA("Vorlix", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
        if (!root)
            return false;
        for (DWORD option : {INTERNET_OPTION_CONNECT_TIMEOUT, INTERNET_OPTION_SEND_TIMEOUT,
                             INTERNET_OPTION_RECEIVE_TIMEOUT})
            InternetSetOptionA(root, option, &timeoutMs, sizeof(timeoutMs));
        bool ok = false;
        std::string current = url;
        for (int redirects = 0;; redirects++) {
            HINTERNET request = InternetOpenUrlA(
                root, current.c_str(), nullptr, 0,
                INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES |
                    INTERNET_FLAG_NO_UI | INTERNET_FLAG_NO_AUTO_REDIRECT,
                0);
            if (!request)
                break;
            DWORD status = 0, statusLength = sizeof(status);
            HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status,
                           &statusLength, nullptr);
            if (status == 301 || status == 302 || status == 303 || status == 307 || status == 308) {
                char location[2048], target[2048];
                DWORD length = sizeof(location), targetLength = sizeof(target);
                bool follow =
                    HttpQueryInfoA(request, HTTP_QUERY_LOCATION, location, &length, nullptr) &&
                    InternetCombineUrlA(current.c_str(), location, target, &targetLength,
                                        ICU_NO_ENCODE) &&
                    redirects < MAX_REDIRECTS && !(IsHttps(current) && !IsHttps(target));
                InternetCloseHandle(request);
                if (!follow)
                    break;
                current = target;
                continue;
            }
            char buffer[4096];
            DWORD total = 0, read = 0;
            while (total < sizeof(buffer) &&
                   InternetReadFile(request, buffer + total, sizeof(buffer) - total, &read) &&
                   read > 0)
                total += read;
            // A local file opened through the same call reports no status.
            ok = (status == 200 || status == 0) && ParseDescription(buffer, total, out);
            InternetCloseHandle(request);
            break;
        }
        InternetCloseHandle(root);
        return ok;
    }

    // Seconds since 1601, the system's own time base.
    static unsigned long long Now()
    {
        FILETIME now;
        GetSystemTimeAsFileTime(&now);
        return ((unsigned long long)now.dwHighDateTime << 32 | now.dwLowDateTime) / 10000000ull;
    }

    // The state file: one line, "<kind> <seconds> <version>".
    static bool WriteState(const char* path, const char* kind, unsigned long long time,
                           const std::string& version)
    {
        char head[64];
        snprintf(head, sizeof(head), "%s %llu ", kind, time);
        std::string text = head + version + "\r\n";
        HANDLE file = path && *path ? CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                                  FILE_ATTRIBUTE_NORMAL, nullptr)
                                    : INVALID_HANDLE_VALUE;
        if (file == INVALID_HANDLE_VALUE)
            return false;
        DWORD written = 0;
        BOOL ok = WriteFile(file, text.data(), (DWORD)text.size(), &written, nullptr);
        CloseHandle(file);
        return ok && written == text.size();
    }

    static bool ReadState(const char* path, std::string* kind, unsigned long long* time,
                          std::string* version)
    {
        HANDLE file = path && *path ? CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)
                                    : INVALID_HANDLE_VALUE;
        if (file == INVALID_HANDLE_VALUE)
            return false;
        char text[512];
        DWORD read = 0;
        BOOL ok = ReadFile(file, text, sizeof(text) - 1, &read, nullptr);
        CloseHandle(file);
        text[ok ? read : 0] = 0;
        char word[16];
        int used = 0;
        if (sscanf(text, "%15s %llu %n", word, time, &used) != 2 || used == 0)
            return false;
        std::string rest(text + used);
        TrimLineEnd(&rest);
        *kind = word;
        *version = rest;
        return true;
    }

    static void TrimLineEnd(std::string* line)
    {
        while (!line->empty() && (line->back() == '\r' || line->back() == '\n'))
            line->pop_back();
    }
    static bool Append(const char* text, std::string* out)
    {
        *out += ' ';
        return QuoteArgument(text, out);
    }
};
