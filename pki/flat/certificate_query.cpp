// Questions to single certificates.
#include <algorithm>

#include "pki/certificate.h"
#include "pki/certificate_tool.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

int32_t readCertificate(const PKCS_Blob& blob, VT_Certificate& certificate) {
    if (blob.data == nullptr)
        return token::kMaterialMissing;
    return certificate.setCertificate(flat::bytesOf(blob));
}

// None of the questions computes with the context, but callers rely on being told that theirs is not usable.
int32_t checkArguments(const PKCS_Ctx& ctx, const PKCS_Blob& certificate) {
    if (certificate.data == nullptr)
        return token::kMaterialMissing;
    return ctx.operation == nullptr ? int32_t{token::kNoOperation} : 0;
}

// The numbers of a certificate's key, each in its shortest form.
int32_t readNumbers(const PKCS_Blob& blob, RSAPublicKey& numbers) {
    VT_Certificate certificate;
    const int32_t result = readCertificate(blob, certificate);
    return result != 0 ? result : certificate.getRSAPublicKey(numbers);
}

bool equalNumbers(const AsnInteger* left, const PKCS_Blob& right) {
    if (left == nullptr || right.data == nullptr)
        return false;
    const auto significant = [](const uint8_t* first, const uint8_t* last) {
        return std::find_if(first, last, [](uint8_t byte) { return byte != 0; });
    };
    const MiByte& number = left->GetBigInteger().GetByte();
    const auto* const first = reinterpret_cast<const uint8_t*>(number.GetChars());
    const uint8_t* const last = first + number.GetLength();
    const uint8_t* const rightLast = right.data + right.length;
    return std::equal(significant(first, last), last, significant(right.data, rightLast), rightLast);
}

int32_t compareKeys(const PKCS_Blob& certificate, const PKCS_PriKey& key) {
    RSAPublicKey numbers;
    const int32_t result = readNumbers(certificate, numbers);
    if (result != 0)
        return result;
    const bool equal = equalNumbers(numbers.GetPkModulus(), key.modulus) &&
                       equalNumbers(numbers.GetPublicExponent(), key.publicExponent);
    return equal ? 0 : int32_t{token::kKeyMismatch};
}

int32_t givePublicKey(const PKCS_Ctx& ctx, const PKCS_Blob& certificate, PKCS_PubKey& record) {
    RSAPublicKey numbers;
    int32_t result = checkArguments(ctx, certificate);
    if (result == 0)
        result = readNumbers(certificate, numbers);
    return result != 0 ? result : flat::giveNumbers(numbers, record);
}

int32_t fillSubject(const PKCS_Ctx& ctx, const PKCS_Blob& blob, VT_List& list) {
    VT_Certificate certificate;
    int32_t result = checkArguments(ctx, blob);
    if (result == 0)
        result = readCertificate(blob, certificate);
    int total = 0;
    if (result == 0)
        result = certificate.getSubjectsTotal(total);
    for (int i = 0; i < total && result == 0; ++i) {
        MiByte node;
        result = certificate.getSubjectsByIndex(i, node);
        if (result == 0)
            result = flat::appendNode(list, node);
    }
    return result;
}

int32_t verifyChain(PKCS_Ctx* ctx, const PKCS_Blob* issuer, const PKCS_Blob* certificate) {
    for (const PKCS_Blob* blob : {issuer, certificate})
        if (blob != nullptr && blob->data == nullptr)
            return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    const auto bytesOf = [](const PKCS_Blob* blob) { return blob != nullptr ? flat::bytesOf(*blob) : MiByte(); };
    const MiByte issuerDer = bytesOf(issuer);
    const MiByte der = bytesOf(certificate);
    return VT_Certificate_Tool::VerifyCertificateChain(*ctx->operation, issuer != nullptr ? &issuerDer : nullptr,
                                                       certificate != nullptr ? &der : nullptr);
}

}  // namespace

int32_t VT_CheckCertAndPriKey(const PKCS_Blob* certificate, const PKCS_PriKey* key) {
    if (flat::anyNull(certificate, key))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return compareKeys(*certificate, *key); });
}

int32_t VT_VerifyCertificateChain(PKCS_Ctx* ctx, const PKCS_Blob* issuer, const PKCS_Blob* certificate) {
    if (ctx == nullptr || (issuer == nullptr && certificate == nullptr))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_MALFORMED, [&] { return verifyChain(ctx, issuer, certificate); });
}

int32_t VT_VerifyCertificateValidPeriod(PKCS_Ctx* ctx, const PKCS_Blob* certificate) {
    if (flat::anyNull(ctx, certificate))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_MALFORMED, [&] {
        VT_Certificate value;
        int32_t result = checkArguments(*ctx, *certificate);
        if (result == 0)
            result = readCertificate(*certificate, value);
        return result != 0 ? result : value.VerifyValidityPeriod();
    });
}

int32_t VT_GetPublicKeyFromCert(PKCS_Ctx* ctx, const PKCS_Blob* certificate, PKCS_PubKey* key) {
    if (flat::anyNull(ctx, certificate, key))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return givePublicKey(*ctx, *certificate, *key); });
}

int32_t VT_GetSubjectFromCert(PKCS_Ctx* ctx, const PKCS_Blob* certificate, VT_List* subject) {
    if (flat::anyNull(ctx, certificate, subject))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_MALFORMED, [&] { return fillSubject(*ctx, *certificate, *subject); });
}
