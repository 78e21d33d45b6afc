// Each primitive type over any bytes. The input: a byte for the type, one for the bytes in front of the element, one
// for the byte mode, and the element.
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "fuzz/target.h"

namespace {

using Value = std::unique_ptr<AsnObject>;

template <class T>
Value make() {
    return std::make_unique<T>();
}

constexpr Value (*kTypes[])() = {
    make<AsnBoolean>,
    make<AsnInteger>,
    make<AsnBitString>,
    make<AsnOctetString>,
    make<AsnNull>,
    make<AsnOid>,
    make<AsnEnumerated>,
    make<AsnUTF8String>,
    make<AsnNumericString>,
    make<AsnPrintableString>,
    make<AsnTeletexString>,
    make<AsnIA5String>,
    make<AsnUTCTime>,
    make<AsnGeneralizedTime>,
    make<AsnVisibleString>,
    make<AsnUniversalString>,
    make<AsnBMPString>,
    make<AsnSequenceOf<AsnInteger>>,
    make<AsnSetOf<AsnOctetString>>,
    make<AsnInstanceOf>,
};

struct Outcome {
    bool accepted = false;
    unsigned int consumed = 0;
};

Outcome decode(AsnObject& value, const MiByte& input, unsigned int offset) {
    try {
        return {true, value.DerDecode(input, offset)};
    } catch (const MiException&) {
        return {};
    }
}

bool encode(const AsnObject& value, MiByteBuffer& out) {
    try {
        FUZZ_ASSERT(value.DerEncode(out, 0) == out.GetLength());
        return true;
    } catch (const AsnException&) {
        return false;  // an identifier without arcs, an instance without members
    }
}

bool endsWith(const MiByte& bytes, const MiByte& input, unsigned int offset) {
    return bytes.GetLength() <= input.GetLength() - offset &&
           (bytes.Empty() || std::memcmp(bytes.GetChars(), input.GetChars() + offset, bytes.GetLength()) == 0);
}

// The bytes kept are those of the input, as far as they are there.
void checkWholeBytes(Value value, const MiByte& input, unsigned int offset) {
    value->OnByte();
    const Outcome outcome = decode(*value, input, offset);
    if (!outcome.accepted)
        return;
    const MiByte* kept = value->GetAsnByte();
    FUZZ_ASSERT(kept != nullptr && endsWith(*kept, input, offset));
    FUZZ_ASSERT(kept->GetLength() == std::min(outcome.consumed, input.GetLength() - offset));
    MiByteBuffer out;
    FUZZ_ASSERT(encode(*value, out) && out.GetByte() == *kept);
}

void checkContentBytes(Value value, const MiByte& input, unsigned int offset) {
    value->OnContentByte();
    const Outcome outcome = decode(*value, input, offset);
    if (!outcome.accepted)
        return;
    FUZZ_ASSERT(outcome.consumed <= input.GetLength() - offset);
    const MiByte* kept = value->GetAsnContentByte();
    if (kept != nullptr && !kept->Empty())
        FUZZ_ASSERT(endsWith(*kept, input, offset + outcome.consumed - kept->GetLength()));
}

void checkValue(Value value, Value second, const MiByte& input, unsigned int offset) {
    const Outcome outcome = decode(*value, input, offset);
    std::ostringstream text;
    std::streambuf* const standard = std::cout.rdbuf(text.rdbuf());  // where an instance notes its absent members
    value->ToOstream(text, 1);
    std::cout.rdbuf(standard);
    if (!outcome.accepted)
        return;
    FUZZ_ASSERT(outcome.consumed <= input.GetLength() - offset);
    MiByteBuffer written;
    if (!encode(*value, written))
        return;
    // A character of a UniversalString that only its place kept from being tested is refused in front.
    const Outcome again = decode(*second, written.GetByte(), 0);
    if (!again.accepted && dynamic_cast<AsnUniversalString*>(value.get()) != nullptr)
        return;
    FUZZ_ASSERT(again.accepted && again.consumed == written.GetLength());
    MiByteBuffer rewritten;
    FUZZ_ASSERT(encode(*second, rewritten) && rewritten.GetLength() == written.GetLength());
    if (dynamic_cast<AsnUTF8String*>(value.get()) != nullptr)
        return;  // an ASCII character may have overtaken another
    FUZZ_ASSERT(rewritten == written);
    FUZZ_ASSERT(value->EqualsContent(second.get()) || dynamic_cast<AsnSetOf<AsnOctetString>*>(value.get()) != nullptr);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3 || size > 4096)
        return 0;
    fuzz::Source source(data, size);
    Value (*const type)() = kTypes[source.byte() % std::size(kTypes)];
    const unsigned int offset = source.byte() % 16;
    const std::uint8_t mode = source.byte();
    fuzz::Bytes bytes(offset, 0xEE);
    const fuzz::Bytes element = source.rest();
    bytes.insert(bytes.end(), element.begin(), element.end());
    const MiByte input(reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
    if (mode % 4 == 1)
        checkWholeBytes(type(), input, offset);
    else if (mode % 4 == 2)
        checkContentBytes(type(), input, offset);
    else
        checkValue(type(), type(), input, offset);
    return 0;
}
