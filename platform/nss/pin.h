// The desktop's own prompt for a PIN.
#ifndef VT_PLATFORM_NSS_PIN_H
#define VT_PLATFORM_NSS_PIN_H

#include <cstddef>
#include <optional>
#include <string>

namespace platform::nss {

// Pin holds a secret text and wipes it in the end.
class Pin {
  public:
    Pin() = default;
    ~Pin();
    Pin(Pin&& other) noexcept;
    Pin& operator=(Pin&&) = delete;
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

    const char* text() const { return bytes_; }
    std::size_t length() const { return length_; }

    // append adds one character; false when there is no room.
    bool append(char c);

  private:
    static constexpr std::size_t kCapacity = 256;  // longer than any token takes
    char bytes_[kCapacity] = {};
    std::size_t length_ = 0;
};

// askForPin asks for the PIN of the token of that name with the program that SSH_ASKPASS names, else with pinentry.
// Nothing where the person gives no answer, or where no such program can be run.
std::optional<Pin> askForPin(const std::string& tokenName);

}  // namespace platform::nss

#endif
