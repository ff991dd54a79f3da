// SPackageSignature: the publisher's signature that may follow an update
// package, and its check. Signing is opt-in: a package without it is an
// ordinary package, and an Update.exe without a stamped key checks nothing.
//
// A signed package is an ordinary package followed by a trailer after its end
// marker. Readers of the package stop at the end marker and never see it, so
// a signed package lists, unpacks and installs as an unsigned one does. The
// size in the description file is the whole file's, trailer included. The
// trailer is 80 bytes and is found from the end of the file:
//   offset 0   4 bytes   magic "SSIG"
//   offset 4   8 bytes   the key identifier (SEcKey)
//   offset 12  64 bytes  ECDSA P-256 signature, r then s, big-endian, of the
//                        SHA-256 of every byte of the file before this field:
//                        the package, the magic and the key identifier
//   offset 76  4 bytes   the trailer's length, 80 (little-endian)
// A file counts as signed only when its last four bytes hold 80, at least
// the 12 bytes of an empty package come before the trailer, and the magic
// stands where the trailer begins. Any other ending (a cut trailer, a length
// pointing outside the file or past its start) is an unsigned file; nothing
// is read beyond the last 80 bytes to find that out.
#pragma once

#include <stdint.h>

class SEcKey;

class SPackageSignature {
public:
    enum { TRAILER_SIZE = 80, MIN_PACKAGE = 12 };
    // Results of Check.
    enum { SIGNATURE_OK = 0, NOT_SIGNED, OTHER_KEY, BAD_SIGNATURE, UNREADABLE };

    // Reads the end of the file at path. False when it cannot be opened for
    // reading; otherwise IsSigned, GetPackageSize and GetKeyId describe it.
    bool Read(const char* path);
    bool IsSigned() const { return m_signed; }
    // The bytes before the trailer; the whole file when it is not signed.
    int GetPackageSize() const { return m_packageSize; }
    // The trailer's key identifier (SEcKey::ID_SIZE bytes); zeros when not
    // signed.
    const uint8_t* GetKeyId() const { return m_keyId; }

    // Reads the file and checks its signature against key: SIGNATURE_OK,
    // NOT_SIGNED, OTHER_KEY (the identifier is not key's, also when key is
    // empty), BAD_SIGNATURE (anything signed has changed, or the signature
    // itself), UNREADABLE (the file cannot be opened or read, or the
    // platform cannot hash).
    int Check(const char* path, const SEcKey& key);
    // Signs the package in the file at path with key's private part: any
    // trailer there is replaced by a new one. False without a private key,
    // when the file cannot be read or written, or is smaller than an empty
    // package; the file may then have lost its old trailer.
    bool Sign(const char* path, const SEcKey& key);

private:
    // The SHA-256 of the first packageSize bytes of the file at path followed
    // by the magic and keyId.
    static bool Digest(const char* path, int packageSize, const uint8_t* keyId, uint8_t* digest);

    bool m_signed = false;
    int m_packageSize = 0;
    uint8_t m_keyId[8] = {};
    uint8_t m_signature[64] = {};
};
