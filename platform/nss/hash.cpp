#include <algorithm>
#include <iterator>

#include "platform/nss/container.h"
#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/nss/item.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

struct Algorithm {
    ALG_ID id;
    SECOidTag oid;
    const char* objectId;
    unsigned int length;
};

constexpr Algorithm kAlgorithms[] = {
    {CALG_MD5, SEC_OID_MD5, "1.2.840.113549.2.5", 16},
    {CALG_SHA1, SEC_OID_SHA1, "1.3.14.3.2.26", 20},
    {CALG_SHA_256, SEC_OID_SHA256, "2.16.840.1.101.3.4.2.1", 32},
    {CALG_SHA_384, SEC_OID_SHA384, "2.16.840.1.101.3.4.2.2", 48},
    {CALG_SHA_512, SEC_OID_SHA512, "2.16.840.1.101.3.4.2.3", 64},
};

// What an HCRYPTHASH stands for. A signature ends the hashing; the digest then stays for further signatures.
struct Hash {
    std::shared_ptr<Container> container;
    const Algorithm* algorithm;
    DigestContext context;
    Bytes digest;
};

using Hashes = Handles<Hash>;

bool finish(Hash& hash) {
    if (!hash.digest.empty())
        return true;
    Bytes digest(hash.algorithm->length);
    unsigned int length = 0;
    if (nss().PK11_DigestFinal(hash.context.get(), digest.data(), &length, hash.algorithm->length) != SECSuccess)
        return false;
    hash.digest = digest;
    return true;
}

// DigestInfo (PKCS#1, A.2.4). It is made here since NSS's helper that would make it refuses MD5, which authorities
// still ask for.
Bytes digestInfo(const Hash& hash) {
    Bytes algorithm = derElement(kDerObjectIdentifier, objectIdDer(hash.algorithm->objectId));
    append(algorithm, derElement(kDerNull, {}));
    Bytes content = derElement(kDerSequence, algorithm);
    append(content, derElement(kDerOctetString, hash.digest));
    return derElement(kDerSequence, content);
}

bool sign(const Key& key, Bytes message, Bytes& signature) {
    SECItem input = itemOf(message);
    SECItem output = itemOf(signature);
    if (nss().PK11_Sign(key.privateKey.get(), &output, &input) != SECSuccess)
        return false;
    signature.resize(output.len);
    std::reverse(signature.begin(), signature.end());
    return true;
}

std::shared_ptr<Hash> findHash(HCRYPTHASH handle) {
    std::shared_ptr<Hash> hash = Hashes::instance().find(handle);
    if (hash == nullptr)
        posix::setLastError(ERROR_INVALID_PARAMETER);
    return hash;
}

}  // namespace

BOOL CryptCreateHash(HCRYPTPROV prov, ALG_ID alg, HCRYPTKEY key, DWORD flags, HCRYPTHASH* hash) {
    const std::shared_ptr<Container> container = findContainer(prov);
    if (container == nullptr || hash == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    const auto* algorithm = std::find_if(std::begin(kAlgorithms), std::end(kAlgorithms),
                                         [alg](const Algorithm& known) { return known.id == alg; });
    if (algorithm == std::end(kAlgorithms))
        return posix::fail(NTE_BAD_ALGID);
    if (key != 0)
        return posix::fail(NTE_BAD_KEY);
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    DigestContext context(nss().PK11_CreateDigestContext(algorithm->oid));
    if (context == nullptr || nss().PK11_DigestBegin(context.get()) != SECSuccess)
        return posix::fail(NTE_FAIL);
    *hash = Hashes::instance().open(std::make_shared<Hash>(Hash{container, algorithm, std::move(context), {}}));
    return TRUE;
}

BOOL CryptHashData(HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD flags) {
    const std::shared_ptr<Hash> opened = findHash(hash);
    if (opened == nullptr)
        return FALSE;
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    if (!opened->digest.empty())
        return posix::fail(NTE_BAD_HASH_STATE);
    if (size == 0)
        return TRUE;
    if (data == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    return nss().PK11_DigestOp(opened->context.get(), data, size) == SECSuccess ? TRUE : posix::fail(NTE_FAIL);
}

BOOL CryptSignHashA(HCRYPTHASH hash, DWORD spec, LPCSTR /*description*/, DWORD flags, BYTE* signature, DWORD* size) {
    const std::shared_ptr<Hash> opened = findHash(hash);
    if (opened == nullptr)
        return FALSE;
    if (size == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    const std::shared_ptr<Key> key = openKey(*opened->container, spec);
    if (key == nullptr)
        return FALSE;
    const int length = nss().PK11_SignatureLen(key->privateKey.get());
    if (length <= 0)
        return posix::fail(NTE_FAIL);
    Bytes value(static_cast<std::size_t>(length));
    if (signature == nullptr || *size < value.size())
        return giveOut(value, signature, size);
    if (!finish(*opened) || !sign(*key, digestInfo(*opened), value))
        return posix::fail(NTE_FAIL);
    return giveOut(value, signature, size);
}

BOOL CryptDestroyHash(HCRYPTHASH hash) {
    return Hashes::instance().close(hash) ? TRUE : posix::fail(ERROR_INVALID_PARAMETER);
}

}  // namespace platform::nss
