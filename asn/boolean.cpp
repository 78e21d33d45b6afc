#include "asn/boolean.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

AsnBoolean::AsnBoolean() {
    asnTag.tagNumber = 1;
}

AsnBoolean::AsnBoolean(bool value) : AsnBoolean() {
    data = value;
}

AsnBoolean::AsnBoolean(const AsnBoolean& other) = default;

AsnBoolean::~AsnBoolean() = default;

AsnBoolean& AsnBoolean::operator=(const AsnBoolean& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

void AsnBoolean::Reset(const AsnObject* other) {
    data = other != nullptr && static_cast<const AsnBoolean*>(other)->data;
}

bool AsnBoolean::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnBoolean*>(other);
    return that != nullptr && data == that->data;
}

VT_ASN_DISPATCH(AsnBoolean)
