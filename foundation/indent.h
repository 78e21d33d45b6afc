// The margin of printed values: four blanks a level.
#ifndef VT_FOUNDATION_INDENT_H
#define VT_FOUNDATION_INDENT_H

#include <ostream>

namespace foundation {

// WriteMargin writes `level` times four blanks. The stream's width is neither used nor changed.
inline void WriteMargin(std::basic_ostream<char>& os, unsigned int level) {
    for (; level != 0; --level)
        os.write("    ", 4);
}

}  // namespace foundation

#endif
