#include "SDisk.h"

#include <direct.h>
#include <errno.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <unordered_set>

#include <windows.h>

#include <shellapi.h>

#include "SFilePath.h"
#include "SPath.h"

#if defined(_MSC_VER)
#pragma comment(lib, "shell32.lib")
#endif

namespace {

// Closes a find handle on every way out.
class FindHandle {
public:
    FindHandle(const char* pattern, WIN32_FIND_DATAA* data)
        : m_handle(FindFirstFileA(pattern, data))
    {
    }
    ~FindHandle()
    {
        if (m_handle != INVALID_HANDLE_VALUE)
            FindClose(m_handle);
    }
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;

    bool IsValid() const { return m_handle != INVALID_HANDLE_VALUE; }
    bool Next(WIN32_FIND_DATAA* data) { return FindNextFileA(m_handle, data) != FALSE; }

private:
    HANDLE m_handle;   // owned
};

// Closes a C runtime stream on every way out.
class Stream {
public:
    Stream(const char* path, const char* mode) : m_file(fopen(path, mode)) {}
    ~Stream()
    {
        if (m_file)
            fclose(m_file);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    FILE* Get() const { return m_file; }

private:
    FILE* m_file;   // owned
};

bool IsDotEntry(const char* name)
{
    return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

bool EndsInSeparator(const char* path)
{
    size_t length = strlen(path);
    return length > 0 && (path[length - 1] == '\\' || path[length - 1] == '/');
}

}   // namespace

SDisk::SDisk() : m_folderSeparator(true)
{
    m_buffer[0] = 0;
}

SDisk::~SDisk()
{
}

bool SDisk::SetFolderSeparator(bool on)
{
    bool previous = m_folderSeparator;
    m_folderSeparator = on;
    return previous;
}

// The environment search with an empty variable name looks at the path
// itself only (relative to the current folder), and, unlike an attribute
// query, hands back the full name. It finds folders as well as files.
bool SDisk::Exists(const char* path)
{
    m_buffer[0] = 0;
    if (!path || !path[0])
        return false;
    _searchenv_s(path, "", m_buffer, sizeof(m_buffer));
    return m_buffer[0] != 0;
}

uint32_t SDisk::FileSizeByStream(const char* path)
{
    if (!path || !path[0])
        return 0xFFFFFFFFu;
    Stream stream(path, "rb");
    if (!stream.Get())
        return 0xFFFFFFFFu;
    // Measured in 64 bits: a 32-bit position wraps from 4 GB on. Sizes from
    // 2 GB on are beyond the files' signed positions and count as
    // unmeasurable.
    if (_fseeki64(stream.Get(), 0, SEEK_END) != 0)
        return 0xFFFFFFFFu;
    int64_t size = _ftelli64(stream.Get());
    return size < 0 || size > INT_MAX ? 0xFFFFFFFFu : (uint32_t)size;
}

uint32_t SDisk::FileSize(const char* path)
{
    if (!path || !path[0])
        return 0;
    SFilePath file(path, false, false, true);
    if (!file.IsOpen())
        return 0;
    int size = file.Size();
    return size < 0 ? 0 : (uint32_t)size;
}

SString SDisk::TempFolder()
{
    DWORD length = GetTempPathA(260, m_buffer);
    if (length == 0 || length > 260) {
        m_buffer[0] = 0;
        return SString();
    }
    // The system may give the 8.3 form of the folder; the long form is
    // written over it in place (on failure the short form stays).
    GetLongPathNameA(m_buffer, m_buffer, 1024);
    if (!m_folderSeparator) {
        size_t end = strlen(m_buffer);
        if (end > 0 && m_buffer[end - 1] == '\\')
            m_buffer[end - 1] = 0;
    }
    return SString(m_buffer);
}

SString SDisk::TempFileName()
{
    bool previous = SetFolderSeparator(false);
    SString folder = TempFolder();
    SetFolderSeparator(previous);
    if (folder.IsEmpty() || !GetTempFileNameA(folder.Text(), "tmp", 0, m_buffer))
        m_buffer[0] = 0;
    return SString(m_buffer);
}

namespace {

// Whether a folder passes the content filters of flags (SDISK_NOFILES to
// SDISK_HASFOLDERS). Its direct content is counted, sub-folders not entered.
bool PassesFolderFilters(SDisk* disk, const SString& folder, uint32_t flags)
{
    int files = 0;
    int folders = 0;
    disk->List(nullptr, (folder + "\\*.*").Text(),
               SDISK_FOLDERS | SDISK_FILES | (flags & SDISK_NOHIDDEN), &files, &folders);
    if ((flags & SDISK_NOFILES) && files > 0)
        return false;
    if ((flags & SDISK_HASFILES) && files == 0)
        return false;
    if ((flags & SDISK_NOFOLDERS) && folders > 0)
        return false;
    if ((flags & SDISK_HASFOLDERS) && folders == 0)
        return false;
    return true;
}

const uint32_t FOLDER_FILTERS = SDISK_NOFILES | SDISK_HASFILES | SDISK_NOFOLDERS | SDISK_HASFOLDERS;

}   // namespace

// Two passes: the first asks the system for the pattern itself, so its own
// mask matching decides which names qualify; the second walks every entry of
// the folder, so that sub-folders are entered whether or not they match, and
// lists the qualifying names in the directory's order.
int SDisk::List(SStringArray* out, const char* pattern, uint32_t flags, int* fileCount,
                int* folderCount)
{
    if (fileCount)
        *fileCount = 0;
    if (folderCount)
        *folderCount = 0;
    if (!pattern || !pattern[0])
        return 0;
    if ((flags & SDISK_FOLDERS) &&
        (((flags & SDISK_NOFILES) && (flags & SDISK_HASFILES)) ||
         ((flags & SDISK_NOFOLDERS) && (flags & SDISK_HASFOLDERS))))
        flags &= ~(uint32_t)SDISK_FOLDERS;
    if (!(flags & SDISK_FOLDERS))
        flags &= ~FOLDER_FILTERS;
    if (!(flags & (SDISK_FOLDERS | SDISK_FILES)))
        return 0;
    bool listFolders = (flags & SDISK_FOLDERS) != 0;
    bool listFiles = (flags & SDISK_FILES) != 0;
    bool skipHidden = (flags & SDISK_NOHIDDEN) != 0;

    const char* slash = strrchr(pattern, '\\');
    const char* other = strrchr(pattern, '/');
    if (other && (!slash || other > slash))
        slash = other;
    SString folderPart(pattern, slash ? (int)(slash - pattern) + 1 : 0);
    SString mask(slash ? slash + 1 : pattern);
    bool wildcard = mask.Find('*') >= 0;

    int count = 0;
    int files = 0;
    int folders = 0;
    // Names the first pass matched; hashed so that the walk stays linear in
    // the size of a folder.
    std::unordered_set<std::string> matches;
    WIN32_FIND_DATAA data;
    {
        FindHandle find(pattern, &data);
        for (bool more = find.IsValid(); more; more = find.Next(&data)) {
            if (IsDotEntry(data.cFileName))
                continue;
            if (skipHidden && (data.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN))
                continue;
            if (!(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
                if (!listFiles)
                    continue;
                if (wildcard) {
                    matches.insert(data.cFileName);
                } else {
                    if (out)
                        out->Add(data.cFileName);
                    files++;
                    count++;
                }
            } else {
                if (!listFolders)
                    continue;
                if (wildcard) {
                    matches.insert(data.cFileName);
                } else if (!(flags & FOLDER_FILTERS) ||
                           PassesFolderFilters(this, folderPart + data.cFileName, flags)) {
                    if (out)
                        out->Add((SString(data.cFileName) + "\\").Text());
                    folders++;
                    count++;
                }
            }
        }
    }

    if (wildcard) {
        FindHandle find((folderPart + "*.*").Text(), &data);
        for (bool more = find.IsValid(); more; more = find.Next(&data)) {
            if (IsDotEntry(data.cFileName))
                continue;
            if (skipHidden && (data.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN))
                continue;
            std::string name(data.cFileName);
            if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                SString folder = folderPart + data.cFileName;
                if (listFolders && (flags & FOLDER_FILTERS) &&
                    !PassesFolderFilters(this, folder, flags))
                    matches.erase(name);
                if (listFolders && matches.erase(name) > 0) {
                    if (out)
                        out->Add((folder + "\\").Text());
                    folders++;
                    count++;
                }
                if (flags & SDISK_RECURSE)
                    count += List(out, (folder + "\\" + mask).Text(), flags, nullptr, nullptr);
            } else if (listFiles && matches.erase(name) > 0) {
                if (out)
                    out->Add((folderPart + data.cFileName).Text());
                files++;
                count++;
            }
        }
    }

    if (fileCount)
        *fileCount = files;
    if (folderCount)
        *folderCount = folders;
    return count;
}

int SDisk::List(SStringArray* out, const char* pattern, bool recurse, bool folders, bool files,
                bool emptyFoldersOnly, bool includeHidden)
{
    uint32_t flags = 0;
    if (recurse)
        flags |= SDISK_RECURSE;
    if (folders)
        flags |= SDISK_FOLDERS;
    if (files)
        flags |= SDISK_FILES;
    if (emptyFoldersOnly)
        flags |= SDISK_NOFILES | SDISK_NOFOLDERS;
    if (!includeHidden)
        flags |= SDISK_NOHIDDEN;
    return List(out, pattern, flags);
}

namespace {

bool HoldsInAnsi(const std::wstring& name)
{
    // A UTF-8 code page holds every name and takes no best-fit flag.
    if (GetACP() == CP_UTF8)
        return true;
    BOOL lost = FALSE;
    return WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, name.c_str(), -1, nullptr, 0, nullptr,
                               &lost) > 0 &&
        !lost;
}

int WalkUnmapped(const std::wstring& folder, bool unmapped, SStringArray* out)
{
    WIN32_FIND_DATAW found;
    HANDLE find = FindFirstFileW((folder + L"*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return 0;
    int count = 0;
    do {
        std::wstring name = found.cFileName;
        if (name == L"." || name == L"..")
            continue;
        bool lost = unmapped || !HoldsInAnsi(name);
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            count += WalkUnmapped(folder + name + L"\\", lost, out);
        } else if (lost) {
            std::wstring path = folder + name;
            int size =
                WideCharToMultiByte(CP_UTF8, 0, path.c_str(), -1, nullptr, 0, nullptr, nullptr);
            std::string utf8((size_t)(size > 0 ? size : 1), '\0');
            WideCharToMultiByte(CP_UTF8, 0, path.c_str(), -1, &utf8[0], size, nullptr, nullptr);
            out->Add(utf8.c_str());
            count++;
        }
    } while (FindNextFileW(find, &found));
    FindClose(find);
    return count;
}

}   // namespace

int SDisk::ListUnmappedNames(const char* folder, SStringArray* out)
{
    if (!folder || !folder[0] || !out)
        return 0;
    int size = MultiByteToWideChar(CP_ACP, 0, folder, -1, nullptr, 0);
    if (size <= 0)
        return 0;
    std::wstring wide((size_t)size, L'\0');
    MultiByteToWideChar(CP_ACP, 0, folder, -1, &wide[0], size);
    wide.resize((size_t)size - 1);
    if (wide.back() != L'\\' && wide.back() != L'/')
        wide += L'\\';
    return WalkUnmapped(wide, false, out);
}

bool SDisk::IsFile(const char* path)
{
    if (!path || EndsInSeparator(path) || !Exists(path))
        return false;
    return List(nullptr, path, SDISK_FILES) == 1;
}

// The system does not find a folder written with a trailing separator, so
// one is taken off before the lookup.
bool SDisk::IsFolder(const char* path)
{
    if (!Exists(path))
        return false;
    SString folder(path);
    if (EndsInSeparator(path))
        folder.SetLength(folder.GetLength() - 1);
    return List(nullptr, folder.Text(), SDISK_FOLDERS) == 1;
}

bool SDisk::Open(const char* file, const char* parameters, bool inOwnFolder, int show)
{
    SString folder;
    if (inOwnFolder)
        folder = SPath(file).Parent();
    HINSTANCE result = ShellExecuteA(nullptr, "open", file, parameters,
                                     folder.IsEmpty() ? nullptr : folder.Text(), show);
    return (INT_PTR)result > 32;
}

SString SDisk::UniqueName(const char* folder, const char* name, const char* extension)
{
    if (!IsFolder(folder))
        return SString();
    SString suffix;
    if (extension && extension[0])
        suffix = SString(".") + extension;
    SString base(folder);
    if (!m_folderSeparator)
        base += '\\';
    base += name ? name : "";
    SString candidate = base + suffix;
    if (!Exists(candidate.Text()))
        return candidate;
    for (int attempt = 0; attempt < 1000; attempt++) {
        // rand() / 32768 * 1000000, truncated: always below 1000000.
        int number = (int)((int64_t)rand() * 1000000 / 32768);
        SString digits;
        digits.Format("%d", number);
        candidate = base + digits + suffix;
        if (!Exists(candidate.Text()))
            return candidate;
    }
    return SString();
}

bool SDisk::CreateFolder(const char* path, bool withParents)
{
    if (!path || !path[0])
        return false;
    SPath folder;
    folder.SetFolder(path);
    if (!folder.IsSubFolder())
        return false;
    SString full = folder.Full();
    if (full.GetLength() > MAX_FOLDER_LENGTH)
        return false;
    if (IsFolder(full.Text()))
        return true;
    if (_mkdir(full.Text()) == 0)
        return true;
    if (errno != ENOENT || !withParents)
        return false;
    // Walks up to the first parent that exists or can be made, then makes the
    // missing ones top-down. A loop, not recursion: a path may be hundreds of
    // levels deep. A parent that is not shorter than its child ends the walk,
    // so no text can make it go round.
    SStringArray missing;   // the missing parents, deepest first
    SString child = full;
    for (;;) {
        folder.Set(folder.Parent().Text());
        if (!folder.IsSubFolder())
            return false;
        SString parent = folder.Full();
        if (parent.GetLength() >= child.GetLength())
            return false;
        if (IsFolder(parent.Text()) || _mkdir(parent.Text()) == 0)
            break;
        if (errno != ENOENT)
            return false;
        missing.Add(parent.Text());
        child = parent;
    }
    for (int i = missing.GetCount() - 1; i >= 0; i--) {
        if (_mkdir(missing.GetAt(i).Text()) != 0)
            return false;
    }
    return _mkdir(full.Text()) == 0;
}

bool SDisk::Remove(const char* path)
{
    if (!path)
        return false;
    return DeleteFileA(path) != FALSE;
}
