// The object itself: its one field, choosers made, shared and destroyed.
#include "token/op.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/p11/recording_module.h"
#include "tests/support/replace.h"
#include "tests/token/operations.h"
#include "token/chooser_object.h"

namespace {

using namespace operations;

// The chooser that an object holds, by the object's layout.
const CHOOSER* chooserOf(const VT_P11_OP& op) {
    static_assert(sizeof op == sizeof(void*));
    return static_cast<const CHOOSER*>(*reinterpret_cast<void* const*>(&op));
}

VT_P11_SELECTION tokenSelection() {
    return {0, "any", 3, "text", 4};
}

// A module with one token, loaded and logged in to.
class op_test : public testing::Test {
  protected:
    void SetUp() override {
        module.addToken("Token");
        ASSERT_EQ(TokenModuleLoad(module.path(), "Token", "1234"), 0);
        module.forgetCalls();
    }
    void TearDown() override {
        module.succeed();
        EXPECT_EQ(TokenModuleUnload(), 0);
    }

    p11::RecordingModule module;
    VT_P11_OP op;
    VT_P11_SELECTION selection = tokenSelection();
};

TEST_F(op_test, ANewObjectHasNoChooser) {
    EXPECT_EQ(chooserOf(op), nullptr);
    EXPECT_EQ(op.destroyChooser(), 0);
    EXPECT_TRUE(module.calls().empty());
}

TEST_F(op_test, BothTextsAndAModuleGiveAToken) {
    EXPECT_EQ(op.createChooser(&selection), 0);
    EXPECT_EQ(module.names(), (std::vector<std::string>{"C_GetFunctionList", "C_OpenSession"}));
    const p11::Call& open = module.call("C_OpenSession");
    EXPECT_EQ(open.slot, 7u);
    EXPECT_EQ(open.flags, CKF_SERIAL_SESSION | CKF_RW_SESSION);
    const CHOOSER* chooser = chooserOf(op);
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->useToken, 1);
    EXPECT_EQ(chooser->soft, nullptr);
    const CK_SESSION_HANDLE session = chooser->session;
    module.forgetCalls();
    EXPECT_EQ(op.destroyChooser(), 0);
    EXPECT_EQ(chooserOf(op), nullptr);
    EXPECT_EQ(module.names(), std::vector<std::string>{"C_CloseSession"});
    EXPECT_EQ(module.calls()[0].session, session);
}

TEST_F(op_test, ATextThatIsAbsentGivesSoftware) {
    for (const bool first : {true, false}) {
        VT_P11_SELECTION partial = selection;
        (first ? partial.text1 : partial.text2) = nullptr;  // its length does not count then
        EXPECT_EQ(op.createChooser(&partial), 0);
        ASSERT_NE(chooserOf(op), nullptr);
        EXPECT_EQ(chooserOf(op)->useToken, 0);
        EXPECT_NE(chooserOf(op)->soft, nullptr);
        op.destroyChooser();
    }
    VT_P11_SELECTION none = {};
    EXPECT_EQ(op.createChooser(&none), 0);
    EXPECT_EQ(chooserOf(op)->useToken, 0);
    op.destroyChooser();
    EXPECT_TRUE(module.calls().empty());
}

TEST_F(op_test, EmptyTextsAreTexts) {
    VT_P11_SELECTION empty = {0, "", 0, "", 0};
    EXPECT_EQ(op.createChooser(&empty), 0);
    EXPECT_EQ(chooserOf(op)->useToken, 1);
    op.destroyChooser();
}

TEST_F(op_test, TheSelectionIsOnlyRead) {
    const VT_P11_SELECTION before = selection;
    EXPECT_EQ(op.createChooser(&selection), 0);
    EXPECT_EQ(std::tie(before.first, before.text1, before.length1, before.text2, before.length2),
              std::tie(selection.first, selection.text1, selection.length1, selection.text2, selection.length2));
    op.destroyChooser();
}

TEST_F(op_test, WithoutASelection) {
    EXPECT_EQ(op.createChooser(nullptr), -2);
    EXPECT_EQ(chooserOf(op), nullptr);
}

TEST_F(op_test, ASessionThatIsRefusedIsNoFailureYet) {
    module.fail("C_OpenSession", 0xB6);  // CKR_SESSION_EXCLUSIVE_EXISTS
    EXPECT_EQ(op.createChooser(&selection), 0);
    EXPECT_EQ(chooserOf(op), nullptr);
    MiByte output;
    EXPECT_EQ(op.Digest(algorithm(1), mi("abc"), output), -2);
    EXPECT_EQ(op.destroyChooser(), 0);
}

TEST_F(op_test, AModuleThatHasLostItsListIsAFailure) {
    const support::Replaced<&platform::SystemApi::GetProcAddress> lookUp(
        [](HMODULE, const char*) -> FARPROC { return nullptr; });
    EXPECT_EQ(op.createChooser(&selection), -17);
    EXPECT_EQ(chooserOf(op), nullptr);
}

TEST_F(op_test, AFailureKeepsTheChooserThatIsThere) {
    EXPECT_EQ(op.createChooser(&selection), 0);
    const CHOOSER* chooser = chooserOf(op);
    module.fail("C_OpenSession", CKR_DEVICE_ERROR);
    EXPECT_EQ(op.createChooser(&selection), 0);
    EXPECT_EQ(op.createChooser(nullptr), -2);
    EXPECT_EQ(chooserOf(op), chooser);
    op.destroyChooser();
}

TEST_F(op_test, CopiesShareTheChooser) {
    EXPECT_EQ(op.createChooser(&selection), 0);
    VT_P11_OP copy(op);
    VT_P11_OP assigned;
    assigned = copy;
    EXPECT_EQ(chooserOf(copy), chooserOf(op));
    EXPECT_EQ(chooserOf(assigned), chooserOf(op));
    MiByte output;
    EXPECT_EQ(assigned.Digest(algorithm(1), mi("abc"), output), 0);
    EXPECT_EQ(bytesOf(output), Bytes(20, 0xD1));
    copy.Reset();
    EXPECT_EQ(chooserOf(copy), nullptr);
    { const VT_P11_OP destroyed(op); }
    EXPECT_EQ(module.count("C_CloseSession"), 0u);
    EXPECT_EQ(op.destroyChooser(), 0);
    EXPECT_EQ(module.count("C_CloseSession"), 1u);
}

TEST_F(op_test, ASessionThatDoesNotCloseIsGivenUp) {
    EXPECT_EQ(op.createChooser(&selection), 0);
    module.fail("C_CloseSession", CKR_DEVICE_REMOVED);
    EXPECT_EQ(op.destroyChooser(), 0);
    EXPECT_EQ(chooserOf(op), nullptr);
    EXPECT_EQ(op.destroyChooser(), 0);
    EXPECT_EQ(module.count("C_CloseSession"), 1u);
}

TEST(op_test_without_module, IsInSoftware) {
    VT_P11_OP op;
    VT_P11_SELECTION selection = tokenSelection();
    EXPECT_EQ(op.createChooser(&selection), 0);
    EXPECT_EQ(chooserOf(op)->useToken, 0);
    op.destroyChooser();
}

}  // namespace
