// SFileVersion: the fixed file version of a program's version resource, the
// one a stamped Update.exe compares a signed package's version with.
#pragma once

#include "core/SVersion.h"

class SFileVersion {
public:
    // Reads the fixed file version of the executable or library at path into
    // version. False, leaving version as it was, when the file is missing,
    // cannot be read, or has no version resource or no fixed part in it.
    static bool Read(const char* path, SVersion* version);
};
