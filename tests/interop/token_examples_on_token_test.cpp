// The examples of the token layer in docs/toolkit.md, on a token.
#include "tests/interop/soft_token.h"
#include "tests/toolkit_examples/token_examples.h"

namespace {

using namespace interop;
using rsakeys::ofBits;

class token_examples_on_token_test : public SoftTokenTest {};

TEST_F(token_examples_on_token_test, OpensslVerifiesASignatureOfTheCard) {
    writeKeys(ofBits(2048), "card");
    MiByte signature;
    ASSERT_EQ(signOnCard(VT_SOFTHSM, kLabel, kPin, "card private", bytes("hello"), signature), 0);
    writePem(ofBits(2048));
    file("data", "hello");
    file("signature", bytesOf(signature));
    openssl("dgst -sha1 -verify public.pem -signature signature data");
    EXPECT_EQ(
        withOperations(
            false, [&](VT_P11_OP& op) { return verifyData(op, publicKey(ofBits(2048)), bytes("hello"), signature); }),
        0);
}

TEST_F(token_examples_on_token_test, FailuresHaveTheirCodes) {
    MiByte signature;
    EXPECT_EQ(signOnCard(VT_SOFTHSM, kLabel, "0000", "card private", bytes("hello"), signature), CKR_PIN_INCORRECT);
    EXPECT_EQ(signOnCard(VT_SOFTHSM, "Another", kPin, "card private", bytes("hello"), signature),
              crypto::kNoMatchingToken);
    EXPECT_EQ(signOnCard(VT_SOFTHSM, kLabel, kPin, "no key", bytes("hello"), signature), crypto::kObjectNotFound);
}

TEST_F(token_examples_on_token_test, ALoadedKeyAndACipherWorkThere) {
    load();
    const int code = withOperations(true, [](VT_P11_OP& op) {
        VT_P11_Key key;
        EXPECT_EQ(readPrivateKey(bytes(privateKeyDer(ofBits(1024))), key), 0);
        MiByte signature;
        EXPECT_EQ(signData(op, key, bytes("hello"), signature), 0);
        MiByte encrypted;
        EXPECT_EQ(encryptTripleDes(op, bytes(Bytes(24, 5)), bytes(Bytes(8, 1)), bytes("hello"), encrypted), 0);
        return static_cast<int>(encrypted.GetLength());
    });
    EXPECT_EQ(code, 8);
}

}  // namespace
