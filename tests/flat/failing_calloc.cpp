#include "tests/flat/failing_calloc.h"

#include <cstddef>

namespace {
constexpr int kNever = -1;
int countdown = kNever;
}  // namespace

// The linker sends every calloc of the program here.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (countdown != kNever && countdown-- == 0)
        return nullptr;
    return __real_calloc(count, size);
}

FailingCalloc::FailingCalloc(int n) {
    countdown = n;
}

FailingCalloc::~FailingCalloc() {
    countdown = kNever;
}
