#include "platform/nss/wide_text.h"

#include "platform/posix/entries.h"

namespace platform::nss {

std::string narrow(const std::wstring& wide) {
    // Four bytes are the most that a character takes.
    std::string text(wide.size() * 4, '\0');
    const int size = posix::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                                                static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::wstring widen(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    const int size = posix::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                                static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(size));
    return wide;
}

}  // namespace platform::nss
