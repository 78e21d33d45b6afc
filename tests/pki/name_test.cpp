#include "pki/name.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/exceptions.h"
#include "tests/schema/bytes.h"
#include "tests/support/broken_der.h"
#include "tests/support/der.h"

namespace {

using support::Bytes;
using support::toHex;

constexpr int kElementAbsent = -1001;
constexpr int kUnsupported = -1006;
constexpr int kBufferTooSmall = -1019;

MiByte text(const std::string& chars) {
    return {chars.data(), static_cast<unsigned int>(chars.size())};
}

std::string node(const VT_Name& name, int index) {
    MiByte value;
    EXPECT_EQ(name.getNameNodeByIndex(index, value), 0);
    return {value.GetChars(), value.GetChars() + value.GetLength()};
}

int total(const VT_Name& name) {
    int count = -1;
    EXPECT_EQ(name.getNameNodeTotal(count), 0);
    return count;
}

Bytes derOf(const VT_Name& name) {
    MiByte der;
    EXPECT_EQ(name.getName(der), 0);
    return {der.GetChars(), der.GetChars() + der.GetLength()};
}

VT_Name nameOf(const Bytes& der) {
    VT_Name name;
    EXPECT_EQ(name.setName(toMiByte(der)), 0);
    return name;
}

Bytes attribute(const Bytes& type, std::uint8_t stringTag, std::string_view value) {
    return der::sequence({type, der::text(stringTag, value)});
}

struct Row {
    const char* label;
    Bytes type;
    std::uint8_t stringTag;
};

constexpr std::uint8_t kPrintable = 0x13;
constexpr std::uint8_t kIa5 = 0x16;

const Row kRows[] = {
    {" CN =", der::oid({2, 5, 4, 3}), kPrintable},  {" SN =", der::oid({2, 5, 4, 4}), kPrintable},
    {"  C =", der::oid({2, 5, 4, 6}), kPrintable},  {"  L =", der::oid({2, 5, 4, 7}), kPrintable},
    {"  S =", der::oid({2, 5, 4, 8}), kPrintable},  {"  O =", der::oid({2, 5, 4, 10}), kPrintable},
    {" OU =", der::oid({2, 5, 4, 11}), kPrintable}, {"  T =", der::oid({2, 5, 4, 12}), kPrintable},
    {"  N =", der::oid({2, 5, 4, 41}), kPrintable}, {"  G =", der::oid({2, 5, 4, 42}), kPrintable},
    {"  I =", der::oid({2, 5, 4, 43}), kPrintable}, {" GQ =", der::oid({2, 5, 4, 44}), kPrintable},
    {" DQ =", der::oid({2, 5, 4, 46}), kPrintable}, {"  E =", der::oid({1, 2, 840, 113549, 1, 9, 1}), kIa5},
};

std::string lowerCase(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

TEST(name_test, EachLabelIsWrittenAsItsAttribute) {
    for (const Row& row : kRows) {
        VT_Name name;
        EXPECT_EQ(name.addNameNode(text(std::string(row.label) + "Some Value")), 0) << row.label;
        const Bytes der = der::sequence({der::set({attribute(row.type, row.stringTag, "Some Value")})});
        EXPECT_EQ(toHex(derOf(name)), toHex(der)) << row.label;
        EXPECT_EQ(node(name, 0), std::string(row.label) + "Some Value");
    }
}

TEST(name_test, EachAttributeIsReadUnderItsLabel) {
    for (const Row& row : kRows) {
        const VT_Name name = nameOf(der::sequence({der::set({attribute(row.type, row.stringTag, "v")})}));
        EXPECT_EQ(node(name, 0), std::string(row.label) + "v");
    }
}

TEST(name_test, ALabelInLowerCaseIsAcceptedAndReadBackInUpperCase) {
    for (const Row& row : kRows) {
        VT_Name name;
        EXPECT_EQ(name.addNameNode(text(lowerCase(row.label) + "alice")), 0) << row.label;
        EXPECT_EQ(node(name, 0), std::string(row.label) + "alice");
        EXPECT_EQ(toHex(derOf(name)), toHex(der::sequence({der::set({attribute(row.type, row.stringTag, "alice")})})));
    }
    VT_Name mixed;
    EXPECT_EQ(mixed.addNameNode(text(" cN =Alice")), 0);
    EXPECT_EQ(node(mixed, 0), " CN =Alice");
}

TEST(name_test, AnyOtherAttributeIsReadAsUnknown) {
    for (const Bytes& type :
         {der::oid({2, 5, 4, 5}), der::oid({2, 5, 4, 13}), der::oid({2, 5, 4, 42, 1}), der::oid({2, 5, 4}),
          der::oid({0, 9, 2342, 19200300, 100, 1, 25}), der::oid({1, 2, 840, 113549, 1, 9, 2})}) {
        const VT_Name name = nameOf(der::sequence({der::set({attribute(type, kPrintable, "v")})}));
        EXPECT_EQ(node(name, 0), " ?? =v") << toHex(type);
    }
}

TEST(name_test, UnknownLabelsAreRefused) {
    for (const char* label : {" ?? =Alice", "CN  =Alice", "CN =xAlice", " XX =Alice", " CN= Alice", "  CN=Alice",
                              "  c= Alice", "\0\0\0\0\0Alice", " ST =Alice", "  C :Alice"}) {
        VT_Name name;
        EXPECT_EQ(name.addNameNode(MiByte(label, 10)), kUnsupported) << label;
        EXPECT_EQ(total(name), 0);
    }
    VT_Name name;
    EXPECT_EQ(name.addNameNode(MiByte(" CN\0=Alice", 10)), kUnsupported);
}

TEST(name_test, ANodeNeedsAtLeastOneByteOfValue) {
    VT_Name name;
    EXPECT_EQ(name.addNameNode(text(" CN =")), kBufferTooSmall);
    EXPECT_EQ(name.addNameNode(text(" ?? =")), kBufferTooSmall) << "the length is looked at first";
    EXPECT_EQ(name.addNameNode(text(" CN")), kBufferTooSmall);
    EXPECT_EQ(name.addNameNode(MiByte()), kBufferTooSmall);
    EXPECT_EQ(total(name), 0);
    EXPECT_EQ(name.addNameNode(text(" CN =A")), 0);
    EXPECT_EQ(total(name), 1);
}

TEST(name_test, ValuesOfAnyBytesPassUnderTheirTag) {
    std::string every;
    for (int i = 0; i < 256; ++i)
        every += static_cast<char>(i);
    for (const char* label : {" CN =", "  E ="}) {
        VT_Name name;
        EXPECT_EQ(name.addNameNode(text(label + every)), 0);
        EXPECT_EQ(node(name, 0), label + every);
        EXPECT_EQ(node(nameOf(derOf(name)), 0), label + every);
    }
    VT_Name name;
    EXPECT_EQ(name.addNameNode(text(" CN =\xB1\xB1\xBE\xA9")), 0);
    EXPECT_EQ(toHex(derOf(name)), "30 0F 31 0D 30 0B 06 03 55 04 03 13 04 B1 B1 BE A9");
}

TEST(name_test, NodesKeepTheirOrder) {
    VT_Name name;
    for (const char* label : {" CN =z", "  C =DE", " CN =a", "  O =Example", "  E =a@b"})
        EXPECT_EQ(name.addNameNode(text(label)), 0);
    EXPECT_EQ(total(name), 5);
    const VT_Name again = nameOf(derOf(name));
    EXPECT_EQ(total(again), 5);
    for (const VT_Name* each : {&std::as_const(name), &again}) {
        EXPECT_EQ(node(*each, 0), " CN =z");
        EXPECT_EQ(node(*each, 1), "  C =DE");
        EXPECT_EQ(node(*each, 2), " CN =a");
        EXPECT_EQ(node(*each, 3), "  O =Example");
        EXPECT_EQ(node(*each, 4), "  E =a@b");
    }
}

TEST(name_test, ValuesAreNotInterpreted) {
    const Bytes commonName = der::oid({2, 5, 4, 3});
    const auto read = [&](std::uint8_t tag, std::string_view bytes) {
        return node(nameOf(der::sequence({der::set({attribute(commonName, tag, bytes)})})), 0);
    };
    EXPECT_EQ(read(0x0C, "\xC3\xA9"), " CN =\xC3\xA9") << "UTF8String";
    EXPECT_EQ(read(0x14, "\xE9"), " CN =\xE9") << "TeletexString";
    EXPECT_EQ(read(0x1E, std::string_view("\0A\x20\xAC", 4)), std::string(" CN =\0A\x20\xAC", 9)) << "BMPString";
    EXPECT_EQ(read(0x1C, std::string_view("\0\0\0A", 4)), std::string(" CN =\0\0\0A", 9)) << "UniversalString";
    EXPECT_EQ(read(0x30, std::string_view("\x13\x01v", 3)), " CN =\x13\x01v") << "no string at all";
    EXPECT_EQ(read(kPrintable, ""), " CN =") << "an empty value can be read, though not written";
}

TEST(name_test, OnlyTheFirstAttributeOfARelativeNameIsSeen) {
    const Bytes unit = attribute(der::oid({2, 5, 4, 11}), kPrintable, "Staff");
    const Bytes common = attribute(der::oid({2, 5, 4, 3}), kPrintable, "Alice");
    const Bytes der = der::sequence({der::set({common, unit}), der::set({unit, common})});
    const VT_Name name = nameOf(der);
    EXPECT_EQ(total(name), 2);
    EXPECT_EQ(node(name, 0), " CN =Alice");
    EXPECT_EQ(node(name, 1), " OU =Staff");
}

TEST(name_test, AnIndexPastTheEndThrows) {
    VT_Name name;
    MiByte value("old", 3);
    EXPECT_THROW(name.getNameNodeByIndex(0, value), MiOutOfRangeExp);
    EXPECT_EQ(name.addNameNode(text(" CN =a")), 0);
    EXPECT_EQ(node(name, 0), " CN =a");
    for (const int index : {1, 2, 0x7FFFFFFF, -1, -0x7FFFFFFF - 1})
        EXPECT_THROW(name.getNameNodeByIndex(index, value), MiOutOfRangeExp) << index;
    EXPECT_EQ(value, MiByte("old", 3));
}

TEST(name_test, ARelativeNameWithoutAttributesThrows) {
    const VT_Name name = nameOf(der::sequence({der::set({})}));
    EXPECT_EQ(total(name), 1);
    MiByte value;
    EXPECT_THROW(name.getNameNodeByIndex(0, value), MiOutOfRangeExp);
}

TEST(name_test, AnAttributeWithoutTypeAndValueIsACode) {
    const VT_Name name = nameOf(der::sequence({der::set({der::sequence({})})}));
    MiByte value("old", 3);
    EXPECT_EQ(name.getNameNodeByIndex(0, value), kElementAbsent);
    EXPECT_EQ(value, MiByte("old", 3));
}

// What only a caller can build: one of the two is there.
TEST(name_test, AnAttributeWithoutTypeOrValueIsACode) {
    const AsnOid type("2.5.4.3");
    AsnOctetString holder;
    holder.SetAsnName("value");
    holder.SetData(MiByte("v", 1));
    const auto read = [](const AttributeTypeAndDistinguishedValue& attribute) {
        AsnSetOf<AttributeTypeAndDistinguishedValue> relative;
        relative.AddElement(attribute);
        AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>> names;
        names.AddElement(relative);
        Name value;
        value.SetRdnSequence(names);
        VT_Name name;
        EXPECT_EQ(name.setName(value), 0);
        MiByte out;
        return name.getNameNodeByIndex(0, out);
    };
    AttributeTypeAndDistinguishedValue attribute;
    attribute.Set("type", &type);
    EXPECT_EQ(read(attribute), kElementAbsent);
    attribute.AddCompleteData("value", &holder);
    EXPECT_EQ(read(attribute), 0);
    attribute.Find("type")->SetAsnPresent(false);
    EXPECT_EQ(read(attribute), kElementAbsent);
}

// A holder without its name takes the member's away.
TEST(name_test, TheHolderOfAValueIsNamedAndPresent) {
    VT_Name name;
    EXPECT_EQ(name.addNameNode(text(" CN =Alice")), 0);
    Name value;
    EXPECT_EQ(name.getName(value), 0);
    const AttributeTypeAndDistinguishedValue* attribute = value.GetRdnSequence()->Get(0)->Get(0);
    ASSERT_NE(attribute->Get("value"), nullptr);
    EXPECT_TRUE(attribute->Get("value")->IsAsnPresent());
    ASSERT_NE(attribute->GetValue(), nullptr);
    AsnPrintableString held;
    attribute->GetValue()->GetDerObject(&held);
    EXPECT_EQ(held.GetData(), "Alice");
    EXPECT_EQ(attribute->GetType()->GetData(), "2.5.4.3");
}

TEST(name_test, NamesGoThroughValuesUnchanged) {
    const Bytes der = der::sequence({der::set({attribute(der::oid({2, 5, 4, 6}), kPrintable, "DE")}),
                                     der::set({attribute(der::oid({2, 5, 4, 3}), 0x0C, "Alice")})});
    const VT_Name name = nameOf(der);
    EXPECT_EQ(toHex(derOf(name)), toHex(der));

    Name value = decoded<Name>(der::name(3, kPrintable, "somebody else"));
    EXPECT_EQ(name.getName(value), 0);
    EXPECT_EQ(toHex(encode(value)), toHex(der)) << "what the target held is gone";
    EXPECT_EQ(total(name), 2) << "and the name has a copy";

    VT_Name other;
    EXPECT_EQ(other.addNameNode(text(" CN =old")), 0);
    EXPECT_EQ(other.setName(value), 0);
    EXPECT_EQ(toHex(derOf(other)), toHex(der));
    value.Reset(nullptr);
    EXPECT_EQ(toHex(derOf(other)), toHex(der));
}

TEST(name_test, TheEmptyNameIsAName) {
    EXPECT_EQ(toHex(derOf(VT_Name())), "30 00");
    EXPECT_EQ(total(nameOf({0x30, 0x00})), 0);
}

TEST(name_test, ANameWithoutASelectionIsACodeAndChangesNothing) {
    VT_Name name = nameOf(der::name(3, kPrintable, "Alice"));
    EXPECT_EQ(name.setName(Name()), kElementAbsent);
    EXPECT_EQ(node(name, 0), " CN =Alice");
}

TEST(name_test, WhatFollowsTheNameDoesNotCount) {
    EXPECT_EQ(node(nameOf(der::join({der::name(3, kPrintable, "Alice"), {0xFF, 0xFF}})), 0), " CN =Alice");
}

TEST(name_test, CopiesAreDeep) {
    VT_Name first = nameOf(der::name(3, kPrintable, "Alice"));
    VT_Name copy(first);
    VT_Name assigned;
    EXPECT_EQ(assigned.addNameNode(text(" CN =old")), 0);
    assigned = first;
    const VT_Name& self = assigned;
    assigned = self;
    first.Reset();
    EXPECT_EQ(total(first), 0);
    EXPECT_EQ(total(copy), 1);
    EXPECT_EQ(node(copy, 0), " CN =Alice");
    EXPECT_EQ(total(assigned), 1);
    EXPECT_EQ(node(assigned, 0), " CN =Alice");
    EXPECT_EQ(copy.addNameNode(text("  C =DE")), 0);
    EXPECT_EQ(total(assigned), 1);
}

TEST(name_test, ResetLeavesAnEmptyNameThatCanBeUsed) {
    VT_Name name = nameOf(der::name(3, kPrintable, "Alice"));
    name.Reset();
    EXPECT_EQ(toHex(derOf(name)), "30 00");
    EXPECT_EQ(name.addNameNode(text(" CN =Bob")), 0);
    EXPECT_EQ(node(name, 0), " CN =Bob");
}

// readAll reads every node; 0 or the first code, 1 for an exception of the runtime.
int readAll(const Bytes& der) {
    try {
        VT_Name name;
        if (const int result = name.setName(toMiByte(der)); result != 0)
            return result;
        for (int i = 0; i < total(name); ++i) {
            MiByte value;
            if (const int result = name.getNameNodeByIndex(i, value); result != 0)
                return result;
        }
        MiByte out;
        return name.getName(out);
    } catch (const MiException&) {
        return 1;
    }
}

TEST(name_test, BrokenNamesGiveAnExceptionOrACode) {
    const Bytes good = der::sequence({der::set({attribute(der::oid({2, 5, 4, 6}), kPrintable, "DE")}),
                                      der::set({attribute(der::oid({2, 5, 4, 11}), 0x0C, "Staff"),
                                                attribute(der::oid({2, 5, 4, 3}), 0x1E, "Alic")})});
    ASSERT_EQ(readAll(good), 0);
    for (const support::Broken& broken : support::truncations(good))
        EXPECT_EQ(readAll(broken.bytes), 1) << broken.place;
    const auto survive = [](const std::vector<support::Broken>& all) {
        for (const support::Broken& broken : all) {
            const int result = readAll(broken.bytes);
            EXPECT_TRUE(result == 0 || result == 1 || result == kElementAbsent) << result << " at " << broken.place;
        }
    };
    survive(support::withTrailingData(good, {0x05, 0x00}));
    survive(support::withShortLengths(good));
    survive(support::withLongLengths(good));
    survive(support::withIndefiniteLengths(good));
    for (const std::uint8_t tag : support::hex("00 05 30 31 80 FF"))
        survive(support::withTags(good, tag));
}

TEST(name_test, HugeNamesAreReadWhole) {
    const Bytes one = der::set({attribute(der::oid({2, 5, 4, 11}), kPrintable, std::string(5, 'x'))});
    const VT_Name many = nameOf(der::tlv(0x30, der::repeat(20000, one)));
    EXPECT_EQ(total(many), 20000);
    EXPECT_EQ(node(many, 19999), " OU =xxxxx");
    VT_Name large;
    const std::string value(1 << 20, 'x');
    EXPECT_EQ(large.addNameNode(text("  O =" + value)), 0);
    EXPECT_EQ(node(nameOf(derOf(large)), 0), "  O =" + value);
}

}  // namespace
