#include <strings.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/entries.h"
#include "platform/posix/home.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

// Windows splits the home folder into drive and path, under names that no case tells apart. Here the path is all of it.
std::optional<std::string> valueOf(const std::string& name) {
    if (strcasecmp(name.c_str(), "HOMEDRIVE") == 0)
        return std::string();
    if (strcasecmp(name.c_str(), "HOMEPATH") == 0)
        return homeFolder();
    const char* value = std::getenv(name.c_str());
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

// An unknown variable stays as it stands, with both of its "%".
std::string expand(std::string_view source) {
    std::string expanded;
    while (!source.empty()) {
        const std::size_t first = source.find('%');
        const std::size_t second = first == std::string_view::npos ? first : source.find('%', first + 1);
        if (second == std::string_view::npos)
            return expanded.append(source);
        expanded.append(source.substr(0, first));
        const std::optional<std::string> value = valueOf(std::string(source.substr(first + 1, second - first - 1)));
        if (value)
            expanded.append(*value);
        else
            expanded.append(source.substr(first, second + 1 - first));
        source.remove_prefix(second + 1);
    }
    return expanded;
}

DWORD expandInto(LPCSTR source, LPSTR target, DWORD capacity) {
    const std::string expanded = expand(source);
    const std::size_t needed = expanded.size() + 1;
    if (target != nullptr && needed <= capacity)
        std::memcpy(target, expanded.c_str(), needed);
    else if (target != nullptr && capacity != 0)
        target[0] = '\0';
    return static_cast<DWORD>(needed);
}

}  // namespace

DWORD ExpandEnvironmentStringsA(LPCSTR source, LPSTR target, DWORD capacity) {
    if (source == nullptr || (target == nullptr && capacity != 0)) {
        setLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    try {
        return expandInto(source, target, capacity);
    } catch (const std::bad_alloc&) {
        setLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
}

}  // namespace platform::posix
