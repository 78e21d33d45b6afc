// Every cipher in both directions and every digest, a message of 64 bytes with its key set-up and one of 16 KB, beside
// other libraries. Each peer's result is compared with ours first.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "bench/cipher_peers.h"
#include "crypto/block_kernels.h"
#include "crypto/crypto.h"

namespace {

using bench::Bytes;
using bench::Job;
using bench::Peer;

std::uint32_t sizeOf(const Bytes& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

// The parameter record that a cipher's init takes.
const void* parameterOf(const DES_CTX& /*cipher*/, const Job& job) {
    return job.iv.data();
}

const void* parameterOf(const DES3_CTX& /*cipher*/, const Job& job) {
    return job.iv.data();
}

const void* parameterOf(const RC2_CTX& /*cipher*/, const Job& job) {
    static RC2_PARAMETER parameter;
    parameter.effectiveBits = job.number;
    std::memcpy(parameter.iv, job.iv.data(), sizeof parameter.iv);
    return &parameter;
}

const void* parameterOf(const RC5_CTX& /*cipher*/, const Job& job) {
    static RC5_PARAMETER parameter;
    parameter = {4, job.number, job.iv.data(), static_cast<unsigned long>(job.iv.size())};
    return &parameter;
}

template <class Context>
bench::Run cipher(CipherInit encryptInit, CipherInit decryptInit, CipherUpdate update, CipherFinal final) {
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        Context context{};
        std::uint32_t length = 0;
        std::uint32_t rest = 0;
        const CipherInit init = job.encrypting ? encryptInit : decryptInit;
        init(&context, job.key.data(), sizeOf(job.key), parameterOf(context, job));
        update(&context, in.data(), out.data(), sizeOf(in), &length);
        final(&context, out.data() + length, &rest);
    };
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    RC4_CTX context{};
    std::uint32_t length = 0;
    RC4_Init(&context, job.key.data(), sizeOf(job.key), nullptr);
    RC4_Update(&context, in.data(), out.data(), sizeOf(in), &length);
}

template <class Context>
bench::Run digest(DigestInit init, DigestUpdate update, DigestFinal final) {
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        Context context;
        std::uint32_t length = 0;
        init(&context);
        update(&context, in.data(), sizeOf(in));
        final(&context, out.data(), &length);
    };
}

struct Work {
    const char* name;
    bench::Run ours;
    std::size_t keyLength;
    unsigned number;
    std::size_t digestSize;  // 0 for a cipher
    bool oneDirection;
    const char* otherForms;  // of ours, that make a difference here, divided by blanks
};

std::vector<Work> works() {
    return {
        {"DES-CBC", cipher<DES_CTX>(DES_EncryptInit, DES_DecryptInit, DES_Update, DES_Final), 8, 0, 0, false, "plain"},
        {"3DES-CBC", cipher<DES3_CTX>(DES3_EncryptInit, DES3_DecryptInit, DES3_Update, DES3_Final), 24, 0, 0, false,
         "plain"},
        {"RC2-CBC", cipher<RC2_CTX>(RC2_EncryptInit, RC2_DecryptInit, RC2_Update, RC2_Final), 16, 128, 0, false,
         "plain"},
        {"RC4", rc4, 16, 0, 0, true, ""},
        {"RC5-CBC", cipher<RC5_CTX>(RC5_EncryptInit, RC5_DecryptInit, RC5_Update, RC5_Final), 16, 12, 0, false,
         "plain"},
        {"MD2", digest<MD2_CTX>(MD2_Init, MD2_Update, MD2_Final), 0, 0, 16, true, ""},
        {"MD5", digest<MD5_CTX>(MD5_Init, MD5_Update, MD5_Final), 0, 0, 16, true, ""},
        {"SHA-1", digest<SHA1_CTX>(SHA1_Init, SHA1_Update, SHA1_Final), 0, 0, 20, true, "plain"},
    };
}

void measure(benchmark::State& state, const Work& work, const bench::Run& run, bool encrypting, std::size_t length,
             const crypto::BlockKernels& kernels) {
    const Job job{work.keyLength != 0 ? bench::patternBytes(work.keyLength) : Bytes(), bench::patternBytes(8),
                  work.number, encrypting};
    const Bytes in = bench::patternBytes(length);
    Bytes out(work.digestSize != 0 ? work.digestSize : length);
    crypto::useBlockKernels(kernels);
    for ([[maybe_unused]] auto round : state) {
        run(job, in, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    crypto::useBlockKernels(crypto::fastestBlockKernels());
    Bytes expected(out.size());
    work.ours(job, in, expected);
    if (out != expected)
        state.SkipWithError("not our result");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(length));
}

void add(const Work& work, const std::string& who, const bench::Run& run, const crypto::BlockKernels& kernels) {
    for (const bool encrypting : {true, false}) {
        if (work.oneDirection && !encrypting)
            continue;
        const std::string direction = work.oneDirection ? "" : encrypting ? " encrypt" : " decrypt";
        for (const std::size_t length : {std::size_t{64}, std::size_t{16384}}) {
            const std::string size = length == 64 ? ", 64 B/" : ", 16 KB/";
            benchmark::RegisterBenchmark(
                (work.name + direction + size + who).c_str(),
                [=, &kernels](benchmark::State& state) { measure(state, work, run, encrypting, length, kernels); });
        }
    }
}

int addEverything() {
    std::vector<Peer> peers;
    for (const auto& list :
         {bench::openSslPeers, bench::botanPeers, bench::cryptoPlusPlusPeers, bench::gcryptPeers, bench::mbedTlsPeers,
          bench::nettlePeers, bench::nssPeers, bench::tomCryptPeers, bench::wolfSslPeers})
        for (const Peer& peer : list())
            peers.push_back(peer);
    for (const Work& work : works()) {
        add(work, "ours", work.ours, crypto::fastestBlockKernels());
        if (work.otherForms[0] != '\0')
            add(work, std::string("ours, ") + work.otherForms, work.ours, crypto::plainBlockKernels());
        for (const Peer& peer : peers)
            if (peer.work == work.name)
                add(work, peer.who, peer.run, crypto::fastestBlockKernels());
    }
    return 0;
}
const int kAdded = addEverything();

}  // namespace
