#include "SSha256.h"

#include <windows.h>

#include <bcrypt.h>

SSha256::SSha256()
{
    BCRYPT_ALG_HANDLE provider = nullptr;
    if (BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0)
        return;
    m_provider = provider;
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (BCryptCreateHash(provider, &hash, nullptr, 0, nullptr, 0, 0) >= 0)
        m_hash = hash;
}

SSha256::~SSha256()
{
    if (m_hash)
        BCryptDestroyHash(m_hash);
    if (m_provider)
        BCryptCloseAlgorithmProvider(m_provider, 0);
}

bool SSha256::Add(const void* data, int count)
{
    if (!m_hash || m_failed || count < 0)
        return false;
    if (count > 0 && BCryptHashData(m_hash, (PUCHAR)data, (ULONG)count, 0) < 0)
        m_failed = true;
    return !m_failed;
}

bool SSha256::Finish(uint8_t* digest)
{
    if (!m_hash || m_failed)
        return false;
    bool done = BCryptFinishHash(m_hash, digest, SIZE, 0) >= 0;
    m_failed = true;
    return done;
}
