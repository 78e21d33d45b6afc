// A certificate bound to a key container in the store "MY", by the platform itself.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/win32_container.h"
#include "tests/platform/win32_store.h"

namespace {

using platform::capi;
using support::Bytes;
using support::hex;
using win32::find;
using win32::kEncoding;
using win32::kFirst;
using win32::seenByANewProcess;

constexpr wchar_t kContainer[] = L"vt-win32-bound";

// Opens "MY" as an installation does, adds the certificate and binds it to the container.
void addBound(HCRYPTPROV provider, const Bytes& der) {
    HCERTSTORE store =
        capi().CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, provider, CERT_SYSTEM_STORE_CURRENT_USER, L"MY");
    ASSERT_NE(store, nullptr);
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(store, kEncoding, der.data(), static_cast<DWORD>(der.size()),
                                                        CERT_STORE_ADD_REPLACE_EXISTING, &added));
    std::wstring container = kContainer;
    std::wstring name(win32::kBuiltIn, win32::kBuiltIn + sizeof win32::kBuiltIn - 1);
    CRYPT_KEY_PROV_INFO info{};
    info.pwszContainerName = container.data();
    info.pwszProvName = name.data();
    info.dwProvType = PROV_RSA_FULL;
    info.dwKeySpec = AT_KEYEXCHANGE;
    EXPECT_TRUE(capi().CertSetCertificateContextProperty(added, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    EXPECT_TRUE(capi().CertFreeCertificateContext(added));
    EXPECT_TRUE(capi().CertCloseStore(store, 0));
}

TEST(win32_binding_test, ContainerAndProviderAreReadBackFromTheStore) {
    const win32::Container container("vt-win32-bound");
    const Bytes der = hex(kFirst);
    addBound(container.provider(), der);

    HCERTSTORE store = capi().CertOpenSystemStoreA(0, "MY");
    PCCERT_CONTEXT cert = find(store, der);
    ASSERT_NE(cert, nullptr);
    DWORD size = 0;
    ASSERT_TRUE(capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size));
    Bytes room(size);
    ASSERT_TRUE(capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, room.data(), &size));
    const auto* info = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(room.data());
    EXPECT_STREQ(info->pwszContainerName, kContainer);
    EXPECT_STREQ(info->pwszProvName, L"Microsoft Enhanced Cryptographic Provider v1.0");
    EXPECT_EQ(info->dwKeySpec, static_cast<DWORD>(AT_KEYEXCHANGE));
    bool listed = false;
    for (DWORD id = 0; (id = capi().CertEnumCertificateContextProperties(cert, id)) != 0;)
        listed = listed || id == CERT_KEY_PROV_INFO_PROP_ID;
    EXPECT_TRUE(listed);
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
    EXPECT_TRUE(capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
    EXPECT_TRUE(capi().CertCloseStore(store, 0));
    EXPECT_EQ(seenByANewProcess("MY", der), 0u);
}

}  // namespace
