// Certificate contexts, with the same expectations on both platforms.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "tests/support/certificate.h"
#include "tests/support/hex.h"

using platform::capi;
using platform::sys;
using support::Bytes;
using support::toHex;

namespace {

PCCERT_CONTEXT contextOf(const Bytes& der) {
    return capi().CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
}

SYSTEMTIME systemTime(const FILETIME& time) {
    SYSTEMTIME parts = {};
    EXPECT_TRUE(sys().FileTimeToSystemTime(&time, &parts));
    return parts;
}

}  // namespace

TEST(context_test, FieldsAreTheCertificates) {
    support::CertificateParts parts;
    parts.serial = {0x00, 0x8F, 0x12, 0x34};
    parts.notBefore = "20141021103005Z";
    const Bytes der = support::makeCertificate(parts);
    PCCERT_CONTEXT cert = contextOf(der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(toHex(cert->pbCertEncoded, cert->cbCertEncoded), toHex(der));
    EXPECT_NE(cert->pbCertEncoded, der.data()) << "a copy";
    const CERT_INFO& info = *cert->pCertInfo;
    EXPECT_EQ(info.dwVersion, 2u);
    EXPECT_EQ(toHex(info.SerialNumber.pbData, info.SerialNumber.cbData), "34 12 8F 00") << "least significant first";
    EXPECT_EQ(toHex(info.Issuer.pbData, info.Issuer.cbData), toHex(support::nameDer(parts.issuer)));
    EXPECT_EQ(toHex(info.Subject.pbData, info.Subject.cbData), toHex(support::nameDer(parts.subject)));
    EXPECT_STREQ(info.SubjectPublicKeyInfo.Algorithm.pszObjId, "1.2.840.113549.1.1.1");
    const SYSTEMTIME from = systemTime(info.NotBefore);
    EXPECT_EQ(from.wYear, 2014);
    EXPECT_EQ(from.wMonth, 10);
    EXPECT_EQ(from.wDay, 21);
    EXPECT_EQ(from.wHour, 10);
    EXPECT_EQ(from.wMinute, 30);
    EXPECT_EQ(from.wSecond, 5);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST(context_test, DuplicateIsTheSameUntilBothAreFreed) {
    PCCERT_CONTEXT cert = contextOf(support::makeCertificate({}));
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(capi().CertDuplicateCertificateContext(cert), cert);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
    EXPECT_EQ(cert->pCertInfo->dwVersion, 2u) << "one reference is left";
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
    EXPECT_EQ(capi().CertDuplicateCertificateContext(nullptr), nullptr);
    EXPECT_TRUE(capi().CertFreeCertificateContext(nullptr));
}

TEST(context_test, CertificateOfNoStoreCanBeDeleted) {
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(contextOf(support::makeCertificate({}))));
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(nullptr));
}

TEST(context_test, BytesBehindTheCertificateAreKept) {
    Bytes der = support::makeCertificate({});
    der.push_back(0);
    PCCERT_CONTEXT cert = contextOf(der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(cert->cbCertEncoded, der.size());
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST(context_test, VersionOneHasNoVersion) {
    support::CertificateParts parts;
    parts.version = false;
    PCCERT_CONTEXT cert = contextOf(support::makeCertificate(parts));
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(cert->pCertInfo->dwVersion, 0u);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST(context_test, WhatIsCutIsNoCertificate) {
    const Bytes der = support::makeCertificate({});
    for (std::size_t length = 0; length < der.size(); ++length) {
        sys().SetLastError(0);
        const Bytes cut(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(contextOf(cut), nullptr) << length;
        EXPECT_NE(sys().GetLastError(), 0u) << length;
    }
}

TEST(context_test, EncodingMustBeX509) {
    const Bytes der = support::makeCertificate({});
    sys().SetLastError(0);
    EXPECT_EQ(capi().CertCreateCertificateContext(0, der.data(), static_cast<DWORD>(der.size())), nullptr);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(E_INVALIDARG));
}
