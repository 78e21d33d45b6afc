// Base64 of 3 KB (a request, a certificate) and of 1 MB: the codec of the script methods and the toolkit's, beside
// other libraries. Ours break lines after each 64th character and read any text; most block functions know no line
// breaks.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/base64_peers.h"
#include "enrol/base64.h"
#include "foundation/byte.h"
#include "pki/base64.h"

namespace {

using bench::Base64Peer;
using bench::Bytes;

std::size_t encodeText(const Bytes& bytes, std::string& text) {
    std::size_t size = 0;
    enrol::EncodeBase64Text(bytes.data(), bytes.size(), text.data(), size);
    return size;
}

std::size_t decodeText(const std::string& text, Bytes& bytes) {
    enrol::DecodeBase64Text(text.data(), text.size(), bytes);
    return bytes.size();
}

template <bool Wrap>
std::size_t encodeToolkit(const Bytes& bytes, std::string& text) {
    int size = 0;
    VT_Base64::Encode(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()), text.data(), &size,
                      Wrap);
    return static_cast<std::size_t>(size);
}

std::size_t decodeToolkit(const std::string& text, Bytes& bytes) {
    int size = 0;
    VT_Base64::Decode(text.data(), static_cast<int>(text.size()), reinterpret_cast<char*>(bytes.data()), &size);
    return static_cast<std::size_t>(size);
}

// The byte string to read is there beforehand; inputs of one length are the same.
const MiByte& valueOf(const void* data, std::size_t length) {
    static MiByte value;
    if (value.GetLength() != length)
        value = MiByte(static_cast<const char*>(data), static_cast<unsigned int>(length));
    return value;
}

std::size_t encodeValues(const Bytes& bytes, std::string& /*text*/) {
    MiByte text;
    VT_Base64::Encode(valueOf(bytes.data(), bytes.size()), text, true);
    return text.GetLength();
}

std::size_t decodeValues(const std::string& text, Bytes& /*bytes*/) {
    MiByte bytes;
    VT_Base64::Decode(valueOf(text.data(), text.size()), bytes);
    return bytes.GetLength();
}

struct Size {
    const char* name;
    std::size_t bytes;
};
constexpr Size kSizes[] = {{"3 KB", 3072}, {"1 MB", std::size_t{1} << 20}};

std::string nameOf(const std::string& row, const Size& size, const std::string& who) {
    return row + ", " + size.name + "/" + who;
}

using Encode = decltype(Base64Peer::encode);
using Decode = decltype(Base64Peer::decodeLine);

void addEncode(const std::string& row, const std::string& who, const Encode& encode) {
    for (const Size& size : kSizes) {
        benchmark::RegisterBenchmark(nameOf(row, size, who).c_str(), [=](benchmark::State& state) {
            const Bytes bytes = bench::patternBytes(size.bytes);
            std::string text(2 * bytes.size() + 4, '\0');
            std::size_t length = 0;
            for ([[maybe_unused]] auto round : state) {
                length = encode(bytes, text);
                benchmark::DoNotOptimize(text.data());
                benchmark::ClobberMemory();
            }
            if (length < bytes.size() / 3 * 4)
                state.SkipWithError("too short a text");
        });
    }
}

// The text as one line, or with a line break after each 64th character.
std::string textOf(const Bytes& bytes, bool lines) {
    std::string text(2 * bytes.size() + 4, '\0');
    text.resize(lines ? encodeToolkit<true>(bytes, text) : encodeToolkit<false>(bytes, text));
    return text;
}

void addDecode(const std::string& row, const std::string& who, bool lines, const Decode& decode) {
    for (const Size& size : kSizes) {
        benchmark::RegisterBenchmark(nameOf(row, size, who).c_str(), [=](benchmark::State& state) {
            const Bytes bytes = bench::patternBytes(size.bytes);
            const std::string text = textOf(bytes, lines);
            Bytes out(text.size());
            std::size_t length = 0;
            for ([[maybe_unused]] auto round : state) {
                length = decode(text, out);
                benchmark::DoNotOptimize(out.data());
                benchmark::ClobberMemory();
            }
            if (length != bytes.size())
                state.SkipWithError("not what was encoded");
        });
    }
}

const std::vector<Base64Peer>& peers() {
    static const std::vector<Base64Peer> all = {
        bench::botanBase64(),   bench::cryptoPlusPlusBase64(), bench::gnuTlsBase64(),
        bench::mbedTlsBase64(), bench::nettleBase64(),         bench::nssBase64(),
        bench::openSslBase64(), bench::tomCryptBase64(),       bench::wolfSslBase64()};
    return all;
}

void addEncodeRow(const std::string& row, const Encode& ours) {
    addEncode(row, "ours", ours);
    for (const Base64Peer& peer : peers())
        if (peer.encode)
            addEncode(row, peer.who, peer.encode);
}

void addDecodeRow(const std::string& row, bool lines, const Decode& ours) {
    addDecode(row, "ours", lines, ours);
    for (const Base64Peer& peer : peers())
        if (const Decode& decode = lines ? peer.decodeLines : peer.decodeLine)
            addDecode(row, peer.who, lines, decode);
}

const int kAdded = [] {
    addEncodeRow("base64 encode", encodeText);
    addDecodeRow("base64 decode, one line", false, decodeText);
    addDecodeRow("base64 decode, lines of 64", true, decodeText);
    addEncodeRow("toolkit base64 encode", encodeToolkit<false>);
    addEncodeRow("toolkit base64 encode, lines of 64", encodeToolkit<true>);
    addEncodeRow("toolkit base64 encode, byte strings", encodeValues);
    addDecodeRow("toolkit base64 decode, one line", false, decodeToolkit);
    addDecodeRow("toolkit base64 decode, lines of 64", true, decodeToolkit);
    addDecodeRow("toolkit base64 decode, byte strings", false, decodeValues);
    return 0;
}();

}  // namespace
