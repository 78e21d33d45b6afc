#include "crypto/runtime_rand.h"

namespace {

constexpr std::uint32_t kFirstState = 1;
thread_local std::uint32_t state = kFirstState;

}  // namespace

int RuntimeRand() {
    state = state * 214013 + 2531011;
    return static_cast<int>(state >> 16 & 0x7fff);
}

void RuntimeRandRestart() {
    state = kFirstState;
}
