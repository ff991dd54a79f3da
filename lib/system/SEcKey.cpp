#include "SEcKey.h"

#include <windows.h>

#include <bcrypt.h>
#include <string.h>

#include <new>

#include "SSha256.h"
#include "core/SP256.h"
#include "file/SFilePath.h"

namespace {

const uint8_t kEcPublicKeyOid[] = {0x06, 0x07, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01};
const uint8_t kP256Oid[] = {0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07};
// SubjectPublicKeyInfo up to the point: SEQUENCE { SEQUENCE { ecPublicKey,
// prime256v1 }, BIT STRING { 0 unused bits, 0x04 uncompressed } }.
const uint8_t kSpkiHead[] = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2A, 0x86, 0x48,
                             0xCE, 0x3D, 0x02, 0x01, 0x06, 0x08, 0x2A, 0x86, 0x48,
                             0xCE, 0x3D, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00, 0x04};
const int kSpkiSize = (int)sizeof(kSpkiHead) + 64;
const int kMaxKeyFile = 65536;

// One DER element: tag, and its content between data and end.
struct Der {
    uint8_t tag = 0;
    const uint8_t* data = nullptr;
    const uint8_t* end = nullptr;
    int Size() const { return (int)(end - data); }
    bool Is(const uint8_t* der, int size) const
    {
        return Size() + 2 == size && tag == der[0] && memcmp(data, der + 2, (size_t)size - 2) == 0;
    }
};

// Reads the next element from *p (below end); definite lengths of up to
// three bytes only, each checked against end.
bool NextDer(const uint8_t** p, const uint8_t* end, Der* out)
{
    const uint8_t* q = *p;
    if (end - q < 2)
        return false;
    out->tag = *q++;
    size_t length = *q++;
    if (length & 0x80) {
        int bytes = (int)(length & 0x7F);
        if (bytes < 1 || bytes > 3 || end - q < bytes)
            return false;
        length = 0;
        while (bytes--)
            length = length << 8 | *q++;
    }
    if ((size_t)(end - q) < length)
        return false;
    out->data = q;
    out->end = q + length;
    *p = out->end;
    return true;
}

// The content of the next element when it has the tag; otherwise false.
bool Expect(const uint8_t** p, const uint8_t* end, uint8_t tag, Der* out)
{
    return NextDer(p, end, out) && out->tag == tag;
}

// An uncompressed P-256 point in a BIT STRING's content.
bool PointOf(const Der& bits, const uint8_t** point)
{
    if (bits.Size() != 66 || bits.data[0] != 0 || bits.data[1] != 0x04)
        return false;
    *point = bits.data + 2;
    return true;
}

const char kNotP256[] = "the key is not a P-256 key (another curve or algorithm)";

// AlgorithmIdentifier { ecPublicKey, prime256v1 }.
bool IsP256Algorithm(const Der& algorithm)
{
    const uint8_t* p = algorithm.data;
    Der oid, curve;
    return Expect(&p, algorithm.end, 0x06, &oid) && oid.Is(kEcPublicKeyOid, 9) &&
        Expect(&p, algorithm.end, 0x06, &curve) && curve.Is(kP256Oid, 10);
}

// The first occurrence of the text in [p, end), or null.
const char* Find(const char* p, const char* end, const char* text)
{
    size_t length = strlen(text);
    for (; p + length <= end; p++) {
        if (memcmp(p, text, length) == 0)
            return p;
    }
    return nullptr;
}

const char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Base64Value(char c)
{
    const char* at = c ? strchr(kBase64, c) : nullptr;
    return at ? (int)(at - kBase64) : -1;
}

// Decodes base64 text (white space skipped, "=" ends it) into out, at most
// capacity bytes; the byte count, or -1 for a bad character or overflow.
int Base64Decode(const char* text, const char* end, uint8_t* out, int capacity)
{
    int count = 0, bits = 0;
    uint32_t value = 0;
    for (; text < end && *text != '='; text++) {
        if (*text == '\r' || *text == '\n' || *text == ' ' || *text == '\t')
            continue;
        int v = Base64Value(*text);
        if (v < 0)
            return -1;
        value = value << 6 | (uint32_t)v;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            if (count == capacity)
                return -1;
            out[count++] = (uint8_t)(value >> bits);
        }
    }
    return count;
}

SString Pem(const char* label, const uint8_t* der, int size)
{
    SString text;
    text.Format("-----BEGIN %s-----\n", label);
    int column = 0;
    for (int i = 0; i < size; i += 3) {
        uint32_t v = (uint32_t)der[i] << 16;
        if (i + 1 < size)
            v |= (uint32_t)der[i + 1] << 8;
        if (i + 2 < size)
            v |= der[i + 2];
        char quad[4] = {kBase64[v >> 18 & 63], kBase64[v >> 12 & 63],
                        i + 1 < size ? kBase64[v >> 6 & 63] : '=',
                        i + 2 < size ? kBase64[v & 63] : '='};
        text.Append(quad, 4);
        column += 4;
        if (column == 64 || i + 3 >= size) {
            text.Append("\n");
            column = 0;
        }
    }
    text.Append("-----END ");
    text.Append(label);
    text.Append("-----\n");
    return text;
}

// RAII holders for the CNG handles.
struct Provider {
    BCRYPT_ALG_HANDLE handle = nullptr;
    Provider() { BCryptOpenAlgorithmProvider(&handle, BCRYPT_ECDSA_P256_ALGORITHM, nullptr, 0); }
    ~Provider()
    {
        if (handle)
            BCryptCloseAlgorithmProvider(handle, 0);
    }
};

struct Key {
    BCRYPT_KEY_HANDLE handle = nullptr;
    ~Key()
    {
        if (handle)
            BCryptDestroyKey(handle);
    }
};

// Imports the point (and scalar, when given) as a CNG key blob.
bool Import(const Provider& provider, const uint8_t* point, const uint8_t* scalar, Key* key)
{
    uint8_t blob[sizeof(BCRYPT_ECCKEY_BLOB) + 96];
    BCRYPT_ECCKEY_BLOB header = {scalar ? (ULONG)BCRYPT_ECDSA_PRIVATE_P256_MAGIC
                                        : (ULONG)BCRYPT_ECDSA_PUBLIC_P256_MAGIC,
                                 32};
    memcpy(blob, &header, sizeof(header));
    memcpy(blob + sizeof(header), point, 64);
    ULONG size = sizeof(header) + 64;
    if (scalar) {
        memcpy(blob + size, scalar, 32);
        size += 32;
    }
    bool imported = provider.handle &&
        BCryptImportKeyPair(provider.handle, nullptr,
                            scalar ? BCRYPT_ECCPRIVATE_BLOB : BCRYPT_ECCPUBLIC_BLOB, &key->handle,
                            blob, size, 0) >= 0;
    SecureZeroMemory(blob, sizeof(blob));
    return imported;
}

}   // namespace

SEcKey::SEcKey()
{
    Clear();
}

SEcKey::~SEcKey()
{
    Clear();
}

void SEcKey::Clear()
{
    SecureZeroMemory(m_scalar, sizeof(m_scalar));
    memset(m_point, 0, sizeof(m_point));
    memset(m_id, 0, sizeof(m_id));
    m_hasKey = m_hasPrivate = false;
}

bool SEcKey::Fail(const char* text)
{
    Clear();
    m_error = text;
    return false;
}

bool SEcKey::Generate()
{
    Clear();
    Provider provider;
    Key key;
    uint8_t blob[sizeof(BCRYPT_ECCKEY_BLOB) + 96];
    ULONG size = 0;
    bool made = provider.handle &&
        BCryptGenerateKeyPair(provider.handle, &key.handle, 256, 0) >= 0 &&
        BCryptFinalizeKeyPair(key.handle, 0) >= 0 &&
        BCryptExportKey(key.handle, nullptr, BCRYPT_ECCPRIVATE_BLOB, blob, sizeof(blob), &size,
                        0) >= 0 &&
        size == sizeof(blob);
    const uint8_t* body = blob + sizeof(BCRYPT_ECCKEY_BLOB);
    made = made && SetKey(body, body + 64);
    SecureZeroMemory(blob, sizeof(blob));
    return made || Fail("the platform could not make a key");
}

bool SEcKey::SetKey(const uint8_t* point, const uint8_t* scalar)
{
    // The platform's import does not check this everywhere; a key off the
    // curve would stamp an Update.exe that refuses every package.
    if (!SP256::IsOnCurve(point))
        return Fail("the public point is not on the curve P-256");
    memcpy(m_point, point, 64);
    m_hasPrivate = scalar != nullptr;
    if (scalar)
        memcpy(m_scalar, scalar, 32);
    uint8_t der[kSpkiSize], digest[SSha256::SIZE];
    PublicDer(der);
    SSha256 hash;
    if (!hash.Add(der, kSpkiSize) || !hash.Finish(digest))
        return Fail("the platform could not hash the key");
    memcpy(m_id, digest, ID_SIZE);
    m_hasKey = true;
    return true;
}

void SEcKey::PublicDer(uint8_t* out) const
{
    memcpy(out, kSpkiHead, sizeof(kSpkiHead));
    memcpy(out + sizeof(kSpkiHead), m_point, 64);
}

bool SEcKey::LoadPem(const char* text, int length)
{
    Clear();
    m_error.Empty();
    if (!text || length < 0)
        return Fail("no key text");
    const char* end = text + length;
    const char* block = text;
    // The first block with a label this class reads.
    for (;;) {
        const char* begin = nullptr;
        for (const char* p = block; p + 11 <= end && !begin; p++) {
            if (memcmp(p, "-----BEGIN ", 11) == 0)
                begin = p + 11;
        }
        if (!begin)
            return Fail("no key block (\"-----BEGIN ... KEY-----\") in the text");
        const char* labelEnd = begin;
        while (labelEnd + 5 <= end && memcmp(labelEnd, "-----", 5) != 0 && *labelEnd != '\n')
            labelEnd++;
        if (labelEnd + 5 > end || *labelEnd == '\n')
            return Fail("a PEM header line is cut short");
        SString label(begin, (int)(labelEnd - begin));
        const char* body = labelEnd + 5;
        const char* bodyEnd = body;
        while (bodyEnd + 9 <= end && memcmp(bodyEnd, "-----END ", 9) != 0)
            bodyEnd++;
        if (bodyEnd + 9 > end)
            return Fail("a PEM block has no END line");
        block = bodyEnd + 9;
        int kind = label == "EC PRIVATE KEY" ? 1
            : label == "PRIVATE KEY"         ? 2
            : label == "PUBLIC KEY"          ? 3
                                             : 0;
        // PKCS#8 encryption has its own label; the older PEM encryption
        // keeps the label and adds header lines to the body.
        if (label == "ENCRYPTED PRIVATE KEY" || (kind && Find(body, bodyEnd, "Proc-Type:")))
            return Fail("the key is encrypted; write it without a pass phrase");
        if (!kind)
            continue;
        uint8_t der[512];
        int size = Base64Decode(body, bodyEnd, der, sizeof(der));
        bool loaded = size > 0 && LoadDer(kind, der, size);
        SecureZeroMemory(der, sizeof(der));
        return loaded || (m_error.IsEmpty() ? Fail("the key's DER cannot be read") : false);
    }
}

bool SEcKey::LoadDer(int kind, const uint8_t* der, int size)
{
    const uint8_t* p = der;
    const uint8_t* end = der + size;
    Der outer, item, algorithm;
    if (!Expect(&p, end, 0x30, &outer))
        return Fail("the key's DER is not a sequence");
    p = outer.data;
    end = outer.end;
    if (kind == 3) {
        const uint8_t* point;
        if (!Expect(&p, end, 0x30, &algorithm))
            return Fail("the public key's DER cannot be read");
        if (!IsP256Algorithm(algorithm))
            return Fail(kNotP256);
        if (!Expect(&p, end, 0x03, &item) || !PointOf(item, &point))
            return Fail("the public key is not an uncompressed P-256 point");
        return SetKey(point, nullptr);
    }
    bool curveKnown = false;
    if (kind == 2) {
        // PKCS#8: version 0, the algorithm, then the SEC1 key in an octet string.
        if (!Expect(&p, end, 0x02, &item) || !Expect(&p, end, 0x30, &algorithm))
            return Fail("the PKCS#8 key's DER cannot be read");
        if (!IsP256Algorithm(algorithm))
            return Fail(kNotP256);
        if (!Expect(&p, end, 0x04, &item))
            return Fail("the PKCS#8 key's DER cannot be read");
        p = item.data;
        if (!Expect(&p, item.end, 0x30, &outer))
            return Fail("the PKCS#8 key holds no EC private key");
        p = outer.data;
        end = outer.end;
        curveKnown = true;
    }
    // ECPrivateKey: version 1, the scalar, [0] the curve, [1] the point.
    Der version, scalar;
    if (!Expect(&p, end, 0x02, &version) || version.Size() != 1 || version.data[0] != 1 ||
        !Expect(&p, end, 0x04, &scalar))
        return Fail("the EC private key's DER cannot be read");
    const uint8_t* point = nullptr;
    while (p < end) {
        if (!NextDer(&p, end, &item))
            return Fail("the EC private key's DER cannot be read");
        const uint8_t* q = item.data;
        Der inner;
        if (item.tag == 0xA0) {
            if (!Expect(&q, item.end, 0x06, &inner) || !inner.Is(kP256Oid, 10))
                return Fail(kNotP256);
            curveKnown = true;
        } else if (item.tag == 0xA1) {
            if (!Expect(&q, item.end, 0x03, &inner) || !PointOf(inner, &point))
                return Fail("the key's public point is not an uncompressed P-256 point");
        }
    }
    if (!curveKnown)
        return Fail("the key does not name its curve");
    // Checked after the curve, which a scalar of another size stems from.
    if (scalar.Size() != 32)
        return Fail(kNotP256);
    if (!point)
        return Fail("the private key carries no public point");
    if (!SetKey(point, scalar.data))
        return false;
    // A scalar and point that do not belong together would sign what no
    // holder of the public key can check.
    uint8_t digest[DIGEST_SIZE] = {1}, signature[SIGNATURE_SIZE];
    if (!SignDigest(digest, signature) || !VerifyDigest(digest, signature))
        return Fail("the private key and its public point do not belong together");
    return true;
}

bool SEcKey::LoadFile(const char* path)
{
    Clear();
    SFilePath file;
    if (!file.Open(path, false, false, true, true))
        return Fail("the key file cannot be read");
    // Measured before anything is read, and the read bounded too, so that a
    // huge file (or one growing meanwhile) costs neither memory nor time.
    int size = file.Size();
    if (size < 0 || size > kMaxKeyFile)
        return Fail("the key file is larger than 64 KB");
    char* text = new (std::nothrow) char[kMaxKeyFile + 1];
    if (!text)
        return Fail("no memory to read the key file");
    int length = file.Read(text, kMaxKeyFile + 1);
    bool loaded = length > kMaxKeyFile ? Fail("the key file is larger than 64 KB")
        : length < 0                   ? Fail("the key file cannot be read")
                                       : LoadPem(text, length);
    // The file's copy of a private key is wiped before it is freed.
    SecureZeroMemory(text, kMaxKeyFile + 1);
    delete[] text;
    return loaded;
}

int SEcKey::LoadStamped(const char* module)
{
    Clear();
    HMODULE handle = module ? LoadLibraryExA(module, nullptr, LOAD_LIBRARY_AS_DATAFILE) : nullptr;
    if (module && !handle)
        return STAMP_BAD;
    // Only a resource that is not there means "not stamped": any later
    // failure must refuse packages, never let them in unchecked.
    SetLastError(0);
    HRSRC found = FindResourceA(handle, MAKEINTRESOURCEA(STAMP_ID), "BINARY");
    DWORD error = GetLastError();
    int result = STAMP_BAD;
    if (!found) {
        if (error == ERROR_RESOURCE_TYPE_NOT_FOUND || error == ERROR_RESOURCE_NAME_NOT_FOUND ||
            error == ERROR_RESOURCE_LANG_NOT_FOUND || error == ERROR_RESOURCE_DATA_NOT_FOUND)
            result = STAMP_NONE;
    } else {
        HGLOBAL loaded = LoadResource(handle, found);
        const uint8_t* data = loaded ? (const uint8_t*)LockResource(loaded) : nullptr;
        DWORD size = SizeofResource(handle, found);
        if (data && size > 0 && size <= 4096 && LoadDer(3, data, (int)size))
            result = STAMP_KEY;
    }
    if (handle)
        FreeLibrary(handle);
    return result;
}

bool SEcKey::Stamp(const char* path) const
{
    if (!m_hasKey || !path)
        return false;
    uint8_t der[kSpkiSize];
    PublicDer(der);
    HANDLE update = BeginUpdateResourceA(path, FALSE);
    if (!update)
        return false;
    if (!UpdateResourceA(update, "BINARY", MAKEINTRESOURCEA(STAMP_ID),
                         MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL), der, sizeof(der))) {
        EndUpdateResourceA(update, TRUE);
        return false;
    }
    return EndUpdateResourceA(update, FALSE) != FALSE;
}

SString SEcKey::IdText(const uint8_t* id)
{
    SString text;
    for (int i = 0; i < ID_SIZE; i++) {
        char digits[3];
        wsprintfA(digits, "%02x", id[i]);
        text.Append(digits, 2);
    }
    return text;
}

SString SEcKey::GetIdText() const
{
    return m_hasKey ? IdText(m_id) : SString();
}

SString SEcKey::GetPublicPem() const
{
    if (!m_hasKey)
        return SString();
    uint8_t der[kSpkiSize];
    PublicDer(der);
    return Pem("PUBLIC KEY", der, kSpkiSize);
}

SString SEcKey::GetPrivatePem() const
{
    if (!m_hasPrivate)
        return SString();
    // ECPrivateKey { 1, scalar, [0] prime256v1, [1] point }, as openssl writes it.
    uint8_t der[121];
    const uint8_t head[] = {0x30, 0x77, 0x02, 0x01, 0x01, 0x04, 0x20};
    const uint8_t middle[] = {0xA0, 0x0A};
    const uint8_t tail[] = {0xA1, 0x44, 0x03, 0x42, 0x00, 0x04};
    uint8_t* p = der;
    memcpy(p, head, sizeof(head));
    memcpy(p += sizeof(head), m_scalar, 32);
    memcpy(p += 32, middle, sizeof(middle));
    memcpy(p += sizeof(middle), kP256Oid, sizeof(kP256Oid));
    memcpy(p += sizeof(kP256Oid), tail, sizeof(tail));
    memcpy(p += sizeof(tail), m_point, 64);
    SString pem = Pem("EC PRIVATE KEY", der, sizeof(der));
    SecureZeroMemory(der, sizeof(der));
    return pem;
}

bool SEcKey::SignDigest(const uint8_t* digest, uint8_t* signature) const
{
    if (!m_hasPrivate)
        return false;
    Provider provider;
    Key key;
    ULONG size = 0;
    if (!Import(provider, m_point, m_scalar, &key) ||
        BCryptSignHash(key.handle, nullptr, (PUCHAR)digest, DIGEST_SIZE, signature, SIGNATURE_SIZE,
                       &size, 0) < 0 ||
        size != SIGNATURE_SIZE)
        return false;
    // Of the two equally valid signatures (r, s) and (r, n - s), the low
    // one; checks accept no other, so a signature has exactly one form.
    SP256::MakeLowS(signature + 32);
    return true;
}

bool SEcKey::VerifyDigest(const uint8_t* digest, const uint8_t* signature) const
{
    if (!m_hasKey || !SP256::IsLowS(signature + 32))
        return false;
    Provider provider;
    Key key;
    // CNG answers STATUS_INVALID_SIGNATURE (0xC000A000) for a bad one.
    return Import(provider, m_point, nullptr, &key) &&
        BCryptVerifySignature(key.handle, nullptr, (PUCHAR)digest, DIGEST_SIZE, (PUCHAR)signature,
                              SIGNATURE_SIZE, 0) >= 0;
}
