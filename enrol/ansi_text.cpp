#include "enrol/ansi_text.h"

#include <stdexcept>

namespace enrol {

using platform::sys;

std::wstring widen(UINT codePage, const char* text) {
    if (text == nullptr || *text == '\0')
        return {};

    // Counts include the NUL.
    const int count = sys().MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
    if (count <= 0)
        throw std::runtime_error("text cannot be converted");
    std::wstring wide(static_cast<std::size_t>(count), L'\0');
    if (sys().MultiByteToWideChar(codePage, 0, text, -1, wide.data(), count) != count)
        throw std::runtime_error("text cannot be converted");
    wide.pop_back();
    return wide;
}

}  // namespace enrol
