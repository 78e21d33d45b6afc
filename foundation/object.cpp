#include "foundation/object.h"

#include <cstdio>
#include <cstdlib>

#include "foundation/pool.h"

std::int32_t newnumber = 0;
std::int32_t delnumber = 0;

void terminal() {
    std::printf("new number : %d\n", newnumber);
    std::fflush(stdout);
    std::printf("delete number : %d\n", delnumber);
    std::fflush(stdout);
}

void MiMemoryFailure() {
    throw std::bad_alloc();
}

// NOLINTNEXTLINE(misc-new-delete-overloads,cert-dcl54-cpp): the delete is told the size
void* MiObject::operator new(std::size_t size) {
    return foundation::PoolTake(size);
}

void* MiObject::operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return foundation::TryPoolTake(size);
}

void MiObject::operator delete(void* block, std::size_t size) noexcept {
    foundation::PoolGive(block, size);
}

// Called when the constructor throws, without the size; a block of the pool is one of the system's as well.
void MiObject::operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);  // NOLINT(cppcoreguidelines-no-malloc)
}
