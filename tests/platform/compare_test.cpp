// Comparisons of certificates, keys and integers, with the same expectations on both platforms.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "tests/support/hex.h"

using platform::capi;
using support::Bytes;
using support::hex;

namespace {

CRYPT_INTEGER_BLOB blobOf(Bytes& bytes) {
    return {static_cast<DWORD>(bytes.size()), bytes.data()};
}

bool areEqualIntegers(const char* a, const char* b) {
    Bytes first = hex(a);
    Bytes second = hex(b);
    CRYPT_INTEGER_BLOB firstBlob = blobOf(first);
    CRYPT_INTEGER_BLOB secondBlob = blobOf(second);
    const BOOL equal = capi().CertCompareIntegerBlob(&firstBlob, &secondBlob);
    EXPECT_EQ(capi().CertCompareIntegerBlob(&secondBlob, &firstBlob), equal);
    return equal != FALSE;
}

bool areEqualKeys(const char* a, const char* b) {
    Bytes first = hex(a);
    Bytes second = hex(b);
    char rsa[] = "1.2.840.113549.1.1.1";
    CERT_PUBLIC_KEY_INFO firstKey = {{rsa, {0, nullptr}}, {static_cast<DWORD>(first.size()), first.data(), 0}};
    CERT_PUBLIC_KEY_INFO secondKey = {{rsa, {0, nullptr}}, {static_cast<DWORD>(second.size()), second.data(), 0}};
    return capi().CertComparePublicKeyInfo(X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, &firstKey, &secondKey) != FALSE;
}

// RSAPublicKeys of toy moduli.
constexpr char kKey[] = "30 0D 02 06 00 C1 02 03 04 05 02 03 01 00 01";

}  // namespace

// Least significant byte first.
TEST(compare_test, LeadingSignBytesDoNotCount) {
    EXPECT_TRUE(areEqualIntegers("01", "01"));
    EXPECT_TRUE(areEqualIntegers("01", "01 00"));
    EXPECT_TRUE(areEqualIntegers("01 02 00 00 00", "01 02"));
    EXPECT_TRUE(areEqualIntegers("00", "00 00"));
    EXPECT_TRUE(areEqualIntegers("88 FF", "88 FF FF FF")) << "a negative number";
    EXPECT_TRUE(areEqualIntegers("88", "88 FF"));
    EXPECT_TRUE(areEqualIntegers("34 12 8F 00", "34 12 8F 00 00"));
}

TEST(compare_test, SignCounts) {
    EXPECT_FALSE(areEqualIntegers("8F", "8F 00")) << "143 and -113";
    EXPECT_FALSE(areEqualIntegers("FF", "FF 00"));
    EXPECT_FALSE(areEqualIntegers("23 FF", "23 FF FF 00"));
    EXPECT_TRUE(areEqualIntegers("23 FF", "23 FF FF"));
    EXPECT_FALSE(areEqualIntegers("01", "02"));
    EXPECT_FALSE(areEqualIntegers("01 02", "02 01"));
    EXPECT_FALSE(areEqualIntegers("01", "01 01"));
}

TEST(compare_test, CertificateIsItsIssuerAndSerial) {
    Bytes issuer = hex("30 0D 31 0B 30 09 06 03 55 04 06 13 02 44 45");
    Bytes other = hex("30 0D 31 0B 30 09 06 03 55 04 06 13 02 46 52");
    Bytes serial = hex("05");
    Bytes padded = hex("05 00");
    Bytes next = hex("06");
    CERT_INFO a = {};
    CERT_INFO b = {};
    a.Issuer = blobOf(issuer);
    a.SerialNumber = blobOf(serial);
    b.Issuer = blobOf(issuer);
    b.SerialNumber = blobOf(padded);
    b.Subject = blobOf(other);
    EXPECT_TRUE(capi().CertCompareCertificate(X509_ASN_ENCODING, &a, &b)) << "the subject does not matter";
    b.SerialNumber = blobOf(next);
    EXPECT_FALSE(capi().CertCompareCertificate(X509_ASN_ENCODING, &a, &b));
    b.SerialNumber = blobOf(serial);
    b.Issuer = blobOf(other);
    EXPECT_FALSE(capi().CertCompareCertificate(X509_ASN_ENCODING, &a, &b));
}

TEST(compare_test, PublicKeysAreComparedByTheirBits) {
    EXPECT_TRUE(areEqualKeys(kKey, kKey));
    EXPECT_FALSE(areEqualKeys(kKey, "30 0D 02 06 00 C1 02 03 04 06 02 03 01 00 01")) << "another modulus";
    EXPECT_FALSE(areEqualKeys(kKey, "30 0D 02 06 00 C1 02 03 04 05 02 03 01 00 03")) << "another exponent";
    EXPECT_FALSE(areEqualKeys(kKey, "30 03 02 01 00"));
}
