// Unpacks arbitrary bytes as a chunk stream, from memory and through the
// copying read path, and checks that both give the same result.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "FileTestSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > (1 << 20))
        return 0;
    SFileMem memory;
    memory.Write(data, (int)size);
    memory.Rewind();
    SFileMem out;
    int written = memory.Uncompress(&out);
    if (written != out.Size() || written < 0)
        __builtin_trap();

    StreamFile stream;
    stream.inner.Write(data, (int)size);
    stream.Rewind();
    SFileMem again;
    if (stream.Uncompress(&again) != written || again.Size() != out.Size() ||
        (written > 0 && memcmp(again.GetData(), out.GetData(), (size_t)written) != 0))
        __builtin_trap();
    return 0;
}
