#include "asn/bit_string.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

AsnBitString::AsnBitString() {
    asnTag.tagNumber = 3;
}

AsnBitString::AsnBitString(const MiBitSet& value) : AsnBitString() {
    data = value;
}

AsnBitString::AsnBitString(const AsnBitString& other) = default;

AsnBitString::~AsnBitString() = default;

AsnBitString& AsnBitString::operator=(const AsnBitString& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnBitString::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnBitString*>(other);
    return that != nullptr && data == that->data;
}

void AsnBitString::Reset(const AsnObject* other) {
    if (other == nullptr)
        data.Reset(nullptr);
    else
        data = static_cast<const AsnBitString*>(other)->data;
}

void AsnBitString::SetData(const MiBitSet& value) {
    data = value;
}

void AsnBitString::SetData(const char* p, unsigned int offset, unsigned int bits) {
    data.SetBitsByte(p, offset, bits);
}

VT_ASN_DISPATCH(AsnBitString)
