// SUpdateClient: a header-only helper for an application that is kept up to
// date by Update.exe. It needs only the Windows SDK (link wininet for
// FetchDescription) and can be dropped into any Win32 program.
//
// Typical use, early in the application's start-up:
//
//     SUpdateDescription desc;
//     if (SUpdateClient::FetchDescription("https://example.com/app/release.upd", &desc) &&
//         SUpdateClient::CompareVersions(desc.version.c_str(), MY_VERSION) > 0 &&
//         SUpdateClient::StartUpdater(updaterPath, desc.size,
//                                     "https://example.com/app/release.bin",
//                                     installFolder, myExePath)) {
//         return 0; // exit now: Update.exe waits at most 10 s for this process to end
//     }
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
// The application path reaches Update.exe as ProbePath gives it: the full
// path of the executable as the system reports it for a running process,
// backslashes only. Update.exe compares it with the running programs as text,
// so any other spelling of the same file would not be waited for.
#pragma once

#include <windows.h>
#include <wininet.h>

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

    // Downloads a description file (at most 4 KB) with a fresh, uncached GET.
    // False when the server cannot be reached, answers other than 200, or the
    // text cannot be parsed.
    static bool FetchDescription(const char* url, SUpdateDescription* out)
    {
        HINTERNET root = InternetOpenA("Vorlix", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
        if (!root)
            return false;
        bool ok = false;
        HINTERNET request = InternetOpenUrlA(root, url, nullptr, 0,
                                             INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                                                 INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_UI,
                                             0);
        if (request) {
            DWORD status = 0, statusLength = sizeof(status);
            HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status,
                           &statusLength, nullptr);
            char buffer[4096];
            DWORD total = 0, read = 0;
            while (total < sizeof(buffer) &&
                   InternetReadFile(request, buffer + total, sizeof(buffer) - total, &read) &&
                   read > 0)
                total += read;
            // A local file opened through the same call reports no status.
            ok = (status == 200 || status == 0) && ParseDescription(buffer, total, out);
            InternetCloseHandle(request);
        }
        InternetCloseHandle(root);
        return ok;
    }

    // Compares dotted version texts component by component as numbers
    // ("1.10" > "1.9"; missing components count as 0). Returns -1, 0 or 1.
    static int CompareVersions(const char* a, const char* b)
    {
        while ((a && *a) || (b && *b)) {
            unsigned long x = a ? strtoul(a, const_cast<char**>(&a), 10) : 0;
            unsigned long y = b ? strtoul(b, const_cast<char**>(&b), 10) : 0;
            if (x != y)
                return x < y ? -1 : 1;
            a = SkipToNextComponent(a);
            b = SkipToNextComponent(b);
        }
        return 0;
    }

    // The package address for a description address: ".upd" replaced by ".bin".
    static std::string PackageUrlFor(const char* descriptionUrl)
    {
        std::string url(descriptionUrl ? descriptionUrl : "");
        size_t dot = url.rfind('.');
        size_t slash = url.find_last_of("/\\");
        if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
            url.resize(dot);
        return url + ".bin";
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
                std::string url(descriptionUrl ? descriptionUrl : "");
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
    // is the executable to wait for and start again. On true the caller must
    // exit at once: the updater waits at most 10 s for the application's
    // executable to be unloaded, and installs nothing if it is still loaded
    // then. False when an argument cannot be quoted or the process cannot be
    // started.
    static bool StartUpdater(const char* updaterPath, unsigned long size, const char* packageUrl,
                             const char* destinationFolder, const char* applicationPath)
    {
        std::string line;
        if (!BuildCommandLine(updaterPath, size, packageUrl, destinationFolder, applicationPath,
                              &line))
            return false;
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
    static void TrimLineEnd(std::string* line)
    {
        while (!line->empty() && (line->back() == '\r' || line->back() == '\n'))
            line->pop_back();
    }
    static const char* SkipToNextComponent(const char* p)
    {
        if (!p)
            return p;
        while (*p && *p != '.')
            p++;
        return *p == '.' ? p + 1 : p;
    }
    static bool Append(const char* text, std::string* out)
    {
        *out += ' ';
        return QuoteArgument(text, out);
    }
};
