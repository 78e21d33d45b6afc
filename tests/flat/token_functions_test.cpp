// Key objects, and what a token holds: keys, key pairs and certificates.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>

#include "tests/flat/envelopes.h"
#include "tests/flat/token_context.h"
#include "tests/vectors/pki_certificates.h"

namespace {

using namespace envelopes;
using tokens::KeyObject;
using tokens::TokenTest;

constexpr int kDeviceError = 0x30;
constexpr int kObjectNotFound = -19;

// Callers in other languages declare the record themselves.
static_assert(offsetof(VTPKCS_KeyObj, kind) == 0);
static_assert(offsetof(VTPKCS_KeyObj, sessionKey) == sizeof(void*));
static_assert(offsetof(VTPKCS_KeyObj, privateKey) == sizeof(void*) + sizeof(PKCS_Key));
static_assert(offsetof(VTPKCS_KeyObj, publicKey) == offsetof(VTPKCS_KeyObj, privateKey) + sizeof(PKCS_PriKey));
static_assert(offsetof(VTPKCS_KeyObj, tokenKeyLabel) == offsetof(VTPKCS_KeyObj, publicKey) + sizeof(PKCS_PubKey));
static_assert(sizeof(VTPKCS_KeyObj) == offsetof(VTPKCS_KeyObj, tokenKeyLabel) + sizeof(char*));

constexpr PKCS_Blob PKCS_PriKey::*kNumbers[] = {
    &PKCS_PriKey::modulus, &PKCS_PriKey::publicExponent, &PKCS_PriKey::privateExponent, &PKCS_PriKey::prime1,
    &PKCS_PriKey::prime2,  &PKCS_PriKey::exponent1,      &PKCS_PriKey::exponent2,       &PKCS_PriKey::coefficient};

Bytes bytesOf(const PKCS_Blob& blob) {
    return {blob.data, blob.data + blob.length};
}

PKCS_PubKey publicOf(const PKCS_PriKey& key) {
    return {key.modulus, key.publicExponent};
}

// ---- Key objects

TEST(token_functions_test, ANewObjectIsEmpty) {
    VTPKCS_KeyObj* object = nullptr;
    ASSERT_EQ(VTPKCS_InitKeyObj(&object), 0);
    const Bytes zeros(sizeof *object, 0);
    EXPECT_EQ(std::memcmp(object, zeros.data(), zeros.size()), 0);
    EXPECT_EQ(VTPKCS_DestroyKeyObj(&object), 0);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(VTPKCS_DestroyKeyObj(&object), 0) << "nothing";
}

TEST(token_functions_test, ObjectsNeedTheirArguments) {
    KeyObject object;
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    std::uint8_t byte = 1;
    const PKCS_Key session = {&byte, 1, 1};
    EXPECT_EQ(VTPKCS_InitKeyObj(nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_DestroyKeyObj(nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_SetPubKeyObj(nullptr, &publicKey), kNullArgument);
    EXPECT_EQ(VTPKCS_SetPubKeyObj(object, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_SetPriKeyObj(nullptr, key), kNullArgument);
    EXPECT_EQ(VTPKCS_SetPriKeyObj(object, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_SetSessionKeyObj(nullptr, &session), kNullArgument);
    EXPECT_EQ(VTPKCS_SetSessionKeyObj(object, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_SetTokenKeyObj(nullptr, "key"), kNullArgument);
    EXPECT_EQ(VTPKCS_SetTokenKeyObj(object, nullptr), kNullArgument);
    EXPECT_EQ(object->kind, VTPKCS_UNSET);
}

TEST(token_functions_test, KeysAreCopied) {
    KeyObject object;
    PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    ASSERT_EQ(VTPKCS_SetPubKeyObj(object, &publicKey), 0);
    EXPECT_EQ(object->kind, 2);
    ASSERT_EQ(VTPKCS_SetPriKeyObj(object, key), 0);
    EXPECT_EQ(object->kind, 3);
    Bytes secret = hex("01 02 03 04 05");
    const PKCS_Key session = {secret.data(), 5, 16};
    ASSERT_EQ(VTPKCS_SetSessionKeyObj(object, &session), 0);
    EXPECT_EQ(object->kind, 1);
    std::string label = "Alice's key";
    ASSERT_EQ(VTPKCS_SetTokenKeyObj(object, label.c_str()), 0);
    EXPECT_EQ(object->kind, 4);

    // What was given may go.
    for (Bytes& number : key.numbers)
        std::fill(number.begin(), number.end(), std::uint8_t{0xEE});
    std::fill(secret.begin(), secret.end(), std::uint8_t{0xEE});
    label.assign("another one");
    EXPECT_EQ(toHex(bytesOf(object->publicKey.modulus)), hexOf(vectors::kRecipientKey[0]));
    EXPECT_EQ(toHex(bytesOf(object->publicKey.publicExponent)), hexOf(vectors::kRecipientKey[1]));
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(toHex(bytesOf(object->privateKey.*kNumbers[i])), hexOf(vectors::kRecipientKey[i])) << i;
    EXPECT_EQ(toHex(Bytes(object->sessionKey.data, object->sessionKey.data + 5)), "01 02 03 04 05");
    EXPECT_EQ(object->sessionKey.length, 5u);
    EXPECT_EQ(object->sessionKey.keyLength, 16u);
    EXPECT_STREQ(object->tokenKeyLabel, "Alice's key");
}

TEST(token_functions_test, KeysAreReplaced) {
    KeyObject object;
    for (const auto* items : {&vectors::kRecipientKey, &vectors::kSignerKey}) {
        const PrivateKey key(*items);
        const PKCS_PubKey publicKey = publicOf(key.record);
        ASSERT_EQ(VTPKCS_SetPubKeyObj(object, &publicKey), 0);
        ASSERT_EQ(VTPKCS_SetPriKeyObj(object, key), 0);
        EXPECT_EQ(toHex(bytesOf(object->publicKey.modulus)), hexOf((*items)[0]));
        EXPECT_EQ(toHex(bytesOf(object->privateKey.coefficient)), hexOf((*items)[7]));
    }
    for (std::uint8_t value : Bytes{1, 2}) {
        const PKCS_Key session = {&value, 1, value};
        ASSERT_EQ(VTPKCS_SetSessionKeyObj(object, &session), 0);
        EXPECT_EQ(object->sessionKey.data[0], value);
    }
    for (const char* label : {"one", "the other", ""}) {
        ASSERT_EQ(VTPKCS_SetTokenKeyObj(object, label), 0);
        EXPECT_STREQ(object->tokenKeyLabel, label);
    }
}

TEST(token_functions_test, AnObjectTakesItsOwnKeys) {
    KeyObject object;
    const PrivateKey key(vectors::kRecipientKey);
    ASSERT_EQ(VTPKCS_SetPriKeyObj(object, key), 0);
    ASSERT_EQ(VTPKCS_SetPriKeyObj(object, &object->privateKey), 0);
    EXPECT_EQ(toHex(bytesOf(object->privateKey.modulus)), hexOf(vectors::kRecipientKey[0]));
    ASSERT_EQ(VTPKCS_SetTokenKeyObj(object, "label"), 0);
    ASSERT_EQ(VTPKCS_SetTokenKeyObj(object, object->tokenKeyLabel), 0);
    EXPECT_STREQ(object->tokenKeyLabel, "label");
}

TEST(token_functions_test, AMissingNumberClearsTheKey) {
    std::uint8_t byte = 1;
    const PKCS_Blob absent[] = {{nullptr, 0}, {nullptr, 4}, {&byte, 0}};
    for (const PKCS_Blob& missing : absent) {
        KeyObject object;
        const PrivateKey good(vectors::kRecipientKey);
        const PKCS_PubKey goodPublic = publicOf(good.record);
        for (const auto number : kNumbers) {
            ASSERT_EQ(VTPKCS_SetPriKeyObj(object, good), 0);
            ASSERT_EQ(VTPKCS_SetTokenKeyObj(object, "label"), 0);
            PrivateKey key(vectors::kRecipientKey);
            key.record.*number = missing;
            EXPECT_EQ(VTPKCS_SetPriKeyObj(object, key), kNullArgument);
            for (const auto held : kNumbers)
                EXPECT_EQ((object->privateKey.*held).data, nullptr);
            EXPECT_EQ(object->kind, 4) << "as it was";
        }
        for (const PKCS_PubKey& key :
             {PKCS_PubKey{missing, goodPublic.publicExponent}, PKCS_PubKey{goodPublic.modulus, missing}}) {
            ASSERT_EQ(VTPKCS_SetPubKeyObj(object, &goodPublic), 0);
            EXPECT_EQ(VTPKCS_SetPubKeyObj(object, &key), kNullArgument);
            EXPECT_EQ(object->publicKey.modulus.data, nullptr);
            EXPECT_EQ(object->publicKey.publicExponent.data, nullptr);
        }
        const PKCS_Key whole = {&byte, 1, 1};
        const PKCS_Key none = {missing.data, missing.length, 1};
        ASSERT_EQ(VTPKCS_SetSessionKeyObj(object, &whole), 0);
        EXPECT_EQ(VTPKCS_SetSessionKeyObj(object, &none), kNullArgument);
        EXPECT_EQ(object->sessionKey.data, nullptr);
    }
}

TEST(token_functions_test, ObjectsSurviveExhaustedMemory) {
    VTPKCS_KeyObj* object = nullptr;
    EXPECT_EQ(whenAllocationFails(1, [&] { return VTPKCS_InitKeyObj(&object); }), VT_E_MEMORY);
    EXPECT_EQ(object, nullptr);
    KeyObject held;
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    std::uint8_t byte = 1;
    const PKCS_Key session = {&byte, 1, 1};
    for (long n = 1; n <= 8; ++n)
        EXPECT_EQ(whenAllocationFails(n, [&] { return VTPKCS_SetPriKeyObj(held, key); }), VT_E_MEMORY);
    for (long n = 1; n <= 2; ++n)
        EXPECT_EQ(whenAllocationFails(n, [&] { return VTPKCS_SetPubKeyObj(held, &publicKey); }), VT_E_MEMORY);
    EXPECT_EQ(whenAllocationFails(1, [&] { return VTPKCS_SetSessionKeyObj(held, &session); }), VT_E_MEMORY);
    EXPECT_EQ(whenAllocationFails(1, [&] { return VTPKCS_SetTokenKeyObj(held, "label"); }), VT_E_MEMORY);
    EXPECT_EQ(held->kind, VTPKCS_UNSET);
    EXPECT_EQ(held->privateKey.modulus.data, nullptr);
    EXPECT_EQ(held->tokenKeyLabel, nullptr);
}

// ---- Base64

TEST(token_functions_test, Base64HasLinesOf64Characters) {
    const Bytes input(100, 0);
    const char* const in = reinterpret_cast<const char*>(input.data());
    int32_t length = 0;
    ASSERT_EQ(VTPKCS_Base64Encode(in, 100, nullptr, &length), 0);
    EXPECT_EQ(length, 136 + 2 + 1);
    std::string text(static_cast<std::size_t>(length), '?');
    ASSERT_EQ(VTPKCS_Base64Encode(in, 100, text.data(), &length), 0);
    EXPECT_EQ(text, std::string(64, 'A') + "\n" + std::string(64, 'A') + "\n" + "AAAAAA==\n");

    const std::string lines = text;
    int32_t room = 0;
    ASSERT_EQ(VTPKCS_Base64Decode(lines.data(), length, nullptr, &room), 0);
    EXPECT_EQ(room, length);
    Bytes back(static_cast<std::size_t>(room));
    ASSERT_EQ(VTPKCS_Base64Decode(lines.data(), length, reinterpret_cast<char*>(back.data()), &room), 0);
    EXPECT_EQ(room, 100);
    back.resize(100);
    EXPECT_EQ(back, input);
}

TEST(token_functions_test, Base64HasItsCodes) {
    char out[8];
    int32_t length = 0;
    EXPECT_EQ(VTPKCS_Base64Encode("abc", 3, out, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_Base64Encode("abc", -1, out, &length), kNullArgument);
    EXPECT_EQ(VTPKCS_Base64Encode(nullptr, 3, out, &length), kNullArgument);
    EXPECT_EQ(VTPKCS_Base64Decode("YWJj", 4, out, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_Base64Decode("YWJj", -1, out, &length), kNullArgument);
    EXPECT_EQ(VTPKCS_Base64Decode(nullptr, 4, out, &length), kNullArgument);
    ASSERT_EQ(VTPKCS_Base64Decode("YWJj", 4, out, &length), 0);
    EXPECT_EQ(std::string(out, 3), "abc");
}

// ---- Key pairs in software

TEST(token_functions_test, APairMadeInSoftwareGoesIntoTheObject) {
    MessageContext ctx;
    const Input publicLabel(Bytes{'p'});
    const Input privateLabel(Bytes{'q'});
    KeyObject object;
    tokens::PublicKey publicKey;
    ASSERT_EQ(VTPKCS_GenRSAKeyPair(ctx, publicKey, publicLabel, object, privateLabel, 512, 0), 0);
    EXPECT_EQ(object->kind, VTPKCS_PRIVATE_KEY);
    EXPECT_EQ(object->tokenKeyLabel, nullptr);
    EXPECT_EQ(publicKey->modulus.length, 64u);
    EXPECT_EQ(bytesOf(publicKey->modulus), bytesOf(object->privateKey.modulus));
    EXPECT_EQ(bytesOf(publicKey->publicExponent), bytesOf(object->privateKey.publicExponent));
    const Input text("01 02 03");
    Output sealed;
    Output opened;
    ASSERT_EQ(VT_RSABigEncrypt(ctx, publicKey, text, sealed), 0);
    ASSERT_EQ(VT_RSABigDecrypt(ctx, &object->privateKey, &sealed.blob, opened), 0);
    EXPECT_EQ(opened.text(), "01 02 03");
}

TEST(token_functions_test, PairsOfOtherSizesHave1024Bits) {
    MessageContext ctx;
    const Input label(Bytes{'p'});
    for (const int32_t bits : {1536, 0, -1, 1024}) {
        KeyObject object;
        tokens::PublicKey publicKey;
        ASSERT_EQ(VTPKCS_GenRSAKeyPair(ctx, publicKey, label, object, label, bits, 0), 0);
        EXPECT_EQ(publicKey->modulus.length, 128u) << bits;
    }
}

TEST(token_functions_test, SoftwareHoldsNothing) {
    MessageContext ctx;
    const Input label(Bytes{'p'});
    KeyObject object;
    tokens::PublicKey publicKey;
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, publicKey, label, object, label, 512, 1), kNoChooser);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, publicKey, label), kNoChooser);
    std::uint8_t byte = 1;
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, &byte, 1, &byte, 1), kNoChooser);
    std::uint32_t length = 7;
    EXPECT_EQ(VTPKCS_GetCertFromToken(ctx, &byte, 1, nullptr, &length), 0);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(VTPKCS_CheckCertAndRSAPrivateKeyInToken(ctx, &byte, 1, &byte, 1), 0);
    EXPECT_EQ(object->kind, VTPKCS_UNSET);
    EXPECT_EQ(publicKey->modulus.data, nullptr);
}

TEST(token_functions_test, FunctionsNeedTheirArguments) {
    MessageContext ctx;
    const Input label(Bytes{'p'});
    const Input empty{Bytes()};
    KeyObject object;
    tokens::PublicKey key;
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(nullptr, key, label, object, label, 512, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, nullptr, label, object, label, 512, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, nullptr, object, label, 512, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, label, nullptr, label, 512, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, label, object, nullptr, 512, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_GenRSAKeyPair(emptyContext(), key, label, object, label, 512, 0), kNoOperation);
    for (const PKCS_Blob* none : {static_cast<const PKCS_Blob*>(empty), &kNullData}) {
        EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, none, object, label, 512, 0), kNullArgument);
        EXPECT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, label, object, none, 512, 0), kNullArgument);
        EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, key, none), kNullArgument);
    }
    const PKCS_Blob nullOfFour = {nullptr, 4};
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, key, &nullOfFour), kNullArgument);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(nullptr, key, label), kNullArgument);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, nullptr, label), kNullArgument);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, key, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(emptyContext(), key, label), kNoOperation);

    std::uint8_t byte = 1;
    std::uint32_t length = 1;
    EXPECT_EQ(VTPKCS_SetCertIntoToken(nullptr, &byte, 1, &byte, 1), kNullArgument);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, nullptr, 1, &byte, 1), kNullArgument);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, &byte, 0, &byte, 1), kNullArgument);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, &byte, 1, nullptr, 1), kNullArgument);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, &byte, 1, &byte, 0), kNullArgument);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(emptyContext(), &byte, 1, &byte, 1), kNoOperation);
    EXPECT_EQ(VTPKCS_GetCertFromToken(nullptr, &byte, 1, &byte, &length), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertFromToken(ctx, nullptr, 1, &byte, &length), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertFromToken(ctx, &byte, 1, &byte, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertFromToken(emptyContext(), &byte, 1, &byte, &length), kNoOperation);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(VTPKCS_CheckCertAndRSAPrivateKeyInToken(nullptr, &byte, 1, &byte, 1), 0);
    EXPECT_EQ(VTPKCS_CheckCertAndRSAPrivateKeyInToken(emptyContext(), &byte, 1, &byte, 1), 0);
    EXPECT_EQ(VTPKCS_CheckCertAndRSAPrivateKeyInToken(ctx, nullptr, 1, nullptr, 1), 0);
}

TEST(token_functions_test, PairsSurviveExhaustedMemory) {
    MessageContext ctx;
    const Input label(Bytes{'p'});
    bool clean = true;
    // Each run makes a pair, which takes its time; the later allocations are those of the outputs.
    for (long n = 1; n < 400; n = n < 40 ? n + 1 : n + 17) {
        PKCS_PubKey key = {};
        KeyObject object;
        const int32_t code =
            whenAllocationFails(n, [&] { return VTPKCS_GenRSAKeyPair(ctx, &key, label, object, label, 512, 0); });
        clean = clean && isCode(code) && (code == 0) == (key.modulus.data != nullptr) &&
                (code == 0) == (object->kind == VTPKCS_PRIVATE_KEY);
        PKCS_FreePubKey(&key);
    }
    EXPECT_TRUE(clean);
}

// ---- On a token

class token_functions_test_on_token : public TokenTest {
  protected:
    void addKey(const char* label, const KeyItems& items) {
        module.addObject({p11::label(label), p11::attribute(CKA_MODULUS, hex(items[0])),
                          p11::attribute(CKA_PUBLIC_EXPONENT, hex(items[1]))});
    }

    void addCertificate(const char* label, const Bytes& der) {
        module.addObject({p11::number(CKA_CLASS, 1), p11::number(CKA_CERTIFICATE_TYPE, 0), p11::flag(CKA_TOKEN, true),
                          p11::label(label), p11::attribute(CKA_VALUE, der)});
    }

    int32_t belong(const std::string& certificate, const std::string& key) {
        return VTPKCS_CheckCertAndRSAPrivateKeyInToken(ctx, reinterpret_cast<const std::uint8_t*>(certificate.data()),
                                                       static_cast<std::uint32_t>(certificate.size()),
                                                       reinterpret_cast<const std::uint8_t*>(key.data()),
                                                       static_cast<std::uint32_t>(key.size()));
    }
};

TEST_F(token_functions_test_on_token, PublicKeyIsReadByItsLabel) {
    addKey("other", vectors::kSignerKey);
    addKey("mine", vectors::kRecipientKey);
    tokens::PublicKey key;
    ASSERT_EQ(VTPKCS_GetPubKeyFromToken(ctx, key, Input(p11::bytesOf("mine"))), 0);
    EXPECT_EQ(toHex(bytesOf(key->modulus)), hexOf(vectors::kRecipientKey[0]));
    EXPECT_EQ(toHex(bytesOf(key->publicExponent)), hexOf(vectors::kRecipientKey[1]));
    tokens::PublicKey none;
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, none, Input(p11::bytesOf("no"))), kObjectNotFound);
    EXPECT_EQ(none->modulus.data, nullptr);
    module.addObject({p11::label("empty"), p11::attribute(CKA_MODULUS, {}), p11::attribute(CKA_PUBLIC_EXPONENT, {1})});
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, none, Input(p11::bytesOf("empty"))), kMaterialMissing);
    module.fail("C_GetAttributeValue", CKR_DEVICE_ERROR);
    EXPECT_EQ(VTPKCS_GetPubKeyFromToken(ctx, none, Input(p11::bytesOf("mine"))), kDeviceError);
    EXPECT_EQ(none->modulus.data, nullptr);
}

TEST_F(token_functions_test_on_token, APairInTheTokenNamesItsLabel) {
    for (const int32_t store : {1, 2, -1}) {
        module.objects().clear();
        module.forgetCalls();
        KeyObject object;
        tokens::PublicKey key;
        ASSERT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, Input(p11::bytesOf("public")), object, Input(p11::bytesOf("private")),
                                       2048, store),
                  0);
        EXPECT_EQ(object->kind, VTPKCS_TOKEN_KEY);
        EXPECT_STREQ(object->tokenKeyLabel, "private");
        EXPECT_EQ(object->privateKey.modulus.data, nullptr);
        EXPECT_EQ(bytesOf(key->modulus), Bytes(256, 0xC3)) << "what the module makes";
        EXPECT_EQ(toHex(bytesOf(key->publicExponent)), "01 00 01");
        const p11::Call& call = module.call("C_GenerateKeyPair");
        EXPECT_THAT(call.attributes, testing::Contains(p11::label("public")));
        EXPECT_THAT(call.attributes, testing::Contains(p11::number(CKA_MODULUS_BITS, 2048)));
        EXPECT_THAT(call.privateAttributes, testing::Contains(p11::label("private")));
    }
}

TEST_F(token_functions_test_on_token, OtherSizesAreMadeWith1024Bits) {
    KeyObject object;
    tokens::PublicKey key;
    ASSERT_EQ(VTPKCS_GenRSAKeyPair(ctx, key, Input(p11::bytesOf("a")), object, Input(p11::bytesOf("b")), 768, 1), 0);
    EXPECT_THAT(module.call("C_GenerateKeyPair").attributes, testing::Contains(p11::number(CKA_MODULUS_BITS, 1024)));
}

TEST_F(token_functions_test_on_token, PairsHaveTheirCodes) {
    addKey("public", vectors::kSignerKey);
    KeyObject object;
    tokens::PublicKey key;
    const auto generate = [&](const char* publicLabel, const char* privateLabel, int32_t store) {
        return VTPKCS_GenRSAKeyPair(ctx, key, Input(p11::bytesOf(publicLabel)), object,
                                    Input(p11::bytesOf(privateLabel)), 1024, store);
    };
    EXPECT_EQ(generate("public", "private", 1), -1029);
    EXPECT_EQ(generate("other", "public", 1), -1030);
    EXPECT_EQ(generate("other", "private", 0), kNoChooser);
    module.fail("C_GenerateKeyPair", CKR_DEVICE_ERROR);
    EXPECT_EQ(generate("other", "private", 1), kDeviceError);
    EXPECT_EQ(object->kind, VTPKCS_UNSET);
    EXPECT_EQ(key->modulus.data, nullptr);
}

TEST_F(token_functions_test_on_token, CertificatesGoInAndComeOut) {
    const Bytes label = p11::bytesOf("certificate");
    const Bytes der = hex(vectors::kRecipientCertificate);
    const auto labelLength = static_cast<std::uint32_t>(label.size());
    ASSERT_EQ(
        VTPKCS_SetCertIntoToken(ctx, label.data(), labelLength, der.data(), static_cast<std::uint32_t>(der.size())), 0);
    EXPECT_EQ(VTPKCS_SetCertIntoToken(ctx, label.data(), labelLength, der.data(), 1), -1028);
    EXPECT_EQ(module.call("C_CreateObject").attributes,
              (std::vector<p11::Attribute>{p11::number(CKA_CLASS, 1), p11::number(CKA_CERTIFICATE_TYPE, 0),
                                           p11::flag(CKA_TOKEN, true), p11::label("certificate"),
                                           p11::attribute(CKA_VALUE, der)}));
    std::uint32_t length = 0;
    ASSERT_EQ(VTPKCS_GetCertFromToken(ctx, label.data(), labelLength, nullptr, &length), 0);
    ASSERT_EQ(length, der.size());
    Bytes back(length);
    ASSERT_EQ(VTPKCS_GetCertFromToken(ctx, label.data(), labelLength, back.data(), &length), 0);
    EXPECT_EQ(back, der);
    ASSERT_EQ(VTPKCS_GetCertFromToken(ctx, label.data(), 3, back.data(), &length), 0);
    EXPECT_EQ(length, 0u) << "no such label";
}

TEST_F(token_functions_test_on_token, CertificateAndKeyBelongTogether) {
    addCertificate("certificate", hex(vectors::kRecipientCertificate));
    addCertificate("junk", hex("30 05 06"));
    addCertificate("nothing", {});
    addCertificate("curve", hex(vectors::kLeafOfCurve));
    addKey("key", vectors::kRecipientKey);
    addKey("other key", vectors::kSignerKey);
    EXPECT_EQ(belong("certificate", "key"), 1);
    EXPECT_EQ(belong("certificate", "other key"), 0);
    EXPECT_EQ(belong("certificate", "no key"), 0);
    EXPECT_EQ(belong("certificate", ""), 0);
    EXPECT_EQ(belong("certificate", "certificate"), 0);
    EXPECT_EQ(belong("no certificate", "key"), 0);
    EXPECT_EQ(belong("", "key"), 0);
    EXPECT_EQ(belong("junk", "key"), 0);
    EXPECT_EQ(belong("nothing", "key"), 0);
    EXPECT_EQ(belong("curve", "key"), 0) << "no RSA key";
    for (const char* name : {"C_FindObjectsInit", "C_FindObjects", "C_GetAttributeValue"}) {
        module.fail(name, CKR_DEVICE_ERROR);
        EXPECT_EQ(belong("certificate", "key"), 0) << name;
        module.succeed();
    }
    EXPECT_EQ(belong("certificate", "key"), 1);
}

// Another program may replace the certificate at any time, with a larger one too.
TEST_F(token_functions_test_on_token, ACertificateThatGrowsIsReadOnce) {
    addCertificate("certificate", hex(vectors::kRecipientCertificate));
    addKey("key", vectors::kRecipientKey);
    module.before("C_FindObjectsInit", 2, [&] {
        module.objects().erase(module.objects().begin());
        addCertificate("certificate", Bytes(1 << 20, 0x30));
    });
    EXPECT_EQ(belong("certificate", "key"), 1);
    EXPECT_EQ(module.count("C_FindObjectsInit"), 2u) << "for the certificate, and for the key";
}

}  // namespace
