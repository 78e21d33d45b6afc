// The signature of a request, by the key that waits in its container.
#ifndef VT_ENROL_REQUEST_SIGNATURE_H
#define VT_ENROL_REQUEST_SIGNATURE_H

#include <cstddef>
#include <cstdint>

#include "enrol/heap_bytes.h"

namespace enrol {

// SignRequestBody signs data with the key in the container. signature receives the bytes most significant first, as a
// request wants them; providers give them the other way round.
// 0, or the step that failed: -1 opening the container, -2 making the hash, -3 hashing, -4 asking the signature's size,
// -5 signing, or exhausted memory. A failure leaves the handles open that were opened before it.
std::int32_t SignRequestBody(const char* providerName, const char* containerName, std::int32_t keySpec,
                             std::int32_t algId, const std::uint8_t* data, std::size_t dataLength,
                             HeapBytes& signature);

}  // namespace enrol

#endif
