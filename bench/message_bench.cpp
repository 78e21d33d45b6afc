// PKCS#7 messages made and read, ours beside other libraries.
//
//     bench_message             the benchmarks
//     bench_message --memory    calls of the system's allocator, and the most held, for each piece of work at 1 MB
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>

#include "bench/heap_meter.h"
#include "bench/message_peers.h"
#include "bench/pattern.h"

namespace {

using bench::Bytes;
using bench::MessagePeer;

constexpr std::size_t kKilobyte = 1024;
constexpr std::size_t kMegabyte = 1024 * 1024;

Bytes data(const std::string& name) {
    std::ifstream file(VT_BENCH_DATA "/" + name, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (bytes.empty())
        std::abort();
    return bytes;
}

std::vector<MessagePeer> peers() {
    const bench::MessageInputs inputs = {data("signer.key"), data("signer.der"), data("authority.der"),
                                         data("root.der")};
    return {bench::ourMessages(inputs), bench::gnuTlsMessages(inputs),  bench::ksbaMessages(inputs),
            bench::nssMessages(inputs), bench::openSslMessages(inputs), bench::wolfSslMessages(inputs)};
}

// One piece of work of one library.
struct Work {
    std::string row;
    std::string who;
    std::function<void()> run;
};

// Everybody reads the same message, which another program made.
struct Messages {
    std::size_t length;  // of the content
    std::string size;    // of the content, for people
    Bytes content, signedData, enveloped, digested;
};

Messages messagesOf(const MessagePeer& writer, std::size_t length, const std::string& size) {
    Messages made = {length, size, bench::patternBytes(length), {}, {}, {}};
    writer.sign(made.content, &made.signedData);
    writer.seal(made.content, &made.enveloped);
    writer.digest(made.content, &made.digested);
    return made;
}

void agree(bool holds, const std::string& who, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "%s: %s\n", who.c_str(), what);
    std::exit(1);
}

bool isAmong(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// What each library writes must be read by all the others before anything is measured.
void checkAll(const std::vector<MessagePeer>& all, const Bytes& content) {
    for (const MessagePeer& writer : all) {
        Bytes signedData;
        Bytes enveloped;
        Bytes digested;
        if (writer.sign)
            writer.sign(content, &signedData);
        if (writer.seal)
            writer.seal(content, &enveloped);
        if (writer.digest)
            writer.digest(content, &digested);
        for (const MessagePeer& reader : all) {
            if (writer.sign && reader.verify && !isAmong(reader.notVerified, writer.who))
                agree(reader.verify(signedData) == content.size(), writer.who + " to " + reader.who, "signed data");
            if (writer.seal && reader.open && !isAmong(reader.notOpened, writer.who))
                agree(reader.open(enveloped) == content.size(), writer.who + " to " + reader.who, "enveloped data");
            if (writer.digest && reader.check)
                agree(reader.check(digested) == content.size(), writer.who + " to " + reader.who, "digested data");
        }
    }
}

void addWork(std::vector<Work>& list, const MessagePeer& peer, const Messages& messages, bool envelopes) {
    const auto add = [&](const char* what, bool there, const std::function<void()>& run) {
        if (there)
            list.push_back({what + (", " + messages.size), peer.who, run});
    };
    add("sign", peer.sign != nullptr, [&] { peer.sign(messages.content, nullptr); });
    add("verify", peer.verify != nullptr, [&] { benchmark::DoNotOptimize(peer.verify(messages.signedData)); });
    if (!envelopes)
        return;
    add("envelop", peer.seal != nullptr, [&] { peer.seal(messages.content, nullptr); });
    add("open", peer.open != nullptr, [&] { benchmark::DoNotOptimize(peer.open(messages.enveloped)); });
    add("digest", peer.digest != nullptr, [&] { peer.digest(messages.content, nullptr); });
    add("check digest", peer.check != nullptr, [&] { benchmark::DoNotOptimize(peer.check(messages.digested)); });
}

void printMemory(const std::vector<Work>& list) {
    for (const Work& work : list) {
        work.run();
        bench::printHeapUse(work.row, work.who, bench::heapUse(work.run));
    }
}

void registerWork(const Work& work) {
    benchmark::RegisterBenchmark((work.row + "/" + work.who).c_str(), [work](benchmark::State& state) {
        for (auto _ : state)
            work.run();
    });
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<MessagePeer> all = peers();
    checkAll(all, bench::patternBytes(kKilobyte));
    const MessagePeer& writer = all[all.size() - 2];  // OpenSSL
    const Messages small = messagesOf(writer, kKilobyte, "1 KB");
    const Messages large = messagesOf(writer, kMegabyte, "1 MB");
    std::vector<Work> smallWork;
    std::vector<Work> largeWork;
    for (const MessagePeer& peer : all) {
        addWork(smallWork, peer, small, false);
        addWork(largeWork, peer, large, true);
    }
    if (argc == 2 && std::strcmp(argv[1], "--memory") == 0) {
        printMemory(largeWork);
        return 0;
    }
    for (const std::vector<Work>* list : {&smallWork, &largeWork}) {
        for (const Work& work : *list)
            registerWork(work);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
