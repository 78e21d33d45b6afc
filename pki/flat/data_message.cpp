#include "asn/asn.h"
#include "pki/content.h"
#include "pki/data_content_info.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "schema/pkcs.h"
#include "token/codes.h"

namespace {

struct MessageType {
    const char* identifier;
    int32_t number;
};

constexpr MessageType kMessageTypes[] = {
    {pki::kDataType, PKCS7_DATA},
    {pki::kEncryptedDataType, PKCS7_ENCRYPTED},
    {pki::kDigestedDataType, PKCS7_DIGESTED},
    {pki::kSignedDataType, PKCS7_SIGNED},
    {pki::kEnvelopedDataType, PKCS7_ENVELOPED},
    {pki::kSignedAndEnvelopedDataType, PKCS7_SIGNED_AND_ENVELOPED},
};

int32_t typeOf(const PKCS_Blob& message) {
    ContentInfo content;
    flat::decodeBlob(message, content);
    const AsnOid* const type = content.GetContentType();
    if (type == nullptr)
        return token::kElementAbsent;
    for (const MessageType& known : kMessageTypes)
        if (type->GetData() == known.identifier)
            return known.number;
    return PKCS7_UNKNOWN;
}

int32_t readData(const PKCS_Blob& message, PKCS_Blob& data) {
    ContentInfo content;
    flat::decodeBlob(message, content);
    VT_DataContentInfo holder;
    int32_t result = holder.decomposeDataContentInfo(content);
    MiByte bytes;
    if (result == 0)
        result = holder.getData(bytes);
    return result != 0 ? result : flat::giveBlob(bytes, data);
}

int32_t writeData(const PKCS_Blob& data, PKCS_Blob& message) {
    ContentInfo content;
    flat::wrapData(data, content);
    return flat::giveDer(content, message);
}

}  // namespace

int32_t PKCS7_GetMsgType(PKCS_Ctx* ctx, const PKCS_Blob* message) {
    if (flat::anyNull(ctx, message))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(PKCS7_UNKNOWN, [&] { return typeOf(*message); });
}

int32_t PKCS7_ReadDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_MALFORMED, [&] { return readData(*message, *data); });
}

int32_t PKCS7_WriteDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, message))
        return VT_E_NULL_ARGUMENT;
    if (data->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_MALFORMED, [&] { return writeData(*data, *message); });
}
