// HeapText: a NUL-terminated text on the heap; null means that there is none.
#ifndef VT_ENROL_HEAP_TEXT_H
#define VT_ENROL_HEAP_TEXT_H

#include <memory>

namespace enrol {

using HeapText = std::unique_ptr<char[]>;

}  // namespace enrol

#endif
