// The bare RSA operations and key generation beside other libraries. Each peer gets the same key, and its result is
// compared with ours first.
//
// Peers run as they are shipped: where that means blinding, a check of the result or table look-ups in constant time,
// it is in their time; ours does none of it.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/rsa_peers.h"
#include "crypto/mpi_kernels.h"
#include "crypto/rsa.h"
#include "tests/support/hex.h"
#include "tests/vectors/rsa_keys.h"

namespace bench {
namespace {

// Lengths below 65,536.
Bytes element(std::uint8_t tag, const Bytes& content) {
    const std::size_t length = content.size();
    Bytes der;
    der.reserve(length + 4);
    der.push_back(tag);
    if (length >= 0x100) {
        der.push_back(0x82);
        der.push_back(static_cast<std::uint8_t>(length >> 8));
    } else if (length >= 0x80) {
        der.push_back(0x81);
    }
    der.push_back(static_cast<std::uint8_t>(length));
    der.insert(der.end(), content.begin(), content.end());
    return der;
}

Bytes integer(const Bytes& number) {
    Bytes content = number;
    if ((content.front() & 0x80) != 0)
        content.insert(content.begin(), 0);
    return element(2, content);
}

Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

RsaNumbers numbersOf(const RsaKeyVector& vector) {
    const auto item = [&](int i) { return support::hex(vector.items[i]); };
    return {item(0), item(1), item(2), item(3), item(4), item(5), item(6), item(7)};
}

RSA_CTX load(const RsaNumbers& key) {
    RSA_CTX context = {};
    const Bytes* const strings[] = {&key.n, &key.e, &key.d, &key.p, &key.q, &key.dp, &key.dq, &key.qInverse};
    RSA_KEY_ITEMS items;
    for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i)
        items[i] = {const_cast<std::uint8_t*>(strings[i]->data()), static_cast<std::uint32_t>(strings[i]->size())};
    RSA_Init(&context, items, RSA_PRIVATE_LENGTH, nullptr);
    return context;
}

using Number = std::uint32_t[MPI_DOUBLE_WORDS];

RsaRun ourPublicOp(const RsaNumbers& key) {
    return [context = load(key)](const Bytes& in, Bytes& out) {
        Number x;
        Number power;
        MPI_FromBytes(in.data(), static_cast<int>(in.size()), x);
        RSA_PublicOp(power, x, context.publicExponent, context.modulus);
        MPI_ToBytes(out.data(), static_cast<int>(out.size()), power);
    };
}

RsaRun ourPrivateOp(const RsaNumbers& key) {
    return [context = load(key)](const Bytes& in, Bytes& out) {
        Number x;
        Number power;
        MPI_FromBytes(in.data(), static_cast<int>(in.size()), x);
        RSA_PrivateOp(power, x, context.prime1, context.prime2, context.exponent1, context.exponent2,
                      context.coefficient);
        MPI_ToBytes(out.data(), static_cast<int>(out.size()), power);
    };
}

void ourKey(int bits) {
    RSA_CTX context;
    RSA_GenerateKey(&context, bits, nullptr);
}

// Our operations in another form of the numbers' inner loops.
RsaRun inForm(const RsaRun& run, const mpi::Kernels* form) {
    return [=](const Bytes& in, Bytes& out) {
        mpi::useKernels(form);
        run(in, out);
        mpi::useKernels(nullptr);
    };
}

RsaPeer ours(const std::string& who, const mpi::Kernels* form) {
    return {who, [=](const RsaNumbers& key) { return inForm(ourPublicOp(key), form); },
            [=](const RsaNumbers& key) { return inForm(ourPrivateOp(key), form); },
            [=](int bits) {
                mpi::useKernels(form);
                ourKey(bits);
                mpi::useKernels(nullptr);
            },
            0};
}

void measure(benchmark::State& state, const RsaNumbers& key, const RsaRun& run, const RsaRun& reference) {
    Bytes in = patternBytes(key.n.size());
    in[0] = 0;  // below the modulus
    Bytes out(in.size());
    for ([[maybe_unused]] auto round : state) {
        run(in, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Bytes expected(in.size());
    reference(in, expected);
    if (out != expected)
        state.SkipWithError("not our result");
}

void addOperation(const char* work, const RsaKeyVector& vector, const RsaPeer& peer, bool privately) {
    const std::string name = std::string(work) + ", " + std::to_string(vector.bits) + " bits/" + peer.who;
    benchmark::RegisterBenchmark(name.c_str(), [=, &vector](benchmark::State& state) {
        const RsaNumbers key = numbersOf(vector);
        const auto& prepare = privately ? peer.privateOp : peer.publicOp;
        measure(state, key, prepare(key), privately ? ourPrivateOp(key) : ourPublicOp(key));
    })->MeasureProcessCPUTime();
}

void addGeneration(int bits, const RsaPeer& peer) {
    const std::string name = "key generation, " + std::to_string(bits) + " bits/" + peer.who;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for ([[maybe_unused]] auto round : state)
            peer.generate(bits);
    })->MeasureProcessCPUTime();
}

int addEverything() {
    std::vector<RsaPeer> everybody = {ours("ours", nullptr), ours("ours, plain", &mpi::plainKernels())};
    for (const auto& list :
         {openSslRsa, botanRsa, cryptoPlusPlusRsa, gcryptRsa, mbedTlsRsa, nettleRsa, nssRsa, tomCryptRsa, wolfSslRsa})
        for (const RsaPeer& peer : list())
            everybody.push_back(peer);
    for (const RsaKeyVector& vector : kRsaKeys) {
        if (vector.bits % 512 != 0 || vector.bits > 4096 || std::string(vector.items[1]) != "010001")
            continue;
        for (const RsaPeer& peer : everybody) {
            if (peer.smallestKey > vector.bits)
                continue;
            addOperation("RSA public", vector, peer, false);
        }
        for (const RsaPeer& peer : everybody) {
            if (peer.smallestKey > vector.bits || !peer.privateOp)
                continue;
            addOperation("RSA private", vector, peer, true);
        }
    }
    for (const int bits : {512, 1024, 2048, 4096})
        for (const RsaPeer& peer : everybody)
            if (peer.smallestKey <= bits && peer.generate)
                addGeneration(bits, peer);
    return 0;
}
const int kAdded = addEverything();

}  // namespace

Bytes privateKeyDer(const RsaNumbers& key) {
    return element(0x30, joined({integer({0}), integer(key.n), integer(key.e), integer(key.d), integer(key.p),
                                 integer(key.q), integer(key.dp), integer(key.dq), integer(key.qInverse)}));
}

Bytes privateKeyInfoDer(const RsaNumbers& key) {
    const Bytes rsaEncryption = {0x30, 0x0d, 0x06, 0x09, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x01, 0x05, 0};
    return element(0x30, joined({integer({0}), rsaEncryption, element(4, privateKeyDer(key))}));
}

}  // namespace bench
