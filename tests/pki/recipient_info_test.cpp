#include "pki/recipient_info.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;

constexpr int kRsaFailed = -12;
constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kUnsupported = -1006;
constexpr int kWrongVersion = -1020;

VT_RecipientInfo addressed() {
    VT_RecipientInfo recipient;
    EXPECT_EQ(recipient.setIssuerAndSerialNumber(issuerAndSerial(vectors::kRecipientCertificate)), 0);
    EXPECT_EQ(recipient.setKeyEncryptionAlgorithmIdentifier(identifierOf(algorithmOf(token::kRsa))), 0);
    return recipient;
}

// The first recipient in a message of openssl's, as DER.
Bytes recipientIn(const char* text) {
    VT_EnvelopedDataContentInfo enveloped;
    EXPECT_EQ(enveloped.decomposeEnvelopedDataContentInfo(message(text)), 0);
    MiByte der;
    EXPECT_EQ(enveloped.getRecipientInfoByIndex(0, der), 0);
    return bytesOf(der);
}

Bytes recipientInfo(std::int64_t version, const Bytes& encryptedKey) {
    const Bytes name = der::name(3, 0x13, "Recipient");
    return der::sequence(
        {der::integer(version), der::sequence({name, der::integer(17)}), kRsaAlgorithm, der::tlv(0x04, encryptedKey)});
}

class recipient_info_test : public testing::Test {
  protected:
    Software op;
};

TEST_F(recipient_info_test, OpensTheKeyThatOpensslEncrypted) {
    VT_RecipientInfo recipient;
    ASSERT_EQ(recipient.decomposeRecipientInfo(toMiByte(recipientIn(vectors::kEnvelopedDes3))), 0);
    MiByte sessionKey;
    EXPECT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), sessionKey), 0);
    EXPECT_EQ(sessionKey.GetLength(), 24);

    IssuerAndSerialNumber identity;
    EXPECT_EQ(recipient.getIssuerAndSerialNumber(identity), 0);
    EXPECT_EQ(hexOf(identity), hexOf(issuerAndSerial(vectors::kRecipientCertificate)));
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(recipient.getKeyEncryptionAlgorithmIdentifier(algorithm), 0);
    EXPECT_EQ(hexOf(algorithm), toHex(kRsaAlgorithm));
}

TEST_F(recipient_info_test, EncryptsForKeysOfAnySize) {
    for (const KeyItems* items : {&vectors::kRecipientKey, &vectors::kLargeKey}) {
        VT_RecipientInfo recipient = addressed();
        ASSERT_EQ(recipient.encryptKey(op, publicKey(*items), toMiByte(kDes3Key)), 0);
        MiByte opened;
        ASSERT_EQ(recipient.decryptKey(op, privateKey(*items), opened), 0);
        EXPECT_EQ(bytesOf(opened), kDes3Key);
        RecipientInfo value;
        ASSERT_EQ(recipient.composeRecipientInfo(value), 0);
        EXPECT_EQ(value.GetEncryptedKey()->GetData().GetLength(), hex((*items)[0]).size());
    }
}

TEST_F(recipient_info_test, ComposesTheElementsInTheirOrder) {
    VT_RecipientInfo recipient = addressed();
    ASSERT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte(kDes3Key)), 0);
    RecipientInfo value;
    ASSERT_EQ(recipient.composeRecipientInfo(value), 0);
    const Bytes encryptedKey = bytesOf(value.GetEncryptedKey()->GetData());
    const Bytes identity = encode(issuerAndSerial(vectors::kRecipientCertificate));
    EXPECT_EQ(hexOf(value),
              toHex(der::sequence({der::integer(0), identity, kRsaAlgorithm, der::tlv(0x04, encryptedKey)})));
    MiByte der;
    ASSERT_EQ(recipient.composeRecipientInfo(der), 0);
    EXPECT_EQ(hexOf(der), hexOf(value));
}

TEST_F(recipient_info_test, WhatIsDecomposedComposesAgain) {
    const Bytes der = recipientIn(vectors::kEnvelopedDes3);
    VT_RecipientInfo recipient;
    ASSERT_EQ(recipient.decomposeRecipientInfo(decoded<RecipientInfo>(der)), 0);
    MiByte again;
    ASSERT_EQ(recipient.composeRecipientInfo(again), 0);
    EXPECT_EQ(hexOf(again), toHex(der));
}

TEST_F(recipient_info_test, EncryptKeyReplacesTheKey) {
    VT_RecipientInfo recipient = addressed();
    ASSERT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({1})), 0);
    ASSERT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({2, 3})), 0);
    MiByte opened;
    ASSERT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), opened), 0);
    EXPECT_EQ(bytesOf(opened), Bytes({2, 3}));
}

TEST_F(recipient_info_test, NothingIsEncryptedToNothing) {
    VT_RecipientInfo recipient = addressed();
    ASSERT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), MiByte()), 0);
    RecipientInfo value;
    ASSERT_EQ(recipient.composeRecipientInfo(value), 0);
    EXPECT_TRUE(value.GetEncryptedKey()->GetData().Empty());
}

TEST_F(recipient_info_test, WhatIsNotSetIsMissing) {
    VT_RecipientInfo recipient;
    MiByte bytes;
    IssuerAndSerialNumber identity;
    AlgorithmIdentifier algorithm;
    RecipientInfo value;
    EXPECT_EQ(recipient.getIssuerAndSerialNumber(identity), kMaterialMissing);
    EXPECT_EQ(recipient.getKeyEncryptionAlgorithmIdentifier(algorithm), kMaterialMissing);
    EXPECT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({1})), kMaterialMissing);
    EXPECT_EQ(recipient.composeRecipientInfo(value), kMaterialMissing);
    EXPECT_EQ(recipient.composeRecipientInfo(bytes), kMaterialMissing);
    recipient.setKeyEncryptionAlgorithmIdentifier(identifierOf(algorithmOf(token::kRsa)));
    EXPECT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), kMaterialMissing);
    EXPECT_EQ(recipient.composeRecipientInfo(value), kMaterialMissing);
    recipient.setIssuerAndSerialNumber(issuerAndSerial(vectors::kRecipientCertificate));
    EXPECT_EQ(recipient.composeRecipientInfo(value), kMaterialMissing);
    ASSERT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({1})), 0);
    EXPECT_EQ(recipient.composeRecipientInfo(value), 0);
}

TEST_F(recipient_info_test, CodesOfTheTokenLayerPass) {
    VT_RecipientInfo recipient = addressed();
    MiByte bytes;
    EXPECT_EQ(recipient.encryptKey(op, VT_P11_Key(), toMiByte({1})), kUnsupported);
    ASSERT_EQ(recipient.decomposeRecipientInfo(toMiByte(recipientInfo(0, Bytes(128, 1)))), 0);
    EXPECT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), kRsaFailed);
    const Bytes md4 = der::sequence({der::oid({1, 2, 840, 113549, 2, 4}), kNull});
    recipient.setKeyEncryptionAlgorithmIdentifier(decoded<AlgorithmIdentifier>(md4));
    EXPECT_EQ(recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({1})), kUnsupported);
    EXPECT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), kUnsupported);
}

TEST_F(recipient_info_test, DecomposingLooksAtTheVersion) {
    VT_RecipientInfo recipient;
    EXPECT_EQ(recipient.decomposeRecipientInfo(toMiByte(recipientInfo(0, {1}))), 0);
    EXPECT_EQ(recipient.decomposeRecipientInfo(toMiByte(recipientInfo(1, {1}))), kWrongVersion);
    EXPECT_EQ(recipient.decomposeRecipientInfo(RecipientInfo()), kWrongVersion);
    EXPECT_THROW(recipient.decomposeRecipientInfo(toMiByte({0x30, 0x01})), MiException);
}

TEST_F(recipient_info_test, DecomposingNeedsEveryElement) {
    for (const char* name : {"issuerAndSerialNumber", "keyEncryptionAlgorithm", "encryptedKey"}) {
        auto value = decoded<RecipientInfo>(recipientInfo(0, {1}));
        value.Find(name)->SetAsnPresent(false);
        VT_RecipientInfo recipient;
        EXPECT_EQ(recipient.decomposeRecipientInfo(value), kElementAbsent) << name;
    }
}

TEST_F(recipient_info_test, CopiesAreDeep) {
    VT_RecipientInfo first = addressed();
    ASSERT_EQ(first.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({9})), 0);
    VT_RecipientInfo second(first);
    VT_RecipientInfo third;
    third = second;
    first.Reset();
    MiByte bytes;
    EXPECT_EQ(first.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), kMaterialMissing);
    EXPECT_EQ(second.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), 0);
    EXPECT_EQ(third.decryptKey(op, privateKey(vectors::kRecipientKey), bytes), 0);
    EXPECT_EQ(bytesOf(bytes), Bytes({9}));
}

TEST_F(recipient_info_test, FieldsStandInTheirOrder) {
    EXPECT_EQ(sizeof(VT_RecipientInfo), 4 * sizeof(void*));
    VT_RecipientInfo recipient;
    EXPECT_EQ(setPointers<4>(recipient), "----");
    recipient.setIssuerAndSerialNumber(issuerAndSerial(vectors::kRecipientCertificate));
    EXPECT_EQ(setPointers<4>(recipient), "x---");
    recipient.setKeyEncryptionAlgorithmIdentifier(identifierOf(algorithmOf(token::kRsa)));
    EXPECT_EQ(setPointers<4>(recipient), "xx--");
    recipient.encryptKey(op, publicKey(vectors::kRecipientKey), toMiByte({1}));
    EXPECT_EQ(setPointers<4>(recipient), "xxx-");
    MiByte der;
    recipient.composeRecipientInfo(der);
    EXPECT_EQ(setPointers<4>(recipient), "xxxx");
    recipient.Reset();
    EXPECT_EQ(setPointers<4>(recipient), "----");
}

}  // namespace
