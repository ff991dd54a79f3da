#include "SVersion.h"

#include <stdio.h>

SVersion::SVersion(uint32_t high, uint32_t low)
    : m_parts {(uint16_t)(high >> 16), (uint16_t)high, (uint16_t)(low >> 16), (uint16_t)low}
{
}

bool SVersion::Parse(const char* text)
{
    if (!text)
        return false;
    uint16_t parts[PARTS] = {};
    int count = 0;
    const char* p = text;
    for (;;) {
        if (count == PARTS || *p < '0' || *p > '9')
            return false;
        uint32_t value = 0;
        for (; *p >= '0' && *p <= '9'; p++) {
            value = value * 10 + (uint32_t)(*p - '0');
            if (value > PART_MAX)
                return false;
        }
        parts[count++] = (uint16_t)value;
        if (*p == 0)
            break;
        if (*p++ != '.')
            return false;
    }
    for (int i = 0; i < PARTS; i++)
        m_parts[i] = parts[i];
    return true;
}

uint64_t SVersion::GetPacked() const
{
    uint64_t packed = 0;
    for (uint16_t part : m_parts)
        packed = packed << 16 | part;
    return packed;
}

SString SVersion::GetText() const
{
    char text[32];
    snprintf(text, sizeof text, "%u.%u.%u.%u", m_parts[0], m_parts[1], m_parts[2], m_parts[3]);
    return SString(text);
}

int SVersion::Compare(const SVersion& other) const
{
    uint64_t a = GetPacked(), b = other.GetPacked();
    return a < b ? -1 : a > b ? 1 : 0;
}
