// The user's system stores, by the platform itself: what is added and deleted is so for the next process as well.
//
// The two certificates hold one key made by `openssl genrsa 512`; both are signed with it (sha256WithRSAEncryption),
// issued by "C=DE, O=Vemtrel Works, CN=First". `openssl x509 -text` shows serial numbers 0A01 and F002.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"
#include "tests/support/hex.h"

namespace {

using platform::capi;
using support::Bytes;
using support::hex;

constexpr char kFirst[] =
    "3082015a30820104a00302010202020a01300d06092a864886f70d01010b05003035310b300906035504061302444531163014060355040a"
    "130d56656d7472656c20576f726b73310e300c06035504030c054669727374301e170d3235303130313030303030305a170d333530313031"
    "3030303030305a3035310b300906035504061302444531163014060355040a130d56656d7472656c20576f726b73310e300c06035504030c"
    "054669727374305c300d06092a864886f70d0101010500034b003048024100cf9a60cc3e67382752e58788659d0e9c12411d74860835b622"
    "4a9cc40910ed7be7c5c519cb63244242678f7858f677fc402ee7f5237045e1ddaf3e7aa615fb730203010001300d06092a864886f70d0101"
    "0b050003410032ef9361c5d944be8155f25915035a3ed5d25d58ddd149979cb2d19f11a87f1d2a9cdf51015b803b2a40fb9f3a6d4e0b7e9b"
    "9b921e3ac0533ad9a22e40c5f8ca";
constexpr char kSecond[] =
    "3082015c30820106a003020102020300f002300d06092a864886f70d01010b05003035310b30090603550406130244453116301406035504"
    "0a130d56656d7472656c20576f726b73310e300c06035504030c054669727374301e170d3235303130313030303030305a170d3335303130"
    "313030303030305a3036310b300906035504061302444531163014060355040a130d56656d7472656c20576f726b73310f300d0603550403"
    "0c065365636f6e64305c300d06092a864886f70d0101010500034b003048024100cf9a60cc3e67382752e58788659d0e9c12411d74860835"
    "b6224a9cc40910ed7be7c5c519cb63244242678f7858f677fc402ee7f5237045e1ddaf3e7aa615fb730203010001300d06092a864886f70d"
    "01010b050003410002e58faeb56ea45331a4eb3ef63090fb7221e59840cb12f6ea9c9fbbcd78d84543544efc6debb45f28232851319a1c2a"
    "c738ee7df11790f2e84d874893f4c75e";
constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

Bytes derOf(PCCERT_CONTEXT cert) {
    return {cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded};
}

// The first such certificate of the store, for the caller to free or to delete; null if there is none.
PCCERT_CONTEXT find(HCERTSTORE store, const Bytes& der) {
    PCCERT_CONTEXT cert = nullptr;
    while ((cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr) {
        if (derOf(cert) == der)
            break;
    }
    return cert;
}

// Runs the probe, which lies beside this program, and gives how many such certificates a new process sees.
DWORD seenByANewProcess(const char* store, const Bytes& der) {
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(nullptr, path.data(), path.size());
    const std::string program(path.data());
    const std::string folder = program.substr(0, program.rfind('\\') + 1);
    const std::string file = folder + "win32_store_probe.der";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
    std::string command = "\"" + folder + "win32_store_probe.exe\" " + store + " \"" + file + "\"";

    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    DWORD code = STILL_ACTIVE;
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process) !=
        0) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    std::remove(file.c_str());
    return code;
}

class win32_store_test : public testing::TestWithParam<const char*> {
  protected:
    win32_store_test() { clear(); }
    ~win32_store_test() override { clear(); }

    static HCERTSTORE open() { return capi().CertOpenSystemStoreA(0, GetParam()); }

    static void add(const Bytes& der, DWORD disposition) {
        HCERTSTORE store = open();
        ASSERT_NE(store, nullptr);
        PCCERT_CONTEXT added = nullptr;
        EXPECT_TRUE(capi().CertAddEncodedCertificateToStore(store, kEncoding, der.data(),
                                                            static_cast<DWORD>(der.size()), disposition, &added));
        EXPECT_TRUE(capi().CertFreeCertificateContext(added));
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
    }

    static int count(const Bytes& der) {
        HCERTSTORE store = open();
        int found = 0;
        for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr;)
            found += derOf(cert) == der ? 1 : 0;
        capi().CertCloseStore(store, 0);
        return found;
    }

    // Deletes each such certificate and commits; gives how many there were.
    static int remove(const Bytes& der) {
        HCERTSTORE store = open();
        int removed = 0;
        while (PCCERT_CONTEXT cert = find(store, der)) {
            EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
            ++removed;
        }
        EXPECT_TRUE(capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
        return removed;
    }

    const Bytes first_ = hex(kFirst);
    const Bytes second_ = hex(kSecond);

  private:
    void clear() const {
        remove(first_);
        remove(second_);
    }
};

TEST_P(win32_store_test, AdditionLasts) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(second_, CERT_STORE_ADD_REPLACE_EXISTING);
    EXPECT_EQ(count(first_), 1);
    EXPECT_EQ(seenByANewProcess(GetParam(), first_), 1u);
    EXPECT_EQ(seenByANewProcess(GetParam(), second_), 1u);
}

TEST_P(win32_store_test, CommittedDeletionLasts) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(second_, CERT_STORE_ADD_REPLACE_EXISTING);
    EXPECT_EQ(remove(first_), 1);
    EXPECT_EQ(count(first_), 0);
    EXPECT_EQ(seenByANewProcess(GetParam(), first_), 0u);
    EXPECT_EQ(seenByANewProcess(GetParam(), second_), 1u);
}

TEST_P(win32_store_test, SameCertificateStandsOnce) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(first_, CERT_STORE_ADD_USE_EXISTING);
    EXPECT_EQ(count(first_), 1);
}

TEST_P(win32_store_test, EveryContextIsFreedBeforeTheStoreCloses) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    HCERTSTORE store = open();
    for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr;) {
    }
    EXPECT_TRUE(capi().CertCloseStore(store, CERT_CLOSE_STORE_CHECK_FLAG));
}

TEST_P(win32_store_test, BytesThatAreNoCertificateAreRefused) {
    HCERTSTORE store = open();
    PCCERT_CONTEXT added = nullptr;
    Bytes cut = first_;
    cut.pop_back();
    EXPECT_FALSE(capi().CertAddEncodedCertificateToStore(store, kEncoding, cut.data(), static_cast<DWORD>(cut.size()),
                                                         CERT_STORE_ADD_REPLACE_EXISTING, &added));
    EXPECT_EQ(added, nullptr);
    capi().CertCloseStore(store, 0);
}

INSTANTIATE_TEST_SUITE_P(Stores, win32_store_test, testing::Values("MY", "ROOT", "CA"),
                         [](const auto& store) { return std::string(store.param); });

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
