#include "enrol/install_steps.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/fake_system_api.h"
#include "tests/support/hex.h"

namespace {

using enrol::BerOutput;
using enrol::CertBytes;
using enrol::ContainerName;
using enrol::decodeCertificateText;
using enrol::InstallFailure;
using enrol::openReader;
using enrol::takeWaitingContainer;
using support::Bytes;
using support::FakeSystemApi;
using support::hex;

TEST(install_steps_test, TextIsDecodedIntoSharedBytes) {
    const std::string text = "AQID\r\nBAU=";
    const CertBytes bytes = decodeCertificateText(text.data(), text.size());
    EXPECT_EQ(*bytes, hex("01 02 03 04 05"));
    CertBytes other = bytes;
    EXPECT_EQ(bytes.use_count(), 2);
    EXPECT_EQ(other->data(), bytes->data());
    other.reset();
    EXPECT_EQ(bytes.use_count(), 1);
}

TEST(install_steps_test, PartialGroupIsABadText) {
    try {
        decodeCertificateText("AQIDB", 5);
        FAIL() << "decoded";
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure.reason, 8223);
        // "BASE64 " and four characters, by python3: '解码失败'.encode('utf-8').hex()
        const std::string message = failure.message;
        EXPECT_EQ(Bytes(message.begin(), message.end()), hex("42 41 53 45 36 34 20 e8a7a3 e7a081 e5a4b1 e8b4a5"));
    }
}

TEST(install_steps_test, ReaderOfNothingIsValid) {
    BerOutput<std::uint8_t> element;
    EXPECT_EQ(BerReaderScanf(openReader(nullptr, 0).get(), "$", &element.data, &element.size), -2);
    EXPECT_EQ(element.data, nullptr);
}

TEST(install_steps_test, MarkerGivesTheContainerAndIsGone) {
    const FakeSystemApi system;
    system.writeMarker("01234567-89AB-cdef-FEDC-BA9876543210");
    ContainerName container = {};
    EXPECT_EQ(takeWaitingContainer("provider", 1, container), 0);
    EXPECT_STREQ(container, "01234567-89AB-cdef-FEDC-BA9876543210");
    EXPECT_EQ(system.marker(), "(none)");
}

TEST(install_steps_test, MissingMarkerComesBeforeTheArguments) {
    const FakeSystemApi system;
    ContainerName container = {};
    EXPECT_EQ(takeWaitingContainer(nullptr, 0, container), 22038309);
    EXPECT_EQ(takeWaitingContainer("provider", 1, container), 22038309);
}

TEST(install_steps_test, EmptyMarkerCannotBeReadAndIsGone) {
    const FakeSystemApi system;
    system.writeMarker("");
    ContainerName container = {};
    EXPECT_EQ(takeWaitingContainer("provider", 1, container), 22038309);
    EXPECT_EQ(system.marker(), "(none)");
}

TEST(install_steps_test, ArgumentsAreLookedAtWhenTheMarkerIsGone) {
    const FakeSystemApi system;
    ContainerName container = {};
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        system.writeMarker("name");
        EXPECT_EQ(takeWaitingContainer(none, 0, container), 22068201);
        EXPECT_EQ(system.marker(), "(none)");
    }
    system.writeMarker("name");
    EXPECT_EQ(takeWaitingContainer("provider", 0, container), 22068204);
    EXPECT_EQ(system.marker(), "(none)");
}

TEST(install_steps_test, MarkerOf128BytesAndMoreIsEnded) {
    const FakeSystemApi system;
    system.writeMarker(std::string(300, 'n'));
    ContainerName container = {};
    EXPECT_EQ(takeWaitingContainer("provider", 1, container), 0);
    EXPECT_EQ(std::string(container), std::string(128, 'n'));
}

}  // namespace
