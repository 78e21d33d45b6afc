#include "pki/certificate.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "foundation/exceptions.h"
#include "schema/pkcs.h"
#include "tests/schema/bytes.h"
#include "tests/support/der.h"
#include "tests/vectors/pki_certificates.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kUnsupported = -1006;
constexpr int kNoTime = -1024;
constexpr int kOutsideValidity = -1025;

const Bytes kSha1WithRsa = der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 5}), {0x05, 0x00}});
const Bytes kRsaEncryption = der::oid({1, 2, 840, 113549, 1, 1, 1});
const Bytes kKey = der::sequence({der::integer(0x6543), der::integer(3)});

struct Parts {
    Bytes serialNumber = der::integer(7);
    Bytes issuer = der::name(3, 0x13, "Authority");
    Bytes validity = der::sequence({der::text(0x17, "141021103000Z"), der::text(0x18, "29991231235959Z")});
    Bytes subject = der::name(3, 0x13, "Alice");
    Bytes keyAlgorithm = der::sequence({kRsaEncryption, {0x05, 0x00}});
    Bytes key = der::bitString(0, kKey);
};

Bytes derOf(const Parts& parts) {
    return der::sequence(
        {der::sequence({der::tagged(0, der::integer(2)), parts.serialNumber, kSha1WithRsa, parts.issuer, parts.validity,
                        parts.subject, der::sequence({parts.keyAlgorithm, parts.key})}),
         kSha1WithRsa, der::bitString(0, {0x01, 0x02})});
}

Bytes good() {
    return derOf(Parts());
}

VT_Certificate read(const Bytes& der) {
    VT_Certificate certificate;
    EXPECT_EQ(certificate.setCertificate(toMiByte(der)), 0);
    return certificate;
}

Bytes written(const VT_Certificate& certificate) {
    MiByte der;
    EXPECT_EQ(certificate.getCertificate(der), 0);
    return {der.GetChars(), der.GetChars() + der.GetLength()};
}

VT_Certificate holding(const Certificate& value) {
    VT_Certificate certificate;
    EXPECT_EQ(certificate.setCertificate(value), 0);
    return certificate;
}

using Path = std::initializer_list<const char*>;

// The good certificate with the element at the path absent, or taken out of the schema.
VT_Certificate without(Path path, bool undeclared) {
    auto value = decoded<Certificate>(good());
    AsnSequence* parent = &value;
    for (const char* const* name = path.begin(); name + 1 != path.end(); ++name)
        parent = dynamic_cast<AsnSequence*>(parent->Find(*name));
    if (undeclared)
        parent->DelElement(*(path.end() - 1));
    else
        parent->Find(*(path.end() - 1))->SetAsnPresent(false);
    return holding(value);
}

// Every operation that needs the element gives the code.
template <class Operation>
void needs(std::initializer_list<Path> paths, int code, const Operation& operation) {
    EXPECT_EQ(operation(read(good())), 0);
    for (const Path& path : paths) {
        for (const bool undeclared : {false, true})
            EXPECT_EQ(operation(without(path, undeclared)), code) << *(path.end() - 1) << undeclared;
    }
}

TEST(certificate_test, TheDerOfCertificatesGoesThroughUnchanged) {
    for (const char* certificate : {vectors::kRootSha1, vectors::kRootMd5, vectors::kLeafSha256, vectors::kLeafOfCurve,
                                    vectors::kEveryAttribute, vectors::kTwoInOne, vectors::kRootMd2}) {
        EXPECT_EQ(toHex(written(read(hex(certificate)))), toHex(hex(certificate)));
    }
}

TEST(certificate_test, ValuesAreCopiedInAndOut) {
    const Bytes der = hex(vectors::kLeafSha1);
    auto value = decoded<Certificate>(der);
    const VT_Certificate certificate = holding(value);
    value.Reset(nullptr);
    EXPECT_EQ(toHex(written(certificate)), toHex(der));

    auto out = decoded<Certificate>(hex(vectors::kRootSha1));
    EXPECT_EQ(certificate.getCertificate(out), 0);
    EXPECT_EQ(toHex(encode(out)), toHex(der));
    out.Reset(nullptr);
    EXPECT_EQ(toHex(written(certificate)), toHex(der));
}

TEST(certificate_test, WhatFollowsTheCertificateDoesNotCount) {
    Bytes der = hex(vectors::kLeafSha1);
    der.insert(der.end(), {0xFF, 0x00, 0xFF});
    EXPECT_EQ(toHex(written(read(der))), toHex(hex(vectors::kLeafSha1)));
}

TEST(certificate_test, DecodingReplacesWhatWasHeld) {
    VT_Certificate certificate = read(hex(vectors::kLeafSha1));
    EXPECT_EQ(certificate.setCertificate(toMiByte(good())), 0);
    EXPECT_EQ(toHex(written(certificate)), toHex(good()));
}

TEST(certificate_test, ExceptionsOfTheRuntimePass) {
    VT_Certificate certificate;
    EXPECT_THROW(certificate.setCertificate(MiByte()), MiInvalidArgumentExp);
    EXPECT_THROW(certificate.setCertificate(toMiByte(hex("30 05"))), MiOutOfRangeExp);
    MiByte der;
    EXPECT_THROW(VT_Certificate().getCertificate(der), AsnEncodeExp);
}

TEST(certificate_test, ResetLeavesTheCertificateAsItWas) {
    VT_Certificate certificate = read(hex(vectors::kLeafSha1));
    certificate.Reset();
    EXPECT_EQ(toHex(written(certificate)), toHex(hex(vectors::kLeafSha1)));
}

TEST(certificate_test, CopiesAreDeep) {
    VT_Certificate first = read(hex(vectors::kLeafSha1));
    const VT_Certificate copy(first);
    VT_Certificate assigned = read(hex(vectors::kRootSha1));
    assigned = first;
    EXPECT_EQ(first.setCertificate(toMiByte(good())), 0);
    EXPECT_EQ(toHex(written(copy)), toHex(hex(vectors::kLeafSha1)));
    EXPECT_EQ(toHex(written(assigned)), toHex(hex(vectors::kLeafSha1)));
}

TEST(certificate_test, AnExtendedCertificateIsItsAlternativeCertificate) {
    const auto value = decoded<Certificate>(hex(vectors::kLeafSha1));
    ExtendedCertificateOrCertificate choice;
    VT_Certificate certificate = read(good());
    EXPECT_EQ(certificate.setExtendedCertificate(choice), kElementAbsent) << "nothing is selected";
    choice.SetExtendedCertificate(value);
    EXPECT_EQ(certificate.setExtendedCertificate(choice), kElementAbsent) << "a certificate of PKCS#6";
    EXPECT_EQ(toHex(written(certificate)), toHex(good()));
    choice.SetCertificate(value);
    EXPECT_EQ(certificate.setExtendedCertificate(choice), 0);
    EXPECT_EQ(toHex(written(certificate)), toHex(hex(vectors::kLeafSha1)));

    ExtendedCertificateOrCertificate out;
    out.SetExtendedCertificate(decoded<Certificate>(good()));
    EXPECT_EQ(certificate.getExtendedCertificate(out), 0);
    EXPECT_NE(out.Get(0U), nullptr) << "the first alternative is selected";
    EXPECT_EQ(toHex(encode(out)), toHex(hex(vectors::kLeafSha1)));
}

TEST(certificate_test, IssuerAndSerialNumberAreThoseOfTheCertificate) {
    auto target = decoded<IssuerAndSerialNumber>(der::sequence({der::name(3, 0x13, "old"), der::integer(1)}));
    EXPECT_EQ(read(good()).getIssuerAndSerialNumber(target), 0);
    EXPECT_EQ(toHex(encode(target)), toHex(der::sequence({der::name(3, 0x13, "Authority"), der::integer(7)})));

    Parts parts;
    parts.serialNumber = hex("02 09 00 F0 E0 D0 C0 B0 A0 90 80");
    parts.issuer = der::sequence({});
    EXPECT_EQ(read(derOf(parts)).getIssuerAndSerialNumber(target), 0);
    EXPECT_EQ(toHex(encode(target)), "30 0D 30 00 02 09 00 F0 E0 D0 C0 B0 A0 90 80");
}

TEST(certificate_test, IssuerAndSerialNumberMustBeThere) {
    needs({{"tBSCertificate"}, {"tBSCertificate", "issuer"}, {"tBSCertificate", "serialNumber"}}, kElementAbsent,
          [](const VT_Certificate& certificate) {
              const Bytes old = der::sequence({der::name(3, 0x13, "old"), der::integer(1)});
              auto target = decoded<IssuerAndSerialNumber>(old);
              const int result = certificate.getIssuerAndSerialNumber(target);
              EXPECT_EQ(encode(target) == old, result != 0) << "a failure leaves the target alone";
              return result;
          });
}

TEST(certificate_test, TheKeyIsTheOneThatOpensslReads) {
    auto key = decoded<RSAPublicKey>(kKey);
    EXPECT_EQ(read(hex(vectors::kRootSha1)).getRSAPublicKey(key), 0);
    EXPECT_EQ(toHex(encode(key)), toHex(hex(vectors::kRootKey)));
}

TEST(certificate_test, AnotherAlgorithmThanRsaEncryptionIsRefused) {
    RSAPublicKey key;
    EXPECT_EQ(read(hex(vectors::kLeafOfCurve)).getRSAPublicKey(key), kUnsupported);
    for (const Bytes& algorithm :
         {der::oid({1, 2, 840, 113549, 1, 1}), der::oid({1, 2, 840, 113549, 1, 1, 1, 1}),
          der::oid({1, 2, 840, 113549, 1, 1, 10}), der::oid({1, 2, 840, 113549, 1, 1, 5}), der::oid({2, 5, 8, 1, 1})}) {
        Parts parts;
        parts.keyAlgorithm = der::sequence({algorithm, {0x05, 0x00}});
        EXPECT_EQ(read(derOf(parts)).getRSAPublicKey(key), kUnsupported) << toHex(algorithm);
    }
}

TEST(certificate_test, ParametersOfTheKeyDoNotCount) {
    for (const Bytes& parameters : {Bytes(), hex("05 00"), hex("04 02 AB CD"), hex("30 00")}) {
        Parts parts;
        parts.keyAlgorithm = der::sequence({kRsaEncryption, parameters});
        RSAPublicKey key;
        EXPECT_EQ(read(derOf(parts)).getRSAPublicKey(key), 0) << toHex(parameters);
        EXPECT_EQ(toHex(encode(key)), toHex(kKey));
    }
}

TEST(certificate_test, TheKeyMustBeThere) {
    needs({{"tBSCertificate"},
           {"tBSCertificate", "subjectPublicKeyInfo"},
           {"tBSCertificate", "subjectPublicKeyInfo", "algorithm"},
           {"tBSCertificate", "subjectPublicKeyInfo", "algorithm", "algorithm"},
           {"tBSCertificate", "subjectPublicKeyInfo", "subjectPublicKey"}},
          kElementAbsent, [](const VT_Certificate& certificate) {
              RSAPublicKey key;
              return certificate.getRSAPublicKey(key);
          });
}

// The bits are taken as whole bytes, the padding too.
TEST(certificate_test, AKeyOfOddBitsIsReadToItsLastByte) {
    Parts parts;
    RSAPublicKey key;
    parts.key = der::bitString(1, kKey);
    EXPECT_EQ(read(derOf(parts)).getRSAPublicKey(key), 0);
    EXPECT_EQ(toHex(encode(key)), toHex(kKey)) << "its last bit is set and counts as unused";
    parts.key = der::bitString(7, kKey);
    EXPECT_EQ(read(derOf(parts)).getRSAPublicKey(key), 0);
    EXPECT_EQ(toHex(encode(key)), toHex(kKey));
}

TEST(certificate_test, AMalformedKeyThrows) {
    for (const Bytes& bits : {Bytes(), hex("30"), hex("30 05 02 01 03"), hex("30 03 02 01 03"), hex("30 02 02 05")}) {
        Parts parts;
        parts.key = der::bitString(0, bits);
        RSAPublicKey key;
        EXPECT_THROW(read(derOf(parts)).getRSAPublicKey(key), MiException) << toHex(bits);
    }
}

std::vector<std::string> subjects(const VT_Certificate& certificate) {
    int total = -1;
    EXPECT_EQ(certificate.getSubjectsTotal(total), 0);
    std::vector<std::string> nodes;
    for (int i = 0; i < total; ++i) {
        MiByte node;
        EXPECT_EQ(certificate.getSubjectsByIndex(i, node), 0);
        nodes.emplace_back(node.GetChars(), node.GetChars() + node.GetLength());
    }
    MiByte node;
    EXPECT_THROW(certificate.getSubjectsByIndex(total, node), MiOutOfRangeExp);
    EXPECT_THROW(certificate.getSubjectsByIndex(-1, node), MiOutOfRangeExp);
    return nodes;
}

TEST(certificate_test, TheSubjectIsReadAsNameNodes) {
    const std::vector<std::string> every = {
        " CN =Alice", " SN =Adams", "  C =DE", "  L =Bonn", "  S =NRW", "  O =Example", " OU =B\xC3\xBCro",
        "  T =Dr",    "  N =Al",    "  G =A",  "  I =AA",   " GQ =II",  " DQ =q",       "  E =a@example.test",
        " ?? =test",  " ?? =d"};
    EXPECT_EQ(subjects(read(hex(vectors::kEveryAttribute))), every);
    EXPECT_EQ(subjects(read(hex(vectors::kLeafSha1))),
              (std::vector<std::string>{"  C =DE", "  O =Example", " CN =Alice"}));
    EXPECT_EQ(subjects(read(hex(vectors::kEmptySubject))), std::vector<std::string>());
}

TEST(certificate_test, ASubjectOfTwoAttributesInOneShowsTheFirst) {
    // DER sorts a SET OF by the encodings: that of OU is the longer one, and CN = 2.5.4.3 is below OU = 2.5.4.11.
    EXPECT_EQ(subjects(read(hex(vectors::kTwoInOne))), (std::vector<std::string>{"  C =DE", " CN =Alice"}));
}

// Each node takes the same time: with a copy of the name for each, this would take minutes.
TEST(certificate_test, AHugeSubjectIsReadNodeByNode) {
    const Bytes one =
        der::set({der::sequence({der::oid({2, 5, 4, 11}), der::text(0x13, "a name too long for a small text")})});
    Parts parts;
    parts.subject = der::tlv(0x30, der::repeat(20000, one));
    const std::vector<std::string> nodes = subjects(read(derOf(parts)));
    EXPECT_EQ(nodes, std::vector<std::string>(20000, " OU =a name too long for a small text"));
}

TEST(certificate_test, TheSubjectMustBeThere) {
    const auto total = [](const VT_Certificate& certificate) {
        int count = -1;
        return certificate.getSubjectsTotal(count);
    };
    const auto first = [](const VT_Certificate& certificate) {
        MiByte node;
        return certificate.getSubjectsByIndex(0, node);
    };
    needs({{"tBSCertificate"}, {"tBSCertificate", "subject"}}, kElementAbsent, total);
    needs({{"tBSCertificate"}, {"tBSCertificate", "subject"}}, kElementAbsent, first);

    auto value = decoded<Certificate>(good());
    auto* body = dynamic_cast<AsnSequence*>(value.Find("tBSCertificate"));
    body->Find("subject")->Reset(nullptr);
    EXPECT_EQ(total(holding(value)), kElementAbsent) << "a name without a selection";
    EXPECT_EQ(first(holding(value)), kElementAbsent);
}

// A certificate of the good one's form with bounds in either form of time.
enum class Form { utc, generalized };

X509Time bound(const MiTime& time, Form form) {
    X509Time bound;
    AsnUTCTime utc;
    AsnGeneralizedTime generalized;
    if (form == Form::utc) {
        utc.SetTime(time);
        bound.SetUtcTime(utc);
    } else {
        generalized.SetTime(time);
        bound.SetGeneralizedTime(generalized);
    }
    return bound;
}

VT_Certificate validFor(const X509Time& from, const X509Time& to) {
    Validity validity;
    validity.SetNotBefore(from);
    validity.SetNotAfter(to);
    auto value = decoded<Certificate>(good());
    dynamic_cast<AsnSequence*>(value.Find("tBSCertificate"))->Set("validity", &validity);
    return holding(value);
}

// With the seconds from now until each bound. The clock must stand still between reading it and the check; a second is
// long enough for that to come true.
int verify(int from, int to, Form fromForm, Form toForm) {
    const auto shifted = [](MiTime time, int seconds) {
        return seconds < 0 ? time.SubtractTime(static_cast<unsigned int>(-seconds))
                           : time.AddTime(static_cast<unsigned int>(seconds));
    };
    for (;;) {
        MiTime now;
        now.SetCurrentTime();
        const int result =
            validFor(bound(shifted(now, from), fromForm), bound(shifted(now, to), toForm)).VerifyValidityPeriod();
        MiTime afterwards;
        afterwards.SetCurrentTime();
        if (now == afterwards)
            return result;
    }
}

TEST(certificate_test, BothEndsOfTheValidityCountAsInside) {
    constexpr int kYear = 365 * 24 * 3600;
    for (const Form from : {Form::utc, Form::generalized}) {
        for (const Form to : {Form::utc, Form::generalized}) {
            EXPECT_EQ(verify(-kYear, kYear, from, to), 0);
            EXPECT_EQ(verify(0, kYear, from, to), 0) << "now is the first second";
            EXPECT_EQ(verify(-kYear, 0, from, to), 0) << "now is the last second";
            EXPECT_EQ(verify(0, 0, from, to), 0);
            EXPECT_EQ(verify(1, kYear, from, to), kOutsideValidity);
            EXPECT_EQ(verify(-kYear, -1, from, to), kOutsideValidity);
            EXPECT_EQ(verify(kYear, 2 * kYear, from, to), kOutsideValidity);
            EXPECT_EQ(verify(kYear, -kYear, from, to), kOutsideValidity) << "bounds in the wrong order";
        }
    }
}

TEST(certificate_test, TheValidityOfDecodedCertificatesIsTheirOwn) {
    EXPECT_EQ(read(hex(vectors::kRootMd2)).VerifyValidityPeriod(), 0);
    EXPECT_EQ(read(good()).VerifyValidityPeriod(), 0);
    Parts past;
    past.validity = der::sequence({der::text(0x17, "990101000000Z"), der::text(0x17, "141021103000Z")});
    EXPECT_EQ(read(derOf(past)).VerifyValidityPeriod(), kOutsideValidity);
    Parts future;
    future.validity = der::sequence({der::text(0x18, "29980101000000Z"), der::text(0x18, "29990101000000Z")});
    EXPECT_EQ(read(derOf(future)).VerifyValidityPeriod(), kOutsideValidity);
}

TEST(certificate_test, ValidityAndItsBoundsMustBeThere) {
    const auto verify = [](const VT_Certificate& certificate) { return certificate.VerifyValidityPeriod(); };
    needs({{"tBSCertificate"}}, kMaterialMissing, verify);
    needs({{"tBSCertificate", "validity"},
           {"tBSCertificate", "validity", "notBefore"},
           {"tBSCertificate", "validity", "notAfter"}},
          kElementAbsent, verify);
    EXPECT_EQ(VT_Certificate().VerifyValidityPeriod(), kMaterialMissing);
}

TEST(certificate_test, ABoundWithoutATimeIsACode) {
    const X509Time good = bound(MiTime(), Form::utc);
    EXPECT_EQ(validFor(X509Time(), good).VerifyValidityPeriod(), kNoTime);
    EXPECT_EQ(validFor(good, X509Time()).VerifyValidityPeriod(), kNoTime);
}

}  // namespace
