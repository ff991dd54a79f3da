#include "SSystem.h"

#include <string.h>
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include "wnd/SWndApp.h"

namespace {

enum { MAX_PROCESSES = 1024, MAX_MODULES = 1024 };

// The module list comes from one snapshot per process: under Wine, asking
// for each module's name walks the other process's loader list again from
// its start, one remote read per entry, which made a round three times as
// slow.
uint32_t CountInProcess(DWORD id, const char* path)
{
    // A snapshot of process 0 would be one of this process.
    if (id == 0)
        return 0;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, id);
    // ERROR_BAD_LENGTH: the list changed while it was taken; one more try.
    if (snapshot == INVALID_HANDLE_VALUE && GetLastError() == ERROR_BAD_LENGTH)
        snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, id);
    if (snapshot == INVALID_HANDLE_VALUE)
        return 0;
    MODULEENTRY32 module;
    module.dwSize = sizeof(module);
    uint32_t found = 0;
    int seen = 0;
    for (BOOL more = Module32First(snapshot, &module); more && seen < MAX_MODULES;
         more = Module32Next(snapshot, &module), seen++) {
        if (_stricmp(module.szExePath, path) == 0)
            found++;
    }
    CloseHandle(snapshot);
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
