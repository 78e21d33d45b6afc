// Exhausted memory at each allocation of a look into a Firefox profile.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/platform.h"
#include "tests/support/failing_heap.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"

namespace {

using platform::firefoxApi;
using platform::sys;

bool isNssRunning() {
    void* library = dlopen("libnss3.so", RTLD_NOW | RTLD_NOLOAD);
    const auto isInitialized = reinterpret_cast<int (*)()>(dlsym(library, "NSS_IsInitialized"));
    const bool isRunning = isInitialized() != 0;
    dlclose(library);
    return isRunning;
}

// Nobody else has NSS in this process, so that it runs exactly as long as a profile is open.
TEST(nss_firefox_memory_test, AProfileThatDoesNotOpenLeavesNothingBehind) {
    const support::ScratchHome home;
    const std::string folder = home.path() + "/profile with a name that is long enough for the heap";
    std::filesystem::create_directory(folder);
    const support::ToolResult made = support::tool("certutil -N --empty-password -d 'sql:" + folder + "'");
    ASSERT_EQ(made.status, 0) << made.output;
    ASSERT_TRUE(firefoxApi().LoadNss("/none"));
    ASSERT_FALSE(isNssRunning());

    const unsigned char noCertificate[] = {0x30, 0x00};
    int opened = 0;
    int leftRunning = 0;
    int otherErrors = 0;
    const long runs = support::forEachExhaustion([&] {
        sys().SetLastError(0);
        HANDLE profile = firefoxApi().OpenProfile(folder.c_str());
        if (profile != nullptr) {
            ++opened;
            firefoxApi().FindCertificate(profile, noCertificate, sizeof noCertificate);
        }
        const DWORD error = sys().GetLastError();
        if (profile != nullptr)
            firefoxApi().CloseProfile(profile);
        leftRunning += isNssRunning() ? 1 : 0;
        otherErrors += error == NTE_NO_MEMORY || (profile != nullptr && error == CRYPT_E_ASN1_CORRUPT) ? 0 : 1;
    });
    EXPECT_EQ(leftRunning, 0);
    EXPECT_EQ(otherErrors, 0);
    EXPECT_GT(runs, 5);
    EXPECT_GT(opened, 1) << "the last runs fail behind the opening";
}

}  // namespace
