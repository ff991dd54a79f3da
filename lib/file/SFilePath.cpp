#include "SFilePath.h"

#include <limits.h>
#include <stdint.h>

#ifdef _WIN32
#include <io.h>
#include <share.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace {

enum { kNone = 0, kReading = 1, kWriting = 2 };

// 64-bit positioning: the interface is 32-bit, but a stream longer than that
// must not make the runtime's own position wrap.
int SeekStream(FILE* stream, int64_t offset, int origin)
{
#ifdef _WIN32
    return _fseeki64(stream, offset, origin);
#else
    return fseeko(stream, (off_t)offset, origin);
#endif
}

int64_t TellStream(FILE* stream)
{
#ifdef _WIN32
    return _ftelli64(stream);
#else
    return (int64_t)ftello(stream);
#endif
}

int ClampToInt(int64_t v)
{
    return v > INT_MAX ? INT_MAX : (int)v;
}

// The runtime mode for the flags; null when the file would be neither read
// nor written.
const char* ModeFor(bool write, bool create, bool read)
{
    if (read)
        return write ? (create ? "w+b" : "r+b") : "rb";
    if (write)
        return create ? "wb" : "ab";
    return nullptr;
}

}   // namespace

SFilePath::SFilePath() = default;

SFilePath::SFilePath(const char* path, bool write, bool create, bool read)
{
    Open(path, write, create, read, false);
}

SFilePath::~SFilePath()
{
    Close();
}

bool SFilePath::Open(const char* path, bool write, bool create, bool read, bool shared)
{
    Close();
    const char* mode = ModeFor(write, create, read);
    if (!path || !*path || !mode)
        return false;
    FILE* stream = nullptr;
#ifdef _WIN32
    // Unshared opens ask for the runtime's secure sharing by name: readers
    // may share a file opened only for reading, nobody shares one opened for
    // writing. fopen_s means the same on Windows, but Wine's runtime lets
    // every fopen_s stream be shared, so the rule is spelt out here.
    int sharing = shared ? _SH_DENYNO : (write ? _SH_DENYRW : _SH_DENYWR);
    stream = _fsopen(path, mode, sharing);
#else
    (void)shared;
    stream = fopen(path, mode);
#endif
    if (!stream)
        return false;
    m_stream = stream;
    m_path = path;
    m_flags = kNone;
    return true;
}

void SFilePath::SetDeleteOnClose(const char* path)
{
    m_deletePath = path;
}

void SFilePath::Close()
{
    if (m_stream) {
        fclose(m_stream);
        m_stream = nullptr;
    }
    if (!m_deletePath.IsEmpty()) {
#ifdef _WIN32
        DeleteFileA(m_deletePath.Text());
#else
        remove(m_deletePath.Text());
#endif
    }
    m_path.Empty();
    m_deletePath.Empty();
    m_flags = kNone;
}

// An update stream ("r+b", "w+b") must not go from writing to reading, or
// back, without a flush or positioning call in between; a zero move is that
// call and costs nothing when the direction stays.
void SFilePath::Direction(unsigned char direction)
{
    if (m_flags != kNone && m_flags != direction)
        SeekStream(m_stream, 0, SEEK_CUR);
    m_flags = direction;
}

int SFilePath::Write(const void* buffer, int count)
{
    if (!m_stream || !buffer || count < 1)
        return 0;
    Direction(kWriting);
    return (int)fwrite(buffer, 1, (size_t)count, m_stream);
}

// The runtime stops at the end by itself, so the count needs no measuring
// first: a read at the end returns 0 and leaves the buffer alone.
int SFilePath::Read(void* buffer, int count)
{
    if (!m_stream || !buffer || count < 1)
        return 0;
    Direction(kReading);
    return (int)fread(buffer, 1, (size_t)count, m_stream);
}

int SFilePath::Seek(int position)
{
    if (!m_stream)
        return 0;
    int size = Size();
    if (position < 0 || position > size)
        position = size;
    if (SeekStream(m_stream, position, SEEK_SET) != 0)
        return Tell();
    m_flags = kNone;
    return position;
}

int SFilePath::Tell()
{
    if (!m_stream)
        return 0;
    int64_t position = TellStream(m_stream);
    if (position < 0)
        return Size();
    return ClampToInt(position);
}

bool SFilePath::SetSize(int size)
{
    if (!m_stream || size < 0)
        return false;
    // Written bytes still in the runtime's buffer must land before the
    // length is cut under them.
    fflush(m_stream);
    if (SeekStream(m_stream, size, SEEK_SET) != 0)
        return false;
    m_flags = kNone;
#ifdef _WIN32
    return _chsize_s(_fileno(m_stream), size) == 0;
#else
    return ftruncate(fileno(m_stream), (off_t)size) == 0;
#endif
}

int SFilePath::Size()
{
    if (!m_stream)
        return 0;
    int64_t position = TellStream(m_stream);
    if (SeekStream(m_stream, 0, SEEK_END) != 0)
        return 0;
    int64_t size = TellStream(m_stream);
    SeekStream(m_stream, position >= 0 ? position : 0, SEEK_SET);
    m_flags = kNone;
    return size < 0 ? 0 : ClampToInt(size);
}
