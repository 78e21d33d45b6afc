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

void AsnBitString::SetData(const MiBitSet& value) {
    data = value;
}

void AsnBitString::SetData(const char* p, unsigned int offset, unsigned int bits) {
    data.SetBitsByte(p, offset, bits);
}

VT_ASN_DATUM(AsnBitString)
VT_ASN_DISPATCH(AsnBitString)
