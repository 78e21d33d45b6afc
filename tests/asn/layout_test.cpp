// Bases, orders of fields and orders of virtual operations: a binary contract for programs that derive from the
// classes.
#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <typeinfo>
#include <vector>

#include "asn/asn.h"
#include "tests/support/vtable.h"

namespace {

using support::slotOf;

// The only base of a class, as the class itself says.
const std::type_info& baseOf(const std::type_info& type) {
    const auto* single = dynamic_cast<const abi::__si_class_type_info*>(&type);
    return single == nullptr ? typeid(void) : *single->__base_type;
}

void expectAscending(const std::vector<const void*>& fields) {
    for (std::size_t i = 1; i < fields.size(); ++i)
        EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
}

// Every class has the nine operations of AsnObject in their order.
template <class T>
void expectSlots() {
    SCOPED_TRACE(typeid(T).name());
    EXPECT_EQ(slotOf(&T::Reset), 1);
    EXPECT_EQ(slotOf(&T::EqualsContent), 2);
    EXPECT_EQ(slotOf(&T::Encode), 3);
    EXPECT_EQ(slotOf(&T::EncodeContent), 4);
    EXPECT_EQ(slotOf(&T::Decode), 5);
    EXPECT_EQ(slotOf(&T::DecodeContent), 6);
    EXPECT_EQ(slotOf(&T::IsAsnChoice), 7);
    EXPECT_EQ(slotOf(&T::Clone), 8);
    EXPECT_EQ(slotOf(&T::ToOstream), 9);
}

template <class... T>
void expectSlotsOfAll() {
    (expectSlots<T>(), ...);
}

template <class... T>
void expectBaseOfAll(const std::type_info& base) {
    for (const std::type_info* type : {&typeid(T)...})
        EXPECT_EQ(baseOf(*type), base) << type->name();
}

TEST(layout_test, VirtualOperationsOfValues) {
    expectSlotsOfAll<AsnObject, AsnBoolean, AsnInteger, AsnBitString, AsnOctetString, AsnNull, AsnOid, AsnEnumerated,
                     AsnUTF8String, AsnNumericString, AsnPrintableString, AsnTeletexString, AsnIA5String, AsnUTCTime,
                     AsnGeneralizedTime, AsnVisibleString, AsnUniversalString, AsnBMPString, AsnContainer, AsnSequence,
                     AsnSet, AsnChoice, AsnInstanceOf, AsnSetOf<AsnInteger>, AsnSequenceOf<AsnInteger>>();
}

template <class T>
struct OwnSetup : T {
    static std::ptrdiff_t slot() { return slotOf(&OwnSetup::SetupElements); }
};

TEST(layout_test, SetupElementsComesTenth) {
    EXPECT_EQ(OwnSetup<AsnSequence>::slot(), 10);
    EXPECT_EQ(OwnSetup<AsnSet>::slot(), 10);
    EXPECT_EQ(OwnSetup<AsnChoice>::slot(), 10);
    EXPECT_EQ(OwnSetup<AsnInstanceOf>::slot(), 10);
}

template <class Visitor, class T>
std::ptrdiff_t encodeSlot() {
    return slotOf(static_cast<unsigned int (Visitor::*)(const T&, MiByteBuffer&, unsigned int)>(&Visitor::Encode));
}
template <class Visitor, class T>
std::ptrdiff_t encodeContentSlot() {
    return slotOf(
        static_cast<unsigned int (Visitor::*)(const T&, MiByteBuffer&, unsigned int)>(&Visitor::EncodeContent));
}
template <class Visitor, class T>
std::ptrdiff_t decodeSlot() {
    return slotOf(static_cast<unsigned int (Visitor::*)(T&, const MiByte&, unsigned int)>(&Visitor::Decode));
}
template <class Visitor, class T>
std::ptrdiff_t decodeContentSlot() {
    return slotOf(
        static_cast<unsigned int (Visitor::*)(T&, const MiByte&, unsigned int, unsigned int)>(&Visitor::DecodeContent));
}

template <class Encoder, class Decoder, class... T>
void expectVisitorSlots() {
    std::ptrdiff_t slot = 1;
    for (const std::ptrdiff_t found : {encodeSlot<Encoder, T>()...})
        EXPECT_EQ(found, slot++);
    for (const std::ptrdiff_t found : {encodeContentSlot<Encoder, T>()...})
        EXPECT_EQ(found, slot++);
    EXPECT_EQ(slotOf(&Encoder::EncodeTag), slot++);
    EXPECT_EQ(slotOf(&Encoder::EncodeLength), slot++);
    EXPECT_EQ(slot, 45);
    slot = 1;
    for (const std::ptrdiff_t found : {decodeSlot<Decoder, T>()...})
        EXPECT_EQ(found, slot++);
    for (const std::ptrdiff_t found : {decodeContentSlot<Decoder, T>()...})
        EXPECT_EQ(found, slot++);
    EXPECT_EQ(slotOf(&Decoder::DecodeTag), slot++);
    EXPECT_EQ(slotOf(&Decoder::DecodeLength), slot++);
    EXPECT_EQ(slot, 45);
}

template <class Encoder, class Decoder>
void expectVisitorSlotsInOrder() {
    expectVisitorSlots<Encoder, Decoder, AsnContainer, AsnChoice, AsnSet, AsnSequence, AsnTeletexString,
                       AsnVisibleString, AsnPrintableString, AsnNumericString, AsnUTF8String, AsnUniversalString,
                       AsnIA5String, AsnBMPString, AsnNull, AsnUTCTime, AsnGeneralizedTime, AsnOid, AsnEnumerated,
                       AsnBitString, AsnInteger, AsnOctetString, AsnBoolean>();
}

TEST(layout_test, VirtualOperationsOfVisitors) {
    expectVisitorSlotsInOrder<AsnEncode, AsnDecode>();
    expectVisitorSlotsInOrder<AsnDerEncode, AsnDerDecode>();
}

TEST(layout_test, Bases) {
    EXPECT_EQ(baseOf(typeid(AsnObject)), typeid(MiObject));
    expectBaseOfAll<AsnEncode, AsnDecode, AsnOstream>(typeid(MiObject));
    EXPECT_EQ(baseOf(typeid(AsnDerEncode)), typeid(AsnEncode));
    EXPECT_EQ(baseOf(typeid(AsnDerDecode)), typeid(AsnDecode));
    expectBaseOfAll<AsnBoolean, AsnInteger, AsnBitString, AsnOctetString, AsnNull, AsnOid, AsnEnumerated, AsnUTF8String,
                    AsnNumericString, AsnPrintableString, AsnTeletexString, AsnIA5String, AsnUTCTime,
                    AsnGeneralizedTime, AsnVisibleString, AsnUniversalString, AsnBMPString, AsnContainer, AsnSequence,
                    AsnSet, AsnChoice, AsnSetOf<AsnInteger>, AsnSequenceOf<AsnInteger>>(typeid(AsnObject));
    EXPECT_EQ(baseOf(typeid(AsnInstanceOf)), typeid(AsnSequence));
}

TEST(layout_test, VisitorsHaveNoData) {
    EXPECT_EQ(sizeof(AsnDerEncode), sizeof(void*));
    EXPECT_EQ(sizeof(AsnDerDecode), sizeof(void*));
    EXPECT_EQ(sizeof(AsnOstream), sizeof(void*));
    const std::unique_ptr<MiObject> printer = std::make_unique<AsnOstream>();
    const MiObject& object = *printer;
    EXPECT_EQ(typeid(object), typeid(AsnOstream));
}

TEST(layout_test, FieldsOfATag) {
    EXPECT_EQ(offsetof(AsnTag, tagClass), 0U);
    EXPECT_EQ(offsetof(AsnTag, tagMode), 4U);
    EXPECT_EQ(offsetof(AsnTag, tagForm), 8U);
    EXPECT_EQ(offsetof(AsnTag, tagNumber), 12U);
    EXPECT_EQ(sizeof(AsnTag), 16U);
}

// Classes that open the protected fields, and give their addresses in the order that they are to have.
template <class T>
struct Value : T {
    std::vector<const void*> fields() const {
        return {this,
                &this->asnName,
                &this->asnTag,
                &this->asnByte,
                &this->asnByteType,
                &this->asnState,
                &this->asnPresent,
                &this->asnAnyType};
    }
};

template <class T>
struct ValueWithData : Value<T> {
    std::vector<const void*> fields() const {
        auto all = Value<T>::fields();
        all.push_back(&this->data);
        return all;
    }
};

struct Generalized : ValueWithData<AsnGeneralizedTime> {
    std::vector<const void*> fields() const {
        auto all = ValueWithData::fields();
        all.push_back(&fraction);
        return all;
    }
};

template <class T>
struct Composite : Value<T> {
    std::vector<const void*> fields() const {
        auto all = Value<T>::fields();
        all.push_back(&this->elements);
        all.push_back(&this->componentByteType);
        return all;
    }
};

struct Choice : Value<AsnChoice> {
    std::vector<const void*> fields() const {
        auto all = Value::fields();
        all.push_back(&selected);
        all.push_back(&elements);
        return all;
    }
};

template <class T>
struct List : Value<T> {
    std::vector<const void*> fields() const {
        auto all = Value<T>::fields();
        all.push_back(&this->items);
        all.push_back(&this->componentByteType);
        return all;
    }
};

template <class... T>
void expectFieldsAscend() {
    (expectAscending(T().fields()), ...);
}

TEST(layout_test, FieldsOfValues) {
    expectFieldsAscend<ValueWithData<AsnBoolean>, ValueWithData<AsnInteger>, ValueWithData<AsnBitString>,
                       ValueWithData<AsnOctetString>, Value<AsnNull>, ValueWithData<AsnOid>,
                       ValueWithData<AsnEnumerated>, ValueWithData<AsnUTF8String>, ValueWithData<AsnNumericString>,
                       ValueWithData<AsnPrintableString>, ValueWithData<AsnTeletexString>, ValueWithData<AsnIA5String>,
                       ValueWithData<AsnUTCTime>, Generalized, ValueWithData<AsnVisibleString>,
                       ValueWithData<AsnUniversalString>, ValueWithData<AsnBMPString>, ValueWithData<AsnContainer>,
                       Composite<AsnSequence>, Composite<AsnSet>, Choice, List<AsnSetOf<AsnInteger>>,
                       List<AsnSequenceOf<AsnInteger>>>();
}

TEST(layout_test, NothingComesBetweenTheFields) {
    EXPECT_EQ(sizeof(AsnNull), sizeof(AsnObject));
    EXPECT_EQ(sizeof(AsnContainer), sizeof(AsnObject) + sizeof(void*));
    EXPECT_EQ(sizeof(AsnSequence), sizeof(AsnObject) + 2 * sizeof(void*));
    EXPECT_EQ(sizeof(AsnInstanceOf), sizeof(AsnSequence));
    EXPECT_EQ(sizeof(AsnChoice), sizeof(AsnObject) + 2 * sizeof(void*));
}

}  // namespace
