// SP256: the few sums on the curve P-256 that the platform's ECDSA does not
// do for us: whether a public point lies on the curve, and the "low S" form
// of a signature. Numbers are 32 bytes, big-endian, as in key files and
// signatures. Plain C++ with no platform calls, slow but small: it runs once
// per key load and per signature.
#pragma once

#include <stdint.h>

class SP256 {
public:
    // True when x and y (point: x then y, 64 bytes) are both below the field
    // prime p and satisfy y^2 = x^3 - 3x + b (mod p). The point at infinity
    // has no such encoding and is refused.
    static bool IsOnCurve(const uint8_t* point);
    // True when s is at most half the group order n. A signature (r, s) and
    // its twin (r, n - s) check alike; only the low one is accepted.
    static bool IsLowS(const uint8_t* s);
    // Replaces s by n - s when s is above n / 2; s must be below n.
    static void MakeLowS(uint8_t* s);
};
