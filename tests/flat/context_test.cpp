#include <gmock/gmock.h>

#include <cstddef>
#include <string>

#include "pki/flat/flat.h"
#include "tests/p11/recording_module.h"
#include "tests/support/failing_heap.h"
#include "tests/support/replace.h"

namespace {

using p11::RecordingModule;
using testing::ElementsAre;
using testing::StartsWith;

// Callers in other languages declare these records themselves.
static_assert(offsetof(PKCS_Ctx, operation) == 0);
static_assert(offsetof(PKCS_Ctx, chooserCreated) == sizeof(void*));
static_assert(offsetof(PKCS_Ctx, spare) == sizeof(void*) + 4 && sizeof(PKCS_Ctx::spare) == 2);
static_assert(sizeof(PKCS_Ctx) == sizeof(void*) + 8);
static_assert(offsetof(PKCS_Settings, text1) == sizeof(void*));
static_assert(offsetof(PKCS_Settings, length1) == 2 * sizeof(void*));
static_assert(offsetof(PKCS_Settings, text2) == 3 * sizeof(void*));
static_assert(offsetof(PKCS_Settings, length2) == 4 * sizeof(void*));
static_assert(offsetof(PKCS_Settings, unused) == 4 * sizeof(void*) + 4);

constexpr PKCS_Settings kTokenSettings = {1, "token", 5, "pin", 3, 9};

TEST(context_test, VersionIsAConstantText) {
    EXPECT_THAT(PKCS_GetVersion(), StartsWith("VTF4C 0.99(beta) Build20030320"));
    EXPECT_GT(std::string(PKCS_GetVersion()).size(), std::string("VTF4C 0.99(beta) Build20030320").size());
    EXPECT_EQ(PKCS_GetVersion(), PKCS_GetVersion());
}

TEST(context_test, CreatedInSoftwareAndDestroyed) {
    PKCS_Ctx* ctx = nullptr;
    ASSERT_EQ(PKCS_CreateCtx(&ctx, nullptr), 0);
    ASSERT_NE(ctx, nullptr);
    EXPECT_NE(ctx->operation, nullptr);
    EXPECT_EQ(ctx->chooserCreated, 1u);
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    EXPECT_EQ(ctx, nullptr);
}

TEST(context_test, DestroyingNothingIsFine) {
    PKCS_Ctx* ctx = nullptr;
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    EXPECT_EQ(PKCS_DestroyCtx(nullptr), 0);
}

TEST(context_test, DestroyingACallersOwnRecord) {
    auto* ctx = static_cast<PKCS_Ctx*>(T_malloc(sizeof(PKCS_Ctx)));
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    EXPECT_EQ(ctx, nullptr);
}

TEST(context_test, CreatingNeedsAPlace) {
    EXPECT_EQ(PKCS_CreateCtx(nullptr, nullptr), -1010);
}

TEST(context_test, SettingsWithoutAModuleChooseTheSoftware) {
    PKCS_Ctx* ctx = nullptr;
    EXPECT_EQ(PKCS_CreateCtx(&ctx, &kTokenSettings), 0);
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
}

TEST(context_test, ExhaustedMemoryGivesItsCodeAndNoContext) {
    for (long n = 1;; ++n) {
        PKCS_Ctx sentinel = {};
        PKCS_Ctx* ctx = &sentinel;
        int32_t result = 0;
        bool failed = false;
        {
            const support::FailingHeap heap(n);
            result = PKCS_CreateCtx(&ctx, nullptr);
            failed = heap.failed();
        }
        if (!failed) {
            EXPECT_EQ(result, 0);
            EXPECT_GT(n, 2);
            PKCS_DestroyCtx(&ctx);
            return;
        }
        // -1 is the engine's own code for the same.
        EXPECT_TRUE(result == -1031 || result == -1) << result;
        EXPECT_EQ(ctx, nullptr);
    }
}

TEST(context_test, InitializeLoadsAModule) {
    RecordingModule module;
    module.addToken("Card one");
    EXPECT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
    EXPECT_EQ(module.calls().back().name, "C_Login");
    EXPECT_EQ(module.calls().back().input, p11::bytesOf("1234"));
    module.forgetCalls();
    EXPECT_EQ(PKCS_Finalize(), 0);
    EXPECT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_OpenSession", "C_Logout", "C_Finalize"));
}

TEST(context_test, InitializeGivesTheLoadersCodes) {
    EXPECT_EQ(PKCS_Initialize(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(PKCS_Initialize("no_such_module_here", "Card", "1234"), -20);
    RecordingModule module;
    EXPECT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), -17);
    module.addToken("Card");
    EXPECT_EQ(PKCS_Initialize(module.path(), "Other", "1234"), -21);
    EXPECT_EQ(PKCS_Initialize(module.path(), "Card", "4321"), static_cast<int32_t>(CKR_PIN_INCORRECT));
    EXPECT_EQ(PKCS_Finalize(), 0) << "with nothing loaded";
}

TEST(context_test, BothTextsAndAModuleChooseTheToken) {
    RecordingModule module;
    module.addToken("Card");
    ASSERT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
    module.forgetCalls();
    PKCS_Ctx* ctx = nullptr;
    EXPECT_EQ(PKCS_CreateCtx(&ctx, nullptr), 0);
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    EXPECT_THAT(module.names(), ElementsAre()) << "null settings are the software's";
    EXPECT_EQ(PKCS_CreateCtx(&ctx, &kTokenSettings), 0);
    EXPECT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_OpenSession"));
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    EXPECT_EQ(module.names().back(), "C_CloseSession");
    EXPECT_EQ(PKCS_Finalize(), 0);
}

// A positive code counts as success here.
TEST(context_test, TokenThatRefusesASessionGivesAContextThatComputesNothing) {
    RecordingModule module;
    module.addToken("Card");
    ASSERT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
    module.fail("C_OpenSession", CKR_DEVICE_REMOVED);
    PKCS_Ctx* ctx = nullptr;
    EXPECT_EQ(PKCS_CreateCtx(&ctx, &kTokenSettings), 0);
    EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
    module.succeed();
    EXPECT_EQ(PKCS_Finalize(), 0);
}

TEST(context_test, ChoosersErrorIsGivenAndNothingIsLeft) {
    RecordingModule module;
    module.addToken("Card");
    ASSERT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
    PKCS_Ctx* ctx = nullptr;
    {
        const support::Replaced<&platform::SystemApi::GetProcAddress> address(
            [](HMODULE, LPCSTR) { return FARPROC{}; });
        EXPECT_EQ(PKCS_CreateCtx(&ctx, &kTokenSettings), -17);
    }
    EXPECT_EQ(ctx, nullptr);
    EXPECT_EQ(PKCS_Finalize(), 0);
}

}  // namespace
