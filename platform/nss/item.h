// Bytes as NSS takes them.
#ifndef VT_PLATFORM_NSS_ITEM_H
#define VT_PLATFORM_NSS_ITEM_H

#include "platform/nss/der.h"
#include "platform/nss/loader.h"
#include "platform/nss/output.h"

namespace platform::nss {

// itemOf lends bytes to NSS for a call.
inline SECItem itemOf(Bytes& bytes) {
    return {siBuffer, bytes.data(), static_cast<unsigned int>(bytes.size())};
}

// The same for bytes that the call only reads.
inline SECItem itemOf(Span span) {
    return {siBuffer, const_cast<BYTE*>(span.data), static_cast<unsigned int>(span.size)};
}

}  // namespace platform::nss

#endif
