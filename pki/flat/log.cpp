#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "pki/flat/flat.h"

namespace {

constexpr uint32_t kBytesPerLine = 16;

void printLine(const uint8_t* bytes, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
        VT_Log(" %02x", bytes[i]);
    for (uint32_t i = count; i < kBytesPerLine; ++i)
        VT_Log("   ");
    VT_Log("      \n");
}

}  // namespace

int32_t VT_Log(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = format == nullptr ? -1 : std::vprintf(format, arguments);
    va_end(arguments);
    return written;
}

void VT_PrintBuf(const char* title, const uint8_t* bytes, uint32_t length) {
    if (title != nullptr)
        VT_Log("%s (%u bytes):\n", title, static_cast<unsigned int>(length));
    if (bytes == nullptr) {
        VT_Log("00\n");
        return;
    }
    while (length != 0) {
        const uint32_t count = std::min(length, kBytesPerLine);
        printLine(bytes, count);
        bytes += count;
        length -= count;
    }
}
