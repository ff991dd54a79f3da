// The shared file operations and the memory kind. StreamFile hides a memory
// file behind the plain read interface, so the paths the disk kind takes
// (reading into buffers, scanning in blocks) run here without a disk.
#include "file/SFileMem.h"

#include <stdint.h>
#include <string.h>
#include <zlib.h>

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

class StreamFile : public SFile {
public:
    SFileMem inner;
    int readLimit = 1 << 30;   // most bytes one Read delivers
    int writeLimit = -1;       // total bytes accepted; -1 = no limit

    bool IsOpen() const override { return inner.IsOpen(); }
    void Close() override { inner.Close(); }
    int Write(const void* buffer, int count) override
    {
        if (writeLimit >= 0) {
            int room = writeLimit - inner.Size();
            count = count < room ? count : room;
        }
        return inner.Write(buffer, count);
    }
    int Read(void* buffer, int count) override
    {
        return inner.Read(buffer, count < readLimit ? count : readLimit);
    }
    int Seek(int position) override { return inner.Seek(position); }
    int Tell() override { return inner.Tell(); }
    bool SetSize(int size) override { return inner.SetSize(size); }
    int Size() override { return inner.Size(); }
};

std::string Contents(SFileMem& file)
{
    return std::string((const char*)file.GetData(), (size_t)file.Size());
}

void Put(SFile& file, const std::string& bytes)
{
    file.Write(bytes.data(), (int)bytes.size());
    file.Rewind();
}

// Text-like runs mixed with noise, so chunks neither vanish nor stay raw.
std::string MixedData(int size, uint32_t seed)
{
    std::string data((size_t)size, '\0');
    const char* words[] = {"update ", "package ", "chunk ", "\r\n", "0123456789 "};
    for (int i = 0; i < size;) {
        seed = seed * 1664525u + 1013904223u;
        if ((seed >> 28) < 6) {
            const char* w = words[(seed >> 8) % 5];
            for (; *w && i < size; w++)
                data[(size_t)i++] = *w;
        } else {
            data[(size_t)i++] = (char)(seed >> 16);
        }
    }
    return data;
}

uint32_t LE32(const std::string& s, size_t at)
{
    const unsigned char* p = (const unsigned char*)s.data() + at;
    return p[0] | (p[1] << 8) | (p[2] << 16) | ((uint32_t)p[3] << 24);
}

// Checks the chunk stream layout and that every chunk is what zlib's
// compress gives for that slice at the default level.
void ExpectChunkStream(const std::string& stream, const std::string& raw)
{
    size_t chunks = (raw.size() + 99999) / 100000;
    ASSERT_GE(stream.size(), 4u);
    EXPECT_EQ(LE32(stream, 0), chunks);
    size_t at = 4;
    for (size_t k = 0; k < chunks; k++) {
        std::string slice = raw.substr(k * 100000, 100000);
        std::vector<unsigned char> expect(compressBound((uLong)slice.size()));
        uLongf length = (uLongf)expect.size();
        ASSERT_EQ(compress(expect.data(), &length, (const Bytef*)slice.data(), (uLong)slice.size()),
                  Z_OK);
        ASSERT_LE(at + 8, stream.size());
        EXPECT_EQ(LE32(stream, at), slice.size()) << "chunk " << k;
        ASSERT_EQ(LE32(stream, at + 4), length) << "chunk " << k;
        ASSERT_LE(at + 8 + length, stream.size());
        EXPECT_EQ(memcmp(stream.data() + at + 8, expect.data(), length), 0) << "chunk " << k;
        at += 8 + length;
    }
    EXPECT_EQ(at, stream.size());
}

TEST(SFileMemTest, CapacityIsNextKilobyteStrictlyAbove)
{
    SFileMem file;
    EXPECT_FALSE(file.IsOpen());
    const int sizes[][2] = {{0, 1024},    {1, 1024},    {1000, 1024}, {1023, 1024},
                            {1024, 2048}, {2047, 2048}, {5000, 5120}, {-7, 1024}};
    for (auto& s : sizes) {
        ASSERT_TRUE(file.SetEmptySize(s[0]));
        EXPECT_EQ(file.GetCapacity(), s[1]) << s[0];
        EXPECT_EQ(file.Size(), s[0] < 0 ? 0 : s[0]);
        EXPECT_EQ(file.Tell(), 0);
        EXPECT_TRUE(file.IsOpen());
    }
    // Sequential writes grow one kilobyte at a time, never doubling.
    SFileMem grown;
    std::string block(1000, 'x');
    for (int i = 1; i <= 5; i++) {
        grown.Write(block.data(), 1000);
        EXPECT_EQ(grown.GetCapacity(), (i * 1000 / 1024 + 1) * 1024);
    }
}

TEST(SFileMemTest, WritesStringsAndLines)
{
    SFileMem file;
    EXPECT_EQ(file.WriteString("SRES", -1), 4);
    EXPECT_EQ(file.WriteString("SRES", 2), 2);
    EXPECT_EQ(file.WriteString0("ab"), 3);
    EXPECT_EQ(file.WriteString0(""), 1);
    EXPECT_EQ(file.WriteLine("x"), 3);
    EXPECT_EQ(file.WriteLine(""), 2);
    EXPECT_EQ(file.Write("zz", 0), 0);
    EXPECT_EQ(file.Write("zz", -1), 0);
    EXPECT_EQ(file.WriteString(nullptr), 0);
    EXPECT_EQ(Contents(file), std::string("SRESSRab\0\0x\r\n\r\n", 15));
    // Writing inside the data overwrites; the size only grows past the end.
    file.Seek(1);
    EXPECT_EQ(file.Write("QQ", 2), 2);
    EXPECT_EQ(file.Size(), 15);
    EXPECT_EQ(Contents(file).substr(0, 4), "SQQS");
}

TEST(SFileMemTest, SeekReadAndSizeRanges)
{
    SFileMem file;
    Put(file, "0123456789");
    EXPECT_EQ(file.Seek(-5), 10);
    EXPECT_EQ(file.Seek(11), 10);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Seek(10), 10);
    EXPECT_EQ(file.Seek(3), 3);
    EXPECT_EQ(file.Remaining(), 7);
    EXPECT_EQ(file.Skip(4), 7);
    EXPECT_EQ(file.Skip(-2), 5);
    EXPECT_EQ(file.Skip(100), 10);

    char buffer[16];
    memset(buffer, '#', sizeof(buffer));
    file.Seek(4);
    EXPECT_EQ(file.Read(buffer, 0), 0);
    EXPECT_EQ(file.Read(buffer, -3), 0);
    EXPECT_EQ(file.Tell(), 4);
    EXPECT_EQ(file.Read(buffer, 16), 6);
    EXPECT_EQ(std::string(buffer, 7), "456789#");
    memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(file.Rewind(), 0);
    EXPECT_FALSE(file.IsEnd());

    // SetSize keeps the bytes, zeroes added ones and pulls the position in.
    file.Seek(8);
    ASSERT_TRUE(file.SetSize(4));
    EXPECT_EQ(file.Tell(), 4);
    ASSERT_TRUE(file.SetSize(6));
    EXPECT_EQ(file.Tell(), 4);
    EXPECT_EQ(Contents(file), std::string("0123\0\0", 6));
    ASSERT_TRUE(file.SetSize(3000));
    EXPECT_EQ(Contents(file).substr(0, 4), "0123");
    EXPECT_EQ(Contents(file).find_first_not_of('\0', 4), std::string::npos);

    // A write past the end (where Find can leave the position) fills the
    // gap with zeros.
    SFileMem gap;
    Put(gap, "xab");
    EXPECT_EQ(gap.Find("abc", 3), 1);
    EXPECT_EQ(gap.Write("Z", 1), 1);
    EXPECT_EQ(Contents(gap), std::string("xab\0Z", 5));

    file.Close();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.Read(buffer, 4), 0);
    EXPECT_EQ(file.GetCapacity(), 0);
}

TEST(SFileMemTest, WriteFromItsOwnBytesSurvivesGrowth)
{
    SFileMem file;
    Put(file, std::string(1020, 'a') + "wxyz");
    file.Seek(file.Size());
    // The source lies in the block that growing to 2048 replaces.
    EXPECT_EQ(file.Write(file.GetData() + 1020, 4), 4);
    EXPECT_EQ(Contents(file).substr(1020), "wxyzwxyz");
}

TEST(SFileTest, ReadLineBreaksAndTrim)
{
    const std::string text = "one\r\ntwo\nthree\rfour\r\r\n  five \t\r\n\n\r\nlast";
    StreamFile stream;
    stream.readLimit = 3;   // breaks and "\r\n" pairs fall across reads
    SFileMem memory;
    SFile* files[] = {&memory, &stream};
    Put(memory, text);
    Put(stream.inner, text);
    for (SFile* file : files) {
        SString line;
        std::vector<std::string> lines;
        std::vector<bool> ended;
        while (!file->IsEnd()) {
            ended.push_back(file->ReadLine(line));
            lines.push_back(line.Text());
        }
        EXPECT_EQ(lines,
                  (std::vector<std::string> {"one", "two", "three", "four", "", "  five \t", "", "",
                                             "last"}));
        EXPECT_EQ(ended,
                  (std::vector<bool> {true, true, true, true, true, true, true, true, false}));
        EXPECT_FALSE(file->ReadLine(line));
        EXPECT_EQ(line.GetLength(), 0);

        file->Seek(22);
        EXPECT_TRUE(file->ReadLine(line, true));
        EXPECT_STREQ(line.Text(), "five");
        file->Rewind();
        EXPECT_TRUE(file->ReadLineWithEnd(line));
        EXPECT_STREQ(line.Text(), "one\r\n");
        file->Seek(text.size() - 4);
        EXPECT_FALSE(file->ReadLineWithEnd(line));
        EXPECT_STREQ(line.Text(), "last");
    }
}

TEST(SFileTest, LongLinesAndStringsAcrossBlocks)
{
    std::string text = MixedData(20000, 7);
    for (char& c : text)
        if (c == '\r' || c == '\n' || c == 0)
            c = '.';
    text += std::string("\r\n", 2) + "tail" + '\0' + "abc";
    StreamFile stream;
    Put(stream.inner, text);
    SString line;
    EXPECT_TRUE(stream.ReadLine(line));
    EXPECT_EQ(std::string(line.Text(), line.GetLength()), text.substr(0, 20000));
    SString s = stream.ReadString(true);
    EXPECT_STREQ(s.Text(), "tail");
    EXPECT_STREQ(stream.ReadString(true).Text(), "abc");
    EXPECT_TRUE(stream.IsEnd());
    EXPECT_EQ(stream.ReadString(true).GetLength(), 0);
}

TEST(SFileTest, ReadStringAndText)
{
    SFileMem file;
    Put(file, std::string("abc\0\0skip\0def", 13));
    EXPECT_STREQ(file.ReadString(true).Text(), "abc");
    EXPECT_EQ(file.Tell(), 4);
    EXPECT_STREQ(file.ReadString(true).Text(), "");
    EXPECT_EQ(file.ReadString(false).GetLength(), 0);
    EXPECT_EQ(file.Tell(), 10);
    EXPECT_STREQ(file.ReadString(true).Text(), "def");
    EXPECT_TRUE(file.IsEnd());
    EXPECT_EQ(file.ReadString(true).GetLength(), 0);

    file.Rewind();
    EXPECT_STREQ(file.ReadText(2).Text(), "ab");
    SString rest = file.ReadText();
    EXPECT_EQ(rest.GetLength(), 11);
    EXPECT_EQ(file.ReadText(5).GetLength(), 0);
    file.Seek(10);
    EXPECT_STREQ(file.ReadText(1000).Text(), "def");
}

int NaiveFind(const std::string& data, int from, const std::string& pattern)
{
    for (int c = from; c < (int)data.size(); c++) {
        size_t i = 0;
        while (i < pattern.size() && c + i < data.size() && data[c + i] == pattern[i])
            i++;
        if (i == pattern.size() || c + i == data.size())
            return c;
    }
    return -1;
}

TEST(SFileTest, FindMatchesAndPrefixAtEnd)
{
    SFileMem file;
    Put(file, "abcabdab");
    EXPECT_EQ(file.Find("abd", 3), 3);
    EXPECT_EQ(file.Tell(), 6);
    // "abx" is not there, but its prefix "ab" ends the data: a match.
    EXPECT_EQ(file.Find("abx", 3), 6);
    EXPECT_EQ(file.Tell(), 9);
    EXPECT_EQ(file.Remaining(), -1);
    char c;
    EXPECT_EQ(file.Read(&c, 1), 0);
    file.Rewind();
    EXPECT_EQ(file.Find("zz", 2), -1);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.Find("a", 0), -1);
    EXPECT_EQ(file.Find(nullptr, 2), -1);
    file.Seek(8);
    EXPECT_EQ(file.Find("a", 1), -1);

    // Against a plain search, on small alphabets where partial matches and
    // fallbacks are frequent, and across the stream kind's blocks.
    uint32_t seed = 1;
    for (int round = 0; round < 300; round++) {
        seed = seed * 1664525u + 1013904223u;
        int size = round < 250 ? 1 + (int)(seed >> 24) % 40 : 5000 + (int)(seed >> 20) % 5000;
        std::string data, pattern;
        for (int i = 0; i < size; i++) {
            seed = seed * 1664525u + 1013904223u;
            data += (char)('a' + (seed >> 30) % 2);
        }
        int plen = 1 + (int)(seed >> 10) % 6;
        for (int i = 0; i < plen; i++) {
            seed = seed * 1664525u + 1013904223u;
            pattern += (char)('a' + (seed >> 30) % 2);
        }
        int from = (int)(seed >> 4) % size;
        StreamFile stream;
        stream.readLimit = 7;
        SFileMem mem;
        Put(stream.inner, data);
        Put(mem, data);
        stream.Seek(from);
        mem.Seek(from);
        int expect = NaiveFind(data, from, pattern);
        ASSERT_EQ(mem.Find(pattern.data(), plen), expect) << data << " / " << pattern;
        ASSERT_EQ(stream.Find(pattern.data(), plen), expect) << data << " / " << pattern;
        if (expect >= 0) {
            EXPECT_EQ(mem.Tell(), expect + plen);
            EXPECT_EQ(stream.Tell(), std::min(expect + plen, size));
        }
    }
}

TEST(SFileTest, CopyFromMemoryAndStreamSources)
{
    std::string data = MixedData(2500, 3);
    StreamFile stream;
    stream.readLimit = 600;   // a source that hands out less than a block
    SFileMem memory;
    Put(stream.inner, data);
    Put(memory, data);
    SFile* sources[] = {&memory, &stream};
    for (SFile* source : sources) {
        SFileMem target;
        source->Seek(100);
        EXPECT_EQ(target.Copy(source, 1500), source == &stream ? 600 : 1500);
        source->Seek(100);
        target.Close();
        EXPECT_EQ(target.Copy(source, 5000), source == &stream ? 600 : 2400);
        if (source == &stream)
            continue;
        EXPECT_EQ(Contents(target), data.substr(100));
        EXPECT_TRUE(source->IsEnd());
        EXPECT_EQ(target.Copy(source), 0);
        source->Seek(2000);
        EXPECT_EQ(target.Copy(source, 0), 0);
        EXPECT_EQ(source->Tell(), 2000);
    }
    stream.readLimit = 1 << 30;
    stream.Rewind();
    SFileMem target;
    EXPECT_EQ(target.Copy(&stream, -1), 2500);
    EXPECT_EQ(Contents(target), data);
    EXPECT_EQ(target.Copy(nullptr), 0);
    EXPECT_EQ(target.Copy(&target), 0);

    // A destination that fills up ends the copy at the short block.
    StreamFile full;
    full.writeLimit = 1500;
    memory.Rewind();
    EXPECT_EQ(full.Copy(&memory), 1500);
}

TEST(SFileTest, FillCountsInBlocks)
{
    SFileMem file;
    EXPECT_EQ(file.Fill('z', 250), 250);
    EXPECT_EQ(Contents(file), std::string(250, 'z'));
    EXPECT_EQ(file.Fill('z', 0), 0);
    EXPECT_EQ(file.Fill('z', -4), 0);
    // A short block write stops the fill; its requested size still counts.
    StreamFile full;
    full.writeLimit = 130;
    EXPECT_EQ(full.Fill('q', 1000), 200);
    EXPECT_EQ(full.Size(), 130);
}

TEST(SFileCompressTest, RoundTripsMatchZlibChunkByChunk)
{
    const int sizes[] = {0, 1, 99999, 100000, 100001, 250000};
    for (int size : sizes) {
        std::string raw = MixedData(size, (uint32_t)size + 11);
        for (int kind = 0; kind < 2; kind++) {
            SCOPED_TRACE(testing::Message() << "size " << size << (kind ? " stream" : " memory"));
            StreamFile stream;
            SFileMem memory;
            SFile* source = kind ? (SFile*)&stream : &memory;
            Put(kind ? stream.inner : memory, raw);
            SFileMem packed;
            int written = source->Compress(&packed);
            EXPECT_EQ(written, packed.Size());
            EXPECT_EQ(source->Tell(), size);
            if (size == 0) {
                EXPECT_EQ(written, 0);
                continue;
            }
            ExpectChunkStream(Contents(packed), raw);
            packed.Rewind();
            SFileMem unpacked;
            EXPECT_EQ(packed.Uncompress(&unpacked), size);
            EXPECT_TRUE(packed.IsEnd());
            EXPECT_TRUE(Contents(unpacked) == raw);
            // The stream kind reads chunks by copy on the way back too.
            StreamFile packedStream;
            Put(packedStream.inner, Contents(packed));
            SFileMem again;
            EXPECT_EQ(packedStream.Uncompress(&again), size);
            EXPECT_TRUE(Contents(again) == raw);
        }
    }
}

TEST(SFileCompressTest, CountsAndPositions)
{
    std::string raw = MixedData(300000, 5);
    SFileMem source;
    Put(source, raw);
    source.Seek(50000);
    SFileMem packed;
    int written = source.Compress(&packed, 150000);
    EXPECT_EQ(written, packed.Size());
    EXPECT_EQ(source.Tell(), 200000);
    ExpectChunkStream(Contents(packed), raw.substr(50000, 150000));
    // A count above what remains means the rest.
    SFileMem rest;
    source.Compress(&rest, 1 << 30);
    ExpectChunkStream(Contents(rest), raw.substr(200000));
    EXPECT_EQ(source.Compress(&rest), 0);
    EXPECT_EQ(source.Compress(nullptr), 0);
    source.Rewind();
    EXPECT_EQ(source.Compress(&source), 0);
    EXPECT_EQ(source.Uncompress(&source), 0);
    EXPECT_EQ(source.Uncompress(nullptr), 0);
}

std::vector<int> g_calls;
int g_stopAt = -1;
bool Record(int thousandths, int value)
{
    EXPECT_EQ(value, 77);
    g_calls.push_back(thousandths);
    return (int)g_calls.size() - 1 != g_stopAt;
}

TEST(SFileCompressTest, ProgressReportsAndStops)
{
    std::string raw = MixedData(250000, 9);
    for (int kind = 0; kind < 2; kind++) {
        StreamFile stream;
        SFileMem memory;
        SFile* source = kind ? (SFile*)&stream : &memory;
        Put(kind ? stream.inner : memory, raw);
        source->SetCompressProgress(Record);
        SFileMem packed;
        g_calls.clear();
        g_stopAt = -1;
        int written = source->Compress(&packed, -1, 77);
        EXPECT_EQ(written, packed.Size());
        EXPECT_EQ(g_calls, (std::vector<int> {0, 400, 800}));

        SFileMem stopped;
        source->Rewind();
        g_calls.clear();
        g_stopAt = 0;
        EXPECT_EQ(source->Compress(&stopped, -1, 77), 0);
        EXPECT_EQ(stopped.Size(), 4);
        EXPECT_EQ(source->Tell(), 0);

        source->Rewind();
        stopped.Close();
        g_calls.clear();
        g_stopAt = 2;
        EXPECT_EQ(source->Compress(&stopped, -1, 77), 0);
        EXPECT_EQ(g_calls.size(), 3u);
        EXPECT_EQ(source->Tell(), 200000);
        std::string kept = Contents(stopped);
        EXPECT_EQ(kept, Contents(packed).substr(0, kept.size()));
        EXPECT_EQ(LE32(kept, 4 + 8 + LE32(kept, 8) + 0), 100000u);

        packed.Rewind();
        packed.SetUncompressProgress(Record);
        SFileMem unpacked;
        g_calls.clear();
        g_stopAt = -1;
        EXPECT_EQ(packed.Uncompress(&unpacked, 77), 250000);
        EXPECT_EQ(g_calls, (std::vector<int> {0, 333, 666}));
        packed.Rewind();
        unpacked.Close();
        g_stopAt = 1;
        g_calls.clear();
        EXPECT_EQ(packed.Uncompress(&unpacked, 77), 0);
        EXPECT_EQ(unpacked.Size(), 100000);
    }
}

std::string Chunk(uint32_t raw, uint32_t packed, const std::string& bytes = "")
{
    std::string s(8, '\0');
    for (int i = 0; i < 4; i++) {
        s[(size_t)i] = (char)(raw >> (8 * i));
        s[(size_t)i + 4] = (char)(packed >> (8 * i));
    }
    return s + bytes;
}

int UncompressText(const std::string& stream, std::string* out = nullptr, bool copy = false)
{
    StreamFile streamFile;
    SFileMem memory;
    SFile* source = copy ? (SFile*)&streamFile : &memory;
    Put(copy ? streamFile.inner : memory, stream);
    SFileMem target;
    int n = source->Uncompress(&target);
    EXPECT_EQ(n, target.Size());
    if (out)
        *out = Contents(target);
    return n;
}

TEST(SFileCompressTest, CorruptStreamsEndEarly)
{
    std::string raw = MixedData(150000, 4);
    SFileMem source, packed;
    Put(source, raw);
    source.Compress(&packed);
    std::string good = Contents(packed);
    size_t second = 4 + 8 + LE32(good, 8);

    for (int copy = 0; copy < 2; copy++) {
        // Cut anywhere: only whole chunks come out.
        for (size_t cut = 0; cut < good.size(); cut += (cut < 64 ? 1 : 997)) {
            std::string out;
            int n = UncompressText(good.substr(0, cut), &out, copy);
            ASSERT_EQ(n, cut < second ? 0 : 100000) << cut;
            EXPECT_TRUE(out == raw.substr(0, (size_t)n));
        }
        EXPECT_EQ(UncompressText(good.substr(0, second + 8), nullptr, copy), 100000);

        // Lengths beyond the buffers stop the stream at that chunk.
        std::string out;
        EXPECT_EQ(UncompressText(good.substr(0, second) + Chunk(100001, 10, std::string(10, 'x')),
                                 &out, copy),
                  100000);
        EXPECT_EQ(
            UncompressText(good.substr(0, second) + Chunk(5, 110013, std::string(200000, 'x')),
                           nullptr, copy),
            100000);
        EXPECT_EQ(
            UncompressText(Chunk(0, 0).substr(0, 4) + Chunk(0xFFFFFFFFu, 4, "abcd"), nullptr, copy),
            0);

        // A chunk count of 0xFFFFFFFF at the very end ends at once; on a run of
        // empty chunk headers it ends with the data.
        std::string end = std::string("\xFF\xFF\xFF\xFF", 4);
        EXPECT_EQ(UncompressText(end, nullptr, copy), 0);
        std::string empties = end;
        for (int i = 0; i < 100000; i++)
            empties += Chunk(0, 0);
        auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(UncompressText(empties, nullptr, copy), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));

        // Data zlib rejects is still written at its raw length, as zeros.
        std::string garbage = std::string("\x01\0\0\0", 4) + Chunk(1000, 6, "garbag");
        EXPECT_EQ(UncompressText(garbage, &out, copy), 1000);
        EXPECT_EQ(out, std::string(1000, '\0'));
        // A packed length above what remains writes nothing for that chunk.
        EXPECT_EQ(
            UncompressText(std::string("\x01\0\0\0", 4) + Chunk(1000, 50, "short"), nullptr, copy),
            0);
    }
}

}   // namespace
