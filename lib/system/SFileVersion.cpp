#include "SFileVersion.h"

#include <windows.h>

#include <new>

int SFileVersion::Read(const char* path, SVersion* version)
{
    if (!path || !version)
        return UNREADABLE;
    DWORD ignored = 0;
    SetLastError(0);
    DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    if (size == 0) {
        switch (GetLastError()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_RESOURCE_DATA_NOT_FOUND:
        case ERROR_RESOURCE_TYPE_NOT_FOUND:
        case ERROR_RESOURCE_NAME_NOT_FOUND:
        case ERROR_RESOURCE_LANG_NOT_FOUND:
            return NONE;
        default:
            return UNREADABLE;
        }
    }
    uint8_t* data = size <= 1024 * 1024 ? new (std::nothrow) uint8_t[size] : nullptr;
    if (!data || !GetFileVersionInfoA(path, 0, size, data)) {
        delete[] data;
        return UNREADABLE;
    }
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    int result = NONE;
    if (VerQueryValueA(data, "\\", (void**)&fixed, &length) && fixed &&
        length >= sizeof(VS_FIXEDFILEINFO) && fixed->dwSignature == 0xFEEF04BD) {
        *version = SVersion(fixed->dwFileVersionMS, fixed->dwFileVersionLS);
        result = FOUND;
    }
    delete[] data;
    return result;
}
