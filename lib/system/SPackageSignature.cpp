#include "SPackageSignature.h"

#include <string.h>

#include "SEcKey.h"
#include "SSha256.h"
#include "core/SLittleEndian.h"
#include "file/SFilePath.h"

namespace {

const char kMagic[4] = {'S', 'S', 'G', 'V'};
enum { kHeadSize = 32, kSignatureAt = 32, kLengthAt = 96, kFlagBase = 1 };

uint64_t Get64(const uint8_t* p)
{
    return SLittleEndian::Get32(p) | (uint64_t)SLittleEndian::Get32(p + 4) << 32;
}

void Put64(uint8_t* p, uint64_t v)
{
    SLittleEndian::Put32(p, (uint32_t)v);
    SLittleEndian::Put32(p + 4, (uint32_t)(v >> 32));
}

SVersion Unpack(uint64_t packed)
{
    return SVersion((uint32_t)(packed >> 32), (uint32_t)packed);
}

}   // namespace

bool SPackageSignature::Read(const char* path)
{
    m_signed = m_hasBase = false;
    m_packageSize = 0;
    memset(m_keyId, 0, sizeof(m_keyId));
    m_version = m_base = SVersion();
    memset(m_head, 0, sizeof(m_head));
    SFilePath file;
    if (!file.Open(path, false, false, true, true))
        return false;
    int size = file.Size();
    m_packageSize = size;
    uint8_t trailer[TRAILER_SIZE];
    if (size < MIN_PACKAGE + TRAILER_SIZE ||
        file.Seek(size - TRAILER_SIZE) != size - TRAILER_SIZE ||
        file.Read(trailer, TRAILER_SIZE) != TRAILER_SIZE)
        return true;
    uint32_t flags = SLittleEndian::Get32(trailer + 20);
    if (SLittleEndian::Get32(trailer + kLengthAt) != TRAILER_SIZE ||
        memcmp(trailer, kMagic, 4) != 0 || (flags & ~(uint32_t)kFlagBase) != 0)
        return true;
    m_signed = true;
    m_packageSize = size - TRAILER_SIZE;
    memcpy(m_keyId, trailer + 4, sizeof(m_keyId));
    m_version = Unpack(Get64(trailer + 12));
    m_hasBase = (flags & kFlagBase) != 0;
    m_base = m_hasBase ? Unpack(Get64(trailer + 24)) : SVersion();
    memcpy(m_head, trailer, sizeof(m_head));
    memcpy(m_signature, trailer + kSignatureAt, sizeof(m_signature));
    return true;
}

void SPackageSignature::Head(const uint8_t* keyId, const SVersion& version, const SVersion* base,
                             uint8_t* head)
{
    memcpy(head, kMagic, 4);
    memcpy(head + 4, keyId, SEcKey::ID_SIZE);
    Put64(head + 12, version.GetPacked());
    SLittleEndian::Put32(head + 20, base ? kFlagBase : 0);
    Put64(head + 24, base ? base->GetPacked() : 0);
}

int SPackageSignature::Digest(const char* path, int packageSize, const uint8_t* head,
                              SResourceProgress progress, int value, uint8_t* digest)
{
    SFilePath file;
    SSha256 hash;
    if (!file.Open(path, false, false, true, true) || !hash.IsOpen())
        return UNREADABLE;
    // Bounded memory whatever the package's size, and a stop test between
    // blocks so that closing the dialog ends a long check quickly.
    uint8_t buffer[HASH_BLOCK];
    for (int done = 0; done < packageSize;) {
        if (progress && !progress((int)((int64_t)done * 1000 / packageSize), value))
            return STOPPED;
        int count = packageSize - done < HASH_BLOCK ? packageSize - done : HASH_BLOCK;
        if (file.Read(buffer, count) != count || !hash.Add(buffer, count))
            return UNREADABLE;
        done += count;
    }
    return hash.Add(head, kHeadSize) && hash.Finish(digest) ? SIGNATURE_OK : UNREADABLE;
}

int SPackageSignature::Check(const char* path, const SEcKey& key, SResourceProgress progress,
                             int value)
{
    if (!Read(path))
        return UNREADABLE;
    if (!m_signed)
        return NOT_SIGNED;
    if (!key.HasKey() || memcmp(m_keyId, key.GetId(), sizeof(m_keyId)) != 0)
        return OTHER_KEY;
    // The trailer's bytes as they stand, so that no byte of it escapes the
    // signature (a base field set in a full package included).
    uint8_t digest[SEcKey::DIGEST_SIZE];
    int hashed = Digest(path, m_packageSize, m_head, progress, value, digest);
    if (hashed != SIGNATURE_OK)
        return hashed;
    return key.VerifyDigest(digest, m_signature) ? SIGNATURE_OK : BAD_SIGNATURE;
}

bool SPackageSignature::Sign(const char* path, const SEcKey& key, const SVersion& version,
                             const SVersion* base)
{
    uint8_t trailer[TRAILER_SIZE];
    if (!key.HasPrivate() || !Read(path) || m_packageSize < MIN_PACKAGE)
        return false;
    Head(key.GetId(), version, base, trailer);
    uint8_t digest[SEcKey::DIGEST_SIZE];
    if (Digest(path, m_packageSize, trailer, nullptr, 0, digest) != SIGNATURE_OK ||
        !key.SignDigest(digest, trailer + kSignatureAt))
        return false;
    SLittleEndian::Put32(trailer + kLengthAt, TRAILER_SIZE);
    SFilePath file;
    bool written = file.Open(path, true, false, true) && file.SetSize(m_packageSize) &&
        file.Seek(m_packageSize) == m_packageSize &&
        file.Write(trailer, TRAILER_SIZE) == TRAILER_SIZE;
    file.Close();
    // Read back, so that a write the runtime buffered and lost shows.
    return written && Read(path) && m_signed;
}
