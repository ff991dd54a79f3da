// SRegistry: reads one text value from the system registry.
#pragma once

#include <windows.h>

#include "core/SString.h"

class SRegistry {
public:
    SRegistry() = default;
    virtual ~SRegistry() = default;

    // The value valueName (null: the key's default value) of root\subKey, read
    // into a 256-byte buffer and returned as text up to its first 0 byte,
    // whatever the registry type: a REG_DWORD gives its four raw bytes, cut at
    // the first zero. Empty when the key cannot be opened for reading, the
    // value is missing, or it is longer than 256 bytes.
    SString GetString(HKEY root, const char* subKey, const char* valueName) const;
};
