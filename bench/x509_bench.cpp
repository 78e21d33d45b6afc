// A certificate of 1.1 KB with eight extensions, decoded, encoded and printed, ours beside other libraries.
//
//     bench_asn             the benchmarks
//     bench_asn --memory    calls of the system's allocator, and the most held, for one decode of each
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "bench/heap_meter.h"
#include "bench/x509_peers.h"
#include "foundation/pool.h"

namespace {

bench::Bytes certificate() {
    std::ifstream file(VT_BENCH_DATA "/certificate.der", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<bench::X509Peer> peers(const bench::Bytes& in) {
    return {bench::ourX509(in),      bench::botanX509(in),  bench::gnuTlsX509(in),  bench::ksbaX509(in),
            bench::mbedTlsX509(in),  bench::nssX509(in),    bench::openSslX509(in), bench::tasn1X509(in),
            bench::tomCryptX509(in), bench::wolfSslX509(in)};
}

// Ours is cold when its pool is empty. What the libraries take once for themselves is in nobody's first decode, since
// their set-up decodes already.
void printMemory(const std::vector<bench::X509Peer>& all) {
    for (const bench::X509Peer& peer : all) {
        foundation::PoolTrim();
        bench::printHeapUse("X.509 decode, first", peer.who, bench::heapUse(peer.decode));
        bench::printHeapUse("X.509 decode, later", peer.who, bench::heapUse(peer.decode));
    }
}

void registerRow(const std::string& row, const std::string& who, const std::function<void()>& work) {
    benchmark::RegisterBenchmark((row + "/" + who).c_str(), [work](benchmark::State& state) {
        for (auto _ : state)
            work();
    });
}

}  // namespace

int main(int argc, char** argv) {
    const bench::Bytes in = certificate();
    const std::vector<bench::X509Peer> all = peers(in);
    for (const bench::X509Peer& peer : all)
        peer.decode();
    if (argc == 2 && std::strcmp(argv[1], "--memory") == 0) {
        printMemory(all);
        return 0;
    }
    for (const bench::X509Peer& peer : all) {
        if (peer.encode != nullptr && peer.encode() != in.size()) {
            std::fprintf(stderr, "%s encodes another length\n", peer.who.c_str());
            return 1;
        }
        registerRow("X.509 decode", peer.who, peer.decode);
    }
    for (const bench::X509Peer& peer : all) {
        if (peer.encode != nullptr)
            registerRow("X.509 encode", peer.who, [&peer] { benchmark::DoNotOptimize(peer.encode()); });
    }
    for (const bench::X509Peer& peer : all) {
        if (peer.print != nullptr && peer.print() == 0) {
            std::fprintf(stderr, "%s prints nothing\n", peer.who.c_str());
            return 1;
        }
        if (peer.print != nullptr)
            registerRow("X.509 print", peer.who, [&peer] { benchmark::DoNotOptimize(peer.print()); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
