// SResource: the update package archive, a folder tree of files kept under
// their relative names in one file (layout in SResourceIndex.h). Pointed at a
// folder with SetFolder it is a writer whose entries are files on disk;
// pointed at an archive with Open it is a reader. Entry data is stored as is
// or as a chunk stream (SFile::Compress); no checksum, time stamp or
// attribute is kept.
//
// Every operation reports failure only by its result. The object keeps no
// file open between calls: Open records where each entry's data lies and
// every Extract opens the archive again.
//
// Files of 2 GB and more, and archives that would grow past 2 GB, are outside
// the design: the writer leaves such a file out (as if it could not be
// measured) and fails rather than write an archive it cannot address.
#pragma once

#include <stdint.h>

#include "SDisk.h"
#include "SFile.h"
#include "SPath.h"
#include "SResourceIndex.h"
#include "core/SStringArray.h"

// Progress of Write and ExtractAll: thousandths of the entries done (a large
// entry's chunks count in between) and the caller's value. Answer false to
// stop the operation, which then fails.
typedef bool (*SResourceProgress)(int thousandths, int value);

class SResource {
public:
    SResource();
    virtual ~SResource();
    SResource(const SResource&) = delete;
    SResource& operator=(const SResource&) = delete;

    // Empties the object: no path, stored mode, no entries (values released).
    void Reset();

    // Reset, then makes folder (in folder form) the root whose files are
    // added. False when the folder text is empty or not a valid path.
    bool SetFolder(const char* folder);

    // Writer only: appends the file root + name as an entry. value must come
    // from malloc() or be null; the object owns it. False, keeping nothing,
    // when there is no root folder (empty, or an archive is open), for a null
    // or empty name, or when the name is already present ignoring case.
    // Nothing is measured here.
    bool Add(const char* name, void* value = nullptr);

    // Writer only: writes the archive to destination at its current position:
    // "SRES", the mode word (1 with compress, else 0), one record per added
    // file in order, the end marker. A file that cannot be measured when its
    // turn comes (gone, or 2 GB and more) is left out silently and stays in
    // the list. Compressed data is read straight from the disk files, chunk
    // by chunk, ahead of the writing and across files, while one SFilePacker
    // (threads and buffers for the whole archive) packs it; the bytes are
    // those of SFile::Compress file by file. Files are measured and opened
    // ahead, so the progress report of an entry comes after that in compress
    // mode. False for a null destination or no root folder; false at once,
    // leaving what was written and no end marker, when a measured file cannot
    // be opened, the destination refuses bytes or would pass 2 GB, or the
    // progress callback stops it.
    bool Write(SFile* destination, bool compress);

    // Reset, then reads the index of the archive at path, which begins at
    // startOffset (a seek past the end lands at the end). False, leaving the
    // object empty, for a path that is empty or names a folder, or a file that
    // cannot be opened for shared reading. False, keeping the path and the
    // entries read so far, when the magic is wrong or the end marker is
    // missing.
    bool Open(const char* path, int startOffset = 0);

    // Copies the first entry named name (ignoring case) into destination at
    // its current position; with rewind, destination is then moved to its
    // start. A reader inflates a compressed entry's chunk stream (its stated
    // length is not consulted; a stream cut short or with chunk headers beyond
    // the buffers ends there as corrupt data, and an empty entry reads the
    // next bytes as its chunk count, deliberately) or copies a stored entry's
    // bytes. A writer copies the file root + name. False for a null
    // destination, no path, an unknown name, or a file that cannot be opened.
    bool Extract(SFile* destination, const char* name, bool rewind);

    // Unpacks every entry into folder (created with its parents). Each
    // entry's target is folder + name as it stands; its parent folders are
    // created, it is opened "w+b" unshared (an existing file is overwritten)
    // and the first entry of that name is extracted into it. A target that
    // fails at any step has its full path appended to failures (may be null)
    // and the rest goes on; entries unpacked before stay. True after the last
    // entry, even when some failed. False, leaving failures untouched, for no
    // path, an empty folder text or a folder that cannot be created, and
    // when the progress callback stops it; the entry it stopped in is then
    // removed, not left cut short.
    bool ExtractAll(const char* folder, SStringArray* failures = nullptr);

    // The root folder (writer) or the archive's path (reader).
    const SPath& GetPath() const { return m_path; }
    // The mode read by Open (false for a writer).
    bool IsCompressed() const { return m_compressed; }
    // The entries in order: names, data positions and stated data lengths
    // (positions are -1 and lengths 0 for a writer's entries).
    const SResourceIndex& GetIndex() const { return m_index; }

    // Progress reports of Write and ExtractAll; null (the default) disables.
    // The callback is also their stop hook: it is asked before every entry,
    // every chunk of a compressed one and every megabyte of a stored one.
    void SetProgress(SResourceProgress progress, int value);

private:
    // True while the path is a folder: the object is a writer.
    bool IsWriter() const;
    // Write's parts: the stored and compressed entries, and one entry's
    // length field and name after the progress report and the 2 GB check
    // (dataBound is the most bytes its data can take).
    bool WriteStored(SFile* destination);
    bool WriteCompressed(SFile* destination);
    bool WriteRecord(SFile* destination, int index, uint32_t size, int64_t dataBound);
    // Copies up to length bytes of a stored entry from source, 1 MB at a
    // time with a progress report between blocks while ExtractAll runs;
    // false when the callback stops it.
    bool CopyStored(SFile* destination, SFile* source, uint32_t length);
    // Extracts entry index (of a reader or a writer) into destination.
    bool ExtractEntry(SFile* destination, int index, bool rewind);
    // Reports thousandths of count done, done being whole entries plus a
    // fraction in thousandths; false when the callback says stop.
    bool Report(int done, int fraction, int count);
    // Chunk progress of the entry in hand, passed on to the object that is
    // writing or unpacking on this thread.
    static bool ChunkProgress(int thousandths, int value);

    SPath m_path;
    bool m_compressed = false;
    SResourceIndex m_index;
    SDisk m_disk;
    SResourceProgress m_progress = nullptr;   // not owned (a function)
    int m_progressValue = 0;
    int m_entryDone = 0;   // entries done while a progress report runs
    int m_entryCount = 0;
    bool m_stopped = false;   // the callback asked to stop
};
