#ifndef VT_PKI_FLAT_FLAT_H
#define VT_PKI_FLAT_FLAT_H

#include "foundation/export.h"

#endif
