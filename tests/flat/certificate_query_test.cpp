#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/flat/envelopes.h"
#include "tests/vectors/pfx_files.h"
#include "tests/vectors/pki_certificates.h"

namespace {

using namespace envelopes;
using testing::ElementsAre;

constexpr int32_t kSignatureMismatch = -1002;
constexpr int32_t kIssuersDiffer = -1023;
constexpr int32_t kOutsideValidity = -1025;
constexpr int32_t kKeyMismatch = -1026;
constexpr int32_t kMalformed = -3000;

// The nodes of a list as text.
std::vector<std::string> textsOf(const List& list) {
    std::vector<std::string> all;
    for (const VT_List* node = list.list->next; node != nullptr; node = node->next)
        all.emplace_back(reinterpret_cast<const char*>(node->data), node->length);
    return all;
}

// Puts other bytes of the same length in the place of a text.
Bytes with(const char* certificate, const std::string& text, const std::string& other) {
    Bytes der = hex(certificate);
    const auto found = std::search(der.begin(), der.end(), text.begin(), text.end());
    EXPECT_NE(found, der.end());
    std::copy(other.begin(), other.end(), found);
    return der;
}

// Alice's certificate, valid from long before the day on which it was made: a machine's clock may be behind that.
Bytes longValid() {
    return with(vectors::kAliceCertificate,
                "\x17\x0D"
                "2611",
                "\x17\x0D"
                "1410");
}

// ---- Key and certificate

TEST(certificate_query_test, KeyBelongsToItsCertificate) {
    const PrivateKey key(vectors::kAliceNumbers);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input(vectors::kAliceCertificate), &key.record), 0);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input(vectors::kBobCertificate), &key.record), kKeyMismatch);
}

TEST(certificate_query_test, ModulusAndExponentCountAlone) {
    const Input certificate(vectors::kAliceCertificate);
    PrivateKey key(vectors::kAliceNumbers);
    for (PKCS_Blob* part : {&key.record.privateExponent, &key.record.prime1, &key.record.prime2, &key.record.exponent1,
                            &key.record.exponent2, &key.record.coefficient})
        *part = {nullptr, 0};
    EXPECT_EQ(VT_CheckCertAndPriKey(certificate, &key.record), 0);
    PrivateKey exponent(vectors::kAliceNumbers);
    exponent.numbers[1].back() ^= 0x02U;
    EXPECT_EQ(VT_CheckCertAndPriKey(certificate, &exponent.record), kKeyMismatch);
    for (std::size_t i = 0; i < 128; ++i) {
        PrivateKey changed(vectors::kAliceNumbers);
        changed.numbers[0][i] ^= 0x01U;
        EXPECT_EQ(VT_CheckCertAndPriKey(certificate, &changed.record), kKeyMismatch) << i;
    }
    PrivateKey shorter(vectors::kAliceNumbers);
    --shorter.record.modulus.length;
    EXPECT_EQ(VT_CheckCertAndPriKey(certificate, &shorter.record), kKeyMismatch);
    PrivateKey absent(vectors::kAliceNumbers);
    absent.record.modulus = {nullptr, 0};
    EXPECT_EQ(VT_CheckCertAndPriKey(certificate, &absent.record), kKeyMismatch);
}

TEST(certificate_query_test, LeadingZerosDoNotCount) {
    PrivateKey key(vectors::kAliceNumbers);
    for (const std::size_t part : {0U, 1U})
        key.numbers[part].insert(key.numbers[part].begin(), 3, 0);
    key.record.modulus = {key.numbers[0].data(), static_cast<uint32_t>(key.numbers[0].size())};
    key.record.publicExponent = {key.numbers[1].data(), static_cast<uint32_t>(key.numbers[1].size())};
    EXPECT_EQ(VT_CheckCertAndPriKey(Input(vectors::kAliceCertificate), &key.record), 0);
}

TEST(certificate_query_test, CheckNeedsItsArguments) {
    const PrivateKey key(vectors::kAliceNumbers);
    EXPECT_EQ(VT_CheckCertAndPriKey(nullptr, &key.record), kNullArgument);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input(vectors::kAliceCertificate), nullptr), kNullArgument);
    EXPECT_EQ(VT_CheckCertAndPriKey(&kNullData, &key.record), kMaterialMissing);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input("30 05"), &key.record), kNullArgument);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input("30 00"), &key.record), kElementAbsent);
    EXPECT_EQ(VT_CheckCertAndPriKey(Input(vectors::kCurveCertificate), &key.record), kUnsupported);
}

// ---- Signatures

TEST(certificate_query_test, ChainIsVerified) {
    MessageContext ctx;
    const Input root(vectors::kRootSha1);
    const Input leaf(vectors::kLeafSha1);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, root, leaf), 0);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, nullptr, root), 0);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, root, nullptr), 0);
    EXPECT_NE(VT_VerifyCertificateChain(ctx, nullptr, leaf), 0);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, Input(vectors::kWrongDigest), nullptr), kSignatureMismatch);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, Input(vectors::kIntermediate), Input(vectors::kLeafOfIntermediate)),
              kIssuersDiffer);
}

TEST(certificate_query_test, ChainNeedsItsArguments) {
    MessageContext ctx;
    const Input root(vectors::kRootSha1);
    EXPECT_EQ(VT_VerifyCertificateChain(nullptr, root, root), kNullArgument);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, &kNullData, root), kMaterialMissing);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, root, &kNullData), kMaterialMissing);
    EXPECT_EQ(VT_VerifyCertificateChain(emptyContext(), root, root), kNoOperation);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, Input("30 05"), root), kMalformed);
    EXPECT_EQ(VT_VerifyCertificateChain(ctx, root, Input("30 05")), kMalformed);
}

// ---- Validity

TEST(certificate_query_test, ValidityIsVerified) {
    MessageContext ctx;
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, Input(longValid())), 0);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, Input(with(vectors::kAliceCertificate,
                                                              "\x18\x0F"
                                                              "2126",
                                                              "\x18\x0F"
                                                              "1999"))),
              kOutsideValidity);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, nullptr), kNullArgument);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(nullptr, Input(vectors::kAliceCertificate)), kNullArgument);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, &kNullData), kMaterialMissing);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, Input("30 05")), kMalformed);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, Input("30 00")), kMaterialMissing) << "no tBSCertificate";
}

// ---- The public key

TEST(certificate_query_test, PublicKeyIsGiven) {
    MessageContext ctx;
    PKCS_PubKey key = {};
    ASSERT_EQ(VT_GetPublicKeyFromCert(ctx, Input(vectors::kAliceCertificate), &key), 0);
    EXPECT_EQ(Bytes(key.modulus.data, key.modulus.data + key.modulus.length), hex(vectors::kAliceNumbers[0]));
    EXPECT_EQ(Bytes(key.publicExponent.data, key.publicExponent.data + key.publicExponent.length),
              hex(vectors::kAliceNumbers[1]));
    EXPECT_EQ(key.modulus.data[key.modulus.length], 0) << "a zero byte behind";
    PKCS_FreePubKey(&key);
}

TEST(certificate_query_test, PublicKeyNeedsItsArguments) {
    MessageContext ctx;
    PKCS_PubKey key = {};
    const Input certificate(vectors::kAliceCertificate);
    EXPECT_EQ(VT_GetPublicKeyFromCert(nullptr, certificate, &key), kNullArgument);
    EXPECT_EQ(VT_GetPublicKeyFromCert(ctx, nullptr, &key), kNullArgument);
    EXPECT_EQ(VT_GetPublicKeyFromCert(ctx, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetPublicKeyFromCert(ctx, &kNullData, &key), kMaterialMissing);
    EXPECT_EQ(VT_GetPublicKeyFromCert(ctx, Input("30 05"), &key), kNullArgument);
    EXPECT_EQ(VT_GetPublicKeyFromCert(ctx, Input(vectors::kCurveCertificate), &key), kUnsupported);
    EXPECT_EQ(key.modulus.data, nullptr);
}

// ---- The subject

TEST(certificate_query_test, SubjectIsAListOfNodes) {
    MessageContext ctx;
    const List names;
    ASSERT_EQ(VT_GetSubjectFromCert(ctx, Input(vectors::kAliceCertificate), names), 0);
    EXPECT_THAT(textsOf(names), ElementsAre("  C =DE", "  O =Example", " CN =Alice"));
    ASSERT_EQ(VT_GetSubjectFromCert(ctx, Input(vectors::kEmptySubject), names), 0);
    EXPECT_EQ(textsOf(names).size(), 3U);
    ASSERT_EQ(VT_GetSubjectFromCert(ctx, Input(vectors::kBobCertificate), names), 0);
    EXPECT_EQ(textsOf(names).size(), 6U) << "behind what it holds";
}

TEST(certificate_query_test, SubjectNeedsItsArguments) {
    MessageContext ctx;
    const List names;
    const Input certificate(vectors::kAliceCertificate);
    EXPECT_EQ(VT_GetSubjectFromCert(nullptr, certificate, names), kNullArgument);
    EXPECT_EQ(VT_GetSubjectFromCert(ctx, nullptr, names), kNullArgument);
    EXPECT_EQ(VT_GetSubjectFromCert(ctx, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetSubjectFromCert(ctx, &kNullData, names), kMaterialMissing);
    EXPECT_EQ(VT_GetSubjectFromCert(ctx, Input("30 05"), names), kMalformed);
    EXPECT_EQ(VT_GetSubjectFromCert(ctx, Input("30 00"), names), kElementAbsent);
    EXPECT_TRUE(textsOf(names).empty());
}

TEST(certificate_query_test, ContextMustHaveAnOperation) {
    const List names;
    const Input certificate(longValid());
    PKCS_PubKey key = {};
    EXPECT_EQ(VT_GetSubjectFromCert(emptyContext(), certificate, names), kNoOperation);
    EXPECT_EQ(VT_VerifyCertificateValidPeriod(emptyContext(), certificate), kNoOperation);
    EXPECT_EQ(VT_GetPublicKeyFromCert(emptyContext(), certificate, &key), kNoOperation);
    EXPECT_EQ(VT_GetPublicKeyFromCert(emptyContext(), &kNullData, &key), kMaterialMissing);
    EXPECT_TRUE(textsOf(names).empty());
    EXPECT_EQ(key.modulus.data, nullptr);
}

// ---- Hostile input, and exhausted memory

void queryAll(PKCS_Ctx* ctx, const Bytes& der) {
    const Input certificate(der);
    const PrivateKey key(vectors::kAliceNumbers);
    const List names;
    PKCS_PubKey numbers = {};
    VT_CheckCertAndPriKey(certificate, &key.record);
    VT_VerifyCertificateChain(ctx, certificate, nullptr);
    VT_VerifyCertificateValidPeriod(ctx, certificate);
    VT_GetPublicKeyFromCert(ctx, certificate, &numbers);
    VT_GetSubjectFromCert(ctx, certificate, names);
    PKCS_FreePubKey(&numbers);
}

TEST(certificate_query_test, BrokenCertificatesAreSurvived) {
    MessageContext ctx;
    const Bytes good = hex(vectors::kAliceCertificate);
    for (const support::Broken& broken : support::truncations(good)) {
        EXPECT_EQ(VT_VerifyCertificateValidPeriod(ctx, Input(broken.bytes)), kMalformed) << broken.place;
        queryAll(ctx, broken.bytes);
    }
    for (const auto& all : {support::withShortLengths(good), support::withLongLengths(good),
                            support::withTags(good, 0x05), support::withIndefiniteLengths(good)})
        for (const support::Broken& broken : all)
            queryAll(ctx, broken.bytes);
    support::Noise noise(3);
    for (int i = 0; i < 300; ++i) {
        Bytes changed = good;
        changed[noise.below(static_cast<std::uint32_t>(changed.size()))] = noise.byte();
        queryAll(ctx, changed);
    }
}

TEST(certificate_query_test, ExhaustedMemoryIsACode) {
    MessageContext ctx;
    const Input certificate(longValid());
    const Input root(vectors::kRootSha1);
    const PrivateKey key(vectors::kAliceNumbers);
    for (long n = 1; n <= 200; ++n) {
        PKCS_PubKey numbers = {};
        const List names;
        const int32_t results[] = {
            whenAllocationFails(n, [&] { return VT_CheckCertAndPriKey(certificate, &key.record); }),
            whenAllocationFails(n, [&] { return VT_VerifyCertificateChain(ctx, root, nullptr); }),
            whenAllocationFails(n, [&] { return VT_VerifyCertificateValidPeriod(ctx, certificate); }),
            whenAllocationFails(n, [&] { return VT_GetPublicKeyFromCert(ctx, certificate, &numbers); }),
            whenAllocationFails(n, [&] { return VT_GetSubjectFromCert(ctx, certificate, names); })};
        // The engine has a code of its own for memory.
        for (const int32_t result : results)
            EXPECT_THAT(result, testing::AnyOf(0, -1, VT_E_MEMORY)) << n;
        PKCS_FreePubKey(&numbers);
    }
}

}  // namespace
