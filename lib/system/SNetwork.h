// SNetwork: fetches one resource named by a URL and streams it, chunk by
// chunk, into a file the caller has opened for writing. A "URL" that cannot be
// opened as one but names an existing local file is copied instead, so the
// same call serves disks and network shares.
//
// Beyond fetching, a download is bounded so that no server can wedge it:
// - Time limit (GetTimeLimit, default 30 s): every wait on the server, the
//   connection and its answer as well as each read of the body, ends after
//   that long without a byte, and the download then fails. The limit starts
//   again with each block, so a slow link that keeps moving (1 KB/s) is never
//   cut, and a link slower than one block per time limit always is.
// - Redirects: at most 20 are followed; the 21st, or one from an https
//   address to a plain http one, fails the download.
// - Cancellation: IsCancelled is asked before each read and every 50 ms while
//   a wait lasts; true ends the download at once as a failure.
// - Internet cache: the open flags ask for a cache file; its entry is removed
//   once the download's handles are closed, so nothing of the resource stays
//   in the user's cache.
// - Local files: a path is looked up, opened and copied in blocks of
//   chunkSize through the same helper and read-ahead as a body, under the
//   same time limit and cancellation, so a share that stops answering or a
//   cancel during a copy of any size ends it within the limit, not at the
//   end of the file.
//
// What this costs, deliberately:
// - Each blocking network call runs on a helper thread of the download, which
//   reads up to 256 KB ahead; ReadChunk hands over its results in order, and
//   the two threads meet once per half of that, not per block. A read-ahead
//   may thus fetch up to one ring (256 KB) beyond the block at which a cancel
//   or an abort stops the download; those bytes are never written.
// - A call given up at the time limit or by a cancel is left to its helper
//   thread, which closes the handles when the call returns, if ever: against
//   a server that never answers, one thread stays parked for the rest of the
//   process. A refused redirect parks its helper thread the same way, for
//   good (one idle thread, no further requests): the network layer follows
//   redirects on its own and stops only while its callback does not return.
// - The open passes the download's shared state as its context, not 0: that
//   is how each redirect's notification finds its download.
#pragma once

#include <stdint.h>

class SFile;

class SNetwork {
public:
    SNetwork();
    virtual ~SNetwork();

    // Called once per chunk read, before the chunk is written. total is the
    // announced Content-Length or -1 when the server sent none; offset is the
    // number of bytes received before this chunk (0 on the first call); length
    // is never 0. Return 1 to abort the download (it then fails), 2 when the
    // chunk has been consumed and must not be written, anything else to have
    // it written to destination. Runs on the downloading thread. The base
    // version returns 0.
    virtual int OnProgress(int total, int offset, uint32_t length, const uint8_t* buffer,
                           SFile* destination, int userValue);

    // Fetches url (HTTP, always a fresh copy: no cache, no cookies, no
    // dialogs) into destination, which must be open for writing; it is only
    // written to, never rewound, truncated or closed. Reads go through a
    // buffer of chunkSize bytes (below 1 counts as 1). userValue is handed to
    // OnProgress unchanged. A failed read is retried at once; ten failures in a
    // row, or a fifth recovery from failed reads, end the download.
    // When url cannot be opened but names an existing file, that file is
    // copied into destination without OnProgress calls.
    // True when the whole resource was stored: a server that sends more than
    // it announced still succeeds. False for a null destination, when the
    // network layer cannot start, when url neither opens nor names a file (a
    // path ending in "\\" or "/" never does), when the local copy falls short,
    // on ten failed reads in a row or five recoveries, when OnProgress aborts,
    // when fewer bytes arrive than announced, when a wait on the server
    // passes the time limit, on a refused redirect, or when IsCancelled says
    // so. Bytes already written stay in destination.
    bool Download(SFile* destination, const char* url, int chunkSize, int userValue);

    enum { DEFAULT_TIME_LIMIT_MS = 30000, MAX_REDIRECTS = 20 };
    // The longest wait without a byte from the server, in milliseconds;
    // values below 1 count as 1.
    void SetTimeLimit(int ms) { m_timeLimit = ms < 1 ? 1 : ms; }
    int GetTimeLimit() const { return m_timeLimit; }

    // What a download shares with its helper thread (defined with the code).
    struct _SCall;

protected:
    // Asked on the downloading thread before each read and while waiting on
    // the server; true cancels the download (it fails). The base says false.
    virtual bool IsCancelled();

    // The one read of the download loop: the next result of InternetReadFile
    // on the URL handle, as the helper got it, passed through (false too when
    // the wait for it was given up). It exists so that a derived class can
    // make reads fail around real ones, which no real server does on request.
    virtual bool ReadChunk(void* urlHandle, void* buffer, uint32_t size, uint32_t* read);

private:
    // The open and the read loop of Download, with the helper running.
    bool Transfer(SFile* destination, int chunkSize, int userValue);
    bool CopyLocal(SFile* destination);
    // The next block the helper read (of the body or of a local file), after
    // the cancel hook and within the time limit; false when the read failed
    // or the wait was given up. At the end, true with 0 bytes.
    bool TakeBlock(void* buffer, uint32_t size, uint32_t* read);
    // Has the helper run op (open or read) and waits for it within the time
    // limit; false when the call was abandoned.
    bool Await(int op);

    int m_timeLimit = DEFAULT_TIME_LIMIT_MS;
    _SCall* m_call = nullptr;   // shared with the helper during a download; null otherwise
};
