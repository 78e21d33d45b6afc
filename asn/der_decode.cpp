#include "asn/der_decode.h"

#include <algorithm>
#include <cstdint>
#include <limits>
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
#include "foundation/exceptions.h"

namespace {

using AsnByteCache::KeepContent;
using AsnByteCache::KeepElement;

// A number of bytes as a result.
unsigned int count(std::uint64_t bytes) {
    if (bytes > std::numeric_limits<unsigned int>::max())
        throw MiOutOfRangeExp();
    return static_cast<unsigned int>(bytes);
}

unsigned char byteAt(const MiByte& in, std::size_t position) {
    return static_cast<unsigned char>(in.GetChars()[position]);
}

void requireInput(const MiByte& in) {
    if (in.Empty())
        throw MiInvalidArgumentExp();
}

void requirePosition(const MiByte& in, unsigned int offset) {
    if (offset < in.GetLength())
        return;
    requireInput(in);
    throw MiOutOfRangeExp();
}

void requireWithin(const MiByte& in, unsigned int offset, unsigned int length) {
    if (std::uint64_t{offset} + length > in.GetLength())
        throw MiOutOfRangeExp();
}

// The content of a type that cannot do without any.
void requireSome(const MiByte& in, unsigned int offset, unsigned int length) {
    requireInput(in);
    if (length == 0)
        throw MiInvalidArgumentExp();
    requireWithin(in, offset, length);
}

unsigned int readTag(AsnTag& tag, const MiByte& in, unsigned int offset) {
    constexpr unsigned int kHighTagNumber = 0x1F;
    constexpr unsigned int kMostContinued = 4;
    requirePosition(in, offset);
    const unsigned int leading = byteAt(in, offset);
    tag.tagClass = static_cast<ASN_TAG_CLASS>(leading & ASN_PRIVATE);
    tag.tagForm = static_cast<ASN_TAG_FORM>(leading & ASN_CONSTRUCTED);
    tag.tagNumber = leading & kHighTagNumber;
    if (tag.tagNumber < kHighTagNumber)
        return 1;

    // The number is kept in 32 bits, whatever is shifted out of them.
    const unsigned int end = in.GetLength();
    unsigned int position = offset + 1;
    unsigned int number = 0;
    unsigned int continued = 0;
    for (; position < end && byteAt(in, position) >= 0x80 && continued < kMostContinued; ++position, ++continued)
        number = number << 7 | (byteAt(in, position) & 0x7FU);
    if (position == end || byteAt(in, position) >= 0x80)
        throw MiRangeExp();
    tag.tagNumber = number << 7 | byteAt(in, position);
    return position + 1 - offset;
}

// No check for the shortest form. 80 reads as a length of zero in one byte: there is no indefinite form here, and what
// follows is the next element.
unsigned int readLength(unsigned int& length, const MiByte& in, unsigned int offset) {
    requirePosition(in, offset);
    const unsigned int first = byteAt(in, offset);
    if (first < 0x80) {
        length = first;
        return 1;
    }
    const unsigned int octets = first & 0x7F;
    if (octets > 4 || octets >= in.GetLength() - offset)
        throw MiRangeExp();
    length = 0;
    for (unsigned int i = 1; i <= octets; ++i)
        length = length << 8 | byteAt(in, offset + i);
    return octets + 1;
}

bool sameTag(const AsnTag& a, const AsnTag& b) {
    return a.tagClass == b.tagClass && a.tagNumber == b.tagNumber;
}

AsnObject* alternativeOf(AsnChoice& choice, const AsnTag& tag) {
    for (unsigned int i = 0; i < choice.Size(); ++i) {
        AsnObject* alternative = choice.Find(i);
        if (alternative != nullptr && sameTag(alternative->GetAsnTag(), tag))
            return alternative;
    }
    return nullptr;
}

// Whether an element of this tag is the value of the member, or the member is absent.
bool takes(AsnObject& member, const AsnTag& tag) {
    if (member.GetAsnState() == AsnObject::ASN_MANDATORY)
        return true;  // its tag is not compared: a wrong one goes in, and out again
    if (sameTag(member.GetAsnTag(), tag) || member.IsAsnAnyType())
        return true;
    if (member.GetAsnState() != AsnObject::ASN_OPTIONAL && member.GetAsnState() != AsnObject::ASN_DEFAULT)
        throw AsnDecodeExp();
    return member.IsAsnChoice() && alternativeOf(static_cast<AsnChoice&>(member), tag) != nullptr;
}

AsnObject& required(AsnObject* member) {
    if (member == nullptr)
        throw AsnDecodeExp();
    return *member;
}

void markAbsent(AsnObject& member) {
    if (member.GetAsnState() == AsnObject::ASN_MANDATORY)
        throw AsnDecodeExp();
    member.SetAsnPresent(false);
}

template <class Composite>
void handDownByteType(Composite& value) {
    if (value.GetComponentByteType() == AsnObject::ASN_NO_BYTE)
        return;
    for (unsigned int i = 0; i < value.Size(); ++i)
        required(value.Find(i)).SetAsnByteType(value.GetComponentByteType());
}

// Whatever a setter holds against its input is a failure to decode.
template <class Setter>
void converting(Setter set) {
    try {
        set();
    } catch (const MiException&) {
        throw AsnDecodeExp();
    }
}

template <class Setter>
unsigned int stringContent(AsnObject& value, const MiByte& in, unsigned int offset, unsigned int length, Setter set) {
    requireInput(in);
    if (length == 0) {
        value.Reset(nullptr);
        return 0;
    }
    requireWithin(in, offset, length);
    if (!KeepContent(value, in, offset, length))
        converting(set);
    return length;
}

template <class String>
unsigned int stringContent(String& value, const MiByte& in, unsigned int offset, unsigned int length) {
    // Positions count from the start of the input: some strings walk from offset to length in it.
    return stringContent(value, in, offset, length, [&] { value.SetData(in.GetChars(), offset, length); });
}

template <class Time>
unsigned int timeContent(Time& value, const MiByte& in, unsigned int offset, unsigned int length) {
    requireSome(in, offset, length);
    if (!KeepContent(value, in, offset, length))
        converting([&] { value.SetTimeBytes(in.GetChars(), offset, length); });
    return length;
}

// Room for n items, of which a few need no block of their own.
template <class T, std::size_t Embedded>
class Room {
  public:
    explicit Room(std::uint64_t n) : many_(n > Embedded ? sizeOf(n) : 0), items_(n > Embedded ? many_.data() : few_) {}
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    void add(T item) { items_[count_++] = item; }
    [[nodiscard]] const T* items() const { return items_; }
    [[nodiscard]] std::size_t count() const { return count_; }

  private:
    // n items may be more than 32 bits address.
    static std::size_t sizeOf(std::uint64_t n) {
        if (n > std::uint64_t{PTRDIFF_MAX} / sizeof(T))
            MiMemoryFailure();
        return static_cast<std::size_t>(n);
    }

    T few_[Embedded];
    std::vector<T> many_;
    T* items_;
    std::size_t count_ = 0;
};

// Dotted text. An arc of b bytes has at most 3b characters, and one more for its point; the first is two arcs.
class DottedText {
  public:
    explicit DottedText(unsigned int contentLength) : text_(std::uint64_t{contentLength} * 4 + 4) {}

    void addFirst(unsigned int subidentifier) {
        const unsigned int arc = std::min(subidentifier / 40, 2U);
        addNumber(arc);
        text_.add('.');
        addNumber(subidentifier - arc * 40);
    }
    void add(unsigned int arc) {
        text_.add('.');
        addNumber(arc);
    }
    const char* finish() {
        text_.add('\0');
        return text_.items();
    }

  private:
    void addNumber(unsigned int number) {
        char digits[10];
        unsigned int n = 0;
        do {
            digits[n++] = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        while (n > 0)
            text_.add(digits[--n]);
    }

    Room<char, 256> text_;
};

// Each subidentifier is kept in 32 bits; one that the content does not finish is dropped.
void setOid(AsnOid& value, const MiByte& in, unsigned int offset, unsigned int length) {
    DottedText text(length);
    unsigned int subidentifier = 0;
    bool first = true;
    for (unsigned int i = 0; i < length; ++i) {
        const unsigned int byte = byteAt(in, std::size_t{offset} + i);
        subidentifier = subidentifier << 7 | (byte & 0x7F);
        if (byte >= 0x80)
            continue;
        if (first)
            text.addFirst(subidentifier);
        else
            text.add(subidentifier);
        first = false;
        subidentifier = 0;
    }
    value.SetData(text.finish());
}

AsnQuadruple quadrupleOf(unsigned int character) {
    return {{static_cast<unsigned char>(character >> 24), static_cast<unsigned char>(character >> 16),
             static_cast<unsigned char>(character >> 8), static_cast<unsigned char>(character)}};
}

// UTF-8, not held to its rules: a character is stored when the next lead byte or the end shows that it is complete, so
// that ASCII behind it overtakes it; one of value zero is none; continuation bytes are not counted.
void setUtf8(AsnUTF8String& value, const MiByte& in, unsigned int offset, unsigned int length) {
    Room<AsnQuadruple, 64> characters(length);
    unsigned int waiting = 0;
    for (unsigned int i = 0; i < length; ++i) {
        const unsigned int byte = byteAt(in, std::size_t{offset} + i);
        if (byte >= 0xFE)
            throw AsnDecodeExp();
        if (byte < 0x80) {
            characters.add(quadrupleOf(byte));
        } else if (byte < 0xC0) {
            waiting = waiting << 6 | (byte & 0x3F);
        } else {
            if (waiting != 0)
                characters.add(quadrupleOf(waiting));
            unsigned int mask = 0x1F;
            for (unsigned int ones = byte << 2; (ones & 0x80) != 0; ones <<= 1)
                mask >>= 1;
            waiting = byte & mask;
        }
    }
    if (waiting != 0)
        characters.add(quadrupleOf(waiting));
    value.SetData(characters.items(), static_cast<unsigned int>(characters.count()));
}

// The decoder proper. It takes the values that it is given for fresh, made or reset just now, and so need not reset
// the members of a composite again at each level. AsnDerDecode resets and goes on here.
class FreshDecode final : public AsnDecode {
  public:
#define VT_DECODE(T)                                                                  \
    unsigned int Decode(T& value, const MiByte& in, unsigned int offset) override {   \
        return element(value, in, offset, [&](unsigned int at, unsigned int length) { \
            return FreshDecode::DecodeContent(value, in, at, length);                 \
        });                                                                           \
    }                                                                                 \
    unsigned int DecodeContent(T& value, const MiByte& in, unsigned int offset, unsigned int length) override

    VT_DECODE(AsnContainer) {
        requireInput(in);
        requireWithin(in, offset, length);
        if (value.Data() == nullptr)
            throw AsnDataExp();
        if (value.Data()->Decode(*this, in, offset) != length)
            throw AsnDecodeExp();
        return length;
    }

    // The alternative gets the content without the tag, and keeps the tag of its schema.
    VT_DECODE(AsnChoice) {
        requireInput(in);
        requireWithin(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return length;
        AsnObject* alternative = alternativeOf(value, value.GetAsnTag());
        if (alternative == nullptr)
            throw AsnDecodeExp();
        alternative->DecodeContent(*this, in, offset, length);
        value.Set(alternative->GetAsnName().GetChars());
        return length;
    }

    // In any order. A member that is missing is not noticed; of one that is repeated the last counts.
    VT_DECODE(AsnSet) {
        if (!beginMembers(value, in, offset, length))
            return length;
        const std::uint64_t end = std::uint64_t{offset} + length;
        std::uint64_t cursor = offset;
        while (cursor < end) {
            const auto at = static_cast<unsigned int>(cursor);
            AsnTag tag;
            readTag(tag, in, at);
            AsnObject& member = memberOf(value, tag);
            cursor += decodeMember(member, in, at);
            member.SetAsnPresent(true);
        }
        if (cursor != end)
            throw AsnDecodeExp();
        return length;
    }

    // What is left behind the last member is not skipped, and a member may reach past the end: the result is what the
    // members took.
    VT_DECODE(AsnSequence) {
        if (!beginMembers(value, in, offset, length))
            return length;
        const std::uint64_t end = std::uint64_t{offset} + length;
        std::uint64_t cursor = offset;
        unsigned int i = 0;
        for (; i < value.Size() && cursor < end; ++i) {
            const auto at = static_cast<unsigned int>(cursor);
            AsnTag tag;
            readTag(tag, in, at);
            AsnObject& member = required(value.Find(i));
            const bool present = takes(member, tag);
            if (present)
                cursor += member.Decode(*this, in, at);
            member.SetAsnPresent(present);
        }
        for (; i < value.Size(); ++i)
            markAbsent(required(value.Find(i)));
        return count(cursor - offset);
    }

    VT_DECODE(AsnTeletexString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnVisibleString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnPrintableString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnNumericString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnUTF8String) {
        return stringContent(value, in, offset, length, [&] { setUtf8(value, in, offset, length); });
    }
    VT_DECODE(AsnUniversalString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnIA5String) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnBMPString) {
        return stringContent(value, in, offset, length);
    }
    VT_DECODE(AsnUTCTime) {
        return timeContent(value, in, offset, length);
    }
    VT_DECODE(AsnGeneralizedTime) {
        return timeContent(value, in, offset, length);
    }

    VT_DECODE(AsnOid) {
        requireSome(in, offset, length);
        if (!KeepContent(value, in, offset, length))
            setOid(value, in, offset, length);
        return length;
    }

    VT_DECODE(AsnEnumerated) {
        requireSome(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return length;
        MiBigInteger number;
        number.SetData(in.GetChars(), offset, length);
        value.SetData(number.GetInt32());
        return length;
    }

    VT_DECODE(AsnBitString) {
        requireSome(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return length;
        const std::uint64_t unused = byteAt(in, offset);
        const std::uint64_t bits = (std::uint64_t{length} - 1) * 8;
        if (unused > bits || bits - unused > std::numeric_limits<unsigned int>::max())
            throw MiOutOfRangeExp();
        value.SetData(in.GetChars(), offset + 1, static_cast<unsigned int>(bits - unused));
        return length;
    }

    VT_DECODE(AsnInteger) {
        requireSome(in, offset, length);
        if (!KeepContent(value, in, offset, length))
            value.SetData(in.GetChars(), offset, length);
        return length;
    }

    VT_DECODE(AsnOctetString) {
        return stringContent(value, in, offset, length);
    }

    // Any byte but zero is true. One byte is reported, however many there are.
    VT_DECODE(AsnBoolean) {
        requireSome(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return length;
        value.SetData(byteAt(in, offset) != 0);
        return 1;
    }
#undef VT_DECODE

    unsigned int Decode(AsnNull& value, const MiByte& in, unsigned int offset) override {
        return element(value, in, offset, [](unsigned int, unsigned int length) {
            if (length != 0)
                throw MiInvalidArgumentExp();
            return 0U;
        });
    }

    unsigned int DecodeContent(AsnNull& value, const MiByte& in, unsigned int offset, unsigned int length) override {
        requireInput(in);
        requireWithin(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return length;
        if (length != 0)
            throw MiInvalidArgumentExp();
        return 0;
    }

    unsigned int DecodeTag(AsnTag& tag, const MiByte& in, unsigned int offset) override {
        return readTag(tag, in, offset);
    }

    unsigned int DecodeLength(unsigned int& length, const MiByte& in, unsigned int offset) override {
        return readLength(length, in, offset);
    }

  private:
    // The value takes the tag that it meets.
    template <class Content>
    static unsigned int element(AsnObject& value, const MiByte& in, unsigned int offset, Content decodeContent) {
        AsnTag tag;
        unsigned int header = readTag(tag, in, offset);
        value.SetAsnTag(tag);
        unsigned int length = 0;
        header += readLength(length, in, offset + header);
        const std::uint64_t size = std::uint64_t{header} + length;
        if (KeepElement(value, in, offset, size))
            return static_cast<unsigned int>(size);
        return count(std::uint64_t{header} + decodeContent(offset + header, length));
    }

    // False if there is nothing to parse.
    template <class Composite>
    static bool beginMembers(Composite& value, const MiByte& in, unsigned int offset, unsigned int length) {
        if (length == 0)
            return false;  // whatever members are mandatory
        requireInput(in);
        requireWithin(in, offset, length);
        if (KeepContent(value, in, offset, length))
            return false;
        if (value.Empty())
            throw AsnDecodeExp();
        handDownByteType(value);
        return true;
    }

    static AsnObject& memberOf(AsnSet& value, const AsnTag& tag) {
        for (unsigned int i = 0; i < value.Size(); ++i) {
            AsnObject* member = value.Find(i);
            if (member != nullptr && sameTag(member->GetAsnTag(), tag))
                return *member;
        }
        throw AsnDecodeExp();
    }

    unsigned int decodeMember(AsnObject& member, const MiByte& in, unsigned int offset) {
        if (!member.IsAsnPresent())
            return member.Decode(*this, in, offset);
        AsnDerDecode again;
        return member.Decode(again, in, offset);
    }
};

// Composites are reset before either of the two, other values before an element alone.
template <class T>
unsigned int resetAndDecode(T& value, const MiByte& in, unsigned int offset) {
    value.Reset(nullptr);
    return FreshDecode().Decode(value, in, offset);
}

template <class T>
unsigned int resetAndDecodeContent(T& value, const MiByte& in, unsigned int offset, unsigned int length) {
    value.Reset(nullptr);
    return FreshDecode().DecodeContent(value, in, offset, length);
}

}  // namespace

AsnDerDecode::~AsnDerDecode() = default;

#define VT_RESET_AND_DECODE(T)                                                           \
    unsigned int AsnDerDecode::Decode(T& value, const MiByte& in, unsigned int offset) { \
        return resetAndDecode(value, in, offset);                                        \
    }
#define VT_COMPOSITE(T)                                                                                              \
    VT_RESET_AND_DECODE(T)                                                                                           \
    unsigned int AsnDerDecode::DecodeContent(T& value, const MiByte& in, unsigned int offset, unsigned int length) { \
        return resetAndDecodeContent(value, in, offset, length);                                                     \
    }
#define VT_PRIMITIVE(T)                                                                                              \
    VT_RESET_AND_DECODE(T)                                                                                           \
    unsigned int AsnDerDecode::DecodeContent(T& value, const MiByte& in, unsigned int offset, unsigned int length) { \
        return FreshDecode().DecodeContent(value, in, offset, length);                                               \
    }
VT_COMPOSITE(AsnContainer)
VT_COMPOSITE(AsnChoice)
VT_COMPOSITE(AsnSet)
VT_COMPOSITE(AsnSequence)
VT_PRIMITIVE(AsnTeletexString)
VT_PRIMITIVE(AsnVisibleString)
VT_PRIMITIVE(AsnPrintableString)
VT_PRIMITIVE(AsnNumericString)
VT_PRIMITIVE(AsnUTF8String)
VT_PRIMITIVE(AsnUniversalString)
VT_PRIMITIVE(AsnIA5String)
VT_PRIMITIVE(AsnBMPString)
VT_PRIMITIVE(AsnNull)
VT_PRIMITIVE(AsnUTCTime)
VT_PRIMITIVE(AsnGeneralizedTime)
VT_PRIMITIVE(AsnOid)
VT_PRIMITIVE(AsnEnumerated)
VT_PRIMITIVE(AsnBitString)
VT_PRIMITIVE(AsnInteger)
VT_PRIMITIVE(AsnOctetString)
VT_PRIMITIVE(AsnBoolean)
#undef VT_PRIMITIVE
#undef VT_COMPOSITE
#undef VT_RESET_AND_DECODE

unsigned int AsnDerDecode::DecodeTag(AsnTag& tag, const MiByte& in, unsigned int offset) {
    return readTag(tag, in, offset);
}

unsigned int AsnDerDecode::DecodeLength(unsigned int& length, const MiByte& in, unsigned int offset) {
    return readLength(length, in, offset);
}
