#include "tests/support/fake_nss.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>

namespace support {
namespace {

// As in certt.h and prclist.h.
struct Certificate {
    void* arena;
    const char* rest;
};
struct Link {
    Link* next;
    Link* previous;
};
struct Node {
    Link links;
    Certificate* certificate;
    void* appData;
};
struct List {
    Link head;
    void* arena;
};

char theSlot;

// What the functions hand out stays until the fake goes.
struct Memory {
    std::deque<Certificate> certificates;
    std::deque<Node> nodes;
    std::deque<List> lists;
};
Memory memory;

void note(const std::string& call) {
    FakeNss::current->log.push_back(call);
}

// Names a certificate by its place in the slot: "0"; "-" for one that is not of the slot.
std::string placeOf(const Certificate* certificate) {
    for (std::size_t i = 0; i < memory.nodes.size(); ++i) {
        if (memory.nodes[i].certificate == certificate)
            return std::to_string(i);
    }
    return "-";
}

void prInit(int type, int priority, unsigned maxPtds) {
    note("PR_Init " + std::to_string(type) + " " + std::to_string(priority) + " " + std::to_string(maxPtds));
}

int prCleanup() {
    note("PR_Cleanup");
    return 0;
}

int nssInitialize(const char* folder, const char* certPrefix, const char* keyPrefix, const char* moduleDb,
                  std::uint32_t flags) {
    note(std::string("NSS_Initialize ") + folder + " [" + certPrefix + "] [" + keyPrefix + "] " + moduleDb + " " +
         std::to_string(flags));
    return FakeNss::current->starts ? 0 : -1;
}

Certificate* decode(char* bytes, int size) {
    const Bytes der(bytes, bytes + size);
    note("CERT_DecodeCertFromPackage " + std::to_string(size));
    if (der.empty() || der[0] != 0x30)
        return nullptr;
    memory.certificates.push_back({FakeNss::current->arenaOf(der), ""});
    return &memory.certificates.back();
}

void* defaultDatabase() {
    note("CERT_GetDefaultCertDB");
    return nullptr;
}

void* keySlot() {
    note("PK11_GetInternalKeySlot");
    return FakeNss::current->hasSlot ? &theSlot : nullptr;
}

void append(List& list, Certificate* certificate) {
    memory.nodes.push_back({{&list.head, list.head.previous}, certificate, nullptr});
    Link& added = memory.nodes.back().links;
    added.previous->next = &added;
    list.head.previous = &added;
}

List* listOf(void* slot) {
    EXPECT_EQ(slot, &theSlot);
    note("PK11_ListCertsInSlot");
    FakeNss& nss = *FakeNss::current;
    if (!nss.hasList)
        return nullptr;
    memory.nodes.clear();
    memory.lists.push_back({});
    List& list = memory.lists.back();
    list.head = {&list.head, &list.head};
    for (const Bytes& der : nss.slot) {
        if (der.empty()) {
            append(list, nullptr);
            continue;
        }
        static char otherArena;
        memory.certificates.push_back({nss.slotHasItsOwnCopies ? &otherArena : nss.arenaOf(der), ""});
        append(list, &memory.certificates.back());
    }
    return &list;
}

void destroyCertificate(Certificate* certificate) {
    note("CERT_DestroyCertificate " + placeOf(certificate));
}

void freeSlot(void* slot) {
    EXPECT_EQ(slot, &theSlot);
    note("PK11_FreeSlot");
}

template <int Number>
void neverCalled() {
    ADD_FAILURE() << "a function that is only asked for is called";
}

struct Entry {
    const char* name;
    const char* library;
    FakeNss::Function function;
};

template <class Function>
FakeNss::Function plain(Function* function) {
    return reinterpret_cast<FakeNss::Function>(function);
}

const Entry kEntries[] = {
    {"PR_Init", "nspr4.dll", plain(prInit)},
    {"PR_Cleanup", "nspr4.dll", plain(prCleanup)},
    {"NSS_Init", "nss3.dll", neverCalled<0>},
    {"NSS_Initialize", "nss3.dll", plain(nssInitialize)},
    {"NSS_Shutdown", "nss3.dll", neverCalled<1>},
    {"CERT_DecodeCertFromPackage", "smime3.dll", plain(decode)},
    {"PK11_GetInternalKeySlot", "nss3.dll", plain(keySlot)},
    {"PK11_ListCertsInSlot", "nss3.dll", plain(listOf)},
    {"CERT_GetDefaultCertDB", "nss3.dll", plain(defaultDatabase)},
    {"CERT_DestroyCertificate", "nss3.dll", plain(destroyCertificate)},
    {"PK11_FreeSlot", "nss3.dll", plain(freeSlot)},
    {"PK11_ImportCert", "nss3.dll", neverCalled<2>},
    {"PORT_ZAlloc", "nss3.dll", neverCalled<3>},
    {"PORT_Free", "nss3.dll", neverCalled<4>},
    {"PORT_GetError", "nss3.dll", neverCalled<5>},
};

}  // namespace

FakeNss* FakeNss::current = nullptr;

FakeNss::FakeNss() {
    if (current != nullptr)
        ADD_FAILURE() << "two fakes at once";
    current = this;
}

FakeNss::~FakeNss() {
    memory = {};
    current = nullptr;
}

const std::map<std::string, std::string>& FakeNss::functions() {
    static const std::map<std::string, std::string> all = [] {
        std::map<std::string, std::string> names;
        for (const Entry& entry : kEntries)
            names[entry.name] = entry.library;
        return names;
    }();
    return all;
}

FakeNss::Function FakeNss::find(const std::string& name) {
    for (const Entry& entry : kEntries) {
        if (name == entry.name)
            return entry.function;
    }
    return nullptr;
}

void* FakeNss::arenaOf(const Bytes& der) {
    return &arenas_[der];
}

}  // namespace support
