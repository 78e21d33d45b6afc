#include "enrol/signed_data.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "enrol/install_steps.h"
#include "tests/support/certificate.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"
#include "tests/vectors/enrol_certificates.h"

namespace {

using enrol::InstallFailure;
using enrol::InstallSignedCertificate;
using enrol::IsSignedData;
using enrol::requireSignedData;
using support::base64;
using support::Bytes;
using support::FakeSystemApi;
using support::forEachExhaustion;
using support::hex;
using support::joined;
using support::tlv;

constexpr char kSignedDataType[] = "06 09 2A 86 48 86 F7 0D 01 07 02";

std::int32_t shape(const Bytes& der) {
    const std::string text = base64(der);
    return IsSignedData(text.data(), text.size());
}

// A ContentInfo with a content of so many elements.
Bytes contentInfo(const Bytes& type, int elements) {
    Bytes content;
    for (int i = 0; i < elements; ++i)
        content = joined({content, hex("02 01 01")});
    return tlv(0x30, joined({type, tlv(0xA0, tlv(0x30, content))}));
}

TEST(signed_data_test, MessagesOfOpensslHaveTheShape) {
    EXPECT_EQ(shape(hex(vectors::kAliceChain)), 0);
    EXPECT_EQ(shape(hex(vectors::kSignedText)), 0);
}

TEST(signed_data_test, CertificateHasAnotherShape) {
    EXPECT_EQ(shape(hex(vectors::kAlice)), 8224);
}

TEST(signed_data_test, FiveElementsAreNeededAndASixthIsLetPass) {
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 4)), 8224);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 5)), 0);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 6)), 0);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 0)), 8224);
}

TEST(signed_data_test, OtherTypesAreRefused) {
    // data, envelopedData, one arc more, one arc less, another registration authority
    for (const char* type :
         {"06 09 2A 86 48 86 F7 0D 01 07 01", "06 09 2A 86 48 86 F7 0D 01 07 03", "06 0A 2A 86 48 86 F7 0D 01 07 02 00",
          "06 08 2A 86 48 86 F7 0D 01 07", "06 09 2B 86 48 86 F7 0D 01 07 02", "06 01 2A"})
        EXPECT_EQ(shape(contentInfo(hex(type), 5)), 8204) << type;
}

TEST(signed_data_test, TypeThatDoesNotReadIsABadEncoding) {
    EXPECT_EQ(shape(contentInfo(hex("06 00"), 5)), 8224);
    EXPECT_EQ(shape(contentInfo(hex("06 01 78"), 5)), 8224) << "no such first arc";
    EXPECT_EQ(shape(contentInfo(hex("06 02 2A 86"), 5)), 8224) << "an arc that does not end";
}

TEST(signed_data_test, MessageOfAnotherTypeIsRefused) {
    EXPECT_NE(shape(hex(vectors::kPlainText)), 0);
}

TEST(signed_data_test, TextIsBase64) {
    EXPECT_EQ(IsSignedData("MAA", 3), 8223);
    EXPECT_EQ(IsSignedData("", 0), 8224);
    EXPECT_EQ(IsSignedData("====", 4), 8224);
}

TEST(signed_data_test, CutAtEveryByteItHasAnotherShape) {
    const Bytes der = hex(vectors::kAliceChain);
    for (std::size_t size = 0; size < der.size(); ++size)
        ASSERT_EQ(shape(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size))), 8224) << size;
}

TEST(signed_data_test, MegabyteOfBase64HasAnotherShape) {
    EXPECT_EQ(IsSignedData(std::string(1 << 20, 'A').data(), 1 << 20), 8224);
    EXPECT_EQ(IsSignedData(std::string(1 << 20, 'M').data(), 1 << 20), 8224);
}

TEST(signed_data_test, WrongTypeCarriesItsMessage) {
    const std::string text = base64(contentInfo(hex("06 01 2A"), 5));
    try {
        requireSignedData(text.data(), text.size());
        FAIL() << "accepted";
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure.reason, 8204);
        // By python3: '非P7签名数据'.encode('utf-8').hex()
        const std::string message = failure.message;
        EXPECT_EQ(Bytes(message.begin(), message.end()), hex("e99d9e 5037 e7adbe e5908d e695b0 e68dae"));
    }
}

TEST(signed_data_test, ExhaustedMemoryIsAReason) {
    const std::string text = base64(hex(vectors::kAliceChain));
    std::vector<std::int32_t> reasons;
    reasons.reserve(100);
    const long failures = forEachExhaustion([&] { reasons.push_back(IsSignedData(text.data(), text.size())); });
    ASSERT_GT(failures, 3);
    EXPECT_EQ(reasons.front(), 8203);
    EXPECT_EQ(reasons.back(), 0);
    reasons.pop_back();
    for (const std::int32_t reason : reasons)
        EXPECT_TRUE(reason == 8203 || reason == 8224) << reason;
}

TEST(signed_data_test, InstallationTakesTheMarkerFirst) {
    const FakeSystemApi system;
    EXPECT_EQ(InstallSignedCertificate("provider", "AAAA", 4, 2, 3), 22038309);
    system.writeMarker("name");
    EXPECT_EQ(InstallSignedCertificate("", "AAAA", 4, 2, 3), 22068201);
    EXPECT_EQ(system.marker(), "(none)");
    system.writeMarker("name");
    EXPECT_EQ(InstallSignedCertificate("provider", "AAAA", 0, 2, 3), 22068204);
    EXPECT_EQ(system.marker(), "(none)");
    system.writeMarker("name");
    EXPECT_EQ(InstallSignedCertificate("provider", "AAAA", 4, 2, 3), 22068017);
    EXPECT_EQ(system.marker(), "(none)");
}

}  // namespace
