#include "pki/flat/ms_key.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "pki/flat/flat.h"
#include "tests/flat/when_allocation_fails.h"
#include "tests/support/hex.h"
#include "tests/vectors/ms_public_keys.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

constexpr std::size_t kHeader = 20;

// A public key blob of any bit length and exponent; the modulus has so many bytes as are given, little-endian.
Bytes makeBlob(std::uint32_t bits, std::uint32_t exponent, const Bytes& modulus) {
    Bytes blob = hex("06 02 00 00 00 24 00 00 52 53 41 31");
    for (const std::uint32_t word : {bits, exponent})
        for (int shift = 0; shift < 32; shift += 8)
            blob.push_back(static_cast<std::uint8_t>(word >> shift));
    blob.insert(blob.end(), modulus.begin(), modulus.end());
    return blob;
}

Bytes bytesOf(const PKCS_Blob& blob) {
    return {blob.data, blob.data + blob.length};
}

Bytes exponentOf(std::uint32_t exponent) {
    PKCS_PubKey key = {};
    EXPECT_EQ(VT_MSPubKeyToVPK(nullptr, makeBlob(512, exponent, Bytes(64, 0xC1)).data(), &key), 0);
    Bytes bytes = bytesOf(key.publicExponent);
    PKCS_FreePubKey(&key);
    return bytes;
}

Bytes exportedDer(const Bytes& blob) {
    std::uint32_t length = 0;
    EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), nullptr, &length), 0);
    Bytes der(length);
    EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), der.data(), &length), 0);
    EXPECT_EQ(length, der.size());
    return der;
}

Bytes internalDer(const Bytes& blob) {
    std::uint32_t length = 0;
    EXPECT_EQ(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), nullptr, &length), 0);
    Bytes der(length);
    EXPECT_EQ(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), der.data(), &length), 0);
    EXPECT_EQ(length, der.size());
    return der;
}

Bytes withoutLeadingZeros(Bytes bytes) {
    while (!bytes.empty() && bytes.front() == 0)
        bytes.erase(bytes.begin());
    return bytes;
}

TEST(ms_key_test, NumbersAreThoseOfOpenssl) {
    for (const MsPublicKey& vector : kMsPublicKeys) {
        if (vector.bits == 4096)
            continue;
        PKCS_PubKey key = {};
        ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, hex(vector.blob).data(), &key), 0) << vector.bits;
        EXPECT_EQ(toHex(bytesOf(key.modulus)), toHex(hex(vector.modulus)));
        std::uint32_t exponent = 0;
        for (const std::uint8_t byte : bytesOf(key.publicExponent))
            exponent = exponent << 8 | byte;
        EXPECT_EQ(exponent, vector.exponent);
        EXPECT_EQ(key.modulus.data[key.modulus.length], 0);
        EXPECT_EQ(key.publicExponent.data[key.publicExponent.length], 0);
        PKCS_FreePubKey(&key);
    }
}

TEST(ms_key_test, DerIsThatOfOpenssl) {
    for (const MsPublicKey& vector : kMsPublicKeys) {
        const Bytes blob = hex(vector.blob);
        EXPECT_EQ(toHex(internalDer(blob)), toHex(hex(vector.der))) << vector.bits;
        if (vector.bits != 4096) {
            EXPECT_EQ(toHex(exportedDer(blob)), toHex(hex(vector.der))) << vector.bits;
        }
    }
}

TEST(ms_key_test, ExponentIsTheShortestTwosComplementOfAnUnsignedWord) {
    EXPECT_EQ(toHex(exponentOf(65537)), "01 00 01");
    EXPECT_EQ(toHex(exponentOf(3)), "03");
    EXPECT_EQ(toHex(exponentOf(0x7F)), "7F");
    EXPECT_EQ(toHex(exponentOf(0x80)), "00 80");
    EXPECT_EQ(toHex(exponentOf(0x7FFF)), "7F FF");
    EXPECT_EQ(toHex(exponentOf(0x8000)), "00 80 00");
    EXPECT_EQ(toHex(exponentOf(0x80000001)), "00 80 00 00 01");
    EXPECT_EQ(toHex(exponentOf(0xFFFFFFFF)), "00 FF FF FF FF");
    EXPECT_EQ(toHex(exponentOf(0)), "");
}

TEST(ms_key_test, DerIntegersAreShortest) {
    struct Case {
        std::uint32_t exponent;
        std::uint8_t mostSignificant;
        const char* start;
        const char* end;
    };
    for (const Case& c : {Case{0x80000001, 0x80, "30 4A 02 41 00 80", "02 05 00 80 00 00 01"},
                          Case{3, 0x7F, "30 45 02 40 7F", "02 01 03"}, Case{0, 0x01, "30 45 02 40 01", "02 01 00"}}) {
        Bytes modulus(64, 0x11);
        modulus.back() = c.mostSignificant;
        const Bytes blob = makeBlob(512, c.exponent, modulus);
        for (const Bytes& der : {exportedDer(blob), internalDer(blob)}) {
            const std::string text = toHex(der);
            EXPECT_THAT(text, testing::StartsWith(c.start));
            EXPECT_THAT(text, testing::EndsWith(c.end));
        }
    }
}

TEST(ms_key_test, LeadingZerosOfTheModulusStayInTheRecordAndLeaveTheDer) {
    Bytes modulus(64, 0);
    modulus[0] = 0x85;
    const Bytes blob = makeBlob(512, 65537, modulus);
    PKCS_PubKey key = {};
    ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, blob.data(), &key), 0);
    EXPECT_EQ(key.modulus.length, 64U);
    EXPECT_EQ(toHex(withoutLeadingZeros(bytesOf(key.modulus))), "85");
    PKCS_FreePubKey(&key);
    EXPECT_EQ(toHex(exportedDer(blob)), "30 09 02 02 00 85 02 03 01 00 01");
    EXPECT_EQ(toHex(internalDer(blob)), "30 09 02 02 00 85 02 03 01 00 01");
}

TEST(ms_key_test, ZeroModulusIsTheIntegerZero) {
    const Bytes blob = makeBlob(512, 65537, Bytes(64, 0));
    EXPECT_EQ(toHex(exportedDer(blob)), "30 08 02 01 00 02 03 01 00 01");
}

// The length bytes of the DER: one below 128, two below 256, three from 256 on.
TEST(ms_key_test, DerLengthsAreShortest) {
    const auto start = [](std::size_t significant) {
        Bytes modulus(256, 0);
        for (std::size_t i = 0; i < significant; ++i)
            modulus[i] = 0x11;
        return toHex(exportedDer(makeBlob(2048, 65537, modulus))).substr(0, 20);
    };
    EXPECT_THAT(start(120), testing::StartsWith("30 7F 02 78 11"));
    EXPECT_THAT(start(121), testing::StartsWith("30 81 80 02 79 11"));
    EXPECT_THAT(start(127), testing::StartsWith("30 81 86 02 7F 11"));
    EXPECT_THAT(start(128), testing::StartsWith("30 81 88 02 81 80"));
    EXPECT_THAT(start(247), testing::StartsWith("30 81 FF 02 81 F7"));
    EXPECT_THAT(start(248), testing::StartsWith("30 82 01 00 02 81"));
    EXPECT_THAT(start(255), testing::StartsWith("30 82 01 07 02 81"));
    EXPECT_THAT(start(256), testing::StartsWith("30 82 01 09 02 82"));
}

TEST(ms_key_test, OtherBitLengthsAreRefused) {
    PKCS_PubKey key = {};
    std::uint32_t length = 77;
    for (const std::uint32_t bits : {0U, 8U, 768U, 2047U, 2056U, 4096U, 0x00080000U, 0xFFFFFFFFU}) {
        const Bytes blob = makeBlob(bits, 65537, Bytes(512, 0x11));
        EXPECT_EQ(VT_MSPubKeyToVPK(nullptr, blob.data(), &key), -1008) << bits;
        EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), nullptr, &length), -1008) << bits;
        if (bits != 4096) {
            EXPECT_EQ(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), nullptr, &length), -1008) << bits;
        }
    }
    EXPECT_EQ(key.modulus.data, nullptr);
    EXPECT_EQ(length, 77U);
}

TEST(ms_key_test, HeaderIsReadForItsBitLengthAlone) {
    Bytes blob = hex(kMsPublicKeys[0].blob);
    for (std::size_t i = 0; i < 12; ++i)
        blob[i] = 0xEE;
    EXPECT_EQ(toHex(exportedDer(blob)), toHex(hex(kMsPublicKeys[0].der)));
    EXPECT_EQ(toHex(internalDer(blob)), toHex(hex(kMsPublicKeys[0].der)));
}

TEST(ms_key_test, UnusedArgumentIsNotLookedAt) {
    PKCS_PubKey key = {};
    int anything = 0;
    EXPECT_EQ(VT_MSPubKeyToVPK(&anything, hex(kMsPublicKeys[0].blob).data(), &key), 0);
    PKCS_FreePubKey(&key);
}

TEST(ms_key_test, NullArgumentsAreRefused) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    PKCS_PubKey key = {};
    std::uint32_t length = 0;
    std::uint8_t der[100] = {};
    EXPECT_EQ(VT_MSPubKeyToVPK(nullptr, nullptr, &key), -1010);
    EXPECT_EQ(VT_MSPubKeyToVPK(nullptr, blob.data(), nullptr), -1010);
    EXPECT_EQ(VT_MSPubKeyToP1Der(nullptr, der, &length), -1010);
    EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), der, nullptr), -1010);
    EXPECT_EQ(flat::publicKeyBlobToP1Der(nullptr, blob.size(), der, &length), -1010);
    EXPECT_EQ(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), der, nullptr), -1010);
}

TEST(ms_key_test, OutputRecordIsOverwrittenUnread) {
    PKCS_PubKey key;
    std::memset(&key, 0xA5, sizeof key);
    ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, hex(kMsPublicKeys[0].blob).data(), &key), 0);
    EXPECT_EQ(key.modulus.length, 64U);
    PKCS_FreePubKey(&key);
}

TEST(ms_key_test, TooSmallABufferIsRefusedUntouched) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    const std::size_t size = hex(kMsPublicKeys[0].der).size();
    for (std::uint32_t capacity = 0; capacity < size; ++capacity) {
        Bytes der(capacity + 1, 0x55);
        std::uint32_t length = capacity;
        EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), der.data(), &length), -1019);
        EXPECT_EQ(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), der.data(), &length), -1019);
        EXPECT_EQ(length, capacity);
        EXPECT_THAT(der, testing::Each(0x55));
    }
}

TEST(ms_key_test, LargerBufferGetsTheLength) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    const Bytes expected = hex(kMsPublicKeys[0].der);
    Bytes der(200, 0x55);
    std::uint32_t length = 200;
    EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), der.data(), &length), 0);
    EXPECT_EQ(length, expected.size());
    EXPECT_EQ(der[length], 0x55);
    der.resize(length);
    EXPECT_EQ(der, expected);
}

TEST(ms_key_test, NullOutputGivesTheLengthWhateverItHeld) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    std::uint32_t length = 1;
    EXPECT_EQ(VT_MSPubKeyToP1Der(blob.data(), nullptr, &length), 0);
    EXPECT_EQ(length, hex(kMsPublicKeys[0].der).size());
}

TEST(ms_key_test, ExhaustedMemory) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    PKCS_PubKey key = {};
    std::uint32_t length = 77;
    for (const long n : {1, 2}) {
        EXPECT_EQ(whenAllocationFails(n, [&] { return VT_MSPubKeyToVPK(nullptr, blob.data(), &key); }), -1031) << n;
        EXPECT_EQ(whenAllocationFails(n, [&] { return VT_MSPubKeyToP1Der(blob.data(), nullptr, &length); }), -1031);
    }
    EXPECT_EQ(key.modulus.data, nullptr);
    EXPECT_EQ(length, 77U);
}

TEST(ms_key_test, InternalConverterAllocatesNothing) {
    const Bytes blob = hex(kMsPublicKeys[0].blob);
    std::uint8_t der[128] = {};
    std::uint32_t length = sizeof der;
    const auto convert = [&] { return flat::publicKeyBlobToP1Der(blob.data(), blob.size(), der, &length); };
    EXPECT_EQ(whenAllocationFails(1, convert), 0);
}

TEST(ms_key_test, BlobCutAtAnyByteIsRefused) {
    for (const MsPublicKey& vector : kMsPublicKeys) {
        const Bytes blob = hex(vector.blob);
        std::uint32_t length = 0;
        for (std::size_t cut = 0; cut < blob.size(); ++cut) {
            const Bytes part(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(cut));
            const std::uint8_t none = 0;
            const std::uint8_t* start = part.empty() ? &none : part.data();
            EXPECT_EQ(flat::publicKeyBlobToP1Der(start, cut, nullptr, &length), -1008) << cut << " of " << blob.size();
        }
    }
}

TEST(ms_key_test, BytesBehindTheModulusAreLeftAlone) {
    Bytes blob = hex(kMsPublicKeys[0].blob);
    ASSERT_EQ(blob.size(), kHeader + 64);
    blob.push_back(0xEE);
    EXPECT_EQ(toHex(internalDer(blob)), toHex(hex(kMsPublicKeys[0].der)));
}

}  // namespace
