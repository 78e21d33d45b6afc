#include "pki/encrypted_data_content_info.h"
#include "pki/enveloped_access.h"
#include "pki/flat/ciphertext.h"
#include "pki/flat/flat.h"
#include "pki/flat/opening.h"

namespace {

using pki::EnvelopedAccess;

int32_t readEncrypted(PKCS_Ctx* ctx, const PKCS_Blob& message, const PKCS_Blob& keyBytes, PKCS_Blob& data) {
    VT_EncryptedDataContentInfo encrypted;
    AlgorithmIdentifier algorithm;
    int32_t result = flat::openMessage(ctx, message, encrypted);
    if (result == 0)
        result = encrypted.getEncryptedContentInfoAlgorithmIdentifier(algorithm);
    VT_P11_Key key;
    if (result == 0)
        result = key.setSessionKey(flat::bytesOf(keyBytes), static_cast<int>(keyBytes.length), algorithm);
    if (result == 0)
        result = encrypted.DecryptAttachedContentInfo(*ctx->operation, key);
    return result != 0 ? result : flat::unwrapOutput(*EnvelopedAccess::content(encrypted), data);
}

int32_t writeEncrypted(PKCS_Ctx* ctx, const PKCS_Blob& data, const PKCS_Alg& record, const PKCS_Key& keyRecord,
                       PKCS_Blob& message) {
    VT_P11_Alg alg;
    int32_t result = flat::readAlg(record, alg);
    AlgorithmIdentifier algorithm;
    if (result == 0)
        result = alg.getAlgorithmIdentifier(algorithm);
    VT_P11_Key key;
    if (result == 0)
        result = key.setSessionKey(flat::bytesOf({keyRecord.data, keyRecord.length}),
                                   static_cast<int>(keyRecord.keyLength), algorithm);
    if (result != 0)
        return result;
    if (data.data == nullptr)
        return token::kMaterialMissing;
    ContentInfo content;
    result = flat::wrapInput(ctx, data, content);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    if (result != 0)
        return result;

    VT_EncryptedDataContentInfo encrypted;
    MiByte ciphertext;
    result = EnvelopedAccess::encrypt(encrypted, *ctx->operation, alg, key, content, ciphertext);
    content = ContentInfo();  // the members of a nested message keep the tags that they came with
    if (result == 0)
        result = encrypted.composeEncryptedDataContentInfo(content);
    return result != 0 ? result : flat::giveWithCiphertext(content, ciphertext, message);
}

}  // namespace

int32_t PKCS7_ReadEncryptedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, const PKCS_Blob* key, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, key, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return readEncrypted(ctx, *message, *key, *data); });
}

int32_t PKCS7_WriteEncryptedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* alg, const PKCS_Key* key,
                                    PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, alg, key, message))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return writeEncrypted(ctx, *data, *alg, *key, *message); });
}
