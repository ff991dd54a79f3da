#include "SNetwork.h"

#include <stdlib.h>
#include <windows.h>
#include <wininet.h>

#include "file/SFile.h"
#include "file/SFilePath.h"

namespace {

const char AGENT[] = "Vorlix";
const DWORD OPEN_FLAGS = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
    INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_UI | INTERNET_FLAG_NEED_FILE;
const int MAX_FAILURES = 10;
const int MAX_RECOVERIES = 5;

struct InternetHandle {
    HINTERNET h;
    explicit InternetHandle(HINTERNET handle) : h(handle) {}
    ~InternetHandle() { Close(); }
    void Close()
    {
        if (h)
            InternetCloseHandle(h);
        h = nullptr;
    }
    InternetHandle(const InternetHandle&) = delete;
    InternetHandle& operator=(const InternetHandle&) = delete;
};

struct HeapBuffer {
    uint8_t* p;
    explicit HeapBuffer(size_t size) : p((uint8_t*)malloc(size)) {}
    ~HeapBuffer() { free(p); }
    HeapBuffer(const HeapBuffer&) = delete;
    HeapBuffer& operator=(const HeapBuffer&) = delete;
};

}   // namespace

static_assert(OPEN_FLAGS == 0x84080210, "download open flags");

SNetwork::SNetwork()
{
}

SNetwork::~SNetwork()
{
}

int SNetwork::OnProgress(int, int, uint32_t, const uint8_t*, SFile*, int)
{
    return 0;
}

bool SNetwork::ReadChunk(void* urlHandle, void* buffer, uint32_t size, uint32_t* read)
{
    DWORD count = 0;
    BOOL ok = InternetReadFile((HINTERNET)urlHandle, buffer, size, &count);
    *read = count;
    return ok != FALSE;
}

bool SNetwork::Download(SFile* destination, const char* url, int chunkSize, int userValue)
{
    if (!destination)
        return false;
    if (chunkSize < 1)
        chunkSize = 1;

    // Handles close in reverse order of declaration: the URL, then the root.
    InternetHandle root(InternetOpenA(AGENT, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!root.h)
        return false;
    InternetHandle request(InternetOpenUrlA(root.h, url, nullptr, 0, OPEN_FLAGS, 0));
    if (!request.h) {
        root.Close();
        return CopyLocal(destination, url);
    }

    // The length query wants a 32-bit integer; without the header, or on any
    // other failure, the total stays unknown. An HTTP error status is not a
    // failure here: its body is read like any other, and the caller's size
    // check rejects it.
    int total = -1;
    DWORD length = sizeof(total);
    if (!HttpQueryInfoA(request.h, HTTP_QUERY_FLAG_NUMBER | HTTP_QUERY_CONTENT_LENGTH, &total,
                        &length, nullptr))
        total = -1;

    int failures = 0;
    int recoveries = 0;
    int received = 0;
    HeapBuffer buffer((size_t)chunkSize);
    if (!buffer.p)
        return false;
    while (failures < MAX_FAILURES) {
        uint32_t read = 0;
        if (!ReadChunk(request.h, buffer.p, (uint32_t)chunkSize, &read)) {
            // Retried at once, without a pause: the two limits bound the
            // attempts.
            failures++;
            continue;
        }
        if (failures != 0) {
            failures = 0;
            if (++recoveries >= MAX_RECOVERIES)
                break;
        }
        if (read == 0)
            break;
        received += (int)read;
        int answer =
            OnProgress(total, received - (int)read, read, buffer.p, destination, userValue);
        // A short write is not checked here: it leaves the file smaller than
        // the download, which the caller's size check sees.
        if (answer == 1)
            failures = MAX_FAILURES;
        else if (answer != 2)
            destination->Write(buffer.p, (int)read);
    }
    request.Close();
    root.Close();

    if (failures >= MAX_FAILURES || recoveries >= MAX_RECOVERIES)
        return false;
    return total == -1 || received >= total;
}

bool SNetwork::CopyLocal(SFile* destination, const char* path)
{
    if (!m_disk.IsFile(path))
        return false;
    SFilePath source;
    if (!source.Open(path, false, false, true, true))
        return false;
    int size = source.Size();
    int copied = destination->Copy(&source, -1);
    source.Close();
    return copied == size;
}
