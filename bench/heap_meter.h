// What the system's allocator is asked for during a piece of work, by any library of the process. The source's own
// malloc, calloc, realloc and free stand before the C library's, so a program that links it is measured throughout.
#ifndef VT_BENCH_HEAP_METER_H
#define VT_BENCH_HEAP_METER_H

#include <functional>
#include <string>

namespace bench {

struct HeapUse {
    long calls;      // of malloc, calloc and realloc
    long mostBytes;  // held at once, beyond what was held before
};

HeapUse heapUse(const std::function<void()>& work);

// Prints one line for the table: row, who, calls and bytes, divided by tabs.
void printHeapUse(const std::string& row, const std::string& who, const HeapUse& use);

}  // namespace bench

#endif
