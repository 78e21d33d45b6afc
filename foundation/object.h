// MiObject: the root of all foundation and ASN.1 classes, and what hangs on it: the counters of a census that stands
// switched off, and the routine for exhausted memory.
#ifndef VT_FOUNDATION_OBJECT_H
#define VT_FOUNDATION_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <new>

#include "foundation/export.h"

// MiObject has no data and one virtual operation, the destructor, which is slot 0 of every table in the tree. Copying
// and assigning it copies nothing.
//
// Objects made by a plain `new` come from the pool of foundation/pool.h. Exhausted memory goes to MiMemoryFailure;
// `new (std::nothrow)` gives null instead.
class VT_API MiObject {
  public:
    MiObject(const MiObject&) = default;
    MiObject& operator=(const MiObject&) = default;
    virtual ~MiObject() = default;

    // The delete that belongs to it is told the size, since the lists of the pool go by it.
    static void* operator new(std::size_t size);  // NOLINT(misc-new-delete-overloads,cert-dcl54-cpp)
    static void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept;
    static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
    static void operator delete(void* block, std::size_t size) noexcept;
    static void operator delete(void* block, const std::nothrow_t& tag) noexcept;
    static void operator delete(void* /*block*/, void* /*place*/) noexcept {}

  protected:
    MiObject() noexcept = default;
};

// MiMemoryFailure is where every failed allocation of the foundation and the ASN.1 runtime ends. It does not return: it
// throws std::bad_alloc, which is no MiException. An object of this room is then as it was before the call.
[[noreturn]] VT_API void MiMemoryFailure();

extern "C" {

// Numbers of objects allocated and released. Nothing counts: both stay zero, for whoever switches the census on.
extern VT_API std::int32_t newnumber;
extern VT_API std::int32_t delnumber;

// terminal prints both counters to standard output, a line each: "new number : 0", "delete number : 0".
VT_API void terminal();
}

#endif
