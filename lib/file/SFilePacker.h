// SFilePacker: the compressing side of the chunk stream. Chunks of raw bytes
// go in, in order, and come out packed, in the same order; in between they
// are packed on helper threads, one per processor (at most kMaxThreads).
// Each thread keeps one deflate stream for its whole life and resets it for
// every chunk, so a chunk comes out exactly as zlib's compress gives it at the
// default level, without setting up and freeing the deflate state each time.
//
// The caller alone reads the raw bytes and writes the packed ones, so the
// threads do nothing but compress. Threads and buffers live as long as the
// object: one packer serves every file of a package.
//
// Memory is bounded by the slots: two chunks of raw and packed bytes per
// helper and two more (about 1.3 MB with two processors), plus one deflate
// state per helper. If no thread can be started, the caller packs each chunk
// itself when it takes it. Nothing throws.
#pragma once

#include <memory>
#include <thread>
#include <vector>

class SFile;

class SFilePacker {
public:
    enum {
        kChunk = 100000,    // raw bytes per chunk, at most
        kPacked = 110012,   // packed bytes per chunk, at most (above zlib's bound)
        kHeader = 8,        // raw length + packed length, 32-bit little-endian
        kMaxThreads = 8,
    };

    SFilePacker();
    // Waits for chunks being packed, stops the threads and frees the buffers.
    ~SFilePacker();
    SFilePacker(const SFilePacker&) = delete;
    SFilePacker& operator=(const SFilePacker&) = delete;

    // Allocates the buffers and, with threads, starts the helpers (harmless
    // when already done). False when memory runs out.
    bool Prepare(bool threads);

    // True while a slot is free for Submit.
    bool CanSubmit() const { return m_inFlight < m_slotCount; }
    // The raw buffer (kChunk bytes) of the slot the next Submit takes; null
    // when no slot is free, Prepare has not succeeded or memory runs out.
    unsigned char* RawBuffer();
    // Hands over the next chunk: rawLength bytes (1 to kChunk) at input,
    // which is RawBuffer() or memory that stays unchanged until the chunk is
    // taken back. False when no slot is free.
    bool Submit(const unsigned char* input, int rawLength);
    // Reads rawLength bytes (1 to kChunk) from source into the next slot and
    // hands them over; a source that comes up short sends zeros for what it
    // lacks. False when no slot is free or memory runs out.
    bool SubmitFrom(SFile* source, int rawLength);
    // Waits for the oldest chunk in flight and returns its packed form: the
    // 8-byte header followed by the zlib stream; *length is the whole size.
    // Null when nothing is in flight, or when the oldest slot was never
    // handed over (a caller out of step), rather than waiting forever.
    const unsigned char* TakeOldest(int* length);
    // Frees the slot of the chunk TakeOldest returned.
    void ReleaseOldest();

private:
    struct Slot;
    struct _SSync;
    void Run();
    Slot* Claim();

    std::vector<Slot> m_slots;   // owned buffers, one ring of m_slotCount
    int m_slotCount = 0;
    int m_oldest = 0;              // slot of the oldest chunk in flight
    int m_inFlight = 0;            // touched by the caller only
    unsigned m_sequence = 0;       // number of the next chunk handed over
    void* m_ownStream = nullptr;   // owned deflate stream for packing without helpers
    std::vector<std::thread> m_threads;
    std::unique_ptr<_SSync> m_sync;    // guards the slots' states, m_awaited and m_quit
    const Slot* m_awaited = nullptr;   // the slot the caller sleeps on, if it does
    bool m_quit = false;
};
