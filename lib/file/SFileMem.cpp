#include "SFileMem.h"

#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <new>

#ifdef _WIN32
#include <share.h>
#include <windows.h>
#endif

namespace {

const int kStep = 1024;

// Opens a file for reading without sharing it for writing (the runtime's
// secure mode for readers, spelt out as the disk kind does).
FILE* OpenRead(const char* path)
{
#ifdef _WIN32
    return _fsopen(path, "rb", _SH_DENYWR);
#else
    return fopen(path, "rb");
#endif
}

int64_t StreamLength(FILE* stream)
{
#ifdef _WIN32
    if (_fseeki64(stream, 0, SEEK_END) != 0)
        return -1;
    int64_t length = _ftelli64(stream);
    _fseeki64(stream, 0, SEEK_SET);
#else
    if (fseeko(stream, 0, SEEK_END) != 0)
        return -1;
    int64_t length = ftello(stream);
    fseeko(stream, 0, SEEK_SET);
#endif
    return length;
}

}   // namespace

SFileMem::SFileMem()
{
    m_memory = true;
}

#ifdef _WIN32
SFileMem::SFileMem(const char* type, unsigned short id)
{
    m_memory = true;
    LoadResource(type, id);
}
#endif

SFileMem::~SFileMem()
{
    Close();
}

// The capacity is the size rounded up to the next multiple of 1024 strictly
// above it, and a new block is taken whenever the capacity changes: growth
// copies at every kilobyte instead of doubling, deliberately.
bool SFileMem::Resize(int size, bool keep)
{
    if (size < 0)
        size = 0;
    int64_t capacity = ((int64_t)size / kStep + 1) * kStep;
    if (capacity > INT_MAX)
        return false;
    if (capacity == m_capacity && m_data) {
        if (size > m_size)
            memset(m_data + m_size, 0, (size_t)(size - m_size));
        m_size = size;
        return true;
    }
    // Zeroed beyond what is kept, so nothing reads uninitialised memory.
    unsigned char* block = new (std::nothrow) unsigned char[(size_t)capacity];
    if (!block)
        return false;
    int kept = 0;
    if (keep && m_data && m_size > 0) {
        kept = m_size < size ? m_size : size;
        memcpy(block, m_data, (size_t)kept);
    }
    memset(block + kept, 0, (size_t)(capacity - kept));
    delete[] m_data;
    m_data = block;
    m_capacity = (int)capacity;
    m_size = size;
    return true;
}

void SFileMem::Close()
{
    delete[] m_data;
    m_data = nullptr;
    m_size = 0;
    m_capacity = 0;
    m_position = 0;
}

int SFileMem::Write(const void* buffer, int count)
{
    if (!buffer || count < 1)
        return 0;
    int64_t end = (int64_t)m_position + count;
    if (end > INT_MAX)
        return 0;
    const unsigned char* bytes = (const unsigned char*)buffer;
    if (end > m_size) {
        // The bytes may lie in our own block, which Resize can replace.
        uintptr_t offset = (uintptr_t)bytes - (uintptr_t)m_data;
        bool inside = m_data && offset < (uintptr_t)m_capacity;
        if (!Resize((int)end, true))
            return 0;
        if (inside)
            bytes = m_data + offset;
    }
    memmove(m_data + m_position, bytes, (size_t)count);
    m_position = (int)end;
    return count;
}

int SFileMem::Read(void* buffer, int count)
{
    if (!buffer || count < 1 || m_position >= m_size)
        return 0;
    int n = m_size - m_position < count ? m_size - m_position : count;
    memcpy(buffer, m_data + m_position, (size_t)n);
    m_position += n;
    return n;
}

int SFileMem::Seek(int position)
{
    m_position = (position < 0 || position > m_size) ? m_size : position;
    return m_position;
}

bool SFileMem::SetSize(int size)
{
    if (!Resize(size, true))
        return false;
    if (m_position > m_size)
        m_position = m_size;
    return true;
}

int SFileMem::Find(const void* pattern, int length)
{
    int candidate = SFile::Find(pattern, length);
    // A prefix match at the end leaves the position past the end, where the
    // base search's Seek would stop at the end.
    if (candidate >= 0) {
        int64_t after = (int64_t)candidate + length;
        m_position = after > INT_MAX ? INT_MAX : (int)after;
    }
    return candidate;
}

bool SFileMem::SetEmptySize(int size)
{
    if (!Resize(size, false))
        return false;
    m_position = 0;
    return true;
}

bool SFileMem::LoadFile(const char* path)
{
    if (!path || !*path)
        return false;
    FILE* stream = OpenRead(path);
    if (!stream)
        return false;
    int64_t length = StreamLength(stream);
    bool ok = length >= 0 && length <= INT_MAX && Resize((int)length, false);
    if (ok) {
        size_t n = length > 0 ? fread(m_data, 1, (size_t)length, stream) : 0;
        memset(m_data + n, 0, (size_t)(length - (int64_t)n));
        m_position = 0;
    }
    fclose(stream);
    return ok;
}

#ifdef _WIN32
bool SFileMem::LoadResource(const char* type, unsigned short id, void* module)
{
    Close();
    if (!type)
        return false;
    HMODULE handle = module ? (HMODULE)module : GetModuleHandleA(nullptr);
    HRSRC info = FindResourceA(handle, MAKEINTRESOURCEA(id), type);
    if (!info)
        return false;
    HGLOBAL global = ::LoadResource(handle, info);
    const void* bytes = global ? LockResource(global) : nullptr;
    if (!bytes)
        return false;
    DWORD size = SizeofResource(handle, info);
    if (size > (DWORD)INT_MAX || !Resize(0, false))
        return false;
    // Resource memory belongs to the module; nothing to free.
    if (size > 0 && Write(bytes, (int)size) != (int)size) {
        Close();
        return false;
    }
    Rewind();
    return true;
}
#endif
