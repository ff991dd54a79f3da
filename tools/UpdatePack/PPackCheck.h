// PPackCheck: the strict check of an update package that the installer does
// not make. It walks the whole archive and stops at the first fault: the
// magic and the mode word, every entry record, the end marker with nothing
// behind it, and in a compressed archive every chunk header (raw lengths of
// 100000 but for the last, packed lengths within the buffers), every zlib
// stream unpacking cleanly to its raw length, and each chunk stream filling
// its data length exactly. Names must be unique ignoring case and stay inside
// the destination folder. It needs only an SFile, never the operating system.
#pragma once

#include <stdint.h>

#include "core/SString.h"

class SFile;

class PPackCheck {
public:
    PPackCheck();
    ~PPackCheck();
    PPackCheck(const PPackCheck&) = delete;
    PPackCheck& operator=(const PPackCheck&) = delete;

    // Checks the archive that begins at file's current position and ends
    // trailerBytes before the file's end (the bytes of a signature trailer,
    // which the check leaves to SPackageSignature). True when it is sound. False at the first
    // fault, which GetError describes; GetEntry then names the entry it lies in (empty when the
    // fault lies outside the entries). False too when memory for the chunk buffers runs out.
    bool Check(SFile& file, int trailerBytes = 0);

    const SString& GetError() const { return m_error; }
    const SString& GetEntry() const { return m_entry; }
    // Of the last Check, up to the fault when there was one.
    bool IsCompressed() const { return m_compressed; }
    // The entries seen; after a fault in an entry, that entry's number
    // (counted from 1).
    int GetEntryCount() const { return m_entries; }
    // The unpacked bytes of all entries checked.
    int64_t GetRawBytes() const { return m_rawBytes; }

    // The raw bytes a chunk stream of length bytes at file's position unpacks
    // to, by its chunk headers (the data is not unpacked); the position is
    // left anywhere. -1 when the headers do not fit in length.
    static int64_t StreamRawBytes(SFile& file, uint32_t length);

private:
    // Checks a chunk stream of length bytes at the current position; adds the
    // raw bytes to m_rawBytes.
    bool CheckStream(SFile& file, uint32_t length);
    // The bytes the installer would write for an empty compressed entry,
    // which reads the bytes after it as a chunk stream; leaves the position.
    int64_t FollowingStreamBytes(SFile& file);
    bool Fail(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    SString m_error;
    SString m_entry;
    bool m_compressed = false;
    int m_entries = 0;
    int64_t m_rawBytes = 0;
    unsigned char* m_packed = nullptr;   // owned chunk input buffer
    unsigned char* m_raw = nullptr;      // owned chunk output buffer
};
