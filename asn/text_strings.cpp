#include "asn/text_strings.h"

#include <array>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"

namespace {

// One bit for each alphabet that a byte belongs to.
constexpr unsigned char kNumeric = 1;
constexpr unsigned char kPrintable = 2;
constexpr unsigned char kPrintableRead = 4;  // what the decoder takes
constexpr unsigned char kVisible = 8;

using Alphabets = std::array<unsigned char, 256>;

constexpr void add(Alphabets& table, const char* characters, unsigned char alphabets) {
    for (; *characters != '\0'; ++characters) {
        auto& entry = table[static_cast<unsigned char>(*characters)];
        entry = static_cast<unsigned char>(entry | alphabets);
    }
}

constexpr Alphabets makeAlphabets() {
    Alphabets table{};
    add(table, "0123456789 ", kNumeric | kPrintable | kPrintableRead);
    add(table, "abcdefghijklmnopqrstuvwxyz", kPrintable | kPrintableRead);
    add(table, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", kPrintable | kPrintableRead);
    add(table, "()+,-./:=?`", kPrintable | kPrintableRead);
    add(table, "@", kPrintableRead);
    for (unsigned int c = 0x20; c < 0x7F; ++c)
        table[c] = static_cast<unsigned char>(table[c] | kVisible);
    return table;
}

constexpr Alphabets kAlphabets = makeAlphabets();

bool allOf(const char* p, unsigned int offset, unsigned int n, unsigned char alphabet) {
    if (p == nullptr || n == 0)
        return false;
    for (const char* c = p + offset; c != p + offset + n; ++c)
        if ((kAlphabets[static_cast<unsigned char>(*c)] & alphabet) == 0)
            return false;
    return true;
}

// Null and nothing empty the text; else every byte has to be of the alphabet.
void store(MiString& text, const char* p, unsigned int offset, unsigned int n, unsigned char alphabet) {
    if (p != nullptr && n != 0 && !allOf(p, offset, n, alphabet))
        throw MiInvalidArgumentExp();
    text.SetChars(p == nullptr ? nullptr : p + offset, 0, n);
}

}  // namespace

AsnNumericString::AsnNumericString() {
    asnTag.tagNumber = 18;
}

AsnNumericString::AsnNumericString(const char* text) : AsnNumericString() {
    data = text;
}

void AsnNumericString::SetData(const char* text) {
    store(data, text, 0, MiString::StringSize(text), kNumeric);
}

void AsnNumericString::SetData(const char* p, unsigned int offset, unsigned int n) {
    store(data, p, offset, n, kNumeric);
}

bool AsnNumericString::TestData(const char* text) {
    return allOf(text, 0, MiString::StringSize(text), kNumeric);
}

bool AsnNumericString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kNumeric);
}

VT_ASN_DATUM(AsnNumericString)
VT_ASN_DISPATCH(AsnNumericString)

AsnPrintableString::AsnPrintableString() {
    asnTag.tagNumber = 19;
}

AsnPrintableString::AsnPrintableString(const char* text) : AsnPrintableString() {
    data = text;
}

void AsnPrintableString::SetData(const char* text) {
    store(data, text, 0, MiString::StringSize(text), kPrintable);
}

void AsnPrintableString::SetData(const char* p, unsigned int offset, unsigned int n) {
    store(data, p, offset, n, kPrintableRead);
}

bool AsnPrintableString::TestData(const char* text) {
    return allOf(text, 0, MiString::StringSize(text), kPrintable);
}

bool AsnPrintableString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kPrintableRead);
}

VT_ASN_DATUM(AsnPrintableString)
VT_ASN_DISPATCH(AsnPrintableString)

AsnVisibleString::AsnVisibleString() {
    asnTag.tagNumber = 26;
}

AsnVisibleString::AsnVisibleString(const char* text) : AsnVisibleString() {
    data = text;
}

// Untested: callers store control characters by it.
void AsnVisibleString::SetData(const char* text) {
    data = text;
}

void AsnVisibleString::SetData(const char* p, unsigned int offset, unsigned int n) {
    store(data, p, offset, n, kVisible);
}

bool AsnVisibleString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kVisible);
}

VT_ASN_DATUM(AsnVisibleString)
VT_ASN_DISPATCH(AsnVisibleString)
