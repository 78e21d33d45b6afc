#include "pki/enveloped_data_content_info.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;

constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kUnsupported = -1006;
constexpr int kWrongContentType = -1009;
constexpr int kWrongVersion = -1020;

VT_EnvelopedDataContentInfo read(const char* text) {
    VT_EnvelopedDataContentInfo enveloped;
    EXPECT_EQ(enveloped.decomposeEnvelopedDataContentInfo(message(text)), 0);
    return enveloped;
}

// The session key that the recipient at the index is given.
VT_P11_Key sessionKey(VT_P11_OP& op, const VT_EnvelopedDataContentInfo& enveloped, int index, const KeyItems& items) {
    RecipientInfo info;
    EXPECT_EQ(enveloped.getRecipientInfoByIndex(index, info), 0);
    VT_RecipientInfo recipient;
    EXPECT_EQ(recipient.decomposeRecipientInfo(info), 0);
    MiByte bytes;
    EXPECT_EQ(recipient.decryptKey(op, privateKey(items), bytes), 0);
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(enveloped.getEncryptedContentInfoAlgorithmIdentifier(algorithm), 0);
    return secretKey(bytesOf(bytes), algorithm);
}

std::string innerOf(const VT_EnvelopedDataContentInfo& enveloped) {
    ContentInfo content;
    EXPECT_EQ(enveloped.getInnerContentInfo(content), 0);
    return hexOf(content);
}

Bytes recipientInfo(std::int64_t serial) {
    return der::sequence({der::integer(0), der::sequence({der::name(3, 0x13, "R"), der::integer(serial)}),
                          kRsaAlgorithm, der::tlv(0x04, {1, 2, 3})});
}

Bytes envelopedData(std::int64_t version, const Bytes& recipients, const Bytes& info) {
    return contentOf(3, der::sequence({der::integer(version), recipients, info}));
}

int decomposed(const Bytes& der) {
    VT_EnvelopedDataContentInfo enveloped;
    return enveloped.decomposeEnvelopedDataContentInfo(decoded<ContentInfo>(der));
}

class enveloped_data_content_info_test : public testing::Test {
  protected:
    Software op;
};

TEST_F(enveloped_data_content_info_test, OpensWhatOpensslEnveloped) {
    for (const char* made :
         {vectors::kEnvelopedDes3, vectors::kEnvelopedDes3Cms, vectors::kEnvelopedDes, vectors::kEnvelopedRc240,
          vectors::kEnvelopedRc264, vectors::kEnvelopedRc2128, vectors::kEnvelopedRc4}) {
        VT_EnvelopedDataContentInfo enveloped = read(made);
        EXPECT_EQ(enveloped.getRecipientInfoTotal(), 1);
        const VT_P11_Key key = sessionKey(op, enveloped, 0, vectors::kRecipientKey);
        EXPECT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, key), 0);
        EXPECT_EQ(innerOf(enveloped), hexOf(textContent()));
    }
}

TEST_F(enveloped_data_content_info_test, EachRecipientOpensTheSameMessage) {
    VT_EnvelopedDataContentInfo enveloped = read(vectors::kEnvelopedForTwo);
    ASSERT_EQ(enveloped.getRecipientInfoTotal(), 2);
    int index = 0;
    for (const KeyItems* items : {&vectors::kRecipientKey, &vectors::kSignerKey}) {
        const VT_P11_Key key = sessionKey(op, enveloped, index++, *items);
        EXPECT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, key), 0);
        EXPECT_EQ(innerOf(enveloped), hexOf(textContent()));
    }
}

TEST_F(enveloped_data_content_info_test, ComposesTheElementsInTheirOrder) {
    VT_EnvelopedDataContentInfo enveloped;
    enveloped.setInnerContentInfo(dataContent({'a', 'b'}));
    ASSERT_EQ(enveloped.addRecipientInfo(decoded<RecipientInfo>(recipientInfo(300))), 0);
    ASSERT_EQ(enveloped.addRecipientInfo(toMiByte(recipientInfo(5))), 0);
    ASSERT_EQ(enveloped.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), 0);
    ContentInfo composed = textContent();
    ASSERT_EQ(enveloped.composeEnvelopedDataContentInfo(composed), 0);

    MiByte ciphertext;
    ASSERT_EQ(op->Encrypt(des3(), des3Key(), toMiByte({'a', 'b'}), ciphertext), 0);
    const Bytes info = der::sequence({pkcs7(1), kDes3Algorithm, der::tlv(0x80, bytesOf(ciphertext))});
    // The SET is in the order of DER, not of adding.
    EXPECT_EQ(hexOf(composed), toHex(envelopedData(0, der::set({recipientInfo(5), recipientInfo(300)}), info)));
}

TEST_F(enveloped_data_content_info_test, RecipientsComeBackInTheirOrder) {
    VT_EnvelopedDataContentInfo enveloped;
    enveloped.addRecipientInfo(toMiByte(recipientInfo(300)));
    enveloped.addRecipientInfo(toMiByte(recipientInfo(5)));
    ASSERT_EQ(enveloped.getRecipientInfoTotal(), 2);
    MiByte der;
    EXPECT_EQ(enveloped.getRecipientInfoByIndex(0, der), 0);
    EXPECT_EQ(hexOf(der), toHex(recipientInfo(300)));
    RecipientInfo value;
    EXPECT_EQ(enveloped.getRecipientInfoByIndex(1, value), 0);
    EXPECT_EQ(hexOf(value), toHex(recipientInfo(5)));
    EXPECT_THROW(enveloped.getRecipientInfoByIndex(2, value), MiOutOfRangeExp);
    EXPECT_THROW(enveloped.getRecipientInfoByIndex(-1, der), MiOutOfRangeExp);
    EXPECT_THROW(enveloped.addRecipientInfo(toMiByte({0x30, 0x02})), MiException);
    EXPECT_EQ(enveloped.getRecipientInfoTotal(), 2);
}

TEST_F(enveloped_data_content_info_test, MessagesKeepTheOrderOfTheirRecipients) {
    // Out of DER's order, as some programs write them: the first counts for who reads only one.
    const Bytes info = der::sequence({pkcs7(1), kDes3Algorithm});
    const Bytes made = envelopedData(0, der::set({recipientInfo(300), recipientInfo(5)}), info);
    VT_EnvelopedDataContentInfo enveloped;
    ASSERT_EQ(enveloped.decomposeEnvelopedDataContentInfo(decoded<ContentInfo>(made)), 0);
    MiByte der;
    EXPECT_EQ(enveloped.getRecipientInfoByIndex(0, der), 0);
    EXPECT_EQ(hexOf(der), toHex(recipientInfo(300)));
}

TEST_F(enveloped_data_content_info_test, ADetachedMessageLeavesTheCiphertextOut) {
    VT_EnvelopedDataContentInfo enveloped = read(vectors::kEnvelopedDetached);
    const VT_P11_Key key = sessionKey(op, enveloped, 0, vectors::kRecipientKey);
    EXPECT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, key), kElementAbsent);
    EXPECT_EQ(enveloped.decomposeDetachedEncryptedContentInfo(op, key, toMiByte({1})), -3);
    EXPECT_EQ(enveloped.decomposeDetachedEncryptedContentInfo(op, key, toMiByte(hex(vectors::kEnvelopedCiphertext))),
              0);
    EXPECT_EQ(innerOf(enveloped), hexOf(textContent()));

    VT_EnvelopedDataContentInfo made;
    made.setInnerContentInfo(textContent());
    MiByte ciphertext;
    ASSERT_EQ(made.composeDetachedEncryptedContentInfo(op, des3(), des3Key(), ciphertext), 0);
    ContentInfo composed;
    ASSERT_EQ(made.composeEnvelopedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), toHex(envelopedData(0, der::set({}), der::sequence({pkcs7(1), kDes3Algorithm}))));
    ASSERT_EQ(made.decomposeDetachedEncryptedContentInfo(op, des3Key(), ciphertext), 0);
    EXPECT_EQ(innerOf(made), hexOf(textContent()));
}

TEST_F(enveloped_data_content_info_test, AnotherTypeOfContentComesBackWithItsTypeAndBytes) {
    VT_EnvelopedDataContentInfo enveloped;
    enveloped.setInnerContentInfo(decoded<ContentInfo>(contentOf(2, der::sequence({der::integer(1)}))));
    ASSERT_EQ(enveloped.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), 0);
    ASSERT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, des3Key()), 0);
    EXPECT_EQ(innerOf(enveloped), toHex(contentOf(2, der::tlv(0x04, der::integer(1)))));
}

TEST_F(enveloped_data_content_info_test, WhatIsNotSetIsMissing) {
    VT_EnvelopedDataContentInfo enveloped;
    ContentInfo content;
    MiByte ciphertext;
    AlgorithmIdentifier algorithm;
    EXPECT_EQ(enveloped.getInnerContentInfo(content), kMaterialMissing);
    EXPECT_EQ(enveloped.getEncryptedContentInfoAlgorithmIdentifier(algorithm), kMaterialMissing);
    EXPECT_EQ(enveloped.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), kMaterialMissing);
    EXPECT_EQ(enveloped.composeDetachedEncryptedContentInfo(op, des3(), des3Key(), ciphertext), kMaterialMissing);
    EXPECT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, des3Key()), kMaterialMissing);
    EXPECT_EQ(enveloped.decomposeDetachedEncryptedContentInfo(op, des3Key(), ciphertext), kMaterialMissing);
    EXPECT_EQ(enveloped.composeEnvelopedDataContentInfo(content), kMaterialMissing);
    for (const ContentInfo& incomplete : {typeAlone(), contentAlone()}) {
        enveloped.setInnerContentInfo(incomplete);
        EXPECT_EQ(enveloped.composeAttachedEncryptedContentInfo(op, des3(), des3Key()), kElementAbsent);
        EXPECT_EQ(enveloped.composeDetachedEncryptedContentInfo(op, des3(), des3Key(), ciphertext), kElementAbsent);
    }
    enveloped.setInnerContentInfo(textContent());
    EXPECT_EQ(enveloped.composeAttachedEncryptedContentInfo(op, VT_P11_Alg(), des3Key()), kUnsupported);
}

TEST_F(enveloped_data_content_info_test, TheInnerContentIsThereOnceDecrypted) {
    ContentInfo content;
    EXPECT_EQ(read(vectors::kEnvelopedDes3).getInnerContentInfo(content), kMaterialMissing);
}

TEST_F(enveloped_data_content_info_test, DecomposingLooksAtTypeVersionAndRecipients) {
    const Bytes info = der::sequence({pkcs7(1), kDes3Algorithm});
    const Bytes recipients = der::set({recipientInfo(1)});
    EXPECT_EQ(decomposed(envelopedData(0, recipients, info)), 0);
    EXPECT_EQ(decomposed(envelopedData(0, der::set({}), info)), 0);
    EXPECT_EQ(decomposed(envelopedData(1, recipients, info)), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(3, der::sequence({}))), kWrongVersion);
    EXPECT_EQ(decomposed(envelopedData(0, der::sequence({recipientInfo(1)}), info)), kElementAbsent);
    EXPECT_EQ(decomposed(contentOf(4, der::sequence({der::integer(0), recipients, info}))), kWrongContentType);
    EXPECT_EQ(decomposed(der::sequence({pkcs7(3)})), kElementAbsent);
    EXPECT_EQ(decomposed(der::sequence({})), kElementAbsent);
    EXPECT_THROW(decomposed(contentOf(3, der::sequence({der::integer(0), recipients}))), MiException);
}

TEST_F(enveloped_data_content_info_test, RecipientsByKeyIdentifierAreNotRead) {
    // What openssl writes for them has version 2, and bytes where this format has issuer and serial number.
    EXPECT_THROW(decomposed(hex(vectors::kEnvelopedByKeyId)), MiException);
}

TEST_F(enveloped_data_content_info_test, CopiesAreDeep) {
    VT_EnvelopedDataContentInfo first = read(vectors::kEnvelopedDes3);
    const VT_EnvelopedDataContentInfo second(first);
    VT_EnvelopedDataContentInfo third;
    third = first;
    first.Reset();
    EXPECT_EQ(first.getRecipientInfoTotal(), 0);
    EXPECT_EQ(second.getRecipientInfoTotal(), 1);
    ASSERT_EQ(third.getRecipientInfoTotal(), 1);
    const VT_P11_Key key = sessionKey(op, third, 0, vectors::kRecipientKey);
    EXPECT_EQ(third.decomposeAttachedEncryptedContentInfo(op, key), 0);
}

TEST_F(enveloped_data_content_info_test, ResetStartsAnEmptySet) {
    VT_EnvelopedDataContentInfo enveloped = read(vectors::kEnvelopedDes3);
    enveloped.Reset();
    EXPECT_EQ(enveloped.addRecipientInfo(toMiByte(recipientInfo(1))), 0);
    EXPECT_EQ(enveloped.getRecipientInfoTotal(), 1);
}

TEST_F(enveloped_data_content_info_test, FieldsStandInTheirOrder) {
    EXPECT_EQ(sizeof(VT_EnvelopedDataContentInfo), 4 * sizeof(void*));
    VT_EnvelopedDataContentInfo enveloped;
    EXPECT_EQ(setPointers<4>(enveloped), "--x-");
    enveloped.setInnerContentInfo(textContent());
    EXPECT_EQ(setPointers<4>(enveloped), "x-x-");
    enveloped.composeAttachedEncryptedContentInfo(op, des3(), des3Key());
    EXPECT_EQ(setPointers<4>(enveloped), "xxx-");
    ContentInfo composed;
    enveloped.composeEnvelopedDataContentInfo(composed);
    EXPECT_EQ(setPointers<4>(enveloped), "xxxx");
    enveloped.Reset();
    EXPECT_EQ(setPointers<4>(enveloped), "--x-");
}

}  // namespace
