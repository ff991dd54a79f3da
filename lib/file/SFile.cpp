#include "SFile.h"

#include <limits.h>
#include <stdint.h>
#include <string.h>
#include <zlib.h>

#include <memory>
#include <new>

#include "SFilePacker.h"
#include "core/SLittleEndian.h"

namespace {

// The chunk stream: raw chunks of at most kChunk bytes, each packed into at
// most kPacked bytes (more than zlib's bound for kChunk, so compress always
// fits).
const int kChunk = SFilePacker::kChunk;
const int kPacked = SFilePacker::kPacked;
const int kHeader = SFilePacker::kHeader;

const int kCopyBlock = 1000;
const int kFillBlock = 100;
const int kScanBlock = 4096;

int ClampToInt(int64_t v)
{
    return v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : (int)v;
}

// Counts the bytes from the current position up to the first one for which
// stop() is true (or to the end), without moving. Returns that count; *found
// tells whether such a byte was seen. Memory files are scanned in place.
template <class Stop>
int ScanAhead(SFile& file, Stop stop, bool* found)
{
    *found = false;
    int start = file.Tell();
    if (file.IsMemory()) {
        const unsigned char* base = file.GetMemory();
        int size = file.Size();
        if (!base || start >= size)
            return 0;
        for (int i = start; i < size; i++) {
            if (stop(base[i])) {
                *found = true;
                return i - start;
            }
        }
        return size - start;
    }
    unsigned char block[kScanBlock];
    int64_t length = 0;
    for (;;) {
        int n = file.Read(block, kScanBlock);
        if (n <= 0)
            break;
        int i = 0;
        while (i < n && !stop(block[i]))
            i++;
        length += i;
        if (i < n) {
            *found = true;
            break;
        }
    }
    file.Seek(start);
    return ClampToInt(length);
}

// Reads length bytes into a string sized once (strings grow in small steps, so
// appending block by block would copy a long text again and again).
SString ReadInto(SFile& file, int length)
{
    SString text;
    if (length <= 0 || !text.SetLength(length, false))
        return text;
    int done = 0;
    while (done < length) {
        int n = file.Read(text.GetBuffer() + done, length - done);
        if (n <= 0)
            break;
        done += n;
    }
    text.SetLength(done, true);
    return text;
}

}   // namespace

SFile::SFile() = default;

SFile::~SFile() = default;

int SFile::WriteString(const char* text, int length)
{
    if (!text)
        return 0;
    if (length < 0)
        length = ClampToInt((int64_t)strlen(text));
    return Write(text, length);
}

int SFile::WriteString0(const char* text)
{
    if (!text)
        text = "";
    return Write(text, ClampToInt((int64_t)strlen(text) + 1));
}

int SFile::WriteLine(const char* text)
{
    int written = 0;
    if (text && *text)
        written = WriteString(text);
    return written + Write("\r\n", 2);
}

SString SFile::ReadText(int length)
{
    int remaining = Remaining();
    if (length < 0 || length > remaining)
        length = remaining;
    return ReadInto(*this, length);
}

bool SFile::ReadLine(SString& line, bool trim)
{
    bool found;
    int start = Tell();
    int length = ScanAhead(
        *this, [](unsigned char c) { return c == '\r' || c == '\n'; }, &found);
    line = ReadInto(*this, length);
    if (found) {
        unsigned char end[2] = {0, 0};
        int n = Read(end, 2);
        // "\r\n" is one break; a lone "\r" or "\n" is a break of its own.
        int used = (n == 2 && end[0] == '\r' && end[1] == '\n') ? 2 : 1;
        Seek(ClampToInt((int64_t)start + length + used));
    }
    if (trim)
        line.Trim();
    return found;
}

bool SFile::ReadLineWithEnd(SString& line)
{
    bool ended = ReadLine(line, false);
    if (ended)
        line.Append("\r\n", 2);
    return ended;
}

SString SFile::ReadString(bool keep)
{
    bool found;
    int length = ScanAhead(
        *this, [](unsigned char c) { return c == 0; }, &found);
    SString text;
    if (keep)
        text = ReadInto(*this, length);
    else
        Skip(length);
    if (found)
        Skip(1);
    return text;
}

int SFile::Remaining()
{
    return ClampToInt((int64_t)Size() - Tell());
}

bool SFile::IsEnd()
{
    return !IsOpen() || Tell() >= Size();
}

int SFile::Skip(int count)
{
    return Seek(ClampToInt((int64_t)Tell() + count));
}

int SFile::Rewind()
{
    return Seek(0);
}

// Knuth-Morris-Pratt over blocks read from the file, so the cost stays linear
// even for patterns like "aaa...ab". The first full match is the first
// candidate; failing that, the state at the end is the longest tail of the
// data that begins the pattern, which is the first candidate that runs into
// the end.
int SFile::Find(const void* pattern, int length)
{
    if (!pattern || length < 1)
        return -1;
    int start = Tell();
    if (start >= Size())
        return -1;
    const unsigned char* p = (const unsigned char*)pattern;
    std::unique_ptr<int[]> fail(new (std::nothrow) int[length]);
    if (!fail)
        return -1;
    fail[0] = 0;
    for (int i = 1, k = 0; i < length; i++) {
        while (k > 0 && p[i] != p[k])
            k = fail[k - 1];
        if (p[i] == p[k])
            k++;
        fail[i] = k;
    }
    unsigned char block[kScanBlock];
    int64_t position = start;
    int matched = 0;
    for (;;) {
        int n = Read(block, kScanBlock);
        if (n <= 0)
            break;
        for (int i = 0; i < n; i++) {
            while (matched > 0 && block[i] != p[matched])
                matched = fail[matched - 1];
            if (block[i] == p[matched])
                matched++;
            if (matched == length) {
                int candidate = ClampToInt(position + i + 1 - length);
                Seek(ClampToInt((int64_t)candidate + length));
                return candidate;
            }
        }
        position += n;
    }
    if (matched == 0) {
        Seek(start);
        return -1;
    }
    int candidate = ClampToInt(position - matched);
    Seek(ClampToInt((int64_t)candidate + length));
    return candidate;
}

int SFile::Copy(SFile* source, int count)
{
    if (!source || source == this)
        return 0;
    int remaining = source->Remaining();
    if (count < 0 || count > remaining)
        count = remaining;
    if (count <= 0)
        return 0;
    int total = 0;
    unsigned char block[kCopyBlock];
    while (total < count) {
        int n = count - total < kCopyBlock ? count - total : kCopyBlock;
        int written;
        if (source->IsMemory() && source->GetMemory()) {
            written = Write(source->GetMemory() + source->Tell(), n);
            source->Skip(written);
        } else {
            int read = source->Read(block, n);
            written = read > 0 ? Write(block, read) : 0;
        }
        total += written;
        if (written != n)
            break;
    }
    return total;
}

int SFile::Fill(unsigned char byte, int count)
{
    unsigned char block[kFillBlock];
    memset(block, byte, sizeof(block));
    int total = 0;
    while (total < count) {
        int n = count - total < kFillBlock ? count - total : kFillBlock;
        // A short block still counts whole, deliberately: the result tells
        // how far the fill got in blocks.
        total += n;
        if (Write(block, n) != n)
            break;
    }
    return total;
}

int SFile::Compress(SFile* destination, int count, int value)
{
    if (!destination || destination == this)
        return 0;
    int remaining = Remaining();
    if (count < 0 || count > remaining)
        count = remaining;
    if (count <= 0)
        return 0;

    const int chunks = count / kChunk + (count % kChunk ? 1 : 0);
    const bool inPlace = IsMemory() && GetMemory();
    SFilePacker packer;
    if (!packer.Prepare(chunks > 1))
        return 0;

    const int start = Tell();
    unsigned char header[4];
    SLittleEndian::Put32(header, (uint32_t)chunks);
    int64_t written = destination->Write(header, 4);

    int read = 0;   // chunks handed to the packer
    for (int done = 0; done < chunks; done++) {
        // Keep every slot filled, so the helpers find work.
        for (; read < chunks && packer.CanSubmit(); read++) {
            int64_t offset = (int64_t)read * kChunk;
            int rawLength = count - offset < kChunk ? (int)(count - offset) : kChunk;
            if (inPlace) {
                packer.Submit(GetMemory() + Tell(), rawLength);
                Skip(rawLength);
            } else if (!packer.SubmitFrom(this, rawLength)) {
                return 0;
            }
        }
        int length = 0;
        const unsigned char* packed = packer.TakeOldest(&length);
        if (!packed)
            return 0;
        int64_t offset = (int64_t)done * kChunk;
        if (m_compressProgress && !m_compressProgress((int)(offset * 1000 / count), value)) {
            // Leave the source where one chunk at a time would have.
            Seek(ClampToInt(start + offset));
            return 0;
        }
        written += destination->Write(packed, length);
        packer.ReleaseOldest();
    }
    return ClampToInt(written);
}

// Inflates with one stream for the whole call, reset for each chunk: the
// bytes are those uncompress gives, without setting up and freeing the
// inflate state once per chunk.
int SFile::Uncompress(SFile* destination, int value)
{
    if (!destination || destination == this)
        return 0;
    unsigned char header[kHeader];
    if (Read(header, 4) != 4)
        return 0;
    const uint32_t chunks = SLittleEndian::Get32(header);

    // Zeroed, so a chunk zlib rejects is written as zeros, never as
    // uninitialised memory.
    std::unique_ptr<unsigned char[]> output(new (std::nothrow) unsigned char[kChunk]());
    if (!output)
        return 0;
    std::unique_ptr<unsigned char[]> input;   // only for sources read by copy
    z_stream stream = {};
    const bool streamReady = inflateInit(&stream) == Z_OK;
    struct End {
        z_stream* stream;
        ~End()
        {
            if (stream)
                inflateEnd(stream);
        }
    } end = {streamReady ? &stream : nullptr};

    int written = 0;
    // Every pass consumes a header of 8 bytes or ends the loop, so a huge
    // chunk count on short data cannot spin.
    for (uint32_t i = 0; i < chunks; i++) {
        if (m_uncompressProgress &&
            !m_uncompressProgress((int)((uint64_t)i * 1000 / chunks), value))
            return 0;
        if (Read(header, kHeader) != kHeader)
            break;
        uint32_t rawLength = SLittleEndian::Get32(header);
        uint32_t packedLength = SLittleEndian::Get32(header + 4);
        if (rawLength > (uint32_t)kChunk || packedLength > (uint32_t)kPacked)
            break;
        // Output past 2 GB is beyond the result's range: the stream ends.
        if (rawLength > (uint32_t)(INT_MAX - written))
            break;
        const unsigned char* packed;
        if (IsMemory() && GetMemory()) {
            if (Remaining() < (int)packedLength)
                break;
            packed = GetMemory() + Tell();
            Skip((int)packedLength);
        } else {
            if (!input) {
                input.reset(new (std::nothrow) unsigned char[kPacked]);
                if (!input)
                    break;
            }
            if (Read(input.get(), (int)packedLength) != (int)packedLength)
                break;
            packed = input.get();
        }
        // The result is not examined: the chunk is written at its raw length
        // whatever zlib managed to produce.
        if (streamReady) {
            inflateReset(&stream);
            stream.next_in = (Bytef*)packed;
            stream.avail_in = packedLength;
            stream.next_out = output.get();
            stream.avail_out = rawLength;
            // Finishing in one call spares the copy of the output into the
            // window that a stream expecting more calls would keep.
            inflate(&stream, Z_FINISH);
        } else {
            uLongf length = rawLength;
            uncompress(output.get(), &length, packed, packedLength);
        }
        written += destination->Write(output.get(), (int)rawLength);
    }
    return written;
}
