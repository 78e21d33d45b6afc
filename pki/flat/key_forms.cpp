#include <cstring>

#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/flat/owned_record.h"
#include "schema/schema.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

namespace {

using flat::OwnedRecord;

bool isWhole(const PKCS_PubKey& key) {
    return flat::holds(key.modulus) && flat::holds(key.publicExponent);
}

bool isWhole(const PKCS_PriKey& key) {
    return flat::holds(key.modulus) && flat::holds(key.publicExponent) && flat::holds(key.privateExponent) &&
           flat::holds(key.prime1) && flat::holds(key.prime2) && flat::holds(key.exponent1) &&
           flat::holds(key.exponent2) && flat::holds(key.coefficient);
}

// The numbers were there, so that a key without them tells of memory.
int32_t encoded(int32_t result, const AsnObject& numbers, PKCS_Blob& der) {
    if (result == token::kMaterialMissing)
        return VT_E_MEMORY;
    return result != 0 ? result : flat::giveDer(numbers, der);
}

int32_t encode(const PKCS_PubKey& record, PKCS_Blob& der) {
    if (!isWhole(record))
        return token::kMaterialMissing;
    VT_P11_Key key;
    RSAPublicKey numbers;
    const int32_t result = flat::readPublicKey(record, key);
    return encoded(result != 0 ? result : key.getRSAPublicKey(numbers), numbers, der);
}

int32_t encode(const PKCS_PriKey& record, PKCS_Blob& der) {
    if (!isWhole(record))
        return token::kMaterialMissing;
    VT_P11_Key key;
    RSAPrivateKey numbers;
    const int32_t result = flat::readPrivateKey(record, key);
    return encoded(result != 0 ? result : key.getRSAPrivateKey(numbers), numbers, der);
}

int32_t decode(const PKCS_Blob& der, PKCS_PubKey& record) {
    RSAPublicKey numbers;
    flat::decodeBlob(der, numbers);
    return flat::giveNumbers(numbers, record);
}

int32_t decode(const PKCS_Blob& der, PKCS_PriKey& record) {
    RSAPrivateKey numbers;
    flat::decodeBlob(der, numbers);
    return flat::giveNumbers(numbers, record);
}

template <class Record>
int32_t encodeKey(const Record* key, PKCS_Blob* der) {
    if (flat::anyNull(key, der))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_MALFORMED, [&] { return encode(*key, *der); });
}

template <class Record>
int32_t decodeKey(const PKCS_Blob* der, Record* key) {
    if (flat::anyNull(der, key))
        return VT_E_NULL_ARGUMENT;
    if (der->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_MALFORMED, [&] { return decode(*der, *key); });
}

int32_t copyOut(const PKCS_Blob& bytes, uint8_t* out, uint32_t& length) {
    if (out != nullptr && length < bytes.length)
        return VT_E_BUFFER_TOO_SMALL;
    if (out != nullptr)
        std::memcpy(out, bytes.data, bytes.length);
    length = bytes.length;
    return 0;
}

// The decoders only read the DER, which a blob does not say.
PKCS_Blob blobOver(const uint8_t* der, uint32_t length) {
    return {const_cast<uint8_t*>(der), length};
}

template <class Run>
int32_t runBig(PKCS_Ctx* ctx, const PKCS_Blob& input, PKCS_Blob& output, Run run) {
    if (input.data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    MiByte bytes;
    const int32_t result = run(*ctx->operation, flat::bytesOf(input), bytes);
    return result != 0 ? result : flat::giveBlob(bytes, output);
}

}  // namespace

int32_t VT_PKCS1PubKeyEncode(const PKCS_PubKey* key, PKCS_Blob* der) {
    return encodeKey(key, der);
}

int32_t VT_PKCS1PubKeyDecode(const PKCS_Blob* der, PKCS_PubKey* key) {
    return decodeKey(der, key);
}

int32_t VT_PKCS1PriKeyEncode(const PKCS_PriKey* key, PKCS_Blob* der) {
    return encodeKey(key, der);
}

int32_t VT_PKCS1PriKeyDecode(const PKCS_Blob* der, PKCS_PriKey* key) {
    return decodeKey(der, key);
}

int32_t VT_MSPriKeyToP1Der(const uint8_t* blob, uint8_t* der, uint32_t* length) {
    if (flat::anyNull(blob, length))
        return VT_E_NULL_ARGUMENT;
    OwnedRecord<PKCS_PriKey> key;
    OwnedRecord<PKCS_Blob> made;
    int32_t result = VT_MSPriKeyToVPK(nullptr, blob, &key.record);
    if (result == 0)
        result = VT_PKCS1PriKeyEncode(&key.record, &made.record);
    return result != 0 ? result : copyOut(made.record, der, *length);
}

int32_t VT_P1DerToMSPubKey(const uint8_t* der, uint32_t derLength, uint8_t* blob, uint32_t* length) {
    if (flat::anyNull(der, length))
        return VT_E_NULL_ARGUMENT;
    const PKCS_Blob given = blobOver(der, derLength);
    OwnedRecord<PKCS_PubKey> key;
    const int32_t result = VT_PKCS1PubKeyDecode(&given, &key.record);
    return result != 0 ? result : VT_VPKToMSPubKey(nullptr, &key.record, blob, length);
}

int32_t VT_P1DerToMSPriKey(const uint8_t* der, uint32_t derLength, uint8_t* blob, uint32_t* length) {
    if (flat::anyNull(der, length))
        return VT_E_NULL_ARGUMENT;
    const PKCS_Blob given = blobOver(der, derLength);
    OwnedRecord<PKCS_PriKey> key;
    const int32_t result = VT_PKCS1PriKeyDecode(&given, &key.record);
    return result != 0 ? result : VT_VPKToMSPriKey(nullptr, &key.record, blob, length);
}

int32_t VT_RSABigEncrypt(PKCS_Ctx* ctx, const PKCS_PubKey* key, const PKCS_Blob* input, PKCS_Blob* output) {
    if (flat::anyNull(ctx, key, input, output))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        VT_P11_Key publicKey;
        const int32_t result = flat::readPublicKey(*key, publicKey);
        if (result != 0)
            return result;
        return runBig(ctx, *input, *output, [&](VT_P11_OP& op, const MiByte& from, MiByte& to) {
            return op.RSABigEncrypt(publicKey, from, to);
        });
    });
}

int32_t VT_RSABigDecrypt(PKCS_Ctx* ctx, const PKCS_PriKey* key, const PKCS_Blob* input, PKCS_Blob* output) {
    if (flat::anyNull(ctx, key, input, output))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        VT_P11_Key privateKey;
        const int32_t result = flat::readPrivateKey(*key, privateKey);
        if (result != 0)
            return result;
        return runBig(ctx, *input, *output, [&](VT_P11_OP& op, const MiByte& from, MiByte& to) {
            return op.RSABigDecrypt(privateKey, from, to);
        });
    });
}
