// Key pairs made in software, and what the operations of tokens give there.
#include <gtest/gtest.h>

#include "schema/schema.h"
#include "tests/token/operations.h"

namespace {

using namespace operations;

class op_keys_test : public testing::Test {
  protected:
    int generate(int bits, int inToken = 0) {
        return op.GenRSAKeyPair(publicKey_, mi("public"), privateKey_, mi("private"), bits, inToken);
    }

    SoftOp op;
    VT_P11_Key publicKey_;
    VT_P11_Key privateKey_;
};

TEST_F(op_keys_test, BitsOtherThanThreeSizesAre1024) {
    const struct {
        int asked;
        std::size_t bytes;
    } kCases[] = {{512, 64}, {1024, 128}, {2048, 256}, {1536, 128}, {0, 128}, {-512, 128}, {4096, 128}, {1023, 128}};
    for (const auto& each : kCases) {
        SCOPED_TRACE(each.asked);
        ASSERT_EQ(generate(each.asked), 0);
        const PublicNumbers numbers(publicKey_);
        ASSERT_EQ(numbers.modulus.size(), each.bytes);
        EXPECT_GE(numbers.modulus[0], 0x80);  // as many bits as bytes can hold
    }
}

TEST_F(op_keys_test, ThePairWorks) {
    // Keys that had a label lose it.
    publicKey_ = labelKey("old", 5);
    privateKey_ = labelKey("old", 6);
    ASSERT_EQ(generate(1024), 0);
    EXPECT_EQ(typeOf(publicKey_), 5);
    EXPECT_EQ(typeOf(privateKey_), 6);
    const PublicNumbers numbers(publicKey_);
    VT_PKCS11_RSA_PRIVATE_KEY eight = {};
    ASSERT_EQ(privateKey_.getPrivateKey(&eight), 0);
    EXPECT_EQ(toHex(eight.modulus.data, eight.modulus.length), toHex(numbers.modulus));
    EXPECT_EQ(toHex(eight.publicExponent.data, eight.publicExponent.length), toHex(numbers.exponent));
    VT_FreePrivateKey(&eight);
    ASSERT_EQ(numbers.exponent.size(), 4u);
    EXPECT_GE(mi(numbers.exponent).UInt32Value(), 65539u);
    MiByte signature;
    EXPECT_EQ(op.Sign(algorithm(8), privateKey_, mi("text"), signature), 0);
    EXPECT_EQ(op.Verify(algorithm(8), publicKey_, mi("text"), signature), 0);
    MiByte hidden;
    EXPECT_EQ(op.Encrypt(algorithm(8), publicKey_, mi("text"), hidden), 0);
    EXPECT_EQ(op.Decrypt(algorithm(8), privateKey_, hidden, hidden), 0);
    EXPECT_EQ(hidden, mi("text"));
}

TEST_F(op_keys_test, BothLabelsAreNeeded) {
    VT_P11_OP none;
    for (const int inToken : {0, 1}) {
        EXPECT_EQ(op.GenRSAKeyPair(publicKey_, mi("public"), privateKey_, MiByte(), 512, inToken), -1010);
        EXPECT_EQ(op.GenRSAKeyPair(publicKey_, MiByte(), privateKey_, mi("private"), 512, inToken), -1010);
        EXPECT_EQ(none.GenRSAKeyPair(publicKey_, MiByte(), privateKey_, MiByte(), 512, inToken), -1010);
    }
    EXPECT_EQ(typeOf(publicKey_), -1);
    EXPECT_EQ(typeOf(privateKey_), -1);
}

TEST_F(op_keys_test, AChooserInSoftwareMakesNoKeyInAToken) {
    for (const int inToken : {1, 7, -1})
        EXPECT_EQ(generate(512, inToken), -2);
    EXPECT_EQ(typeOf(publicKey_), -1);
    EXPECT_EQ(typeOf(privateKey_), -1);
}

TEST_F(op_keys_test, WithoutAChooser) {
    VT_P11_OP none;
    for (const int inToken : {0, 1})
        EXPECT_EQ(none.GenRSAKeyPair(publicKey_, mi("a"), privateKey_, mi("b"), 512, inToken), -2);
    EXPECT_EQ(none.GetHardPubKey(mi("label"), publicKey_), -2);
    EXPECT_FALSE(none.CheckLabelExistInToken(text("label"), 5, 0));
    EXPECT_EQ(none.SetCertIntoToken(text("label"), 5, text("certificate"), 11), -2);
    std::uint32_t length = 7;
    EXPECT_EQ(none.GetCertFromToken(text("label"), 5, nullptr, &length), 0);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(typeOf(publicKey_), -1);
}

TEST_F(op_keys_test, SoftwareHoldsNoPublicKeys) {
    EXPECT_EQ(op.GetHardPubKey(mi("label"), publicKey_), -2);
    EXPECT_EQ(op.GetHardPubKey(MiByte(), publicKey_), -1010);
    EXPECT_EQ(typeOf(publicKey_), -1);
    RSAPublicKey numbers;
    ASSERT_EQ(publicKey(keyOfBits(512).items).getRSAPublicKey(numbers), 0);
    EXPECT_FALSE(op.CheckRSAKeyPair(numbers, text("label"), 5));
}

TEST_F(op_keys_test, SoftwareHoldsNoLabels) {
    for (const int ignored : {0, 1, -1})
        EXPECT_FALSE(op.CheckLabelExistInToken(text("label"), 5, ignored));
}

TEST_F(op_keys_test, SoftwareHoldsNoCertificates) {
    EXPECT_EQ(op.SetCertIntoToken(text("label"), 5, text("certificate"), 11), -2);
    EXPECT_EQ(op.SetCertIntoToken(nullptr, 5, text("certificate"), 11), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("label"), 0, text("certificate"), 11), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("label"), 5, nullptr, 11), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("label"), 5, text("certificate"), 0), -1010);
    unsigned char output[4] = {1, 2, 3, 4};
    std::uint32_t length = sizeof output;
    EXPECT_EQ(op.GetCertFromToken(text("label"), 5, output, &length), 0);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(toHex(output, sizeof output), "01 02 03 04");
    EXPECT_EQ(op.GetCertFromToken(nullptr, 5, output, &length), -1010);
    EXPECT_EQ(op.GetCertFromToken(text("label"), 5, output, nullptr), -1010);
}

}  // namespace
