#include "asn/integer.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

AsnInteger::AsnInteger() {
    asnTag.tagNumber = 2;
}

AsnInteger::AsnInteger(int value) : AsnInteger() {
    data = value;
}

AsnInteger::AsnInteger(const MiBigInteger& value) : AsnInteger() {
    data = value;
}

AsnInteger::AsnInteger(const AsnInteger& other) = default;

AsnInteger::~AsnInteger() = default;

AsnInteger& AsnInteger::operator=(const AsnInteger& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnInteger::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnInteger*>(other);
    return that != nullptr && data == that->data;
}

void AsnInteger::Reset(const AsnObject* other) {
    if (other == nullptr)
        data.SetData(nullptr, 0, 0);
    else
        data = static_cast<const AsnInteger*>(other)->data;
}

void AsnInteger::SetData(int value) {
    data.SetData(value);
}

void AsnInteger::SetData(const MiBigInteger& value) {
    data = value;
}

void AsnInteger::SetData(const char* p, unsigned int offset, unsigned int n) {
    data.SetData(p, offset, n);
}

int AsnInteger::GetInteger() const {
    return data.GetInt32();
}

VT_ASN_DISPATCH(AsnInteger)

AsnEnumerated::AsnEnumerated() {
    asnTag.tagNumber = 10;
}

AsnEnumerated::AsnEnumerated(int value) : AsnEnumerated() {
    data = value;
}

AsnEnumerated::AsnEnumerated(const AsnEnumerated& other) = default;

AsnEnumerated::~AsnEnumerated() = default;

AsnEnumerated& AsnEnumerated::operator=(const AsnEnumerated& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnEnumerated::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnEnumerated*>(other);
    return that != nullptr && data == that->data;
}

void AsnEnumerated::Reset(const AsnObject* other) {
    data = other == nullptr ? 0 : static_cast<const AsnEnumerated*>(other)->data;
}

VT_ASN_DISPATCH(AsnEnumerated)
