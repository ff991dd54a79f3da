// Fuzzes reading an update package from memory: the index, every entry's
// chunk stream as the installer inflates it, and the strict package check.
#include "file/SFileMem.h"
#include "file/SResourceIndex.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include "PPackCheck.h"

namespace {

// A destination that only counts, so a chunk stream may claim gigabytes.
class CountingFile : public SFile {
public:
    bool IsOpen() const override { return true; }
    void Close() override {}
    int Write(const void* buffer, int count) override
    {
        if (!buffer || count < 1)
            return 0;
        m_size += count;
        return count;
    }
    int Read(void*, int) override { return 0; }
    int Seek(int) override { return 0; }
    int Tell() override { return 0; }
    bool SetSize(int) override { return false; }
    int Size() override { return 0; }
    int64_t m_size = 0;
};

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SFileMem file;
    if (size > 0 && file.Write(data, (int)size) != (int)size)
        return 0;
    file.Rewind();

    SResourceIndex index;
    bool compressed = false;
    bool complete = index.Read(file, &compressed);
    // Every recorded entry lies inside the file and is found by its name (or
    // an earlier one equal to it ignoring case).
    for (int i = 0; i < index.GetCount(); i++) {
        if (index.GetOffset(i) < 8 || index.GetOffset(i) > (int)size)
            abort();
        int found = index.Find(index.GetName(i));
        if (found < 0 || found > i)
            abort();
        file.Seek(index.GetOffset(i));
        CountingFile out;
        if (compressed) {
            file.Uncompress(&out);
        } else {
            uint32_t length = index.GetLength(i);
            out.Copy(&file, length > 0x7FFFFFFFu ? -1 : (int)length);
        }
        // Every written byte comes from a chunk header of 8 bytes at least.
        if (out.m_size > (int64_t)(size / 8 + 1) * 100000)
            abort();
    }

    file.Rewind();
    PPackCheck check;
    if (check.Check(file) && !complete)
        abort();
    return 0;
}
