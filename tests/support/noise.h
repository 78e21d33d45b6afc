// Noise: random numbers that are the same in every run and on every platform (xorshift, Marsaglia 2003).
#ifndef VT_TESTS_SUPPORT_NOISE_H
#define VT_TESTS_SUPPORT_NOISE_H

#include <cstdint>

namespace support {

class Noise {
  public:
    // Another seed gives another sequence; 0 is not a seed.
    explicit Noise(std::uint32_t seed) : state_(seed) {}

    std::uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }

    // A number from 0 up to below limit.
    std::uint32_t below(std::uint32_t limit) { return next() % limit; }

    std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 11); }

  private:
    std::uint32_t state_;
};

}  // namespace support

#endif
