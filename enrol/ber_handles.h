// Readers, writers and buffers of the room ber that are freed when they go out of scope.
#ifndef VT_ENROL_BER_HANDLES_H
#define VT_ENROL_BER_HANDLES_H

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "ber/ber.h"

namespace enrol {

struct FreeBerReader {
    void operator()(BerReader* reader) const { BerReaderFree(reader); }
};
using BerReaderPtr = std::unique_ptr<BerReader, FreeBerReader>;

struct FreeBerWriter {
    void operator()(BerWriter* writer) const { BerWriterFree(writer); }
};
// A finished value: buffer and used. Null on exhausted memory.
using BerValue = std::unique_ptr<BerWriter, FreeBerWriter>;

// A buffer that BerReaderScanf allocates: pass &value.data and &value.size.
template <class Element>
struct BerOutput {
    BerOutput() = default;
    ~BerOutput() { std::free(data); }
    BerOutput(const BerOutput&) = delete;
    BerOutput& operator=(const BerOutput&) = delete;

    Element* data = nullptr;
    std::int32_t size = 0;  // as the format character tells: bytes, bits or arcs
};

}  // namespace enrol

#endif
