// SFileVersion: the fixed file version of a program's version resource, the
// one a stamped Update.exe compares a signed package's version with.
#pragma once

#include "core/SVersion.h"

class SFileVersion {
public:
    // Results of Read.
    enum { FOUND = 0, NONE, UNREADABLE };

    // Reads the fixed file version of the executable or library at path into
    // version: FOUND. NONE, leaving version as it was, when the file does not
    // exist or holds no version resource (or none with a fixed part).
    // UNREADABLE for every other failure: a file that another process keeps
    // from being read, one that is no program, no memory. A check built on
    // the version must not take UNREADABLE for NONE.
    static int Read(const char* path, SVersion* version);
};
