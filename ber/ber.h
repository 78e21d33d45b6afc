// Umbrella header of the room `ber`: BER written and read by format strings, in the manner of printf and scanf.
#ifndef VT_BER_BER_H
#define VT_BER_BER_H

#include "ber/reader.h"
#include "ber/writer.h"

#endif
