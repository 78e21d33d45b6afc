// The examples of docs/toolkit.md, against a certificate that openssl made.
#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/support/hex.h"
#include "tests/toolkit_examples/authority.h"
#include "tests/toolkit_examples/examples.h"

namespace {

std::string bytesOf(const char* hex) {
    const support::Bytes bytes = support::hex(hex);
    return {bytes.begin(), bytes.end()};
}

const std::string kDer = bytesOf(kAuthority);

Certificate authority() {
    Certificate certificate;
    EXPECT_TRUE(readCertificate(certificate, kDer));
    return certificate;
}

std::string signatureOf(const std::string& der) {
    return der.substr(der.size() - 64);  // RSA of 512 bits
}

TEST(toolkit_examples_test, ReadCertificateTakesWholeCertificatesOnly) {
    Certificate certificate;
    EXPECT_TRUE(readCertificate(certificate, kDer));
    EXPECT_FALSE(readCertificate(certificate, kDer + '\0'));
    for (std::size_t n = 0; n < kDer.size(); ++n)
        EXPECT_FALSE(readCertificate(certificate, kDer.substr(0, n))) << n;
}

TEST(toolkit_examples_test, FieldsAreRead) {
    EXPECT_EQ(serialNumber(authority()), "1000");
    Certificate hollow;
    EXPECT_TRUE(readCertificate(hollow, std::string("\x30\0", 2)));  // an empty SEQUENCE is read without a complaint
    EXPECT_EQ(serialNumber(hollow), "");
    EXPECT_FALSE(isAuthority(hollow));
    EXPECT_TRUE(isAuthority(authority()));
    EXPECT_EQ(lastDay(*authority().GetTBSCertificate()->GetValidity()), "2036-01-01");
    EXPECT_EQ(lastDay(Validity()), "");
}

TEST(toolkit_examples_test, AnyIsReadByItsTag) {
    const Certificate certificate = authority();
    const Name& subject = *certificate.GetTBSCertificate()->GetSubject();
    ASSERT_NE(findAttribute(subject, "2.5.4.3"), nullptr);
    EXPECT_EQ(textOf(*findAttribute(subject, "2.5.4.3")), "Example Authority");
    EXPECT_EQ(textOf(*findAttribute(subject, "2.5.4.6")), "DE");
    EXPECT_EQ(findAttribute(subject, "2.5.4.7"), nullptr);
    EXPECT_EQ(findAttribute(Name(), "2.5.4.3"), nullptr);
    AsnOctetString any;
    any.SetAsnTag(AsnUTF8String().GetAsnTag());
    any.SetData("J\xC3\xB6rg", 0, 5);
    EXPECT_EQ(textOf(any), "J\xC3\xB6rg");
    EXPECT_EQ(textOf(AsnOctetString()), "");
}

TEST(toolkit_examples_test, AChoiceSelectsByItsSetter) {
    Validity validity;
    validUntil(validity, MiTime(2049, 12, 31, 23, 59, 59));
    EXPECT_EQ(validity.GetNotAfter()->Get()->GetAsnName(), "utcTime");
    EXPECT_EQ(lastDay(validity), "2049-12-31");
    validUntil(validity, MiTime(2050, 1, 1, 0, 0, 0));
    EXPECT_EQ(validity.GetNotAfter()->Get()->GetAsnName(), "generalizedTime");
    EXPECT_EQ(lastDay(validity), "2050-01-01");
}

TEST(toolkit_examples_test, ABuiltCertificateIsTheOneOfOpenssl) {
    SubjectPublicKeyInfo key;
    const std::string keyDer = bytesOf(kAuthorityKey);
    key.DerDecode(MiByte(keyDer.data(), static_cast<unsigned int>(keyDer.size())), 0);
    std::string toBeSigned;
    const std::string built = makeAuthority(key, [&](const std::string& data) {
        toBeSigned = data;
        return MiByte(signatureOf(kDer).data(), 64);
    });
    EXPECT_EQ(support::toHex(support::Bytes(built.begin(), built.end())), support::toHex(support::hex(kAuthority)));
    EXPECT_EQ(toBeSigned, kDer.substr(4, toBeSigned.size()));
}

TEST(toolkit_examples_test, TheByteCacheKeepsWhatWasReceived) {
    std::string data;
    std::string signature;
    const auto note = [&](const MiByte& signedBytes, const MiByte& over) {
        data.assign(signedBytes.GetChars(), signedBytes.GetLength());
        signature.assign(over.GetChars(), over.GetLength());
        return true;
    };
    EXPECT_TRUE(hasValidSignature(kDer, note));
    EXPECT_EQ(signature, signatureOf(kDer));
    EXPECT_EQ(data, kDer.substr(4, data.size()));
    EXPECT_FALSE(hasValidSignature(kDer, [](const MiByte&, const MiByte&) { return false; }));
    EXPECT_FALSE(hasValidSignature(kDer.substr(1), note));

    // A BOOLEAN of 01 instead of FF is not DER, and would be FF again after reading and writing.
    std::string odd = kDer;
    const std::size_t critical = odd.find(std::string("\x01\x01\xFF\x04", 4)) + 2;
    ASSERT_LT(critical, odd.size());
    odd[critical] = '\x01';
    EXPECT_TRUE(hasValidSignature(odd, note));
    EXPECT_EQ(data, odd.substr(4, data.size()));
    Certificate certificate;
    ASSERT_TRUE(readCertificate(certificate, odd));
    EXPECT_EQ(derOf(certificate), kDer);
}

TEST(toolkit_examples_test, AnIncompleteValueIsNotWritten) {
    EXPECT_THROW(derOf(Certificate()), AsnEncodeExp);
}

TEST(toolkit_examples_test, PrintingIsText) {
    EXPECT_EQ(printed(algorithmOf("1.2.3")),
              "SEQUENCE : {\n    algorithm  OBJECT IDENTIFER : 1.2.3\n"
              "    parameters  OCTET STRING : ( EMPTY ) }");
}

}  // namespace
