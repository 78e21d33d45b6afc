#include "asn/oid.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

AsnOid::AsnOid() {
    asnTag.tagNumber = 6;
}

AsnOid::AsnOid(const char* text) : AsnOid() {
    data = text;
}

AsnOid::AsnOid(const AsnOid& other) = default;

AsnOid::~AsnOid() = default;

AsnOid& AsnOid::operator=(const AsnOid& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnOid::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnOid*>(other);
    return that != nullptr && data == that->data;
}

void AsnOid::Reset(const AsnObject* other) {
    data.Reset(other == nullptr ? nullptr : &static_cast<const AsnOid*>(other)->data);
}

void AsnOid::SetData(const char* text) {
    data = text;
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, AsnOid& oid) {
    oid.ToOstream(os, 0);
    return os;
}

VT_ASN_DISPATCH(AsnOid)
