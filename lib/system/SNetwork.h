// SNetwork: fetches one resource named by a URL and streams it, chunk by
// chunk, into a file the caller has opened for writing. A "URL" that cannot be
// opened as one but names an existing local file is copied instead, so the
// same call serves disks and network shares.
#pragma once

#include <stdint.h>

#include "file/SDisk.h"

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
    // or when fewer bytes arrive than announced. Bytes already written stay in
    // destination.
    bool Download(SFile* destination, const char* url, int chunkSize, int userValue);

protected:
    // The one read of the download loop (InternetReadFile on the URL handle),
    // passing its result through. It exists so that a derived class can make
    // reads fail around real ones, which no real server does on request.
    virtual bool ReadChunk(void* urlHandle, void* buffer, uint32_t size, uint32_t* read);

private:
    bool CopyLocal(SFile* destination, const char* path);

    SDisk m_disk;   // tests whether a local path names a file
};
