// The codes of the engine and their texts, as programs that index the two tables know them.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>

#include "crypto/codes.h"
#include "tests/support/hex.h"

namespace {

struct Text {
    int code;
    const char* text;
};

// By Python: for each text, " ".join(f"{b:02X}" for b in text.encode("gbk")).
constexpr Text kEngine[] = {
    {0, "B7 B5 BB D8 B3 C9 B9 A6"},
    {-1, "C4 DA B4 E6 B7 D6 C5 E4 B4 ED CE F3"},
    {-2, "CA E4 C8 EB B2 CE CA FD B2 BB B7 FB BA CF D2 AA C7 F3"},
    {-3, "CA E4 C8 EB B2 CE CA FD B3 A4 B6 C8 B2 BB B7 FB BA CF D2 AA C7 F3"},
    {-4, "C3 DC D4 BF B6 D4 CF F3 C3 BB C9 E8 D6 C3 BB F2 C9 E8 D6 C3 B2 BB D5 FD C8 B7"},
    {-5, "CB E3 B7 A8 B6 D4 CF F3 C3 BB C9 E8 D6 C3 BB F2 C9 E8 D6 C3 B2 BB D5 FD C8 B7"},
    {-6, "B2 BB D6 A7 B3 D6 B5 B1 C7 B0 CB E3 B7 A8"},
    {-7, "C3 DC D4 BF D0 C5 CF A2 B2 BB D5 FD C8 B7"},
    {-8, "CB E3 B7 A8 D0 C5 CF A2 B2 BB D5 FD C8 B7"},
    {-9,
     "70 6B 63 73 31 31 BF E2 B7 BD B7 A8 B4 ED CE F3 2C B4 ED CE F3 D0 C5 CF A2 C7 EB B2 CE BC FB 70 31 31 CE C4 B5 "
     "B5"},
    {-10, "B4 F3 CA FD D4 CB CB E3 B4 ED CE F3"},
    {-11, "72 73 61 C3 DC D4 BF B6 D4 B2 FA C9 FA B4 ED CE F3"},
    {-12, "72 73 61 BC D3 BD E2 C3 DC B4 ED CE F3"},
    {-13, "B4 ED CE F3 B5 C4 C7 A9 C3 FB CA FD BE DD BB F2 B3 A4 B6 C8"},
    {-14, "B4 ED CE F3 B5 C4 72 73 61 C3 DC D4 BF B6 D4"},
    {-15, "B4 B4 BD A8 63 68 6F 6F 73 65 72 CA B1 B4 ED CE F3"},
    {-16, "C8 A1 74 6F 6B 65 6E D6 D0 B5 C4 CA F4 D0 D4 D6 B5 CA B1 B3 F6 B4 ED"},
    {-17, "B3 F5 CA BC BB AF B5 C4 B4 ED CE F3"},
    {-18, "CF FA BB D9 74 6F 6B 65 6E B6 D4 CF F3 B4 ED CE F3"},
    {-19,
     "D1 B0 D5 D2 74 6F 6B 65 6E B6 D4 CF F3 B4 ED CE F3 2C C7 EB C8 B7 C8 CF CA E4 C8 EB B5 C4 6C 61 62 65 6C C3 BB "
     "D3 D0 B4 ED CE F3"},
    {-20, "CF E0 CD AC 4C 41 42 45 4C B5 C4 B6 D4 CF F3 D2 D1 BE AD B4 E6 D4 DA"},
    {-21, "C6 E4 CB FB B4 ED CE F3"},
};

constexpr Text kRsa[] = {
    {0, "ok"},
    {-101, "RSA key generation failed"},
    {-102, "bad input argument(s)"},
    {-103, "invalid MPI (length too large, etc.)"},
    {-104, "bad input cipher text (not less than modulus n)"},
    {-105, "incorrect format"},
    {-106, "bad modulus (byte-length < 12)"},
    {-107, "invalid signature string"},
    {-108, "signature too large to be handled by this algorithm"},
    {-109, "unsupported algorithm"},
    {-110, "bad algorithm parameter(s)"},
    {-111, "eme encode error"},
    {-112, "eme decode error"},
    {-113, "emsa encode error"},
    {-114, "mgf1 error"},
    {-115, "bad error code (FATAL ERROR)"},
};

support::Bytes bytesOf(const char* text) {
    return {text, text + std::strlen(text)};
}

TEST(engine_codes_test, EntryIHasTheGbkTextOfCodeMinusI) {
    ASSERT_EQ(std::size_t{crypto::kEngineTextCount}, std::size(kEngine));
    for (const Text& row : kEngine)
        EXPECT_EQ(support::toHex(bytesOf(crypto::kEngineTexts[-row.code])), row.text) << row.code;
}

TEST(engine_codes_test, TheTableEndsBeforeTheCodeOfATakenLabel) {
    EXPECT_EQ(crypto::kEngineTextCount, 22);
    EXPECT_EQ(crypto::kLabelExists, -22);
    EXPECT_EQ(crypto::kModuleNotLoaded, -20) << "though its text tells of the label";
}

TEST(engine_codes_test, EntryIHasTheTextOfRsaCodeMinus100MinusI) {
    ASSERT_EQ(std::size_t{crypto::kRsaTextCount}, std::size(kRsa));
    for (const Text& row : kRsa)
        EXPECT_STREQ(crypto::kRsaTexts[row.code == 0 ? 0 : -row.code - 100], row.text) << row.code;
}

TEST(engine_codes_test, ConstantsHaveTheirNumbers) {
    const int engine[] = {crypto::kSuccess,
                          crypto::kNoMemory,
                          crypto::kArgumentAbsent,
                          crypto::kWrongLength,
                          crypto::kKeyMissing,
                          crypto::kNoChooser,
                          crypto::kUnsupportedMechanism,
                          crypto::kBadKeyValue,
                          crypto::kBadAlgorithm,
                          crypto::kModuleError,
                          crypto::kNumberNotLoaded,
                          crypto::kKeyGenerationFailed,
                          crypto::kRsaFailed,
                          crypto::kVerificationFailed,
                          crypto::kInconsistentKey,
                          crypto::kChooserNotCreated,
                          crypto::kAttributeTooLong,
                          crypto::kModuleNotInitialised,
                          crypto::kObjectNotDestroyed,
                          crypto::kObjectNotFound,
                          crypto::kModuleNotLoaded,
                          crypto::kNoMatchingToken,
                          crypto::kLabelExists};
    for (std::size_t i = 0; i < std::size(engine); ++i)
        EXPECT_EQ(engine[i], -static_cast<int>(i));
    const int rsa[] = {crypto::kRsaGenerationFailed,     crypto::kRsaBadArgument, crypto::kRsaModulusTooLong,
                       crypto::kRsaInputNotBelowModulus, crypto::kRsaBadFormat,   crypto::kRsaModulusTooShort};
    for (std::size_t i = 0; i < std::size(rsa); ++i)
        EXPECT_EQ(rsa[i], -101 - static_cast<int>(i));
}

}  // namespace
