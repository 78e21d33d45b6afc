#include "enrol/container.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/support/call_plan.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_system_api.h"

namespace {

using enrol::ContainerName;

class container_test : public testing::Test {
  protected:
    support::FailingTables tables;
    support::FakeSystemApi system;
    support::CallPlan calls;
};

void setName(ContainerName& name, const std::string& text) {
    std::memset(name, 0, sizeof(name));
    std::memcpy(name, text.data(), text.size());
}

std::string printedBy(void (*operation)()) {
    testing::internal::CaptureStdout();
    operation();
    (void)std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

void readIt() {
    ContainerName name;
    enrol::ReadContainerMarker(name);
}

TEST_F(container_test, TheNameIsTheGuidWithItsThirdGroupInLowerCase) {
    system.guid = {0xABCDEF01, 0xABCD, 0xABCD, {0xAB, 0xCD, 0xEF, 0xAB, 0xCD, 0xEF, 0x0A, 0xBC}};
    ContainerName name;
    std::memset(name, '#', sizeof(name));
    enrol::GenerateContainerName(name);
    EXPECT_STREQ(name, "ABCDEF01-ABCD-abcd-ABCD-EFABCDEF0ABC");
    for (std::size_t i = 36; i < sizeof(name); ++i)
        ASSERT_EQ(name[i], '\0') << i;
}

TEST_F(container_test, EachGroupKeepsItsLeadingZeros) {
    system.guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    ContainerName name;
    enrol::GenerateContainerName(name);
    EXPECT_STREQ(name, "00000001-0002-0003-0405-060708090A0B");
}

TEST_F(container_test, ThrowsWhenNoGuidCanBeHad) {
    calls.failCall("CoCreateGuid");
    ContainerName name;
    try {
        enrol::GenerateContainerName(name);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "can not create a random name!");
    }
}

TEST_F(container_test, TheMarkerHoldsTheNamesBytesAlone) {
    ContainerName name;
    setName(name, "01234567-89AB-cdef-FEDC-BA9876543210");
    EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
    EXPECT_EQ(system.marker(), "01234567-89AB-cdef-FEDC-BA9876543210");
}

TEST_F(container_test, TheMarkerLiesBelowHomeDriveAndHomePath) {
    const std::string home = system.home();
    system.environment = {{"HOMEDRIVE", home.substr(0, 2)}, {"HOMEPATH", home.substr(2)}};
    ContainerName name;
    setName(name, "name");
    EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
    EXPECT_EQ(system.marker(), "name");
}

TEST_F(container_test, ASecondRequestReplacesTheMarker) {
    system.writeMarker("a longer text of an earlier request");
    ContainerName name;
    setName(name, "second");
    EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
    EXPECT_EQ(system.marker(), "second");
}

TEST_F(container_test, AnEmptyNameWritesNothing) {
    ContainerName name;
    setName(name, "");
    EXPECT_EQ(enrol::WriteContainerMarker(name), -2);
}

TEST_F(container_test, AMissingFolderIsAFileThatCannotBeCreated) {
    system.environment["HOMEPATH"] = system.home() + "/missing";
    ContainerName name;
    setName(name, "name");
    EXPECT_EQ(enrol::WriteContainerMarker(name), -1);
    EXPECT_EQ(enrol::ReadContainerMarker(name), -1);
}

#if !defined(_WIN32)
TEST_F(container_test, AFullDiskIsNoticed) {
    std::filesystem::create_symlink("/dev/full", system.markerPath());
    ContainerName name;
    setName(name, "name");
    EXPECT_EQ(enrol::WriteContainerMarker(name), -2);
}
#endif

TEST_F(container_test, ReadsWhatWasWritten) {
    ContainerName name;
    setName(name, "01234567-89AB-cdef-FEDC-BA9876543210");
    ASSERT_EQ(enrol::WriteContainerMarker(name), 0);
    ContainerName read;
    std::memset(read, '#', sizeof(read));
    EXPECT_EQ(enrol::ReadContainerMarker(read), 0);
    EXPECT_EQ(std::memcmp(read, name, sizeof(name)), 0);
}

TEST_F(container_test, AMissingMarkerCannotBeOpened) {
    ContainerName name;
    std::memset(name, '#', sizeof(name));
    EXPECT_EQ(enrol::ReadContainerMarker(name), -1);
    EXPECT_STREQ(name, "");
}

TEST_F(container_test, AnEmptyMarkerIsNoName) {
    system.writeMarker("");
    ContainerName name;
    EXPECT_EQ(enrol::ReadContainerMarker(name), -2);
}

TEST_F(container_test, OfALongMarkerTheFirst128BytesCount) {
    for (const std::size_t length : {127U, 128U, 129U, 1000U}) {
        system.writeMarker(std::string(length, 'x') + "end");
        ContainerName name;
        std::memset(name, '#', sizeof(name));
        EXPECT_EQ(enrol::ReadContainerMarker(name), 0);
        EXPECT_EQ(std::string(name), (std::string(length, 'x') + "end").substr(0, 128)) << length;
    }
}

TEST_F(container_test, DeletesTheMarker) {
    system.writeMarker("name");
    enrol::DeleteContainerMarker();
    EXPECT_EQ(system.marker(), "(none)");
    EXPECT_EQ(calls.count("DeleteFileA"), 1);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(container_test, DeletingAMissingMarkerPassesSilently) {
    enrol::DeleteContainerMarker();
    EXPECT_EQ(calls.count("FindFirstFileA"), 1);
    EXPECT_EQ(calls.count("DeleteFileA"), 0);
    EXPECT_EQ(calls.count("FindClose"), 0);
}

TEST_F(container_test, ReadAndDeletePrintBothExpansionsAndWriteDoesNot) {
    const std::string expected = "  \n  " + system.home() + "\n";
    EXPECT_EQ(printedBy(readIt), expected);
    EXPECT_EQ(printedBy(enrol::DeleteContainerMarker), expected);
    EXPECT_EQ(printedBy([] {
                  ContainerName name;
                  setName(name, "name");
                  enrol::WriteContainerMarker(name);
              }),
              "");
}

// 1024 bytes with the NUL fit and are printed, though no path can be made of them.
TEST_F(container_test, AnExpansionThatDoesNotFitIsNotPrinted) {
    const std::string longest(1023, 'h');
    system.environment = {{"HOMEDRIVE", "D:"}, {"HOMEPATH", longest}};
    EXPECT_EQ(printedBy(readIt), "  D:\n  " + longest + "\n");
    EXPECT_EQ(printedBy(enrol::DeleteContainerMarker), "  D:\n  " + longest + "\n");
    system.environment["HOMEPATH"] = longest + "h";
    EXPECT_EQ(printedBy(readIt), "  D:\n");
    system.environment = {{"HOMEDRIVE", longest + "h"}, {"HOMEPATH", "p"}};
    EXPECT_EQ(printedBy(enrol::DeleteContainerMarker), "  p\n");
}

TEST_F(container_test, APathOf256BytesOrMoreCannotBeOpened) {
    // Folder, separator, 31 characters of the file's name, NUL: 256 bytes.
    const std::size_t longest = 256 - 1 - 31 - 1;
    std::string home = system.home();
    while (home.size() + 60 < longest)
        home += "/" + std::string(49, 'd');
    home += "/" + std::string(longest - home.size() - 1, 'e');
    ASSERT_EQ(home.size(), longest);
    std::filesystem::create_directories(home);
    std::filesystem::create_directories(home + "f");
    ContainerName name;
    setName(name, "name");

    system.environment["HOMEPATH"] = home;
    EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
    EXPECT_EQ(enrol::ReadContainerMarker(name), 0);

    system.environment["HOMEPATH"] = home + "f";
    EXPECT_EQ(enrol::WriteContainerMarker(name), -1);
    EXPECT_EQ(enrol::ReadContainerMarker(name), -1);
    enrol::DeleteContainerMarker();
    EXPECT_EQ(calls.count("FindFirstFileA"), 0);
}

TEST_F(container_test, AHomeThatCannotBeExpandedCannotBeOpened) {
    ContainerName name;
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        setName(name, "name");
        calls.failCall("ExpandEnvironmentStringsA", occurrence);
        EXPECT_EQ(enrol::WriteContainerMarker(name), -1);
        calls.failCall("ExpandEnvironmentStringsA", occurrence);
        EXPECT_EQ(enrol::ReadContainerMarker(name), -1);
    }
    EXPECT_EQ(system.marker(), "(none)");
}

}  // namespace
