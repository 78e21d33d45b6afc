// Base64 of 3 KB (a request, a certificate) and of 1 MB: the codec of the script methods and the toolkit's. OpenSSL's
// block functions know no line breaks; ours write a line break after each 64th character and read any text.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <memory>
#include <string>

#include "bench/key.h"
#include "enrol/base64.h"
#include "foundation/byte.h"
#include "pki/base64.h"

namespace {

std::string textOf(const bench::Bytes& bytes) {
    std::size_t size = 0;
    enrol::EncodeBase64Text(bytes.data(), bytes.size(), nullptr, size);
    std::string text(size, '\0');
    enrol::EncodeBase64Text(bytes.data(), bytes.size(), text.data(), size);
    return text.substr(0, text.find('\0'));
}

std::string oneLine(const bench::Bytes& bytes) {
    std::string text(bytes.size() / 3 * 4 + 5, '\0');
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

const unsigned char* charsOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

bench::Bytes input(const benchmark::State& state) {
    return bench::patternBytes(static_cast<std::size_t>(state.range(0)));
}

void count(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void encodeOurs(benchmark::State& state) {
    const bench::Bytes bytes = input(state);
    std::string text(2 * bytes.size() + 4, '\0');
    for ([[maybe_unused]] auto round : state) {
        std::size_t size = 0;
        enrol::EncodeBase64Text(bytes.data(), bytes.size(), text.data(), size);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    count(state);
}
BENCHMARK(encodeOurs)->Name("base64 encode/ours")->Arg(3072)->Arg(1 << 20);

void encodeOpenssl(benchmark::State& state) {
    const bench::Bytes bytes = input(state);
    std::string text(2 * bytes.size() + 4, '\0');
    for ([[maybe_unused]] auto round : state) {
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    count(state);
}
BENCHMARK(encodeOpenssl)->Name("base64 encode/OpenSSL")->Arg(3072)->Arg(1 << 20);

void decodeOurs(benchmark::State& state, std::string (*write)(const bench::Bytes&)) {
    const bench::Bytes bytes = input(state);
    const std::string text = write(bytes);
    bench::Bytes out;
    for ([[maybe_unused]] auto round : state) {
        enrol::DecodeBase64Text(text.data(), text.size(), out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    if (out != bytes)
        state.SkipWithError("not what was encoded");
    count(state);
}

void decodeOneLineOurs(benchmark::State& state) {
    decodeOurs(state, oneLine);
}
BENCHMARK(decodeOneLineOurs)->Name("base64 decode, one line/ours")->Arg(3072)->Arg(1 << 20);

// A fresh vector each time on our side, so a fresh buffer here.
void decodeOneLineOpenssl(benchmark::State& state) {
    const bench::Bytes bytes = input(state);
    const std::string text = oneLine(bytes);
    bench::Bytes out(text.size() / 4 * 3);
    for ([[maybe_unused]] auto round : state) {
        benchmark::DoNotOptimize(EVP_DecodeBlock(out.data(), charsOf(text), static_cast<int>(text.size())));
        benchmark::ClobberMemory();
    }
    count(state);
}
BENCHMARK(decodeOneLineOpenssl)->Name("base64 decode, one line/OpenSSL")->Arg(3072)->Arg(1 << 20);

void decodeLinesOurs(benchmark::State& state) {
    decodeOurs(state, textOf);
}
BENCHMARK(decodeLinesOurs)->Name("base64 decode, lines of 64/ours")->Arg(3072)->Arg(1 << 20);

struct FreeContext {
    void operator()(EVP_ENCODE_CTX* context) const { EVP_ENCODE_CTX_free(context); }
};

void decodeLinesOpenssl(benchmark::State& state) {
    const bench::Bytes bytes = input(state);
    const std::string text = textOf(bytes);
    bench::Bytes out(text.size());
    const std::unique_ptr<EVP_ENCODE_CTX, FreeContext> context(EVP_ENCODE_CTX_new());
    for ([[maybe_unused]] auto round : state) {
        int length = 0;
        int rest = 0;
        EVP_DecodeInit(context.get());
        EVP_DecodeUpdate(context.get(), out.data(), &length, charsOf(text), static_cast<int>(text.size()));
        benchmark::DoNotOptimize(EVP_DecodeFinal(context.get(), out.data() + length, &rest));
        benchmark::ClobberMemory();
    }
    count(state);
}
BENCHMARK(decodeLinesOpenssl)->Name("base64 decode, lines of 64/OpenSSL")->Arg(3072)->Arg(1 << 20);

// The toolkit's, with a buffer of the caller's as the block functions have it, and from one byte string to another.
void encodeToolkit(benchmark::State& state, bool wrap) {
    const bench::Bytes bytes = input(state);
    std::string text(2 * bytes.size() + 4, '\0');
    for ([[maybe_unused]] auto round : state) {
        int size = 0;
        VT_Base64::Encode(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()), text.data(),
                          &size, wrap);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    count(state);
}

void decodeToolkit(benchmark::State& state, std::string (*write)(const bench::Bytes&)) {
    const bench::Bytes bytes = input(state);
    const std::string text = write(bytes);
    std::string out(text.size(), '\0');
    int size = 0;
    for ([[maybe_unused]] auto round : state) {
        VT_Base64::Decode(text.data(), static_cast<int>(text.size()), out.data(), &size);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    if (static_cast<std::size_t>(size) != bytes.size())
        state.SkipWithError("not what was encoded");
    count(state);
}

void encodeValues(benchmark::State& state) {
    const bench::Bytes bytes = input(state);
    const MiByte value(reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
    for ([[maybe_unused]] auto round : state) {
        MiByte text;
        VT_Base64::Encode(value, text, true);
        benchmark::DoNotOptimize(text.GetChars());
    }
    count(state);
}

void decodeValues(benchmark::State& state) {
    const std::string text = oneLine(input(state));
    const MiByte value(text.data(), static_cast<unsigned int>(text.size()));
    for ([[maybe_unused]] auto round : state) {
        MiByte bytes;
        VT_Base64::Decode(value, bytes);
        benchmark::DoNotOptimize(bytes.GetChars());
    }
    count(state);
}

// Rows of the same peers under names of their own: a table compares what has the same name.
BENCHMARK_CAPTURE(encodeToolkit, plain, false)->Name("toolkit base64 encode/ours")->Arg(3072)->Arg(1 << 20);
BENCHMARK(encodeOpenssl)->Name("toolkit base64 encode/OpenSSL")->Arg(3072)->Arg(1 << 20);
BENCHMARK_CAPTURE(encodeToolkit, wrap, true)->Name("toolkit base64 encode, lines of 64/ours")->Arg(3072)->Arg(1 << 20);
BENCHMARK(encodeOpenssl)->Name("toolkit base64 encode, lines of 64/OpenSSL")->Arg(3072)->Arg(1 << 20);
BENCHMARK(encodeValues)->Name("toolkit base64 encode, byte strings/ours")->Arg(3072)->Arg(1 << 20);
BENCHMARK(encodeOpenssl)->Name("toolkit base64 encode, byte strings/OpenSSL")->Arg(3072)->Arg(1 << 20);
BENCHMARK_CAPTURE(decodeToolkit, one_line, oneLine)
    ->Name("toolkit base64 decode, one line/ours")
    ->Arg(3072)
    ->Arg(1 << 20);
BENCHMARK(decodeOneLineOpenssl)->Name("toolkit base64 decode, one line/OpenSSL")->Arg(3072)->Arg(1 << 20);
BENCHMARK_CAPTURE(decodeToolkit, lines, textOf)
    ->Name("toolkit base64 decode, lines of 64/ours")
    ->Arg(3072)
    ->Arg(1 << 20);
BENCHMARK(decodeLinesOpenssl)->Name("toolkit base64 decode, lines of 64/OpenSSL")->Arg(3072)->Arg(1 << 20);
BENCHMARK(decodeValues)->Name("toolkit base64 decode, byte strings/ours")->Arg(3072)->Arg(1 << 20);
BENCHMARK(decodeOneLineOpenssl)->Name("toolkit base64 decode, byte strings/OpenSSL")->Arg(3072)->Arg(1 << 20);

}  // namespace
