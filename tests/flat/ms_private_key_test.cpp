// Microsoft private key blobs, and the public ones that are written: between blob and record.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "pki/flat/flat.h"
#include "tests/flat/when_allocation_fails.h"
#include "tests/support/hex.h"
#include "tests/vectors/ms_private_keys.h"

namespace {

using support::Bytes;
using support::hex;
using support::toHex;

Bytes bytesOf(const PKCS_Blob& blob) {
    return {blob.data, blob.data + blob.length};
}

Bytes slice(const Bytes& bytes, std::size_t start, std::size_t length) {
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(start);
    return {first, first + static_cast<std::ptrdiff_t>(length)};
}

Bytes reversed(Bytes bytes) {
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

// The layout, number by number.
struct Place {
    const char* name;
    PKCS_Blob PKCS_PriKey::*number;
    std::size_t offset2048;
    std::size_t offset1024;
    std::uint32_t bitsToBytes;  // its length is the bit length divided by this
};

constexpr Place kPlaces[] = {
    {"modulus", &PKCS_PriKey::modulus, 20, 20, 8},
    {"prime 1", &PKCS_PriKey::prime1, 276, 148, 16},
    {"prime 2", &PKCS_PriKey::prime2, 404, 212, 16},
    {"exponent 1", &PKCS_PriKey::exponent1, 532, 276, 16},
    {"exponent 2", &PKCS_PriKey::exponent2, 660, 340, 16},
    {"coefficient", &PKCS_PriKey::coefficient, 788, 404, 16},
    {"private exponent", &PKCS_PriKey::privateExponent, 916, 468, 8},
};

// A record whose numbers are told apart by their bytes: number n has 10n, 10n + 1, ...
class Record {
  public:
    explicit Record(std::uint32_t bits) {
        for (std::size_t i = 0; i < std::size(kPlaces); ++i)
            set(i, bits / kPlaces[i].bitsToBytes);
        numbers_[7] = hex("01 00 01");
        record_.publicExponent = {numbers_[7].data(), 3};
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    // set makes number i as long as that.
    void set(std::size_t i, std::size_t length) {
        Bytes& bytes = numbers_[i];
        bytes.resize(length + 1);  // never null
        for (std::size_t at = 0; at < length; ++at)
            bytes[at] = static_cast<std::uint8_t>(0x10 * (i + 1) + at);
        record_.*kPlaces[i].number = {bytes.data(), static_cast<std::uint32_t>(length)};
    }

    void setExponent(const char* text) {
        numbers_[7] = hex(text);
        const auto length = static_cast<std::uint32_t>(numbers_[7].size());
        numbers_[7].push_back(0);
        record_.publicExponent = {numbers_[7].data(), length};
    }

    Bytes number(std::size_t i) const { return bytesOf(record_.*kPlaces[i].number); }
    PKCS_PriKey& operator*() { return record_; }

  private:
    Bytes numbers_[8];
    PKCS_PriKey record_ = {};
};

class PrivateRecord {
  public:
    explicit PrivateRecord(const Bytes& blob) : code(VT_MSPriKeyToVPK(nullptr, blob.data(), &record)) {}
    ~PrivateRecord() { PKCS_FreePriKey(&record); }
    PrivateRecord(const PrivateRecord&) = delete;
    PrivateRecord& operator=(const PrivateRecord&) = delete;

    PKCS_PriKey record = {};
    const int32_t code;
};

// A buffer that could be any blob of that size, with the bit length in its place.
Bytes anyBlob(std::uint32_t bits, std::size_t size = 1172) {
    Bytes blob(size);
    for (std::size_t i = 0; i < size; ++i)
        blob[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    for (int i = 0; i < 4; ++i)
        blob[12 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bits >> (8 * i));
    return blob;
}

using Writer = int32_t (*)(void*, const PKCS_PriKey*, std::uint8_t*, std::uint32_t*);
struct Size {
    std::uint32_t bits;
    std::size_t bytes;
    Writer write;
    std::size_t Place::*offset;
};
constexpr Size kSizes[] = {{2048, 1172, VT_VPKToMSPriKey, &Place::offset2048},
                           {1024, 596, VT_VPKToMSPriKey1024, &Place::offset1024}};

const MsPrivateKey& keyOf(unsigned int bits, unsigned int exponent = 65537) {
    return *std::find_if(std::begin(kMsPrivateKeys), std::end(kMsPrivateKeys),
                         [&](const MsPrivateKey& key) { return key.bits == bits && key.exponent == exponent; });
}

// ---- Reading

TEST(ms_private_key_test, EachNumberIsReadFromItsOffset) {
    const Bytes blob = anyBlob(2048);
    const PrivateRecord read(blob);
    ASSERT_EQ(read.code, 0);
    for (const Place& place : kPlaces) {
        const PKCS_Blob& number = read.record.*place.number;
        EXPECT_EQ(toHex(bytesOf(number)), toHex(reversed(slice(blob, place.offset2048, 2048 / place.bitsToBytes))))
            << place.name;
        EXPECT_EQ(number.data[number.length], 0) << place.name;
    }
    EXPECT_EQ(toHex(bytesOf(read.record.publicExponent)), "00 " + toHex(reversed(slice(blob, 16, 4))));
}

// Callers have always got these numbers, which are those of no key.
TEST(ms_private_key_test, SmallerBlobsAreReadAtTheOffsetsOfALargeOne) {
    for (const std::uint32_t bits : {512U, 1024U}) {
        const Bytes blob = anyBlob(bits);
        const PrivateRecord read(blob);
        ASSERT_EQ(read.code, 0);
        for (const Place& place : kPlaces)
            EXPECT_EQ(toHex(bytesOf(read.record.*place.number)),
                      toHex(reversed(slice(blob, place.offset2048, bits / place.bitsToBytes))))
                << place.name << " of " << bits;
    }
}

TEST(ms_private_key_test, ABlobOfOpensslOf1024BitsGivesItsModulusAndWrongNumbers) {
    Bytes blob = hex(keyOf(1024).blob);
    ASSERT_EQ(blob.size(), 596u);
    const Bytes prime = reversed(slice(blob, 148, 64));
    blob.resize(1172);
    const PrivateRecord read(blob);
    ASSERT_EQ(read.code, 0);
    EXPECT_EQ(toHex(bytesOf(read.record.modulus)), toHex(reversed(slice(blob, 20, 128))));
    EXPECT_NE(toHex(bytesOf(read.record.prime1)), toHex(prime));
    EXPECT_EQ(toHex(bytesOf(read.record.privateExponent)), toHex(Bytes(128, 0)));
}

// Nothing beyond what is read is touched: each buffer ends where the last number does, for the sanitizer to see.
TEST(ms_private_key_test, NothingBehindTheLastNumberIsRead) {
    EXPECT_EQ(PrivateRecord(anyBlob(2048, 1172)).code, 0);
    EXPECT_EQ(PrivateRecord(anyBlob(1024, 1044)).code, 0);
    EXPECT_EQ(PrivateRecord(anyBlob(512, 980)).code, 0);
    EXPECT_EQ(PrivateRecord(anyBlob(768, 16)).code, -1008);
}

TEST(ms_private_key_test, OtherBitLengthsAreRefused) {
    for (const std::uint32_t bits : {0U, 8U, 768U, 2047U, 2056U, 4096U, 0x00080000U, 0xFFFFFFFFU}) {
        const PrivateRecord read(anyBlob(bits));
        EXPECT_EQ(read.code, -1008) << bits;
        EXPECT_EQ(read.record.modulus.data, nullptr);
    }
}

TEST(ms_private_key_test, ExponentIsTheShortestTwosComplementOfAnUnsignedWord) {
    const auto exponentOf = [](const char* word) {
        Bytes blob = anyBlob(512);
        const Bytes bytes = hex(word);
        std::copy(bytes.begin(), bytes.end(), blob.begin() + 16);
        return toHex(bytesOf(PrivateRecord(blob).record.publicExponent));
    };
    EXPECT_EQ(exponentOf("01 00 01 00"), "01 00 01");
    EXPECT_EQ(exponentOf("03 00 00 00"), "03");
    EXPECT_EQ(exponentOf("80 00 00 00"), "00 80");
    EXPECT_EQ(exponentOf("01 00 80 00"), "00 80 00 01");
    EXPECT_EQ(exponentOf("01 00 00 80"), "00 80 00 00 01");
    EXPECT_EQ(exponentOf("00 00 00 00"), "");
}

TEST(ms_private_key_test, HeaderIsReadForItsBitLengthAlone) {
    Bytes blob = hex(keyOf(2048).blob);
    const PrivateRecord before(blob);
    std::fill(blob.begin(), blob.begin() + 12, std::uint8_t{0xEE});
    const PrivateRecord after(blob);
    ASSERT_EQ(after.code, 0);
    EXPECT_EQ(bytesOf(after.record.coefficient), bytesOf(before.record.coefficient));
}

TEST(ms_private_key_test, ReadingNeedsItsArguments) {
    const Bytes blob = anyBlob(2048);
    PKCS_PriKey key = {};
    int anything = 0;
    EXPECT_EQ(VT_MSPriKeyToVPK(nullptr, nullptr, &key), -1010);
    EXPECT_EQ(VT_MSPriKeyToVPK(nullptr, blob.data(), nullptr), -1010);
    EXPECT_EQ(VT_MSPriKeyToVPK(&anything, blob.data(), &key), 0) << "the first is not looked at";
    PKCS_FreePriKey(&key);
}

TEST(ms_private_key_test, OutputRecordIsOverwrittenUnread) {
    const Bytes blob = anyBlob(2048);
    PKCS_PriKey key;
    std::memset(&key, 0xA5, sizeof key);
    ASSERT_EQ(VT_MSPriKeyToVPK(nullptr, blob.data(), &key), 0);
    EXPECT_EQ(key.coefficient.length, 128u);
    PKCS_FreePriKey(&key);
}

TEST(ms_private_key_test, ExhaustedMemoryLeavesTheRecordAlone) {
    const Bytes blob = anyBlob(2048);
    PKCS_PriKey key = {};
    for (long n = 1; n <= 8; ++n)
        EXPECT_EQ(whenAllocationFails(n, [&] { return VT_MSPriKeyToVPK(nullptr, blob.data(), &key); }), -1031) << n;
    EXPECT_EQ(key.modulus.data, nullptr);
    EXPECT_EQ(whenAllocationFails(9, [&] { return VT_MSPriKeyToVPK(nullptr, blob.data(), &key); }), 0);
    PKCS_FreePriKey(&key);
}

// ---- Writing

TEST(ms_private_key_test, EachNumberIsWrittenToItsOffset) {
    for (const Size& size : kSizes) {
        Record key(size.bits);
        Bytes blob(size.bytes, 0xAA);
        auto length = static_cast<std::uint32_t>(size.bytes);
        ASSERT_EQ(size.write(nullptr, &*key, blob.data(), &length), 0);
        EXPECT_EQ(length, size.bytes);
        for (std::size_t i = 0; i < std::size(kPlaces); ++i)
            EXPECT_EQ(toHex(slice(blob, kPlaces[i].*size.offset, size.bits / kPlaces[i].bitsToBytes)),
                      toHex(reversed(key.number(i))))
                << kPlaces[i].name << " of " << size.bits;
    }
}

TEST(ms_private_key_test, HeaderOfAPrivateBlob) {
    for (const Size& size : kSizes) {
        Record key(size.bits);
        Bytes blob(size.bytes, 0xAA);
        auto length = static_cast<std::uint32_t>(size.bytes);
        ASSERT_EQ(size.write(nullptr, &*key, blob.data(), &length), 0);
        EXPECT_EQ(toHex(slice(blob, 0, 20)), std::string("07 02 00 00 00 A4 00 00 52 53 41 32 ") +
                                                 (size.bits == 2048 ? "00 08 00 00" : "00 04 00 00") + " 01 00 01 00");
    }
}

TEST(ms_private_key_test, BlobsAreThoseOfOpenssl) {
    for (const MsPrivateKey& vector : kMsPrivateKeys) {
        if (vector.bits != 2048)
            continue;
        const Bytes blob = hex(vector.blob);
        const PrivateRecord read(blob);
        ASSERT_EQ(read.code, 0);
        Bytes written(1172);
        std::uint32_t length = 1172;
        ASSERT_EQ(VT_VPKToMSPriKey(nullptr, &read.record, written.data(), &length), 0);
        EXPECT_EQ(toHex(written), toHex(blob));
    }
}

TEST(ms_private_key_test, AShorterNumberLeavesTheRestOfItsPlace) {
    for (const Size& size : kSizes) {
        for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
            Record key(size.bits);
            const std::size_t place = size.bits / kPlaces[i].bitsToBytes;
            for (const std::size_t given : {place - 3, std::size_t{0}}) {
                key.set(i, given);
                Bytes blob(size.bytes, 0xAA);
                auto length = static_cast<std::uint32_t>(size.bytes);
                ASSERT_EQ(size.write(nullptr, &*key, blob.data(), &length), 0);
                const Bytes written = slice(blob, kPlaces[i].*size.offset, place);
                EXPECT_EQ(slice(written, 0, given), reversed(key.number(i))) << kPlaces[i].name;
                EXPECT_THAT(slice(written, given, place - given), testing::Each(0xAA)) << kPlaces[i].name;
            }
        }
    }
}

TEST(ms_private_key_test, ALongerNumberIsRefusedAndWritesNothing) {
    for (const Size& size : kSizes) {
        for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
            Record key(size.bits);
            key.set(i, size.bits / kPlaces[i].bitsToBytes + 1);
            Bytes blob(size.bytes + 8, 0xAA);
            auto length = static_cast<std::uint32_t>(size.bytes);
            EXPECT_EQ(size.write(nullptr, &*key, blob.data(), &length), -1006) << kPlaces[i].name;
            EXPECT_EQ(length, size.bytes);
            EXPECT_EQ(toHex(slice(blob, 0, 4)), "07 02 00 00");
            EXPECT_THAT(slice(blob, 16, size.bytes - 8), testing::Each(0xAA)) << kPlaces[i].name;
        }
    }
}

TEST(ms_private_key_test, ExponentIsWrittenByItsValue) {
    const auto written = [](const char* exponent) -> std::string {
        Record key(2048);
        key.setExponent(exponent);
        Bytes blob(1172, 0xAA);
        std::uint32_t length = 1172;
        const int32_t result = VT_VPKToMSPriKey(nullptr, &*key, blob.data(), &length);
        return result == 0 ? toHex(slice(blob, 16, 4)) : "code " + std::to_string(result);
    };
    EXPECT_EQ(written("01 00 01"), "01 00 01 00");
    EXPECT_EQ(written("03"), "03 00 00 00");
    EXPECT_EQ(written("80 00 01"), "01 00 80 00");
    EXPECT_EQ(written("00 80 00 01"), "01 00 80 00");
    EXPECT_EQ(written("FF FF FF FF"), "FF FF FF FF");
    EXPECT_EQ(written("00 00 FF FF FF FF"), "FF FF FF FF");
    EXPECT_EQ(written("01 00 00 00 00"), "code -1006");
    EXPECT_EQ(written(""), "00 00 00 00");
}

TEST(ms_private_key_test, AnAbsentNumberIsRefused) {
    for (const Size& size : kSizes) {
        Bytes blob(size.bytes, 0xAA);
        auto length = static_cast<std::uint32_t>(size.bytes);
        for (const Place& place : kPlaces) {
            Record key(size.bits);
            (*key).*place.number = PKCS_Blob{nullptr, 16};
            EXPECT_EQ(size.write(nullptr, &*key, blob.data(), &length), -1003) << place.name;
        }
        Record key(size.bits);
        (*key).publicExponent = PKCS_Blob{nullptr, 3};
        EXPECT_EQ(size.write(nullptr, &*key, blob.data(), &length), -1003);
        EXPECT_THAT(slice(blob, 16, size.bytes - 16), testing::Each(0xAA));
    }
}

TEST(ms_private_key_test, NullOutputGivesTheLength) {
    for (const Size& size : kSizes) {
        Record key(size.bits);
        std::uint32_t length = 1;
        EXPECT_EQ(size.write(nullptr, &*key, nullptr, &length), 0);
        EXPECT_EQ(length, size.bytes);
    }
}

TEST(ms_private_key_test, TooSmallABufferIsRefusedUntouched) {
    for (const Size& size : kSizes) {
        Record key(size.bits);
        for (const std::uint32_t capacity : {0U, 1U, static_cast<std::uint32_t>(size.bytes) - 1}) {
            Bytes blob(size.bytes, 0xAA);
            std::uint32_t length = capacity;
            EXPECT_EQ(size.write(nullptr, &*key, blob.data(), &length), -1019);
            EXPECT_EQ(length, capacity);
            EXPECT_THAT(blob, testing::Each(0xAA));
        }
        Bytes larger(size.bytes + 4, 0xAA);
        auto length = static_cast<std::uint32_t>(larger.size());
        EXPECT_EQ(size.write(nullptr, &*key, larger.data(), &length), 0);
        EXPECT_EQ(length, size.bytes);
        EXPECT_THAT(slice(larger, size.bytes, 4), testing::Each(0xAA));
    }
}

TEST(ms_private_key_test, WritingNeedsItsArguments) {
    for (const Size& size : kSizes) {
        Record key(size.bits);
        Bytes blob(size.bytes);
        auto length = static_cast<std::uint32_t>(size.bytes);
        int anything = 0;
        EXPECT_EQ(size.write(nullptr, nullptr, blob.data(), &length), -1010);
        EXPECT_EQ(size.write(nullptr, &*key, blob.data(), nullptr), -1010);
        EXPECT_EQ(size.write(nullptr, nullptr, nullptr, &length), -1010);
        EXPECT_EQ(size.write(&anything, &*key, blob.data(), &length), 0);
    }
}

// ---- Writing public blobs

class PublicBlob {
  public:
    PublicBlob(Bytes newModulus, Bytes newExponent)
        : modulus(std::move(newModulus)), exponent(std::move(newExponent)), blob(276, 0xAA) {
        key = {{modulus.data(), static_cast<std::uint32_t>(modulus.size())},
               {exponent.data(), static_cast<std::uint32_t>(exponent.size())}};
        code = VT_VPKToMSPubKey(nullptr, &key, blob.data(), &length);
    }
    PublicBlob(const PublicBlob&) = delete;
    PublicBlob& operator=(const PublicBlob&) = delete;

    Bytes modulus;
    Bytes exponent;
    PKCS_PubKey key = {};
    Bytes blob;
    std::uint32_t length = 276;
    int32_t code = 0;
};

Bytes modulusOf(std::size_t size) {
    Bytes modulus(size);
    for (std::size_t i = 0; i < size; ++i)
        modulus[i] = static_cast<std::uint8_t>(i + 1);
    return modulus;
}

TEST(ms_private_key_test, PublicBlobOf2048Bits) {
    const PublicBlob written(modulusOf(256), hex("01 00 01"));
    ASSERT_EQ(written.code, 0);
    EXPECT_EQ(written.length, 276u);
    EXPECT_EQ(toHex(slice(written.blob, 0, 20)), "06 02 00 00 00 24 00 00 52 53 41 31 00 08 00 00 01 00 01 00");
    EXPECT_EQ(slice(written.blob, 20, 256), reversed(modulusOf(256)));
}

// OpenSSL calls every key one for key exchange: bytes 4 to 7.
TEST(ms_private_key_test, PublicBlobIsThatOfOpensslButForTheAlgorithm) {
    Bytes expected = hex(keyOf(2048).publicBlob);
    ASSERT_EQ(toHex(slice(expected, 4, 4)), "00 A4 00 00");
    expected[5] = 0x24;
    PKCS_PubKey key = {};
    ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, expected.data(), &key), 0);
    Bytes blob(276);
    std::uint32_t length = 276;
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &key, blob.data(), &length), 0);
    PKCS_FreePubKey(&key);
    EXPECT_EQ(toHex(blob), toHex(expected));
}

TEST(ms_private_key_test, PublicExponentOfThreeBytesIsUnsigned) {
    EXPECT_EQ(toHex(slice(PublicBlob(modulusOf(256), hex("80 00 01")).blob, 16, 4)), "01 00 80 00");
    EXPECT_EQ(toHex(slice(PublicBlob(modulusOf(256), hex("FF FF FF")).blob, 16, 4)), "FF FF FF 00");
    EXPECT_EQ(toHex(slice(PublicBlob(modulusOf(256), hex("00 00 03")).blob, 16, 4)), "03 00 00 00");
}

TEST(ms_private_key_test, OtherPublicKeysAreRefusedBehindTheHeader) {
    const auto refused = [](std::size_t modulus, const char* exponent) {
        const PublicBlob written(modulusOf(modulus), hex(exponent));
        EXPECT_EQ(written.code, -1006) << modulus << " " << exponent;
        EXPECT_EQ(written.length, 276u);
        EXPECT_EQ(toHex(slice(written.blob, 0, 16)), "06 02 00 00 00 24 00 00 52 53 41 31 00 08 00 00");
        EXPECT_THAT(slice(written.blob, 16, 260), testing::Each(0xAA));
    };
    refused(128, "01 00 01");
    refused(64, "01 00 01");
    refused(255, "01 00 01");
    refused(257, "01 00 01");
    refused(256, "03");
    refused(256, "00 01");
    refused(256, "00 01 00 01");
    refused(256, "00 80 00 01");
    refused(256, "");
    refused(0, "01 00 01");
}

TEST(ms_private_key_test, PublicNumbersThatAreAbsentAreRefused) {
    Bytes modulus = modulusOf(256);
    Bytes exponent = hex("01 00 01");
    Bytes blob(276, 0xAA);
    std::uint32_t length = 276;
    const PKCS_PubKey noModulus = {{nullptr, 256}, {exponent.data(), 3}};
    const PKCS_PubKey noExponent = {{modulus.data(), 256}, {nullptr, 3}};
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &noModulus, blob.data(), &length), -1003);
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &noExponent, blob.data(), &length), -1003);
    EXPECT_THAT(slice(blob, 16, 260), testing::Each(0xAA));
}

TEST(ms_private_key_test, PublicBlobNeedsItsArgumentsAndRoom) {
    PublicBlob written(modulusOf(256), hex("01 00 01"));
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, nullptr, written.blob.data(), &written.length), -1010);
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &written.key, written.blob.data(), nullptr), -1010);
    std::uint32_t length = 7;
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &written.key, nullptr, &length), 0);
    EXPECT_EQ(length, 276u);
    const PKCS_PubKey empty = {};
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &empty, nullptr, &length), 0) << "whatever the key is";
    EXPECT_EQ(length, 276u);
    Bytes small(275, 0xAA);
    length = 275;
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &written.key, small.data(), &length), -1019);
    EXPECT_EQ(length, 275u);
    EXPECT_THAT(small, testing::Each(0xAA));
}

}  // namespace
