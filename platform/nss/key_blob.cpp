// Key blobs in the Microsoft layout, all numbers least significant byte first:
//
//   public   PUBLICKEYSTRUC  RSAPUBKEY "RSA1"  modulus
//   private  PUBLICKEYSTRUC  RSAPUBKEY "RSA2"  modulus  p  q  d mod (p-1)  d mod (q-1)  1/q mod p  d
//
// modulus and d have the modulus' length, the other five half of it.
#include "platform/nss/key_blob.h"

#include <algorithm>

#include "platform/nss/attribute.h"
#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/nss/pkcs8.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

Bytes bytesOf(const SECItem& item) {
    return {item.data, item.data + item.len};
}

DWORD bitLength(const Bytes& number) {
    const auto first = std::find_if(number.begin(), number.end(), [](BYTE byte) { return byte != 0; });
    if (first == number.end())
        return 0;
    auto bits = static_cast<DWORD>(number.end() - first) * 8;
    for (BYTE top = *first; (top & 0x80) == 0; top = static_cast<BYTE>(top << 1))
        --bits;
    return bits;
}

DWORD smallNumber(const Bytes& number) {
    DWORD value = 0;
    for (const BYTE byte : number)
        value = value << 8 | byte;
    return value;
}

// Appends the number least significant byte first, filled up to the length.
void appendReversed(Bytes& blob, const Bytes& number, std::size_t length) {
    Bytes digits = withoutLeadingZeros(spanOf(number));
    const std::size_t start = blob.size();
    blob.insert(blob.end(), digits.rbegin(), digits.rend());
    blob.resize(start + length);
    wipe(digits);
}

template <class Structure>
void appendStructure(Bytes& blob, const Structure& structure) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&structure);
    blob.insert(blob.end(), bytes, bytes + sizeof structure);
}

Bytes blobStart(const Key& key, BYTE type, DWORD magic) {
    const Bytes modulus = bytesOf(key.publicKey->u.rsa.modulus);
    Bytes blob;
    appendStructure(
        blob, PUBLICKEYSTRUC{type, CUR_BLOB_VERSION, 0, key.spec == AT_SIGNATURE ? CALG_RSA_SIGN : CALG_RSA_KEYX});
    appendStructure(blob,
                    RSAPUBKEY{magic, bitLength(modulus), smallNumber(bytesOf(key.publicKey->u.rsa.publicExponent))});
    appendReversed(blob, modulus, (bitLength(modulus) + 7) / 8);
    return blob;
}

Bytes publicKeyBlob(const Key& key) {
    return blobStart(key, static_cast<BYTE>(PUBLICKEYBLOB), kPublicMagic);
}

Bytes privateKeyBlob(const Key& key, const RsaPrivateNumbers& numbers) {
    const DWORD bits = bitLength(bytesOf(key.publicKey->u.rsa.modulus));
    Bytes blob = blobStart(key, static_cast<BYTE>(PRIVATEKEYBLOB), kPrivateMagic);
    // What the bytes move out of when they grow is private too.
    blob.reserve(blob.size() + std::size_t{5} * ((bits + 15) / 16) + (bits + 7) / 8);
    for (const Bytes* number :
         {&numbers.prime1, &numbers.prime2, &numbers.exponent1, &numbers.exponent2, &numbers.coefficient})
        appendReversed(blob, *number, (bits + 15) / 16);
    appendReversed(blob, numbers.privateExponent, (bits + 7) / 8);
    return blob;
}

// Whether the layout has room for the numbers: a key whose primes differ in length has one that is longer than half.
bool haveRoom(const Key& key, const RsaPrivateNumbers& numbers) {
    const DWORD bits = bitLength(bytesOf(key.publicKey->u.rsa.modulus));
    const auto halves = {&numbers.prime1, &numbers.prime2, &numbers.exponent1, &numbers.exponent2,
                         &numbers.coefficient};
    return bitLength(numbers.privateExponent) <= bits &&
           std::all_of(halves.begin(), halves.end(),
                       [bits](const Bytes* half) { return (bitLength(*half) + 7) / 8 <= (bits + 15) / 16; });
}

BOOL exportPrivateKey(const Key& key, BYTE* data, DWORD* size) {
    if (!hasAttribute(key.privateKey.get(), CKA_EXTRACTABLE))
        return posix::fail(NTE_BAD_KEY_STATE);
    RsaPrivateNumbers numbers;
    if (!readPrivateNumbers(key, numbers) || !haveRoom(key, numbers))
        return posix::fail(NTE_BAD_KEY_STATE);
    Bytes blob = privateKeyBlob(key, numbers);
    const BOOL given = giveOut(blob, data, size);
    wipe(blob);
    return given;
}

// CERT_PUBLIC_KEY_INFO with all that it points to behind it, in one piece as the caller's buffer takes it.
struct PublicKeyInfoLayout {
    CERT_PUBLIC_KEY_INFO info;
    char algorithm[24];
    BYTE parameters[2];
};

}  // namespace

Bytes rsaPublicKeyDer(const Key& key) {
    Bytes content = derInteger(bytesOf(key.publicKey->u.rsa.modulus));
    append(content, derInteger(bytesOf(key.publicKey->u.rsa.publicExponent)));
    return derElement(kDerSequence, content);
}

BOOL CryptExportKey(HCRYPTKEY key, HCRYPTKEY wrapping, DWORD blobType, DWORD flags, BYTE* data, DWORD* size) {
    const std::shared_ptr<Key> opened = Keys::instance().find(key);
    if (opened == nullptr || size == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (wrapping != 0)
        return posix::fail(NTE_BAD_KEY);
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    if (blobType == PUBLICKEYBLOB)
        return giveOut(publicKeyBlob(*opened), data, size);
    return blobType == PRIVATEKEYBLOB ? exportPrivateKey(*opened, data, size) : posix::fail(NTE_BAD_TYPE);
}

BOOL CryptExportPublicKeyInfo(HCRYPTPROV prov, DWORD spec, DWORD encoding, PCERT_PUBLIC_KEY_INFO info, DWORD* size) {
    const std::shared_ptr<Container> container = findContainer(prov);
    if (container == nullptr || size == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if ((encoding & X509_ASN_ENCODING) == 0)
        return posix::fail(ERROR_FILE_NOT_FOUND);
    const std::shared_ptr<Key> key = openKey(*container, spec);
    if (key == nullptr)
        return FALSE;
    const Bytes bits = rsaPublicKeyDer(*key);
    if (info == nullptr)
        return giveOut(nullptr, sizeof(PublicKeyInfoLayout) + bits.size(), nullptr, size);
    auto* target = reinterpret_cast<BYTE*>(info);
    PublicKeyInfoLayout layout = {{}, "1.2.840.113549.1.1.1", {kDerNull, 0}};
    layout.info.Algorithm.pszObjId = reinterpret_cast<char*>(target + offsetof(PublicKeyInfoLayout, algorithm));
    layout.info.Algorithm.Parameters = {sizeof layout.parameters, target + offsetof(PublicKeyInfoLayout, parameters)};
    layout.info.PublicKey = {static_cast<DWORD>(bits.size()), target + sizeof layout, 0};
    Bytes whole;
    appendStructure(whole, layout);
    append(whole, bits);
    return giveOut(whole, info, size);
}

}  // namespace platform::nss
