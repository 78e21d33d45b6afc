// Certification requests: made without a signature, taken apart, and verified.
#include <cstring>

#include "tests/flat/envelopes.h"
#include "tests/flat/token_context.h"
#include "tests/vectors/signed_messages.h"

namespace {

using namespace envelopes;
using tokens::KeyObject;

constexpr int32_t kSignatureMismatch = -1002;
constexpr int32_t kTooLong = -1014;
constexpr int32_t kNameNodeTooShort = -1019;
constexpr int32_t kKeyMismatch = -1026;

PKCS_PubKey publicOf(const PKCS_PriKey& key) {
    return {key.modulus, key.publicExponent};
}

void add(VT_List* list, const Bytes& bytes) {
    EXPECT_EQ(VT_AddListNode(list, bytes.data(), static_cast<std::uint32_t>(bytes.size())), 0);
}

void add(VT_List* list, const char* text) {
    add(list, Bytes(text, text + std::strlen(text)));
}

std::vector<std::string> texts(const VT_List* list) {
    std::vector<std::string> all;
    for (const VT_List* node = list->next; node != nullptr; node = node->next)
        all.emplace_back(reinterpret_cast<const char*>(node->data), node->length);
    return all;
}

// ---- Requests element by element

Bytes relativeName(std::uint64_t attribute, const char* value) {
    return der::set({der::sequence({der::oid({2, 5, 4, attribute}), der::text(0x13, value)})});
}

Bytes sampleSubject() {
    return der::sequence(
        {relativeName(3, "Holmar"), relativeName(11, "Test"), relativeName(10, "QTSA OCA"), relativeName(6, "CN")});
}

Bytes attribute(std::uint64_t type, std::uint8_t tag, const char* value) {
    return der::sequence({der::oid({1, 2, 840, 113549, 1, 9, type}), der::set({der::text(tag, value)})});
}

// The e-mail address is ours to choose; it must be one.
Bytes sampleAttributes() {
    return attribute(1, 0x16, "holmar@example.com");
}

Bytes positive(const char* digits) {
    const Bytes number = hex(digits);
    return der::tlv(0x02, number[0] < 0x80 ? number : der::join({{0}, number}));
}

Bytes subjectKey(const KeyItems& items) {
    return der::sequence({der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 1}), hex("05 00")}),
                          der::bitString(0, der::sequence({positive(items[0]), positive(items[1])}))});
}

// A request with an empty signature.
std::string request(const Bytes& subject, const Bytes& attributes, std::uint64_t signature = 5,
                    const KeyItems& items = vectors::kRecipientKey) {
    return toHex(der::sequence(
        {der::sequence({der::integer(0), subject, subjectKey(items), der::tagged(0, attributes)}),
         der::sequence({der::oid({1, 2, 840, 113549, 1, 1, signature}), hex("05 00")}), der::bitString(0, {})}));
}

class request_test : public testing::Test {
  protected:
    // Of the token family.
    int32_t make(Output& out, const VT_List* subject = nullptr, const VT_List* attributes = nullptr, int32_t type = 9) {
        return VTPKCS_GENPKCS10(ctx, object, &publicKey, subject, attributes, type, out);
    }

    // With a private key.
    int32_t makeWithKey(Output& out, const VT_List* subject = nullptr, const VT_List* attributes = nullptr,
                        int32_t type = 9) {
        return VT_GENPKCS10(ctx, key, &publicKey, subject, attributes, type, out);
    }

    int32_t verify(const char* der) { return VTPKCS_VerifyPKCS10(ctx, Input(der)); }

    int32_t takeApart(const Bytes& der, VT_List* subject = nullptr) {
        tokens::PublicKey found;
        const int32_t code = VTPKCS_DecomposePKCS10(ctx, Input(der), found, subject);
        EXPECT_EQ(code == 0, found->modulus.data != nullptr);
        return code;
    }

    MessageContext ctx;
    const PrivateKey key{vectors::kRecipientKey};
    PKCS_PubKey publicKey = publicOf(key.record);
    KeyObject object{key};
};

// ---- Making

TEST_F(request_test, WithoutSubjectAndAttributesItHasTheSamples) {
    Output byObject;
    ASSERT_EQ(make(byObject), 0);
    EXPECT_EQ(byObject.text(), request(sampleSubject(), sampleAttributes()));
    EXPECT_EQ(byObject.blob.data[byObject.blob.length], 0);
    Output byKey;
    ASSERT_EQ(makeWithKey(byKey), 0);
    EXPECT_EQ(byKey.text(), request(sampleSubject(), sampleAttributes()));
}

TEST_F(request_test, SubjectAndAttributesGoIn) {
    const List subject;
    add(subject, " CN =Alice");
    add(subject, "  E =alice@example.com");
    const List attributes;
    add(attributes, attribute(7, 0x13, "a longer secret"));
    add(attributes, attribute(2, 0x13, "short"));
    Output out;
    ASSERT_EQ(make(out, subject, attributes), 0);
    const Bytes email =
        der::set({der::sequence({der::oid({1, 2, 840, 113549, 1, 9, 1}), der::text(0x16, "alice@example.com")})});
    EXPECT_EQ(out.text(), request(der::sequence({relativeName(3, "Alice"), email}),
                                  der::join({attribute(2, 0x13, "short"), attribute(7, 0x13, "a longer secret")})))
        << "attributes in the order of DER";
}

TEST_F(request_test, EmptyListsGiveNothing) {
    const List empty;
    Output out;
    ASSERT_EQ(make(out, empty, empty), 0);
    EXPECT_EQ(out.text(), request(der::sequence({}), {}));
}

// Requests have been made so: with a private key, a subject is not read.
TEST_F(request_test, SubjectIsNotReadWithAPrivateKey) {
    const List subject;
    add(subject, " CN =Alice");
    const List broken;
    add(broken, "?");
    for (const List* given : {&subject, &broken}) {
        Output out;
        ASSERT_EQ(makeWithKey(out, *given), 0);
        EXPECT_EQ(out.text(), request(der::sequence({}), sampleAttributes()));
    }
}

TEST_F(request_test, AttributesAreReadWithAPrivateKey) {
    const List attributes;
    add(attributes, attribute(2, 0x13, "short"));
    Output out;
    ASSERT_EQ(makeWithKey(out, nullptr, attributes), 0);
    EXPECT_EQ(out.text(), request(sampleSubject(), attribute(2, 0x13, "short")));
}

TEST_F(request_test, SignatureTypeIsTold) {
    struct Case {
        int32_t type;
        std::uint64_t identifier;
    };
    for (const Case& c : {Case{9, 5}, Case{10, 4}, Case{11, 2}}) {
        Output byObject;
        ASSERT_EQ(make(byObject, nullptr, nullptr, c.type), 0);
        EXPECT_EQ(byObject.text(), request(sampleSubject(), sampleAttributes(), c.identifier));
        Output byKey;
        ASSERT_EQ(makeWithKey(byKey, nullptr, nullptr, c.type), 0);
        EXPECT_EQ(byKey.text(), byObject.text());
    }
    Output out;
    for (const int32_t type : {7, 12, 0, 1, -1, 0x7FFFFFFF}) {
        EXPECT_EQ(make(out, nullptr, nullptr, type), kUnsupported) << type;
        EXPECT_EQ(makeWithKey(out, nullptr, nullptr, type), kUnsupported) << type;
    }
}

// RSA alone takes no more than fits into a block of 1024 bits.
TEST_F(request_test, RsaAloneTakesShortRequests) {
    Output out;
    EXPECT_EQ(make(out, nullptr, nullptr, 8), kTooLong);
    EXPECT_EQ(makeWithKey(out, nullptr, nullptr, 8), kTooLong);
    EXPECT_TRUE(out.untouched());
    Bytes modulus = hex("C1 02 03 04 05 06 07 09");
    Bytes exponent = hex("03");
    publicKey = {{modulus.data(), 8}, {exponent.data(), 1}};
    const List empty;
    ASSERT_EQ(make(out, empty, empty, 8), 0);
    const char* const items[8] = {"C102030405060709", "03", "", "", "", "", "", ""};
    EXPECT_EQ(out.text(), request(der::sequence({}), {}, 1, items));
}

TEST_F(request_test, AnyKindOfKeyObjectDoes) {
    KeyObject empty;
    for (const int32_t kind : {0, 1, 2, 3}) {
        empty->kind = kind;
        Output out;
        ASSERT_EQ(VTPKCS_GENPKCS10(ctx, empty, &publicKey, nullptr, nullptr, 9, out), 0);
        EXPECT_EQ(out.text(), request(sampleSubject(), sampleAttributes())) << kind;
    }
    KeyObject inToken("label");
    Output out;
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, inToken, &publicKey, nullptr, nullptr, 9, out), 0);
    KeyObject unnamed("");
    Output none;
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, unnamed, &publicKey, nullptr, nullptr, 9, none), kNullArgument);
    empty->kind = 4;
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, empty, &publicKey, nullptr, nullptr, 9, none), kNullArgument);
}

TEST_F(request_test, TheKeysMustBeAPair) {
    const PrivateKey other(vectors::kSignerKey);
    const auto makeFor = [&](const PKCS_Blob& modulus, const PKCS_Blob& exponent) {
        const PKCS_PubKey given = {modulus, exponent};
        Output out;
        const int32_t code = VT_GENPKCS10(ctx, key, &given, nullptr, nullptr, 9, out);
        EXPECT_TRUE(code == 0 || out.untouched());
        return code;
    };
    const PKCS_Blob& modulus = publicKey.modulus;
    const PKCS_Blob& exponent = publicKey.publicExponent;
    EXPECT_EQ(makeFor(modulus, exponent), 0);
    EXPECT_NE(makeFor(other.record.modulus, exponent), 0) << "of the same length";
    EXPECT_EQ(makeFor({modulus.data, modulus.length - 1}, exponent), kKeyMismatch);
    EXPECT_EQ(makeFor(modulus, {exponent.data, exponent.length - 1}), kKeyMismatch);
    Bytes otherExponent = hex("01 00 03");
    EXPECT_NE(makeFor(modulus, {otherExponent.data(), 3}), 0);
    EXPECT_EQ(makeFor({nullptr, modulus.length}, exponent), kMaterialMissing);
    EXPECT_EQ(makeFor(modulus, {nullptr, exponent.length}), kMaterialMissing);
    KeyObject unrelated(other);
    Output out;
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, unrelated, &publicKey, nullptr, nullptr, 9, out), 0) << "nobody asks the object";
}

TEST_F(request_test, MakingHasItsCodes) {
    Output out;
    EXPECT_EQ(VTPKCS_GENPKCS10(nullptr, object, &publicKey, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, nullptr, &publicKey, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, object, nullptr, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VTPKCS_GENPKCS10(ctx, object, &publicKey, nullptr, nullptr, 9, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_GENPKCS10(emptyContext(), object, &publicKey, nullptr, nullptr, 9, out), kNoOperation);
    EXPECT_EQ(VT_GENPKCS10(nullptr, key, &publicKey, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VT_GENPKCS10(ctx, nullptr, &publicKey, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VT_GENPKCS10(ctx, key, nullptr, nullptr, nullptr, 9, out), kNullArgument);
    EXPECT_EQ(VT_GENPKCS10(ctx, key, &publicKey, nullptr, nullptr, 9, nullptr), kNullArgument);
    EXPECT_EQ(VT_GENPKCS10(emptyContext(), key, &publicKey, nullptr, nullptr, 9, out), kNoOperation);

    const auto withNode = [&](const char* node) {
        const List subject;
        add(subject, " CN =Alice");
        add(subject, node);
        return make(out, subject);
    };
    EXPECT_EQ(withNode(" CN ="), kNameNodeTooShort);
    EXPECT_EQ(withNode("x"), kNameNodeTooShort);
    EXPECT_EQ(withNode(" XX =value"), kUnsupported);
    const List broken;
    add(broken, hex("30 05 06"));
    EXPECT_EQ(make(out, nullptr, broken), kNullArgument) << "malformed";
    EXPECT_EQ(makeWithKey(out, nullptr, broken), kNullArgument);
    publicKey.publicExponent = {nullptr, 0};
    EXPECT_EQ(make(out), kMaterialMissing);
    EXPECT_TRUE(out.untouched());
}

TEST_F(request_test, MakingSurvivesExhaustedMemory) {
    survivesExhaustion(
        [&](PKCS_Blob& out) { return VTPKCS_GENPKCS10(ctx, object, &publicKey, nullptr, nullptr, 9, &out); });
    survivesExhaustion([&](PKCS_Blob& out) { return VT_GENPKCS10(ctx, key, &publicKey, nullptr, nullptr, 9, &out); });
}

// ---- Taking apart

TEST_F(request_test, KeyAndSubjectComeBack) {
    const List given;
    add(given, " CN =Alice");
    add(given, " OU =Test");
    add(given, "  C =DE");
    Output made;
    ASSERT_EQ(make(made, given), 0);
    tokens::PublicKey found;
    const List subject;
    add(subject, "what it held");
    ASSERT_EQ(VTPKCS_DecomposePKCS10(ctx, &made.blob, found, subject), 0);
    EXPECT_EQ(toHex(found->modulus.data, found->modulus.length), hexOf(vectors::kRecipientKey[0]));
    EXPECT_EQ(toHex(found->publicExponent.data, found->publicExponent.length), hexOf(vectors::kRecipientKey[1]));
    EXPECT_EQ(texts(subject), (std::vector<std::string>{"what it held", " CN =Alice", " OU =Test", "  C =DE"}));
}

TEST_F(request_test, RequestsOfOpensslComeApart) {
    for (const char* made : {vectors::kRequestSha1, vectors::kRequestMd5, vectors::kRequestSha256,
                             vectors::kRequestAttributes, vectors::kRequestForged}) {
        tokens::PublicKey found;
        ASSERT_EQ(VTPKCS_DecomposePKCS10(ctx, Input(made), found, nullptr), 0);
        EXPECT_EQ(toHex(found->modulus.data, found->modulus.length), hexOf(vectors::kRecipientKey[0]));
    }
}

TEST_F(request_test, TakingApartHasItsCodes) {
    const Input good(vectors::kRequestSha1);
    tokens::PublicKey found;
    EXPECT_EQ(VTPKCS_DecomposePKCS10(nullptr, good, found, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_DecomposePKCS10(ctx, nullptr, found, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_DecomposePKCS10(ctx, good, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_DecomposePKCS10(ctx, &kNullData, found, nullptr), kMaterialMissing);
    EXPECT_EQ(VTPKCS_DecomposePKCS10(emptyContext(), good, found, nullptr), kNoOperation);
    EXPECT_EQ(takeApart(hex("30 05 06")), kNullArgument) << "malformed";
    EXPECT_EQ(takeApart(hex(vectors::kRequestEc)), kWrongContentType);
}

// ---- Verifying

TEST_F(request_test, SignedRequestsOfOpensslVerify) {
    EXPECT_EQ(verify(vectors::kRequestSha1), 0);
    EXPECT_EQ(verify(vectors::kRequestMd5), 0);
    EXPECT_EQ(verify(vectors::kRequestMd2), 0);
    EXPECT_EQ(verify(vectors::kRequestAttributes), 0);
    EXPECT_EQ(verify(vectors::kRequestBare), 0);
}

TEST_F(request_test, VerifyingHasItsCodes) {
    EXPECT_EQ(VTPKCS_VerifyPKCS10(nullptr, Input(vectors::kRequestSha1)), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifyPKCS10(ctx, nullptr), kNullArgument);
    EXPECT_EQ(VTPKCS_VerifyPKCS10(ctx, &kNullData), kMaterialMissing);
    EXPECT_EQ(VTPKCS_VerifyPKCS10(emptyContext(), Input(vectors::kRequestSha1)), kNoOperation);
    EXPECT_EQ(verify(vectors::kRequestForged), kSignatureMismatch);
    EXPECT_EQ(verify(vectors::kRequestSha256), kUnsupported);
    EXPECT_EQ(verify(vectors::kRequestEc), kUnsupported);
    EXPECT_EQ(verify(vectors::kRequestBareTooLong), kTooLong);
    EXPECT_EQ(verify("30 05 06"), VT_E_MALFORMED);
    EXPECT_EQ(verify("30 00"), kElementAbsent);
    Output made;
    ASSERT_EQ(make(made), 0);
    EXPECT_NE(VTPKCS_VerifyPKCS10(ctx, &made.blob), 0) << "it has no signature";
}

TEST_F(request_test, BrokenRequestsGiveCodes) {
    const auto tryOne = [&](const Bytes& der) {
        const List subject;
        const int32_t apart = takeApart(der, subject);
        const int32_t verified = VTPKCS_VerifyPKCS10(ctx, Input(der));
        EXPECT_TRUE(isCode(apart)) << apart;
        EXPECT_TRUE(isCode(verified)) << verified;
    };
    const Bytes good = hex(vectors::kRequestAttributes);
    for (const support::Broken& cut : support::truncations(good)) {
        ASSERT_EQ(takeApart(cut.bytes), kNullArgument) << cut.place;
        ASSERT_EQ(VTPKCS_VerifyPKCS10(ctx, Input(cut.bytes)), VT_E_MALFORMED) << cut.place;
    }
    for (const auto& broken : {support::withTrailingData(good, {0x05, 0x00}), support::withShortLengths(good),
                               support::withLongLengths(good), support::withTags(good, 0x30),
                               support::withTags(good, 0xA0), support::withIndefiniteLengths(good)})
        for (const support::Broken& one : broken)
            tryOne(one.bytes);
    std::vector<Bytes> bad = spoiled(good);
    for (std::size_t i = 0; i < bad.size(); i += i < 1500 ? 3 : 1)
        tryOne(bad[i]);
}

TEST_F(request_test, ReadingSurvivesExhaustedMemory) {
    const Input good(vectors::kRequestSha1);
    bool clean = true;
    int32_t code = -1;
    support::forEachExhaustion([&] {
        VT_List* subject = nullptr;
        PKCS_PubKey found = {};
        code = VT_CreateList(&subject);
        if (code == 0)
            code = VTPKCS_DecomposePKCS10(ctx, good, &found, subject);
        clean = clean && isCode(code) && code != kNullArgument && (code == 0) == (found.modulus.data != nullptr);
        PKCS_FreePubKey(&found);
        VT_DestroyList(&subject);
    });
    EXPECT_EQ(code, 0);
    support::forEachExhaustion([&] {
        code = VTPKCS_VerifyPKCS10(ctx, good);
        clean = clean && isCode(code) && code != VT_E_MALFORMED;
    });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(clean);
}

}  // namespace
