// SSystem: system-wide helpers. The object keeps the font files it made
// available to the system and withdraws them when it is destroyed; the
// process probe and the wait built on it need no object.
#pragma once

#include <stdint.h>

#include "core/SStringArray.h"

class SSystem {
public:
    SSystem();
    // Withdraws every font file still listed (RemoveFontResourceA), dropping
    // each name from the list.
    virtual ~SSystem();

    // How many modules of running processes were loaded from path: a process
    // started from the file counts once, and so does every process that loaded
    // it as a library. The comparison is textual and ignores ASCII letter case
    // only, so a short (8.3) form or another spelling of the same file does not
    // match. A null or empty path means this program's own path. Processes that
    // cannot be opened for reading (system processes, other users') are not
    // seen. At most 1024 processes are looked at, and in each as many modules
    // as a 4096-byte list holds (1024 in a 32-bit build, 512 in a 64-bit one).
    // 0 when nothing matches or the processes cannot be listed.
    static uint32_t CountModules(const char* path);

    // The system's millisecond counter (timeGetTime). It wraps after about
    // 49.7 days: measure spans by unsigned subtraction.
    static uint32_t GetMilliseconds();

    // The probe and the clock that WaitForModuleEnd uses.
    typedef uint32_t (*ModuleCounter)(const char* path);
    typedef uint32_t (*Clock)();

    // Asks count about path until it answers 0, every stepMs for at most
    // limitMs as read on clock. The step is deliberately a spin on the clock,
    // not a sleep: the calling thread pumps no messages meanwhile. Spans are
    // unsigned differences, so a wrap of the counter is harmless. True when
    // the count reached 0 (without any wait when it is 0 at the first look);
    // false when path is still loaded after limitMs.
    static bool WaitForModuleEnd(const char* path, uint32_t limitMs, uint32_t stepMs,
                                 ModuleCounter count = CountModules, Clock clock = GetMilliseconds);

private:
    SStringArray m_fonts;   // font files added to the system, withdrawn on destruction
};
