// Keys of the built-in provider: every size that a request may ask for, and the layout of their blobs.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"

namespace {

using support::Bytes;
using win32::Container;

constexpr std::size_t kBlobHead = sizeof(PUBLICKEYSTRUC) + sizeof(RSAPUBKEY);

template <class Record>
Record readAt(const Bytes& bytes, std::size_t offset) {
    Record record{};
    EXPECT_LE(offset + sizeof record, bytes.size());
    std::memcpy(&record, bytes.data() + offset, sizeof record);
    return record;
}

class win32_key_size_test : public testing::TestWithParam<DWORD> {};

TEST_P(win32_key_size_test, SizeIsTheOneAskedForAndBlobsHaveThePublishedLayout) {
    const DWORD bits = GetParam();
    Container container("vt-win32-sizes");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, bits, CRYPT_EXPORTABLE);
    ASSERT_NE(key, 0u);

    const Bytes open = Container::exported(key, PUBLICKEYBLOB);
    ASSERT_EQ(open.size(), kBlobHead + bits / 8);
    const auto head = readAt<PUBLICKEYSTRUC>(open, 0);
    EXPECT_EQ(head.bType, PUBLICKEYBLOB);
    EXPECT_EQ(head.bVersion, CUR_BLOB_VERSION);
    EXPECT_EQ(head.aiKeyAlg, static_cast<ALG_ID>(CALG_RSA_SIGN));
    const auto rsa = readAt<RSAPUBKEY>(open, sizeof head);
    EXPECT_EQ(rsa.magic, 0x31415352u);  // "RSA1"
    EXPECT_EQ(rsa.bitlen, bits);
    EXPECT_EQ(rsa.pubexp, 65537u);
    EXPECT_NE(open.back() & 0x80, 0) << "the modulus is shorter than the size says";
    EXPECT_EQ(open[kBlobHead] & 1, 1) << "the modulus is even";

    // Head, modulus, two primes, two exponents and the coefficient of half the length, and the private exponent.
    const Bytes secret = Container::exported(key, PRIVATEKEYBLOB);
    ASSERT_EQ(secret.size(), kBlobHead + bits / 8 + 5 * (bits / 16) + bits / 8);
    EXPECT_EQ(secret[0], PRIVATEKEYBLOB);
    EXPECT_EQ(readAt<RSAPUBKEY>(secret, sizeof head).magic, 0x32415352u);  // "RSA2"
    EXPECT_EQ(Bytes(secret.begin() + kBlobHead, secret.begin() + kBlobHead + bits / 8),
              Bytes(open.begin() + kBlobHead, open.end()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, win32_key_size_test, testing::Values(512, 1024, 2048, 4096),
                         testing::PrintToStringParamName());

}  // namespace
