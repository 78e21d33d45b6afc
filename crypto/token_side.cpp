#include "crypto/token_side.h"

#include <atomic>

namespace {

constexpr TOKEN_SIDE kNoSide = {};
std::atomic<const TOKEN_SIDE*> installed{&kNoSide};

}  // namespace

void UseTokenSide(const TOKEN_SIDE* side) {
    installed = side != nullptr ? side : &kNoSide;
}

const TOKEN_SIDE& TokenSide() {
    return *installed.load();
}
