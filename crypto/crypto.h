// Umbrella header of the room `crypto`: the software engine, as plain structures and tables of functions.
#ifndef VT_CRYPTO_CRYPTO_H
#define VT_CRYPTO_CRYPTO_H

#include "crypto/mpi.h"
#include "crypto/runtime_rand.h"

#endif
