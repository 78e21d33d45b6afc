// The tests of an answer's shape, over any DER. Line breaks and blanks in its text must not matter.
#include <string>

#include "ber/ber.h"
#include "enrol/base64.h"
#include "enrol/plain_certificate.h"
#include "enrol/signed_data.h"
#include "fuzz/target.h"

namespace {

constexpr std::int32_t kBadBase64 = 8223;
constexpr std::int32_t kOtherShape = 8224;
constexpr std::int32_t kOtherType = 8204;

// Neither shape has fewer elements than these, whatever stands in them.
bool opens(const std::uint8_t* data, std::size_t size, const char* format) {
    BerReader* reader = BerReaderCreate(data, static_cast<std::int32_t>(size));
    const bool read = reader != nullptr && BerReaderScanf(reader, format) == 0;
    BerReaderFree(reader);
    return read;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    std::size_t room = 0;
    FUZZ_ASSERT(enrol::EncodeBase64Text(data, size, nullptr, room) == 0);
    std::string text(room, '\0');
    FUZZ_ASSERT(enrol::EncodeBase64Text(data, size, text.data(), room) == 0);
    text.resize(std::min(text.size(), text.find('\0')));

    const std::int32_t plain = enrol::IsPlainCertificate(text.data(), text.size());
    const std::int32_t chain = enrol::IsSignedData(text.data(), text.size());
    FUZZ_ASSERT(plain == 0 || plain == kOtherShape);
    FUZZ_ASSERT(chain == 0 || chain == kOtherShape || chain == kOtherType);
    FUZZ_ASSERT(plain != 0 || opens(data, size, "{xxx"));
    FUZZ_ASSERT(chain != 0 || opens(data, size, "{x({xxxxx"));

    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }), text.end());
    FUZZ_ASSERT(enrol::IsPlainCertificate(text.data(), text.size()) == plain);
    FUZZ_ASSERT(enrol::IsSignedData(text.data(), text.size()) == chain);
    text.insert(text.begin(), ' ');
    text.pop_back();  // a partial group, or one that lost its padding
    const std::int32_t cut = enrol::IsPlainCertificate(text.data(), text.size());
    FUZZ_ASSERT(cut == kBadBase64 && enrol::IsSignedData(text.data(), text.size()) == kBadBase64);
    return 0;
}
