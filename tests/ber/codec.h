// Owners for what the codec hands out, so that a test says only what it is about.
#ifndef VT_TESTS_BER_CODEC_H
#define VT_TESTS_BER_CODEC_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "ber/ber.h"
#include "tests/support/hex.h"

namespace codec {

struct Free {
    void operator()(BerWriter* writer) const { BerWriterFree(writer); }
    void operator()(BerReader* reader) const { BerReaderFree(reader); }
};
using Writer = std::unique_ptr<BerWriter, Free>;
using Reader = std::unique_ptr<BerReader, Free>;

inline Writer makeWriter() {
    return Writer(BerWriterCreate());
}

// What stands in the writer, as hex.
inline std::string output(const Writer& writer) {
    return support::toHex(writer->buffer, static_cast<std::size_t>(writer->used));
}

// The hex of what one format writes, or "failed". Once nothing is open, the result must count what stands there.
template <class... Args>
std::string written(const char* format, Args... arguments) {
    const Writer writer = makeWriter();
    const int result = BerWriterPrintf(writer.get(), format, arguments...);
    if (result < 0)
        return "failed";
    const bool counted = writer->openElements != nullptr || result == writer->used;
    return counted ? output(writer) : "counted as " + std::to_string(result);
}

inline Reader readerOf(const support::Bytes& bytes) {
    static const std::uint8_t nothing = 0;
    return Reader(BerReaderCreate(bytes.empty() ? &nothing : bytes.data(), static_cast<std::int32_t>(bytes.size())));
}

inline Reader readerOf(const char* hexText) {
    return readerOf(support::hex(hexText));
}

// An output pointer of the reader with its length: freed with free, whatever the call's result was.
template <class T>
class Output {
  public:
    Output() = default;
    ~Output() { std::free(pointer_); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    T** pointer() { return &pointer_; }
    std::int32_t* length() { return &length_; }

    [[nodiscard]] const T* get() const { return pointer_; }
    [[nodiscard]] std::int32_t count() const { return length_; }
    const T& operator[](std::size_t i) const { return pointer_[i]; }

  private:
    T* pointer_ = nullptr;
    std::int32_t length_ = -1;
};

// The bytes of an output, as hex.
inline std::string toHex(const Output<std::uint8_t>& bytes, std::int32_t length) {
    return support::toHex(bytes.get(), static_cast<std::size_t>(length));
}
inline std::string toHex(const Output<std::uint8_t>& bytes) {
    return toHex(bytes, bytes.count());
}

}  // namespace codec

#endif
