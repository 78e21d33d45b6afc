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

VT_ASN_DATUM(AsnBoolean)
VT_ASN_DISPATCH(AsnBoolean)
