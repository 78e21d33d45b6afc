// Tags, and what every value has of AsnObject.
#include "asn/object.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "foundation/pool.h"
#include "tests/asn/der_io.h"
#include "tests/support/failing_heap.h"

namespace {

using der_io::bytes;
using der_io::decode;
using der_io::encoded;
using der_io::encodedContent;
using der_io::toHex;

static_assert(ASN_UNIVERSAL == 0x00 && ASN_APPLICATION == 0x40 && ASN_CONTEXT == 0x80 && ASN_PRIVATE == 0xC0);
static_assert(ASN_NOT_TAGGED == 0 && ASN_IMPLICIT == 1 && ASN_EXPLICIT == 2);
static_assert(ASN_PRIMITIVE == 0x00 && ASN_CONSTRUCTED == 0x20);
static_assert(AsnObject::ASN_MANDATORY == 0 && AsnObject::ASN_OPTIONAL == 1 && AsnObject::ASN_DEFAULT == 2);
static_assert(AsnObject::ASN_NO_BYTE == 0 && AsnObject::ASN_CONTENT_BYTE == 1 && AsnObject::ASN_WHOLE_BYTE == 2);

AsnTag tagOf(ASN_TAG_CLASS tagClass, ASN_TAG_MODE mode, ASN_TAG_FORM form, unsigned int number) {
    AsnTag tag;
    tag.tagClass = tagClass;
    tag.tagMode = mode;
    tag.tagForm = form;
    tag.tagNumber = number;
    return tag;
}

std::string text(const MiString& value) {
    return {value.GetChars() == nullptr ? "" : value.GetChars(), value.GetLength()};
}

std::string printed(AsnTag tag) {
    std::ostringstream os;
    os << tag;
    std::ostringstream constOs;
    constOs << static_cast<const AsnTag&>(tag);
    EXPECT_EQ(os.str(), constOs.str());
    return os.str();
}

// Opens what is protected.
struct Probe : AsnBoolean {
    using AsnObject::asnByte;
    using AsnObject::Delt;
    using AsnObject::Init;
};

// A value in which every field of AsnObject differs from its first state.
template <class T>
T distinct(T value = T()) {
    value.SetAsnName("other");
    value.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 9);
    const MiByte cache = bytes("AA BB");
    value.SetAsnContentByte(&cache);
    value.SetAsnState(AsnObject::ASN_DEFAULT);
    value.SetAsnPresent(true);
    value.SetAsnAnyType(true);
    return value;
}

void expectDistinct(const AsnObject& value) {
    EXPECT_EQ(text(value.GetAsnName()), "other");
    EXPECT_EQ(value.GetAsnTag(), tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 9));
    ASSERT_NE(value.GetAsnContentByte(), nullptr);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "AA BB");
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);
    EXPECT_EQ(value.GetAsnState(), AsnObject::ASN_DEFAULT);
    EXPECT_TRUE(value.IsAsnPresent());
    EXPECT_TRUE(value.IsAsnAnyType());
}

void expectZero(const AsnObject& value) {
    EXPECT_EQ(text(value.GetAsnName()), "");
    EXPECT_EQ(value.GetAsnTag(), AsnTag());
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    EXPECT_EQ(value.GetAsnState(), AsnObject::ASN_MANDATORY);
    EXPECT_FALSE(value.IsAsnPresent());
    EXPECT_FALSE(value.IsAsnAnyType());
}

TEST(object_test, AFreshTagIsZero) {
    const AsnTag tag;
    EXPECT_EQ(tag.tagClass, 0);
    EXPECT_EQ(tag.tagMode, 0);
    EXPECT_EQ(tag.tagForm, 0);
    EXPECT_EQ(tag.tagNumber, 0U);
}

TEST(object_test, TagsCompareByAllFourFields) {
    const AsnTag tag = tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 5);
    AsnTag copy;
    copy = tag;
    EXPECT_TRUE(tag == tag);
    EXPECT_TRUE(copy == tag);
    EXPECT_FALSE(copy != tag);
    for (const AsnTag& other :
         {tagOf(ASN_PRIVATE, ASN_IMPLICIT, ASN_CONSTRUCTED, 5), tagOf(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_CONSTRUCTED, 5),
          tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_PRIMITIVE, 5), tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 6)}) {
        EXPECT_FALSE(other == tag);
        EXPECT_TRUE(other != tag);
    }
}

TEST(object_test, TagsPrint) {
    EXPECT_EQ(printed(tagOf(ASN_UNIVERSAL, ASN_EXPLICIT, ASN_CONSTRUCTED, 16)), "");
    EXPECT_EQ(printed(tagOf(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 0)), "[0]  ");
    EXPECT_EQ(printed(tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_PRIMITIVE, 1)), "[1]  IMPLICIT  ");
    EXPECT_EQ(printed(tagOf(ASN_CONTEXT, ASN_EXPLICIT, ASN_PRIMITIVE, 31)), "[31]  EXPLICIT  ");
    EXPECT_EQ(printed(tagOf(ASN_APPLICATION, ASN_EXPLICIT, ASN_CONSTRUCTED, 2)), "[APPLICATION 2]  EXPLICIT  ");
    EXPECT_EQ(printed(tagOf(ASN_PRIVATE, ASN_IMPLICIT, ASN_CONSTRUCTED, 4294967295U)),
              "[PRIVATE 4294967295]  IMPLICIT  ");
}

TEST(object_test, TagsPrintInDecimalWhateverTheStreamIsSetTo) {
    std::ostringstream os;
    os << std::hex << tagOf(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 30);
    EXPECT_EQ(os.str(), "[30]  ");
}

TEST(object_test, AFreshValueHasNothingButItsTag) {
    AsnBoolean value;
    EXPECT_EQ(value.GetAsnTag(), tagOf(ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_PRIMITIVE, 1));
    EXPECT_EQ(value.GetAsnByte(), nullptr);
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
    EXPECT_FALSE(value.IsAsnChoice());
    value.SetAsnTagNumber(0);
    expectZero(value);
}

TEST(object_test, EachFieldIsSetAndRead) {
    AsnBoolean value;
    value.SetAsnName("first");
    EXPECT_EQ(text(value.GetAsnName()), "first");
    value.SetAsnName(MiString("second"));
    EXPECT_EQ(text(value.GetAsnName()), "second");

    value.SetAsnTag(ASN_PRIVATE, ASN_EXPLICIT, ASN_CONSTRUCTED, 7);
    EXPECT_EQ(value.GetAsnTagClass(), ASN_PRIVATE);
    EXPECT_EQ(value.GetAsnTagMode(), ASN_EXPLICIT);
    EXPECT_EQ(value.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(value.GetAsnTagNumber(), 7U);
    value.SetAsnTag(tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 8));
    EXPECT_EQ(value.GetAsnTag(), tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 8));
    value.SetAsnTagClass(ASN_APPLICATION);
    value.SetAsnTagMode(ASN_NOT_TAGGED);
    value.SetAsnTagForm(ASN_PRIMITIVE);
    value.SetAsnTagNumber(9);
    EXPECT_EQ(value.GetAsnTag(), tagOf(ASN_APPLICATION, ASN_NOT_TAGGED, ASN_PRIMITIVE, 9));

    value.SetAsnState(AsnObject::ASN_OPTIONAL);
    EXPECT_EQ(value.GetAsnState(), AsnObject::ASN_OPTIONAL);
    value.SetAsnPresent(true);
    EXPECT_TRUE(value.IsAsnPresent());
    value.SetAsnAnyType(true);
    EXPECT_TRUE(value.IsAsnAnyType());
}

TEST(object_test, ATagWithoutAFormLeavesTheForm) {
    AsnSequence value;
    value.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    EXPECT_EQ(value.GetAsnTag(), tagOf(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 3));
}

TEST(object_test, TheModesLeaveTheCacheAlone) {
    AsnBoolean value;
    value.OnByte();
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(value.GetAsnByte(), nullptr);
    value.OnContentByte();
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);

    const MiByte cache = bytes("01 01 FF");
    value.SetAsnByte(&cache);
    value.OffByte();
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    EXPECT_EQ(value.GetAsnByte(), nullptr);
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
    value.OnByte();
    ASSERT_NE(value.GetAsnByte(), nullptr);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "01 01 FF");
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
    value.OffContentByte();
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    value.OnContentByte();
    ASSERT_NE(value.GetAsnContentByte(), nullptr);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "01 01 FF");
    EXPECT_EQ(value.GetAsnByte(), nullptr);
}

TEST(object_test, TheCacheIsACopy) {
    AsnBoolean value;
    MiByte cache = bytes("01 02 03 04");
    value.SetAsnByte(&cache);
    cache.SetCharAt(0, 0xFF);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "01 02 03 04");

    value.SetAsnByte(cache.GetChars(), 1, 2);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "02 03");
    value.SetAsnContentByte(cache.GetChars(), 2, 2);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "03 04");
    value.SetAsnContentByte(&cache);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "FF 02 03 04");

    value.SetAsnContentByte(value.GetAsnContentByte()->GetChars(), 1, 2);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "02 03");
    value.SetAsnContentByte(value.GetAsnContentByte());
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "02 03");
}

TEST(object_test, ANullCacheIsEmptyAndStillSetsTheMode) {
    AsnBoolean value(true);
    value.SetAsnByte(nullptr);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(value.GetAsnByte(), nullptr);
    EXPECT_EQ(encoded(value), "");
    const MiByte cache = bytes("01");
    value.SetAsnByte(&cache);
    value.SetAsnByte(nullptr, 0, 4);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(value.GetAsnByte(), nullptr);

    value.SetAsnContentByte(nullptr);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
    EXPECT_EQ(encoded(value), "01 00");
    value.SetAsnContentByte(&cache);
    value.SetAsnContentByte(nullptr, 0, 4);
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
}

TEST(object_test, ClearByteDeletesTheCache) {
    AsnBoolean value(true);
    const MiByte cache = bytes("01 01 00");
    value.SetAsnByte(&cache);
    value.ClearByte();
    EXPECT_EQ(value.GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    value.OnByte();
    EXPECT_EQ(value.GetAsnByte(), nullptr);
}

TEST(object_test, AChangeOfTheValueLeavesTheOldBytesInForce) {
    AsnInteger value(5);
    const MiByte cache = bytes("02 01 05");
    value.SetAsnByte(&cache);
    value.SetData(6);
    EXPECT_EQ(encoded(value), "02 01 05");
    value.Reset(nullptr);
    EXPECT_EQ(encoded(value), "02 01 05");
    value.SetData(6);
    value.OffByte();
    EXPECT_EQ(encoded(value), "02 01 06");
    value.OnByte();
    EXPECT_EQ(encoded(value), "02 01 05");
    value.ClearByte();
    EXPECT_EQ(encoded(value), "02 01 06");
}

TEST(object_test, TheTwoModesInBothDirections) {
    AsnInteger value(7);
    value.OnByte();
    EXPECT_EQ(decode(value, "02 02 01 00"), 4U);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "02 02 01 00");
    EXPECT_EQ(value.GetInteger(), 0);
    EXPECT_EQ(encoded(value), "02 02 01 00");
    value.OffByte();
    EXPECT_EQ(encoded(value), "02 01 00");

    value.OnContentByte();
    EXPECT_EQ(decode(value, "02 02 01 05"), 4U);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "01 05");
    EXPECT_EQ(value.GetInteger(), 0);
    EXPECT_EQ(encoded(value), "02 02 01 05");
    EXPECT_EQ(encodedContent(value), "01 05");
}

TEST(object_test, BaseDataIsCopiedWhole) {
    const auto source = distinct<AsnBoolean>();
    AsnInteger target(5);
    const MiByte old = bytes("00 00 00");
    target.SetAsnByte(&old);
    target.SetAsnBaseData(&source);
    expectDistinct(target);
    EXPECT_NE(target.GetAsnContentByte(), source.GetAsnContentByte());
    EXPECT_EQ(target.GetInteger(), 5);

    target.SetAsnBaseData(&target);
    expectDistinct(target);

    target.SetAsnBaseData(nullptr);
    expectZero(target);
    target.OnByte();
    EXPECT_EQ(target.GetAsnByte(), nullptr);
}

TEST(object_test, InitReleasesNothingAndDeltDoes) {
    Probe value;
    static_cast<AsnBoolean&>(value) = distinct<AsnBoolean>();
    std::unique_ptr<MiByte> cache(value.asnByte);
    value.Init();
    expectZero(value);
    EXPECT_EQ(value.asnByte, nullptr);
    EXPECT_EQ(toHex(*cache), "AA BB");

    static_cast<AsnBoolean&>(value) = distinct<AsnBoolean>();
    value.Delt();
    expectZero(value);
    EXPECT_EQ(value.asnByte, nullptr);
}

TEST(object_test, AssignmentOfTheRootSharesTheCache) {
    const auto source = distinct<AsnBoolean>(AsnBoolean(true));
    // The target is never destroyed, since it would delete the cache of the source.
    alignas(AsnBoolean) unsigned char storage[sizeof(AsnBoolean)];
    auto* target = new (storage) AsnBoolean;
    static_cast<AsnObject&>(*target) = source;
    expectDistinct(*target);
    EXPECT_EQ(target->GetAsnContentByte(), source.GetAsnContentByte());
    EXPECT_FALSE(target->GetData());
    target->SetAsnName(nullptr);
}

TEST(object_test, EqualsNeedsAnArgument) {
    const AsnBoolean value;
    EXPECT_THROW((void)value.Equals(nullptr), MiInvalidArgumentExp);
}

TEST(object_test, EqualsComparesValueNameTagStateAndPresence) {
    AsnInteger a(5);
    a.SetAsnName("a");
    AsnInteger b = a;
    EXPECT_TRUE(a.Equals(&a));
    EXPECT_TRUE(a.Equals(&b));
    b.SetData(6);
    EXPECT_FALSE(a.Equals(&b));
    b = a;
    b.SetAsnName("b");
    EXPECT_FALSE(a.Equals(&b));
    b = a;
    b.SetAsnTagNumber(3);
    EXPECT_FALSE(a.Equals(&b));
    b = a;
    b.SetAsnTagMode(ASN_IMPLICIT);
    EXPECT_FALSE(a.Equals(&b));
    b = a;
    b.SetAsnState(AsnObject::ASN_OPTIONAL);
    EXPECT_FALSE(a.Equals(&b));
    b = a;
    b.SetAsnPresent(true);
    EXPECT_FALSE(a.Equals(&b));
}

TEST(object_test, EqualsLooksAtNeitherAnyTypeNorTheCache) {
    const AsnInteger a(5);
    AsnInteger b(5);
    b.SetAsnAnyType(true);
    const MiByte cache = bytes("02 01 06");
    b.SetAsnByte(&cache);
    EXPECT_TRUE(a.Equals(&b));
}

TEST(object_test, AReadValueDiffersFromABuiltOneByTheModeOfItsTag) {
    AsnInteger built(5);
    built.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 1);
    AsnInteger read = built;
    decode(read, "81 01 05");
    EXPECT_EQ(read.GetAsnTag(), tagOf(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 1));
    EXPECT_TRUE(read == built);
    EXPECT_FALSE(read.Equals(&built));
}

TEST(object_test, DerWritesAtAnOffsetOverWhatStoodThere) {
    const AsnInteger value(5);
    MiByteBuffer out(bytes("01 02 03 04 05 06 07"));
    EXPECT_EQ(value.DerEncode(out, 2), 3U);
    EXPECT_EQ(toHex(out), "01 02 02 01 05");
    EXPECT_EQ(value.DerEncodeContent(out, 1), 1U);
    EXPECT_EQ(toHex(out), "01 05");
    EXPECT_EQ(value.DerEncode(out, 4), 3U);
    EXPECT_EQ(toHex(out), "01 05 00 00 02 01 05");
}

TEST(object_test, DerReadsFromAnOffset) {
    const MiByte in = bytes("FF 02 01 05 FF");
    AsnInteger value;
    EXPECT_EQ(value.DerDecode(in, 1), 3U);
    EXPECT_EQ(value.GetInteger(), 5);
    EXPECT_EQ(value.DerDecodeContent(in, 2, 2), 2U);
    EXPECT_EQ(value.GetInteger(), 0x0105);
}

// Whatever allocation of an assignment fails, the target is still what it was; the last round assigns all of the
// source.
template <class T>
void expectAllOrNothing(T source, T before) {
    SCOPED_TRACE(typeid(T).name());
    const MiByte cache = bytes("30 03 02 01 05");
    source.SetAsnName("source");
    source.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 7);
    source.SetAsnByte(&cache);
    before.SetAsnName("target of the assignment");
    T target(before);
    bool kept = true;
    const long failures = support::forEachExhaustion([&] {
        foundation::PoolTrim();
        try {
            target = source;
        } catch (const std::bad_alloc&) {
            kept = kept && target.Equals(&before) && target.GetAsnByteType() == AsnObject::ASN_NO_BYTE;
        }
    });
    EXPECT_GE(failures, 2);
    EXPECT_TRUE(kept);
    EXPECT_TRUE(target.Equals(&source));
    EXPECT_EQ(toHex(*target.GetAsnByte()), "30 03 02 01 05");
}

template <class T>
T visible(const char* text) {
    T value;
    value.SetVisibleString(text);
    return value;
}

template <class T>
T timeOf(const char* text) {
    T value;
    value.SetTime(text);
    return value;
}

template <class T>
T listOf(const AsnInteger& item) {
    T value;
    value.AddElement(item);
    return value;
}

template <class T>
T withInteger(const char* name) {
    return der_io::composite<T>(der_io::member(name, AsnInteger(300)));
}

AsnChoice choiceOf(const char* name) {
    auto value = withInteger<AsnChoice>(name);
    value.Set(name);
    return value;
}

TEST(object_test, AnAssignmentWithoutMemoryChangesNothing) {
    expectAllOrNothing(AsnBitString(MiBitSet("101")), AsnBitString(MiBitSet("0")));
    expectAllOrNothing(AsnBoolean(true), AsnBoolean(false));
    expectAllOrNothing(AsnInteger(300), AsnInteger(7));
    expectAllOrNothing(AsnEnumerated(3), AsnEnumerated(4));
    expectAllOrNothing(AsnNull(), AsnNull());
    expectAllOrNothing(der_io::octets("01 02 03"), der_io::octets("04"));
    expectAllOrNothing(AsnOid("1.2.840"), AsnOid("1.3"));
    expectAllOrNothing(AsnNumericString("123"), AsnNumericString("4"));
    expectAllOrNothing(AsnPrintableString("abc"), AsnPrintableString("d"));
    expectAllOrNothing(AsnVisibleString("abc"), AsnVisibleString("d"));
    expectAllOrNothing(visible<AsnIA5String>("abc"), visible<AsnIA5String>("d"));
    expectAllOrNothing(visible<AsnTeletexString>("abc"), visible<AsnTeletexString>("d"));
    expectAllOrNothing(visible<AsnBMPString>("abc"), visible<AsnBMPString>("d"));
    expectAllOrNothing(visible<AsnUniversalString>("abc"), visible<AsnUniversalString>("d"));
    expectAllOrNothing(visible<AsnUTF8String>("abc"), visible<AsnUTF8String>("d"));
    expectAllOrNothing(timeOf<AsnUTCTime>("1410221200Z"), timeOf<AsnUTCTime>("1310221200Z"));
    expectAllOrNothing(timeOf<AsnGeneralizedTime>("20141022120000.25Z"),
                       timeOf<AsnGeneralizedTime>("20131022120000.5Z"));
    expectAllOrNothing(der_io::explicitly(1, "", AsnInteger(300)), der_io::explicitly(2, "", AsnOid("1.2")));
    expectAllOrNothing(withInteger<AsnSequence>("a"), AsnSequence());
    expectAllOrNothing(withInteger<AsnSet>("a"), AsnSet());
    expectAllOrNothing(choiceOf("a"), choiceOf("b"));
    expectAllOrNothing(listOf<AsnSequenceOf<AsnInteger>>(1), listOf<AsnSequenceOf<AsnInteger>>(2));
    expectAllOrNothing(listOf<AsnSetOf<AsnInteger>>(1), listOf<AsnSetOf<AsnInteger>>(2));
}

}  // namespace
