// What a hostile page can hand over, against the operations as they are and a platform in memory: each call ends in a
// documented code, a text, or an error of script, and nothing else.
#include <cstring>
#include <limits>
#include <set>

#include "tests/plugin/plugin_test.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/noise.h"

namespace {

using host::Outcome;
using host::Value;
using platform::SystemApi;
using support::base64;
using support::Bytes;
using support::Replaced;

constexpr char kProvider[] = "Microsoft Enhanced Cryptographic Provider v1.0";
constexpr char kContainer[] = "01234567-89AB-cdef-FEDC-BA9876543210";

constexpr const char* kWriters[] = {"writeClientCert", "writeClientCert_noprotect", "writeClientCert_exp_X509"};

class hostile_test : public testing::Test {
  protected:
    hostile_test() {
        resetSettings();
        crypto.providers = {{kProvider, PROV_RSA_FULL}};
        crypto.addKey(kProvider, kContainer, AT_SIGNATURE, 1024);
        store.add("MY", support::makeCertificate({}), true);
        page.call("setCSP", {kProvider});
    }
    ~hostile_test() override {
        EXPECT_THAT(browser.problems(), testing::IsEmpty());
        resetSettings();
    }

    // The result of a call that must be one of the codes; 0 is a success.
    std::int32_t code(const std::string& method, const std::vector<Value>& args) {
        const Outcome outcome = page.call(method, args);
        EXPECT_TRUE(outcome.isInteger()) << method;
        EXPECT_NE(enrol::findCodeText(outcome.integer()), nullptr) << method << " gives " << outcome.integer();
        return outcome.integer();
    }

    std::int32_t install(const char* method, const Bytes& der) {
        system.writeMarker(kContainer);
        return code(method, {base64(der)});
    }

    support::FakeSystemApi system;
    support::FakeCryptoApi crypto;
    support::FakeStore store;
    Replaced<&SystemApi::SetWindowLongA> setWindowLong{[](HWND, int, LONG_PTR) { return LONG_PTR{0}; }};
    host::Browser browser;
    NPPluginFuncs operations = host::start(linkedEntryPoints(), browser);
    host::Page page{browser, operations};
};

TEST_F(hostile_test, ACertificateCutAtEveryByteIsNotInstalled) {
    const Bytes whole = support::makeCertificate({});
    store.stores["MY"].clear();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        for (const char* method : kWriters)
            EXPECT_NE(install(method, cut), 0) << "cut at " << length;
        EXPECT_NE(code("CheckCertValid", {"1", base64(cut)}), 0) << "cut at " << length;
    }
    EXPECT_TRUE(store.ders("MY").empty());
    EXPECT_EQ(install("writeClientCert", whole), 0) << "the whole one is";
}

TEST_F(hostile_test, EveryByteOfACertificateMayBeWrong) {
    const Bytes whole = support::makeCertificate({});
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int mask : {0x01, 0x20, 0x80, 0xFF}) {
            Bytes broken = whole;
            broken[at] = static_cast<std::uint8_t>(broken[at] ^ mask);
            install("writeClientCert", broken);
            code("CheckCertValid", {"1", base64(broken)});
        }
    }
}

TEST_F(hostile_test, RandomTextsGiveADocumentedCode) {
    support::Noise noise(20141021);
    for (int round = 0; round < 300; ++round) {
        std::string text(noise.below(400), '\0');
        for (char& c : text)
            c = static_cast<char>(noise.byte());
        system.writeMarker(kContainer);
        for (const char* method : kWriters)
            code(method, {text});
        code("CheckCertValid", {"1", text});
        code("CheckCertValid", {text, text});
        code("SetHashAlgorithm", {text});
        code("deleteCert", {text, text});
        code("IsCertExist", {text, "0A"});
        code("IsCertExist", {"CN=Test CA, O=Example", text});
        code("leavingMostRecentCert", {text, text});
        const Outcome outcome = page.call("genP10_exp_withdn", {512, 1, text});
        EXPECT_TRUE(outcome.isText());
        EXPECT_NE(enrol::findCodeText(enrol::sLastError), nullptr) << enrol::sLastError;
    }
}

TEST_F(hostile_test, MegabytesGiveADocumentedCode) {
    constexpr std::size_t kMegabyte = std::size_t{1} << 20;
    for (const char c : {'M', '=', '\0', ' ', ',', '0', '\xFF'}) {
        const std::string text(kMegabyte, c);
        system.writeMarker(kContainer);
        for (const char* method : kWriters)
            EXPECT_EQ(code(method, {text}), 22038226);
        EXPECT_NE(code("CheckCertValid", {"1", text}), 0);
        EXPECT_EQ(code("CheckCertValid", {text, "MII"}), 22208220);
        EXPECT_EQ(code("SetHashAlgorithm", {text}), 22198220);
        EXPECT_NE(code("deleteCert", {"CN=Test CA, O=Example", text}), 0);
        EXPECT_EQ(code("deleteCert", {text, "01"}), 22218126);
        EXPECT_EQ(code("IsCertExist", {"CN=Test CA, O=Example", text}), 1);
        EXPECT_EQ(code("leavingMostRecentCert", {text, text}), 22238126);
        page.call("genP10_exp_withdn", {512, 1, "CN=" + text});
        EXPECT_NE(enrol::findCodeText(enrol::sLastError), nullptr) << enrol::sLastError;
    }
}

TEST_F(hostile_test, ASerialOfManyDigitsIsNotFound) {
    for (const std::size_t digits : {1022u, 1023u, 1024u, 1025u, 1026u, 2048u, 100000u}) {
        EXPECT_EQ(code("IsCertExist", {"CN=Test CA, O=Example", std::string(digits, '0')}), 1) << digits;
        EXPECT_EQ(code("deleteCert", {"CN=Test CA, O=Example", std::string(digits, 'f')}), 22218126) << digits;
    }
    EXPECT_EQ(code("IsCertExist", {"CN=Test CA, O=Example", std::string(5000, ' ') + "01"}), 0)
        << "blanks do not count";
}

TEST_F(hostile_test, EveryKindOfValueInEveryPlaceIsADocumentedAnswer) {
    const std::vector<Value> kinds = {Value(),
                                      Value::null(),
                                      Value(true),
                                      Value(0),
                                      Value(-1),
                                      Value(std::numeric_limits<int>::min()),
                                      Value(512),
                                      Value(512.9),
                                      Value(std::numeric_limits<double>::quiet_NaN()),
                                      Value(std::numeric_limits<double>::infinity()),
                                      Value(-1e308),
                                      Value(""),
                                      Value("0"),
                                      Value("CN=a"),
                                      Value(std::string("\0CN=a\0", 6)),
                                      Value::nullText(0),
                                      Value::nullText(1),
                                      Value::nullText(std::numeric_limits<std::uint32_t>::max()),
                                      Value::object(page.object())};
    for (const char* method : kMethodNames) {
        for (const Value& first : kinds) {
            for (const Value& second : kinds) {
                const std::vector<std::vector<Value>> lists = {
                    {}, {first}, {first, second}, {first, second, Value("CN=a")}, {Value(512), first, second}};
                for (const std::vector<Value>& args : lists) {
                    const Outcome outcome = page.call(method, args);
                    if (outcome.isInteger()) {
                        EXPECT_NE(enrol::findCodeText(outcome.integer()), nullptr) << method;
                    }
                    EXPECT_NE(enrol::findCodeText(enrol::sLastError), nullptr) << method << " " << enrol::sLastError;
                }
            }
        }
    }
    EXPECT_EQ(browser.liveObjects(), 1u);
}

}  // namespace
