// PFX files: made of a certificate and its key, and opened.
#include "pki/pfx.h"

#include "pki/content.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/flat/owned_record.h"
#include "pki/safe_contents.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

using flat::OwnedRecord;

constexpr int kKeyPbe = 3;          // triple DES
constexpr int kCertificatePbe = 6;  // 40-bit RC2
constexpr int kIterations = 2000;

// Key and certificate carry the same identifier, by which readers bring them together.
constexpr char kIdentifier[] = {1, 0, 0, 0};

MiByte identifier() {
    return {kIdentifier, sizeof kIdentifier};
}

// ---- Making

int32_t addKey(VT_P11_OP& op, const MiByte& password, const MiByte& pkcs1, VT_PFX& pfx) {
    MiByte shrouded;
    int32_t result = VT_SafeContents::P8EncryptPrivateKeyInfo(op, password, kKeyPbe, kIterations, pkcs1, shrouded);
    VT_SafeContents bags;
    if (result == 0)
        result = bags.addShroudedKeyDer(shrouded, identifier());
    MiByte der;
    if (result == 0)
        result = bags.composeSafeContents(der);
    return result != 0 ? result : pfx.addDataSafeContents(der);
}

int32_t addCertificates(VT_P11_OP& op, const MiByte& password, const PKCS_Blob& certificate, const VT_List* others,
                        VT_PFX& pfx) {
    VT_SafeContents bags;
    int32_t result = bags.addCertDer(flat::bytesOf(certificate), identifier());
    const VT_List* node = others != nullptr ? others->next : nullptr;
    for (; node != nullptr && result == 0; node = node->next)
        result = bags.addCertDer(flat::bytesOf({node->data, node->length}));
    MiByte der;
    if (result == 0)
        result = bags.composeSafeContents(der);
    return result != 0 ? result : pfx.addEncryptSafeContents(op, password, kCertificatePbe, kIterations, der);
}

int32_t encodeKey(const PKCS_PriKey& record, MiByte& pkcs1) {
    VT_P11_Key key;
    int32_t result = flat::readPrivateKey(record, key);
    RSAPrivateKey numbers;
    if (result == 0)
        result = key.getRSAPrivateKey(numbers);
    if (result == 0)
        pki::encodeDer(numbers, pkcs1);
    return result;
}

int32_t makePfx(PKCS_Ctx* ctx, const PKCS_Blob& certificate, const PKCS_PriKey& key, const PKCS_Blob& password,
                const VT_List* others, PKCS_Blob& pfx) {
    int32_t result = VT_CheckCertAndPriKey(&certificate, &key);
    MiByte pkcs1;
    if (result == 0)
        result = encodeKey(key, pkcs1);
    if (result == 0 && password.data == nullptr)
        result = token::kMaterialMissing;
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    if (result != 0)
        return result;

    const MiByte secret = flat::bytesOf(password);
    VT_PFX made;
    result = addKey(*ctx->operation, secret, pkcs1, made);
    if (result == 0)
        result = addCertificates(*ctx->operation, secret, certificate, others, made);
    MiByte der;
    if (result == 0)
        result = made.composePFXBaseOnPassword(*ctx->operation, secret, kIterations, der);
    return result != 0 ? result : flat::giveBlob(der, pfx);
}

// ---- Opening

int32_t openKey(VT_P11_OP& op, const MiByte& password, const VT_PFX& pfx, OwnedRecord<PKCS_PriKey>& key) {
    MiByte der;
    int32_t result = pfx.getDataSafeContentsByIndex(0, der);
    VT_SafeContents bags;
    if (result == 0)
        result = bags.decomposeSafeContents(der);
    MiByte shrouded;
    if (result == 0)
        result = bags.getShroudedKeyDerByIndex(0, shrouded);
    MiByte pkcs1;
    if (result == 0)
        result = VT_SafeContents::P8DecryptPrivateKeyInfo(op, password, shrouded, pkcs1);
    if (result != 0)
        return result;
    RSAPrivateKey numbers;
    pki::decodeDer(pkcs1, numbers);
    return flat::giveNumbers(numbers, key.record);
}

int32_t openCertificates(VT_P11_OP& op, const MiByte& password, const VT_PFX& pfx, VT_SafeContents& bags) {
    MiByte der;
    const int32_t result = pfx.getEncryptSafeContentsByIndex(op, password, 0, der);
    return result != 0 ? result : bags.decomposeSafeContents(der);
}

// The list receives all certificates; the first that is the key's is the one.
int32_t chooseCertificate(const VT_SafeContents& bags, const PKCS_PriKey& key, VT_List* list,
                          OwnedRecord<PKCS_Blob>& certificate) {
    MiByte der;
    int32_t result = 0;
    for (int i = 0; (result = bags.getCertDerByIndex(i, der)) == 0; ++i) {
        if (der.Empty())
            continue;  // it is no certificate, and a list has no nodes without bytes
        OwnedRecord<PKCS_Blob> candidate;
        result = flat::giveBlob(der, candidate.record);
        if (result == 0 && list != nullptr)
            result = flat::appendNode(*list, der);
        if (result != 0)
            return result;
        if (certificate.record.data == nullptr && VT_CheckCertAndPriKey(&candidate.record, &key) == 0)
            certificate.record = candidate.release();
    }
    if (result != token::kIndexOutOfRange)
        return result;
    return certificate.record.data != nullptr ? 0 : int32_t{token::kKeyMismatch};
}

int32_t openPfx(PKCS_Ctx* ctx, const PKCS_Blob& pfx, const PKCS_Blob& password, int32_t skipMac, PKCS_PriKey& key,
                PKCS_Blob& certificate, VT_List* list) {
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    const MiByte secret = flat::bytesOf(password);
    VT_PFX opened;
    OwnedRecord<PKCS_PriKey> foundKey;
    VT_SafeContents bags;
    OwnedRecord<PKCS_Blob> foundCertificate;
    int32_t result = opened.decomposePFXBaseOnPassword(*ctx->operation, secret, flat::bytesOf(pfx), skipMac);
    if (result == 0)
        result = openKey(*ctx->operation, secret, opened, foundKey);
    if (result == 0)
        result = openCertificates(*ctx->operation, secret, opened, bags);
    if (result == 0)
        result = chooseCertificate(bags, foundKey.record, list, foundCertificate);
    if (result != 0)
        return result;
    key = foundKey.release();
    certificate = foundCertificate.release();
    return 0;
}

}  // namespace

int32_t VT_GenPFX(PKCS_Ctx* ctx, const PKCS_Blob* certificate, const PKCS_PriKey* key, const PKCS_Blob* password,
                  const VT_List* certificates, PKCS_Blob* pfx) {
    if (flat::anyNull(ctx, certificate, key, password, pfx))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return makePfx(ctx, *certificate, *key, *password, certificates, *pfx); });
}

int32_t VT_GetCertAndPrivateKeyFromPFX(PKCS_Ctx* ctx, const PKCS_Blob* pfx, const PKCS_Blob* password, int32_t skipMac,
                                       PKCS_PriKey* key, PKCS_Blob* certificate, VT_List* certificates) {
    if (flat::anyNull(ctx, pfx, password, key, certificate))
        return VT_E_NULL_ARGUMENT;
    if (pfx->data == nullptr || password->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return openPfx(ctx, *pfx, *password, skipMac, *key, *certificate, certificates); });
}

int32_t VT_CheckPFXDer(PKCS_Ctx* ctx, const PKCS_Blob* pfx) {
    if (flat::anyNull(ctx, pfx))
        return VT_E_NULL_ARGUMENT;
    if (pfx->data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        int type = 0;
        return int32_t{VT_PFX::getPFXType(flat::bytesOf(*pfx), type)};
    });
}
