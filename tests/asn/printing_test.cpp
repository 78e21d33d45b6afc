#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>

#include "asn/asn.h"
#include "tests/asn/der_io.h"

namespace {

using der_io::big;
using der_io::bytes;
using der_io::composite;
using der_io::explicitly;
using der_io::implicit;
using der_io::member;

std::string printed(const AsnObject& value, unsigned int level = 0) {
    std::ostringstream os;
    value.ToOstream(os, level);
    return os.str();
}

AsnOctetString octetsOf(unsigned int n) {
    AsnOctetString value;
    value.SetData(MiByte(n, static_cast<unsigned char>(0xAB)));
    return value;
}

AsnBitString bitsOf(unsigned int n) {
    return {MiBitSet(std::string(n, '1').c_str())};
}

TEST(printing_test, ABareValueIsItsLabelAndItsBody) {
    EXPECT_EQ(printed(AsnBoolean(true)), "BOOLEAN : true");
    EXPECT_EQ(printed(AsnBoolean(false)), "BOOLEAN : false");
    EXPECT_EQ(printed(AsnInteger(0)), "INTEGER : 0");
    EXPECT_EQ(printed(AsnInteger(-129)), "INTEGER : -129");
    EXPECT_EQ(printed(AsnEnumerated(42)), "ENUMERATED : 42");
    EXPECT_EQ(printed(AsnEnumerated(-1)), "ENUMERATED : -1");
    EXPECT_EQ(printed(AsnOid("1.2.840")), "OBJECT IDENTIFER : 1.2.840");
    EXPECT_EQ(printed(AsnOid()), "OBJECT IDENTIFER : ");
    EXPECT_EQ(printed(AsnNull()), "NULL");
}

// 2^64 by python3, 2**64.
TEST(printing_test, ALargeIntegerIsDecimal) {
    EXPECT_EQ(printed(big("01 00 00 00 00 00 00 00 00")), "INTEGER : 18446744073709551616");
}

TEST(printing_test, TheStreamsBaseAndWidthDoNotMatter) {
    std::ostringstream os;
    os << std::hex << std::showbase;
    AsnEnumerated(42).ToOstream(os, 0);
    os << ' ';
    implicit(26, AsnInteger(42)).ToOstream(os, 0);
    EXPECT_EQ(os.str(), "ENUMERATED : 42 [26]  IMPLICIT  INTEGER : 42");
}

TEST(printing_test, Times) {
    AsnUTCTime utc;
    utc.SetTime("141022010203Z");
    EXPECT_EQ(printed(utc), "UTCTime : 141022010203Z");
    AsnGeneralizedTime generalized;
    generalized.SetTime("20141022120000.500Z");
    EXPECT_EQ(printed(generalized), "GeneralizedTime : 20141022120000.5Z");
}

TEST(printing_test, TheHeadIsIndentNameAndTag) {
    const AsnInteger serial = member("serialNumber", AsnInteger(7));
    EXPECT_EQ(printed(serial, 1), "    serialNumber  INTEGER : 7");
    EXPECT_EQ(printed(serial, 3), "            serialNumber  INTEGER : 7");
    EXPECT_EQ(printed(implicit(1, serial), 0), "serialNumber  [1]  IMPLICIT  INTEGER : 7");
    EXPECT_EQ(printed(implicit(1, AsnInteger(7)), 0), "[1]  IMPLICIT  INTEGER : 7");
    AsnInteger application(7);
    application.SetAsnTag(ASN_APPLICATION, ASN_EXPLICIT, 2);
    EXPECT_EQ(printed(application, 1), "    [APPLICATION 2]  EXPLICIT  INTEGER : 7");
    application.SetAsnTag(ASN_PRIVATE, ASN_NOT_TAGGED, 3);
    EXPECT_EQ(printed(application), "[PRIVATE 3]  INTEGER : 7");
    application.SetAsnTag(ASN_UNIVERSAL, ASN_EXPLICIT, 3);
    EXPECT_EQ(printed(application), "INTEGER : 7");
}

template <class String>
String visible(const char* text) {
    String value;
    value.SetVisibleString(text);
    return value;
}

TEST(printing_test, Strings) {
    EXPECT_EQ(printed(visible<AsnBMPString>("ab c")), "BMPString : \"ab c\"");
    EXPECT_EQ(printed(visible<AsnIA5String>("a@b")), "IA5String : \"a@b\"");
    EXPECT_EQ(printed(visible<AsnUniversalString>("ab")), "UniversalString : \"ab\"");
    EXPECT_EQ(printed(visible<AsnUTF8String>("ab")), "UTF8String : \"ab\"");
    EXPECT_EQ(printed(AsnNumericString("1 2")), "NumericString : \"1 2\"");
    EXPECT_EQ(printed(AsnPrintableString("DE")), "PrintableString : \"DE\"");
    EXPECT_EQ(printed(AsnVisibleString("x")), "VisibleString : \"x\"");
    EXPECT_EQ(printed(visible<AsnTeletexString>("t")), "TeletexString : \"t\"");
}

TEST(printing_test, EmptyStrings) {
    EXPECT_EQ(printed(AsnBMPString()), "BMPString : ( EMPTY )");
    EXPECT_EQ(printed(AsnIA5String()), "IA5String : ( EMPTY )");
    EXPECT_EQ(printed(AsnUniversalString()), "UniversalString : ( EMPTY )");
    EXPECT_EQ(printed(AsnUTF8String()), "UTF8String : ( EMPTY )");
    EXPECT_EQ(printed(AsnNumericString()), "NumericString : ( EMPTY )");
    EXPECT_EQ(printed(AsnPrintableString()), "PrintableString : ( EMPTY )");
    EXPECT_EQ(printed(AsnVisibleString()), "VisibleString : ( EMPTY )");
    EXPECT_EQ(printed(AsnTeletexString()), "TeletexString : ( EMPTY )");
    EXPECT_EQ(printed(AsnOctetString()), "OCTET STRING : ( EMPTY )");
    EXPECT_EQ(printed(AsnBitString()), "BIT STRING : ( EMPTY ) ");  // with a blank behind it
}

TEST(printing_test, CharactersThatAreNotVisible) {
    AsnBMPString bmp;
    bmp.SetData(bytes("00 61 00 E9 00 62"));
    EXPECT_EQ(printed(bmp), "BMPString : \"ab\"");
    AsnUTF8String utf8;
    utf8.SetData(bytes("00 00 00 61 00 00 00 E9 00 00 00 62"));
    EXPECT_EQ(printed(utf8), "UTF8String : \"a b\"");
    AsnBMPString none;
    none.SetData(bytes("00 E9"));
    EXPECT_EQ(printed(none), "BMPString : \"\"");
    AsnIA5String ia5;
    ia5.SetData(bytes("61 00 62"));
    EXPECT_EQ(printed(ia5), "IA5String : \"a b\"");
}

TEST(printing_test, AnOctetStringIsDumpedALevelFurtherIn) {
    AsnOctetString value;
    value.SetData(bytes("00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F FF"));
    EXPECT_EQ(printed(value),
              "OCTET STRING : \n"
              "    00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F  \n"
              "    FF ");
    EXPECT_EQ(printed(member("o", der_io::octets("DE AD")), 1), "    o  OCTET STRING : \n        DE AD ");
}

TEST(printing_test, AnOctetStringOf64BytesIsDumpedInFull) {
    const std::string line = "    AB AB AB AB AB AB AB AB  AB AB AB AB AB AB AB AB  ";
    const std::string lines = line + "\n" + line + "\n" + line + "\n" + line;
    EXPECT_EQ(printed(octetsOf(64)), "OCTET STRING : \n" + lines);
    EXPECT_EQ(printed(octetsOf(65)), "OCTET STRING : \n" + lines + "\n    ( more 1 bytes are absent here )");
    EXPECT_EQ(printed(octetsOf(1064)), "OCTET STRING : \n" + lines + "\n    ( more 1000 bytes are absent here )");
}

TEST(printing_test, ABitStringOf128BitsIsDumpedInFull) {
    const std::string line = "    11111111 11111111 11111111 11111111 ";
    const std::string lines = line + "\n" + line + "\n" + line + "\n" + line;
    EXPECT_EQ(printed(bitsOf(3)), "BIT STRING : \n    111");
    EXPECT_EQ(printed(bitsOf(128)), "BIT STRING : \n" + lines);
    EXPECT_EQ(printed(bitsOf(129)), "BIT STRING : \n" + lines + "\n    ( more 1 bits are absent here )");
    EXPECT_EQ(printed(bitsOf(1128)), "BIT STRING : \n" + lines + "\n    ( more 1000 bits are absent here )");
}

TEST(printing_test, SequenceAndSet) {
    auto sequence = composite<AsnSequence>(member("a", AsnInteger(5)), implicit(0, member("b", AsnBoolean(true))));
    der_io::setPresent(sequence);
    EXPECT_EQ(printed(sequence),
              "SEQUENCE : {\n"
              "    a  INTEGER : 5\n"
              "    b  [0]  IMPLICIT  BOOLEAN : true }");
    auto set = member("all", composite<AsnSet>(member("a", AsnInteger(5))));
    set.Find("a")->SetAsnPresent(true);
    EXPECT_EQ(printed(set, 1), "    all  SET : {\n        a  INTEGER : 5 }");
    EXPECT_EQ(printed(AsnSequence()), "SEQUENCE : {}");
    EXPECT_EQ(printed(AsnSet()), "SET : {}");
}

TEST(printing_test, AbsentMembers) {
    auto sequence =
        composite<AsnSequence>(implicit(0, member("o", AsnInteger(), AsnObject::ASN_OPTIONAL)),
                               member("d", AsnInteger(), AsnObject::ASN_DEFAULT), member("m", AsnInteger()));
    EXPECT_EQ(printed(sequence),
              "SEQUENCE : {\n"
              "    o  ( NOT SELECTED )\n"
              "    d  ( DEFAULT )\n"
              "    m  ( EMPTY ) }");
    auto set = composite<AsnSet>(member("o", AsnInteger(), AsnObject::ASN_OPTIONAL), member("a", AsnInteger(5)));
    set.Find("a")->SetAsnPresent(true);
    set.Find(0U)->SetAsnName("");
    EXPECT_EQ(printed(set, 1), "    SET : {\n          ( NOT SELECTED )\n        a  INTEGER : 5 }");
}

TEST(printing_test, Nested) {
    auto inner = member("inner", composite<AsnSequence>(member("x", AsnInteger(1)), member("y", AsnNull())));
    der_io::setPresent(inner);
    auto outer = composite<AsnSequence>(inner, member("last", AsnBoolean(false)));
    der_io::setPresent(outer);
    EXPECT_EQ(printed(outer, 1),
              "    SEQUENCE : {\n"
              "        inner  SEQUENCE : {\n"
              "            x  INTEGER : 1\n"
              "            y  NULL }\n"
              "        last  BOOLEAN : false }");
}

TEST(printing_test, Choice) {
    auto choice = composite<AsnChoice>(member("number", AsnInteger()), member("flag", AsnBoolean()));
    EXPECT_EQ(printed(choice), "CHOICE : {}");
    const AsnInteger five(5);
    choice.Set("number", &five);
    EXPECT_EQ(printed(choice), "CHOICE : {\n    number  INTEGER : 5 }");
    choice.SetAsnName("time");
    EXPECT_EQ(printed(choice, 1), "    time  CHOICE : {\n        number  INTEGER : 5 }");
}

TEST(printing_test, ContainersMoveTheirValueFiveLevelsIn) {
    EXPECT_EQ(printed(explicitly(0, "version", AsnInteger(2)), 1),
              "    version  [0]  EXPLICIT  \n"
              "                        INTEGER : 2");
    EXPECT_EQ(printed(AsnContainer()), "\n( EMPTY )");
    AsnContainer empty;
    empty.SetAsnTag(ASN_CONTEXT, ASN_EXPLICIT, 3);
    EXPECT_EQ(printed(empty, 1), "    [3]  EXPLICIT  \n( EMPTY )");
}

TEST(printing_test, Lists) {
    AsnSequenceOf<AsnInteger> list;
    EXPECT_EQ(printed(list), "SEQUENCE OF {}");
    list.AddElement(AsnInteger(1));
    EXPECT_EQ(printed(list), "SEQUENCE OF {\n    INTEGER : 1 }");
    list.AddElement(AsnInteger(2));
    list.SetAsnName("numbers");
    EXPECT_EQ(printed(list, 1), "    numbers  SEQUENCE OF {\n        INTEGER : 1\n        INTEGER : 2 }");
    AsnSetOf<AsnNull> set;
    EXPECT_EQ(printed(set), "SET OF {}");
    set.AddElement(AsnNull());
    EXPECT_EQ(printed(implicit(0, set)), "[0]  IMPLICIT  SET OF {\n    NULL }");
}

TEST(printing_test, InstanceOf) {
    AsnInstanceOf value;
    value.SetType_id(AsnOid("1.2.3"));
    value.SetValue(der_io::octets("01"));
    EXPECT_EQ(printed(value),
              "INSTANCE OF : {\n"
              "    type_id  OBJECT IDENTIFER : 1.2.3\n"
              "    value  [0]  EXPLICIT  \n"
              "                        OCTET STRING : \n"
              "                            01  }");
}

// The standard output in the hands of a test.
class StandardOutput {
  public:
    StandardOutput() : saved_(std::cout.rdbuf(text_.rdbuf())) {}
    ~StandardOutput() { std::cout.rdbuf(saved_); }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    [[nodiscard]] std::string text() const { return text_.str(); }

  private:
    std::ostringstream text_;
    std::streambuf* saved_;
};

TEST(printing_test, AbsentMembersOfAnInstanceAreNoticedOnTheStandardOutput) {
    AsnInstanceOf value;
    value.SetType_id(AsnOid("1.2.3"));
    const StandardOutput output;
    EXPECT_EQ(printed(value),
              "INSTANCE OF : {\n"
              "    type_id  OBJECT IDENTIFER : 1.2.3\n"
              "    value }");
    EXPECT_EQ(output.text(), "  ( EMPTY )");
    value.Find("value")->SetAsnState(AsnObject::ASN_OPTIONAL);  // the notice is the same for every role
    EXPECT_EQ(printed(value, 1).find("SELECTED"), std::string::npos);
    EXPECT_EQ(output.text(), "  ( EMPTY )  ( EMPTY )");
}

TEST(printing_test, OnlyAnInstanceTouchesTheStandardOutput) {
    const StandardOutput output;
    (void)printed(composite<AsnSequence>(member("o", AsnInteger(), AsnObject::ASN_OPTIONAL)));
    (void)printed(composite<AsnSet>(member("m", AsnInteger())));
    EXPECT_EQ(output.text(), "");
}

// Counts how often a stream is flushed.
class Flushes : public std::stringbuf {
  public:
    [[nodiscard]] int count() const { return count_; }

  protected:
    int sync() override {
        ++count_;
        return std::stringbuf::sync();
    }

  private:
    int count_ = 0;
};

int flushes(const AsnObject& value) {
    Flushes buffer;
    std::ostream os(&buffer);
    value.ToOstream(os, 0);
    return buffer.count();
}

TEST(printing_test, EachLineFeedIsFlushed) {
    EXPECT_EQ(flushes(AsnInteger(5)), 0);
    EXPECT_EQ(flushes(der_io::octets("01")), 1);
    EXPECT_EQ(flushes(octetsOf(64)), 4);
    EXPECT_EQ(flushes(octetsOf(65)), 5);
    EXPECT_EQ(flushes(bitsOf(8)), 1);
    EXPECT_EQ(flushes(bitsOf(129)), 5);
    EXPECT_EQ(flushes(explicitly(0, "x", AsnInteger(5))), 1);
    EXPECT_EQ(flushes(AsnSequence()), 0);
    auto sequence = composite<AsnSequence>(member("a", AsnNull()), member("b", AsnNull()), member("c", AsnNull()));
    EXPECT_EQ(flushes(sequence), 3);
    auto choice = composite<AsnChoice>(member("number", AsnInteger()));
    EXPECT_EQ(flushes(choice), 0);
    const AsnInteger five(5);
    choice.Set("number", &five);
    EXPECT_EQ(flushes(choice), 1);
}

// Takes nothing.
class Full : public std::streambuf {
  protected:
    int_type overflow(int_type) override { return traits_type::eof(); }
};

TEST(printing_test, AStreamThatFailsSaysSo) {
    Full buffer;
    std::ostream os(&buffer);
    AsnInteger(5).ToOstream(os, 0);
    EXPECT_TRUE(os.bad());
    std::ostream throwing(&buffer);
    throwing.exceptions(std::ios_base::badbit);
    EXPECT_THROW(AsnInteger(5).ToOstream(throwing, 0), std::ios_base::failure);
}

// A composite with a hole, which no operation of the class leaves.
class Holed : public AsnSequence {
  public:
    void add() {
        if (elements == nullptr)
            elements = new AsnList;
        elements->Append(nullptr);
    }
};

TEST(printing_test, AMemberThatIsNoObjectIsBadData) {
    Holed value;
    value.add();
    EXPECT_THROW((void)printed(value), AsnDataExp);
}

TEST(printing_test, AnOidPrintsItself) {
    AsnOid oid("1.2.3");
    std::ostringstream os;
    os << oid << '|';
    EXPECT_EQ(os.str(), "OBJECT IDENTIFER : 1.2.3|");
}

}  // namespace
