// HeapBytes: a zeroed block of bytes whose exhaustion is a code of its own and not an exception.
#ifndef VT_ENROL_HEAP_BYTES_H
#define VT_ENROL_HEAP_BYTES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace enrol {

struct HeapBytes {
    std::unique_ptr<std::uint8_t[]> data;
    std::uint32_t size = 0;  // bytes of data that count

    // allocate replaces the block by one of count zero bytes with a zero byte behind them; false on exhausted memory.
    bool allocate(std::uint32_t count) {
        data.reset(new (std::nothrow) std::uint8_t[std::size_t{count} + 1]());
        size = data ? count : 0;
        return data != nullptr;
    }
};

}  // namespace enrol

#endif
