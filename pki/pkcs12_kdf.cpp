#include "pki/pkcs12_kdf.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "asn/integer.h"
#include "token/repeated_digest.h"
#include "token/token.h"

namespace pki {

namespace {

constexpr unsigned int kBlock = 64;
constexpr unsigned int kDigest = 20;

enum Purpose : std::uint8_t { kForKey = 1, kForIv = 2, kForMac = 3 };

using Bytes = std::vector<std::uint8_t>;

MiByte byteStringOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

Bytes bytesOf(const MiByte& value) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(value.GetChars());
    return value.Empty() ? Bytes() : Bytes(first, first + value.GetLength());
}

// Each byte as a character of two bytes, and a zero character at the end.
Bytes bmpStringOf(const MiByte& password) {
    Bytes text;
    text.reserve(2 * (std::size_t{password.GetLength()} + 1));
    for (const std::uint8_t byte : bytesOf(password)) {
        text.push_back(0);
        text.push_back(byte);
    }
    text.insert(text.end(), 2, 0);
    return text;
}

// Appends the bytes repeated to the next multiple of a block; none stay none.
void appendRepeated(const Bytes& bytes, Bytes& message) {
    const std::size_t length = (bytes.size() + kBlock - 1) / kBlock * kBlock;
    message.reserve(message.size() + length);
    for (std::size_t i = 0; i < length; ++i)
        message.push_back(bytes[i % bytes.size()]);
}

// Adds the digest, repeated to a block, and 1 to each block of I, which lies behind D.
void addToBlocks(const MiByte& digest, Bytes& message) {
    const auto* const addend = reinterpret_cast<const std::uint8_t*>(digest.GetChars());
    for (std::size_t block = kBlock; block < message.size(); block += kBlock) {
        unsigned int sum = 1;
        for (unsigned int i = kBlock; i-- > 0; sum >>= 8) {
            sum += message[block + i];
            sum += addend[i % kDigest];
            message[block + i] = static_cast<std::uint8_t>(sum);
        }
    }
}

int derive(VT_P11_OP& op, Purpose purpose, const MiByte& password, const MiByte& salt, int iterations,
           unsigned int length, MiByte& output) {
    if (iterations > kMostIterations)
        return token::kUnsupported;
    Bytes message(kBlock, purpose);
    appendRepeated(bytesOf(salt), message);
    appendRepeated(bmpStringOf(password), message);
    MiByte derived;
    MiByte digest;
    while (derived.GetLength() < length) {
        if (!derived.Empty())
            addToBlocks(digest, message);
        const int result = token::RepeatedDigest::sha1(op, byteStringOf(message), std::max(iterations, 1), digest);
        if (result != 0)
            return result;
        digest.SetLength(kDigest);  // a module may give less
        derived.Concat(digest.GetChars(), std::min(kDigest, length - derived.GetLength()));
    }
    output = derived;
    return 0;
}

}  // namespace

int deriveKey(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
              MiByte& key) {
    return derive(op, kForKey, password, salt, iterations, length, key);
}

int deriveIv(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
             MiByte& iv) {
    return derive(op, kForIv, password, salt, iterations, length, iv);
}

int deriveMacKey(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
                 MiByte& key) {
    return derive(op, kForMac, password, salt, iterations, length, key);
}

int countOf(const AsnInteger& number, int& iterations) {
    std::int64_t count = 0;
    if (number.GetBigInteger().GetSign() > 0)
        for (const std::uint8_t byte : bytesOf(number.GetBigInteger().GetByte()))
            count = std::min<std::int64_t>(count << 8 | byte, std::int64_t{kMostIterations} + 1);
    iterations = static_cast<int>(count);
    return count > kMostIterations ? token::kUnsupported : 0;
}

int hmacSha1(VT_P11_OP& op, const MiByte& key, const MiByte& data, MiByte& mac) {
    Bytes inner = bytesOf(key);
    inner.resize(kBlock);
    Bytes outer = inner;
    for (std::uint8_t& byte : inner)
        byte ^= 0x36U;
    for (std::uint8_t& byte : outer)
        byte ^= 0x5CU;
    MiByte message = byteStringOf(inner);
    message.Concat(data.GetChars(), data.GetLength());
    MiByte digest;
    int result = token::RepeatedDigest::sha1(op, message, 1, digest);
    if (result != 0)
        return result;
    message = byteStringOf(outer);
    message.Concat(digest.GetChars(), digest.GetLength());
    result = token::RepeatedDigest::sha1(op, message, 1, digest);
    if (result == 0)
        mac = digest;
    return result;
}

}  // namespace pki
