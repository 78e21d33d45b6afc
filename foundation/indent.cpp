#include "foundation/indent.h"

#include <algorithm>

namespace foundation {

namespace {

constexpr unsigned int kBytesOfLine = 16;

// One line of at most 16 bytes: "0A " each, with one more blank behind the eighth and the sixteenth.
void writeLine(std::basic_ostream<char>& os, const char* data, unsigned int n) {
    char line[3 * kBytesOfLine + 2];
    char* end = line;
    for (unsigned int i = 0; i < n; ++i) {
        const auto byte = static_cast<unsigned char>(data[i]);
        *end++ = "0123456789ABCDEF"[byte >> 4];
        *end++ = "0123456789ABCDEF"[byte & 15];
        *end++ = ' ';
        if (i % 8 == 7)
            *end++ = ' ';
    }
    os.write(line, end - line);
}

}  // namespace

void WriteDump(std::basic_ostream<char>& os, const char* data, unsigned int length, unsigned int level) {
    while (length != 0) {
        const unsigned int n = std::min(length, kBytesOfLine);
        WriteMargin(os, level);
        writeLine(os, data, n);
        data += n;
        length -= n;
        if (length != 0)
            os.put('\n').flush();
    }
}

}  // namespace foundation
