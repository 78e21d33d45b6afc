// PKCS#12 files between the flat functions, VT_PFX and openssl, NSS's pk12util and GnuTLS's certtool, both ways.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>

#include "pki/pfx.h"
#include "pki/safe_contents.h"
#include "tests/flat/envelopes.h"
#include "tests/pki/pkcs12.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"
#include "tests/vectors/pfx_files.h"

namespace {

using namespace envelopes;
using testing::HasSubstr;

std::string toText(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

MiByte toMiByte(const std::string& text) {
    return {text.data(), static_cast<unsigned int>(text.size())};
}

class pfx_interop_test : public testing::Test {
  protected:
    pfx_interop_test() {
        home.file("key.der", toText(hex(vectors::kAlicePkcs1)));
        run("openssl rsa -inform DER -in key.der -out key.pem");
        for (const auto& [name, der] :
             {std::pair{"alice", vectors::kAliceCertificate}, std::pair{"root", vectors::kRootCertificate}}) {
            home.file(std::string(name) + ".der", toText(hex(der)));
            run("openssl x509 -inform DER -in " + std::string(name) + ".der -out " + name + ".pem");
        }
    }

    support::ToolResult attempt(const std::string& command) {
        return support::tool("cd '" + home.path() + "' && { " + command + "; }");
    }

    std::string run(const std::string& command) {
        const support::ToolResult result = attempt(command);
        EXPECT_EQ(result.status, 0) << command << "\n" << result.output;
        return result.output;
    }

    std::string openssl(const std::string& arguments) {
        return run("openssl pkcs12 -provider legacy -provider default " + arguments);
    }

    Bytes file(const std::string& name) {
        std::ifstream stream(home.file(name), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        return {text.begin(), text.end()};
    }

    // Writes ours.p12 by VT_GenPFX, with the root as a further certificate.
    void generate(const std::string& password) {
        const List others;
        const Bytes root = hex(vectors::kRootCertificate);
        VT_AddListNode(others, root.data(), static_cast<uint32_t>(root.size()));
        Output pfx;
        ASSERT_EQ(VT_GenPFX(ctx, Input(vectors::kAliceCertificate), PrivateKey(vectors::kAliceNumbers),
                            Input(Bytes(password.begin(), password.end())), others, pfx),
                  0);
        home.file("ours.p12", toText(pfx.bytes()));
    }

    // Writes ours.p12 by the classes: one encryption for key and certificates, and a name.
    void compose(int pbeType, int iterations, const std::string& password) {
        VT_P11_OP& op = *static_cast<PKCS_Ctx*>(ctx)->operation;
        MiByte der;
        VT_SafeContents keys;
        VT_SafeContents certificates;
        VT_PFX pfx;
        ASSERT_EQ(VT_SafeContents::P8EncryptPrivateKeyInfo(op, toMiByte(password), pbeType, iterations,
                                                           pkcs12::bytes(vectors::kAlicePkcs1), der),
                  0);
        ASSERT_EQ(keys.addShroudedKeyDer(der, toMiByte("id")), 0);
        ASSERT_EQ(keys.composeSafeContents(der), 0);
        ASSERT_EQ(pfx.addDataSafeContents(der), 0);
        ASSERT_EQ(certificates.addCertDer(pkcs12::bytes(vectors::kAliceCertificate), toMiByte("id"),
                                          toMiByte("Alice's certificate")),
                  0);
        ASSERT_EQ(certificates.composeSafeContents(der), 0);
        ASSERT_EQ(pfx.addEncryptSafeContents(op, toMiByte(password), pbeType, iterations, der), 0);
        ASSERT_EQ(pfx.composePFXBaseOnPassword(op, toMiByte(password), iterations, der), 0);
        home.file("ours.p12", toText(pkcs12::vectorOf(der)));
    }

    // Key and certificate as openssl gives them, of a file of ours.
    void readByOpenssl(const std::string& password) {
        openssl("-in ours.p12 -nodes -nocerts -out key_out.pem -passin 'pass:" + password + "'");
        run("openssl rsa -in key_out.pem -outform DER -traditional -out key_out.der");
        EXPECT_EQ(file("key_out.der"), hex(vectors::kAlicePkcs1));
        openssl("-in ours.p12 -nokeys -clcerts -out cert_out.pem -passin 'pass:" + password + "'");
        run("openssl x509 -in cert_out.pem -outform DER -out cert_out.der");
        EXPECT_EQ(file("cert_out.der"), hex(vectors::kAliceCertificate));
    }

    int32_t open(const std::string& name, const std::string& password) {
        PKCS_PriKey key = {};
        Output certificate;
        const int32_t result = VT_GetCertAndPrivateKeyFromPFX(
            ctx, Input(file(name)), Input(Bytes(password.begin(), password.end())), 0, &key, certificate, nullptr);
        if (result == 0) {
            EXPECT_EQ(toHex(key.privateExponent.data, key.privateExponent.length),
                      toHex(hex(vectors::kAliceNumbers[2])));
            EXPECT_EQ(certificate.bytes(), hex(vectors::kAliceCertificate));
        }
        PKCS_FreePriKey(&key);
        return result;
    }

    support::ScratchHome home;
    MessageContext ctx;
};

TEST_F(pfx_interop_test, OpensslReadsWhatIsGenerated) {
    for (const std::string password :
         {"secret", "", "with blanks and more than sixty-four bytes, so that it does not fit"}) {
        generate(password);
        readByOpenssl(password);
        EXPECT_THAT(openssl("-in ours.p12 -nokeys -cacerts -passin 'pass:" + password + "'"), HasSubstr("CN = Root"));
    }
}

TEST_F(pfx_interop_test, OpensslReadsEachEncryption) {
    for (const int type : {1, 2, 3, 5, 6})
        for (const int iterations : {1, 2048}) {
            compose(type, iterations, "secret");
            readByOpenssl("secret");
            EXPECT_THAT(openssl("-in ours.p12 -nokeys -passin pass:secret"),
                        HasSubstr("friendlyName: Alice's certificate"));
        }
}

TEST_F(pfx_interop_test, OpensslReadsBytesAsCharacters) {
    compose(3, 5, "caf\xE9\x80");
    readByOpenssl("caf\xE9\x80");
}

TEST_F(pfx_interop_test, GnutlsReadsWhatIsGenerated) {
    generate("secret");
    const std::string text = run("certtool --p12-info --inder --infile ours.p12 --password secret");
    EXPECT_THAT(text, HasSubstr("MAC info"));
    EXPECT_THAT(text, HasSubstr("BEGIN CERTIFICATE"));
    EXPECT_THAT(text, HasSubstr("BEGIN"));
    EXPECT_NE(attempt("certtool --p12-info --inder --infile ours.p12 --password other").output, text);
    for (const int type : {1, 3, 6}) {
        compose(type, 100, "secret");
        EXPECT_THAT(run("certtool --p12-info --inder --infile ours.p12 --password secret"),
                    HasSubstr("BEGIN CERTIFICATE"))
            << type;
    }
}

TEST_F(pfx_interop_test, NssReadsWhatIsGenerated) {
    generate("secret");
    run("mkdir db && certutil -N -d sql:db --empty-password");
    run("pk12util -i ours.p12 -d sql:db -W secret -K ''");
    const std::string certificates = run("certutil -L -d sql:db");
    EXPECT_THAT(certificates, HasSubstr("u,u,u")) << "a certificate with its key";
    EXPECT_THAT(run("certutil -K -d sql:db -f /dev/null"), HasSubstr("rsa"));
}

TEST_F(pfx_interop_test, NssReadsEachEncryption) {
    for (const int type : {1, 2, 3, 5, 6}) {
        compose(type, 100, "secret");
        run("rm -rf db && mkdir db && certutil -N -d sql:db --empty-password");
        run("pk12util -i ours.p12 -d sql:db -W secret -K ''");
        EXPECT_THAT(run("certutil -L -d sql:db"), HasSubstr("Alice's certificate")) << type;
    }
}

TEST_F(pfx_interop_test, FilesOfOpensslAreOpened) {
    for (const char* pbe : {"RC4-128", "RC4-40", "3DES", "RC2-128", "RC2-40"})
        for (const char* iterations : {"1", "2048", "100000"}) {
            openssl(std::string("-export -inkey key.pem -in alice.pem -certfile root.pem -name Alice -macalg sha1 ") +
                    "-keypbe PBE-SHA1-" + pbe + " -certpbe PBE-SHA1-" + pbe + " -iter " + iterations +
                    " -passout pass:secret -out theirs.p12");
            EXPECT_EQ(open("theirs.p12", "secret"), 0) << pbe << " " << iterations;
            EXPECT_EQ(open("theirs.p12", "secre"), kDigestMismatch);
        }
}

TEST_F(pfx_interop_test, FilesOfGnutlsAreOpened) {
    for (const char* cipher : {"3des-pkcs12", "rc2-40", "arcfour"}) {
        run(std::string("certtool --to-p12 --load-privkey key.pem --load-certificate alice.pem --p12-name Alice ") +
            "--password secret --hash sha1 --outder --pkcs-cipher " + cipher + " --outfile theirs.p12");
        EXPECT_EQ(open("theirs.p12", "secret"), 0) << cipher;
    }
}

// NSS writes indefinite lengths; openssl makes DER of it.
TEST_F(pfx_interop_test, FilesOfNssAreOpenedOnceTheyAreDer) {
    generate("secret");
    run("mkdir db && certutil -N -d sql:db --empty-password");
    run("pk12util -i ours.p12 -d sql:db -W secret -K ''");
    const std::string name = run("certutil -L -d sql:db | sed -n 's/ *u,u,u *$//p'");
    run("pk12util -o nss.p12 -n '" + name.substr(0, name.find('\n')) +
        "' -d sql:db -W secret -K '' -M SHA-1 -c 'PKCS #12 V2 PBE With SHA-1 And 3KEY Triple DES-CBC' "
        "-C 'PKCS #12 V2 PBE With SHA-1 And 40 Bit RC2 CBC'");
    EXPECT_EQ(open("nss.p12", "secret"), kElementAbsent);
    openssl("-in nss.p12 -nodes -passin pass:secret -out all.pem");
    openssl(
        "-export -in all.pem -macalg sha1 -keypbe PBE-SHA1-3DES -certpbe PBE-SHA1-3DES -passout pass:secret "
        "-out theirs.p12");
    EXPECT_EQ(open("theirs.p12", "secret"), 0);
}

}  // namespace
