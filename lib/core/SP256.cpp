#include "SP256.h"

namespace {

// 256-bit numbers as eight 32-bit limbs, least significant first.
struct Num {
    uint32_t w[8];
};

const Num kP = {{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0x00000000, 0x00000000, 0x00000000, 0x00000001,
                 0xFFFFFFFF}};
const Num kB = {{0x27D2604B, 0x3BCE3C3E, 0xCC53B0F6, 0x651D06B0, 0x769886BC, 0xB3EBBD55, 0xAA3A93E7,
                 0x5AC635D8}};
const Num kN = {{0xFC632551, 0xF3B9CAC2, 0xA7179E84, 0xBCE6FAAD, 0xFFFFFFFF, 0xFFFFFFFF, 0x00000000,
                 0xFFFFFFFF}};
// (n - 1) / 2: the highest low S.
const Num kHalfN = {{0x7E3192A8, 0x79DCE561, 0xD38BCF42, 0xDE737D56, 0xFFFFFFFF, 0x7FFFFFFF,
                     0x80000000, 0x7FFFFFFF}};

Num FromBytes(const uint8_t* bytes)
{
    Num n;
    for (int i = 0; i < 8; i++) {
        const uint8_t* b = bytes + 28 - 4 * i;
        n.w[i] = (uint32_t)b[0] << 24 | (uint32_t)b[1] << 16 | (uint32_t)b[2] << 8 | b[3];
    }
    return n;
}

void ToBytes(const Num& n, uint8_t* bytes)
{
    for (int i = 0; i < 8; i++) {
        uint8_t* b = bytes + 28 - 4 * i;
        b[0] = (uint8_t)(n.w[i] >> 24);
        b[1] = (uint8_t)(n.w[i] >> 16);
        b[2] = (uint8_t)(n.w[i] >> 8);
        b[3] = (uint8_t)n.w[i];
    }
}

int Compare(const Num& a, const Num& b)
{
    for (int i = 7; i >= 0; i--) {
        if (a.w[i] != b.w[i])
            return a.w[i] < b.w[i] ? -1 : 1;
    }
    return 0;
}

// a - b into out; the borrow out of the top limb.
uint32_t Sub(const Num& a, const Num& b, Num* out)
{
    uint64_t borrow = 0;
    for (int i = 0; i < 8; i++) {
        uint64_t d = (uint64_t)a.w[i] - b.w[i] - borrow;
        out->w[i] = (uint32_t)d;
        borrow = d >> 63;
    }
    return (uint32_t)borrow;
}

// (a + b) mod p, for a and b below p.
Num AddMod(const Num& a, const Num& b)
{
    Num sum, reduced;
    uint64_t carry = 0;
    for (int i = 0; i < 8; i++) {
        uint64_t s = (uint64_t)a.w[i] + b.w[i] + carry;
        sum.w[i] = (uint32_t)s;
        carry = s >> 32;
    }
    // The sum is below 2p: one subtraction of p at most.
    uint32_t borrow = Sub(sum, kP, &reduced);
    return carry || !borrow ? reduced : sum;
}

Num SubMod(const Num& a, const Num& b)
{
    Num difference;
    if (Sub(a, b, &difference)) {
        Num wrapped;
        uint64_t carry = 0;
        for (int i = 0; i < 8; i++) {
            uint64_t s = (uint64_t)difference.w[i] + kP.w[i] + carry;
            wrapped.w[i] = (uint32_t)s;
            carry = s >> 32;
        }
        return wrapped;
    }
    return difference;
}

// (a * b) mod p by doubling and adding, from the top bit of a down.
Num MulMod(const Num& a, const Num& b)
{
    Num r = {};
    for (int bit = 255; bit >= 0; bit--) {
        r = AddMod(r, r);
        if (a.w[bit / 32] >> (bit % 32) & 1)
            r = AddMod(r, b);
    }
    return r;
}

}   // namespace

bool SP256::IsOnCurve(const uint8_t* point)
{
    const Num x = FromBytes(point), y = FromBytes(point + 32);
    if (Compare(x, kP) >= 0 || Compare(y, kP) >= 0)
        return false;
    const Num three = {{3, 0, 0, 0, 0, 0, 0, 0}};
    Num right = AddMod(SubMod(MulMod(MulMod(x, x), x), MulMod(three, x)), kB);
    return Compare(MulMod(y, y), right) == 0;
}

bool SP256::IsLowS(const uint8_t* s)
{
    return Compare(FromBytes(s), kHalfN) <= 0;
}

void SP256::MakeLowS(uint8_t* s)
{
    if (IsLowS(s))
        return;
    Num high = FromBytes(s), low;
    Sub(kN, high, &low);
    ToBytes(low, s);
}
