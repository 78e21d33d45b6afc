// The key container's name, and the marker file that carries it from the request to the installation.
#ifndef VT_ENROL_CONTAINER_H
#define VT_ENROL_CONTAINER_H

#include <cstddef>
#include <cstdint>

namespace enrol {

// Room for a container name wherever it is held; a name has 36 characters and the rest is zero. One byte more than the
// 128 that count ends a marker file that somebody else made too long.
inline constexpr std::size_t kContainerNameSize = 128;
using ContainerName = char[kContainerNameSize + 1];

// GenerateContainerName writes a fresh name made from a GUID. Throws std::runtime_error when no GUID can be had.
void GenerateContainerName(ContainerName& name);

// WriteContainerMarker stores the name in the user's marker file and replaces a former one: only one enrolment can be
// pending per user. 0; -1 when the file cannot be created; -2 when nothing could be written.
std::int32_t WriteContainerMarker(const ContainerName& name);

// ReadContainerMarker fills name from the marker file; of a longer file the first 128 bytes count.
// 0; -1 when the file cannot be opened; -2 when it is empty.
std::int32_t ReadContainerMarker(ContainerName& name);

// DeleteContainerMarker removes the marker file where there is one.
void DeleteContainerMarker();

}  // namespace enrol

#endif
