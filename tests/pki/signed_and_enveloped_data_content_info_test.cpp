#include "pki/signed_and_enveloped_data_content_info.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;
using Sealed = VT_SignedAndEnvelopedDataContentInfo;

constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kWrongContentType = -1009;
constexpr int kWrongVersion = -1020;

Sealed read(const char* text) {
    Sealed sealed;
    EXPECT_EQ(sealed.decomposeSignedAndEnvelopedDataContentInfo(message(text)), 0);
    return sealed;
}

VT_P11_Key sessionKey(VT_P11_OP& op, const Sealed& sealed) {
    RecipientInfo info;
    EXPECT_EQ(sealed.getRecipientInfoByIndex(0, info), 0);
    VT_RecipientInfo recipient;
    EXPECT_EQ(recipient.decomposeRecipientInfo(info), 0);
    MiByte bytes;
    EXPECT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), 0);
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(sealed.getEncryptedContentInfoAlgorithmIdentifier(algorithm), 0);
    return secretKey(bytesOf(bytes), algorithm);
}

VT_P11_Alg algorithmIn(const Sealed& sealed) {
    AlgorithmIdentifier identifier;
    EXPECT_EQ(sealed.getEncryptedContentInfoAlgorithmIdentifier(identifier), 0);
    VT_P11_Alg alg;
    EXPECT_EQ(alg.setAlgorithmIdentifier(identifier), 0);
    return alg;
}

Certificate certificate(const char* text) {
    return decoded<Certificate>(hex(text));
}

// ---- Elements by hand

Bytes identity(std::int64_t serial) {
    return der::sequence({der::name(3, 0x13, "S"), der::integer(serial)});
}

Bytes recipientInfo(std::int64_t serial) {
    return der::sequence({der::integer(0), identity(serial), kRsaAlgorithm, der::tlv(0x04, {1, 2, 3})});
}

Bytes signerInfo(std::int64_t serial) {
    return der::sequence({der::integer(1), identity(serial), kSha1Algorithm, kRsaAlgorithm, der::tlv(0x04, {4, 5})});
}

const Bytes kInfo = der::sequence({pkcs7(1), kDes3Algorithm});

struct Parts {
    Bytes version = der::integer(1);
    Bytes recipients = der::set({recipientInfo(1)});
    Bytes digestAlgorithms = der::set({kSha1Algorithm});
    Bytes info = kInfo;
    Bytes certificates;
    Bytes lists;
    Bytes signers = der::set({signerInfo(2)});
};

Bytes sealedData(const Parts& parts, std::uint64_t type = 4) {
    return contentOf(type, der::sequence({parts.version, parts.recipients, parts.digestAlgorithms, parts.info,
                                          parts.certificates, parts.lists, parts.signers}));
}

int decomposed(const Bytes& der) {
    Sealed sealed;
    return sealed.decomposeSignedAndEnvelopedDataContentInfo(decoded<ContentInfo>(der));
}

// The revocation list in a message of the vectors.
Bytes revocationList() {
    MiByte der;
    EXPECT_EQ(read(vectors::kSealedSpoiled).getCertificateListByIndex(0, der), 0);
    return bytesOf(der);
}

class signed_and_enveloped_data_content_info_test : public testing::Test {
  protected:
    Software op;
};

TEST_F(signed_and_enveloped_data_content_info_test, OpensAndVerifiesAMessage) {
    for (const char* made : {vectors::kSealed, vectors::kSealedMd5, vectors::kSealedAttributes}) {
        Sealed sealed = read(made);
        const VT_P11_Key key = sessionKey(op, sealed);
        ASSERT_EQ(sealed.decomposeAttachedEncryptedContentInfo(op, key), 0);
        ContentInfo content;
        ASSERT_EQ(sealed.getInnerContentInfo(content), 0);
        EXPECT_EQ(hexOf(content), hexOf(textContent()));

        ASSERT_EQ(sealed.getEncryptedSignerInfoTotal(), 1);
        SignerInfo info;
        ASSERT_EQ(sealed.getEncryptedSignerInfoByIndex(0, info), 0);
        VT_SignerInfo signer;
        ASSERT_EQ(signer.decomposeSignerInfo(info), 0);
        signer.setInnerContentInfo(content);
        EXPECT_NE(signer.VerifyDigest(op, certificate(vectors::kSignerCertificate)), 0);
        ASSERT_EQ(signer.decryptDigest(op, algorithmIn(sealed), key), 0);
        EXPECT_EQ(signer.VerifyDigest(op, certificate(vectors::kSignerCertificate)), 0);
    }
}

TEST_F(signed_and_enveloped_data_content_info_test, WhatIsMadeOpensAndVerifies) {
    VT_SignerInfo signer;
    signer.setDigestAlgorithmIdentifier(identifierOf(algorithmOf(token::kSha1)));
    signer.setDigestEncryptionAlgorithmIdentifier(identifierOf(algorithmOf(token::kRsa)));
    signer.setIssuerAndSerialNumber(issuerAndSerial(vectors::kSignerCertificate));
    signer.setInnerContentInfo(textContent());
    ASSERT_EQ(signer.SignDigest(op, privateKey(vectors::kSignerKey)), 0);
    ASSERT_EQ(signer.encryptDigest(op, des3(), des3Key()), 0);
    SignerInfo info;
    ASSERT_EQ(signer.composeSignerInfo(info), 0);

    Sealed sealed;
    sealed.setInnerContentInfo(textContent());
    sealed.addEncryptedSignerInfo(info);
    sealed.addDigestAlgorithmIdentifier(identifierOf(algorithmOf(token::kSha1)));
    sealed.addCertificate(certificate(vectors::kSignerCertificate));
    sealed.addCertificateList(toMiByte(revocationList()));
    ASSERT_EQ(sealed.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), 0);
    ContentInfo made;
    ASSERT_EQ(sealed.composeSignedAndEnvelopedDataContentInfo(made), 0);

    Sealed read;
    ASSERT_EQ(read.decomposeSignedAndEnvelopedDataContentInfo(made), 0);
    ASSERT_EQ(read.decomposeAttachedEncryptedContentInfo(op, des3Key()), 0);
    ContentInfo content;
    ASSERT_EQ(read.getInnerContentInfo(content), 0);
    VT_SignerInfo again;
    ASSERT_EQ(read.getEncryptedSignerInfoByIndex(0, info), 0);
    ASSERT_EQ(again.decomposeSignerInfo(info), 0);
    ASSERT_EQ(again.decryptDigest(op, des3(), des3Key()), 0);
    again.setInnerContentInfo(content);
    EXPECT_EQ(again.VerifyDigest(op, certificate(vectors::kSignerCertificate)), 0);
    EXPECT_EQ(read.getCertificateTotal(), 1);
    EXPECT_EQ(read.getCertificateListTotal(), 1);
}

TEST_F(signed_and_enveloped_data_content_info_test, ComposesTheElementsInTheirOrder) {
    Sealed sealed;
    sealed.setInnerContentInfo(dataContent({'a'}));
    sealed.addRecipientInfo(toMiByte(recipientInfo(1)));
    sealed.addEncryptedSignerInfo(toMiByte(signerInfo(2)));
    sealed.addDigestAlgorithmIdentifier(toMiByte(kSha1Algorithm));
    MiByte ciphertext;
    ASSERT_EQ(sealed.composeDetachedEncryptedContentInfo(op, des3(), des3Key(), ciphertext), 0);
    ContentInfo composed = textContent();
    ASSERT_EQ(sealed.composeSignedAndEnvelopedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), toHex(sealedData(Parts())));

    sealed.addCertificate(toMiByte(hex(vectors::kSignerCertificate)));
    sealed.addCertificateList(toMiByte(revocationList()));
    ASSERT_EQ(sealed.composeSignedAndEnvelopedDataContentInfo(composed), 0);
    Parts all;
    all.certificates = der::tlv(0xA0, hex(vectors::kSignerCertificate));
    all.lists = der::tlv(0xA1, revocationList());
    EXPECT_EQ(hexOf(composed), toHex(sealedData(all)));
}

TEST_F(signed_and_enveloped_data_content_info_test, ADetachedMessageOpensWithItsCiphertext) {
    Sealed sealed = read(vectors::kSealedDetached);
    const VT_P11_Key key = sessionKey(op, sealed);
    EXPECT_EQ(sealed.decomposeAttachedEncryptedContentInfo(op, key), kElementAbsent);
    ASSERT_EQ(sealed.decomposeDetachedEncryptedContentInfo(op, key, toMiByte(hex(vectors::kSealedCiphertext))), 0);
    ContentInfo content;
    ASSERT_EQ(sealed.getInnerContentInfo(content), 0);
    EXPECT_EQ(hexOf(content), hexOf(textContent()));
}

TEST_F(signed_and_enveloped_data_content_info_test, CollectionsKeepTheirOrder) {
    Sealed sealed;
    for (const int serial : {300, 5}) {
        EXPECT_EQ(sealed.addRecipientInfo(decoded<RecipientInfo>(recipientInfo(serial))), 0);
        EXPECT_EQ(sealed.addEncryptedSignerInfo(decoded<SignerInfo>(signerInfo(serial))), 0);
    }
    EXPECT_EQ(sealed.addDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(kSha1Algorithm)), 0);
    EXPECT_EQ(sealed.addDigestAlgorithmIdentifier(toMiByte(kRsaAlgorithm)), 0);
    EXPECT_EQ(sealed.getRecipientInfoTotal(), 2);
    EXPECT_EQ(sealed.getEncryptedSignerInfoTotal(), 2);
    EXPECT_EQ(sealed.getDigestAlgorithmIdentifierTotal(), 2);

    MiByte der;
    EXPECT_EQ(sealed.getRecipientInfoByIndex(0, der), 0);
    EXPECT_EQ(hexOf(der), toHex(recipientInfo(300)));
    EXPECT_EQ(sealed.getEncryptedSignerInfoByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), toHex(signerInfo(5)));
    EXPECT_EQ(sealed.getDigestAlgorithmIdentifierByIndex(0, der), 0);
    EXPECT_EQ(hexOf(der), toHex(kSha1Algorithm));
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(sealed.getDigestAlgorithmIdentifierByIndex(1, algorithm), 0);
    EXPECT_EQ(hexOf(algorithm), toHex(kRsaAlgorithm));

    EXPECT_THROW(sealed.getRecipientInfoByIndex(2, der), MiOutOfRangeExp);
    EXPECT_THROW(sealed.getEncryptedSignerInfoByIndex(-1, der), MiOutOfRangeExp);
    EXPECT_THROW(sealed.getDigestAlgorithmIdentifierByIndex(2, der), MiOutOfRangeExp);
    EXPECT_THROW(sealed.addEncryptedSignerInfo(toMiByte({0x30})), MiException);
}

TEST_F(signed_and_enveloped_data_content_info_test, CertificatesAndChoicesAreOneSet) {
    Sealed sealed;
    Certificate value;
    ExtendedCertificateOrCertificate choice;
    MiByte der;
    EXPECT_EQ(sealed.getCertificateTotal(), 0);
    EXPECT_EQ(sealed.getCertificateByIndex(0, value), kMaterialMissing);
    EXPECT_EQ(sealed.getCertificateByIndex(0, der), kMaterialMissing);
    EXPECT_EQ(sealed.getExtendedCertificateOrCertificateByIndex(0, choice), kMaterialMissing);
    EXPECT_EQ(sealed.getExtendedCertificateOrCertificateByIndex(0, der), kMaterialMissing);

    EXPECT_EQ(sealed.addCertificate(certificate(vectors::kSignerCertificate)), 0);
    EXPECT_EQ(sealed.addExtendedCertificateOrCertificate(toMiByte(hex(vectors::kRecipientCertificate))), 0);
    EXPECT_EQ(sealed.getCertificateTotal(), 2);
    EXPECT_EQ(sealed.getExtendedCertificateOrCertificateTotal(), 2);
    EXPECT_EQ(sealed.getCertificateByIndex(1, value), 0);
    EXPECT_EQ(hexOf(value), hexOf(vectors::kRecipientCertificate));
    EXPECT_EQ(sealed.getExtendedCertificateOrCertificateByIndex(0, choice), 0);
    EXPECT_EQ(hexOf(choice), hexOf(vectors::kSignerCertificate));
    EXPECT_EQ(sealed.addExtendedCertificateOrCertificate(choice), 0);
    EXPECT_EQ(sealed.getCertificateByIndex(2, der), 0);
    EXPECT_EQ(hexOf(der), hexOf(vectors::kSignerCertificate));
    EXPECT_EQ(sealed.getExtendedCertificateOrCertificateByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), hexOf(vectors::kRecipientCertificate));
    EXPECT_THROW(sealed.getCertificateByIndex(3, der), MiOutOfRangeExp);

    // A choice without a certificate in it.
    EXPECT_EQ(sealed.addExtendedCertificateOrCertificate(ExtendedCertificateOrCertificate()), 0);
    EXPECT_EQ(sealed.getCertificateByIndex(3, value), kElementAbsent);
}

TEST_F(signed_and_enveloped_data_content_info_test, RevocationListsArePresentOnceAdded) {
    Sealed sealed;
    CertificateList list;
    MiByte der;
    EXPECT_EQ(sealed.getCertificateListTotal(), 0);
    EXPECT_EQ(sealed.getCertificateListByIndex(0, list), kMaterialMissing);
    EXPECT_EQ(sealed.getCertificateListByIndex(0, der), kMaterialMissing);
    EXPECT_EQ(sealed.addCertificateList(decoded<CertificateList>(revocationList())), 0);
    EXPECT_EQ(sealed.getCertificateListTotal(), 1);
    EXPECT_EQ(sealed.getCertificateListByIndex(0, list), 0);
    EXPECT_EQ(hexOf(list), toHex(revocationList()));
    EXPECT_THROW(sealed.getCertificateListByIndex(1, der), MiOutOfRangeExp);
}

TEST_F(signed_and_enveloped_data_content_info_test, ComposingNeedsAnEncryptedContent) {
    ContentInfo content;
    Sealed sealed;
    EXPECT_EQ(sealed.composeSignedAndEnvelopedDataContentInfo(content), kMaterialMissing);
    EXPECT_EQ(sealed.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), kMaterialMissing);
    EXPECT_EQ(sealed.decomposeAttachedEncryptedContentInfo(op, des3Key()), kMaterialMissing);
    EXPECT_EQ(sealed.getInnerContentInfo(content), kMaterialMissing);
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(sealed.getEncryptedContentInfoAlgorithmIdentifier(algorithm), kMaterialMissing);
}

TEST_F(signed_and_enveloped_data_content_info_test, DecomposingLooksAtTypeAndVersion) {
    EXPECT_EQ(decomposed(sealedData(Parts())), 0);
    Parts parts;
    parts.version = der::integer(0);
    EXPECT_EQ(decomposed(sealedData(parts)), kWrongVersion);
    parts.version = der::integer(2);
    EXPECT_EQ(decomposed(sealedData(parts)), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(4, der::sequence({}))), kWrongVersion);
    EXPECT_EQ(decomposed(sealedData(Parts(), 3)), kWrongContentType);
    EXPECT_EQ(decomposed(der::sequence({pkcs7(4)})), kElementAbsent);
    EXPECT_EQ(decomposed(der::sequence({})), kElementAbsent);
    EXPECT_THROW(decomposed(contentOf(4, der::sequence({der::integer(1)}))), MiException);
}

TEST_F(signed_and_enveloped_data_content_info_test, SequencesInPlaceOfSetsCountAsAbsent) {
    Parts parts;
    parts.recipients = der::sequence({recipientInfo(1)});
    EXPECT_EQ(decomposed(sealedData(parts)), kElementAbsent);
    parts = Parts();
    parts.digestAlgorithms = der::sequence({kSha1Algorithm});
    EXPECT_EQ(decomposed(sealedData(parts)), kElementAbsent);
    parts = Parts();
    parts.signers = der::sequence({signerInfo(2)});
    EXPECT_EQ(decomposed(sealedData(parts)), kElementAbsent);

    parts = Parts();
    parts.certificates = der::tlv(0xA2, hex(vectors::kSignerCertificate));
    parts.lists = der::tlv(0xA3, revocationList());
    Sealed sealed;
    ASSERT_EQ(sealed.decomposeSignedAndEnvelopedDataContentInfo(decoded<ContentInfo>(sealedData(parts))), 0);
    MiByte der;
    EXPECT_EQ(sealed.getCertificateByIndex(0, der), kMaterialMissing);
    EXPECT_EQ(sealed.getCertificateListByIndex(0, der), kMaterialMissing);
}

TEST_F(signed_and_enveloped_data_content_info_test, DecomposingForgetsTheLastMessagesCertificates) {
    Sealed sealed = read(vectors::kSealedSpoiled);
    EXPECT_EQ(sealed.getCertificateTotal(), 1);
    EXPECT_EQ(sealed.getCertificateListTotal(), 1);
    ASSERT_EQ(sealed.decomposeSignedAndEnvelopedDataContentInfo(message(vectors::kSealedNoCertificate)), 0);
    EXPECT_EQ(sealed.getCertificateTotal(), 0);
    EXPECT_EQ(sealed.getCertificateListTotal(), 0);
    MiByte der;
    EXPECT_EQ(sealed.getCertificateByIndex(0, der), kMaterialMissing);
    EXPECT_EQ(sealed.getCertificateListByIndex(0, der), kMaterialMissing);
}

TEST_F(signed_and_enveloped_data_content_info_test, CopiesAreDeep) {
    Sealed first = read(vectors::kSealedSpoiled);
    const Sealed second(first);
    Sealed third;
    third = first;
    first.Reset();
    EXPECT_EQ(first.getRecipientInfoTotal() + first.getEncryptedSignerInfoTotal() + first.getCertificateTotal(), 0);
    EXPECT_EQ(first.addCertificate(certificate(vectors::kSignerCertificate)), 0);
    for (const Sealed* copy : {&second, static_cast<const Sealed*>(&third)}) {
        MiByte der;
        EXPECT_EQ(copy->getCertificateByIndex(0, der), 0);
        EXPECT_EQ(copy->getCertificateListByIndex(0, der), 0);
        EXPECT_EQ(copy->getEncryptedSignerInfoByIndex(0, der), 0);
        EXPECT_EQ(copy->getDigestAlgorithmIdentifierByIndex(0, der), 0);
    }
    const VT_P11_Key key = sessionKey(op, third);
    EXPECT_EQ(third.decomposeAttachedEncryptedContentInfo(op, key), 0);
}

TEST_F(signed_and_enveloped_data_content_info_test, FieldsStandInTheirOrder) {
    // Two flags, then eight pointers.
    const auto pointers = [](const Sealed& sealed) { return setPointers<8>(sealed, sizeof(void*)); };
    const auto flags = [](const Sealed& sealed) {
        std::array<unsigned char, 2> bytes;
        std::memcpy(bytes.data(), static_cast<const void*>(&sealed), bytes.size());
        return 10 * bytes[0] + bytes[1];
    };
    EXPECT_EQ(sizeof(Sealed), 9 * sizeof(void*));
    Sealed sealed;
    EXPECT_EQ(pointers(sealed), "--xxxxx-");
    EXPECT_EQ(flags(sealed), 0);
    sealed.setInnerContentInfo(textContent());
    EXPECT_EQ(pointers(sealed), "x-xxxxx-");
    sealed.composeAttachedEncryptedContentInfo(op, des3(), des3Key());
    EXPECT_EQ(pointers(sealed), "xxxxxxx-");
    ContentInfo composed;
    sealed.composeSignedAndEnvelopedDataContentInfo(composed);
    EXPECT_EQ(pointers(sealed), "xxxxxxxx");
    sealed.addCertificate(certificate(vectors::kSignerCertificate));
    EXPECT_EQ(flags(sealed), 10);
    sealed.addCertificateList(toMiByte(revocationList()));
    EXPECT_EQ(flags(sealed), 11);
    sealed.Reset();
    EXPECT_EQ(flags(sealed), 0);
    EXPECT_EQ(pointers(sealed), "--xxxxx-");
}

}  // namespace
