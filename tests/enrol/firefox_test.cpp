#include "enrol/firefox.h"

#include <gtest/gtest.h>

#include "tests/support/failing_tables.h"

namespace {

TEST(firefox_test, WithoutAnInstallationItsKeyCannotBeOpened) {
    const support::FailingTables tables;
    EXPECT_EQ(enrol::CheckCertificateInFirefox("AAAA", 4), 22208313);
    EXPECT_EQ(enrol::CheckCertificateInFirefox(nullptr, 0), 22208313);
}

}  // namespace
