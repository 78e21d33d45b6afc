// The certificate reader on certificates of openssl, and on broken ones.
#include "platform/nss/certificate.h"

#include <algorithm>

#include "tests/platform/nss_store_fixture.h"
#include "tests/support/certificate.h"
#include "tests/support/noise.h"

using namespace nss_test;
using platform::nss::Certificate;
using platform::nss::parseCertificate;

namespace {

class nss_certificate_test : public NssTest {};

std::shared_ptr<Certificate> parse(const Bytes& der) {
    // A copy of exactly the bytes, so that the sanitizer sees a read behind them.
    const std::vector<BYTE> bytes(der.begin(), der.end());
    return parseCertificate(bytes.data(), bytes.size());
}

std::uint64_t stepsOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// Replaces the first place where `from` stands.
Bytes replaced(Bytes der, const std::string& from, const std::string& to) {
    EXPECT_EQ(from.size(), to.size());
    const Bytes sought(from.begin(), from.end());
    const auto at = std::search(der.begin(), der.end(), sought.begin(), sought.end());
    EXPECT_NE(at, der.end());
    if (at != der.end())
        std::copy(to.begin(), to.end(), at);
    return der;
}

bool parsesWithTime(const std::string& time) {
    support::CertificateParts parts;
    return parse(replaced(support::makeCertificate(parts), parts.notBefore, time)) != nullptr;
}

}  // namespace

TEST_F(nss_certificate_test, ReadsWhatOpensslMakes) {
    const Bytes der = selfSigned(home_, "/C=DE/O=Example/CN=Alice",
                                 "-set_serial 0x8F1234 -addext keyUsage=critical,digitalSignature");
    const auto certificate = parse(der);
    ASSERT_NE(certificate, nullptr);
    const CERT_INFO& info = certificate->info();
    EXPECT_EQ(info.dwVersion, 2u);
    EXPECT_STREQ(info.SignatureAlgorithm.pszObjId, "1.2.840.113549.1.1.11");
    EXPECT_EQ(support::toHex(info.SignatureAlgorithm.Parameters.pbData, info.SignatureAlgorithm.Parameters.cbData),
              "05 00");
    EXPECT_EQ(info.SubjectPublicKeyInfo.PublicKey.cbData, 140u);
    EXPECT_EQ(info.SubjectPublicKeyInfo.PublicKey.cUnusedBits, 0u);
    const auto begin = info.rgExtension;
    const auto end = info.rgExtension + info.cExtension;
    const auto usage =
        std::find_if(begin, end, [](const CERT_EXTENSION& e) { return std::string(e.pszObjId) == "2.5.29.15"; });
    ASSERT_NE(usage, end);
    EXPECT_TRUE(usage->fCritical);
    EXPECT_EQ(support::toHex(usage->Value.pbData, usage->Value.cbData), "03 02 07 80");
    const auto identifier =
        std::find_if(begin, end, [](const CERT_EXTENSION& e) { return std::string(e.pszObjId) == "2.5.29.14"; });
    ASSERT_NE(identifier, end);
    EXPECT_FALSE(identifier->fCritical);
    EXPECT_TRUE(certificate->isSelfIssued());
    EXPECT_TRUE(certificate->isAuthority());
    EXPECT_EQ(certificate->rsaModulus().size(), 128u);
}

TEST_F(nss_certificate_test, KeysOfOtherKindsHaveNoModulus) {
    const support::ToolResult made = support::tool(
        "cd " + home_.path() +
        " && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-keyout /dev/null -subj /CN=Ec -days 3 -outform DER -out ec.der 2>/dev/null && openssl req -x509 -newkey "
        "ed25519 -nodes -keyout /dev/null -subj /CN=Ed -days 3 -outform DER -out ed.der 2>/dev/null");
    ASSERT_EQ(made.status, 0) << made.output;
    const auto ec = parse(readFile(home_.file("ec.der")));
    ASSERT_NE(ec, nullptr);
    EXPECT_TRUE(ec->rsaModulus().empty());
    EXPECT_STREQ(ec->info().SubjectPublicKeyInfo.Algorithm.pszObjId, "1.2.840.10045.2.1");
    EXPECT_GT(ec->info().SubjectPublicKeyInfo.Algorithm.Parameters.cbData, 0u);
    const auto ed = parse(readFile(home_.file("ed.der")));
    ASSERT_NE(ed, nullptr);
    EXPECT_TRUE(ed->rsaModulus().empty());
    EXPECT_EQ(ed->info().SignatureAlgorithm.Parameters.cbData, 0u) << "no parameters at all";
}

TEST_F(nss_certificate_test, AuthorityIsWhatTheConstraintsSay) {
    EXPECT_TRUE(parse(selfSigned(home_, "/CN=a", ""))->isAuthority());
    EXPECT_FALSE(parse(selfSigned(home_, "/CN=a", "-addext basicConstraints=critical,CA:FALSE"))->isAuthority());
    support::CertificateParts parts;
    parts.version = false;
    EXPECT_FALSE(parse(support::makeCertificate(parts))->isAuthority());
    parts.issuer = parts.subject;
    EXPECT_TRUE(parse(support::makeCertificate(parts))->isAuthority()) << "version 1 has no constraints";
    parts.version = true;
    EXPECT_FALSE(parse(support::makeCertificate(parts))->isAuthority());
}

// Python: int((datetime(...) - datetime(1601, 1, 1)).total_seconds()) * 10**7
TEST_F(nss_certificate_test, TimesAreExact) {
    const auto notBefore = [](const std::string& time) {
        support::CertificateParts parts;
        parts.notBefore = time;
        const auto certificate = parse(support::makeCertificate(parts));
        return certificate == nullptr ? 0 : stepsOf(certificate->info().NotBefore);
    };
    EXPECT_EQ(notBefore("16010101000001Z"), 10000000u);
    EXPECT_EQ(notBefore("19700101000000Z"), 116444736000000000u);
    EXPECT_EQ(notBefore("20000229123456Z"), 125963012960000000u);
    EXPECT_EQ(notBefore("20141021103000Z"), 130583610000000000u);
    EXPECT_EQ(notBefore("21000301000000Z"), 157520160000000000u);
    EXPECT_EQ(notBefore("99991231235959Z"), 2650467743990000000u);
}

TEST_F(nss_certificate_test, ShortYearsLieBetween1950And2049) {
    const Bytes base = selfSigned(home_, "/CN=a", "-set_serial 5");
    const Bytes header = support::hex("30 1E 17 0D");
    const auto start = std::search(base.begin(), base.end(), header.begin(), header.end());
    ASSERT_NE(start, base.end());
    const std::string time(start + 4, start + 17);
    const auto yearOf = [&](const char* year) {
        const auto certificate = parse(replaced(base, time, year + std::string("0101000000Z")));
        SYSTEMTIME parts = {};
        if (certificate == nullptr)
            return WORD{0};
        EXPECT_TRUE(sys().FileTimeToSystemTime(&certificate->info().NotBefore, &parts));
        return parts.wYear;
    };
    EXPECT_EQ(yearOf("00"), 2000);
    EXPECT_EQ(yearOf("49"), 2049);
    EXPECT_EQ(yearOf("50"), 1950);
    EXPECT_EQ(yearOf("99"), 1999);
}

TEST_F(nss_certificate_test, RefusesTimesThatAreNone) {
    EXPECT_TRUE(parsesWithTime("20160229235959Z"));
    for (const char* time :
         {"20141321103000Z", "20140021103000Z", "20141000103000Z", "20141032103000Z", "20150229103000Z",
          "21000229103000Z", "20141021243000Z", "20141021106000Z", "20141021103060Z", "20141021103000+",
          "2014102110300 Z", "16001231235959Z", "00001021103000Z", "A0141021103000Z", "2A141021103000Z",
          "2014 021103000Z", "-0141021103000Z"})
        EXPECT_FALSE(parsesWithTime(time)) << time;
}

TEST_F(nss_certificate_test, CutAtEveryByteIsRefused) {
    const Bytes der = selfSigned(home_, "/C=DE/O=Example/CN=Alice", "-addext keyUsage=critical,digitalSignature");
    ASSERT_NE(parse(der), nullptr);
    for (std::size_t length = 0; length < der.size(); ++length) {
        EXPECT_EQ(parse(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(length))), nullptr) << length;
        EXPECT_EQ(sys().GetLastError(), length == 0 ? CRYPT_E_ASN1_EOD : CRYPT_E_ASN1_CORRUPT);
    }
}

TEST_F(nss_certificate_test, NoiseIsReadOrRefused) {
    const Bytes der = selfSigned(home_, "/C=DE/O=Example/CN=Alice", "-addext keyUsage=critical,digitalSignature");
    support::Noise noise(20141021);
    for (int i = 0; i < 20000; ++i) {
        Bytes broken = der;
        for (int changes = 0; changes < 3; ++changes)
            broken[noise.below(static_cast<std::uint32_t>(broken.size()))] = noise.byte();
        const auto certificate = parse(broken);
        if (certificate != nullptr) {
            EXPECT_LE(certificate->der().size, broken.size());
            certificate->isAuthority();
            certificate->rsaModulus();
            CERT_NAME_BLOB& subject = certificate->info().Subject;
            EXPECT_GT(capi().CertNameToStrW(X509_ASN_ENCODING, &subject, CERT_X500_NAME_STR, nullptr, 0), 0u);
        }
    }
}

TEST_F(nss_certificate_test, RefusesOddStructures) {
    const Bytes der = support::makeCertificate({});
    EXPECT_EQ(parse(replaced(der, "\xA0\x03\x02\x01\x02", "\xA0\x03\x02\x01\x03")), nullptr) << "version 4";
    EXPECT_EQ(parse(replaced(der, "\xA0\x03\x02\x01\x02", "\xA1\x03\x02\x01\x02")), nullptr);
    const std::string rsa = "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01";
    EXPECT_EQ(parse(replaced(der, rsa, "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x01\x81")), nullptr) << "arc without end";
}
