// The examples of messages and requests in docs/toolkit.md.
#include "tests/toolkit_examples/pki_examples.h"

#include <gtest/gtest.h>

#include "tests/pki/envelopes.h"
#include "tests/toolkit_examples/token_examples.h"
#include "tests/vectors/pfx_files.h"

namespace {

using namespace envelopes;

TEST(pki_examples_test, TheRecipientOpensTheEnvelope) {
    Software op;
    MiByte message;
    ASSERT_EQ(envelop(op, toMiByte(hex(vectors::kRecipientCertificate)), toMiByte(kDes3Key), toMiByte(kIv),
                      toMiByte(hex(vectors::kText)), message),
              0);
    VT_EnvelopedDataContentInfo enveloped;
    ASSERT_EQ(enveloped.decomposeEnvelopedDataContentInfo(decoded<ContentInfo>(bytesOf(message))), 0);
    RecipientInfo info;
    ASSERT_EQ(enveloped.getRecipientInfoByIndex(0, info), 0);
    VT_RecipientInfo recipient;
    ASSERT_EQ(recipient.decomposeRecipientInfo(info), 0);
    MiByte sessionKey;
    ASSERT_EQ(recipient.decryptKey(op, privateKey(vectors::kRecipientKey), sessionKey), 0);
    EXPECT_EQ(bytesOf(sessionKey), kDes3Key);
    ASSERT_EQ(enveloped.decomposeAttachedEncryptedContentInfo(op, des3Key()), 0);
    ContentInfo content;
    ASSERT_EQ(enveloped.getInnerContentInfo(content), 0);
    EXPECT_EQ(hexOf(content), hexOf(textContent()));
}

TEST(pki_examples_test, WithoutAnInitialValueThereIsNoEnvelope) {
    Software op;
    MiByte message;
    EXPECT_EQ(
        envelop(op, toMiByte(hex(vectors::kRecipientCertificate)), toMiByte(kDes3Key), MiByte(), MiByte(), message),
        -1010);
}

TEST(pki_examples_test, TheRequestVerifies) {
    Software op;
    MiByte der;
    ASSERT_EQ(signedRequest(op, decoded<Name>(der::name(3, 0x13, "Request")), publicNumbers(vectors::kRecipientKey),
                            privateKey(vectors::kRecipientKey), der),
              0);
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, der), 0);
}

TEST(pki_examples_test, TheKeysCertificateIsFound) {
    Software op;
    MiByte certificate;
    MiByte name;
    ASSERT_EQ(certificateOfKey(op, toMiByte(hex(vectors::kPfxChain)), MiByte("secret", 6), certificate, name), 0);
    EXPECT_EQ(bytesOf(certificate), hex(vectors::kAliceCertificate));
    EXPECT_EQ(name, MiByte("Alice's key", 11));
    EXPECT_EQ(certificateOfKey(op, toMiByte(hex(vectors::kPfxChain)), MiByte("other", 5), certificate, name), -1012);
}

}  // namespace
