// The making of choosers: which path, which calls of the module, and what is left after a failure.
#include "token/chooser_object.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "crypto/alg_object.h"
#include "crypto/operation.h"
#include "crypto/token_side.h"
#include "tests/p11/recording_module.h"
#include "tests/support/failing_heap.h"
#include "tests/token/frugal_module.h"
#include "tests/token/loaded_libraries.h"
#include "token/module.h"

namespace {

using p11::RecordingModule;
using platform::SystemApi;
using support::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;

// Whether the table is all zeros, slot by slot.
bool isEmpty(const SOFT_TABLE& table) {
    const auto* slots = reinterpret_cast<void (*const*)()>(&table);
    return std::all_of(slots, slots + sizeof(SOFT_TABLE) / sizeof *slots, [](auto slot) { return slot == nullptr; });
}

class chooser_object_test : public testing::Test {
  protected:
    ~chooser_object_test() override {
        module.succeed();
        if (chooser != nullptr) {
            EXPECT_EQ(DestroyChooserObject(&chooser), 0);
        }
        UseTokenSide(nullptr);
    }

    void load() {
        module.addToken("Card");
        ASSERT_EQ(TokenModuleLoad(module.path(), "Card", "1234"), 0);
        module.forgetCalls();
    }

    void expectSoftware() {
        ASSERT_NE(chooser, nullptr);
        EXPECT_EQ(chooser->session, 0u);
        EXPECT_EQ(chooser->functions, nullptr);
        EXPECT_EQ(chooser->useToken, 0);
        ASSERT_NE(chooser->soft, nullptr);
        EXPECT_TRUE(isEmpty(*chooser->soft));
    }

    RecordingModule module;
    support::LoadedLibraries libraries;
    CHOOSER_WORK work = {99, nullptr, {1, "user", 4, "password", 8}};
    CHOOSER* chooser = nullptr;
};

// ChooserOpenSession.

TEST_F(chooser_object_test, NoModuleGoesToSoftware) {
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    EXPECT_EQ(ChooserOpenSession(nullptr), 1);
    EXPECT_EQ(work.session, 99u) << "the record is left alone";
}

TEST_F(chooser_object_test, EntryWithoutSlotOrHandleGoesToSoftware) {
    load();
    const HMODULE handle = tokenModuleTable.moduleHandles[0];
    tokenModuleTable.moduleHandles[0] = nullptr;
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    tokenModuleTable.moduleHandles[0] = handle;
    tokenModuleTable.moduleSlots[0] = 0xffffffff;
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    tokenModuleTable.moduleSlots[0] = 7;
    EXPECT_EQ(ChooserOpenSession(&work), 0);
}

TEST_F(chooser_object_test, AbsentRecord) {
    load();
    EXPECT_EQ(ChooserOpenSession(nullptr), -2);
    EXPECT_THAT(module.calls(), IsEmpty());
}

TEST_F(chooser_object_test, BothTextsAreTheSwitch) {
    load();
    work.selection = {0, nullptr, 0, "b", 1};
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    work.selection = {0, "a", 1, nullptr, 0};
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    work.selection = {0, nullptr, 4, nullptr, 4};
    EXPECT_EQ(ChooserOpenSession(&work), 1);
    EXPECT_THAT(module.calls(), IsEmpty());
    work.selection = {0, "", 0, "", 0};
    EXPECT_EQ(ChooserOpenSession(&work), 0) << "what they say does not matter";
}

TEST_F(chooser_object_test, OpensASessionOnTheCurrentSlot) {
    load();
    EXPECT_EQ(ChooserOpenSession(&work), 0);
    ASSERT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_OpenSession"));
    EXPECT_EQ(module.calls()[1].slot, 7u);
    EXPECT_EQ(module.calls()[1].flags, 6u);
    EXPECT_TRUE(module.calls()[1].allElseAbsent);
    EXPECT_EQ(work.session, 2u);
    ASSERT_NE(work.functions, nullptr);
    EXPECT_EQ(work.functions->C_CloseSession(work.session), CKR_OK);
}

TEST_F(chooser_object_test, EachCallFails) {
    load();
    for (const char* name : {"C_GetFunctionList", "C_OpenSession"}) {
        SCOPED_TRACE(name);
        module.fail(name, CKR_DEVICE_ERROR, 1);
        CK_FUNCTION_LIST stale = {};
        work.session = 99;
        work.functions = &stale;
        EXPECT_EQ(ChooserOpenSession(&work), static_cast<int>(CKR_DEVICE_ERROR));
        EXPECT_EQ(module.calls().back().name, name);
        EXPECT_EQ(work.session, 0u);
        EXPECT_EQ(work.functions, nullptr);
        module.fail(name, CKR_DEVICE_ERROR, 1);
        EXPECT_EQ(CreateChooserObject(&chooser, &work), static_cast<int>(CKR_DEVICE_ERROR));
        EXPECT_EQ(chooser, nullptr);
    }
}

TEST_F(chooser_object_test, NoFunctionList) {
    load();
    {
        const Replaced<&SystemApi::GetProcAddress> getProcAddress([](HMODULE, LPCSTR) -> FARPROC { return nullptr; });
        EXPECT_EQ(ChooserOpenSession(&work), -17);
        EXPECT_EQ(CreateChooserObject(&chooser, &work), -17);
    }
    module.giveNoList();
    EXPECT_EQ(ChooserOpenSession(&work), -17);
    EXPECT_EQ(chooser, nullptr);
}

// CreateChooserObject.

TEST_F(chooser_object_test, AbsentArguments) {
    EXPECT_EQ(CreateChooserObject(nullptr, &work), -2);
    EXPECT_EQ(CreateChooserObject(&chooser, nullptr), -2);
    EXPECT_EQ(chooser, nullptr);
}

TEST_F(chooser_object_test, SoftwareChooser) {
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    expectSoftware();
}

TEST_F(chooser_object_test, SoftwareChooserBesideAModule) {
    load();
    work.selection = {};
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    expectSoftware();
    EXPECT_THAT(module.calls(), IsEmpty());
}

TEST_F(chooser_object_test, TokenChooser) {
    load();
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->session, 2u);
    EXPECT_EQ(chooser->functions, work.functions);
    EXPECT_NE(chooser->functions, nullptr);
    EXPECT_EQ(chooser->useToken, 1);
    EXPECT_EQ(chooser->soft, nullptr);
    EXPECT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_OpenSession"));
}

TEST_F(chooser_object_test, EachChooserHasASessionOfItsOwn) {
    load();
    CHOOSER* other = nullptr;
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    EXPECT_EQ(CreateChooserObject(&other, &work), 0);
    EXPECT_NE(chooser->session, other->session);
    EXPECT_EQ(DestroyChooserObject(&other), 0);
    EXPECT_EQ(module.openSessions(), 2u) << "that of the login, and the first chooser's";
}

TEST_F(chooser_object_test, CanceledSessionGoesToSoftware) {
    load();
    constexpr CK_RV kCanceled = 1;
    module.fail("C_OpenSession", kCanceled);
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    expectSoftware();
}

TEST_F(chooser_object_test, FieldIsAsItWasAfterAFailure) {
    load();
    module.fail("C_OpenSession", CKR_DEVICE_ERROR);
    CHOOSER before = {};
    CHOOSER* field = &before;
    EXPECT_EQ(CreateChooserObject(&field, &work), static_cast<int>(CKR_DEVICE_ERROR));
    EXPECT_EQ(field, &before);
}

TEST_F(chooser_object_test, ExhaustedMemoryInSoftware) {
    std::vector<int> codes;
    codes.reserve(8);
    EXPECT_EQ(support::forEachExhaustion([&] { codes.push_back(CreateChooserObject(&chooser, &work)); }), 2);
    EXPECT_THAT(codes, ElementsAre(-1, -1, 0));
}

TEST_F(chooser_object_test, ExhaustedMemoryOnAToken) {
    load();
    const support::FrugalModule frugal;
    std::vector<int> codes;
    codes.reserve(8);
    EXPECT_EQ(support::forEachExhaustion([&] { codes.push_back(CreateChooserObject(&chooser, &work)); }), 1);
    EXPECT_THAT(codes, ElementsAre(-1, 0));
    EXPECT_EQ(support::FrugalModule::openSessions(), 1)
        << "the session of the chooser that could not be allocated is closed";
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(support::FrugalModule::openSessions(), 0);
}

TEST_F(chooser_object_test, NewestModuleIsUsed) {
    load();
    RecordingModule second(p11::kSecondModule);
    second.addToken("Card").slot = 21;
    ASSERT_EQ(TokenModuleLoad(second.path(), "Card", "1234"), 0);
    second.forgetCalls();
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    EXPECT_EQ(second.call("C_OpenSession").slot, 21u);
    EXPECT_THAT(module.calls(), IsEmpty());
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    EXPECT_EQ(module.call("C_OpenSession").slot, 7u);
}

TEST_F(chooser_object_test, SoftwareAgainAfterTheLastUnload) {
    load();
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    expectSoftware();
}

TEST_F(chooser_object_test, OperationsGoToTheModule) {
    load();
    UseTokenSide(nullptr);
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    ALG_OBJ* alg = AlgShell();
    ASSERT_EQ(AlgSetup(&alg, AlgAllocSha1, nullptr), 0);
    EXPECT_EQ(DigestInitOp(alg, chooser), 0);
    EXPECT_EQ(module.call("C_DigestInit").session, chooser->session);
    AlgFree(&alg);
}

// DestroyChooserObject.

TEST_F(chooser_object_test, DestroyOfNothing) {
    EXPECT_EQ(DestroyChooserObject(nullptr), -2);
    EXPECT_EQ(DestroyChooserObject(&chooser), -2);
}

TEST_F(chooser_object_test, DestroyInSoftwareCallsNothing) {
    load();
    work.selection = {};
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(chooser, nullptr);
    EXPECT_THAT(module.calls(), IsEmpty());
}

TEST_F(chooser_object_test, DestroyClosesTheSession) {
    load();
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(chooser, nullptr);
    EXPECT_EQ(module.call("C_CloseSession").session, 2u);
    EXPECT_EQ(module.openSessions(), 1u) << "that of the login";
}

TEST_F(chooser_object_test, ChooserRemainsIfItsSessionDoesNotClose) {
    load();
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    CHOOSER* const before = chooser;
    module.fail("C_CloseSession", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(DestroyChooserObject(&chooser), static_cast<int>(CKR_DEVICE_ERROR));
    EXPECT_EQ(chooser, before);
    EXPECT_EQ(chooser->session, 2u);
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(module.count("C_CloseSession"), 2u);
}

TEST_F(chooser_object_test, DestroyLooksAtSessionAndFunctionsAlone) {
    load();
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    chooser->useToken = 0;
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(module.count("C_CloseSession"), 1u);
    EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
    const CK_SESSION_HANDLE session = chooser->session;
    chooser->session = 0;
    EXPECT_EQ(DestroyChooserObject(&chooser), 0);
    EXPECT_EQ(module.count("C_CloseSession"), 1u) << "no session, no token";
    EXPECT_EQ(work.functions->C_CloseSession(session), CKR_OK);
}

// The work record: session, function list, and the five words of the selection.
static_assert(sizeof(CHOOSER_WORK) == 7 * sizeof(void*), "seven words");

}  // namespace
