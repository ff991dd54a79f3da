#include "SSystem.h"

#include <string.h>
#include <windows.h>

#include <psapi.h>

#include "wnd/SWndApp.h"

namespace {

// Both lists are read into 4096 bytes: 1024 process ids, and as many module
// handles as fit (512 in a 64-bit build).
enum {
    LIST_BYTES = 4096,
    MAX_PROCESSES = LIST_BYTES / sizeof(DWORD),
    MAX_MODULES = LIST_BYTES / sizeof(HMODULE)
};

// Counts the modules of process id loaded from path. The process is opened
// for querying and reading once; the module list and each name are read from
// it with the process status calls.
uint32_t CountInProcess(DWORD id, const char* path)
{
    HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    if (!process)
        return 0;
    HMODULE modules[MAX_MODULES];
    DWORD bytes = 0;
    uint32_t found = 0;
    if (EnumProcessModules(process, modules, sizeof(modules), &bytes)) {
        // The needed size may exceed the buffer: only what it holds is read.
        DWORD count = bytes / sizeof(HMODULE);
        if (count > MAX_MODULES)
            count = MAX_MODULES;
        char name[MAX_PATH];
        for (DWORD i = 0; i < count; i++) {
            if (GetModuleFileNameExA(process, modules[i], name, MAX_PATH) &&
                _stricmp(name, path) == 0)
                found++;
        }
    }
    CloseHandle(process);
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
