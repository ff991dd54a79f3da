#include "SRegistry.h"

#include <string.h>

namespace {

// Closes a registry key on every way out.
class KeyHolder {
public:
    KeyHolder() : m_key(nullptr) {}
    KeyHolder(const KeyHolder&) = delete;
    KeyHolder& operator=(const KeyHolder&) = delete;
    ~KeyHolder()
    {
        if (m_key)
            RegCloseKey(m_key);
    }
    HKEY* Out() { return &m_key; }
    HKEY Get() const { return m_key; }

private:
    HKEY m_key;
};

const DWORD kValueBytes = 256;

}   // namespace

SString SRegistry::GetString(HKEY root, const char* subKey, const char* valueName) const
{
    KeyHolder key;
    if (RegOpenKeyExA(root, subKey, 0, KEY_READ, key.Out()) != ERROR_SUCCESS)
        return SString();
    // One spare byte: a value of exactly 256 bytes need not end in a 0 byte.
    char buffer[kValueBytes + 1];
    memset(buffer, 0, sizeof buffer);
    DWORD size = kValueBytes;
    if (RegQueryValueExA(key.Get(), valueName, nullptr, nullptr, (BYTE*)buffer, &size) !=
        ERROR_SUCCESS)
        return SString();
    return SString(buffer, (int)strnlen(buffer, kValueBytes));
}
