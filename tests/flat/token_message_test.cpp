// Signed messages with key objects, in software and on a token.
#include "tests/flat/envelopes.h"
#include "tests/flat/token_context.h"
#include "tests/vectors/signed_messages.h"

namespace {

using namespace envelopes;
using tokens::KeyObject;
using tokens::TokenTest;

constexpr int32_t kSignatureMismatch = -1002;
constexpr int32_t kNotTheSigner = -1021;
constexpr int kObjectNotFound = -19;
constexpr PKCS_Alg kSha1 = {1, nullptr, 0, 0};

void add(VT_List* list, const char* der) {
    const Bytes bytes = hex(der);
    EXPECT_EQ(VT_AddListNode(list, bytes.data(), static_cast<std::uint32_t>(bytes.size())), 0);
}

// ---- Writing

class token_message_test : public testing::Test {
  protected:
    int32_t write(VTPKCS_KeyObj* key, Output& message, int32_t digest = 1, int32_t mode = 1,
                  const VT_List* certificates = nullptr, const VT_List* lists = nullptr) {
        const PKCS_Alg alg = {digest, nullptr, 0, 0};
        return VTPKCS_GenSignedMsg(ctx, content, &alg, mode, certificate, key, certificates, lists, message);
    }

    // What PKCS7_WriteSignedDataMsg makes of the same.
    std::string sibling(int32_t digest = 1, const VT_List* certificates = nullptr, const VT_List* lists = nullptr) {
        const PKCS_Alg alg = {digest, nullptr, 0, 0};
        const PKCS_Alg rsa = {8, nullptr, 0, 0};
        Output message;
        EXPECT_EQ(
            PKCS7_WriteSignedDataMsg(ctx, content, &alg, &rsa, 1, certificate, alice, certificates, lists, message), 0);
        return message.text();
    }

    MessageContext ctx;
    const Input content{vectors::kContent};
    const Input certificate{vectors::kAlice};
    const PrivateKey alice{vectors::kAliceKey.items};
};

TEST_F(token_message_test, WritesWhatItsSiblingWrites) {
    KeyObject key(alice);
    for (const int32_t digest : {1, 2, 3}) {
        Output message;
        ASSERT_EQ(write(key, message, digest), 0);
        EXPECT_EQ(message.text(), sibling(digest));
        EXPECT_EQ(message.blob.data[message.blob.length], 0);
    }
    const List certificates;
    const List lists;
    add(certificates, vectors::kIssuer);
    add(certificates, vectors::kRoot);
    add(lists, vectors::kIssuerList);
    Output message;
    ASSERT_EQ(write(key, message, 1, 1, certificates, lists), 0);
    EXPECT_EQ(message.text(), sibling(1, certificates, lists));
}

TEST_F(token_message_test, SignatureIsThatOfOpenssl) {
    KeyObject key(alice);
    Output message;
    ASSERT_EQ(write(key, message), 0);
    EXPECT_NE(message.text().find(hexOf(vectors::kAliceSha1)), std::string::npos);
}

TEST_F(token_message_test, ContentIsAttachedInEveryMode) {
    KeyObject key(alice);
    for (const int32_t mode : {1, 2, 0, 3, -1}) {
        Output message;
        ASSERT_EQ(write(key, message, 1, mode), 0);
        EXPECT_EQ(message.text(), sibling()) << mode;
    }
}

TEST_F(token_message_test, EveryKindButTheTokensSignsByThePrivateKey) {
    KeyObject key(alice);
    for (const int32_t kind : {0, 1, 2, 3, 5}) {
        key->kind = kind;
        Output message;
        ASSERT_EQ(write(key, message), 0);
        EXPECT_EQ(message.text(), sibling()) << kind;
    }
    KeyObject empty;
    Output message;
    EXPECT_EQ(write(empty, message), kMaterialMissing);
    key->kind = 4;
    EXPECT_EQ(write(key, message), kNullArgument) << "no label";
    KeyObject unnamed("");
    EXPECT_EQ(write(unnamed, message), kNullArgument);
    EXPECT_TRUE(message.untouched());
}

TEST_F(token_message_test, MessagesAreNested) {
    KeyObject key(alice);
    Output outer;
    ASSERT_EQ(VTPKCS_GenSignedMsg(ctx, Input(vectors::kDetached), &kSha1, 1, certificate, key, nullptr, nullptr, outer),
              0);
    Output signer;
    Output data;
    ASSERT_EQ(VTPKCS_VerifySignedMsg(ctx, &outer.blob, nullptr, nullptr, signer, data), 0);
    EXPECT_EQ(data.text(), hexOf(vectors::kDetached));
}

TEST_F(token_message_test, WritingHasItsCodes) {
    KeyObject key(alice);
    Output out;
    EXPECT_EQ(VTPKCS_GenSignedMsg(nullptr, content, &kSha1, 1, certificate, key, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, nullptr, &kSha1, 1, certificate, key, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, nullptr, 1, certificate, key, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, nullptr, key, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, certificate, nullptr, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, certificate, key, nullptr, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, &kNullData, &kSha1, 1, certificate, key, nullptr, nullptr, out),
              kMaterialMissing);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, &kNullData, key, nullptr, nullptr, out), kMaterialMissing);
    EXPECT_EQ(VTPKCS_GenSignedMsg(emptyContext(), content, &kSha1, 1, certificate, key, nullptr, nullptr, out),
              kNoOperation);
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, Input("30 05 06"), key, nullptr, nullptr, out),
              kNullArgument)
        << "malformed";
    EXPECT_EQ(VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, Input("30 00"), key, nullptr, nullptr, out), kElementAbsent);
    for (const int32_t digest : {0, 12, 8})
        EXPECT_EQ(write(key, out, digest), kUnsupported) << digest;
    const List broken;
    add(broken, "30 05 06");
    EXPECT_EQ(write(key, out, 1, 1, broken), kNullArgument);
    EXPECT_EQ(write(key, out, 1, 1, nullptr, broken), kNullArgument);
    EXPECT_TRUE(out.untouched());
}

// ---- Reading

TEST_F(token_message_test, VerifiesWhatOpensslSigned) {
    struct Case {
        const char* message;
        const char* signer;
    };
    for (const Case& c : {Case{vectors::kPlain, vectors::kAlice}, Case{vectors::kPlainWithChain, vectors::kAlice},
                          Case{vectors::kPlainMd5, vectors::kBob}, Case{vectors::kAttributes, vectors::kAlice},
                          Case{vectors::kWithLists, vectors::kAlice}, Case{vectors::kBig, vectors::kDave}}) {
        Output signer;
        Output data;
        ASSERT_EQ(VTPKCS_VerifySignedMsg(ctx, Input(c.message), nullptr, nullptr, signer, data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kContent));
        EXPECT_EQ(signer.text(), hexOf(c.signer));
        EXPECT_EQ(data.blob.data[data.blob.length], 0);
        EXPECT_EQ(signer.blob.data[signer.blob.length], 0);
    }
}

TEST_F(token_message_test, ListsAreFilled) {
    struct Case {
        const char* message;
        std::size_t certificates;
        std::size_t lists;
    };
    for (const Case& c : {Case{vectors::kWithLists, 1, 2}, Case{vectors::kPlainWithChain, 3, 0}}) {
        const List certificates;
        const List lists;
        Output signer;
        Output data;
        ASSERT_EQ(VTPKCS_VerifySignedMsg(ctx, Input(c.message), certificates, lists, signer, data), 0);
        const List siblingCertificates;
        const List siblingLists;
        Output siblingData;
        ASSERT_EQ(
            PKCS7_ReadSignedDataMsg(ctx, Input(c.message), 1, nullptr, siblingCertificates, siblingLists, siblingData),
            0);
        EXPECT_EQ(certificates.items().size(), c.certificates);
        EXPECT_EQ(lists.items().size(), c.lists);
        EXPECT_EQ(certificates.items(), siblingCertificates.items());
        EXPECT_EQ(lists.items(), siblingLists.items());
    }
}

TEST_F(token_message_test, OnlyTheFirstSignerCounts) {
    const auto read = [&](const char* message) {
        Output signer;
        Output data;
        return VTPKCS_VerifySignedMsg(ctx, Input(message), nullptr, nullptr, signer, data);
    };
    EXPECT_EQ(read(vectors::kTwoSigners), 0);
    EXPECT_EQ(read(vectors::kSecondIsGood), kSignatureMismatch);
    EXPECT_EQ(read(vectors::kSecondHasVersion2), kSignatureMismatch) << "the second is not looked at";
}

TEST_F(token_message_test, OutputsAreThereAfterABadSignature) {
    for (const char* message : {vectors::kSecondIsGood, vectors::kNoneIsGood, vectors::kAttributesOfOther}) {
        const List certificates;
        Output signer;
        Output data;
        EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, Input(message), certificates, nullptr, signer, data), kSignatureMismatch);
        EXPECT_FALSE(data.untouched());
        EXPECT_EQ(signer.text(), hexOf(vectors::kAlice));
        EXPECT_FALSE(certificates.items().empty());
    }
    Output signer;
    Output data;
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, Input(vectors::kSha256), nullptr, nullptr, signer, data), kUnsupported);
    EXPECT_EQ(data.text(), hexOf(vectors::kContent));
    EXPECT_EQ(signer.text(), hexOf(vectors::kAlice));
}

TEST_F(token_message_test, ReadingHasItsCodes) {
    const Input good(vectors::kPlain);
    Output signer;
    Output data;
    EXPECT_EQ(VTPKCS_VerifySignedMsg(nullptr, good, nullptr, nullptr, signer, data), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, nullptr, nullptr, nullptr, signer, data), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, good, nullptr, nullptr, nullptr, data), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, good, nullptr, nullptr, signer, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, &kNullData, nullptr, nullptr, signer, data), kMaterialMissing);
    EXPECT_EQ(VTPKCS_VerifySignedMsg(emptyContext(), good, nullptr, nullptr, signer, data), kNoOperation);
    const auto read = [&](const char* message, VT_List* certificates = nullptr) {
        return VTPKCS_VerifySignedMsg(ctx, Input(message), certificates, nullptr, signer, data);
    };
    const List certificates;
    EXPECT_EQ(read(vectors::kDetached, certificates), kMaterialMissing);
    EXPECT_EQ(read(vectors::kCertificatesOnly, certificates), kMaterialMissing);
    EXPECT_TRUE(certificates.items().empty()) << "the content comes before the lists";
    EXPECT_EQ(read(vectors::kNoCertificates), kNotTheSigner);
    EXPECT_EQ(read(vectors::kDataMessage), kWrongContentType);
    EXPECT_EQ(read("30 00"), kElementAbsent);
    EXPECT_EQ(read("30 05 06"), kNullArgument);
    EXPECT_EQ(read(vectors::kKeyIdentifier), kNullArgument);
    EXPECT_TRUE(signer.untouched());
    EXPECT_TRUE(data.untouched());
}

// Attached content and no signers.
TEST_F(token_message_test, AMessageWithoutSignersIsRefused) {
    const Bytes message =
        der::sequence({der::oid({1, 2, 840, 113549, 1, 7, 2}),
                       der::tagged(0, der::sequence({der::integer(1), der::set({}),
                                                     der::sequence({der::oid({1, 2, 840, 113549, 1, 7, 1}),
                                                                    der::tagged(0, der::tlv(0x04, {'x'}))}),
                                                     der::tagged(0, hex(vectors::kAlice)), der::set({})}))});
    Output signer;
    Output data;
    EXPECT_EQ(VTPKCS_VerifySignedMsg(ctx, Input(message), nullptr, nullptr, signer, data), kNullArgument);
    EXPECT_TRUE(data.untouched());
}

TEST_F(token_message_test, BrokenMessagesGiveCodes) {
    const auto tryOne = [&](const Bytes& message) {
        Output signer;
        Output data;
        const List certificates;
        const int32_t code = VTPKCS_VerifySignedMsg(ctx, Input(message), certificates, nullptr, signer, data);
        EXPECT_TRUE(isCode(code)) << code;
        EXPECT_EQ(signer.untouched(), data.untouched());
        return code;
    };
    const Bytes good = hex(vectors::kAttributes);
    ASSERT_EQ(tryOne(good), 0);
    for (const support::Broken& cut : support::truncations(good))
        ASSERT_EQ(tryOne(cut.bytes), kNullArgument) << cut.place;
    for (const auto& broken : {support::withTrailingData(good, {0x05, 0x00}), support::withShortLengths(good),
                               support::withLongLengths(good), support::withTags(good, 0x30),
                               support::withTags(good, 0xA0), support::withIndefiniteLengths(good)})
        for (const support::Broken& one : broken)
            tryOne(one.bytes);
    std::vector<Bytes> bad = spoiled(good);
    for (std::size_t i = 0; i < bad.size(); i += i < 1500 ? 4 : 1)
        tryOne(bad[i]);
}

TEST_F(token_message_test, MessagesSurviveExhaustedMemory) {
    KeyObject key(alice);
    survivesExhaustion([&](PKCS_Blob& out) {
        return VTPKCS_GenSignedMsg(ctx, content, &kSha1, 1, certificate, key, nullptr, nullptr, &out);
    });
    const Input message(vectors::kPlain);
    bool clean = true;
    int32_t code = -1;
    support::forEachExhaustion([&] {
        PKCS_Blob signer = {nullptr, 0};
        PKCS_Blob data = {nullptr, 0};
        code = VTPKCS_VerifySignedMsg(ctx, message, nullptr, nullptr, &signer, &data);
        clean = clean && isCode(code) && code != kNullArgument && (code != 0 || data.data != nullptr) &&
                (signer.data == nullptr) == (data.data == nullptr);
        T_free(signer.data);
        T_free(data.data);
    });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(clean);
}

// ---- On a token

class token_message_test_on_token : public TokenTest {};

TEST_F(token_message_test_on_token, TheKeyOfTheLabelSigns) {
    const CK_OBJECT_HANDLE held = module.addObject({p11::label("Alice's key")});
    KeyObject key("Alice's key");
    Output message;
    ASSERT_EQ(VTPKCS_GenSignedMsg(ctx, Input(vectors::kContent), &kSha1, 1, Input(vectors::kAlice), key, nullptr,
                                  nullptr, message),
              0);
    EXPECT_EQ(module.call("C_Digest").input, hex(vectors::kContent));
    EXPECT_EQ(module.call("C_FindObjectsInit").attributes, std::vector<p11::Attribute>{p11::label("Alice's key")});
    EXPECT_EQ(module.call("C_SignInit").object, held);
    EXPECT_EQ(module.call("C_SignInit").mechanism, CKM_RSA_PKCS);
    // DigestInfo of SHA-1 around the module's digest.
    EXPECT_EQ(toHex(module.call("C_Sign").input),
              "30 21 30 09 06 05 2B 0E 03 02 1A 05 00 04 14 " + toHex(Bytes(20, 0xD1)));
    EXPECT_NE(message.text().find("04 81 80 " + toHex(Bytes(128, 0x51))), std::string::npos);
}

TEST_F(token_message_test_on_token, AKeyThatIsNotThereIsTold) {
    KeyObject key("nobody's");
    Output message;
    const auto generate = [&] {
        return VTPKCS_GenSignedMsg(ctx, Input(vectors::kContent), &kSha1, 1, Input(vectors::kAlice), key, nullptr,
                                   nullptr, message);
    };
    EXPECT_EQ(generate(), kObjectNotFound);
    module.addObject({p11::label("nobody's")});
    module.fail("C_Sign", CKR_DEVICE_ERROR);
    EXPECT_EQ(generate(), static_cast<int32_t>(CKR_DEVICE_ERROR));
    EXPECT_TRUE(message.untouched());
}

TEST_F(token_message_test_on_token, ASoftwareKeyIsLoadedForTheSignature) {
    const PrivateKey alice(vectors::kAliceKey.items);
    KeyObject key(alice);
    Output message;
    ASSERT_EQ(VTPKCS_GenSignedMsg(ctx, Input(vectors::kContent), &kSha1, 1, Input(vectors::kAlice), key, nullptr,
                                  nullptr, message),
              0);
    EXPECT_EQ(module.count("C_CreateObject"), 1u);
    EXPECT_EQ(module.count("C_DestroyObject"), 1u);
    EXPECT_EQ(module.count("C_FindObjectsInit"), 0u);
}

}  // namespace
