#include "enrol/base64.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/hex.h"
#include "tests/support/noise.h"
#include "tests/support/plain_base64.h"

namespace {

using support::Bytes;

constexpr std::int32_t kPartialGroup = -10002;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What EncodeBase64Text wrote into a buffer of the size that it asked for, which it must not exceed.
std::string encoded(const Bytes& data) {
    std::size_t size = 0;
    EXPECT_EQ(enrol::EncodeBase64Text(data.data(), data.size(), nullptr, size), 0);
    const std::size_t asked = size;
    std::vector<char> out(size + 4, '#');
    EXPECT_EQ(enrol::EncodeBase64Text(data.data(), data.size(), out.data(), size), 0);
    EXPECT_EQ(size, asked);
    EXPECT_EQ(std::string(out.end() - 4, out.end()), "####") << "wrote past the size";
    return {out.begin(), out.end() - 4};
}

std::string upToNul(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

struct Decoded {
    std::int32_t result;
    Bytes bytes;
};
bool operator==(const Decoded& a, const Decoded& b) {
    return a.result == b.result && a.bytes == b.bytes;
}
void PrintTo(const Decoded& decoded, std::ostream* os) {
    *os << decoded.result << ": " << support::toHex(decoded.bytes);
}

Decoded decoded(const std::string& text) {
    // A block of exactly the text's size, so that the address checker sees a read past it.
    const std::vector<char> block(text.begin(), text.end());
    Decoded answer{1, {0xEE}};
    answer.result = enrol::DecodeBase64Text(block.data(), block.size(), answer.bytes);
    return answer;
}

Decoded text(const std::string& bytes) {
    return {0, Bytes(bytes.begin(), bytes.end())};
}

Bytes pattern(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 11);
    return bytes;
}

TEST(base64_test, EncodesTheVectorsOfRfc4648) {
    const std::pair<const char*, const char*> vectors[] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                                           {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                                           {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, base64] : vectors) {
        const std::string bytes = plain;
        EXPECT_EQ(upToNul(encoded(Bytes(bytes.begin(), bytes.end()))), base64);
        EXPECT_EQ(decoded(base64), text(plain));
    }
}

// From python3: base64.b64encode(bytes((i*37+11)&255 for i in range(n))).
constexpr char kPattern48[] = "CzBVep/E6Q4zWH2ix+wRNluApcrvFDleg6jN8hc8YYar0PUaP2SJrtP4HUJnjLHW";
constexpr char kPattern96[] = "+yBFao+02f4jSG2St9wBJktwlbrfBClOc5i94gcsUXabwOUKL1R5nsPoDTJXfKHG";

TEST(base64_test, BreaksTheLineAfterEach64thCharacterAlsoTheLast) {
    const std::string line(kPattern48);
    EXPECT_EQ(upToNul(encoded(pattern(45))), line.substr(0, 60));
    EXPECT_EQ(upToNul(encoded(pattern(46))), line.substr(0, 60) + "jA==\r\n");
    EXPECT_EQ(upToNul(encoded(pattern(47))), line.substr(0, 60) + "jLE=\r\n");
    EXPECT_EQ(upToNul(encoded(pattern(48))), line + "\r\n");
    EXPECT_EQ(upToNul(encoded(pattern(49))), line + "\r\n+w==");
    EXPECT_EQ(upToNul(encoded(pattern(96))), line + "\r\n" + kPattern96 + "\r\n");
    EXPECT_EQ(upToNul(encoded(pattern(97))), line + "\r\n" + kPattern96 + "\r\n6w==");
}

// The size is n + 2 + 2 x ((n - 1) / 64): it exceeds the text by 2 unless the text ends in a line break.
TEST(base64_test, TheSizeMayExceedTheText) {
    EXPECT_EQ(encoded(pattern(45)), std::string(kPattern48).substr(0, 60) + std::string(2, '\0'));
    EXPECT_EQ(encoded(pattern(48)).size(), 66U);
    EXPECT_EQ(encoded(pattern(48)), std::string(kPattern48) + "\r\n");
    EXPECT_EQ(encoded(pattern(49)).size(), 72U);
    EXPECT_EQ(encoded(pattern(49)), std::string(kPattern48) + "\r\n+w==" + std::string(2, '\0'));
    EXPECT_EQ(encoded(pattern(96)).size(), 132U);
    EXPECT_EQ(encoded({}), std::string(2, '\0'));
}

TEST(base64_test, SizesFollowTheFormula) {
    for (std::size_t length = 1; length <= 400; ++length) {
        const std::size_t n = (length + 2) / 3 * 4;
        std::size_t size = 0;
        ASSERT_EQ(enrol::EncodeBase64Text(pattern(length).data(), length, nullptr, size), 0);
        ASSERT_EQ(size, n + 2 + 2 * ((n - 1) / 64)) << length;
    }
}

TEST(base64_test, ASizeThatNoMemoryCanHoldIsRefused) {
    const std::uint8_t byte = 0;
    std::size_t size = 0;
    EXPECT_EQ(enrol::EncodeBase64Text(&byte, ~std::size_t{0}, nullptr, size), -10000);
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(enrol::DecodeBase64Text("", ~std::size_t{0} - 2, bytes), -10000);
    EXPECT_TRUE(bytes.empty());
}

// plainlyEncoded gives the lines as the function under test must.
std::string plainlyEncoded(const Bytes& data) {
    const std::string text = support::plainBase64(data);
    std::string lines;
    for (std::size_t i = 0; i < text.size(); ++i) {
        lines += text[i];
        if (i % 64 == 63)
            lines += "\r\n";
    }
    return lines;
}

TEST(base64_test, EncodesAndDecodesEveryLength) {
    support::Noise noise(20141021);
    for (std::size_t length = 0; length <= 1200; ++length) {
        Bytes data(length);
        for (std::uint8_t& byte : data)
            byte = noise.byte();
        const std::string base64 = upToNul(encoded(data));
        ASSERT_EQ(base64, plainlyEncoded(data)) << length;
        ASSERT_EQ(decoded(base64), (Decoded{0, data})) << length;
    }
}

TEST(base64_test, EncodesEveryPairOfCharacters) {
    Bytes data;
    for (unsigned twelve = 0; twelve < 4096; ++twelve) {
        const unsigned bits = twelve << 12 | (4095 - twelve);
        for (int shift = 16; shift >= 0; shift -= 8)
            data.push_back(static_cast<std::uint8_t>(bits >> shift));
    }
    EXPECT_EQ(upToNul(encoded(data)), plainlyEncoded(data));
    EXPECT_EQ(decoded(plainlyEncoded(data)), (Decoded{0, data}));
}

TEST(base64_test, SkipsLineBreaksBlanksAndForeignCharacters) {
    EXPECT_EQ(decoded("Zm9v\r\nYmFy"), text("foobar"));
    EXPECT_EQ(decoded("  Z m\t9\nv-_*YmF\x80y\xFF "), text("foobar"));
    EXPECT_EQ(decoded("-----Zm9v"), text("foo"));
    EXPECT_EQ(decoded(std::string("Zm\0"
                                  "9v",
                                  5)),
              text("foo"));
}

TEST(base64_test, SkipsEachForeignCharacterAtEachPlace) {
    const std::string known(kAlphabet);
    for (int c = 0; c < 256; ++c) {
        const char foreign = static_cast<char>(c);
        if (foreign == '=' || known.find(foreign) != std::string::npos)
            continue;
        for (std::size_t at = 0; at <= 8; ++at) {
            std::string base64 = "Zm9vYmFy";
            base64.insert(at, 1, foreign);
            ASSERT_EQ(decoded(base64), text("foobar")) << c << " at " << at;
        }
    }
}

TEST(base64_test, APaddedGroupEndsTheText) {
    EXPECT_EQ(decoded("Zg==Zm9v"), text("f"));
    EXPECT_EQ(decoded("Zm8=Zm9v"), text("fo"));
    EXPECT_EQ(decoded("Zm9vZg==Z"), text("foof"));
    EXPECT_EQ(decoded("Zg=\r\n="), text("f"));
}

TEST(base64_test, PadAtAWrongPlaceGivesNothingAtAll) {
    for (const char* group :
         {"=AAA", "A=AA", "AA=A", "==AA", "=A=A", "A==A", "=AA=", "A=A=", "===A", "A===", "==A=", "=A==", "===="}) {
        EXPECT_EQ(decoded(group), text("")) << group;
        EXPECT_EQ(decoded(std::string("Zm9v") + group + "Zm9v"), text("")) << group;
    }
}

TEST(base64_test, APartialGroupIsAFailure) {
    for (const char* end : {"Z", "Zm", "Zm9", "Zg=", "Z=", "=", "==", "==="}) {
        EXPECT_EQ(decoded(end), (Decoded{kPartialGroup, {}})) << end;
        EXPECT_EQ(decoded(std::string("Zm9vYmFy") + end), (Decoded{kPartialGroup, {}})) << end;
        EXPECT_EQ(decoded(std::string(end) + "\r\n"), (Decoded{kPartialGroup, {}})) << end;
    }
}

TEST(base64_test, TextThatYieldsNothingIsASuccess) {
    EXPECT_EQ(decoded(""), text(""));
    EXPECT_EQ(decoded("\r\n \t*"), text(""));
}

TEST(base64_test, BitsBehindTheLastByteDoNotCount) {
    EXPECT_EQ(decoded("Zh=="), text("f"));
    EXPECT_EQ(decoded("Zm9="), text("fo"));
}

// plainlyDecoded follows the rules on the filtered text, group by group.
Decoded plainlyDecoded(const std::string& base64) {
    const std::string known = std::string(kAlphabet) + "=";
    std::string filtered;
    for (const char c : base64) {
        if (known.find(c) != std::string::npos)
            filtered += c;
    }
    Bytes bytes;
    std::size_t at = 0;
    for (; at + 4 <= filtered.size(); at += 4) {
        const std::string group = filtered.substr(at, 4);
        if (group[0] == '=' || group[1] == '=' || (group[2] == '=' && group[3] != '='))
            return {0, {}};
        unsigned bits = 0;
        for (const char c : group)
            bits = bits * 64 + static_cast<unsigned>(c == '=' ? 0 : known.find(c));
        const std::size_t pads = group[2] == '=' ? 2 : (group[3] == '=' ? 1 : 0);
        for (std::size_t i = 0; i < 3 - pads; ++i)
            bytes.push_back(static_cast<std::uint8_t>(bits >> (16 - 8 * i)));
        if (pads != 0)
            return {0, bytes};
    }
    if (at != filtered.size())
        return {kPartialGroup, {}};
    return {0, bytes};
}

TEST(base64_test, HostileTextsGiveWhatTheRulesSay) {
    support::Noise noise(7);
    for (int round = 0; round < 20000; ++round) {
        std::string base64 = upToNul(encoded(pattern(noise.below(160))));
        for (unsigned changes = noise.below(4); changes > 0 && !base64.empty(); --changes) {
            const std::size_t at = noise.below(static_cast<std::uint32_t>(base64.size()));
            const char c = noise.below(3) == 0 ? '=' : static_cast<char>(noise.byte());
            switch (noise.below(3)) {
                case 0:
                    base64[at] = c;
                    break;
                case 1:
                    base64.insert(at, 1, c);
                    break;
                default:
                    base64.erase(at, 1);
            }
        }
        ASSERT_EQ(decoded(base64), plainlyDecoded(base64)) << base64;
    }
}

TEST(base64_test, DecodesAMegabyteInLinesOfAnyLength) {
    const Bytes data = pattern(1 << 20);
    const std::string base64 = upToNul(encoded(data));
    EXPECT_EQ(decoded(base64), (Decoded{0, data}));
    std::string oneLine;
    for (const char c : base64) {
        if (c != '\r' && c != '\n')
            oneLine += c;
    }
    EXPECT_EQ(decoded(oneLine), (Decoded{0, data}));
    std::string lines;
    for (std::size_t i = 0; i < oneLine.size(); i += 76)
        lines += oneLine.substr(i, 76) + "\n";
    EXPECT_EQ(decoded(lines), (Decoded{0, data}));
}

}  // namespace
