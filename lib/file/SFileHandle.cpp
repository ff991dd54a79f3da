#include "SFileHandle.h"

#include <windows.h>

#include <aclapi.h>

namespace {

// The current user's SID, copied into sid (capacity bytes).
bool CurrentUser(uint8_t* sid, DWORD capacity)
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return false;
    uint8_t buffer[256];
    DWORD size = 0;
    bool found = GetTokenInformation(token, TokenUser, buffer, sizeof(buffer), &size) &&
        CopySid(capacity, sid, ((TOKEN_USER*)buffer)->User.Sid);
    CloseHandle(token);
    return found;
}

}   // namespace

SFileHandle::~SFileHandle()
{
    Close();
}

bool SFileHandle::Hold(const char* path)
{
    Close();
    HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    m_handle = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
    return m_handle != nullptr;
}

bool SFileHandle::CreateNew(const char* path, bool ownerOnly)
{
    Close();
    // A protected list with one entry: the user, full access.
    uint8_t sid[SECURITY_MAX_SID_SIZE];
    uint8_t list[256];
    SECURITY_DESCRIPTOR descriptor;
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};
    m_ownerOnly = ownerOnly && CurrentUser(sid, sizeof(sid)) &&
        InitializeAcl((ACL*)list, sizeof(list), ACL_REVISION) &&
        AddAccessAllowedAce((ACL*)list, ACL_REVISION, FILE_ALL_ACCESS, sid) &&
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) &&
        SetSecurityDescriptorDacl(&descriptor, TRUE, (ACL*)list, FALSE) &&
        SetSecurityDescriptorControl(&descriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
    HANDLE handle = CreateFileA(path, GENERIC_WRITE, 0, m_ownerOnly ? &attributes : nullptr,
                                CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_handle = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
    if (!m_handle)
        m_ownerOnly = false;
    return m_handle != nullptr;
}

int64_t SFileHandle::Size() const
{
    LARGE_INTEGER size;
    return m_handle && GetFileSizeEx(m_handle, &size) ? size.QuadPart : -1;
}

bool SFileHandle::Write(const void* data, int count)
{
    DWORD written = 0;
    return m_handle && count >= 0 && WriteFile(m_handle, data, (DWORD)count, &written, nullptr) &&
        written == (DWORD)count;
}

bool SFileHandle::Close()
{
    if (!m_handle)
        return false;
    bool closed = CloseHandle(m_handle) != FALSE;
    m_handle = nullptr;
    return closed;
}
