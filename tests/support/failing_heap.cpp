#include "tests/support/failing_heap.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace {

// Plain state without a thread_local: MinGW's allocates on first use, which would come back here.
#if defined(_WIN32)
using Thread = DWORD;
Thread thisThread() {
    return GetCurrentThreadId();
}
#else
using Thread = pthread_t;
Thread thisThread() {
    return pthread_self();
}
#endif

std::atomic<support::FailingHeap*> active{nullptr};
Thread owner;

bool mustFail() {
    support::FailingHeap* const heap = active.load(std::memory_order_acquire);
    return heap != nullptr && thisThread() == owner && heap->takeOne();
}

}  // namespace

// The linker sends malloc, calloc and realloc here (--wrap) and gives these names to it.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-no-malloc)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t number, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t number, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
    return mustFail() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t number, std::size_t size) {
    return mustFail() ? nullptr : __real_calloc(number, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    return mustFail() ? nullptr : __real_realloc(block, size);
}
}

namespace {

void* takeOrNull(std::size_t size) {
    return mustFail() ? nullptr : __real_malloc(size == 0 ? 1 : size);
}

void* takeOrThrow(std::size_t size) {
    void* block = takeOrNull(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

}  // namespace
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cppcoreguidelines-no-malloc)

void* operator new(std::size_t size) {
    return takeOrThrow(size);
}
void* operator new[](std::size_t size) {
    return takeOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return takeOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return takeOrNull(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

namespace support {

FailingHeap::FailingHeap(long n) : failAt_(n) {
    if (active.load() != nullptr)
        std::abort();  // Two at a time would count for each other.
    owner = thisThread();
    active.store(this, std::memory_order_release);
}

FailingHeap::~FailingHeap() {
    active.store(nullptr, std::memory_order_release);
}

}  // namespace support
