// Between the key records and VT_P11_Key.
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "token/key.h"

namespace flat {

namespace {

VT_PKCS11_BYTES bytesAt(const PKCS_Blob& blob) {
    return {blob.data, blob.length};
}

PKCS_Blob blobOf(const VT_PKCS11_BYTES& bytes) {
    return {bytes.data, bytes.length};
}

}  // namespace

int32_t readPrivateKey(const PKCS_PriKey& record, VT_P11_Key& key) {
    const VT_PKCS11_RSA_PRIVATE_KEY numbers = {bytesAt(record.modulus),         bytesAt(record.publicExponent),
                                               bytesAt(record.privateExponent), bytesAt(record.prime1),
                                               bytesAt(record.prime2),          bytesAt(record.exponent1),
                                               bytesAt(record.exponent2),       bytesAt(record.coefficient)};
    const int32_t result = key.setPrivateKey(&numbers);
    return result != 0 ? result : key.setKeyType(token::kRsaPrivateKey);
}

int32_t readPublicKey(const PKCS_PubKey& record, VT_P11_Key& key) {
    const VT_PKCS11_RSA_PUBLIC_KEY numbers = {bytesAt(record.modulus), bytesAt(record.publicExponent)};
    const int32_t result = key.setPublicKey(&numbers);
    return result != 0 ? result : key.setKeyType(token::kRsaPublicKey);
}

int32_t readKeyObject(const VTPKCS_KeyObj& object, VT_P11_Key& key) {
    if (object.kind != VTPKCS_TOKEN_KEY)
        return readPrivateKey(object.privateKey, key);
    const int32_t result = key.setTokenKeyLabel(reinterpret_cast<const unsigned char*>(object.tokenKeyLabel));
    return result != 0 ? result : key.setKeyType(token::kRsaPrivateKey);
}

bool givePublicKey(const VT_P11_Key& key, PKCS_PubKey& record) {
    VT_PKCS11_RSA_PUBLIC_KEY numbers = {};
    key.getPublicKey(&numbers);
    if (numbers.modulus.data == nullptr)
        return false;
    record = {blobOf(numbers.modulus), blobOf(numbers.publicExponent)};
    return true;
}

bool givePrivateKey(const VT_P11_Key& key, PKCS_PriKey& record) {
    VT_PKCS11_RSA_PRIVATE_KEY numbers = {};
    key.getPrivateKey(&numbers);
    if (numbers.modulus.data == nullptr)
        return false;
    record = {blobOf(numbers.modulus),   blobOf(numbers.publicExponent), blobOf(numbers.privateExponent),
              blobOf(numbers.prime1),    blobOf(numbers.prime2),         blobOf(numbers.exponent1),
              blobOf(numbers.exponent2), blobOf(numbers.coefficient)};
    return true;
}

int32_t giveNumbers(const RSAPublicKey& numbers, PKCS_PubKey& record) {
    VT_P11_Key key;
    if (const int32_t result = key.setRSAPublicKey(numbers))
        return result;
    return givePublicKey(key, record) ? 0 : VT_E_MEMORY;
}

int32_t giveNumbers(const RSAPrivateKey& numbers, PKCS_PriKey& record) {
    VT_P11_Key key;
    if (const int32_t result = key.setRSAPrivateKey(numbers))
        return result;
    return givePrivateKey(key, record) ? 0 : VT_E_MEMORY;
}

}  // namespace flat
