// SSha256: a SHA-256 digest through the platform's CNG, fed in pieces.
#pragma once

#include <stdint.h>

class SSha256 {
public:
    enum { SIZE = 32 };
    // Begins a digest; IsOpen() is false when CNG refuses.
    SSha256();
    ~SSha256();
    SSha256(const SSha256&) = delete;
    SSha256& operator=(const SSha256&) = delete;

    bool IsOpen() const { return m_hash != nullptr; }
    // Adds count bytes. False when not open or CNG refuses; the digest is
    // then unusable.
    bool Add(const void* data, int count);
    // Writes the 32-byte digest and ends the object's use. False when not
    // open or after a failed Add.
    bool Finish(uint8_t* digest);

private:
    void* m_provider = nullptr;   // owned BCRYPT_ALG_HANDLE
    void* m_hash = nullptr;       // owned BCRYPT_HASH_HANDLE
    bool m_failed = false;
};
