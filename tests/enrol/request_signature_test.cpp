#include "enrol/request_signature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/call_plan.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"

namespace {

using enrol::HeapBytes;
using enrol::SignRequestBody;
using support::Bytes;
using support::toHex;

class request_signature_test : public testing::Test {
  protected:
    request_signature_test() { crypto.addKey("Fake Provider", "box", AT_SIGNATURE, 1024); }

    std::int32_t sign(std::int32_t keySpec = AT_SIGNATURE, std::int32_t algId = CALG_SHA1) {
        return SignRequestBody("Fake Provider", "box", keySpec, algId, data.data(), data.size(), signature);
    }

    support::FailingTables tables;
    support::FakeSystemApi system;
    support::FakeCryptoApi crypto;
    support::CallPlan calls;
    Bytes data = {1, 2, 3, 4, 5};
    HeapBytes signature;
};

TEST_F(request_signature_test, GivesTheBytesMostSignificantFirst) {
    crypto.makeSignature = [](const support::FakeCryptoApi::Key&, ALG_ID, const Bytes&) { return Bytes{1, 2, 3, 4}; };
    ASSERT_EQ(sign(), 0);
    EXPECT_EQ(toHex(signature.data.get(), signature.size), "04 03 02 01");
    EXPECT_EQ(signature.data[4], 0) << "one byte more than the signature, and zero";
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(request_signature_test, HashesTheWholeBodyWithTheAlgorithmGiven) {
    for (const std::int32_t algId : {0x8003, 0x8004, 0x800C}) {
        ASSERT_EQ(sign(AT_SIGNATURE, algId), 0);
        EXPECT_EQ(crypto.lastHashed, data);
        EXPECT_EQ(crypto.lastAlgorithm, static_cast<ALG_ID>(algId));
        EXPECT_EQ(toHex(signature.data.get(), signature.size),
                  toHex(support::fakeSignature(1024, static_cast<ALG_ID>(algId), data)));
    }
}

TEST_F(request_signature_test, UsesTheKeyOfTheSpecification) {
    crypto.addKey("Fake Provider", "box", AT_KEYEXCHANGE, 512);
    ASSERT_EQ(sign(AT_KEYEXCHANGE), 0);
    EXPECT_EQ(signature.size, 64U);
    ASSERT_EQ(sign(AT_SIGNATURE), 0);
    EXPECT_EQ(signature.size, 128U);
}

TEST_F(request_signature_test, AsksThePlatformInThisOrder) {
    ASSERT_EQ(sign(), 0);
    EXPECT_EQ(calls.log(),
              (std::vector<std::string>{"CryptAcquireContextA", "CryptCreateHash", "CryptHashData", "CryptSignHashA",
                                        "CryptSignHashA", "CryptDestroyHash", "CryptReleaseContext"}));
}

// Each step has its number, and what was open stays open.
TEST_F(request_signature_test, AFailureNamesItsStepAndLeavesTheHandlesOpen) {
    const std::pair<std::int32_t, const char*> steps[] = {{-1, ""},
                                                          {-2, "provider"},
                                                          {-3, "hash provider provider"},
                                                          {-4, "hash hash provider provider provider"},
                                                          {-5, "hash hash hash provider provider provider provider"}};
    for (int n = 1; n <= 5; ++n) {
        const auto& [step, open] = steps[n - 1];  // with what the rounds before left open
        calls.failCall(n);
        EXPECT_EQ(sign(), step) << n;
        EXPECT_EQ(calls.openHandles(), open) << n;
    }
}

TEST_F(request_signature_test, AReleaseThatFailsIsNotLookedAt) {
    for (const char* release : {"CryptDestroyHash", "CryptReleaseContext"}) {
        calls.failCall(release);
        EXPECT_EQ(sign(), 0) << release;
    }
}

TEST_F(request_signature_test, AMissingContainerKeyOrAlgorithmIsAFailedStep) {
    EXPECT_EQ(SignRequestBody("Fake Provider", "none", AT_SIGNATURE, CALG_SHA1, data.data(), 5, signature), -1);
    EXPECT_EQ(SignRequestBody("No Provider", "box", AT_SIGNATURE, CALG_SHA1, data.data(), 5, signature), -1);
    EXPECT_EQ(sign(AT_SIGNATURE, 0), -2);
    EXPECT_EQ(sign(AT_KEYEXCHANGE), -4);
    EXPECT_EQ(sign(-1), -4);
}

}  // namespace
