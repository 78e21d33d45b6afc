#include "ber/reader.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;
constexpr int kEndOfInput = -2;
constexpr std::int32_t kMostArcs = 50;
constexpr int kMostTagBytes = 5;
constexpr int kMostLengthBytes = 4;

struct Identifier {
    std::int32_t tag;
    std::uint8_t classBits;
};

// The primitive over the input. Each read... returns kDone, kFailed or, where it says so, kEndOfInput.
class Input {
  public:
    explicit Input(BerReader& reader) : reader_(reader) {}

    [[nodiscard]] std::int32_t position() const { return reader_.position; }
    void moveBackTo(std::int32_t position) { reader_.position = position; }

    // Input that ends early is used up, as a short read of it leaves it.
    bool expectContent(std::int32_t length) {
        if (length <= left())
            return true;
        reader_.position = reader_.end;
        return false;
    }

    // The next length bytes, which expectContent has found to be there.
    const std::uint8_t* take(std::int32_t length) {
        const std::uint8_t* bytes = reader_.buffer + reader_.position;
        reader_.position += length;
        return bytes;
    }

    int readByte(std::uint8_t& byte) {
        if (left() < 1)
            return kFailed;
        byte = *take(1);
        return kDone;
    }

    // kEndOfInput with nothing left. A failure leaves the input where it was.
    int readIdentifier(Identifier& identifier) {
        if (reader_.buffer == nullptr)
            return kFailed;
        const std::int32_t start = position();
        std::uint8_t first = 0;
        if (readByte(first) != kDone)
            return kEndOfInput;
        identifier.classBits = first & 0xE0;
        identifier.tag = first & 0x1F;
        if (identifier.tag != 0x1F || readLongTag(identifier.tag) == kDone)
            return kDone;
        moveBackTo(start);
        return kFailed;
    }

    int readLength(std::int32_t& length) {
        std::uint8_t first = 0;
        if (readByte(first) != kDone)
            return kFailed;
        length = first;
        if (first < 0x80)
            return kDone;
        const std::int32_t count = first & 0x7F;
        if (count > kMostLengthBytes || !expectContent(count))
            return kFailed;
        std::uint32_t value = 0;
        const std::uint8_t* bytes = take(count);
        for (std::int32_t i = 0; i < count; ++i)
            value = value << 8 | bytes[i];
        if (value > INT32_MAX)
            return kFailed;
        length = static_cast<std::int32_t>(value);
        return kDone;
    }

  private:
    [[nodiscard]] std::int32_t left() const { return reader_.end - reader_.position; }

    int readLongTag(std::int32_t& tag) {
        std::uint64_t value = 0;
        for (int i = 0; i < kMostTagBytes; ++i) {
            std::uint8_t byte = 0;
            if (readByte(byte) != kDone)
                return kFailed;
            value = value << 7 | (byte & 0x7F);
            if (byte >= 0x80)
                continue;
            tag = static_cast<std::int32_t>(value & INT32_MAX);
            return value > INT32_MAX ? kFailed : kDone;
        }
        return kFailed;
    }

    BerReader& reader_;
};

// One call of BerReaderScanf.
class Scanner {
  public:
    Scanner(BerReader& reader, std::va_list& arguments) : input_(reader), arguments_(arguments) {}

    int run(const char* format) {
        for (; *format != '\0'; ++format) {
            const int result = step(*format);
            if (result != kDone)
                return result;
        }
        return kDone;
    }

  private:
    template <class T>
    T* next() {
        return va_arg(arguments_, T*);
    }

    // Letters that read no header of their own come first; every other one has it read, known or not.
    int step(char letter) {
        switch (letter) {
            case '}':
            case ']':
            case ')':
                return kDone;
            case 't':
                return peekIdentifier();
            case '$':
                return readElement();
            default:
                break;
        }
        std::int32_t length = 0;
        const int result = readHeader(length);
        return result == kDone ? readContent(letter, length) : result;
    }

    int readContent(char letter, std::int32_t length) {
        switch (letter) {
            case '{':
            case '[':
            case '(':
            case 'n':
                return kDone;
            case 'i':
            case 'e':
                return readInteger(length);
            case 'b':
                return readBoolean();
            case 'o':
            case '6':
                return readBytes(length);
            case 'a':
                return readText(length);
            case 'g':
            case 'u':
                return readIntoBuffer(length);
            case 'B':
                return readBitString(length);
            case 'I':
                return readHexadecimal(length);
            case 'O':
                return readObjectIdentifier(length);
            case 'x':
                return skip(length);
            default:
                return kFailed;
        }
    }

    int readHeader(std::int32_t& length) {
        Identifier identifier{};
        const int result = input_.readIdentifier(identifier);
        return result == kDone ? input_.readLength(length) : result;
    }

    // An out pointer is stored the moment its buffer exists, so that the caller can free it whatever comes after.
    template <class T>
    static T* allocate(T** out, std::size_t size) {
        auto* block = static_cast<T*>(std::malloc(size));
        if (block != nullptr)
            *out = block;
        return block;
    }

    int peekIdentifier() {
        auto* tag = next<std::int32_t>();
        auto* classBits = next<std::uint8_t>();
        const std::int32_t start = input_.position();
        Identifier identifier{};
        const int result = input_.readIdentifier(identifier);
        if (result != kDone)
            return result;
        *tag = identifier.tag;
        *classBits = identifier.classBits;
        input_.moveBackTo(start);
        return kDone;
    }

    int readElement() {
        auto** out = next<std::uint8_t*>();
        auto* total = next<std::int32_t>();
        const std::int32_t start = input_.position();
        std::int32_t length = 0;
        const int result = readHeader(length);
        if (result != kDone)
            return result;
        if (!input_.expectContent(length))
            return kFailed;
        const std::int32_t size = input_.position() - start + length;
        std::uint8_t* element = allocate(out, static_cast<std::size_t>(size));
        if (element == nullptr)
            return kFailed;
        input_.moveBackTo(start);
        std::memcpy(element, input_.take(size), static_cast<std::size_t>(size));
        *total = size;
        return kDone;
    }

    int readInteger(std::int32_t length) {
        auto* out = next<std::int32_t>();
        if (length > 4 || !input_.expectContent(length))
            return kFailed;
        const std::uint8_t* bytes = input_.take(length);
        std::uint32_t value = length != 0 && bytes[0] >= 0x80 ? UINT32_MAX : 0;
        for (std::int32_t i = 0; i < length; ++i)
            value = value << 8 | bytes[i];
        *out = static_cast<std::int32_t>(value);
        return kDone;
    }

    // One byte whatever the length says: any further content stays in the input.
    int readBoolean() {
        auto* out = next<std::uint8_t>();
        std::uint8_t value = 0;
        if (input_.readByte(value) != kDone || (value != 0x00 && value != 0xFF))
            return kFailed;
        *out = value;
        return kDone;
    }

    int readBytes(std::int32_t length) {
        auto** out = next<std::uint8_t*>();
        auto* count = next<std::int32_t>();
        if (readTerminated(out, length) != kDone)
            return kFailed;
        *count = length;
        return kDone;
    }

    int readText(std::int32_t length) { return readTerminated(next<char*>(), length); }

    template <class T>
    int readTerminated(T** out, std::int32_t length) {
        if (!input_.expectContent(length))
            return kFailed;
        T* block = allocate(out, std::size_t{1} + static_cast<std::size_t>(length));
        if (block == nullptr)
            return kFailed;
        std::memcpy(block, input_.take(length), static_cast<std::size_t>(length));
        block[length] = 0;
        return kDone;
    }

    int readIntoBuffer(std::int32_t length) {
        char* out = next<char>();
        if (!input_.expectContent(length))
            return kFailed;
        std::memcpy(out, input_.take(length), static_cast<std::size_t>(length));
        out[length] = '\0';
        return kDone;
    }

    int readBitString(std::int32_t length) {
        auto** out = next<std::uint8_t*>();
        auto* bits = next<std::int32_t>();
        if (!input_.expectContent(length))
            return kFailed;
        const auto size = static_cast<std::size_t>(length);
        std::uint8_t* block = allocate(out, size + 1);
        if (block == nullptr)
            return kFailed;
        block[size] = 0;
        if (length == 0) {
            *bits = 0;
            return kDone;
        }
        block[size - 1] = 0;
        const std::uint8_t unused = *input_.take(1);
        if (unused > 8)
            return kFailed;
        const std::int64_t count = length == 1 ? 0 : (std::int64_t{length} - 1) * 8 - unused;
        if (count > INT32_MAX)
            return kFailed;
        std::memcpy(block, input_.take(length - 1), size - 1);
        if (length > 1)
            block[size - 2] = static_cast<std::uint8_t>(block[size - 2] & (0xFF << unused));
        *bits = static_cast<std::int32_t>(count);
        return kDone;
    }

    int readHexadecimal(std::int32_t length) {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        auto** out = next<char*>();
        auto* count = next<std::int32_t>();
        if (length > INT32_MAX / 2 || !input_.expectContent(length))
            return kFailed;
        char* text = allocate(out, std::size_t{2} * static_cast<std::size_t>(length) + 1);
        if (text == nullptr)
            return kFailed;
        const std::uint8_t* bytes = input_.take(length);
        for (std::int32_t i = 0; i < length; ++i) {
            *text++ = kDigits[bytes[i] >> 4];
            *text++ = kDigits[bytes[i] & 15];
        }
        *text = '\0';
        *count = 2 * length;
        return kDone;
    }

    int readObjectIdentifier(std::int32_t length) {
        auto** out = next<std::int32_t*>();
        auto* count = next<std::int32_t>();
        if (length < 1 || !input_.expectContent(length))
            return kFailed;
        std::int32_t* arcs = allocate(out, kMostArcs * sizeof(std::int32_t));
        if (arcs == nullptr)
            return kFailed;
        const std::uint8_t* at = input_.take(length);
        const std::uint8_t* end = at + length;
        if (*at >= 120)
            return kFailed;
        arcs[0] = *at / 40;
        arcs[1] = *at++ % 40;
        std::int32_t found = 2;
        for (; at != end; ++found) {
            if (found == kMostArcs || readArc(at, end, arcs[found]) != kDone)
                return kFailed;
        }
        *count = found;
        return kDone;
    }

    static int readArc(const std::uint8_t*& at, const std::uint8_t* end, std::int32_t& arc) {
        std::uint32_t value = 0;
        while (at != end) {
            if (value > INT32_MAX >> 7)
                return kFailed;
            value = value << 7 | (*at & 0x7F);
            if (*at++ >= 0x80)
                continue;
            arc = static_cast<std::int32_t>(value);
            return kDone;
        }
        return kFailed;
    }

    int skip(std::int32_t length) {
        if (!input_.expectContent(length))
            return kFailed;
        input_.take(length);
        return kDone;
    }

    Input input_;
    std::va_list& arguments_;
};

}  // namespace

BerReader* BerReaderCreate(const std::uint8_t* bytes, std::int32_t length) {
    if (bytes == nullptr || length < 0)
        return nullptr;
    // The copy stands behind the reader in one block, so that making one costs one allocation.
    const std::int32_t capacity = length == 0 ? 1 : length;
    void* block = std::malloc(sizeof(BerReader) + static_cast<std::size_t>(capacity));
    if (block == nullptr)
        return nullptr;
    auto* buffer = static_cast<std::uint8_t*>(block) + sizeof(BerReader);
    std::memcpy(buffer, bytes, static_cast<std::size_t>(length));
    auto* reader = static_cast<BerReader*>(block);
    *reader = {-1, buffer, capacity, 0, length};
    return reader;
}

void BerReaderFree(BerReader* reader) {
    std::free(reader);
}

int BerReaderVscanf(BerReader* reader, const char* format, std::va_list arguments) {
    if (reader == nullptr || format == nullptr)
        return kFailed;
    // A copy, since a parameter of this type is a pointer where the type is an array, and no reference binds to it.
    std::va_list own;
    va_copy(own, arguments);
    const int result = Scanner(*reader, own).run(format);
    va_end(own);
    return result;
}

int BerReaderScanf(BerReader* reader, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int result = BerReaderVscanf(reader, format, arguments);
    va_end(arguments);
    return result;
}
