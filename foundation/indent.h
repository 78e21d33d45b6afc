// How values are printed: a margin of four blanks a level, and the dump of bytes.
#ifndef VT_FOUNDATION_INDENT_H
#define VT_FOUNDATION_INDENT_H

#include <ostream>

namespace foundation {

// WriteMargin writes `level` times four blanks. The stream's width and flags are neither used nor changed.
inline void WriteMargin(std::basic_ostream<char>& os, unsigned int level) {
    for (; level != 0; --level)
        os.write("    ", 4);
}

// WriteDump writes the dump that MiByte::ToOstream tells of.
void WriteDump(std::basic_ostream<char>& os, const char* data, unsigned int length, unsigned int level);

}  // namespace foundation

#endif
