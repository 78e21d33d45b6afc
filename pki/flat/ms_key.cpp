#include "pki/flat/ms_key.h"

#include <algorithm>
#include <cstring>

#include "pki/flat/flat.h"

namespace {

// PUBLICKEYBLOB, all integers little-endian:
//
//     0  u8  blob type 6, u8 version 2, u16 reserved
//     4  u32 key algorithm
//     8  u32 magic "RSA1"
//    12  u32 bit length
//    16  u32 public exponent
//    20      modulus, bit length / 8 bytes
//
// PRIVATEKEYBLOB has blob type 7 and magic "RSA2", and goes on behind the modulus with the numbers of kPlaces.
constexpr uint8_t kPublicBlob = 6;
constexpr uint8_t kPrivateBlob = 7;
constexpr uint8_t kVersion = 2;
constexpr size_t kAlgorithmOffset = 4;
constexpr size_t kMagicOffset = 8;
constexpr size_t kBitLengthOffset = 12;
constexpr size_t kExponentOffset = 16;
constexpr size_t kModulusOffset = 20;
constexpr size_t kLargestModulus = 4096 / 8;

// A number that does not fit its place, and one that is not there; the toolkit's own codes are not known here.
constexpr int32_t kUnsupported = -1006;
constexpr int32_t kMissing = -1003;

constexpr uint32_t kSignatureKeys = 0x2400;     // CALG_RSA_SIGN
constexpr uint32_t kKeyExchangeKeys = 0xA400;   // CALG_RSA_KEYX
constexpr uint32_t kPublicMagic = 0x31415352;   // "RSA1"
constexpr uint32_t kPrivateMagic = 0x32415352;  // "RSA2"

// Where the numbers of a private blob lie behind its header, in units of bit length / 16 bytes.
struct Place {
    PKCS_Blob PKCS_PriKey::*number;
    size_t start;
    size_t length;
};
constexpr Place kPlaces[] = {
    {&PKCS_PriKey::modulus, 0, 2},         {&PKCS_PriKey::prime1, 2, 1},    {&PKCS_PriKey::prime2, 3, 1},
    {&PKCS_PriKey::exponent1, 4, 1},       {&PKCS_PriKey::exponent2, 5, 1}, {&PKCS_PriKey::coefficient, 6, 1},
    {&PKCS_PriKey::privateExponent, 7, 2},
};

constexpr size_t unitOf(uint32_t bits) {
    return bits / 16;
}

constexpr uint32_t privateSize(uint32_t bits) {
    return static_cast<uint32_t>(kModulusOffset + 9 * unitOf(bits));
}
static_assert(privateSize(2048) == VT_MS_PRIVATE_BLOB_2048);
static_assert(privateSize(1024) == VT_MS_PRIVATE_BLOB_1024);

uint32_t readWord(const uint8_t* bytes) {
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

void writeWord(uint8_t* bytes, uint32_t word) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(word >> (8 * i));
}

void writeHeader(uint8_t* blob, uint8_t type, uint32_t algorithm, uint32_t magic, uint32_t bits) {
    blob[0] = type;
    blob[1] = kVersion;
    blob[2] = 0;
    blob[3] = 0;
    writeWord(blob + kAlgorithmOffset, algorithm);
    writeWord(blob + kMagicOffset, magic);
    writeWord(blob + kBitLengthOffset, bits);
}

void reverseCopy(const uint8_t* from, size_t length, uint8_t* to) {
    std::reverse_copy(from, from + length, to);
}

// A non-negative number as it stands in memory, most significant byte first.
struct Number {
    const uint8_t* bytes;
    size_t length;
};

// Drops leading zero bytes; zero has none left.
Number trimmed(Number number) {
    while (number.length != 0 && number.bytes[0] == 0) {
        ++number.bytes;
        --number.length;
    }
    return number;
}

// Shortest two's complement of an unsigned word: no bytes for 0, a zero byte in front of a set top bit.
struct Exponent {
    uint8_t bytes[5];
    Number number;
};

void readExponent(const uint8_t* blob, Exponent& exponent) {
    exponent.bytes[0] = 0;
    reverseCopy(blob + kExponentOffset, 4, exponent.bytes + 1);
    exponent.number = trimmed({exponent.bytes, sizeof exponent.bytes});
    if (exponent.number.length != 0 && exponent.number.bytes[0] >= 0x80) {
        --exponent.number.bytes;
        ++exponent.number.length;
    }
}

// DER, X.690: lengths in the shortest form, INTEGER in the shortest two's complement.
size_t lengthSize(size_t length) {
    if (length < 0x80)
        return 1;
    return length < 0x100 ? 2 : 3;
}

uint8_t* putHeader(uint8_t* to, uint8_t tag, size_t length) {
    *to++ = tag;
    switch (lengthSize(length)) {
        case 1:
            break;
        case 2:
            *to++ = 0x81;
            break;
        default:
            *to++ = 0x82;
            *to++ = static_cast<uint8_t>(length >> 8);
            break;
    }
    *to++ = static_cast<uint8_t>(length);
    return to;
}

size_t elementSize(size_t content) {
    return 1 + lengthSize(content) + content;
}

bool needsSignByte(Number number) {
    return number.length == 0 || number.bytes[0] >= 0x80;
}

size_t integerContent(Number number) {
    return number.length + (needsSignByte(number) ? 1 : 0);
}

uint8_t* putInteger(uint8_t* to, Number number) {
    to = putHeader(to, 0x02, integerContent(number));
    if (needsSignByte(number))
        *to++ = 0;
    return std::copy_n(number.bytes, number.length, to);
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
int32_t writeP1Der(Number modulus, Number exponent, uint8_t* der, uint32_t& derLength) {
    modulus = trimmed(modulus);
    exponent = trimmed(exponent);
    const size_t content = elementSize(integerContent(modulus)) + elementSize(integerContent(exponent));
    const size_t size = elementSize(content);
    if (der != nullptr) {
        if (derLength < size)
            return VT_E_BUFFER_TOO_SMALL;
        der = putHeader(der, 0x30, content);
        der = putInteger(der, modulus);
        putInteger(der, exponent);
    }
    derLength = static_cast<uint32_t>(size);
    return 0;
}

int32_t copyNumber(Number number, PKCS_Blob& blob) {
    blob.data = static_cast<uint8_t*>(T_malloc(number.length));
    if (blob.data == nullptr)
        return VT_E_MEMORY;
    std::copy_n(number.bytes, number.length, blob.data);
    blob.length = static_cast<uint32_t>(number.length);
    return 0;
}

int32_t copyReversed(const uint8_t* from, size_t length, PKCS_Blob& blob) {
    blob.data = static_cast<uint8_t*>(T_malloc(length));
    if (blob.data == nullptr)
        return VT_E_MEMORY;
    reverseCopy(from, length, blob.data);
    blob.length = static_cast<uint32_t>(length);
    return 0;
}

// Callers of old take -1008 for every other size, 4096 bits included.
bool isKnownSize(uint32_t bits) {
    return bits == 1024 || bits == 512 || bits == 2048;
}

int32_t copyNumbers(Number modulus, Number exponent, PKCS_PubKey& key) {
    const int32_t result = copyNumber(modulus, key.modulus);
    return result != 0 ? result : copyNumber(exponent, key.publicExponent);
}

int32_t copyNumbers(const uint8_t* blob, uint32_t bits, PKCS_PriKey& key) {
    Exponent exponent;
    readExponent(blob, exponent);
    int32_t result = copyNumber(exponent.number, key.publicExponent);
    for (const Place& place : kPlaces) {
        // Readers have always looked where a key of 2048 bits has its numbers, whatever the blob says of its own size.
        const uint8_t* const start = blob + kModulusOffset + place.start * unitOf(2048);
        if (result == 0)
            result = copyReversed(start, place.length * unitOf(bits), key.*place.number);
    }
    return result;
}

// ---- Writing

// roomFor settles the length of a blob that is written. -1019; with a null blob the length is all.
int32_t roomFor(uint32_t size, const uint8_t* blob, uint32_t& length) {
    if (blob != nullptr && length < size)
        return VT_E_BUFFER_TOO_SMALL;
    length = size;
    return 0;
}

int32_t writeExponent(const PKCS_Blob& exponent, uint8_t* blob) {
    const Number number = trimmed({exponent.data, exponent.length});
    if (number.length > 4)
        return kUnsupported;
    uint32_t word = 0;
    for (size_t i = 0; i < number.length; ++i)
        word = word << 8 | number.bytes[i];
    writeWord(blob + kExponentOffset, word);
    return 0;
}

int32_t checkNumbers(const PKCS_PriKey& key, uint32_t bits) {
    if (key.publicExponent.data == nullptr)
        return kMissing;
    for (const Place& place : kPlaces) {
        const PKCS_Blob& number = key.*place.number;
        if (number.data == nullptr)
            return kMissing;
        if (number.length > place.length * unitOf(bits))
            return kUnsupported;
    }
    return 0;
}

int32_t writePrivateBlob(const PKCS_PriKey* key, uint32_t bits, uint8_t* blob, uint32_t* length) {
    if (key == nullptr || length == nullptr)
        return VT_E_NULL_ARGUMENT;
    int32_t result = roomFor(privateSize(bits), blob, *length);
    if (result != 0 || blob == nullptr)
        return result;
    writeHeader(blob, kPrivateBlob, kKeyExchangeKeys, kPrivateMagic, bits);
    result = checkNumbers(*key, bits);
    if (result == 0)
        result = writeExponent(key->publicExponent, blob);
    if (result != 0)
        return result;
    // A shorter number leaves the rest of its place as the caller had it: buffers are handed in filled.
    for (const Place& place : kPlaces) {
        const PKCS_Blob& number = key->*place.number;
        reverseCopy(number.data, number.length, blob + kModulusOffset + place.start * unitOf(bits));
    }
    return 0;
}

}  // namespace

namespace flat {

int32_t publicKeyBlobToP1Der(const uint8_t* blob, size_t blobLength, uint8_t* der, uint32_t* derLength) {
    if (blob == nullptr || derLength == nullptr)
        return VT_E_NULL_ARGUMENT;
    if (blobLength < kModulusOffset)
        return VT_E_KEY_BITS;
    const uint32_t bits = readWord(blob + kBitLengthOffset);
    if ((bits != 512 && bits != 1024 && bits != 2048 && bits != 4096) || blobLength - kModulusOffset < bits / 8)
        return VT_E_KEY_BITS;
    Exponent exponent;
    readExponent(blob, exponent);
    uint8_t modulus[kLargestModulus];
    reverseCopy(blob + kModulusOffset, bits / 8, modulus);
    return writeP1Der({modulus, bits / 8}, exponent.number, der, *derLength);
}

}  // namespace flat

int32_t VT_MSPubKeyToVPK(void* /*unused*/, const uint8_t* blob, PKCS_PubKey* key) {
    if (blob == nullptr || key == nullptr)
        return VT_E_NULL_ARGUMENT;
    const uint32_t bits = readWord(blob + kBitLengthOffset);
    if (!isKnownSize(bits))
        return VT_E_KEY_BITS;
    Exponent exponent;
    readExponent(blob, exponent);
    uint8_t modulus[kLargestModulus];
    reverseCopy(blob + kModulusOffset, bits / 8, modulus);
    PKCS_PubKey numbers = {};
    const int32_t result = copyNumbers({modulus, bits / 8}, exponent.number, numbers);
    if (result != 0) {
        PKCS_FreePubKey(&numbers);
        return result;
    }
    *key = numbers;
    return 0;
}

int32_t VT_MSPubKeyToP1Der(const uint8_t* blob, uint8_t* der, uint32_t* length) {
    if (blob == nullptr || length == nullptr)
        return VT_E_NULL_ARGUMENT;
    PKCS_PubKey key = {};
    int32_t result = VT_MSPubKeyToVPK(nullptr, blob, &key);
    if (result != 0)
        return result;
    result = writeP1Der({key.modulus.data, key.modulus.length}, {key.publicExponent.data, key.publicExponent.length},
                        der, *length);
    PKCS_FreePubKey(&key);
    return result;
}

int32_t VT_MSPriKeyToVPK(void* /*unused*/, const uint8_t* blob, PKCS_PriKey* key) {
    if (blob == nullptr || key == nullptr)
        return VT_E_NULL_ARGUMENT;
    const uint32_t bits = readWord(blob + kBitLengthOffset);
    if (!isKnownSize(bits))
        return VT_E_KEY_BITS;
    PKCS_PriKey numbers = {};
    const int32_t result = copyNumbers(blob, bits, numbers);
    if (result != 0) {
        PKCS_FreePriKey(&numbers);
        return result;
    }
    *key = numbers;
    return 0;
}

int32_t VT_VPKToMSPubKey(void* /*unused*/, const PKCS_PubKey* key, uint8_t* blob, uint32_t* length) {
    constexpr uint32_t kBits = 2048;
    if (key == nullptr || length == nullptr)
        return VT_E_NULL_ARGUMENT;
    const int32_t result = roomFor(VT_MS_PUBLIC_BLOB_2048, blob, *length);
    if (result != 0 || blob == nullptr)
        return result;
    writeHeader(blob, kPublicBlob, kSignatureKeys, kPublicMagic, kBits);
    // No other exponent than those of three bytes, 65537 among them, was ever written.
    if (key->publicExponent.length != 3 || key->modulus.length != kBits / 8)
        return kUnsupported;
    if (key->publicExponent.data == nullptr || key->modulus.data == nullptr)
        return kMissing;
    reverseCopy(key->modulus.data, key->modulus.length, blob + kModulusOffset);
    return writeExponent(key->publicExponent, blob);
}

int32_t VT_VPKToMSPriKey(void* /*unused*/, const PKCS_PriKey* key, uint8_t* blob, uint32_t* length) {
    return writePrivateBlob(key, 2048, blob, length);
}

int32_t VT_VPKToMSPriKey1024(void* /*unused*/, const PKCS_PriKey* key, uint8_t* blob, uint32_t* length) {
    return writePrivateBlob(key, 1024, blob, length);
}
