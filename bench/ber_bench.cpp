// A value with each kind of element that requests are made of, written and read by format strings, beside OpenSSL's
// template machine on the same SEQUENCE:
//
//     SEQUENCE { INTEGER, SEQUENCE { OBJECT IDENTIFIER, NULL }, BIT STRING of 270 bytes, OCTET STRING of 256 bytes,
//                IA5String, UTCTime }
#include <benchmark/benchmark.h>
#include <openssl/asn1t.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "bench/key.h"
#include "ber/ber.h"

// OpenSSL's template macros make plain C of their own.
struct BenchValue {
    ASN1_INTEGER* number;
    X509_ALGOR* algorithm;
    ASN1_BIT_STRING* bits;
    ASN1_OCTET_STRING* octets;
    ASN1_IA5STRING* text;
    ASN1_UTCTIME* time;
};
DECLARE_ASN1_FUNCTIONS(BenchValue)

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wold-style-cast"
ASN1_SEQUENCE(BenchValue) =
    {
        ASN1_SIMPLE(BenchValue, number, ASN1_INTEGER),  ASN1_SIMPLE(BenchValue, algorithm, X509_ALGOR),
        ASN1_SIMPLE(BenchValue, bits, ASN1_BIT_STRING), ASN1_SIMPLE(BenchValue, octets, ASN1_OCTET_STRING),
        ASN1_SIMPLE(BenchValue, text, ASN1_IA5STRING),  ASN1_SIMPLE(BenchValue, time, ASN1_UTCTIME),
} ASN1_SEQUENCE_END(BenchValue) IMPLEMENT_ASN1_FUNCTIONS(BenchValue)
#pragma GCC diagnostic pop

        namespace {

    constexpr std::int32_t kArcs[] = {1, 2, 840, 113549, 1, 1, 1};
    constexpr std::int32_t kArcCount = 7;
    constexpr std::int32_t kNumber = 1234567;
    constexpr char kText[] = "name@example.test";
    constexpr std::int32_t kTextLength = sizeof kText - 1;
    constexpr char kTime[] = "141021103000Z";
    constexpr std::int32_t kBitBytes = 270;
    constexpr std::int32_t kOctets = 256;

    void require(bool holds) {
        if (!holds)
            throw std::runtime_error("a step of the benchmark failed");
    }

    struct FreeWriter {
        void operator()(BerWriter* writer) const { BerWriterFree(writer); }
    };
    using Writer = std::unique_ptr<BerWriter, FreeWriter>;

    Writer ourValue(const bench::Bytes& bits, const bench::Bytes& octets) {
        Writer writer(BerWriterCreate());
        require(BerWriterPrintf(writer.get(), "{i{On}Boau}", kNumber, kArcs, kArcCount, bits.data(), 8 * kBitBytes,
                                octets.data(), kOctets, kText, kTextLength, kTime) > 0);
        return writer;
    }

    struct FreeValue {
        void operator()(BenchValue* value) const { BenchValue_free(value); }
    };
    using Value = std::unique_ptr<BenchValue, FreeValue>;
    struct FreeDer {
        void operator()(unsigned char* der) const { OPENSSL_free(der); }
    };
    using Der = std::unique_ptr<unsigned char, FreeDer>;

    Der opensslValue(const bench::Bytes& bits, const bench::Bytes& octets, int& length) {
        const Value value(BenchValue_new());
        require(value != nullptr && ASN1_INTEGER_set(value->number, kNumber) == 1);
        require(X509_ALGOR_set0(value->algorithm, OBJ_nid2obj(NID_rsaEncryption), V_ASN1_NULL, nullptr) == 1);
        require(ASN1_STRING_set(value->bits, bits.data(), kBitBytes) == 1);
        value->bits->flags = (value->bits->flags & ~0x07L) | ASN1_STRING_FLAG_BITS_LEFT;  // no unused bits
        require(ASN1_STRING_set(value->octets, octets.data(), kOctets) == 1);
        require(ASN1_STRING_set(value->text, kText, kTextLength) == 1);
        require(ASN1_STRING_set(value->time, kTime, static_cast<int>(sizeof kTime - 1)) == 1);
        unsigned char* der = nullptr;
        length = i2d_BenchValue(value.get(), &der);
        require(length > 0);
        return Der(der);
    }

    void writeOurs(benchmark::State & state) {
        const bench::Bytes bits = bench::patternBytes(kBitBytes);
        const bench::Bytes octets = bench::patternBytes(kOctets);
        for ([[maybe_unused]] auto round : state)
            benchmark::DoNotOptimize(ourValue(bits, octets)->buffer);
    }
    BENCHMARK(writeOurs)->Name("BER write/ours");

    void writeOpenssl(benchmark::State & state) {
        const bench::Bytes bits = bench::patternBytes(kBitBytes);
        const bench::Bytes octets = bench::patternBytes(kOctets);
        const Writer ours = ourValue(bits, octets);
        int length = 0;
        const Der der = opensslValue(bits, octets, length);
        if (bench::Bytes(der.get(), der.get() + length) != bench::Bytes(ours->buffer, ours->buffer + ours->used))
            state.SkipWithError("the two values differ");
        for ([[maybe_unused]] auto round : state)
            benchmark::DoNotOptimize(opensslValue(bits, octets, length));
    }
    BENCHMARK(writeOpenssl)->Name("BER write/OpenSSL");

    struct FreeReader {
        void operator()(BerReader* reader) const { BerReaderFree(reader); }
    };
    struct FreeBlock {
        void operator()(void* block) const { std::free(block); }
    };
    template <class T>
    using Block = std::unique_ptr<T, FreeBlock>;

    void readOurs(benchmark::State & state) {
        const Writer value = ourValue(bench::patternBytes(kBitBytes), bench::patternBytes(kOctets));
        for ([[maybe_unused]] auto round : state) {
            const std::unique_ptr<BerReader, FreeReader> reader(BerReaderCreate(value->buffer, value->used));
            std::int32_t number = 0;
            std::int32_t arcCount = 0;
            std::int32_t bitCount = 0;
            std::int32_t octetCount = 0;
            std::int32_t* arcs = nullptr;
            std::uint8_t* bits = nullptr;
            std::uint8_t* octets = nullptr;
            char* text = nullptr;
            char time[sizeof kTime] = {};
            const int result = BerReaderScanf(reader.get(), "{i{On}Boag}", &number, &arcs, &arcCount, &bits, &bitCount,
                                              &octets, &octetCount, &text, time);
            const Block<std::int32_t> ownArcs(arcs);
            const Block<std::uint8_t> ownBits(bits);
            const Block<std::uint8_t> ownOctets(octets);
            const Block<char> ownText(text);
            if (result != 0 || number != kNumber || arcCount != kArcCount || bitCount != 8 * kBitBytes)
                state.SkipWithError("not what was written");
            benchmark::ClobberMemory();
        }
    }
    BENCHMARK(readOurs)->Name("BER read/ours");

    void readOpenssl(benchmark::State & state) {
        const Writer der = ourValue(bench::patternBytes(kBitBytes), bench::patternBytes(kOctets));
        for ([[maybe_unused]] auto round : state) {
            const unsigned char* next = der->buffer;
            const Value value(d2i_BenchValue(nullptr, &next, der->used));
            if (value == nullptr || ASN1_INTEGER_get(value->number) != kNumber)
                state.SkipWithError("not what was written");
            benchmark::ClobberMemory();
        }
    }
    BENCHMARK(readOpenssl)->Name("BER read/OpenSSL");

}  // namespace
