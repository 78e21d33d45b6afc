// Operations in a token: which calls of the module each makes, with what, and what it makes of their codes.
#include <gtest/gtest.h>

#include <functional>

#include "tests/p11/recording_module.h"
#include "tests/token/operations.h"
#include "token/repeated_digest.h"

namespace {

using namespace operations;
using p11::Call;
using Names = std::vector<std::string>;

constexpr int kDeviceError = 0x30;
constexpr int kNotInitialised = 0x91;

Bytes masked(Bytes bytes) {
    for (std::uint8_t& byte : bytes)
        byte ^= 0xA5;
    return bytes;
}

Names searchThen(Names rest) {
    Names all = {"C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"};
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

// An operation with a key that the program holds, in every family.
class op_token_test : public testing::Test {
  protected:
    void SetUp() override {
        module.addToken("Token");
        ASSERT_EQ(TokenModuleLoad(module.path(), "Token", "1234"), 0);
        openSession();
    }
    void TearDown() override {
        module.succeed();
        EXPECT_EQ(module.objects().size(), objectsOfToken) << "objects are left in the token, or gone";
        op.destroyChooser();
        EXPECT_EQ(TokenModuleUnload(), 0);
    }

    // A session of its own, as one in which something failed may have been left in the middle of it.
    void openSession() {
        op.destroyChooser();
        VT_P11_SELECTION selection = {0, "", 0, "", 0};
        ASSERT_EQ(op.createChooser(&selection), 0);
        module.forgetCalls();
    }

    CK_OBJECT_HANDLE addKey(const char* label) {
        ++objectsOfToken;
        return module.addObject({p11::label(label)});
    }

    // Runs the operation with each call of a name failing in turn. The codes are those of a device error unless the
    // table says otherwise, and nothing may be left in the token.
    using Operation = std::function<int()>;
    void expectCodes(const Operation& operation, const std::vector<std::pair<std::string, int>>& codes) {
        for (const auto& [name, code] : codes) {
            SCOPED_TRACE(name);
            module.fail(name, CKR_DEVICE_ERROR);
            EXPECT_EQ(operation(), code);
            module.succeed();
            openSession();
        }
        EXPECT_EQ(operation(), 0);
    }

    p11::RecordingModule module;
    VT_P11_OP op;
    std::size_t objectsOfToken = 0;
    const MiByte input = mi("what is worked on");
    MiByte output = untouched();
};

TEST_F(op_token_test, ASessionKeyBecomesASessionObject) {
    const Bytes iv = hex("a0a1a2a3a4a5a6a7");
    const Bytes bytes = hex("0102030405060708");
    EXPECT_EQ(op.Encrypt(algorithm(4, iv), sessionKey(2, bytes), input, output), 0);
    EXPECT_EQ(module.names(), (Names{"C_CreateObject", "C_EncryptInit", "C_Encrypt", "C_DestroyObject"}));
    const std::vector<p11::Attribute> kTemplate = {
        p11::number(CKA_CLASS, 4),    p11::number(CKA_KEY_TYPE, 0x13), p11::flag(CKA_TOKEN, false),
        p11::flag(CKA_ENCRYPT, true), p11::flag(CKA_DECRYPT, true),    p11::attribute(CKA_VALUE, bytes),
    };
    EXPECT_EQ(module.call("C_CreateObject").attributes, kTemplate);
    const Call& init = module.call("C_EncryptInit");
    EXPECT_EQ(init.mechanism, CKM_DES_CBC_PAD);
    EXPECT_EQ(init.parameter, iv);
    EXPECT_EQ(init.object, module.call("C_DestroyObject").object);
    EXPECT_EQ(module.call("C_Encrypt").input, bytesOf(input));
    EXPECT_EQ(module.call("C_Encrypt").room, input.GetLength() + 128);
    EXPECT_EQ(bytesOf(output), masked(bytesOf(input)));
    for (const Call& call : module.calls())
        EXPECT_EQ(call.session, module.calls()[0].session);
}

TEST_F(op_token_test, AKeyOfTheTokenIsFoundByItsLabel) {
    const CK_OBJECT_HANDLE key = addKey("a label");
    addKey("a label");  // the first one counts
    EXPECT_EQ(op.Decrypt(algorithm(8), labelKey("a label", 6), input, output), 0);
    EXPECT_EQ(module.names(), searchThen({"C_DecryptInit", "C_Decrypt"}));
    EXPECT_EQ(module.call("C_FindObjectsInit").attributes, std::vector<p11::Attribute>{p11::label("a label")});
    EXPECT_EQ(module.call("C_FindObjects").room, 1u);
    EXPECT_EQ(module.call("C_DecryptInit").mechanism, CKM_RSA_PKCS);
    EXPECT_FALSE(module.call("C_DecryptInit").hasParameter);
    EXPECT_EQ(module.call("C_DecryptInit").object, key);
    EXPECT_EQ(module.call("C_Decrypt").room, input.GetLength());
    EXPECT_EQ(bytesOf(output), masked(bytesOf(input)));
    module.forgetCalls();
    EXPECT_EQ(op.VerifyRecover(algorithm(8), labelKey("a label", 5), input, output), 0);
    EXPECT_EQ(module.names(), searchThen({"C_DecryptInit", "C_Decrypt"}));
}

TEST_F(op_token_test, MechanismsByAlgorithm) {
    addKey("key");
    const struct {
        int algorithm;
        CK_MECHANISM_TYPE mechanism;
    } kCases[] = {{8, CKM_RSA_PKCS}, {9, CKM_SHA1_RSA_PKCS}, {10, CKM_MD5_RSA_PKCS}, {11, CKM_MD2_RSA_PKCS}};
    for (const auto& each : kCases) {
        module.forgetCalls();
        EXPECT_EQ(op.Sign(algorithm(each.algorithm), labelKey("key", 6), input, output), 0);
        EXPECT_EQ(module.names(), searchThen({"C_SignInit", "C_Sign"}));
        EXPECT_EQ(module.call("C_SignInit").mechanism, each.mechanism);
        EXPECT_EQ(module.call("C_Sign").room, 258u);
        EXPECT_EQ(module.call("C_Sign").input, bytesOf(input));
        EXPECT_EQ(bytesOf(output), Bytes(128, 0x51));
        EXPECT_EQ(op.Verify(algorithm(each.algorithm), labelKey("key", 5), input, output), 0);
        EXPECT_EQ(module.call("C_VerifyInit").mechanism, each.mechanism);
        EXPECT_EQ(module.call("C_Verify").input, bytesOf(input));
        EXPECT_EQ(module.call("C_Verify").signature, Bytes(128, 0x51));
    }
    EXPECT_EQ(op.Verify(algorithm(8), labelKey("key", 5), input, mi("another")), 0xC0);
}

TEST_F(op_token_test, APrivateKeyThatTheProgramHoldsSignsThere) {
    const RsaKeyVector& rsa = keyOfBits(1024);
    EXPECT_EQ(op.Sign(algorithm(8), privateKey(rsa.items), input, output), 0);
    EXPECT_EQ(module.names(), (Names{"C_CreateObject", "C_SignInit", "C_Sign", "C_DestroyObject"}));
    std::vector<p11::Attribute> wanted = {
        p11::number(CKA_CLASS, 3),        p11::number(CKA_KEY_TYPE, 0), p11::flag(CKA_TOKEN, false),
        p11::flag(CKA_SENSITIVE, true),   p11::flag(CKA_PRIVATE, true), p11::flag(CKA_DECRYPT, true),
        p11::flag(CKA_EXTRACTABLE, true), p11::flag(CKA_UNWRAP, true),
    };
    for (CK_ATTRIBUTE_TYPE i = 0; i < 8; ++i) {
        const CK_ATTRIBUTE_TYPE kTypes[] = {CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_PRIVATE_EXPONENT, CKA_PRIME_1,
                                            CKA_PRIME_2, CKA_EXPONENT_1,      CKA_EXPONENT_2,       CKA_COEFFICIENT};
        wanted.push_back(p11::attribute(kTypes[i], hex(rsa.items[i])));
    }
    EXPECT_EQ(module.call("C_CreateObject").attributes, wanted);
}

TEST_F(op_token_test, APublicKeyThatTheProgramHoldsVerifiesThere) {
    const RsaKeyVector& rsa = keyOfBits(1024);
    EXPECT_EQ(op.Verify(algorithm(8), publicKey(rsa.items), input, mi(Bytes(128, 0x51))), 0);
    EXPECT_EQ(module.names(), (Names{"C_CreateObject", "C_VerifyInit", "C_Verify", "C_DestroyObject"}));
    const std::vector<p11::Attribute> kTemplate = {
        p11::flag(CKA_TOKEN, false),
        p11::flag(CKA_ENCRYPT, true),
        p11::number(CKA_CLASS, 2),
        p11::number(CKA_KEY_TYPE, 0),
        p11::flag(CKA_WRAP, true),
        p11::attribute(CKA_MODULUS, hex(rsa.items[0])),
        p11::attribute(CKA_PUBLIC_EXPONENT, hex(rsa.items[1])),
        p11::number(CKA_MODULUS_BITS, 1024),
    };
    EXPECT_EQ(module.call("C_CreateObject").attributes, kTemplate);
}

TEST_F(op_token_test, TheRoomHoldsABlockOfTheKey) {
    addKey("key");
    const struct {
        VT_P11_Key key;
        CK_ULONG room;
    } kCases[] = {
        {publicKey(keyOfBits(1024).items), input.GetLength() + 128},
        {publicKey(keyOfBits(2048).items), 256},
        {publicKey(keyOfBits(8192).items), 1024},
        {labelKey("key", 5), 1024},  // as long as a key can be
    };
    for (const auto& each : kCases) {
        module.forgetCalls();
        EXPECT_EQ(op.Encrypt(algorithm(8), each.key, input, output), 0);
        EXPECT_EQ(module.call("C_Encrypt").room, each.room);
        EXPECT_EQ(op.SignRecover(algorithm(8), each.key, input, output), 0);
        EXPECT_EQ(module.call("C_Sign").room, each.room);
    }
    module.forgetCalls();
    EXPECT_EQ(op.SignRecover(algorithm(9), labelKey("key", 6), input, output), 0);
    EXPECT_EQ(module.names(), searchThen({"C_SignInit", "C_Sign"}));
    EXPECT_EQ(module.call("C_Sign").room, 1024u);
    EXPECT_EQ(op.Encrypt(algorithm(7), labelKey("key", 4), input, output), 0);
    EXPECT_EQ(module.call("C_Encrypt").room, input.GetLength() + 128);
    module.forgetCalls();
    EXPECT_EQ(op.Encrypt(algorithm(8), labelKey("key", 5), mi(Bytes(5000, 1)), output), 0);  // all in one call
    EXPECT_EQ(module.call("C_Encrypt").input, Bytes(5000, 1));
    EXPECT_EQ(module.call("C_Encrypt").room, 5128u);
    EXPECT_EQ(output.GetLength(), 5000u);
}

TEST_F(op_token_test, ALongSignatureDoesNotFitIntoSign) {
    addKey("key");
    module.answer("C_Sign", Bytes(258, 0x52));
    EXPECT_EQ(op.Sign(algorithm(8), labelKey("key", 6), input, output), 0);
    EXPECT_EQ(output.GetLength(), 258u);
    module.answer("C_Sign", Bytes(259, 0x53));
    output = untouched();
    EXPECT_EQ(op.Sign(algorithm(8), labelKey("key", 6), input, output), 0x150);
    EXPECT_EQ(output, untouched());
    EXPECT_EQ(module.count("C_Sign"), 3u);  // the module is let finish, or the session would take no other operation
    EXPECT_EQ(op.SignRecover(algorithm(8), labelKey("key", 6), input, output), 0);
    EXPECT_EQ(bytesOf(output), Bytes(259, 0x53));
}

TEST_F(op_token_test, BigOperationsAskForTheSizeFirst) {
    addKey("key");
    EXPECT_EQ(op.RSABigEncrypt(labelKey("key", 5), input, output), 0);
    EXPECT_EQ(module.names(), searchThen({"C_EncryptInit", "C_Encrypt", "C_Encrypt"}));
    EXPECT_EQ(module.call("C_EncryptInit").mechanism, CKM_RSA_PKCS);
    EXPECT_FALSE(module.calls()[4].hasOutput);
    EXPECT_TRUE(module.calls()[5].hasOutput);
    EXPECT_EQ(module.calls()[5].room, input.GetLength());
    EXPECT_EQ(bytesOf(output), masked(bytesOf(input)));
    module.forgetCalls();
    EXPECT_EQ(op.RSABigDecrypt(privateKey(keyOfBits(1024).items), input, output), 0);
    EXPECT_EQ(module.names(), (Names{"C_CreateObject", "C_DecryptInit", "C_Decrypt", "C_Decrypt", "C_DestroyObject"}));
}

TEST_F(op_token_test, DigestNeedsNoKey) {
    const struct {
        int algorithm;
        CK_MECHANISM_TYPE mechanism;
    } kCases[] = {{1, CKM_SHA_1}, {2, CKM_MD5}, {3, CKM_MD2}};
    for (const auto& each : kCases) {
        module.forgetCalls();
        EXPECT_EQ(op.Digest(algorithm(each.algorithm), input, output), 0);
        EXPECT_EQ(module.names(), (Names{"C_DigestInit", "C_Digest"}));
        EXPECT_EQ(module.call("C_DigestInit").mechanism, each.mechanism);
        EXPECT_EQ(module.call("C_Digest").room, 256u);
        EXPECT_EQ(module.call("C_Digest").input, bytesOf(input));
        EXPECT_EQ(bytesOf(output), Bytes(20, 0xD1));
    }
}

TEST_F(op_token_test, ARepeatedDigestIsCallByCall) {
    EXPECT_EQ(token::RepeatedDigest::sha1(op, input, 3, output), 0);
    EXPECT_EQ(module.names(),
              (Names{"C_DigestInit", "C_Digest", "C_DigestInit", "C_Digest", "C_DigestInit", "C_Digest"}));
    EXPECT_EQ(module.calls()[1].input, bytesOf(input));
    EXPECT_EQ(module.calls()[3].input, Bytes(20, 0xD1));
    EXPECT_EQ(module.calls()[5].input, Bytes(20, 0xD1));
    EXPECT_EQ(bytesOf(output), Bytes(20, 0xD1));
    openSession();
    output = untouched();
    module.fail("C_Digest", CKR_DEVICE_ERROR, 1);
    EXPECT_EQ(token::RepeatedDigest::sha1(op, input, 3, output), kDeviceError);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_token_test, RandomBytesAreTheTokens) {
    EXPECT_EQ(op.GenerateRandom(output, 5, mi("seed")), 0);
    EXPECT_EQ(module.names(), (Names{"C_SeedRandom", "C_GenerateRandom"}));
    EXPECT_EQ(module.call("C_SeedRandom").input, p11::bytesOf("seed"));
    EXPECT_EQ(module.call("C_GenerateRandom").room, 5u);
    EXPECT_EQ(bytesOf(output), hex("0102030405"));
}

TEST_F(op_token_test, CodesOfCallsWithAKeyThatTheProgramHolds) {
    const VT_P11_Alg des = algorithm(4, Bytes(8, 1));
    const VT_P11_Key desKey = sessionKey(2, Bytes(8, 2));
    const VT_P11_Key rsaKey = publicKey(keyOfBits(512).items);
    const VT_P11_Alg rsa = algorithm(8);
    const MiByte signature = mi(Bytes(128, 0x51));
    expectCodes([&] { return op.Encrypt(des, desKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_EncryptInit", kDeviceError}, {"C_Encrypt", kDeviceError}});
    expectCodes([&] { return op.Decrypt(des, desKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_DecryptInit", kDeviceError}, {"C_Decrypt", kDeviceError}});
    expectCodes([&] { return op.VerifyRecover(des, desKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_DecryptInit", kDeviceError}, {"C_Decrypt", kDeviceError}});
    expectCodes([&] { return op.Sign(rsa, rsaKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_SignInit", kDeviceError}, {"C_Sign", kDeviceError}});
    expectCodes([&] { return op.SignRecover(rsa, rsaKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_SignInit", kDeviceError}, {"C_Sign", kDeviceError}});
    expectCodes([&] { return op.Verify(rsa, rsaKey, input, signature); },
                {{"C_CreateObject", kDeviceError}, {"C_VerifyInit", kDeviceError}, {"C_Verify", kDeviceError}});
    expectCodes([&] { return op.RSABigEncrypt(rsaKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_EncryptInit", kDeviceError}, {"C_Encrypt", kDeviceError}});
    expectCodes([&] { return op.RSABigDecrypt(rsaKey, input, output); },
                {{"C_CreateObject", kDeviceError}, {"C_DecryptInit", kDeviceError}, {"C_Decrypt", kDeviceError}});
    expectCodes([&] { return op.Digest(algorithm(1), input, output); },
                {{"C_DigestInit", kDeviceError}, {"C_Digest", kDeviceError}});
    expectCodes([&] { return op.GenerateRandom(output, 4, input); },
                {{"C_SeedRandom", kDeviceError}, {"C_GenerateRandom", kDeviceError}});
}

TEST_F(op_token_test, TheSecondPassOfABigOperationFails) {
    output = untouched();
    module.fail("C_Encrypt", CKR_DEVICE_ERROR, 2);
    EXPECT_EQ(op.RSABigEncrypt(publicKey(keyOfBits(512).items), input, output), kDeviceError);
    openSession();
    module.fail("C_Decrypt", CKR_DEVICE_ERROR, 2);
    EXPECT_EQ(op.RSABigDecrypt(publicKey(keyOfBits(512).items), input, output), kDeviceError);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_token_test, ASizeThatCannotBeHadLeavesTheSessionFree) {
    const VT_P11_Key key = publicKey(keyOfBits(512).items);
    for (const CK_ULONG size : {CK_ULONG{0xffffffff}, ~CK_ULONG{0}}) {
        output = untouched();
        module.claim("C_Encrypt", size);
        module.claim("C_Decrypt", size);
        EXPECT_EQ(op.RSABigEncrypt(key, input, output), -3);
        EXPECT_EQ(op.RSABigDecrypt(key, input, output), -3);
        EXPECT_EQ(output, untouched());
        module.claim("C_Encrypt", 0);
        module.claim("C_Decrypt", 0);
        EXPECT_EQ(op.RSABigEncrypt(key, input, output), 0);
        EXPECT_EQ(op.RSABigDecrypt(key, input, output), 0);
    }
}

TEST_F(op_token_test, AKeyThatCannotBeDestroyedIsNoFailure) {
    module.fail("C_DestroyObject", CKR_DEVICE_ERROR);
    EXPECT_EQ(op.Sign(algorithm(8), publicKey(keyOfBits(512).items), input, output), 0);
    ++objectsOfToken;  // it stays until the session ends
}

TEST_F(op_token_test, CodesOfCallsWithAKeyOfTheToken) {
    addKey("key");
    const VT_P11_Alg rsa = algorithm(8);
    const VT_P11_Key key = labelKey("key", 6);
    // A search that did not begin is not to be ended either, as the module says.
    const std::pair<std::string, int> noSearch = {"C_FindObjectsInit", -19 + kNotInitialised};
    const std::pair<std::string, int> noObject = {"C_FindObjects", -19};
    const std::pair<std::string, int> noEnd = {"C_FindObjectsFinal", kDeviceError};
    expectCodes([&] { return op.Encrypt(rsa, key, input, output); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.Decrypt(rsa, key, input, output); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.Sign(rsa, key, input, output); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.SignRecover(rsa, key, input, output); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.Verify(rsa, key, input, mi(Bytes(128, 0x51))); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.RSABigEncrypt(key, input, output); }, {noSearch, noObject, noEnd});
    expectCodes([&] { return op.RSABigDecrypt(key, input, output); }, {noSearch, noObject, noEnd});
    module.fail("C_FindObjects", CKR_DEVICE_ERROR);
    module.fail("C_FindObjectsFinal", CKR_FUNCTION_FAILED);
    EXPECT_EQ(op.Sign(rsa, key, input, output), -19 + 6);
}

TEST_F(op_token_test, ALabelThatIsNotThere) {
    output = untouched();
    EXPECT_EQ(op.Sign(algorithm(8), labelKey("nowhere", 6), input, output), -19);
    EXPECT_EQ(module.names(), searchThen({}));
    EXPECT_EQ(op.Verify(algorithm(8), labelKey("nowhere", 5), input, input), -19);
    EXPECT_EQ(op.Encrypt(algorithm(8), labelKey("nowhere", 5), input, output), -19);
    EXPECT_EQ(output, untouched());
}

TEST_F(op_token_test, WhatCannotBeBuiltMakesNoCall) {
    output = untouched();
    EXPECT_EQ(op.Encrypt(algorithm(4), sessionKey(2, Bytes(8, 1)), input, output), -2);
    EXPECT_EQ(op.Encrypt(VT_P11_Alg(), sessionKey(2, Bytes(8, 1)), input, output), -1006);
    EXPECT_EQ(op.Sign(algorithm(8), VT_P11_Key(), input, output), -1006);
    EXPECT_EQ(op.RSABigEncrypt(VT_P11_Key(), input, output), -1006);
    EXPECT_EQ(op.Digest(algorithm(8), input, output), -1006);
    EXPECT_EQ(op.GenerateRandom(output, -1, input), -3);
    EXPECT_EQ(output, untouched());
    EXPECT_TRUE(module.calls().empty());
}

}  // namespace
