#include "SResource.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <zlib.h>

#include <deque>

#include "SFilePacker.h"
#include "SFilePath.h"
#include "core/SLittleEndian.h"

namespace {

const int kChunk = 100000;
const int kChunkHeader = 8;
// A stored entry is copied in blocks of this size.
const int kStoredBlock = 1 << 20;

// The object whose Write or ExtractAll runs on this thread, for the chunk
// progress callback (which carries only a 32-bit value).
thread_local SResource* t_current = nullptr;

struct _SCurrent {
    explicit _SCurrent(SResource* resource) : previous(t_current) { t_current = resource; }
    ~_SCurrent() { t_current = previous; }
    SResource* previous;
};

// The most bytes an entry's data can take: the file itself, or its chunk
// stream with every chunk at zlib's bound.
int64_t DataBound(uint32_t size, bool compress)
{
    if (!compress || size == 0)
        return size;
    int64_t chunks = ((int64_t)size + kChunk - 1) / kChunk;
    return 4 + chunks * (kChunkHeader + (int64_t)compressBound(kChunk));
}

}   // namespace

SResource::SResource() = default;

SResource::~SResource() = default;

void SResource::Reset()
{
    m_path.Set(nullptr);
    m_compressed = false;
    m_index.Reset();
}

bool SResource::SetFolder(const char* folder)
{
    Reset();
    return m_path.SetFolder(folder) != SPATH_INVALID;
}

bool SResource::IsWriter() const
{
    return m_path.IsValid() && !m_path.HasName();
}

bool SResource::Add(const char* name, void* value)
{
    if (!IsWriter() || !name || !*name || m_index.Find(name) >= 0)
        return false;
    return m_index.Append(name, value, -1, 0) >= 0;
}

void SResource::SetProgress(SResourceProgress progress, int value)
{
    m_progress = progress;
    m_progressValue = value;
}

bool SResource::Report(int done, int fraction, int count)
{
    if (!m_progress || m_stopped || count <= 0)
        return !m_stopped;
    int thousandths = (int)(((int64_t)done * 1000 + fraction) / count);
    if (!m_progress(thousandths, m_progressValue))
        m_stopped = true;
    return !m_stopped;
}

bool SResource::ChunkProgress(int thousandths, int value)
{
    (void)value;
    SResource* self = t_current;
    return !self || self->Report(self->m_entryDone, thousandths, self->m_entryCount);
}

bool SResource::Write(SFile* destination, bool compress)
{
    if (!destination || !IsWriter())
        return false;
    _SCurrent current(this);
    m_stopped = false;
    unsigned char mode[4] = {(unsigned char)(compress ? 1 : 0), 0, 0, 0};
    if (destination->WriteString("SRES", 4) != 4 || destination->Write(mode, 4) != 4)
        return false;
    m_entryCount = m_index.GetCount();
    if (compress ? !WriteCompressed(destination) : !WriteStored(destination))
        return false;
    unsigned char marker[4];
    SLittleEndian::Put32(marker, SResourceIndex::kEndMarker);
    return destination->Write(marker, 4) == 4;
}

bool SResource::WriteRecord(SFile* destination, int index, uint32_t size, int64_t dataBound)
{
    m_entryDone = index;
    if (!Report(index, 0, m_entryCount))
        return false;
    // Every position in the archive must stay addressable, the end marker
    // included, or the length back-patch would land in the wrong place.
    const char* name = m_index.GetName(index);
    int64_t nameBytes = (int64_t)strlen(name) + 1;
    if (destination->Tell() + 4 + nameBytes + dataBound + 4 > INT_MAX)
        return false;
    unsigned char length[4];
    SLittleEndian::Put32(length, size);
    return destination->Write(length, 4) == 4 && destination->WriteString0(name) == (int)nameBytes;
}

bool SResource::WriteStored(SFile* destination)
{
    const SString root = m_path.Full();
    for (int i = 0; i < m_entryCount; i++) {
        SString path = root + m_index.GetName(i);
        // 0xFFFFFFFF is a file that cannot be measured; from 2 GB on a size
        // no longer fits the archive's signed positions. Both are left out.
        uint32_t size = m_disk.FileSizeByStream(path.Text());
        if (size >= 0x80000000u)
            continue;
        if (!WriteRecord(destination, i, size, size))
            return false;
        // A file that cannot be opened ends the write after its record's
        // length and name, with no end marker.
        SFilePath source;
        if (!source.Open(path.Text(), false, false, true, true))
            return false;
        // A file that changed size since it was measured would no longer
        // match its length field.
        if (destination->Copy(&source) != (int)size || source.Remaining() != 0)
            return false;
    }
    return true;
}

namespace {

// One entry of a compressed write between its measuring and its record.
struct _SPlanned {
    int index;
    uint32_t size;   // as measured
    int count;       // bytes to pack: the size of the file once open
    int chunks;      // 0 for an empty file, which gets no stream
    bool unopened;   // measured but could not be opened
};

}   // namespace

// The files are read ahead of the writing, across entries, so the packer's
// threads always have chunks in hand; the records and chunks are written in
// order, each entry's length field patched once its stream is out. The bytes
// are those of one SFile::Compress per file.
bool SResource::WriteCompressed(SFile* destination)
{
    SFilePacker packer;
    if (!packer.Prepare(true))
        return false;
    const SString root = m_path.Full();
    std::deque<_SPlanned> planned;
    SFilePath source;
    int next = 0;         // the next entry to measure
    int chunksLeft = 0;   // of the open source
    int bytesLeft = 0;
    bool readerDone = m_entryCount == 0;

    // Measures and opens entries and hands over their chunks while slots are
    // free. Empty entries take no slot; a few of them are planned at most.
    auto readAhead = [&]() -> bool {
        while (!readerDone && (chunksLeft > 0 ? packer.CanSubmit() : planned.size() < 64)) {
            if (chunksLeft == 0) {
                if (next >= m_entryCount) {
                    readerDone = true;
                    break;
                }
                int index = next++;
                SString path = root + m_index.GetName(index);
                uint32_t size = m_disk.FileSizeByStream(path.Text());
                if (size >= 0x80000000u)
                    continue;   // left out, as in stored mode
                _SPlanned plan = {index, size, 0, 0, false};
                if (!source.Open(path.Text(), false, false, true, true)) {
                    plan.unopened = readerDone = true;
                } else {
                    plan.count = source.Remaining();
                    plan.chunks = plan.count / kChunk + (plan.count % kChunk ? 1 : 0);
                    chunksLeft = plan.chunks;
                    bytesLeft = plan.count;
                }
                planned.push_back(plan);
                continue;
            }
            int rawLength = bytesLeft < kChunk ? bytesLeft : kChunk;
            if (!packer.SubmitFrom(&source, rawLength))
                return false;
            bytesLeft -= rawLength;
            if (--chunksLeft == 0)
                source.Close();
        }
        return true;
    };

    for (;;) {
        if (!readAhead())
            return false;
        if (planned.empty())
            return true;
        const _SPlanned plan = planned.front();
        planned.pop_front();
        uint32_t bound = plan.count > (int)plan.size ? (uint32_t)plan.count : plan.size;
        int64_t start = destination->Tell();
        if (!WriteRecord(destination, plan.index, plan.size, DataBound(bound, true)) ||
            plan.unopened)
            return false;
        int64_t written = 0;
        if (plan.chunks > 0) {
            unsigned char header[4];
            SLittleEndian::Put32(header, (uint32_t)plan.chunks);
            if (destination->Write(header, 4) != 4)
                return false;
            written = 4;
        }
        for (int chunk = 0; chunk < plan.chunks; chunk++) {
            if (!readAhead())
                return false;
            int length = 0;
            const unsigned char* packed = packer.TakeOldest(&length);
            int64_t offset = (int64_t)chunk * kChunk;
            if (!packed || !Report(plan.index, (int)(offset * 1000 / plan.count), m_entryCount) ||
                destination->Write(packed, length) != length)
                return false;
            packer.ReleaseOldest();
            written += length;
        }
        // The length field held the raw size; it gets the stream's size.
        int end = destination->Tell();
        unsigned char length[4];
        SLittleEndian::Put32(length, (uint32_t)written);
        if (end != start + 4 + (int64_t)strlen(m_index.GetName(plan.index)) + 1 + written ||
            destination->Seek((int)start) != (int)start || destination->Write(length, 4) != 4 ||
            destination->Seek(end) != end)
            return false;
    }
}

bool SResource::Open(const char* path, int startOffset)
{
    Reset();
    if (!path || m_path.Set(path) == SPATH_INVALID || !m_path.HasName()) {
        Reset();
        return false;
    }
    SFilePath file;
    if (!file.Open(m_path.Full().Text(), false, false, true, true)) {
        Reset();
        return false;
    }
    if (startOffset > 0)
        file.Seek(startOffset);
    // The file is closed on return; Extract opens it again.
    return m_index.Read(file, &m_compressed);
}

bool SResource::Extract(SFile* destination, const char* name, bool rewind)
{
    if (!destination || !m_path.IsValid())
        return false;
    int index = m_index.Find(name);
    if (index < 0)
        return false;
    return ExtractEntry(destination, index, rewind);
}

bool SResource::ExtractEntry(SFile* destination, int index, bool rewind)
{
    SFilePath source;
    if (IsWriter()) {
        SString path = m_path.Full() + m_index.GetName(index);
        if (!source.Open(path.Text(), false, false, true, true))
            return false;
        destination->Copy(&source);
    } else {
        if (!source.Open(m_path.Full().Text(), false, false, true, true))
            return false;
        source.Seek(m_index.GetOffset(index));
        if (m_compressed) {
            if (m_progress)
                source.SetUncompressProgress(ChunkProgress);
            // The stated length is not consulted: the chunk stream ends
            // itself, or at the first header beyond the buffers.
            source.Uncompress(destination, index);
            if (m_stopped)
                return false;
        } else if (!CopyStored(destination, &source, m_index.GetLength(index))) {
            return false;
        }
    }
    if (rewind)
        destination->Rewind();
    return true;
}

bool SResource::CopyStored(SFile* destination, SFile* source, uint32_t length)
{
    // In blocks, so that a large entry is asked about between them as a
    // compressed one is between its chunks.
    for (uint32_t done = 0; done < length;) {
        uint32_t rest = length - done;
        int step = rest < (uint32_t)kStoredBlock ? (int)rest : kStoredBlock;
        int copied = destination->Copy(source, step);
        done += (uint32_t)copied;
        if (copied < step)
            break;
        if (t_current == this && done < length &&
            !Report(m_entryDone, (int)((uint64_t)done * 1000 / length), m_entryCount))
            return false;
    }
    return true;
}

bool SResource::ExtractAll(const char* folder, SStringArray* failures)
{
    if (!m_path.IsValid() || !folder || !*folder)
        return false;
    SPath target;
    if (target.SetFolder(folder) == SPATH_INVALID)
        return false;
    const SString root = target.Full();
    if (!m_disk.CreateFolder(root.Text(), true))
        return false;

    _SCurrent current(this);
    m_stopped = false;
    const int count = m_index.GetCount();
    m_entryCount = count;
    // Entries of one folder usually follow each other: a parent checked once
    // is not asked about again.
    SString knownParent;
    for (int i = 0; i < count; i++) {
        m_entryDone = i;
        if (!Report(i, 0, count))
            return false;
        const char* name = m_index.GetName(i);
        SString path = root + name;
        SString parent;
        if (target.Set(path.Text()) != SPATH_INVALID) {
            parent = target.Parent();
            // Problems are reported by the target's full path.
            path = target.Full();
        }
        if (parent.IsEmpty() ||
            (parent != knownParent && !m_disk.IsFolder(parent.Text()) &&
             !m_disk.CreateFolder(parent.Text(), true))) {
            if (failures)
                failures->Add(path.Text());
            continue;
        }
        knownParent = parent;
        SFilePath file;
        bool done = file.Open(path.Text(), true, true, true, false) &&
            ExtractEntry(&file, m_index.Find(name), true);
        file.Close();
        if (m_stopped) {
            // A file cut short by the stop is removed, not left truncated.
            m_disk.Remove(path.Text());
            return false;
        }
        if (!done && failures)
            failures->Add(path.Text());
    }
    return true;
}
