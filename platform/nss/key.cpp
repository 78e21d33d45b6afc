#include "platform/nss/attribute.h"
#include "platform/nss/certificate.h"
#include "platform/nss/container.h"
#include "platform/nss/entries.h"
#include "platform/nss/key_blob.h"
#include "platform/nss/token_certificate.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

constexpr DWORD kDefaultBits = 2048;
constexpr unsigned long kPublicExponent = 65537;

// The size that the high half of the flags asks for, or 0 for one that is not to be had.
DWORD bitsOf(DWORD flags) {
    const DWORD bits = flags >> 16;
    if (bits == 0)
        return kDefaultBits;
    return bits >= 512 && bits <= 4096 && bits % 16 == 0 ? bits : 0;
}

// What the pair may be used for follows from its specification; openKey reads it back from there.
CK_FLAGS usesOf(ALG_ID spec) {
    constexpr CK_FLAGS kSign = CKF_SIGN | CKF_VERIFY;
    constexpr CK_FLAGS kExchange = CKF_ENCRYPT | CKF_DECRYPT | CKF_WRAP | CKF_UNWRAP;
    return spec == AT_SIGNATURE ? kSign : kSign | kExchange;
}

bool makeKeyPair(Key& key, DWORD flags) {
    PK11RSAGenParams parameters = {static_cast<int>(bitsOf(flags)), kPublicExponent};
    const bool exportable = (flags & CRYPT_EXPORTABLE) != 0;
    const PK11AttrFlags attributes = PK11_ATTR_TOKEN | PK11_ATTR_PRIVATE | PK11_ATTR_SENSITIVE |
                                     (exportable ? PK11_ATTR_EXTRACTABLE : PK11_ATTR_UNEXTRACTABLE);
    SECKEYPublicKey* publicKey = nullptr;
    key.privateKey.reset(nss().PK11_GenerateKeyPairWithOpFlags(
        key.token.slot.get(), CKM_RSA_PKCS_KEY_PAIR_GEN, &parameters, &publicKey, attributes, usesOf(key.spec),
        usesOf(AT_KEYEXCHANGE) | CKF_SIGN_RECOVER | CKF_VERIFY_RECOVER, nullptr));
    key.publicKey.reset(publicKey);
    return key.privateKey != nullptr;
}

bool nameKeyPair(const Key& key, const std::string& name) {
    return nss().PK11_SetPrivateKeyNickname(key.privateKey.get(), name.c_str()) == SECSuccess &&
           nss().PK11_SetPublicKeyNickname(key.publicKey.get(), name.c_str()) == SECSuccess;
}

// The length that the header of a DER element tells, header included. KP_CERTIFICATE comes without a length; 0 for what
// is no element of a certificate's kind.
std::size_t lengthOfElement(const BYTE* der) {
    if (der[0] != kDerSequence)
        return 0;
    if (der[1] < 0x80)
        return std::size_t{2} + der[1];
    const std::size_t count = der[1] & 0x7F;
    if (count == 0 || count > 3)
        return 0;
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length = length << 8 | der[2 + i];
    return 2 + count + length;
}

// A certificate has the key in the one DER that there is of it.
bool isCertificateOf(const Certificate& certificate, const Key& key) {
    const CRYPT_BIT_BLOB& bits = certificate.info().SubjectPublicKeyInfo.PublicKey;
    return areEqual({bits.pbData, bits.cbData}, spanOf(rsaPublicKeyDer(key)));
}

}  // namespace

BOOL CryptGenKey(HCRYPTPROV prov, ALG_ID spec, DWORD flags, HCRYPTKEY* key) {
    const std::shared_ptr<Container> container = findContainer(prov);
    if (container == nullptr || key == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (spec != AT_SIGNATURE && spec != AT_KEYEXCHANGE)
        return posix::fail(NTE_BAD_ALGID);
    if ((flags & 0xFFFF & ~kKeyFlags) != 0 || bitsOf(flags) == 0)
        return posix::fail(NTE_BAD_FLAGS);
    if (container->name.empty())
        return posix::fail(NTE_PERM);
    if (!logIn(container->token))
        return FALSE;
    PrivateKey former = findPrivateKey(container->token, container->name);
    const auto made = std::make_shared<Key>(Key{container->token, nullptr, nullptr, spec});
    if (!makeKeyPair(*made, flags))
        return posix::fail(NTE_FAIL);
    if (!nameKeyPair(*made, container->name)) {
        deleteKeyPair(made->token, std::move(made->privateKey));
        return posix::fail(NTE_FAIL);
    }
    if (former != nullptr)
        deleteKeyPair(container->token, std::move(former));
    keylessContainers().erase(keylessName(container->token, container->name));
    *key = Keys::instance().open(made);
    return TRUE;
}

BOOL CryptGetUserKey(HCRYPTPROV prov, DWORD spec, HCRYPTKEY* key) {
    const std::shared_ptr<Container> container = findContainer(prov);
    if (container == nullptr || key == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    const std::shared_ptr<Key> opened = openKey(*container, spec);
    if (opened == nullptr)
        return FALSE;
    *key = Keys::instance().open(opened);
    return TRUE;
}

BOOL CryptDestroyKey(HCRYPTKEY key) {
    return Keys::instance().close(key) ? TRUE : posix::fail(ERROR_INVALID_PARAMETER);
}

BOOL CryptSetKeyParam(HCRYPTKEY key, DWORD param, const BYTE* data, DWORD flags) {
    const std::shared_ptr<Key> opened = Keys::instance().find(key);
    if (opened == nullptr || data == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (param != KP_CERTIFICATE)
        return posix::fail(NTE_BAD_TYPE);
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    const std::shared_ptr<Certificate> certificate = parseCertificate(data, lengthOfElement(data));
    if (certificate == nullptr)
        return FALSE;
    if (!isCertificateOf(*certificate, *opened))
        return posix::fail(NTE_BAD_PUBLIC_KEY);
    return importForKey(*certificate, *opened) ? TRUE : posix::fail(NTE_FAIL);
}

}  // namespace platform::nss
