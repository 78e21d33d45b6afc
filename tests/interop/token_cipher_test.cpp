// Ciphers, digests and random numbers between a token, the software engine and openssl.
#include "tests/interop/soft_token.h"

namespace {

using namespace interop;
using rsakeys::ofBits;
using support::hex;
using support::toHex;

class token_cipher_test : public SoftTokenTest {};

Bytes pattern(std::size_t length) {
    Bytes made(length);
    for (std::size_t i = 0; i < length; ++i)
        made[i] = static_cast<std::uint8_t>(i * 31 + 7);
    return made;
}

const Bytes kIv = hex("01 23 45 67 89 ab cd ef");
const Bytes kDes3 = hex("01 23 45 67 89 ab cd ef 23 45 67 89 ab cd ef 01 45 67 89 ab cd ef 01 23");

TEST_F(token_cipher_test, TripleDesBetweenTokenSoftwareAndOpenssl) {
    load();
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    const VT_P11_Alg alg = algorithm(token::kDes3Cbc, kIv);
    const VT_P11_Key key = sessionKey(token::kDes3Key, kDes3);
    for (const unsigned length : {1U, 7U, 8U, 9U, 100U, 100000U}) {
        const MiByte plain = bytes(pattern(length));
        MiByte byToken;
        ASSERT_EQ(onToken->Encrypt(alg, key, plain, byToken), 0) << length;
        MiByte bySoftware;
        ASSERT_EQ(software->Encrypt(alg, key, plain, bySoftware), 0) << length;
        EXPECT_EQ(bytesOf(byToken), bytesOf(bySoftware)) << length;

        file("plain", bytesOf(plain));
        openssl(
            "enc -des-ede3-cbc -K 0123456789abcdef23456789abcdef01456789abcdef0123 -iv 0123456789abcdef -in plain "
            "-out encrypted");
        const MiByte byOpenssl = bytes(readFile("encrypted"));
        EXPECT_EQ(bytesOf(byToken), bytesOf(byOpenssl)) << length;

        MiByte back;
        ASSERT_EQ(onToken->Decrypt(alg, key, byOpenssl, back), 0) << length;
        EXPECT_EQ(bytesOf(back), bytesOf(plain)) << length;
        ASSERT_EQ(software->Decrypt(alg, key, byToken, back), 0) << length;
        EXPECT_EQ(bytesOf(back), bytesOf(plain)) << length;
    }
}

TEST_F(token_cipher_test, CiphersThatTheTokenDoesNotHave) {
    load();
    Op op(tokenSelection());
    MiByte out;
    EXPECT_EQ(op->Encrypt(algorithm(token::kDesCbc, kIv), sessionKey(token::kDesKey, Bytes(8, 1)), bytes("x"), out),
              CKR_MECHANISM_INVALID);
    EXPECT_EQ(
        op->Encrypt(algorithm(token::kRc2Cbc, kIv, 128), sessionKey(token::kRc2Key, Bytes(16, 1)), bytes("x"), out),
        CKR_ATTRIBUTE_VALUE_INVALID);
    EXPECT_EQ(op->Encrypt(algorithm(token::kRc4), sessionKey(token::kRc4Key, Bytes(16, 1)), bytes("x"), out),
              CKR_ATTRIBUTE_VALUE_INVALID);
    // The session goes on.
    EXPECT_EQ(op->Encrypt(algorithm(token::kDes3Cbc, kIv), sessionKey(token::kDes3Key, kDes3), bytes("x"), out), 0);
}

TEST_F(token_cipher_test, RsaBetweenTokenSoftwareAndOpenssl) {
    for (const int bits : {512, 1024, 2048, 4096})
        writeKeys(ofBits(bits), std::to_string(bits));
    load();
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    const VT_P11_Alg alg = algorithm(token::kRsa);
    for (const int bits : {512, 1024, 2048, 4096}) {
        const std::string name = std::to_string(bits);
        const VT_P11_Key publicCard = labelled(token::kRsaPublicKey, (name + " public").c_str());
        const VT_P11_Key privateCard = labelled(token::kRsaPrivateKey, (name + " private").c_str());
        const MiByte secret = bytes(kDes3);
        MiByte back;

        MiByte byToken;
        ASSERT_EQ(onToken->Encrypt(alg, publicCard, secret, byToken), 0) << bits;
        EXPECT_EQ(byToken.GetLength() * 8, static_cast<unsigned>(bits));
        ASSERT_EQ(software->Decrypt(alg, privateKey(ofBits(bits)), byToken, back), 0) << bits;
        EXPECT_EQ(bytesOf(back), kDes3) << bits;
        writePem(ofBits(bits));
        file("encrypted", bytesOf(byToken));
        openssl("pkeyutl -decrypt -inkey private.pem -in encrypted -out decrypted");
        EXPECT_EQ(readFile("decrypted"), kDes3) << bits;

        MiByte bySoftware;
        ASSERT_EQ(software->Encrypt(alg, publicKey(ofBits(bits)), secret, bySoftware), 0) << bits;
        ASSERT_EQ(onToken->Decrypt(alg, privateCard, bySoftware, back), 0) << bits;
        EXPECT_EQ(bytesOf(back), kDes3) << bits;

        file("plain", kDes3);
        openssl("pkeyutl -encrypt -pubin -inkey public.pem -in plain -out encrypted");
        ASSERT_EQ(onToken->Decrypt(alg, privateCard, bytes(readFile("encrypted")), back), 0) << bits;
        EXPECT_EQ(bytesOf(back), kDes3) << bits;
        ASSERT_EQ(onToken->Decrypt(alg, privateKey(ofBits(bits)), bytes(readFile("encrypted")), back), 0) << bits;
        EXPECT_EQ(bytesOf(back), kDes3) << bits;
    }
}

TEST_F(token_cipher_test, BigRsaAsksForTheSize) {
    writeKeys(ofBits(2048), "card");
    load();
    Op op(tokenSelection());
    Op software(softwareSelection());
    const VT_P11_Key publicCard = labelled(token::kRsaPublicKey, "card public");
    const VT_P11_Key privateCard = labelled(token::kRsaPrivateKey, "card private");
    const MiByte most = bytes(pattern(245));
    MiByte encrypted;
    ASSERT_EQ(op->RSABigEncrypt(publicCard, most, encrypted), 0);
    EXPECT_EQ(encrypted.GetLength(), 256U);
    MiByte back;
    ASSERT_EQ(op->RSABigDecrypt(privateCard, encrypted, back), 0);
    EXPECT_EQ(bytesOf(back), bytesOf(most));
    ASSERT_EQ(software->RSABigDecrypt(privateKey(ofBits(2048)), encrypted, back), 0);
    EXPECT_EQ(bytesOf(back), bytesOf(most));

    // Software makes blocks of a longer input; a token is given all of it in one call, and refuses.
    const MiByte more = bytes(pattern(246));
    ASSERT_EQ(software->RSABigEncrypt(publicKey(ofBits(2048)), more, encrypted), 0);
    EXPECT_EQ(encrypted.GetLength(), 512U);
    EXPECT_GT(op->RSABigDecrypt(privateCard, encrypted, back), 0);
    Op fresh(tokenSelection());
    EXPECT_GT(fresh->RSABigEncrypt(publicCard, more, encrypted), 0);
}

TEST_F(token_cipher_test, ATokenRecoversNoSignature) {
    writeKeys(ofBits(1024), "card");
    load();
    Op op(tokenSelection());
    MiByte signature;
    ASSERT_EQ(
        op->SignRecover(algorithm(token::kRsa), labelled(token::kRsaPrivateKey, "card private"), bytes("x"), signature),
        0);
    MiByte back;
    EXPECT_GT(op->VerifyRecover(algorithm(token::kRsa), labelled(token::kRsaPublicKey, "card public"), signature, back),
              0)
        << "which would be a decryption with the public key";
    Op software(softwareSelection());
    ASSERT_EQ(software->VerifyRecover(algorithm(token::kRsa), publicKey(ofBits(1024)), signature, back), 0);
    EXPECT_EQ(bytesOf(back), Bytes{'x'});
}

TEST_F(token_cipher_test, DamagedCiphertextIsTheModulesAnswer) {
    writeKeys(ofBits(1024), "card");
    load();
    Op op(tokenSelection());
    MiByte out;
    EXPECT_GT(op->Decrypt(algorithm(token::kRsa), labelled(token::kRsaPrivateKey, "card private"),
                          bytes(std::string(128, '\x01')), out),
              0);
    EXPECT_GT(op->Decrypt(algorithm(token::kDes3Cbc, kIv), sessionKey(token::kDes3Key, kDes3),
                          bytes(std::string(9, 'x')), out),
              0);
    EXPECT_GT(op->Decrypt(algorithm(token::kDes3Cbc, kIv), sessionKey(token::kDes3Key, kDes3),
                          bytes(std::string(16, 'x')), out),
              0);
    EXPECT_TRUE(out.Empty());
}

TEST_F(token_cipher_test, DigestsAreTheSameAndMd2IsSoftwareAlone) {
    load();
    Op onToken(tokenSelection());
    MiByte digest;
    ASSERT_EQ(onToken->Digest(algorithm(token::kSha1), bytes("abc"), digest), 0);
    EXPECT_EQ(toHex(bytesOf(digest)), "A9 99 3E 36 47 06 81 6A BA 3E 25 71 78 50 C2 6C 9C D0 D8 9D");
    ASSERT_EQ(onToken->Digest(algorithm(token::kMd5), bytes("abc"), digest), 0);
    EXPECT_EQ(toHex(bytesOf(digest)), "90 01 50 98 3C D2 4F B0 D6 96 3F 7D 28 E1 7F 72");
    EXPECT_EQ(onToken->Digest(algorithm(token::kMd2), bytes("abc"), digest), CKR_MECHANISM_INVALID);

    Op software(softwareSelection());
    const MiByte large = bytes(pattern(1000000));
    for (const int type : {token::kSha1, token::kMd5}) {
        MiByte bySoftware;
        ASSERT_EQ(onToken->Digest(algorithm(type), large, digest), 0);
        ASSERT_EQ(software->Digest(algorithm(type), large, bySoftware), 0);
        EXPECT_EQ(bytesOf(digest), bytesOf(bySoftware));
    }
}

TEST_F(token_cipher_test, RandomNumbersOfATokenDoNotRepeat) {
    load();
    Op op(tokenSelection());
    MiByte first;
    MiByte second;
    ASSERT_EQ(op->GenerateRandom(first, 32, bytes("seed")), 0);
    ASSERT_EQ(op->GenerateRandom(second, 32, bytes("seed")), 0);
    EXPECT_EQ(first.GetLength(), 32U);
    EXPECT_NE(bytesOf(first), bytesOf(second));
    MiByte none;
    EXPECT_EQ(op->GenerateRandom(none, 0, bytes("seed")), 0);
    EXPECT_TRUE(none.Empty());
}

}  // namespace
