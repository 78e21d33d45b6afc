#include "pki/flat/message.h"

#include <algorithm>
#include <cstring>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "pki/content.h"
#include "pki/signer_access.h"
#include "pki/signer_info.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"

namespace flat {

namespace {

int32_t appendDer(VT_List& list, const AsnObject& value, MiByteBuffer& scratch) {
    value.DerEncode(scratch, 0);
    return appendNode(list, scratch.GetChars(), scratch.GetLength());
}

// Callers that bring a certificate along have long taken -1017 as the answer, and act on it.
int32_t lookAtExternal(const PKCS_Blob& external) {
    if (external.data == nullptr)
        return token::kMaterialMissing;
    Certificate certificate;
    decodeBlob(external, certificate);
    return 0;
}

}  // namespace

MiByte bytesOf(const PKCS_Blob& blob) {
    return {reinterpret_cast<const char*>(blob.data), blob.length};
}

namespace {

// The element at the front, without what follows it. Throws what a decoder would.
MiByte elementOf(const PKCS_Blob& blob) {
    constexpr uint32_t kLongestHead = 16;
    const MiByte head = bytesOf({blob.data, std::min(blob.length, kLongestHead)});
    AsnDerDecode decoder;
    AsnTag tag;
    unsigned int length = 0;
    unsigned int size = decoder.DecodeTag(tag, head, 0);
    size += decoder.DecodeLength(length, head, size);
    if (length > blob.length - size)
        throw MiOutOfRangeExp();
    return bytesOf({blob.data, size + length});
}

}  // namespace

void decodeBlob(const PKCS_Blob& blob, AsnObject& value) {
    const MiByte element = elementOf(blob);
    try {
        value.DerDecode(element, 0);
    } catch (const MiException&) {
        if (element.GetLength() == blob.length)
            throw;
        // The decoder lets a member reach past the end of the element that it is in.
        value.DerDecode(bytesOf(blob), 0);
    }
}

int32_t giveBlob(const char* bytes, uint32_t length, PKCS_Blob& blob) {
    auto* const data = static_cast<uint8_t*>(T_malloc(length));
    if (data == nullptr)
        return VT_E_MEMORY;
    if (length != 0)
        std::memcpy(data, bytes, length);
    blob = {data, length};
    return 0;
}

int32_t giveBlob(const MiByte& bytes, PKCS_Blob& blob) {
    return giveBlob(bytes.GetChars(), bytes.GetLength(), blob);
}

int32_t giveDer(const AsnObject& value, PKCS_Blob& blob) {
    MiByteBuffer buffer;
    value.DerEncode(buffer, 0);
    return giveBlob(buffer.GetChars(), buffer.GetLength(), blob);
}

int32_t wrapInput(PKCS_Ctx* ctx, const PKCS_Blob& data, ContentInfo& content) {
    const int32_t type = PKCS7_GetMsgType(ctx, &data);
    if (type == VT_E_MEMORY)
        return type;
    // A message without a type is one all the same; what is made of it then tells what it lacks.
    if (type == PKCS7_UNKNOWN) {
        wrapData(data, content);
        return 0;
    }
    // A value takes the tag that it is decoded from. In a message it has the format's.
    const AsnTag tag = content.GetAsnTag();
    decodeBlob(data, content);
    content.SetAsnTag(tag);
    return 0;
}

void wrapData(const PKCS_Blob& data, ContentInfo& content) {
    pki::storeData(content, reinterpret_cast<const char*>(data.data), data.length);
}

int32_t unwrapOutput(const ContentInfo& content, PKCS_Blob& data) {
    const AsnOid* const type = content.GetContentType();
    if (type == nullptr)
        return token::kElementAbsent;
    if (type->GetData() != pki::kDataType)
        return giveDer(content, data);
    const AsnOctetString* const octets = content.GetContent();
    return octets == nullptr ? int32_t{token::kElementAbsent} : giveBlob(octets->GetData(), data);
}

int32_t readAlg(const PKCS_Alg& record, VT_P11_Alg& alg) {
    int32_t result = alg.setAlgType(record.algType);
    if (result == 0 && record.iv != nullptr)
        result = alg.setIV(MiByte(reinterpret_cast<const char*>(record.iv), record.ivLength));
    if (result == 0)
        result = alg.setEffectiveBits(static_cast<int>(record.effectiveBits));
    return result;
}

int32_t appendNode(VT_List& list, const char* bytes, uint32_t length) {
    return VT_AddListNode(&list, reinterpret_cast<const uint8_t*>(bytes), length) == 0 ? 0 : VT_E_MEMORY;
}

int32_t appendNode(VT_List& list, const MiByte& bytes) {
    return appendNode(list, bytes.GetChars(), bytes.GetLength());
}

int32_t fillList(VT_List* list, const AsnSetOf<ExtendedCertificateOrCertificate>* certificates) {
    if (list == nullptr || certificates == nullptr)
        return 0;
    MiByteBuffer scratch;
    int32_t result = 0;
    for (unsigned int i = 0; i < certificates->Size() && result == 0; ++i) {
        const Certificate* const certificate = certificateIn(*certificates->Get(i));
        result = certificate != nullptr ? appendDer(*list, *certificate, scratch) : int32_t{token::kElementAbsent};
    }
    return result;
}

int32_t fillList(VT_List* list, const AsnSetOf<CertificateList>* certificateLists) {
    if (list == nullptr || certificateLists == nullptr)
        return 0;
    MiByteBuffer scratch;
    int32_t result = 0;
    for (unsigned int i = 0; i < certificateLists->Size() && result == 0; ++i)
        result = appendDer(*list, *certificateLists->Get(i), scratch);
    return result;
}

int32_t checkSigner(const SignerCheck& check, const VT_SignerInfo& signer, bool& verified) {
    verified = false;
    const IssuerAndSerialNumber* const identity = pki::SignerAccess::issuerAndSerialNumber(signer);
    if (identity == nullptr)
        return token::kMaterialMissing;
    if (check.external != nullptr)
        return lookAtExternal(*check.external);
    const Certificate* certificate = nullptr;
    int32_t result = check.certificates.find(*identity, certificate);
    if (result != 0 || certificate == nullptr)
        return result;
    if (check.ctx->operation == nullptr)
        return token::kNoOperation;
    result = pki::SignerAccess::verify(signer, *check.ctx->operation, *certificate, check.content);
    verified = result == 0;
    return result == token::kDigestMismatch ? 0 : result;
}

}  // namespace flat
