#include "asn/octet_string.h"

#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

AsnOctetString::AsnOctetString() {
    asnTag.tagNumber = 4;
}

void AsnOctetString::SetData(const MiByte& value) {
    data = value;
}

void AsnOctetString::SetData(const char* p, unsigned int offset, unsigned int n) {
    data.SetByte(p, offset, n);
}

void AsnOctetString::SetDerObject(const AsnObject* obj) {
    if (obj == nullptr)
        throw MiInvalidArgumentExp();
    MiByteBuffer content;
    obj->DerEncodeContent(content, 0);
    MiByte copy = content.GetByte();
    SetAsnBaseData(obj);
    data = std::move(copy);
}

void AsnOctetString::GetDerObject(AsnObject* obj) const {
    if (obj == nullptr)
        throw MiInvalidArgumentExp();
    // A copy, since this octet string is gone once obj is reset if it is a member of it.
    const MiByte content = data;
    obj->DerDecodeContent(content, 0, content.GetLength());
}

VT_ASN_DATUM(AsnOctetString)
VT_ASN_DISPATCH(AsnOctetString)
