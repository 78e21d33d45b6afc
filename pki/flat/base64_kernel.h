// The inner loops of base64, which the request path shares with the toolkit's codec: its line breaks and its rules for
// what is malformed are others, its bytes the same.
#ifndef VT_PKI_FLAT_BASE64_KERNEL_H
#define VT_PKI_FLAT_BASE64_KERNEL_H

#include "pki/base64_kernel.h"

#endif
