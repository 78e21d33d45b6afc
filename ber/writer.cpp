#include "ber/writer.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

static_assert(sizeof(std::int32_t) == sizeof(int), "an std::int32_t is read from the argument list as int");

namespace {

constexpr std::int32_t kGrowth = 8192;
constexpr std::int32_t kNoTag = -1;
constexpr std::uint8_t kConstructed = 0x20;
constexpr std::uint8_t kContextConstructed = 0xA0;
constexpr std::size_t kMostDigits = 256;
constexpr std::int32_t kMostArcs = 50;
constexpr int kFailed = -1;

enum Tag : std::int32_t {
    kBoolean = 1,
    kInteger = 2,
    kBitString = 3,
    kOctetString = 4,
    kNull = 5,
    kObjectIdentifier = 6,
    kEnumerated = 10,
    kSequence = 16,
    kSet = 17,
    kPrintableString = 19,
    kT61String = 20,
    kIa5String = 22,
    kUtcTime = 23,
    kGeneralizedTime = 24,
    kUniversalString = 28,
    kBmpString = 30,
};

int significantBits(std::uint32_t value) {
    int bits = 0;
    for (; value != 0; value >>= 1)
        ++bits;
    return bits;
}

// Base 128, most significant group first: of tag numbers from 31 up, and of arcs. At most five bytes.
int base128Size(std::uint32_t value) {
    return value < 0x80 ? 1 : (significantBits(value) + 6) / 7;
}

std::uint8_t* putBase128(std::uint8_t* out, std::uint32_t value) {
    for (int group = base128Size(value) - 1; group > 0; --group)
        *out++ = static_cast<std::uint8_t>(0x80 | (value >> (7 * group)));
    *out++ = static_cast<std::uint8_t>(value & 0x7F);
    return out;
}

int identifierSize(std::int32_t tag) {
    return tag < 31 ? 1 : 1 + base128Size(static_cast<std::uint32_t>(tag));
}

std::uint8_t* putIdentifier(std::uint8_t* out, std::int32_t tag, std::uint8_t classBits) {
    if (tag < 31) {
        *out++ = static_cast<std::uint8_t>((classBits & 0xE0) | tag);
        return out;
    }
    *out++ = static_cast<std::uint8_t>(classBits | 0x1F);
    return putBase128(out, static_cast<std::uint32_t>(tag));
}

int lengthSize(std::int32_t length) {
    return length < 0x80 ? 1 : 1 + (significantBits(static_cast<std::uint32_t>(length)) + 7) / 8;
}

std::uint8_t* putLength(std::uint8_t* out, std::int32_t length) {
    if (length < 0x80) {
        *out++ = static_cast<std::uint8_t>(length);
        return out;
    }
    const int count = lengthSize(length) - 1;
    *out++ = static_cast<std::uint8_t>(0x80 | count);
    for (int i = count - 1; i >= 0; --i)
        *out++ = static_cast<std::uint8_t>(length >> (8 * i));
    return out;
}

BerOpenElement* innermost(const BerWriter& writer) {
    BerOpenElement* element = writer.openElements;
    while (element != nullptr && element->next != nullptr)
        element = element->next;
    return element;
}

std::int32_t& position(BerWriter& writer) {
    BerOpenElement* element = innermost(writer);
    return element == nullptr ? writer.used : element->cursor;
}

bool growTo(BerWriter& writer, std::int64_t capacity) {
    if (capacity > INT32_MAX)
        return false;
    void* grown = std::realloc(writer.buffer, static_cast<std::size_t>(capacity));
    if (grown == nullptr)
        return false;
    writer.buffer = static_cast<std::uint8_t*>(grown);
    writer.capacity = static_cast<std::int32_t>(capacity);
    return true;
}

// Advances the position over n bytes and returns where they begin, or null when memory is exhausted.
std::uint8_t* take(BerWriter& writer, std::int64_t n) {
    std::int32_t& at = position(writer);
    const std::int64_t missing = at + n - writer.capacity;
    if (missing > 0 && !growTo(writer, writer.capacity + (missing + kGrowth - 1) / kGrowth * kGrowth))
        return nullptr;
    std::uint8_t* begin = writer.buffer + at;
    at += static_cast<std::int32_t>(n);
    return begin;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// One call of BerWriterPrintf. Each step returns the number of bytes it wrote, or kFailed.
class Printer {
  public:
    Printer(BerWriter& writer, std::va_list& arguments) : writer_(writer), arguments_(arguments) {}

    int run(const char* format) {
        int total = 0;
        for (; *format != '\0'; ++format) {
            const int written = step(*format);
            if (written < 0)
                return kFailed;
            total += written;
            finishStep();
        }
        return total;
    }

  private:
    template <class T>
    T next() {
        return va_arg(arguments_, T);
    }

    int step(char letter) {
        switch (letter) {
            case 't':
                return holdTag(next<int>(), 0);
            case 'T': {
                const int tag = next<int>();
                return holdTag(tag, static_cast<std::uint8_t>(next<int>()));
            }
            case '{':
                return open(tagOr(kSequence));
            case '[':
                return open(tagOr(kSet));
            case '(':
                return openTagged(next<int>());
            case '}':
            case ']':
                return close(kConstructed);
            case ')':
                return close(kContextConstructed);
            case 'i':
                return putInteger(tagOr(kInteger));
            case 'e':
                return putInteger(tagOr(kEnumerated));
            case 'b':
                return putBoolean(tagOr(kBoolean));
            case 'n':
                return putContent(tagOr(kNull), nullptr, 0);
            case 'o':
                return putBytes(tagOr(kOctetString));
            case 'B':
                return putBitString(tagOr(kBitString));
            case 'I':
                return putHexInteger(tagOr(kInteger));
            case 'O':
                return putObjectIdentifier(tagOr(kObjectIdentifier));
            case 'a':
                return putBytes(tagOr(kIa5String));
            case 'P':
                return putBytes(tagOr(kPrintableString));
            case '6':
            case 'M':
                return putBytes(tagOr(kT61String));
            case 'U':
                return putBytes(tagOr(kUniversalString));
            case 'm':
                return putBytes(tagOr(kBmpString));
            case 'u':
                return putText(tagOr(kUtcTime));
            case 'g':
                return putText(tagOr(kGeneralizedTime));
            case 'A':
                return appendRaw();
            default:
                return kFailed;
        }
    }

    int holdTag(std::int32_t tag, std::uint8_t classByte) {
        writer_.tagPending = 1;
        writer_.pendingTag = tag;
        pendingClass_ = classByte;
        return 0;
    }

    // A tag held by this step waits for the next one; any other step has used up what waited.
    void finishStep() {
        if (writer_.tagPending != 0) {
            writer_.tagPending = 0;
            return;
        }
        writer_.pendingTag = kNoTag;
        pendingClass_ = 0;
    }

    [[nodiscard]] std::int32_t tagOr(std::int32_t usual) const {
        return writer_.pendingTag == kNoTag ? usual : writer_.pendingTag;
    }

    int openTagged(std::int32_t tag) { return tag < 0 ? kFailed : open(tag); }

    int open(std::int32_t tag) {
        const std::int32_t at = position(writer_);
        auto* element = static_cast<BerOpenElement*>(std::malloc(sizeof(BerOpenElement)));
        if (element == nullptr)
            return kFailed;
        const std::int32_t reserve = identifierSize(tag) + 6;
        if (writer_.capacity - at < reserve && !growTo(writer_, std::int64_t{writer_.capacity} + kGrowth)) {
            std::free(element);
            return kFailed;
        }
        *element = {tag, pendingClass_, at + reserve, at + reserve, nullptr};
        BerOpenElement* outer = innermost(writer_);
        (outer == nullptr ? writer_.openElements : outer->next) = element;
        return 0;
    }

    int close(std::uint8_t extraBits) {
        BerOpenElement** last = &writer_.openElements;
        if (*last == nullptr)
            return kFailed;
        while ((*last)->next != nullptr)
            last = &(*last)->next;
        const BerOpenElement element = **last;
        std::free(*last);
        *last = nullptr;
        if (element.tag < 0)
            return kFailed;

        // The reserve ahead of the content holds any header, so nothing grows here.
        const std::int32_t length = element.cursor - element.start;
        std::int32_t& at = position(writer_);
        std::uint8_t* begin = writer_.buffer + at;
        std::uint8_t* out = putIdentifier(begin, element.tag, static_cast<std::uint8_t>(element.classBits | extraBits));
        out = putLength(out, length);
        std::memmove(out, writer_.buffer + element.start, static_cast<std::size_t>(length));
        const int header = static_cast<int>(out - begin);
        at += header + length;
        return header;
    }

    // Writes the header of an element and leaves room for its content, which the caller fills. size gets both together.
    std::uint8_t* beginElement(std::int32_t tag, std::int32_t length, int& size) {
        if (tag < 0 || length < 0)
            return nullptr;
        const std::int64_t whole = std::int64_t{identifierSize(tag)} + lengthSize(length) + length;
        std::uint8_t* out = take(writer_, whole);
        if (out == nullptr)
            return nullptr;
        size = static_cast<int>(whole);
        return putLength(putIdentifier(out, tag, pendingClass_), length);
    }

    int putContent(std::int32_t tag, const void* bytes, std::int32_t length) {
        if (bytes == nullptr && length != 0)
            return kFailed;
        int size = 0;
        std::uint8_t* out = beginElement(tag, length, size);
        if (out == nullptr)
            return kFailed;
        if (length != 0)
            std::memcpy(out, bytes, static_cast<std::size_t>(length));
        return size;
    }

    int putBytes(std::int32_t tag) {
        const auto* bytes = next<const void*>();
        return putContent(tag, bytes, next<int>());
    }

    int putText(std::int32_t tag) {
        const auto* text = next<const char*>();
        if (text == nullptr)
            return kFailed;
        const std::size_t length = std::strlen(text);
        return length > INT32_MAX ? kFailed : putContent(tag, text, static_cast<std::int32_t>(length));
    }

    int appendRaw() {
        const auto* bytes = next<const void*>();
        const auto length = next<int>();
        if (length < 0 || (bytes == nullptr && length != 0))
            return kFailed;
        std::uint8_t* out = take(writer_, length);
        if (out == nullptr)
            return kFailed;
        if (length != 0)
            std::memcpy(out, bytes, static_cast<std::size_t>(length));
        return length;
    }

    int putInteger(std::int32_t tag) {
        const auto value = static_cast<std::uint32_t>(next<int>());
        const std::array<std::uint8_t, 4> bytes = {
            static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
        // A leading byte goes when it only repeats the sign that the byte behind it shows.
        std::size_t first = 0;
        while (first < 3 && bytes[first] == (bytes[first + 1] < 0x80 ? 0x00 : 0xFF))
            ++first;
        return putContent(tag, &bytes[first], static_cast<std::int32_t>(4 - first));
    }

    int putBoolean(std::int32_t tag) {
        const std::uint8_t content = next<int>() != 0 ? 0xFF : 0x00;
        return putContent(tag, &content, 1);
    }

    int putBitString(std::int32_t tag) {
        const auto* bytes = next<const std::uint8_t*>();
        const auto bits = next<int>();
        if (bits < 0 || (bytes == nullptr && bits != 0))
            return kFailed;
        const std::int32_t count = bits / 8 + (bits % 8 != 0 ? 1 : 0);
        const int unused = (8 - bits % 8) % 8;
        int size = 0;
        std::uint8_t* out = beginElement(tag, count + 1, size);
        if (out == nullptr)
            return kFailed;
        *out++ = static_cast<std::uint8_t>(unused);
        if (count == 0)
            return size;
        std::memcpy(out, bytes, static_cast<std::size_t>(count));
        out[count - 1] = static_cast<std::uint8_t>(out[count - 1] & (0xFF << unused));
        return size;
    }

    int putHexInteger(std::int32_t tag) {
        const auto* text = next<const char*>();
        const auto length = next<int>();
        if (text == nullptr || length < 0)
            return kFailed;
        const std::size_t digits = std::strlen(text);
        if (digits != static_cast<std::size_t>(length) || digits > kMostDigits)
            return kFailed;
        std::array<std::uint8_t, kMostDigits / 2> staged{};
        // Places are counted from the end, so that an odd first digit becomes a low nibble.
        const std::size_t lead = digits % 2;
        for (std::size_t i = 0; i < digits; ++i) {
            const int digit = hexDigit(text[i]);
            if (digit < 0)
                return kFailed;
            std::uint8_t& byte = staged[(i + lead) / 2];
            byte = static_cast<std::uint8_t>(byte << 4 | digit);
        }
        return putContent(tag, staged.data(), static_cast<std::int32_t>((digits + lead) / 2));
    }

    int putObjectIdentifier(std::int32_t tag) {
        const auto* arcs = next<const std::int32_t*>();
        const auto count = next<int>();
        if (arcs == nullptr || count < 2 || count > kMostArcs)
            return kFailed;
        if (arcs[0] < 0 || arcs[0] > 2 || arcs[1] < 0 || arcs[1] > 39)
            return kFailed;
        std::array<std::uint8_t, 256> staged;  // one byte, and at most five for each of 48 arcs
        std::uint8_t* out = staged.data();
        *out++ = static_cast<std::uint8_t>(arcs[0] * 40 + arcs[1]);
        for (std::int32_t i = 2; i < count; ++i) {
            if (arcs[i] < 0)
                return kFailed;
            out = putBase128(out, static_cast<std::uint32_t>(arcs[i]));
        }
        return putContent(tag, staged.data(), static_cast<std::int32_t>(out - staged.data()));
    }

    BerWriter& writer_;
    std::va_list& arguments_;
    std::uint8_t pendingClass_ = 0;
};

}  // namespace

BerWriter* BerWriterCreate() {
    auto* writer = static_cast<BerWriter*>(std::malloc(sizeof(BerWriter)));
    if (writer == nullptr)
        return nullptr;
    auto* buffer = static_cast<std::uint8_t*>(std::malloc(kGrowth));
    if (buffer == nullptr) {
        std::free(writer);
        return nullptr;
    }
    *writer = {0, kNoTag, buffer, 0, kGrowth, nullptr};
    return writer;
}

void BerWriterFree(BerWriter* writer) {
    if (writer == nullptr)
        return;
    while (writer->openElements != nullptr) {
        BerOpenElement* inner = writer->openElements->next;
        std::free(writer->openElements);
        writer->openElements = inner;
    }
    std::free(writer->buffer);
    std::free(writer);
}

int BerWriterVprintf(BerWriter* writer, const char* format, std::va_list arguments) {
    if (writer == nullptr || format == nullptr)
        return kFailed;
    // A copy, since a parameter of this type is a pointer where the type is an array, and no reference binds to it.
    std::va_list own;
    va_copy(own, arguments);
    const int result = Printer(*writer, own).run(format);
    va_end(own);
    return result;
}

int BerWriterPrintf(BerWriter* writer, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int result = BerWriterVprintf(writer, format, arguments);
    va_end(arguments);
    return result;
}
