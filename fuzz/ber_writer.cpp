// What BerWriterPrintf writes, BerReaderScanf reads back: the same nesting, tags, classes and contents. The input is a
// list of steps: a byte that selects the letter (0x80: with a tag and class before it), then the letter's arguments.
#include <climits>
#include <cstring>

#include "ber/ber.h"
#include "fuzz/target.h"

namespace {

struct Letter {
    char name;
    std::int32_t tag;  // by default
};
constexpr Letter kLetters[] = {{'{', 16}, {'[', 17}, {'(', -1}, {'}', -1}, {']', -1}, {')', -1}, {'i', 2},  {'e', 10},
                               {'b', 1},  {'n', 5},  {'o', 4},  {'B', 3},  {'I', 2},  {'O', 6},  {'a', 22}, {'P', 19},
                               {'6', 20}, {'M', 20}, {'U', 28}, {'m', 30}, {'u', 23}, {'g', 24}, {'A', 5}};

bool isOneOf(char letter, const char* letters) {
    return std::strchr(letters, letter) != nullptr;
}

// One step, and what must be read back for it.
struct Step {
    char letter = 0;
    bool hasTag = false;
    std::int32_t tag = 0;
    std::uint8_t classBits = 0;
    std::int32_t number = 0;
    std::string bytes;
    std::vector<std::int32_t> arcs;
};

std::string textFrom(fuzz::Source& source, std::size_t count) {
    const fuzz::Bytes bytes = source.bytes(count);
    std::string text(bytes.begin(), bytes.end());
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    return text;
}

Step stepFrom(fuzz::Source& source) {
    Step step;
    const std::uint8_t choice = source.byte();
    const Letter& letter = kLetters[(choice & 0x7F) % std::size(kLetters)];
    step.letter = letter.name;
    step.tag = letter.tag;
    step.hasTag = (choice & 0x80) != 0;
    if (step.hasTag || step.letter == '(')
        step.tag = source.number() & INT32_MAX;
    if (step.hasTag)
        step.classBits = source.byte() & 0xE0;
    if (isOneOf(step.letter, "ie"))
        step.number = source.number();
    if (step.letter == 'b')
        step.number = source.byte();
    if (isOneOf(step.letter, "oaP6MUm")) {
        const fuzz::Bytes bytes = source.bytes(source.byte());
        for (int times = source.byte(); times >= 0; --times)
            step.bytes.append(bytes.begin(), bytes.end());
    }
    if (step.letter == 'B') {
        const fuzz::Bytes bytes = source.bytes(source.byte());
        step.bytes.assign(bytes.begin(), bytes.end());
        step.number = std::max(0, static_cast<std::int32_t>(8 * bytes.size()) - source.byte() % 8);
    }
    if (isOneOf(step.letter, "Iug"))
        step.bytes = textFrom(source, source.byte() * std::size_t{2});
    if (step.letter == 'O') {
        for (int count = source.byte() % 60; count > 0; --count)
            step.arcs.push_back(source.number() >> source.byte() % 32);
    }
    return step;
}

// Whether the writer has to take it: the rest are refused, and write nothing.
bool isGood(const Step& step) {
    if (step.letter == 'I')
        return step.bytes.size() <= 256 && step.bytes.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (step.letter != 'O')
        return true;
    const auto& arcs = step.arcs;
    return arcs.size() >= 2 && arcs.size() <= 50 && arcs[0] <= 2 && arcs[1] <= 39 &&
           std::all_of(arcs.begin(), arcs.end(), [](std::int32_t arc) { return arc >= 0; });
}

template <class... Args>
int print(BerWriter* writer, const Step& step, Args... arguments) {
    const char plain[] = {step.letter, '\0'};
    const char tagged[] = {'T', step.letter, '\0'};
    return step.hasTag ? BerWriterPrintf(writer, tagged, step.tag, int{step.classBits}, arguments...)
                       : BerWriterPrintf(writer, plain, arguments...);
}

int write(BerWriter* writer, const Step& step) {
    static constexpr std::uint8_t kNull[] = {0x05, 0x00};
    const auto length = static_cast<std::int32_t>(step.bytes.size());
    switch (step.letter) {
        case '(':
            return print(writer, step, step.tag);
        case 'i':
        case 'e':
        case 'b':
            return print(writer, step, step.number);
        case 'B':
            return print(writer, step, step.bytes.data(), step.number);
        case 'O':
            return print(writer, step, step.arcs.data(), static_cast<std::int32_t>(step.arcs.size()));
        case 'u':
        case 'g':
            return print(writer, step, step.bytes.c_str());
        case 'A':
            return print(writer, step, kNull, 2);
        case '{':
        case '[':
        case '}':
        case ']':
        case ')':
        case 'n':
            return print(writer, step);
        default:
            return print(writer, step, step.bytes.c_str(), length);
    }
}

// The written steps, with the class bits of an element completed where it is closed.
std::vector<Step> writeAll(BerWriter* writer, fuzz::Source& source) {
    std::vector<Step> steps;
    std::vector<std::size_t> open;
    std::int32_t waiting = -1;  // a tag whose step failed waits for the next one
    std::int64_t total = 0;
    while (!open.empty() || !source.empty()) {
        Step step = stepFrom(source);
        if (source.empty() || steps.size() > 500)
            step = {'}', false, 0, 0, 0, {}, {}};  // the end: close what is open
        const bool closes = isOneOf(step.letter, "}])");
        const bool good = closes ? !open.empty() : isGood(step);
        const std::int32_t used = writer->used;
        const int result = write(writer, step);
        FUZZ_ASSERT((result >= 0) == good);
        FUZZ_ASSERT(good || writer->used == used);
        if (!good && source.empty())
            break;
        if (!good) {
            waiting = step.hasTag ? step.tag : waiting;
            continue;
        }
        if (!step.hasTag && waiting != -1 && step.letter != '(')
            step.tag = waiting;
        waiting = -1;
        total += result;
        if (closes) {
            steps[open.back()].classBits |= step.letter == ')' ? 0xA0 : 0x20;
            open.pop_back();
        }
        if (isOneOf(step.letter, "{[("))
            open.push_back(steps.size());
        if (step.letter == 'A')
            step.tag = 5, step.classBits = 0;  // raw bytes take no tag
        steps.push_back(step);
    }
    FUZZ_ASSERT(writer->openElements == nullptr && writer->used == total);
    return steps;
}

std::int32_t endOfElement(BerReader* reader) {
    const std::int32_t start = reader->position;
    FUZZ_ASSERT(BerReaderScanf(reader, "x") == 0);
    const std::int32_t end = reader->position;
    reader->position = start;
    return end;
}

void readNumber(BerReader* reader, const Step& step) {
    if (step.letter == 'b') {
        std::uint8_t value = 1;
        FUZZ_ASSERT(BerReaderScanf(reader, "b", &value) == 0 && value == (step.number != 0 ? 0xFF : 0x00));
        return;
    }
    std::int32_t value = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "i", &value) == 0 && value == step.number);
}

void readArcs(BerReader* reader, const Step& step) {
    std::int32_t* arcs = nullptr;
    std::int32_t count = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "O", &arcs, &count) == 0);
    FUZZ_ASSERT(std::equal(arcs, arcs + count, step.arcs.begin(), step.arcs.end()));
    std::free(arcs);
}

void readHex(BerReader* reader, const Step& step) {
    char* text = nullptr;
    std::int32_t length = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "I", &text, &length) == 0);
    std::string expected = (step.bytes.size() % 2 == 0 ? "" : "0") + step.bytes;
    std::transform(expected.begin(), expected.end(), expected.begin(),
                   [](char c) { return static_cast<char>(c >= 'a' ? c - 'a' + 'A' : c); });
    FUZZ_ASSERT(expected == text && expected.size() == static_cast<std::size_t>(length));
    std::free(text);
}

void readBits(BerReader* reader, const Step& step) {
    std::uint8_t* bytes = nullptr;
    std::int32_t bits = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "B", &bytes, &bits) == 0 && bits == step.number);
    for (std::int32_t i = 0; i < bits; ++i)
        FUZZ_ASSERT(((bytes[i / 8] ^ step.bytes[static_cast<std::size_t>(i / 8)]) & (0x80 >> (i % 8))) == 0);
    std::free(bytes);
}

void readBytes(BerReader* reader, const Step& step) {
    std::uint8_t* bytes = nullptr;
    std::int32_t length = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "o", &bytes, &length) == 0);
    FUZZ_ASSERT(std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)) == step.bytes);
    std::free(bytes);
}

void readContent(BerReader* reader, const Step& step) {
    if (isOneOf(step.letter, "ieb"))
        readNumber(reader, step);
    else if (step.letter == 'O')
        readArcs(reader, step);
    else if (step.letter == 'I')
        readHex(reader, step);
    else if (step.letter == 'B')
        readBits(reader, step);
    else
        readBytes(reader, step);  // those of "n" and "A" are none
}

void readAll(BerReader* reader, const std::vector<Step>& steps) {
    std::vector<std::int32_t> ends;
    for (const Step& step : steps) {
        if (isOneOf(step.letter, "}])")) {
            FUZZ_ASSERT(reader->position == ends.back());
            ends.pop_back();
            continue;
        }
        std::int32_t tag = 0;
        std::uint8_t classBits = 0;
        FUZZ_ASSERT(BerReaderScanf(reader, "t", &tag, &classBits) == 0);
        FUZZ_ASSERT(tag == step.tag && classBits == step.classBits);
        if (isOneOf(step.letter, "{[(")) {
            ends.push_back(endOfElement(reader));
            FUZZ_ASSERT(BerReaderScanf(reader, "{") == 0);
        } else {
            readContent(reader, step);
        }
    }
    FUZZ_ASSERT(ends.empty() && reader->position == reader->end);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Source source(data, std::min<std::size_t>(size, 4096));
    BerWriter* writer = BerWriterCreate();
    const std::vector<Step> steps = writeAll(writer, source);
    BerReader* reader = BerReaderCreate(writer->buffer, writer->used);
    readAll(reader, steps);
    BerReaderFree(reader);
    BerWriterFree(writer);
    return 0;
}
