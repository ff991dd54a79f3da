// SEcKey: a publisher's ECDSA key on the curve P-256, used with SHA-256
// through the platform's CNG (bcrypt.dll); no other crypto code is involved.
//
// Key files are PEM text. Loading takes the first key block and skips any
// other ("EC PARAMETERS" before the key, as openssl writes it):
//   "EC PRIVATE KEY"  ECPrivateKey (SEC1), curve named or given outside
//   "PRIVATE KEY"     PKCS#8 holding an ECPrivateKey
//   "PUBLIC KEY"      SubjectPublicKeyInfo
// A private key must carry its public point (openssl and keygen write it).
// Every public point is checked to lie on the curve (SP256). Encrypted keys
// (either PEM encryption) and other curves are refused with a message saying
// so. Written keys are SEC1 for the
// private key and SubjectPublicKeyInfo for the public one, 64 characters a
// line.
//
// The key identifier is the first 8 bytes of the SHA-256 of the public key's
// SubjectPublicKeyInfo (DER), shown as 16 lower-case hexadecimal digits.
//
// A stamped Update.exe holds the SubjectPublicKeyInfo (DER) as its resource
// of type "BINARY", id 152, language neutral.
#pragma once

#include <stdint.h>

#include "core/SString.h"

class SEcKey {
public:
    enum { ID_SIZE = 8, DIGEST_SIZE = 32, SIGNATURE_SIZE = 64, STAMP_ID = 152 };
    // Results of LoadStamped.
    enum { STAMP_NONE = 0, STAMP_KEY = 1, STAMP_BAD = 2 };

    SEcKey();
    // Wipes the private scalar.
    ~SEcKey();
    SEcKey(const SEcKey&) = delete;
    SEcKey& operator=(const SEcKey&) = delete;

    // Forgets the key (the private part is wiped first).
    void Clear();
    // A fresh private key from the platform's generator. False when CNG
    // refuses, leaving no key.
    bool Generate();
    // Loads the first key of the PEM text. False, leaving no key, for text
    // with no key block, bad base64 or DER, another curve, a private key
    // without its public point, or a private scalar and public point that
    // do not belong together; GetError then says which.
    bool LoadPem(const char* text, int length);
    // LoadPem of a file's contents; false too when it cannot be read or is
    // larger than 64 KB, which is found out before anything is read.
    bool LoadFile(const char* path);
    // Loads the key stamped into module (a path to an executable, or null for
    // the running program). STAMP_NONE only when the platform says there is
    // no such resource; STAMP_KEY when loaded; STAMP_BAD for every other
    // outcome (the module cannot be read, the resource cannot be loaded, or
    // is not a valid public key), which must refuse every package. No key is
    // held unless STAMP_KEY.
    int LoadStamped(const char* module = nullptr);
    // Writes the public key into the executable at path as its stamp,
    // replacing an earlier one. False without a key or when the platform's
    // resource update fails (the file is then unchanged).
    bool Stamp(const char* path) const;

    bool HasKey() const { return m_hasKey; }
    bool HasPrivate() const { return m_hasPrivate; }
    // The identifier; zeros without a key.
    const uint8_t* GetId() const { return m_id; }
    // The identifier as hexadecimal text; empty without a key.
    SString GetIdText() const;
    static SString IdText(const uint8_t* id);
    // PEM texts; empty without a key (the private one also without its part).
    SString GetPublicPem() const;
    SString GetPrivatePem() const;
    const SString& GetError() const { return m_error; }

    // Signs a SHA-256 digest: r then s, 32 bytes each, big-endian, s at most
    // half the group order. False without a private key or when CNG refuses.
    bool SignDigest(const uint8_t* digest, uint8_t* signature) const;
    // True when signature is this key's signature of digest with a low s;
    // false for any other signature (the high-s twin of a good one too), or
    // without a key.
    bool VerifyDigest(const uint8_t* digest, const uint8_t* signature) const;

private:
    bool Fail(const char* text);
    // Loads DER of kind 1 (SEC1), 2 (PKCS#8) or 3 (SubjectPublicKeyInfo).
    bool LoadDer(int kind, const uint8_t* der, int size);
    // Takes the raw point (x then y) and the private scalar (null for a
    // public key) and derives the identifier.
    bool SetKey(const uint8_t* point, const uint8_t* scalar);
    // The SubjectPublicKeyInfo DER (91 bytes) into out.
    void PublicDer(uint8_t* out) const;

    bool m_hasKey = false;
    bool m_hasPrivate = false;
    uint8_t m_point[64];    // x then y, big-endian
    uint8_t m_scalar[32];   // the private scalar d, big-endian
    uint8_t m_id[ID_SIZE];
    SString m_error;
};
