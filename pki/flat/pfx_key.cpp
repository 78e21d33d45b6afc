// What a PFX holds in the forms that other interfaces take: a Microsoft blob, and a key object.
#include <cstring>
#include <string>

#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/flat/owned_record.h"
#include "token/codes.h"

namespace {

using flat::OwnedRecord;

enum Source : int32_t { kTokenLabel = 1, kPfx = 2 };

int32_t copyOut(const PKCS_Blob& certificate, uint8_t* out, uint32_t& length) {
    if (out == nullptr) {
        length = certificate.length;
        return 0;
    }
    if (length < certificate.length)
        return VT_E_BUFFER_TOO_SMALL;
    std::memcpy(out, certificate.data, certificate.length);
    return 0;
}

int32_t fillFromToken(PKCS_Ctx* ctx, const PKCS_Blob& certificate, const PKCS_Blob& label, VTPKCS_KeyObj& object,
                      PKCS_Blob& out) {
    if (certificate.data == nullptr || label.data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    const std::string text(reinterpret_cast<const char*>(label.data), label.length);
    OwnedRecord<PKCS_Blob> copy;
    int32_t result = flat::giveBlob(reinterpret_cast<const char*>(certificate.data), certificate.length, copy.record);
    if (result == 0)
        result = VTPKCS_SetTokenKeyObj(&object, text.c_str());
    if (result == 0)
        out = copy.release();
    return result;
}

int32_t fillFromPfx(PKCS_Ctx* ctx, const PKCS_Blob& pfx, const PKCS_Blob& password, VTPKCS_KeyObj& object,
                    PKCS_Blob& out) {
    OwnedRecord<PKCS_PriKey> key;
    OwnedRecord<PKCS_Blob> certificate;
    int32_t result = VT_GetCertAndPrivateKeyFromPFX(ctx, &pfx, &password, 0, &key.record, &certificate.record, nullptr);
    if (result == 0)
        result = VTPKCS_SetPriKeyObj(&object, &key.record);
    if (result == 0)
        out = certificate.release();
    return result;
}

}  // namespace

int32_t VT_GetMSCertAndKeyFromPFX(PKCS_Ctx* ctx, const uint8_t* pfx, uint32_t pfxLength, const char* password,
                                  uint32_t passwordLength, uint8_t* blob, uint32_t* blobLength, uint8_t* certificate,
                                  uint32_t* certificateLength, VT_List* certificates) {
    if (flat::anyNull(ctx, pfx, password, blobLength, certificateLength))
        return VT_E_NULL_ARGUMENT;
    if (passwordLength == 0)
        passwordLength = static_cast<uint32_t>(std::strlen(password));
    // Blobs serve for output too, and have no const data.
    const PKCS_Blob file = {const_cast<uint8_t*>(pfx), pfxLength};
    const PKCS_Blob secret = {reinterpret_cast<uint8_t*>(const_cast<char*>(password)), passwordLength};
    OwnedRecord<PKCS_PriKey> key;
    OwnedRecord<PKCS_Blob> found;
    int32_t result = VT_GetCertAndPrivateKeyFromPFX(ctx, &file, &secret, 0, &key.record, &found.record, certificates);
    if (result == 0)
        result = copyOut(found.record, certificate, *certificateLength);
    return result != 0 ? result : VT_VPKToMSPriKey(nullptr, &key.record, blob, blobLength);
}

int32_t VTPKCS_GetCertAndPriKeyObj(PKCS_Ctx* ctx, const PKCS_Blob* input, const PKCS_Blob* secret, int32_t source,
                                   VTPKCS_KeyObj* object, PKCS_Blob* certificate) {
    if (flat::anyNull(ctx, input, secret, object, certificate))
        return VT_E_NULL_ARGUMENT;
    switch (source) {
        case kTokenLabel:
            return flat::guarded(VT_E_NULL_ARGUMENT,
                                 [&] { return fillFromToken(ctx, *input, *secret, *object, *certificate); });
        case kPfx:
            return fillFromPfx(ctx, *input, *secret, *object, *certificate);
        default:
            return token::kUnsupported;
    }
}
