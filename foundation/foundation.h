// Umbrella header of the room `foundation`.
#ifndef VT_FOUNDATION_FOUNDATION_H
#define VT_FOUNDATION_FOUNDATION_H

#include "foundation/export.h"

#endif
