// What the system's allocator is asked for during a piece of work, by any library of the process. The source's own
// malloc, calloc, realloc and free stand before the C library's, so a program that links it is measured throughout.
#ifndef VT_BENCH_HEAP_METER_H
#define VT_BENCH_HEAP_METER_H

#include <functional>

namespace bench {

struct HeapUse {
    long calls;      // of malloc, calloc and realloc
    long mostBytes;  // held at once, beyond what was held before
};

HeapUse heapUse(const std::function<void()>& work);

}  // namespace bench

#endif
