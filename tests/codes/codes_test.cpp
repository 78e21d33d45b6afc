// Every code that script can be given, produced through the script object with the operations as they are and the
// platform in memory. Each row names a code and the shortest way to it. What was seen goes into a file, which
// check_codes.py compares with the list of all codes.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "enrol/enrol.h"
#include "plugin/plugin.h"
#include "tests/host/browser.h"
#include "tests/host/plugin_file.h"
#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_firefox.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using der::tlv;
using host::Outcome;
using host::Value;
using platform::CryptoApi;
using platform::SystemApi;
using support::base64;
using support::Bytes;
using support::CallPlan;
using support::Replaced;

constexpr char kMicrosoft[] = "Microsoft Enhanced Cryptographic Provider v1.0";
constexpr char kOther[] = "Example Token Provider";
constexpr char kContainer[] = "01234567-89AB-cdef-FEDC-BA9876543210";
constexpr char kSubject[] = "C=DE,O=Example,OU=Quality,CN=Alice";

// The codes seen, one a line with the way to them: the method that gave them, or "direct".
class SeenCodes {
  public:
    static void note(std::int32_t code, const std::string& way) {
        static std::FILE* const file = std::fopen(VT_SEEN_CODES, "w");
        ASSERT_NE(file, nullptr) << VT_SEEN_CODES;
        (void)std::fprintf(file, "%d %s\n", static_cast<int>(code), way.c_str());
        (void)std::fflush(file);
    }
};

// Memory of the browser's that takes none from the heap under test.
alignas(16) char hostMemory[1 << 16];
std::size_t hostMemoryUsed = 0;
void* NP_CALL takeHostMemory(std::uint32_t size) {
    const std::size_t rounded = (size + std::size_t{15}) & ~std::size_t{15};
    if (rounded > sizeof(hostMemory) - hostMemoryUsed)
        return nullptr;
    hostMemoryUsed += rounded;
    return hostMemory + hostMemoryUsed - rounded;
}
void NP_CALL keepHostMemory(void* /*block*/) {}

class codes_test : public testing::Test {
  protected:
    codes_test() {
        crypto.providers = {{kMicrosoft, PROV_RSA_FULL}, {kOther, PROV_RSA_FULL}};
        for (const char* provider : {kMicrosoft, kOther})
            crypto.addKey(provider, kContainer, AT_SIGNATURE, 1024);
        enrol::sLastError = 0;
        enrol::sKeySpec = AT_SIGNATURE;
        enrol::sHashAlgId = CALG_SHA1;
        choose(kMicrosoft);
    }

    void choose(const std::string& provider) { page.call("setCSP", {provider}); }

    // The waiting container of an earlier request, and the authority's answer for its key.
    void wait() { system.writeMarker(kContainer); }
    static std::string certificate() { return base64(support::makeCertificate({})); }
    static std::string certificateOfAnotherKey() {
        support::CertificateParts parts;
        parts.publicBlob = support::fakePublicBlob(512);
        return base64(support::makeCertificate(parts));
    }
    // A SignedData without certificates.
    static std::string signedData() {
        const Bytes data = support::hex("06 09 2A 86 48 86 F7 0D 01 07 01");
        const Bytes inner =
            der::join({support::hex("02 01 01"), tlv(0x31, {}), tlv(0x30, data), tlv(0xA0, {}), tlv(0x31, {})});
        return base64(
            tlv(0x30, der::join({support::hex("06 09 2A 86 48 86 F7 0D 01 07 02"), tlv(0xA0, tlv(0x30, inner))})));
    }

    // A chain for the waiting key, and one of a single certificate.
    static std::string chain() {
        return base64(support::certificatesOnly(
            {support::makeCertificate({}), support::makeCertificate({"CN=Test CA, O=Example"})}));
    }
    static std::string chainOfOne() { return base64(support::certificatesOnly({support::makeCertificate({})})); }

    // seen calls a method, notes what script or sLastError was given, and returns it.
    std::int32_t seen(const std::string& method, const std::vector<Value>& args) {
        const Outcome outcome = page.call(method, args);
        EXPECT_TRUE(outcome.ok) << method;
        const std::int32_t code = outcome.isInteger() ? outcome.integer() : enrol::sLastError;
        if (outcome.isText() && code != 0) {
            EXPECT_EQ(outcome.text, "") << "a text comes with a code";
        }
        SeenCodes::note(code, method);
        return code;
    }

    // With the n-th occurrence of a platform call failing.
    std::int32_t seenWhenFailing(const char* entry, int occurrence, const std::string& method,
                                 const std::vector<Value>& args) {
        CallPlan calls;
        calls.failCall(entry, occurrence);
        const std::int32_t code = seen(method, args);
        EXPECT_NE(calls.failed(), "") << entry << " is not called";
        return code;
    }

    // Whether the code comes when one of the allocations of the call fails; each one fails in turn.
    bool seenWithoutMemory(
        std::int32_t wanted, const std::string& method, const std::vector<Value>& args,
        const std::function<void()>& before = [] {}) {
        plugin::NPNFuncs.memalloc = takeHostMemory;
        plugin::NPNFuncs.memfree = keepHostMemory;
        std::vector<NPVariant> variants;
        variants.reserve(args.size());
        for (const Value& value : args)
            variants.push_back(value.variant());
        const NPIdentifier name = browser.identifier(method);
        bool found = false;
        for (long n = 1; !found; ++n) {
            before();
            enrol::sLastError = 0;
            hostMemoryUsed = 0;
            NPVariant result = {};
            bool failed = false;
            {
                const support::FailingHeap heap(n);
                page.object()->_class->invoke(page.object(), name, variants.data(),
                                              static_cast<std::uint32_t>(variants.size()), &result);
                failed = heap.failed();
            }
            found = enrol::sLastError == wanted;
            if (found) {
                EXPECT_TRUE(result.type == NPVariantType_String ? result.value.stringValue.UTF8Length == 0
                                                                : result.value.intValue == wanted);
            }
            if (!failed)
                break;
        }
        if (found)
            SeenCodes::note(wanted, method);
        plugin::NPNFuncs.memalloc = browser.table().memalloc;
        plugin::NPNFuncs.memfree = browser.table().memfree;
        return found;
    }

    support::FakeSystemApi system;
    support::FakeCryptoApi crypto;
    support::FakeStore store;
    // As in a browser, and not what the program that runs the tests is called.
    std::string hostName = "browser.exe";
    Replaced<&SystemApi::GetModuleBaseNameA> baseName{[this](HANDLE, HMODULE, LPSTR name, DWORD) {
        hostName.copy(name, hostName.size());
        name[hostName.size()] = '\0';
        return static_cast<DWORD>(hostName.size());
    }};
    Replaced<&SystemApi::SetWindowLongA> setWindowLong{[](HWND, int, LONG_PTR) { return LONG_PTR{0}; }};

    host::Browser browser;
    NPPluginFuncs operations = host::start({NP_GetEntryPoints, NP_Initialize, NP_Shutdown}, browser);
    host::Page page{browser, operations};
};

TEST_F(codes_test, Success) {
    EXPECT_EQ(seen("genP10", {1024}), 0);
    EXPECT_EQ(seen("SetHashAlgorithm", {"sha1"}), 0);
    wait();
    EXPECT_EQ(seen("writeClientCert", {certificate()}), 0);
}

TEST_F(codes_test, RefusedInThePluginContainer) {
    hostName = "plugin-container.exe";
    for (const char* method : {"writeClientCert", "writeClientCert_noprotect", "writeClientCert_exp_X509"})
        EXPECT_EQ(seen(method, {certificate()}), -333);
    EXPECT_EQ(seen("SetHashAlgorithm", {"sha1"}), -333);
    for (const char* method : {"deleteCert", "IsCertExist", "CheckCertValid", "leavingMostRecentCert"})
        EXPECT_EQ(seen(method, {"1", "01"}), -333);
}

TEST_F(codes_test, ChoosingAProvider) {
    EXPECT_EQ(seen("setCSP", {""}), 22028201);
    crypto.providers = {{std::string(2048, 'n'), PROV_RSA_FULL}};
    EXPECT_EQ(seen("listCSP", {0}), 22018219);
}

TEST_F(codes_test, EnumerationCodesStayInside) {
    enrol::HeapText name;
    std::uint32_t length = 0;
    EXPECT_EQ(enrol::EnumerateProvider(-1, name, length), 22018102);
    SeenCodes::note(22018102, "direct");
    bool found = false;
    support::forEachExhaustion([&] {
        name.reset();
        try {
            found = found || enrol::EnumerateProvider(0, name, length) == 22018203;
        } catch (const std::bad_alloc&) {
            // The platform in memory ran out, not the program.
        }
    });
    EXPECT_TRUE(found);
    SeenCodes::note(22018203, "direct");
    enrol::sLastError = 99;
    EXPECT_TRUE(page.call("listCSP", {-1}).isText());
    EXPECT_EQ(enrol::sLastError, 99) << "the page's last code stays";
}

TEST_F(codes_test, ChoosingAHash) {
    EXPECT_EQ(seen("SetHashAlgorithm", {"sha256"}), 22198220);
    EXPECT_EQ(seen("SetHashAlgorithm", {""}), 22198221);
}

TEST_F(codes_test, RequestArguments) {
    EXPECT_EQ(seen("genP10", {1000}), 22188202);
    EXPECT_EQ(seen("genP10_exp_withdn", {1024, 1, ""}), 22188215);
    EXPECT_EQ(seen("genP10_exp_withdn", {1024, 2, kSubject}), 22038112);
    enrol::forgetProvider();
    EXPECT_EQ(seen("genP10", {1024}), 22188201);
}

TEST_F(codes_test, RequestSubjects) {
    EXPECT_EQ(seen("genP10_exp_withdn", {1024, 1, "C=DE, CN=a"}), 22038227);
    EXPECT_EQ(seen("genP10_exp_withdn", {1024, 1, "C=1,C=2,C=3,C=4,C=5,C=6,C=7,C=8,C=9,C=10,C=11"}), 22038227);
    EXPECT_EQ(seen("genP10_exp_withdn", {1024, 1, "C=DE,CN"}), 22038228);
    EXPECT_EQ(seenWhenFailing("CryptEncodeObjectEx", 1, "genP10_exp_withdn", {1024, 1, kSubject}), 22038124);
    EXPECT_EQ(seenWhenFailing("CryptEncodeObjectEx", 2, "genP10_exp_withdn", {1024, 1, kSubject}), 22038124);
    EXPECT_EQ(seenWhenFailing("MultiByteToWideChar", 1, "genP10_exp_withdn", {1024, 1, kSubject}), 22188229);
}

TEST_F(codes_test, RequestKeys) {
    EXPECT_EQ(seenWhenFailing("CryptAcquireContextA", 1, "genP10", {1024}), 22188112);
    EXPECT_EQ(seenWhenFailing("CryptGenKey", 1, "genP10", {1024}), 22188104);
    EXPECT_EQ(seenWhenFailing("CryptSignHashA", 2, "genP10", {1024}), 22188104);
    EXPECT_EQ(seenWhenFailing("CryptExportKey", 1, "genP10", {1024}), 22188106);
    EXPECT_EQ(seenWhenFailing("CryptExportKey", 2, "genP10", {1024}), 22188107);
}

TEST_F(codes_test, RequestMarker) {
    system.environment["HOMEPATH"] = system.home() + "/there/is/no/such/folder";
    EXPECT_EQ(seen("genP10", {1024}), 22188308);
}

TEST_F(codes_test, RequestTextTooLong) {
    crypto.makeSignature = [](const support::FakeCryptoApi::Key&, ALG_ID, const Bytes&) { return Bytes(4000, 0x5A); };
    EXPECT_EQ(seen("genP10", {1024}), 22188218);
}

TEST_F(codes_test, RequestWithoutMemory) {
    EXPECT_TRUE(seenWithoutMemory(22188203, "genP10", {1024}));
    EXPECT_TRUE(seenWithoutMemory(22188223, "genP10", {1024}));
    EXPECT_TRUE(seenWithoutMemory(22038203, "genP10_exp_withdn", {1024, 1, kSubject}));
}

TEST_F(codes_test, InstallationArguments) {
    EXPECT_EQ(seen("writeClientCert", {""}), 22068204);
    EXPECT_EQ(seen("writeClientCert", {"MAA="}), 22038226);
    enrol::forgetProvider();
    EXPECT_EQ(seen("writeClientCert", {certificate()}), 22068201);
}

TEST_F(codes_test, InstallationMarker) {
    EXPECT_EQ(seen("writeClientCert", {certificate()}), 22038309);
    system.writeMarker(std::string(8, '\0'));
    EXPECT_EQ(seen("writeClientCert", {certificate()}), 22068215) << "a marker that names no container";
}

TEST_F(codes_test, InstallationOfAnotherKeysCertificate) {
    wait();
    EXPECT_EQ(seen("writeClientCert", {certificateOfAnotherKey()}), 22068125);
}

TEST_F(codes_test, InstallationIntoTheStore) {
    wait();
    EXPECT_EQ(seenWhenFailing("CertOpenStore", 1, "writeClientCert", {certificate()}), 22068101);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptAcquireContextA", 1, "writeClientCert", {certificate()}), 22068103);
    wait();
    EXPECT_EQ(seenWhenFailing("CertAddEncodedCertificateToStore", 1, "writeClientCert", {certificate()}), 22068110);
}

TEST_F(codes_test, InstallationOnTheKeyOfAnotherMakersProvider) {
    choose(kOther);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptAcquireContextW", 1, "writeClientCert", {certificate()}), 22068103);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptGetUserKey", 1, "writeClientCert", {certificate()}), 22068105);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptSetKeyParam", 1, "writeClientCert", {certificate()}), 22068118);
}

TEST_F(codes_test, InstallationOfAMessageWithoutALeaf) {
    wait();
    EXPECT_EQ(seen("writeClientCert", {signedData()}), 22068017);
}

TEST_F(codes_test, InstallationOfAChain) {
    wait();
    EXPECT_EQ(seen("writeClientCert", {chain()}), 0);
    wait();
    EXPECT_EQ(seen("writeClientCert_noprotect", {chainOfOne()}), 22068207);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptExportKey", 1, "writeClientCert", {chain()}), 22068106);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptExportKey", 2, "writeClientCert", {chain()}), 22068108);
    wait();
    EXPECT_EQ(seenWhenFailing("CryptImportKey", 1, "writeClientCert", {chain()}), 22068117);
}

TEST_F(codes_test, InstallationEndedByAnException) {
    wait();
    const Replaced<&CryptoApi::CryptAcquireContextW> acquire(
        [](HCRYPTPROV*, LPCWSTR, LPCWSTR, DWORD, DWORD) -> BOOL { throw std::runtime_error("anything"); });
    EXPECT_EQ(seen("writeClientCert", {certificate()}), 22068311);
}

TEST_F(codes_test, CheckingACertificate) {
    EXPECT_EQ(seen("CheckCertValid", {"2", certificate()}), 22208220);
    EXPECT_EQ(seen("CheckCertValid", {"1", ""}), 22208221);
    EXPECT_EQ(seen("CheckCertValid", {"1", "AAA"}), 22208223);
    EXPECT_EQ(seen("CheckCertValid", {"1", "MAA="}), 22208113);
    EXPECT_EQ(seen("CheckCertValid", {"1", certificate()}), 22208321);
    EXPECT_EQ(seenWhenFailing("CertOpenSystemStoreA", 1, "CheckCertValid", {"1", certificate()}), 22208101);
    EXPECT_EQ(seenWhenFailing("CertOpenSystemStoreA", 2, "CheckCertValid", {"1", certificate()}), 22208101);
    EXPECT_TRUE(seenWithoutMemory(22208203, "CheckCertValid", {"1", certificate()}));
}

// A Firefox as Windows knows it, on every platform.
TEST_F(codes_test, CheckingInFirefox) {
    support::FakeFirefox firefox;
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208321);
    firefox.nss.slot = {support::makeCertificate({})};
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 0);
    firefox.nss.slot = {{}};
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208320);
    EXPECT_EQ(seen("CheckCertValid", {"0", "AAAA"}), 22208319);
    EXPECT_EQ(seen("CheckCertValid", {"0", "AAA"}), 22208223);
    firefox.nss.starts = false;
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208318);
    firefox.missing = {"PK11_ImportCert"};
    firefox.nss.starts = true;
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208317);
    EXPECT_EQ(seenWhenFailing("LoadLibraryA", 7, "CheckCertValid", {"0", certificate()}), 22208316);
    firefox.profiles.clear();
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208322);
    firefox.user.clear();
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208315);
    EXPECT_EQ(seenWhenFailing("RegQueryValueExA", 4, "CheckCertValid", {"0", certificate()}), 22208314);
    EXPECT_TRUE(seenWithoutMemory(22018203, "CheckCertValid", {"0", certificate()}));
    firefox.registry.clear();
    EXPECT_EQ(seen("CheckCertValid", {"0", certificate()}), 22208313);
}

// The same codes for the same failures where the platform knows the user's Firefox itself.
TEST_F(codes_test, CheckingInThePlatformsFirefox) {
    using platform::FirefoxApi;
    const auto refuses = [](DWORD error) {
        platform::sys().SetLastError(error);
        return FALSE;
    };
    const auto check = [this] { return seen("CheckCertValid", {"0", certificate()}); };
    BOOL installed = FALSE;
    DWORD error = ERROR_FILE_NOT_FOUND;
    Replaced<&FirefoxApi::FindInstallation> find([&](LPSTR folder, DWORD) {
        std::char_traits<char>::copy(folder, "/f", 3);
        return installed != FALSE ? TRUE : refuses(error);
    });
    EXPECT_EQ(check(), 22208313);
    error = ERROR_INVALID_DATA;
    EXPECT_EQ(check(), 22208314);
    error = static_cast<DWORD>(NTE_NO_MEMORY);
    EXPECT_EQ(check(), 22018203);
    installed = TRUE;
    const std::string home = system.environment["HOMEPATH"];
    system.environment["HOMEPATH"] = "";
    EXPECT_EQ(check(), 22208315);
    system.environment["HOMEPATH"] = std::string(5000, 'h');
    EXPECT_EQ(check(), 22208315);
    system.environment["HOMEPATH"] = home;
    std::string profile;
    std::string listed;
    Replaced<&SystemApi::GetPrivateProfileStringA> list(
        [&](LPCSTR section, LPCSTR key, LPCSTR, LPSTR value, DWORD, LPCSTR file) {
            EXPECT_STREQ(section, "Profile0");
            EXPECT_STREQ(key, "Path");
            listed = file;
            std::char_traits<char>::copy(value, profile.c_str(), profile.size() + 1);
            return static_cast<DWORD>(profile.size());
        });
    EXPECT_EQ(check(), 22208322);
    EXPECT_EQ(listed, home + "/.mozilla/firefox/profiles.ini");
    profile = "a.default";
    bool loads = false;
    Replaced<&FirefoxApi::LoadNss> load([&](LPCSTR installation) {
        EXPECT_STREQ(installation, "/f");
        return loads ? TRUE : refuses(error);
    });
    EXPECT_EQ(check(), 22208203);
    error = ERROR_MOD_NOT_FOUND;
    EXPECT_EQ(check(), 22208316);
    error = ERROR_PROC_NOT_FOUND;
    EXPECT_EQ(check(), 22208317);
    loads = true;
    HANDLE opened = nullptr;
    std::string folder;
    int open = 0;
    Replaced<&FirefoxApi::OpenProfile> openProfile([&](LPCSTR path) {
        folder = path;
        open += opened != nullptr ? 1 : 0;
        return opened;
    });
    Replaced<&FirefoxApi::CloseProfile> closeProfile([&](HANDLE closed) {
        EXPECT_EQ(closed, opened);
        --open;
        return TRUE;
    });
    EXPECT_EQ(check(), 22208318);
    EXPECT_EQ(folder, home + "/.mozilla/firefox/a.default");
    opened = &open;
    error = 0;
    Replaced<&FirefoxApi::FindCertificate> findCertificate([&](HANDLE, const BYTE* der, DWORD size) {
        EXPECT_EQ(Bytes(der, der + size), support::makeCertificate({}));
        return error == 0 ? TRUE : refuses(error);
    });
    EXPECT_EQ(check(), 0);
    profile = "/elsewhere/a.default";
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(folder, profile) << "an absolute path is taken as it stands";
    error = static_cast<DWORD>(CRYPT_E_NOT_FOUND);
    EXPECT_EQ(check(), 22208321);
    error = static_cast<DWORD>(CRYPT_E_ASN1_CORRUPT);
    EXPECT_EQ(check(), 22208319);
    error = static_cast<DWORD>(NTE_FAIL);
    EXPECT_EQ(check(), 22208320);
    error = static_cast<DWORD>(NTE_NO_MEMORY);
    EXPECT_EQ(check(), 22208203);
    EXPECT_EQ(seen("CheckCertValid", {"0", "AAA"}), 22208223) << "read only now";
    EXPECT_EQ(open, 0) << "every profile is closed again";
}

TEST_F(codes_test, FindingAndDeleting) {
    EXPECT_EQ(seen("IsCertExist", {"CN=Nobody", "01"}), 1);
    EXPECT_EQ(seen("deleteCert", {"CN=Nobody", "01"}), 22218126);
    EXPECT_EQ(seen("deleteCert", {"", "01"}), 22218231);
    EXPECT_EQ(seen("deleteCert", {"CN=Nobody", ""}), 22218232);
    EXPECT_EQ(seen("deleteCert", {"CN=Nobody", "0x01"}), 22218233);
}

TEST_F(codes_test, Pruning) {
    EXPECT_EQ(seen("leavingMostRecentCert", {"CN=Nobody", "CN=Nobody"}), 22238126);
    EXPECT_EQ(seen("leavingMostRecentCert", {"", "CN=Nobody"}), 22238231);
    EXPECT_EQ(seen("leavingMostRecentCert", {"CN=Nobody", ""}), 22238234);
}

}  // namespace
