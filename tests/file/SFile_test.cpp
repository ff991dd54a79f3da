// The shared file operations and the memory kind. StreamFile hides a memory
// file behind the plain read interface, so the paths the disk kind takes
// (reading by copy, scanning in blocks) run here without a disk.
#include "file/SFileMem.h"

#include <stdint.h>
#include <string.h>
#include <zlib.h>

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
        if (writeLimit >= 0 && count > writeLimit - inner.Size())
            count = writeLimit - inner.Size();
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

void Put(SFileMem& file, const std::string& bytes)
{
    file.Close();
    file.Write(bytes.data(), (int)bytes.size());
    file.Rewind();
}

// Words mixed with noise, so chunks neither vanish nor stay raw.
std::string MixedData(int size, uint32_t seed)
{
    std::string data;
    const char* words[] = {"update ", "package ", "\r\n", "0123456789 "};
    while ((int)data.size() < size) {
        seed = seed * 1664525u + 1013904223u;
        if ((seed >> 28) < 6)
            data += words[(seed >> 8) % 4];
        else
            data += (char)(seed >> 16);
    }
    return data.substr(0, (size_t)size);
}

uint32_t LE32(const std::string& s, size_t at)
{
    const unsigned char* p = (const unsigned char*)s.data() + at;
    return p[0] | (p[1] << 8) | (p[2] << 16) | ((uint32_t)p[3] << 24);
}

// The layout of the chunk stream, each chunk equal to zlib's compress of
// its slice at the default level.
void ExpectChunkStream(const std::string& stream, const std::string& raw)
{
    size_t chunks = (raw.size() + 99999) / 100000, at = 4;
    ASSERT_EQ(LE32(stream, 0), chunks);
    for (size_t k = 0; k < chunks; k++) {
        std::string slice = raw.substr(k * 100000, 100000);
        std::vector<unsigned char> expect(compressBound((uLong)slice.size()));
        uLongf length = (uLongf)expect.size();
        compress(expect.data(), &length, (const Bytef*)slice.data(), (uLong)slice.size());
        ASSERT_EQ(LE32(stream, at), slice.size()) << "chunk " << k;
        ASSERT_EQ(LE32(stream, at + 4), length) << "chunk " << k;
        EXPECT_EQ(memcmp(stream.data() + at + 8, expect.data(), length), 0) << "chunk " << k;
        at += 8 + length;
    }
    EXPECT_EQ(at, stream.size());
}

TEST(SFileMemTest, CapacityIsNextKilobyteStrictlyAbove)
{
    SFileMem file;
    const int sizes[][2] = {{0, 1024}, {1000, 1024}, {1023, 1024}, {1024, 2048}, {-7, 1024}};
    for (auto& s : sizes) {
        ASSERT_TRUE(file.SetEmptySize(s[0]));
        EXPECT_EQ(file.GetCapacity(), s[1]) << s[0];
    }
    SFileMem grown;
    for (int i = 1; i <= 3; i++) {
        grown.Fill('x', 1000);
        EXPECT_EQ(grown.GetCapacity(), (i * 1000 / 1024 + 1) * 1024);   // never doubled
    }
}

TEST(SFileMemTest, WritesSeeksAndReads)
{
    SFileMem file;
    EXPECT_EQ(file.WriteString("SRES", -1), 4);
    EXPECT_EQ(file.WriteString0("ab"), 3);
    EXPECT_EQ(file.WriteLine(""), 2);
    EXPECT_EQ(file.Write("zz", 0), 0);
    EXPECT_EQ(Contents(file), std::string("SRESab\0\r\n", 9));
    EXPECT_EQ(file.Seek(-5), 9);
    EXPECT_EQ(file.Seek(10), 9);
    EXPECT_EQ(file.Skip(-4), 5);
    EXPECT_EQ(file.Remaining(), 4);

    char buffer[8];
    memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(file.Read(buffer, 0), 0);
    EXPECT_EQ(file.Read(buffer, 8), 4);
    EXPECT_EQ(buffer[4], '#');
    EXPECT_EQ(file.Read(buffer + 5, 1), 0);
    EXPECT_EQ(buffer[5], '#');
    EXPECT_TRUE(file.IsEnd());

    // SetSize keeps the bytes, zeroes added ones and pulls the position in.
    ASSERT_TRUE(file.SetSize(2));
    EXPECT_EQ(file.Tell(), 2);
    ASSERT_TRUE(file.SetSize(4));
    EXPECT_EQ(Contents(file), std::string("SR\0\0", 4));

    // A source inside the block that growing replaces survives.
    file.SetSize(1020);
    file.Seek(1020);
    EXPECT_EQ(file.Write(file.GetData(), 8), 8);
    EXPECT_EQ(Contents(file).substr(1020), std::string("SR\0\0\0\0\0\0", 8));

    file.Close();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_TRUE(file.IsEnd());
}

TEST(SFileTest, LinesStringsAndText)
{
    const std::string text = "one\r\ntwo\nthree\rfour\r\r\n  five \t\r\n\n\r\nlast";
    StreamFile stream;
    stream.readLimit = 3;   // breaks and "\r\n" pairs fall across reads
    SFileMem memory;
    Put(memory, text);
    Put(stream.inner, text);
    for (SFile* file : {(SFile*)&memory, (SFile*)&stream}) {
        SString line;
        std::string lines;
        while (!file->IsEnd()) {
            bool ended = file->ReadLine(line);
            lines += std::string(ended ? "+" : "-") + line.Text() + "|";
        }
        EXPECT_EQ(lines, "+one|+two|+three|+four|+|+  five \t|+|+|-last|");
        file->Seek(22);
        EXPECT_TRUE(file->ReadLine(line, true));
        EXPECT_STREQ(line.Text(), "five");
        file->Seek(9);
        EXPECT_TRUE(file->ReadLineWithEnd(line));
        EXPECT_STREQ(line.Text(), "three\r\n");
    }

    std::string longLine(20000, 'w');
    Put(stream.inner, longLine + "\n" + std::string("abc\0\0skip\0def", 13));
    SString line;
    EXPECT_TRUE(stream.ReadLine(line));
    EXPECT_EQ(line.GetLength(), 20000);
    EXPECT_STREQ(stream.ReadString(true).Text(), "abc");
    EXPECT_STREQ(stream.ReadString(true).Text(), "");
    EXPECT_EQ(stream.ReadString(false).GetLength(), 0);
    EXPECT_STREQ(stream.ReadString(true).Text(), "def");
    EXPECT_EQ(stream.ReadString(true).GetLength(), 0);
    stream.Seek(20000);
    EXPECT_EQ(stream.ReadText().GetLength(), 14);
    stream.Seek(20011);
    EXPECT_STREQ(stream.ReadText(100).Text(), "def");
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

TEST(SFileTest, FindCountsPrefixAtEndAsMatch)
{
    SFileMem file;
    Put(file, "abcabdab");
    EXPECT_EQ(file.Find("abd", 3), 3);
    EXPECT_EQ(file.Tell(), 6);
    EXPECT_EQ(file.Find("abx", 3), 6);
    EXPECT_EQ(file.Tell(), 9);   // past the end, deliberately
    EXPECT_EQ(file.Write("!", 1), 1);
    EXPECT_EQ(Contents(file), std::string("abcabdab\0!", 10));
    file.Rewind();
    EXPECT_EQ(file.Find("zz", 2), -1);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.Find("a", 0), -1);

    // Against a plain search, on two letters so partial matches abound, and
    // across the stream's blocks.
    uint32_t seed = 1;
    auto next = [&seed] { return (seed = seed * 1664525u + 1013904223u) >> 16; };
    for (int round = 0; round < 300; round++) {
        std::string data, pattern;
        int size = round < 250 ? 1 + next() % 40 : 5000 + next() % 5000;
        while ((int)data.size() < size)
            data += (char)('a' + next() % 2);
        for (int n = 1 + next() % 6; n > 0; n--)
            pattern += (char)('a' + next() % 2);
        int from = next() % size, length = (int)pattern.size();
        StreamFile stream;
        stream.readLimit = 7;
        Put(stream.inner, data);
        Put(file, data);
        file.Seek(from);
        stream.Seek(from);
        int expect = NaiveFind(data, from, pattern);
        ASSERT_EQ(file.Find(pattern.data(), length), expect) << data << " / " << pattern;
        ASSERT_EQ(stream.Find(pattern.data(), length), expect) << data << " / " << pattern;
        if (expect >= 0) {
            EXPECT_EQ(stream.Tell(), std::min(expect + length, size));
        }
    }
}

TEST(SFileTest, CopyAndFill)
{
    std::string data = MixedData(2500, 3);
    StreamFile stream;
    SFileMem memory, target;
    Put(stream.inner, data);
    Put(memory, data);
    for (SFile* source : {(SFile*)&memory, (SFile*)&stream}) {
        source->Seek(100);
        target.Close();
        EXPECT_EQ(target.Copy(source, 5000), 2400);
        EXPECT_EQ(Contents(target), data.substr(100));
        EXPECT_TRUE(source->IsEnd());
        source->Seek(2000);
        EXPECT_EQ(target.Copy(source, 0), 0);
        EXPECT_EQ(target.Copy(source, 300), 300);
        EXPECT_EQ(source->Tell(), 2300);
    }
    EXPECT_EQ(target.Copy(&target), 0);
    StreamFile full;   // a destination that fills up ends the copy
    full.writeLimit = 1500;
    memory.Rewind();
    EXPECT_EQ(full.Copy(&memory), 1500);

    EXPECT_EQ(target.Fill('z', 250), 250);
    EXPECT_EQ(Contents(target).substr(2700), std::string(250, 'z'));
    EXPECT_EQ(target.Fill('z', -4), 0);
    // A short block stops the fill; its requested size still counts.
    full.inner.Close();
    full.writeLimit = 130;
    EXPECT_EQ(full.Fill('q', 1000), 200);
}

TEST(SFileCompressTest, RoundTripsMatchZlibChunkByChunk)
{
    for (int size : {0, 1, 99999, 100000, 100001, 250000}) {
        std::string raw = MixedData(size, (uint32_t)size + 11);
        for (bool copy : {false, true}) {
            SCOPED_TRACE(testing::Message() << size << (copy ? " by copy" : " in memory"));
            StreamFile stream;
            SFileMem memory, packed, unpacked;
            SFile* source = copy ? (SFile*)&stream : &memory;
            Put(copy ? stream.inner : memory, raw);
            int written = source->Compress(&packed);
            EXPECT_EQ(written, packed.Size());
            EXPECT_EQ(source->Tell(), size);
            if (size == 0)
                continue;
            ExpectChunkStream(Contents(packed), raw);
            Put(stream.inner, Contents(packed));
            packed.Rewind();
            EXPECT_EQ((copy ? (SFile*)&stream : &packed)->Uncompress(&unpacked), size);
            EXPECT_TRUE(Contents(unpacked) == raw);
        }
    }
    // From the middle, for a count; then a count above what remains.
    std::string raw = MixedData(300000, 5);
    SFileMem source, part, rest;
    Put(source, raw);
    source.Seek(50000);
    source.Compress(&part, 150000);
    EXPECT_EQ(source.Tell(), 200000);
    ExpectChunkStream(Contents(part), raw.substr(50000, 150000));
    source.Compress(&rest, 1 << 30);
    ExpectChunkStream(Contents(rest), raw.substr(200000));
    source.Rewind();
    EXPECT_EQ(source.Compress(&source), 0);
    EXPECT_EQ(source.Compress(nullptr), 0);
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
    for (bool copy : {false, true}) {
        StreamFile stream;
        SFileMem memory, packed, stopped, unpacked;
        SFile* source = copy ? (SFile*)&stream : &memory;
        Put(copy ? stream.inner : memory, raw);
        source->SetCompressProgress(Record);
        g_calls.clear();
        source->Compress(&packed, -1, 77);
        EXPECT_EQ(g_calls, (std::vector<int> {0, 400, 800}));

        // Stopping leaves what was written and the source after it.
        std::string p = Contents(packed);
        size_t first = 4 + 8 + LE32(p, 8), two = first + 8 + LE32(p, first + 4);
        for (int stop : {0, 2}) {
            source->Rewind();
            stopped.Close();
            g_calls.clear();
            g_stopAt = stop;
            EXPECT_EQ(source->Compress(&stopped, -1, 77), 0);
            EXPECT_EQ(source->Tell(), stop * 100000);
            EXPECT_EQ(Contents(stopped), p.substr(0, stop ? two : 4));
        }
        g_stopAt = -1;

        packed.Rewind();
        packed.SetUncompressProgress(Record);
        g_calls.clear();
        EXPECT_EQ(packed.Uncompress(&unpacked, 77), 250000);
        EXPECT_EQ(g_calls, (std::vector<int> {0, 333, 666}));
        packed.Rewind();
        unpacked.Close();
        g_calls.clear();
        g_stopAt = 1;
        EXPECT_EQ(packed.Uncompress(&unpacked, 77), 0);
        EXPECT_EQ(unpacked.Size(), 100000);
        g_stopAt = -1;
    }
}

std::string Chunk(uint32_t raw, uint32_t packed, const std::string& bytes = "")
{
    std::string s;
    for (uint32_t v : {raw, packed})
        for (int i = 0; i < 4; i++)
            s += (char)(v >> (8 * i));
    return s + bytes;
}

int UncompressText(const std::string& stream, bool copy, std::string* out = nullptr)
{
    StreamFile streamFile;
    SFileMem memory, target;
    Put(copy ? streamFile.inner : memory, stream);
    int n = (copy ? (SFile*)&streamFile : &memory)->Uncompress(&target);
    EXPECT_EQ(n, target.Size());
    if (out)
        *out = Contents(target);
    return n;
}

TEST(SFileCompressTest, CorruptStreamsEndEarly)
{
    std::string raw = MixedData(150000, 4), one = std::string("\x01\0\0\0", 4);
    SFileMem source, packed;
    Put(source, raw);
    source.Compress(&packed);
    std::string good = Contents(packed), out;
    size_t second = 4 + 8 + LE32(good, 8);
    for (bool copy : {false, true}) {
        // Cut anywhere: only whole chunks come out.
        for (size_t cut = 0; cut < good.size(); cut += (cut < 64 ? 1 : 997))
            ASSERT_EQ(UncompressText(good.substr(0, cut), copy), cut < second ? 0 : 100000) << cut;
        // Lengths beyond the buffers stop the stream at that chunk; the
        // largest they take are read.
        std::string head = good.substr(0, second);
        EXPECT_EQ(UncompressText(head + Chunk(100001, 4, "abcd"), copy), 100000);
        EXPECT_EQ(UncompressText(head + Chunk(5, 110013, std::string(110013, 'x')), copy), 100000);
        EXPECT_EQ(UncompressText(one + Chunk(100000, 110012, std::string(110012, 'g')), copy),
                  100000);
        // A count of 0xFFFFFFFF ends with the data, at once or after empty chunks.
        std::string empties = "\xFF\xFF\xFF\xFF";
        EXPECT_EQ(UncompressText(empties, copy), 0);
        for (int i = 0; i < 100000; i++)
            empties += Chunk(0, 0);
        EXPECT_EQ(UncompressText(empties, copy), 0);
        // Data zlib rejects is written at its raw length, as zeros; packed
        // bytes that end early write nothing.
        EXPECT_EQ(UncompressText(one + Chunk(1000, 6, "garbag"), copy, &out), 1000);
        EXPECT_EQ(out, std::string(1000, '\0'));
        EXPECT_EQ(UncompressText(one + Chunk(1000, 50, "short"), copy), 0);
    }
}

}   // namespace
