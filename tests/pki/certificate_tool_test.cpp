#include "pki/certificate_tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>

#include "foundation/exceptions.h"
#include "pki/certificate.h"
#include "schema/pkcs.h"
#include "tests/schema/bytes.h"
#include "tests/support/broken_der.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/noise.h"
#include "tests/vectors/pki_certificates.h"
#include "token/alg.h"
#include "token/key.h"
#include "token/op.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

constexpr int kElementAbsent = -1001;
constexpr int kSignatureMismatch = -1002;
constexpr int kUnsupported = -1006;
constexpr int kNullArgument = -1010;
constexpr int kTooLong = -1014;
constexpr int kEmptyInteger = -1015;
constexpr int kIssuersDiffer = -1023;

// A chooser in software for the life of the test.
class certificate_tool_test : public testing::Test {
  protected:
    void SetUp() override {
        VT_P11_SELECTION selection{};
        ASSERT_EQ(op.createChooser(&selection), 0);
    }
    void TearDown() override { op.destroyChooser(); }

    // Both forms, which must agree; a null pointer for the empty text.
    int verify(const std::string& issuer, const std::string& certificate) {
        const Bytes issuerBytes = hex(issuer);
        const Bytes certificateBytes = hex(certificate);
        const MiByte issuerDer = toMiByte(issuerBytes);
        const MiByte certDer = toMiByte(certificateBytes);
        const int result = VT_Certificate_Tool::VerifyCertificateChain(op, issuer.empty() ? nullptr : &issuerDer,
                                                                       certificate.empty() ? nullptr : &certDer);
        Certificate first;
        Certificate second;
        if (!issuer.empty())
            decode(first, issuerBytes);
        if (!certificate.empty())
            decode(second, certificateBytes);
        EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, issuer.empty() ? nullptr : &first,
                                                              certificate.empty() ? nullptr : &second),
                  result);
        return result;
    }

    // In either role.
    int verifySelf(const std::string& certificate) {
        const int result = verify("", certificate);
        EXPECT_EQ(verify(certificate, ""), result);
        return result;
    }

    int verifySelf(const Certificate& certificate) {
        const int result = VT_Certificate_Tool::VerifyCertificateChain(op, nullptr, &certificate);
        EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &certificate, nullptr), result);
        return result;
    }

    // What opening the signature of the one with the key of the other gives by itself.
    int decrypt(const Certificate& holder, const Certificate& certificate) {
        VT_Certificate held;
        held.setCertificate(holder);
        RSAPublicKey numbers;
        EXPECT_EQ(held.getRSAPublicKey(numbers), 0);
        VT_P11_Key key;
        EXPECT_EQ(key.setRSAPublicKey(numbers), 0);
        VT_P11_Alg rsa;
        EXPECT_EQ(rsa.setAlgType(8), 0);
        MiByte opened;
        return op.Decrypt(rsa, key, certificate.GetEncrypted()->GetData().GetByte(), opened);
    }

    VT_P11_OP op;
};

Certificate root() {
    return decoded<Certificate>(hex(vectors::kRootSha1));
}

AsnSequence& inside(Certificate& certificate, std::initializer_list<const char*> path) {
    AsnSequence* parent = &certificate;
    for (const char* name : path)
        parent = dynamic_cast<AsnSequence*>(parent->Find(name));
    return *parent;
}

void setSignature(Certificate& certificate, const Bytes& bytes) {
    AsnBitString bits;
    bits.SetData(reinterpret_cast<const char*>(bytes.data()), 0, static_cast<unsigned int>(bytes.size() * 8));
    certificate.SetEncrypted(bits);
}

void setAlgorithm(Certificate& certificate, const char* type) {
    AlgorithmIdentifier identifier;
    identifier.SetAlgorithm(AsnOid(type));
    certificate.SetAlgorithmIdentifier(identifier);
}

void setKey(Certificate& certificate, const Bytes& der) {
    AsnBitString bits;
    bits.SetData(reinterpret_cast<const char*>(der.data()), 0, static_cast<unsigned int>(der.size() * 8));
    inside(certificate, {"tBSCertificate", "subjectPublicKeyInfo"}).Set("subjectPublicKey", &bits);
}

TEST_F(certificate_tool_test, SelfSignedCertificatesPassInEitherRole) {
    EXPECT_EQ(verifySelf(vectors::kRootSha1), 0);
    EXPECT_EQ(verifySelf(vectors::kRootMd5), 0);
    EXPECT_EQ(verifySelf(vectors::kRootMd2), 0);
    EXPECT_EQ(verifySelf(vectors::kSha1ByHand), 0);
    EXPECT_EQ(verifySelf(vectors::kBigRoot), 0);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kRootSha1), 0);
}

TEST_F(certificate_tool_test, LeavesPassAgainstTheRootThatIssuedThem) {
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kLeafSha1), 0);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kLeafMd5), 0);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kIntermediate), 0);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kLeafOfCurve), 0) << "its own key does not matter";
    EXPECT_EQ(verify(vectors::kRootSha256, vectors::kLeafSha1), 0) << "nor does the signature of the root";
}

TEST_F(certificate_tool_test, NewerDigestsAreRefused) {
    EXPECT_EQ(verifySelf(vectors::kRootSha256), kUnsupported);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kLeafSha256), kUnsupported);
}

TEST_F(certificate_tool_test, OneOfTheTwoMustBeGiven) {
    EXPECT_EQ(verify("", ""), kNullArgument);
}

// It is issuer against issuer: an intermediate authority has another issuer than what it issues.
TEST_F(certificate_tool_test, ALeafIsRefusedAgainstAnIntermediateBeforeAnyWork) {
    EXPECT_EQ(verify(vectors::kIntermediate, vectors::kLeafOfIntermediate), kIssuersDiffer);
    EXPECT_EQ(verify(vectors::kRootSha1, vectors::kLeafOfIntermediate), kIssuersDiffer);
    EXPECT_EQ(verify(vectors::kBigRoot, vectors::kLeafSha1), kIssuersDiffer);

    VT_P11_OP unable;  // it has no chooser and can do nothing
    const auto issuer = decoded<Certificate>(hex(vectors::kIntermediate));
    const auto leaf = decoded<Certificate>(hex(vectors::kLeafOfIntermediate));
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(unable, &issuer, &leaf), kIssuersDiffer);
}

TEST_F(certificate_tool_test, ANameMayDifferInTheTypeOfAStringAlone) {
    auto certificate = decoded<Certificate>(hex(vectors::kLeafSha1));
    Certificate issuer = root();
    Name printable = decoded<Name>(
        der::sequence({der::set({der::sequence({der::oid({2, 5, 4, 6}), der::text(0x13, "DE")})}),
                       der::set({der::sequence({der::oid({2, 5, 4, 10}), der::text(0x13, "Example")})}),
                       der::set({der::sequence({der::oid({2, 5, 4, 3}), der::text(0x13, "Test Root")})})}));
    inside(issuer, {"tBSCertificate"}).Set("issuer", &printable);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &issuer, &certificate), 0);
}

TEST_F(certificate_tool_test, ASignatureByAnotherKeyGivesTheCodeOfOpeningIt) {
    const auto leaf = decoded<Certificate>(hex(vectors::kLeafSha1));
    for (const char* holder : {vectors::kOtherRoot, vectors::kIntermediate, vectors::kLeafSha1}) {
        const int expected = decrypt(decoded<Certificate>(hex(holder)), leaf);
        EXPECT_NE(expected, 0);
        EXPECT_EQ(verify(holder, vectors::kLeafSha1), expected);
    }
    EXPECT_EQ(verifySelf(vectors::kLeafSha1), decrypt(leaf, leaf));
}

TEST_F(certificate_tool_test, ADigestThatDiffersIsAMismatch) {
    EXPECT_EQ(verifySelf(vectors::kWrongDigest), kSignatureMismatch);
    EXPECT_EQ(verifySelf(vectors::kShortDigest), kSignatureMismatch);

    Certificate changed = root();
    const AsnInteger other(4711);
    inside(changed, {"tBSCertificate"}).Set("serialNumber", &other);
    EXPECT_EQ(verifySelf(changed), kSignatureMismatch);
}

TEST_F(certificate_tool_test, TheAlgorithmThatCountsIsTheOneOfTheCertificate) {
    EXPECT_EQ(verifySelf(vectors::kDigestInfoOfMd5), 0) << "what the DigestInfo calls it does not count";
    Certificate changed = root();
    setAlgorithm(changed, "1.2.840.113549.1.1.4");
    EXPECT_EQ(verifySelf(changed), kSignatureMismatch);
    setAlgorithm(changed, "1.2.840.113549.1.1.5");
    EXPECT_EQ(verifySelf(changed), 0) << "without parameters";
    // Known to the token layer, but not for a signature; and not known at all.
    for (const char* type : {"1.3.14.3.2.26", "1.2.840.113549.2.5", "1.2.840.113549.3.7", "1.3.14.3.2.7",
                             "1.2.840.113549.3.4", "1.2.840.113549.1.1.11", "1.2.840.113549.1.1.5.1", "1.2"}) {
        setAlgorithm(changed, type);
        EXPECT_EQ(verifySelf(changed), kUnsupported) << type;
    }
}

TEST_F(certificate_tool_test, WithoutADigestTheSignatureHoldsAtMost116Bytes) {
    EXPECT_EQ(verify(vectors::kBigRoot, vectors::kPlain116), 0);
    EXPECT_EQ(verify(vectors::kBigRoot, vectors::kPlain117), kTooLong);
    VT_P11_OP unable;
    const auto issuer = decoded<Certificate>(hex(vectors::kBigRoot));
    const auto certificate = decoded<Certificate>(hex(vectors::kPlain117));
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(unable, &issuer, &certificate), kTooLong);

    auto shorter = decoded<Certificate>(hex(vectors::kPlain116));
    const AsnInteger one(1);
    inside(shorter, {"tBSCertificate"}).Set("serialNumber", &one);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &issuer, &shorter), kSignatureMismatch);
}

TEST_F(certificate_tool_test, ABlockWithoutADigestInfoIsACodeOrAnException) {
    EXPECT_EQ(verifySelf(vectors::kEmptyDigestInfo), kElementAbsent);
    EXPECT_THROW(verifySelf(vectors::kBareDigest), MiException);
    EXPECT_THROW(verifySelf(vectors::kNothingSigned), MiException);
}

TEST_F(certificate_tool_test, ASignatureOfAnotherLengthGivesTheCodeOfOpeningIt) {
    Certificate changed = root();
    const MiByte good = root().GetEncrypted()->GetData().GetByte();
    Bytes bytes(good.GetChars(), good.GetChars() + good.GetLength());
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{64}, bytes.size() - 1, bytes.size() + 1, std::size_t{300}}) {
        Bytes other = bytes;
        other.resize(length, 0x00);
        setSignature(changed, other);
        const int expected = decrypt(changed, changed);
        EXPECT_NE(expected, 0) << length;
        EXPECT_EQ(verifySelf(changed), expected) << length;
    }
    setSignature(changed, {});
    EXPECT_THROW(verifySelf(changed), MiException) << "it opens to nothing, which is no DigestInfo";
}

TEST_F(certificate_tool_test, ASignatureOfOddBitsCountsToItsLastByte) {
    Certificate changed = root();
    const MiByte good = root().GetEncrypted()->GetData().GetByte();
    AsnBitString bits;
    bits.SetData(good.GetChars(), 0, good.GetLength() * 8 - 3);
    changed.SetEncrypted(bits);
    EXPECT_EQ(verifySelf(changed), 0);
}

TEST_F(certificate_tool_test, EveryElementMustBeThere) {
    using Path = std::initializer_list<const char*>;
    const Path parents[] = {
        {}, {"tBSCertificate"}, {"tBSCertificate", "subjectPublicKeyInfo"}, {"algorithmIdentifier"}};
    const std::vector<const char*> elements[] = {{"tBSCertificate", "algorithmIdentifier", "encrypted"},
                                                 {"subjectPublicKeyInfo"},
                                                 {"algorithm", "subjectPublicKey"},
                                                 {"algorithm"}};
    for (std::size_t i = 0; i < std::size(parents); ++i) {
        for (const char* name : elements[i]) {
            Certificate changed = root();
            inside(changed, parents[i]).Find(name)->SetAsnPresent(false);
            EXPECT_EQ(verifySelf(changed), kElementAbsent) << name;
            inside(changed, parents[i]).DelElement(name);
            EXPECT_EQ(verifySelf(changed), kElementAbsent) << name;
        }
    }
}

TEST_F(certificate_tool_test, WithTwoCertificatesBothIssuersMustBeThere) {
    const Certificate good = root();
    Certificate changed = root();
    inside(changed, {"tBSCertificate"}).Find("issuer")->SetAsnPresent(false);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &good, &changed), kElementAbsent);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &changed, &good), kElementAbsent);
    changed = root();
    changed.Find("tBSCertificate")->SetAsnPresent(false);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &good, &changed), kElementAbsent);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &changed, &good), kElementAbsent);
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(op, &good, &good), 0);
}

TEST_F(certificate_tool_test, TheKeyMustBeAnRsaKey) {
    EXPECT_EQ(verify(vectors::kLeafOfCurve, vectors::kLeafSha1), kUnsupported);
    EXPECT_EQ(verifySelf(vectors::kLeafOfCurve), kUnsupported);
    Certificate changed = root();
    setKey(changed, der::sequence({}));
    EXPECT_EQ(verifySelf(changed), kNullArgument) << "a key without numbers";
    setKey(changed, der::sequence({hex("02 00"), der::integer(3)}));
    EXPECT_THROW(verifySelf(changed), MiException);
    setKey(changed, der::sequence({der::integer(0), der::integer(3)}));
    EXPECT_EQ(verifySelf(changed), kEmptyInteger);
    setKey(changed, hex("30 05 02"));
    EXPECT_THROW(verifySelf(changed), MiException);
}

TEST_F(certificate_tool_test, CodesOfAnOperationThatCannotRunComeAsTheyAre) {
    VT_P11_OP unable;
    VT_P11_Alg sha1;
    ASSERT_EQ(sha1.setAlgType(1), 0);
    MiByte digest;
    const int expected = unable.Digest(sha1, MiByte("abc", 3), digest);
    EXPECT_NE(expected, 0);
    const Certificate good = root();
    EXPECT_EQ(VT_Certificate_Tool::VerifyCertificateChain(unable, nullptr, &good), expected);
}

TEST_F(certificate_tool_test, MalformedDerThrows) {
    const MiByte good = toMiByte(hex(vectors::kRootSha1));
    const MiByte bad = toMiByte(hex("30 05"));
    const MiByte empty;
    EXPECT_THROW(VT_Certificate_Tool::VerifyCertificateChain(op, &bad, nullptr), MiOutOfRangeExp);
    EXPECT_THROW(VT_Certificate_Tool::VerifyCertificateChain(op, nullptr, &bad), MiOutOfRangeExp);
    EXPECT_THROW(VT_Certificate_Tool::VerifyCertificateChain(op, &good, &bad), MiOutOfRangeExp);
    EXPECT_THROW(VT_Certificate_Tool::VerifyCertificateChain(op, &bad, &good), MiOutOfRangeExp);
    EXPECT_THROW(VT_Certificate_Tool::VerifyCertificateChain(op, &empty, nullptr), MiInvalidArgumentExp);
}

// Whether a code is one of those that a certificate can bring about: of the engine, of RSA, or of the toolkit.
bool isDocumented(int code) {
    const int toolkit[] = {0, -1001, -1002, -1003, -1006, -1010, -1014, -1015, -1023, -1024, -1025};
    return (code <= -1 && code >= -22) || (code <= -101 && code >= -115) ||
           std::find(std::begin(toolkit), std::end(toolkit), code) != std::end(toolkit);
}

// Asks everything of the certificate that there is to ask. 1 if reading it throws.
int askEverything(VT_P11_OP& op, const Bytes& bytes) {
    const MiByte der = toMiByte(bytes);
    VT_Certificate certificate;
    try {
        certificate.setCertificate(der);
    } catch (const MiException&) {
        return 1;
    }
    int result = 0;
    const auto ask = [&](const auto& question) {
        try {
            result = question();
            EXPECT_TRUE(isDocumented(result)) << result;
        } catch (const MiException&) {
            result = 1;
        }
    };
    IssuerAndSerialNumber issuerAndSerialNumber;
    RSAPublicKey key;
    int total = 0;
    MiByte out;
    ask([&] { return certificate.getIssuerAndSerialNumber(issuerAndSerialNumber); });
    ask([&] { return certificate.getRSAPublicKey(key); });
    ask([&] { return certificate.getSubjectsTotal(total); });
    for (int i = 0; i < total; ++i)
        ask([&] { return certificate.getSubjectsByIndex(i, out); });
    ask([&] { return certificate.VerifyValidityPeriod(); });
    ask([&] { return certificate.getCertificate(out); });
    ask([&] { return VT_Certificate_Tool::VerifyCertificateChain(op, &der, &der); });
    return result;
}

TEST_F(certificate_tool_test, TruncatedCertificatesThrow) {
    const Bytes good = hex(vectors::kRootSha1);
    ASSERT_EQ(askEverything(op, good), 0);
    for (const support::Broken& broken : support::truncations(good))
        EXPECT_EQ(askEverything(op, broken.bytes), 1) << broken.place;
}

Bytes bodyOf(const Bytes& certificate) {
    return encode(*decoded<Certificate>(certificate).GetTBSCertificate());
}

// The reader forgives lengths, and what is signed is written anew: so what verifies has the very body that was signed,
// in whatever form it came.
TEST_F(certificate_tool_test, OnlyWhatWasSignedVerifies) {
    const Bytes good = hex(vectors::kSha1ByHand);
    const Bytes body = bodyOf(good);
    const auto expectSame = [&](const Bytes& certificate, std::size_t place) {
        if (askEverything(op, certificate) != 0)
            return;
        EXPECT_EQ(toHex(bodyOf(certificate)), toHex(body)) << place;
    };
    const auto expectAllSame = [&](const std::vector<support::Broken>& all) {
        for (const support::Broken& broken : all)
            expectSame(broken.bytes, broken.place);
    };
    expectAllSame(support::withTrailingData(good, hex("05 00")));
    expectAllSame(support::withShortLengths(good));
    expectAllSame(support::withLongLengths(good));
    expectAllSame(support::withIndefiniteLengths(good));
    for (const std::uint8_t tag : hex("00 05 30 31 80 A0 FF"))
        expectAllSame(support::withTags(good, tag));
    for (std::size_t at = 0; at < good.size(); ++at) {
        Bytes changed = good;
        changed[at] ^= 0x04;
        expectSame(changed, at);
    }
}

TEST_F(certificate_tool_test, NoiseGivesAnExceptionOrACode) {
    support::Noise noise(5);
    const Bytes good = hex(vectors::kSha1ByHand);
    for (int round = 0; round < 500; ++round) {
        Bytes changed = good;
        for (int i = 0; i < 3; ++i)
            changed[noise.below(static_cast<std::uint32_t>(changed.size()))] = noise.byte();
        askEverything(op, changed);
    }
}

// A certificate that is not what was signed never passes for want of memory.
TEST_F(certificate_tool_test, ExhaustedMemoryVerifiesNothing) {
    Bytes changed = hex(vectors::kLeafSha1);
    changed.back() ^= 1;
    const MiByte issuer = toMiByte(hex(vectors::kRootSha1));
    const MiByte good = toMiByte(hex(vectors::kLeafSha1));
    const MiByte forged = toMiByte(changed);
    int passed = 0;
    for (const MiByte* const certificate : {&good, &forged}) {
        const long failures = support::forEachExhaustion([&] {
            try {
                passed += VT_Certificate_Tool::VerifyCertificateChain(op, &issuer, certificate) == 0 ? 1 : 0;
            } catch (const std::bad_alloc&) {
            }
        });
        EXPECT_GT(failures, 10);
        EXPECT_EQ(passed, 1) << "the one run of the good certificate that had all its memory";
    }
}

}  // namespace
