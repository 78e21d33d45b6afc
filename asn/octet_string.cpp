#include "asn/octet_string.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

AsnOctetString::AsnOctetString() {
    asnTag.tagNumber = 4;
}

AsnOctetString::AsnOctetString(const AsnOctetString& other) = default;

AsnOctetString::~AsnOctetString() = default;

AsnOctetString& AsnOctetString::operator=(const AsnOctetString& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnOctetString::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnOctetString*>(other);
    return that != nullptr && data == that->data;
}

void AsnOctetString::Reset(const AsnObject* other) {
    data.Reset(other == nullptr ? nullptr : &static_cast<const AsnOctetString*>(other)->data);
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
    SetAsnBaseData(obj);
    data.SetByte(content.GetChars(), content.GetLength());
}

void AsnOctetString::GetDerObject(AsnObject* obj) const {
    if (obj == nullptr)
        throw MiInvalidArgumentExp();
    obj->DerDecodeContent(data, 0, data.GetLength());
}

VT_ASN_DISPATCH(AsnOctetString)
