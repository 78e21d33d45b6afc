#include "platform/posix/home.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace platform::posix {

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr)
        return home;
    passwd entry = {};
    passwd* found = nullptr;
    std::vector<char> strings(16384);
    if (getpwuid_r(getuid(), &entry, strings.data(), strings.size(), &found) != 0 || found == nullptr)
        return {};
    return found->pw_dir;
}

}  // namespace platform::posix
