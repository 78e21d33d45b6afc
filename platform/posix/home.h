// The user's home folder.
#ifndef VT_PLATFORM_POSIX_HOME_H
#define VT_PLATFORM_POSIX_HOME_H

#include <string>

namespace platform::posix {

// homeFolder gives $HOME as it is at this moment, or the user's entry in the password database where HOME is not set.
// Empty when there is neither.
std::string homeFolder();

}  // namespace platform::posix

#endif
