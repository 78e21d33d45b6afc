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

VT_ASN_DATUM(AsnInteger)
VT_ASN_DISPATCH(AsnInteger)

AsnEnumerated::AsnEnumerated() {
    asnTag.tagNumber = 10;
}

AsnEnumerated::AsnEnumerated(int value) : AsnEnumerated() {
    data = value;
}

VT_ASN_DATUM(AsnEnumerated)
VT_ASN_DISPATCH(AsnEnumerated)
