// parseSerial: what it takes is the text's digits from the end, and what it refuses has a reason.
#include <string>

#include "enrol/names.h"
#include "fuzz/target.h"

namespace {

// The digits of a text without its blanks, in lower case; empty if it holds anything else.
std::string digitsOf(const std::wstring& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (const wchar_t c : text) {
        if (c == L' ')
            continue;
        const wchar_t lower = c >= L'A' && c <= L'F' ? c - L'A' + L'a' : c;
        const char* const digit = std::find(kDigits, kDigits + 16, lower);
        if (digit == kDigits + 16)
            return {};
        digits += *digit;
    }
    return digits;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Every 64th value is a wide character that looks like a digit when it is cut to a byte.
    std::wstring text;
    for (std::size_t i = 0; i < size; ++i)
        text += static_cast<wchar_t>(data[i] >= 0xFC ? 0x100 + '0' + data[i] % 4 : data[i]);
    const std::string digits = digitsOf(text);
    const bool good = !digits.empty() && digits.size() % 2 == 0 && digits.size() <= enrol::kSerialDigits;

    std::vector<std::uint8_t> blob;
    FUZZ_ASSERT(enrol::parseSerial(text, blob) == good);
    if (!good)
        return 0;
    FUZZ_ASSERT(blob.size() == digits.size() / 2);
    for (std::size_t i = 0; i < blob.size(); ++i) {
        const std::string pair = digits.substr(digits.size() - 2 * i - 2, 2);
        FUZZ_ASSERT(std::stoul(pair, nullptr, 16) == blob[i]);
    }
    return 0;
}
