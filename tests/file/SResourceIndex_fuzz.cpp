// Fuzzes reading an update package: the index, every entry's chunk stream as
// the installer inflates it (from memory and by copy), and the strict check.
#include "file/SResourceIndex.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include "FileTestSupport.h"
#include "PPackCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SFileMem file;
    if (size > 0 && file.Write(data, (int)size) != (int)size)
        return 0;
    file.Rewind();

    SResourceIndex index;
    bool compressed = false;
    bool complete = index.Read(file, &compressed);
    StreamFile copied;
    copied.inner.Write(data, (int)size);
    // Every recorded entry lies inside the file and is found by its name (or
    // an earlier one equal to it ignoring case).
    for (int i = 0; i < index.GetCount(); i++) {
        if (index.GetOffset(i) < 8 || index.GetOffset(i) > (int)size)
            abort();
        int found = index.Find(index.GetName(i));
        if (found < 0 || found > i)
            abort();
        // Destinations that keep nothing, so a chunk stream may claim
        // gigabytes; compressed entries are unpacked from memory and through
        // the copying read path, with the same count.
        StreamFile out;
        out.discard = true;
        copied.Seek(index.GetOffset(i));
        file.Seek(index.GetOffset(i));
        uint32_t length = index.GetLength(i);
        int64_t written = compressed ? file.Uncompress(&out)
                                     : out.Copy(&file, length > 0x7FFFFFFFu ? -1 : (int)length);
        if (compressed && copied.Uncompress(&out) != written)
            abort();
        // Every written byte comes from a chunk header of 8 bytes at least.
        if (written > (int64_t)(size / 8 + 1) * 100000)
            abort();
    }

    file.Rewind();
    PPackCheck check;
    if (check.Check(file) && !complete)
        abort();
    return 0;
}
