// The move of a private key into a container of its own, which a chain's leaf is bound to.
#ifndef VT_ENROL_MOVE_KEY_H
#define VT_ENROL_MOVE_KEY_H

#include <cstddef>
#include <cstdint>

#include "platform/platform.h"

namespace enrol {

// MoveKeyToNewContainer copies the container's key into a new container of the provider, under the import flags, adds
// the certificate to the user's store "MY" and notes there that its key is in the new container. The old container
// keeps its key, and nothing ever removes it.
//
// 0; 8215 for no certificate or container; 8103 and 8105 when the old container or its key cannot be opened; 8106 and
// 8108 when the key is not given out, as one that was not made exportable is not; 8117 when it is not taken; 8101 when
// the store cannot be opened; 8110 when it refuses the certificate. A provider that makes no new container is asked
// without end, each time for another name. Throws std::runtime_error when no name can be made or converted.
std::int32_t MoveKeyToNewContainer(const std::uint8_t* der, std::size_t length, const char* container,
                                   const char* provider, std::int32_t keySpec, DWORD importFlags);

}  // namespace enrol

#endif
