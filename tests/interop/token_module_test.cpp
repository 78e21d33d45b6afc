// Loading, stacking and unloading of modules: SoftHSM, a copy of it, and other people's libraries.
#include <cstring>
#include <filesystem>
#include <memory>

#include "tests/interop/soft_token.h"

namespace {

using namespace interop;

class token_module_test : public SoftTokenTest {
  protected:
    static bool isOnToken(const char* knownLabel) {
        Op op(tokenSelection());
        return op->CheckLabelExistInToken(text(knownLabel), static_cast<std::uint32_t>(std::strlen(knownLabel)), 0);
    }

    // Whether operations run in this library: its signatures under a digest carry the digest without a DigestInfo, and
    // it alone has MD2.
    static bool isInSoftware(Op& op) {
        MiByte digest;
        return op->Digest(algorithm(token::kMd2), bytes("abc"), digest) == 0;
    }
};

TEST_F(token_module_test, LoadTakesTheTokenWhoseLabelBeginsSo) {
    for (const char* label :
         {"Signing card", "Signing", "S", "", "Signing card  ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, label, kPin), 0) << label;
        EXPECT_EQ(TokenModuleUnload(), 0);
    }
}

TEST_F(token_module_test, LoadFindsNoOtherLabel) {
    for (const char* label : {"signing card", "igning card", "Signing card2", " Signing card",
                              "Signing card                     "})  // 33 characters, the field has 32
        EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, label, kPin), crypto::kNoMatchingToken) << label;
    Op op(tokenSelection());
    EXPECT_TRUE(isInSoftware(op));
}

TEST_F(token_module_test, WrongPinIsTheModulesAnswer) {
    EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, kLabel, "4321"), CKR_PIN_INCORRECT);
    EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, kLabel, ""), CKR_PIN_INCORRECT);
    EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, kLabel, nullptr), CKR_PIN_INCORRECT);
    {
        Op op(tokenSelection());
        EXPECT_TRUE(isInSoftware(op)) << "a load that fails makes no module current";
    }
    // The library is in the process already, and initialised; the right PIN makes up for it.
    EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, kLabel, kPin), 0);
    Op op(tokenSelection());
    EXPECT_FALSE(isInSoftware(op));
}

TEST_F(token_module_test, FilesThatAreNoModule) {
    EXPECT_EQ(TokenModuleLoad(file("nowhere.so").c_str(), kLabel, kPin), crypto::kModuleNotLoaded);
    EXPECT_EQ(TokenModuleLoad(file("text.so", "text").c_str(), kLabel, kPin), crypto::kModuleNotLoaded);
    EXPECT_EQ(TokenModuleLoad("libm.so.6", kLabel, kPin), crypto::kModuleNotInitialised);
    EXPECT_EQ(TokenModuleUnload(), 0) << "nothing is loaded";
}

TEST_F(token_module_test, ModuleWithoutAToken) {
    // Without drivers OpenSC sees no reader, whatever is plugged in.
    setenv("OPENSC_CONF",
           file("opensc.conf", "app default { enable_default_driver = false; reader_drivers = none; }").c_str(), 1);
    EXPECT_EQ(TokenModuleLoad(VT_OPENSC, kLabel, kPin), crypto::kModuleNotInitialised);
    unsetenv("OPENSC_CONF");
}

TEST_F(token_module_test, NoModuleMeansSoftware) {
    EXPECT_EQ(TokenModuleLoad(nullptr, kLabel, kPin), 0);
    Op op(tokenSelection());
    EXPECT_TRUE(isInSoftware(op));
    EXPECT_EQ(TokenModuleUnload(), 0);
    // Nor does it take a module away.
    load();
    EXPECT_EQ(TokenModuleLoad(nullptr, nullptr, nullptr), 0);
    Op onToken(tokenSelection());
    EXPECT_FALSE(isInSoftware(onToken));
}

TEST_F(token_module_test, BothTextsOfTheSelectionAreTheSwitch) {
    load();
    for (const VT_P11_SELECTION& selection :
         {VT_P11_SELECTION{0, nullptr, 0, nullptr, 0}, VT_P11_SELECTION{0, "a", 1, nullptr, 1},
          VT_P11_SELECTION{0, nullptr, 1, "b", 1}}) {
        Op op(selection);
        EXPECT_EQ(op.code(), 0);
        EXPECT_TRUE(isInSoftware(op));
    }
    Op op({7, "", 0, "", 0});
    EXPECT_FALSE(isInSoftware(op)) << "what the texts say does not matter";
}

TEST_F(token_module_test, SoftwareAgainAfterTheLastUnload) {
    load();
    ASSERT_EQ(TokenModuleUnload(), 0);
    Op op(tokenSelection());
    EXPECT_EQ(op.code(), 0);
    EXPECT_TRUE(isInSoftware(op));
    EXPECT_EQ(TokenModuleUnload(), 0);
}

TEST_F(token_module_test, LoadedAgainAfterAnUnload) {
    for (int i = 0; i < 3; ++i) {
        ASSERT_NO_FATAL_FAILURE(load());
        ASSERT_EQ(TokenModuleUnload(), 0) << i;
    }
}

TEST_F(token_module_test, TheNewestOfTwoModulesIsCurrent) {
    // A copy of the library has a state of its own, and reads another folder.
    const SoftTokens others({"Second card"});
    const std::string copy = others.home().file("copy.so");
    std::filesystem::copy_file(VT_SOFTHSM, copy);
    write(publicKeyDer(rsakeys::ofBits(1024)), "pubkey", "first key");
    load();
    others.use();
    EXPECT_TRUE(isOnToken("first key"));
    ASSERT_EQ(TokenModuleLoad(copy.c_str(), "Second", kPin), 0);
    EXPECT_FALSE(isOnToken("first key"));
    ASSERT_EQ(TokenModuleUnload(), 0);
    EXPECT_TRUE(isOnToken("first key"));
    ASSERT_EQ(TokenModuleUnload(), 0);
    EXPECT_FALSE(isOnToken("first key"));
}

TEST_F(token_module_test, ChoosersStayWithTheirModule) {
    const SoftTokens others({"Second card"});
    const std::string copy = others.home().file("copy.so");
    std::filesystem::copy_file(VT_SOFTHSM, copy);
    write(publicKeyDer(rsakeys::ofBits(1024)), "pubkey", "first key");
    load();
    Op first(tokenSelection());
    others.use();
    ASSERT_EQ(TokenModuleLoad(copy.c_str(), "Second", kPin), 0);
    {
        Op second(tokenSelection());
        EXPECT_TRUE(first->CheckLabelExistInToken(text("first key"), 9, 0));
        EXPECT_FALSE(second->CheckLabelExistInToken(text("first key"), 9, 0));
    }
    EXPECT_EQ(TokenModuleUnload(), 0);
    EXPECT_TRUE(first->CheckLabelExistInToken(text("first key"), 9, 0));
}

TEST_F(token_module_test, OneFileServesOneLoad) {
    // A library has one state in a process: its second token, too, is finalised by the first unload.
    load();
    EXPECT_EQ(TokenModuleLoad(VT_SOFTHSM, kLabel, kPin), CKR_USER_ALREADY_LOGGED_IN);
    ASSERT_EQ(
        support::tool(std::string("softhsm2-util --init-token --free --label Other --so-pin 12345678 --pin ") + kPin)
            .status,
        0);
    ASSERT_EQ(TokenModuleUnload(), 0);

    load();
    ASSERT_EQ(TokenModuleLoad(VT_SOFTHSM, "Other", kPin), 0);
    ASSERT_EQ(TokenModuleUnload(), 0);
    Op op(tokenSelection());
    EXPECT_EQ(op.code(), 0) << "a session that is refused shows at the first operation";
    MiByte digest;
    EXPECT_EQ(op->Digest(algorithm(token::kSha1), bytes("abc"), digest), crypto::kArgumentAbsent);
    EXPECT_EQ(TokenModuleUnload(), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(TokenModuleUnload(), 0);
}

TEST_F(token_module_test, SessionsRunOut) {
    setenv("VT_TEST_SESSIONS", "3", 1);
    load(VT_TOLERANT_MODULE);  // holds a session
    MiByte digest;
    {
        Op second(tokenSelection());
        Op third(tokenSelection());
        EXPECT_EQ(third->Digest(algorithm(token::kSha1), bytes("abc"), digest), 0);
        Op fourth(tokenSelection());
        EXPECT_EQ(fourth.code(), 0);
        EXPECT_EQ(fourth->Digest(algorithm(token::kSha1), bytes("abc"), digest), crypto::kArgumentAbsent);
        EXPECT_EQ(TokenModuleLoad(VT_TOLERANT_MODULE, kLabel, kPin), crypto::kNoMatchingToken) << "none is left";
    }
    Op again(tokenSelection());
    EXPECT_EQ(again->Digest(algorithm(token::kSha1), bytes("abc"), digest), 0) << "choosers give theirs back";
}

TEST_F(token_module_test, NoLimitMeansNoLimit) {
    load();
    std::vector<std::unique_ptr<Op>> ops;
    MiByte digest;
    for (int i = 0; i < 100; ++i) {
        ops.push_back(std::make_unique<Op>(tokenSelection()));
        ASSERT_EQ((*ops.back())->Digest(algorithm(token::kSha1), bytes("abc"), digest), 0) << i;
    }
}

}  // namespace
