#include "SSystem.h"

#include <string.h>
#include <windows.h>

#include <psapi.h>

#include "wnd/SWndApp.h"

namespace {

struct ProcessHandle {
    HANDLE h;
    explicit ProcessHandle(HANDLE handle) : h(handle) {}
    ~ProcessHandle()
    {
        if (h)
            CloseHandle(h);
    }
    ProcessHandle(const ProcessHandle&) = delete;
    ProcessHandle& operator=(const ProcessHandle&) = delete;
};

enum { MAX_PROCESSES = 1024, MAX_MODULES = 1024, NAME_SIZE = 260 };

uint32_t CountInProcess(DWORD id, const char* path)
{
    ProcessHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id));
    if (!process.h)
        return 0;
    // The limit is 1024 handles whatever their width, so the buffer is sized
    // in handles rather than bytes.
    HMODULE modules[MAX_MODULES];
    DWORD needed = 0;
    if (!EnumProcessModules(process.h, modules, sizeof(modules), &needed))
        return 0;
    DWORD count = needed / sizeof(HMODULE);
    if (count > MAX_MODULES)
        count = MAX_MODULES;
    uint32_t found = 0;
    for (DWORD i = 0; i < count; i++) {
        char name[NAME_SIZE];
        if (GetModuleFileNameExA(process.h, modules[i], name, NAME_SIZE) == 0)
            continue;
        if (_stricmp(name, path) == 0)
            found++;
    }
    return found;
}

}   // namespace

SSystem::SSystem()
{
}

SSystem::~SSystem()
{
    while (m_fonts.GetCount() > 0) {
        int last = m_fonts.GetCount() - 1;
        RemoveFontResourceA(m_fonts.GetText(last));
        m_fonts.RemoveAt(last);
    }
}

uint32_t SSystem::GetMilliseconds()
{
    return timeGetTime();
}

bool SSystem::WaitForModuleEnd(const char* path, uint32_t limitMs, uint32_t stepMs,
                               ModuleCounter count, Clock clock)
{
    uint32_t start = clock();
    while (clock() - start < limitMs) {
        // One helper object lives for each round; it holds no fonts here and
        // does nothing.
        SSystem round;
        if (count(path) == 0)
            return true;
        uint32_t step = clock();
        while (clock() - step < stepMs) {}
    }
    return false;
}

uint32_t SSystem::CountModules(const char* path)
{
    SString own;
    if (!path || !*path) {
        own = SWndApp::GetProgramPath();
        path = own.Text();
    }
    DWORD ids[MAX_PROCESSES];
    DWORD bytes = 0;
    if (!EnumProcesses(ids, sizeof(ids), &bytes))
        return 0;
    DWORD count = bytes / sizeof(DWORD);
    uint32_t found = 0;
    for (DWORD i = 0; i < count; i++)
        found += CountInProcess(ids[i], path);
    return found;
}
