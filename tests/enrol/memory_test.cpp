// Exhausted memory at each allocation of the operations. The platform here answers without an allocation of its own,
// so that each one counted is the program's.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "enrol/base64.h"
#include "enrol/firefox.h"
#include "enrol/providers.h"
#include "enrol/request.h"
#include "enrol/state.h"
#include "tests/support/failing_heap.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"

namespace {

constexpr std::size_t kKeyBytes = 64;

// What the platform below has open and was asked for.
struct Platform {
    int providers = 0;
    int keys = 0;
    int hashes = 0;
    int deletions = 0;
    BYTE blob[20 + kKeyBytes] = {};
};
Platform thePlatform;

BOOL WINAPI enumProviders(DWORD index, DWORD* /*reserved*/, DWORD /*flags*/, DWORD* type, LPSTR name, DWORD* size) {
    if (index != 0)
        return FALSE;
    *type = PROV_RSA_FULL;
    *size = 5;
    if (name != nullptr)
        std::memcpy(name, "Prov", 5);
    return TRUE;
}

BOOL WINAPI acquireContext(HCRYPTPROV* prov, LPCSTR /*container*/, LPCSTR /*provider*/, DWORD /*type*/, DWORD flags) {
    if (flags == CRYPT_DELETEKEYSET) {
        ++thePlatform.deletions;
        return TRUE;
    }
    ++thePlatform.providers;
    *prov = 1;
    return TRUE;
}

BOOL WINAPI releaseContext(HCRYPTPROV /*prov*/, DWORD /*flags*/) {
    --thePlatform.providers;
    return TRUE;
}

BOOL WINAPI genKey(HCRYPTPROV /*prov*/, ALG_ID /*spec*/, DWORD /*flags*/, HCRYPTKEY* key) {
    ++thePlatform.keys;
    *key = 1;
    return TRUE;
}

BOOL WINAPI destroyKey(HCRYPTKEY /*key*/) {
    --thePlatform.keys;
    return TRUE;
}

BOOL WINAPI exportKey(HCRYPTKEY /*key*/, HCRYPTKEY /*wrapping*/, DWORD /*type*/, DWORD /*flags*/, BYTE* data,
                      DWORD* size) {
    *size = sizeof(thePlatform.blob);
    if (data != nullptr)
        std::memcpy(data, thePlatform.blob, sizeof(thePlatform.blob));
    return TRUE;
}

BOOL WINAPI createHash(HCRYPTPROV /*prov*/, ALG_ID /*alg*/, HCRYPTKEY /*key*/, DWORD /*flags*/, HCRYPTHASH* hash) {
    ++thePlatform.hashes;
    *hash = 1;
    return TRUE;
}

BOOL WINAPI hashData(HCRYPTHASH /*hash*/, const BYTE* /*data*/, DWORD /*size*/, DWORD /*flags*/) {
    return TRUE;
}

BOOL WINAPI signHash(HCRYPTHASH /*hash*/, DWORD /*spec*/, LPCSTR /*text*/, DWORD /*flags*/, BYTE* data, DWORD* size) {
    *size = kKeyBytes;
    if (data != nullptr)
        std::memset(data, 0x5A, kKeyBytes);
    return TRUE;
}

BOOL WINAPI destroyHash(HCRYPTHASH /*hash*/) {
    --thePlatform.hashes;
    return TRUE;
}

BOOL WINAPI encodeObject(DWORD /*encoding*/, LPCSTR /*type*/, const void* /*info*/, DWORD /*flags*/,
                         CRYPT_ENCODE_PARA* /*para*/, void* encoded, DWORD* size) {
    *size = 2;
    if (encoded != nullptr)
        std::memcpy(encoded, "0", 2);  // 30 00
    return TRUE;
}

HRESULT WINAPI createGuid(GUID* guid) {
    *guid = {};
    return 0;
}

char theHome[512];

DWORD WINAPI expand(LPCSTR source, LPSTR target, DWORD /*capacity*/) {
    const char* value = std::strcmp(source, "%HOMEPATH%") == 0 ? theHome : "";
    const std::size_t size = std::strlen(value) + 1;
    std::memcpy(target, value, size);
    return static_cast<DWORD>(size);
}

int WINAPI widen(UINT /*codePage*/, DWORD /*flags*/, LPCSTR text, int length, LPWSTR wide, int capacity) {
    for (int i = 0; i < length && capacity != 0; ++i)
        wide[i] = static_cast<wchar_t>(text[i]);
    return length;
}

int WINAPI narrow(UINT /*codePage*/, DWORD /*flags*/, LPCWSTR wide, int length, LPSTR text, int capacity,
                  LPCSTR /*unmappable*/, BOOL* /*used*/) {
    for (int i = 0; i < length && capacity != 0; ++i)
        text[i] = static_cast<char>(wide[i]);
    return length;
}

// An installed Firefox whose slot is empty.
LONG WINAPI openKey(HKEY /*parent*/, LPCSTR /*path*/, DWORD /*options*/, REGSAM /*access*/, HKEY* key) {
    *key = HKEY_LOCAL_MACHINE;
    ++thePlatform.keys;
    return 0;
}

LONG WINAPI queryValue(HKEY /*key*/, LPCSTR /*name*/, DWORD* /*reserved*/, DWORD* /*type*/, BYTE* data, DWORD* size) {
    // Longer than what a text object holds in itself.
    static constexpr char kValue[] = "C:\\Program Files\\Mozilla Firefox";
    *size = sizeof kValue;
    if (data != nullptr)
        std::memcpy(data, kValue, sizeof kValue);
    return 0;
}

LONG WINAPI closeKey(HKEY /*key*/) {
    --thePlatform.keys;
    return 0;
}

BOOL WINAPI userName(LPSTR name, DWORD* /*size*/) {
    std::memcpy(name, "u", 2);
    return TRUE;
}

DWORD WINAPI profileString(LPCSTR /*section*/, LPCSTR /*key*/, LPCSTR /*fallback*/, LPSTR value, DWORD /*capacity*/,
                           LPCSTR /*file*/) {
    std::memcpy(value, "p", 2);
    return 1;
}

HANDLE WINAPI findNoFile(LPCSTR /*path*/, WIN32_FIND_DATAA* /*found*/) {
    return INVALID_HANDLE_VALUE;
}

HMODULE WINAPI loadLibrary(LPCSTR /*path*/) {
    ++thePlatform.providers;
    return reinterpret_cast<HMODULE>(&thePlatform);
}

BOOL WINAPI freeLibrary(HMODULE /*module*/) {
    --thePlatform.providers;
    return TRUE;
}

// What NSS is asked: it has no slot, and the platform's first field stands for a certificate.
void* answer() {
    return &thePlatform;
}
void* decodeCertificate(char* /*bytes*/, int /*size*/) {
    return &thePlatform;
}
void startNspr(int /*type*/, int /*priority*/, unsigned /*maxPtds*/) {}
int startNss(const char* /*folder*/, const char* /*cert*/, const char* /*key*/, const char* /*db*/,
             std::uint32_t /*flags*/) {
    return 0;
}
void* noSlot() {
    return nullptr;
}

template <class Function>
FARPROC plain(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

FARPROC WINAPI findFunction(HMODULE /*module*/, LPCSTR name) {
    if (std::strcmp(name, "PR_Init") == 0)
        return plain(startNspr);
    if (std::strcmp(name, "NSS_Initialize") == 0)
        return plain(startNss);
    if (std::strcmp(name, "CERT_DecodeCertFromPackage") == 0)
        return plain(decodeCertificate);
    if (std::strcmp(name, "PK11_GetInternalKeySlot") == 0)
        return plain(noSlot);
    return plain(answer);
}

// A code, what stays open ("p" a provider, "h" a hash, "k" a key), "d" for a deleted container.
struct Outcome {
    std::int32_t code;
    std::string left;
};
bool operator==(const Outcome& a, const Outcome& b) {
    return a.code == b.code && a.left == b.left;
}
void PrintTo(const Outcome& outcome, std::ostream* os) {
    *os << outcome.code << " " << outcome.left;
}

std::string leftBehind() {
    return std::string(static_cast<std::size_t>(thePlatform.providers), 'p') +
           std::string(static_cast<std::size_t>(thePlatform.hashes), 'h') +
           std::string(static_cast<std::size_t>(thePlatform.keys), 'k') +
           std::string(static_cast<std::size_t>(thePlatform.deletions), 'd');
}

class memory_test : public testing::Test {
  protected:
    memory_test() {
        platform::CryptoApi& crypto = platform::replaceableCryptoApi();
        crypto.CryptEnumProvidersA = enumProviders;
        crypto.CryptAcquireContextA = acquireContext;
        crypto.CryptReleaseContext = releaseContext;
        crypto.CryptGenKey = genKey;
        crypto.CryptDestroyKey = destroyKey;
        crypto.CryptExportKey = exportKey;
        crypto.CryptCreateHash = createHash;
        crypto.CryptHashData = hashData;
        crypto.CryptSignHashA = signHash;
        crypto.CryptDestroyHash = destroyHash;
        crypto.CryptEncodeObjectEx = encodeObject;
        platform::SystemApi& table = platform::replaceableSystemApi();
        table.CoCreateGuid = createGuid;
        table.ExpandEnvironmentStringsA = expand;
        table.MultiByteToWideChar = widen;
        table.WideCharToMultiByte = narrow;
        (void)std::snprintf(theHome, sizeof(theHome), "%s", system.home().c_str());
        enrol::chooseProvider("Prov", 4);
    }
    ~memory_test() override { enrol::forgetProvider(); }

    // outcomes runs the operation with each allocation failing in turn and gives what came of it, equal neighbours
    // once; the last is the run without a failure.
    template <class Operation>
    static std::vector<Outcome> outcomes(Operation operation) {
        std::vector<Outcome> all;
        for (long n = 1;; ++n) {
            thePlatform = {};
            const support::Bytes blob = support::fakePublicBlob(kKeyBytes * 8);
            std::memcpy(thePlatform.blob, blob.data(), sizeof(thePlatform.blob));
            std::int32_t code = 0;
            bool failed = false;
            {
                const support::FailingHeap heap(n);
                code = operation();
                failed = heap.failed();
            }
            const Outcome outcome = {code, leftBehind()};
            if (all.empty() || !(all.back() == outcome))
                all.push_back(outcome);
            if (!failed)
                return all;
        }
    }

    support::FailingTables tables;
    support::FakeSystemApi system;
};

TEST_F(memory_test, ARequestMeetsItAnywhere) {
    const std::vector<Outcome> expected = {
        {22188203, "d"},   // the blob: the container is deleted
        {22188203, ""},    // its DER, from here on the container stays
        {22188201, ""},    // taking the modulus out of it
        {0, ""},           // its exponent, which is not needed
        {22188203, ""},    // the public key, the part to sign
        {22188104, "ph"},  // the signature; its handles stay open
        {22188203, ""},    // the whole
        {22188223, ""},    // the text
        {0, ""},
    };
    EXPECT_EQ(outcomes([] {
                  enrol::HeapText text;
                  std::size_t size = 0;
                  return enrol::GenerateRequest(512, text, size);
              }),
              expected);
}

TEST_F(memory_test, ARequestWithASubjectMeetsItAnywhere) {
    const std::vector<Outcome> expected = {
        {22188201, ""},    // the wide text
        {22188203, "d"},   // the blob
        {22188203, ""},    // its DER
        {22038203, ""},    // the components' values, the encoded name
        {22188201, ""},    // taking the modulus out of it
        {0, ""},           // its exponent, which is not needed
        {22188203, ""},    // the public key, the part to sign
        {22188104, "ph"},  // the signature
        {22188203, ""},    // the whole
        {22188223, ""},    // the text
        {0, ""},
    };
    EXPECT_EQ(outcomes([] {
                  enrol::HeapText text;
                  std::size_t size = 0;
                  return enrol::GenerateRequestWithSubject(512, 1, "C=DE,CN=somebody", 16, text, size);
              }),
              expected);
}

TEST_F(memory_test, EnumerationMeetsItAtTheName) {
    const std::vector<Outcome> expected = {{22018203, ""}, {0, ""}};
    EXPECT_EQ(outcomes([] {
                  enrol::HeapText name;
                  std::uint32_t length = 0;
                  return enrol::EnumerateProvider(0, name, length);
              }),
              expected);
}

TEST_F(memory_test, DecodingBase64MeetsItAtTheBytes) {
    const std::vector<Outcome> expected = {{-10000, ""}, {0, ""}};
    EXPECT_EQ(outcomes([] {
                  std::vector<std::uint8_t> bytes;
                  const std::int32_t result = enrol::DecodeBase64Text("Zm9v", 4, bytes);
                  EXPECT_EQ(bytes.size(), result == 0 ? 3U : 0U);
                  return result;
              }),
              expected);
}

TEST_F(memory_test, ACheckInFirefoxMeetsItInTheRegistryOrLater) {
    platform::SystemApi& table = platform::replaceableSystemApi();
    table.RegOpenKeyExA = openKey;
    table.RegQueryValueExA = queryValue;
    table.RegCloseKey = closeKey;
    table.GetUserNameA = userName;
    table.GetPrivateProfileStringA = profileString;
    table.FindFirstFileA = findNoFile;
    table.LoadLibraryA = loadLibrary;
    table.GetProcAddress = findFunction;
    table.FreeLibrary = freeLibrary;
    const platform::FirefoxApi before = std::exchange(platform::replaceableFirefoxApi(), {});
    const std::vector<Outcome> expected = {
        {22018203, ""},  // the keys' paths and the values
        {22208203, ""},  // the profile's path, the certificate
        {22208320, ""},
    };
    EXPECT_EQ(outcomes([] { return enrol::CheckCertificateInFirefox("MAMCAQA=", 8); }), expected);
    platform::replaceableFirefoxApi() = before;
}

TEST_F(memory_test, EncodingBase64TakesNone) {
    const std::vector<Outcome> expected = {{0, ""}};
    EXPECT_EQ(outcomes([] {
                  char out[16];
                  std::size_t size = 0;
                  return enrol::EncodeBase64Text(reinterpret_cast<const std::uint8_t*>("foo"), 3, out, size);
              }),
              expected);
}

TEST_F(memory_test, ChoosingAProviderWithoutItChoosesNone) {
    bool chosen = true;
    {
        const support::FailingHeap heap(1);
        chosen = enrol::chooseProvider("Other", 5);
    }
    EXPECT_FALSE(chosen);
    EXPECT_EQ(enrol::sProviderName, nullptr);
}

}  // namespace
