// SFilePath: a file on disk, read and written through a C runtime stream.
#pragma once

#include <stdio.h>

#include "SFile.h"

class SFilePath : public SFile {
public:
    SFilePath();
    // Opens at once, never shared; check IsOpen() for the result.
    SFilePath(const char* path, bool write, bool create, bool read);
    // Closes the file (and deletes the delete-on-close file, if any).
    ~SFilePath() override;

    // Closes any open stream first, then opens path. The mode follows from
    // the flags:
    //   read + write + create  "w+b"  (created or emptied)
    //   read + write           "r+b"  (must exist)
    //   read                   "rb"   (create ignored)
    //   write + create         "wb"   (created or emptied)
    //   write                  "ab"   (appends; created when missing)
    // With shared, others may read and write the file meanwhile. Without it
    // a file opened for writing admits no other open, and one opened only
    // for reading admits other readers but no writer. False, leaving the
    // object closed, for a null or empty path, neither read nor write, or
    // when the runtime cannot open it (missing, or refused by sharing).
    bool Open(const char* path, bool write, bool create, bool read, bool shared = false);
    // The path of the open file; empty when closed.
    const SString& GetPath() const { return m_path; }
    // Names a file to delete when this one is closed (usually its own path,
    // for temporary files). A null or empty path cancels it.
    void SetDeleteOnClose(const char* path);

    bool IsOpen() const override { return m_stream != nullptr; }
    // Closes the stream, then deletes the delete-on-close file when one is
    // named; clears both paths.
    void Close() override;
    // 0 when closed; otherwise as SFile::Write.
    int Write(const void* buffer, int count) override;
    // 0 when closed; otherwise as SFile::Read.
    int Read(void* buffer, int count) override;
    // 0 when closed; otherwise as SFile::Seek.
    int Seek(int position) override;
    // 0 when closed; the size when the runtime cannot tell the position.
    int Tell() override;
    // False when closed or when size is negative; otherwise moves to size
    // (also past the end) and sets the length there.
    bool SetSize(int size) override;
    // Measured by moving to the end and back; 0 when closed. A file longer
    // than the 32-bit range reports the largest 32-bit size.
    int Size() override;

private:
    // Brings the stream into the given direction: the C runtime needs a
    // positioning call between a write and a following read (and back).
    void Direction(unsigned char direction);

    FILE* m_stream = nullptr;   // owned; null when closed
    SString m_path;
    SString m_deletePath;   // deleted on Close when non-empty
    // The direction of the last transfer (0 none, 1 read, 2 write); cleared
    // on open and close.
    unsigned char m_flags = 0;
};
