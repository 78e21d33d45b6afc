#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "tests/plugin/fake_enrol.h"
#include "tests/plugin/plugin_test.h"
#include "tests/support/failing_heap.h"

namespace {

using fake_enrol::script;
using host::Outcome;
using host::Value;
using platform::SystemApi;
using support::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNul[] = "\0";

class methods_test : public PageTest {
  protected:
    methods_test() { script = {}; }

    // Every call with these arguments is an error of script, and no operation runs.
    void expectRefused(const std::string& method, const std::vector<std::vector<Value>>& argumentLists) {
        for (std::size_t i = 0; i < argumentLists.size(); ++i)
            EXPECT_THAT(call(method, argumentLists[i]), IsScriptError()) << method << ", list " << i;
        EXPECT_THAT(script.calls, IsEmpty());
    }

    // The process that hosts the plug-in, for as long as it lives.
    struct HostNamed {
        std::string name;
        Replaced<&SystemApi::GetModuleBaseNameA> baseName;
        explicit HostNamed(std::string hostName)
            : name(std::move(hostName)), baseName([this](HANDLE, HMODULE, LPSTR text, DWORD capacity) {
                  EXPECT_EQ(capacity, 260u);
                  EXPECT_STREQ(text, "unknown") << "the buffer's content before the call";
                  std::strcpy(text, name.c_str());
                  return static_cast<DWORD>(name.size());
              }) {}
    };
};

// Rules that hold for all methods

TEST_F(methods_test, AnUnknownNameIsAnError) {
    NPVariant result = {};
    NPVariant argument = {};
    EXPECT_FALSE(page.object()->_class->invoke(page.object(), browser.identifier("foof"), &argument, 0, &result));
    EXPECT_FALSE(page.object()->_class->invoke(page.object(), browser.identifier("KeySpec"), &argument, 0, &result));
}

TEST_F(methods_test, ANullArgumentArrayIsAnErrorForAll) {
    for (const char* name : kMethodNames) {
        for (std::uint32_t count = 0; count < 4; ++count) {
            NPVariant result = {};
            EXPECT_FALSE(
                page.object()->_class->invoke(page.object(), browser.identifier(name), nullptr, count, &result))
                << name << " " << count;
            EXPECT_EQ(result.type, NPVariantType_Void);
        }
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, AWrongArgumentCountIsAnErrorForAll) {
    const Value text("x");
    expectRefused("genP10", {{}, {512, 512}});
    expectRefused("genP10_exp_withdn", {{}, {512}, {512, 1}, {512, 1, text, text}});
    expectRefused("setCSP", {{}, {text, text}});
    expectRefused("listCSP", {{}, {0, 0}});
    for (const char* method :
         {"writeClientCert", "writeClientCert_noprotect", "writeClientCert_exp_X509", "SetHashAlgorithm"})
        expectRefused(method, {{}, {text, text}});
    expectRefused("getVersion", {{text}, {0}});
    for (const char* method : {"deleteCert", "IsCertExist", "CheckCertValid", "leavingMostRecentCert"})
        expectRefused(method, {{}, {text}, {text, text, text}});
}

TEST_F(methods_test, AWrongArgumentTypeIsAnErrorForAll) {
    const Value text("x");
    const std::vector<Value> notIntegers = {Value(), Value::null(), Value(true), Value("512"),
                                            Value::object(page.object())};
    const std::vector<Value> notTexts = {Value(),  Value::null(), Value(false),
                                         Value(1), Value(1.5),    Value::object(page.object())};
    for (const Value& wrong : notIntegers) {
        expectRefused("genP10", {{wrong}});
        expectRefused("listCSP", {{wrong}});
        expectRefused("genP10_exp_withdn", {{wrong, 1, text}, {512, wrong, text}});
    }
    for (const Value& wrong : notTexts) {
        expectRefused("genP10_exp_withdn", {{512, 1, wrong}});
        for (const char* method :
             {"setCSP", "writeClientCert", "writeClientCert_noprotect", "writeClientCert_exp_X509", "SetHashAlgorithm"})
            expectRefused(method, {{wrong}});
        for (const char* method : {"deleteCert", "IsCertExist", "CheckCertValid", "leavingMostRecentCert"})
            expectRefused(method, {{wrong, text}, {text, wrong}});
    }
}

TEST_F(methods_test, AnUndefinedVariantTypeIsAnError) {
    NPVariant odd = {};
    odd.type = static_cast<NPVariantType>(7);
    NPVariant result = {};
    EXPECT_FALSE(page.object()->_class->invoke(page.object(), browser.identifier("genP10"), &odd, 1, &result));
    EXPECT_FALSE(page.object()->_class->invoke(page.object(), browser.identifier("setCSP"), &odd, 1, &result));
}

TEST_F(methods_test, TextsThatComeBackAreOneBlockWithATerminator) {
    browser.calls.clear();
    EXPECT_THAT(call("getVersion"), IsText("1.0.14.1"));
    script.hasName = false;
    EXPECT_THAT(call("listCSP", {0}), IsText(""));
    EXPECT_THAT(browser.calls, ElementsAre("MemAlloc 9", "MemAlloc 1"));
    EXPECT_EQ(browser.liveBlocks(), 0u);
}

TEST_F(methods_test, WithoutMemoryATextIsLeftOutAndTheCallSucceeds) {
    chooseProvider();
    browser.allocationsLeft = 0;
    EXPECT_THAT(call("getVersion"), IsUndefined());
    EXPECT_THAT(call("listCSP", {0}), IsUndefined());
    EXPECT_THAT(call("genP10", {1024}), IsUndefined());
    EXPECT_THAT(call("genP10", {1}), IsUndefined());
    EXPECT_EQ(enrol::sLastError, 22188202);
    EXPECT_THAT(browser.callDefault(page.object(), {}), IsUndefined());
}

// genP10

TEST_F(methods_test, genP10GivesTheRequest) {
    chooseProvider();
    enrol::sLastError = 99;
    for (const int bits : {512, 1024, 2048, 4096}) {
        script.calls.clear();
        EXPECT_THAT(call("genP10", {bits}), IsText("REQUEST"));
        EXPECT_THAT(script.calls, ElementsAre("GenerateRequest " + std::to_string(bits)));
        EXPECT_EQ(enrol::sLastError, 0);
        EXPECT_STREQ(enrol::sRequestText, "REQUEST");
    }
}

TEST_F(methods_test, genP10TruncatesADouble) {
    chooseProvider();
    EXPECT_THAT(call("genP10", {1024.9}), IsText("REQUEST"));
    EXPECT_THAT(script.calls, ElementsAre("GenerateRequest 1024"));
}

TEST_F(methods_test, genP10SaturatesDoublesOutOfRange) {
    chooseProvider();
    const double doubles[] = {std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              1e300,
                              -1e300,
                              4294967296.0 + 1024.0};
    for (const double bits : doubles) {
        EXPECT_THAT(call("genP10", {bits}), IsText("")) << bits;
        EXPECT_EQ(enrol::sLastError, 22188202) << bits;
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, genP10WantsAProviderBeforeItLooksAtTheLength) {
    EXPECT_THAT(call("genP10", {1000}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188201);
    enrol::chooseProvider("", 0);
    EXPECT_THAT(call("genP10", {1024}), IsText("")) << "an empty name is none";
    EXPECT_EQ(enrol::sLastError, 22188201);
    chooseProvider();
    EXPECT_THAT(call("genP10", {1000}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188202);
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, genP10RefusesEveryOtherLength) {
    chooseProvider();
    for (const int bits : {0, -1, 1, 511, 513, 768, 1023, 1025, 2047, 3072, 8192, -1024,
                           std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_THAT(call("genP10", {bits}), IsText(""));
        EXPECT_EQ(enrol::sLastError, 22188202) << bits;
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, genP10ClearsTheStagingBufferAfterTheProviderTest) {
    std::memset(enrol::sRequestText, 'x', sizeof(enrol::sRequestText));
    call("genP10", {1024});
    EXPECT_EQ(enrol::sRequestText[0], 'x') << "without a provider it stays";
    chooseProvider();
    call("genP10", {1});
    EXPECT_EQ(std::count(std::begin(enrol::sRequestText), std::end(enrol::sRequestText), '\0'), 4096);
}

TEST_F(methods_test, genP10PassesTheOperationsCode) {
    chooseProvider();
    script.code = 22188112;
    EXPECT_THAT(call("genP10", {512}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188112);
}

TEST_F(methods_test, genP10RefusesATextOf4096) {
    chooseProvider();
    script.text = std::string(5000, 'A');
    script.textLength = 4095;
    EXPECT_EQ(call("genP10", {512}).text.size(), 4095u);
    EXPECT_EQ(enrol::sLastError, 0);
    script.textLength = 4096;
    EXPECT_THAT(call("genP10", {512}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188218);
    script.textLength = 5000;
    EXPECT_THAT(call("genP10", {512}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188218);
}

TEST_F(methods_test, genP10WithoutATextLeavesTheResultUnwritten) {
    chooseProvider();
    enrol::sLastError = 99;
    script.hasText = false;
    EXPECT_THAT(call("genP10", {512}), IsUndefined());
    EXPECT_EQ(enrol::sLastError, 0);
    enrol::sLastError = 99;
    script.hasText = true;
    script.textLength = 0;
    EXPECT_THAT(call("genP10", {512}), IsUndefined());
    EXPECT_EQ(enrol::sLastError, 0);
}

TEST_F(methods_test, genP10EndsTheTextAtItsFirstNul) {
    chooseProvider();
    script.text = std::string("AB\0CD", 5);
    script.textLength = 6;
    EXPECT_THAT(call("genP10", {512}), IsText("AB"));
}

TEST_F(methods_test, genP10LeavesNothingOfALongerRequestBehind) {
    chooseProvider();
    script.text = "LONGER REQUEST";
    script.textLength = 14;
    EXPECT_THAT(call("genP10", {512}), IsText("LONGER REQUEST"));
    script.text = "SHORT";
    script.textLength = 5;
    EXPECT_THAT(call("genP10", {512}), IsText("SHORT"));
}

// genP10_exp_withdn

TEST_F(methods_test, genP10WithSubjectPassesItsBytesAsTheyStand) {
    chooseProvider();
    const std::string subject = std::string("CN=a") + std::string(kNul, 1) + "\xFF,O=b";
    EXPECT_THAT(call("genP10_exp_withdn", {2048, 7, subject}), IsText("REQUEST"));
    EXPECT_THAT(script.calls, ElementsAre("GenerateRequestWithSubject 2048 7 CN=a\\0\xFF,O=b"));
    EXPECT_EQ(enrol::sLastError, 0);
}

TEST_F(methods_test, genP10WithSubjectTruncatesDoubles) {
    chooseProvider();
    call("genP10_exp_withdn", {512.5, 1.9, "CN=a"});
    EXPECT_THAT(script.calls, ElementsAre("GenerateRequestWithSubject 512 1 CN=a"));
}

TEST_F(methods_test, genP10WithSubjectWantsOneBeforeTheProvider) {
    for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(5)}) {
        EXPECT_THAT(call("genP10_exp_withdn", {512, 1, empty}), IsText(""));
        EXPECT_EQ(enrol::sLastError, 22188215);
    }
    EXPECT_THAT(call("genP10_exp_withdn", {1000, 1, "CN=a"}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188201);
    chooseProvider();
    EXPECT_THAT(call("genP10_exp_withdn", {1000, 1, "CN=a"}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188202);
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, genP10WithSubjectEndsAsGenP10Does) {
    chooseProvider();
    script.code = 22038227;
    EXPECT_THAT(call("genP10_exp_withdn", {512, 1, "CN=a"}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22038227);
    script.code = 0;
    script.textLength = 4096;
    EXPECT_THAT(call("genP10_exp_withdn", {512, 1, "CN=a"}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22188218);
    script.hasText = false;
    script.textLength = 8;
    EXPECT_THAT(call("genP10_exp_withdn", {512, 1, "CN=a"}), IsUndefined());
    EXPECT_EQ(enrol::sLastError, 0);
}

// setCSP

TEST_F(methods_test, setCSPStoresTheName) {
    enrol::sLastError = 99;
    EXPECT_THAT(call("setCSP", {"Any name at all"}), IsUndefined());
    EXPECT_STREQ(enrol::sProviderName, "Any name at all");
    EXPECT_EQ(enrol::sLastError, 0);
    EXPECT_THAT(call("setCSP", {"Other"}), IsUndefined());
    EXPECT_STREQ(enrol::sProviderName, "Other");
    EXPECT_THAT(script.calls, IsEmpty()) << "the machine's providers are not asked";
}

TEST_F(methods_test, setCSPRefusesAnEmptyNameAndKeepsTheFormer) {
    chooseProvider("Former");
    for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(12)}) {
        EXPECT_THAT(call("setCSP", {empty}), IsUndefined());
        EXPECT_EQ(enrol::sLastError, 22028201);
        EXPECT_STREQ(enrol::sProviderName, "Former");
    }
}

TEST_F(methods_test, setCSPTakesNulsAndMegabytes) {
    EXPECT_THAT(call("setCSP", {std::string("A\0B", 3)}), IsUndefined());
    EXPECT_STREQ(enrol::sProviderName, "A");
    EXPECT_EQ(enrol::sProviderName[2], 'B');
    EXPECT_THAT(call("setCSP", {std::string(kNul, 1) + "x"}), IsUndefined());
    EXPECT_EQ(enrol::sLastError, 0);
    call("genP10", {512});
    EXPECT_EQ(enrol::sLastError, 22188201) << "a name that begins with a NUL is empty";
    EXPECT_THAT(call("setCSP", {std::string(3 << 20, 'p')}), IsUndefined());
    EXPECT_EQ(std::strlen(enrol::sProviderName), std::size_t{3} << 20);
}

TEST_F(methods_test, setCSPWithoutMemoryIsLeftWithNoProvider) {
    chooseProvider("Former");
    NPVariant name = {};
    name.type = NPVariantType_String;
    name.value.stringValue = {"Other", 5};
    NPVariant result = {};
    const NPIdentifier setCSP = browser.identifier("setCSP");
    bool answer = false;
    {
        const support::FailingHeap heap(1);
        answer = page.object()->_class->invoke(page.object(), setCSP, &name, 1, &result);
    }
    EXPECT_TRUE(answer);
    EXPECT_EQ(result.type, NPVariantType_Void);
    EXPECT_EQ(enrol::sProviderName, nullptr);
    EXPECT_EQ(enrol::sLastError, 22028201);
}

// listCSP

TEST_F(methods_test, listCSPGivesTheNameAndLeavesTheCodeAlone) {
    enrol::sLastError = 99;
    EXPECT_THAT(call("listCSP", {3}), IsText("Provider"));
    EXPECT_THAT(call("listCSP", {4.7}), IsText("Provider"));
    EXPECT_THAT(script.calls, ElementsAre("EnumerateProvider 3", "EnumerateProvider 4"));
    EXPECT_STREQ(enrol::sProviderListText, "Provider");
    EXPECT_EQ(enrol::sLastError, 99);
}

TEST_F(methods_test, listCSPGivesAnEmptyTextPastTheEnd) {
    call("listCSP", {0});
    script.hasName = false;
    enrol::sLastError = 99;
    EXPECT_THAT(call("listCSP", {1}), IsText(""));
    EXPECT_STREQ(enrol::sProviderListText, "");
    EXPECT_EQ(enrol::sLastError, 99);
}

TEST_F(methods_test, listCSPDropsAFailureOfTheEnumeration) {
    enrol::sLastError = 99;
    script.code = 22018102;
    script.hasName = false;
    EXPECT_THAT(call("listCSP", {-1}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 99);
    script.hasName = true;
    EXPECT_THAT(call("listCSP", {0}), IsText("")) << "no name comes with a failure";
    EXPECT_EQ(enrol::sLastError, 99);
}

TEST_F(methods_test, listCSPRefusesANameOf2048) {
    script.name = std::string(2047, 'n');
    EXPECT_THAT(call("listCSP", {0}), IsText(script.name));
    EXPECT_EQ(enrol::sLastError, 0);
    script.name = std::string(2048, 'n');
    EXPECT_THAT(call("listCSP", {0}), IsText(""));
    EXPECT_EQ(enrol::sLastError, 22018219);
}

// The writeClientCert family

struct Writer {
    const char* method;
    const char* operation;
};
constexpr Writer kWriters[] = {{"writeClientCert", "WriteClientCert "},
                               {"writeClientCert_noprotect", "WriteClientCertNoProtect "},
                               {"writeClientCert_exp_X509", "WriteClientCertExpX509 "}};

TEST_F(methods_test, writeClientCertGivesItsOperationsCode) {
    chooseProvider();
    for (const Writer& writer : kWriters) {
        for (const int code : {0, 22038226}) {
            script = {};
            script.code = code;
            enrol::sLastError = 99;
            EXPECT_THAT(call(writer.method, {std::string("MII\0C", 5)}), IsInteger(code));
            EXPECT_EQ(enrol::sLastError, code);
            EXPECT_THAT(script.calls, ElementsAre(std::string(writer.operation) + "MII\\0C"));
        }
    }
}

TEST_F(methods_test, writeClientCertWantsATextBeforeAProvider) {
    for (const Writer& writer : kWriters) {
        for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(9)}) {
            EXPECT_THAT(call(writer.method, {empty}), IsInteger(22068204));
            EXPECT_EQ(enrol::sLastError, 22068204);
        }
        EXPECT_THAT(call(writer.method, {"MII"}), IsInteger(22068201));
        EXPECT_EQ(enrol::sLastError, 22068201);
        enrol::chooseProvider("", 0);
        EXPECT_THAT(call(writer.method, {"MII"}), IsInteger(22068201));
        enrol::forgetProvider();
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, writeClientCertTakesMegabytes) {
    chooseProvider();
    const std::string text(1 << 20, 'M');
    EXPECT_THAT(call("writeClientCert", {text}), IsInteger(0));
    EXPECT_THAT(script.calls, ElementsAre("WriteClientCert " + text));
}

// SetHashAlgorithm

TEST_F(methods_test, SetHashAlgorithmTakesAnyBeginningOfAName) {
    const struct {
        const char* name;
        int algorithm;
    } rows[] = {{"md5", 0x8003},  {"MD5", 0x8003},  {"Md", 0x8003},  {"M", 0x8003},  {"m", 0x8003},
                {"sha1", 0x8004}, {"SHA1", 0x8004}, {"sHa", 0x8004}, {"Sh", 0x8004}, {"s", 0x8004}};
    for (const auto& row : rows) {
        enrol::sHashAlgId = 0;
        enrol::sLastError = 99;
        EXPECT_THAT(call("SetHashAlgorithm", {row.name}), IsInteger(0)) << row.name;
        EXPECT_EQ(enrol::sHashAlgId, row.algorithm) << row.name;
        EXPECT_EQ(enrol::sLastError, 0);
    }
}

TEST_F(methods_test, SetHashAlgorithmComparesUpToANul) {
    enrol::sHashAlgId = 0;
    EXPECT_THAT(call("SetHashAlgorithm", {std::string("md5\0anything", 12)}), IsInteger(0));
    EXPECT_EQ(enrol::sHashAlgId, 0x8003);
    EXPECT_THAT(call("SetHashAlgorithm", {std::string("m\0", 2)}), IsInteger(22198220));
    EXPECT_THAT(call("SetHashAlgorithm", {std::string("\0", 1)}), IsInteger(22198220));
}

TEST_F(methods_test, SetHashAlgorithmRefusesOtherNames) {
    enrol::sHashAlgId = 77;
    for (const char* name : {"sha256", "sha-1", "md55", "md4", "sha11", " md5", "x", "5"}) {
        EXPECT_THAT(call("SetHashAlgorithm", {name}), IsInteger(22198220)) << name;
        EXPECT_EQ(enrol::sLastError, 22198220);
    }
    EXPECT_THAT(call("SetHashAlgorithm", {std::string(1 << 20, 's')}), IsInteger(22198220));
    for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(3)}) {
        EXPECT_THAT(call("SetHashAlgorithm", {empty}), IsInteger(22198221));
        EXPECT_EQ(enrol::sLastError, 22198221);
    }
    EXPECT_EQ(enrol::sHashAlgId, 77);
}

// getVersion

TEST_F(methods_test, getVersionTouchesNoState) {
    enrol::sLastError = 99;
    EXPECT_THAT(call("getVersion"), IsText("1.0.14.1"));
    EXPECT_EQ(enrol::sLastError, 99);
}

// deleteCert

TEST_F(methods_test, deleteCertCallsWithTerminatedCopies) {
    for (const int code : {0, 22218126}) {
        script = {};
        script.code = code;
        EXPECT_THAT(call("deleteCert", {"CN=Issuer, O=b", "0a 1B fF9"}), IsInteger(code));
        EXPECT_EQ(enrol::sLastError, code);
        EXPECT_THAT(script.calls, ElementsAre("DeleteCertificate CN=Issuer, O=b|0a 1B fF9"));
    }
}

TEST_F(methods_test, deleteCertsCopiesStayWithTheBrowser) {
    browser.calls.clear();
    call("deleteCert", {"CN=a", "0A"});
    EXPECT_THAT(browser.calls, ElementsAre("MemAlloc 5", "MemAlloc 3"));
    EXPECT_EQ(browser.liveBlocks(), 2u);
}

TEST_F(methods_test, deleteCertChecksIssuerThenSerial) {
    const Value empties[] = {Value(""), Value::nullText(0), Value::nullText(4)};
    for (const Value& empty : empties) {
        EXPECT_THAT(call("deleteCert", {empty, empty}), IsInteger(22218231));
        EXPECT_EQ(enrol::sLastError, 22218231);
        EXPECT_THAT(call("deleteCert", {"CN=a", empty}), IsInteger(22218232));
        EXPECT_EQ(enrol::sLastError, 22218232);
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, deleteCertTakesHexDigitsAndBlanksAlone) {
    for (int c = 0; c < 256; ++c) {
        const bool good = c == ' ' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        const std::string serial = std::string("0A") + static_cast<char>(c);
        EXPECT_THAT(call("deleteCert", {"CN=a", serial}), IsInteger(good ? 0 : 22218233)) << c;
        EXPECT_EQ(enrol::sLastError, good ? 0 : 22218233) << c;
    }
    EXPECT_EQ(script.calls.size(), 23u);
}

TEST_F(methods_test, WithoutMemoryForTheCopiesNothingWasFound) {
    for (const int allocations : {0, 1}) {
        browser.allocationsLeft = allocations;
        EXPECT_THAT(call("deleteCert", {"CN=a", "0A"}), IsInteger(22218126));
        EXPECT_EQ(enrol::sLastError, 22218126);
        browser.allocationsLeft = allocations;
        EXPECT_THAT(call("IsCertExist", {"CN=a", "0A"}), IsInteger(1));
        EXPECT_EQ(enrol::sLastError, 1);
        browser.allocationsLeft = allocations;
        EXPECT_THAT(call("leavingMostRecentCert", {"CN=a", "CN=b"}), IsInteger(22238126));
        EXPECT_EQ(enrol::sLastError, 22238126);
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

// IsCertExist

TEST_F(methods_test, IsCertExistGivesItsOperationsAnswer) {
    for (const int answer : {0, 1}) {
        script = {};
        script.code = answer;
        enrol::sLastError = 99;
        EXPECT_THAT(call("IsCertExist", {"CN=a", "0A 1b"}), IsInteger(answer));
        EXPECT_EQ(enrol::sLastError, answer);
        EXPECT_THAT(script.calls, ElementsAre("CertificateExists CN=a|0A 1b"));
    }
}

TEST_F(methods_test, IsCertExistSetsOneBeforeItLooksAtTheTypes) {
    enrol::sLastError = 99;
    EXPECT_THAT(call("IsCertExist", {1, "0A"}), IsScriptError());
    EXPECT_EQ(enrol::sLastError, 1);
    enrol::sLastError = 99;
    EXPECT_THAT(call("IsCertExist", {"CN=a"}), IsScriptError());
    EXPECT_EQ(enrol::sLastError, 1);
}

TEST_F(methods_test, IsCertExistGivesOneForABadArgument) {
    enrol::sLastError = 99;
    EXPECT_THAT(call("IsCertExist", {"", "0A"}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {"CN=a", ""}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {Value::nullText(4), "0A"}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {"CN=a", Value::nullText(4)}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {"CN=a", "0G"}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {"CN=a", "0A\t"}), IsInteger(1));
    EXPECT_THAT(call("IsCertExist", {"CN=a", std::string("0A\0", 3)}), IsInteger(1));
    EXPECT_EQ(enrol::sLastError, 1);
    EXPECT_THAT(script.calls, IsEmpty());
}

// CheckCertValid

TEST_F(methods_test, CheckCertValidChoosesByItsSelector) {
    script.code = 22208321;
    EXPECT_THAT(call("CheckCertValid", {"0", "MII"}), IsInteger(22208321));
    EXPECT_EQ(enrol::sLastError, 22208321);
    script.code = 0;
    EXPECT_THAT(call("CheckCertValid", {"1", "MII"}), IsInteger(0));
    EXPECT_EQ(enrol::sLastError, 0);
    EXPECT_THAT(script.calls, ElementsAre("CheckCertificateInFirefox MII", "CheckCertificateInWindowsStores MII"));
}

TEST_F(methods_test, CheckCertValidComparesTheSelectorUpToANul) {
    EXPECT_THAT(call("CheckCertValid", {std::string("1\0zzz", 5), "MII"}), IsInteger(0));
    EXPECT_THAT(script.calls, ElementsAre("CheckCertificateInWindowsStores MII"));
}

TEST_F(methods_test, CheckCertValidRefusesOtherSelectors) {
    for (const char* selector : {"2", "00", "01", "10", " 0", "O", "x"}) {
        EXPECT_THAT(call("CheckCertValid", {selector, "MII"}), IsInteger(22208220)) << selector;
        EXPECT_EQ(enrol::sLastError, 22208220);
    }
    EXPECT_THAT(call("CheckCertValid", {std::string("\0", 1), "MII"}), IsInteger(22208220));
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, CheckCertValidRefusesEmptyArguments) {
    for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(1)}) {
        EXPECT_THAT(call("CheckCertValid", {empty, "MII"}), IsInteger(22208221));
        EXPECT_THAT(call("CheckCertValid", {"1", empty}), IsInteger(22208221));
        EXPECT_THAT(call("CheckCertValid", {"7", empty}), IsInteger(22208221));
        EXPECT_EQ(enrol::sLastError, 22208221);
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

// leavingMostRecentCert

TEST_F(methods_test, leavingMostRecentCertGivesItsOperationsCode) {
    for (const int code : {0, 22238126}) {
        script = {};
        script.code = code;
        EXPECT_THAT(call("leavingMostRecentCert", {"CN=me", "CN=ca"}), IsInteger(code));
        EXPECT_EQ(enrol::sLastError, code);
        EXPECT_THAT(script.calls, ElementsAre("PruneCertificates CN=me|CN=ca"));
    }
}

TEST_F(methods_test, leavingMostRecentCertChecksSubjectThenIssuer) {
    for (const Value& empty : {Value(""), Value::nullText(0), Value::nullText(1)}) {
        EXPECT_THAT(call("leavingMostRecentCert", {empty, empty}), IsInteger(22238231));
        EXPECT_EQ(enrol::sLastError, 22238231);
        EXPECT_THAT(call("leavingMostRecentCert", {"CN=me", empty}), IsInteger(22238234));
        EXPECT_EQ(enrol::sLastError, 22238234);
    }
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, TextsWithNulsEndThereInTheCopies) {
    call("leavingMostRecentCert", {std::string("CN=me\0x", 7), std::string("\0CN=ca", 6)});
    EXPECT_THAT(script.calls, ElementsAre("PruneCertificates CN=me|"));
}

// The browser's separate plug-in process

TEST_F(methods_test, EightMethodsAreRefusedInThePluginContainer) {
    chooseProvider();
    const HostNamed container("plugin-container.exe");
    const struct {
        const char* method;
        std::vector<Value> args;
    } rows[] = {{"writeClientCert", {"MII"}},
                {"writeClientCert", {""}},
                {"writeClientCert_noprotect", {"MII"}},
                {"writeClientCert_exp_X509", {"MII"}},
                {"SetHashAlgorithm", {"md5"}},
                {"SetHashAlgorithm", {""}},
                {"deleteCert", {"CN=a", "0A"}},
                {"deleteCert", {"", ""}},
                {"IsCertExist", {"CN=a", "0A"}},
                {"IsCertExist", {"", ""}},
                {"CheckCertValid", {"1", "MII"}},
                {"CheckCertValid", {"0", ""}},
                {"leavingMostRecentCert", {"CN=a", "CN=b"}},
                {"leavingMostRecentCert", {"", ""}}};
    for (const auto& row : rows) {
        enrol::sLastError = 99;
        EXPECT_THAT(call(row.method, row.args), IsInteger(-333)) << row.method;
        const int after = std::string(row.method) == "IsCertExist" ? 1 : 99;
        EXPECT_EQ(enrol::sLastError, after) << row.method << " leaves it as it is at that point";
    }
    EXPECT_EQ(enrol::sHashAlgId, 0x8004);
    EXPECT_THAT(script.calls, IsEmpty());
}

TEST_F(methods_test, WrongTypesAreAnErrorInThePluginContainerToo) {
    const HostNamed container("plugin-container.exe");
    EXPECT_THAT(call("writeClientCert", {1}), IsScriptError());
    EXPECT_THAT(call("CheckCertValid", {"1"}), IsScriptError());
}

TEST_F(methods_test, TheOthersWorkInThePluginContainer) {
    const HostNamed container("plugin-container.exe");
    chooseProvider();
    EXPECT_STREQ(enrol::sProviderName, "Provider");
    EXPECT_THAT(call("genP10", {512}), IsText("REQUEST"));
    EXPECT_THAT(call("genP10_exp_withdn", {512, 0, "CN=a"}), IsText("REQUEST"));
    EXPECT_THAT(call("listCSP", {0}), IsText("Provider"));
    EXPECT_THAT(call("getVersion"), IsText("1.0.14.1"));
    EXPECT_TRUE(page.set("KeySpec", 1));
}

TEST_F(methods_test, ThePluginContainerIsToldByItsNameCaseAside) {
    const struct {
        const char* name;
        bool isContainer;
    } rows[] = {{"plugin-container.exe", true},   {"Plugin-Container.EXE", true}, {"plugin-container", false},
                {"plugin-container.exe2", false}, {"firefox.exe", false},         {"", false},
                {"xplugin-container.exe", false}};
    for (const auto& row : rows) {
        const HostNamed host(row.name);
        EXPECT_EQ(plugin::IsPluginContainerHost(), row.isContainer) << row.name;
    }
}

TEST_F(methods_test, TheHostIsAskedForOneModule) {
    const Replaced<&SystemApi::GetCurrentProcess> process([] { return reinterpret_cast<HANDLE>(LONG_PTR{11}); });
    const Replaced<&SystemApi::EnumProcessModules> modules([](HANDLE asked, HMODULE* module, DWORD size, DWORD*) {
        EXPECT_EQ(asked, reinterpret_cast<HANDLE>(LONG_PTR{11}));
        EXPECT_EQ(size, sizeof(HMODULE));
        *module = reinterpret_cast<HMODULE>(LONG_PTR{12});
        return TRUE;
    });
    const Replaced<&SystemApi::GetModuleBaseNameA> baseName([](HANDLE asked, HMODULE module, LPSTR text, DWORD) {
        EXPECT_EQ(asked, reinterpret_cast<HANDLE>(LONG_PTR{11}));
        EXPECT_EQ(module, reinterpret_cast<HMODULE>(LONG_PTR{12}));
        std::strcpy(text, "plugin-container.exe");
        return DWORD{20};
    });
    EXPECT_TRUE(plugin::IsPluginContainerHost());
}

TEST_F(methods_test, AHostThatCannotBeToldIsNotThePluginContainer) {
    const HostNamed container("plugin-container.exe");
    {
        const Replaced<&SystemApi::GetCurrentProcess> process([] { return static_cast<HANDLE>(nullptr); });
        EXPECT_FALSE(plugin::IsPluginContainerHost());
    }
    {
        const Replaced<&SystemApi::EnumProcessModules> modules([](HANDLE, HMODULE*, DWORD, DWORD*) { return FALSE; });
        EXPECT_FALSE(plugin::IsPluginContainerHost());
    }
    const Replaced<&SystemApi::GetModuleBaseNameA> baseName([](HANDLE, HMODULE, LPSTR, DWORD) { return DWORD{0}; });
    EXPECT_FALSE(plugin::IsPluginContainerHost()) << "the name stays \"unknown\"";
}

TEST_F(methods_test, AHostNameThatFillsTheBufferIsNotReadPastItsEnd) {
    const Replaced<&SystemApi::GetModuleBaseNameA> baseName([](HANDLE, HMODULE, LPSTR text, DWORD capacity) {
        std::memset(text, 'p', capacity);
        return capacity;
    });
    EXPECT_FALSE(plugin::IsPluginContainerHost());
}

// The question stands at the head of eight methods, and no exception may reach the browser.
TEST_F(methods_test, ExhaustedMemoryDoesNotChangeTheHost) {
    bool isContainer = true;
    support::forEachExhaustion([&] { isContainer = plugin::IsPluginContainerHost(); });
    EXPECT_FALSE(isContainer);
}

TEST_F(methods_test, ThisTestIsNoPluginContainer) {
    EXPECT_FALSE(plugin::IsPluginContainerHost());
}

}  // namespace
