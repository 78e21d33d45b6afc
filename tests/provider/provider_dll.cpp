// vt_test_provider.dll: the published entry points of a CryptoAPI provider, each forwarded to the built-in one.
//
// A handle given out is the built-in provider's own. The system hands a provider only calls for its own handles, so
// nothing needs translating. test_provider.h says how the DLL is told what to log and what to fail.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "platform/types.h"
#include "tests/provider/shared.h"
#include "tests/provider/test_provider.h"

#define VT_ENTRY extern "C" __declspec(dllexport) BOOL WINAPI

namespace {

// What the system hands to CPAcquireContext (its header declares it for services only).
struct ProviderTable {
    DWORD version;
    FARPROC verifyImage;
    FARPROC windowOf;
    DWORD type;
    BYTE* context;
    DWORD contextSize;
    LPSTR name;
};

constexpr char kBuiltIn[] = "Microsoft Enhanced Cryptographic Provider v1.0";

// The name under which each open provider was asked for, for PP_NAME.
std::map<HCRYPTPROV, std::string>& names() {
    static std::map<HCRYPTPROV, std::string> map;
    return map;
}

std::string variable(const char* name) {
    std::array<char, 4096> text{};
    const DWORD length = GetEnvironmentVariableA(name, text.data(), text.size());
    return {text.data(), length < text.size() ? length : 0};
}

// How many calls of an entry point there were since the list of failures changed.
unsigned countCall(const std::string& entryPoint, const std::string& list) {
    static std::string known;
    static std::map<std::string, unsigned> calls;
    if (list != known) {
        known = list;
        calls.clear();
    }
    return ++calls[entryPoint];
}

// The code with which this call of an entry point is to fail, 0 for none.
DWORD failureOf(const std::string& entryPoint) {
    const std::string list = "," + variable(support::kTestProviderFailuresVariable);
    const std::string key = "," + entryPoint + "=";
    const unsigned call = countCall(entryPoint, list);
    const std::size_t at = list.find(key);
    if (at == std::string::npos)
        return 0;
    char* end = nullptr;
    const DWORD code = std::strtoul(list.c_str() + at + key.size(), &end, 16);
    const unsigned long letThrough = *end == '+' ? std::strtoul(end + 1, nullptr, 10) : 0;
    return call > letThrough ? code : 0;
}

void appendTo(const std::string& path, const void* data, std::size_t size, DWORD disposition) {
    HANDLE file = CreateFileA(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        DWORD written = 0;
        WriteFile(file, data, static_cast<DWORD>(size), &written, nullptr);
        CloseHandle(file);
    }
}

void log(const char* entryPoint, DWORD subject, bool ok, DWORD error) {
    const std::string folder = variable(support::kTestProviderFolderVariable);
    if (folder.empty())
        return;
    std::array<char, 128> line{};
    const int length =
        ok ? std::snprintf(line.data(), line.size(), "%s(%lu) ok\n", entryPoint, subject)
           : std::snprintf(line.data(), line.size(), "%s(%lu) failed %08lX\n", entryPoint, subject, error);
    appendTo(support::callLogOf(folder), line.data(), static_cast<std::size_t>(length), OPEN_ALWAYS);
}

// Logs one call, and forwards it unless it is to fail. The caller sees the forwarded call's own last error.
template <class Forward>
BOOL answer(const char* entryPoint, DWORD subject, Forward forward) {
    const DWORD failure = failureOf(entryPoint);
    SetLastError(failure);
    const BOOL ok = failure == 0 ? forward() : FALSE;
    const DWORD error = GetLastError();
    log(entryPoint, subject, ok != 0, error);
    SetLastError(error);
    return ok;
}

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

std::string containerOf(HCRYPTPROV provider) {
    std::array<char, MAX_PATH> name{};
    DWORD size = name.size();
    return CryptGetProvParam(provider, PP_CONTAINER, reinterpret_cast<BYTE*>(name.data()), &size, 0) != 0 ? name.data()
                                                                                                          : "";
}

// The length of the DER element at data, by its own header; 0 when it is no SEQUENCE of a sensible size. The call
// carries no length.
std::size_t elementSize(const BYTE* data) {
    if (data == nullptr || data[0] != 0x30)
        return 0;
    if (data[1] < 0x80) {
        return std::size_t{2} + data[1];
    }
    const std::size_t digits = data[1] & 0x7Fu;
    if (digits == 0 || digits > 3)
        return 0;
    std::size_t length = 0;
    for (std::size_t i = 0; i < digits; ++i)
        length = length << 8 | data[2 + i];
    return 2 + digits + length;
}

BOOL keepCertificate(HCRYPTPROV provider, const BYTE* der) {
    const std::size_t size = elementSize(der);
    if (size == 0)
        return fail(NTE_BAD_DATA);
    const std::string folder = variable(support::kTestProviderFolderVariable);
    if (!folder.empty())
        appendTo(support::certificateFileOf(folder, containerOf(provider)), der, size, CREATE_ALWAYS);
    return TRUE;
}

BOOL giveName(HCRYPTPROV provider, BYTE* data, DWORD* size) {
    const std::string& name = names()[provider];
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(name.size()) + 1;
    if (data == nullptr)
        return TRUE;
    if (capacity < *size)
        return fail(ERROR_MORE_DATA);
    name.copy(reinterpret_cast<char*>(data), name.size());
    data[name.size()] = 0;
    return TRUE;
}

}  // namespace

VT_ENTRY CPAcquireContext(HCRYPTPROV* provider, LPSTR container, DWORD flags, const ProviderTable* table) {
    return answer("CPAcquireContext", flags, [&] {
        if (CryptAcquireContextA(provider, container, kBuiltIn, PROV_RSA_FULL, flags) == 0)
            return FALSE;
        if ((flags & CRYPT_DELETEKEYSET) == 0)
            names()[*provider] = table != nullptr && table->name != nullptr ? table->name : support::kTestProviderName;
        return TRUE;
    });
}

VT_ENTRY CPReleaseContext(HCRYPTPROV provider, DWORD flags) {
    return answer("CPReleaseContext", flags, [&] {
        names().erase(provider);
        return CryptReleaseContext(provider, flags);
    });
}

VT_ENTRY CPGetProvParam(HCRYPTPROV provider, DWORD param, BYTE* data, DWORD* size, DWORD flags) {
    return answer("CPGetProvParam", param, [&] {
        return param == PP_NAME ? giveName(provider, data, size)
                                : CryptGetProvParam(provider, param, data, size, flags);
    });
}

VT_ENTRY CPSetProvParam(HCRYPTPROV provider, DWORD param, const BYTE* data, DWORD flags) {
    return answer("CPSetProvParam", param, [&] { return CryptSetProvParam(provider, param, data, flags); });
}

VT_ENTRY CPGenRandom(HCRYPTPROV provider, DWORD size, BYTE* data) {
    return answer("CPGenRandom", size, [&] { return CryptGenRandom(provider, size, data); });
}

// Keys

VT_ENTRY CPGenKey(HCRYPTPROV provider, ALG_ID kind, DWORD flags, HCRYPTKEY* key) {
    return answer("CPGenKey", kind, [&] { return CryptGenKey(provider, kind, flags, key); });
}

VT_ENTRY CPDeriveKey(HCRYPTPROV provider, ALG_ID kind, HCRYPTHASH hash, DWORD flags, HCRYPTKEY* key) {
    return answer("CPDeriveKey", kind, [&] { return CryptDeriveKey(provider, kind, hash, flags, key); });
}

VT_ENTRY CPGetUserKey(HCRYPTPROV provider, DWORD kind, HCRYPTKEY* key) {
    return answer("CPGetUserKey", kind, [&] { return CryptGetUserKey(provider, kind, key); });
}

VT_ENTRY CPDestroyKey(HCRYPTPROV /*provider*/, HCRYPTKEY key) {
    return answer("CPDestroyKey", 0, [&] { return CryptDestroyKey(key); });
}

VT_ENTRY CPDuplicateKey(HCRYPTPROV /*provider*/, HCRYPTKEY key, DWORD* reserved, DWORD flags, HCRYPTKEY* copy) {
    return answer("CPDuplicateKey", flags, [&] { return CryptDuplicateKey(key, reserved, flags, copy); });
}

VT_ENTRY CPExportKey(HCRYPTPROV /*provider*/, HCRYPTKEY key, HCRYPTKEY wrapping, DWORD blobType, DWORD flags,
                     BYTE* data, DWORD* size) {
    return answer("CPExportKey", blobType, [&] { return CryptExportKey(key, wrapping, blobType, flags, data, size); });
}

VT_ENTRY CPImportKey(HCRYPTPROV provider, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags,
                     HCRYPTKEY* key) {
    return answer("CPImportKey", flags, [&] { return CryptImportKey(provider, data, size, wrapping, flags, key); });
}

VT_ENTRY CPGetKeyParam(HCRYPTPROV /*provider*/, HCRYPTKEY key, DWORD param, BYTE* data, DWORD* size, DWORD flags) {
    return answer("CPGetKeyParam", param, [&] { return CryptGetKeyParam(key, param, data, size, flags); });
}

VT_ENTRY CPSetKeyParam(HCRYPTPROV provider, HCRYPTKEY key, DWORD param, const BYTE* data, DWORD flags) {
    return answer("CPSetKeyParam", param, [&] {
        return param == KP_CERTIFICATE ? keepCertificate(provider, data) : CryptSetKeyParam(key, param, data, flags);
    });
}

VT_ENTRY CPEncrypt(HCRYPTPROV /*provider*/, HCRYPTKEY key, HCRYPTHASH hash, BOOL last, DWORD flags, BYTE* data,
                   DWORD* size, DWORD capacity) {
    return answer("CPEncrypt", flags, [&] { return CryptEncrypt(key, hash, last, flags, data, size, capacity); });
}

VT_ENTRY CPDecrypt(HCRYPTPROV /*provider*/, HCRYPTKEY key, HCRYPTHASH hash, BOOL last, DWORD flags, BYTE* data,
                   DWORD* size) {
    return answer("CPDecrypt", flags, [&] { return CryptDecrypt(key, hash, last, flags, data, size); });
}

// Hashes

VT_ENTRY CPCreateHash(HCRYPTPROV provider, ALG_ID kind, HCRYPTKEY key, DWORD flags, HCRYPTHASH* hash) {
    return answer("CPCreateHash", kind, [&] { return CryptCreateHash(provider, kind, key, flags, hash); });
}

VT_ENTRY CPHashData(HCRYPTPROV /*provider*/, HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD flags) {
    return answer("CPHashData", size, [&] { return CryptHashData(hash, data, size, flags); });
}

VT_ENTRY CPHashSessionKey(HCRYPTPROV /*provider*/, HCRYPTHASH hash, HCRYPTKEY key, DWORD flags) {
    return answer("CPHashSessionKey", flags, [&] { return CryptHashSessionKey(hash, key, flags); });
}

VT_ENTRY CPGetHashParam(HCRYPTPROV /*provider*/, HCRYPTHASH hash, DWORD param, BYTE* data, DWORD* size, DWORD flags) {
    return answer("CPGetHashParam", param, [&] { return CryptGetHashParam(hash, param, data, size, flags); });
}

VT_ENTRY CPSetHashParam(HCRYPTPROV /*provider*/, HCRYPTHASH hash, DWORD param, const BYTE* data, DWORD flags) {
    return answer("CPSetHashParam", param, [&] { return CryptSetHashParam(hash, param, data, flags); });
}

VT_ENTRY CPSignHash(HCRYPTPROV /*provider*/, HCRYPTHASH hash, DWORD kind, LPCWSTR description, DWORD flags,
                    BYTE* signature, DWORD* size) {
    return answer("CPSignHash", kind, [&] { return CryptSignHashW(hash, kind, description, flags, signature, size); });
}

VT_ENTRY CPVerifySignature(HCRYPTPROV /*provider*/, HCRYPTHASH hash, const BYTE* signature, DWORD size, HCRYPTKEY key,
                           LPCWSTR description, DWORD flags) {
    return answer("CPVerifySignature", flags,
                  [&] { return CryptVerifySignatureW(hash, signature, size, key, description, flags); });
}

VT_ENTRY CPDuplicateHash(HCRYPTPROV /*provider*/, HCRYPTHASH hash, DWORD* reserved, DWORD flags, HCRYPTHASH* copy) {
    return answer("CPDuplicateHash", flags, [&] { return CryptDuplicateHash(hash, reserved, flags, copy); });
}

VT_ENTRY CPDestroyHash(HCRYPTPROV /*provider*/, HCRYPTHASH hash) {
    return answer("CPDestroyHash", 0, [&] { return CryptDestroyHash(hash); });
}
