// The floor of a download under Wine, for bench/install.sh: the WinINet calls
// the installer makes (same agent, same open flags, the length query, reads
// of 1024 bytes), each block written to a file through the C runtime, and
// nothing else: no window, no thread, no progress.
//
//   floor.exe URL FILE      exit code 0 when every byte announced arrived
#include <stdio.h>
#include <windows.h>
#include <wininet.h>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const DWORD flags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
        INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_UI | INTERNET_FLAG_NEED_FILE;
    HINTERNET root = InternetOpenA("Vorlix", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    HINTERNET request = root ? InternetOpenUrlA(root, argv[1], nullptr, 0, flags, 0) : nullptr;
    FILE* out = fopen(argv[2], "wb");
    if (!request || !out)
        return 1;
    int total = -1;
    DWORD length = sizeof(total);
    if (!HttpQueryInfoA(request, HTTP_QUERY_FLAG_NUMBER | HTTP_QUERY_CONTENT_LENGTH, &total,
                        &length, nullptr))
        total = -1;
    char block[1024];
    long long received = 0;
    DWORD read = 0;
    while (InternetReadFile(request, block, sizeof(block), &read) && read > 0) {
        fwrite(block, 1, read, out);
        received += read;
    }
    fclose(out);
    InternetCloseHandle(request);
    InternetCloseHandle(root);
    return total < 0 || received >= total ? 0 : 1;
}
