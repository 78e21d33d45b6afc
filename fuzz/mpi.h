// What the targets on the engine's numbers share: numbers of up to a full MPI from the input.
#ifndef VT_FUZZ_MPI_H
#define VT_FUZZ_MPI_H

#include "crypto/mpi.h"
#include "fuzz/target.h"

namespace fuzz {

using Mpi = std::uint32_t[MPI_DOUBLE_WORDS];

// readMpi reads a number: a count of bytes (times 4 with its top bit set) and the bytes. Every byte's value is as
// likely, so limbs of zeros and ones come from the corpus.
inline void readMpi(Source& source, std::uint32_t* x, int mostBytes = MPI_MAX_BYTES) {
    const int head = source.byte();
    const int length = std::min(head < 0x80 ? head : (head - 0x80) * 8 + 8, mostBytes);
    const Bytes bytes = source.bytes(static_cast<std::size_t>(length));
    FUZZ_ASSERT(MPI_FromBytes(bytes.data(), static_cast<int>(bytes.size()), x) >= 0);
}

inline bool isCanonical(const std::uint32_t* x) {
    return x[0] == 0 || x[x[0]] != 0;
}

}  // namespace fuzz

#endif
