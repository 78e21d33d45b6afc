// Signed messages between this library and openssl and NSS's cmsutil, both ways.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "pki/flat/flat.h"
#include "tests/pki/signers.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"

namespace {

using signers::Bytes;
using support::hex;
using testing::HasSubstr;

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

PKCS_Blob blobOf(Bytes& bytes) {
    return {bytes.data(), static_cast<uint32_t>(bytes.size())};
}

// RSAPrivateKey of a key of the vectors.
Bytes privateKeyDer(const vectors::SignersKey& key) {
    Bytes numbers = der::integer(0);
    for (const char* item : key.items) {
        const Bytes number = hex(item);
        numbers = der::join({numbers, der::tlv(0x02, number[0] < 0x80 ? number : der::join({{0}, number}))});
    }
    return der::tlv(0x30, numbers);
}

struct Who {
    const char* name;
    const char* certificate;
    const vectors::SignersKey& key;
};

const Who kAlice = {"alice", vectors::kAlice, vectors::kAliceKey};
const Who kBob = {"bob", vectors::kBob, vectors::kBobKey};
const Who kDave = {"dave", vectors::kDave, vectors::kDaveKey};

class signed_interop_test : public testing::Test {
  protected:
    signed_interop_test() {
        PKCS_CreateCtx(&ctx, nullptr);
        home.file("root.der", textOf(hex(vectors::kRoot)));
        home.file("issuer.der", textOf(hex(vectors::kIssuer)));
        run("openssl x509 -inform DER -in root.der -out root.pem");
        run("openssl x509 -inform DER -in issuer.der -out issuer.pem");
        run("cat root.pem issuer.pem > trusted.pem");
        for (const Who& who : {kAlice, kBob, kDave}) {
            const std::string name = who.name;
            home.file(name + ".der", textOf(hex(who.certificate)));
            home.file(name + "_key.der", textOf(privateKeyDer(who.key)));
            run("name=" + name + "; openssl x509 -inform DER -in $name.der -out $name.pem");
            run("name=" + name + "; openssl rsa -inform DER -in ${name}_key.der -out $name.key");
        }
    }
    ~signed_interop_test() override { PKCS_DestroyCtx(&ctx); }

    // A command line in the scratch folder, which must succeed.
    std::string run(const std::string& command) {
        const support::ToolResult result = support::tool("cd '" + home.path() + "' && { " + command + "; }");
        EXPECT_EQ(result.status, 0) << command << "\n" << result.output;
        return result.output;
    }

    // Writes ours.der.
    void write(const std::string& content, const Who& who, int32_t digestType, int32_t mode,
               const VT_List* certificates = nullptr, const VT_List* lists = nullptr) {
        Bytes data = bytesOf(content);
        Bytes certificate = hex(who.certificate);
        Bytes parts[8];
        PKCS_PriKey key = {};
        PKCS_Blob* const fields[] = {&key.modulus, &key.publicExponent, &key.privateExponent, &key.prime1,
                                     &key.prime2,  &key.exponent1,      &key.exponent2,       &key.coefficient};
        for (int i = 0; i < 8; ++i) {
            parts[i] = hex(who.key.items[i]);
            *fields[i] = blobOf(parts[i]);
        }
        const PKCS_Blob dataBlob = blobOf(data);
        const PKCS_Blob certificateBlob = blobOf(certificate);
        const PKCS_Alg digest = {digestType, nullptr, 0, 0};
        const PKCS_Alg signature = {8, nullptr, 0, 0};
        PKCS_Blob message = {};
        ASSERT_EQ(PKCS7_WriteSignedDataMsg(ctx, &dataBlob, &digest, &signature, mode, &certificateBlob, &key,
                                           certificates, lists, &message),
                  0);
        home.file("ours.der", std::string(message.data, message.data + message.length));
        T_free(message.data);
    }

    // Reads theirs.der; the content, or "code n".
    std::string read(int32_t mode, const std::string& content = "") {
        Bytes message = bytesOf(readFile(home.file("theirs.der")));
        Bytes detached = bytesOf(content);
        const PKCS_Blob blob = blobOf(message);
        PKCS_Blob data = mode == 2 ? blobOf(detached) : PKCS_Blob{};
        const int32_t code = PKCS7_ReadSignedDataMsg(ctx, &blob, mode, nullptr, nullptr, nullptr, &data);
        if (code != 0)
            return "code " + std::to_string(code);
        std::string text(data.data, data.data + data.length);
        if (mode == 1)
            T_free(data.data);
        return text;
    }

    support::ScratchHome home;
    PKCS_Ctx* ctx = nullptr;
};

const std::string kShort = "Signed by one, read by the other.\n";

std::string megabyte() {
    std::string text;
    for (int i = 0; text.size() < 1 << 20; ++i)
        text += "line " + std::to_string(i) + "\n";
    return text;
}

TEST_F(signed_interop_test, OpensslVerifiesWhatWeSign) {
    const auto verified = [&](const std::string& content, const Who& who, int32_t digest, const char* verifier) {
        write(content, who, digest, 1);
        run(std::string("openssl ") + verifier +
            " -verify -binary -inform DER -in ours.der -CAfile trusted.pem -no_check_time -purpose any -out verified");
        return readFile(home.file("verified")) == content;
    };
    for (const Who& who : {kAlice, kDave})
        for (const int32_t digest : {1, 2})
            for (const char* verifier : {"cms", "smime"})
                EXPECT_TRUE(verified(kShort, who, digest, verifier)) << verifier << who.name << digest;
    EXPECT_TRUE(verified(megabyte(), kAlice, 1, "cms"));
    EXPECT_TRUE(verified(megabyte(), kDave, 2, "smime"));
}

TEST_F(signed_interop_test, OpensslVerifiesDetachedMessages) {
    home.file("content", kShort);
    for (const char* verifier : {"cms", "smime"}) {
        write(kShort, kAlice, 1, 2);
        run(std::string("openssl ") + verifier +
            " -verify -binary -inform DER -in ours.der -content content -CAfile trusted.pem"
            " -no_check_time -purpose any -out verified");
        EXPECT_EQ(readFile(home.file("verified")), kShort);
    }
}

TEST_F(signed_interop_test, OpensslFindsCertificatesAndLists) {
    VT_List* certificates = nullptr;
    VT_List* lists = nullptr;
    VT_CreateList(&certificates);
    VT_CreateList(&lists);
    for (const char* item : {vectors::kRoot, vectors::kIssuer})
        VT_AddListNode(certificates, hex(item).data(), static_cast<uint32_t>(hex(item).size()));
    for (const char* item : {vectors::kRootList, vectors::kIssuerList})
        VT_AddListNode(lists, hex(item).data(), static_cast<uint32_t>(hex(item).size()));
    write(kShort, kAlice, 1, 1, certificates, lists);
    VT_DestroyList(&certificates);
    VT_DestroyList(&lists);
    // The chain now comes with the message.
    run("openssl cms -verify -binary -inform DER -in ours.der -CAfile root.pem -no_check_time -purpose any -out "
        "verified");
    const std::string listed = run("openssl pkcs7 -inform DER -in ours.der -print_certs -noout");
    for (const char* name : {"CN = Alice", "CN = Test Issuer", "CN = Test Root"})
        EXPECT_THAT(listed, HasSubstr(std::string("subject=C = DE, O = Example, ") + name));
    EXPECT_THAT(run("openssl pkcs7 -inform DER -in ours.der -print_certs"), HasSubstr("BEGIN X509 CRL"));
}

TEST_F(signed_interop_test, OpensslSeesTheNestedMessage) {
    write(kShort, kAlice, 1, 1);
    const std::string inner = readFile(home.file("ours.der"));
    write(inner, kBob, 1, 1);
    // Of a nested message, openssl's commands only show the structure.
    EXPECT_THAT(run("openssl pkcs7 -inform DER -in ours.der -print -noout"), HasSubstr("contents: \n"));
    const std::string outer = readFile(home.file("ours.der"));
    EXPECT_NE(outer.find(inner), std::string::npos);
}

TEST_F(signed_interop_test, WeVerifyWhatOpensslSigns) {
    const auto check = [&](const std::string& text, const std::string& command) {
        run(command + " -nodetach");
        EXPECT_TRUE(read(1) == text) << command;
        run(command);
        EXPECT_TRUE(read(2, text) == text) << command;
        EXPECT_EQ(read(2, text + "."), "code -1017") << command;
    };
    const auto signWith = [](const std::string& tool, const std::string& options, const std::string& who) {
        return "openssl " + tool + " -sign -binary -outform DER " + options + " -signer " + who + ".pem -inkey " + who +
               ".key -certfile issuer.pem -in content -out theirs.der";
    };
    home.file("content", kShort);
    for (const char* tool : {"cms", "smime"})
        for (const char* attributes : {"-noattr", ""})
            for (const char* digest : {"-md sha1 ", "-md md5 "})
                check(kShort, signWith(tool, std::string(digest) + attributes, "alice"));
    home.file("content", megabyte());
    check(megabyte(), signWith("cms", "-md sha1", "dave"));
    check(megabyte(), signWith("smime", "-md md5 -noattr", "dave"));
}

TEST_F(signed_interop_test, WeVerifySeveralSigners) {
    home.file("content", kShort);
    for (const char* attributes : {"-noattr", ""}) {
        run(std::string("openssl cms -sign -binary -nodetach -outform DER -md sha1 ") + attributes +
            " -signer alice.pem -inkey alice.key -signer bob.pem -inkey bob.key -signer dave.pem -inkey dave.key"
            " -in content -out theirs.der");
        EXPECT_EQ(read(1), kShort);
    }
}

TEST_F(signed_interop_test, NewerAlgorithmsAreRefused) {
    home.file("content", kShort);
    for (const char* digest : {"sha224", "sha256", "sha384", "sha512"}) {
        run(std::string("openssl cms -sign -binary -nodetach -outform DER -signer alice.pem -inkey alice.key -md ") +
            digest + " -in content -out theirs.der");
        EXPECT_EQ(read(1), "code -1006") << digest;
    }
    run("openssl cms -sign -binary -nodetach -outform DER -signer alice.pem -inkey alice.key -md sha1 -keyopt"
        " rsa_padding_mode:pss -in content -out theirs.der");
    EXPECT_EQ(read(1), "code -1006");
}

// ---- NSS

class signed_interop_test_nss : public signed_interop_test {
  protected:
    signed_interop_test_nss() {
        run("mkdir db && certutil -N -d sql:db --empty-password");
        for (const char* authority : {"root", "issuer"})
            run(std::string("certutil -A -d sql:db -t CT,CT,CT -n ") + authority + " -i " + authority + ".der");
        run("openssl pkcs12 -export -in alice.pem -inkey alice.key -name alice -passout pass:x -out alice.p12");
        run("pk12util -d sql:db -i alice.p12 -W x");
    }
};

TEST_F(signed_interop_test_nss, VerifiesWhatWeSign) {
    write(kShort, kAlice, 1, 1);
    EXPECT_THAT(run("cmsutil -D -d sql:db -h 1 -i ours.der"),
                AllOf(HasSubstr("signer0.status=GoodSignature"), HasSubstr(kShort)));
    home.file("content", kShort);
    write(kShort, kAlice, 1, 2);
    EXPECT_THAT(run("cmsutil -D -d sql:db -h 1 -c content -i ours.der"), HasSubstr("signer0.status=GoodSignature"));
}

// cmsutil writes indefinite lengths, which count as no content here; openssl puts the lengths in.
TEST_F(signed_interop_test_nss, WeVerifyWhatItSignsOnceItIsDer) {
    home.file("content", kShort);
    for (const char* options : {"", "-G", "-G -P"})
        for (const int32_t mode : {1, 2}) {
            run(std::string("cmsutil -S -d sql:db -N alice -H SHA1 -i content -o theirs.der ") + options +
                (mode == 2 ? " -T" : ""));
            EXPECT_EQ(read(mode, kShort), "code -1001");
            run("openssl pkcs7 -inform DER -in theirs.der -outform DER -out der && mv der theirs.der");
            EXPECT_EQ(read(mode, kShort), kShort) << options;
        }
}

}  // namespace
