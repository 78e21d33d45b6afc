#include "enrol/request_body.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/der.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/hex.h"

namespace {

using der::join;
using der::tlv;
using enrol::BerValue;
using enrol::StagedModulus;
using support::Bytes;
using support::fakeModulus;
using support::fakePublicBlob;
using support::hex;
using support::rsaPublicKeyDer;
using support::toHex;

std::string hexOf(const BerValue& value) {
    return value ? toHex(value->buffer, static_cast<std::size_t>(value->used)) : "(null)";
}

bool reads(const Bytes& der, StagedModulus& modulus) {
    return enrol::readModulus(der.data(), der.size(), modulus);
}

StagedModulus stagedFake(DWORD bits) {
    StagedModulus modulus;
    EXPECT_TRUE(reads(rsaPublicKeyDer(fakePublicBlob(bits)), modulus));
    return modulus;
}

Bytes publicKeyOf(DWORD bits) {
    return tlv(0x30, join({tlv(0x02, join({{0}, fakeModulus(bits)})), hex("02 03 01 00 01")}));
}

Bytes requestInfoOf(DWORD bits, const Bytes& subject) {
    return tlv(0x30, join({hex("02 01 00"), subject,
                           tlv(0x30, join({hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00"),
                                           tlv(0x03, join({{0}, publicKeyOf(bits)}))})),
                           hex("A0 24 30 22 06 09 2A 86 48 86 F7 0D 01 09 01 31 15 16 13"
                               "65 6E 72 6F 6C 6C 40 76 65 6D 74 72 65 6C 2E 74 65 73 74")}));
}

TEST(request_body_test, TakesTheModulusBehindAZeroByte) {
    for (const DWORD bits : {512U, 1024U, 2048U, 4096U}) {
        const StagedModulus modulus = stagedFake(bits);
        EXPECT_EQ(modulus.bits, static_cast<std::int32_t>(bits));
        EXPECT_EQ(toHex(modulus.bytes, bits / 8 + 1), toHex(join({{0}, fakeModulus(bits)})));
        for (std::size_t i = bits / 8 + 1; i < sizeof(modulus.bytes); ++i)
            ASSERT_EQ(modulus.bytes[i], 0);
    }
}

TEST(request_body_test, DoesNotLookAtTheExponent) {
    for (const DWORD exponent : {3U, 17U, 65537U, 0xFFFFFFFFU}) {
        StagedModulus modulus;
        EXPECT_TRUE(reads(rsaPublicKeyDer(fakePublicBlob(1024, exponent)), modulus)) << exponent;
        EXPECT_EQ(toHex(modulus.bytes, 129), toHex(join({{0}, fakeModulus(1024)})));
    }
}

// Such a modulus would read as a bit string of other bits, and the request would state a key that is not the user's.
TEST(request_body_test, AModulusWithItsTopBitClearIsRefused) {
    for (const unsigned first : {0x00U, 0x01U, 0x04U, 0x07U, 0x08U, 0x09U, 0x40U, 0x7FU}) {
        Bytes content = fakeModulus(1024);
        content.front() = static_cast<std::uint8_t>(first);
        StagedModulus modulus;
        EXPECT_FALSE(reads(tlv(0x30, join({tlv(0x02, content), hex("02 03 01 00 01")})), modulus)) << first;
    }
}

TEST(request_body_test, OtherKeySizesAreRefused) {
    for (const std::size_t bytes : {1U, 63U, 65U, 96U, 127U, 129U, 384U, 513U, 3000U}) {
        const Bytes content(bytes, 0xC1);
        StagedModulus modulus;
        EXPECT_FALSE(reads(tlv(0x30, join({tlv(0x02, join({{0}, content})), hex("02 03 01 00 01")})), modulus));
    }
}

TEST(request_body_test, ATruncatedKeyIsRefused) {
    const Bytes whole = rsaPublicKeyDer(fakePublicBlob(512));
    const std::size_t modulusEnd = whole.size() - 5;
    for (std::size_t length = 0; length < modulusEnd; ++length) {
        StagedModulus modulus;
        EXPECT_FALSE(reads(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)), modulus))
            << length;
    }
}

TEST(request_body_test, ThePublicKeyHasALeadingZeroByteAndExponent65537) {
    for (const DWORD bits : {512U, 1024U, 2048U, 4096U})
        EXPECT_EQ(hexOf(enrol::writePublicKey(stagedFake(bits))), toHex(publicKeyOf(bits)));
}

TEST(request_body_test, TheRequestInfoWithAnEmptySubject) {
    for (const DWORD bits : {512U, 1024U, 2048U, 4096U}) {
        const BerValue key = enrol::writePublicKey(stagedFake(bits));
        EXPECT_EQ(hexOf(enrol::writeRequestInfo(*key, nullptr, 0)), toHex(requestInfoOf(bits, hex("30 00"))));
    }
}

TEST(request_body_test, TheRequestInfoWithASubject) {
    const Bytes subject = hex("30 0C 31 0A 30 08 06 03 55 04 03 0C 01 61");
    const BerValue key = enrol::writePublicKey(stagedFake(2048));
    EXPECT_EQ(hexOf(enrol::writeRequestInfo(*key, subject.data(), subject.size())),
              toHex(requestInfoOf(2048, subject)));
}

TEST(request_body_test, TheRequestHoldsInfoAlgorithmAndSignature) {
    const BerValue key = enrol::writePublicKey(stagedFake(1024));
    const BerValue info = enrol::writeRequestInfo(*key, nullptr, 0);
    const Bytes signature = support::fakeSignature(1024, 1, {1, 2, 3});
    const BerValue request = enrol::writeRequest(*info, 0x8004, signature.data(), signature.size());
    EXPECT_EQ(
        hexOf(request),
        toHex(tlv(0x30, join({requestInfoOf(1024, hex("30 00")), hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 05 05 00"),
                              tlv(0x03, join({{0}, signature}))}))));
}

// labelOf gives the last arc of the signature algorithm.
int labelOf(std::int32_t hashAlgId) {
    const BerValue key = enrol::writePublicKey(stagedFake(512));
    const BerValue info = enrol::writeRequestInfo(*key, nullptr, 0);
    const std::uint8_t signature[] = {1, 2, 3};
    const BerValue request = enrol::writeRequest(*info, hashAlgId, signature, sizeof(signature));
    const std::int32_t algorithmEnd = request->used - 6;  // 03 04 00 and the signature
    EXPECT_EQ(toHex(request->buffer + algorithmEnd - 15, 12), "30 0D 06 09 2A 86 48 86 F7 0D 01 01");
    return request->buffer[algorithmEnd - 3];
}

TEST(request_body_test, EveryHashButMd5IsLabelledSha1) {
    EXPECT_EQ(labelOf(0x8003), 4);
    for (const std::int32_t hashAlgId : {0x8004, 0x8001, 0x8002, 0x800C, 0, 1, -1, -0x7FFD, 0x18003})
        EXPECT_EQ(labelOf(hashAlgId), 5) << hashAlgId;
}

TEST(request_body_test, ALargeSubjectGrowsTheRequest) {
    const Bytes subject = tlv(0x30, tlv(0x31, tlv(0x30, join({hex("06 03 55 04 03"), tlv(0x0C, Bytes(100000, 'x'))}))));
    const BerValue key = enrol::writePublicKey(stagedFake(512));
    EXPECT_EQ(hexOf(enrol::writeRequestInfo(*key, subject.data(), subject.size())), toHex(requestInfoOf(512, subject)));
}

TEST(request_body_test, TheAddressHas19Characters) {
    EXPECT_STREQ(enrol::kRequestEmail, "enroll@vemtrel.test");
}

}  // namespace
