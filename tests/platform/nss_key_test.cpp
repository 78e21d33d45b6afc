#include <cctype>
#include <cstring>

#include "tests/platform/nss_fixture.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

class nss_key_test : public NssTest {};

DWORD word(const Bytes& blob, std::size_t at) {
    return blob[at] | static_cast<DWORD>(blob[at + 1]) << 8 | static_cast<DWORD>(blob[at + 2]) << 16 |
           static_cast<DWORD>(blob[at + 3]) << 24;
}

DWORD generationError(HCRYPTPROV prov, ALG_ID spec, DWORD flags) {
    KeyHandle key;
    return errorOf([&] { return capi().CryptGenKey(prov, spec, flags, key.out()); });
}

DWORD exportError(HCRYPTKEY key, HCRYPTKEY wrapping, DWORD type, DWORD flags) {
    DWORD size = 0;
    return errorOf([&] { return capi().CryptExportKey(key, wrapping, type, flags, nullptr, &size); });
}

}  // namespace

TEST_F(nss_key_test, PublicBlobHasTheMicrosoftLayout) {
    for (const DWORD bits : {512u, 1024u, 2048u, 4096u}) {
        const std::string name = "key" + std::to_string(bits);
        makeKey(name.c_str(), bits);
        const Bytes blob = exportKey(name.c_str(), PUBLICKEYBLOB);
        ASSERT_EQ(blob.size(), 20 + bits / 8);
        EXPECT_EQ(word(blob, 0), 0x00000206u) << "PUBLICKEYBLOB, version 2, reserved";
        EXPECT_EQ(word(blob, 4), 0x2400u) << "CALG_RSA_SIGN";
        EXPECT_EQ(std::memcmp(&blob[8], "RSA1", 4), 0);
        EXPECT_EQ(word(blob, 12), bits);
        EXPECT_EQ(word(blob, 16), 65537u);
        EXPECT_NE(blob.back() & 0x80, 0) << "the modulus' top bit is in the last byte";
        EXPECT_NE(blob[20] & 1, 0) << "and its lowest in the first";
        const ToolResult read = tool("openssl rsa -pubin -noout -text -in " + publicKeyPem(home_, name.c_str()));
        EXPECT_NE(read.output.find("(" + std::to_string(bits) + " bit)"), std::string::npos) << read.output;
    }
}

TEST_F(nss_key_test, PrivateBlobHoldsTheWholeKey) {
    for (const DWORD bits : {512u, 1024u, 1040u, 2048u}) {
        const std::string name = "key" + std::to_string(bits);
        makeKey(name.c_str(), bits);
        const Bytes blob = exportKey(name.c_str(), PRIVATEKEYBLOB);
        ASSERT_EQ(blob.size(), 20 + bits / 8 * 2 + (bits + 15) / 16 * 5);
        EXPECT_EQ(word(blob, 0), 0x00000207u);
        EXPECT_EQ(std::memcmp(&blob[8], "RSA2", 4), 0);
        const std::string file = home_.file("private.blob", textOf(blob));
        const ToolResult check = tool("openssl rsa -inform MSBLOB -noout -check -in " + file);
        EXPECT_NE(check.output.find("RSA key ok"), std::string::npos) << check.output;
        const ToolResult same =
            tool("openssl rsa -inform MSBLOB -in " + file + " -pubout | cmp - " + publicKeyPem(home_, name.c_str()));
        EXPECT_EQ(same.status, 0) << same.output;
    }
}

TEST_F(nss_key_test, KeyThatIsNotExportableStays) {
    makeKey("stays", 1024, 0);
    const Prov prov("stays", 0);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    EXPECT_EQ(exportError(key.get(), 0, PRIVATEKEYBLOB, 0), NTE_BAD_KEY_STATE) << "already when asked for the size";
    EXPECT_EQ(exportError(key.get(), 0, PUBLICKEYBLOB, 0), 0u);
}

TEST_F(nss_key_test, ExportRefusesBadArguments) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    EXPECT_EQ(exportError(key.get(), key.get(), PUBLICKEYBLOB, 0), NTE_BAD_KEY);
    EXPECT_EQ(exportError(key.get(), 0, 66, 0), NTE_BAD_TYPE);
    EXPECT_EQ(exportError(key.get(), 0, PUBLICKEYBLOB, 1), NTE_BAD_FLAGS);
    EXPECT_EQ(exportError(0, 0, PUBLICKEYBLOB, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(exportError(prov.get(), 0, PUBLICKEYBLOB, 0), ERROR_INVALID_PARAMETER) << "a handle of another kind";
    EXPECT_EQ(errorOf([&] { return capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, nullptr, nullptr); }),
              ERROR_INVALID_PARAMETER);
    DWORD size = 83;
    Bytes blob(84, 0x55);
    EXPECT_EQ(errorOf([&] { return capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, blob.data(), &size); }),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 84u);
    EXPECT_EQ(blob, Bytes(84, 0x55)) << "nothing is written";
}

TEST_F(nss_key_test, GenerationTakesEverySizeAndRefusesOthers) {
    const Prov prov("c", CRYPT_NEWKEYSET);
    for (const DWORD bits : {511u, 513u, 520u, 496u, 4112u, 16384u})
        EXPECT_EQ(generationError(prov.get(), AT_SIGNATURE, bits << 16), NTE_BAD_FLAGS) << bits;
    EXPECT_EQ(generationError(prov.get(), AT_SIGNATURE, 512u << 16 | 4), NTE_BAD_FLAGS);
    for (const ALG_ID spec : {0u, 3u, 0x2400u, 0x6801u, 0xFFFFFFFFu})
        EXPECT_EQ(generationError(prov.get(), spec, 512u << 16), NTE_BAD_ALGID) << spec;
    EXPECT_EQ(errorOf([&] { return capi().CryptGenKey(prov.get(), AT_SIGNATURE, 0, nullptr); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(generationError(prov.get(), AT_SIGNATURE, 0), 0u);
    EXPECT_EQ(word(exportKey("c", PUBLICKEYBLOB), 12), 2048u) << "the size that no flag asks for";
    const Prov none(nullptr, CRYPT_NEWKEYSET);
    EXPECT_EQ(generationError(none.get(), AT_SIGNATURE, 512u << 16), NTE_PERM);
}

TEST_F(nss_key_test, ProtectionFlagsAreTaken) {
    makeKey("high", 512, CRYPT_FORCE_KEY_PROTECTION_HIGH);
    makeKey("both", 512, CRYPT_FORCE_KEY_PROTECTION_HIGH | CRYPT_EXPORTABLE);
    makeKey("asks", 512, CRYPT_USER_PROTECTED | CRYPT_EXPORTABLE);
    EXPECT_EQ(exportKey("both", PRIVATEKEYBLOB).size(), 308u);
    EXPECT_EQ(exportKey("asks", PRIVATEKEYBLOB).size(), 308u);
}

TEST_F(nss_key_test, SecondGenerationReplacesTheKey) {
    makeKey("c", 512);
    const Bytes first = exportKey("c", PUBLICKEYBLOB);
    const Prov prov("c", 0);
    EXPECT_EQ(generationError(prov.get(), AT_SIGNATURE, 512u << 16), 0u);
    EXPECT_NE(exportKey("c", PUBLICKEYBLOB), first);
    const ToolResult list = tool("certutil -K -d " + home_.database());
    EXPECT_EQ(list.output.find("< 1>"), std::string::npos) << "one key is left\n" << list.output;
}

TEST_F(nss_key_test, SignatureKeyIsNoExchangeKey) {
    makeKey("sign", 512, 0, AT_SIGNATURE);
    makeKey("exchange", 512, 0, AT_KEYEXCHANGE);
    const Prov sign("sign", 0);
    const Prov exchange("exchange", 0);
    const auto userKeyError = [](const Prov& prov, DWORD spec) {
        KeyHandle key;
        return errorOf([&] { return capi().CryptGetUserKey(prov.get(), spec, key.out()); });
    };
    EXPECT_EQ(userKeyError(sign, AT_SIGNATURE), 0u);
    EXPECT_EQ(userKeyError(sign, AT_KEYEXCHANGE), NTE_NO_KEY);
    EXPECT_EQ(userKeyError(sign, 9), NTE_NO_KEY);
    EXPECT_EQ(userKeyError(exchange, AT_SIGNATURE), 0u) << "an exchange key can sign";
    EXPECT_EQ(userKeyError(exchange, AT_KEYEXCHANGE), 0u);
    EXPECT_EQ(word(exportKey("exchange", PUBLICKEYBLOB, AT_KEYEXCHANGE), 4), 0xA400u) << "CALG_RSA_KEYX";
    EXPECT_EQ(errorOf([&] { return capi().CryptGetUserKey(sign.get(), AT_SIGNATURE, nullptr); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([] { return capi().CryptDestroyKey(0); }), ERROR_INVALID_PARAMETER);
}

TEST_F(nss_key_test, KeysAreSeenByOtherPrograms) {
    makeKey("for everybody", 1024);
    const ToolResult list = tool("certutil -K -d " + home_.database());
    EXPECT_NE(list.output.find("rsa"), std::string::npos) << list.output;
    EXPECT_NE(list.output.find("for everybody"), std::string::npos) << list.output;
}

TEST_F(nss_key_test, KeyWithoutNicknameGoesByItsIdentifier) {
    const ToolResult made =
        tool("mkdir -p " + home_.path() + "/.pki/nssdb && certutil -N --empty-password -d " + home_.database() +
             " && head -c 64 /dev/urandom > " + home_.file("noise") +
             " && certutil -R -s CN=Bob -k rsa -g 1024 -a -o " + home_.file("csr") + " -z " + home_.file("noise") +
             " -d " + home_.database() + " && certutil -K -d " + home_.database());
    ASSERT_EQ(made.status, 0) << made.output;
    const std::size_t at = made.output.find("rsa      ");
    ASSERT_NE(at, std::string::npos) << made.output;
    std::string name = made.output.substr(at + 9, 40);
    for (char& c : name)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(Prov(name.c_str(), 0)) << name;
    EXPECT_FALSE(Prov(name.substr(1).c_str(), 0));
    EXPECT_FALSE(Prov("", 0));
}

TEST_F(nss_key_test, PublicKeyInfoIsWhatOpensslSees) {
    makeKey("c", 1024);
    const Prov prov("c", 0);
    DWORD size = 0;
    ASSERT_TRUE(capi().CryptExportPublicKeyInfo(prov.get(), AT_SIGNATURE, kEncoding, nullptr, &size));
    std::vector<CERT_PUBLIC_KEY_INFO> buffer(size / sizeof(CERT_PUBLIC_KEY_INFO) + 1);
    DWORD capacity = size;
    ASSERT_TRUE(capi().CryptExportPublicKeyInfo(prov.get(), AT_SIGNATURE, kEncoding, buffer.data(), &capacity));
    const CERT_PUBLIC_KEY_INFO& info = buffer[0];
    EXPECT_STREQ(info.Algorithm.pszObjId, "1.2.840.113549.1.1.1");
    EXPECT_EQ(support::toHex(info.Algorithm.Parameters.pbData, info.Algorithm.Parameters.cbData), "05 00");
    EXPECT_EQ(info.PublicKey.cUnusedBits, 0u);
    const ToolResult made = tool("openssl rsa -pubin -in " + publicKeyPem(home_, "c") +
                                 " -RSAPublicKey_out -outform DER -out " + home_.file("p1.der"));
    ASSERT_EQ(made.status, 0) << made.output;
    EXPECT_EQ(support::toHex(info.PublicKey.pbData, info.PublicKey.cbData),
              support::toHex(readFile(home_.file("p1.der"))));
    EXPECT_EQ(info.PublicKey.pbData + info.PublicKey.cbData, reinterpret_cast<BYTE*>(buffer.data()) + size)
        << "all of it lies in the caller's buffer";
}

TEST_F(nss_key_test, PublicKeyInfoRefusesBadArguments) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    DWORD size = 0;
    const auto error = [&](HCRYPTPROV handle, DWORD spec, DWORD encoding) {
        return errorOf([&] { return capi().CryptExportPublicKeyInfo(handle, spec, encoding, nullptr, &size); });
    };
    EXPECT_EQ(error(prov.get(), AT_KEYEXCHANGE, kEncoding), NTE_NO_KEY);
    EXPECT_EQ(error(prov.get(), AT_SIGNATURE, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(error(0, AT_SIGNATURE, kEncoding), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(
        errorOf([&] { return capi().CryptExportPublicKeyInfo(prov.get(), AT_SIGNATURE, kEncoding, nullptr, nullptr); }),
        ERROR_INVALID_PARAMETER);
    CERT_PUBLIC_KEY_INFO info = {};
    size = sizeof info;
    EXPECT_EQ(
        errorOf([&] { return capi().CryptExportPublicKeyInfo(prov.get(), AT_SIGNATURE, kEncoding, &info, &size); }),
        ERROR_MORE_DATA);
    EXPECT_GT(size, sizeof info);
}

// The point of it all: a browser finds key and certificate together.
TEST_F(nss_key_test, CertificateSetOnAKeyIsTheUsers) {
    makeKey("0B4C1A2D-1111-4aaa-8888-001122334455", 1024);
    const char* container = "0B4C1A2D-1111-4aaa-8888-001122334455";
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, container), "/C=DE/O=Example/CN=Alice", 7);
    {
        const Prov prov(container, 0);
        KeyHandle key;
        ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
        ASSERT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0))
            << std::hex << sys().GetLastError();
        ASSERT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0)) << "once more is no error";
    }
    const ToolResult list = tool("certutil -L -d " + home_.database());
    EXPECT_NE(list.output.find("Alice"), std::string::npos) << list.output;
    EXPECT_NE(list.output.find("u,u,u"), std::string::npos) << "a user certificate\n" << list.output;
    const ToolResult keys = tool("certutil -K -d " + home_.database());
    EXPECT_EQ(keys.output.find("orphan"), std::string::npos) << keys.output;
    EXPECT_TRUE(Prov(container, 0)) << "the container keeps its name";
    const ToolResult exported =
        tool("pk12util -o " + home_.file("a.p12") + " -n Alice -W secret -d " + home_.database() +
             " && openssl pkcs12 -in " + home_.file("a.p12") + " -passin pass:secret -nodes");
    EXPECT_NE(exported.output.find("BEGIN PRIVATE KEY"), std::string::npos) << exported.output;
    EXPECT_NE(exported.output.find("CN = Alice"), std::string::npos) << exported.output;
}

TEST_F(nss_key_test, ContainerIsFoundInALaterProcess) {
    makeKey("later", 1024);
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "later"), "/CN=Later", 7);
    {
        const Prov prov("later", 0);
        KeyHandle key;
        ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
        ASSERT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0));
    }
    const ToolResult keys = tool("certutil -K -d " + home_.database());
    EXPECT_NE(keys.output.find("later"), std::string::npos) << "its nickname is not that of the certificate\n"
                                                            << keys.output;
}

TEST_F(nss_key_test, CertificateOfAnotherKeyIsRefused) {
    makeKey("mine", 1024);
    makeKey("other", 1024);
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "other"), "/CN=Other", 8);
    const Prov prov("mine", 0);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    EXPECT_EQ(errorOf([&] { return capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0); }),
              NTE_BAD_PUBLIC_KEY);
    EXPECT_EQ(tool("certutil -L -d " + home_.database()).output.find("Other"), std::string::npos);
}

TEST_F(nss_key_test, KeyParametersRefuseBadArguments) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    const auto error = [](HCRYPTKEY handle, DWORD param, const BYTE* data, DWORD flags) {
        return errorOf([&] { return capi().CryptSetKeyParam(handle, param, data, flags); });
    };
    const Bytes junk = {0x30, 0x03, 0x02, 0x01, 0x00};
    EXPECT_EQ(error(key.get(), KP_CERTIFICATE, junk.data(), 0), CRYPT_E_ASN1_CORRUPT);
    for (const char* text : {"02 01 00 00 00 00", "30 00 00 00 00 00", "30 80 00 00 00 00", "30 84 00 00 00 01"})
        EXPECT_NE(error(key.get(), KP_CERTIFICATE, support::hex(text).data(), 0), 0u) << text;
    EXPECT_EQ(error(key.get(), 25, junk.data(), 0), NTE_BAD_TYPE);
    EXPECT_EQ(error(key.get(), KP_CERTIFICATE, junk.data(), 1), NTE_BAD_FLAGS);
    EXPECT_EQ(error(key.get(), KP_CERTIFICATE, nullptr, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(0, KP_CERTIFICATE, junk.data(), 0), ERROR_INVALID_PARAMETER);
}
