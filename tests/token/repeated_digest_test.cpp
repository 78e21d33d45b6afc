#include "token/repeated_digest.h"

#include <gtest/gtest.h>

#include "tests/p11/recording_module.h"
#include "tests/token/operations.h"

namespace {

using namespace operations;
using token::RepeatedDigest;

MiByte callByCall(VT_P11_OP& op, const MiByte& input, int times) {
    MiByte digest;
    EXPECT_EQ(op.Digest(algorithm(1), input, digest), 0);
    while (--times > 0)
        EXPECT_EQ(op.Digest(algorithm(1), digest, digest), 0);
    return digest;
}

TEST(repeated_digest_test, SoftwareGivesWhatItsDigestGives) {
    SoftOp op;
    for (const unsigned int length : {0U, 3U, 20U, 64U, 200U})
        for (const int times : {-1, 0, 1, 2, 3, 100}) {
            const MiByte input(length, 0xA5);
            MiByte output = untouched();
            EXPECT_EQ(RepeatedDigest::sha1(op, input, times, output), 0);
            EXPECT_EQ(toHex(bytesOf(output)), toHex(bytesOf(callByCall(op, input, times)))) << length << " " << times;
        }
}

TEST(repeated_digest_test, TheOutputMayBeTheInput) {
    SoftOp op;
    MiByte value = mi("abc");
    const MiByte expected = callByCall(op, value, 3);
    EXPECT_EQ(RepeatedDigest::sha1(op, value, 3, value), 0);
    EXPECT_EQ(value, expected);
}

TEST(repeated_digest_test, WithoutAChooserThereIsTheCodeOfDigest) {
    VT_P11_OP none;
    MiByte output = untouched();
    EXPECT_EQ(RepeatedDigest::sha1(none, mi("abc"), 3, output), none.Digest(algorithm(1), mi("abc"), output));
    EXPECT_EQ(output, untouched());
}

TEST(repeated_digest_test, TokenDigestsCallByCall) {
    p11::RecordingModule module;
    module.addToken("Token");
    ASSERT_EQ(TokenModuleLoad(module.path(), "Token", "1234"), 0);
    VT_P11_OP op;
    VT_P11_SELECTION selection = {0, "", 0, "", 0};
    ASSERT_EQ(op.createChooser(&selection), 0);
    module.forgetCalls();
    MiByte output = untouched();
    EXPECT_EQ(RepeatedDigest::sha1(op, mi("abc"), 3, output), 0);
    EXPECT_EQ(module.names(), (std::vector<std::string>{"C_DigestInit", "C_Digest", "C_DigestInit", "C_Digest",
                                                        "C_DigestInit", "C_Digest"}));
    EXPECT_EQ(module.calls()[1].input, bytesOf(mi("abc")));
    EXPECT_EQ(module.calls()[5].input, bytesOf(output)) << "the module's digest is the same each time";
    module.fail("C_Digest", CKR_DEVICE_ERROR);
    EXPECT_EQ(RepeatedDigest::sha1(op, mi("abc"), 3, output), static_cast<int>(CKR_DEVICE_ERROR));
    module.succeed();
    op.destroyChooser();
    EXPECT_EQ(TokenModuleUnload(), 0);
}

}  // namespace
