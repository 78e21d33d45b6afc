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
constexpr size_t kBitLengthOffset = 12;
constexpr size_t kExponentOffset = 16;
constexpr size_t kModulusOffset = 20;
constexpr size_t kLargestModulus = 4096 / 8;

uint32_t readWord(const uint8_t* bytes) {
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
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

int32_t copyNumbers(Number modulus, Number exponent, PKCS_PubKey& key) {
    const int32_t result = copyNumber(modulus, key.modulus);
    return result != 0 ? result : copyNumber(exponent, key.publicExponent);
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
    // Callers of old take -1008 for every other size, 4096 bits included.
    if (bits != 1024 && bits != 512 && bits != 2048)
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
