// FakeNss: the functions of NSS and NSPR that the Firefox check binds by name, in memory. A test says what the key slot
// holds and what fails, and reads the calls.
#ifndef VT_TESTS_SUPPORT_FAKE_NSS_H
#define VT_TESTS_SUPPORT_FAKE_NSS_H

#include <map>
#include <string>
#include <vector>

#include "tests/support/hex.h"

namespace support {

class FakeNss {
  public:
    FakeNss();
    ~FakeNss();
    FakeNss(const FakeNss&) = delete;
    FakeNss& operator=(const FakeNss&) = delete;

    // What the key slot lists, by their DER. An empty one is a node without a certificate.
    std::vector<Bytes> slot;
    // As known from elsewhere: another structure for the same bytes, as NSS never has it.
    bool slotHasItsOwnCopies = false;

    bool starts = true;
    bool hasSlot = true;
    bool hasList = true;

    // The calls so far, each with its arguments: "NSS_Initialize C:\profile   secmod.db 0".
    std::vector<std::string> log;

    // Every name that the check asks for, with its library: {"PR_Init", "nspr4.dll"}.
    static const std::map<std::string, std::string>& functions();

    // find gives a function to be called in the C convention; null for a name that is not one of them.
    using Function = void (*)();
    static Function find(const std::string& name);

    // The one that is alive; the functions find it here.
    static FakeNss* current;

    // For the functions. NSS has one arena for equal certificates.
    void* arenaOf(const Bytes& der);

  private:
    std::map<Bytes, char> arenas_;
};

}  // namespace support

#endif
