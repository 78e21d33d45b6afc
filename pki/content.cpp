#include "pki/content.h"

#include <memory>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"
#include "token/codes.h"

namespace pki {

void storeContent(ContentInfo& message, const char* type, const AsnObject& value) {
    auto holder = std::make_unique<AsnOctetString>();
    holder->SetDerObject(&value);
    message.Reset(nullptr);
    // The container takes the holder over as it is: SetContent would copy the whole message once more.
    auto* around = dynamic_cast<AsnContainer*>(message.Find("content"));
    if (around == nullptr)
        throw AsnDataExp();
    around->SetDataSpace(holder.release());
    around->SetAsnPresent(true);
    message.SetContentType(AsnOid(type));
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

void encodeDer(const AsnObject& value, MiByte& der) {
    MiByteBuffer buffer;
    value.DerEncode(buffer, 0);
    der.SetByte(buffer.GetChars(), buffer.GetLength());
}

void decodeDer(const MiByte& der, AsnObject& value) {
    value.DerDecode(der, 0);
}

}  // namespace pki
