// Requests against the platform itself: the provider's keys under Wine in a scratch prefix, and natively the NSS
// database of a scratch home folder. Signatures are checked by another program: openssl natively, crypt32 on Windows.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "enrol/base64.h"
#include "enrol/capi.h"
#include "enrol/container.h"
#include "enrol/providers.h"
#include "enrol/request.h"
#include "enrol/state.h"
#include "tests/support/call_plan.h"
#include "tests/support/hex.h"
#include "tests/support/platform_home.h"

namespace {

using enrol::ContainerName;
using enrol::ProviderHandle;
using platform::capi;
using support::Bytes;
using support::CallPlan;
using support::hex;
using support::toHex;

// markedContainer gives the name in the marker file, empty when there is none.
std::string markedContainer() {
    testing::internal::CaptureStdout();
    ContainerName name;
    const std::int32_t result = enrol::ReadContainerMarker(name);
    testing::internal::GetCapturedStdout();
    return result == 0 ? name : "";
}

class real_request_test : public testing::Test {
  protected:
    real_request_test() {
        enrol::HeapText name;
        std::uint32_t length = 0;
        EXPECT_EQ(enrol::EnumerateProvider(0, name, length), 0);
        provider_ = name ? name.get() : "";
        enrol::chooseProvider(provider_.data(), provider_.size());
        cleanUp();
    }
    ~real_request_test() override {
        cleanUp();
        enrol::forgetProvider();
        enrol::sHashAlgId = CALG_SHA1;
        enrol::sKeySpec = AT_SIGNATURE;
    }

    // Removes the marker and the container that it names.
    void cleanUp() const {
        const std::string container = markedContainer();
        HCRYPTPROV none = 0;
        if (!container.empty())
            capi().CryptAcquireContextA(&none, container.c_str(), provider_.c_str(), PROV_RSA_FULL, CRYPT_DELETEKEYSET);
        testing::internal::CaptureStdout();
        enrol::DeleteContainerMarker();
        testing::internal::GetCapturedStdout();
    }

    bool containerExists() const {
        ProviderHandle prov;
        return capi().CryptAcquireContextA(prov.receive(), markedContainer().c_str(), provider_.c_str(), PROV_RSA_FULL,
                                           0) != FALSE;
    }

    // A request's text, or the code.
    static std::string generate(std::int32_t keyBits) {
        enrol::HeapText text;
        std::size_t size = 0;
        const std::int32_t code = enrol::GenerateRequest(keyBits, text, size);
        return code == 0 ? text.get() : std::to_string(code);
    }
    static std::string generateFor(const std::string& subject, std::int32_t exportable = 1) {
        enrol::HeapText text;
        std::size_t size = 0;
        const std::int32_t code =
            enrol::GenerateRequestWithSubject(512, exportable, subject.data(), subject.size(), text, size);
        return code == 0 ? text.get() : std::to_string(code);
    }

    support::PlatformHome home_;
    std::string provider_;
};

Bytes derOf(const std::string& text) {
    Bytes der;
    EXPECT_EQ(enrol::DecodeBase64Text(text.data(), text.size(), der), 0);
    return der;
}

// verifies asks another program whether the request is signed by the key that it holds.
#if defined(_WIN32)
// elementAt steps over the header of the element at the given place and gives its end.
std::size_t elementAt(const Bytes& der, std::size_t& at) {
    const unsigned length = der.at(at + 1);
    at += 2;
    if (length < 0x80)
        return at + length;
    std::size_t size = 0;
    for (unsigned i = 0; i < (length & 0x7FU); ++i)
        size = size << 8 | der.at(at++);
    return at + size;
}

// publicKeyInfoOf gives the SubjectPublicKeyInfo: behind version and subject.
Bytes publicKeyInfoOf(const Bytes& der) {
    std::size_t at = 0;
    elementAt(der, at);
    elementAt(der, at);
    at = elementAt(der, at);
    at = elementAt(der, at);
    const std::size_t start = at;
    const std::size_t end = elementAt(der, at);
    return {der.begin() + static_cast<std::ptrdiff_t>(start), der.begin() + static_cast<std::ptrdiff_t>(end)};
}

bool verifies(const std::string& text) {
    Bytes der = derOf(text);
    const Bytes keyDer = publicKeyInfoOf(der);
    CERT_PUBLIC_KEY_INFO* key = nullptr;
    DWORD size = 0;
    if (!CryptDecodeObjectEx(X509_ASN_ENCODING, X509_PUBLIC_KEY_INFO, keyDer.data(), static_cast<DWORD>(keyDer.size()),
                             CRYPT_DECODE_ALLOC_FLAG, nullptr, &key, &size))
        return false;
    CRYPT_DATA_BLOB blob = {static_cast<DWORD>(der.size()), der.data()};
    const bool good =
        CryptVerifyCertificateSignatureEx(0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_BLOB, &blob,
                                          CRYPT_VERIFY_CERT_SIGN_ISSUER_PUBKEY, key, 0, nullptr) != FALSE;
    LocalFree(key);
    return good;
}
#else
// outputOf runs a command and gives what it wrote to both of its outputs.
std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");  // NOLINT(cert-env33-c): the test's own command
    if (pipe == nullptr)
        return output;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        output += static_cast<char>(c);
    pclose(pipe);
    return output;
}

bool verifies(const std::string& text) {
    const std::string path = testing::TempDir() + "vt-request-" + markedContainer() + ".pem";
    std::ofstream(path) << "-----BEGIN CERTIFICATE REQUEST-----\n"
                        << text << (text.back() == '\n' ? "" : "\n") << "-----END CERTIFICATE REQUEST-----\n";
    const std::string output = outputOf("openssl req -verify -noout -in '" + path + "'");
    (void)std::remove(path.c_str());
    return output.find("verify OK") != std::string::npos;
}
#endif

// A request whose signature has one bit turned must not pass, or the check itself is worthless.
std::string spoiled(const std::string& text) {
    Bytes der = derOf(text);
    der.back() ^= 1U;
    std::size_t size = 0;
    EXPECT_EQ(enrol::EncodeBase64Text(der.data(), der.size(), nullptr, size), 0);
    std::string changed(size, '\0');
    EXPECT_EQ(enrol::EncodeBase64Text(der.data(), der.size(), changed.data(), size), 0);
    return changed.substr(0, changed.find('\0'));
}

TEST_F(real_request_test, RequestsOfEachKeySizeVerify) {
    for (const std::int32_t bits : {512, 1024, 2048, 4096}) {
        const std::string text = generate(bits);
        EXPECT_TRUE(verifies(text)) << bits << "\n" << text;
        EXPECT_FALSE(verifies(spoiled(text))) << bits;
        EXPECT_TRUE(containerExists()) << bits;
        cleanUp();
    }
}

TEST_F(real_request_test, Md5RequestsVerify) {
    enrol::sHashAlgId = CALG_MD5;
    EXPECT_TRUE(verifies(generate(1024)));
}

TEST_F(real_request_test, AKeyForExchangeSignsAsWell) {
    enrol::sKeySpec = AT_KEYEXCHANGE;
    EXPECT_TRUE(verifies(generate(1024)));
}

TEST_F(real_request_test, TheSubjectIsEncodedAlikeOnBothPlatforms) {
    const std::string text = generateFor("C=DE,O=Org,OU=Unit,CN=J\xC3\xB6rg");
    EXPECT_TRUE(verifies(text));
    const std::string subject =
        toHex(hex("30 3A"
                  "31 0B 30 09 06 03 55 04 06 13 02 44 45"
                  "31 0C 30 0A 06 03 55 04 0A 0C 03 4F 72 67"
                  "31 0D 30 0B 06 03 55 04 0B 0C 04 55 6E 69 74"
                  "31 0E 30 0C 06 03 55 04 03 0C 05 4A C3 B6 72 67"));
    EXPECT_NE(toHex(derOf(text)).find("02 01 00 " + subject), std::string::npos) << toHex(derOf(text));
}

TEST_F(real_request_test, CommasAloneAreAnEmptySubject) {
    const std::string text = generateFor(",,");
    EXPECT_TRUE(verifies(text));
    EXPECT_NE(toHex(derOf(text)).find("02 01 00 30 00 30 5C"), std::string::npos) << toHex(derOf(text));
}

TEST_F(real_request_test, BadUtf8IsReplaced) {
    const std::string text = generateFor("CN=\xFF");
    EXPECT_NE(toHex(derOf(text)).find("06 03 55 04 03 0C 03 EF BF BD"), std::string::npos) << text;
}

#if !defined(_WIN32)
// Windows refuses it as well, but Wine encodes what it is given.
TEST_F(real_request_test, ACountryMustBePrintable) {
    EXPECT_EQ(generateFor("C=D_"), "22038124");
}
#endif

TEST_F(real_request_test, AKeyThatIsNotExportableSignsAsWell) {
    EXPECT_TRUE(verifies(generateFor("CN=a", 0)));
}

// What one failing call leaves behind.
struct Outcome {
    std::int32_t code;
    const char* open;
    bool container;
    bool marker;
};

const std::map<std::string, Outcome> kOutcomes = {
    {"MultiByteToWideChar 1", {22188229, "", false, false}},
    {"MultiByteToWideChar 2", {22188229, "", false, false}},
    {"CoCreateGuid 1", {22188201, "", false, false}},
    {"ExpandEnvironmentStringsA 1", {22188308, "", false, false}},
    {"ExpandEnvironmentStringsA 2", {22188308, "", false, false}},
    {"CryptAcquireContextA 1", {22188112, "", false, true}},
    {"CryptGenKey 1", {22188104, "", false, true}},
    {"CryptExportKey 1", {22188106, "", false, true}},
    {"CryptExportKey 2", {22188107, "", false, true}},
    {"CryptDestroyKey 1", {0, "", true, true}},
    {"CryptReleaseContext 1", {0, "", true, true}},
    {"WideCharToMultiByte 1", {22038124, "", true, true}},
    {"WideCharToMultiByte 2", {22038124, "", true, true}},
    {"CryptEncodeObjectEx 1", {22038124, "", true, true}},
    {"CryptEncodeObjectEx 2", {22038124, "", true, true}},
    // A failed signature leaves its handles open.
    {"CryptAcquireContextA 2", {22188104, "", true, true}},
    {"CryptCreateHash 1", {22188104, "provider", true, true}},
    {"CryptHashData 1", {22188104, "hash provider", true, true}},
    {"CryptSignHashA 1", {22188104, "hash provider", true, true}},
    {"CryptSignHashA 2", {22188104, "hash provider", true, true}},
    {"CryptDestroyHash 1", {0, "", true, true}},
    {"CryptReleaseContext 2", {0, "", true, true}},
};

TEST_F(real_request_test, EachPlatformCallHasItsCodeAndLeavesWhatIsTold) {
    std::size_t failures = 0;
    for (int n = 1;; ++n) {
        std::string failed;
        std::int32_t code = 0;
        std::string open;
        {
            CallPlan calls;
            calls.failCall(n);
            enrol::HeapText text;
            std::size_t size = 0;
            code = enrol::GenerateRequestWithSubject(512, 1, "C=DE,CN=a", 9, text, size);
            failed = calls.failed();
            open = calls.openHandles();
        }
        if (failed.empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        ++failures;
        const auto outcome = kOutcomes.find(failed);
        ASSERT_NE(outcome, kOutcomes.end()) << "an unexpected call: " << failed;
        EXPECT_EQ(code, outcome->second.code) << failed;
        EXPECT_EQ(open, outcome->second.open) << failed;
        EXPECT_EQ(!markedContainer().empty(), outcome->second.marker) << failed;
        EXPECT_EQ(!markedContainer().empty() && containerExists(), outcome->second.container) << failed;
        cleanUp();
    }
    EXPECT_EQ(failures, kOutcomes.size());
}

}  // namespace
