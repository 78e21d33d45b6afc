// What hostile bytes come to: the documented exceptions, and never a read outside the input. Inputs are held in blocks
// of their exact size where a sanitizer watches.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <new>
#include <string>

#include "asn/asn.h"
#include "foundation/pool.h"
#include "tests/asn/der_io.h"
#include "tests/support/broken_der.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"

namespace {

using der_io::bytes;
using der_io::composite;
using der_io::decode;
using der_io::decodes;
using der_io::encodedBytes;
using der_io::explicitly;
using der_io::implicit;
using der_io::member;
using der_io::toHex;
using support::Bytes;
using support::hex;

using Lists = AsnSequenceOf<AsnInteger>;

// A schema with a member of every kind.
AsnSequence everyKind() {
    auto choice = member("choice", composite<AsnChoice>(member("number", AsnEnumerated()),
                                                        implicit(4, member("octets", AsnOctetString()))));
    auto set = member("set", composite<AsnSet>(member("flag", AsnBoolean()), implicit(1, member("n", AsnInteger()))));
    auto strings =
        member("strings",
               composite<AsnSequence>(member("utf8", AsnUTF8String()), member("numeric", AsnNumericString()),
                                      member("printable", AsnPrintableString()), member("teletex", AsnTeletexString()),
                                      member("ia5", AsnIA5String()), member("visible", AsnVisibleString()),
                                      member("universal", AsnUniversalString()), member("bmp", AsnBMPString())));
    auto any = member("any", AsnOctetString(), AsnObject::ASN_OPTIONAL);
    any.SetAsnAnyType(true);
    auto value = composite<AsnSequence>(
        explicitly(0, "version", AsnInteger(), AsnObject::ASN_DEFAULT), member("oid", AsnOid()),
        member("bits", AsnBitString()), member("utc", AsnUTCTime()), member("time", AsnGeneralizedTime()), choice, set,
        strings, member("null", AsnNull()), member("list", Lists()), member("instance", AsnInstanceOf()), any);
    return value;
}

Bytes everyKindDer() {
    const Bytes strings = der::sequence(
        {der::text(0x0C, "\xC3\xA9\xE2\x82\xAC"), der::text(0x12, "1 2"), der::text(0x13, "DE"), der::text(0x14, "t"),
         der::text(0x16, "a@b"), der::text(0x1A, "v"), der::tlv(0x1C, {0, 0, 0, 0x41}), der::tlv(0x1E, {0x20, 0xAC})});
    return der::sequence({der::tagged(0, der::integer(2)), der::oid({1, 2, 840, 113549}),
                          der::bitString(4, {0xA5, 0xF0}), der::text(0x17, "141022010203Z"),
                          der::text(0x18, "20141022010203.5Z"), der::tlv(0x84, {1, 2, 3}),
                          der::set({der::tlv(0x01, {0xFF}), der::tlv(0x81, {0x05})}), strings, der::tlv(0x05, {}),
                          der::sequence({der::integer(1), der::integer(-300)}),
                          der::tlv(0x28, der::join({der::oid({1, 2, 3}), der::tagged(0, der::tlv(0x04, {7}))})),
                          der::tlv(0x44, {0x01})});
}

TEST(der_decoder_limits_test, TheGoodEncodingGoesThroughUnchanged) {
    AsnSequence value = everyKind();
    EXPECT_EQ(decode(value, everyKindDer()), everyKindDer().size());
    EXPECT_TRUE(encodedBytes(value) == everyKindDer());
}

TEST(der_decoder_limits_test, CutAtEveryByte) {
    AsnSequence value = everyKind();
    for (const support::Broken& broken : support::truncations(everyKindDer())) {
        EXPECT_FALSE(decodes(value, broken.bytes)) << broken.place;
    }
}

TEST(der_decoder_limits_test, CutContentAtEveryByte) {
    const Bytes good = everyKindDer();
    const auto header = static_cast<unsigned int>(good[1] >= 0x80 ? 2 + (good[1] & 0x7F) : 2);
    AsnSequence value = everyKind();
    const auto content = static_cast<unsigned int>(good.size()) - header;
    EXPECT_EQ(value.DerDecodeContent(der_io::toMiByte(good), header, content), content);
    for (unsigned int n = 0; n < content; ++n) {
        const Bytes cut(good.begin(), good.begin() + header + n);
        EXPECT_THROW(value.DerDecodeContent(der_io::toMiByte(cut), header, content), MiOutOfRangeExp) << n;
        try {
            const unsigned int taken = value.DerDecodeContent(der_io::toMiByte(cut), header, n);
            // The empty content fits any schema; without the optional ANY at the end nothing is missing.
            EXPECT_TRUE(n == 0 || n == content - 3) << n;
            EXPECT_EQ(taken, n);
        } catch (const MiException&) {
        }
    }
}

// Sequences do not skip what is left in them: the parent goes on in the middle and stumbles, except where nothing comes
// after. Sets, lists and explicit tags refuse.
TEST(der_decoder_limits_test, TrailingDataInEachConstructedElement) {
    const Bytes good = everyKindDer();
    const std::vector<support::Broken> all = support::withTrailingData(good, hex("05 00"));
    ASSERT_GT(all.size(), 6U);
    unsigned int accepted = 0;
    for (const support::Broken& broken : all) {
        AsnSequence value = everyKind();
        if (!decodes(value, broken.bytes))
            continue;
        ++accepted;
        const std::uint8_t identifier = good[broken.place];
        EXPECT_TRUE(identifier == 0x30 || identifier == 0x28) << broken.place;
    }
    // The outermost, which leaves 05 00 unread, and "instance", which leaves it to the ANY behind it. Behind "strings"
    // it is read as "null", so that the real null is the list and the list no instance.
    EXPECT_EQ(accepted, 2U);
}

TEST(der_decoder_limits_test, TrailingDataOfTheOutermostSequenceIsNotReported) {
    AsnSequence value = everyKind();
    const Bytes longer = support::withTrailingData(everyKindDer(), hex("05 00")).front().bytes;
    EXPECT_EQ(decode(value, longer), longer.size() - 2);
    EXPECT_TRUE(encodedBytes(value) == everyKindDer());
}

TEST(der_decoder_limits_test, LengthsOffByOneNeverEndInAnythingButAnException) {
    for (const auto& all : {support::withShortLengths(everyKindDer()), support::withLongLengths(everyKindDer()),
                            support::withIndefiniteLengths(everyKindDer())}) {
        ASSERT_GT(all.size(), 6U);
        for (const support::Broken& broken : all) {
            AsnSequence value = everyKind();
            (void)decodes(value, broken.bytes);
        }
    }
}

TEST(der_decoder_limits_test, WrongTags) {
    for (const std::uint8_t identifier : Bytes{0x00, 0x05, 0x1F, 0x30, 0x3F, 0x9F, 0xFF}) {
        for (const support::Broken& broken : support::withTags(everyKindDer(), identifier)) {
            AsnSequence value = everyKind();
            (void)decodes(value, broken.bytes);
        }
    }
    // Where a tag decides: in the choice and the set.
    const Bytes good = everyKindDer();
    const auto find = [&](std::uint8_t identifier, std::uint8_t next) {
        for (std::size_t i = 0; i + 1 < good.size(); ++i) {
            if (good[i] == identifier && good[i + 1] == next)
                return i;
        }
        return good.size();
    };
    for (const std::size_t place : {find(0x84, 0x03), find(0x81, 0x01)}) {
        Bytes broken = good;
        broken.at(place) = 0xC9;
        AsnSequence value = everyKind();
        EXPECT_THROW(decode(value, broken), AsnDecodeExp) << place;
    }
}

TEST(der_decoder_limits_test, EveryByteReplaced) {
    const Bytes good = everyKindDer();
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const std::uint8_t byte : Bytes{0x00, 0x01, 0x7F, 0x80, 0x81, 0x84, 0xFF}) {
            Bytes broken = good;
            broken[i] = byte;
            AsnSequence value = everyKind();
            if (decodes(value, broken))
                (void)der_io::decodes(value, broken);  // and into the same value again
        }
    }
}

TEST(der_decoder_limits_test, Noise) {
    support::Noise noise(20141022);
    AsnSequence value = everyKind();
    for (int i = 0; i < 5000; ++i) {
        Bytes input = everyKindDer();
        for (std::uint32_t changes = 1 + noise.below(8); changes > 0; --changes)
            input[noise.below(static_cast<std::uint32_t>(input.size()))] = noise.byte();
        (void)decodes(value, input);
        Bytes random(noise.below(40));
        for (std::uint8_t& byte : random)
            byte = noise.byte();
        (void)decodes(value, random);
    }
}

// Whatever allocation fails, it is std::bad_alloc that comes out; a sanitizer looks for what is left behind.
TEST(der_decoder_limits_test, ExhaustedMemory) {
    const MiByte input = der_io::toMiByte(everyKindDer());
    AsnSequence fresh = everyKind();
    const Bytes six = der::repeat(6, der::integer(300));
    const MiByte list = der_io::toMiByte(der::tlv(0x30, six));
    unsigned int rounds = 0;
    const long failures = support::forEachExhaustion([&] {
        foundation::PoolTrim();
        try {
            AsnSequence value(fresh);
            value.DerDecode(input, 0);
            MiByteBuffer out;
            value.DerEncode(out, 0);
            const std::unique_ptr<AsnObject> clone(value.Clone());
            clone->Reset(&value);
            AsnSequenceOf<AsnInteger> integers;
            integers.DerDecode(list, 0);
            AsnSequence members;
            AsnInteger next;
            next.SetAsnName("next");
            for (unsigned int i = 0; i < 6; ++i) {
                members.AddElement(&next);
                members.InsertElement(0, &next);
            }
            ++rounds;
        } catch (const std::bad_alloc&) {
        }
    });
    EXPECT_GT(failures, 50);
    EXPECT_EQ(rounds, 1U);
}

TEST(der_decoder_limits_test, ContentPastTheInput) {
    AsnBoolean boolean;
    AsnInteger integer;
    AsnEnumerated enumerated;
    AsnBitString bits;
    AsnOid oid;
    AsnUTCTime utc;
    AsnGeneralizedTime time;
    AsnNull null;
    AsnOctetString octets;
    AsnBMPString bmp;
    AsnIA5String ia5;
    AsnUniversalString universal;
    AsnNumericString numeric;
    AsnVisibleString visible;
    AsnTeletexString teletex;
    AsnPrintableString printable;
    AsnUTF8String utf8;
    auto sequence = composite<AsnSequence>(member("a", AsnInteger()));
    auto set = composite<AsnSet>(member("a", AsnInteger()));
    auto choice = composite<AsnChoice>(member("a", AsnInteger()));
    AsnContainer container = explicitly(0, "a", AsnInteger());
    AsnSequenceOf<AsnInteger> list;
    AsnSetOf<AsnInteger> setOf;
    const MiByte input = bytes("02 01 05 00");
    for (AsnObject* value : std::initializer_list<AsnObject*>{
             &boolean, &integer,  &enumerated, &bits,      &oid,       &utc,     &time,    &null,
             &octets,  &bmp,      &ia5,        &universal, &numeric,   &visible, &teletex, &printable,
             &utf8,    &sequence, &set,        &choice,    &container, &list,    &setOf}) {
        EXPECT_THROW(value->DerDecodeContent(input, 0, 5), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecodeContent(input, 4, 1), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecodeContent(input, 5, 1), MiOutOfRangeExp);
        // Sums that do not fit in 32 bits.
        EXPECT_THROW(value->DerDecodeContent(input, 4, 0xFFFFFFFF), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecodeContent(input, 0xFFFFFFFF, 0xFFFFFFFF), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecodeContent(input, 0xFFFFFFFF, 1), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecodeContent(MiByte(), 0, 1), MiInvalidArgumentExp);
        EXPECT_THROW(value->DerDecode(input, 4), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecode(input, 0xFFFFFFFF), MiOutOfRangeExp);
        EXPECT_THROW(value->DerDecode(MiByte(), 0), MiInvalidArgumentExp);
        EXPECT_THROW(decode(*value, "30"), MiOutOfRangeExp);
        EXPECT_THROW(decode(*value, "3F"), MiRangeExp);
        EXPECT_THROW(decode(*value, "30 81"), MiRangeExp);
        EXPECT_THROW(decode(*value, "30 85 00 00 00 00 01 00"), MiRangeExp);
    }
    for (AsnObject* value : std::initializer_list<AsnObject*>{
             &boolean, &integer, &enumerated, &bits,      &oid,  &utc,      &time, &octets,    &bmp,  &ia5,  &universal,
             &numeric, &visible, &teletex,    &printable, &utf8, &sequence, &set,  &container, &list, &setOf})
        EXPECT_THROW(decode(*value, "30 84 FF FF FF FF 00"), MiOutOfRangeExp);
    EXPECT_THROW(decode(choice, "02 84 FF FF FF FF 00"), MiOutOfRangeExp);
    EXPECT_THROW(decode(null, "05 84 FF FF FF FF 00"), MiInvalidArgumentExp);  // its length alone is looked at
    for (AsnObject* value :
         std::initializer_list<AsnObject*>{&boolean, &integer, &enumerated, &bits, &oid, &utc, &time}) {
        EXPECT_THROW(value->DerDecodeContent(input, 0, 0), MiInvalidArgumentExp);
        EXPECT_THROW(value->DerDecodeContent(input, 9, 0), MiInvalidArgumentExp);
    }
    for (AsnObject* value : std::initializer_list<AsnObject*>{&octets, &bmp, &ia5, &universal, &numeric, &visible,
                                                              &teletex, &printable, &utf8}) {
        EXPECT_EQ(value->DerDecodeContent(input, 9, 0), 0U);
        EXPECT_THROW(value->DerDecodeContent(MiByte(), 0, 0), MiInvalidArgumentExp);
    }
}

// A parent that keeps whole elements, and one of them longer than any input: the walk ends, and nothing goes round and
// round on a sum that came out at zero.
TEST(der_decoder_limits_test, WholeElementsOfHugeLength) {
    auto set = composite<AsnSet>(member("a", AsnInteger()));
    set.OnComponentDerByte();
    AsnSequenceOf<AsnInteger> list;
    list.OnComponentByte();
    auto sequence = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnInteger()));
    sequence.OnComponentByte();
    for (const char* length : {"84 FF FF FF F9", "84 7F FF FF FF"}) {
        const Bytes element = der::join({{0x02}, hex(length)});
        EXPECT_THROW(decode(set, der::tlv(0x31, element)), AsnDecodeExp) << length;
        EXPECT_THROW(decode(list, der::tlv(0x30, element)), AsnDecodeExp) << length;
        EXPECT_THROW(decode(sequence, der::tlv(0x30, element)), AsnDecodeExp) << length;
    }
    // Header and length together have no room in a result.
    for (const char* length : {"84 FF FF FF FA", "84 FF FF FF FF"}) {
        const Bytes element = der::join({{0x02}, hex(length)});
        EXPECT_THROW(decode(set, der::tlv(0x31, element)), MiOutOfRangeExp) << length;
        EXPECT_THROW(decode(list, der::tlv(0x30, element)), MiOutOfRangeExp) << length;
        EXPECT_THROW(decode(sequence, der::tlv(0x30, element)), MiOutOfRangeExp) << length;
        AsnInteger alone;
        alone.OnByte();
        EXPECT_THROW(decode(alone, element), MiOutOfRangeExp) << length;
    }
    auto last = composite<AsnSequence>(member("a", AsnInteger()));
    last.OnComponentByte();
    EXPECT_GT(decode(last, "30 07 02 84 FF FF FF 00 00"), 9U);
    EXPECT_EQ(toHex(*last.Get("a")->GetAsnByte()), "02 84 FF FF FF 00 00");
}

using Seconds = std::chrono::duration<double>;
template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

// Far above what linear work takes on any machine, and far below what quadratic work would.
constexpr double kLinear = 8.0;

TEST(der_decoder_limits_test, ALargeOctetString) {
    const Bytes input = der::tlv(0x04, Bytes(10000000, 0x5A));
    AsnOctetString value;
    EXPECT_LT(seconds([&] {
                  EXPECT_EQ(decode(value, input), input.size());
                  EXPECT_TRUE(encodedBytes(value) == input);
              }),
              kLinear);
}

TEST(der_decoder_limits_test, LargeValuesOfOtherTypes) {
    const Bytes ascii = der::tlv(0x0C, Bytes(2000000, 'a'));
    AsnUTF8String utf8;
    const Bytes accents = der::tlv(0x0C, der::repeat(1000000, {0xC3, 0xA9}));
    const Bytes arcs = der::tlv(0x06, Bytes(2000000, 0x05));
    AsnOid oid;
    const Bytes number = der::tlv(0x02, Bytes(2000000, 0x7E));
    AsnInteger integer;
    const Bytes unfinished = der::tlv(0x06, Bytes(2000000, 0x85));
    EXPECT_LT(seconds([&] {
                  EXPECT_EQ(decode(utf8, ascii), ascii.size());
                  EXPECT_TRUE(encodedBytes(utf8) == ascii);
                  EXPECT_EQ(decode(utf8, accents), accents.size());
                  EXPECT_TRUE(encodedBytes(utf8) == accents);
                  EXPECT_EQ(decode(oid, arcs), arcs.size());
                  EXPECT_TRUE(encodedBytes(oid) == arcs);
                  EXPECT_EQ(decode(oid, unfinished), unfinished.size());
                  EXPECT_TRUE(oid.GetData().Empty());
                  EXPECT_EQ(decode(integer, number), number.size());
                  EXPECT_TRUE(encodedBytes(integer) == number);
              }),
              kLinear);
}

TEST(der_decoder_limits_test, AListOfAHundredThousandEntries) {
    const Bytes entry = der::sequence({der::integer(300), der::text(0x17, "141022010203Z")});
    const Bytes input = der::tlv(0x31, der::repeat(100000, entry));
    struct Entry : AsnSequence {
        Entry() {
            const AsnInteger serial = member("serial", AsnInteger());
            const AsnUTCTime date = member("date", AsnUTCTime());
            AddElement(&serial);
            AddElement(&date);
        }
    };
    AsnSetOf<Entry> list;
    EXPECT_LT(seconds([&] {
                  EXPECT_EQ(decode(list, input), input.size());
                  EXPECT_EQ(list.Size(), 100000U);
                  EXPECT_TRUE(encodedBytes(list) == input);
              }),
              kLinear);
}

// Bytes of a set in an order that costs an exchange at every step.
TEST(der_decoder_limits_test, AListInTheWorstOrder) {
    Bytes content;
    Bytes sorted;
    for (unsigned int i = 0; i < 60000; ++i) {
        const unsigned int n = 65535 - i;
        content.insert(content.end(), {0x04, 0x02, static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)});
    }
    for (unsigned int n = 65535 - 59999; n <= 65535; ++n)
        sorted.insert(sorted.end(), {0x04, 0x02, static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)});
    AsnSetOf<AsnOctetString> list;
    EXPECT_LT(seconds([&] {
                  EXPECT_EQ(decode(list, der::tlv(0x31, content)), der::tlv(0x31, content).size());
                  EXPECT_TRUE(encodedBytes(list) == der::tlv(0x31, sorted));
              }),
              kLinear);
}

}  // namespace
