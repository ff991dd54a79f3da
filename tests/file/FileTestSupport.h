// Helpers shared by the file tests: a file read by copy, and the chunk
// stream as zlib gives it.
#pragma once

#include <stdint.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "file/SFileMem.h"

// Hides a memory file behind the plain read interface, so the paths the disk
// kind takes (reading by copy, scanning in blocks) run without a disk.
class StreamFile : public SFile {
public:
    SFileMem inner;
    int readLimit = 1 << 30;   // most bytes one Read delivers
    int writeLimit = -1;       // total bytes accepted; -1 = no limit
    bool discard = false;      // accept every write and keep nothing
    int missing = 0;           // bytes Size() claims past the content: a file cut while read

    bool IsOpen() const override { return inner.IsOpen(); }
    void Close() override { inner.Close(); }
    int Write(const void* buffer, int count) override
    {
        if (discard)
            return count;
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
    int Size() override { return inner.Size() + missing; }
};

inline std::string LE32(uint32_t v)
{
    char b[4] = {(char)v, (char)(v >> 8), (char)(v >> 16), (char)(v >> 24)};
    return std::string(b, 4);
}

// Words mixed with noise, so chunks neither vanish nor stay raw and a chunk
// boundary in the wrong place changes the packed output.
inline std::string MixedData(int size, uint32_t seed)
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

// The chunk stream of raw: chunks of 100000 bytes, each zlib's compress at
// the default level; empty for no bytes.
inline std::string ChunkStream(const std::string& raw)
{
    if (raw.empty())
        return "";
    std::string out = LE32((uint32_t)((raw.size() + 99999) / 100000));
    for (size_t done = 0; done < raw.size(); done += 100000) {
        size_t n = raw.size() - done < 100000 ? raw.size() - done : 100000;
        std::vector<Bytef> packed(compressBound((uLong)n));
        uLongf length = (uLongf)packed.size();
        compress(packed.data(), &length, (const Bytef*)raw.data() + done, (uLong)n);
        out += LE32((uint32_t)n) + LE32((uint32_t)length) +
            std::string((const char*)packed.data(), length);
    }
    return out;
}

inline std::string Contents(SFileMem& file)
{
    return std::string((const char*)file.GetData(), (size_t)file.Size());
}

// Empties file, writes bytes and rewinds.
inline void Put(SFileMem& file, const std::string& bytes)
{
    file.Close();
    file.Write(bytes.data(), (int)bytes.size());
    file.Rewind();
}

#ifdef _WIN32
#include <windows.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

// Each test works in a fresh folder below the temporary folder (root, ending
// in "\\"), removed afterwards; the current folder is restored.
class TempFolderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        static int serial = 0;
        GetCurrentDirectoryA(MAX_PATH, m_oldCurrent);
        root = (std::filesystem::temp_directory_path() / "vxfile").string() +
            std::to_string(GetCurrentProcessId()) + "_" + std::to_string(++serial) + "\\";
        ASSERT_TRUE(std::filesystem::create_directories(root));
    }
    void TearDown() override
    {
        SetCurrentDirectoryA(m_oldCurrent);
        std::error_code error;
        std::filesystem::remove_all(root, error);
    }
    std::string Path(const std::string& relative) const { return root + relative; }
    // Writes bytes at root + relative, creating the folders on the way.
    void Put(const std::string& relative, const std::string& bytes) const
    {
        std::filesystem::create_directories(std::filesystem::path(Path(relative)).parent_path());
        std::ofstream(Path(relative), std::ios::binary) << bytes;
    }
    std::string Get(const std::string& relative) const
    {
        SFileMem file;
        return file.LoadFile(Path(relative).c_str()) ? Contents(file) : "<missing>";
    }

    std::string root;

private:
    char m_oldCurrent[MAX_PATH];
};
#endif
