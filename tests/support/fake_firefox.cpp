#include "tests/support/fake_firefox.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace support {
namespace {

constexpr char kKey[] = R"(SOFTWARE\Mozilla\Mozilla Firefox)";
constexpr char kFolder[] = "C:\\Firefox\\";
constexpr char kProfileList[] = R"(C:\Documents and Settings\alice\Application Data\Mozilla\Firefox\profiles.ini)";

FakeFirefox& fake() {
    return *FakeFirefox::current;
}

void note(const std::string& call) {
    fake().log().push_back(call);
}

// A handle is the address of the name, which stays where it is.
const std::string& nameOf(const void* handle) {
    return *static_cast<const std::string*>(handle);
}
void* handleOf(const std::string& name) {
    static std::set<std::string> names;
    return const_cast<std::string*>(&*names.insert(name).first);
}

LONG WINAPI openKey(HKEY parent, LPCSTR path, DWORD options, REGSAM access, HKEY* key) {
    note(std::string("RegOpenKeyExA ") + path);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(parent), reinterpret_cast<std::uintptr_t>(HKEY_LOCAL_MACHINE));
    EXPECT_EQ(options, 0U);
    EXPECT_EQ(access, 0x20019U);
    const std::string prefix = std::string(path) + "\\";
    const auto found = fake().registry.lower_bound(prefix);
    if (found == fake().registry.end() || found->first.compare(0, prefix.size(), prefix) != 0)
        return ERROR_FILE_NOT_FOUND;
    fake().openKeys.insert(path);
    *key = static_cast<HKEY>(handleOf(path));
    return 0;
}

LONG WINAPI queryValue(HKEY key, LPCSTR name, DWORD* /*reserved*/, DWORD* /*type*/, BYTE* data, DWORD* size) {
    note(std::string("RegQueryValueExA ") + name + (data != nullptr ? "" : " (size)"));
    const std::string path = nameOf(key) + "\\" + name;
    const auto found = fake().registry.find(path);
    if (found == fake().registry.end())
        return ERROR_FILE_NOT_FOUND;
    const std::string& value = found->second;
    const auto told = fake().toldSizes.find(path);
    const DWORD capacity = *size;
    *size = told != fake().toldSizes.end() ? told->second : static_cast<DWORD>(value.size());
    if (data == nullptr)
        return 0;
    if (capacity < value.size())
        return ERROR_MORE_DATA;
    // Without its terminator, as some programs store it.
    std::copy(value.begin(), value.end(), data);
    return 0;
}

LONG WINAPI closeKey(HKEY key) {
    note("RegCloseKey");
    const auto open = fake().openKeys.find(nameOf(key));
    if (open == fake().openKeys.end())
        ADD_FAILURE() << "a key is closed that is not open";
    else
        fake().openKeys.erase(open);
    return 0;
}

BOOL WINAPI getUserName(LPSTR name, DWORD* size) {
    note("GetUserNameA");
    EXPECT_EQ(*size, 256U);
    if (fake().user.empty() || fake().user.size() >= *size)
        return FALSE;
    std::memcpy(name, fake().user.c_str(), fake().user.size() + 1);
    *size = static_cast<DWORD>(fake().user.size() + 1);
    return TRUE;
}

DWORD WINAPI getProfileString(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR value, DWORD capacity, LPCSTR file) {
    note(std::string("GetPrivateProfileStringA ") + section + " " + key + " " + file);
    EXPECT_EQ(fallback, nullptr);
    EXPECT_EQ(capacity, 260U);
    const auto found = fake().profiles.find(file);
    const std::string text = found != fake().profiles.end() ? found->second.substr(0, capacity - 1) : "";
    std::memcpy(value, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

HANDLE WINAPI findFile(LPCSTR path, WIN32_FIND_DATAA* found) {
    note(std::string("FindFirstFileA ") + path);
    if (fake().files.count(path) == 0)
        return INVALID_HANDLE_VALUE;
    std::memset(found, 0, sizeof *found);
    return static_cast<HANDLE>(handleOf(path));
}

BOOL WINAPI findClose(HANDLE search) {
    note("FindClose " + nameOf(search));
    return TRUE;
}

HMODULE WINAPI loadLibrary(LPCSTR path) {
    const std::string full = path;
    const std::string name = full.substr(full.rfind('\\') + 1);
    note("LoadLibraryA " + name);
    if (fake().files.count(full) == 0)
        return nullptr;
    fake().loaded.insert(name);
    return static_cast<HMODULE>(handleOf(name));
}

FARPROC WINAPI getProcAddress(HMODULE module, LPCSTR name) {
    note("GetProcAddress " + nameOf(module) + " " + name);
    const auto known = FakeNss::functions().find(name);
    if (known == FakeNss::functions().end() || known->second != nameOf(module) || fake().missing.count(name) != 0)
        return nullptr;
    return reinterpret_cast<FARPROC>(FakeNss::find(name));
}

BOOL WINAPI freeLibrary(HMODULE module) {
    note("FreeLibrary " + nameOf(module));
    const auto loaded = fake().loaded.find(nameOf(module));
    if (loaded == fake().loaded.end())
        ADD_FAILURE() << "a library is freed that is not loaded";
    else
        fake().loaded.erase(loaded);
    return TRUE;
}

}  // namespace

FakeFirefox* FakeFirefox::current = nullptr;

FakeFirefox::FakeFirefox()
    : registry({{std::string(kKey) + "\\CurrentVersion", "3.6 (de)"},
                {std::string(kKey) + R"(\3.6 (de)\Main\Install Directory)", "C:\\Firefox"}}),
      profiles({{kProfileList, "Profiles/abc.default"}}),
      systemBefore_(platform::replaceableSystemApi()),
      firefoxBefore_(platform::replaceableFirefoxApi()) {
    for (const char* name :
         {"mozutils.dll", "nspr4.dll", "plc4.dll", "plds4.dll", "nssutil3.dll", "nss3.dll", "smime3.dll"})
        files.insert(std::string(kFolder) + name);
    current = this;
    platform::replaceableFirefoxApi() = {};
    platform::SystemApi& table = platform::replaceableSystemApi();
    table.RegOpenKeyExA = openKey;
    table.RegQueryValueExA = queryValue;
    table.RegCloseKey = closeKey;
    table.GetUserNameA = getUserName;
    table.GetPrivateProfileStringA = getProfileString;
    table.FindFirstFileA = findFile;
    table.FindClose = findClose;
    table.LoadLibraryA = loadLibrary;
    table.GetProcAddress = getProcAddress;
    table.FreeLibrary = freeLibrary;
}

FakeFirefox::~FakeFirefox() {
    platform::replaceableSystemApi() = systemBefore_;
    platform::replaceableFirefoxApi() = firefoxBefore_;
    current = nullptr;
}

std::vector<std::string> FakeFirefox::logOf(const std::vector<std::string>& words) const {
    std::vector<std::string> found;
    std::copy_if(nss.log.begin(), nss.log.end(), std::back_inserter(found), [&](const std::string& call) {
        return std::any_of(words.begin(), words.end(),
                           [&](const std::string& word) { return call.compare(0, word.size(), word) == 0; });
    });
    return found;
}

}  // namespace support
