// A good encoding broken element by element: what a reader must survive, one input for each way and place.
//
// The input is DER with identifiers of one octet; what stands inside a primitive element is not looked at. Each
// function gives the broken inputs in the order of the elements; place tells which element, by its offset in the good
// encoding.
#ifndef VT_TESTS_SUPPORT_BROKEN_DER_H
#define VT_TESTS_SUPPORT_BROKEN_DER_H

#include <cstddef>
#include <vector>

#include "tests/support/hex.h"

namespace support {

struct Broken {
    std::size_t place;
    Bytes bytes;
};

// truncations cuts behind 0, 1, ... bytes, up to all but the last.
std::vector<Broken> truncations(const Bytes& good);

// withTrailingData appends extra inside each constructed element, whose length and those around it grow with it.
std::vector<Broken> withTrailingData(const Bytes& good, const Bytes& extra);

// withShortLengths makes the length of each element with content one less than it is; nothing moves.
std::vector<Broken> withShortLengths(const Bytes& good);

// withLongLengths makes the length of each element one more than it is, where its length has one octet; nothing moves.
std::vector<Broken> withLongLengths(const Bytes& good);

// withTags gives each element the identifier octet.
std::vector<Broken> withTags(const Bytes& good, std::uint8_t identifier);

// withIndefiniteLengths writes the length octet 80 for each constructed element and 00 00 at its end.
std::vector<Broken> withIndefiniteLengths(const Bytes& good);

}  // namespace support

#endif
