// Signatures between a token, the software engine and openssl, with one key in all three.
#include "schema/schema.h"
#include "tests/interop/soft_token.h"
#include "tests/support/der.h"

namespace {

using namespace interop;
using rsakeys::ofBits;
using support::hex;

// A digest with RSA: the codes, openssl's name, and what stands ahead of the digest in a DigestInfo (RFC 8017, 9.2).
struct Scheme {
    int digest;
    int signature;
    const char* option;
    const char* prefix;
};
constexpr Scheme kSchemes[] = {
    {token::kSha1, token::kSha1Rsa, "-sha1", "30 21 30 09 06 05 2b 0e 03 02 1a 05 00 04 14"},
    {token::kMd5, token::kMd5Rsa, "-md5", "30 20 30 0c 06 08 2a 86 48 86 f7 0d 02 05 05 00 04 10"},
};

const std::string kText = "The quick brown fox";

class token_signature_test : public SoftTokenTest {
  protected:
    // The key lies in the token and beside openssl.
    void SetUp() override {
        writeKeys(ofBits(1024), "card");
        writePem(ofBits(1024));
        file("data", kText);
        ASSERT_NO_FATAL_FAILURE(load());
    }

    static MiByte digestInfo(const Scheme& scheme) {
        Op op(softwareSelection());
        MiByte digest;
        EXPECT_EQ(op->Digest(algorithm(scheme.digest), bytes(kText), digest), 0);
        return bytes(der::join({hex(scheme.prefix), bytesOf(digest)}));
    }

    Bytes signatureOfOpenssl(const Scheme& scheme) const {
        openssl(std::string("dgst ") + scheme.option + " -sign private.pem -out signature data");
        return readFile("signature");
    }

    const VT_P11_Key privateCard_ = labelled(token::kRsaPrivateKey, "card private");
    const VT_P11_Key publicCard_ = labelled(token::kRsaPublicKey, "card public");
};

TEST_F(token_signature_test, DigestInfoSignedByAllThreeIsTheSame) {
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    for (const Scheme& scheme : kSchemes) {
        MiByte byToken;
        ASSERT_EQ(onToken->Sign(algorithm(token::kRsa), privateCard_, digestInfo(scheme), byToken), 0);
        MiByte byLoadedKey;
        ASSERT_EQ(onToken->Sign(algorithm(token::kRsa), privateKey(ofBits(1024)), digestInfo(scheme), byLoadedKey), 0);
        MiByte bySoftware;
        ASSERT_EQ(software->Sign(algorithm(token::kRsa), privateKey(ofBits(1024)), digestInfo(scheme), bySoftware), 0);
        const Bytes byOpenssl = signatureOfOpenssl(scheme);
        EXPECT_EQ(bytesOf(byToken), byOpenssl) << scheme.option;
        EXPECT_EQ(bytesOf(byLoadedKey), byOpenssl) << scheme.option;
        EXPECT_EQ(bytesOf(bySoftware), byOpenssl) << scheme.option;
    }
}

TEST_F(token_signature_test, OthersVerifyWhatTheTokenSigns) {
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    for (const Scheme& scheme : kSchemes) {
        MiByte signature;
        ASSERT_EQ(onToken->Sign(algorithm(token::kRsa), privateCard_, digestInfo(scheme), signature), 0);
        EXPECT_EQ(software->Verify(algorithm(token::kRsa), publicKey(ofBits(1024)), digestInfo(scheme), signature), 0);
        file("signature", bytesOf(signature));
        openssl(std::string("dgst ") + scheme.option + " -verify public.pem -signature signature data");
    }
}

TEST_F(token_signature_test, TokenVerifiesWhatOthersSign) {
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    for (const Scheme& scheme : kSchemes) {
        MiByte signature;
        ASSERT_EQ(software->Sign(algorithm(token::kRsa), privateKey(ofBits(1024)), digestInfo(scheme), signature), 0);
        EXPECT_EQ(onToken->Verify(algorithm(token::kRsa), publicCard_, digestInfo(scheme), signature), 0);
        const MiByte ofOpenssl = bytes(signatureOfOpenssl(scheme));
        EXPECT_EQ(onToken->Verify(algorithm(scheme.signature), publicCard_, bytes(kText), ofOpenssl), 0);
    }
}

TEST_F(token_signature_test, WrongSignaturesAreTheModulesAnswer) {
    Op onToken(tokenSelection());
    const MiByte right = bytes(signatureOfOpenssl(kSchemes[0]));
    MiByte wrong = right;
    wrong.SetCharAt(100, static_cast<unsigned char>(wrong.CharAt(100) ^ 1U));
    for (const Scheme& scheme : kSchemes)
        EXPECT_EQ(onToken->Verify(algorithm(scheme.signature), publicCard_, bytes(kText), wrong),
                  CKR_SIGNATURE_INVALID);
    EXPECT_EQ(onToken->Verify(algorithm(token::kSha1Rsa), publicCard_, bytes("other"), right), CKR_SIGNATURE_INVALID);
    EXPECT_EQ(onToken->Verify(algorithm(token::kSha1Rsa), publicCard_, bytes(kText), MiByte(right.GetChars(), 127)),
              CKR_SIGNATURE_LEN_RANGE);
    EXPECT_EQ(onToken->Verify(algorithm(token::kSha1Rsa), publicCard_, bytes(kText), right), 0)
        << "the session goes on";
}

TEST_F(token_signature_test, DigestIsWrappedByATokenAndBareInSoftware) {
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    for (const Scheme& scheme : kSchemes) {
        MiByte byToken;
        ASSERT_EQ(onToken->Sign(algorithm(scheme.signature), privateCard_, bytes(kText), byToken), 0);
        EXPECT_EQ(bytesOf(byToken), signatureOfOpenssl(scheme)) << "which is what the rest of the world means by it";
        EXPECT_EQ(software->Verify(algorithm(token::kRsa), publicKey(ofBits(1024)), digestInfo(scheme), byToken), 0);
        EXPECT_EQ(software->Verify(algorithm(scheme.signature), publicKey(ofBits(1024)), bytes(kText), byToken),
                  crypto::kVerificationFailed);

        MiByte bySoftware;
        ASSERT_EQ(software->Sign(algorithm(scheme.signature), privateKey(ofBits(1024)), bytes(kText), bySoftware), 0);
        MiByte digest;
        ASSERT_EQ(software->Digest(algorithm(scheme.digest), bytes(kText), digest), 0);
        EXPECT_EQ(onToken->Verify(algorithm(token::kRsa), publicCard_, digest, bySoftware), 0);
        EXPECT_EQ(onToken->Verify(algorithm(scheme.signature), publicCard_, bytes(kText), bySoftware),
                  CKR_SIGNATURE_INVALID);
    }
}

TEST_F(token_signature_test, KeysOfEachSize) {
    Op onToken(tokenSelection());
    Op software(softwareSelection());
    for (const int bits : {512, 2048}) {
        MiByte byToken;
        ASSERT_EQ(onToken->Sign(algorithm(token::kRsa), privateKey(ofBits(bits)), digestInfo(kSchemes[0]), byToken), 0);
        MiByte bySoftware;
        ASSERT_EQ(software->Sign(algorithm(token::kRsa), privateKey(ofBits(bits)), digestInfo(kSchemes[0]), bySoftware),
                  0);
        EXPECT_EQ(bytesOf(byToken), bytesOf(bySoftware)) << bits;
    }
    // A signature of 512 bytes does not fit into Sign's 258.
    MiByte recovered;
    MiByte signature;
    ASSERT_EQ(
        onToken->SignRecover(algorithm(token::kRsa), privateKey(ofBits(4096)), digestInfo(kSchemes[0]), recovered), 0);
    EXPECT_EQ(software->Sign(algorithm(token::kRsa), privateKey(ofBits(4096)), digestInfo(kSchemes[0]), signature),
              crypto::kWrongLength);
    EXPECT_EQ(software->Verify(algorithm(token::kRsa), publicKey(ofBits(4096)), digestInfo(kSchemes[0]), recovered), 0);
    EXPECT_EQ(onToken->Sign(algorithm(token::kRsa), privateKey(ofBits(4096)), digestInfo(kSchemes[0]), signature),
              CKR_BUFFER_TOO_SMALL);
    EXPECT_TRUE(signature.Empty());
}

TEST_F(token_signature_test, ASignatureWithoutRoomLeavesTheSessionFree) {
    // PKCS#11 keeps the operation open for a caller with more room, and SoftHSM then lets the session do nothing else.
    Op op(tokenSelection());
    MiByte signature;
    EXPECT_EQ(op->Sign(algorithm(token::kRsa), privateKey(ofBits(4096)), bytes("x"), signature), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(op->Sign(algorithm(token::kRsa), privateKey(ofBits(1024)), bytes("x"), signature), 0);
    EXPECT_EQ(op->Sign(algorithm(token::kRsa), privateCard_, bytes("x"), signature), 0);
}

TEST_F(token_signature_test, WhatTheTokenDoesNotTake) {
    Op op(tokenSelection());
    MiByte out;
    EXPECT_EQ(op->Sign(algorithm(token::kMd2Rsa), privateCard_, bytes(kText), out), CKR_MECHANISM_INVALID);
    EXPECT_EQ(op->Sign(algorithm(token::kRsa), labelled(token::kRsaPrivateKey, "none"), bytes(kText), out),
              crypto::kObjectNotFound);
    EXPECT_EQ(op->Sign(algorithm(token::kRsa), privateCard_, bytes(std::string(118, 'x')), out), CKR_GENERAL_ERROR);
    EXPECT_EQ(op->Verify(algorithm(token::kRsa), publicKey(ofBits(1024)), bytes(kText), bytes(std::string(128, 'x'))),
              CKR_ATTRIBUTE_READ_ONLY)
        << "a created public key that tells its modulus bits";
}

TEST_F(token_signature_test, TolerantTokenTakesALoadedPublicKey) {
    ASSERT_EQ(TokenModuleUnload(), 0);
    ASSERT_NO_FATAL_FAILURE(load(VT_TOLERANT_MODULE));
    Op op(tokenSelection());
    const MiByte signature = bytes(signatureOfOpenssl(kSchemes[0]));
    EXPECT_EQ(op->Verify(algorithm(token::kSha1Rsa), publicKey(ofBits(1024)), bytes(kText), signature), 0);
    EXPECT_EQ(op->Verify(algorithm(token::kSha1Rsa), publicKey(ofBits(1024)), bytes("other"), signature),
              CKR_SIGNATURE_INVALID);
}

}  // namespace
