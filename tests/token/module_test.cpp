// Loading and unloading of PKCS#11 modules, call by call.
#include "token/module.h"

#include <gmock/gmock.h>

#include <cstddef>

#include "tests/p11/module.h"
#include "tests/p11/recording_module.h"
#include "tests/support/failing_heap.h"
#include "tests/token/frugal_module.h"
#include "tests/token/loaded_libraries.h"

namespace {

using p11::RecordingModule;
using platform::SystemApi;
using support::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;

class module_test : public testing::Test {
  protected:
    int load(const char* label = "Card") { return TokenModuleLoad(module.path(), label, "1234"); }

    // A load that must succeed, and is not what the test is about.
    void loaded(const char* label = "Card") {
        ASSERT_EQ(load(label), 0);
        module.forgetCalls();
    }

    RecordingModule module;
    support::LoadedLibraries libraries;
    const TokenModuleTable& table = tokenModuleTable;
};

// The module of the tests is built from the same declarations as the library. Others fill the list by place: in the
// order of the standard, one pointer after the other, on Windows from the two bytes of the version on.
TEST(module_test_function_list, EachFunctionStandsInItsPlace) {
    std::size_t place = sizeof(void*) == 8 ? 8 : 2;
#define VT_EXPECT_PLACE(name)                                    \
    EXPECT_EQ(offsetof(CK_FUNCTION_LIST, name), place) << #name; \
    place += sizeof(void*);
    VT_P11_FUNCTIONS(VT_EXPECT_PLACE)
#undef VT_EXPECT_PLACE
    EXPECT_EQ(sizeof(CK_FUNCTION_LIST), place);
}

// Loading.

TEST_F(module_test, LoadMakesTheseCalls) {
    module.addToken("Card");
    EXPECT_EQ(load(), 0);
    ASSERT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_Initialize", "C_GetSlotList", "C_GetSlotList",
                                            "C_GetTokenInfo", "C_OpenSession", "C_Login"));
    const auto& calls = module.calls();
    EXPECT_EQ(calls[1].flags, 2u);
    EXPECT_TRUE(calls[1].allElseAbsent);
    EXPECT_TRUE(calls[2].tokenPresent);
    EXPECT_FALSE(calls[2].hasOutput);
    EXPECT_TRUE(calls[3].tokenPresent);
    EXPECT_TRUE(calls[3].hasOutput);
    EXPECT_EQ(calls[3].room, 1u);
    EXPECT_EQ(calls[4].slot, 7u);
    EXPECT_EQ(calls[5].slot, 7u);
    EXPECT_EQ(calls[5].flags, 6u);
    EXPECT_TRUE(calls[5].allElseAbsent);
    EXPECT_EQ(calls[6].session, 1u);
    EXPECT_EQ(calls[6].user, 1u);
    EXPECT_EQ(calls[6].input, p11::bytesOf("1234"));
}

TEST_F(module_test, LoadedModuleIsTheCurrentOne) {
    module.addToken("Other");
    module.addToken("Card");
    EXPECT_EQ(load(), 0);
    EXPECT_EQ(table.moduleCount, 1);
    EXPECT_EQ(table.moduleSlots[0], 8u);
    EXPECT_THAT(libraries.open(), ElementsAre(table.moduleHandles[0]));
    EXPECT_THAT(libraries.names(), ElementsAre(testing::StrEq(module.path())));
}

TEST_F(module_test, SessionOfTheLoginStaysOpen) {
    module.addToken("Card");
    EXPECT_EQ(load(), 0);
    EXPECT_EQ(module.openSessions(), 1u);
    EXPECT_TRUE(module.tokens()[0].isLoggedIn);
}

TEST_F(module_test, AbsentModuleIsNoModule) {
    tokenModuleTable.moduleSlots[0] = 5;  // left by a failed load
    EXPECT_EQ(TokenModuleLoad(nullptr, "Card", "1234"), 0);
    EXPECT_EQ(table.moduleCount, 0);
    EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    EXPECT_THAT(libraries.names(), IsEmpty());
    EXPECT_THAT(module.calls(), IsEmpty());
}

TEST_F(module_test, AbsentModuleLeavesTheCurrentOne) {
    module.addToken("Card");
    loaded();
    EXPECT_EQ(TokenModuleLoad(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(table.moduleCount, 1);
    EXPECT_EQ(table.moduleSlots[0], 7u);
}

TEST_F(module_test, FileThatDoesNotLoad) {
    for (const char* file : {"vt_no_such_module", "", __FILE__}) {
        EXPECT_EQ(TokenModuleLoad(file, "Card", "1234"), -20) << file;
        EXPECT_EQ(table.moduleCount, 0);
        EXPECT_EQ(table.moduleHandles[0], nullptr);
        EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    }
}

TEST_F(module_test, LibraryWithoutFunctionList) {
    EXPECT_EQ(TokenModuleLoad(p11::kModuleWithoutList, "Card", "1234"), -17);
    EXPECT_EQ(table.moduleCount, 0);
    EXPECT_THAT(libraries.open(), ElementsAre(table.moduleHandles[0]));
}

TEST_F(module_test, FunctionListThatIsNotGiven) {
    module.addToken("Card");
    module.giveNoList();
    EXPECT_EQ(load(), -17);
    EXPECT_THAT(module.names(), ElementsAre("C_GetFunctionList"));
}

TEST_F(module_test, EachCallOfALoadFails) {
    const struct {
        const char* name;
        int occurrence;
        int result;
        std::size_t calls;  // with the failing one
        CK_SLOT_ID slot;    // what the entry holds then
    } kRows[] = {
        {"C_GetFunctionList", 1, 0x30, 1, kNoSlot}, {"C_GetSlotList", 1, 0x30, 3, kNoSlot},
        {"C_GetSlotList", 2, 0x30, 4, kNoSlot},     {"C_GetTokenInfo", 1, -21, 5, kNoSlot},
        {"C_OpenSession", 1, 0x30, 6, 7},           {"C_Login", 1, 0x30, 7, 7},
    };
    module.addToken("Card");
    module.initialise();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        module.forgetCalls();
        module.succeed();
        module.fail(row.name, CKR_DEVICE_ERROR, row.occurrence);
        EXPECT_EQ(load(), row.result);
        EXPECT_EQ(module.calls().size(), row.calls);
        EXPECT_EQ(module.calls().back().name, row.name);
        EXPECT_EQ(table.moduleCount, 0);
        EXPECT_NE(table.moduleHandles[0], nullptr);
        EXPECT_EQ(table.moduleSlots[0], row.slot);
    }
    EXPECT_EQ(libraries.open().size(), std::size(kRows)) << "a failed load leaves the module loaded";
}

TEST_F(module_test, NextLoadOverwritesTheEntryOfAFailedOne) {
    module.addToken("Card");
    module.tokens()[0].pin = "other";
    EXPECT_EQ(load(), static_cast<int>(CKR_PIN_INCORRECT));
    const HMODULE left = table.moduleHandles[0];
    EXPECT_EQ(table.moduleSlots[0], 7u);
    RecordingModule second(p11::kSecondModule);
    second.addToken("Card").slot = 21;
    EXPECT_EQ(TokenModuleLoad(second.path(), "Card", "1234"), 0);
    EXPECT_EQ(table.moduleCount, 1);
    EXPECT_EQ(table.moduleSlots[0], 21u);
    EXPECT_NE(table.moduleHandles[0], left);
    EXPECT_THAT(libraries.open(), ElementsAre(left, table.moduleHandles[0]));
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_THAT(libraries.open(), ElementsAre(left));
}

TEST_F(module_test, FailedLoadLeavesTheCurrentModule) {
    module.addToken("Card");
    loaded();
    EXPECT_EQ(load("Other"), -21);
    EXPECT_EQ(table.moduleCount, 1);
    EXPECT_EQ(table.moduleSlots[0], 7u);
    EXPECT_NE(table.moduleHandles[1], nullptr);
}

TEST_F(module_test, ModuleThatAnotherUserInitialised) {
    module.addToken("Card");
    module.initialise();
    EXPECT_EQ(load(), 0);
    EXPECT_EQ(module.call("C_Initialize").result, CKR_CRYPTOKI_ALREADY_INITIALIZED);
}

TEST_F(module_test, FailedInitialisationShowsInTheNextCall) {
    module.addToken("Card");
    module.fail("C_Initialize", CKR_HOST_MEMORY);
    EXPECT_EQ(load(), static_cast<int>(CKR_CRYPTOKI_NOT_INITIALIZED));
    EXPECT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_Initialize", "C_GetSlotList"));
}

TEST_F(module_test, NoTokenPresent) {
    EXPECT_EQ(load(), -17);
    EXPECT_EQ(module.calls().back().name, "C_GetSlotList");
    EXPECT_FALSE(module.calls().back().hasOutput);
    module.addToken("Card").isPresent = false;
    EXPECT_EQ(load(), -17);
    EXPECT_EQ(module.count("C_GetTokenInfo"), 0u);
}

TEST_F(module_test, TokenThatGoesWhileSlotsAreListed) {
    module.addToken("Card");
    module.before("C_GetSlotList", 2, [&] { module.tokens()[0].isPresent = false; });
    EXPECT_EQ(load(), -21);
    EXPECT_EQ(module.calls().back().name, "C_GetSlotList");
}

TEST_F(module_test, TokenThatComesWhileSlotsAreListed) {
    module.addToken("Card");
    module.before("C_GetSlotList", 2, [&] { module.addToken("Late"); });
    EXPECT_EQ(load(), static_cast<int>(CKR_BUFFER_TOO_SMALL));
    EXPECT_EQ(module.calls().back().name, "C_GetSlotList");
}

TEST_F(module_test, MoreSlotsToldThanThereWasRoomFor) {
    module.addToken("Other");
    module.before("C_GetSlotList", 2, [&] { module.claim("C_GetSlotList", 1000); });
    EXPECT_EQ(load(), -21);
    EXPECT_EQ(module.count("C_GetTokenInfo"), 1u);
}

TEST_F(module_test, SlotListThatCannotBeAllocated) {
    module.addToken("Card");
    for (const CK_ULONG count : {~CK_ULONG{0}, ~CK_ULONG{0} / sizeof(CK_SLOT_ID), ~CK_ULONG{0} / 2 + 1}) {
        module.claim("C_GetSlotList", count);
        EXPECT_EQ(load(), -17);
        EXPECT_EQ(module.count("C_GetTokenInfo"), 0u);
    }
}

TEST_F(module_test, ExhaustedMemory) {
    const support::FrugalModule frugal;
    std::vector<int> codes;
    codes.reserve(8);
    EXPECT_EQ(support::forEachExhaustion([&] { codes.push_back(TokenModuleLoad(module.path(), "", "")); }), 1);
    EXPECT_THAT(codes, ElementsAre(-17, 0));
}

// Labels.

TEST_F(module_test, LabelIsAPrefix) {
    const std::string longest(32, 'L');
    const struct {
        std::string token, given;
        bool matches;
    } kRows[] = {
        {"ABCDEF", "ABC", true},
        {"ABCDEF", "ABCDEF", true},
        {"ABCDEF", "ABCDEFG", false},
        {"ABCDEF", "abc", false},
        {"ABCDEF", "BCD", false},
        {"ABCDEF", " ABC", false},
        {"ABCDEF", "ABC ", false},
        {"ABC", "ABC  ", true},  // the field is padded with blanks
        {"ABC", "ABC" + std::string(29, ' '), true},
        {"ABC", "ABC" + std::string(30, ' '), false},
        {"ABC", "", true},
        {longest, longest, true},
        {longest, longest + "L", false},
        {longest, longest + std::string(1000, 'L'), false},
    };
    for (const auto& row : kRows) {
        module.tokens().clear();
        module.addToken(row.token);
        EXPECT_EQ(load(row.given.c_str()), row.matches ? 0 : -21) << row.token << " / " << row.given;
    }
}

TEST_F(module_test, EachTokenIsAskedInTurn) {
    module.addToken("Other");
    module.addToken("Third");
    EXPECT_EQ(load(), -21);
    EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    EXPECT_EQ(module.count("C_GetTokenInfo"), 2u);
    EXPECT_EQ(module.calls()[4].slot, 7u);
    EXPECT_EQ(module.calls()[5].slot, 8u);
    EXPECT_EQ(module.count("C_OpenSession"), 0u);
}

TEST_F(module_test, FirstMatchIsTaken) {
    module.addToken("Card 1");
    module.addToken("Card 2");
    EXPECT_EQ(load(), 0);
    EXPECT_EQ(module.call("C_GetTokenInfo").slot, 7u);
    EXPECT_EQ(table.moduleSlots[0], 7u);
}

TEST_F(module_test, EmptyOrAbsentLabelMatchesTheFirstTokenThatTellsAboutItself) {
    for (const char* label : {"", static_cast<const char*>(nullptr)}) {
        module.tokens().clear();
        module.addToken("One");
        module.addToken("Two");
        module.fail("C_GetTokenInfo", CKR_DEVICE_REMOVED, 1);
        EXPECT_EQ(load(label), 0);
        EXPECT_EQ(table.moduleSlots[table.moduleCount - 1], 8u);
    }
}

// The PIN.

TEST_F(module_test, WrongPinGivesTheModulesCodeEachTime) {
    module.addToken("Card");
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(TokenModuleLoad(module.path(), "Card", "12345"), static_cast<int>(CKR_PIN_INCORRECT));
    EXPECT_EQ(module.count("C_Login"), 12u);
    EXPECT_EQ(load(), 0);
}

TEST_F(module_test, AbsentPinCountsAsEmpty) {
    module.addToken("Card").pin = "";
    EXPECT_EQ(TokenModuleLoad(module.path(), "Card", nullptr), 0);
    EXPECT_THAT(module.call("C_Login").input, IsEmpty());
}

TEST_F(module_test, CodesOfTheModulesMakerPassUp) {
    module.addToken("Card");
    module.fail("C_Login", 0x80000123);
    EXPECT_EQ(static_cast<unsigned>(load()), 0x80000123u);
}

// Session limits.

TEST_F(module_test, SessionLimits) {
    constexpr CK_ULONG kAllOnes32 = 0xffffffff;
    constexpr CK_ULONG kAllOnes = ~CK_ULONG{0};
    const struct {
        CK_ULONG maxSessions, sessions, maxRwSessions, rwSessions;
        int result;
    } kRows[] = {
        {0, 99, 1, 1, 0},
        {kAllOnes32, kAllOnes32, 1, 1, 0},
        {kAllOnes, kAllOnes, 1, 1, 0},
        {1, 0, 1, 0, 0},
        {5, 4, 5, 4, 0},
        {5, 4, kAllOnes, 4, 0},
        {1, 1, 2, 0, -21},
        {5, 6, 9, 0, -21},
        {2, 1, 1, 1, -21},
        {5, 0, 3, 4, -21},
        {5, 0, 0, 0, -21},  // the maximum for writing counts as it stands
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.maxSessions << ' ' << row.sessions << ' ' << row.maxRwSessions << ' '
                                        << row.rwSessions);
        module.tokens().clear();
        p11::Token& token = module.addToken("Card");
        token.maxSessions = row.maxSessions;
        token.sessions = row.sessions;
        token.maxRwSessions = row.maxRwSessions;
        token.rwSessions = row.rwSessions;
        module.addToken("Card, the later one");
        module.forgetCalls();
        EXPECT_EQ(load(), row.result);
        EXPECT_EQ(module.count("C_GetTokenInfo"), 1u) << "the later slots are not tried";
        EXPECT_EQ(module.count("C_OpenSession"), row.result == 0 ? 1u : 0u);
    }
}

// Unloading.

TEST_F(module_test, UnloadMakesTheseCalls) {
    module.addToken("Card");
    loaded();
    EXPECT_EQ(TokenModuleUnload(), 0);
    ASSERT_THAT(module.names(), ElementsAre("C_GetFunctionList", "C_OpenSession", "C_Logout", "C_Finalize"));
    const auto& calls = module.calls();
    EXPECT_EQ(calls[1].slot, 7u);
    EXPECT_EQ(calls[1].flags, 6u);
    EXPECT_TRUE(calls[1].allElseAbsent);
    EXPECT_EQ(calls[2].session, 2u) << "the session opened for it, not that of the login";
    EXPECT_TRUE(calls[3].allElseAbsent);
    EXPECT_EQ(table.moduleCount, 0);
    EXPECT_EQ(table.moduleHandles[0], nullptr);
    EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    EXPECT_THAT(libraries.open(), IsEmpty());
}

TEST_F(module_test, UnloadWithNothingLoaded) {
    tokenModuleTable.moduleSlots[0] = 5;  // left by a failed load
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_EQ(table.moduleCount, 0);
    EXPECT_EQ(table.moduleHandles[0], nullptr);
    EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    EXPECT_THAT(module.calls(), IsEmpty());
}

TEST_F(module_test, UnloadForgetsWhatAFailedLoadLeft) {
    module.addToken("Card");
    EXPECT_EQ(load("Other"), -21);
    EXPECT_NE(table.moduleHandles[0], nullptr);
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_EQ(table.moduleHandles[0], nullptr);
    EXPECT_EQ(libraries.open().size(), 1u) << "the file stays loaded";
}

TEST_F(module_test, EachCallOfAnUnloadFails) {
    const struct {
        const char* name;
        std::size_t calls;
    } kRows[] = {{"C_GetFunctionList", 1}, {"C_OpenSession", 2}, {"C_Logout", 3}, {"C_Finalize", 4}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        module.tokens().clear();
        module.addToken("Card");
        loaded();
        module.fail(row.name, CKR_DEVICE_REMOVED, 1);
        EXPECT_EQ(TokenModuleUnload(), static_cast<int>(CKR_DEVICE_REMOVED));
        EXPECT_EQ(module.calls().size(), row.calls);
        EXPECT_THAT(libraries.open(), IsEmpty()) << "unloaded all the same";
        EXPECT_EQ(table.moduleCount, 0);
        EXPECT_EQ(table.moduleHandles[0], nullptr);
        EXPECT_EQ(table.moduleSlots[0], kNoSlot);
    }
}

TEST_F(module_test, UnloadWithoutFunctionList) {
    module.addToken("Card");
    loaded();
    {
        const Replaced<&SystemApi::GetProcAddress> getProcAddress([](HMODULE, LPCSTR name) -> FARPROC {
            EXPECT_STREQ(name, "C_GetFunctionList");
            return nullptr;
        });
        EXPECT_EQ(TokenModuleUnload(), -17);
    }
    EXPECT_THAT(libraries.open(), IsEmpty());
    module.tokens().clear();
    module.addToken("Card");
    loaded();
    module.giveNoList();
    EXPECT_EQ(TokenModuleUnload(), -17);
    EXPECT_THAT(libraries.open(), IsEmpty());
}

TEST_F(module_test, WhatFreeLibrarySaysDoesNotCount) {
    module.addToken("Card");
    loaded();
    bool wasCalled = false;
    const Replaced<&SystemApi::FreeLibrary> freeLibrary([&](HMODULE) {
        wasCalled = true;
        return FALSE;
    });
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_TRUE(wasCalled);
}

// The stack.

TEST_F(module_test, TwoLoadsAndOneUnloadLeaveTheFirst) {
    module.addToken("Card");
    RecordingModule second(p11::kSecondModule);
    second.addToken("Card").slot = 21;
    loaded();
    const HMODULE first = table.moduleHandles[0];
    EXPECT_EQ(TokenModuleLoad(second.path(), "Card", "1234"), 0);
    EXPECT_EQ(table.moduleCount, 2);
    EXPECT_EQ(table.moduleSlots[1], 21u);
    EXPECT_NE(table.moduleHandles[1], first);
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_EQ(table.moduleCount, 1);
    EXPECT_EQ(table.moduleHandles[0], first);
    EXPECT_EQ(table.moduleSlots[0], 7u);
    EXPECT_FALSE(second.isInitialised());
    EXPECT_TRUE(module.isInitialised());
    EXPECT_THAT(module.calls(), IsEmpty()) << "the first has nothing to do with it";
}

TEST_F(module_test, SeventeenthModuleIsRefused) {
    for (int i = 0; i < 17; ++i)
        module.addToken("Card " + std::string(1, static_cast<char>('a' + i)));
    for (char last = 'a'; last < 'a' + 16; ++last)
        EXPECT_EQ(load(("Card " + std::string(1, last)).c_str()), 0) << last;
    EXPECT_EQ(table.moduleCount, 16);
    module.forgetCalls();
    EXPECT_EQ(load("Card q"), -20);
    EXPECT_EQ(TokenModuleLoad(nullptr, nullptr, nullptr), 0) << "no module is no seventeenth";
    EXPECT_EQ(table.moduleCount, 16);
    EXPECT_THAT(module.calls(), IsEmpty());
    EXPECT_EQ(libraries.open().size(), 16u);
    // They share one file, so that the first unload finalises it for all of them.
    EXPECT_EQ(TokenModuleUnload(), 0);
    for (int left = 15; left > 0; --left) {
        EXPECT_EQ(table.moduleCount, left);
        EXPECT_EQ(TokenModuleUnload(), static_cast<int>(CKR_CRYPTOKI_NOT_INITIALIZED));
    }
    EXPECT_EQ(table.moduleCount, 0);
    EXPECT_THAT(libraries.open(), IsEmpty());
}

}  // namespace
