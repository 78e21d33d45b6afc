// Addresses, extensions and matching rules, read and written against bytes made by hand.
#include "schema/directory.h"

#include <gtest/gtest.h>

#include "foundation/foundation.h"
#include "tests/schema/bytes.h"
#include "tests/support/der.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

const Bytes kName = der::name(3, 0x13, "A");

template <class T>
T throughBytes(const Bytes& bytes) {
    T value;
    EXPECT_EQ(decode(value, bytes), bytes.size());
    EXPECT_EQ(toHex(encode(value)), toHex(bytes));
    return value;
}

// General names

TEST(directory_test, MailAddressIsPrimitiveUnderOne) {
    AsnIA5String mail;
    mail.SetVisibleString("a@b");
    GeneralName name;
    name.SetRfc822Name(mail);
    EXPECT_EQ(toHex(encode(name)), "81 03 61 40 62");
    const auto read = throughBytes<GeneralName>(hex("81 03 61 40 62"));
    EXPECT_NE(read.Get(1U), nullptr);
}

TEST(directory_test, DirectoryNameIsWrappedInFour) {
    GeneralName name;
    name.SetDirectoryName(decoded<Name>(kName));
    EXPECT_EQ(toHex(encode(name)), toHex(der::tagged(4, kName)));
    const auto read = throughBytes<GeneralName>(der::tagged(4, kName));
    ASSERT_NE(read.GetDirectoryName(), nullptr);
    EXPECT_EQ(read.GetDirectoryName()->GetRdnSequence()->Size(), 1U);
}

TEST(directory_test, OtherNameIsConstructedUnderZero) {
    AsnInstanceOf other;
    other.SetType_id(AsnOid("1.2.3"));
    AsnOctetString value;
    AsnPrintableString text("hi");
    value.SetDerObject(&text);
    other.SetValue(value);
    GeneralName name;
    name.SetOtherName(other);
    const Bytes expected = hex("A0 0A 06 02 2A 03 A0 04 13 02 68 69");
    EXPECT_EQ(toHex(encode(name)), toHex(expected));
    const auto read = throughBytes<GeneralName>(expected);
    EXPECT_TRUE(read.GetOtherName()->GetType_id()->GetData() == "1.2.3");
    EXPECT_EQ(read.GetOtherName()->GetValue()->GetAsnTagNumber(), 19U);

    StatusReferral referral;
    referral.SetOtherReferral(other);
    EXPECT_EQ(toHex(encode(referral)), "A1 0A 06 02 2A 03 A0 04 13 02 68 69");
}

TEST(directory_test, EachGeneralNameHasItsTag) {
    struct {
        const char* bytes;
        unsigned int index;
        const char* name;
    } const rows[] = {
        {"A0 08 06 02 2A 03 A0 02 05 00", 0, "otherName"},
        {"81 01 61", 1, "rfc822Name"},
        {"82 01 61", 2, "dNSName"},
        {"A3 02 30 00", 3, "x400Address"},
        {"A4 02 30 00", 4, "directoryName"},
        {"A5 06 13 01 61 13 01 62", 5, "ediPartyName"},
        {"86 01 61", 6, "uniformResourceIdentifier"},
        {"87 04 7F 00 00 01", 7, "iPAddress"},
        {"88 02 2A 03", 8, "registeredID"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto name = throughBytes<GeneralName>(hex(row.bytes));
        ASSERT_NE(name.Get(row.index), nullptr);
        EXPECT_TRUE(name.Get(row.index)->GetAsnName() == row.name);
    }
    GeneralName name;
    EXPECT_THROW(decode(name, hex("89 01 61")), AsnDecodeExp);
}

// A CHOICE under an implicit tag goes out under the tag of what it holds.
TEST(directory_test, StringsOfAnEdiPartyKeepTheirTags) {
    DirectoryString assigner, party;
    assigner.SetPrintableString(AsnPrintableString("a"));
    AsnTeletexString teletex;
    teletex.SetVisibleString("b");
    party.SetTeletexString(teletex);
    EDIPartyName name;
    name.SetPartyName(party);
    EXPECT_EQ(toHex(encode(name)), "30 03 14 01 62");
    name.SetNameAssigner(assigner);
    EXPECT_EQ(toHex(encode(name)), "30 06 13 01 61 14 01 62");
    EXPECT_EQ(name.GetNameAssigner()->GetAsnTagNumber(), 0U);
    const auto read = throughBytes<EDIPartyName>(hex("30 06 13 01 61 14 01 62"));
    ASSERT_NE(read.GetNameAssigner(), nullptr);
    EXPECT_NE(read.GetNameAssigner()->Get(1U), nullptr);
    EXPECT_NE(read.GetPartyName()->Get(0U), nullptr);
}

TEST(directory_test, NamesOfAnAssertionKeepTheirTags) {
    CertificateAssertion assertion;
    assertion.SetIssuer(decoded<Name>(kName));
    EXPECT_EQ(toHex(encode(assertion)), toHex(der::sequence({kName})));
    AsnBitString usage;
    usage.SetData("\x80", 0, 1);
    assertion.SetKeyUsage(usage);
    assertion.SetNameConstraints(NameConstraintsSyntax());
    const Bytes expected = der::sequence({kName, der::tlv(0x87, {0x07, 0x80}), der::tlv(0xAD, {})});
    EXPECT_EQ(toHex(encode(assertion)), toHex(expected));
    const auto read = throughBytes<CertificateAssertion>(expected);
    EXPECT_NE(read.GetIssuer(), nullptr);
    EXPECT_EQ(read.GetSubject(), nullptr);
    EXPECT_NE(read.GetNameConstraints(), nullptr);
}

TEST(directory_test, AssertionTagsPassOverTen) {
    CertificateAssertion assertion;
    const unsigned int numbers[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13};
    ASSERT_EQ(assertion.Size(), 13U);
    for (unsigned int i = 0; i < 13; ++i)
        EXPECT_EQ(assertion.Get(i)->GetAsnTagNumber(), numbers[i]) << i;
}

// Defaults

TEST(directory_test, TheLeastDistanceOfASubtreeIsADefault) {
    const auto subtree = throughBytes<GeneralSubtree>(hex("30 03 82 01 61"));
    EXPECT_EQ(subtree.GetMinimum(), nullptr);
    EXPECT_EQ(subtree.GetMaximum(), nullptr);
    const auto full = throughBytes<GeneralSubtree>(hex("30 09 82 01 61 80 01 00 81 01 05"));
    ASSERT_NE(full.GetMinimum(), nullptr);
    EXPECT_EQ(full.GetMinimum()->GetInteger(), 0);
    EXPECT_EQ(full.GetMaximum()->GetInteger(), 5);
}

TEST(directory_test, WhetherAnAuthorityIsToldByTheTagOfBoolean) {
    const auto empty = throughBytes<BasicConstraintsSyntax>(hex("30 00"));
    EXPECT_EQ(empty.GetCA(), nullptr);
    const auto authority = throughBytes<BasicConstraintsSyntax>(hex("30 06 01 01 FF 02 01 03"));
    ASSERT_NE(authority.GetCA(), nullptr);
    EXPECT_TRUE(authority.GetCA()->GetData());
    EXPECT_EQ(authority.GetPathLenConstraint()->GetInteger(), 3);
    const auto path = throughBytes<BasicConstraintsSyntax>(hex("30 03 02 01 03"));
    EXPECT_EQ(path.GetCA(), nullptr);
    ASSERT_NE(path.GetPathLenConstraint(), nullptr);
    EXPECT_EQ(path.GetPathLenConstraint()->GetInteger(), 3);
}

// Addresses

TEST(directory_test, APersonalNameIsWrittenInTheOrderOfItsTags) {
    PersonalName name;
    name.SetGeneration_qualifier(AsnPrintableString("Jr"));
    name.SetInitials(AsnPrintableString("J"));
    name.SetSurname(AsnPrintableString("Doe"));
    name.SetGiven_name(AsnPrintableString("Jon"));
    const char* const ordered = "31 11 80 03 44 6F 65 81 03 4A 6F 6E 82 01 4A 83 02 4A 72";
    EXPECT_EQ(toHex(encode(name)), ordered);

    PersonalName read;
    const Bytes mixed = hex("31 11 83 02 4A 72 81 03 4A 6F 6E 80 03 44 6F 65 82 01 4A");
    EXPECT_EQ(decode(read, mixed), mixed.size());
    EXPECT_TRUE(read.GetSurname()->GetData() == "Doe");
    EXPECT_TRUE(read.GetGeneration_qualifier()->GetData() == "Jr");
    EXPECT_EQ(toHex(encode(read)), ordered);
    EXPECT_THROW(decode(read, hex("31 03 84 01 61")), AsnDecodeExp);
}

TEST(directory_test, WrappersHaveTagsOfTheirOwn) {
    const auto country = throughBytes<CountryName>(hex("61 04 13 02 43 4E"));
    EXPECT_NE(country.GetObject()->Get(1U), nullptr);
    EXPECT_TRUE(country.GetObject()->GetIso_3166_alpha2_code()->GetData() == "CN");
    const auto domain = throughBytes<AdministrationDomainName>(hex("62 03 12 01 31"));
    EXPECT_NE(domain.GetObject()->Get(0U), nullptr);

    AdministrationDomainName fresh;
    EXPECT_EQ(fresh.GetAsnTagClass(), ASN_APPLICATION);
    EXPECT_EQ(fresh.GetAsnTagMode(), ASN_EXPLICIT);
    EXPECT_EQ(fresh.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(fresh.GetAsnTagNumber(), 2U);
}

TEST(directory_test, StandardAttributesOfAnAddress) {
    const Bytes bytes =
        der::sequence({hex("61 04 13 02 43 4E"), hex("62 03 12 01 31"), hex("80 01 34"), hex("A2 03 13 01 70"),
                       hex("83 01 6F"), hex("A5 03 80 01 44"), hex("A6 03 13 01 75")});
    const auto read = throughBytes<BuiltInStandardAttributes>(bytes);
    ASSERT_NE(read.GetCountry_name(), nullptr);
    EXPECT_NE(read.GetCountry_name()->GetObject()->Get(1U), nullptr);
    EXPECT_NE(read.GetAdministration_domain_name(), nullptr);
    EXPECT_EQ(read.GetTerminal_identifier(), nullptr);
    ASSERT_NE(read.GetPrivate_domain_name(), nullptr);
    EXPECT_NE(read.GetPrivate_domain_name()->Get(1U), nullptr);
    EXPECT_TRUE(read.GetPersonal_name()->GetSurname()->GetData() == "D");
    EXPECT_EQ(read.GetOrganizational_unit_names()->Size(), 1U);

    BuiltInStandardAttributes built;
    built.SetCountry_name(*read.GetCountry_name());
    EXPECT_EQ(toHex(encode(built)), "30 06 61 04 13 02 43 4E");
}

// Others that stand out

TEST(directory_test, TheTextOfAPolicyGoesOutUnderTagZero) {
    DirectoryString text;
    text.SetPrintableString(AsnPrintableString("hi"));
    InfoSyntax info;
    info.SetContent(text);
    EXPECT_EQ(toHex(encode(info)), "00 02 68 69");
    InfoSyntax read;
    EXPECT_THROW(decode(read, hex("00 02 68 69")), AsnDecodeExp);
    EXPECT_THROW(decode(read, hex("13 02 68 69")), AsnDecodeExp);
    const auto pointer = throughBytes<InfoSyntax>(hex("30 05 30 03 82 01 61"));
    EXPECT_NE(pointer.Get(1U), nullptr);
}

TEST(directory_test, ScopesPassOverThreeAndEight) {
    PerAuthorityScope scope;
    const unsigned int numbers[] = {0, 1, 2, 4, 5, 6, 7, 9};
    ASSERT_EQ(scope.Size(), 8U);
    for (unsigned int i = 0; i < 8; ++i)
        EXPECT_EQ(scope.Get(i)->GetAsnTagNumber(), numbers[i]) << i;
}

TEST(directory_test, AListAssertionMustTellTheKeyOfTheAuthority) {
    CertificateListAssertion assertion;
    MiByteBuffer out;
    EXPECT_THROW(assertion.DerEncode(out, 0), AsnEncodeExp);
    assertion.SetAuthorityKeyIdentifier(AuthorityKeyIdentifier());
    EXPECT_EQ(toHex(encode(assertion)), "30 02 A3 00");
}

TEST(directory_test, DistributionPointNamesByTheirTags) {
    const auto full = throughBytes<DistributionPoint>(hex("30 09 A0 07 A0 05 86 03 75 72 69"));
    ASSERT_NE(full.GetDistributionPoint(), nullptr);
    EXPECT_NE(full.GetDistributionPoint()->Get(0U), nullptr);
    EXPECT_EQ(full.GetReasons(), nullptr);
    const Bytes attribute = der::sequence({der::oid({2, 5, 4, 3}), der::text(0x13, "A")});
    const auto relative =
        throughBytes<DistributionPoint>(der::sequence({der::tagged(0, der::tlv(0xA1, attribute)), hex("81 02 01 06")}));
    EXPECT_NE(relative.GetDistributionPoint()->Get(1U), nullptr);
    EXPECT_EQ(relative.GetReasons()->GetData().GetBitLength(), 7U);
}

}  // namespace
