#include "SDll.h"

SDll::SDll() : m_module(nullptr)
{
}

SDll::~SDll()
{
    Free();
}

bool SDll::Load(const char* fileName)
{
    Free();
    if (!fileName)
        return false;
    m_module = LoadLibraryA(fileName);
    if (!m_module)
        return false;
    m_handles.Add(m_module);
    return true;
}

bool SDll::LoadCopy(const char* fileName)
{
    Free();
    if (!fileName)
        return false;
    char folder[MAX_PATH];
    char copy[MAX_PATH];
    DWORD length = GetTempPathA(MAX_PATH, folder);
    if (length == 0 || length >= MAX_PATH)
        return false;
    // GetTempFileNameA creates the file, so the name stays ours; CopyFileA
    // then overwrites it.
    if (GetTempFileNameA(folder, "vxl", 0, copy) == 0)
        return false;
    // The copy keeps the ".tmp" name: LoadLibraryA adds ".dll" only to names
    // without an extension.
    if (!CopyFileA(fileName, copy, FALSE)) {
        DeleteFileA(copy);
        return false;
    }
    m_module = LoadLibraryA(copy);
    if (!m_module) {
        DeleteFileA(copy);
        return false;
    }
    m_copy.Assign(copy);
    m_handles.Add(m_module);
    return true;
}

void* SDll::GetProc(const char* name) const
{
    if (!m_module)
        return nullptr;
    return (void*)GetProcAddress(m_module, name);
}

bool SDll::Free()
{
    if (!m_module)
        return false;
    if (!FreeLibrary(m_module))
        return false;
    m_module = nullptr;
    m_handles.RemoveAll();
    if (!m_copy.IsEmpty()) {
        // Deleted directly: the file layer's disk helper would add a dependency
        // for one call. Fails harmlessly when another loader still maps the copy.
        DeleteFileA(m_copy.Text());
        m_copy.Empty();
    }
    return true;
}
