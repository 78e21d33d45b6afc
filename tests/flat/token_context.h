// What the tests of the token functions share: key objects that free themselves, and a context on the token of a
// recording module.
#ifndef VT_TESTS_FLAT_TOKEN_CONTEXT_H
#define VT_TESTS_FLAT_TOKEN_CONTEXT_H

#include <gtest/gtest.h>

#include "pki/flat/flat.h"
#include "tests/flat/records.h"
#include "tests/p11/recording_module.h"

namespace tokens {

class KeyObject {
  public:
    KeyObject() { VTPKCS_InitKeyObj(&object_); }
    explicit KeyObject(const PKCS_PriKey* key) : KeyObject() { EXPECT_EQ(VTPKCS_SetPriKeyObj(object_, key), 0); }
    explicit KeyObject(const char* label) : KeyObject() { EXPECT_EQ(VTPKCS_SetTokenKeyObj(object_, label), 0); }
    ~KeyObject() { VTPKCS_DestroyKeyObj(&object_); }
    KeyObject(const KeyObject&) = delete;
    KeyObject& operator=(const KeyObject&) = delete;

    operator VTPKCS_KeyObj*() { return object_; }
    VTPKCS_KeyObj* operator->() { return object_; }

  private:
    VTPKCS_KeyObj* object_ = nullptr;
};

using PublicKey = records::PublicKeyOutput;

class TokenTest : public testing::Test {
  protected:
    void SetUp() override {
        module.addToken("Card");
        ASSERT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
        const PKCS_Settings onToken = {0, "token", 5, "pin", 3, 0};
        ASSERT_EQ(PKCS_CreateCtx(&ctx, &onToken), 0);
        module.forgetCalls();
    }
    void TearDown() override {
        module.succeed();
        EXPECT_EQ(PKCS_DestroyCtx(&ctx), 0);
        EXPECT_EQ(PKCS_Finalize(), 0);
    }

    p11::RecordingModule module;
    PKCS_Ctx* ctx = nullptr;
};

}  // namespace tokens

#endif
