// SPackageSignature: the publisher's signature that may follow an update
// package, and its check. Signing is opt-in: a package without it is an
// ordinary package, and an Update.exe without a stamped key checks nothing.
//
// A signed package is an ordinary package followed by a trailer after its end
// marker. Readers of the package stop at the end marker and never see it, so
// a signed package lists, unpacks and installs as an unsigned one does. The
// size in the description file is the whole file's, trailer included. The
// trailer is 100 bytes and is found from the end of the file (integers
// little-endian):
//   offset 0   4 bytes   magic "SSGV"
//   offset 4   8 bytes   the key identifier (SEcKey)
//   offset 12  8 bytes   the signed version, packed as a program's fixed file
//                        version (SVersion::GetPacked)
//   offset 20  4 bytes   flags: 1 when the package is a delta whose base
//                        version follows; every other bit 0
//   offset 24  8 bytes   the base version, packed; 0 for a full package
//   offset 32  64 bytes  ECDSA P-256 signature, r then s, big-endian, with s
//                        at most half the group order, of the SHA-256 of
//                        every byte of the file before this field: the
//                        package and the trailer's first 32 bytes
//   offset 96  4 bytes   the trailer's length, 100
// A file counts as signed only when its last four bytes hold 100, at least
// the 12 bytes of an empty package come before the trailer, the magic stands
// where the trailer begins and no unknown flag is set. Any other ending (a
// cut trailer, a length pointing elsewhere, an older trailer without a
// version) is an unsigned file; nothing is read beyond the last 100 bytes to
// find that out. So the version a package is signed for, and the base a delta
// needs, cannot be changed without breaking the signature.
#pragma once

#include <stdint.h>

#include "core/SVersion.h"
#include "file/SResource.h"

class SEcKey;

class SPackageSignature {
public:
    enum { TRAILER_SIZE = 100, MIN_PACKAGE = 12, HASH_BLOCK = 65536 };
    // Results of Check.
    enum { SIGNATURE_OK = 0, NOT_SIGNED, OTHER_KEY, BAD_SIGNATURE, UNREADABLE, STOPPED };

    // Reads the end of the file at path. False when it cannot be opened for
    // reading; otherwise IsSigned, GetPackageSize, GetKeyId, GetVersion and
    // GetBase describe it.
    bool Read(const char* path);
    bool IsSigned() const { return m_signed; }
    // The bytes before the trailer; the whole file when it is not signed.
    int GetPackageSize() const { return m_packageSize; }
    // The trailer's key identifier (SEcKey::ID_SIZE bytes); zeros when not
    // signed.
    const uint8_t* GetKeyId() const { return m_keyId; }
    // The signed version; 0.0.0.0 when not signed.
    const SVersion& GetVersion() const { return m_version; }
    // The base version of a delta package; null for a full package or when
    // not signed.
    const SVersion* GetBase() const { return m_hasBase ? &m_base : nullptr; }

    // Reads the file and checks its signature against key: SIGNATURE_OK,
    // NOT_SIGNED, OTHER_KEY (the identifier is not key's, also when key is
    // empty), BAD_SIGNATURE (anything signed has changed, or the signature
    // itself, a high S included), UNREADABLE (the file cannot be opened or
    // read, or the platform cannot hash). The file is hashed in blocks of
    // HASH_BLOCK bytes; before each, progress (when given) is asked with the
    // thousandths hashed and value, and a false answer ends the check with
    // STOPPED.
    int Check(const char* path, const SEcKey& key, SResourceProgress progress = nullptr,
              int value = 0);
    // Signs the package in the file at path with key's private part for
    // version, and for base when the package is a delta (null: a full
    // package): any trailer there is replaced by a new one. False without a
    // private key, when the file cannot be read or written, or is smaller
    // than an empty package; the file may then have lost its old trailer.
    bool Sign(const char* path, const SEcKey& key, const SVersion& version, const SVersion* base);

private:
    // The SHA-256 of the first packageSize bytes of the file at path followed
    // by the trailer's head (the fields before the signature). STOPPED,
    // UNREADABLE or SIGNATURE_OK.
    static int Digest(const char* path, int packageSize, const uint8_t* head,
                      SResourceProgress progress, int value, uint8_t* digest);
    // The trailer's first 32 bytes for this key id, version and base.
    static void Head(const uint8_t* keyId, const SVersion& version, const SVersion* base,
                     uint8_t* head);

    bool m_signed = false;
    bool m_hasBase = false;
    int m_packageSize = 0;
    uint8_t m_keyId[8] = {};
    SVersion m_version;
    SVersion m_base;
    uint8_t m_head[32] = {};   // the trailer's bytes before the signature
    uint8_t m_signature[64] = {};
};
