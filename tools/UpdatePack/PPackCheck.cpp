#include "PPackCheck.h"

#include <stdarg.h>
#include <string.h>
#include <zlib.h>

#include <new>

#include "core/SLittleEndian.h"
#include "file/SFile.h"
#include "file/SResourceIndex.h"

namespace {

const uint32_t kChunk = 100000;
const uint32_t kPacked = 110012;

bool ReadLE32(SFile& file, uint32_t* value)
{
    unsigned char word[4];
    if (file.Read(word, 4) != 4)
        return false;
    *value = SLittleEndian::Get32(word);
    return true;
}

// A name the installer would place outside its destination folder: rooted,
// with a drive, or with a ".." level.
bool LeavesFolder(const char* name)
{
    if (name[0] == '\\' || name[0] == '/' || strchr(name, ':'))
        return true;
    for (const char* p = name; *p;) {
        size_t n = strcspn(p, "\\/");
        if (n == 2 && p[0] == '.' && p[1] == '.')
            return true;
        p += n;
        if (*p)
            p++;
    }
    return false;
}

}   // namespace

PPackCheck::PPackCheck() = default;

PPackCheck::~PPackCheck()
{
    delete[] m_packed;
    delete[] m_raw;
}

bool PPackCheck::Fail(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    m_error.FormatV(format, args);
    va_end(args);
    return false;
}

bool PPackCheck::Check(SFile& file, int trailerBytes)
{
    m_error.Empty();
    m_entry.Empty();
    m_compressed = false;
    m_entries = 0;
    m_rawBytes = 0;
    if (!m_packed)
        m_packed = new (std::nothrow) unsigned char[kPacked];
    if (!m_raw)
        m_raw = new (std::nothrow) unsigned char[kChunk];
    if (!m_packed || !m_raw)
        return Fail("out of memory");

    unsigned char magic[4];
    if (file.Read(magic, 4) != 4 || memcmp(magic, "SRES", 4) != 0)
        return Fail("not a package: the file does not begin with \"SRES\"");
    uint32_t mode;
    if (!ReadLE32(file, &mode))
        return Fail("the mode word is cut short");
    if (mode > 1)
        return Fail("mode word 0x%08X is neither 0 (stored) nor 1 (compressed)", mode);
    m_compressed = mode == 1;

    SResourceIndex names;
    for (;;) {
        uint32_t length;
        if (!ReadLE32(file, &length))
            return Fail("the end marker is missing after %d entries", m_entries);
        if (length == SResourceIndex::kEndMarker)
            break;
        m_entries++;
        int position = file.Tell();
        SString name = file.ReadString(true);
        m_entry = name;
        if (file.Tell() - position != name.GetLength() + 1)
            return Fail("the name has no terminating 0 byte");
        if (name.IsEmpty())
            return Fail("the name is empty");
        if (LeavesFolder(name.Text()))
            return Fail("the name leads out of the destination folder");
        int first = names.Find(name.Text());
        if (first >= 0)
            return Fail("the name repeats entry %d (\"%s\") ignoring letter case", first + 1,
                        names.GetName(first));
        if (names.Append(name.Text(), nullptr, file.Tell(), length) < 0)
            return Fail("out of memory");
        int remaining = file.Remaining();
        if (remaining < 0 || length > (uint32_t)remaining)
            return Fail("data length %u runs past the end of the file (%d bytes left)", length,
                        remaining);
        if (!m_compressed) {
            m_rawBytes += length;
            file.Skip((int)length);
        } else if (length > 0) {
            if (!CheckStream(file, length))
                return false;
        } else {
            // An empty compressed entry has no chunk stream; the installer
            // reads the bytes behind it as one all the same.
            int64_t bytes = FollowingStreamBytes(file);
            if (bytes > 0)
                return Fail("empty entry, but the installer would read the bytes after it as "
                            "a chunk stream and write %lld bytes",
                            (long long)bytes);
        }
    }
    m_entry.Empty();
    int trailing = file.Remaining() - trailerBytes;
    if (trailing != 0)
        return Fail("%d bytes follow the end marker", trailing);
    return true;
}

bool PPackCheck::CheckStream(SFile& file, uint32_t length)
{
    const int start = file.Tell();
    const int end = start + (int)length;
    uint32_t chunks;
    if (length < 4 || !ReadLE32(file, &chunks))
        return Fail("data length %u cannot hold a chunk count", length);
    if (chunks == 0)
        return Fail("chunk count 0 in a data field of %u bytes", length);
    // Each chunk takes at least its 8-byte header and one packed byte.
    if ((uint64_t)chunks * 9 > length - 4)
        return Fail("chunk count %u cannot fit in %u bytes", chunks, length);
    for (uint32_t i = 0; i < chunks; i++) {
        uint32_t raw, packed;
        if (end - file.Tell() < 8 || !ReadLE32(file, &raw) || !ReadLE32(file, &packed))
            return Fail("chunk %u of %u: the header runs past the data length", i + 1, chunks);
        bool last = i + 1 == chunks;
        if (raw == 0 || raw > kChunk || (!last && raw != kChunk))
            return Fail("chunk %u of %u: raw length %u (expected %s)", i + 1, chunks, raw,
                        last ? "1 to 100000" : "100000");
        if (packed == 0 || packed > kPacked)
            return Fail("chunk %u of %u: packed length %u outside 1 to %u", i + 1, chunks, packed,
                        kPacked);
        if ((int64_t)end - file.Tell() < (int64_t)packed)
            return Fail("chunk %u of %u: %u packed bytes run past the data length", i + 1, chunks,
                        packed);
        if (file.Read(m_packed, (int)packed) != (int)packed)
            return Fail("chunk %u of %u: the packed bytes cannot be read", i + 1, chunks);
        uLongf out = kChunk;
        int result = uncompress(m_raw, &out, m_packed, packed);
        if (result != Z_OK)
            return Fail("chunk %u of %u: %s", i + 1, chunks,
                        result == Z_DATA_ERROR ? "the packed bytes are corrupt"
                            : result == Z_BUF_ERROR
                            ? "the packed bytes end early or unpack to more than 100000 bytes"
                            : result == Z_MEM_ERROR ? "out of memory while unpacking"
                                                    : "the packed bytes cannot be unpacked");
        if (out != raw)
            return Fail("chunk %u of %u: unpacks to %lu bytes, the header says %u", i + 1, chunks,
                        (unsigned long)out, raw);
        m_rawBytes += raw;
    }
    if (file.Tell() != end)
        return Fail("the chunk stream takes %d of the %u bytes of its data length",
                    file.Tell() - start, length);
    return true;
}

int64_t PPackCheck::FollowingStreamBytes(SFile& file)
{
    const int start = file.Tell();
    int64_t written = 0;
    uint32_t chunks;
    if (ReadLE32(file, &chunks)) {
        for (uint32_t i = 0; i < chunks; i++) {
            uint32_t raw, packed;
            if (!ReadLE32(file, &raw) || !ReadLE32(file, &packed) || raw > kChunk ||
                packed > kPacked || file.Remaining() < (int)packed)
                break;
            file.Skip((int)packed);
            written += raw;
        }
    }
    file.Seek(start);
    return written;
}

int64_t PPackCheck::StreamRawBytes(SFile& file, uint32_t length)
{
    uint32_t chunks, raw, packed;
    int64_t left = length, total = 0;
    if (left < 4 || !ReadLE32(file, &chunks))
        return -1;
    for (left -= 4; chunks > 0; chunks--) {
        if (left < 8 || !ReadLE32(file, &raw) || !ReadLE32(file, &packed) ||
            (int64_t)packed > left - 8)
            return -1;
        left -= 8 + (int64_t)packed;
        total += raw;
        file.Skip((int)packed);
    }
    return left == 0 ? total : -1;
}
