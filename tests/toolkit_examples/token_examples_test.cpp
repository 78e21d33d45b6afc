// The examples of the token layer in docs/toolkit.md, in software; tests/interop has them on a token.
#include "tests/toolkit_examples/token_examples.h"

#include <gtest/gtest.h>

#include "crypto/codes.h"
#include "foundation/exceptions.h"
#include "schema/schema.h"
#include "tests/crypto/rsa_keys.h"
#include "tests/support/der.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

MiByte bytes(const Bytes& value) {
    return {reinterpret_cast<const char*>(value.data()), static_cast<unsigned>(value.size())};
}

std::string hexOf(const MiByte& value) {
    return toHex(reinterpret_cast<const std::uint8_t*>(value.GetChars()), value.GetLength());
}

Bytes integer(const char* number) {
    Bytes content = hex(number);
    if (content.front() >= 0x80)
        content.insert(content.begin(), 0);
    return der::tlv(0x02, content);
}

Bytes privateKeyDer(const RsaKeyVector& vector) {
    Bytes members = der::integer(0);
    for (const char* number : vector.items)
        members = der::join({members, integer(number)});
    return der::tlv(0x30, members);
}

VT_P11_Key publicKey(const RsaKeyVector& vector) {
    Bytes modulus = hex(vector.items[RSA_MODULUS]);
    Bytes exponent = hex(vector.items[RSA_PUBLIC_EXPONENT]);
    const VT_PKCS11_RSA_PUBLIC_KEY numbers = {{modulus.data(), static_cast<std::uint32_t>(modulus.size())},
                                              {exponent.data(), static_cast<std::uint32_t>(exponent.size())}};
    VT_P11_Key key;
    key.setKeyType(token::kRsaPublicKey);
    key.setPublicKey(&numbers);
    return key;
}

const MiByte kAbc("abc", 3);
const RsaKeyVector& kKey = rsakeys::ofBits(1024);

TEST(token_examples_test, DigestInfoIsTheOneOfTheStandard) {
    MiByte info;
    EXPECT_EQ(withOperations(false, [&](VT_P11_OP& op) { return digestInfoOf(op, kAbc, info); }), 0);
    EXPECT_EQ(hexOf(info),
              "30 21 30 09 06 05 2B 0E 03 02 1A 05 00 04 14 "
              "A9 99 3E 36 47 06 81 6A BA 3E 25 71 78 50 C2 6C 9C D0 D8 9D");
}

TEST(token_examples_test, WhatIsSignedVerifies) {
    const int code = withOperations(false, [](VT_P11_OP& op) {
        VT_P11_Key key;
        EXPECT_EQ(readPrivateKey(bytes(privateKeyDer(kKey)), key), 0);
        MiByte signature;
        EXPECT_EQ(signData(op, key, kAbc, signature), 0);
        EXPECT_EQ(signature.GetLength(), 128U);
        EXPECT_EQ(verifyData(op, publicKey(kKey), kAbc, signature), 0);
        return verifyData(op, publicKey(kKey), MiByte("abd", 3), signature);
    });
    EXPECT_EQ(code, crypto::kVerificationFailed);
}

TEST(token_examples_test, DamagedKeysThrow) {
    VT_P11_Key key;
    const Bytes der = privateKeyDer(kKey);
    EXPECT_THROW(readPrivateKey(bytes({der.begin(), der.begin() + 100}), key), MiException);
}

TEST(token_examples_test, AKeyInATokenIsOfNoUseInSoftware) {
    const int code = withOperations(false, [](VT_P11_OP& op) {
        VT_P11_Key key;
        EXPECT_EQ(keyInToken("card private", key), 0);
        MiByte signature;
        return signData(op, key, kAbc, signature);
    });
    EXPECT_EQ(code, crypto::kKeyMissing);
}

TEST(token_examples_test, AModuleThatIsNotThere) {
    MiByte signature;
    EXPECT_EQ(signOnCard("vt_no_such_module.so", "card", "1234", "key", kAbc, signature), crypto::kModuleNotLoaded);
}

TEST(token_examples_test, TripleDesIsTheOneOfOpenssl) {
    // printf abc | openssl enc -des-ede3-cbc -K 0123456789abcdef23456789abcdef01456789abcdef0123 -iv 0123456789abcdef
    MiByte encrypted;
    const MiByte key = bytes(hex("01 23 45 67 89 ab cd ef 23 45 67 89 ab cd ef 01 45 67 89 ab cd ef 01 23"));
    const MiByte iv = bytes(hex("01 23 45 67 89 ab cd ef"));
    EXPECT_EQ(withOperations(false, [&](VT_P11_OP& op) { return encryptTripleDes(op, key, iv, kAbc, encrypted); }), 0);
    EXPECT_EQ(hexOf(encrypted), "12 11 EE 7B 67 BB EE 08");
    EXPECT_EQ(
        withOperations(false, [&](VT_P11_OP& op) { return encryptTripleDes(op, key, MiByte(), kAbc, encrypted); }),
        token::kNullArgument);
}

}  // namespace
