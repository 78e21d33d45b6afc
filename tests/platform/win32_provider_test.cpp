// The list of providers and the life of key containers, by the platform itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"

namespace {

using platform::capi;
using win32::Container;
using win32::kBuiltIn;

struct Listed {
    std::string name;
    DWORD type;
};

std::vector<Listed> listProviders() {
    std::vector<Listed> list;
    for (DWORD index = 0;; ++index) {
        DWORD size = 0;
        DWORD type = 0;
        if (capi().CryptEnumProvidersA(index, nullptr, 0, &type, nullptr, &size) == 0)
            return list;
        std::string name(size, '?');
        EXPECT_TRUE(capi().CryptEnumProvidersA(index, nullptr, 0, &type, name.data(), &size));
        EXPECT_EQ(name.back(), '\0');
        name.pop_back();
        list.push_back({name, type});
    }
}

BOOL acquire(const char* container, const char* provider, DWORD flags) {
    HCRYPTPROV handle = 0;
    if (capi().CryptAcquireContextA(&handle, container, provider, PROV_RSA_FULL, flags) == 0)
        return FALSE;
    EXPECT_TRUE(capi().CryptReleaseContext(handle, 0));
    return TRUE;
}

TEST(win32_provider_test, ListsTheBuiltInOneWithItsType) {
    const auto list = listProviders();
    const auto found = std::find_if(list.begin(), list.end(), [](const auto& item) { return item.name == kBuiltIn; });
    ASSERT_NE(found, list.end());
    EXPECT_EQ(found->type, static_cast<DWORD>(PROV_RSA_FULL));
}

TEST(win32_provider_test, ListEndsWithItsOwnError) {
    DWORD type = 0;
    std::array<char, 256> name{};
    DWORD size = name.size();
    EXPECT_FALSE(
        capi().CryptEnumProvidersA(static_cast<DWORD>(listProviders().size()), nullptr, 0, &type, name.data(), &size));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
}

TEST(win32_provider_test, NameThatDoesNotFitIsToldSo) {
    DWORD type = 0;
    std::array<char, 2> name{};
    DWORD size = 1;
    EXPECT_FALSE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, name.data(), &size));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(size, listProviders().at(0).name.size() + 1);
}

TEST(win32_provider_test, ContainerIsThereFromCreationToDeletion) {
    constexpr char kName[] = "vt-win32-container";
    win32::deleteContainer(kName);
    EXPECT_FALSE(acquire(kName, kBuiltIn, 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_KEYSET));
    EXPECT_TRUE(acquire(kName, kBuiltIn, CRYPT_NEWKEYSET));
    EXPECT_TRUE(acquire(kName, kBuiltIn, 0));
    EXPECT_FALSE(acquire(kName, kBuiltIn, CRYPT_NEWKEYSET));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_EXISTS));
    EXPECT_TRUE(win32::deleteContainer(kName));
    EXPECT_FALSE(acquire(kName, kBuiltIn, 0));
}

TEST(win32_provider_test, WideNamesReachTheSameContainer) {
    const Container container("vt-win32-wide");
    HCRYPTPROV handle = 0;
    ASSERT_TRUE(capi().CryptAcquireContextW(&handle, L"vt-win32-wide",
                                            L"Microsoft Enhanced Cryptographic Provider v1.0", PROV_RSA_FULL, 0));
    EXPECT_TRUE(capi().CryptReleaseContext(handle, 0));
    EXPECT_FALSE(capi().CryptAcquireContextW(&handle, L"vt-win32-none",
                                             L"Microsoft Enhanced Cryptographic Provider v1.0", PROV_RSA_FULL, 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_KEYSET));
}

TEST(win32_provider_test, UnknownProviderIsRefused) {
    EXPECT_FALSE(acquire("vt-win32-container", "No Such Provider", CRYPT_NEWKEYSET));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_KEYSET_NOT_DEF));
}

}  // namespace
