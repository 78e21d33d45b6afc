#include "asn/der_encode.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "asn/bit_string.h"
#include "asn/boolean.h"
#include "asn/byte_cache.h"
#include "asn/byte_strings.h"
#include "asn/choice.h"
#include "asn/container.h"
#include "asn/integer.h"
#include "asn/null.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/sequence.h"
#include "asn/set.h"
#include "asn/text_strings.h"
#include "asn/times.h"
#include "asn/wide_strings.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

namespace {

using AsnByteCache::WriteContent;
using AsnByteCache::WriteElement;

constexpr unsigned int kConstructed = 0x20;
constexpr unsigned int kHighTagNumber = 0x1F;
constexpr unsigned int kMore = 0x80;  // the bit of every octet of a number but the last

// A few octets on their way into the buffer: an identifier, a length, a number.
struct Octets {
    char bytes[6];
    unsigned int count = 0;

    void add(unsigned int octet) { bytes[count++] = static_cast<char>(octet); }
};

// A number in base 128, most significant group first.
template <class Sink>
void addBase128(unsigned int number, Sink& octets) {
    for (int shift = number < 0x80 ? 0 : 28; shift > 0; shift -= 7) {
        if (number >> shift != 0)
            octets.add(kMore | (number >> shift & 0x7F));
    }
    octets.add(number & 0x7F);
}

// The identifier octets of a tag, appended. The result is their number.
unsigned int putIdentifier(const AsnTag& tag, MiByteBuffer& out) {
    // An explicit tag goes around a whole element, so it is constructed whatever its form says.
    const unsigned int form = tag.tagMode == ASN_EXPLICIT ? kConstructed : static_cast<unsigned int>(tag.tagForm);
    const unsigned int leading = static_cast<unsigned int>(tag.tagClass) | form;
    if (tag.tagNumber < kHighTagNumber) {
        out.Append(static_cast<unsigned char>(leading | tag.tagNumber));
        return 1;
    }
    Octets octets;
    octets.add(leading | kHighTagNumber);
    addBase128(tag.tagNumber, octets);
    out.Append(octets.bytes, octets.count);
    return octets.count;
}

Octets lengthOf(unsigned int length) {
    Octets octets;
    if (length < 0x80) {
        octets.add(length);
        return octets;
    }
    unsigned int count = 1;
    while (count < 4 && length >> (8 * count) != 0)
        ++count;
    octets.add(0x80 | count);
    for (; count > 0; --count)
        octets.add(length >> (8 * (count - 1)));
    return octets;
}

// Collects single octets and hands them to the buffer some hundred at a time.
class Collector {
  public:
    explicit Collector(MiByteBuffer& out) : out_(out) {}

    void add(unsigned int octet) {
        if (count_ == sizeof(octets_))
            flush();
        octets_[count_++] = static_cast<char>(octet);
    }
    void flush() {
        out_.Append(octets_, count_);
        count_ = 0;
    }

  private:
    MiByteBuffer& out_;
    unsigned int count_ = 0;
    char octets_[256];
};

unsigned int writtenSince(const MiByteBuffer& out, unsigned int offset) {
    return out.GetLength() - offset;
}

// Tag, content and length of an element. One octet is held free for the length, which most elements need no more than;
// a longer one moves the content once.
template <class T>
unsigned int element(AsnDerEncode& encoder, const T& value, const AsnTag& tag, MiByteBuffer& out, unsigned int offset) {
    const unsigned int identifier = putIdentifier(tag, out);
    const unsigned int at = offset + identifier;
    out.Append(static_cast<unsigned char>(0));
    const unsigned int size = encoder.EncodeContent(value, out, at + 1);
    if (size < 0x80) {
        out.SetCharAt(at, static_cast<unsigned char>(size));
        return identifier + 1 + size;
    }
    const Octets length = lengthOf(size);
    out.SetCharAt(at, static_cast<unsigned char>(length.bytes[0]));
    out.Insert(at + 1, length.bytes, 1, length.count - 1);
    return writtenSince(out, offset);
}

template <class T>
unsigned int elementOrCache(AsnDerEncode& encoder, const T& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteElement(value, out, offset))
        return writtenSince(out, offset);
    return element(encoder, value, value.GetAsnTag(), out, offset);
}

// Stored bytes or text, as they are.
template <class Stored>
unsigned int storedContent(const AsnObject& value, const Stored& stored, MiByteBuffer& out, unsigned int offset) {
    if (!WriteContent(value, out, offset))
        out.Append(static_cast<const char*>(stored.GetChars()), stored.GetLength());
    return writtenSince(out, offset);
}

// Two's complement in its shortest form.
void putInt32(int value, MiByteBuffer& out) {
    int count = 1;
    for (int rest = value >> 7; rest != 0 && rest != -1; rest >>= 8)
        ++count;
    Octets octets;
    for (; count > 0; --count)
        octets.add(static_cast<unsigned int>(value) >> (8 * (count - 1)));
    out.Append(octets.bytes, octets.count);
}

// One arc of dotted text after the other. An arc is a decimal number of any size of which the low 32 bits count; it may
// have a sign, but may not be negative, and no zero may lead it.
class Arcs {
  public:
    Arcs(const char* text, unsigned int length) : at_(text), end_(text + length) {}

    // Whether text is left. A "." that ends the text leaves an empty arc.
    [[nodiscard]] bool more() const { return at_ != nullptr; }

    // The first arc, which is not looked at where nothing stands behind it.
    unsigned int first() {
        const char* dot = std::find(at_, end_, '.');
        if (dot == end_ || dot + 1 == end_)
            throw AsnDataExp();
        return next();
    }

    unsigned int next() {
        if (at_ == end_ || *at_ == '.')
            throw AsnDataExp();
        const bool negative = *at_ == '-';
        if (negative || *at_ == '+')
            ++at_;
        const char* digits = at_;
        const unsigned int value = number();
        if (at_ == digits || (*digits == '0' && at_ - digits > 1))
            throw MiInvalidArgumentExp();
        if (negative && *digits != '0')
            throw AsnDataExp();
        at_ = at_ == end_ ? nullptr : at_ + 1;
        return value;
    }

  private:
    // Reads up to the next "." or the end.
    unsigned int number() {
        unsigned int value = 0;
        for (; at_ != end_ && *at_ != '.'; ++at_) {
            const auto digit = static_cast<unsigned int>(*at_ - '0');
            if (digit > 9)
                throw MiInvalidArgumentExp();
            value = value * 10 + digit;
        }
        return value;
    }

    const char* at_;
    const char* end_;
};

void putOid(const char* text, unsigned int length, MiByteBuffer& out) {
    if (length == 0)
        throw AsnDataExp();
    Arcs arcs(text, length);
    Collector octets(out);
    const unsigned int first = arcs.first();
    addBase128(first * 40 + arcs.next(), octets);  // the range of neither is checked, and 32 bits are kept
    while (arcs.more())
        addBase128(arcs.next(), octets);
    octets.flush();
}

unsigned int numberOf(const AsnQuadruple& character) {
    return static_cast<unsigned int>(character.bytes[0]) << 24 | static_cast<unsigned int>(character.bytes[1]) << 16 |
           static_cast<unsigned int>(character.bytes[2]) << 8 | character.bytes[3];
}

// UTF-8 with up to six octets, as RFC 2279 had it. A number of 32 bits, which no setter tested, takes a lead octet of
// FE and one octet more.
void putUtf8(unsigned int character, Collector& octets) {
    if (character < 0x80) {
        octets.add(character);
        return;
    }
    unsigned int groups = 0;
    unsigned int lead = character;
    for (; lead > 0x3F; lead >>= 6)
        ++groups;
    const unsigned int mask = 0xFF00U >> (groups + 2) & 0xFF;
    if ((mask & lead) == 0) {
        octets.add((mask << 1 | lead) & 0xFF);
    } else {
        octets.add(mask);
        octets.add(lead | 0x80);
    }
    for (; groups > 0; --groups)
        octets.add((character >> (6 * (groups - 1)) & 0x3F) | 0x80);
}

// A member at its place in the content, if it is there. The result is the number of bytes written.
unsigned int memberContent(AsnDerEncode& encoder, const AsnObject& member, MiByteBuffer& out, unsigned int offset) {
    if (member.IsAsnPresent())
        return member.Encode(encoder, out, offset);
    if (member.GetAsnState() == AsnObject::ASN_MANDATORY)
        throw AsnEncodeExp();
    return 0;
}

// By exchanges, each of which looks at class and number at once. That is no order in the strict sense: where classes
// are mixed, and where tags repeat, the result follows from the exchanges as they stand.
void exchangeByTag(std::vector<const AsnObject*>& members) {
    for (std::size_t i = 0; i < members.size(); ++i) {
        for (std::size_t j = i + 1; j < members.size(); ++j) {
            const AsnTag& earlier = members[i]->GetAsnTag();
            const AsnTag& later = members[j]->GetAsnTag();
            if (static_cast<int>(later.tagClass) <= static_cast<int>(earlier.tagClass) &&
                later.tagNumber < earlier.tagNumber)
                std::swap(members[i], members[j]);
        }
    }
}

}  // namespace

AsnDerEncode::~AsnDerEncode() = default;

#define VT_ENCODE(T)                                                                            \
    unsigned int AsnDerEncode::Encode(const T& value, MiByteBuffer& out, unsigned int offset) { \
        return elementOrCache(*this, value, out, offset);                                       \
    }
VT_ENCODE(AsnContainer)
VT_ENCODE(AsnSet)
VT_ENCODE(AsnSequence)
VT_ENCODE(AsnTeletexString)
VT_ENCODE(AsnVisibleString)
VT_ENCODE(AsnPrintableString)
VT_ENCODE(AsnNumericString)
VT_ENCODE(AsnUTF8String)
VT_ENCODE(AsnUniversalString)
VT_ENCODE(AsnIA5String)
VT_ENCODE(AsnBMPString)
VT_ENCODE(AsnUTCTime)
VT_ENCODE(AsnGeneralizedTime)
VT_ENCODE(AsnOid)
VT_ENCODE(AsnEnumerated)
VT_ENCODE(AsnBitString)
VT_ENCODE(AsnInteger)
VT_ENCODE(AsnOctetString)
VT_ENCODE(AsnBoolean)
#undef VT_ENCODE

// The tag written is that of the selection; one that a schema puts on the choice itself has no effect.
unsigned int AsnDerEncode::Encode(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteElement(value, out, offset))
        return writtenSince(out, offset);
    if (value.Get() == nullptr)
        throw AsnEncodeExp();
    return element(*this, value, value.Get()->GetAsnTag(), out, offset);
}

// Without a content step, so that cached content has no effect here.
unsigned int AsnDerEncode::Encode(const AsnNull& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteElement(value, out, offset))
        return writtenSince(out, offset);
    const unsigned int identifier = putIdentifier(value.GetAsnTag(), out);
    out.Append(static_cast<unsigned char>(0));
    return identifier + 1;
}

unsigned int AsnDerEncode::EncodeContent(const AsnContainer& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    if (value.GetData() == nullptr)
        throw AsnDataExp();
    return value.GetData()->Encode(*this, out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    if (value.Get() == nullptr)
        throw AsnEncodeExp();
    return value.Get()->EncodeContent(*this, out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnSet& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    std::vector<const AsnObject*> members(value.Size());
    for (unsigned int i = 0; i < value.Size(); ++i)
        members[i] = value.Get(i);
    exchangeByTag(members);
    unsigned int written = 0;
    for (const AsnObject* member : members)
        written += memberContent(*this, *member, out, offset + written);
    return written;
}

unsigned int AsnDerEncode::EncodeContent(const AsnSequence& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    unsigned int written = 0;
    for (unsigned int i = 0; i < value.Size(); ++i)
        written += memberContent(*this, *value.Get(i), out, offset + written);
    return written;
}

unsigned int AsnDerEncode::EncodeContent(const AsnTeletexString& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetData(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnVisibleString& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetData(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnPrintableString& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetData(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnNumericString& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetData(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnUTF8String& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    Collector octets(out);
    for (unsigned int i = 0; i < value.GetDataLength(); ++i)
        putUtf8(numberOf(value.GetData()[i]), octets);
    octets.flush();
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnUniversalString& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    static_assert(sizeof(AsnQuadruple) == 4);
    out.Append(reinterpret_cast<const char*>(value.GetData()), value.GetDataLength() * 4);
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnIA5String& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetByte(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnBMPString& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    Collector octets(out);
    for (unsigned int i = 0; i < value.GetDataLength(); ++i) {
        octets.add(value.GetData()[i].bytes[2]);
        octets.add(value.GetData()[i].bytes[3]);
    }
    octets.flush();
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnNull& value, MiByteBuffer& out, unsigned int offset) {
    (void)WriteContent(value, out, offset);
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnUTCTime& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetTimeString(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnGeneralizedTime& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetTimeString(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnOid& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    putOid(value.GetData().GetChars(), value.GetData().GetLength(), out);
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnEnumerated& value, MiByteBuffer& out, unsigned int offset) {
    if (!WriteContent(value, out, offset))
        putInt32(value.GetData(), out);
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnBitString& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    const MiBitSet& bits = value.GetData();
    out.Append(static_cast<unsigned char>((8 - bits.GetBitLength() % 8) % 8));
    out.Append(bits.GetByte());
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnInteger& value, MiByteBuffer& out, unsigned int offset) {
    if (WriteContent(value, out, offset))
        return writtenSince(out, offset);
    if (value.GetBigInteger().GetSign() == 0)
        out.Append(static_cast<unsigned char>(0));
    else
        out.Append(value.GetBigInteger().GetByte());
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnOctetString& value, MiByteBuffer& out, unsigned int offset) {
    return storedContent(value, value.GetData(), out, offset);
}

unsigned int AsnDerEncode::EncodeContent(const AsnBoolean& value, MiByteBuffer& out, unsigned int offset) {
    if (!WriteContent(value, out, offset))
        out.Append(static_cast<unsigned char>(value.GetData() ? 0xFF : 0x00));
    return writtenSince(out, offset);
}

unsigned int AsnDerEncode::EncodeTag(const AsnTag& tag, MiByteBuffer& out, unsigned int offset) {
    out.SetLength(offset);
    return putIdentifier(tag, out);
}

MiByte AsnDerEncode::EncodeLength(unsigned int length) {
    const Octets octets = lengthOf(length);
    return {octets.bytes, octets.count};
}
