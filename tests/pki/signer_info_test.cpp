#include "pki/signer_info.h"

#include <gmock/gmock.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "tests/pki/signers.h"
#include "tests/support/broken_der.h"
#include "tests/support/failing_heap.h"

namespace {

using namespace signers;
using support::hex;

// The fields as callers know them.
struct Layout {
    bool authenticatedPresent;
    bool unauthenticatedPresent;
    ContentInfo* innerContent;
    SignerInfo* signer;
    IssuerAndSerialNumber* issuerAndSerialNumber;
    AlgorithmIdentifier* digestAlgorithm;
    AlgorithmIdentifier* digestEncryptionAlgorithm;
    AsnOctetString* encryptedDigest;
    AsnSetOf<PKCS7Attribute>* authenticatedAttributes;
    AsnSetOf<PKCS7Attribute>* unauthenticatedAttributes;
};
static_assert(sizeof(VT_SignerInfo) == sizeof(Layout) && !std::is_polymorphic_v<VT_SignerInfo>);

Layout& layoutOf(VT_SignerInfo& signer) {
    return reinterpret_cast<Layout&>(signer);
}

const char* const kTypeAttribute = "1.2.840.113549.1.9.3";
const char* const kDigestAttribute = "1.2.840.113549.1.9.4";

PKCS7Attribute attribute(const char* type, const Bytes& value) {
    PKCS7Attribute made;
    made.SetType(AsnOid(type));
    AsnSetOf<AsnOctetString> values;
    values.AddElement(decoded<AsnOctetString>(value));
    made.SetValues(values);
    return made;
}

PKCS7Attribute nameAttribute() {
    return decoded<PKCS7Attribute>(vectors::kNameAttribute);
}

ContentInfo content() {
    return decoded<ContentInfo>(dataContent(hex(vectors::kContent)));
}

// A signer of the content by Alice, ready to sign.
VT_SignerInfo aliceToBe(const Bytes& digestOid = kSha1Oid) {
    VT_SignerInfo signer;
    signer.setDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(algorithm(digestOid)));
    signer.setDigestEncryptionAlgorithmIdentifier(decoded<AlgorithmIdentifier>(algorithm(kRsaOid)));
    signer.setIssuerAndSerialNumber(decoded<IssuerAndSerialNumber>(issuerAndSerial(vectors::kAlice)));
    signer.setInnerContentInfo(content());
    return signer;
}

int sign(VT_SignerInfo& signer, const vectors::SignersKey& key = vectors::kAliceKey) {
    Software software;
    return signer.SignDigest(software.op(), privateKey(key));
}

int verify(VT_SignerInfo& signer, const char* certificate = vectors::kAlice) {
    Software software;
    return signer.VerifyDigest(software.op(), decoded<Certificate>(certificate));
}

std::string signatureOf(VT_SignerInfo& signer) {
    SignerInfo composed;
    EXPECT_EQ(signer.composeSignerInfo(composed), 0);
    return hexOf(composed.GetEncryptedDigest()->GetData());
}

// A signer as a message has it, over the content.
VT_SignerInfo received(const char* message, std::size_t index = 0) {
    VT_SignerInfo signer;
    EXPECT_EQ(signer.decomposeSignerInfo(bytes(signerOf(message, index))), 0);
    signer.setInnerContentInfo(content());
    return signer;
}

// A signer put together by hand; empty attributes are left out.
Bytes signerDer(int version, const Bytes& attributes, const char* signature, const Bytes& unauthenticated = {}) {
    return der::sequence({der::integer(version), issuerAndSerial(vectors::kAlice), algorithm(kSha1Oid), attributes,
                          algorithm(kRsaOid), der::tlv(0x04, hex(signature)), unauthenticated});
}

VT_SignerInfo decomposed(const Bytes& der) {
    VT_SignerInfo signer;
    EXPECT_EQ(signer.decomposeSignerInfo(bytes(der)), 0);
    signer.setInnerContentInfo(content());
    return signer;
}

// ---- Setters, getters, composing

TEST(signer_info_test, NothingSetIsMissing) {
    VT_SignerInfo signer;
    IssuerAndSerialNumber issuer;
    AlgorithmIdentifier algorithmOut;
    SignerInfo value;
    MiByte out;
    Software software;
    EXPECT_EQ(signer.getIssuerAndSerialNumber(issuer), -1003);
    EXPECT_EQ(signer.getDigestAlgorithmIdentifier(algorithmOut), -1003);
    EXPECT_EQ(signer.getDigestEncryptionAlgorithmIdentifier(algorithmOut), -1003);
    EXPECT_EQ(signer.composeSignerInfo(value), -1003);
    EXPECT_EQ(signer.composeSignerInfo(out), -1003);
    EXPECT_EQ(sign(signer), -1003);
    EXPECT_EQ(verify(signer), -1003);
    EXPECT_EQ(signer.encryptDigest(software.op(), VT_P11_Alg(), VT_P11_Key()), -1003);
    EXPECT_EQ(signer.decryptDigest(software.op(), VT_P11_Alg(), VT_P11_Key()), -1003);
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 0);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
}

TEST(signer_info_test, GettersCopyOut) {
    VT_SignerInfo signer = aliceToBe();
    IssuerAndSerialNumber issuer;
    AlgorithmIdentifier digest;
    AlgorithmIdentifier encryption;
    EXPECT_EQ(signer.getIssuerAndSerialNumber(issuer), 0);
    EXPECT_EQ(hexOf(issuer), support::toHex(issuerAndSerial(vectors::kAlice)));
    EXPECT_EQ(signer.getDigestAlgorithmIdentifier(digest), 0);
    EXPECT_EQ(hexOf(digest), support::toHex(algorithm(kSha1Oid)));
    EXPECT_EQ(signer.getDigestEncryptionAlgorithmIdentifier(encryption), 0);
    EXPECT_EQ(hexOf(encryption), support::toHex(algorithm(kRsaOid)));
    digest.SetAlgorithm(AsnOid("1.2.3"));
    EXPECT_EQ(signer.getDigestAlgorithmIdentifier(encryption), 0);
    EXPECT_EQ(hexOf(encryption), support::toHex(algorithm(kSha1Oid)));
}

TEST(signer_info_test, SettersReplace) {
    VT_SignerInfo signer = aliceToBe();
    signer.setDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(algorithm(kMd5Oid)));
    EXPECT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceMd5));
}

TEST(signer_info_test, ComposesTheSignerInSchemaOrder) {
    VT_SignerInfo signer = aliceToBe();
    ASSERT_EQ(sign(signer), 0);
    MiByte der;
    ASSERT_EQ(signer.composeSignerInfo(der), 0);
    EXPECT_EQ(hexOf(der), support::toHex(signerDer(1, {}, vectors::kAliceSha1)));
    SignerInfo value;
    ASSERT_EQ(signer.composeSignerInfo(value), 0);
    EXPECT_EQ(hexOf(value), hexOf(der));
}

TEST(signer_info_test, ComposesAttributesUnderTheirTags) {
    VT_SignerInfo signer = aliceToBe();
    signer.addAuthPKCS7Attribute(nameAttribute());
    signer.addUnAuthPKCS7Attribute(nameAttribute());
    ASSERT_EQ(sign(signer), 0);
    MiByte der;
    ASSERT_EQ(signer.composeSignerInfo(der), 0);
    Bytes attributes = hex(vectors::kNameTypeDigest);
    attributes[0] = 0xA0;
    EXPECT_EQ(hexOf(der), support::toHex(signerDer(1, attributes, vectors::kAliceNameTypeDigest,
                                                   der::tlv(0xA1, hex(vectors::kNameAttribute)))));
}

TEST(signer_info_test, ComposingNeedsEachPiece) {
    for (int piece = 0; piece < 4; ++piece) {
        VT_SignerInfo signer = aliceToBe();
        ASSERT_EQ(sign(signer), 0);
        Layout& fields = layoutOf(signer);
        void* kept = nullptr;
        const auto takeOut = [&](auto*& field) {
            kept = field;
            field = nullptr;
        };
        switch (piece) {
            case 0:
                takeOut(fields.issuerAndSerialNumber);
                break;
            case 1:
                takeOut(fields.digestEncryptionAlgorithm);
                break;
            case 2:
                takeOut(fields.digestAlgorithm);
                break;
            default:
                takeOut(fields.encryptedDigest);
                break;
        }
        SignerInfo value;
        EXPECT_EQ(signer.composeSignerInfo(value), -1003) << piece;
        const std::unique_ptr<AsnObject> owner(static_cast<AsnObject*>(kept));
    }
}

// A set is only null after memory ran out while it was made anew.
TEST(signer_info_test, NullSetsAreMissing) {
    VT_SignerInfo signer = aliceToBe();
    ASSERT_EQ(sign(signer), 0);
    signer.addAuthPKCS7Attribute(nameAttribute());
    signer.addUnAuthPKCS7Attribute(nameAttribute());
    Layout& fields = layoutOf(signer);
    const std::unique_ptr<AsnObject> unauthenticated(fields.unauthenticatedAttributes);
    fields.unauthenticatedAttributes = nullptr;
    SignerInfo value;
    PKCS7Attribute out;
    EXPECT_EQ(signer.composeSignerInfo(value), -1003);
    EXPECT_EQ(signer.addUnAuthPKCS7Attribute(nameAttribute()), -1003);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeByIndex(0, out), -1003);
    signer.addAuthPKCS7Attribute(attribute(kDigestAttribute, der::tlv(0x04, hex(vectors::kSha1OfContent))));
    const std::unique_ptr<AsnObject> authenticated(fields.authenticatedAttributes);
    fields.authenticatedAttributes = nullptr;
    EXPECT_EQ(signer.composeSignerInfo(value), -1003);
    EXPECT_EQ(signer.addAuthPKCS7Attribute(nameAttribute()), -1003);
    EXPECT_EQ(signer.getAuthPKCS7AttributeByIndex(0, out), -1003);
    EXPECT_EQ(sign(signer), -1003);
    EXPECT_EQ(verify(signer), -1003);
    signer.Reset();
    EXPECT_EQ(signer.addAuthPKCS7Attribute(nameAttribute()), 0);
    EXPECT_EQ(signer.addUnAuthPKCS7Attribute(nameAttribute()), 0);
}

TEST(signer_info_test, AttributesAreReadByIndex) {
    VT_SignerInfo signer;
    const PKCS7Attribute second = attribute(kDigestAttribute, der::tlv(0x04, {1, 2, 3}));
    EXPECT_EQ(signer.addAuthPKCS7Attribute(nameAttribute()), 0);
    EXPECT_EQ(signer.addAuthPKCS7Attribute(second), 0);
    EXPECT_EQ(signer.addUnAuthPKCS7Attribute(second), 0);
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 2);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 1);
    EXPECT_TRUE(layoutOf(signer).authenticatedPresent);
    EXPECT_TRUE(layoutOf(signer).unauthenticatedPresent);
    PKCS7Attribute out;
    EXPECT_EQ(signer.getAuthPKCS7AttributeByIndex(0, out), 0);
    EXPECT_EQ(hexOf(out), hexOf(vectors::kNameAttribute));
    EXPECT_EQ(signer.getAuthPKCS7AttributeByIndex(1, out), 0);
    EXPECT_EQ(hexOf(out), hexOf(second));
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeByIndex(0, out), 0);
    EXPECT_EQ(hexOf(out), hexOf(second));
    EXPECT_THROW(signer.getAuthPKCS7AttributeByIndex(2, out), MiOutOfRangeExp);
    EXPECT_THROW(signer.getAuthPKCS7AttributeByIndex(-1, out), MiOutOfRangeExp);
    EXPECT_THROW(signer.getUnAuthPKCS7AttributeByIndex(1, out), MiOutOfRangeExp);
}

// ---- Decomposing

TEST(signer_info_test, DecomposesWhatOpensslWrote) {
    VT_SignerInfo signer;
    auto value = decoded<SignerInfo>(signerOf(vectors::kAttributes));
    ASSERT_EQ(signer.decomposeSignerInfo(value), 0);
    IssuerAndSerialNumber issuer;
    ASSERT_EQ(signer.getIssuerAndSerialNumber(issuer), 0);
    EXPECT_EQ(hexOf(issuer), support::toHex(issuerAndSerial(vectors::kAlice)));
    EXPECT_GE(signer.getAuthPKCS7AttributeTotal(), 3);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
    MiByte der;
    ASSERT_EQ(signer.composeSignerInfo(der), 0);
    EXPECT_EQ(hexOf(der), support::toHex(signerOf(vectors::kAttributes)));
}

TEST(signer_info_test, OtherVersionsAreRefused) {
    for (const int version : {0, 2, 3, -1, 257}) {
        VT_SignerInfo signer;
        EXPECT_EQ(signer.decomposeSignerInfo(bytes(signerDer(version, {}, vectors::kAliceSha1))), -1020) << version;
    }
    VT_SignerInfo signer;
    EXPECT_EQ(signer.decomposeSignerInfo(SignerInfo()), -1020);
    EXPECT_EQ(signer.decomposeSignerInfo(bytes("30 00")), -1020);
}

TEST(signer_info_test, DecomposingNeedsEachElement) {
    const auto whole = decoded<SignerInfo>(signerOf(vectors::kPlain));
    for (const char* missing :
         {"issuerAndSerialNumber", "digestAlgorithm", "digestEncryptionAlgorithm", "encryptedDigest"}) {
        SignerInfo value = whole;
        value.Find(missing)->SetAsnPresent(false);
        VT_SignerInfo signer;
        EXPECT_EQ(signer.decomposeSignerInfo(value), -1001) << missing;
    }
}

TEST(signer_info_test, AttributesAsSequenceCountAsAbsent) {
    const Bytes name = hex(vectors::kNameAttribute);
    const VT_SignerInfo signer =
        decomposed(signerDer(1, der::tlv(0xA2, der::sequence({name})), vectors::kAliceSha1, der::tlv(0xA3, name)));
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 0);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
    VT_SignerInfo plain = signer;
    EXPECT_EQ(verify(plain), 0);
}

TEST(signer_info_test, DecomposingForgetsTheSignerBefore) {
    VT_SignerInfo signer = received(vectors::kAttributes);
    signer.addUnAuthPKCS7Attribute(nameAttribute());
    ASSERT_EQ(signer.decomposeSignerInfo(bytes(signerOf(vectors::kPlain))), 0);
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 0);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
    EXPECT_FALSE(layoutOf(signer).authenticatedPresent);
    EXPECT_FALSE(layoutOf(signer).unauthenticatedPresent);
    EXPECT_EQ(verify(signer), 0);
}

TEST(signer_info_test, UnauthenticatedAttributesAreReadAndNotSigned) {
    VT_SignerInfo signer =
        decomposed(signerDer(1, {}, vectors::kAliceSha1, der::tlv(0xA1, hex(vectors::kNameAttribute))));
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 1);
    EXPECT_EQ(verify(signer), 0);
}

// ---- Signing

TEST(signer_info_test, SignsTheContentAlone) {
    VT_SignerInfo signer = aliceToBe();
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1));
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 0);
    EXPECT_FALSE(layoutOf(signer).authenticatedPresent);
    EXPECT_EQ(verify(signer), 0);
}

TEST(signer_info_test, SignsWithMd5AndWithALongerKey) {
    VT_SignerInfo md5 = aliceToBe(kMd5Oid);
    ASSERT_EQ(sign(md5), 0);
    EXPECT_EQ(signatureOf(md5), hexOf(vectors::kAliceMd5));
    VT_SignerInfo big = aliceToBe();
    ASSERT_EQ(sign(big, vectors::kDaveKey), 0);
    EXPECT_EQ(signatureOf(big), hexOf(vectors::kDaveSha1));
}

TEST(signer_info_test, SignsNothing) {
    VT_SignerInfo signer = aliceToBe();
    signer.setInnerContentInfo(decoded<ContentInfo>(dataContent({})));
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1OfNothing));
    EXPECT_EQ(verify(signer), 0);
}

// Whatever element the content is, its octets alone are signed.
TEST(signer_info_test, TagAndLengthOfTheContentAreNotSigned) {
    VT_SignerInfo signer = aliceToBe();
    signer.setInnerContentInfo(
        decoded<ContentInfo>(der::sequence({kSignedOid, der::tagged(0, der::tlv(0x30, hex(vectors::kContent)))})));
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1));
}

TEST(signer_info_test, AttributesThatWereThereComeFirst) {
    VT_SignerInfo signer = aliceToBe();
    signer.addAuthPKCS7Attribute(nameAttribute());
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceNameTypeDigest));
    ASSERT_EQ(signer.getAuthPKCS7AttributeTotal(), 3);
    PKCS7Attribute out;
    signer.getAuthPKCS7AttributeByIndex(0, out);
    EXPECT_EQ(hexOf(out), hexOf(vectors::kNameAttribute));
    signer.getAuthPKCS7AttributeByIndex(1, out);
    EXPECT_EQ(hexOf(out), hexOf(attribute(kTypeAttribute, kDataOid)));
    signer.getAuthPKCS7AttributeByIndex(2, out);
    EXPECT_EQ(hexOf(out), hexOf(attribute(kDigestAttribute, der::tlv(0x04, hex(vectors::kSha1OfContent)))));
    EXPECT_EQ(verify(signer), 0);
}

TEST(signer_info_test, SigningTwiceAddsTheAttributesTwice) {
    VT_SignerInfo signer = aliceToBe();
    signer.addAuthPKCS7Attribute(nameAttribute());
    ASSERT_EQ(sign(signer), 0);
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 5);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceNameTypeDigestTwice));
    EXPECT_EQ(verify(signer), 0);
}

// Attributes that came in a message carry its tag.
TEST(signer_info_test, AttributesUnderTheirTagAreSignedAsASet) {
    Bytes attributes = hex(vectors::kNameTypeDigest);
    attributes[0] = 0xA0;
    VT_SignerInfo signer = decomposed(signerDer(1, attributes, vectors::kAliceNameTypeDigest));
    EXPECT_EQ(verify(signer), 0);
    ASSERT_EQ(sign(signer), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceNameTypeDigestTwice));
    EXPECT_EQ(verify(signer), 0);
}

TEST(signer_info_test, SigningNeedsAlgorithmsAndContent) {
    const auto without = [](auto* Layout::*field) {
        VT_SignerInfo signer = aliceToBe();
        const std::unique_ptr<AsnObject> taken(layoutOf(signer).*field);
        layoutOf(signer).*field = nullptr;
        return sign(signer);
    };
    EXPECT_EQ(without(&Layout::digestAlgorithm), -1003);
    EXPECT_EQ(without(&Layout::digestEncryptionAlgorithm), -1003);
    EXPECT_EQ(without(&Layout::innerContent), -1003);
    VT_SignerInfo signer = aliceToBe();
    signer.setInnerContentInfo(decoded<ContentInfo>(der::sequence({kDataOid})));
    EXPECT_EQ(sign(signer), -1001);
}

TEST(signer_info_test, AttributesNeedTheTypeOfTheContent) {
    ContentInfo typeless = content();
    typeless.Find("contentType")->SetAsnPresent(false);
    VT_SignerInfo signer = aliceToBe();
    signer.setInnerContentInfo(typeless);
    EXPECT_EQ(sign(signer), 0);
    signer.addAuthPKCS7Attribute(nameAttribute());
    EXPECT_EQ(sign(signer), -1001);
}

TEST(signer_info_test, CodesOfAlgorithmsKeysAndOperationsPassThrough) {
    VT_SignerInfo sha256 = aliceToBe(hex("06 09 60 86 48 01 65 03 04 02 01"));
    EXPECT_EQ(sign(sha256), -1006);
    VT_SignerInfo ecdsa = aliceToBe();
    ecdsa.setDigestEncryptionAlgorithmIdentifier(
        decoded<AlgorithmIdentifier>(algorithm(hex("06 07 2A 86 48 CE 3D 02 01"))));
    EXPECT_EQ(sign(ecdsa), -1006);
    VT_SignerInfo keyless = aliceToBe();
    Software software;
    EXPECT_EQ(keyless.SignDigest(software.op(), VT_P11_Key()), -1006);
    VT_P11_OP none;
    EXPECT_EQ(aliceToBe().SignDigest(none, privateKey(vectors::kAliceKey)), -2);
}

// ---- Verifying

TEST(signer_info_test, VerifiesWhatOpensslSigned) {
    for (const char* message : {vectors::kPlain, vectors::kAttributes, vectors::kAttributesSmime, vectors::kDetached,
                                vectors::kAttributesDetachedMd5}) {
        VT_SignerInfo signer = received(message);
        EXPECT_EQ(verify(signer), 0);
        EXPECT_EQ(verify(signer), 0) << "again";
        EXPECT_EQ(verify(signer, vectors::kBob), -1021);
    }
    VT_SignerInfo bob = received(vectors::kPlainMd5);
    EXPECT_EQ(verify(bob, vectors::kBob), 0);
    VT_SignerInfo dave = received(vectors::kBig);
    EXPECT_EQ(verify(dave, vectors::kDave), 0);
}

TEST(signer_info_test, OtherSerialNumberOfTheSameKeyIsRefused) {
    VT_SignerInfo signer = received(vectors::kPlain);
    EXPECT_EQ(verify(signer, vectors::kAliceTwin), -1021);
}

// Neither the signature nor the algorithms were looked at by then.
TEST(signer_info_test, OtherSerialNumberIsSeenBeforeAnythingElse) {
    VT_SignerInfo signer;
    signer.setIssuerAndSerialNumber(decoded<IssuerAndSerialNumber>(issuerAndSerial(vectors::kAlice)));
    EXPECT_EQ(verify(signer, vectors::kAliceTwin), -1021);
    EXPECT_EQ(verify(signer, vectors::kAlice), -1003);
}

TEST(signer_info_test, VerifyingNeedsEachPiece) {
    const auto without = [](auto* Layout::*field) {
        VT_SignerInfo signer = received(vectors::kPlain);
        const std::unique_ptr<AsnObject> taken(layoutOf(signer).*field);
        layoutOf(signer).*field = nullptr;
        return verify(signer);
    };
    EXPECT_EQ(without(&Layout::issuerAndSerialNumber), -1003);
    EXPECT_EQ(without(&Layout::digestAlgorithm), -1003);
    EXPECT_EQ(without(&Layout::digestEncryptionAlgorithm), -1003);
    EXPECT_EQ(without(&Layout::encryptedDigest), -1003);
    EXPECT_EQ(without(&Layout::innerContent), -1003);
    VT_SignerInfo signer = received(vectors::kPlain);
    signer.setInnerContentInfo(decoded<ContentInfo>(der::sequence({kDataOid})));
    EXPECT_EQ(verify(signer), -1001);
}

// Before an algorithm is looked at that there is not.
TEST(signer_info_test, MissingPiecesAreSeenBeforeForeignAlgorithms) {
    const auto foreign = decoded<AlgorithmIdentifier>(algorithm(hex("06 09 60 86 48 01 65 03 04 02 01")));
    VT_SignerInfo unsignedYet = aliceToBe();
    unsignedYet.setDigestAlgorithmIdentifier(foreign);
    EXPECT_EQ(verify(unsignedYet), -1003);
    unsignedYet = aliceToBe();
    unsignedYet.setDigestEncryptionAlgorithmIdentifier(foreign);
    EXPECT_EQ(verify(unsignedYet), -1003);
    VT_SignerInfo whole = received(vectors::kPlain);
    whole.setDigestEncryptionAlgorithmIdentifier(foreign);
    EXPECT_EQ(verify(whole), -1006);
}

TEST(signer_info_test, SignatureIsLookedAtBeforeTheContent) {
    VT_SignerInfo signer;
    ASSERT_EQ(signer.decomposeSignerInfo(bytes(signerOf(vectors::kPlain))), 0);
    EXPECT_EQ(verify(signer), -1003) << "no content";
    signer.setDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(algorithm(kMd5Oid)));
    EXPECT_EQ(verify(signer), -1018);
}

TEST(signer_info_test, CertificateWithoutItsElementsIsRefused) {
    VT_SignerInfo signer = received(vectors::kPlain);
    Software software;
    EXPECT_EQ(signer.VerifyDigest(software.op(), Certificate()), -1001);
}

TEST(signer_info_test, OtherContentIsADigestMismatch) {
    VT_SignerInfo signer = received(vectors::kPlain);
    signer.setInnerContentInfo(decoded<ContentInfo>(dataContent(hex("00"))));
    EXPECT_EQ(verify(signer), -1012);
    VT_SignerInfo other = received(vectors::kAttributesOfOther);
    EXPECT_EQ(verify(other), -1012);
}

TEST(signer_info_test, ChangedAttributesAreADigestMismatch) {
    VT_SignerInfo signer = received(vectors::kAttributes);
    signer.addAuthPKCS7Attribute(nameAttribute());
    EXPECT_EQ(verify(signer), -1012);
}

TEST(signer_info_test, DigestAlgorithmInsideTheSignatureMustBeTheSigners) {
    VT_SignerInfo signer = received(vectors::kPlain);
    signer.setDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(algorithm(kMd5Oid)));
    EXPECT_EQ(verify(signer), -1018);
}

// openssl leaves the parameters out in the message and writes NULL in the signature.
TEST(signer_info_test, AbsentParametersAreNull) {
    const std::vector<Bytes> elements = elementsOf(signerOf(vectors::kPlain));
    ASSERT_EQ(support::toHex(elements.at(2)), support::toHex(der::sequence({kSha1Oid})));
    VT_SignerInfo signer = received(vectors::kPlain);
    EXPECT_EQ(verify(signer), 0);
    VT_SignerInfo withNull = decomposed(signerDer(1, {}, vectors::kAliceSha1));
    EXPECT_EQ(verify(withNull), 0);
}

TEST(signer_info_test, AttributesNeedTheDigest) {
    VT_SignerInfo none = decomposed(signerDer(1, hex("A0 00"), vectors::kAliceSha1));
    EXPECT_TRUE(layoutOf(none).authenticatedPresent);
    EXPECT_EQ(verify(none), -1022);
    VT_SignerInfo nameAlone =
        decomposed(signerDer(1, der::tlv(0xA0, hex(vectors::kNameAttribute)), vectors::kAliceName));
    EXPECT_EQ(verify(nameAlone), -1022);
}

TEST(signer_info_test, DigestAttributeAloneSuffices) {
    const Bytes digest = hex(hexOf(attribute(kDigestAttribute, der::tlv(0x04, hex(vectors::kSha1OfContent)))));
    VT_SignerInfo signer = decomposed(signerDer(1, der::tlv(0xA0, digest), vectors::kAliceDigest));
    EXPECT_EQ(verify(signer), 0);
}

TEST(signer_info_test, AttributeOfAnotherContentTypeIsRefused) {
    VT_SignerInfo signer = received(vectors::kAttributes);
    ContentInfo other = content();
    other.SetContentType(AsnOid("1.2.840.113549.1.7.2"));
    signer.setInnerContentInfo(other);
    EXPECT_EQ(verify(signer), -1009);
    other.Find("contentType")->SetAsnPresent(false);
    signer.setInnerContentInfo(other);
    EXPECT_EQ(verify(signer), -1001);
}

TEST(signer_info_test, AttributesNeedTypeAndValue) {
    PKCS7Attribute typeless = nameAttribute();
    typeless.Find("type")->SetAsnPresent(false);
    PKCS7Attribute valueless = nameAttribute();
    valueless.Find("values")->SetAsnPresent(false);
    PKCS7Attribute empty = nameAttribute();
    empty.SetValues(AsnSetOf<AsnOctetString>());
    for (const PKCS7Attribute& broken : {typeless, valueless, empty}) {
        VT_SignerInfo signer = received(vectors::kAttributes);
        signer.addAuthPKCS7Attribute(broken);
        EXPECT_EQ(verify(signer), -1001);
    }
}

// The attributes are walked in order before the digest is looked at.
TEST(signer_info_test, TypeIsRefusedBeforeAMissingDigest) {
    VT_SignerInfo signer = aliceToBe();
    ASSERT_EQ(sign(signer), 0);
    signer.addAuthPKCS7Attribute(attribute(kTypeAttribute, kSignedOid));
    EXPECT_EQ(verify(signer), -1009);
}

TEST(signer_info_test, SignatureIsOpenedInSoftware) {
    VT_P11_OP none;  // cannot digest, and is not asked to open anything
    VT_SignerInfo good = received(vectors::kPlain);
    EXPECT_EQ(good.VerifyDigest(none, decoded<Certificate>(vectors::kAlice)), -2);
    VT_SignerInfo foreign = decomposed(signerDer(1, {}, vectors::kDaveSha1));
    EXPECT_EQ(foreign.VerifyDigest(none, decoded<Certificate>(vectors::kAlice)), -12);
    EXPECT_EQ(verify(foreign), -12);
}

TEST(signer_info_test, OpenedSignatureMustBeADigestInfo) {
    // What the key signs is no DER, an empty sequence, or lacks the digest.
    const auto verifySigned = [](const Bytes& data) {
        Software software;
        VT_P11_Alg rsa;
        rsa.setAlgType(8);
        MiByte sealed;
        EXPECT_EQ(software.op().SignRecover(rsa, privateKey(vectors::kAliceKey), bytes(data), sealed), 0);
        VT_SignerInfo signer = decomposed(signerDer(1, {}, hexOf(sealed).c_str()));
        return verify(signer);
    };
    EXPECT_THROW(verifySigned(hex("FF FF FF FF")), MiException);
    EXPECT_EQ(verifySigned(hex("30 00")), -1001);
    EXPECT_THROW(verifySigned(der::sequence({algorithm(kSha1Oid)})), MiException);
    EXPECT_EQ(verifySigned(der::sequence({algorithm(kSha1Oid), der::tlv(0x04, {})})), -1012);
    EXPECT_EQ(verifySigned(der::sequence({algorithm(kSha1Oid), der::tlv(0x04, hex(vectors::kSha1OfContent))})), 0);
}

// ---- The encrypted digest under a session key

TEST(signer_info_test, DigestIsEncryptedAndDecryptedInPlace) {
    VT_P11_Alg alg;
    alg.setAlgType(5);
    alg.setIV(bytes("21 22 23 24 25 26 27 28"));
    AlgorithmIdentifier identifier;
    alg.getAlgorithmIdentifier(identifier);
    VT_P11_Key key;
    key.setSessionKey(bytes("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18"), 24, identifier);
    Software software;
    VT_SignerInfo signer = aliceToBe();
    ASSERT_EQ(sign(signer), 0);
    ASSERT_EQ(signer.encryptDigest(software.op(), alg, key), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1Sealed));
    ASSERT_EQ(signer.decryptDigest(software.op(), alg, key), 0);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1));
    EXPECT_EQ(signer.decryptDigest(software.op(), alg, VT_P11_Key()), -1006);
    EXPECT_EQ(signatureOf(signer), hexOf(vectors::kAliceSha1)) << "kept on failure";
}

// ---- Copies and Reset

TEST(signer_info_test, CopiesAreDeep) {
    VT_SignerInfo signer = received(vectors::kAttributes);
    VT_SignerInfo copy = signer;
    VT_SignerInfo assigned;
    assigned = signer;
    signer.addAuthPKCS7Attribute(nameAttribute());
    EXPECT_EQ(verify(signer), -1012);
    EXPECT_EQ(verify(copy), 0);
    EXPECT_EQ(verify(assigned), 0);
    EXPECT_NE(layoutOf(copy).innerContent, layoutOf(signer).innerContent);
    EXPECT_NE(layoutOf(copy).signer, layoutOf(signer).signer);
    const VT_SignerInfo& same = assigned;
    assigned = same;
    EXPECT_EQ(verify(assigned), 0);
}

TEST(signer_info_test, ResetForgetsEverything) {
    VT_SignerInfo signer = received(vectors::kAttributes);
    signer.addUnAuthPKCS7Attribute(nameAttribute());
    signer.Reset();
    const Layout& fields = layoutOf(signer);
    EXPECT_FALSE(fields.authenticatedPresent);
    EXPECT_FALSE(fields.unauthenticatedPresent);
    EXPECT_EQ(fields.innerContent, nullptr);
    EXPECT_EQ(fields.signer, nullptr);
    EXPECT_EQ(fields.issuerAndSerialNumber, nullptr);
    EXPECT_EQ(fields.digestAlgorithm, nullptr);
    EXPECT_EQ(fields.digestEncryptionAlgorithm, nullptr);
    EXPECT_EQ(fields.encryptedDigest, nullptr);
    ASSERT_NE(fields.authenticatedAttributes, nullptr);
    ASSERT_NE(fields.unauthenticatedAttributes, nullptr);
    EXPECT_EQ(signer.getAuthPKCS7AttributeTotal(), 0);
    EXPECT_EQ(signer.getUnAuthPKCS7AttributeTotal(), 0);
}

// ---- Hostile input and exhausted memory

bool isDocumented(int result) {
    constexpr int kCodes[] = {0, -1001, -1003, -1006, -1009, -1010, -1012, -1015, -1018, -1020, -1021, -1022};
    for (const int code : kCodes)
        if (result == code)
            return true;
    return result > -1000 && result < 0;  // the engine's
}

void takeApartAndVerify(const Bytes& der) {
    int result = 0;
    try {
        VT_SignerInfo signer;
        result = signer.decomposeSignerInfo(bytes(der));
        if (result == 0) {
            signer.setInnerContentInfo(content());
            result = verify(signer);
        }
    } catch (const MiException&) {
        return;
    }
    EXPECT_TRUE(isDocumented(result)) << result << " for " << support::toHex(der);
}

TEST(signer_info_test, BrokenSignersGiveCodesOrExceptions) {
    const Bytes good = signerOf(vectors::kAttributes);
    for (const support::Broken& broken : support::truncations(good))
        takeApartAndVerify(broken.bytes);
    for (const auto& broken :
         {support::withTrailingData(good, {5, 0}), support::withShortLengths(good), support::withLongLengths(good),
          support::withTags(good, 0x04), support::withTags(good, 0xA2), support::withIndefiniteLengths(good)})
        for (const support::Broken& one : broken)
            takeApartAndVerify(one.bytes);
}

TEST(signer_info_test, ExhaustedMemoryLeaksNothing) {
    const VT_P11_Key key = privateKey(vectors::kAliceKey);
    const auto certificate = decoded<Certificate>(vectors::kAlice);
    Software software;
    VT_SignerInfo signer = aliceToBe();
    bool asExpected = true;
    const long failures = support::forEachExhaustion([&] {
        try {
            VT_SignerInfo copy = signer;
            copy.addAuthPKCS7Attribute(nameAttribute());
            int result = copy.SignDigest(software.op(), key);
            if (result == 0)
                result = copy.VerifyDigest(software.op(), certificate);
            asExpected = asExpected && (result == 0 || result == -1 || result == -1031);
        } catch (const std::bad_alloc&) {
        }
    });
    EXPECT_GT(failures, 10);
    EXPECT_TRUE(asExpected);
}

}  // namespace
