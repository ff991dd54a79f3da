#include "system/SRegistry.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <string>

namespace {

// A key of its own under HKCU\Software\VorlixTests, removed afterwards.
class SRegistryTest : public testing::Test {
protected:
    void SetUp() override
    {
        snprintf(m_path, sizeof m_path, "Software\\VorlixTests\\SRegistry%lu",
                 (unsigned long)GetCurrentProcessId());
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, m_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &m_key, nullptr),
                  ERROR_SUCCESS);
    }
    void TearDown() override
    {
        RegCloseKey(m_key);
        RegDeleteKeyA(HKEY_CURRENT_USER, m_path);
    }
    void Set(const char* name, DWORD type, const void* data, DWORD size)
    {
        ASSERT_EQ(RegSetValueExA(m_key, name, 0, type, (const BYTE*)data, size), ERROR_SUCCESS);
    }
    void SetText(const char* name, const std::string& text)
    {
        Set(name, REG_SZ, text.c_str(), (DWORD)text.size() + 1);
    }

    char m_path[128];
    HKEY m_key = nullptr;
    SRegistry m_registry;
};

}   // namespace

TEST_F(SRegistryTest, TextValues)
{
    SetText("Name", "hello world");
    SetText(nullptr, "default");
    SetText("Empty", "");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Name").Text(), "hello world");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, nullptr).Text(), "default");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Empty").Text(), "");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Missing").Text(), "");
    EXPECT_STREQ(
        m_registry.GetString(HKEY_CURRENT_USER, "Software\\VorlixTests\\NoSuchKey", "Name").Text(),
        "");
}

TEST_F(SRegistryTest, ValuesAreReadAsRawBytes)
{
    DWORD letters = 0x00434241;   // "ABC" then a zero byte
    Set("Letters", REG_DWORD, &letters, sizeof letters);
    DWORD five = 5;
    Set("Five", REG_DWORD, &five, sizeof five);
    DWORD zero = 0;
    Set("Zero", REG_DWORD, &zero, sizeof zero);
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Letters").Text(), "ABC");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Five").Text(), "\x05");
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Zero").Text(), "");
}

TEST_F(SRegistryTest, TheBufferHolds256Bytes)
{
    std::string fits(255, 'f');   // 255 characters + terminator = 256 bytes
    SetText("Fits", fits);
    EXPECT_EQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Fits").GetLength(), 255);

    SetText("TooLong", std::string(256, 'x'));   // 257 bytes
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "TooLong").Text(), "");
    SetText("Long", std::string(300, 'y'));
    EXPECT_STREQ(m_registry.GetString(HKEY_CURRENT_USER, m_path, "Long").Text(), "");

    // 256 bytes with no terminator: all of them, and not one more.
    char full[256];
    memset(full, 'z', sizeof full);
    Set("Full", REG_BINARY, full, sizeof full);
    SString text = m_registry.GetString(HKEY_CURRENT_USER, m_path, "Full");
    EXPECT_EQ(text.GetLength(), 256);
    EXPECT_EQ(text.FindNot('z'), -1);
}
