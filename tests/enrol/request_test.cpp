#include "enrol/request.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "enrol/codes.h"
#include "enrol/state.h"
#include "tests/support/call_plan.h"
#include "tests/support/der.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using der::join;
using der::tlv;
using support::Bytes;
using support::FakeCryptoApi;
using support::hex;
using support::Replaced;
using support::toHex;

constexpr char kProvider[] = "Fake Provider";
constexpr char kFirstName[] = "01234567-89AB-cdef-FEDC-BA9876543210";  // of the fake's first GUID

struct Answer {
    std::int32_t code = 0;
    std::string text;      // up to its first NUL
    std::size_t size = 0;  // the buffer's size as given back
    std::string printed;
};

// ask captures what the operation prints, and looks at the byte behind the buffer's size.
template <class Operation>
Answer ask(Operation operation) {
    Answer answer;
    enrol::HeapText text(new char[1]());
    answer.size = 99;
    testing::internal::CaptureStdout();
    answer.code = operation(text, answer.size);
    (void)std::fflush(stdout);
    answer.printed = testing::internal::GetCapturedStdout();
    if (text) {
        EXPECT_EQ(text[answer.size], '\0');
        answer.text = text.get();
    } else {
        EXPECT_EQ(answer.size, 0U);
    }
    EXPECT_EQ(answer.code == 0, text != nullptr);
    return answer;
}

Answer generate(std::int32_t keyBits) {
    return ask([&](enrol::HeapText& text, std::size_t& size) { return enrol::GenerateRequest(keyBits, text, size); });
}

Answer generateFor(const std::string& subject, std::int32_t exportable = 1, std::int32_t keyBits = 1024) {
    // A block of exactly the subject's size: it need not be terminated.
    const std::vector<char> block(subject.begin(), subject.end());
    return ask([&](enrol::HeapText& text, std::size_t& size) {
        return enrol::GenerateRequestWithSubject(keyBits, exportable, block.data(), block.size(), text, size);
    });
}

// der undoes the base64 by the rules of RFC 4648, line by line: each but the last has 64 characters.
Bytes derOf(const std::string& text) {
    static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes der;
    unsigned bits = 0;
    int count = 0;
    std::size_t column = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (column == 64) {
            EXPECT_EQ(text.substr(i, 2), "\r\n");
            ++i;
            column = 0;
            continue;
        }
        ++column;
        if (text[i] == '=')
            continue;
        const std::size_t value = kAlphabet.find(text[i]);
        EXPECT_NE(value, std::string::npos) << "a foreign character at " << i;
        bits = bits << 6 | static_cast<unsigned>(value & 63);
        count += 6;
        if (count >= 8) {
            count -= 8;
            der.push_back(static_cast<std::uint8_t>(bits >> count));
        }
    }
    EXPECT_NE(column, 64U) << "a full last line without its break";
    return der;
}

Bytes infoOf(DWORD bits, const Bytes& subject) {
    const Bytes key = tlv(0x30, join({tlv(0x02, join({{0}, support::fakeModulus(bits)})), hex("02 03 01 00 01")}));
    return tlv(
        0x30, join({hex("02 01 00"), subject,
                    tlv(0x30, join({hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00"), tlv(0x03, join({{0}, key}))})),
                    hex("A0 24 30 22 06 09 2A 86 48 86 F7 0D 01 09 01 31 15 16 13"
                        "65 6E 72 6F 6C 6C 40 76 65 6D 74 72 65 6C 2E 74 65 73 74")}));
}

Bytes requestOf(DWORD bits, const Bytes& subject, ALG_ID alg) {
    const Bytes info = infoOf(bits, subject);
    return tlv(0x30, join({info,
                           tlv(0x30, join({hex("06 09 2A 86 48 86 F7 0D 01 01"),
                                           alg == CALG_MD5 ? hex("04") : hex("05"), hex("05 00")})),
                           tlv(0x03, join({{0}, support::fakeSignature(bits, alg, info)}))}));
}

class request_test : public testing::Test {
  protected:
    request_test() { enrol::chooseProvider(kProvider, sizeof(kProvider) - 1); }
    ~request_test() override {
        enrol::forgetProvider();
        enrol::sKeySpec = AT_SIGNATURE;
        enrol::sHashAlgId = CALG_SHA1;
    }

    bool containerExists(const std::string& name = kFirstName) const {
        return crypto.containers.count({kProvider, name}) != 0;
    }

    support::FailingTables tables;
    support::FakeSystemApi system;
    FakeCryptoApi crypto;
    support::CallPlan calls;
};

TEST_F(request_test, GivesTheRequestOfEachKeySize) {
    for (const std::int32_t bits : {512, 1024, 2048, 4096}) {
        const Answer answer = generate(bits);
        ASSERT_EQ(answer.code, 0) << bits;
        EXPECT_EQ(toHex(derOf(answer.text)), toHex(requestOf(static_cast<DWORD>(bits), hex("30 00"), CALG_SHA1)));
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(request_test, AsksThePlatformInThisOrder) {
    ASSERT_EQ(generate(1024).code, 0);
    const std::vector<std::string> expected = {"CoCreateGuid",
                                               "ExpandEnvironmentStringsA",
                                               "ExpandEnvironmentStringsA",
                                               "CryptAcquireContextA",
                                               "CryptGenKey",
                                               "CryptExportKey",
                                               "CryptExportKey",
                                               "CryptDestroyKey",
                                               "CryptReleaseContext",
                                               "CryptAcquireContextA",
                                               "CryptCreateHash",
                                               "CryptHashData",
                                               "CryptSignHashA",
                                               "CryptSignHashA",
                                               "CryptDestroyHash",
                                               "CryptReleaseContext"};
    EXPECT_EQ(calls.log(), expected);
}

TEST_F(request_test, TheKeyStaysInItsContainerAndTheMarkerNamesIt) {
    ASSERT_EQ(generate(2048).code, 0);
    EXPECT_EQ(system.marker(), kFirstName);
    ASSERT_TRUE(containerExists());
    const auto& keys = crypto.containers.at({kProvider, kFirstName});
    ASSERT_EQ(keys.count(AT_SIGNATURE), 1U);
    EXPECT_EQ(keys.at(AT_SIGNATURE).bits, 2048U);
    EXPECT_EQ(keys.at(AT_SIGNATURE).flags, CRYPT_EXPORTABLE);
}

TEST_F(request_test, ASecondRequestReplacesTheMarkerAndLeavesTheFirstKey) {
    ASSERT_EQ(generate(512).code, 0);
    ASSERT_EQ(generate(512).code, 0);
    EXPECT_EQ(system.marker(), "01234568-89AB-cdef-FEDC-BA9876543210");
    EXPECT_TRUE(containerExists());
    EXPECT_TRUE(containerExists("01234568-89AB-cdef-FEDC-BA9876543210"));
}

TEST_F(request_test, TheKeySpecificationIsAsSet) {
    enrol::sKeySpec = AT_KEYEXCHANGE;
    ASSERT_EQ(generate(512).code, 0);
    EXPECT_EQ(crypto.containers.at({kProvider, kFirstName}).count(AT_KEYEXCHANGE), 1U);
    enrol::sKeySpec = 77;
    EXPECT_EQ(generate(512).code, 22188104);
}

TEST_F(request_test, Md5IsLabelledMd5) {
    enrol::sHashAlgId = CALG_MD5;
    EXPECT_EQ(toHex(derOf(generate(1024).text)), toHex(requestOf(1024, hex("30 00"), CALG_MD5)));
}

TEST_F(request_test, AnyOtherHashIsLabelledSha1) {
    enrol::sHashAlgId = 0x800C;
    EXPECT_EQ(toHex(derOf(generate(1024).text)), toHex(requestOf(1024, hex("30 00"), 0x800C)));
    EXPECT_EQ(crypto.lastAlgorithm, 0x800CU);
}

TEST_F(request_test, AnotherExponentIsStatedAs65537) {
    for (const DWORD exponent : {3U, 17U, 0x80000001U}) {
        crypto.makePublicBlob = [=](DWORD bits) { return support::fakePublicBlob(bits, exponent); };
        EXPECT_EQ(toHex(derOf(generate(1024).text)), toHex(requestOf(1024, hex("30 00"), CALG_SHA1))) << exponent;
    }
}

TEST_F(request_test, PrintsTheLengthOfThePublicKey) {
    EXPECT_EQ(generate(512).printed, "p1PubkeyDerLen = 74\n");
    EXPECT_EQ(generate(1024).printed, "p1PubkeyDerLen = 140\n");
    EXPECT_EQ(generate(2048).printed, "p1PubkeyDerLen = 270\n");
    EXPECT_EQ(generateFor("CN=a", 1, 4096).printed, "p1PubkeyDerLen = 526\n");
}

TEST_F(request_test, TheSizeGivenBackMayExceedTheText) {
    bool sawFullLine = false;
    bool sawPartLine = false;
    for (std::size_t length = 1; length <= 60; ++length) {
        const Answer answer = generateFor("CN=" + std::string(length, 'x'));
        ASSERT_EQ(answer.code, 0);
        const std::size_t n = (derOf(answer.text).size() + 2) / 3 * 4;
        EXPECT_EQ(answer.size, n + 2 + 2 * ((n - 1) / 64));
        const bool endsInBreak = answer.text.substr(answer.text.size() - 2) == "\r\n";
        EXPECT_EQ(endsInBreak, n % 64 == 0) << n;
        (n % 64 == 0 ? sawFullLine : sawPartLine) = true;
    }
    EXPECT_TRUE(sawFullLine);
    EXPECT_TRUE(sawPartLine);
}

TEST_F(request_test, OtherKeySizesAreRefusedAfterTheMarker) {
    for (const std::int32_t bits : {0, 1, -1, 511, 768, 1000, 1025, 3072, 8192, 65536 + 1024, -2147483647 - 1}) {
        EXPECT_EQ(generate(bits).code, 22188202) << bits;
        EXPECT_EQ(generateFor("CN=a", 1, bits).code, 22188202) << bits;
    }
    EXPECT_EQ(calls.count("CryptAcquireContextA"), 0);
    EXPECT_NE(system.marker(), "(none)");
}

TEST_F(request_test, WithoutAProviderTheMarkerIsWrittenAllTheSame) {
    enrol::forgetProvider();
    EXPECT_EQ(generate(1024).code, 22188201);
    EXPECT_EQ(system.marker(), kFirstName);
    enrol::chooseProvider("", 0);
    // The provider is looked at before the key size.
    EXPECT_EQ(generate(1000).code, 22188201);
    EXPECT_EQ(calls.count("CryptAcquireContextA"), 0);
}

TEST_F(request_test, AnUnwritableHomeEndsTheRequestBeforeAnyKey) {
    system.environment["HOMEPATH"] = system.home() + "/missing";
    EXPECT_EQ(generate(1024).code, 22188308);
    enrol::forgetProvider();
    EXPECT_EQ(generate(1024).code, 22188308) << "the marker comes first";
    EXPECT_TRUE(crypto.containers.empty());
}

TEST_F(request_test, AContainerOfThatNameIsReplaced) {
    crypto.addKey(kProvider, kFirstName, AT_KEYEXCHANGE, 512);
    EXPECT_EQ(generate(1024).code, 0);
    EXPECT_EQ(crypto.containers.at({kProvider, kFirstName}).count(AT_KEYEXCHANGE), 0U);
    EXPECT_EQ(calls.count("CryptAcquireContextA"), 4);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(request_test, AContainerThatCannotBeReplacedEndsTheRequest) {
    // The deletion fails, so the second creation does; then the second creation itself fails.
    for (const int occurrence : {2, 3}) {
        crypto.containers.clear();
        system.guid.Data1 = 0x01234567;
        crypto.addKey(kProvider, kFirstName, AT_SIGNATURE, 512);
        calls.failCall("CryptAcquireContextA", occurrence);
        EXPECT_EQ(generate(1024).code, 22188112) << occurrence;
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(request_test, OnlyAnExistingContainerIsReplaced) {
    calls.failCall("CryptAcquireContextA", 1, NTE_BAD_KEYSET);
    EXPECT_EQ(generate(1024).code, 22188112);
    EXPECT_EQ(calls.count("CryptAcquireContextA"), 1);
    calls.failCall("CryptAcquireContextA", 1, static_cast<DWORD>(NTE_EXISTS));
    EXPECT_EQ(generate(1024).code, 0) << "whatever the deletion says, the second creation decides";
}

// What one failing call leaves behind.
struct Outcome {
    std::int32_t code;
    const char* open;  // the handles that stay open
    bool container;    // whether the container is there
    bool marker;       // whether the marker is there
};

// The platform calls of a request, each of which fails in one round.
const std::map<std::string, Outcome> kOutcomes = {
    {"CoCreateGuid 1", {22188201, "", false, false}},
    {"ExpandEnvironmentStringsA 1", {22188308, "", false, false}},
    {"ExpandEnvironmentStringsA 2", {22188308, "", false, false}},
    {"CryptAcquireContextA 1", {22188112, "", false, true}},
    {"CryptGenKey 1", {22188104, "", false, true}},
    {"CryptExportKey 1", {22188106, "", false, true}},
    {"CryptExportKey 2", {22188107, "", false, true}},
    {"CryptDestroyKey 1", {0, "", true, true}},
    {"CryptReleaseContext 1", {0, "", true, true}},
    // A failed signature leaves its handles open.
    {"CryptAcquireContextA 2", {22188104, "", true, true}},
    {"CryptCreateHash 1", {22188104, "provider", true, true}},
    {"CryptHashData 1", {22188104, "hash provider", true, true}},
    {"CryptSignHashA 1", {22188104, "hash provider", true, true}},
    {"CryptSignHashA 2", {22188104, "hash provider", true, true}},
    {"CryptDestroyHash 1", {0, "", true, true}},
    {"CryptReleaseContext 2", {0, "", true, true}},
};

// Besides those of kOutcomes, with a subject.
const std::map<std::string, Outcome> kSubjectOutcomes = {
    {"MultiByteToWideChar 1", {22188229, "", false, false}}, {"MultiByteToWideChar 2", {22188229, "", false, false}},
    {"WideCharToMultiByte 1", {22038124, "", true, true}},   {"WideCharToMultiByte 2", {22038124, "", true, true}},
    {"CryptEncodeObjectEx 1", {22038124, "", true, true}},   {"CryptEncodeObjectEx 2", {22038124, "", true, true}},
};

// failEachCall fails the first platform call, then the second, until a run meets no failure; it gives the number of
// calls that a run makes.
template <class Operation>
int failEachCall(const std::map<std::string, Outcome>& outcomes, Operation operation) {
    for (int n = 1;; ++n) {
        support::FailingTables tables;
        support::FakeSystemApi system;
        FakeCryptoApi crypto;
        support::CallPlan calls;
        calls.failCall(n);
        const Answer answer = operation();
        const std::string& failed = calls.failed();
        if (failed.empty()) {
            EXPECT_EQ(answer.code, 0);
            EXPECT_EQ(calls.openHandles(), "");
            return n - 1;
        }
        const auto outcome = outcomes.find(failed);
        if (outcome == outcomes.end()) {
            ADD_FAILURE() << "an unexpected call: " << failed;
            return n;
        }
        EXPECT_EQ(answer.code, outcome->second.code) << failed;
        EXPECT_EQ(calls.openHandles(), outcome->second.open) << failed;
        EXPECT_EQ(crypto.containers.count({kProvider, kFirstName}) != 0, outcome->second.container) << failed;
        EXPECT_EQ(system.marker() != "(none)", outcome->second.marker) << failed;
    }
}

TEST(request_test_failures, EachPlatformCallHasItsCodeAndLeavesWhatIsTold) {
    enrol::chooseProvider(kProvider, sizeof(kProvider) - 1);
    EXPECT_EQ(failEachCall(kOutcomes, [] { return generate(1024); }), static_cast<int>(kOutcomes.size()));
    std::map<std::string, Outcome> all = kOutcomes;
    all.insert(kSubjectOutcomes.begin(), kSubjectOutcomes.end());
    EXPECT_EQ(failEachCall(all, [] { return generateFor("C=DE,CN=a"); }), static_cast<int>(all.size()));
    enrol::forgetProvider();
}

TEST_F(request_test, ABlobThatIsNoKeyEndsTheRequestAndLeavesTheContainer) {
    const Bytes good = support::fakePublicBlob(1024);
    Bytes oddSize = good;
    oddSize[12] = 0x01;
    const Bytes cutShort(good.begin(), good.end() - 1);
    Bytes topBitClear = good;
    topBitClear.back() = 0x04;
    for (const Bytes& blob : {oddSize, cutShort, topBitClear, Bytes(good.begin(), good.begin() + 19), Bytes{}}) {
        system.guid.Data1 = 0x01234567;
        crypto.containers.clear();
        crypto.makePublicBlob = [&](DWORD) { return blob; };
        EXPECT_EQ(generate(1024).code, 22188201);
        EXPECT_TRUE(containerExists());
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(request_test, TheSubjectStandsInTheRequest) {
    EXPECT_EQ(toHex(derOf(generateFor("C=DE,O=Org,OU=Unit,CN=J\xC3\xB6rg").text)),
              toHex(requestOf(1024,
                              hex("30 3A"
                                  "31 0B 30 09 06 03 55 04 06 13 02 44 45"
                                  "31 0C 30 0A 06 03 55 04 0A 0C 03 4F 72 67"
                                  "31 0D 30 0B 06 03 55 04 0B 0C 04 55 6E 69 74"
                                  "31 0E 30 0C 06 03 55 04 03 0C 05 4A C3 B6 72 67"),
                              CALG_SHA1)));
}

TEST_F(request_test, CommasAloneAreAnEmptySubject) {
    EXPECT_EQ(toHex(derOf(generateFor(",,").text)), toHex(requestOf(1024, hex("30 00"), CALG_SHA1)));
}

TEST_F(request_test, BadUtf8IsReplacedAsThePlatformDoes) {
    EXPECT_EQ(toHex(derOf(generateFor("CN=\xFF").text)),
              toHex(requestOf(1024, hex("30 0E 31 0C 30 0A 06 03 55 04 03 0C 03 EF BF BD"), CALG_SHA1)));
}

TEST_F(request_test, BothWaysOfExportingAreUnderHighProtection) {
    ASSERT_EQ(generateFor("CN=a", 1).code, 0);
    EXPECT_EQ(crypto.containers.at({kProvider, kFirstName}).at(AT_SIGNATURE).flags, 0x8001U);
    system.guid.Data1 = 0x01234567;
    ASSERT_EQ(generateFor("CN=a", 0).code, 0);
    EXPECT_EQ(crypto.containers.at({kProvider, kFirstName}).at(AT_SIGNATURE).flags, 0x8000U);
}

TEST_F(request_test, AnyOtherExportableIsRefusedAndLeavesAnEmptyContainer) {
    for (const std::int32_t exportable : {2, -1, 0x7FFFFFFF}) {
        system.guid.Data1 = 0x01234567;
        crypto.containers.clear();
        EXPECT_EQ(generateFor("CN=a", exportable).code, 22038112);
        ASSERT_TRUE(containerExists());
        EXPECT_TRUE(crypto.containers.at({kProvider, kFirstName}).empty());
        EXPECT_EQ(calls.openHandles(), "");
    }
    EXPECT_EQ(calls.count("CryptGenKey"), 0);
}

TEST_F(request_test, ABadSubjectEndsTheRequestAfterTheKey) {
    const std::string ten = "CN=a,CN=a,CN=a,CN=a,CN=a,CN=a,CN=a,CN=a,CN=a,CN=a";
    EXPECT_EQ(generateFor(ten).code, 0);
    EXPECT_EQ(generateFor(ten + ",CN=a").code, 22038227);
    EXPECT_EQ(generateFor("CN=a, O=b").code, 22038227);
    EXPECT_EQ(generateFor("CN=a,b").code, 22038228);
    EXPECT_EQ(generateFor("C=D_").code, 22038124);
    // Every key was made, and stays.
    EXPECT_EQ(crypto.containers.size(), 5U);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(request_test, AnEmptySubjectIsRefusedBeforeAnythingElse) {
    EXPECT_EQ(generateFor("").code, 22188201);
    EXPECT_EQ(generateFor(std::string("\0CN=a", 5)).code, 22188201);
    EXPECT_EQ(ask([](enrol::HeapText& text, std::size_t& size) {
                  return enrol::GenerateRequestWithSubject(1024, 1, nullptr, 4, text, size);
              }).code,
              22188201);
    EXPECT_EQ(ask([](enrol::HeapText& text, std::size_t& size) {
                  return enrol::GenerateRequestWithSubject(1024, 1, "CN=a", 0, text, size);
              }).code,
              22188201);
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(request_test, WithASubjectAMissingProviderIsNoticedBeforeTheMarker) {
    enrol::forgetProvider();
    EXPECT_EQ(generateFor("CN=a").code, 22188201);
    enrol::chooseProvider("", 0);
    EXPECT_EQ(generateFor("CN=a").code, 22188201);
    EXPECT_TRUE(calls.log().empty());
    EXPECT_EQ(system.marker(), "(none)");
}

#if SIZE_MAX > 0xFFFFFFFF
TEST_F(request_test, ASubjectThatNoCallCanTakeIsRefused) {
    EXPECT_EQ(ask([](enrol::HeapText& text, std::size_t& size) {
                  return enrol::GenerateRequestWithSubject(1024, 1, "CN=a", std::size_t{1} << 31, text, size);
              }).code,
              22188229);
}
#endif

TEST_F(request_test, ASubjectOfAMegabyteWorks) {
    const Answer answer = generateFor("CN=" + std::string(1 << 20, 'x'));
    ASSERT_EQ(answer.code, 0);
    EXPECT_GT(answer.size, 1400000U);
}

// A provider's dialog about the key lets messages through, and with them another call of a page.
TEST_F(request_test, AProviderForgottenDuringTheRequestDoesNotChangeIt) {
    const Replaced<& platform::CryptoApi::CryptGenKey>* replaced = nullptr;
    const Replaced<&platform::CryptoApi::CryptGenKey> genKey(
        [&](HCRYPTPROV prov, ALG_ID spec, DWORD flags, HCRYPTKEY* key) {
            std::memset(enrol::sProviderName, '#', std::strlen(enrol::sProviderName));
            enrol::forgetProvider();
            return replaced->original(prov, spec, flags, key);
        });
    replaced = &genKey;
    EXPECT_EQ(generate(1024).code, 0);
    enrol::chooseProvider(kProvider, sizeof(kProvider) - 1);
    EXPECT_EQ(generateFor("CN=a").code, 0);
    enrol::chooseProvider(kProvider, sizeof(kProvider) - 1);
    calls.failCall("CryptExportKey");
    EXPECT_EQ(generate(1024).code, 22188106);
    EXPECT_EQ(crypto.containers.size(), 2U) << "the third container is deleted";
}

TEST_F(request_test, AnExceptionOfThePlatformEndsTheRequest) {
    const Replaced<&platform::CryptoApi::CryptGenKey> genKey(
        [](HCRYPTPROV, ALG_ID, DWORD, HCRYPTKEY*) -> BOOL { throw 1; });
    EXPECT_EQ(generate(1024).code, 22188201);
    EXPECT_EQ(generateFor("CN=a").code, 22188201);
    EXPECT_EQ(calls.openHandles(), "");
}

}  // namespace
