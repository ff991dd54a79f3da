// SIni: reads the value of a key in a bracketed section of an INI-style text
// held in memory or in a disk file. Read-only.
//
// Sections are found by their trimmed line, ignoring letter case. Key lines
// are not trimmed: the key is everything before the first "=", so
// "  Size=5" defines the key "  Size" and "name = value" the key "name ",
// and the value is everything after that "=", untrimmed ("Name=a=b" gives
// "a=b"). A line without "=" is passed over; comments need no syntax.
//
// Lives beside the files because it reads through a memory file; it keeps no
// disk helper of its own, since loading a file whole is all it needs.
#pragma once

#include "SFileMem.h"

class SIni {
public:
    SIni() = default;
    virtual ~SIni() = default;

    SIni(const SIni&) = delete;
    SIni& operator=(const SIni&) = delete;

    // Copies the whole content of source (from its start; its position is
    // restored) into the object's memory and answers queries from that copy.
    // False for a null source.
    bool OpenMemory(SFile* source);
    // Answers queries from the disk file at path, read anew at every query
    // (so later changes to the file are seen). Frees the memory copy. False
    // for a null or empty path (the object then answers nothing).
    bool OpenFile(const char* path);
    // The path given to OpenFile; empty otherwise.
    const SString& GetFileName() const { return m_fileName; }

    // The value of key in section. Empty when nothing is open, the file
    // cannot be read, or the section or key is missing (an empty value looks
    // the same).
    SString GetString(const char* section, const char* key);

    // Rewinds file and returns the position of the first line whose trimmed
    // text is "[" section "]", ignoring letter case; -1 when there is none or
    // file or section is null.
    static int FindSection(SFile* file, const char* section);
    // The position of the first line after that section's line whose text
    // before the first "=" equals key ignoring letter case; -1 when the
    // section is missing, another section line ("[...]", untrimmed) comes
    // first, the end is reached, or an argument is null. Lines shorter than 2
    // characters are passed over.
    static int FindKey(SFile* file, const char* section, const char* key);

private:
    enum { kNone = 0, kFile = 1, kMemory = 2 };

    int m_kind = kNone;   // where queries are answered from
    SString m_fileName;   // file mode only
    SFileMem m_text;      // memory mode only
};
