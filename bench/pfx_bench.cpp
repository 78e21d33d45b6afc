// PKCS#12 files of 2000 iterations opened, ours beside other libraries.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "bench/pfx_peers.h"

namespace {

using bench::Bytes;
using bench::PfxPeer;

constexpr const char* kPassword = "secret";
constexpr std::size_t kCertificates = 2;

struct File {
    const char* row;
    const char* name;
};
constexpr File kFiles[] = {{"open PFX, certificates under RC2", "rc2.p12"},
                           {"open PFX, certificates under triple DES", "des3.p12"}};

Bytes data(const std::string& name) {
    std::ifstream file(VT_BENCH_DATA "/" + name, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (bytes.empty())
        std::abort();
    return bytes;
}

void registerWork(const File& file, const PfxPeer& peer) {
    const Bytes bytes = data(file.name);
    if (peer.open(bytes, kPassword) != kCertificates) {
        std::fprintf(stderr, "%s: other certificates in %s\n", peer.who.c_str(), file.name);
        std::exit(1);
    }
    benchmark::RegisterBenchmark((std::string(file.row) + "/" + peer.who).c_str(), [=](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(peer.open(bytes, kPassword));
    });
}

}  // namespace

int main(int argc, char** argv) {
    const PfxPeer peers[] = {bench::ourPfx(), bench::gnuTlsPfx(), bench::nssPfx(), bench::openSslPfx(),
                             bench::wolfSslPfx()};
    for (const File& file : kFiles)
        for (const PfxPeer& peer : peers)
            if (peer.notOpened != file.name)
                registerWork(file, peer);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
