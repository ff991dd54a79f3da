// SDisk: questions about files and folders, the recursive folder listing,
// temporary and unique file names, folder creation and opening documents with
// the shell. Every file-system call is an ANSI ("A") call.
#pragma once

#include <stdint.h>

#include "core/SString.h"
#include "core/SStringArray.h"

// Flag bits of SDisk::List.
enum : uint32_t {
    SDISK_RECURSE = 0x01,      // descend into sub-folders
    SDISK_FOLDERS = 0x02,      // list folders
    SDISK_FILES = 0x04,        // list files
    SDISK_NOHIDDEN = 0x08,     // skip entries with the hidden attribute
    SDISK_NOFILES = 0x10,      // only folders that hold no files
    SDISK_HASFILES = 0x20,     // only folders that hold files
    SDISK_NOFOLDERS = 0x40,    // only folders that hold no sub-folders
    SDISK_HASFOLDERS = 0x80,   // only folders that hold sub-folders
};

class SDisk {
public:
    SDisk();
    virtual ~SDisk();

    // Folder-separator rule, true by default: folder paths that SDisk returns
    // end in "\\"; when false they do not, and SDisk adds the "\\" itself where
    // it joins a folder and a name. Returns the previous value.
    bool SetFolderSeparator(bool on);
    bool GetFolderSeparator() const { return m_folderSeparator; }

    // True when the file or folder exists, looked up as written (relative to
    // the current folder, never along a search path); its full name is left
    // in the buffer. False for a null or empty path or one not found.
    bool Exists(const char* path);
    // The size found by opening the file "rb" and seeking to its end;
    // 0xFFFFFFFF for a null or empty path, a file that cannot be opened, or
    // one of 2 GB or more (measured in 64 bits, so 4 GB and more never wrap).
    uint32_t FileSizeByStream(const char* path);
    // The size of the file opened read-only as a disk file; 0 when it cannot
    // be opened or sized.
    uint32_t FileSize(const char* path);

    // The long form of the system's temporary folder, ending in "\\" when the
    // folder-separator rule is true; empty when the system cannot give it.
    SString TempFolder();
    // Creates a new empty file "tmp*.tmp" in the temporary folder and returns
    // its full name; empty when the file could not be created.
    SString TempFileName();

    // The folder walk. pattern is a folder part plus a mask ("C:\\src\\*.*",
    // "src\\*.txt") or an exact name. Found names are appended to out (may be
    // null): with a "*" in the mask as folder part + name, folders with a
    // trailing "\\", in the directory's own order, a folder before its
    // content; with an exact name as the bare name. The folder part is kept as
    // the caller wrote it (relative stays relative). Returns the number of
    // names found at all levels; fileCount and folderCount (may be null)
    // receive the top level's counts only. 0 when neither SDISK_FOLDERS nor
    // SDISK_FILES is set, when only folders are asked for with contradictory
    // filters (SDISK_NOFILES with SDISK_HASFILES, SDISK_NOFOLDERS with
    // SDISK_HASFOLDERS), or when the folder does not exist.
    int List(SStringArray* out, const char* pattern, uint32_t flags, int* fileCount = nullptr,
             int* folderCount = nullptr);
    // The same walk with flags made from five choices: recurse, folders, files,
    // emptyFoldersOnly (folders holding neither files nor sub-folders) and
    // includeHidden. No counters.
    int List(SStringArray* out, const char* pattern, bool recurse, bool folders, bool files,
             bool emptyFoldersOnly, bool includeHidden);

    // The files under folder, sub-folders included, that no ANSI call can
    // reach: their name, or the name of a folder they lie in, has a character
    // the system ANSI code page cannot hold (the walk above gives it as "?"
    // or as a look-alike). Walks with the Unicode calls and appends each full
    // path in UTF-8 to out. Returns the count; 0 also when the folder cannot
    // be listed.
    int ListUnmappedNames(const char* folder, SStringArray* out);

    // True when path names an existing file (hidden ones included). False
    // when it ends in "\\" or "/", does not exist or is a folder.
    bool IsFile(const char* path);
    // True when path names an existing folder (hidden ones included), with or
    // without one trailing "\\" or "/". False when it does not exist or is a
    // file.
    bool IsFolder(const char* path);

    // Opens file with the shell's "open" verb, passing parameters (may be null)
    // and the show command; with inOwnFolder the working folder is the file's
    // own folder. False when the shell reports a failure.
    bool Open(const char* file, const char* parameters, bool inOwnFolder, int show);

    // A name in folder that does not exist yet: folder + name + "." + extension
    // (no "." for an empty extension) when free, otherwise with a random
    // decimal number below 1000000 after name. Empty when folder is not an
    // existing folder or 1000 numbers were all taken. Nothing is created.
    SString UniqueName(const char* folder, const char* name, const char* extension);

    // Creates the folder; with withParents its missing parent folders too.
    // True when the folder exists afterwards (also when it existed before).
    // False for an empty path, a root (a drive root is never created), a full
    // form longer than 1023 characters (shares and URLs included, which SPath
    // does not bound), a missing parent without withParents, or when the
    // system refuses. Any text ends with a result: the walk up to the parents
    // is a loop bounded by that length.
    bool CreateFolder(const char* path, bool withParents);

    // Deletes the file; the system's answer is passed through.
    bool Remove(const char* path);

    // The last path the system gave (temporary folder, temporary file name,
    // full name found by Exists).
    const char* GetBuffer() const { return m_buffer; }

private:
    enum { BUFFER_SIZE = 1025, MAX_FOLDER_LENGTH = 1023 };

    char m_buffer[BUFFER_SIZE];
    bool m_folderSeparator;
};
