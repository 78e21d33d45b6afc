#include "pki/base64_kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/hex.h"
#include "tests/support/noise.h"
#include "tests/support/plain_base64.h"

namespace {

using pki::Base64Kernel;
using support::Bytes;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

Bytes noiseBytes(std::size_t length, std::uint32_t seed) {
    support::Noise noise(seed);
    Bytes bytes(length);
    std::generate(bytes.begin(), bytes.end(), [&] { return noise.byte(); });
    return bytes;
}

struct Decoded {
    std::size_t consumed;
    Bytes bytes;
};

// decoded runs the kernel on a block of exactly the text's size, into one of the room that it may use, and then with
// the text in the place of its bytes. Nothing is written behind the bytes.
Decoded decoded(const Base64Kernel& kernel, const std::string& text) {
    const Bytes block(text.begin(), text.end());
    Bytes out(text.size() / 4 * 3, 0xEE);
    const pki::Base64Progress progress = kernel.decode(block.data(), block.data() + block.size(), out.data());
    const auto written = progress.out - out.data();
    EXPECT_TRUE(std::all_of(out.begin() + written, out.end(), [](std::uint8_t byte) { return byte == 0xEE; }));
    out.resize(static_cast<std::size_t>(written));

    Bytes place = block;
    const pki::Base64Progress again = kernel.decode(place.data(), place.data() + place.size(), place.data());
    EXPECT_EQ(again.out - place.data(), written);
    EXPECT_EQ(again.next - place.data(), progress.next - block.data());
    place.resize(static_cast<std::size_t>(written));
    EXPECT_EQ(place, out);
    return {static_cast<std::size_t>(progress.next - block.data()), out};
}

// The parameter is whether the vector form is meant, which not every processor has.
class base64_kernel_test : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        if (GetParam() && pki::avx2Base64() == nullptr)
            GTEST_SKIP() << "this processor has no AVX2";
    }
    static const Base64Kernel& kernel() { return GetParam() ? *pki::avx2Base64() : pki::plainBase64(); }
};

TEST_P(base64_kernel_test, EncodesEveryLengthAtEveryAlignment) {
    for (std::size_t length = 0; length <= 240; length += 3) {
        for (std::size_t offset = 0; offset < 4; ++offset) {
            const Bytes padded = noiseBytes(offset + length, static_cast<std::uint32_t>(length + 1));
            const Bytes data(padded.begin() + static_cast<std::ptrdiff_t>(offset), padded.end());
            std::vector<char> out(offset + length / 3 * 4);
            char* const end = kernel().encode(padded.data() + offset, length, out.data() + offset);
            ASSERT_EQ(end, out.data() + out.size());
            ASSERT_EQ(std::string(out.data() + offset, end), support::plainBase64(data)) << length;
        }
    }
}

TEST_P(base64_kernel_test, EncodesEveryPairOfCharacters) {
    Bytes data;
    for (unsigned twelve = 0; twelve < 4096; ++twelve) {
        const unsigned bits = twelve << 12 | (4095 - twelve);
        for (int shift = 16; shift >= 0; shift -= 8)
            data.push_back(static_cast<std::uint8_t>(bits >> shift));
    }
    std::string text(data.size() / 3 * 4, '#');
    kernel().encode(data.data(), data.size(), text.data());
    EXPECT_EQ(text, support::plainBase64(data));
    EXPECT_EQ(decoded(kernel(), text).bytes, data);
}

TEST_P(base64_kernel_test, DecodesEveryLength) {
    for (std::size_t length = 0; length <= 400; length += 3) {
        const Bytes data = noiseBytes(length, static_cast<std::uint32_t>(length + 7));
        const std::string text = support::plainBase64(data);
        for (const char* tail : {"", "A", "AB", "ABC"}) {
            const Decoded answer = decoded(kernel(), text + tail);
            ASSERT_EQ(answer.bytes, data) << length;
            ASSERT_EQ(answer.consumed, text.size()) << length;
        }
    }
}

// Whatever stands anywhere: what was read is whole groups and line breaks, and the bytes are theirs.
TEST_P(base64_kernel_test, StopsAtEveryForeignCharacterAtEveryPlace) {
    const Bytes data = noiseBytes(150, 5);
    const std::string good = support::plainBase64(data);
    for (int c = 0; c < 256; ++c) {
        const char foreign = static_cast<char>(c);
        if (std::string(kAlphabet).find(foreign) != std::string::npos)
            continue;
        for (std::size_t at = 0; at < good.size(); ++at) {
            std::string text = good;
            text.insert(at, 1, foreign);
            const Decoded answer = decoded(kernel(), text);
            const bool lineBreak = (foreign == '\r' || foreign == '\n') && answer.consumed > at;
            ASSERT_TRUE(lineBreak || answer.consumed == at / 4 * 4) << c << " at " << at << ": " << answer.consumed;
            const std::size_t chars = answer.consumed - (lineBreak ? 1 : 0);
            ASSERT_EQ(chars % 4, 0U);
            ASSERT_EQ(answer.bytes, Bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(chars / 4 * 3)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(forms, base64_kernel_test, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& form) { return form.param ? "avx2" : "plain"; });

TEST(base64_kernel_test_choice, TheVectorFormIsTakenWhereTheProcessorHasIt) {
    const Base64Kernel* vector = pki::avx2Base64();
    EXPECT_EQ(&pki::base64Kernel(), vector != nullptr ? vector : &pki::plainBase64());
}

TEST(base64_kernel_test_vector, TheVectorFormReadsLinesOf64CharactersWhole) {
    if (pki::avx2Base64() == nullptr)
        GTEST_SKIP() << "this processor has no AVX2";
    const Bytes data = noiseBytes(240, 9);
    const std::string chars = support::plainBase64(data);
    for (const char* lineBreak : {"\r\n", "\n", "\r"}) {
        std::string text;
        for (std::size_t i = 0; i < chars.size(); i += 64)
            text += chars.substr(i, 64) + lineBreak;
        const Decoded answer = decoded(*pki::avx2Base64(), text);
        EXPECT_EQ(answer.bytes, data);
        EXPECT_EQ(answer.consumed, text.size());
    }
}

}  // namespace
