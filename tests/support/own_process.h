// Tests that need a process of their own, since what a library does in a process cannot be undone:
//
//     TEST(nss_host_test, ...) {
//         if (!support::inOwnProcess())
//             return support::runInOwnProcess();
//         ...
//     }
#ifndef VT_TESTS_SUPPORT_OWN_PROCESS_H
#define VT_TESTS_SUPPORT_OWN_PROCESS_H

#include <string>

namespace support {

// inOwnProcess: whether this process was started for the present test alone.
bool inOwnProcess();

// runInOwnProcess runs the present test once more in a new process, with those settings ("A=b C=d", words of a shell)
// ahead, and fails if it does not pass there. VT_TEST_RUNNER in the environment is a command to run it by (valgrind).
void runInOwnProcess(const std::string& environment = "");

}  // namespace support

#endif
