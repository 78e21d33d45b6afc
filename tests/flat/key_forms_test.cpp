// RSA keys between records, PKCS#1 DER and Microsoft blobs, and RSA over data of any size.
#include <algorithm>
#include <functional>
#include <iterator>

#include "tests/flat/envelopes.h"
#include "tests/vectors/ms_private_keys.h"
#include "tests/vectors/token_values.h"

namespace {

using namespace envelopes;

using PublicRecord = records::PublicKeyOutput;
using PrivateRecord = records::PrivateKeyOutput;

constexpr PKCS_Blob PKCS_PriKey::*kNumbers[] = {
    &PKCS_PriKey::modulus, &PKCS_PriKey::publicExponent, &PKCS_PriKey::privateExponent, &PKCS_PriKey::prime1,
    &PKCS_PriKey::prime2,  &PKCS_PriKey::exponent1,      &PKCS_PriKey::exponent2,       &PKCS_PriKey::coefficient};

Bytes bytesOf(const PKCS_Blob& blob) {
    return {blob.data, blob.data + blob.length};
}

// The modulus and exponent of a private key.
PKCS_PubKey publicOf(const PKCS_PriKey& key) {
    return {key.modulus, key.publicExponent};
}

const MsPrivateKey& keyOf(unsigned int bits, unsigned int exponent = 65537) {
    return *std::find_if(std::begin(kMsPrivateKeys), std::end(kMsPrivateKeys),
                         [&](const MsPrivateKey& key) { return key.bits == bits && key.exponent == exponent; });
}

// What a converter with a length gives: its bytes, asked for twice.
using Convert = std::function<int32_t(std::uint8_t*, std::uint32_t*)>;
Bytes converted(const Convert& convert) {
    std::uint32_t length = 1;
    EXPECT_EQ(convert(nullptr, &length), 0);
    Bytes out(length + 1, 0);
    std::uint32_t written = length;
    EXPECT_EQ(convert(out.data(), &written), 0);
    EXPECT_EQ(written, length);
    EXPECT_EQ(out.back(), 0);
    out.pop_back();
    return out;
}

Bytes privateDer(const Bytes& blob) {
    return converted(
        [&](std::uint8_t* out, std::uint32_t* length) { return VT_MSPriKeyToP1Der(blob.data(), out, length); });
}

Bytes privateBlob(const Bytes& der) {
    return converted([&](std::uint8_t* out, std::uint32_t* length) {
        return VT_P1DerToMSPriKey(der.data(), static_cast<std::uint32_t>(der.size()), out, length);
    });
}

Bytes publicBlob(const Bytes& der) {
    return converted([&](std::uint8_t* out, std::uint32_t* length) {
        return VT_P1DerToMSPubKey(der.data(), static_cast<std::uint32_t>(der.size()), out, length);
    });
}

int32_t encodedPrivate(const PKCS_PriKey& key) {
    Output der;
    const int32_t code = VT_PKCS1PriKeyEncode(&key, der);
    EXPECT_TRUE(code == 0 || der.untouched());
    return code;
}

int32_t decodedPrivate(const Bytes& der) {
    PrivateRecord key;
    const int32_t code = VT_PKCS1PriKeyDecode(Input(der), &key.record);
    EXPECT_TRUE(code == 0 || key.record.modulus.data == nullptr);
    return code;
}

int32_t decodedPublic(const Bytes& der) {
    PublicRecord key;
    const int32_t code = VT_PKCS1PubKeyDecode(Input(der), &key.record);
    EXPECT_TRUE(code == 0 || key.record.modulus.data == nullptr);
    return code;
}

// ---- PKCS#1

TEST(key_forms_test, RecordsAreEncodedAsOpensslDoes) {
    for (const KeyVector& vector : kKeyVectors) {
        const PrivateKey key(vector.numbers);
        Output der;
        ASSERT_EQ(VT_PKCS1PriKeyEncode(key, der), 0);
        EXPECT_EQ(der.text(), hexOf(vector.privateDer)) << vector.bits;
        EXPECT_EQ(der.blob.data[der.blob.length], 0);
        const PKCS_PubKey publicKey = publicOf(key.record);
        Output publicDer;
        ASSERT_EQ(VT_PKCS1PubKeyEncode(&publicKey, publicDer), 0);
        EXPECT_EQ(publicDer.text(), hexOf(vector.publicDer)) << vector.bits;
    }
}

TEST(key_forms_test, DerOfOpensslGivesItsNumbers) {
    for (const KeyVector& vector : kKeyVectors) {
        if (vector.bits == 1032)
            continue;  // its own test
        PrivateRecord key;
        ASSERT_EQ(VT_PKCS1PriKeyDecode(Input(vector.privateDer), &key.record), 0);
        for (std::size_t i = 0; i < 8; ++i)
            EXPECT_EQ(toHex(bytesOf(key.record.*kNumbers[i])), hexOf(vector.numbers[i])) << vector.bits << " " << i;
        PublicRecord publicKey;
        ASSERT_EQ(VT_PKCS1PubKeyDecode(Input(vector.publicDer), &publicKey.record), 0);
        EXPECT_EQ(toHex(bytesOf(publicKey.record.modulus)), hexOf(vector.numbers[0]));
        EXPECT_EQ(toHex(bytesOf(publicKey.record.publicExponent)), hexOf(vector.numbers[1]));
    }
}

// The zero in front of a number goes where the number without it has a multiple of eight bytes, as whole keys have.
TEST(key_forms_test, TheZeroInFrontStaysWithOtherSizes) {
    const auto& vector = *std::find_if(std::begin(kKeyVectors), std::end(kKeyVectors),
                                       [](const KeyVector& key) { return key.bits == 1032; });
    PublicRecord key;
    ASSERT_EQ(VT_PKCS1PubKeyDecode(Input(vector.publicDer), &key.record), 0);
    EXPECT_EQ(key.record.modulus.length, 130u);
    EXPECT_EQ(toHex(bytesOf(key.record.modulus)), "00 " + hexOf(vector.numbers[0]));
    Output der;
    ASSERT_EQ(VT_PKCS1PubKeyEncode(&key.record, der), 0);
    EXPECT_EQ(der.text(), hexOf(vector.publicDer)) << "and does not count";
}

TEST(key_forms_test, NumbersAreWrittenInTheirShortestForm) {
    PrivateKey key(vectors::kRecipientKey);
    Output plain;
    ASSERT_EQ(VT_PKCS1PriKeyEncode(key, plain), 0);
    for (const auto number : kNumbers) {
        Bytes padded = der::join({hex("00 00 00"), bytesOf(key.record.*number)});
        const PKCS_Blob before = key.record.*number;
        key.record.*number = {padded.data(), static_cast<std::uint32_t>(padded.size())};
        Output der;
        ASSERT_EQ(VT_PKCS1PriKeyEncode(key, der), 0);
        EXPECT_EQ(der.text(), plain.text());
        key.record.*number = before;
    }
    Bytes modulus = hex("00 00 7F");
    Bytes exponent = hex("00");
    const PKCS_PubKey small = {{modulus.data(), 3}, {exponent.data(), 1}};
    Output der;
    ASSERT_EQ(VT_PKCS1PubKeyEncode(&small, der), 0);
    EXPECT_EQ(der.text(), "30 06 02 01 7F 02 01 00");
}

TEST(key_forms_test, EveryNumberMustBeThere) {
    std::uint8_t byte = 0;
    for (const auto number : kNumbers) {
        for (const PKCS_Blob& absent : {PKCS_Blob{nullptr, 0}, PKCS_Blob{nullptr, 4}, PKCS_Blob{&byte, 0}}) {
            PrivateKey key(vectors::kRecipientKey);
            key.record.*number = absent;
            EXPECT_EQ(encodedPrivate(key.record), kMaterialMissing);
        }
    }
    const PrivateKey key(vectors::kRecipientKey);
    for (const PKCS_Blob& absent : {PKCS_Blob{nullptr, 0}, PKCS_Blob{nullptr, 4}, PKCS_Blob{&byte, 0}}) {
        Output der;
        const PKCS_PubKey noModulus = {absent, key.record.publicExponent};
        const PKCS_PubKey noExponent = {key.record.modulus, absent};
        EXPECT_EQ(VT_PKCS1PubKeyEncode(&noModulus, der), kMaterialMissing);
        EXPECT_EQ(VT_PKCS1PubKeyEncode(&noExponent, der), kMaterialMissing);
        EXPECT_TRUE(der.untouched());
    }
}

TEST(key_forms_test, Pkcs1NeedsItsArguments) {
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    const Input der(kKeyVectors[0].privateDer);
    Output out;
    PublicRecord publicOut;
    PrivateRecord privateOut;
    EXPECT_EQ(VT_PKCS1PubKeyEncode(nullptr, out), kNullArgument);
    EXPECT_EQ(VT_PKCS1PubKeyEncode(&publicKey, nullptr), kNullArgument);
    EXPECT_EQ(VT_PKCS1PriKeyEncode(nullptr, out), kNullArgument);
    EXPECT_EQ(VT_PKCS1PriKeyEncode(key, nullptr), kNullArgument);
    EXPECT_EQ(VT_PKCS1PubKeyDecode(nullptr, &publicOut.record), kNullArgument);
    EXPECT_EQ(VT_PKCS1PubKeyDecode(der, nullptr), kNullArgument);
    EXPECT_EQ(VT_PKCS1PriKeyDecode(nullptr, &privateOut.record), kNullArgument);
    EXPECT_EQ(VT_PKCS1PriKeyDecode(der, nullptr), kNullArgument);
    EXPECT_EQ(VT_PKCS1PubKeyDecode(&kNullData, &publicOut.record), kMaterialMissing);
    EXPECT_EQ(VT_PKCS1PriKeyDecode(&kNullData, &privateOut.record), kMaterialMissing);
}

TEST(key_forms_test, MalformedDerIsRefused) {
    const Bytes good = hex(kKeyVectors[0].privateDer);
    EXPECT_EQ(decodedPrivate({}), VT_E_MALFORMED);
    EXPECT_EQ(decodedPublic({}), VT_E_MALFORMED);
    for (const support::Broken& cut : support::truncations(good)) {
        EXPECT_EQ(decodedPrivate(cut.bytes), VT_E_MALFORMED) << cut.place;
    }
    const Bytes goodPublic = hex(kKeyVectors[0].publicDer);
    for (const support::Broken& cut : support::truncations(goodPublic))
        EXPECT_EQ(decodedPublic(cut.bytes), VT_E_MALFORMED) << cut.place;
    EXPECT_EQ(decodedPrivate(goodPublic), VT_E_MALFORMED) << "a public key";
    EXPECT_EQ(decodedPublic(hex("04 02 30 00")), VT_E_MALFORMED);
}

TEST(key_forms_test, WhatFollowsTheDerDoesNotCount) {
    EXPECT_EQ(decodedPrivate(der::join({hex(kKeyVectors[0].privateDer), hex("30 00 FF")})), 0);
    EXPECT_EQ(decodedPublic(der::join({hex(kKeyVectors[0].publicDer), hex("30 00 FF")})), 0);
}

TEST(key_forms_test, ANumberOfZeroIsRefused) {
    EXPECT_EQ(decodedPublic(hex("30 08 02 01 00 02 03 01 00 01")), -1015);
    EXPECT_EQ(decodedPublic(hex("30 06 02 01 11 02 01 00")), -1015);
    for (std::size_t zero = 1; zero <= 8; ++zero) {
        Bytes numbers = der::integer(0);
        for (std::size_t i = 1; i <= 8; ++i)
            numbers = der::join({numbers, der::integer(i == zero ? 0 : 17)});
        EXPECT_EQ(decodedPrivate(der::tlv(0x30, numbers)), -1015) << zero;
    }
}

TEST(key_forms_test, BrokenDerGivesCodes) {
    const auto tryBoth = [](const Bytes& der) {
        const int32_t privateCode = decodedPrivate(der);
        const int32_t publicCode = decodedPublic(der);
        for (const int32_t code : {privateCode, publicCode})
            EXPECT_TRUE(code == 0 || code == VT_E_MALFORMED || code == -1015 || code == kNullArgument)
                << code << " for " << toHex(der);
    };
    for (const Bytes& good : {hex(kKeyVectors[0].privateDer), hex(kKeyVectors[0].publicDer)}) {
        for (const auto& broken : {support::withTrailingData(good, {0x05, 0x00}), support::withShortLengths(good),
                                   support::withLongLengths(good), support::withTags(good, 0x30),
                                   support::withTags(good, 0x04), support::withIndefiniteLengths(good)})
            for (const support::Broken& one : broken)
                tryBoth(one.bytes);
        for (const Bytes& bytes : spoiled(good))
            tryBoth(bytes);
    }
}

TEST(key_forms_test, Pkcs1SurvivesExhaustedMemory) {
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    survivesExhaustion([&](PKCS_Blob& out) { return VT_PKCS1PriKeyEncode(key, &out); });
    survivesExhaustion([&](PKCS_Blob& out) { return VT_PKCS1PubKeyEncode(&publicKey, &out); });
    const Input der(kKeyVectors[1].privateDer);
    bool clean = true;
    const long failures = support::forEachExhaustion([&] {
        PKCS_PriKey decoded = {};
        const int32_t code = VT_PKCS1PriKeyDecode(der, &decoded);
        clean = clean && (code == 0 || code == VT_E_MEMORY) && (code == 0) == (decoded.modulus.data != nullptr);
        PKCS_FreePriKey(&decoded);
    });
    EXPECT_TRUE(clean);
    EXPECT_GT(failures, 8);
    const Input publicDer(kKeyVectors[1].publicDer);
    support::forEachExhaustion([&] {
        PKCS_PubKey decoded = {};
        const int32_t code = VT_PKCS1PubKeyDecode(publicDer, &decoded);
        clean = clean && (code == 0 || code == VT_E_MEMORY) && (code == 0) == (decoded.modulus.data != nullptr);
        PKCS_FreePubKey(&decoded);
    });
    EXPECT_TRUE(clean);
}

// ---- Blobs and DER

TEST(key_forms_test, BlobsAndDerAreThoseOfOpenssl) {
    for (const MsPrivateKey& vector : kMsPrivateKeys) {
        if (vector.bits != 2048)
            continue;
        EXPECT_EQ(toHex(privateDer(hex(vector.blob))), hexOf(vector.der)) << vector.exponent;
        EXPECT_EQ(toHex(privateBlob(hex(vector.der))), hexOf(vector.blob)) << vector.exponent;
    }
    Bytes expected = hex(keyOf(2048).publicBlob);
    expected[5] = 0x24;  // openssl writes the algorithm of key exchange keys, 0xA400
    EXPECT_EQ(toHex(publicBlob(hex(keyOf(2048).publicDer))), toHex(expected));
}

TEST(key_forms_test, BlobsOf2048BitsGoThroughDerAndBack) {
    const Bytes blob = hex(keyOf(2048).blob);
    EXPECT_EQ(toHex(privateBlob(privateDer(blob))), toHex(blob));
}

// Two ways to the same DER.
TEST(key_forms_test, PublicDerIsTheSameWithAndWithoutARecord) {
    for (const MsPrivateKey& vector : kMsPrivateKeys) {
        const Bytes blob = hex(vector.publicBlob);
        PublicRecord key;
        ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, blob.data(), &key.record), 0);
        Output der;
        ASSERT_EQ(VT_PKCS1PubKeyEncode(&key.record, der), 0);
        EXPECT_EQ(der.text(), hexOf(vector.publicDer));
        EXPECT_EQ(toHex(converted([&](std::uint8_t* out, std::uint32_t* length) {
                      return VT_MSPubKeyToP1Der(blob.data(), out, length);
                  })),
                  hexOf(vector.publicDer));
    }
}

// A key of any size goes into a blob of 2048 bits. That is no key for anybody else, and what callers get.
TEST(key_forms_test, SmallerPrivateKeysLieInALargeBlob) {
    const MsPrivateKey& vector = keyOf(1024);
    const Bytes small = hex(vector.blob);
    const Bytes blob = privateBlob(hex(vector.der));
    ASSERT_EQ(blob.size(), 1172u);
    EXPECT_EQ(toHex(Bytes(blob.begin() + 12, blob.begin() + 16)), "00 08 00 00");
    const auto part = [](const Bytes& bytes, int offset, int length) {
        return toHex(Bytes(bytes.begin() + offset, bytes.begin() + offset + length));
    };
    EXPECT_EQ(part(blob, 20, 128), part(small, 20, 128)) << "modulus";
    EXPECT_EQ(part(blob, 276, 64), part(small, 148, 64)) << "prime 1";
    EXPECT_EQ(part(blob, 404, 64), part(small, 212, 64)) << "prime 2";
    EXPECT_EQ(part(blob, 532, 64), part(small, 276, 64)) << "exponent 1";
    EXPECT_EQ(part(blob, 660, 64), part(small, 340, 64)) << "exponent 2";
    EXPECT_EQ(part(blob, 788, 64), part(small, 404, 64)) << "coefficient";
    EXPECT_EQ(part(blob, 916, 128), part(small, 468, 128)) << "private exponent";
}

TEST(key_forms_test, ThePathTo1024BitsIsThroughTheRecord) {
    const MsPrivateKey& vector = keyOf(1024);
    PrivateRecord key;
    ASSERT_EQ(VT_PKCS1PriKeyDecode(Input(vector.der), &key.record), 0);
    Bytes blob(596);
    std::uint32_t length = 596;
    ASSERT_EQ(VT_VPKToMSPriKey1024(nullptr, &key.record, blob.data(), &length), 0);
    EXPECT_EQ(toHex(blob), hexOf(vector.blob));
}

TEST(key_forms_test, OtherPublicKeysHaveNoBlob) {
    const auto codeOf = [](const char* text) {
        const Bytes der = hex(text);
        std::uint32_t length = 276;
        Bytes blob(276);
        return VT_P1DerToMSPubKey(der.data(), static_cast<std::uint32_t>(der.size()), blob.data(), &length);
    };
    EXPECT_EQ(codeOf(keyOf(1024).publicDer), kUnsupported);
    EXPECT_EQ(codeOf(keyOf(512).publicDer), kUnsupported);
    EXPECT_EQ(codeOf(keyOf(2048, 3).publicDer), kUnsupported);
    EXPECT_EQ(codeOf(keyOf(2048, 8388609).publicDer), kUnsupported) << "four bytes with the zero in front";
    EXPECT_EQ(codeOf(kKeyVectors[2].publicDer), kUnsupported);
}

TEST(key_forms_test, ConvertersHaveTheirCodes) {
    const Bytes blob = hex(keyOf(2048).blob);
    const Bytes der = hex(keyOf(2048).der);
    const Bytes publicDer = hex(keyOf(2048).publicDer);
    const auto size = [](const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
    Bytes out(2000, 0xAA);
    std::uint32_t length = 2000;
    EXPECT_EQ(VT_MSPriKeyToP1Der(nullptr, out.data(), &length), kNullArgument);
    EXPECT_EQ(VT_MSPriKeyToP1Der(blob.data(), out.data(), nullptr), kNullArgument);
    EXPECT_EQ(VT_P1DerToMSPubKey(nullptr, 5, out.data(), &length), kNullArgument);
    EXPECT_EQ(VT_P1DerToMSPubKey(publicDer.data(), size(publicDer), out.data(), nullptr), kNullArgument);
    EXPECT_EQ(VT_P1DerToMSPriKey(nullptr, 5, out.data(), &length), kNullArgument);
    EXPECT_EQ(VT_P1DerToMSPriKey(der.data(), size(der), out.data(), nullptr), kNullArgument);
    Bytes odd = blob;
    odd[12] = 8;
    EXPECT_EQ(VT_MSPriKeyToP1Der(odd.data(), out.data(), &length), VT_E_KEY_BITS);
    EXPECT_EQ(VT_P1DerToMSPubKey(der.data(), 20, out.data(), &length), VT_E_MALFORMED);
    EXPECT_EQ(VT_P1DerToMSPriKey(der.data(), 20, out.data(), &length), VT_E_MALFORMED);
    EXPECT_EQ(VT_P1DerToMSPriKey(der.data(), 20, nullptr, &length), VT_E_MALFORMED);
    EXPECT_EQ(length, 2000u);
    EXPECT_EQ(out, Bytes(2000, 0xAA));
    Bytes zeros(1172, 0);
    zeros[13] = 8;
    EXPECT_EQ(VT_MSPriKeyToP1Der(zeros.data(), out.data(), &length), kMaterialMissing) << "no bytes of exponent";
}

TEST(key_forms_test, TooSmallABufferIsRefusedUntouched) {
    const Bytes blob = hex(keyOf(2048).blob);
    const Bytes der = hex(keyOf(2048).der);
    const Bytes publicDer = hex(keyOf(2048).publicDer);
    const auto refuses = [](std::size_t size, const Convert& convert) {
        Bytes out(size, 0xAA);
        for (const std::size_t capacity : {std::size_t{0}, size - 1}) {
            auto length = static_cast<std::uint32_t>(capacity);
            EXPECT_EQ(convert(out.data(), &length), VT_E_BUFFER_TOO_SMALL);
            EXPECT_EQ(length, capacity);
            EXPECT_EQ(out, Bytes(size, 0xAA));
        }
    };
    refuses(der.size(), [&](auto* out, auto* length) { return VT_MSPriKeyToP1Der(blob.data(), out, length); });
    refuses(276, [&](auto* out, auto* length) {
        return VT_P1DerToMSPubKey(publicDer.data(), static_cast<std::uint32_t>(publicDer.size()), out, length);
    });
    refuses(1172, [&](auto* out, auto* length) {
        return VT_P1DerToMSPriKey(der.data(), static_cast<std::uint32_t>(der.size()), out, length);
    });
}

TEST(key_forms_test, ConvertersSurviveExhaustedMemory) {
    const Bytes blob = hex(keyOf(2048).blob);
    const Bytes der = hex(keyOf(2048).der);
    const Bytes publicDer = hex(keyOf(2048).publicDer);
    const auto survives = [](const Convert& convert) {
        Bytes out(2000);
        bool clean = true;
        const long failures = support::forEachExhaustion([&] {
            std::uint32_t length = 2000;
            const int32_t code = convert(out.data(), &length);
            clean = clean && (code == 0 ? length < 2000 : code == VT_E_MEMORY && length == 2000);
        });
        EXPECT_TRUE(clean);
        EXPECT_GT(failures, 2);
    };
    survives([&](auto* out, auto* length) { return VT_MSPriKeyToP1Der(blob.data(), out, length); });
    survives([&](auto* out, auto* length) {
        return VT_P1DerToMSPubKey(publicDer.data(), static_cast<std::uint32_t>(publicDer.size()), out, length);
    });
    survives([&](auto* out, auto* length) {
        return VT_P1DerToMSPriKey(der.data(), static_cast<std::uint32_t>(der.size()), out, length);
    });
}

// ---- RSA over data of any size

TEST(key_forms_test, BigInputGoesInBlocks) {
    MessageContext ctx;
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    struct Case {
        std::size_t input;
        std::uint32_t output;
    };
    for (const Case& c : {Case{0, 0}, Case{1, 128}, Case{117, 128}, Case{118, 256}, Case{1000, 9 * 128}}) {
        Bytes plain(c.input);
        for (std::size_t i = 0; i < plain.size(); ++i)
            plain[i] = static_cast<std::uint8_t>(i);
        Output sealed;
        ASSERT_EQ(VT_RSABigEncrypt(ctx, &publicKey, Input(plain), sealed), 0) << c.input;
        EXPECT_EQ(sealed.blob.length, c.output);
        Output opened;
        ASSERT_EQ(VT_RSABigDecrypt(ctx, key, &sealed.blob, opened), 0) << c.input;
        EXPECT_EQ(opened.bytes(), plain);
        EXPECT_EQ(opened.blob.data[opened.blob.length], 0);
    }
}

TEST(key_forms_test, BigOperationsHaveTheirCodes) {
    MessageContext ctx;
    PrivateKey key(vectors::kRecipientKey);
    PKCS_PubKey publicKey = publicOf(key.record);
    const Input plain("01 02 03");
    Output out;
    EXPECT_EQ(VT_RSABigEncrypt(nullptr, &publicKey, plain, out), kNullArgument);
    EXPECT_EQ(VT_RSABigEncrypt(ctx, nullptr, plain, out), kNullArgument);
    EXPECT_EQ(VT_RSABigEncrypt(ctx, &publicKey, nullptr, out), kNullArgument);
    EXPECT_EQ(VT_RSABigEncrypt(ctx, &publicKey, plain, nullptr), kNullArgument);
    EXPECT_EQ(VT_RSABigDecrypt(nullptr, key, plain, out), kNullArgument);
    EXPECT_EQ(VT_RSABigDecrypt(ctx, nullptr, plain, out), kNullArgument);
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, nullptr, out), kNullArgument);
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, plain, nullptr), kNullArgument);
    EXPECT_EQ(VT_RSABigEncrypt(ctx, &publicKey, &kNullData, out), kMaterialMissing);
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, &kNullData, out), kMaterialMissing);
    EXPECT_EQ(VT_RSABigEncrypt(emptyContext(), &publicKey, &kNullData, out), kMaterialMissing) << "the data first";
    EXPECT_EQ(VT_RSABigEncrypt(emptyContext(), &publicKey, plain, out), kNoOperation);
    EXPECT_EQ(VT_RSABigDecrypt(emptyContext(), key, plain, out), kNoOperation);
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, plain, out), kWrongLength) << "no whole blocks";
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, Input(Bytes(128, 0x5A)), out), kRsaFailed);
    publicKey.modulus = {nullptr, 0};
    EXPECT_EQ(VT_RSABigEncrypt(ctx, &publicKey, plain, out), kMaterialMissing);
    key.record.prime2 = {nullptr, 0};
    EXPECT_EQ(VT_RSABigDecrypt(ctx, key, plain, out), kMaterialMissing);
    EXPECT_TRUE(out.untouched());
}

TEST(key_forms_test, BigOperationsSurviveExhaustedMemory) {
    MessageContext ctx;
    const PrivateKey key(vectors::kRecipientKey);
    const PKCS_PubKey publicKey = publicOf(key.record);
    const Input plain(Bytes(200, 0x11));
    survivesExhaustion([&](PKCS_Blob& out) { return VT_RSABigEncrypt(ctx, &publicKey, plain, &out); });
    Output sealed;
    ASSERT_EQ(VT_RSABigEncrypt(ctx, &publicKey, plain, sealed), 0);
    survivesExhaustion([&](PKCS_Blob& out) { return VT_RSABigDecrypt(ctx, key, &sealed.blob, &out); });
}

}  // namespace
