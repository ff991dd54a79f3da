#include "SFilePacker.h"

#include <stdint.h>
#include <zlib.h>

#include <memory>
#include <new>

#include "core/SLittleEndian.h"

namespace {

// A deflate stream at the default level, as compress sets one up; null when
// zlib cannot have its memory.
z_stream* NewStream()
{
    z_stream* stream = new (std::nothrow) z_stream();
    if (stream && deflateInit(stream, Z_DEFAULT_COMPRESSION) != Z_OK) {
        delete stream;
        stream = nullptr;
    }
    return stream;
}

void DeleteStream(void* stream)
{
    if (!stream)
        return;
    deflateEnd((z_stream*)stream);
    delete (z_stream*)stream;
}

}   // namespace

struct SFilePacker::Slot {
    enum { kFree, kWaiting, kTaken, kDone };

    std::unique_ptr<unsigned char[]> raw;      // kChunk bytes
    std::unique_ptr<unsigned char[]> packed;   // kHeader + kPacked bytes
    const unsigned char* input = nullptr;      // not owned: raw or the caller's memory
    int rawLength = 0;
    int packedLength = 0;   // header included
    unsigned sequence = 0;
    int state = kFree;   // guarded by the mutex while helpers run

    // stream may be null (no memory for one): compress then does the work.
    void Pack(z_stream* stream)
    {
        uLongf length = kPacked;
        if (stream) {
            // A reset stream gives the bytes compress gives: same level,
            // window and strategy, the whole chunk in one finishing call.
            deflateReset(stream);
            stream->next_in = (Bytef*)input;
            stream->avail_in = (uInt)rawLength;
            stream->next_out = packed.get() + kHeader;
            stream->avail_out = kPacked;
            deflate(stream, Z_FINISH);
            length = stream->total_out;
        } else {
            compress(packed.get() + kHeader, &length, input, (uLong)rawLength);
        }
        // The result code is not examined: the length is what zlib wrote,
        // and the buffer holds more than zlib's bound for a chunk.
        SLittleEndian::Put32(packed.get(), (uint32_t)rawLength);
        SLittleEndian::Put32(packed.get() + 4, (uint32_t)length);
        packedLength = kHeader + (int)length;
    }
};

SFilePacker::SFilePacker() = default;

SFilePacker::~SFilePacker()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_quit = true;
    }
    m_wakeHelper.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();   // each finishes the chunk in its hands first
    DeleteStream(m_ownStream);
}

bool SFilePacker::Prepare(bool threads)
{
    if (m_slotCount == 0) {
        const unsigned most = kMaxThreads;
        unsigned helpers = std::thread::hardware_concurrency();
        helpers = helpers < 1 ? 1 : helpers > most ? most : helpers;
        // Two chunks per helper keep each busy while the caller reads the next
        // and writes the oldest.
        int count = 2 * (int)helpers + 2;
        std::vector<Slot> slots(count);
        for (Slot& slot : slots) {
            // Zeroed, so a failing deflate never sends uninitialised bytes.
            slot.packed.reset(new (std::nothrow) unsigned char[kHeader + kPacked]());
            if (!slot.packed)
                return false;
        }
        m_slots.swap(slots);
        m_slotCount = count;
    }
    if (threads && m_threads.empty()) {
        int helpers = m_slotCount / 2 - 1;
        for (int i = 0; i < helpers; i++) {
            try {
                m_threads.emplace_back(&SFilePacker::Run, this);
            } catch (...) {
                break;   // fewer helpers, or none: TakeOldest packs then
            }
        }
    }
    return true;
}

unsigned char* SFilePacker::RawBuffer()
{
    if (!CanSubmit())
        return nullptr;
    // Allocated on first use: a caller that hands over its own memory never
    // needs these.
    Slot& slot = m_slots[(m_oldest + m_inFlight) % m_slotCount];
    if (!slot.raw)
        slot.raw.reset(new (std::nothrow) unsigned char[kChunk]);
    return slot.raw.get();
}

bool SFilePacker::Submit(const unsigned char* input, int rawLength)
{
    if (!CanSubmit() || !input || rawLength < 1 || rawLength > kChunk)
        return false;
    Slot& slot = m_slots[(m_oldest + m_inFlight) % m_slotCount];
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        slot.input = input;
        slot.rawLength = rawLength;
        slot.sequence = m_sequence++;
        slot.state = Slot::kWaiting;
    }
    m_inFlight++;
    m_wakeHelper.notify_one();
    return true;
}

const unsigned char* SFilePacker::TakeOldest(int* length)
{
    if (m_inFlight == 0)
        return nullptr;
    Slot& slot = m_slots[m_oldest];
    std::unique_lock<std::mutex> lock(m_mutex);
    // A slot never handed over would be waited for forever.
    if (slot.state == Slot::kFree)
        return nullptr;
    if (m_threads.empty() && slot.state == Slot::kWaiting) {
        if (!m_ownStream)
            m_ownStream = NewStream();
        slot.Pack((z_stream*)m_ownStream);
        slot.state = Slot::kDone;
    }
    m_wakeCaller.wait(lock, [&] { return slot.state == Slot::kDone; });
    *length = slot.packedLength;
    return slot.packed.get();
}

void SFilePacker::ReleaseOldest()
{
    if (m_inFlight == 0)
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_slots[m_oldest].state = Slot::kFree;
    }
    m_oldest = (m_oldest + 1) % m_slotCount;
    m_inFlight--;
}

// The waiting chunk handed over first, now marked as taken; null when none.
SFilePacker::Slot* SFilePacker::Claim()
{
    Slot* best = nullptr;
    for (Slot& slot : m_slots) {
        // Sequence numbers are compared by difference, so wrapping is harmless.
        if (slot.state == Slot::kWaiting && (!best || (int)(slot.sequence - best->sequence) < 0))
            best = &slot;
    }
    if (best)
        best->state = Slot::kTaken;
    return best;
}

void SFilePacker::Run()
{
    z_stream* stream = NewStream();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        Slot* job = nullptr;
        m_wakeHelper.wait(lock, [&] { return m_quit || (job = Claim()) != nullptr; });
        if (!job)
            break;
        lock.unlock();
        job->Pack(stream);
        lock.lock();
        job->state = Slot::kDone;
        m_wakeCaller.notify_all();
    }
    lock.unlock();
    DeleteStream(stream);
}
