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

}  // namespace

AsnNumericString::AsnNumericString() {
    asnTag.tagNumber = 18;
}

AsnNumericString::AsnNumericString(const char* text) : AsnNumericString() {
    data = text;
}

AsnNumericString::AsnNumericString(const AsnNumericString& other) = default;

AsnNumericString::~AsnNumericString() = default;

AsnNumericString& AsnNumericString::operator=(const AsnNumericString& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnNumericString::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnNumericString*>(other);
    return that != nullptr && data == that->data;
}

void AsnNumericString::Reset(const AsnObject* other) {
    data.Reset(other == nullptr ? nullptr : &static_cast<const AsnNumericString*>(other)->data);
}

void AsnNumericString::SetData(const char* text) {
    if (text != nullptr && *text != '\0' && !TestData(text))
        throw MiInvalidArgumentExp();
    data = text;
}

bool AsnNumericString::TestData(const char* text) {
    return allOf(text, 0, MiString::StringSize(text), kNumeric);
}

void AsnNumericString::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (p != nullptr && n != 0 && !TestData(p, offset, n))
        throw MiInvalidArgumentExp();
    data.SetChars(p == nullptr ? nullptr : p + offset, 0, n);
}

bool AsnNumericString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kNumeric);
}

VT_ASN_DISPATCH(AsnNumericString)

AsnPrintableString::AsnPrintableString() {
    asnTag.tagNumber = 19;
}

AsnPrintableString::AsnPrintableString(const char* text) : AsnPrintableString() {
    data = text;
}

AsnPrintableString::AsnPrintableString(const AsnPrintableString& other) = default;

AsnPrintableString::~AsnPrintableString() = default;

AsnPrintableString& AsnPrintableString::operator=(const AsnPrintableString& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnPrintableString::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnPrintableString*>(other);
    return that != nullptr && data == that->data;
}

void AsnPrintableString::Reset(const AsnObject* other) {
    data.Reset(other == nullptr ? nullptr : &static_cast<const AsnPrintableString*>(other)->data);
}

void AsnPrintableString::SetData(const char* text) {
    if (text != nullptr && *text != '\0' && !TestData(text))
        throw MiInvalidArgumentExp();
    data = text;
}

bool AsnPrintableString::TestData(const char* text) {
    return allOf(text, 0, MiString::StringSize(text), kPrintable);
}

void AsnPrintableString::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (p != nullptr && n != 0 && !TestData(p, offset, n))
        throw MiInvalidArgumentExp();
    data.SetChars(p == nullptr ? nullptr : p + offset, 0, n);
}

bool AsnPrintableString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kPrintableRead);
}

VT_ASN_DISPATCH(AsnPrintableString)

AsnVisibleString::AsnVisibleString() {
    asnTag.tagNumber = 26;
}

AsnVisibleString::AsnVisibleString(const char* text) : AsnVisibleString() {
    data = text;
}

AsnVisibleString::AsnVisibleString(const AsnVisibleString& other) = default;

AsnVisibleString::~AsnVisibleString() = default;

AsnVisibleString& AsnVisibleString::operator=(const AsnVisibleString& other) {
    if (this == &other)
        return *this;
    SetAsnBaseData(&other);
    data = other.data;
    return *this;
}

bool AsnVisibleString::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnVisibleString*>(other);
    return that != nullptr && data == that->data;
}

void AsnVisibleString::Reset(const AsnObject* other) {
    data.Reset(other == nullptr ? nullptr : &static_cast<const AsnVisibleString*>(other)->data);
}

// Untested: callers store control characters by it.
void AsnVisibleString::SetData(const char* text) {
    data = text;
}

void AsnVisibleString::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (p != nullptr && n != 0 && !TestData(p, offset, n))
        throw MiInvalidArgumentExp();
    data.SetChars(p == nullptr ? nullptr : p + offset, 0, n);
}

bool AsnVisibleString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return allOf(p, offset, n, kVisible);
}

VT_ASN_DISPATCH(AsnVisibleString)
