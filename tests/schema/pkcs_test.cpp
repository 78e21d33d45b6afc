// PKCS messages, keys and files, read and written against bytes made by hand.
#include "schema/pkcs.h"

#include <gtest/gtest.h>

#include "foundation/foundation.h"
#include "tests/schema/bytes.h"
#include "tests/support/der.h"

namespace {

using support::Bytes;
using support::toHex;

const Bytes kData = der::oid({1, 2, 840, 113549, 1, 7, 1});
const Bytes kSha1 = der::sequence({der::oid({1, 3, 14, 3, 2, 26}), der::tlv(0x05, {})});
const Bytes kRsa = der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 1}), der::tlv(0x05, {})});
const Bytes kName = der::name(3, 0x13, "A");
const Bytes kIssuerAndSerial = der::sequence({kName, der::integer(5)});
const Bytes kAttribute = der::sequence({der::oid({1, 2, 840, 113549, 1, 9, 3}), der::set({kData})});
const Bytes kTime = der::text(0x17, "140101000000Z");
const Bytes kKey = der::sequence({kRsa, der::bitString(0, {0x30, 0x00})});
const Bytes kCertificate =
    der::sequence({der::sequence({der::integer(5), kSha1, kName, der::sequence({kTime, kTime}), kName, kKey}), kSha1,
                   der::bitString(0, {0x01})});
const Bytes kList = der::sequence({der::sequence({kSha1, kName, kTime}), kSha1, der::bitString(0, {0x01})});

Bytes signerInfo(const Bytes& authenticated, const Bytes& unauthenticated) {
    return der::sequence(
        {der::integer(1), kIssuerAndSerial, kSha1, authenticated, kRsa, der::tlv(0x04, {0x55}), unauthenticated});
}

Bytes signedData(const Bytes& certificates, const Bytes& lists) {
    return der::sequence({der::integer(1), der::set({kSha1}), der::sequence({kData}), certificates, lists,
                          der::set({signerInfo({}, {})})});
}

template <class T>
T throughBytes(const Bytes& bytes) {
    T value;
    EXPECT_EQ(decode(value, bytes), bytes.size());
    EXPECT_EQ(toHex(encode(value)), toHex(bytes));
    return value;
}

TEST(pkcs_test, CertificatesUnderEitherTag) {
    const auto set = throughBytes<SignedData>(signedData(der::tlv(0xA0, kCertificate), {}));
    ASSERT_NE(set.GetCertificates(), nullptr);
    ASSERT_NE(set.GetCertificates()->Get(0U), nullptr);
    EXPECT_TRUE(set.GetCertificates()->Get()->GetAsnName() == "certSet");
    ASSERT_EQ(set.GetCertificates()->GetCertSet()->Size(), 1U);
    const auto* entry = set.GetCertificates()->GetCertSet()->Get(0);
    EXPECT_EQ(entry->GetCertificate()->GetTBSCertificate()->GetSerialNumber()->GetInteger(), 5);

    const auto sequence = throughBytes<SignedData>(signedData(der::tlv(0xA2, kCertificate), {}));
    ASSERT_NE(sequence.GetCertificates()->Get(1U), nullptr);
    EXPECT_TRUE(sequence.GetCertificates()->Get()->GetAsnName() == "certSequence");
    EXPECT_EQ(sequence.GetCertificates()->GetCertSequence()->Size(), 1U);
}

TEST(pkcs_test, RevocationListsUnderEitherTag) {
    const auto set = throughBytes<SignedData>(signedData({}, der::tlv(0xA1, kList)));
    EXPECT_EQ(set.GetCertificates(), nullptr);
    EXPECT_TRUE(set.GetCrls()->Get()->GetAsnName() == "crlSet");
    const auto both =
        throughBytes<SignedData>(signedData(der::tlv(0xA2, kCertificate), der::tlv(0xA3, der::join({kList, kList}))));
    EXPECT_TRUE(both.GetCrls()->Get()->GetAsnName() == "crlSequence");
    EXPECT_EQ(both.GetCrls()->GetCrlSequence()->Size(), 2U);
}

TEST(pkcs_test, NeitherCertificatesNorLists) {
    const auto value = throughBytes<SignedData>(signedData({}, {}));
    EXPECT_EQ(value.GetCertificates(), nullptr);
    EXPECT_EQ(value.GetCrls(), nullptr);
    EXPECT_EQ(value.GetContentInfo()->GetContent(), nullptr);
    EXPECT_EQ(value.GetSignerInfos()->GetSiSet()->Size(), 1U);
}

TEST(pkcs_test, SetsAndSequencesAreToldApartByTheirTags) {
    const Bytes signer = signerInfo({}, {});
    EXPECT_TRUE(throughBytes<SignerInfos>(der::set({signer})).Get()->GetAsnName() == "siSet");
    EXPECT_TRUE(throughBytes<SignerInfos>(der::sequence({signer, signer})).Get()->GetAsnName() == "siSequence");
    EXPECT_TRUE(throughBytes<DigestAlgorithmIdentifiers>(der::set({kSha1})).Get()->GetAsnName() == "daSet");
    EXPECT_TRUE(throughBytes<DigestAlgorithmIdentifiers>(der::sequence({kSha1})).Get()->GetAsnName() == "daSequence");
    const Bytes recipient = der::sequence({der::integer(0), kIssuerAndSerial, kRsa, der::tlv(0x04, {0x55})});
    EXPECT_TRUE(throughBytes<RecipientInfos>(der::set({recipient})).Get()->GetAsnName() == "riSet");
    EXPECT_TRUE(throughBytes<RecipientInfos>(der::sequence({recipient})).Get()->GetAsnName() == "riSequence");
}

// [2] of the authenticated attributes holds a SEQUENCE, [3] of the others is one.
TEST(pkcs_test, AttributesUnderEitherTag) {
    const auto sets = throughBytes<SignerInfo>(signerInfo(der::tlv(0xA0, kAttribute), der::tlv(0xA1, kAttribute)));
    EXPECT_EQ(sets.GetAuthenticatedAttributes()->GetAaSet()->Size(), 1U);
    EXPECT_EQ(sets.GetAuthenticatedAttributes()->GetAaSequence(), nullptr);
    EXPECT_EQ(sets.GetUnauthenticatedAttributes()->GetUaSet()->Size(), 1U);

    const auto sequences = throughBytes<SignerInfo>(
        signerInfo(der::tagged(2, der::sequence({kAttribute, kAttribute})), der::tlv(0xA3, kAttribute)));
    EXPECT_EQ(sequences.GetAuthenticatedAttributes()->GetAaSequence()->Size(), 2U);
    EXPECT_EQ(sequences.GetUnauthenticatedAttributes()->GetUaSequence()->Size(), 1U);

    const auto none = throughBytes<SignerInfo>(signerInfo({}, {}));
    EXPECT_EQ(none.GetAuthenticatedAttributes(), nullptr);
    EXPECT_EQ(none.GetUnauthenticatedAttributes(), nullptr);
}

TEST(pkcs_test, AnExtendedCertificateIsReadAsACertificate) {
    Bytes tagged = kCertificate;
    tagged[0] = 0xA0;
    const auto extended = throughBytes<ExtendedCertificateOrCertificate>(tagged);
    ASSERT_NE(extended.Get(1U), nullptr);
    EXPECT_TRUE(extended.GetExtendedCertificate()->GetAsnName() == "extendedCertificate");
    const auto plain = throughBytes<ExtendedCertificateOrCertificate>(kCertificate);
    EXPECT_NE(plain.Get(0U), nullptr);
}

TEST(pkcs_test, ContentTakesTagAndContentOfTheElementInside) {
    const Bytes inner = der::sequence({der::integer(1), der::text(0x13, "x")});
    const auto info = throughBytes<ContentInfo>(der::sequence({kData, der::tagged(0, inner)}));
    ASSERT_NE(info.GetContent(), nullptr);
    EXPECT_EQ(info.GetContent()->GetAsnTagNumber(), 16U);
    EXPECT_EQ(info.GetContent()->GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(info.GetContent()->GetData().GetLength(), inner.size() - 2);

    IssuerAndSerialNumber taken;
    const auto other = throughBytes<ContentInfo>(der::sequence({kData, der::tagged(0, kIssuerAndSerial)}));
    other.GetContent()->GetDerObject(&taken);
    EXPECT_EQ(taken.GetSerialNumber()->GetInteger(), 5);

    const auto octets = throughBytes<ContentInfo>(der::sequence({kData, der::tagged(0, der::tlv(0x04, {0x61}))}));
    EXPECT_EQ(octets.GetContent()->GetAsnTagNumber(), 4U);
}

TEST(pkcs_test, BagsHoldAnyElement) {
    const Bytes id = der::oid({1, 2, 840, 113549, 1, 12, 10, 1, 3});
    const Bytes any = der::tagged(0, der::text(0x16, "any"));
    const auto bag = throughBytes<SafeBag>(der::sequence({id, any}));
    EXPECT_EQ(bag.GetBagValue()->GetAsnTagNumber(), 0x16U);
    EXPECT_EQ(bag.GetBagAttributes(), nullptr);
    const auto named = throughBytes<SafeBag>(der::sequence({id, any, der::set({kAttribute})}));
    EXPECT_EQ(named.GetBagAttributes()->Size(), 1U);
    EXPECT_EQ(throughBytes<CertBag>(der::sequence({id, any})).GetCertValue()->GetAsnTagNumber(), 0x16U);
    EXPECT_EQ(throughBytes<CRLBag>(der::sequence({id, any})).GetCrlValue()->GetAsnTagNumber(), 0x16U);
    EXPECT_EQ(throughBytes<SecretBag>(der::sequence({id, any})).GetSecretValue()->GetAsnTagNumber(), 0x16U);
}

TEST(pkcs_test, APfxWithoutMac) {
    const Bytes safe = der::sequence({kData, der::tagged(0, der::tlv(0x04, {0x30, 0x00}))});
    const auto bare = throughBytes<PFX>(der::sequence({der::integer(3), safe}));
    EXPECT_EQ(bare.GetMacData(), nullptr);
    EXPECT_EQ(bare.GetVersion()->GetInteger(), 3);

    const Bytes digest = der::sequence({kSha1, der::tlv(0x04, {0x11})});
    const Bytes mac = der::sequence({digest, der::tlv(0x04, {0x22})});
    const auto once = throughBytes<PFX>(der::sequence({der::integer(3), safe, mac}));
    ASSERT_NE(once.GetMacData(), nullptr);
    EXPECT_EQ(once.GetMacData()->GetIterations(), nullptr) << "the default is the caller's business";
    const auto often = throughBytes<MacData>(der::sequence({digest, der::tlv(0x04, {0x22}), der::integer(1)}));
    ASSERT_NE(often.GetIterations(), nullptr);
    EXPECT_EQ(often.GetIterations()->GetInteger(), 1);
}

TEST(pkcs_test, ARequestNeedsItsAttributes) {
    const Bytes bytes = der::sequence({der::integer(0), kName, kKey, der::tlv(0xA0, {})});
    auto info = throughBytes<CertificationRequestInfo>(bytes);
    ASSERT_NE(info.GetAttributes(), nullptr);
    EXPECT_EQ(info.GetAttributes()->Size(), 0U);
    info.Find("attributes")->SetAsnPresent(false);
    MiByteBuffer out;
    EXPECT_THROW(info.DerEncode(out, 0), AsnEncodeExp);
    info.SetAttributes({});
    EXPECT_EQ(toHex(encode(info)), toHex(bytes));

    CertificationRequestInfo read;
    EXPECT_THROW(decode(read, der::sequence({der::integer(0), kName, kKey})), AsnDecodeExp);
}

TEST(pkcs_test, APrivateKeyMayHaveAttributes) {
    const Bytes front = der::join({der::integer(0), kRsa, der::tlv(0x04, {0x30, 0x00})});
    EXPECT_EQ(throughBytes<PrivateKeyInfo>(der::tlv(0x30, front)).GetAttributes(), nullptr);
    const auto named = throughBytes<PrivateKeyInfo>(der::tlv(0x30, der::join({front, der::tlv(0xA0, kAttribute)})));
    EXPECT_EQ(named.GetAttributes()->Size(), 1U);
}

TEST(pkcs_test, OaepParametersAreAllDefaults) {
    const auto none = throughBytes<RSAES_OAEP_params>(der::sequence({}));
    EXPECT_EQ(none.GetHashFunc(), nullptr);
    EXPECT_EQ(none.GetMaskGenFunc(), nullptr);
    EXPECT_EQ(none.GetPSourceFunc(), nullptr);
    const auto last = throughBytes<RSAES_OAEP_params>(der::sequence({der::tagged(2, kSha1)}));
    EXPECT_EQ(last.GetHashFunc(), nullptr);
    ASSERT_NE(last.GetPSourceFunc(), nullptr);
    EXPECT_TRUE(last.GetPSourceFunc()->GetAlgorithm()->GetData() == "1.3.14.3.2.26");
}

TEST(pkcs_test, EncryptedContentIsPrimitiveUnderItsTag) {
    const Bytes bytes = der::sequence({kData, kSha1, der::tlv(0x80, {0x01, 0x02})});
    EXPECT_EQ(throughBytes<EncryptedContentInfo>(bytes).GetEncryptedContent()->GetData().GetLength(), 2U);
    EXPECT_EQ(throughBytes<EncryptedContentInfo>(der::sequence({kData, kSha1})).GetEncryptedContent(), nullptr);
}

TEST(pkcs_test, AnRsaKey) {
    Bytes numbers = der::integer(0);
    for (int i = 1; i <= 8; ++i)
        numbers = der::join({numbers, der::integer(i)});
    const auto key = throughBytes<RSAPrivateKey>(der::tlv(0x30, numbers));
    EXPECT_EQ(key.GetVersion()->GetInteger(), 0);
    EXPECT_EQ(key.GetPkModulus()->GetInteger(), 1);
    EXPECT_EQ(key.GetPublicExponent()->GetInteger(), 2);
    EXPECT_EQ(key.GetPrivateExponent()->GetInteger(), 3);
    EXPECT_EQ(key.GetPrime1()->GetInteger(), 4);
    EXPECT_EQ(key.GetPrime2()->GetInteger(), 5);
    EXPECT_EQ(key.GetExponent1()->GetInteger(), 6);
    EXPECT_EQ(key.GetExponent2()->GetInteger(), 7);
    EXPECT_EQ(key.GetCoefficient()->GetInteger(), 8);
}

// Twins have the same members and are types of their own.
TEST(pkcs_test, TwinsAreDistinct) {
    const SignedDataCertificates one;
    const SignedAndEnvelopedDataCertificates other;
    EXPECT_FALSE(typeid(one) == typeid(other));
    EXPECT_EQ(one.Size(), other.Size());
    EXPECT_FALSE((std::is_convertible_v<SignedDataCertificates*, SignedAndEnvelopedDataCertificates*>));
    EXPECT_FALSE((std::is_convertible_v<SignedDataCrls*, SignedAndEnvelopedDataCrls*>));
    EXPECT_FALSE((std::is_convertible_v<AlgorithmIdentifier*, PKCS1AlgorithmIdentifier*>));
}

}  // namespace
