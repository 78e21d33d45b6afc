// Labels, public keys, key pairs and certificates in a token, between our calls and pkcs11-tool.
#include <algorithm>

#include "schema/schema.h"
#include "tests/interop/soft_token.h"

#if defined(VT_LEAK_CHECKER)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using namespace interop;
using rsakeys::ofBits;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

class token_object_test : public SoftTokenTest {
  protected:
    static bool exists(Op& op, const std::string& label) {
        return op->CheckLabelExistInToken(text(label.c_str()), static_cast<std::uint32_t>(label.size()), 0);
    }

    static RSAPublicKey numbersOf(const RsaKeyVector& vector) {
        RSAPublicKey key;
        EXPECT_EQ(publicKey(vector).getRSAPublicKey(key), 0);
        return key;
    }

    static bool isPairOf(Op& op, const RSAPublicKey& key, const std::string& label) {
        return op->CheckRSAKeyPair(key, text(label.c_str()), static_cast<std::uint32_t>(label.size()));
    }

    static int storeCertificate(Op& op, const std::string& label, const Bytes& der) {
        return op->SetCertIntoToken(text(label.c_str()), static_cast<std::uint32_t>(label.size()), der.data(),
                                    static_cast<std::uint32_t>(der.size()));
    }

    static std::uint32_t certificateLength(Op& op, const std::string& label) {
        std::uint32_t length = 99;
        EXPECT_EQ(op->GetCertFromToken(text(label.c_str()), static_cast<std::uint32_t>(label.size()), nullptr, &length),
                  0);
        return length;
    }

    static Bytes certificate(Op& op, const std::string& label) {
        Bytes der(certificateLength(op, label));
        auto length = static_cast<std::uint32_t>(der.size());
        EXPECT_EQ(
            op->GetCertFromToken(text(label.c_str()), static_cast<std::uint32_t>(label.size()), der.data(), &length),
            0);
        return der;
    }

    // A certificate by openssl for the key.
    Bytes makeCertificate(const RsaKeyVector& vector) const {
        writePem(vector);
        openssl("req -x509 -key private.pem -sha1 -subj /CN=Alice -days 30 -outform DER -out certificate.der");
        return readFile("certificate.der");
    }
};

// For calls in which SoftHSM itself leaks.
template <class Call>
int withLeaks(Call&& call) {
#if defined(VT_LEAK_CHECKER)
    const __lsan::ScopedDisabler disabled;
#endif
    return call();
}

std::string modulusOf(const VT_P11_Key& key) {
    VT_PKCS11_RSA_PUBLIC_KEY numbers = {};
    EXPECT_EQ(key.getPublicKey(&numbers), 0);
    std::string digits = support::toHex(numbers.modulus.data, numbers.modulus.length);
    VT_FreePublicKey(&numbers);
    return digits;
}

TEST_F(token_object_test, LabelsThatExist) {
    writeKeys(ofBits(1024), "card");
    write(makeCertificate(ofBits(1024)), "cert", "card certificate");
    load();
    Op op(tokenSelection());
    EXPECT_TRUE(exists(op, "card private"));
    EXPECT_TRUE(exists(op, "card public"));
    EXPECT_TRUE(exists(op, "card certificate"));
    for (const char* label : {"card", "card publi", "card public ", "Card public", ""})
        EXPECT_FALSE(exists(op, label)) << label;
    Op software(softwareSelection());
    EXPECT_FALSE(exists(software, "card public"));
}

TEST_F(token_object_test, PublicKeysAreRead) {
    for (const int bits : {512, 1024, 2048, 4096})
        write(publicKeyDer(ofBits(bits)), "pubkey", std::to_string(bits));
    load();
    Op op(tokenSelection());
    for (const int bits : {512, 1024, 2048, 4096}) {
        VT_P11_Key key;
        ASSERT_EQ(op->GetHardPubKey(bytes(std::to_string(bits)), key), 0);
        int type = 0;
        key.getKeyType(type);
        EXPECT_EQ(type, token::kRsaPublicKey);
        EXPECT_EQ(modulusOf(key), support::toHex(support::hex(ofBits(bits).items[RSA_MODULUS])));
    }
    VT_P11_Key key;
    EXPECT_EQ(op->GetHardPubKey(bytes("none"), key), crypto::kObjectNotFound);
    EXPECT_EQ(op->GetHardPubKey(MiByte(), key), token::kNullArgument);
    Op software(softwareSelection());
    EXPECT_EQ(software->GetHardPubKey(bytes("1024"), key), crypto::kArgumentAbsent);
}

TEST_F(token_object_test, KeyPairsAreCompared) {
    writeKeys(ofBits(1024), "card");
    load();
    Op op(tokenSelection());
    EXPECT_TRUE(isPairOf(op, numbersOf(ofBits(1024)), "card public"));
    EXPECT_TRUE(isPairOf(op, numbersOf(ofBits(1024)), "card private")) << "SoftHSM tells the public half of it too";
    EXPECT_FALSE(isPairOf(op, numbersOf(ofBits(2048)), "card public"));
    EXPECT_FALSE(isPairOf(op, numbersOf(ofBits(1024)), "none"));
    EXPECT_FALSE(isPairOf(op, numbersOf(ofBits(1024)), ""));
    EXPECT_FALSE(isPairOf(op, RSAPublicKey(), "card public"));
    RSAPublicKey otherExponent = numbersOf(ofBits(1024));
    otherExponent.SetPublicExponent(AsnInteger(3));
    EXPECT_FALSE(isPairOf(op, otherExponent, "card public"));
}

TEST_F(token_object_test, StrictTokenRefusesAGeneratedPair) {
    load();
    Op op(tokenSelection());
    VT_P11_Key publicHalf;
    VT_P11_Key privateHalf;
    EXPECT_EQ(op->GenRSAKeyPair(publicHalf, bytes("pub"), privateHalf, bytes("priv"), 1024, 1),
              CKR_ATTRIBUTE_TYPE_INVALID);
    // SoftHSM leaves the private key's hull, without a label.
    EXPECT_THAT(objects(), Not(AnyOf(HasSubstr("Public Key Object"), HasSubstr("label:      p"))));
}

TEST_F(token_object_test, TolerantTokenGeneratesAPair) {
    load(VT_TOLERANT_MODULE);
    Op op(tokenSelection());
    for (const int bits : {512, 1024, 2048}) {
        const std::string name = std::to_string(bits);
        VT_P11_Key publicHalf;
        VT_P11_Key privateHalf;
        ASSERT_EQ(
            op->GenRSAKeyPair(publicHalf, bytes(name + " public"), privateHalf, bytes(name + " private"), bits, 1), 0);
        // What it signs, openssl verifies with the public half as the token tells it to pkcs11-tool.
        MiByte signature;
        ASSERT_EQ(op->Sign(algorithm(token::kSha1Rsa), privateHalf, bytes("hello"), signature), 0);
        EXPECT_EQ(signature.GetLength() * 8, static_cast<unsigned>(bits));
        file("data", "hello");
        file("signature", bytesOf(signature));
        pkcs11("--read-object --type pubkey --label '" + name + " public' -o " + file("public.der"));
        openssl("dgst -sha1 -verify public.der -keyform DER -signature signature data");
        // And what the call gave out is that key.
        EXPECT_THAT(openssl("rsa -pubin -inform DER -in public.der -noout -modulus"), HasSubstr("Modulus=" + [&] {
                        std::string digits = modulusOf(publicHalf);
                        digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
                        std::transform(digits.begin(), digits.end(), digits.begin(),
                                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
                        return digits;
                    }()));
    }
    const std::string listed = objects();
    EXPECT_THAT(listed, HasSubstr("2048 private"));
    EXPECT_THAT(listed, HasSubstr("2048 public"));
}

TEST_F(token_object_test, TolerantTokenCountsOtherSizesAs1024) {
    load(VT_TOLERANT_MODULE);
    Op op(tokenSelection());
    VT_P11_Key publicHalf;
    VT_P11_Key privateHalf;
    ASSERT_EQ(op->GenRSAKeyPair(publicHalf, bytes("pub"), privateHalf, bytes("priv"), 1536, 5), 0);
    EXPECT_THAT(objects(), HasSubstr("RSA 1024 bits"));
}

TEST_F(token_object_test, TakenLabelsAreRefused) {
    writeKeys(ofBits(1024), "card");
    load(VT_TOLERANT_MODULE);
    Op op(tokenSelection());
    VT_P11_Key publicHalf;
    VT_P11_Key privateHalf;
    EXPECT_EQ(op->GenRSAKeyPair(publicHalf, bytes("card public"), privateHalf, bytes("new"), 1024, 1),
              token::kPublicLabelExists);
    EXPECT_EQ(op->GenRSAKeyPair(publicHalf, bytes("new"), privateHalf, bytes("card private"), 1024, 1),
              token::kPrivateLabelExists);
    EXPECT_EQ(op->GenRSAKeyPair(publicHalf, bytes("new"), privateHalf, MiByte(), 1024, 1), token::kNullArgument);
    const Bytes der = {0x30, 0x00};
    EXPECT_EQ(storeCertificate(op, "card public", der), token::kCertificateLabelExists);
    EXPECT_FALSE(exists(op, "new"));
}

TEST_F(token_object_test, StrictTokenRefusesACertificate) {
    const Bytes der = makeCertificate(ofBits(1024));
    load();
    Op op(tokenSelection());
    // SoftHSM 2.6 does not free what it has refused.
    EXPECT_EQ(withLeaks([&] { return storeCertificate(op, "cert", der); }), CKR_TEMPLATE_INCOMPLETE);
    EXPECT_THAT(objects(), Not(HasSubstr("label:      cert")));
    Op software(softwareSelection());
    EXPECT_EQ(storeCertificate(software, "cert", der), crypto::kArgumentAbsent);
}

TEST_F(token_object_test, CertificateOfPkcs11ToolIsRead) {
    const Bytes der = makeCertificate(ofBits(1024));
    write(der, "cert", "cert");
    writeKeys(ofBits(1024), "card");
    load();
    Op op(tokenSelection());
    EXPECT_EQ(certificate(op, "cert"), der);
    for (const char* label : {"none", "card public", "cer"})
        EXPECT_EQ(certificateLength(op, label), 0U) << label;
    std::uint32_t length = 0;
    EXPECT_EQ(op->GetCertFromToken(nullptr, 4, nullptr, &length), token::kNullArgument);
    EXPECT_EQ(op->GetCertFromToken(text("cert"), 4, nullptr, nullptr), token::kNullArgument);
}

TEST_F(token_object_test, CertificateIsReadByPkcs11Tool) {
    const Bytes der = makeCertificate(ofBits(2048));
    load(VT_TOLERANT_MODULE);
    Op op(tokenSelection());
    ASSERT_EQ(storeCertificate(op, "cert", der), 0);
    EXPECT_EQ(storeCertificate(op, "cert", der), token::kCertificateLabelExists);
    EXPECT_EQ(certificate(op, "cert"), der);
    pkcs11("--read-object --type cert --label cert -o " + file("read.der"));
    EXPECT_EQ(readFile("read.der"), der);
}

TEST_F(token_object_test, SessionKeysDoNotStay) {
    load();
    {
        Op op(tokenSelection());
        MiByte signature;
        ASSERT_EQ(op->Sign(algorithm(token::kRsa), privateKey(ofBits(1024)), bytes("hello"), signature), 0);
        MiByte encrypted;
        ASSERT_EQ(op->Encrypt(algorithm(token::kDes3Cbc, Bytes(8, 1)), sessionKey(token::kDes3Key, Bytes(24, 7)),
                              bytes("hello"), encrypted),
                  0);
    }
    EXPECT_THAT(objects(), Not(HasSubstr("Object")));
}

}  // namespace
