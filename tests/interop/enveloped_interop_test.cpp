// Digested, encrypted and enveloped messages and requests between this library and openssl and NSS's cmsutil, both
// ways.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/flat/envelopes.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"

namespace {

using namespace envelopes;
using testing::HasSubstr;

const std::string kShort = "Sealed by one, opened by the other.\n";

std::string megabyte() {
    std::string text;
    for (int i = 0; text.size() < 1 << 20; ++i)
        text += "line " + std::to_string(i) + "\n";
    return text;
}

Bytes toBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string toText(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// RSAPrivateKey of a key of the vectors.
Bytes privateKeyDer(const KeyItems& items) {
    Bytes numbers = der::integer(0);
    for (const char* item : items) {
        const Bytes number = hex(item);
        numbers = der::join({numbers, der::tlv(0x02, number[0] < 0x80 ? number : der::join({{0}, number}))});
    }
    return der::tlv(0x30, numbers);
}

struct Who {
    const char* name;
    const char* certificate;
    const KeyItems& key;
};

const Who kRecipient = {"recipient", vectors::kRecipientCertificate, vectors::kRecipientKey};
const Who kLarge = {"large", vectors::kLargeCertificate, vectors::kLargeKey};

struct Cipher {
    const char* option;  // of openssl's commands for enveloped messages
    int32_t type;
    std::uint32_t bits;      // of the session key
    const char* encryption;  // of its command for encrypted ones
};

const Cipher kCiphers[] = {
    {"-des3", 5, 192, "-des3"},        {"-des", 4, 64, "-des"},          {"-rc2-40", 6, 40, "-rc2-40-cbc"},
    {"-rc2-64", 6, 64, "-rc2-64-cbc"}, {"-rc2-128", 6, 128, "-rc2-128"}, {"-rc4", 7, 128, "-rc4"},
};

// Of RC4, openssl opens only what has an empty string as parameters, as it writes them itself; NSS takes NULL, too.
bool isRc4(const Cipher& cipher) {
    return cipher.type == 7;
}

Bytes ivFor(const Cipher& cipher) {
    return isRc4(cipher) ? Bytes() : kIv;
}

Bytes secretFor(const Cipher& cipher) {
    return {kDes3Key.begin(), kDes3Key.begin() + cipher.bits / 8};
}

std::string line(std::initializer_list<std::string_view> words) {
    std::string all;
    for (const std::string_view word : words)
        all += word;
    return all;
}

class enveloped_interop_test : public testing::Test {
  protected:
    enveloped_interop_test() {
        for (const Who& who : {kRecipient, kLarge}) {
            const std::string name = who.name;
            home.file(name + ".der", toText(hex(who.certificate)));
            home.file(name + "_key.der", toText(privateKeyDer(who.key)));
            run(line({"openssl x509 -inform DER -in ", name, ".der -out ", name, ".pem"}));
            run(line({"openssl rsa -inform DER -in ", name, "_key.der -out ", name, ".key"}));
        }
    }

    support::ToolResult attempt(const std::string& command) {
        return support::tool("cd '" + home.path() + "' && { " + command + "; }");
    }

    // A command line in the scratch folder, which must succeed.
    std::string run(const std::string& command) {
        const support::ToolResult result = attempt(command);
        EXPECT_EQ(result.status, 0) << command << "\n" << result.output;
        return result.output;
    }

    // The same for openssl, with its old ciphers.
    std::string openssl(const std::string& command, const std::string& arguments) {
        return run("openssl " + command + " -provider legacy -provider default " + arguments);
    }

    std::string file(const std::string& name) {
        std::ifstream stream(home.file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void keep(const char* name, const Output& output) { home.file(name, toText(output.bytes())); }

    // Writes ours.der, and ciphertext if it is apart.
    void envelop(const std::string& text, const Cipher& cipher, const Who& who, int32_t mode) {
        Output message, ciphertext;
        ASSERT_EQ(
            PKCS7_WriteEnvelopedDataMsg(ctx, Input(toBytes(text)), Algorithm(cipher.type, ivFor(cipher), cipher.bits),
                                        Algorithm(8), mode, Input(who.certificate), ciphertext, message),
            0);
        keep("ours.der", message);
        keep("ciphertext", ciphertext);
    }

    // What the reader makes of theirs.der: the text, or "code n".
    template <class Read>
    std::string theirs(Read read) {
        const Input message(toBytes(file("theirs.der")));
        Output data;
        const int32_t code = read(message, data);
        return code == 0 ? toText(data.bytes()) : "code " + std::to_string(code);
    }

    std::string opened(const Who& who) {
        const PrivateKey key(who.key);
        return theirs([&](const PKCS_Blob* message, PKCS_Blob* data) {
            return PKCS7_ReadEnvelopedDataMsg(ctx, message, 1, key, nullptr, data);
        });
    }

    std::string decrypted(const Bytes& secret) {
        return theirs([&](const PKCS_Blob* message, PKCS_Blob* data) {
            return PKCS7_ReadEncryptedDataMsg(ctx, message, Input(secret), data);
        });
    }

    std::string digested() {
        return theirs(
            [&](const PKCS_Blob* message, PKCS_Blob* data) { return PKCS7_ReadDigestedDataMsg(ctx, message, data); });
    }

    // An NSS database with the recipient's certificate and key.
    void fillDatabase() {
        run("mkdir db && certutil -N -d sql:db --empty-password");
        run("openssl pkcs12 -export -inkey recipient.key -in recipient.pem -name recipient -passout pass:x -out r.p12");
        run("pk12util -d sql:db -i r.p12 -W x");
    }

    support::ScratchHome home;
    MessageContext ctx;
};

// ---- Enveloped

TEST_F(enveloped_interop_test, OpensslOpensWhatWeEnvelop) {
    for (const std::string& text : {kShort, megabyte()})
        for (const Who& who : {kRecipient, kLarge})
            for (const Cipher& cipher : kCiphers) {
                if (isRc4(cipher) || (text != kShort && cipher.type != 5))
                    continue;
                envelop(text, cipher, who, 1);
                for (const char* reader : {"cms", "smime"}) {
                    openssl(reader, std::string("-decrypt -binary -inform DER -in ours.der -out opened -recip ") +
                                        who.name + ".pem -inkey " + who.name + ".key");
                    EXPECT_TRUE(file("opened") == text) << reader << cipher.option << who.name;
                }
            }
}

TEST_F(enveloped_interop_test, OpensslOpensDetachedMessages) {
    envelop(kShort, kCiphers[0], kRecipient, 2);
    openssl("cms",
            "-decrypt -binary -inform DER -in ours.der -content ciphertext -out opened -recip recipient.pem"
            " -inkey recipient.key");
    EXPECT_EQ(file("opened"), kShort);
}

TEST_F(enveloped_interop_test, NssOpensWhatWeEnvelop) {
    fillDatabase();
    for (const Cipher& cipher : kCiphers) {
        envelop(kShort, cipher, kRecipient, 1);
        run("cmsutil -D -d sql:db -i ours.der -o opened");
        EXPECT_EQ(file("opened"), kShort) << cipher.option;
    }
    envelop(megabyte(), kCiphers[0], kRecipient, 1);
    run("cmsutil -D -d sql:db -i ours.der -o opened");
    EXPECT_TRUE(file("opened") == megabyte());
}

TEST_F(enveloped_interop_test, WeOpenWhatOpensslEnvelops) {
    home.file("text", kShort);
    home.file("large", megabyte());
    openssl("cms", "-encrypt -binary -outform DER -des3 -in large -out theirs.der recipient.pem");
    EXPECT_TRUE(opened(kRecipient) == megabyte());
    for (const char* writer : {"cms", "smime"})
        for (const Who& who : {kRecipient, kLarge})
            for (const Cipher& cipher : kCiphers) {
                const std::string arguments = std::string("-encrypt -binary -outform DER ") + cipher.option +
                                              " -in text -out theirs.der " + who.name + ".pem";
                openssl(writer, arguments);
                EXPECT_EQ(opened(who), kShort) << writer << arguments;
            }
}

TEST_F(enveloped_interop_test, WhatIsNewerOrNotDerIsRefused) {
    home.file("text", kShort);
    const std::string encrypt = "-encrypt -binary -in text -outform DER -out theirs.der ";
    openssl("cms", encrypt + "-aes256 recipient.pem");
    EXPECT_EQ(opened(kRecipient), "code -1006");
    openssl("cms", encrypt + "-des3 -recip recipient.pem -keyopt rsa_padding_mode:oaep");
    EXPECT_EQ(opened(kRecipient), "code -1006");
    // Lengths without an end are no DER: a message that begins with one reads as empty.
    openssl("cms", encrypt + "-stream -indef -des3 recipient.pem");
    EXPECT_EQ(opened(kRecipient), "code -1001");
    fillDatabase();
    run("cmsutil -E -d sql:db -r recipient -i text -o theirs.der");
    EXPECT_EQ(opened(kRecipient), "code -1001");
    // NSS encrypts under the key of a message that it can open.
    envelop(kShort, kCiphers[0], kRecipient, 1);
    run("cmsutil -C -d sql:db -e ours.der -i text -o theirs.der");
    EXPECT_EQ(decrypted(kDes3Key), "code -1001");
}

// ---- Encrypted

TEST_F(enveloped_interop_test, OpensslDecryptsWhatWeEncrypt) {
    for (const std::string& text : {kShort, megabyte()})
        for (const Cipher& cipher : kCiphers) {
            if (isRc4(cipher) || (text != kShort && cipher.type != 5))
                continue;
            Bytes secret = secretFor(cipher);
            const auto length = static_cast<std::uint32_t>(secret.size());
            const PKCS_Key key = {secret.data(), length, length};
            const std::uint32_t bits = cipher.type == 6 ? cipher.bits : 0;
            Output message;
            ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(toBytes(text)),
                                                  Algorithm(cipher.type, ivFor(cipher), bits), &key, message),
                      0);
            keep("ours.der", message);
            std::string digits = toHex(secret);
            digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
            openssl("cms", "-EncryptedData_decrypt -binary -inform DER -in ours.der -out opened -secretkey " + digits);
            EXPECT_TRUE(file("opened") == text) << cipher.option;
        }
}

TEST_F(enveloped_interop_test, WeDecryptWhatOpensslEncrypts) {
    home.file("text", kShort);
    for (const Cipher& cipher : kCiphers) {
        const Bytes secret = secretFor(cipher);
        std::string digits = toHex(secret);
        digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
        openssl("cms", std::string("-EncryptedData_encrypt -binary -in text -outform DER -out theirs.der ") +
                           cipher.encryption + " -secretkey " + digits);
        EXPECT_EQ(decrypted(secret), kShort) << cipher.encryption;
    }
}

// ---- Digested

TEST_F(enveloped_interop_test, DigestedMessagesGoBothWays) {
    const std::string large = megabyte();
    for (const std::string& text : {std::string(), kShort, large}) {
        home.file("text", text);
        for (const auto& [type, name] : {std::pair(1, "sha1"), std::pair(2, "md5")}) {
            Output message;
            ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(toBytes(text)), Algorithm(type), message), 0);
            keep("ours.der", message);
            openssl("cms", "-digest_verify -binary -inform DER -in ours.der -out opened");
            EXPECT_TRUE(file("opened") == text) << name;
            openssl("cms", std::string("-digest_create -binary -in text -outform DER -out theirs.der -md ") + name);
            EXPECT_TRUE(digested() == text) << name;
        }
    }
    openssl("cms", "-digest_create -binary -in text -outform DER -out theirs.der -md sha256");
    EXPECT_EQ(digested(), "code -1006");

    fillDatabase();
    Output message;
    ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(toBytes(kShort)), Algorithm(1), message), 0);
    keep("ours.der", message);
    run("cmsutil -D -d sql:db -i ours.der -o opened");
    EXPECT_EQ(file("opened"), kShort);
}

// ---- Requests

TEST_F(enveloped_interop_test, OpensslReadsARequestAndFindsTheFiller) {
    Software op;
    VT_PKCS10 request;
    request.setName(toMiByte(der::name(3, 0x13, "Request")));
    request.setRSAPublickKey(publicNumbers(vectors::kRecipientKey));
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    MiByte der;
    ASSERT_EQ(request.composePKCS10(op, nullptr, &alg, der), 0);
    home.file("ours.der", toText(bytesOf(der)));
    EXPECT_THAT(run("openssl req -inform DER -in ours.der -noout -subject"), HasSubstr("subject=CN = Request"));
    EXPECT_EQ(run("openssl req -inform DER -in ours.der -noout -pubkey"), run("openssl rsa -in recipient.key -pubout"
                                                                              " 2>/dev/null"));
    EXPECT_THAT(attempt("openssl req -inform DER -in ours.der -noout -verify").output, HasSubstr("failure"));
}

TEST_F(enveloped_interop_test, OpensslVerifiesARequestWithASignaturePutIn) {
    Software op;
    VT_PKCS10 request;
    request.setName(toMiByte(der::name(3, 0x13, "Request")));
    request.setRSAPublickKey(publicNumbers(vectors::kRecipientKey));
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    CertificationRequest value;
    ASSERT_EQ(request.composePKCS10(op, &key, &alg, value), 0);
    MiByte digest, signature;
    ASSERT_EQ(op->Digest(algorithmOf(token::kSha1), toMiByte(encode(*value.GetCertificationRequestInfo())), digest), 0);
    const Bytes digestInfo = der::sequence({kSha1Algorithm, der::tlv(0x04, bytesOf(digest))});
    ASSERT_EQ(op->SignRecover(algorithmOf(token::kRsa), key, toMiByte(digestInfo), signature), 0);
    value.SetSignature(AsnBitString(MiBitSet(signature, signature.GetLength() * 8)));
    home.file("ours.der", toText(encode(value)));
    EXPECT_THAT(run("openssl req -inform DER -in ours.der -noout -verify"), HasSubstr("verify OK"));
}

TEST_F(enveloped_interop_test, WeVerifyWhatOpensslRequests) {
    Software op;
    for (const auto& [digest, expected] : {std::pair("sha1", 0), std::pair("md5", 0), std::pair("sha256", -1006)}) {
        for (const char* who : {"recipient", "large"}) {
            run(std::string("openssl req -new -subj '/C=DE/O=Example/CN=Request' -outform DER -out theirs.der -") +
                digest + " -key " + who + ".key");
            EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, toMiByte(toBytes(file("theirs.der")))), expected) << digest << who;
        }
    }
}

}  // namespace
