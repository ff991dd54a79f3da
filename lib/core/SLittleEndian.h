// SLittleEndian: the 32-bit little-endian integers of the binary formats
// (archive records, chunk headers, signature trailers), read from and written
// to byte buffers of at least four bytes.
#pragma once

#include <stdint.h>

class SLittleEndian {
public:
    static uint32_t Get32(const unsigned char* p)
    {
        return (uint32_t)p[0] | ((uint32_t)p[1] << 8) | ((uint32_t)p[2] << 16) |
            ((uint32_t)p[3] << 24);
    }

    static void Put32(unsigned char* p, uint32_t v)
    {
        p[0] = (unsigned char)v;
        p[1] = (unsigned char)(v >> 8);
        p[2] = (unsigned char)(v >> 16);
        p[3] = (unsigned char)(v >> 24);
    }
};
