#include <sys/random.h>

#include <cerrno>

#include "platform/posix/entries.h"

namespace platform::posix {
namespace {

constexpr HRESULT kOk = 0;
constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057u);  // E_INVALIDARG
constexpr HRESULT kUnexpected = static_cast<HRESULT>(0x8000FFFFu);       // E_UNEXPECTED

// Sixteen bytes come in one piece from getrandom, unless a signal comes before the system has any.
bool fillRandom(GUID& guid) {
    ssize_t got = 0;
    do {
        got = getrandom(&guid, sizeof guid, 0);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof guid);
}

}  // namespace

HRESULT CoCreateGuid(GUID* guid) {
    if (guid == nullptr)
        return kInvalidArgument;
    if (!fillRandom(*guid))
        return kUnexpected;
    guid->Data3 = static_cast<std::uint16_t>((guid->Data3 & 0x0FFF) | 0x4000);   // version 4
    guid->Data4[0] = static_cast<std::uint8_t>((guid->Data4[0] & 0x3F) | 0x80);  // variant of RFC 4122
    return kOk;
}

}  // namespace platform::posix
