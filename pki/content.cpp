#include "pki/content.h"

#include <climits>
#include <memory>
#include <utility>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"
#include "token/codes.h"

namespace pki {

namespace {

// As SetContent, but the message takes the content over: a copy would be one of everything in it.
void giveContent(ContentInfo& message, const char* type, std::unique_ptr<AsnOctetString> content) {
    message.Reset(nullptr);
    message.SetContentType(AsnOid(type));
    auto& around = dynamic_cast<AsnContainer&>(*message.Find("content"));
    around.SetDataSpace(content.release());
    around.SetAsnPresent(true);
}

}  // namespace

void storeContent(ContentInfo& message, const char* type, const AsnObject& value) {
    auto content = std::make_unique<AsnOctetString>();
    content->SetDerObject(&value);
    giveContent(message, type, std::move(content));
}

void encodeMessage(const char* type, const AsnObject& value, unsigned int sizeHint, MiByteBuffer& der) {
    constexpr unsigned char kSequence = 0x30;
    constexpr unsigned char kContent = 0xA0;  // [0]
    constexpr unsigned int kRoomForHeads = 64;
    der.EnsureCapacity(sizeHint + kRoomForHeads);
    const unsigned int size = value.DerEncode(der, 0);
    AsnDerEncode encoder;
    MiByteBuffer inner;
    AsnOid(type).DerEncode(inner, 0);
    inner.Append(kContent);
    inner.Append(encoder.EncodeLength(size));
    if (size > UINT_MAX - inner.GetLength())
        throw MiOutOfRangeExp();
    MiByteBuffer heads;
    heads.Append(kSequence);
    heads.Append(encoder.EncodeLength(size + inner.GetLength()));
    heads.Append(inner);
    der.Insert(0, heads.GetChars(), heads.GetLength());
}

void storeOctets(ContentInfo& message, const char* type, const char* bytes, unsigned int length) {
    auto content = std::make_unique<AsnOctetString>();
    content->SetData(bytes, 0, length);
    giveContent(message, type, std::move(content));
}

void storeData(ContentInfo& message, const char* bytes, unsigned int length) {
    storeOctets(message, kDataType, bytes, length);
}

int openContent(const ContentInfo& message, const char* type, const AsnOctetString*& content) {
    const AsnOid* const held = message.GetContentType();
    if (held == nullptr)
        return token::kElementAbsent;
    if (*held != AsnOid(type))
        return token::kWrongContentType;
    content = message.GetContent();
    return content == nullptr ? token::kElementAbsent : 0;
}

const MiByte& contentOctets(const AsnOctetString& content, MiByte& scratch) {
    // Bytes that were kept as they were read are in force; the value is not, then.
    if (content.GetAsnByteType() == AsnObject::ASN_NO_BYTE)
        return content.GetData();
    MiByteBuffer octets;
    content.DerEncodeContent(octets, 0);
    scratch = octets.GetByte();
    return scratch;
}

AsnOctetString octetsOf(const MiByte& bytes) {
    AsnOctetString octets;
    octets.SetData(bytes);
    return octets;
}

AsnOctetString anyOf(const AsnObject& value) {
    AsnOctetString any;
    any.SetDerObject(&value);
    return any;
}

bool isVersion(const AsnInteger* version, int expected) {
    return version != nullptr && *version == AsnInteger(expected);
}

void encodeDer(const AsnObject& value, MiByte& der) {
    MiByteBuffer buffer;
    value.DerEncode(buffer, 0);
    der.SetByte(buffer.GetChars(), buffer.GetLength());
}

void decodeDer(const MiByte& der, AsnObject& value) {
    value.DerDecode(der, 0);
}

}  // namespace pki
