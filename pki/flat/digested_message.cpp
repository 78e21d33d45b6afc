#include "pki/digested_data_content_info.h"
#include "pki/enveloped_access.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

int32_t readDigested(PKCS_Ctx* ctx, const PKCS_Blob& message, PKCS_Blob& data) {
    ContentInfo content;
    flat::decodeBlob(message, content);
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    VT_DigestedDataContentInfo digested;
    int32_t result = digested.decomposeDigestedDataContentInfo(content);
    if (result == 0)
        result = digested.Verify(*ctx->operation);
    return result != 0 ? result : flat::unwrapOutput(*pki::EnvelopedAccess::content(digested), data);
}

int32_t writeDigested(PKCS_Ctx* ctx, const PKCS_Blob& data, const PKCS_Alg& record, PKCS_Blob& message) {
    VT_P11_Alg alg;
    int32_t result = flat::readAlg(record, alg);
    if (result != 0)
        return result;
    if (data.data == nullptr)
        return token::kMaterialMissing;
    ContentInfo content;
    result = flat::wrapInput(ctx, data, content);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    AlgorithmIdentifier identifier;
    if (result == 0)
        result = alg.getAlgorithmIdentifier(identifier);
    if (result != 0)
        return result;

    VT_DigestedDataContentInfo digested;
    digested.setInnerContentInfo(content);
    content = ContentInfo();  // the members of a nested message keep the tags that they came with
    digested.setDigestAlgorithmIdentifier(identifier);
    result = digested.makeDigest(*ctx->operation);
    if (result == 0)
        result = digested.composeDigestedDataContentInfo(content);
    return result != 0 ? result : flat::giveDer(content, message);
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
