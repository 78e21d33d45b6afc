#include "pki/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/schema/bytes.h"
#include "tests/support/failing_heap.h"
#include "tests/support/noise.h"
#include "tests/support/plain_base64.h"

namespace {

using support::Bytes;

constexpr int kNullArgument = -1010;
constexpr int kOutOfMemory = -1031;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

MiByte toMiByte(const std::string& text) {
    return {text.data(), static_cast<unsigned int>(text.size())};
}

std::string toText(const MiByte& value) {
    return {value.GetChars(), value.GetChars() + value.GetLength()};
}

// The told length of a text, by the rule in words.
int told(int chars, bool wrap) {
    return wrap ? chars + (chars - 1) / 64 + 1 : chars;
}

// written gives the text of the pointer form, from a buffer of exactly what it writes.
std::string written(const std::string& data, bool wrap) {
    const int length = static_cast<int>(data.size());
    const int chars = (length + 2) / 3 * 4;
    int size = -1;
    EXPECT_EQ(VT_Base64::Encode(data.data(), length, nullptr, &size, wrap), 0);
    EXPECT_EQ(size, told(chars, wrap)) << length;
    const bool oneMore = wrap && chars != 0 && chars % 64 == 0;
    std::vector<char> out(static_cast<std::size_t>(size) + (oneMore ? 1 : 0), '#');
    size = -1;
    EXPECT_EQ(VT_Base64::Encode(data.data(), length, out.data(), &size, wrap), 0);
    EXPECT_EQ(size, told(chars, wrap)) << length;
    return {out.begin(), out.end()};
}

// encoded is the MiByte form, and has the text of the pointer form cut to the told length.
std::string encoded(const std::string& data, bool wrap) {
    MiByte out("old", 3);
    EXPECT_EQ(VT_Base64::Encode(toMiByte(data), out, wrap), 0);
    const int chars = (static_cast<int>(data.size()) + 2) / 3 * 4;
    EXPECT_EQ(toText(out), written(data, wrap).substr(0, static_cast<std::size_t>(told(chars, wrap))));
    return toText(out);
}

// decoded gives what both forms, which must agree, decode; the pointer form also in the place of its text.
std::string decoded(const std::string& text) {
    const std::vector<char> block(text.begin(), text.end());
    const int length = static_cast<int>(text.size());
    int size = -1;
    std::vector<char> out(text.size() + 1, '#');
    EXPECT_EQ(VT_Base64::Decode(block.data(), length, out.data(), &size), 0);
    EXPECT_EQ(out.back(), '#');
    std::string bytes(out.data(), static_cast<std::size_t>(std::max(size, 0)));

    std::vector<char> place = block;
    int placed = -1;
    EXPECT_EQ(VT_Base64::Decode(place.data(), length, place.empty() ? out.data() : place.data(), &placed), 0);
    EXPECT_EQ(placed, size);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), place.begin())) << text;

    MiByte value("old", 3);
    EXPECT_EQ(VT_Base64::Decode(toMiByte(text), value), 0);
    EXPECT_EQ(toText(value), bytes);
    return bytes;
}

std::string noise(std::size_t length, std::uint32_t seed) {
    support::Noise source(seed);
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(source.byte()); });
    return bytes;
}

// plainlyEncoded gives the text as it is, or in lines.
std::string plainlyEncoded(const std::string& data, bool wrap) {
    std::string text = support::plainBase64(Bytes(data.begin(), data.end()));
    if (!wrap)
        return text;
    std::string lines;
    for (std::size_t i = 0; i < text.size(); ++i) {
        lines += text[i];
        if (i % 64 == 63)
            lines += '\n';
    }
    return lines + '\n';
}

// plainlyDecoded follows the rules on the filtered text, group by group.
std::string plainlyDecoded(const std::string& text) {
    const std::string known = std::string(kAlphabet) + "=";
    std::string filtered;
    for (const char c : text) {
        if (known.find(c) != std::string::npos)
            filtered += c;
    }
    if (filtered.size() % 4 != 0)
        return "";
    std::string bytes;
    for (std::size_t at = 0; at < filtered.size(); at += 4) {
        const std::string group = filtered.substr(at, 4);
        if (group[0] == '=' || group[1] == '=' || (group[2] == '=' && group[3] != '='))
            continue;
        unsigned bits = 0;
        for (const char c : group)
            bits = bits * 64 + static_cast<unsigned>(c == '=' ? 0 : known.find(c));
        const std::size_t count = group[2] == '=' ? 1 : (group[3] == '=' ? 2 : 3);
        for (std::size_t i = 0; i < count; ++i)
            bytes += static_cast<char>(bits >> (16 - 8 * i));
    }
    return bytes;
}

// The steps between which a caller inside the library may cut its input. They are private; an explicit instantiation
// may name them all the same.
std::string (*encodedInPieces)(const std::string& data, std::size_t piece, std::uint32_t& column) = nullptr;
std::string (*decodedInPieces)(const std::string& text, std::size_t piece, int& length) = nullptr;

template <auto Start, auto Update, auto Finish>
struct EncoderSteps {
    static std::string run(const std::string& data, std::size_t piece, std::uint32_t& column) {
        const std::unique_ptr<std::remove_pointer_t<decltype(Start())>> state(Start());
        EXPECT_EQ(state->column, 1U);
        std::string text(data.size() * 2 + 5, '#');
        char* out = text.data();
        for (std::size_t at = 0; at < data.size(); at += piece) {
            const std::size_t length = std::min(piece, data.size() - at);
            out = Update(*state, data.data() + at, static_cast<int>(length), out);
            EXPECT_EQ(state->count, (at + length) % 3);
        }
        out = Finish(*state, out);
        EXPECT_EQ(state->count, 0U);
        column = state->column;
        return {text.data(), out};
    }
    static inline const bool kKnown = (encodedInPieces = run, true);
};
template struct EncoderSteps<&VT_Base64::encodeini, &VT_Base64::encodeupdate, &VT_Base64::encodefinish>;

template <auto Start, auto Update, auto Finish>
struct DecoderSteps {
    static std::string run(const std::string& text, std::size_t piece, int& length) {
        const std::unique_ptr<std::remove_pointer_t<decltype(Start())>> state(Start());
        std::string bytes(text.size() + 1, '#');
        char* out = bytes.data();
        for (std::size_t at = 0; at < text.size(); at += piece)
            out = Update(*state, text.data() + at, static_cast<int>(std::min(piece, text.size() - at)), out);
        length = Finish(*state, static_cast<int>(out - bytes.data()));
        return {bytes.data(), out};
    }
    static inline const bool kKnown = (decodedInPieces = run, true);
};
template struct DecoderSteps<&VT_Base64::decodeini, &VT_Base64::decodeupdate, &VT_Base64::decodefinish>;

TEST(base64_test, EncodesTheVectorsOfRfc4648) {
    const std::pair<const char*, const char*> vectors[] = {{"", ""},
                                                           {"f", "Zg=="},
                                                           {"fo", "Zm8="},
                                                           {"foo", "Zm9v"},
                                                           {"foob", "Zm9vYg=="},
                                                           {"fooba", "Zm9vYmE="},
                                                           {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, base64] : vectors) {
        EXPECT_EQ(encoded(plain, false), base64);
        EXPECT_EQ(encoded(plain, true), std::string(base64) + "\n");
        EXPECT_EQ(decoded(base64), plain);
    }
}

// From python3: base64.b64encode(bytes(range(256))).
TEST(base64_test, HasTheStandardAlphabet) {
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    const std::string text =
        "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+"
        "P0BBQkNERUZHSElKS0xNTk9QUVJT"
        "VFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn+"
        "AgYKDhIWGh4iJiouMjY6PkJGSk5SVlpeYmZqbnJ2en6ChoqOkpaanqK"
        "mqq6ytrq+wsbKztLW2t7i5uru8vb6/wMHCw8TFxsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t/g4eLj5OXm5+jp6uvs7e7v8PHy8/"
        "T19vf4+fr7/P3+"
        "/w==";
    EXPECT_EQ(encoded(bytes, false), text);
    EXPECT_EQ(decoded(text), bytes);
}

TEST(base64_test, AnEmptyInputIsASingleLineFeedWithWrapAndNothingWithout) {
    EXPECT_EQ(encoded("", true), "\n");
    EXPECT_EQ(encoded("", false), "");
    int size = -1;
    EXPECT_EQ(VT_Base64::Encode(nullptr, 0, nullptr, &size, true), 0);
    EXPECT_EQ(size, 1);
    char out[2] = {'#', '#'};
    EXPECT_EQ(VT_Base64::Encode(nullptr, 0, out, &size, true), 0);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(std::string(out, 2), "\n#");
    EXPECT_EQ(VT_Base64::Encode(nullptr, 0, out, &size, false), 0);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(std::string(out, 2), "\n#");
}

TEST(base64_test, BreaksTheLineAfterEach64thCharacterAndAtTheVeryEnd) {
    const std::string line(64, 'A');
    const auto zeros = [](std::size_t n) { return std::string(n, '\0'); };
    EXPECT_EQ(written(zeros(45), true), line.substr(4) + "\n");
    EXPECT_EQ(written(zeros(46), true), line.substr(2) + "==\n\n");
    EXPECT_EQ(written(zeros(47), true), line.substr(1) + "=\n\n");
    EXPECT_EQ(written(zeros(48), true), line + "\n\n");
    EXPECT_EQ(written(zeros(49), true), line + "\nAA==\n");
    EXPECT_EQ(written(zeros(96), true), line + "\n" + line + "\n\n");
    EXPECT_EQ(written(zeros(97), true), line + "\n" + line + "\nAA==\n");
}

// n + (n - 1) / 64 + 1, which is one less than what is written when the last line is full.
TEST(base64_test, TheToldLengthLeavesOutTheSecondLineFeedAfterAFullLine) {
    const std::string line(64, 'A');
    for (const std::size_t lines : {1U, 2U, 3U, 40U}) {
        const std::string zeros(lines * 48, '\0');
        int size = 0;
        std::vector<char> out(lines * 65 + 3, '#');
        ASSERT_EQ(VT_Base64::Encode(zeros.data(), static_cast<int>(zeros.size()), out.data(), &size, true), 0);
        EXPECT_EQ(size, static_cast<int>(lines * 65));
        EXPECT_EQ(std::string(out.end() - 4, out.end()), "\n\n##");
        EXPECT_EQ(toText([&] {
                      MiByte text;
                      EXPECT_EQ(VT_Base64::Encode(toMiByte(zeros), text, true), 0);
                      return text;
                  }()),
                  std::string(out.data(), lines * 65));
    }
}

TEST(base64_test, EncodesAndDecodesEveryLength) {
    for (std::size_t length = 0; length <= 700; ++length) {
        const std::string data = noise(length, 20141021);
        for (const bool wrap : {false, true}) {
            const std::string text = plainlyEncoded(data, wrap);
            ASSERT_EQ(written(data, wrap), text) << length;
            ASSERT_EQ(encoded(data, wrap), text.substr(0, encoded(data, wrap).size())) << length;
            ASSERT_EQ(decoded(text), data) << length;
        }
    }
}

TEST(base64_test, PiecesOfAnySizeGiveTheSame) {
    for (const std::size_t length : {0U, 1U, 2U, 3U, 56U, 57U, 58U, 114U, 200U}) {
        const std::string data = noise(length, 13);
        const std::string text = plainlyEncoded(data, false);
        for (std::size_t piece = 1; piece <= 70; ++piece) {
            std::uint32_t column = 0;
            ASSERT_EQ(encodedInPieces(data, piece, column), text) << length << " by " << piece;
            ASSERT_EQ(column, text.size() % 76 + 1) << "falls back to 1 after 76 characters";
            int told = 0;
            ASSERT_EQ(decodedInPieces(text, piece, told), data) << length << " by " << piece;
            ASSERT_EQ(told, static_cast<int>(length));
        }
    }
    int told = -1;
    EXPECT_EQ(decodedInPieces("Zm9vY", 2, told), "foo");
    EXPECT_EQ(told, 0);
}

TEST(base64_test, TextAndDataMayShareABuffer) {
    for (const std::size_t length : {0U, 1U, 3U, 47U, 48U, 49U, 200U, 1000U}) {
        const std::string data = noise(length, 3);
        for (const bool wrap : {false, true}) {
            const std::string text = plainlyEncoded(data, wrap);
            for (const std::size_t from : {0U, 1U, 30U}) {
                std::vector<char> buffer(from + length + text.size() + 1, '#');
                std::copy(data.begin(), data.end(), buffer.begin() + static_cast<std::ptrdiff_t>(from));
                int size = 0;
                ASSERT_EQ(VT_Base64::Encode(buffer.data() + from, static_cast<int>(length), buffer.data(), &size, wrap),
                          0);
                ASSERT_EQ(std::string(buffer.data(), text.size()), text) << length;
            }
        }
    }
    MiByte value("foobar", 6);
    EXPECT_EQ(VT_Base64::Encode(value, value, true), 0);
    EXPECT_EQ(toText(value), "Zm9vYmFy\n");
    EXPECT_EQ(VT_Base64::Decode(value, value), 0);
    EXPECT_EQ(toText(value), "foobar");
}

TEST(base64_test, WithoutABufferDecodingTellsTheLengthOfTheText) {
    int size = -1;
    EXPECT_EQ(VT_Base64::Decode("Zm9v\n", 5, nullptr, &size), 0);
    EXPECT_EQ(size, 5);
    EXPECT_EQ(VT_Base64::Decode(nullptr, 0, nullptr, &size), 0);
    EXPECT_EQ(size, 0);
}

TEST(base64_test, SkipsLineFeedsAndEveryForeignByte) {
    EXPECT_EQ(decoded("Zm9v\n"), "foo");
    EXPECT_EQ(decoded("  Z m\t9\nv-_*YmF\x80y\xFF \r\n"), "foobar");
    EXPECT_EQ(decoded("\r\n \t*"), "");
    const std::string known(kAlphabet);
    const std::string text = plainlyEncoded(noise(60, 5), false);
    for (int c = 0; c < 256; ++c) {
        const char foreign = static_cast<char>(c);
        if (foreign == '=' || known.find(foreign) != std::string::npos)
            continue;
        for (std::size_t at = 0; at <= text.size(); at += 7) {
            std::string with = text;
            with.insert(at, 1, foreign);
            ASSERT_EQ(decoded(with), noise(60, 5)) << c << " at " << at;
        }
    }
}

TEST(base64_test, TextsThatFollowEachOtherDecodeToTheirDataInTurn) {
    EXPECT_EQ(decoded("Zg==Zm8=Zm9v"), "ffofoo");
    EXPECT_EQ(decoded("Zg==\nZm9v\n"), "ffoo");
    EXPECT_EQ(decoded("Zg=\r\n=Zg=="), "ff");
}

TEST(base64_test, AGroupWithPadAtAWrongPlaceGivesNothingAndReadingGoesOn) {
    for (const char* group :
         {"=AAA", "A=AA", "==AA", "=A=A", "A==A", "=AA=", "A=A=", "===A", "A===", "==A=", "=A==", "====", "AA=A"}) {
        EXPECT_EQ(decoded(group), "") << group;
        EXPECT_EQ(decoded(std::string("Zm9v") + group + "YmFy"), "foobar") << group;
    }
}

TEST(base64_test, ATruncatedTextReadsAsEmpty) {
    for (const char* end : {"Z", "Zm", "Zm9", "Zg=", "Z=", "=", "==", "==="}) {
        EXPECT_EQ(decoded(end), "") << end;
        EXPECT_EQ(decoded(std::string("Zm9vYmFy") + end), "") << end;
        EXPECT_EQ(decoded(std::string("Zm9v") + end + "\r\n"), "") << end;
    }
    char out[8] = "#######";
    int size = -1;
    EXPECT_EQ(VT_Base64::Decode("Zm9vY", 5, out, &size), 0);
    EXPECT_EQ(size, 0);
    EXPECT_STREQ(out, "foo####") << "what was decoded stays in the buffer";
}

TEST(base64_test, BitsBehindTheLastByteDoNotCount) {
    EXPECT_EQ(decoded("Zh=="), "f");
    EXPECT_EQ(decoded("Zm9="), "fo");
}

TEST(base64_test, HostileTextsGiveWhatTheRulesSay) {
    support::Noise source(7);
    for (int round = 0; round < 20000; ++round) {
        std::string text = plainlyEncoded(noise(source.below(160), source.next() | 1U), source.below(2) == 0);
        for (unsigned changes = source.below(4); changes > 0 && !text.empty(); --changes) {
            const std::size_t at = source.below(static_cast<std::uint32_t>(text.size()));
            const char c = source.below(3) == 0 ? '=' : static_cast<char>(source.byte());
            switch (source.below(3)) {
                case 0:
                    text[at] = c;
                    break;
                case 1:
                    text.insert(at, 1, c);
                    break;
                default:
                    text.erase(at, 1);
            }
        }
        ASSERT_EQ(decoded(text), plainlyDecoded(text)) << text;
    }
}

TEST(base64_test, AMegabyteInLinesOfAnyLength) {
    const std::string data = noise(1 << 20, 11);
    const std::string oneLine = plainlyEncoded(data, false);
    EXPECT_TRUE(written(data, false) == oneLine);
    EXPECT_TRUE(written(data, true) == plainlyEncoded(data, true));
    for (const std::size_t width : {60U, 64U, 76U}) {
        std::string lines;
        for (std::size_t i = 0; i < oneLine.size(); i += width)
            lines += oneLine.substr(i, width) + "\r\n";
        EXPECT_TRUE(decoded(lines) == data) << width;
    }
}

TEST(base64_test, NullArgumentsAndNegativeLengthsAreRefused) {
    char out[8] = {};
    int size = 0;
    EXPECT_EQ(VT_Base64::Encode("a", 1, out, nullptr, false), kNullArgument);
    EXPECT_EQ(VT_Base64::Encode(nullptr, 1, out, &size, false), kNullArgument);
    EXPECT_EQ(VT_Base64::Encode("a", -1, out, &size, true), kNullArgument);
    EXPECT_EQ(VT_Base64::Decode("AAAA", 4, out, nullptr), kNullArgument);
    EXPECT_EQ(VT_Base64::Decode(nullptr, 4, out, &size), kNullArgument);
    EXPECT_EQ(VT_Base64::Decode("AAAA", -4, out, &size), kNullArgument);
}

// Twice the input and 5 must be an int.
TEST(base64_test, AnInputTooLongForItsTextIsExhaustedMemory) {
    int size = 0;
    EXPECT_EQ(VT_Base64::Encode("", (INT_MAX - 5) / 2 + 1, nullptr, &size, true), kOutOfMemory);
    EXPECT_EQ(VT_Base64::Encode("", INT_MAX, nullptr, &size, false), kOutOfMemory);
    EXPECT_EQ(VT_Base64::Encode("", (INT_MAX - 5) / 2, nullptr, &size, true), 0);
    EXPECT_EQ(size, told(1431655764, true));
}

TEST(base64_test, ExhaustedMemoryIsACode) {
    char out[64] = {};
    int size = 0;
    const auto expectCode = [](int result) {
        if (result != 0 && result != kOutOfMemory)
            ADD_FAILURE() << result;
    };
    EXPECT_GE(support::forEachExhaustion([&] { expectCode(VT_Base64::Encode("foobar", 6, out, &size, true)); }), 1);
    EXPECT_GE(support::forEachExhaustion([&] { expectCode(VT_Base64::Decode("Zm9vYmFy", 8, out, &size)); }), 1);
    {
        char inPlace[64] = "foobar";
        const support::FailingHeap heap(1);
        EXPECT_EQ(VT_Base64::Encode(inPlace, 6, inPlace, &size, true), kOutOfMemory);
        EXPECT_STREQ(inPlace, "foobar");
    }
    for (const auto form : {0, 1, 2}) {
        const MiByte data("foobar", 6);
        MiByte result;
        int code = 0;
        {
            const support::FailingHeap heap(1);
            code = form == 0   ? VT_Base64::Encode(data, result, true)
                   : form == 1 ? VT_Base64::Encode("foobar", 6, out, &size, true)
                               : VT_Base64::Decode(data, result);
        }
        EXPECT_EQ(code, kOutOfMemory);
        EXPECT_TRUE(result.Empty());
    }
}

}  // namespace
