#include "SPackageSignature.h"

#include <string.h>

#include "SEcKey.h"
#include "SSha256.h"
#include "core/SLittleEndian.h"
#include "file/SFilePath.h"

namespace {

const char kMagic[4] = {'S', 'S', 'I', 'G'};

}   // namespace

bool SPackageSignature::Read(const char* path)
{
    m_signed = false;
    m_packageSize = 0;
    memset(m_keyId, 0, sizeof(m_keyId));
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
    if (SLittleEndian::Get32(trailer + 76) != TRAILER_SIZE || memcmp(trailer, kMagic, 4) != 0)
        return true;
    m_signed = true;
    m_packageSize = size - TRAILER_SIZE;
    memcpy(m_keyId, trailer + 4, sizeof(m_keyId));
    memcpy(m_signature, trailer + 12, sizeof(m_signature));
    return true;
}

bool SPackageSignature::Digest(const char* path, int packageSize, const uint8_t* keyId,
                               uint8_t* digest)
{
    SFilePath file;
    SSha256 hash;
    if (!file.Open(path, false, false, true, true) || !hash.IsOpen())
        return false;
    uint8_t buffer[65536];
    for (int left = packageSize; left > 0;) {
        int count = left < (int)sizeof(buffer) ? left : (int)sizeof(buffer);
        if (file.Read(buffer, count) != count || !hash.Add(buffer, count))
            return false;
        left -= count;
    }
    return hash.Add(kMagic, 4) && hash.Add(keyId, SEcKey::ID_SIZE) && hash.Finish(digest);
}

int SPackageSignature::Check(const char* path, const SEcKey& key)
{
    if (!Read(path))
        return UNREADABLE;
    if (!m_signed)
        return NOT_SIGNED;
    if (!key.HasKey() || memcmp(m_keyId, key.GetId(), sizeof(m_keyId)) != 0)
        return OTHER_KEY;
    uint8_t digest[SEcKey::DIGEST_SIZE];
    if (!Digest(path, m_packageSize, m_keyId, digest))
        return UNREADABLE;
    return key.VerifyDigest(digest, m_signature) ? SIGNATURE_OK : BAD_SIGNATURE;
}

bool SPackageSignature::Sign(const char* path, const SEcKey& key)
{
    uint8_t trailer[TRAILER_SIZE];
    if (!key.HasPrivate() || !Read(path) || m_packageSize < MIN_PACKAGE)
        return false;
    memcpy(trailer, kMagic, 4);
    memcpy(trailer + 4, key.GetId(), SEcKey::ID_SIZE);
    uint8_t digest[SEcKey::DIGEST_SIZE];
    if (!Digest(path, m_packageSize, key.GetId(), digest) || !key.SignDigest(digest, trailer + 12))
        return false;
    SLittleEndian::Put32(trailer + 76, TRAILER_SIZE);
    SFilePath file;
    bool written = file.Open(path, true, false, true) && file.SetSize(m_packageSize) &&
        file.Seek(m_packageSize) == m_packageSize &&
        file.Write(trailer, TRAILER_SIZE) == TRAILER_SIZE;
    file.Close();
    // Read back, so that a write the runtime buffered and lost shows.
    return written && Read(path) && m_signed;
}
