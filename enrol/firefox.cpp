#include "enrol/firefox.h"

#include <initializer_list>
#include <new>
#include <string>
#include <vector>

#include "enrol/codes.h"
#include "enrol/firefox_steps.h"

namespace enrol {
namespace {

using platform::firefoxApi;

struct RegistryKeyTraits {
    using Value = HKEY;
    static constexpr Value none() { return nullptr; }
    static void close(Value value) { sys().RegCloseKey(value); }
};
using RegistryKey = Handle<RegistryKeyTraits>;

RegistryKey openKey(const std::string& path) {
    HKEY key = nullptr;
    if (sys().RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != 0)
        throw FirefoxFailure{kFirefoxKeyNotOpened, kMessageKeyNotOpened};
    return RegistryKey(key);
}

// readValue gives a text of the key. It need not have its terminator in the registry, so that a byte is added.
HeapText readValue(const RegistryKey& key, const char* name) {
    DWORD size = 0;
    if (sys().RegQueryValueExA(key.get(), name, nullptr, nullptr, nullptr, &size) != 0)
        throw FirefoxFailure{kFirefoxValueNotRead, kMessageValueNotRead};
    const std::size_t capacity = std::size_t{size} + 1;
    HeapText value(capacity > size ? new (std::nothrow) char[capacity]() : nullptr);
    if (!value)
        throw FirefoxFailure{kEnumerateNoMemory, kMessageNoMemoryForValue};
    if (sys().RegQueryValueExA(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(value.get()), &size) != 0)
        throw FirefoxFailure{kFirefoxValueNotRead, kMessageValueNotRead};
    return value;
}

constexpr DWORD kPathCapacity = 4096;
using Path = char[kPathCapacity];

// The code of a platform's failure: one for the errors that are named, another for the rest. Some errors are negative
// numbers where the platform declares them.
struct ErrorCode {
    std::int64_t error;
    std::int32_t code;
};
std::int32_t codeOfLastError(std::initializer_list<ErrorCode> known, std::int32_t other) {
    const DWORD error = sys().GetLastError();
    for (const ErrorCode& entry : known) {
        if (static_cast<DWORD>(entry.error) == error)
            return entry.code;
    }
    return other;
}

// The profile's folder: the first of the user's list. Elsewhere than on Windows a profile may lie outside of the folder
// of that list, under an absolute path.
std::string profileFolder() {
    Path home;
    const DWORD needed = sys().ExpandEnvironmentStringsA("%HOMEDRIVE%%HOMEPATH%", home, sizeof home);
    if (needed <= 1 || needed > sizeof home)
        throw FirefoxFailure{kFirefoxUserNameNotRead, kMessageUserNameNotRead};
    const std::string folder = std::string(home) + "/.mozilla/firefox/";
    Path value;
    if (sys().GetPrivateProfileStringA("Profile0", "Path", nullptr, value, sizeof value,
                                       (folder + "profiles.ini").c_str()) == 0)
        throw FirefoxFailure{kFirefoxProfileListNotRead, kMessageProfileListNotRead};
    return value[0] == '/' ? std::string(value) : folder + value;
}

// A profile that the platform has open.
class OpenProfile {
  public:
    explicit OpenProfile(const std::string& folder) : handle_(firefoxApi().OpenProfile(folder.c_str())) {}
    ~OpenProfile() {
        if (handle_ != nullptr)
            firefoxApi().CloseProfile(handle_);
    }
    OpenProfile(const OpenProfile&) = delete;
    OpenProfile& operator=(const OpenProfile&) = delete;

    HANDLE get() const { return handle_; }

  private:
    HANDLE handle_;
};

std::int32_t findInProfile(const OpenProfile& profile, const char* text, std::size_t length) {
    const std::vector<std::uint8_t> certificate = decodeCheckedCertificate(text, length);
    if (firefoxApi().FindCertificate(profile.get(), certificate.data(), static_cast<DWORD>(certificate.size())) !=
        FALSE)
        return kSuccess;
    return codeOfLastError({{CRYPT_E_NOT_FOUND, kCheckCertificateNotFound},
                            {CRYPT_E_ASN1_CORRUPT, kFirefoxCertificateNotDecoded},
                            {NTE_NO_MEMORY, kCheckNoMemory}},
                           kFirefoxSlotOrCertificateMissing);
}

std::int32_t checkByPlatform(const char* text, std::size_t length) {
    Path installation;
    if (firefoxApi().FindInstallation(installation, sizeof installation) == FALSE)
        return codeOfLastError({{ERROR_FILE_NOT_FOUND, kFirefoxKeyNotOpened}, {NTE_NO_MEMORY, kEnumerateNoMemory}},
                               kFirefoxValueNotRead);
    const std::string folder = profileFolder();
    if (firefoxApi().LoadNss(installation) == FALSE)
        return codeOfLastError({{ERROR_PROC_NOT_FOUND, kFirefoxFunctionNotFound}, {NTE_NO_MEMORY, kCheckNoMemory}},
                               kFirefoxLibraryNotLoaded);
    const OpenProfile profile(folder);
    if (profile.get() == nullptr)
        return codeOfLastError({{NTE_NO_MEMORY, kCheckNoMemory}}, kFirefoxNssNotInitialised);
    return findInProfile(profile, text, length);
}

std::int32_t checkByRegistry(const char* text, std::size_t length) {
    HeapText directory;
    if (const std::int32_t code = FindFirefoxInstallDir(directory); code != kSuccess)
        return code;
    return CheckInProfile(directory.get(), text, length);
}

}  // namespace

std::int32_t CheckCertificateInFirefox(const char* text, std::size_t length) {
    try {
        return firefoxApi().FindInstallation != nullptr ? checkByPlatform(text, length) : checkByRegistry(text, length);
    } catch (const FirefoxFailure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return kCheckNoMemory;
    } catch (...) {
        return kCheckCertificateNotFound;
    }
}

std::int32_t FindFirefoxInstallDir(HeapText& directory) {
    directory.reset();
    try {
        const std::string path = "SOFTWARE\\Mozilla\\Mozilla Firefox";
        const RegistryKey product = openKey(path);
        const HeapText version = readValue(product, "CurrentVersion");
        const RegistryKey installation = openKey(path + "\\" + version.get() + "\\Main");
        directory = readValue(installation, "Install Directory");
        return kSuccess;
    } catch (const FirefoxFailure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return kEnumerateNoMemory;
    }
}

}  // namespace enrol
