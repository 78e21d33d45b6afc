// The accessors of each kind of member, and what becomes of them when a schema was replaced.
#include "schema/accessors.h"

#include <gtest/gtest.h>

#include <memory>

#include "foundation/foundation.h"
#include "schema/schema.h"
#include "tests/schema/bytes.h"
#include "tests/schema/table.h"

namespace {

using table::toHex;

AsnOctetString anyOf(const AsnObject& value) {
    AsnOctetString any;
    any.SetDerObject(&value);
    return any;
}

// Plain members

TEST(accessors_test, APlainMemberKeepsItsNameTagAndRole) {
    AsnInteger value(5);
    value.SetAsnName("other");
    value.SetAsnTag(ASN_PRIVATE, ASN_IMPLICIT, ASN_CONSTRUCTED, 77);
    value.SetAsnState(AsnObject::ASN_OPTIONAL);
    TBSCertificate certificate;
    certificate.SetSerialNumber(value);

    const AsnInteger* got = certificate.GetSerialNumber();
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got->GetInteger(), 5);
    EXPECT_TRUE(got->GetAsnName() == "serialNumber");
    EXPECT_EQ(got->GetAsnTag(), AsnInteger().GetAsnTag());
    EXPECT_EQ(got->GetAsnState(), AsnObject::ASN_MANDATORY);
    EXPECT_TRUE(got->IsAsnPresent());
    EXPECT_TRUE(value.GetAsnName() == "other");
}

TEST(accessors_test, SettingAgainReplacesTheValueOfTheSameMember) {
    TBSCertificate certificate;
    certificate.SetSerialNumber(AsnInteger(5));
    const AsnInteger* got = certificate.GetSerialNumber();
    certificate.SetSerialNumber(AsnInteger(6));
    EXPECT_EQ(certificate.GetSerialNumber(), got);
    EXPECT_EQ(got->GetInteger(), 6);
}

TEST(accessors_test, AMemberMayBeSetToItself) {
    TBSCertificate certificate;
    certificate.SetSerialNumber(AsnInteger(5));
    certificate.SetSerialNumber(*certificate.GetSerialNumber());
    EXPECT_EQ(certificate.GetSerialNumber()->GetInteger(), 5);
    certificate.SetVersion(AsnInteger(2));
    certificate.SetVersion(*certificate.GetVersion());
    EXPECT_EQ(certificate.GetVersion()->GetInteger(), 2);
    AlgorithmIdentifier algorithm;
    algorithm.SetParameters(anyOf(AsnInteger(7)));
    algorithm.SetParameters(*algorithm.GetParameters());
    EXPECT_EQ(algorithm.GetParameters()->GetAsnTagNumber(), 2U);
    X509Time time;
    AsnUTCTime utc;
    utc.SetTime("1410221200Z");
    time.SetUtcTime(utc);
    time.SetUtcTime(*time.GetUtcTime());
    EXPECT_EQ(toHex(time), "17 0D 31 34 31 30 32 32 31 32 30 30 30 30 5A");
}

TEST(accessors_test, AGetterGivesNullForAnAbsentDefault) {
    Extension extension;
    EXPECT_EQ(extension.GetCritical(), nullptr);
    extension.SetCritical(AsnBoolean(false));
    ASSERT_NE(extension.GetCritical(), nullptr);
    EXPECT_FALSE(extension.GetCritical()->GetData());
}

TEST(accessors_test, MembersOfASetWorkAsThoseOfASequence) {
    PersonalName name;
    EXPECT_EQ(name.GetSurname(), nullptr);
    name.SetSurname(AsnPrintableString("Doe"));
    ASSERT_NE(name.GetSurname(), nullptr);
    EXPECT_TRUE(name.GetSurname()->GetData() == "Doe");
    EXPECT_EQ(name.GetSurname()->GetAsnTagClass(), ASN_CONTEXT);
    EXPECT_EQ(name.GetInitials(), nullptr);
}

// Explicit members

TEST(accessors_test, AnExplicitMemberIsSetAndGivenWithoutItsContainer) {
    TBSCertificate certificate;
    const AsnInteger value(2);
    certificate.SetVersion(value);
    const auto* container = dynamic_cast<const AsnContainer*>(certificate.Get("version"));
    ASSERT_NE(container, nullptr);
    EXPECT_TRUE(container->IsAsnPresent());
    EXPECT_EQ(certificate.GetVersion(), container->GetData());
    EXPECT_NE(certificate.GetVersion(), &value);
    EXPECT_EQ(certificate.GetVersion()->GetInteger(), 2);
    EXPECT_EQ(toHex(*container), "A0 03 02 01 02");
}

TEST(accessors_test, AnExplicitMemberTakesACloneAndSoItsTag) {
    CertBag bag;
    AsnPrintableString text("hi");
    bag.SetCertValue(anyOf(text));
    ASSERT_NE(bag.GetCertValue(), nullptr);
    EXPECT_EQ(bag.GetCertValue()->GetAsnTagNumber(), 19U);
    EXPECT_EQ(toHex(*bag.Get("certValue")), "A0 04 13 02 68 69");
    EXPECT_TRUE(bag.Get("certValue")->GetAsnName() == "certValue");
}

// ANY members

template <class T>
void takesTheTagOfItsValue(void (T::*set)(const AsnOctetString&), const AsnOctetString* (T::*get)() const,
                           const char* name) {
    T holder;
    AsnOctetString value = anyOf(AsnPrintableString("hi"));
    value.SetAsnTag(ASN_PRIVATE, ASN_IMPLICIT, ASN_CONSTRUCTED, 19);
    value.SetAsnName("other");
    (holder.*set)(value);
    const AsnOctetString* got = (holder.*get)();
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got->GetAsnTag(), value.GetAsnTag());
    EXPECT_EQ(toHex(*got), "F3 02 68 69");
    EXPECT_TRUE(got->GetAsnName() == name);
    EXPECT_EQ(got->GetAsnState(), AsnObject::ASN_OPTIONAL);
    EXPECT_TRUE(got->IsAsnAnyType());

    (holder.*set)(anyOf(AsnNull()));
    EXPECT_EQ(toHex(*(holder.*get)()), "05 00");
    const AsnBoolean yes(true);
    (holder.*set)(anyOf(yes));
    EXPECT_EQ(toHex(*(holder.*get)()), "01 01 FF");

    holder.Reset(nullptr);
    EXPECT_EQ((holder.*get)(), nullptr);
}

TEST(accessors_test, AnOptionalAnyTakesTheTagOfItsValue) {
    takesTheTagOfItsValue(&AlgorithmIdentifier::SetParameters, &AlgorithmIdentifier::GetParameters, "parameters");
    takesTheTagOfItsValue(&PKCS1AlgorithmIdentifier::SetParameters, &PKCS1AlgorithmIdentifier::GetParameters,
                          "parameters");
    takesTheTagOfItsValue(&PolicyQualifierInfo::SetQualifier, &PolicyQualifierInfo::GetQualifier, "qualifier");
}

TEST(accessors_test, AlgorithmWithNullParameters) {
    AlgorithmIdentifier algorithm;
    algorithm.SetAlgorithm(AsnOid("1.2.840.113549.1.1.5"));
    EXPECT_EQ(toHex(algorithm), "30 0B 06 09 2A 86 48 86 F7 0D 01 01 05");
    algorithm.SetParameters(anyOf(AsnNull()));
    EXPECT_EQ(toHex(algorithm), "30 0D 06 09 2A 86 48 86 F7 0D 01 01 05 05 00");
}

TEST(accessors_test, OtherOctetStringsKeepTheirTag) {
    AttributeValuesWithContextComponent component;
    component.SetValue(anyOf(AsnPrintableString("hi")));
    EXPECT_EQ(component.GetValue()->GetAsnTagNumber(), 4U);
    EncryptedContentInfo info;
    info.SetEncryptedContent(anyOf(AsnPrintableString("hi")));
    EXPECT_EQ(toHex(*info.GetEncryptedContent()), "80 02 68 69");
}

TEST(accessors_test, AnAttributeValueTakesAllOfWhatIsSet) {
    AsnOctetString value = anyOf(AsnPrintableString("hi"));
    value.SetAsnName("value");
    AttributeTypeAndDistinguishedValue attribute;
    attribute.SetType(AsnOid("2.5.4.3"));
    attribute.SetValue(value);
    ASSERT_NE(attribute.GetValue(), nullptr);
    EXPECT_EQ(attribute.GetValue()->GetAsnTagNumber(), 19U);
    EXPECT_TRUE(attribute.GetValue()->IsAsnPresent());
    EXPECT_EQ(toHex(attribute), "30 09 06 03 55 04 03 13 02 68 69");

    value.SetAsnState(AsnObject::ASN_OPTIONAL);
    value.SetAsnAnyType(true);
    attribute.SetValue(value);
    EXPECT_EQ(attribute.GetValue()->GetAsnState(), AsnObject::ASN_OPTIONAL);
    EXPECT_TRUE(attribute.GetValue()->IsAsnAnyType());
}

TEST(accessors_test, AnAttributeValueWithoutItsNameIsNotFoundAgain) {
    AttributeTypeAndDistinguishedValue attribute;
    attribute.SetType(AsnOid("2.5.4.3"));
    attribute.SetValue(anyOf(AsnPrintableString("hi")));
    EXPECT_THROW(attribute.GetValue(), AsnDataExp);
    EXPECT_THROW(attribute.SetValue(anyOf(AsnPrintableString("hi"))), MiInvalidArgumentExp);
    EXPECT_EQ(toHex(attribute), "30 09 06 03 55 04 03 13 02 68 69");
}

// Alternatives

TEST(accessors_test, AChoiceGivesWhateverIsSelected) {
    X509Time time;
    EXPECT_EQ(time.GetUtcTime(), nullptr);
    EXPECT_EQ(time.GetGeneralizedTime(), nullptr);
    AsnGeneralizedTime generalized;
    generalized.SetTime("20500101000000Z");
    time.SetGeneralizedTime(generalized);
    EXPECT_EQ(time.Get(0U), nullptr);
    ASSERT_NE(time.Get(1U), nullptr);
    EXPECT_EQ(time.Get(1U), time.GetGeneralizedTime());
    EXPECT_EQ(static_cast<const AsnObject*>(time.GetUtcTime()), time.Get());
    EXPECT_TRUE(typeOf(*time.Get()) == typeid(AsnGeneralizedTime));
    EXPECT_EQ(time.Get()->GetAsnTagNumber(), 24U);

    AsnUTCTime utc;
    utc.SetTime("1410221200Z");
    time.SetUtcTime(utc);
    EXPECT_EQ(time.Get(1U), nullptr);
    EXPECT_EQ(time.Get(0U), time.GetUtcTime());
}

TEST(accessors_test, AnExplicitAlternativeIsGivenOnlyWhenSelected) {
    GeneralName name;
    EXPECT_EQ(name.GetDirectoryName(), nullptr);
    AsnIA5String mail;
    mail.SetVisibleString("a@b");
    name.SetRfc822Name(mail);
    EXPECT_EQ(name.GetDirectoryName(), nullptr);

    Name empty;
    empty.SetRdnSequence({});
    name.SetDirectoryName(empty);
    ASSERT_NE(name.GetDirectoryName(), nullptr);
    EXPECT_TRUE(typeOf(*name.GetDirectoryName()) == typeid(Name));
    EXPECT_TRUE(typeOf(*name.Get(4U)) == typeid(AsnContainer));
    EXPECT_EQ(toHex(name), "A4 02 30 00");

    SignerInfoAuthenticatedAttributes attributes;
    attributes.SetAaSet({});
    EXPECT_EQ(attributes.GetAaSequence(), nullptr);
    EXPECT_NE(attributes.GetAaSet(), nullptr);
    attributes.SetAaSequence({});
    EXPECT_NE(attributes.GetAaSequence(), nullptr);
    EXPECT_NE(attributes.Get(1U), nullptr);
}

TEST(accessors_test, AnAlternativeKeepsItsNameAndTag) {
    AsnOctetString address;
    address.SetData("\x7F\x00\x00\x01", 0, 4);
    address.SetAsnName("other");
    GeneralName name;
    name.SetIPAddress(address);
    EXPECT_TRUE(name.GetIPAddress()->GetAsnName() == "iPAddress");
    EXPECT_EQ(toHex(name), "87 04 7F 00 00 01");
}

// Wrappers

TEST(accessors_test, AWrapperHasItsObjectFromTheStart) {
    const CountryName fresh;
    ASSERT_NE(fresh.GetObject(), nullptr);
    EXPECT_EQ(fresh.GetObject(), fresh.GetData());
    EXPECT_EQ(fresh.GetObject()->Get(), nullptr);
    MiByteBuffer out;
    EXPECT_THROW(fresh.DerEncode(out, 0), AsnEncodeExp);
}

TEST(accessors_test, AWrapperStoresAClone) {
    TBTCountryName inner;
    inner.SetIso_3166_alpha2_code(AsnPrintableString("CN"));
    CountryName country;
    country.SetObject(inner);
    EXPECT_NE(country.GetObject(), &inner);
    EXPECT_EQ(toHex(country), "61 04 13 02 43 4E");
    country.SetObject(*country.GetObject());
    EXPECT_EQ(toHex(country), "61 04 13 02 43 4E");

    const CountryName copy(country);
    EXPECT_EQ(toHex(copy), "61 04 13 02 43 4E");
    inner.SetX121_dcc_code(AsnNumericString("460"));
    country.SetObject(inner);
    EXPECT_EQ(toHex(country), "61 05 12 03 34 36 30");
    EXPECT_EQ(toHex(copy), "61 04 13 02 43 4E");
}

// Assignment

TEST(accessors_test, AssignmentCopiesTheMembers) {
    Validity one;
    X509Time time;
    AsnUTCTime utc;
    utc.SetTime("1410221200Z");
    time.SetUtcTime(utc);
    one.SetNotBefore(time);
    one.SetAsnName("one");
    Validity two;
    two.SetNotAfter(time);
    two = one;
    EXPECT_TRUE(two.Equals(&one));
    EXPECT_NE(two.GetNotBefore(), one.GetNotBefore());
    EXPECT_EQ(two.GetNotAfter(), nullptr);
    const Validity& self = two;
    two = self;
    EXPECT_TRUE(two.Equals(&one));
}

// Replaced schemas

TEST(accessors_test, PlainMembersOfAReplacedSchema) {
    const Extension other;
    Validity validity;
    validity.Reset(&other);
    EXPECT_THROW(validity.GetNotBefore(), AsnDataExp);
    EXPECT_THROW(validity.SetNotBefore(X509Time()), MiInvalidArgumentExp);
    EXPECT_EQ(validity.Size(), 3U);

    PersonalName name;
    name.DelElement("initials");
    EXPECT_THROW(name.GetInitials(), AsnDataExp);
    EXPECT_THROW(name.SetInitials(AsnPrintableString("J")), MiInvalidArgumentExp);
}

TEST(accessors_test, ExplicitMembersOfAReplacedSchema) {
    const Extension other;
    TBSCertificate certificate;
    certificate.Reset(&other);
    EXPECT_THROW(certificate.GetVersion(), AsnDataExp);
    EXPECT_THROW(certificate.SetVersion(AsnInteger(2)), AsnDataExp);
    // A member of the name that is no container.
    AsnInteger plain(2);
    plain.SetAsnName("version");
    certificate.AddElement(&plain);
    EXPECT_THROW(certificate.GetVersion(), AsnDataExp);
    EXPECT_THROW(certificate.SetVersion(AsnInteger(2)), AsnDataExp);
}

TEST(accessors_test, AnyMembersOfAReplacedSchema) {
    AlgorithmIdentifier algorithm;
    algorithm.DelElement("parameters");
    EXPECT_THROW(algorithm.GetParameters(), AsnDataExp);
    EXPECT_THROW(algorithm.SetParameters(AsnOctetString()), AsnDataExp);
}

TEST(accessors_test, AlternativesOfAReplacedSchema) {
    const Name other;
    X509Time time;
    time.Reset(&other);
    EXPECT_THROW(time.SetUtcTime(AsnUTCTime()), AsnDataExp);
    EXPECT_EQ(time.GetUtcTime(), nullptr);
    GeneralName name;
    name.Reset(&other);
    EXPECT_THROW(name.SetDirectoryName(Name()), AsnDataExp);
    EXPECT_THROW(name.SetDNSName(AsnIA5String()), AsnDataExp);
    EXPECT_EQ(name.GetDirectoryName(), nullptr);
}

TEST(accessors_test, NoMembersAtAll) {
    const AsnSequence nothing;
    TBSCertificate certificate;
    certificate.Reset(&nothing);
    EXPECT_THROW(certificate.GetSerialNumber(), MiInvalidArgumentExp);
    EXPECT_THROW(certificate.SetSerialNumber(AsnInteger(1)), MiInvalidArgumentExp);
    EXPECT_THROW(certificate.GetVersion(), MiInvalidArgumentExp);
    EXPECT_THROW(certificate.SetVersion(AsnInteger(1)), MiInvalidArgumentExp);
    AlgorithmIdentifier algorithm;
    algorithm.Reset(&nothing);
    EXPECT_THROW(algorithm.SetParameters(AsnOctetString()), MiInvalidArgumentExp);
    // A reset brings the members of the class back.
    certificate.Reset(nullptr);
    EXPECT_EQ(certificate.Size(), 10U);
    EXPECT_EQ(certificate.GetVersion(), nullptr);

    const AsnChoice noChoice;
    GeneralName name;
    name.Reset(&noChoice);
    EXPECT_THROW(name.SetDNSName(AsnIA5String()), AsnDataExp);
    EXPECT_THROW(name.SetDirectoryName(Name()), AsnDataExp);
    EXPECT_EQ(name.GetDNSName(), nullptr);
    name.Reset(nullptr);
    EXPECT_EQ(name.Size(), 9U);
}

TEST(accessors_test, ACopyKeepsAReplacedSchema) {
    const Extension other;
    Validity validity;
    validity.Reset(&other);
    const Validity copy(validity);
    EXPECT_EQ(copy.Size(), 3U);
    EXPECT_THROW(copy.GetNotAfter(), AsnDataExp);
}

}  // namespace
