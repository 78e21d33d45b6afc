// The generator behind MPI_FillRandom: the linear congruential generator of a C runtime, one state per thread.
//
// Keys that this engine made in the past can be made again only with this sequence, so it is built in rather than taken
// from the runtime at hand. It is no source of secrets.
#ifndef VT_CRYPTO_RUNTIME_RAND_H
#define VT_CRYPTO_RUNTIME_RAND_H

#include <cstdint>

// RuntimeRand steps the calling thread's state, state = 214013 state + 2531011, and returns its bits 16 to 30. A thread
// starts at state 1: 41, 18467, 6334, 26500, ... Nothing in the library seeds it.
int RuntimeRand();

// RuntimeRandRestart puts the calling thread's state back to where a fresh thread starts. For tests.
void RuntimeRandRestart();

#endif
