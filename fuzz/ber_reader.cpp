// BerReaderScanf over any bytes and any format. The input: a byte that selects one of the program's own formats or the
// number of letters of another, those letters, and the bytes to read.
#include <climits>
#include <cstring>

#include "ber/ber.h"
#include "fuzz/target.h"

namespace {

constexpr const char* kProgramFormats[] = {"{BB}", "{$$B}", "{(i", "{O({$$$$$})}"};
constexpr char kLetters[] = "{[(n}])iebo6aguBIOtx$Z";  // the last one is unknown
constexpr std::size_t kSlots = 24;                     // for twelve letters of two outputs
constexpr std::size_t kBehind = 2;                     // looked at, but never meant, by a letter without outputs

std::string formatFrom(fuzz::Source& source) {
    const std::uint8_t choice = source.byte();
    if (choice < std::size(kProgramFormats))
        return kProgramFormats[choice];
    std::string format;
    for (int i = choice % 12; i >= 0; --i)
        format += kLetters[source.byte() % (sizeof(kLetters) - 1)];
    return format;
}

bool isOneOf(char letter, const char* letters) {
    return std::strchr(letters, letter) != nullptr;
}

std::size_t outputsOf(char letter) {
    return isOneOf(letter, "o6BIOt$") ? 2 : isOneOf(letter, "iebagu") ? 1 : 0;
}

// What an output pointer points to: an integer, a byte, a pointer, or for "g" and "u" as much text as there is input.
class Slot {
  public:
    void prepare(std::size_t inputSize) { words_.assign(inputSize / 8 + 2, 0); }
    void* address() { return words_.data(); }
    template <class T>
    [[nodiscard]] T as() const {
        T value;
        std::memcpy(&value, words_.data(), sizeof(value));
        return value;
    }

  private:
    std::vector<std::uint64_t> words_;
};

void checkBits(const std::uint8_t* bytes, std::int32_t bits, std::int32_t inputSize) {
    FUZZ_ASSERT(bits >= 0 && bits <= 8 * std::int64_t{inputSize});
    if (bits % 8 != 0)
        FUZZ_ASSERT((bytes[bits / 8] & (0xFF >> (bits % 8))) == 0);
}

void checkText(const char* text, std::int32_t length) {
    FUZZ_ASSERT(length % 2 == 0 && std::strlen(text) == static_cast<std::size_t>(length));
    FUZZ_ASSERT(std::strspn(text, "0123456789ABCDEF") == static_cast<std::size_t>(length));
}

void checkArcs(const std::int32_t* arcs, std::int32_t count) {
    FUZZ_ASSERT(count >= 2 && count <= 50 && arcs[0] <= 2 && arcs[1] <= 39);
    FUZZ_ASSERT(std::all_of(arcs, arcs + count, [](std::int32_t arc) { return arc >= 0; }));
}

// A whole element is one element again, to its last byte.
void checkElement(const std::uint8_t* bytes, std::int32_t length) {
    BerReader* reader = BerReaderCreate(bytes, length);
    FUZZ_ASSERT(BerReaderScanf(reader, "x") == 0 && reader->position == length);
    BerReaderFree(reader);
}

void checkOutputs(char letter, const Slot* slots, std::int32_t inputSize) {
    const auto* bytes = slots[0].as<const std::uint8_t*>();
    const auto length = slots[1].as<std::int32_t>();
    if (isOneOf(letter, "o6"))
        FUZZ_ASSERT(length >= 0 && length <= inputSize && bytes[length] == 0);
    if (letter == 'a')
        FUZZ_ASSERT(std::strlen(slots[0].as<const char*>()) <= static_cast<std::size_t>(inputSize));
    if (letter == 'b')
        FUZZ_ASSERT(slots[0].as<std::uint8_t>() == 0x00 || slots[0].as<std::uint8_t>() == 0xFF);
    if (letter == 't')
        FUZZ_ASSERT(slots[0].as<std::int32_t>() >= 0 && (slots[1].as<std::uint8_t>() & 0x1F) == 0);
    if (letter == 'B')
        checkBits(bytes, length, inputSize);
    if (letter == 'I')
        checkText(slots[0].as<const char*>(), length);
    if (letter == 'O')
        checkArcs(slots[0].as<const std::int32_t*>(), length);
    if (letter == '$')
        checkElement(bytes, length);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    fuzz::Source source(data, size);
    const std::string format = formatFrom(source);
    const fuzz::Bytes input = source.rest();
    const auto length = static_cast<std::int32_t>(input.size());
    BerReader* reader = BerReaderCreate(input.empty() ? data : input.data(), length);
    if (reader == nullptr)
        return 0;  // no input at all

    Slot slots[kSlots + kBehind];
    void* out[kSlots + kBehind];
    for (std::size_t i = 0; i < std::size(slots); ++i) {
        slots[i].prepare(input.size());
        out[i] = slots[i].address();
    }
    const int result = BerReaderScanf(reader, format.c_str(), out[0], out[1], out[2], out[3], out[4], out[5], out[6],
                                      out[7], out[8], out[9], out[10], out[11], out[12], out[13], out[14], out[15],
                                      out[16], out[17], out[18], out[19], out[20], out[21], out[22], out[23]);

    FUZZ_ASSERT(result == 0 || result == -1 || result == -2);
    FUZZ_ASSERT(reader->position >= 0 && reader->position <= length && reader->end == length);
    FUZZ_ASSERT(result != -2 || reader->position == length);
    FUZZ_ASSERT(std::equal(input.begin(), input.end(), reader->buffer));
    const Slot* slot = slots;
    for (const char letter : format) {
        if (result == 0)
            checkOutputs(letter, slot, length);
        if (isOneOf(letter, "o6aBIO$"))
            std::free(slot->as<void*>());
        slot += outputsOf(letter);
    }
    BerReaderFree(reader);
    return 0;
}
