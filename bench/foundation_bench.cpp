// Big integers as certificates have them, in and out of bytes and decimal text, and buffers that grow, beside other
// libraries. A number of 160 bits is a long serial number, one of 2048 bits a modulus.
#include <benchmark/benchmark.h>
#include <botan/bigint.h>
#include <cryptopp/integer.h>
#include <gmp.h>
#include <openssl/bn.h>

#include <memory>
#include <string>

#include "bench/pattern.h"
#include "foundation/big_integer.h"
#include "foundation/byte_buffer.h"
#include "foundation/string.h"

namespace {

using bench::Bytes;

// What each library does: a positive number to decimal text, the text back to bytes, and the product of a number with
// itself, all from and to bytes and text.
struct Numbers {
    const char* who;
    std::string (*toText)(const Bytes& number);
    Bytes (*fromText)(const std::string& text);
    Bytes (*square)(const Bytes& number);
};

MiBigInteger ourNumber(const Bytes& number) {
    return {char{1}, MiByte(reinterpret_cast<const char*>(number.data()), static_cast<unsigned int>(number.size()))};
}

// Without the octet that only carries the sign.
Bytes ourBytes(const MiBigInteger& number) {
    const MiByte& value = number.GetByte();
    const auto* const from = reinterpret_cast<const std::uint8_t*>(value.GetChars());
    Bytes bytes(from, from + value.GetLength());
    if (bytes.front() == 0)
        bytes.erase(bytes.begin());
    return bytes;
}

std::string ourText(const Bytes& number) {
    return ourNumber(number).GetStringBase10().GetChars();
}

Bytes ourBytesOf(const std::string& text) {
    MiBigInteger number;
    number.SetStringBase10(text.c_str());
    return ourBytes(number);
}

Bytes ourSquare(const Bytes& number) {
    const MiBigInteger x = ourNumber(number);
    return ourBytes(x.Multiply(x));
}

using Bignum = std::unique_ptr<BIGNUM, decltype(&BN_free)>;

Bignum opensslNumber(const Bytes& number) {
    return {BN_bin2bn(number.data(), static_cast<int>(number.size()), nullptr), BN_free};
}

Bytes opensslBytes(const BIGNUM* number) {
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    return bytes;
}

std::string opensslText(const Bytes& number) {
    char* const made = BN_bn2dec(opensslNumber(number).get());
    std::string text(made);
    OPENSSL_free(made);
    return text;
}

Bytes opensslBytesOf(const std::string& text) {
    BIGNUM* made = nullptr;
    BN_dec2bn(&made, text.c_str());
    const Bignum number(made, BN_free);
    return opensslBytes(made);
}

Bytes opensslSquare(const Bytes& number) {
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> context(BN_CTX_new(), BN_CTX_free);
    const Bignum x = opensslNumber(number);
    const Bignum product(BN_new(), BN_free);
    BN_mul(product.get(), x.get(), x.get(), context.get());
    return opensslBytes(product.get());
}

struct Mpz {
    Mpz() { mpz_init(value); }
    explicit Mpz(const Bytes& number) : Mpz() { mpz_import(value, number.size(), 1, 1, 0, 0, number.data()); }
    Mpz(const Mpz&) = delete;
    Mpz& operator=(const Mpz&) = delete;
    ~Mpz() { mpz_clear(value); }
    [[nodiscard]] Bytes bytes() const {
        Bytes made((mpz_sizeinbase(value, 2) + 7) / 8);
        mpz_export(made.data(), nullptr, 1, 1, 0, 0, value);
        return made;
    }
    mpz_t value;
};

std::string gmpText(const Bytes& number) {
    const Mpz x(number);
    std::string text(mpz_sizeinbase(x.value, 10) + 2, '\0');
    mpz_get_str(text.data(), 10, x.value);
    text.resize(text.find('\0'));
    return text;
}

Bytes gmpBytesOf(const std::string& text) {
    Mpz x;
    mpz_set_str(x.value, text.c_str(), 10);
    return x.bytes();
}

Bytes gmpSquare(const Bytes& number) {
    Mpz x(number);
    mpz_mul(x.value, x.value, x.value);
    return x.bytes();
}

Bytes botanBytes(const Botan::BigInt& number) {
    Bytes bytes(number.bytes());
    number.binary_encode(bytes.data());
    return bytes;
}

std::string botanText(const Bytes& number) {
    return Botan::BigInt(number).to_dec_string();
}

Bytes botanBytesOf(const std::string& text) {
    return botanBytes(Botan::BigInt(text));
}

Bytes botanSquare(const Bytes& number) {
    const Botan::BigInt x(number);
    return botanBytes(x * x);
}

Bytes cryptoPlusPlusBytes(const CryptoPP::Integer& number) {
    Bytes bytes(number.MinEncodedSize());
    number.Encode(bytes.data(), bytes.size());
    return bytes;
}

std::string cryptoPlusPlusText(const Bytes& number) {
    return CryptoPP::IntToString(CryptoPP::Integer(number.data(), number.size()));
}

Bytes cryptoPlusPlusBytesOf(const std::string& text) {
    return cryptoPlusPlusBytes(CryptoPP::Integer(text.c_str()));
}

Bytes cryptoPlusPlusSquare(const Bytes& number) {
    const CryptoPP::Integer x(number.data(), number.size());
    return cryptoPlusPlusBytes(x * x);
}

constexpr Numbers kNumbers[] = {
    {"ours", ourText, ourBytesOf, ourSquare},
    {"Botan", botanText, botanBytesOf, botanSquare},
    {"Crypto++", cryptoPlusPlusText, cryptoPlusPlusBytesOf, cryptoPlusPlusSquare},
    {"GMP", gmpText, gmpBytesOf, gmpSquare},
    {"OpenSSL", opensslText, opensslBytesOf, opensslSquare},
};

template <class In, class Out>
void add(const std::string& row, std::size_t bits, const Numbers& library, Out (*run)(const In&), const In& in,
         const Out& expected) {
    const std::string name = row + ", " + std::to_string(bits) + " bits/" + library.who;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for ([[maybe_unused]] auto round : state)
            benchmark::DoNotOptimize(run(in));
        if (run(in) != expected)
            state.SkipWithError("not our result");
    });
}

void addNumbers() {
    for (const std::size_t bits : {std::size_t{160}, std::size_t{2048}}) {
        const Bytes number = bench::patternBytes(bits / 8);
        const std::string text = ourText(number);
        const Bytes square = ourSquare(number);
        for (const Numbers& library : kNumbers)
            add("to decimal text", bits, library, library.toText, number, text);
        for (const Numbers& library : kNumbers)
            add("from decimal text", bits, library, library.fromText, text, number);
        for (const Numbers& library : kNumbers)
            add("big integer product", bits, library, library.square, number, square);
    }
}

// 1 MB in pieces of 16 bytes, as an encoder writes it.
template <class Append>
void addBuffer(const char* who, Append fill) {
    benchmark::RegisterBenchmark((std::string("buffer of pieces, 1 MB/") + who).c_str(), [=](benchmark::State& state) {
        const Bytes piece = bench::patternBytes(16);
        for ([[maybe_unused]] auto round : state)
            benchmark::DoNotOptimize(fill(reinterpret_cast<const char*>(piece.data()), 65536));
    });
}

void addBuffers() {
    addBuffer("ours", [](const char* piece, int count) {
        MiByteBuffer buffer;
        for (int i = 0; i < count; ++i)
            buffer.Append(piece, 16);
        return buffer.GetLength();
    });
    addBuffer("libstdc++, string", [](const char* piece, int count) {
        std::string buffer;
        for (int i = 0; i < count; ++i)
            buffer.append(piece, 16);
        return buffer.size();
    });
}

const int kAdded = [] {
    addNumbers();
    addBuffers();
    return 0;
}();

}  // namespace
