// What every fuzz target shares. A target defines LLVMFuzzerTestOneInput, takes its input apart with a Source, and
// states with FUZZ_ASSERT what must hold for every input.
#ifndef VT_FUZZ_TARGET_H
#define VT_FUZZ_TARGET_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#define FUZZ_ASSERT(condition) ((condition) ? static_cast<void>(0) : fuzz::fail(#condition, __FILE__, __LINE__))

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

[[noreturn]] inline void fail(const char* condition, const char* file, int line) {
    (void)std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

// The input, consumed from its front; zeros follow its end.
class Source {
  public:
    Source(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    [[nodiscard]] bool empty() const { return at_ == end_; }
    std::uint8_t byte() { return empty() ? 0 : *at_++; }
    std::int32_t number() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return static_cast<std::int32_t>(value);
    }
    Bytes bytes(std::size_t count) {
        const auto taken = std::min(count, static_cast<std::size_t>(end_ - at_));
        Bytes bytes(at_, at_ + taken);
        at_ += taken;
        return bytes;
    }
    Bytes rest() { return bytes(static_cast<std::size_t>(end_ - at_)); }

  private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

}  // namespace fuzz

#endif
