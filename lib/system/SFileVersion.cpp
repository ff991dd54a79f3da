#include "SFileVersion.h"

#include <windows.h>

bool SFileVersion::Read(const char* path, SVersion* version)
{
    DWORD ignored = 0;
    DWORD size = path ? GetFileVersionInfoSizeA(path, &ignored) : 0;
    if (size == 0 || size > 1024 * 1024)
        return false;
    uint8_t* data = new uint8_t[size];
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    bool found = GetFileVersionInfoA(path, 0, size, data) &&
        VerQueryValueA(data, "\\", (void**)&fixed, &length) && fixed &&
        length >= sizeof(VS_FIXEDFILEINFO) && fixed->dwSignature == 0xFEEF04BD;
    if (found)
        *version = SVersion(fixed->dwFileVersionMS, fixed->dwFileVersionLS);
    delete[] data;
    return found;
}
