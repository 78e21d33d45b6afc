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

void AsnOid::SetData(const char* text) {
    data = text;
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, AsnOid& oid) {
    oid.ToOstream(os, 0);
    return os;
}

VT_ASN_DATUM(AsnOid)
VT_ASN_DISPATCH(AsnOid)
