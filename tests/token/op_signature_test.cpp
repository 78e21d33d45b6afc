// Signatures and their verification in software.
#include <gtest/gtest.h>

#include "tests/token/operations.h"

namespace {

using namespace operations;

class op_signature_test : public testing::Test {
  protected:
    void expectSign(int code, const VT_P11_Alg& alg, const VT_P11_Key& key, const Bytes& input) {
        MiByte output = untouched();
        EXPECT_EQ(op.Sign(alg, key, mi(input), output), code);
        EXPECT_EQ(output, untouched());
    }
    void expectVerify(int code, const VT_P11_Alg& alg, const VT_P11_Key& key, const Bytes& data,
                      const Bytes& signature) {
        EXPECT_EQ(op.Verify(alg, key, mi(data), mi(signature)), code);
    }

    SoftOp op;
};

TEST_F(op_signature_test, SignaturesAgreeWithOpenssl) {
    for (const TokenSignatureVector& vector : kTokenSignatures) {
        SCOPED_TRACE(testing::Message() << vector.bits << " bits, algorithm " << vector.algorithm);
        const VT_P11_Key secret = privateKey(keyOfBits(vector.bits).items);
        const struct {
            int algorithm;
            const char* input;
            const char* signature;
        } kForms[] = {{8, vector.digestInfo, vector.wrapped}, {vector.algorithm, vector.message, vector.bare}};
        for (const auto& form : kForms) {
            MiByte output = untouched();
            if (vector.bits <= 2064) {
                EXPECT_EQ(op.Sign(algorithm(form.algorithm), secret, mi(hex(form.input)), output), 0);
                EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(form.signature)));
            } else {
                expectSign(-3, algorithm(form.algorithm), secret, hex(form.input));
            }
            EXPECT_EQ(op.SignRecover(algorithm(form.algorithm), secret, mi(hex(form.input)), output), 0);
            EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(form.signature)));
            expectVerify(0, algorithm(form.algorithm), publicKey(keyOfBits(vector.bits).items), hex(form.input),
                         hex(form.signature));
        }
    }
}

TEST_F(op_signature_test, Md2IsSignedBare) {
    const RsaKeyVector& rsa = keyOfBits(1024);
    MiByte signature;
    EXPECT_EQ(op.Sign(algorithm(11), privateKey(rsa.items), mi("abc"), signature), 0);
    MiByte opened;
    EXPECT_EQ(op.VerifyRecover(algorithm(8), publicKey(rsa.items), signature, opened), 0);
    EXPECT_EQ(bytesOf(opened), hex("da853b0d3f88d99b30283a69e6ded6bb"));
    EXPECT_EQ(op.Verify(algorithm(11), publicKey(rsa.items), mi("abc"), signature), 0);
    EXPECT_EQ(op.Verify(algorithm(11), publicKey(rsa.items), mi("abd"), signature), -13);
}

TEST_F(op_signature_test, TheLongestSignatureHas258Bytes) {
    const TokenKeyVector& longest = kTokenKeys[0];
    const TokenKeyVector& tooLong = kTokenKeys[1];
    ASSERT_EQ(longest.bits, 2064);
    ASSERT_EQ(tooLong.bits, 2072);
    MiByte output;
    EXPECT_EQ(op.Sign(algorithm(8), privateKey(longest.items), mi(hex(longest.message)), output), 0);
    EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(longest.signature)));
    expectSign(-3, algorithm(8), privateKey(tooLong.items), hex(tooLong.message));
    expectSign(-3, algorithm(9), privateKey(tooLong.items), hex(tooLong.message));
    EXPECT_EQ(op.SignRecover(algorithm(8), privateKey(tooLong.items), mi(hex(tooLong.message)), output), 0);
    EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(tooLong.signature)));
}

TEST_F(op_signature_test, SignRecoverFitsWhateverTheKey) {
    for (const RsaKeyVector& vector : kRsaKeys) {
        if (vector.bits < 96)
            continue;
        SCOPED_TRACE(vector.bits);
        MiByte output;
        EXPECT_EQ(op.SignRecover(algorithm(8), privateKey(vector.items), mi(hex(vector.message)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.signedBlock)));
    }
}

TEST_F(op_signature_test, ABlockTakesElevenBytesLessThanTheModulus) {
    const RsaKeyVector& rsa = keyOfBits(1024);
    MiByte output;
    EXPECT_EQ(op.Sign(algorithm(8), privateKey(rsa.items), mi(Bytes(117, 1)), output), 0);
    EXPECT_EQ(op.Verify(algorithm(8), publicKey(rsa.items), mi(Bytes(117, 1)), output), 0);
    expectSign(-3, algorithm(8), privateKey(rsa.items), Bytes(118, 1));
    output = untouched();
    EXPECT_EQ(op.SignRecover(algorithm(8), privateKey(rsa.items), mi(Bytes(118, 1)), output), -3);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_signature_test, WrongSignatures) {
    const TokenSignatureVector& vector = kTokenSignatures[0];
    const VT_P11_Key key = publicKey(keyOfBits(vector.bits).items);
    const Bytes info = hex(vector.digestInfo);
    const Bytes wrapped = hex(vector.wrapped);
    Bytes changed = wrapped;
    changed.back() ^= 1;
    const Bytes shorter(wrapped.begin(), wrapped.end() - 1);
    expectVerify(-13, algorithm(8), key, info, changed);
    expectVerify(-13, algorithm(8), key, info, shorter);
    expectVerify(-13, algorithm(8), key, info, hex(vector.bare));
    expectVerify(-13, algorithm(8), key, Bytes(info.begin(), info.end() - 1), wrapped);
    expectVerify(-13, algorithm(8), key, {}, wrapped);
    expectVerify(-13, algorithm(8), publicKey(keyOfBits(2048).items), info, wrapped);
    expectVerify(-2, algorithm(8), key, info, {});
    expectVerify(-13, algorithm(9), key, hex(vector.message), wrapped);  // a DigestInfo is no bare digest
    expectVerify(-13, algorithm(9), key, info, hex(vector.bare));
    expectVerify(-12, algorithm(9), key, hex(vector.message), changed);
    expectVerify(-3, algorithm(9), key, hex(vector.message), shorter);
}

TEST_F(op_signature_test, VerifyKeepsAtMost1025BytesOfData) {
    const VT_P11_Key key = publicKey(keyOfBits(1024).items);
    expectVerify(-13, algorithm(8), key, Bytes(1025, 1), Bytes(128, 1));
    expectVerify(-3, algorithm(8), key, Bytes(1026, 1), Bytes(128, 1));
}

TEST_F(op_signature_test, KeysAndAlgorithmsThatDoNotFit) {
    const RsaKeyVector& rsa = keyOfBits(1024);
    const Bytes input = {1};
    expectSign(-1006, algorithm(8), VT_P11_Key(), input);
    VT_P11_Key noMaterial;
    noMaterial.setKeyType(6);
    expectSign(-1003, algorithm(8), noMaterial, input);
    expectSign(-1006, VT_P11_Alg(), privateKey(rsa.items), input);
    expectSign(-1006, algorithm(8), sessionKey(2, Bytes(8, 1)), input);
    expectSign(-4, algorithm(9), sessionKey(2, Bytes(8, 1)), input);
    expectSign(-4, algorithm(8), labelKey("key", 6), input);
    expectSign(-6, algorithm(1), privateKey(rsa.items), input);
    expectSign(-6, algorithm(7), privateKey(rsa.items), input);
    expectVerify(-1006, algorithm(8), VT_P11_Key(), input, input);
    expectVerify(-4, algorithm(8), labelKey("key", 5), input, input);
    expectVerify(-6, algorithm(1), publicKey(rsa.items), input, input);
    MiByte output = untouched();
    EXPECT_EQ(op.SignRecover(algorithm(8), VT_P11_Key(), mi(input), output), -1006);
    EXPECT_EQ(op.SignRecover(algorithm(1), privateKey(rsa.items), mi(input), output), -6);
    EXPECT_EQ(output, untouched());
    const char* items[8];
    std::copy(rsa.items, rsa.items + 8, items);
    items[7] = rsa.items[6];  // the coefficient belongs to no other number
    expectSign(-14, algorithm(8), privateKey(items), input);
    expectSign(-106, algorithm(8), privateKey(keyOfBits(88).items), {});
}

TEST_F(op_signature_test, WithoutAChooser) {
    VT_P11_OP none;
    const RsaKeyVector& rsa = keyOfBits(1024);
    MiByte output = untouched();
    EXPECT_EQ(none.Sign(algorithm(8), privateKey(rsa.items), mi("data"), output), -2);
    EXPECT_EQ(none.SignRecover(algorithm(8), privateKey(rsa.items), mi("data"), output), -2);
    EXPECT_EQ(none.Verify(algorithm(8), publicKey(rsa.items), mi("data"), mi("signature")), -5);
    EXPECT_EQ(none.Verify(algorithm(8), VT_P11_Key(), mi("data"), mi("signature")), -1006);  // the key comes first
    EXPECT_EQ(output, untouched());
}

}  // namespace
