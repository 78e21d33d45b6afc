#include "tools/common/input.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace tools {

namespace {

constexpr std::size_t kMostBytes = std::size_t{256} << 20;
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // editors put it in front of a text in UTF-8

struct CloseFile {
    void operator()(std::FILE* file) const {
        if (file != stdin)
            std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File openInput(const std::string& name) {
    if (name != "-")
        return File(std::fopen(name.c_str(), "rb"));
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    return File(stdin);
}

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

bool startsWith(std::string_view text, std::string_view with) {
    return text.substr(0, with.size()) == with;
}

// Labels come back in messages, so they must be short and without what a terminal would act on.
bool isLabel(std::string_view text) {
    constexpr std::size_t kMost = 60;
    return text.size() <= kMost && std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// The label of a line "-----BEGIN label-----", or of one with END; empty for any other line.
std::string labelOf(const std::string& line, std::string_view start) {
    if (line.size() < start.size() + kDashes.size() || !startsWith(line, start) ||
        line.compare(line.size() - kDashes.size(), kDashes.size(), kDashes) != 0)
        return {};
    std::string label = line.substr(start.size(), line.size() - start.size() - kDashes.size());
    return isLabel(label) ? label : std::string();
}

int base64Value(char c) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t value = kAlphabet.find(c);
    return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

// Base64 that comes piece by piece.
class Base64 {
  public:
    // False for a character that has no place here. Blanks are skipped.
    bool add(std::string_view text) {
        return std::all_of(text.begin(), text.end(), [this](char c) { return addOne(c); });
    }

    bool begun() const { return count != 0; }
    bool complete() const { return count % 4 == 0; }
    const std::string& bytes() const { return out; }

  private:
    bool addOne(char c) {
        if (kBlanks.find(c) != std::string_view::npos)
            return true;
        const int value = base64Value(c);
        const bool padding = c == '=' && count % 4 >= 2;
        if (padded ? !(c == '=' && count % 4 == 3) : value < 0 && !padding)
            return false;
        padded = padded || padding;
        group = group << 6 | static_cast<std::uint32_t>(padding ? 0 : value);
        pads += padding ? 1 : 0;
        if (++count % 4 == 0)
            flush();
        return true;
    }

    void flush() {
        for (unsigned i = 0; i < 3 - pads; ++i)
            out += static_cast<char>(group >> (16 - 8 * i));
        group = 0;
    }

    std::string out;
    std::uint32_t group = 0;
    std::size_t count = 0;  // of characters, padding too
    unsigned pads = 0;
    bool padded = false;
};

class Lines {
  public:
    explicit Lines(std::string_view input) : text(input) {}

    // The next line without blanks at its ends; false behind the last one.
    bool next(std::string& line) {
        if (at >= text.size())
            return false;
        start = at;
        const std::size_t end = std::min(text.find('\n', at), text.size());
        line = trimmed(text.substr(at, end - at));
        at = end + 1;
        ++count;
        return true;
    }

    // Makes the line that came last the next one.
    void back() {
        at = start;
        --count;
    }

    std::size_t number() const { return count; }

  private:
    std::string_view text;
    std::size_t at = 0;
    std::size_t start = 0;  // of the line that came last
    std::size_t count = 0;
};

class BlockError : public InputError {
  public:
    BlockError(std::size_t at, const std::string& what) : InputError(what), line(at) {}

    std::size_t line;
};

[[noreturn]] void failAt(std::size_t line, const std::string& what) {
    throw BlockError(line, what);
}

[[noreturn]] void failAt(std::size_t line, const std::string& label, const std::string& what) {
    failAt(line, "the block \"" + label + "\" " + what);
}

bool isEncryption(const std::string& line) {
    return startsWith(line, "Proc-Type:") && line.find("ENCRYPTED") != std::string::npos;
}

// What stands between the first and the last line of a block, up to the label of the latter; empty where it has none.
std::string readBody(Lines& lines, const std::string& label, Base64& base64) {
    std::string line;
    while (lines.next(line)) {
        if (!labelOf(line, kBegin).empty()) {
            lines.back();
            return {};
        }
        std::string end = labelOf(line, kEnd);
        if (!end.empty())
            return end;
        if (isEncryption(line))
            failAt(lines.number(), label, "is encrypted");
        if (!base64.begun() && line.find(':') != std::string::npos)
            continue;  // a header, such as those of a key bag
        if (!base64.add(line))
            failAt(lines.number(), "no base64");
    }
    return {};
}

// The rest of a block whose first line has been read.
Block readBlock(Lines& lines, const std::string& label) {
    const std::size_t begin = lines.number();
    Base64 base64;
    const std::string end = readBody(lines, label, base64);
    if (end.empty())
        failAt(begin, label, "has no end");
    if (end != label)
        failAt(lines.number(), label, "ends as \"" + end + "\"");
    if (!base64.complete())
        failAt(lines.number(), label, "is cut short in its base64");
    return {base64.bytes(), label, begin, {}};
}

// A block that cannot be read does not hide the others.
Block readBlockOrFault(Lines& lines, const std::string& label) {
    try {
        return readBlock(lines, label);
    } catch (const BlockError& error) {
        return {{}, label, error.line, error.what()};
    }
}

std::vector<Block> findPem(std::string_view input) {
    std::vector<Block> blocks;
    Lines lines(input);
    std::string line;
    while (lines.next(line)) {
        const std::string label = labelOf(line, kBegin);
        if (!label.empty())
            blocks.push_back(readBlockOrFault(lines, label));
    }
    return blocks;
}

// DER has control characters in its first bytes or soon after.
bool isText(std::string_view input) {
    return std::all_of(input.begin(), input.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= 0x20 && byte != 0x7F) || kBlanks.find(c) != std::string_view::npos;
    });
}

bool isOneElement(const std::string& input) {
    try {
        return elementLength(input) == input.size();
    } catch (const InputError&) {
        return false;
    }
}

}  // namespace

std::string readInput(const std::string& file) {
    const File input = openInput(file);
    if (input == nullptr)
        throw InputError(std::strerror(errno));
    std::string bytes;
    std::vector<char> piece(1 << 16);
    std::size_t n = 0;
    while ((n = std::fread(piece.data(), 1, piece.size(), input.get())) > 0) {
        if (bytes.size() + n > kMostBytes)
            throw InputError("larger than " + std::to_string(kMostBytes >> 20) + " MiB");
        bytes.append(piece.data(), n);
    }
    if (std::ferror(input.get()) != 0)
        throw InputError(std::strerror(errno));
    return bytes;
}

std::vector<Block> findBlocks(const std::string& input) {
    if (input.empty())
        throw InputError("empty");
    if (!startsWith(input, "-") && isOneElement(input))
        return {Block{input, {}, 0, {}}};
    std::string_view text = input;
    if (startsWith(text, kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    std::vector<Block> blocks = findPem(text);
    if (!blocks.empty())
        return blocks;
    Base64 base64;
    if (base64.add(text) && base64.complete() && !base64.bytes().empty())
        return {Block{base64.bytes(), {}, 0, {}}};
    if (isText(text))
        throw InputError("neither DER nor PEM nor base64");
    return {Block{input, {}, 0, {}}};
}

std::string firstDer(const std::string& input) {
    const std::vector<Block> blocks = findBlocks(input);
    if (!blocks.front().fault.empty())
        throw InputError(blocks.front().fault);
    return blocks.front().der;
}

std::size_t elementLength(const std::string& der) {
    const auto byteAt = [&](std::size_t i) {
        if (i >= der.size())
            throw InputError("cut short in the first tag and length");
        return static_cast<unsigned char>(der[i]);
    };
    std::size_t at = 0;
    if ((byteAt(at++) & 0x1F) == 0x1F) {
        while ((byteAt(at++) & 0x80) != 0) {
        }
    }
    const unsigned first = byteAt(at++);
    if (first < 0x80)
        return at + first;
    if (first == 0x80)
        throw InputError("of indefinite length, which is BER and not DER");
    if (first - 0x80 > 4)
        throw InputError("not DER: a length of " + std::to_string(first - 0x80) + " bytes");
    std::uint64_t length = 0;
    for (unsigned i = 0; i < first - 0x80; ++i)
        length = length << 8 | byteAt(at++);
    return static_cast<std::size_t>(std::min<std::uint64_t>(length + at, SIZE_MAX));
}

}  // namespace tools
