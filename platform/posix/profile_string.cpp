#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Such a file has some lines; a larger one is not read whole.
constexpr std::size_t kLargestFile = std::size_t{1} << 20;

bool readFile(LPCSTR path, std::string& content) {
    const File file(std::fopen(path, "rbe"));
    if (!file)
        return false;
    char block[4096];
    std::size_t got = 0;
    while (content.size() < kLargestFile && (got = std::fread(block, 1, sizeof block, file.get())) != 0)
        content.append(block, got);
    return true;
}

std::string_view trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

// A pair of quotes around the whole value is no part of it.
std::string_view unquoted(std::string_view value) {
    const bool isQuoted =
        value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

// Names match whatever their case.
bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view nextLine(std::string_view& rest) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = trimmed(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

// The first value of that key in the first section of that name.
std::optional<std::string_view> valueOf(std::string_view content, std::string_view section, std::string_view key) {
    bool isInside = false;
    while (!content.empty()) {
        const std::string_view line = nextLine(content);
        if (!line.empty() && line.front() == '[') {
            if (isInside)
                return std::nullopt;
            isInside = sameName(trimmed(line.substr(1, line.find(']') - 1)), section);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (isInside && equals != std::string_view::npos && sameName(trimmed(line.substr(0, equals)), key))
            return unquoted(trimmed(line.substr(equals + 1)));
    }
    return std::nullopt;
}

// What does not fit is cut, as on Windows.
DWORD deliver(std::string_view text, LPSTR value, DWORD capacity) {
    const std::size_t length = text.copy(value, capacity - 1);
    value[length] = '\0';
    return static_cast<DWORD>(length);
}

}  // namespace

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR value, DWORD capacity, LPCSTR file) {
    if (section == nullptr || key == nullptr || value == nullptr || capacity == 0 || file == nullptr) {
        setLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const std::string_view otherwise = fallback != nullptr ? fallback : "";
    try {
        std::string content;
        if (!readFile(file, content)) {
            setLastError(errorOfErrno(errno));
            return deliver(otherwise, value, capacity);
        }
        return deliver(valueOf(content, section, key).value_or(otherwise), value, capacity);
    } catch (const std::bad_alloc&) {
        setLastError(ERROR_NOT_ENOUGH_MEMORY);
        return deliver(otherwise, value, capacity);
    }
}

}  // namespace platform::posix
