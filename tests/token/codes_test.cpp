// The toolkit's own codes, and the texts of the engine's, as programs see them.
#include "token/codes.h"

#include <gtest/gtest.h>

#include <climits>
#include <iterator>
#include <utility>

namespace {

TEST(codes_test, TextOfEachEngineCode) {
    EXPECT_STREQ(VT_EngineText(0), "\xB7\xB5\xBB\xD8\xB3\xC9\xB9\xA6");
    EXPECT_STREQ(VT_EngineText(-21), "\xC6\xE4\xCB\xFB\xB4\xED\xCE\xF3");
    for (int code = 0; code >= -21; --code)
        EXPECT_NE(VT_EngineText(code), nullptr) << code;
}

TEST(codes_test, NoTextElsewhere) {
    for (const int code : {1, -22, -23, -101, -1000, INT_MAX, INT_MIN})
        EXPECT_EQ(VT_EngineText(code), nullptr) << code;
}

// Programs compare with the numbers.
TEST(codes_test, NumbersOfTheToolkitsCodes) {
    const std::pair<int, int> kCodes[] = {
        {token::kWrongKeyType, -1000},
        {token::kElementAbsent, -1001},
        {token::kSignatureMismatch, -1002},
        {token::kMaterialMissing, -1003},
        {token::kIndexOutOfRange, -1005},
        {token::kUnsupported, -1006},
        {token::kRc2LengthInUse, -1007},
        {token::kKeyBits, -1008},
        {token::kWrongContentType, -1009},
        {token::kNullArgument, -1010},
        {token::kDigestMismatch, -1012},
        {token::kNoOperation, -1013},
        {token::kTooLong, -1014},
        {token::kEmptyInteger, -1015},
        {token::kRc2ParametersMissing, -1016},
        {token::kNoSignerVerified, -1017},
        {token::kDigestAlgorithmMismatch, -1018},
        {token::kBufferTooSmall, -1019},
        {token::kWrongVersion, -1020},
        {token::kNotTheSigner, -1021},
        {token::kNoMessageDigest, -1022},
        {token::kIssuersDiffer, -1023},
        {token::kNoTime, -1024},
        {token::kOutsideValidity, -1025},
        {token::kKeyMismatch, -1026},
        {token::kCertificateLabelExists, -1028},
        {token::kPublicLabelExists, -1029},
        {token::kPrivateLabelExists, -1030},
        {token::kOutOfMemory, -1031},
        {token::kException, -3000},
        {token::kNoCertificates, 8014},
    };
    for (const auto& [constant, number] : kCodes)
        EXPECT_EQ(constant, number);
    int count = 0;
#define VT_TOOLKIT_CODE(value, constant, raised, cause, remedy) ++count;
#include "token/codes.def"
#undef VT_TOOLKIT_CODE
    EXPECT_EQ(static_cast<std::size_t>(count), std::size(kCodes));
}

}  // namespace
