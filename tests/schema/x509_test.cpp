// Certificates, revocation lists and names, built and read against bytes made by hand.
#include "schema/x509.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "foundation/foundation.h"
#include "tests/schema/bytes.h"
#include "tests/support/der.h"

namespace {

using support::Bytes;

const Bytes kAlgorithm = der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 5}), der::tlv(0x05, {})});
const Bytes kIssuer = der::name(3, 0x13, "Root");
const Bytes kSubject = der::name(3, 0x0C, "Leaf");
const Bytes kValidity = der::sequence({der::text(0x17, "140101000000Z"), der::text(0x18, "20500101000000Z")});
const Bytes kKey = der::sequence({kAlgorithm, der::bitString(0, {0x30, 0x00})});
const Bytes kSignature = der::bitString(0, {0x01, 0x02});

Bytes tbs(const Bytes& before, const Bytes& behind) {
    return der::tlv(0x30, der::join({before, der::integer(5), kAlgorithm, kIssuer, kValidity, kSubject, kKey, behind}));
}

AsnOctetString anyOf(const AsnObject& value, const char* name = "") {
    AsnOctetString any;
    any.SetDerObject(&value);
    any.SetAsnName(name);
    return any;
}

AlgorithmIdentifier algorithm() {
    AlgorithmIdentifier value;
    value.SetAlgorithm(AsnOid("1.2.840.113549.1.1.5"));
    value.SetParameters(anyOf(AsnNull()));
    return value;
}

AttributeTypeAndDistinguishedValue attribute(const char* type, const AsnObject& text) {
    AttributeTypeAndDistinguishedValue value;
    value.SetType(AsnOid(type));
    value.SetValue(anyOf(text, "value"));
    return value;
}

AttributeTypeAndDistinguishedValue attribute(const char* type, const char* text) {
    return attribute(type, AsnPrintableString(text));
}

Name nameOf(std::initializer_list<std::initializer_list<AttributeTypeAndDistinguishedValue>> sets) {
    AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>> names;
    for (const auto& set : sets) {
        AsnSetOf<AttributeTypeAndDistinguishedValue> attributes;
        for (const auto& one : set)
            attributes.AddElement(one);
        names.AddElement(attributes);
    }
    Name name;
    name.SetRdnSequence(names);
    return name;
}

// All mandatory members.
TBSCertificate buildTbs() {
    AsnUTF8String leaf;
    leaf.SetVisibleString("Leaf");
    AsnUTCTime start;
    start.SetTime("140101000000Z");
    AsnGeneralizedTime end;
    end.SetTime("20500101000000Z");
    X509Time notBefore, notAfter;
    notBefore.SetUtcTime(start);
    notAfter.SetGeneralizedTime(end);
    Validity validity;
    validity.SetNotBefore(notBefore);
    validity.SetNotAfter(notAfter);
    AsnBitString bits;
    bits.SetData("\x30\x00", 0, 16);
    SubjectPublicKeyInfo key;
    key.SetAlgorithm(algorithm());
    key.SetSubjectPublicKey(bits);

    TBSCertificate value;
    value.SetSerialNumber(AsnInteger(5));
    value.SetSignature(algorithm());
    value.SetIssuer(nameOf({{attribute("2.5.4.3", "Root")}}));
    value.SetValidity(validity);
    value.SetSubject(nameOf({{attribute("2.5.4.3", leaf)}}));
    value.SetSubjectPublicKeyInfo(key);
    return value;
}

TEST(x509_test, AFreshTbsCertificateLacksItsSerialNumber) {
    TBSCertificate fresh;
    ASSERT_EQ(fresh.Size(), 10U);
    for (unsigned int i = 0; i < 10; ++i)
        EXPECT_FALSE(fresh.Get(i)->IsAsnPresent()) << i;
    MiByteBuffer out;
    EXPECT_THROW(fresh.DerEncode(out, 0), AsnEncodeExp);
    fresh.SetVersion(AsnInteger(2));
    EXPECT_THROW(fresh.DerEncode(out, 0), AsnEncodeExp);
    // All others are there, and it is still missing.
    TBSCertificate full = buildTbs();
    full.Find("serialNumber")->SetAsnPresent(false);
    EXPECT_THROW(full.DerEncode(out, 0), AsnEncodeExp);
    full.SetSerialNumber(AsnInteger(5));
    EXPECT_NO_THROW(full.DerEncode(out, 0));
}

TEST(x509_test, NothingWritesTheDefaultVersion) {
    EXPECT_EQ(support::toHex(encode(buildTbs())), support::toHex(tbs({}, {})));
}

TEST(x509_test, OptionalMembersGoOutUnderTheirTags) {
    TBSCertificate value = buildTbs();
    value.SetVersion(AsnInteger(2));
    AsnBitString identifier;
    identifier.SetData("\xA0", 0, 3);
    value.SetIssuerUniqueIdentifier(identifier);
    value.SetSubjectUniqueIdentifier(identifier);
    Extension extension;
    extension.SetExtnId(AsnOid("2.5.29.19"));
    extension.SetCritical(AsnBoolean(true));
    AsnOctetString octets;
    octets.SetData("\x30\x00", 0, 2);
    extension.SetExtnValue(octets);
    AsnSequenceOf<Extension> extensions;
    extensions.AddElement(extension);
    value.SetExtensions(extensions);

    const Bytes behind =
        der::join({der::tlv(0x81, {0x05, 0xA0}), der::tlv(0x82, {0x05, 0xA0}),
                   der::tagged(3, der::sequence({der::sequence({der::oid({2, 5, 29, 19}), der::tlv(0x01, {0xFF}),
                                                                der::tlv(0x04, {0x30, 0x00})})}))});
    const Bytes expected = tbs(der::tagged(0, der::integer(2)), behind);
    EXPECT_EQ(support::toHex(encode(value)), support::toHex(expected));

    const auto read = decoded<TBSCertificate>(expected);
    EXPECT_EQ(read.GetVersion()->GetInteger(), 2);
    EXPECT_EQ(read.GetIssuerUniqueIdentifier()->GetData().GetBitLength(), 3U);
    EXPECT_NE(read.GetSubjectUniqueIdentifier(), nullptr);
    ASSERT_EQ(read.GetExtensions()->Size(), 1U);
    EXPECT_TRUE(read.GetExtensions()->Get(0)->GetCritical()->GetData());
    EXPECT_EQ(encode(read), expected);
}

TEST(x509_test, ACertificateWithoutVersionIsRead) {
    const Bytes bytes = der::sequence({tbs({}, {}), kAlgorithm, kSignature});
    Certificate certificate;
    ASSERT_EQ(decode(certificate, bytes), bytes.size());
    const TBSCertificate* inner = certificate.GetTBSCertificate();
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->GetVersion(), nullptr);
    EXPECT_EQ(inner->GetExtensions(), nullptr);
    EXPECT_EQ(inner->GetIssuerUniqueIdentifier(), nullptr);
    EXPECT_EQ(inner->GetSerialNumber()->GetInteger(), 5);
    EXPECT_TRUE(certificate.GetAlgorithmIdentifier()->GetAlgorithm()->GetData() == "1.2.840.113549.1.1.5");
    EXPECT_EQ(certificate.GetAlgorithmIdentifier()->GetParameters()->GetAsnTagNumber(), 5U);
    EXPECT_EQ(certificate.GetEncrypted()->GetData().GetBitLength(), 16U);
    EXPECT_EQ(encode(certificate), bytes);
}

TEST(x509_test, NamesAndTimesAreReadByTheTagOfTheirAlternative) {
    const auto value = decoded<TBSCertificate>(tbs({}, {}));
    ASSERT_NE(value.GetIssuer()->Get(0U), nullptr);
    EXPECT_EQ(value.GetIssuer()->GetAsnTagNumber(), 16U);
    const auto* names = value.GetIssuer()->GetRdnSequence();
    ASSERT_EQ(names->Size(), 1U);
    EXPECT_EQ(names->Get(0)->Get(0)->GetValue()->GetAsnTagNumber(), 0x13U);
    EXPECT_NE(value.GetValidity()->GetNotBefore()->Get(0U), nullptr);
    EXPECT_EQ(value.GetValidity()->GetNotBefore()->GetAsnTagNumber(), 23U);
    EXPECT_NE(value.GetValidity()->GetNotAfter()->Get(1U), nullptr);
    EXPECT_EQ(value.GetValidity()->GetNotAfter()->GetAsnTagNumber(), 24U);

    // Nothing else is a name or a time.
    Name name;
    EXPECT_THROW(decode(name, der::set({})), AsnDecodeExp);
    X509Time time;
    EXPECT_THROW(decode(time, der::text(0x16, "140101000000Z")), AsnDecodeExp);
}

TEST(x509_test, ACloneOfATbsCertificateIsEqual) {
    const TBSCertificate value = buildTbs();
    const std::unique_ptr<AsnObject> clone(value.Clone());
    ASSERT_TRUE(typeOf(*clone) == typeid(TBSCertificate));
    EXPECT_TRUE(clone->EqualsContent(&value));
    EXPECT_TRUE(clone->Equals(&value));
    static_cast<TBSCertificate&>(*clone).SetSerialNumber(AsnInteger(6));
    EXPECT_FALSE(clone->EqualsContent(&value));
}

TEST(x509_test, ARevocationListIsReadAndWritten) {
    const Bytes time = der::text(0x17, "140101000000Z");
    const Bytes reason = der::sequence({der::oid({2, 5, 29, 21}), der::tlv(0x04, {0x0A, 0x01, 0x01})});
    const Bytes revoked = der::sequence(
        {der::sequence({der::integer(7), time}), der::sequence({der::integer(8), time, der::sequence({reason})})});
    const Bytes number = der::sequence({der::oid({2, 5, 29, 20}), der::tlv(0x04, {0x02, 0x01, 0x01})});
    const Bytes full = der::sequence({der::sequence({der::integer(1), kAlgorithm, kIssuer, time, time, revoked,
                                                     der::tagged(0, der::sequence({number}))}),
                                      kAlgorithm, kSignature});
    const auto list = decoded<CertificateList>(full);
    const TBSCertificateList* inner = list.GetTBSCertificateList();
    EXPECT_EQ(inner->GetVersion()->GetInteger(), 1);
    ASSERT_EQ(inner->GetRevokedCertificates()->Size(), 2U);
    EXPECT_EQ(inner->GetRevokedCertificates()->Get(0)->GetCrlEntryExtensions(), nullptr);
    EXPECT_EQ(inner->GetRevokedCertificates()->Get(1)->GetCrlEntryExtensions()->Size(), 1U);
    EXPECT_EQ(inner->GetCrlExtensions()->Size(), 1U);
    EXPECT_EQ(encode(list), full);

    const Bytes least = der::sequence({der::sequence({kAlgorithm, kIssuer, time}), kAlgorithm, kSignature});
    const auto small = decoded<CertificateList>(least);
    EXPECT_EQ(small.GetTBSCertificateList()->GetVersion(), nullptr);
    EXPECT_EQ(small.GetTBSCertificateList()->GetNextUpdate(), nullptr);
    EXPECT_EQ(small.GetTBSCertificateList()->GetRevokedCertificates(), nullptr);
    EXPECT_EQ(encode(small), least);
}

// An optional time is recognised by the tags of its alternatives.
TEST(x509_test, ARevocationListMayEndWithGeneralizedTime) {
    const Bytes bytes =
        der::sequence({kAlgorithm, kIssuer, der::text(0x17, "140101000000Z"), der::text(0x18, "20500101000000Z")});
    const auto list = decoded<TBSCertificateList>(bytes);
    ASSERT_NE(list.GetNextUpdate(), nullptr);
    EXPECT_NE(list.GetNextUpdate()->Get(1U), nullptr);
    EXPECT_EQ(encode(list), bytes);
}

// GetSubjectName

using Flat = AsnSequenceOf<AttributeTypeAndDistinguishedValue>;

std::string flatHex(const Flat& flat) {
    return support::toHex(encode(flat));
}

TEST(x509_test, TheSubjectComesOutFlatAndInOrder) {
    TBSCertificate value;
    value.SetSubject(nameOf({{attribute("2.5.4.6", "CN")},
                             {attribute("2.5.4.11", "Unit"), attribute("2.5.4.10", "Org")},
                             {},
                             {attribute("2.5.4.3", "Leaf")}}));
    Flat out;
    out.AddElement(attribute("2.5.4.5", "gone"));
    value.GetSubjectName(out);
    ASSERT_EQ(out.Size(), 4U);
    const char* expected[] = {"2.5.4.6", "2.5.4.11", "2.5.4.10", "2.5.4.3"};
    for (unsigned int i = 0; i < 4; ++i)
        EXPECT_TRUE(out.Get(i)->GetType()->GetData() == expected[i]) << i;
    const auto* names = value.GetSubject()->GetRdnSequence();
    EXPECT_NE(out.Get(0), names->Get(0)->Get(0)) << "clones";
    EXPECT_TRUE(out.Get(3)->EqualsContent(names->Get(3)->Get(0)));
}

TEST(x509_test, AnEmptySubjectEmptiesTheFlatName) {
    TBSCertificate value;
    value.SetSubject(nameOf({}));
    Flat out;
    out.AddElement(attribute("2.5.4.5", "gone"));
    value.GetSubjectName(out);
    EXPECT_EQ(out.Size(), 0U);
}

TEST(x509_test, WithoutASubjectTheFlatNameStays) {
    Flat out;
    out.AddElement(attribute("2.5.4.5", "stays"));
    const std::string before = flatHex(out);
    TBSCertificate value;
    value.GetSubjectName(out);
    EXPECT_EQ(flatHex(out), before);
    value.SetSubject(Name());
    value.GetSubjectName(out);
    EXPECT_EQ(flatHex(out), before) << "a name with nothing selected";
    value.DelElement("subject");
    EXPECT_THROW(value.GetSubjectName(out), AsnDataExp);
    EXPECT_EQ(flatHex(out), before);
}

}  // namespace
