#include "system/SRegistry.h"

#include <gtest/gtest.h>

#include <string>

// Values of a key of its own under HKCU\Software\VorlixTests, read back raw.
TEST(SRegistryTest, ValuesAreReadAsRawBytesUpTo256)
{
    std::string path = "Software\\VorlixTests\\SRegistry" + std::to_string(GetCurrentProcessId());
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    auto set = [&](const char* name, DWORD type, const void* data, size_t size) {
        RegSetValueExA(key, name, 0, type, (const BYTE*)data, (DWORD)size);
    };
    auto get = [&](const char* name) {
        return std::string(SRegistry().GetString(HKEY_CURRENT_USER, path.c_str(), name).Text());
    };
    std::string fits(255, 'f'), tooLong(256, 'x'), full(256, 'z');
    DWORD letters = 0x00434241, five = 5;   // "ABC" then a 0 byte
    set("Name", REG_SZ, "hello world", 12);
    set(nullptr, REG_SZ, "default", 8);
    set("Letters", REG_DWORD, &letters, 4);
    set("Five", REG_DWORD, &five, 4);
    set("Fits", REG_SZ, fits.c_str(), 256);
    set("TooLong", REG_SZ, tooLong.c_str(), 257);
    set("Full", REG_BINARY, full.data(), 256);   // no terminator: all of it, not one more
    EXPECT_EQ(get("Name") + "|" + get(nullptr) + "|" + get("Letters") + "|" + get("Five") + "|" +
                  get("TooLong") + get("Missing") + "|",
              "hello world|default|ABC|\x05||");
    EXPECT_TRUE(get("Fits") == fits && get("Full") == full);
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_CURRENT_USER, path.c_str());
    EXPECT_EQ(get("Name"), "");   // no key
}
