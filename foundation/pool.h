// The pool behind the objects and the storage of the foundation: small blocks that were given back, kept for reuse.
//
// Each thread keeps its own lists, one for each size of block, so that nothing is locked; a block may be given back on
// another thread than took it. A thread keeps at most 256 KB: at the limit it gives all back to the system's allocator
// and begins anew, so that sizes of the past do not stand in the way. It does so too when it ends and when it unloads
// the library. Each block is one of the system's allocator from the start, so that it may also be
// freed there.
//
// Under the address checker, which a pool would blind, and with the CMake option VT_POOL=OFF, every block comes from
// and goes to the system's allocator.
#ifndef VT_FOUNDATION_POOL_H
#define VT_FOUNDATION_POOL_H

#include <cstddef>

namespace foundation {

// PoolTake gives a block of at least `size` bytes, aligned as by malloc, with whatever stands in it. Exhausted memory
// is a memory failure (foundation/object.h); TryPoolTake returns null.
void* PoolTake(std::size_t size);
void* TryPoolTake(std::size_t size) noexcept;

// PoolGive takes back a block that was asked for with `size`. Null is accepted.
void PoolGive(void* block, std::size_t size) noexcept;

// How many bytes the calling thread keeps, and PoolTrim, which gives them back to the system's allocator.
std::size_t PoolKept() noexcept;
void PoolTrim() noexcept;

// Whether blocks are kept in this build.
bool PoolIsOn() noexcept;

// How many threads have lists at the moment.
int PoolThreads() noexcept;

// The most that a thread keeps, and the largest block kept, in bytes.
constexpr std::size_t kPoolLimit = std::size_t{256} * 1024;
constexpr std::size_t kPoolLargest = std::size_t{16} * 1024 + 64;

}  // namespace foundation

#endif
