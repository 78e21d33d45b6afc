#include "pki/pkcs10.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;

constexpr int kNoChooser = -2;
constexpr int kWrongLength = -3;
constexpr int kRsaFailed = -12;
constexpr int kElementAbsent = -1001;
constexpr int kSignatureMismatch = -1002;
constexpr int kMaterialMissing = -1003;
constexpr int kIndexOutOfRange = -1005;
constexpr int kUnsupported = -1006;
constexpr int kWrongContentType = -1009;
constexpr int kNullArgument = -1010;
constexpr int kTooLong = -1014;

const Bytes kSubject = der::name(3, 0x13, "Request");
const char* const kFiller = "5468657265206973206e6f742061205369676e6174757265000000002043";

// An attribute with one PrintableString.
Bytes attribute(std::uint64_t type, std::string_view value) {
    return der::sequence({der::oid({1, 2, 840, 113549, 1, 9, type}), der::set({der::text(0x13, value)})});
}

Bytes publicKeyDer(const KeyItems& items) {
    return encode(publicNumbers(items));
}

Bytes subjectKey(const KeyItems& items) {
    return der::sequence({kRsaAlgorithm, der::bitString(0, publicKeyDer(items))});
}

Bytes signatureAlgorithm(std::uint64_t type) {
    return der::sequence({der::oid({1, 2, 840, 113549, 1, 1, type}), kNull});
}

VT_PKCS10 filled(const KeyItems& items = vectors::kRecipientKey) {
    VT_PKCS10 request;
    EXPECT_EQ(request.setName(toMiByte(kSubject)), 0);
    EXPECT_EQ(request.setRSAPublickKey(publicNumbers(items)), 0);
    return request;
}

// The information of a filled request.
Bytes information(const KeyItems& items = vectors::kRecipientKey) {
    return der::sequence({der::integer(0), kSubject, subjectKey(items), der::tagged(0, {})});
}

class pkcs10_test : public testing::Test {
  protected:
    std::string composed(VT_PKCS10 request, const VT_P11_Key* key, int type) {
        const VT_P11_Alg alg = algorithmOf(type);
        MiByte der;
        EXPECT_EQ(request.composePKCS10(op, key, &alg, der), 0);
        return hexOf(der);
    }

    int verified(const Bytes& der) { return VT_PKCS10::verifyPKCS10(op, toMiByte(der)); }

    // A request that openssl signed with SHA-1, as a value to take things out of.
    static CertificationRequest made() { return decoded<CertificationRequest>(hex(vectors::kRequestSha1)); }

    Software op;
};

// ---- Members

TEST_F(pkcs10_test, SetRsaPublickKeyBuildsTheSubjectKey) {
    VT_PKCS10 request = filled();
    CertificationRequest value;
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    ASSERT_EQ(request.composePKCS10(op, nullptr, &alg, value), 0);
    EXPECT_EQ(hexOf(*value.GetCertificationRequestInfo()->GetSubjectPKInfo()),
              toHex(subjectKey(vectors::kRecipientKey)));
    RSAPublicKey key;
    EXPECT_EQ(request.getPublicKey(key), 0);
    EXPECT_EQ(hexOf(key), toHex(publicKeyDer(vectors::kRecipientKey)));
}

TEST_F(pkcs10_test, GetPublicKeyLooksAtTheSubjectKey) {
    RSAPublicKey key;
    VT_PKCS10 request;
    EXPECT_EQ(request.getPublicKey(key), kElementAbsent);
    EXPECT_EQ(request.decomposePKCS10(op, toMiByte(hex(vectors::kRequestEc))), 0);
    EXPECT_EQ(request.getPublicKey(key), kWrongContentType);

    CertificationRequestInfo info = *made().GetCertificationRequestInfo();
    const auto keyWithout = [&](const char* name) {
        auto cut = decoded<SubjectPublicKeyInfo>(subjectKey(vectors::kRecipientKey));
        cut.Find(name)->SetAsnPresent(false);
        info.SetSubjectPKInfo(cut);
        CertificationRequest whole = made();
        whole.SetCertificationRequestInfo(info);
        EXPECT_EQ(request.decomposePKCS10(op, whole), 0);
        return request.getPublicKey(key);
    };
    EXPECT_EQ(keyWithout("algorithm"), kElementAbsent);
    EXPECT_EQ(keyWithout("subjectPublicKey"), kElementAbsent);
}

TEST_F(pkcs10_test, AttributesComeBackInTheOrderOfAdding) {
    VT_PKCS10 request = filled();
    int total = -1;
    EXPECT_EQ(request.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 0);
    EXPECT_EQ(request.addAttribute(decoded<Attribute>(attribute(7, "a longer secret"))), 0);
    EXPECT_EQ(request.addAttribute(decoded<Attribute>(attribute(2, "short"))), 0);
    EXPECT_EQ(request.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 2);
    Attribute value;
    EXPECT_EQ(request.getAttributeByIndex(0, value), 0);
    EXPECT_EQ(hexOf(value), toHex(attribute(7, "a longer secret")));
    EXPECT_EQ(request.getAttributeByIndex(1, value), 0);
    EXPECT_EQ(hexOf(value), toHex(attribute(2, "short")));
    EXPECT_EQ(request.getAttributeByIndex(2, value), kIndexOutOfRange);
    EXPECT_EQ(request.getAttributeByIndex(-1, value), kIndexOutOfRange);

    // Composed, they are in the order of DER.
    const Bytes info =
        der::sequence({der::integer(0), kSubject, subjectKey(vectors::kRecipientKey),
                       der::tagged(0, der::join({attribute(2, "short"), attribute(7, "a longer secret")}))});
    EXPECT_EQ(composed(request, nullptr, token::kSha1Rsa),
              toHex(der::sequence({info, signatureAlgorithm(5), der::bitString(0, hex(kFiller))})));
}

TEST_F(pkcs10_test, TheNameIsSetAndGivenAsDerAndAsAValue) {
    VT_PKCS10 request;
    MiByte der;
    Name name;
    EXPECT_EQ(request.setName(decoded<Name>(kSubject)), 0);
    EXPECT_EQ(request.getName(der), 0);
    EXPECT_EQ(hexOf(der), toHex(kSubject));
    EXPECT_EQ(request.setName(toMiByte(der::name(10, 0x13, "Example"))), 0);
    EXPECT_EQ(request.getName(name), 0);
    EXPECT_EQ(hexOf(name), toHex(der::name(10, 0x13, "Example")));
    EXPECT_THROW(request.setName(toMiByte({0x30, 0x05})), MiException);
    EXPECT_THROW(VT_PKCS10().getName(der), MiException);  // a name without any alternative has no DER
    EXPECT_EQ(VT_PKCS10().getName(name), 0);
}

// ---- Composing

TEST_F(pkcs10_test, WithoutAKeyTheSignatureIsTheFiller) {
    EXPECT_EQ(composed(filled(), nullptr, token::kSha1Rsa),
              toHex(der::sequence({information(), signatureAlgorithm(5), der::bitString(0, hex(kFiller))})));
    EXPECT_EQ(std::string(kFiller).size(), 2U * 30U);
}

TEST_F(pkcs10_test, TheFillerDoesNotVerify) {
    for (const KeyItems* items : {&vectors::kRecipientKey, &vectors::kLargeKey}) {
        VT_PKCS10 request = filled(*items);
        const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
        MiByte der;
        ASSERT_EQ(request.composePKCS10(op, nullptr, &alg, der), 0);
        EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, der), kWrongLength);
    }
}

TEST_F(pkcs10_test, WithAKeyTheSignatureIsEmpty) {
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const int types[] = {token::kMd5Rsa, token::kMd2Rsa, token::kSha1Rsa};
    const std::uint64_t arcs[] = {4, 2, 5};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(composed(filled(), &key, types[i]),
                  toHex(der::sequence({information(), signatureAlgorithm(arcs[i]), der::bitString(0, {})})));
}

TEST_F(pkcs10_test, AnEmptySignatureDoesNotVerify) {
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    MiByte der;
    ASSERT_EQ(filled().composePKCS10(op, &key, &alg, der), 0);
    // It opens to nothing, which is no DER.
    EXPECT_THROW(VT_PKCS10::verifyPKCS10(op, der), MiException);
}

TEST_F(pkcs10_test, ASignatureThatTheCallerPutsInVerifies) {
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    CertificationRequest request;
    ASSERT_EQ(filled().composePKCS10(op, &key, &alg, request), 0);
    MiByte digest;
    ASSERT_EQ(op->Digest(algorithmOf(token::kSha1), toMiByte(information()), digest), 0);
    const Bytes digestInfo = der::sequence({kSha1Algorithm, der::tlv(0x04, bytesOf(digest))});
    MiByte signature;
    ASSERT_EQ(op->SignRecover(algorithmOf(token::kRsa), key, toMiByte(digestInfo), signature), 0);
    request.SetSignature(AsnBitString(MiBitSet(signature, signature.GetLength() * 8)));
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, request), 0);
}

TEST_F(pkcs10_test, OnlyFourAlgorithmsSign) {
    VT_PKCS10 request = filled();
    MiByte der;
    for (int type = 1; type <= 11; ++type) {
        VT_P11_Alg alg = algorithmOf(type, kIv, 40);
        const bool signs = type >= token::kRsa;
        EXPECT_EQ(request.composePKCS10(op, nullptr, &alg, der), signs ? 0 : kUnsupported) << type;
    }
    const VT_P11_Alg none;
    EXPECT_EQ(request.composePKCS10(op, nullptr, &none, der), kUnsupported);
    EXPECT_EQ(request.composePKCS10(op, nullptr, nullptr, der), kNullArgument);
}

TEST_F(pkcs10_test, RsaWithoutADigestIsForShortTexts) {
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kRsa);
    MiByte der;
    EXPECT_EQ(filled().composePKCS10(op, &key, &alg, der), kTooLong);
    // Without a key nothing would be signed, and the length does not count.
    EXPECT_EQ(filled().composePKCS10(op, nullptr, &alg, der), 0);

    // The limit itself: a text of 116 bytes, and one of 117.
    const auto compose = [&](std::size_t length) {
        VT_PKCS10 request;
        RSAPublicKey small;
        small.SetPkModulus(AsnInteger(1000003));
        small.SetPublicExponent(AsnInteger(3));
        request.setRSAPublickKey(small);
        const std::size_t rest = 50;
        request.setName(toMiByte(der::name(3, 0x13, std::string(length - rest, 'x'))));
        CertificationRequest made;
        const int result = request.composePKCS10(op, &key, &alg, made);
        EXPECT_EQ(encode(*made.GetCertificationRequestInfo()).size(), length);
        return result;
    };
    EXPECT_EQ(compose(116), 0);
    EXPECT_EQ(compose(117), kTooLong);
}

TEST_F(pkcs10_test, ComposingNeedsAnOperationForTheDigestAlone) {
    VT_P11_OP none;
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    MiByte der;
    EXPECT_EQ(filled().composePKCS10(none, nullptr, &alg, der), 0);
    EXPECT_EQ(filled().composePKCS10(none, &key, &alg, der), kNoChooser);
}

TEST_F(pkcs10_test, ComposingLeavesNothingOfADecomposedRequest) {
    // A decoder does not compare the tags of what must be there, and gives back the ones that it met.
    const Bytes odd =
        der::sequence({der::tlv(0x0A, {5}), kSubject, subjectKey(vectors::kRecipientKey), der::tagged(0, {})});
    VT_PKCS10 request;
    const Bytes whole = der::sequence({odd, signatureAlgorithm(5), der::bitString(0, hex(kFiller))});
    ASSERT_EQ(request.decomposePKCS10(op, toMiByte(whole)), 0);
    EXPECT_EQ(composed(request, nullptr, token::kSha1Rsa),
              toHex(der::sequence({information(), signatureAlgorithm(5), der::bitString(0, hex(kFiller))})));
}

TEST_F(pkcs10_test, ComposingAnIncompleteRequestThrows) {
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    MiByte der;
    EXPECT_THROW(VT_PKCS10().composePKCS10(op, nullptr, &alg, der), MiException);
}

// ---- Decomposing

TEST_F(pkcs10_test, TakesApartWhatOpensslMade) {
    VT_PKCS10 request;
    ASSERT_EQ(request.decomposePKCS10(op, toMiByte(hex(vectors::kRequestAttributes))), 0);
    int total = 0;
    EXPECT_EQ(request.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 3);
    RSAPublicKey key;
    EXPECT_EQ(request.getPublicKey(key), 0);
    EXPECT_EQ(hexOf(key), toHex(publicKeyDer(vectors::kRecipientKey)));
    Name name;
    ASSERT_EQ(request.getName(name), 0);
    EXPECT_EQ(name.GetRdnSequence()->Size(), 3);
    // What is composed from it is the same information.
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    CertificationRequest again;
    ASSERT_EQ(request.composePKCS10(op, nullptr, &alg, again), 0);
    const auto original = decoded<CertificationRequest>(hex(vectors::kRequestAttributes));
    EXPECT_EQ(hexOf(*again.GetCertificationRequestInfo()), hexOf(*original.GetCertificationRequestInfo()));
}

TEST_F(pkcs10_test, DecomposingReplacesTheMembers) {
    VT_PKCS10 request = filled(vectors::kLargeKey);
    request.addAttribute(decoded<Attribute>(attribute(7, "x")));
    ASSERT_EQ(request.decomposePKCS10(op, made()), 0);
    int total = -1;
    EXPECT_EQ(request.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 0);
    RSAPublicKey key;
    EXPECT_EQ(request.getPublicKey(key), 0);
    EXPECT_EQ(hexOf(key), toHex(publicKeyDer(vectors::kRecipientKey)));
}

TEST_F(pkcs10_test, DecomposingNeedsEveryPart) {
    CertificationRequest request = made();
    request.Find("certificationRequestInfo")->SetAsnPresent(false);
    EXPECT_EQ(VT_PKCS10().decomposePKCS10(op, request), kMaterialMissing);
    for (const char* name : {"attributes", "subject", "subjectPKInfo"}) {
        CertificationRequestInfo info = *made().GetCertificationRequestInfo();
        info.Find(name)->SetAsnPresent(false);
        request = made();
        request.SetCertificationRequestInfo(info);
        EXPECT_EQ(VT_PKCS10().decomposePKCS10(op, request), kMaterialMissing) << name;
    }
    EXPECT_EQ(VT_PKCS10().decomposePKCS10(op, toMiByte(der::sequence({}))), kMaterialMissing);
    EXPECT_THROW(VT_PKCS10().decomposePKCS10(op, toMiByte({0x30, 0x03})), MiException);
}

// ---- Verifying

TEST_F(pkcs10_test, VerifiesWhatOthersSigned) {
    EXPECT_EQ(verified(hex(vectors::kRequestSha1)), 0);
    EXPECT_EQ(verified(hex(vectors::kRequestMd5)), 0);
    EXPECT_EQ(verified(hex(vectors::kRequestMd2)), 0);
    EXPECT_EQ(verified(hex(vectors::kRequestAttributes)), 0);
    EXPECT_EQ(verified(hex(vectors::kRequestBare)), 0);
}

TEST_F(pkcs10_test, VerifyingFindsAChange) {
    EXPECT_EQ(verified(hex(vectors::kRequestForged)), kSignatureMismatch);
    CertificationRequestInfo info = *made().GetCertificationRequestInfo();
    info.SetSubject(decoded<Name>(kSubject));
    CertificationRequest changed = made();
    changed.SetCertificationRequestInfo(info);
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, changed), kSignatureMismatch);
    // Another key does not open the signature at all.
    info = *made().GetCertificationRequestInfo();
    info.SetSubjectPKInfo(decoded<SubjectPublicKeyInfo>(subjectKey(vectors::kSignerKey)));
    changed = made();
    changed.SetCertificationRequestInfo(info);
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, changed), kRsaFailed);
}

TEST_F(pkcs10_test, VerifyingKnowsFourAlgorithms) {
    EXPECT_EQ(verified(hex(vectors::kRequestSha256)), kUnsupported);
    EXPECT_EQ(verified(hex(vectors::kRequestEc)), kUnsupported);
    EXPECT_EQ(verified(hex(vectors::kRequestBareTooLong)), kTooLong);
}

TEST_F(pkcs10_test, VerifyingNeedsEveryElement) {
    for (const char* name : {"certificationRequestInfo", "signatureAlgorithm", "signature"}) {
        CertificationRequest request = made();
        request.Find(name)->SetAsnPresent(false);
        EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, request), kElementAbsent) << name;
    }
    CertificationRequest request = made();
    request.SetSignatureAlgorithm(decoded<AlgorithmIdentifier>(der::sequence({})));
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(op, request), kElementAbsent);

    CertificationRequestInfo info = *made().GetCertificationRequestInfo();
    info.SetSubjectPKInfo(decoded<SubjectPublicKeyInfo>(der::sequence({})));
    request = made();
    request.SetCertificationRequestInfo(info);
    EXPECT_THROW(VT_PKCS10::verifyPKCS10(op, request), MiException);  // it has no DER
    EXPECT_EQ(verified(der::sequence({})), kElementAbsent);
}

TEST_F(pkcs10_test, VerifyingNeedsEveryElementOfTheKey) {
    // The information keeps the bytes that it was read from, so that it has DER whatever is taken out of it.
    const auto verifiedWith = [&](const auto& change) {
        CertificationRequest request = made();
        auto* const info = dynamic_cast<CertificationRequestInfo*>(request.Find("certificationRequestInfo"));
        const MiByte bytes = toMiByte(encode(*info));
        change(*info, *dynamic_cast<SubjectPublicKeyInfo*>(info->Find("subjectPKInfo")));
        info->SetAsnByte(&bytes);
        return VT_PKCS10::verifyPKCS10(op, request);
    };
    using Info = CertificationRequestInfo;
    using Key = SubjectPublicKeyInfo;
    EXPECT_EQ(verifiedWith([](Info&, Key&) {}), 0);
    EXPECT_EQ(verifiedWith([](Info&, Key& key) { key.SetAsnPresent(false); }), kElementAbsent);
    EXPECT_EQ(verifiedWith([](Info&, Key& key) { key.Find("algorithm")->SetAsnPresent(false); }), kElementAbsent);
    EXPECT_EQ(verifiedWith([](Info&, Key& key) { key.SetAlgorithm(decoded<AlgorithmIdentifier>(der::sequence({}))); }),
              kElementAbsent);
    EXPECT_EQ(verifiedWith([](Info&, Key& key) { key.Find("subjectPublicKey")->SetAsnPresent(false); }),
              kElementAbsent);
}

TEST_F(pkcs10_test, OfTheOpenedSignatureTheDigestAloneCounts) {
    const VT_P11_Key key = privateKey(vectors::kRecipientKey);
    const VT_P11_Alg alg = algorithmOf(token::kSha1Rsa);
    MiByte digest;
    ASSERT_EQ(op->Digest(algorithmOf(token::kSha1), toMiByte(information()), digest), 0);
    const auto verifiedWith = [&](const Bytes& digestInfo) {
        CertificationRequest request;
        EXPECT_EQ(filled().composePKCS10(op, &key, &alg, request), 0);
        MiByte signature;
        EXPECT_EQ(op->SignRecover(algorithmOf(token::kRsa), key, toMiByte(digestInfo), signature), 0);
        request.SetSignature(AsnBitString(MiBitSet(signature, signature.GetLength() * 8)));
        return VT_PKCS10::verifyPKCS10(op, request);
    };
    EXPECT_EQ(verifiedWith(der::sequence({})), kElementAbsent);
    EXPECT_EQ(verifiedWith(der::sequence({kRsaAlgorithm, der::tlv(0x04, bytesOf(digest))})), 0);
    EXPECT_EQ(verifiedWith(der::sequence({kSha1Algorithm, der::tlv(0x04, {})})), kSignatureMismatch);
}

TEST_F(pkcs10_test, TheDigestIsTheCallersAndTheSignatureIsOpenedInSoftware) {
    VT_P11_OP none;
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(none, made()), kNoChooser);
    // Nothing to digest here, so that an operation without a chooser does.
    EXPECT_EQ(VT_PKCS10::verifyPKCS10(none, toMiByte(hex(vectors::kRequestBare))), 0);
}

// ---- The object

TEST_F(pkcs10_test, CopiesAreDeep) {
    VT_PKCS10 first = filled();
    first.addAttribute(decoded<Attribute>(attribute(7, "x")));
    const VT_PKCS10 second(first);
    VT_PKCS10 third;
    third = second;
    first.Reset();
    int total = -1;
    RSAPublicKey key;
    EXPECT_EQ(first.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 0);
    EXPECT_EQ(first.getPublicKey(key), kElementAbsent);
    EXPECT_EQ(second.getAttributesTotal(total), 0);
    EXPECT_EQ(total, 1);
    EXPECT_EQ(third.getPublicKey(key), 0);
}

TEST_F(pkcs10_test, FourFieldsAreThereFromTheStart) {
    EXPECT_EQ(sizeof(VT_PKCS10), 4 * sizeof(void*));
    VT_PKCS10 request;
    EXPECT_EQ(setPointers<4>(request), "xxxx");
    request.Reset();
    EXPECT_EQ(setPointers<4>(request), "xxxx");
}

TEST_F(pkcs10_test, FieldsStandInTheirOrder) {
    using Words = std::array<const void*, 4>;
    const auto changed = [](VT_PKCS10& request, auto&& change) {
        Words before, after;
        std::memcpy(before.data(), static_cast<const void*>(&request), sizeof before);
        change();
        std::memcpy(after.data(), static_cast<const void*>(&request), sizeof after);
        std::string marks;
        for (std::size_t i = 0; i < before.size(); ++i)
            marks += before[i] == after[i] ? '-' : 'x';
        return marks;
    };
    VT_PKCS10 request;
    EXPECT_EQ(changed(request, [&] { request.setRSAPublickKey(publicNumbers(vectors::kRecipientKey)); }), "-x--");
    EXPECT_EQ(changed(request, [&] { request.setName(decoded<Name>(kSubject)); }), "--x-");
    EXPECT_EQ(changed(request, [&] { request.decomposePKCS10(op, made()); }), "xxxx");
}

}  // namespace
