// The engine's operations in a token: the calls of the module that each makes, with their arguments.
#include "token/module_calls.h"

#include <gmock/gmock.h>

#include <optional>

#include "crypto/rc2.h"
#include "crypto/token_side.h"
#include "tests/crypto/engine_objects.h"
#include "tests/p11/recording_module.h"
#include "tests/token/loaded_libraries.h"
#include "token/chooser_object.h"
#include "token/module.h"

namespace {

using engine::Alg;
using engine::Key;
using p11::attribute;
using p11::flag;
using p11::number;
using p11::RecordingModule;
using support::Bytes;
using support::hex;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

const Bytes kIv = hex("01 02 03 04 05 06 07 08");
const KEY_ITEM kIvItem = engine::itemOf(kIv);

// The inits with a key, and their calls.
constexpr std::pair<decltype(&EncryptInitOp), const char*> kInits[] = {{EncryptInitOp, "C_EncryptInit"},
                                                                       {DecryptInitOp, "C_DecryptInit"},
                                                                       {SignInitOp, "C_SignInit"},
                                                                       {VerifyInitOp, "C_VerifyInit"}};

class module_calls_test : public testing::Test {
  protected:
    module_calls_test() {
        module.addToken("Card");
        EXPECT_EQ(TokenModuleLoad(module.path(), "Card", "1234"), 0);
        CHOOSER_WORK work = {0, nullptr, {0, "a", 1, "b", 1}};
        EXPECT_EQ(CreateChooserObject(&chooser, &work), 0);
        module.forgetCalls();
    }
    ~module_calls_test() override {
        module.succeed();
        EXPECT_EQ(DestroyChooserObject(&chooser), 0);
        UseTokenSide(nullptr);
    }

    // The calls since the last time.
    std::vector<p11::Call> newCalls() {
        std::vector<p11::Call> all = module.calls();
        module.forgetCalls();
        return all;
    }
    std::vector<std::string> newNames() {
        std::vector<std::string> all = module.names();
        module.forgetCalls();
        return all;
    }

    static std::uint32_t lengthOf(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

    RecordingModule module;
    support::LoadedLibraries libraries;
    CHOOSER* chooser = nullptr;
    const Bytes data = hex("61 62 63");
    std::uint8_t out[256] = {};
    std::uint32_t length = 0;
};

// The key goes into the token.

struct RsaNumbers {
    Bytes values[RSA_ITEM_COUNT];
    KEY_ITEM items[RSA_ITEM_COUNT] = {};
    RsaNumbers() {
        for (std::uint8_t i = 0; i < RSA_ITEM_COUNT; ++i) {
            values[i] = Bytes(64, static_cast<std::uint8_t>(0xC0 + i));
            items[i] = engine::itemOf(values[i]);
        }
    }
};

TEST_F(module_calls_test, SecretKeysBecomeSessionObjects) {
    const Bytes value(24, 0x77);
    const struct {
        KeyAllocator allocator;
        CK_ULONG type;
        std::size_t kept;
    } kRows[] = {{KeyAllocDes, 0x13, 8}, {KeyAllocDes3, 0x15, 24}, {KeyAllocRc2, 0x11, 24}, {KeyAllocRc4, 0x12, 24}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.type);
        const Key key(row.allocator, value);
        CK_OBJECT_HANDLE made = 0;
        {
            const Alg alg(AlgAllocRc4);
            EXPECT_EQ(EncryptInitOp(alg, key, chooser), 0);
            made = alg->tokenKey;
            EXPECT_NE(made, 0u);
            EXPECT_EQ(alg->keyIsTokenObject, 0);
            length = sizeof out;
            EXPECT_EQ(EncryptOp(alg, data.data(), 3, out, &length), 0);
        }
        EXPECT_THAT(module.names(), ElementsAre("C_CreateObject", "C_EncryptInit", "C_Encrypt", "C_DestroyObject"));
        const auto calls = newCalls();
        EXPECT_EQ(calls[0].session, chooser->session);
        EXPECT_THAT(calls[0].attributes,
                    ElementsAre(number(0x000, 4), number(0x100, row.type), flag(0x001, false), flag(0x104, true),
                                flag(0x105, true), attribute(0x011, Bytes(row.kept, 0x77))));
        EXPECT_EQ(calls[1].object, made);
    }
}

TEST_F(module_calls_test, RsaPrivateKeyBecomesASessionObject) {
    const RsaNumbers numbers;
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocRsaPrivate, numbers.items);
    EXPECT_EQ(SignInitOp(alg, key, chooser), 0);
    const auto& v = numbers.values;
    EXPECT_THAT(
        module.calls()[0].attributes,
        ElementsAre(number(0x000, 3), number(0x100, 0), flag(0x001, false), flag(0x103, true), flag(0x002, true),
                    flag(0x105, true), flag(0x162, true), flag(0x107, true), attribute(0x120, v[0]),
                    attribute(0x122, v[1]), attribute(0x123, v[2]), attribute(0x124, v[3]), attribute(0x125, v[4]),
                    attribute(0x126, v[5]), attribute(0x127, v[6]), attribute(0x128, v[7])));
}

TEST_F(module_calls_test, RsaPublicKeyBecomesASessionObject) {
    const RsaNumbers numbers;
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocRsaPublic, numbers.items);
    EXPECT_EQ(VerifyInitOp(alg, key, chooser), 0);
    EXPECT_THAT(
        module.calls()[0].attributes,
        ElementsAre(flag(0x001, false), flag(0x104, true), number(0x000, 2), number(0x100, 0), flag(0x106, true),
                    attribute(0x120, numbers.values[0]), attribute(0x122, numbers.values[1]), number(0x121, 512)));
}

TEST_F(module_calls_test, SessionObjectLivesUntilTheAlgorithmObjectIsFreed) {
    const Key key(KeyAllocRc4, Bytes(5, 1));
    {
        const Alg alg(AlgAllocRc4);
        EXPECT_EQ(EncryptInitOp(alg, key, chooser), 0);
        EXPECT_EQ(module.objects().size(), 1u);
        module.forgetCalls();
    }
    EXPECT_EQ(module.call("C_DestroyObject").object, 100u);
    EXPECT_EQ(module.call("C_DestroyObject").session, chooser->session);
    EXPECT_THAT(module.objects(), IsEmpty());
}

TEST_F(module_calls_test, SessionObjectIsMadeOnce) {
    const Key key(KeyAllocRc4, Bytes(5, 1));
    const Alg alg(AlgAllocRc4);
    EXPECT_EQ(EncryptInitOp(alg, key, chooser), 0);
    EXPECT_EQ(DecryptInitOp(alg, key, chooser), 0);
    EXPECT_THAT(newNames(), ElementsAre("C_CreateObject", "C_EncryptInit", "C_DecryptInit"));
}

TEST_F(module_calls_test, KeyOfTheTokenIsFoundByItsLabel) {
    module.addObject({p11::label("other")});
    const CK_OBJECT_HANDLE object = module.addObject({p11::label("signing key"), number(CKA_CLASS, 3)});
    module.addObject({p11::label("signing key"), number(CKA_CLASS, 2)});
    {
        const Alg alg(AlgAllocRsa);
        const Key key(KeyAllocTokenKey, p11::bytesOf("signing key"));
        EXPECT_EQ(SignInitOp(alg, key, chooser), 0);
        EXPECT_EQ(alg->tokenKey, object) << "the first one";
        EXPECT_EQ(alg->keyIsTokenObject, 1);
    }
    const auto calls = newCalls();
    ASSERT_EQ(calls.size(), 4u) << "and no C_DestroyObject";
    EXPECT_EQ(calls[0].name, "C_FindObjectsInit");
    EXPECT_THAT(calls[0].attributes, ElementsAre(p11::label("signing key")));
    EXPECT_EQ(calls[1].name, "C_FindObjects");
    EXPECT_EQ(calls[1].room, 1u);
    EXPECT_EQ(calls[2].name, "C_FindObjectsFinal");
    EXPECT_EQ(calls[3].name, "C_SignInit");
    EXPECT_EQ(calls[3].object, object);
    EXPECT_EQ(module.objects().size(), 3u);
}

TEST_F(module_calls_test, KeyOfTheTokenIsLookedForByEachInit) {
    module.addObject({p11::label("key")});
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    EXPECT_EQ(EncryptInitOp(alg, key, chooser), 0);
    module.objects().clear();
    const CK_OBJECT_HANDLE later = module.addObject({p11::label("key")});
    EXPECT_EQ(DecryptInitOp(alg, key, chooser), 0);
    EXPECT_EQ(module.calls().back().object, later);
}

TEST_F(module_calls_test, KeyThatIsNotFound) {
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    for (const auto& [init, name] : kInits) {
        SCOPED_TRACE(name);
        EXPECT_EQ(init(alg, key, chooser), -19);
        EXPECT_THAT(newNames(), ElementsAre("C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"));
        EXPECT_EQ(alg->tokenKey, 0u);
    }
}

TEST_F(module_calls_test, EachCallOfASearchFails) {
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    const auto endSearch = [&] { chooser->functions->C_FindObjectsFinal(chooser->session); };
    // Nothing is there: the code of the last call is added to -19.
    module.fail("C_FindObjectsFinal", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(SignInitOp(alg, key, chooser), -19 + 0x30);
    endSearch();
    // A search that did not begin makes the other two fail as well.
    module.addObject({p11::label("key")});
    module.forgetCalls();
    module.fail("C_FindObjectsInit", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(SignInitOp(alg, key, chooser), -19 + 0x91);
    EXPECT_THAT(newNames(), ElementsAre("C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"));
    module.fail("C_FindObjects", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(SignInitOp(alg, key, chooser), -19);
    EXPECT_THAT(newNames(), ElementsAre("C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"));
    // Found, but not finished.
    module.fail("C_FindObjectsFinal", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(SignInitOp(alg, key, chooser), 0x30);
    EXPECT_THAT(newNames(), ElementsAre("C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"));
    EXPECT_EQ(alg->tokenKey, 0u);
    endSearch();
    EXPECT_EQ(SignInitOp(alg, key, chooser), 0);
}

TEST_F(module_calls_test, CodesThatMakeUpForEachOtherAreNoSuccess) {
    const Alg alg(AlgAllocRsa);
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    module.fail("C_FindObjectsFinal", 19);
    EXPECT_EQ(SignInitOp(alg, key, chooser), -19);
    EXPECT_EQ(module.count("C_SignInit"), 0u);
    module.succeed();
    module.fail("C_FindObjectsFinal", 0x80000000);
    EXPECT_EQ(SignInitOp(alg, key, chooser), 0x7fffffff - 18) << "wraps around";
}

TEST_F(module_calls_test, KeyThatCannotBeMade) {
    const Alg alg(AlgAllocRc4);
    const Key key(KeyAllocRc4, Bytes(5, 1));
    module.fail("C_CreateObject", CKR_DEVICE_ERROR);
    for (const auto& [init, name] : kInits) {
        SCOPED_TRACE(name);
        EXPECT_EQ(init(alg, key, chooser), 0x30);
        EXPECT_THAT(newNames(), ElementsAre("C_CreateObject"));
        EXPECT_EQ(alg->tokenKey, 0u);
    }
}

TEST_F(module_calls_test, KeyIsGoneAfterAFailedInit) {
    const Key key(KeyAllocRc4, Bytes(5, 1));
    for (const auto& [init, name] : kInits) {
        SCOPED_TRACE(name);
        module.fail(name, CKR_KEY_HANDLE_INVALID);
        const Alg alg(AlgAllocRc4);
        EXPECT_EQ(init(alg, key, chooser), 0x60);
        EXPECT_EQ(module.objects().size(), 1u);
    }
    EXPECT_EQ(module.count("C_DestroyObject"), 4u);
    EXPECT_THAT(module.objects(), IsEmpty());
}

TEST_F(module_calls_test, ObjectThatIsNotDestroyedIsNotAskedForAgain) {
    const Key key(KeyAllocRc4, Bytes(5, 1));
    module.fail("C_DestroyObject", CKR_DEVICE_ERROR);
    {
        const Alg alg(AlgAllocRc4);
        EXPECT_EQ(EncryptInitOp(alg, key, chooser), 0);
    }
    EXPECT_EQ(module.count("C_DestroyObject"), 1u);
}

TEST_F(module_calls_test, AbsentOrEmptyKey) {
    const Alg alg(AlgAllocRsa);
    KEY_OBJ shell = {};
    const Key unset(KeyAllocRc4);
    const Key unsetPublic(KeyAllocRsaPublic);
    const Key unsetPrivate(KeyAllocRsaPrivate);
    const Key unsetLabel(KeyAllocTokenKey);
    for (KEY_OBJ* key :
         {static_cast<KEY_OBJ*>(nullptr), &shell, static_cast<KEY_OBJ*>(unset), static_cast<KEY_OBJ*>(unsetPublic),
          static_cast<KEY_OBJ*>(unsetPrivate), static_cast<KEY_OBJ*>(unsetLabel)}) {
        for (const auto& [init, name] : kInits)
            EXPECT_EQ(init(alg, key, chooser), -4) << name;
    }
    EXPECT_THAT(module.calls(), IsEmpty());
}

// An algorithm object that is used again must neither destroy the token's own key nor leave a session object behind.
TEST_F(module_calls_test, KeysOfBothSortsOnOneAlgorithmObject) {
    const CK_OBJECT_HANDLE own = module.addObject({p11::label("key")});
    const Key labelled(KeyAllocTokenKey, p11::bytesOf("key"));
    const Key given(KeyAllocRc4, Bytes(5, 1));
    {
        const Alg alg(AlgAllocRc4);
        EXPECT_EQ(EncryptInitOp(alg, labelled, chooser), 0);
        EXPECT_EQ(DecryptInitOp(alg, given, chooser), 0);
        EXPECT_NE(alg->tokenKey, own);
        EXPECT_EQ(SignInitOp(alg, labelled, chooser), 0);
        EXPECT_EQ(alg->tokenKey, own);
        EXPECT_EQ(module.objects().size(), 1u);
        EXPECT_EQ(VerifyInitOp(alg, given, chooser), 0);
    }
    EXPECT_THAT(module.objects(), ElementsAre(testing::Key(own)));
}

// Mechanisms.

TEST_F(module_calls_test, MechanismsGoWithTheirParameters) {
    const RC2_SETTING setting = {40, kIvItem};
    RC2_PARAMETER rc2 = {40, {}};
    std::copy(kIv.begin(), kIv.end(), rc2.iv);
    const struct {
        AlgAllocator allocator;
        const void* parameter;
        CK_MECHANISM_TYPE mechanism;
        Bytes given;
    } kRows[] = {
        {AlgAllocDesCbcPad, &kIvItem, 0x125, kIv},
        {AlgAllocDes3CbcPad, &kIvItem, 0x136, kIv},
        {AlgAllocRc2CbcPad, &setting, 0x105, engine::bytesOf(&rc2, sizeof rc2)},
        {AlgAllocRc4, nullptr, 0x111, {}},
        {AlgAllocRsa, nullptr, 0x001, {}},
        {AlgAllocMd2Rsa, nullptr, 0x004, {}},
        {AlgAllocMd5Rsa, nullptr, 0x005, {}},
        {AlgAllocSha1Rsa, nullptr, 0x006, {}},
    };
    const Key key(KeyAllocDes3, Bytes(24, 1));
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.mechanism);
        const Alg alg(row.allocator, row.parameter);
        for (const auto& [init, name] : kInits) {
            EXPECT_EQ(init(alg, key, chooser), 0);
            const p11::Call& call = module.calls().back();
            EXPECT_EQ(call.name, name);
            EXPECT_EQ(call.session, chooser->session);
            EXPECT_EQ(call.object, alg->tokenKey);
            EXPECT_EQ(call.mechanism, row.mechanism);
            EXPECT_EQ(call.hasParameter, !row.given.empty());
            EXPECT_EQ(call.parameterLength, row.given.size());
            EXPECT_EQ(call.parameter, row.given);
            EXPECT_EQ(alg->chooser, chooser);
        }
        DestroyChooserObject(&chooser);  // ends what was begun
        CHOOSER_WORK work = {0, nullptr, {0, "a", 1, "b", 1}};
        ASSERT_EQ(CreateChooserObject(&chooser, &work), 0);
        alg->chooser = chooser;
    }
}

TEST_F(module_calls_test, DigestMechanisms) {
    const std::pair<AlgAllocator, CK_MECHANISM_TYPE> kRows[] = {
        {AlgAllocSha1, 0x220}, {AlgAllocMd5, 0x210}, {AlgAllocMd2, 0x200}};
    for (const auto& [allocator, mechanism] : kRows) {
        const Alg alg(allocator);
        EXPECT_EQ(DigestInitOp(alg, chooser), 0);
        const auto calls = newCalls();
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].name, "C_DigestInit");
        EXPECT_EQ(calls[0].mechanism, mechanism);
        EXPECT_FALSE(calls[0].hasParameter);
        EXPECT_EQ(calls[0].parameterLength, 0u);
        length = sizeof out;
        EXPECT_EQ(DigestOp(alg, nullptr, 0, out, &length), 0);
        module.forgetCalls();
    }
    const Alg alg(AlgAllocSha1);
    module.fail("C_DigestInit", CKR_DEVICE_ERROR);
    EXPECT_EQ(DigestInitOp(alg, chooser), 0x30);
}

// One call after the init.

// The operations whose last step gives output: their one-shot, and what makes their algorithm object and key.
using Whole = decltype(&EncryptOp);

struct Operation {
    const char* init;
    const char* name;
    Whole run;
    int (*begin)(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser);
    AlgAllocator alg;
};

int beginDigest(ALG_OBJ* alg, KEY_OBJ* /*key*/, CHOOSER* chooser) {
    return DigestInitOp(alg, chooser);
}

constexpr Operation kOperations[] = {
    {"C_DigestInit", "C_Digest", DigestOp, beginDigest, AlgAllocSha1},
    {"C_EncryptInit", "C_Encrypt", EncryptOp, EncryptInitOp, AlgAllocRsa},
    {"C_DecryptInit", "C_Decrypt", DecryptOp, DecryptInitOp, AlgAllocRsa},
    {"C_SignInit", "C_Sign", SignOp, SignInitOp, AlgAllocRsa},
};

class module_calls_test_one_call : public module_calls_test {
  protected:
    // Runs the check after an init of each of the operations.
    template <class Check>
    void forEach(Check&& check) {
        module.addObject({p11::label("key")});
        const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
        for (const Operation& operation : kOperations) {
            SCOPED_TRACE(operation.name);
            const Alg alg(operation.alg);
            ASSERT_EQ(operation.begin(alg, key, chooser), 0);
            EXPECT_EQ(module.calls().back().name, operation.init);
            module.forgetCalls();
            check(operation, alg);
        }
    }
};

TEST_F(module_calls_test_one_call, CarriesTheWholeInput) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.answer(operation.name, hex("0a 0b 0c"));
        const Bytes large(5000, 0x61);
        length = 250;
        EXPECT_EQ(operation.run(alg, large.data(), lengthOf(large), out, &length), 0);
        const auto calls = newCalls();
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].name, operation.name);
        EXPECT_EQ(calls[0].session, chooser->session);
        EXPECT_EQ(calls[0].input, large);
        EXPECT_TRUE(calls[0].hasOutput);
        EXPECT_EQ(calls[0].room, 250u) << "the real size of the output";
        EXPECT_EQ(length, 3u);
        EXPECT_EQ(Bytes(out, out + 3), hex("0a 0b 0c"));
    });
}

TEST_F(module_calls_test_one_call, EmptyInputGoesToTheModuleToo) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.answer(operation.name, hex("0a"));
        length = sizeof out;
        EXPECT_EQ(operation.run(alg, nullptr, 0, out, &length), 0);
        EXPECT_THAT(module.call(operation.name).input, IsEmpty());
        EXPECT_EQ(length, 1u);
    });
}

TEST_F(module_calls_test_one_call, AbsentOutputAsksForTheSize) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.answer(operation.name, Bytes(200, 1));
        length = 0;
        EXPECT_EQ(operation.run(alg, data.data(), 3, nullptr, &length), 0);
        EXPECT_EQ(length, 200u);
        EXPECT_FALSE(module.calls().back().hasOutput);
        EXPECT_EQ(module.calls().back().input, data);
        length = 200;
        EXPECT_EQ(operation.run(alg, data.data(), 3, out, &length), 0) << "the operation is still open";
    });
}

TEST_F(module_calls_test_one_call, ModulesCodePassesUp) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.fail(operation.name, CKR_DEVICE_REMOVED, 1);
        length = 200;
        EXPECT_EQ(operation.run(alg, data.data(), 3, out, &length), 0x32);
        EXPECT_EQ(length, 200u);
        module.answer(operation.name, Bytes(200, 1));
        length = 199;
        EXPECT_EQ(operation.run(alg, data.data(), 3, out, &length), 0x150);
        EXPECT_EQ(length, 199u) << "untouched by a failure";
        EXPECT_EQ(out[0], 0);
    });
}

TEST_F(module_calls_test_one_call, LengthBeyondTheRoomIsRefused) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.answer(operation.name, Bytes(3, 1));
        module.claim(operation.name, 251);
        length = 250;
        EXPECT_EQ(operation.run(alg, data.data(), 3, out, &length), -3);
        EXPECT_EQ(length, 250u);
    });
}

#if !defined(_WIN32)
// On Windows a module cannot tell such a size.
TEST_F(module_calls_test_one_call, SizeBeyond32BitsIsRefused) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        module.claim(operation.name, ~CK_ULONG{0});
        EXPECT_EQ(operation.run(alg, data.data(), 3, nullptr, &length), -3);
        module.claim(operation.name, 0xffffffff);
        EXPECT_EQ(operation.run(alg, data.data(), 3, nullptr, &length), 0);
        EXPECT_EQ(length, 0xffffffffu);
    });
}
#endif

TEST_F(module_calls_test_one_call, AbsentArguments) {
    forEach([&](const Operation& operation, ALG_OBJ* alg) {
        EXPECT_EQ(operation.run(alg, nullptr, 3, out, &length), -2);
        EXPECT_EQ(operation.run(alg, data.data(), 3, out, nullptr), -2);
        EXPECT_THAT(module.calls(), IsEmpty());
    });
}

TEST_F(module_calls_test, VerifyIsOneCall) {
    module.addObject({p11::label("key")});
    const Alg alg(AlgAllocSha1Rsa);
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    const Bytes signature(128, 0x51);
    ASSERT_EQ(VerifyInitOp(alg, key, chooser), 0);
    module.forgetCalls();
    EXPECT_EQ(VerifyOp(alg, nullptr, 3, signature.data(), 128), -2);
    EXPECT_EQ(VerifyOp(alg, data.data(), 3, nullptr, 128), -2);
    EXPECT_THAT(module.calls(), IsEmpty());
    EXPECT_EQ(VerifyOp(alg, data.data(), 3, signature.data(), 128), 0);
    EXPECT_EQ(module.call("C_Verify").session, chooser->session);
    EXPECT_EQ(module.call("C_Verify").input, data);
    EXPECT_EQ(module.call("C_Verify").signature, signature);
    ASSERT_EQ(VerifyInitOp(alg, key, chooser), 0);
    EXPECT_EQ(VerifyOp(alg, data.data(), 3, signature.data(), 127), 0xC0) << "the module's code, not -13";
}

// Updates and finals.

TEST_F(module_calls_test, DigestInParts) {
    const Alg alg(AlgAllocSha1);
    ASSERT_EQ(DigestInitOp(alg, chooser), 0);
    module.forgetCalls();
    EXPECT_EQ(DigestUpdateOp(alg, data.data(), 2), 0);
    EXPECT_EQ(DigestUpdateOp(alg, data.data() + 2, 1), 0);
    length = 250;
    EXPECT_EQ(DigestFinalOp(alg, out, &length), 0);
    EXPECT_EQ(length, 20u);
    EXPECT_EQ(Bytes(out, out + 20), Bytes(20, 0xD1));
    const auto calls = newCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].name, "C_DigestUpdate");
    EXPECT_EQ(calls[0].input, hex("61 62"));
    EXPECT_EQ(calls[1].input, hex("63"));
    EXPECT_EQ(calls[2].name, "C_DigestFinal");
    EXPECT_EQ(calls[2].room, 250u);
    EXPECT_THAT((std::vector{calls[0].session, calls[1].session, calls[2].session}), Each(chooser->session));
}

TEST_F(module_calls_test, SignatureInParts) {
    const Alg alg(AlgAllocSha1Rsa);
    const Key key(KeyAllocRc4, Bytes(5, 1));
    ASSERT_EQ(SignInitOp(alg, key, chooser), 0);
    module.forgetCalls();
    EXPECT_EQ(SignUpdateOp(alg, data.data(), 3), 0);
    length = 258;
    EXPECT_EQ(SignFinalOp(alg, out, &length), 0);
    EXPECT_EQ(length, 128u);
    EXPECT_EQ(module.call("C_SignUpdate").input, data);
    EXPECT_EQ(module.call("C_SignFinal").room, 258u);
}

TEST_F(module_calls_test, VerificationInParts) {
    const Alg alg(AlgAllocSha1Rsa);
    const Key key(KeyAllocRc4, Bytes(5, 1));
    ASSERT_EQ(VerifyInitOp(alg, key, chooser), 0);
    module.forgetCalls();
    const Bytes signature(128, 0x51);
    EXPECT_EQ(VerifyUpdateOp(alg, data.data(), 3), 0);
    EXPECT_EQ(VerifyFinalOp(alg, signature.data(), 128), 0);
    EXPECT_EQ(module.call("C_VerifyUpdate").input, data);
    EXPECT_EQ(module.call("C_VerifyFinal").signature, signature);
    ASSERT_EQ(VerifyInitOp(alg, key, chooser), 0);
    EXPECT_EQ(VerifyFinalOp(alg, signature.data(), 1), 0xC0);
}

TEST_F(module_calls_test, CiphersInParts) {
    const Key key(KeyAllocDes, Bytes(8, 1));
    const struct {
        decltype(&EncryptInitOp) init;
        decltype(&EncryptUpdateOp) update;
        decltype(&EncryptFinalOp) final;
        const char* updateName;
        const char* finalName;
    } kRows[] = {{EncryptInitOp, EncryptUpdateOp, EncryptFinalOp, "C_EncryptUpdate", "C_EncryptFinal"},
                 {DecryptInitOp, DecryptUpdateOp, DecryptFinalOp, "C_DecryptUpdate", "C_DecryptFinal"}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.updateName);
        const Alg alg(AlgAllocDesCbcPad, &kIvItem);
        ASSERT_EQ(row.init(alg, key, chooser), 0);
        module.forgetCalls();
        length = 200;
        const Bytes large(200, 0x61);
        EXPECT_EQ(row.update(alg, large.data(), 200, out, &length), 0);
        EXPECT_EQ(length, 200u);
        EXPECT_EQ(Bytes(out, out + 200), Bytes(200, 0x61 ^ 0xA5));
        EXPECT_EQ(module.call(row.updateName).input, large);
        EXPECT_EQ(module.call(row.updateName).room, 200u);
        module.answer(row.finalName, Bytes(8, 0xF1));
        length = 16;
        EXPECT_EQ(row.final(alg, out, &length), 0);
        EXPECT_EQ(length, 8u);
        EXPECT_EQ(module.call(row.finalName).room, 16u);
    }
}

TEST_F(module_calls_test, UpdatesOfRsaHaveTheLimitsOfA1024BitKey) {
    module.addObject({p11::label("key")});
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    const Bytes large(129, 0x61);
    const Alg encrypt(AlgAllocRsa);
    ASSERT_EQ(EncryptInitOp(encrypt, key, chooser), 0);
    module.forgetCalls();
    length = sizeof out;
    EXPECT_EQ(EncryptUpdateOp(encrypt, large.data(), 118, out, &length), -3);
    EXPECT_THAT(module.calls(), IsEmpty());
    EXPECT_EQ(EncryptUpdateOp(encrypt, large.data(), 117, out, &length), 0);
    EXPECT_EQ(module.call("C_EncryptUpdate").input.size(), 117u);
    const Alg decrypt(AlgAllocRsa);
    ASSERT_EQ(DecryptInitOp(decrypt, key, chooser), 0);
    module.forgetCalls();
    length = sizeof out;
    EXPECT_EQ(DecryptUpdateOp(decrypt, large.data(), 129, out, &length), -3);
    EXPECT_THAT(module.calls(), IsEmpty());
    EXPECT_EQ(DecryptUpdateOp(decrypt, large.data(), 128, out, &length), 0);
    EXPECT_EQ(module.call("C_DecryptUpdate").input.size(), 128u);
}

TEST_F(module_calls_test, PartsPassTheModulesCodeUp) {
    module.addObject({p11::label("key")});
    const Key key(KeyAllocTokenKey, p11::bytesOf("key"));
    const Alg alg(AlgAllocRsa);
    alg->chooser = chooser;
    length = 64;
    // No init: the standard's code for an operation that was not begun.
    EXPECT_EQ(DigestUpdateOp(alg, data.data(), 3), 0x91);
    EXPECT_EQ(SignUpdateOp(alg, data.data(), 3), 0x91);
    EXPECT_EQ(VerifyUpdateOp(alg, data.data(), 3), 0x91);
    EXPECT_EQ(EncryptUpdateOp(alg, data.data(), 3, out, &length), 0x91);
    EXPECT_EQ(DecryptUpdateOp(alg, data.data(), 3, out, &length), 0x91);
    EXPECT_EQ(DigestFinalOp(alg, out, &length), 0x91);
    EXPECT_EQ(SignFinalOp(alg, out, &length), 0x91);
    EXPECT_EQ(EncryptFinalOp(alg, out, &length), 0x91);
    EXPECT_EQ(DecryptFinalOp(alg, out, &length), 0x91);
    EXPECT_EQ(VerifyFinalOp(alg, out, 64), 0x91);
    EXPECT_EQ(VerifyOp(alg, data.data(), 3, out, 64), 0x91);
    EXPECT_EQ(length, 64u);
}

TEST_F(module_calls_test, PartsWithoutTheirArguments) {
    const Alg alg(AlgAllocRc4);
    alg->chooser = chooser;
    EXPECT_EQ(DigestUpdateOp(alg, nullptr, 3), -2);
    EXPECT_EQ(SignUpdateOp(alg, nullptr, 3), -2);
    EXPECT_EQ(VerifyUpdateOp(alg, nullptr, 3), -2);
    EXPECT_EQ(EncryptUpdateOp(alg, nullptr, 3, out, &length), -2);
    EXPECT_EQ(DecryptUpdateOp(alg, nullptr, 3, out, &length), -2);
    EXPECT_EQ(EncryptUpdateOp(alg, data.data(), 3, out, nullptr), -2);
    EXPECT_EQ(DecryptUpdateOp(alg, data.data(), 3, out, nullptr), -2);
    EXPECT_EQ(DigestFinalOp(alg, out, nullptr), -2);
    EXPECT_EQ(SignFinalOp(alg, out, nullptr), -2);
    EXPECT_EQ(EncryptFinalOp(alg, out, nullptr), -2);
    EXPECT_EQ(DecryptFinalOp(alg, out, nullptr), -2);
    EXPECT_EQ(VerifyFinalOp(alg, nullptr, 3), -2);
    EXPECT_EQ(RandomOp(alg, nullptr, 3), -2);
    EXPECT_EQ(RandomInitOp(alg, nullptr, 3, chooser), -2);
    EXPECT_THAT(module.calls(), IsEmpty());
}

// Random bytes.

TEST_F(module_calls_test, Random) {
    const Alg alg(AlgAllocHashChainRandom);
    EXPECT_EQ(RandomInitOp(alg, data.data(), 3, chooser), 0);
    EXPECT_EQ(module.call("C_SeedRandom").input, data);
    EXPECT_EQ(module.call("C_SeedRandom").session, chooser->session);
    EXPECT_EQ(RandomOp(alg, out, 5), 0);
    EXPECT_EQ(module.call("C_GenerateRandom").room, 5u);
    EXPECT_EQ(module.call("C_GenerateRandom").session, chooser->session);
    EXPECT_EQ(Bytes(out, out + 6), hex("01 02 03 04 05 00"));
    module.fail("C_SeedRandom", CKR_DEVICE_ERROR);
    module.fail("C_GenerateRandom", CKR_DEVICE_REMOVED);
    EXPECT_EQ(RandomInitOp(alg, data.data(), 3, chooser), 0x30);
    EXPECT_EQ(RandomOp(alg, out, 5), 0x32);
}

// From the load to the unload.

// The first code that is not 0. Whatever was built is taken down, as far as the module lets it.
int encryptOnce(const char* module) {
    if (const int code = TokenModuleLoad(module, "Card", "1234"))
        return code;
    CHOOSER* chooser = nullptr;
    CHOOSER_WORK work = {0, nullptr, {0, "a", 1, "b", 1}};
    int first = CreateChooserObject(&chooser, &work);
    if (first == 0) {
        const Key key(KeyAllocRc4, Bytes(5, 1));
        const Alg alg(AlgAllocRc4);
        std::uint8_t out[4] = {};
        std::uint32_t length = sizeof out;
        first = EncryptInitOp(alg, key, chooser);
        if (first == 0)
            first = EncryptOp(alg, out, 3, out, &length);
    }
    while (chooser != nullptr) {
        const int code = DestroyChooserObject(&chooser);
        first = first == 0 ? code : first;
    }
    const int code = TokenModuleUnload();
    return first == 0 ? code : first;
}

// What encryptOnce gives when a call of that name fails with 0x30.
int codeAfter(const std::string& failed) {
    if (failed == "C_GetTokenInfo")
        return -21;
    if (failed == "C_Initialize")
        return 0x190;                               // of the next call, which finds the module not initialised
    return failed == "C_DestroyObject" ? 0 : 0x30;  // nobody is told of a key that stays
}

TEST(module_calls_test_whole_run, EachCallFailsInTurn) {
    const std::vector<std::string> kCalls = {
        "C_GetFunctionList", "C_Initialize", "C_GetSlotList",     "C_GetSlotList",  "C_GetTokenInfo",
        "C_OpenSession",     "C_Login",      "C_GetFunctionList", "C_OpenSession",  "C_CreateObject",
        "C_EncryptInit",     "C_Encrypt",    "C_DestroyObject",   "C_CloseSession", "C_GetFunctionList",
        "C_OpenSession",     "C_Logout",     "C_Finalize"};
    const std::size_t loading = 7;  // calls of the load
    for (std::size_t n = 1; n <= kCalls.size() + 1; ++n) {
        RecordingModule module;
        const support::LoadedLibraries libraries;
        module.addToken("Card");
        module.failCall(static_cast<int>(n), CKR_DEVICE_ERROR);
        const int code = encryptOnce(module.path());
        if (n > kCalls.size()) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(module.names(), kCalls);
            break;
        }
        const std::string& failed = kCalls[n - 1];
        SCOPED_TRACE(failed);
        EXPECT_EQ(module.calls()[n - 1].name, failed);
        EXPECT_EQ(code, codeAfter(failed));
        EXPECT_EQ(module.objects().size(), failed == "C_DestroyObject" ? 1u : 0u);
        EXPECT_EQ(libraries.open().size(), n <= loading ? 1u : 0u);
        EXPECT_EQ(tokenModuleTable.moduleCount, 0);
    }
    UseTokenSide(nullptr);
}

}  // namespace
