#include "enrol/ch_cert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using enrol::CHCert;
using enrol::foldSerial;
using platform::capi;
using support::Bytes;
using support::CallPlan;
using support::CertificateParts;
using support::FakeStore;
using support::FakeSystemApi;
using support::hex;
using support::makeCertificate;

static_assert(std::has_virtual_destructor_v<CHCert>);
static_assert(sizeof(CHCert) == 2 * sizeof(void*), "the table of virtual operations, and the context");

std::uint32_t fold(const Bytes& bytes) {
    return foldSerial(bytes.data(), bytes.size());
}

class ch_cert_test : public testing::Test {
  protected:
    // The first certificate of "MY" as a value, with nothing else held.
    CHCert first() {
        HCERTSTORE my = capi().CertOpenSystemStoreA(0, "MY");
        PCCERT_CONTEXT found = capi().CertEnumCertificatesInStore(my, nullptr);
        CHCert certificate(found);
        capi().CertFreeCertificateContext(found);
        opened_.push_back(my);
        return certificate;
    }
    void TearDown() override {
        for (HCERTSTORE my : opened_)
            capi().CertCloseStore(my, 0);
    }

    static CHCert parsed(const CertificateParts& parts) {
        const Bytes der = makeCertificate(parts);
        PCCERT_CONTEXT made =
            capi().CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
        CHCert certificate(made);
        capi().CertFreeCertificateContext(made);
        return certificate;
    }
    static CHCert withSerial(const Bytes& serial) {
        CertificateParts parts;
        parts.serial = serial;
        return parsed(parts);
    }

    FakeSystemApi system_;
    FakeStore fake_;
    CallPlan calls_;

  private:
    std::vector<HCERTSTORE> opened_;
};

TEST_F(ch_cert_test, WithoutAContextThereIsNothingToRead) {
    const CHCert none;
    const CHCert copy(none);
    DWORD spec = 7;
    EXPECT_EQ(copy.context, nullptr);
    EXPECT_EQ(none.GetSubjectName(), L"");
    EXPECT_EQ(none.GetIssuerName(), L"");
    EXPECT_EQ(none.GetNotBeforeText(), L"");
    EXPECT_FALSE(none.GetKeySpec(spec));
    EXPECT_EQ(none.CompareSerial(copy), 0);
    EXPECT_TRUE(calls_.log().empty());
}

TEST_F(ch_cert_test, CopyHoldsAReferenceOfItsOwn) {
    {
        CHCert outer;
        {
            const CHCert certificate = parsed({});
            EXPECT_EQ(calls_.openHandles(), "certificate");
            const CHCert copy(certificate);
            EXPECT_EQ(calls_.openHandles(), "certificate certificate");
            EXPECT_EQ(copy.context, certificate.context);
            outer = copy;
        }
        EXPECT_EQ(calls_.openHandles(), "certificate");
        EXPECT_EQ(outer.GetSubjectName(), L"CN=Alice, O=Example");
    }
    EXPECT_EQ(calls_.openHandles(), "");
}

TEST_F(ch_cert_test, AssignmentGivesTheFormerReferenceBack) {
    CHCert certificate = parsed({});
    CertificateParts other;
    other.subject = "CN=Bob";
    certificate = parsed(other);
    EXPECT_EQ(certificate.GetSubjectName(), L"CN=Bob");
    const CHCert& same = certificate;
    certificate = same;
    EXPECT_EQ(certificate.GetSubjectName(), L"CN=Bob");
    EXPECT_EQ(calls_.openHandles(), "certificate");
}

TEST_F(ch_cert_test, MoveLeavesNothingBehind) {
    CHCert certificate = parsed({});
    const CHCert& source = certificate;
    const CHCert moved(std::move(certificate));
    EXPECT_EQ(source.context, nullptr);
    EXPECT_EQ(moved.GetIssuerName(), L"CN=Test CA, O=Example");
    EXPECT_EQ(calls_.openHandles(), "certificate");
}

TEST_F(ch_cert_test, VectorOwnsItsElements) {
    {
        std::vector<CHCert> all;
        while (all.size() < 9)
            all.push_back(parsed({}));
        all.erase(all.begin() + 2, all.begin() + 5);
        EXPECT_EQ(all.size(), 6U);
        for (const CHCert& certificate : all)
            EXPECT_NE(certificate.context, nullptr);
    }
    EXPECT_EQ(calls_.openHandles(), "");
}

TEST_F(ch_cert_test, NamesAreAskedForTheirSizeFirst) {
    CertificateParts parts;
    parts.subject = "C=DE, O=Example, CN=Alice";
    parts.issuer = "";
    const CHCert certificate = parsed(parts);
    EXPECT_EQ(certificate.GetSubjectName(), L"C=DE, O=Example, CN=Alice");
    EXPECT_EQ(certificate.GetIssuerName(), L"");
    EXPECT_EQ(calls_.count("CertNameToStrW"), 4);
}

TEST_F(ch_cert_test, NameThatCannotBeReadIsEmpty) {
    const CHCert certificate = parsed({});
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        calls_.failCall("CertNameToStrW", occurrence);
        EXPECT_EQ(certificate.GetSubjectName(), L"") << occurrence;
        EXPECT_EQ(certificate.GetIssuerName(), L"CN=Test CA, O=Example");
    }
}

TEST_F(ch_cert_test, KeySpecIsFoundAmongOtherProperties) {
    FakeStore::Element& element = fake_.add("MY", makeCertificate({}), true);
    element.key->spec = AT_KEYEXCHANGE;
    element.properties = {1, 3, 20};
    DWORD spec = 0;
    EXPECT_TRUE(first().GetKeySpec(spec));
    EXPECT_EQ(spec, AT_KEYEXCHANGE);
    EXPECT_EQ(calls_.count("CertEnumCertificateContextProperties"), 2) << "the walk ends at the key";
    EXPECT_EQ(calls_.count("CertGetCertificateContextProperty"), 2) << "size, then content";
}

TEST_F(ch_cert_test, KeySpecIsStoredWhateverItsValue) {
    fake_.add("MY", makeCertificate({}), true).key->spec = 0xFFFFFFFF;
    DWORD spec = 0;
    EXPECT_TRUE(first().GetKeySpec(spec));
    EXPECT_EQ(spec, 0xFFFFFFFFU);
}

TEST_F(ch_cert_test, CertificateWithoutKeyInformationHasNoKeySpec) {
    fake_.add("MY", makeCertificate({}), false).properties = {1, 3, 20};
    DWORD spec = 7;
    EXPECT_FALSE(first().GetKeySpec(spec));
    EXPECT_EQ(spec, 7U);
    EXPECT_EQ(calls_.count("CertEnumCertificateContextProperties"), 4) << "to the end";
    EXPECT_EQ(calls_.count("CertGetCertificateContextProperty"), 0);
}

TEST_F(ch_cert_test, KeyInformationThatCannotBeReadIsNone) {
    fake_.add("MY", makeCertificate({}), true);
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        const CHCert certificate = first();
        DWORD spec = 7;
        calls_.failCall("CertGetCertificateContextProperty", occurrence);
        EXPECT_FALSE(certificate.GetKeySpec(spec)) << occurrence;
        EXPECT_EQ(spec, 7U);
    }
}

TEST_F(ch_cert_test, KeyInformationThatIsTooShortIsNotRead) {
    fake_.add("MY", makeCertificate({}), true);
    const CHCert certificate = first();
    const support::Replaced<&platform::CryptoApi::CertGetCertificateContextProperty> property(
        [](PCCERT_CONTEXT, DWORD, void* data, DWORD* size) -> BOOL {
            *size = sizeof(CRYPT_KEY_PROV_INFO) - 1;
            if (data != nullptr)
                std::memset(data, 1, *size);
            return TRUE;
        });
    DWORD spec = 7;
    EXPECT_FALSE(certificate.GetKeySpec(spec));
    EXPECT_EQ(spec, 7U);
}

TEST_F(ch_cert_test, NotBeforeTextIsUtc) {
    EXPECT_EQ(parsed({}).GetNotBeforeText(), L"2014\u5E7410\u670821\u65E5 10:30:00");
}

TEST_F(ch_cert_test, NotBeforeThatCannotBeReadIsEmpty) {
    const CHCert certificate = parsed({});
    calls_.failCall("FileTimeToSystemTime");
    EXPECT_EQ(certificate.GetNotBeforeText(), L"");
}

TEST_F(ch_cert_test, CompareSerialOrdersByNumber) {
    EXPECT_EQ(withSerial(hex("01")).CompareSerial(withSerial(hex("02"))), -1);
    EXPECT_EQ(withSerial(hex("02")).CompareSerial(withSerial(hex("01"))), 1);
    EXPECT_EQ(withSerial(hex("01 00")).CompareSerial(withSerial(hex("02"))), 1);
    EXPECT_EQ(withSerial(hex("05")).CompareSerial(withSerial(hex("05"))), 0);
    EXPECT_EQ(withSerial(hex("00 05")).CompareSerial(withSerial(hex("05"))), 0);
}

TEST_F(ch_cert_test, CompareSerialIsUnsigned) {
    EXPECT_EQ(withSerial(hex("80 00 00 00")).CompareSerial(withSerial(hex("01"))), 1);
    EXPECT_EQ(withSerial(hex("FF")).CompareSerial(withSerial(hex("01"))), 1);
}

TEST_F(ch_cert_test, CompareSerialSeesTheLow32BitsAlone) {
    EXPECT_EQ(withSerial(hex("01 00 00 00 00 05")).CompareSerial(withSerial(hex("05"))), 0);
    EXPECT_EQ(withSerial(hex("02 00 00 00 01")).CompareSerial(withSerial(hex("01 00 00 00 02"))), -1);
}

TEST_F(ch_cert_test, FoldTakesTheLastStoredByteFirst) {
    EXPECT_EQ(fold({}), 0U);
    EXPECT_EQ(fold(hex("7F")), 0x7FU);
    EXPECT_EQ(fold(hex("02 01")), 0x102U);
    EXPECT_EQ(fold(hex("04 03 02 01")), 0x01020304U);
    EXPECT_EQ(fold(hex("FF FF FF FF")), 0xFFFFFFFFU);
    EXPECT_EQ(fold(hex("05 04 03 02 01")), 0x02030405U) << "what is shifted out is lost";
    EXPECT_EQ(fold(hex("00 00 00 00 01")), 0U);
}

}  // namespace
