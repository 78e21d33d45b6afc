#include "bench/heap_meter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

// What the allocator was asked for since `counting` was set.
bool counting = false;
long calls = 0;
long held = 0;
long most = 0;

void* taken(void* block) {
    if (counting && block != nullptr) {
        ++calls;
        held += static_cast<long>(malloc_usable_size(block));
        most = std::max(most, held);
    }
    return block;
}

void given(void* block) {
    if (counting && block != nullptr)
        held -= static_cast<long>(malloc_usable_size(block));
}

}  // namespace

// These stand before the C library's for every library in the process, operator new included.
// NOLINTBEGIN
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
    return taken(__libc_malloc(size));
}
void* calloc(std::size_t number, std::size_t size) {
    return taken(__libc_calloc(number, size));
}
void* realloc(void* block, std::size_t size) {
    given(block);
    return taken(__libc_realloc(block, size));
}
void free(void* block) {
    given(block);
    __libc_free(block);
}
}
// NOLINTEND

namespace bench {

HeapUse heapUse(const std::function<void()>& work) {
    calls = held = most = 0;
    counting = true;
    work();
    counting = false;
    return {calls, most};
}

void printHeapUse(const std::string& row, const std::string& who, const HeapUse& use) {
    std::printf("%s\t%s\t%ld\t%ld\n", row.c_str(), who.c_str(), use.calls, use.mostBytes);
}

}  // namespace bench
