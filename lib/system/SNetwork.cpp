#include "SNetwork.h"

#include <stdlib.h>
#include <string.h>

#include <new>
#include <windows.h>
#include <wininet.h>

#include "file/SDisk.h"
#include "file/SFile.h"
#include "file/SFilePath.h"

namespace {

enum { OP_IDLE, OP_OPEN, OP_READ, OP_QUIT };
const DWORD WAIT_STEP_MS = 50;

const char AGENT[] = "Vorlix";
const DWORD OPEN_FLAGS = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
    INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_UI | INTERNET_FLAG_NEED_FILE;
const int MAX_FAILURES = 10;
const int MAX_RECOVERIES = 5;

struct HeapBuffer {
    uint8_t* p;
    explicit HeapBuffer(size_t size) : p((uint8_t*)malloc(size)) {}
    ~HeapBuffer() { free(p); }
    HeapBuffer(const HeapBuffer&) = delete;
    HeapBuffer& operator=(const HeapBuffer&) = delete;
};

bool IsScheme(const char* url, const char* scheme)
{
    size_t length = strlen(scheme);
    return url && _strnicmp(url, scheme, length) == 0 && url[length] == ':';
}

// A call left blocked keeps its cache file open, and under Wine unshared for
// deletion: its bytes go now, in case the call never returns, and the file
// itself goes when it can.
void EmptyCacheFile(const char* path)
{
    HANDLE file =
        CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        SetEndOfFile(file);
        CloseHandle(file);
    }
    DeleteFileA(path);
}

}   // namespace

// Under Wine a call blocked on a silent server ends neither at the time-out
// options nor when its handle is closed, so the blocking calls run on a
// helper thread and the download only waits for them. Once the body is
// asked for, the helper reads ahead into a ring of blocks (at most
// READ_AHEAD bytes); the download takes the results in order, each as the
// read produced it. Each side sleeps only at an end of the ring and is woken
// when it is half way back (a full ring half emptied, an empty one half
// filled), so that the threads meet once per half ring, not once per block:
// a wake-up per 1024-byte block cost more than the read itself. The state
// lives until both have let go of it; the lock guards every field.
struct SNetwork::_SCall {
    enum { MAX_SLOTS = 256, READ_AHEAD = 262144 };
    CRITICAL_SECTION lock;
    CONDITION_VARIABLE changed;
    int refs = 2;   // the download and the helper
    int op = OP_IDLE;
    bool busy = false;        // the helper is inside a network call
    bool abandoned = false;   // the download has given up; the helper finishes
    bool refused = false;     // a redirect over the limit or to plain http
    bool ended = false;       // reading ahead stopped: end of data or ten failures
    bool paused = false;      // the helper waits for the ring to be half empty
    bool hungry = false;      // the download waits for the ring to be half full
    int redirects = 0;
    // The address asked for: InternetOpenUrlA reads it for as long as it
    // runs, so it never changes. The redirects land in a string of their own.
    const SString url;
    SString redirect;                // the last redirect's target; empty before one
    SDisk disk;                      // tests whether the address names a local file
    SFilePath local;                 // the local file being copied; read by the helper
    HINTERNET root = nullptr;        // owned by whoever finishes the call
    HINTERNET request = nullptr;     // owned likewise
    char cacheFile[MAX_PATH] = "";   // the cache file the open flags made
    uint32_t size;                   // bytes of one block
    int slots, head = 0, count = 0, failuresInRow = 0;
    HeapBuffer buffer;   // slots blocks; the helper reads into them, never into the caller's
    DWORD reads[MAX_SLOTS];
    BOOL oks[MAX_SLOTS];

    _SCall(const char* address, uint32_t blockSize)
        : url(address), size(blockSize),
          slots(blockSize >= READ_AHEAD / 2 ? 2 : READ_AHEAD / (int)blockSize),
          buffer((size_t)blockSize * (slots < MAX_SLOTS ? slots : MAX_SLOTS))
    {
        if (slots > MAX_SLOTS)
            slots = MAX_SLOTS;
        InitializeCriticalSection(&lock);
        InitializeConditionVariable(&changed);
    }
    ~_SCall() { DeleteCriticalSection(&lock); }

    void Release()
    {
        EnterCriticalSection(&lock);
        bool last = --refs == 0;
        LeaveCriticalSection(&lock);
        if (last)
            delete this;
    }

    // Closes the handles and removes the cache entry that the open flags
    // made, under the address the request ended at (after its redirects).
    void Finish()
    {
        char finalUrl[INTERNET_MAX_URL_LENGTH] = "";
        DWORD length = sizeof(finalUrl);
        if (request && !InternetQueryOptionA(request, INTERNET_OPTION_URL, finalUrl, &length))
            finalUrl[0] = 0;
        if (request)
            InternetCloseHandle(request);
        if (root)
            InternetCloseHandle(root);
        request = root = nullptr;
        local.Close();
        if (finalUrl[0])
            DeleteUrlCacheEntryA(finalUrl);
    }

    // True while the helper has nothing to do.
    bool Idle() const { return op == OP_IDLE || (op == OP_READ && (paused || ended)); }

    static DWORD WINAPI Helper(void* arg);
    static void CALLBACK Status(HINTERNET, DWORD_PTR context, DWORD status, void* info, DWORD);
};

DWORD WINAPI SNetwork::_SCall::Helper(void* arg)
{
    _SCall* call = (_SCall*)arg;
    EnterCriticalSection(&call->lock);
    for (;;) {
        while (!call->abandoned && call->Idle())
            SleepConditionVariableCS(&call->changed, &call->lock, INFINITE);
        int doing = call->op;
        if (call->abandoned || doing == OP_QUIT)
            break;
        int slot = (call->head + call->count) % call->slots;
        call->busy = true;
        LeaveCriticalSection(&call->lock);
        HINTERNET request = call->request;
        DWORD read = 0;
        BOOL ok = FALSE;
        uint8_t* block = call->buffer.p + (size_t)slot * call->size;
        if (doing == OP_OPEN) {
            request = InternetOpenUrlA(call->root, call->url.Text(), nullptr, 0, OPEN_FLAGS,
                                       (DWORD_PTR)call);
            // An address no URL opens may name a file: it is looked up and
            // opened here as well, so a share that does not answer is given
            // up at the time limit like a silent server.
            if (!request && call->disk.IsFile(call->url.Text()))
                call->local.Open(call->url.Text(), false, false, true, true);
        } else if (call->local.IsOpen()) {
            // A failed read of the file ends it early; the copy then falls short.
            read = (DWORD)call->local.Read(block, (int)call->size);
            ok = TRUE;
        } else {
            ok = InternetReadFile(request, block, call->size, &read);
        }
        EnterCriticalSection(&call->lock);
        call->busy = false;
        DWORD length = sizeof(call->cacheFile);
        if (doing == OP_OPEN && request &&
            !InternetQueryOptionA(request, INTERNET_OPTION_DATAFILE_NAME, call->cacheFile, &length))
            call->cacheFile[0] = 0;
        if (doing == OP_OPEN) {
            call->request = request;
            call->op = OP_IDLE;
        } else {
            call->reads[slot] = read;
            call->oks[slot] = ok;
            call->count++;
            call->failuresInRow = ok ? 0 : call->failuresInRow + 1;
            call->ended = (ok && read == 0) || call->failuresInRow >= MAX_FAILURES;
            call->paused = call->count == call->slots;
        }
        // A failed read wakes the download at once; it decides on retries.
        if (doing == OP_OPEN || call->ended || !ok ||
            (call->hungry && call->count >= (call->slots + 1) / 2))
            WakeAllConditionVariable(&call->changed);
    }
    bool abandoned = call->abandoned;
    LeaveCriticalSection(&call->lock);
    if (abandoned)
        call->Finish();
    call->Release();
    return 0;
}

void CALLBACK SNetwork::_SCall::Status(HINTERNET, DWORD_PTR context, DWORD status, void* info,
                                       DWORD)
{
    _SCall* call = (_SCall*)context;
    if (status != INTERNET_STATUS_REDIRECT || !call || !info)
        return;
    const char* target = (const char*)info;
    EnterCriticalSection(&call->lock);
    const SString& from = call->redirect.IsEmpty() ? call->url : call->redirect;
    bool refuse = ++call->redirects > MAX_REDIRECTS ||
        (IsScheme(from.Text(), "https") && !IsScheme(target, "https"));
    call->redirect = target;
    call->refused = refuse;
    WakeAllConditionVariable(&call->changed);
    LeaveCriticalSection(&call->lock);
    // Wine follows redirects without end and goes on after its handles are
    // closed: the only way to stop it is to keep this thread here. The
    // download gives up at once.
    if (refuse)
        Sleep(INFINITE);
}

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

bool SNetwork::IsCancelled()
{
    return false;
}

bool SNetwork::Await(int op)
{
    _SCall* call = m_call;
    if (!call || IsCancelled())
        return false;
    EnterCriticalSection(&call->lock);
    if (!call->abandoned && call->op != op) {
        call->op = op;
        WakeAllConditionVariable(&call->changed);
    }
    DWORD start = GetTickCount();
    while (!call->abandoned &&
           (op == OP_OPEN ? call->op != OP_IDLE : call->count == 0 && !call->ended)) {
        // The cancel hook belongs to the caller: asked without the lock.
        LeaveCriticalSection(&call->lock);
        bool giveUp = IsCancelled() || GetTickCount() - start >= (DWORD)m_timeLimit;
        EnterCriticalSection(&call->lock);
        if (giveUp || call->refused) {
            call->abandoned = true;
            WakeAllConditionVariable(&call->changed);
        } else {
            // Woken when the ring is half full, or after a step with
            // whatever a slow link has brought by then.
            call->hungry = op == OP_READ;
            SleepConditionVariableCS(&call->changed, &call->lock, WAIT_STEP_MS);
            call->hungry = false;
        }
    }
    bool done = !call->abandoned;
    LeaveCriticalSection(&call->lock);
    return done;
}

bool SNetwork::ReadChunk(void* urlHandle, void* buffer, uint32_t size, uint32_t* read)
{
    *read = 0;
    return m_call && urlHandle == m_call->request && TakeBlock(buffer, size, read);
}

bool SNetwork::TakeBlock(void* buffer, uint32_t size, uint32_t* read)
{
    *read = 0;
    _SCall* call = m_call;
    if (!call || !Await(OP_READ))
        return false;
    EnterCriticalSection(&call->lock);
    // Past the end of data a read succeeds with 0 bytes, as the real one does.
    bool ok = call->count > 0 ? call->oks[call->head] != FALSE : call->failuresInRow == 0;
    if (call->count > 0) {
        DWORD got = call->reads[call->head];
        *read = got < size ? got : size;
        memcpy(buffer, call->buffer.p + (size_t)call->head * call->size, *read);
        call->head = (call->head + 1) % call->slots;
        if (--call->count <= call->slots / 2 && call->paused) {
            call->paused = false;
            WakeAllConditionVariable(&call->changed);
        }
    }
    LeaveCriticalSection(&call->lock);
    return ok;
}

bool SNetwork::Download(SFile* destination, const char* url, int chunkSize, int userValue)
{
    if (!destination)
        return false;
    if (chunkSize < 1)
        chunkSize = 1;

    HINTERNET root = InternetOpenA(AGENT, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    if (!root)
        return false;
    _SCall* call = new (std::nothrow) _SCall(url ? url : "", (uint32_t)chunkSize);
    HANDLE helper = nullptr;
    if (call && call->buffer.p)
        helper = CreateThread(nullptr, 0, _SCall::Helper, call, 0, nullptr);
    if (!helper) {
        delete call;
        InternetCloseHandle(root);
        return false;
    }
    CloseHandle(helper);
    // The open passes the shared state as its context (not 0): that is how
    // each redirect's notification finds its download.
    InternetSetStatusCallbackA(root, _SCall::Status);
    call->root = root;
    m_call = call;

    bool result = Transfer(destination, chunkSize, userValue);

    // A call abandoned, or still reading ahead, is finished by the helper;
    // otherwise it is told to end and the handles are closed here. The helper
    // may still be writing the cache file's name: it is copied under the lock.
    char cacheFile[MAX_PATH];
    EnterCriticalSection(&call->lock);
    call->abandoned = call->abandoned || call->busy;
    bool abandoned = call->abandoned;
    call->op = OP_QUIT;
    memcpy(cacheFile, call->cacheFile, sizeof(cacheFile));
    WakeAllConditionVariable(&call->changed);
    LeaveCriticalSection(&call->lock);
    if (!abandoned)
        call->Finish();
    else if (cacheFile[0])
        EmptyCacheFile(cacheFile);
    m_call = nullptr;
    call->Release();
    return result;
}

bool SNetwork::Transfer(SFile* destination, int chunkSize, int userValue)
{
    if (!Await(OP_OPEN))
        return false;
    HINTERNET request = m_call->request;
    if (!request) {
        InternetCloseHandle(m_call->root);
        m_call->root = nullptr;
        return CopyLocal(destination);
    }

    // The length query wants a 32-bit integer; without the header, or on any
    // other failure, the total stays unknown. An HTTP error status is not a
    // failure here: its body is read like any other, and the caller's size
    // check rejects it.
    int total = -1;
    DWORD length = sizeof(total);
    if (!HttpQueryInfoA(request, HTTP_QUERY_FLAG_NUMBER | HTTP_QUERY_CONTENT_LENGTH, &total,
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
        if (!ReadChunk(request, buffer.p, (uint32_t)chunkSize, &read)) {
            // Retried at once, without a pause: the two limits bound the
            // attempts. A read given up at the time limit or cancelled ends
            // the download.
            failures = m_call->abandoned || IsCancelled() ? MAX_FAILURES : failures + 1;
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

    if (failures >= MAX_FAILURES || recoveries >= MAX_RECOVERIES)
        return false;
    return total == -1 || received >= total;
}

bool SNetwork::CopyLocal(SFile* destination)
{
    // The helper opened the file with the address and reads it ahead in
    // blocks as it reads a body, so each block is asked for after the cancel
    // hook and within the time limit: a share that stops answering is given
    // up like a silent server.
    _SCall* call = m_call;
    if (!call->local.IsOpen())
        return false;
    int size = call->local.Size();
    HeapBuffer buffer(call->size);
    if (!buffer.p)
        return false;
    int copied = 0;
    uint32_t read = 0;
    while (TakeBlock(buffer.p, call->size, &read) && read > 0)
        copied += destination->Write(buffer.p, (int)read);
    return copied == size;
}
