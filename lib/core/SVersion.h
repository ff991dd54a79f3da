// SVersion: a release's version, as a signed package and the version
// resource of a program carry it: one to four numbers from 0 to 65535,
// written decimal and separated by dots ("2", "2.1", "1.0.0.7"). Parts not
// written count as 0, so "2.1" and "2.1.0.0" are the same version.
#pragma once

#include <stdint.h>

#include "core/SString.h"

class SVersion {
public:
    enum { PARTS = 4, PART_MAX = 65535 };

    SVersion() = default;
    // The four parts of a program's fixed file version (the high and low
    // words of its two 32-bit halves).
    SVersion(uint32_t high, uint32_t low);

    // Takes the version in text. False, leaving the version as it was, for
    // anything but 1 to 4 dot-separated runs of decimal digits each at most
    // 65535: an empty text, a sign, a space, a letter, an empty part or a
    // fifth part.
    bool Parse(const char* text);

    uint16_t GetPart(int index) const { return index >= 0 && index < PARTS ? m_parts[index] : 0; }
    // The version as the fixed file version's 64-bit value: part 0 in the
    // highest 16 bits.
    uint64_t GetPacked() const;
    // All four parts, "1.2.0.0".
    SString GetText() const;

    // -1, 0 or 1 as this version is lower than, equal to or higher than other.
    int Compare(const SVersion& other) const;

private:
    uint16_t m_parts[PARTS] = {};
};
