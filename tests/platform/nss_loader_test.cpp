#include <filesystem>

#include "tests/platform/nss_fixture.h"
#include "tests/support/own_process.h"

using namespace nss_test;
using support::tool;

namespace {

class nss_loader_test : public NssTest {};

void expectNoProvider() {
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 0, &type, nullptr, &size); }),
              NTE_PROV_DLL_NOT_FOUND);
    HCRYPTPROV prov = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptAcquireContextA(&prov, "c", nullptr, PROV_RSA_FULL, CRYPT_NEWKEYSET); }),
              NTE_PROV_DLL_NOT_FOUND);
    EXPECT_EQ(capi().CertOpenSystemStoreA(0, "MY"), nullptr);
    EXPECT_EQ(sys().GetLastError(), NTE_PROV_DLL_NOT_FOUND);
}

}  // namespace

// A library of the right name stands ahead of NSS: an empty one, and a file that is no library.
TEST_F(nss_loader_test, LibraryWithoutTheFunctionsIsNoProvider) {
    if (support::inOwnProcess())
        return expectNoProvider();
    const support::ToolResult built =
        tool("cd " + home_.path() + " && mkdir lib && echo 'int nothing;' > n.c && cc -shared -o lib/libnss3.so n.c");
    ASSERT_EQ(built.status, 0) << built.output;
    support::runInOwnProcess("LD_LIBRARY_PATH=" + home_.path() + "/lib");
}

TEST_F(nss_loader_test, WithoutTheLibraryThereIsNoProvider) {
    if (support::inOwnProcess())
        return expectNoProvider();
    std::filesystem::create_directory(home_.path() + "/lib");
    home_.file("lib/libnss3.so", "no library");
    support::runInOwnProcess("LD_LIBRARY_PATH=" + home_.path() + "/lib");
}

// Pages and hosts that never enrol must not pay for NSS.
TEST_F(nss_loader_test, NothingIsLoadedBeforeItIsNeeded) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const auto isLoaded = [] { return textOf(readFile("/proc/self/maps")).find("libnss3") != std::string::npos; };
    EXPECT_NE(capi().CryptGenKey, nullptr);
    EXPECT_EQ(capi().CertCreateCertificateContext(X509_ASN_ENCODING, nullptr, 0), nullptr);
    EXPECT_FALSE(isLoaded());
    ASSERT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
    EXPECT_TRUE(isLoaded());
}
