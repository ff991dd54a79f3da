// SFile: the abstract byte stream under every file of the library. A disk file
// (SFilePath) and a memory file (SFileMem) implement the virtual operations;
// the shared operations on top of them (lines, terminated strings, copying,
// filling, chunked compression) live here.
//
// Sizes, counts and positions are signed 32-bit; files above 2 GB are outside
// the design. Nothing here throws, shows a message or logs.
#pragma once

#include "core/SString.h"

// Progress callback of Compress and Uncompress: progress in thousandths (0 to
// 1000, truncated) and the caller's value. Answer true to go on, false to stop.
typedef bool (*SFileProgress)(int thousandths, int value);

class SFile {
public:
    SFile();
    // Derived destructors close the file.
    virtual ~SFile();

    SFile(const SFile&) = delete;
    SFile& operator=(const SFile&) = delete;

    // True while a stream (disk) or a block (memory) is open.
    virtual bool IsOpen() const = 0;
    // Closes the file; harmless when already closed.
    virtual void Close() = 0;

    // Writes count bytes at the current position and moves past them. Returns
    // the number written: 0 when count is below 1, buffer is null or the file
    // cannot take the bytes (closed disk file, memory exhausted).
    virtual int Write(const void* buffer, int count) = 0;
    // Writes length bytes of text without a terminator; a negative length
    // means strlen(text). A null text writes nothing and returns 0.
    int WriteString(const char* text, int length = -1);
    // Writes the text and its 0 byte (strlen + 1 bytes); a null text counts
    // as "" and writes the 0 byte alone. Returns the bytes written.
    int WriteString0(const char* text);
    // Writes the text (when non-empty) and then "\r\n". Returns the bytes written.
    int WriteLine(const char* text);

    // Reads up to length bytes (negative = everything to the end) into a
    // string. Empty at the end or when closed.
    SString ReadText(int length = -1);
    // Reads up to count bytes into buffer and returns the number read. Returns
    // 0 without touching the buffer when count is below 1, buffer is null, or
    // the position is at (or past) the end.
    virtual int Read(void* buffer, int count) = 0;
    // Reads one line. A line ends at "\r\n", at a lone "\n" or at a lone "\r";
    // the break is consumed and is not part of the line. Every other byte,
    // including 0, belongs to the line. With trim, spaces, tabs, "\r" and "\n"
    // are removed from both ends of the line. Returns true when a line break
    // ended the line, false when the end of the file did (the line then holds
    // the last unterminated bytes, possibly none).
    bool ReadLine(SString& line, bool trim = false);
    // ReadLine without trimming; when a line break ended the line, "\r\n" is
    // appended to it (whatever break the file used). Returns as ReadLine.
    bool ReadLineWithEnd(SString& line);
    // Reads bytes up to and including the next 0 byte, or to the end. Returns
    // them without the 0 when keep is true; with keep false the bytes are
    // skipped and the result is empty. Empty at the end.
    SString ReadString(bool keep = true);

    // Moves to an absolute position; a negative position or one past the size
    // goes to the end. Returns the new position, or the current one when the
    // move fails.
    virtual int Seek(int position) = 0;
    // The current position; the size when the position cannot be told.
    virtual int Tell() = 0;
    // Sets the file's length to size (growing or cutting). The disk kind
    // moves to size; the memory kind keeps its position unless it lay past
    // the new end. False when the length cannot be set (see the kinds).
    virtual bool SetSize(int size) = 0;
    // The length in bytes; 0 when closed. Leaves the position unchanged.
    virtual int Size() = 0;
    // Size() - Tell(); can be negative after Find moved past the end.
    int Remaining();
    // True when closed or when the position is at (or past) the size.
    virtual bool IsEnd();
    // Seek(Tell() + count). Returns as Seek.
    int Skip(int count);
    // Seek(0). Returns as Seek.
    int Rewind();

    // Searches forward from the current position for the byte pattern. At
    // each candidate the pattern is compared byte by byte; reaching the end of
    // the data in the middle of the comparison counts as a match, so a prefix
    // of the pattern at the very end is found. On a match the position moves
    // to candidate + length and the candidate is returned. -1 for a length
    // below 1, a null pattern, or no candidate before the end. The memory kind
    // may leave the position past the end; the disk kind stops at the end.
    // Linear in the bytes searched.
    virtual int Find(const void* pattern, int length);

    // Appends bytes of source from its current position: a negative count, or
    // one above source->Remaining(), means all that remains. Works in blocks
    // of 1000 bytes, written straight from the source's memory when it is
    // memory-backed. Returns the total written; 0 for a null source, the file
    // itself as source, or nothing to copy. Stops at a block that cannot be
    // read or written whole.
    int Copy(SFile* source, int count = -1);
    // Writes count copies of byte in blocks of 100. Stops at the first short
    // block write; the result then includes that block's requested size.
    // 0 when count is below 1.
    int Fill(unsigned char byte, int count);

    // Writes this file's bytes from the current position (count as for Copy)
    // to destination as a chunk stream: the chunk count, then per chunk of at
    // most 100000 raw bytes its raw length, its packed length (each 32-bit
    // little-endian) and the bytes zlib's compress gives at the default
    // level. Returns all bytes written, counts and headers included. Returns
    // 0 and writes nothing for a null destination, the file itself as
    // destination, or 0 bytes to compress; returns 0 when the progress
    // callback stops it (the bytes already written stay, and this file's
    // position is left after the last chunk written), or when memory runs
    // out. A source that delivers fewer bytes than it reported has the
    // missing bytes sent as zeros. Memory is bounded by the chunk buffers;
    // independent chunks are packed on helper threads (SFilePacker), the
    // output is the same. A total past INT_MAX reads as INT_MAX.
    int Compress(SFile* destination, int count = -1, int value = 0);
    // Reads a chunk stream from the current position and writes the raw
    // bytes to destination. Returns the bytes written: 0 for a null
    // destination, the file itself as destination, or a chunk count that
    // cannot be read whole; 0 when the progress callback stops it (the bytes
    // already written stay). Corrupt data ends the stream at the chunk where
    // it shows, with nothing more written: a header that cannot be read whole,
    // a raw length above 100000, a packed length above 110012 or packed bytes
    // that end early; so does a chunk that would take the total past
    // INT_MAX. A chunk zlib cannot unpack is still written at its raw length
    // (its bytes then are whatever zlib produced, or zeros).
    int Uncompress(SFile* destination, int value = 0);

    // Progress callbacks, called before each chunk with the value given to
    // Compress / Uncompress; null (the default) disables them.
    void SetCompressProgress(SFileProgress progress) { m_compressProgress = progress; }
    void SetUncompressProgress(SFileProgress progress) { m_uncompressProgress = progress; }

    // True for memory files: their current bytes can be read in place at
    // GetMemory() + Tell().
    bool IsMemory() const { return m_memory; }
    // The base of the bytes of a memory file (null when it holds no block);
    // null for disk files.
    virtual const unsigned char* GetMemory() const { return nullptr; }

protected:
    // Set by the memory kind's constructor.
    bool m_memory = false;

private:
    SFileProgress m_compressProgress = nullptr;     // not owned (a function)
    SFileProgress m_uncompressProgress = nullptr;   // not owned (a function)
};
