// Crypto++ by the bare functions of its keys. It blinds the private operation and checks its result.
#include <cryptopp/osrng.h>
#include <cryptopp/rsa.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

CryptoPP::RandomNumberGenerator& rng() {
    static CryptoPP::AutoSeededRandomPool generator;
    return generator;
}

CryptoPP::Integer number(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

RsaRun publicOp(const RsaNumbers& key) {
    const auto ready = std::make_shared<CryptoPP::RSAFunction>();
    ready->Initialize(number(key.n), number(key.e));
    return [ready](const Bytes& in, Bytes& out) { ready->ApplyFunction(number(in)).Encode(out.data(), out.size()); };
}

RsaRun privateOp(const RsaNumbers& key) {
    const auto ready = std::make_shared<CryptoPP::InvertibleRSAFunction>();
    ready->Initialize(number(key.n), number(key.e), number(key.d), number(key.p), number(key.q), number(key.dp),
                      number(key.dq), number(key.qInverse));
    return [ready](const Bytes& in, Bytes& out) {
        ready->CalculateInverse(rng(), number(in)).Encode(out.data(), out.size());
    };
}

void generate(int bits) {
    CryptoPP::InvertibleRSAFunction key;
    key.Initialize(rng(), static_cast<unsigned>(bits), 65537);
}

}  // namespace

std::vector<RsaPeer> cryptoPlusPlusRsa() {
    return {{"Crypto++", publicOp, privateOp, generate, 512}};
}

}  // namespace bench
