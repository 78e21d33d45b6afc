#include "asn/null.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

AsnNull::AsnNull() {
    asnTag.tagNumber = 5;
}

AsnNull::AsnNull(const AsnNull& other) = default;

AsnNull::~AsnNull() = default;

AsnNull& AsnNull::operator=(const AsnNull& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    return *this;
}

void AsnNull::Reset(const AsnObject* /*other*/) {}

bool AsnNull::EqualsContent(const AsnObject* other) const {
    return other != nullptr;
}

VT_ASN_DISPATCH(AsnNull)
