// Umbrella header of the room `foundation`.
#ifndef VT_FOUNDATION_FOUNDATION_H
#define VT_FOUNDATION_FOUNDATION_H

#include "foundation/big_integer.h"
#include "foundation/bit_set.h"
#include "foundation/byte.h"
#include "foundation/byte_buffer.h"
#include "foundation/calendar_time.h"
#include "foundation/exceptions.h"
#include "foundation/export.h"
#include "foundation/object.h"
#include "foundation/string.h"
#include "foundation/string_buffer.h"

#endif
