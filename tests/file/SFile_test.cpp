// The shared file operations and the memory kind, each over memory and over
// a file read by copy.
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FileTestSupport.h"

namespace {

TEST(SFileMemTest, GrowthWritesSeeksAndReads)
{
    SFileMem file;
    for (int i = 1; i <= 3; i++) {
        file.Fill('x', 1000);
        EXPECT_EQ(file.GetCapacity(), (i * 1000 / 1024 + 1) * 1024);   // never doubled
    }

    file.Close();
    EXPECT_TRUE(file.WriteString("SRES", -1) == 4 && file.WriteString0("ab") == 3 &&
                file.WriteLine("") == 2);
    EXPECT_EQ(Contents(file), std::string("SRESab\0\r\n", 9));
    EXPECT_TRUE(file.Seek(-5) == 9 && file.Seek(10) == 9 && file.Skip(-4) == 5);
    char buffer[9] = "########";
    EXPECT_EQ(file.Read(buffer, 8), 4);
    EXPECT_EQ(file.Read(buffer + 5, 1), 0);
    EXPECT_EQ(std::string(buffer, 6), std::string("b\0\r\n##", 6));
    EXPECT_TRUE(file.IsEnd());

    // SetSize keeps the bytes, zeroes added ones and pulls the position in.
    ASSERT_TRUE(file.SetSize(2) && file.Tell() == 2);
    ASSERT_TRUE(file.SetSize(4));
    EXPECT_EQ(Contents(file), std::string("SR\0\0", 4));
    // A source inside the block that growing replaces survives.
    file.SetSize(1020);
    file.Seek(1020);
    EXPECT_EQ(file.Write(file.GetData(), 8), 8);
    EXPECT_EQ(Contents(file).substr(1020), std::string("SR\0\0\0\0\0\0", 8));
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

    Put(stream.inner, std::string(20000, 'w') + "\n" + std::string("abc\0\0skip\0def", 13));
    SString line;
    EXPECT_TRUE(stream.ReadLine(line));
    EXPECT_EQ(line.GetLength(), 20000);
    std::string strings;
    for (bool keep : {true, true, false, true, true})
        strings += std::string(stream.ReadString(keep).Text()) + "|";
    EXPECT_EQ(strings, "abc|||def||");
    stream.Seek(20000);
    EXPECT_EQ(stream.ReadText().GetLength(), 14);
    stream.Seek(20011);
    EXPECT_STREQ(stream.ReadText(100).Text(), "def");
}

TEST(SFileTest, FindCountsPrefixAtEndAsMatch)
{
    SFileMem file;
    Put(file, "abcabdab");
    EXPECT_TRUE(file.Find("abd", 3) == 3 && file.Tell() == 6);
    EXPECT_TRUE(file.Find("abx", 3) == 6 && file.Tell() == 9);   // past the end, deliberately
    EXPECT_EQ(file.Write("!", 1), 1);
    EXPECT_EQ(Contents(file), std::string("abcabdab\0!", 10));
    file.Rewind();
    EXPECT_TRUE(file.Find("zz", 2) == -1 && file.Tell() == 0 && file.Find("a", 0) == -1);

    // Against a plain search (a prefix of the pattern at the very end counts),
    // on two letters so partial matches abound, and across the stream's blocks.
    uint32_t seed = 1;
    auto next = [&seed] { return (seed = seed * 1664525u + 1013904223u) >> 16; };
    for (int round = 0; round < 300; round++) {
        std::string data, pattern;
        int size = round < 250 ? 1 + next() % 40 : 5000 + next() % 5000;
        while ((int)data.size() < size)
            data += (char)('a' + next() % 2);
        for (int n = 1 + next() % 6; n > 0; n--)
            pattern += (char)('a' + next() % 2);
        int from = next() % size, length = (int)pattern.size(), expect = -1;
        for (int c = from; c < size && expect < 0; c++)
            expect = data.compare(c, length, pattern, 0, size - c) == 0 ? c : -1;
        StreamFile stream;
        stream.readLimit = 7;
        Put(stream.inner, data);
        Put(file, data);
        file.Seek(from), stream.Seek(from);
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
    StreamFile stream, full;
    SFileMem memory, target;
    Put(stream.inner, data);
    Put(memory, data);
    for (SFile* source : {(SFile*)&memory, (SFile*)&stream}) {
        source->Seek(100);
        target.Close();
        EXPECT_EQ(target.Copy(source, 5000), 2400);
        EXPECT_EQ(Contents(target), data.substr(100));
        source->Seek(2000);
        EXPECT_TRUE(target.Copy(source, 0) == 0 && target.Copy(source, 300) == 300);
        EXPECT_EQ(source->Tell(), 2300);
    }
    full.writeLimit = 1500;   // a destination that fills up ends the copy
    memory.Rewind();
    EXPECT_EQ(full.Copy(&memory), 1500);

    EXPECT_EQ(target.Fill('z', 250), 250);
    EXPECT_EQ(Contents(target).substr(2700), std::string(250, 'z'));
    // A short block stops the fill; its requested size still counts.
    full.inner.Close();
    full.writeLimit = 130;
    EXPECT_EQ(full.Fill('q', 1000), 200);
}

TEST(SFileCompressTest, RoundTripsMatchZlibChunkByChunk)
{
    // 1.5 MB runs through more chunks than the packer has slots.
    for (int size : {0, 1, 99999, 100000, 100001, 250000, 1500000}) {
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
            ASSERT_TRUE(Contents(packed) == ChunkStream(raw));
            Put(stream.inner, Contents(packed));
            packed.Rewind();
            if (size > 0) {
                EXPECT_EQ((copy ? (SFile*)&stream : &packed)->Uncompress(&unpacked), size);
            }
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
    EXPECT_TRUE(Contents(part) == ChunkStream(raw.substr(50000, 150000)));
    source.Compress(&rest, 1 << 30);
    EXPECT_TRUE(Contents(rest) == ChunkStream(raw.substr(200000)));
    // A source cut short while it is packed: zeros stand in for what it lacks
    // (in a slot used before), so the chunks still add up to the size measured.
    StreamFile cut;
    Put(cut.inner, raw = MixedData(1450000, 3));
    cut.missing = 50000;
    rest.Close();
    EXPECT_TRUE(cut.Compress(&rest) > 0 &&
                Contents(rest) == ChunkStream(raw + std::string(50000, '\0')));
}

// The offset behind the first chunks of a stream.
size_t ChunksEnd(const std::string& stream, int chunks)
{
    size_t at = 4;
    for (; chunks > 0; chunks--) {
        const unsigned char* p = (const unsigned char*)stream.data() + at + 4;
        at += 8 + (p[0] | p[1] << 8 | p[2] << 16);
    }
    return at;
}

std::vector<int> g_calls;
int g_stopAt = -1;
// Records a progress call; stops at call g_stopAt.
bool Record(int thousandths, int value)
{
    EXPECT_EQ(value, 77);
    g_calls.push_back(thousandths);
    return (int)g_calls.size() - 1 != g_stopAt;
}

TEST(SFileCompressTest, ProgressReportsAndStops)
{
    // Stopping leaves what was written, and the packing source after it
    // although chunks were read ahead.
    std::string raw = MixedData(250000, 9), p = ChunkStream(raw);
    SFileMem source, packed, out;
    Put(source, raw);
    Put(packed, p);
    source.SetCompressProgress(Record);
    packed.SetUncompressProgress(Record);
    const int packing[] = {0, 400, 800}, unpacking[] = {0, 333, 666};
    for (int stop : {-1, 0, 2}) {
        g_calls.clear(), g_stopAt = stop, source.Rewind(), out.Close();
        EXPECT_EQ(source.Compress(&out, -1, 77), stop < 0 ? (int)p.size() : 0);
        EXPECT_EQ(source.Tell(), stop < 0 ? 250000 : stop * 100000);
        EXPECT_EQ(Contents(out), stop < 0 ? p : p.substr(0, ChunksEnd(p, stop)));
        EXPECT_EQ(g_calls, std::vector<int>(packing, packing + (stop < 0 ? 3 : stop + 1)));
    }
    for (int stop : {-1, 1}) {
        g_calls.clear(), g_stopAt = stop, packed.Rewind(), out.Close();
        EXPECT_EQ(packed.Uncompress(&out, 77), stop < 0 ? 250000 : 0);
        EXPECT_EQ(out.Size(), stop < 0 ? 250000 : 100000);
        EXPECT_EQ(g_calls, std::vector<int>(unpacking, unpacking + (stop < 0 ? 3 : stop + 1)));
    }
}

std::string Chunk(uint32_t raw, uint32_t packed, const std::string& bytes = "")
{
    return LE32(raw) + LE32(packed) + bytes;
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
    std::string good = ChunkStream(MixedData(150000, 4)), one = LE32(1), out;
    size_t second = ChunksEnd(good, 1);
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
        std::string empties = LE32(0xFFFFFFFFu);
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
    // Empty chunks of full raw length: the total stops short of INT_MAX.
    std::string huge = LE32(30000);
    for (int i = 0; i < 30000; i++)
        huge += Chunk(100000, 0);
    SFileMem packed;
    StreamFile sink;
    sink.discard = true;
    Put(packed, huge);
    EXPECT_EQ(packed.Uncompress(&sink), 21474 * 100000);
}

}   // namespace
