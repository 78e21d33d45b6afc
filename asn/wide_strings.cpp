#include "asn/wide_strings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"
#include "foundation/pool.h"

static_assert(sizeof(AsnQuadruple) == 4);

AsnCharacters::AsnCharacters(const AsnCharacters& other) : AsnCharacters(other.length) {
    std::copy_n(other.data, length, data);
}

AsnCharacters::AsnCharacters(unsigned int n) : length(n) {
    if (n > UINT32_MAX / sizeof(AsnQuadruple))  // no MiByte could hold them
        MiMemoryFailure();
    if (n != 0)
        data = static_cast<AsnQuadruple*>(foundation::PoolTake(n * sizeof(AsnQuadruple)));
}

AsnCharacters::AsnCharacters(AsnCharacters&& other) noexcept
    : data(std::exchange(other.data, nullptr)), length(std::exchange(other.length, 0)) {}

AsnCharacters& AsnCharacters::operator=(AsnCharacters other) noexcept {
    std::swap(data, other.data);
    std::swap(length, other.length);
    return *this;
}

AsnCharacters::~AsnCharacters() {
    foundation::PoolGive(data, length * sizeof(AsnQuadruple));
}

bool operator==(const AsnCharacters& a, const AsnCharacters& b) {
    const std::size_t size = sizeof(AsnQuadruple) * a.Length();
    return a.Length() == b.Length() && (size == 0 || std::memcmp(a.Data(), b.Data(), size) == 0);
}

namespace {

constexpr unsigned int kSize = sizeof(AsnQuadruple);

// What a setter that refuses its argument leaves behind is the empty value.
template <class Exception>
[[noreturn]] void fail(AsnCharacters& data) {
    data = AsnCharacters();
    throw Exception();
}

const AsnQuadruple* quadruples(const char* p) {
    return reinterpret_cast<const AsnQuadruple*>(p);
}

AsnCharacters ofQuadruples(const AsnQuadruple* characters, unsigned int count) {
    AsnCharacters made(count);
    std::copy_n(characters, count, made.Data());
    return made;
}

AsnCharacters ofQuadruples(const char* p, unsigned int count) {
    return ofQuadruples(quadruples(p), count);
}

AsnQuadruple low(char high, char last) {
    return {{0, 0, static_cast<unsigned char>(high), static_cast<unsigned char>(last)}};
}

AsnCharacters ofUcs2(const char* p, unsigned int n) {
    AsnCharacters made(n / 2);
    for (unsigned int i = 0; i < made.Length(); ++i, p += 2)
        made.Data()[i] = low(p[0], p[1]);
    return made;
}

// A character for each byte.
AsnCharacters widened(const char* text, unsigned int n) {
    AsnCharacters made(n);
    for (unsigned int i = 0; i < n; ++i)
        made.Data()[i] = low(0, text[i]);
    return made;
}

// The alphabets. Functions proper would be called for each character.
constexpr auto isBmp = [](const AsnQuadruple& c) { return c.bytes[0] == 0 && c.bytes[1] == 0; };
constexpr auto isUcs4 = [](const AsnQuadruple& c) { return c.bytes[0] <= 0x7F; };

// What the setters from characters do. Null and no characters empty the value.
template <class Test>
void store(AsnCharacters& data, const AsnQuadruple* characters, unsigned int count, Test isAllowed) {
    if (characters == nullptr)
        count = 0;
    if (!std::all_of(characters, characters + count, isAllowed))
        fail<AsnDataExp>(data);
    data = ofQuadruples(characters, count);
}

// False for no characters at all.
template <class Test>
bool all(const AsnQuadruple* characters, unsigned int count, Test test) {
    return characters != nullptr && count != 0 && std::all_of(characters, characters + count, test);
}

// How many groups of four start at offset or behind it and before position n.
unsigned int groupsFrom(unsigned int offset, unsigned int n) {
    return offset >= n ? 0 : (n - offset - 1) / kSize + 1;
}

MiByte bytesOf(const AsnCharacters& data) {
    return {reinterpret_cast<const char*>(data.Data()), data.Length() * kSize};
}

bool visible(const AsnQuadruple& c) {
    return isBmp(c) && c.bytes[2] == 0 && c.bytes[3] >= 0x20 && c.bytes[3] <= 0x7E;
}

MiString visibleOnly(const AsnCharacters& data) {
    const AsnQuadruple* end = data.Data() + data.Length();
    MiString text(static_cast<unsigned int>(std::count_if(data.Data(), end, visible)), ' ');
    unsigned int position = 0;
    for (const AsnQuadruple* c = data.Data(); c != end; ++c)
        if (visible(*c))
            text[position++] = static_cast<char>(c->bytes[3]);
    return text;
}

MiString visibleOrBlank(const AsnCharacters& data) {
    MiString text(data.Length(), ' ');
    for (unsigned int i = 0; i < data.Length(); ++i)
        if (visible(data.Data()[i]))
            text[i] = static_cast<char>(data.Data()[i].bytes[3]);
    return text;
}

}  // namespace

AsnBMPString::AsnBMPString() {
    asnTag.tagNumber = 30;
}

AsnBMPString::AsnBMPString(const AsnQuadruple* characters, unsigned int count) : AsnBMPString() {
    SetData(characters, count);
}

void AsnBMPString::SetData(const MiByte& ucs2) {
    if (ucs2.GetLength() % 2 != 0)
        fail<AsnDataExp>(data);
    data = ofUcs2(ucs2.GetChars(), ucs2.GetLength());
}

void AsnBMPString::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (n % 2 != 0 || (p == nullptr && n != 0))
        fail<MiInvalidArgumentExp>(data);
    data = n == 0 ? AsnCharacters() : ofUcs2(p + offset, n);
}

void AsnBMPString::SetData(const AsnQuadruple* characters, unsigned int count) {
    store(data, characters, count, isBmp);
}

void AsnBMPString::SetUniversalData(const MiByte& bytes) {
    if (bytes.GetLength() % kSize != 0)
        fail<AsnDataExp>(data);
    store(data, quadruples(bytes.GetChars()), bytes.GetLength() / kSize, isBmp);
}

void AsnBMPString::SetVisibleString(const char* text) {
    data = widened(text, MiString::StringSize(text));
}

void AsnBMPString::SetVisibleString(const MiString& text) {
    data = widened(text.GetChars(), text.GetLength());
}

MiByte AsnBMPString::GetByte() const {
    return bytesOf(data);
}

MiString AsnBMPString::GetVisibleString() const {
    return visibleOnly(data);
}

bool AsnBMPString::TestData(const MiByte& bytes) {
    return bytes.GetLength() % kSize == 0 && TestData(quadruples(bytes.GetChars()), bytes.GetLength() / kSize);
}

bool AsnBMPString::TestData(const AsnQuadruple* characters, unsigned int count) {
    return all(characters, count, isBmp);
}

VT_ASN_DATUM(AsnBMPString)
VT_ASN_DISPATCH(AsnBMPString)

AsnUniversalString::AsnUniversalString() {
    asnTag.tagNumber = 28;
}

void AsnUniversalString::SetData(const MiByte& bytes) {
    if (bytes.GetLength() % kSize != 0)
        fail<MiInvalidArgumentExp>(data);
    store(data, quadruples(bytes.GetChars()), bytes.GetLength() / kSize, isUcs4);
}

void AsnUniversalString::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (n % kSize != 0 || (p == nullptr && n != 0))
        fail<MiInvalidArgumentExp>(data);
    if (n != 0 && !TestData(p, offset, n))
        fail<AsnDataExp>(data);
    data = n == 0 ? AsnCharacters() : ofQuadruples(p + offset, n / kSize);
}

void AsnUniversalString::SetData(const AsnQuadruple* characters, unsigned int count) {
    store(data, characters, count, isUcs4);
}

void AsnUniversalString::SetVisibleString(const char* text) {
    data = widened(text, MiString::StringSize(text));
}

MiByte AsnUniversalString::GetByte() const {
    return bytesOf(data);
}

MiString AsnUniversalString::GetVisibleString() const {
    return visibleOrBlank(data);
}

bool AsnUniversalString::TestData(const char* p, unsigned int offset, unsigned int n) {
    return n % kSize == 0 && AsnUTF8String::TestData(p, offset, n);
}

VT_ASN_DATUM(AsnUniversalString)
VT_ASN_DISPATCH(AsnUniversalString)

AsnUTF8String::AsnUTF8String() {
    asnTag.tagNumber = 12;
}

void AsnUTF8String::SetData(const MiByte& bytes) {
    if (bytes.GetLength() % kSize != 0)
        fail<AsnDataExp>(data);
    store(data, quadruples(bytes.GetChars()), bytes.GetLength() / kSize, isUcs4);
}

void AsnUTF8String::SetData(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr || n == 0) {
        data = AsnCharacters();
        return;
    }
    if (!TestData(p, offset, n))
        fail<AsnDataExp>(data);
    const unsigned int whole = std::min(groupsFrom(offset, n), n / kSize);
    data = ofQuadruples(p + offset, whole);
}

void AsnUTF8String::SetData(const AsnQuadruple* characters, unsigned int count) {
    store(data, characters, count, isUcs4);
}

void AsnUTF8String::SetVisibleString(const char* text) {
    data = widened(text, MiString::StringSize(text));
}

MiByte AsnUTF8String::GetByte() const {
    return bytesOf(data);
}

MiString AsnUTF8String::GetVisibleString() const {
    return visibleOrBlank(data);
}

bool AsnUTF8String::TestData(const MiByte& bytes) {
    return bytes.GetLength() % kSize == 0 && TestData(quadruples(bytes.GetChars()), bytes.GetLength() / kSize);
}

bool AsnUTF8String::TestData(const AsnQuadruple* characters, unsigned int count) {
    return all(characters, count, isUcs4);
}

bool AsnUTF8String::TestData(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr || n == 0)
        return false;
    for (unsigned int i = 0; i < groupsFrom(offset, n); ++i)
        if (static_cast<unsigned char>(p[offset + std::size_t{kSize} * i]) > 0x7F)
            return false;
    return true;
}

VT_ASN_DATUM(AsnUTF8String)
VT_ASN_DISPATCH(AsnUTF8String)
