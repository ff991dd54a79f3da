// SFileMem: a file held in one memory block. The block grows in steps of
// 1 KB with a copy at every step; it never doubles, so the memory stays close
// to the size at the price of a copy per kilobyte written sequentially.
#pragma once

#include "SFile.h"

class SFileMem : public SFile {
public:
    SFileMem();
#ifdef _WIN32
    // Loads the resource of type and id from the program; check IsOpen().
    SFileMem(const char* type, unsigned short id);
#endif
    // Frees the block.
    ~SFileMem() override;

    // Loads a disk file whole ("rb", not shared) and rewinds. False for a null
    // or empty path, a file that cannot be opened or measured, one above the
    // 32-bit range, or when memory runs out. The count actually read is not
    // checked: bytes a short read leaves are zeros.
    bool LoadFile(const char* path);
#ifdef _WIN32
    // Empties the file, then copies in the resource of type and numeric id
    // from module (null = the program's own executable) and rewinds. False
    // for a null type, a resource that is not found or cannot be loaded, or
    // when memory runs out.
    bool LoadResource(const char* type, unsigned short id, void* module = nullptr);
#endif
    // Resizes to size (negative = 0) without keeping the contents and
    // rewinds. False when memory runs out (the file is then left as it was).
    bool SetEmptySize(int size);
    // The bytes; null when the file holds no block.
    const unsigned char* GetData() const
    {
        return m_data;
    }
    // The capacity of the block: the size rounded up to the next multiple of
    // 1024 strictly above it (0 when there is no block).
    int GetCapacity() const
    {
        return m_capacity;
    }

    // True while a block exists (after the first write, load or resize).
    bool IsOpen() const override
    {
        return m_data != nullptr;
    }
    // Frees the block and clears size, capacity and position.
    void Close() override;
    // Grows the size to position + count when that is past the end. 0 when
    // count is below 1, buffer is null, the end would pass the 32-bit range
    // or memory runs out. Bytes between the old end and a position past it
    // become zeros.
    int Write(const void* buffer, int count) override;
    int Read(void* buffer, int count) override;
    int Seek(int position) override;
    int Tell() override
    {
        return m_position;
    }
    // Keeps the contents (added bytes are zeros) and moves the position back
    // to the new end when it lay beyond it. A negative size counts as 0.
    // False only when memory runs out.
    bool SetSize(int size) override;
    int Size() override
    {
        return m_size;
    }
    // As SFile::Find; a prefix match at the end leaves the position past the
    // end, deliberately (reads there return 0).
    int Find(const void* pattern, int length) override;
    const unsigned char* GetMemory() const override
    {
        return m_data;
    }

private:
    // Sets the size, choosing the capacity by the 1 KB rule; with keep, the
    // kept bytes survive and added ones are zeros. False when memory runs out.
    bool Resize(int size, bool keep);

    unsigned char* m_data = nullptr;   // owned; null when empty
    int m_size = 0;
    int m_capacity = 0;
    int m_position = 0;
};
