// CallPlan stands between the code under test and the platform tables: it writes down every call, can make one of them
// fail, and keeps a ledger of the handles that are open. It works over a fake and over the real platform alike, since
// it wraps whatever stands in the tables when it is made.
//
//     for (int n = 1; ; ++n) {
//         FakeCryptoApi crypto;
//         FakeSystemApi system;
//         CallPlan calls;
//         calls.failCall(n);
//         const auto code = GenerateRequest(2048, text, length);
//         EXPECT_EQ(calls.openHandles(), "");
//         if (calls.failed().empty())
//             break;                       // fewer than n calls: the run succeeded
//         ...                              // calls.failed() names the one that failed
//     }
//
// One plan is alive at a time. GetLastError and SetLastError are neither counted nor failed. A call that gives
// something back (CryptReleaseContext) does its work and then answers that it failed.
#ifndef VT_TESTS_SUPPORT_CALL_PLAN_H
#define VT_TESTS_SUPPORT_CALL_PLAN_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"

namespace support {

class CallPlan {
  public:
    CallPlan();
    // Puts back what stood in the tables before.
    ~CallPlan();
    CallPlan(const CallPlan&) = delete;
    CallPlan& operator=(const CallPlan&) = delete;

    // failCall makes the n-th call from now on fail, counted from 1, with that last error.
    void failCall(int n, DWORD error = NTE_FAIL);

    // failCall makes the occurrence-th call of that entry from now on fail, counted from 1.
    void failCall(const std::string& entry, int occurrence = 1, DWORD error = NTE_FAIL);

    // failed names the call that was made to fail, with its occurrence: "CryptExportKey 2"; empty when none was.
    const std::string& failed() const { return failed_; }

    // log has the names of all calls so far.
    const std::vector<std::string>& log() const { return log_; }
    int count(const std::string& entry) const;

    // openHandles lists what is open: "hash provider provider", sorted; empty when all was closed. The kinds are
    // certificate, hash, key, library, provider, registry key, search, store. A handle that is closed and was not open
    // fails the test. A context created with CRYPT_DELETEKEYSET opens nothing.
    std::string openHandles() const;

    // For the wrappers of the tables.
    static CallPlan* current;
    bool next(const char* entry);
    DWORD error() const { return error_; }
    void opened(const char* kind, ULONG_PTR handle);
    void closed(const char* kind, ULONG_PTR handle);

  private:
    std::vector<std::string> log_;
    std::map<std::pair<std::string, ULONG_PTR>, int> open_;
    std::string failEntry_;
    int failAt_ = 0;  // calls still to come before the failing one, or its occurrence; 0 for none
    DWORD error_ = 0;
    std::string failed_;
};

}  // namespace support

#endif
