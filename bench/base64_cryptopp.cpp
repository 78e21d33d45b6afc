#include <cryptopp/base64.h>
#include <cryptopp/filters.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

// A filter into a buffer that is there; the filters free each other.
template <class Filter>
std::size_t run(Filter* filter, CryptoPP::ArraySink* sink, const void* in, std::size_t length) {
    const CryptoPP::ArraySource source(static_cast<const CryptoPP::byte*>(in), length, true, filter);
    return sink->TotalPutLength();
}

std::size_t encode(const Bytes& bytes, std::string& text) {
    auto* const sink = new CryptoPP::ArraySink(reinterpret_cast<CryptoPP::byte*>(text.data()), text.size());
    return run(new CryptoPP::Base64Encoder(sink, false), sink, bytes.data(), bytes.size());
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    auto* const sink = new CryptoPP::ArraySink(bytes.data(), bytes.size());
    return run(new CryptoPP::Base64Decoder(sink), sink, text.data(), text.size());
}

}  // namespace

Base64Peer cryptoPlusPlusBase64() {
    return {"Crypto++", encode, decode, decode};
}

}  // namespace bench
