#include "pki/base64.h"
#include "pki/certificate.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/flat/owned_record.h"
#include "schema/schema.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"
#include "token/stored_certificate.h"

namespace {

MiByte labelOf(const PKCS_Blob& blob) {
    return blob.data != nullptr ? flat::bytesOf(blob) : MiByte();
}

// The name of a private key in the token, as a text.
int32_t setLabel(VTPKCS_KeyObj& object, const PKCS_Blob& label) {
    flat::OwnedRecord<PKCS_Blob> text;
    const int32_t result = flat::giveBlob(labelOf(label), text.record);
    return result != 0 ? result : VTPKCS_SetTokenKeyObj(&object, reinterpret_cast<const char*>(text.record.data));
}

int32_t setPrivateKey(VTPKCS_KeyObj& object, const VT_P11_Key& key) {
    flat::OwnedRecord<PKCS_PriKey> numbers;
    return flat::givePrivateKey(key, numbers.record) ? VTPKCS_SetPriKeyObj(&object, &numbers.record) : VT_E_MEMORY;
}

struct Labels {
    const PKCS_Blob& publicLabel;
    const PKCS_Blob& privateLabel;
};

int32_t generate(VT_P11_OP& op, const Labels& labels, int32_t bits, int32_t store, PKCS_PubKey& publicOut,
                 VTPKCS_KeyObj& privateOut) {
    VT_P11_Key publicKey;
    VT_P11_Key privateKey;
    int32_t result =
        op.GenRSAKeyPair(publicKey, labelOf(labels.publicLabel), privateKey, labelOf(labels.privateLabel), bits, store);
    if (result != 0)
        return result;
    flat::OwnedRecord<PKCS_PubKey> numbers;
    if (!flat::givePublicKey(publicKey, numbers.record))
        return token::kMaterialMissing;
    result = store != 0 ? setLabel(privateOut, labels.privateLabel) : setPrivateKey(privateOut, privateKey);
    if (result == 0)
        publicOut = numbers.release();
    return result;
}

int32_t belongTogether(VT_P11_OP& op, const uint8_t* certificateLabel, uint32_t certificateLabelLength,
                       const uint8_t* keyLabel, uint32_t keyLabelLength) {
    const MiByte der = token::StoredCertificate::read(op, certificateLabel, certificateLabelLength);
    if (der.GetLength() == 0)
        return 0;
    VT_Certificate certificate;
    certificate.setCertificate(der);
    RSAPublicKey key;
    if (certificate.getRSAPublicKey(key) != 0)
        return 0;
    return op.CheckRSAKeyPair(key, keyLabel, keyLabelLength) ? 1 : 0;
}

}  // namespace

int32_t VTPKCS_GetPubKeyFromToken(PKCS_Ctx* ctx, PKCS_PubKey* publicKey, const PKCS_Blob* label) {
    if (flat::anyNull(ctx, publicKey, label))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        VT_P11_Key key;
        const int32_t result = ctx->operation->GetHardPubKey(labelOf(*label), key);
        if (result != 0)
            return result;
        return flat::givePublicKey(key, *publicKey) ? 0 : int32_t{token::kMaterialMissing};
    });
}

int32_t VTPKCS_GenRSAKeyPair(PKCS_Ctx* ctx, PKCS_PubKey* publicKey, const PKCS_Blob* publicLabel,
                             VTPKCS_KeyObj* privateKey, const PKCS_Blob* privateLabel, int32_t bits, int32_t store) {
    if (flat::anyNull(ctx, publicKey, publicLabel, privateKey, privateLabel))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return generate(*ctx->operation, {*publicLabel, *privateLabel}, bits, store, *publicKey, *privateKey);
    });
}

int32_t VTPKCS_SetCertIntoToken(PKCS_Ctx* ctx, const uint8_t* label, uint32_t labelLength, const uint8_t* certificate,
                                uint32_t certificateLength) {
    if (flat::anyNull(ctx, label, certificate))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return int32_t{ctx->operation->SetCertIntoToken(label, labelLength, certificate, certificateLength)};
    });
}

int32_t VTPKCS_GetCertFromToken(PKCS_Ctx* ctx, const uint8_t* label, uint32_t labelLength, uint8_t* output,
                                uint32_t* outputLength) {
    if (flat::anyNull(ctx, label, outputLength))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return int32_t{ctx->operation->GetCertFromToken(label, labelLength, output, outputLength)};
    });
}

int32_t VTPKCS_CheckCertAndRSAPrivateKeyInToken(PKCS_Ctx* ctx, const uint8_t* certificateLabel,
                                                uint32_t certificateLabelLength, const uint8_t* keyLabel,
                                                uint32_t keyLabelLength) {
    if (ctx == nullptr || ctx->operation == nullptr)
        return 0;
    const int32_t result = flat::guarded(0, [&] {
        return belongTogether(*ctx->operation, certificateLabel, certificateLabelLength, keyLabel, keyLabelLength);
    });
    return result == 1 ? 1 : 0;
}

int32_t VTPKCS_Base64Encode(const char* input, int32_t inputLength, char* output, int32_t* outputLength) {
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return int32_t{VT_Base64::Encode(input, inputLength, output, outputLength, true)}; });
}

int32_t VTPKCS_Base64Decode(const char* input, int32_t inputLength, char* output, int32_t* outputLength) {
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return int32_t{VT_Base64::Decode(input, inputLength, output, outputLength)}; });
}
