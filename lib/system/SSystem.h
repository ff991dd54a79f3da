// SSystem: system-wide helpers. The object keeps the font files it made
// available to the system and withdraws them when it is destroyed; the
// process probe needs no object.
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
    // seen. At most 1024 processes and 1024 modules per process are looked at.
    // 0 when nothing matches or the processes cannot be listed.
    static uint32_t CountModules(const char* path);

    // The system's millisecond counter (timeGetTime). It wraps after about
    // 49.7 days: measure spans by unsigned subtraction.
    static uint32_t GetMilliseconds();

private:
    SStringArray m_fonts;   // font files added to the system, withdrawn on destruction
};
