// The providers that a page can choose from.
#ifndef VT_ENROL_PROVIDERS_H
#define VT_ENROL_PROVIDERS_H

#include <cstdint>

#include "enrol/heap_text.h"

namespace enrol {

// EnumerateProvider gives the index-th provider of type PROV_RSA_FULL, counted from 0 in the platform's order. Past the
// end it gives 0 with name null. length receives the size with the NUL.
// Errors: 22018102 for a negative index, 22018203 for exhausted memory.
std::int32_t EnumerateProvider(std::int32_t index, HeapText& name, std::uint32_t& length);

}  // namespace enrol

#endif
