// Key blobs, key DER and requests between the flat functions and openssl; and key objects on a SoftHSM token, whose
// signatures openssl verifies.
#include <gmock/gmock.h>

#include <functional>

#include "pki/flat/flat.h"
#include "tests/interop/soft_token.h"

namespace {

using namespace interop;
using testing::HasSubstr;

PKCS_Blob blobOf(Bytes& value) {
    return {value.data(), static_cast<std::uint32_t>(value.size())};
}

// The bytes of a converter that is asked for the length first.
Bytes converted(const std::function<int32_t(std::uint8_t*, std::uint32_t*)>& convert) {
    std::uint32_t length = 0;
    EXPECT_EQ(convert(nullptr, &length), 0);
    Bytes out(length);
    EXPECT_EQ(convert(out.data(), &length), 0);
    return out;
}

struct Record {
    PKCS_PriKey key = {};
    explicit Record(const Bytes& der) {
        Bytes copy = der;
        const PKCS_Blob blob = blobOf(copy);
        EXPECT_EQ(VT_PKCS1PriKeyDecode(&blob, &key), 0);
    }
    ~Record() { PKCS_FreePriKey(&key); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
};

class key_interop_test : public SoftTokenTest {
  protected:
    // A new key as key.der (RSAPrivateKey) and key.blob.
    Bytes makeKey(int bits) const {
        openssl("genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:" + std::to_string(bits) + " -out key.pem");
        openssl("rsa -in key.pem -traditional -outform DER -out key.der");
        openssl("rsa -in key.pem -outform MSBLOB -out key.blob");
        return readFile("key.der");
    }

    // What openssl makes of a blob.
    Bytes derOf(const Bytes& blob) const {
        file("ours.blob", blob);
        openssl("rsa -inform MSBLOB -in ours.blob -traditional -outform DER -out theirs.der");
        return readFile("theirs.der");
    }

    Bytes publicDerOf(const Bytes& blob) const {
        file("ours.blob", blob);
        openssl("rsa -pubin -inform MSBLOB -in ours.blob -RSAPublicKey_out -outform DER -out theirs.der");
        return readFile("theirs.der");
    }
};

TEST_F(key_interop_test, OpensslReadsPrivateBlobs) {
    for (int i = 0; i < 2; ++i) {
        const Bytes der = makeKey(2048);
        const auto length = static_cast<std::uint32_t>(der.size());
        EXPECT_EQ(
            derOf(converted([&](auto* out, auto* size) { return VT_P1DerToMSPriKey(der.data(), length, out, size); })),
            der);
        const Record small(makeKey(1024));
        EXPECT_EQ(derOf(converted(
                      [&](auto* out, auto* size) { return VT_VPKToMSPriKey1024(nullptr, &small.key, out, size); })),
                  readFile("key.der"));
    }
}

TEST_F(key_interop_test, PrivateBlobsOfOpensslAreRead) {
    for (int i = 0; i < 2; ++i) {
        const Bytes der = makeKey(2048);
        const Bytes blob = readFile("key.blob");
        EXPECT_EQ(converted([&](auto* out, auto* size) { return VT_MSPriKeyToP1Der(blob.data(), out, size); }), der);
    }
}

TEST_F(key_interop_test, OpensslReadsPublicBlobs) {
    const Record key(makeKey(2048));
    const PKCS_PubKey numbers = {key.key.modulus, key.key.publicExponent};
    openssl("rsa -in key.pem -RSAPublicKey_out -outform DER -out public.der");
    EXPECT_EQ(
        publicDerOf(converted([&](auto* out, auto* size) { return VT_VPKToMSPubKey(nullptr, &numbers, out, size); })),
        readFile("public.der"));
    PKCS_Blob der = {};
    ASSERT_EQ(VT_PKCS1PubKeyEncode(&numbers, &der), 0);
    EXPECT_EQ(Bytes(der.data, der.data + der.length), readFile("public.der"));
    T_free(der.data);
}

TEST_F(key_interop_test, PrivateDerIsThatOfOpenssl) {
    for (const int bits : {512, 1024, 2048, 3072}) {
        const Record key(makeKey(bits));
        PKCS_Blob der = {};
        ASSERT_EQ(VT_PKCS1PriKeyEncode(&key.key, &der), 0);
        EXPECT_EQ(Bytes(der.data, der.data + der.length), readFile("key.der")) << bits;
        T_free(der.data);
    }
}

// ---- The token family, on a token

class key_interop_test_objects : public key_interop_test {
  protected:
    void SetUp() override {
        // SoftHSM itself refuses the template of a key pair.
        ASSERT_NO_FATAL_FAILURE(load(VT_TOLERANT_MODULE));
        const PKCS_Settings onToken = {0, "a", 1, "b", 1, 0};
        ASSERT_EQ(PKCS_CreateCtx(&ctx, &onToken), 0);
        ASSERT_EQ(VTPKCS_InitKeyObj(&object), 0);
        const PKCS_Blob publicName = blobOf(publicLabel);
        const PKCS_Blob privateName = blobOf(privateLabel);
        ASSERT_EQ(VTPKCS_GenRSAKeyPair(ctx, &publicKey, &publicName, object, &privateName, 1024, 1), 0);
    }
    void TearDown() override {
        PKCS_FreePubKey(&publicKey);
        VTPKCS_DestroyKeyObj(&object);
        PKCS_DestroyCtx(&ctx);
    }

    // The public key of the pair as holder.pem.
    void writeHolder() const {
        PKCS_Blob der = {};
        EXPECT_EQ(VT_PKCS1PubKeyEncode(&publicKey, &der), 0);
        file("holder.der", Bytes(der.data, der.data + der.length));
        T_free(der.data);
        openssl("rsa -RSAPublicKey_in -inform DER -in holder.der -pubout -out holder.pem");
    }

    // A certificate for the pair in the token, by an authority of openssl's: root.pem.
    Bytes makeCertificate() const {
        writeHolder();
        openssl("req -x509 -newkey rsa:1024 -nodes -sha1 -keyout root.key -subj /CN=Root -days 30 -out root.pem");
        openssl("req -new -newkey rsa:1024 -nodes -sha1 -keyout other.key -subj /CN=Holder -out holder.csr");
        openssl(
            "x509 -req -sha1 -in holder.csr -CA root.pem -CAkey root.key -set_serial 9 -days 30"
            " -force_pubkey holder.pem -outform DER -out certificate.der");
        return readFile("certificate.der");
    }

    int32_t store(const Bytes& certificate) const {
        return VTPKCS_SetCertIntoToken(ctx, certificateLabel.data(), size(certificateLabel), certificate.data(),
                                       size(certificate));
    }

    int32_t belong(const Bytes& keyLabel) const {
        return VTPKCS_CheckCertAndRSAPrivateKeyInToken(ctx, certificateLabel.data(), size(certificateLabel),
                                                       keyLabel.data(), size(keyLabel));
    }

    static std::uint32_t size(const Bytes& value) { return static_cast<std::uint32_t>(value.size()); }

    Bytes publicLabel = bytesOf(bytes(std::string("holder public")));
    Bytes privateLabel = bytesOf(bytes(std::string("holder private")));
    Bytes certificateLabel = bytesOf(bytes(std::string("holder certificate")));
    PKCS_Ctx* ctx = nullptr;
    VTPKCS_KeyObj* object = nullptr;
    PKCS_PubKey publicKey = {};
};

TEST_F(key_interop_test_objects, ThePairLiesInTheToken) {
    EXPECT_EQ(object->kind, VTPKCS_TOKEN_KEY);
    EXPECT_STREQ(object->tokenKeyLabel, "holder private");
    EXPECT_THAT(objects(), AllOf(HasSubstr("holder public"), HasSubstr("holder private")));
    PKCS_PubKey again = {};
    const PKCS_Blob label = blobOf(publicLabel);
    ASSERT_EQ(VTPKCS_GetPubKeyFromToken(ctx, &again, &label), 0);
    EXPECT_EQ(Bytes(again.modulus.data, again.modulus.data + again.modulus.length),
              Bytes(publicKey.modulus.data, publicKey.modulus.data + 128));
    PKCS_FreePubKey(&again);
}

TEST_F(key_interop_test_objects, CertificateAndKeyBelongTogether) {
    const Bytes certificate = makeCertificate();
    EXPECT_EQ(belong(privateLabel), 0) << "no certificate yet";
    ASSERT_EQ(store(certificate), 0);
    EXPECT_EQ(store(certificate), -1028);
    EXPECT_EQ(belong(privateLabel), 1);
    EXPECT_EQ(belong(publicLabel), 1) << "its numbers are the same";
    EXPECT_EQ(belong(certificateLabel), 0);
    std::uint32_t length = 0;
    ASSERT_EQ(VTPKCS_GetCertFromToken(ctx, certificateLabel.data(), size(certificateLabel), nullptr, &length), 0);
    Bytes back(length);
    ASSERT_EQ(VTPKCS_GetCertFromToken(ctx, certificateLabel.data(), size(certificateLabel), back.data(), &length), 0);
    EXPECT_EQ(back, certificate);
}

TEST_F(key_interop_test_objects, OpensslVerifiesWhatTheTokenSigns) {
    Bytes certificate = makeCertificate();
    Bytes content = bytesOf(bytes(std::string("Signed in the token.\n")));
    const PKCS_Blob data = blobOf(content);
    const PKCS_Blob signer = blobOf(certificate);
    for (const int32_t digest : {1, 2}) {
        const PKCS_Alg alg = {digest, nullptr, 0, 0};
        PKCS_Blob message = {};
        ASSERT_EQ(VTPKCS_GenSignedMsg(ctx, &data, &alg, 1, &signer, object, nullptr, nullptr, &message), 0);
        file("signed.der", Bytes(message.data, message.data + message.length));
        openssl("cms -verify -binary -inform DER -in signed.der -CAfile root.pem -purpose any -out verified");
        EXPECT_EQ(readFile("verified"), content);
        PKCS_Blob found = {};
        PKCS_Blob back = {};
        PKCS_Ctx* software = nullptr;
        ASSERT_EQ(PKCS_CreateCtx(&software, nullptr), 0);
        EXPECT_EQ(VTPKCS_VerifySignedMsg(software, &message, nullptr, nullptr, &found, &back), 0);
        EXPECT_EQ(Bytes(back.data, back.data + back.length), content);
        EXPECT_EQ(Bytes(found.data, found.data + found.length), certificate);
        PKCS_DestroyCtx(&software);
        T_free(found.data);
        T_free(back.data);
        T_free(message.data);
    }
}

TEST_F(key_interop_test_objects, OpensslReadsTheRequest) {
    PKCS_Blob request = {};
    ASSERT_EQ(VTPKCS_GENPKCS10(ctx, object, &publicKey, nullptr, nullptr, 9, &request), 0);
    file("request.der", Bytes(request.data, request.data + request.length));
    T_free(request.data);
    const std::string text = openssl("req -inform DER -in request.der -noout -text -nameopt RFC2253");
    EXPECT_THAT(text, HasSubstr("Subject: C=CN,O=QTSA OCA,OU=Test,CN=Holmar"));
    EXPECT_THAT(text, HasSubstr("Public-Key: (1024 bit)"));
    EXPECT_THAT(text, HasSubstr("holmar@example.com"));
    EXPECT_THAT(text, HasSubstr("Signature Algorithm: sha1WithRSAEncryption"));
    EXPECT_THAT(openssl("asn1parse -inform DER -in request.der"), testing::EndsWith("BIT STRING        \n"));
    writeHolder();
    openssl("req -inform DER -in request.der -noout -pubkey -out theirs.pem");
    EXPECT_EQ(readFile("theirs.pem"), readFile("holder.pem"));
}

}  // namespace
