// Encryption and decryption in software.
#include <gtest/gtest.h>

#include "tests/token/operations.h"

namespace {

using namespace operations;

const Bytes kIv = hex("a0a1a2a3a4a5a6a7");

class op_cipher_test : public testing::Test {
  protected:
    void expectEncrypt(int code, const VT_P11_Alg& alg, const VT_P11_Key& key, const Bytes& input) {
        MiByte output = untouched();
        EXPECT_EQ(op.Encrypt(alg, key, mi(input), output), code);
        EXPECT_EQ(output, untouched());
    }
    void expectDecrypt(int code, const VT_P11_Alg& alg, const VT_P11_Key& key, const Bytes& input) {
        MiByte output = untouched();
        EXPECT_EQ(op.Decrypt(alg, key, mi(input), output), code);
        EXPECT_EQ(output, untouched());
    }

    SoftOp op;
};

TEST_F(op_cipher_test, CiphersAgreeWithOpenssl) {
    for (const TokenCipherVector& vector : kTokenCiphers) {
        SCOPED_TRACE(testing::Message() << "algorithm " << vector.algorithm << ", " << vector.plain);
        const VT_P11_Alg alg = algorithm(vector.algorithm, hex(vector.iv), vector.effectiveBits);
        const VT_P11_Key key = sessionKey(vector.keyCode, hex(vector.key));
        MiByte output;
        EXPECT_EQ(op.Encrypt(alg, key, mi(hex(vector.plain)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.encrypted)));
        EXPECT_EQ(op.Decrypt(alg, key, mi(hex(vector.encrypted)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.plain)));
    }
}

TEST_F(op_cipher_test, TheOutputMayBeTheInput) {
    const TokenCipherVector& vector = kTokenCiphers[5];
    const VT_P11_Alg alg = algorithm(vector.algorithm, hex(vector.iv));
    const VT_P11_Key key = sessionKey(vector.keyCode, hex(vector.key));
    MiByte value = mi(hex(vector.plain));
    EXPECT_EQ(op.Encrypt(alg, key, value, value), 0);
    EXPECT_EQ(bytesOf(value), hex(vector.encrypted));
    EXPECT_EQ(op.Decrypt(alg, key, value, value), 0);
    EXPECT_EQ(bytesOf(value), hex(vector.plain));
}

TEST_F(op_cipher_test, RsaTakesNoSessionKeyAndACipherNoRsaKey) {
    const VT_P11_Key secret = sessionKey(2, Bytes(8, 1));
    expectEncrypt(-1006, algorithm(8), secret, Bytes(8, 2));
    expectDecrypt(-1006, algorithm(8), secret, Bytes(8, 2));
    expectEncrypt(-6, algorithm(9), secret, Bytes(8, 2));
    expectDecrypt(-6, algorithm(9), secret, Bytes(8, 2));
    const auto& items = keyOfBits(1024).items;
    expectEncrypt(-4, algorithm(4, kIv), publicKey(items), Bytes(8, 2));
    expectDecrypt(-4, algorithm(4, kIv), privateKey(items), Bytes(8, 2));
}

TEST_F(op_cipher_test, NoInputGivesNoOutput) {
    const struct {
        VT_P11_Alg alg;
        VT_P11_Key key;
    } kCases[] = {{algorithm(4, kIv), sessionKey(2, Bytes(8, 1))},
                  {algorithm(5, kIv), sessionKey(1, Bytes(24, 1))},
                  {algorithm(6, kIv, 128), sessionKey(3, Bytes(16, 1))},
                  {algorithm(7), sessionKey(4, Bytes(16, 1))},
                  {algorithm(8), publicKey(keyOfBits(1024).items)}};
    for (const auto& each : kCases) {
        MiByte output = untouched();
        EXPECT_EQ(op.Encrypt(each.alg, each.key, MiByte(), output), 0);
        EXPECT_TRUE(output.Empty());
        output = untouched();
        EXPECT_EQ(op.Decrypt(each.alg, each.key, MiByte(), output), 0);
        EXPECT_TRUE(output.Empty());
    }
}

TEST_F(op_cipher_test, RsaTakesInputInBlocks) {
    for (const TokenBlocksVector& vector : kTokenBlocks) {
        SCOPED_TRACE(testing::Message() << vector.bits << " bits, " << hex(vector.plain).size() << " bytes");
        const VT_P11_Key key = publicKey(keyOfBits(vector.bits).items);
        const VT_P11_Key secret = privateKey(keyOfBits(vector.bits).items);
        MiByte output;
        EXPECT_EQ(op.RSABigEncrypt(key, mi(hex(vector.plain)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.constantFiller)));
        EXPECT_EQ(op.Encrypt(algorithm(8), key, mi(hex(vector.plain)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.constantFiller)));
        EXPECT_EQ(op.RSABigDecrypt(secret, mi(hex(vector.randomFiller)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.plain)));
        EXPECT_EQ(op.Decrypt(algorithm(8), secret, mi(hex(vector.randomFiller)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.plain)));
    }
}

TEST_F(op_cipher_test, OneBlockOf117BytesAndTwoOf118) {
    const VT_P11_Key key = publicKey(keyOfBits(1024).items);
    MiByte output;
    EXPECT_EQ(op.Encrypt(algorithm(8), key, mi(Bytes(117, 1)), output), 0);
    EXPECT_EQ(output.GetLength(), 128u);
    EXPECT_EQ(op.RSABigEncrypt(key, mi(Bytes(118, 1)), output), 0);
    EXPECT_EQ(output.GetLength(), 256u);
}

TEST_F(op_cipher_test, TheOutputFitsWhateverTheKey) {
    for (const RsaKeyVector& vector : kRsaKeys) {
        const std::size_t k = (static_cast<std::size_t>(vector.bits) + 7) / 8;
        for (const std::size_t length : {std::size_t{1}, k - 11, std::size_t{300}}) {
            if (length == 0 || (length == 300 && vector.bits > 4096))
                continue;
            SCOPED_TRACE(testing::Message() << vector.bits << " bits, " << length << " bytes");
            const Bytes plain(length, 0x5A);
            MiByte output;
            ASSERT_EQ(op.Encrypt(algorithm(8), publicKey(vector.items), mi(plain), output), k < 12 ? -106 : 0);
            if (k < 12)
                continue;
            EXPECT_EQ(output.GetLength(), (length + k - 12) / (k - 11) * k);
            EXPECT_EQ(op.Decrypt(algorithm(8), privateKey(vector.items), output, output), 0);
            EXPECT_EQ(bytesOf(output), plain);
        }
    }
}

TEST_F(op_cipher_test, LeadingZerosOfAModulusDoNotCount) {
    const RsaKeyVector& vector = keyOfBits(1024);
    const std::string padded = std::string("000000") + vector.items[0];
    const char* const items[8] = {padded.c_str(), vector.items[1]};
    MiByte output;
    EXPECT_EQ(op.Encrypt(algorithm(8), publicKey(items), mi(Bytes(500, 0x5A)), output), 0);
    EXPECT_EQ(output.GetLength(), 640u);
    EXPECT_EQ(op.Decrypt(algorithm(8), privateKey(vector.items), output, output), 0);
    EXPECT_EQ(bytesOf(output), Bytes(500, 0x5A));
}

TEST_F(op_cipher_test, APrivateKeyMakesBlocksThatThePublicOneOpens) {
    const RsaKeyVector& vector = keyOfBits(1024);
    MiByte output;
    EXPECT_EQ(op.RSABigEncrypt(privateKey(vector.items), mi(hex(vector.message)), output), 0);
    EXPECT_EQ(bytesOf(output), hex(vector.signedBlock));
    EXPECT_EQ(op.RSABigDecrypt(publicKey(vector.items), output, output), 0);
    EXPECT_EQ(bytesOf(output), hex(vector.message));
}

TEST_F(op_cipher_test, VerifyRecoverIsDecrypt) {
    const TokenCipherVector& cipher = kTokenCiphers[3];
    const VT_P11_Alg alg = algorithm(cipher.algorithm, hex(cipher.iv));
    const VT_P11_Key key = sessionKey(cipher.keyCode, hex(cipher.key));
    MiByte output;
    EXPECT_EQ(op.VerifyRecover(alg, key, mi(hex(cipher.encrypted)), output), 0);
    EXPECT_EQ(bytesOf(output), hex(cipher.plain));
    const RsaKeyVector& rsa = keyOfBits(2048);
    EXPECT_EQ(op.VerifyRecover(algorithm(8), publicKey(rsa.items), mi(hex(rsa.signedBlock)), output), 0);
    EXPECT_EQ(bytesOf(output), hex(rsa.message));
    output = untouched();
    EXPECT_EQ(op.VerifyRecover(algorithm(8), publicKey(rsa.items), mi(Bytes(256, 1)), output), -12);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_cipher_test, WhatCannotBeDecrypted) {
    const VT_P11_Alg des = algorithm(4, kIv);
    const VT_P11_Key desKey = sessionKey(2, Bytes(8, 1));
    for (const std::size_t length : {1u, 7u, 9u, 15u})
        expectDecrypt(-3, des, desKey, Bytes(length, 1));
    const VT_P11_Key rsaKey = privateKey(keyOfBits(1024).items);
    expectDecrypt(-3, algorithm(8), rsaKey, Bytes(127, 1));
    Bytes blockAndMore = hex(keyOfBits(1024).encrypted);
    blockAndMore.push_back(1);
    expectDecrypt(-3, algorithm(8), rsaKey, blockAndMore);
    expectDecrypt(-12, algorithm(8), rsaKey, Bytes(128, 0));
    expectDecrypt(-12, algorithm(8), rsaKey, Bytes(128, 0xFF));  // not below the modulus
    MiByte output = untouched();
    EXPECT_EQ(op.RSABigDecrypt(rsaKey, mi(Bytes(127, 1)), output), -3);
    EXPECT_EQ(op.RSABigDecrypt(rsaKey, mi(Bytes(128, 0)), output), -12);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_cipher_test, KeysThatDoNotFit) {
    const VT_P11_Alg des = algorithm(4, kIv);
    const Bytes input = {1};
    expectEncrypt(-1006, des, VT_P11_Key(), input);
    VT_P11_Key noMaterial;
    noMaterial.setKeyType(2);
    expectEncrypt(-1003, des, noMaterial, input);
    expectEncrypt(-7, des, sessionKey(2, Bytes(7, 1)), input);
    expectEncrypt(-7, algorithm(5, kIv), sessionKey(7, Bytes(16, 1)), input);
    VT_P11_Key tooMuchInUse = sessionKey(3, Bytes(16, 1));
    VT_PKCS11_SESSION_KEY value = {};
    ASSERT_EQ(tooMuchInUse.getSessionKey(&value), 0);
    value.use = 17;
    tooMuchInUse.setSessionKey(&value);
    VT_FreeSessionKey(&value);
    expectEncrypt(-1007, algorithm(6, kIv, 128), tooMuchInUse, input);
    expectEncrypt(-4, des, publicKey(keyOfBits(1024).items), input);
    expectEncrypt(-4, des, labelKey("key", 2), input);
    expectEncrypt(-4, algorithm(8), labelKey("key", 5), input);
    expectDecrypt(-4, algorithm(8), labelKey("key", 6), Bytes(128, 1));
    expectEncrypt(-1006, algorithm(8), sessionKey(2, Bytes(8, 1)), input);
    MiByte output = untouched();
    EXPECT_EQ(op.RSABigEncrypt(VT_P11_Key(), mi(input), output), -1006);
    EXPECT_EQ(op.RSABigEncrypt(noMaterial, mi(input), output), -1003);
    EXPECT_EQ(op.RSABigEncrypt(sessionKey(2, Bytes(8, 1)), mi(input), output), -4);
    EXPECT_EQ(op.RSABigDecrypt(labelKey("key", 6), mi(input), output), -4);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_cipher_test, AlgorithmsThatDoNotFit) {
    const VT_P11_Key des = sessionKey(2, Bytes(8, 1));
    const Bytes input = {1};
    expectEncrypt(-1006, VT_P11_Alg(), des, input);
    expectEncrypt(-2, algorithm(4), des, input);  // no initial value
    expectEncrypt(-3, algorithm(4, Bytes(7, 1)), des, input);
    expectEncrypt(-1003, algorithm(6, {}, 128), sessionKey(3, Bytes(16, 1)), input);
    expectEncrypt(-1003, algorithm(6, kIv), sessionKey(3, Bytes(16, 1)), input);
    for (const int digest : {1, 2, 3}) {
        expectEncrypt(-6, algorithm(digest), des, input);
        expectDecrypt(-6, algorithm(digest), des, input);
    }
    for (const int signature : {9, 10, 11}) {
        expectEncrypt(-6, algorithm(signature), publicKey(keyOfBits(1024).items), input);
        expectDecrypt(-6, algorithm(signature), privateKey(keyOfBits(1024).items), input);
    }
}

TEST_F(op_cipher_test, AKeyWithReducedPrivateExponentIsRefused) {
    const RsaKeyVector* vector = kRsaKeys;
    while (*vector->reducedD == '\0' || vector->bits < 1024)
        ++vector;
    const char* items[8];
    std::copy(vector->items, vector->items + 8, items);
    items[2] = vector->reducedD;
    expectDecrypt(-14, algorithm(8), privateKey(items), hex(vector->encrypted));
    MiByte output = untouched();
    EXPECT_EQ(op.RSABigDecrypt(privateKey(items), mi(hex(vector->encrypted)), output), -14);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_cipher_test, WithoutAChooser) {
    VT_P11_OP none;
    const VT_P11_Key key = publicKey(keyOfBits(1024).items);
    const VT_P11_Alg rsa = algorithm(8);
    const MiByte input = mi("data");
    MiByte output = untouched();
    EXPECT_EQ(none.Encrypt(rsa, key, input, output), -2);
    EXPECT_EQ(none.Decrypt(rsa, key, input, output), -2);
    EXPECT_EQ(none.VerifyRecover(rsa, key, input, output), -2);
    EXPECT_EQ(none.RSABigEncrypt(key, input, output), -2);
    EXPECT_EQ(none.RSABigDecrypt(key, input, output), -2);
    EXPECT_EQ(none.Encrypt(rsa, VT_P11_Key(), input, output), -1006);  // the key is looked at first
    EXPECT_EQ(output, untouched());
}

}  // namespace
