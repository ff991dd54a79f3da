// SFileHandle: one Win32 file handle, for the two opens that the C runtime's
// streams cannot express.
//
// Hold keeps a file from changing while it is in use: the handle reads and
// shares reading only, so while it is open nobody, not even another process
// of the same user, can write the file, cut it, delete it or rename it, while
// reads by path (a stream opened for reading) still work. A file some other
// handle has open for writing or deleting cannot be held at all.
//
// CreateNew makes a file that must not exist yet: a file of that name that
// appears first is never truncated or replaced. On request its access list
// grants the current user alone full access, inheriting nothing from the
// folder, so other users cannot read it where the file system keeps access
// lists.
#pragma once

#include <stdint.h>

class SFileHandle {
public:
    SFileHandle() = default;
    // Closes the handle.
    ~SFileHandle();
    SFileHandle(const SFileHandle&) = delete;
    SFileHandle& operator=(const SFileHandle&) = delete;

    // Opens the existing file at path as described above. False (nothing
    // open) when it does not exist or cannot be held.
    bool Hold(const char* path);
    // Creates the file at path for writing, shared with nobody. False when it
    // exists or cannot be created. With ownerOnly the access list is the
    // owner's alone; IsOwnerOnly tells whether the platform accepted one.
    bool CreateNew(const char* path, bool ownerOnly);
    bool IsOwnerOnly() const { return m_ownerOnly; }

    bool IsOpen() const { return m_handle != nullptr; }
    // The file's size in bytes; -1 when closed or unknown.
    int64_t Size() const;
    // Writes all count bytes; false when closed or short.
    bool Write(const void* data, int count);
    // Closes the handle (releasing a hold); false when it was not open or the
    // platform reports a failure, such as a write it could not finish.
    bool Close();

private:
    void* m_handle = nullptr;   // owned HANDLE; null when closed
    bool m_ownerOnly = false;
};
