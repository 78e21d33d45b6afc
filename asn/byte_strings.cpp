#include "asn/byte_strings.h"

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"

namespace {

MiString visibleOrBlank(const MiByte& bytes) {
    MiString text(bytes.GetLength(), ' ');
    for (unsigned int i = 0; i < bytes.GetLength(); ++i) {
        const char c = bytes.GetChars()[i];
        if (c >= 0x20 && c <= 0x7E)
            text[i] = c;
    }
    return text;
}

}  // namespace

AsnIA5String::AsnIA5String() {
    asnTag.tagNumber = 22;
}

void AsnIA5String::SetData(const MiByte& value) {
    data = value;
}

void AsnIA5String::SetData(const char* p, unsigned int offset, unsigned int n) {
    data.SetByte(p, offset, n);
}

void AsnIA5String::SetVisibleString(const char* text) {
    data.SetByte(text, MiString::StringSize(text));
}

MiString AsnIA5String::GetVisibleString() const {
    return visibleOrBlank(data);
}

bool AsnIA5String::TestData(const char* /*p*/, unsigned int /*offset*/, unsigned int /*n*/) {
    return true;
}

VT_ASN_DATUM(AsnIA5String)
VT_ASN_DISPATCH(AsnIA5String)

AsnTeletexString::AsnTeletexString() {
    asnTag.tagNumber = 20;
}

void AsnTeletexString::SetData(const MiByte& value) {
    data = value;
}

void AsnTeletexString::SetData(const char* p, unsigned int offset, unsigned int n) {
    data.SetByte(p, offset, n);
}

void AsnTeletexString::SetVisibleString(const char* text) {
    data.SetByte(text, MiString::StringSize(text));
}

MiString AsnTeletexString::GetVisibleString() const {
    return visibleOrBlank(data);
}

bool AsnTeletexString::TestData(const char* /*p*/, unsigned int /*offset*/, unsigned int /*n*/) {
    return true;
}

VT_ASN_DATUM(AsnTeletexString)
VT_ASN_DISPATCH(AsnTeletexString)
