// Botan by its encryptor and decryptor without padding. It blinds the private operation and checks its result.
#include <botan/auto_rng.h>
#include <botan/bigint.h>
#include <botan/pubkey.h>
#include <botan/rsa.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

Botan::RandomNumberGenerator& rng() {
    static Botan::AutoSeeded_RNG generator;
    return generator;
}

Botan::BigInt number(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

RsaRun publicOp(const RsaNumbers& key) {
    const auto ready = std::make_shared<Botan::RSA_PublicKey>(number(key.n), number(key.e));
    const auto encryptor = std::make_shared<Botan::PK_Encryptor_EME>(*ready, rng(), "Raw");
    return [ready, encryptor](const Bytes& in, Bytes& out) {
        const auto result = encryptor->encrypt(in.data(), in.size(), rng());
        std::copy(result.begin(), result.end(), out.begin());
    };
}

// "Raw" takes leading zeros away.
RsaRun privateOp(const RsaNumbers& key) {
    const auto ready = std::make_shared<Botan::RSA_PrivateKey>(number(key.p), number(key.q), number(key.e),
                                                               number(key.d), number(key.n));
    const auto decryptor = std::make_shared<Botan::PK_Decryptor_EME>(*ready, rng(), "Raw");
    return [ready, decryptor](const Bytes& in, Bytes& out) {
        const auto result = decryptor->decrypt(in.data(), in.size());
        std::fill(out.begin(), out.end(), 0);
        std::copy(result.rbegin(), result.rend(), out.rbegin());
    };
}

}  // namespace

std::vector<RsaPeer> botanRsa() {
    return {{"Botan", publicOp, privateOp,
             [](int bits) { const Botan::RSA_PrivateKey key(rng(), static_cast<std::size_t>(bits)); }, 1024}};
}

}  // namespace bench
