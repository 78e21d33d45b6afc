#include "foundation/byte_buffer.h"
#include "pki/content.h"
#include "pki/digested_parts.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

// The message around the value is let go of once it is taken apart.
int32_t openDigested(PKCS_Ctx* ctx, const PKCS_Blob& message, DigestedData& value, pki::DigestedParts& parts) {
    ContentInfo content;
    flat::decodeBlob(message, content);
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    const int32_t result = pki::readDigestedData(content, value, parts);
    if (result != 0)
        return result;
    return flat::anyNull(parts.digest, parts.algorithm, parts.content) ? int32_t{token::kElementAbsent} : 0;
}

int32_t readDigested(PKCS_Ctx* ctx, const PKCS_Blob& message, PKCS_Blob& data) {
    DigestedData value;
    pki::DigestedParts parts;
    int32_t result = openDigested(ctx, message, value, parts);
    if (result == 0)
        result = pki::verifyContent(parts, *ctx->operation);
    return result != 0 ? result : flat::unwrapOutput(*parts.content, data);
}

int32_t encodeDigested(PKCS_Ctx* ctx, const PKCS_Blob& data, const PKCS_Alg& record, MiByteBuffer& der) {
    VT_P11_Alg alg;
    int32_t result = flat::readAlg(record, alg);
    if (result != 0)
        return result;
    if (data.data == nullptr)
        return token::kMaterialMissing;
    // The content is read to where it goes in the message: it is the large part, and is not copied again.
    DigestedData value;
    auto& content = *static_cast<ContentInfo*>(value.Find("contentInfo"));
    result = flat::wrapInput(ctx, data, content);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    AlgorithmIdentifier identifier;
    if (result == 0)
        result = alg.getAlgorithmIdentifier(identifier);
    MiByte octets;
    if (result == 0)
        result = pki::digestContent({&identifier, &content, nullptr}, *ctx->operation, octets);
    const AsnOctetString digest = pki::octetsOf(octets);
    if (result == 0)
        result = pki::writeDigestedData({&identifier, &content, &digest}, value);
    constexpr uint32_t kRoomForTheRest = 128;
    if (result == 0)
        pki::encodeMessage(pki::kDigestedDataType, value, data.length + kRoomForTheRest, der);
    return result;
}

int32_t writeDigested(PKCS_Ctx* ctx, const PKCS_Blob& data, const PKCS_Alg& record, PKCS_Blob& message) {
    MiByteBuffer der;
    const int32_t result = encodeDigested(ctx, data, record, der);
    return result != 0 ? result : flat::giveBlob(der.GetChars(), der.GetLength(), message);
}

}  // namespace

int32_t PKCS7_ReadDigestedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_MALFORMED, [&] { return readDigested(ctx, *message, *data); });
}

int32_t PKCS7_WriteDigestedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* alg, PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, alg, message))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return writeDigested(ctx, *data, *alg, *message); });
}
