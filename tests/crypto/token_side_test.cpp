// Operations whose chooser uses a token go to the entries that are installed, with their arguments as they came.
#include "crypto/token_side.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/crypto/engine_objects.h"

namespace {

using engine::Alg;
using engine::Bytes;
using engine::Key;

// The entry that was called last, and with what.
struct Call {
    const char* name;
    ALG_OBJ* alg;
    const void* first;
    std::uint32_t firstLength;
    const void* second;
    const void* third;
};
Call last = {};

// The signatures are the operations' own.
// NOLINTBEGIN(readability-non-const-parameter)
template <int code>
struct Entries {
    static int digestInit(ALG_OBJ* alg) { return note({"digestInit", alg, nullptr, 0, nullptr, nullptr}); }
    static int init(ALG_OBJ* alg, KEY_OBJ* key) { return note({"init", alg, key, 0, nullptr, nullptr}); }
    static int randomInit(ALG_OBJ* alg, const std::uint8_t* seed, std::uint32_t length) {
        return note({"randomInit", alg, seed, length, nullptr, nullptr});
    }
    static int absorb(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length) {
        return note({"absorb", alg, input, length, nullptr, nullptr});
    }
    static int transform(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                         std::uint32_t* outputLength) {
        return note({"transform", alg, input, length, output, outputLength});
    }
    static int emit(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
        return note({"emit", alg, nullptr, 0, output, outputLength});
    }
    static int verify(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, const std::uint8_t* signature,
                      std::uint32_t /*signatureLength*/) {
        return note({"verify", alg, input, length, signature, nullptr});
    }
    static int random(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t length) {
        return note({"random", alg, output, length, nullptr, nullptr});
    }

  private:
    static int note(const Call& call) {
        last = call;
        return code;
    }
};
// NOLINTEND(readability-non-const-parameter)

class token_side_test : public testing::Test {
  protected:
    ~token_side_test() override { UseTokenSide(nullptr); }

    // Runs each operation in turn with one entry installed, and expects that entry alone to be called.
    template <class Entry, class Run>
    void expectEntry(Entry TOKEN_SIDE::*member, Entry entry, const char* name, Run&& run) {
        TOKEN_SIDE side = {};
        UseTokenSide(&side);
        EXPECT_EQ(run(), -6) << name << ": an absent entry";
        side.*member = entry;
        last = {};
        EXPECT_EQ(run(), 42) << name;
        EXPECT_STREQ(last.name, name);
        EXPECT_EQ(last.alg, static_cast<ALG_OBJ*>(alg));
        EXPECT_EQ(alg->chooser, &chooser);
        UseTokenSide(nullptr);
        EXPECT_EQ(run(), -6) << name << ": nothing installed";
    }

    CK_FUNCTION_LIST functions = {};
    CHOOSER chooser = {1, &functions, nullptr, 1};
    Alg alg{AlgAllocSha1Rsa};
    Key key{KeyAllocTokenKey, Bytes(3, 'k')};
    std::uint8_t in[4] = {};
    std::uint8_t out[4] = {};
    std::uint32_t length = 4;
};

using E = Entries<42>;

TEST_F(token_side_test, InitsGoThereWithTheChooserAttached) {
    expectEntry(&TOKEN_SIDE::digestInit, E::digestInit, "digestInit", [&] { return DigestInitOp(alg, &chooser); });
    expectEntry(&TOKEN_SIDE::encryptInit, E::init, "init", [&] { return EncryptInitOp(alg, key, &chooser); });
    expectEntry(&TOKEN_SIDE::decryptInit, E::init, "init", [&] { return DecryptInitOp(alg, key, &chooser); });
    expectEntry(&TOKEN_SIDE::signInit, E::init, "init", [&] { return SignInitOp(alg, key, &chooser); });
    expectEntry(&TOKEN_SIDE::verifyInit, E::init, "init", [&] { return VerifyInitOp(alg, key, &chooser); });
    EXPECT_EQ(last.first, static_cast<KEY_OBJ*>(key));
    expectEntry(&TOKEN_SIDE::randomInit, E::randomInit, "randomInit",
                [&] { return RandomInitOp(alg, in, 4, &chooser); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4);
}

TEST_F(token_side_test, StepsGoThereWithTheirArguments) {
    alg->chooser = &chooser;
    expectEntry(&TOKEN_SIDE::digestUpdate, E::absorb, "absorb", [&] { return DigestUpdateOp(alg, in, 4); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4);
    expectEntry(&TOKEN_SIDE::signUpdate, E::absorb, "absorb", [&] { return SignUpdateOp(alg, in, 3); });
    expectEntry(&TOKEN_SIDE::verifyUpdate, E::absorb, "absorb", [&] { return VerifyUpdateOp(alg, in, 2); });
    EXPECT_TRUE(last.first == in && last.firstLength == 2);
    expectEntry(&TOKEN_SIDE::encryptUpdate, E::transform, "transform",
                [&] { return EncryptUpdateOp(alg, in, 4, out, &length); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4 && last.second == out && last.third == &length);
    expectEntry(&TOKEN_SIDE::decryptUpdate, E::transform, "transform",
                [&] { return DecryptUpdateOp(alg, in, 4, out, &length); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4 && last.second == out && last.third == &length);
    expectEntry(&TOKEN_SIDE::digestFinal, E::emit, "emit", [&] { return DigestFinalOp(alg, out, &length); });
    EXPECT_TRUE(last.second == out && last.third == &length);
    expectEntry(&TOKEN_SIDE::encryptFinal, E::emit, "emit", [&] { return EncryptFinalOp(alg, out, &length); });
    expectEntry(&TOKEN_SIDE::decryptFinal, E::emit, "emit", [&] { return DecryptFinalOp(alg, out, &length); });
    expectEntry(&TOKEN_SIDE::signFinal, E::emit, "emit", [&] { return SignFinalOp(alg, out, &length); });
    expectEntry(&TOKEN_SIDE::verifyFinal, E::absorb, "absorb", [&] { return VerifyFinalOp(alg, in, 4); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4);
}

TEST_F(token_side_test, OneShotsGoThereWithTheirArguments) {
    alg->chooser = &chooser;
    const auto expectTransform = [&](auto member, auto operation) {
        expectEntry(member, E::transform, "transform", [&] { return operation(alg, in, 4, out, &length); });
        EXPECT_TRUE(last.first == in && last.firstLength == 4 && last.second == out && last.third == &length);
    };
    expectTransform(&TOKEN_SIDE::digest, DigestOp);
    expectTransform(&TOKEN_SIDE::encrypt, EncryptOp);
    expectTransform(&TOKEN_SIDE::decrypt, DecryptOp);
    expectTransform(&TOKEN_SIDE::sign, SignOp);
    expectEntry(&TOKEN_SIDE::verify, E::verify, "verify", [&] { return VerifyOp(alg, in, 4, out, 4); });
    EXPECT_TRUE(last.first == in && last.firstLength == 4 && last.second == out);
    expectEntry(&TOKEN_SIDE::random, E::random, "random", [&] { return RandomOp(alg, out, 4); });
    EXPECT_TRUE(last.first == out && last.firstLength == 4);
}

TEST_F(token_side_test, AKeyPairInATokenIsNotMadeHere) {
    const std::int32_t bits = 96;
    const Alg generator(AlgAllocRsaKeyPairGen, &bits);
    KEY_OBJ* publicKey = KeyShell();
    KEY_OBJ* privateKey = KeyShell();
    EXPECT_EQ(GenerateKeyPairOp(generator, &publicKey, &privateKey, &chooser), -6);
    KeyFree(&publicKey);
    KeyFree(&privateKey);
}

// A module's list is found by place alone: the n-th function of PKCS#11 2.20 (pkcs11f.h), behind the version.
TEST(token_side_test_records, FunctionsStandAtTheirPlaces) {
    const struct {
        std::size_t place, offset;
    } kKnown[] = {{0, offsetof(CK_FUNCTION_LIST, C_Initialize)},
                  {1, offsetof(CK_FUNCTION_LIST, C_Finalize)},
                  {3, offsetof(CK_FUNCTION_LIST, C_GetFunctionList)},
                  {4, offsetof(CK_FUNCTION_LIST, C_GetSlotList)},
                  {6, offsetof(CK_FUNCTION_LIST, C_GetTokenInfo)},
                  {12, offsetof(CK_FUNCTION_LIST, C_OpenSession)},
                  {13, offsetof(CK_FUNCTION_LIST, C_CloseSession)},
                  {18, offsetof(CK_FUNCTION_LIST, C_Login)},
                  {19, offsetof(CK_FUNCTION_LIST, C_Logout)},
                  {20, offsetof(CK_FUNCTION_LIST, C_CreateObject)},
                  {22, offsetof(CK_FUNCTION_LIST, C_DestroyObject)},
                  {24, offsetof(CK_FUNCTION_LIST, C_GetAttributeValue)},
                  {26, offsetof(CK_FUNCTION_LIST, C_FindObjectsInit)},
                  {27, offsetof(CK_FUNCTION_LIST, C_FindObjects)},
                  {28, offsetof(CK_FUNCTION_LIST, C_FindObjectsFinal)},
                  {29, offsetof(CK_FUNCTION_LIST, C_EncryptInit)},
                  {30, offsetof(CK_FUNCTION_LIST, C_Encrypt)},
                  {31, offsetof(CK_FUNCTION_LIST, C_EncryptUpdate)},
                  {32, offsetof(CK_FUNCTION_LIST, C_EncryptFinal)},
                  {33, offsetof(CK_FUNCTION_LIST, C_DecryptInit)},
                  {34, offsetof(CK_FUNCTION_LIST, C_Decrypt)},
                  {35, offsetof(CK_FUNCTION_LIST, C_DecryptUpdate)},
                  {36, offsetof(CK_FUNCTION_LIST, C_DecryptFinal)},
                  {37, offsetof(CK_FUNCTION_LIST, C_DigestInit)},
                  {38, offsetof(CK_FUNCTION_LIST, C_Digest)},
                  {39, offsetof(CK_FUNCTION_LIST, C_DigestUpdate)},
                  {41, offsetof(CK_FUNCTION_LIST, C_DigestFinal)},
                  {42, offsetof(CK_FUNCTION_LIST, C_SignInit)},
                  {43, offsetof(CK_FUNCTION_LIST, C_Sign)},
                  {44, offsetof(CK_FUNCTION_LIST, C_SignUpdate)},
                  {45, offsetof(CK_FUNCTION_LIST, C_SignFinal)},
                  {48, offsetof(CK_FUNCTION_LIST, C_VerifyInit)},
                  {49, offsetof(CK_FUNCTION_LIST, C_Verify)},
                  {50, offsetof(CK_FUNCTION_LIST, C_VerifyUpdate)},
                  {51, offsetof(CK_FUNCTION_LIST, C_VerifyFinal)},
                  {59, offsetof(CK_FUNCTION_LIST, C_GenerateKeyPair)},
                  {63, offsetof(CK_FUNCTION_LIST, C_SeedRandom)},
                  {64, offsetof(CK_FUNCTION_LIST, C_GenerateRandom)}};
#if defined(_WIN32)
    constexpr std::size_t kVersion = 2;  // packed to one byte
#else
    constexpr std::size_t kVersion = sizeof(void*);
#endif
    for (const auto& known : kKnown)
        EXPECT_EQ(known.offset, kVersion + known.place * sizeof(void*)) << known.place;
    EXPECT_EQ(sizeof(CK_FUNCTION_LIST), kVersion + 68 * sizeof(void*));
}

}  // namespace
