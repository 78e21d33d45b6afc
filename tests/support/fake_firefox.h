// FakeFirefox: an installed Firefox as Windows knows it, in memory and the same on every platform: the registry, the
// user's profile list and the libraries, whose functions are those of FakeNss.
#ifndef VT_TESTS_SUPPORT_FAKE_FIREFOX_H
#define VT_TESTS_SUPPORT_FAKE_FIREFOX_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "tests/support/fake_nss.h"

namespace support {

class FakeFirefox {
  public:
    // Installs version 3.6 in "C:\Firefox" for the user "alice", and takes the place of the registry, library and
    // profile entries of SystemApi. FirefoxApi is emptied, so that the check goes the way that it goes on Windows.
    FakeFirefox();
    // Puts back what stood in the tables.
    ~FakeFirefox();
    FakeFirefox(const FakeFirefox&) = delete;
    FakeFirefox& operator=(const FakeFirefox&) = delete;

    // Values by "key\name", below HKEY_LOCAL_MACHINE.
    std::map<std::string, std::string> registry;
    // The size that a query tells, where it is not the value's own.
    std::map<std::string, DWORD> toldSizes;
    std::string user = "alice";
    // The value of "Path" in the section "Profile0", by file.
    std::map<std::string, std::string> profiles;
    // The files of the installation.
    std::set<std::string> files;
    // Functions that their libraries lack.
    std::set<std::string> missing;

    FakeNss nss;

    // The calls so far, NSS's among them: "LoadLibraryA nss3.dll".
    std::vector<std::string>& log() { return nss.log; }
    // Those that begin with one of these words.
    std::vector<std::string> logOf(const std::vector<std::string>& words) const;

    // The names of the libraries that are loaded, and the keys that are open.
    std::multiset<std::string> loaded;
    std::multiset<std::string> openKeys;

    static FakeFirefox* current;

  private:
    platform::SystemApi systemBefore_;
    platform::FirefoxApi firefoxBefore_;
};

}  // namespace support

#endif
