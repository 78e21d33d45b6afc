// The check of a Firefox profile as it goes on Windows, over a Firefox in memory. Its own libraries in files and the
// real registry are in tests/browser_libraries; the database of a profile on Linux is in tests/platform.
#include "enrol/firefox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_firefox.h"
#include "tests/support/replace.h"

namespace {

using enrol::CheckCertificateInFirefox;
using platform::sys;
using platform::SystemApi;
using support::base64;
using support::Bytes;
using support::CallPlan;
using support::FakeNss;
using support::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kProduct[] = R"(SOFTWARE\Mozilla\Mozilla Firefox)";
constexpr char kMain[] = R"(SOFTWARE\Mozilla\Mozilla Firefox\3.6 (de)\Main)";
constexpr char kList[] = R"(C:\Documents and Settings\alice\Application Data\Mozilla\Firefox\profiles.ini)";

Bytes certificateOf(const std::string& subject) {
    support::CertificateParts parts;
    parts.subject = "CN=" + subject;
    return support::makeCertificate(parts);
}

class firefox_test : public testing::Test {
  protected:
    firefox_test() { firefox.nss.slot = {certificateOf("First"), certificateOf("Second"), certificateOf("Third")}; }

    std::int32_t check(const std::string& text) {
        firefox.log().clear();
        const std::int32_t code = CheckCertificateInFirefox(text.data(), text.size());
        EXPECT_TRUE(firefox.openKeys.empty()) << "a key stays open";
        EXPECT_TRUE(firefox.loaded.empty()) << "a library stays loaded";
        return code;
    }
    std::int32_t check(const Bytes& der) { return check(base64(der)); }
    std::int32_t check() { return check(certificateOf("Second")); }

    // Which libraries are asked for, and in which order they are given back.
    std::vector<std::string> freed() const { return firefox.logOf({"FreeLibrary"}); }

    // Whatever is not replaced fails the test.
    support::FailingTables tables;
    support::FakeFirefox firefox;
};

TEST_F(firefox_test, EveryCallInItsOrder) {
    EXPECT_EQ(check(), 0);
    const std::string folder = R"(C:\Documents and Settings\alice\Application Data\Mozilla\Firefox\)";
    EXPECT_THAT(
        firefox.logOf({"Reg", "GetUser", "GetPrivate", "Find", "Load", "PR_", "NSS_", "CERT_", "PK11_", "Free"}),
        ElementsAre(
            std::string("RegOpenKeyExA ") + kProduct, "RegQueryValueExA CurrentVersion (size)",
            "RegQueryValueExA CurrentVersion", std::string("RegOpenKeyExA ") + kMain,
            "RegQueryValueExA Install Directory (size)", "RegQueryValueExA Install Directory", "RegCloseKey",
            "RegCloseKey", "GetUserNameA", std::string("GetPrivateProfileStringA Profile0 Path ") + kList,
            "FindFirstFileA C:\\Firefox\\mozutils.dll", "FindClose C:\\Firefox\\mozutils.dll",
            "LoadLibraryA mozutils.dll", "LoadLibraryA nspr4.dll", "LoadLibraryA plc4.dll", "LoadLibraryA plds4.dll",
            "LoadLibraryA nssutil3.dll", "LoadLibraryA nss3.dll", "LoadLibraryA smime3.dll", "PR_Init 1 1 1",
            "NSS_Initialize " + folder + "Profiles/abc.default [] [] secmod.db 0",
            "CERT_DecodeCertFromPackage " + std::to_string(certificateOf("Second").size()), "CERT_GetDefaultCertDB",
            "PK11_GetInternalKeySlot", "PK11_ListCertsInSlot", "CERT_DestroyCertificate 1", "PK11_FreeSlot",
            "FreeLibrary smime3.dll", "FreeLibrary plc4.dll", "FreeLibrary plds4.dll", "FreeLibrary nssutil3.dll",
            "FreeLibrary nss3.dll", "FreeLibrary mozutils.dll", "FreeLibrary nspr4.dll"));
}

TEST_F(firefox_test, FunctionsAreAskedOfTheirLibraries) {
    EXPECT_EQ(check(), 0);
    std::vector<std::string> expected;
    for (const auto& [name, library] : FakeNss::functions())
        expected.push_back(std::string("GetProcAddress ").append(library).append(" ").append(name));
    EXPECT_EQ(expected.size(), 15U);
    EXPECT_THAT(firefox.logOf({"GetProcAddress"}), testing::UnorderedElementsAreArray(expected));
}

TEST_F(firefox_test, EachCertificateOfTheSlotIsFound) {
    EXPECT_EQ(check(certificateOf("First")), 0);
    EXPECT_EQ(check(certificateOf("Third")), 0);
    EXPECT_THAT(firefox.logOf({"CERT_Destroy"}), ElementsAre("CERT_DestroyCertificate 2"));
}

TEST_F(firefox_test, AnotherCertificateIsNotFound) {
    EXPECT_EQ(check(certificateOf("Fourth")), 22208321);
    EXPECT_THAT(firefox.logOf({"CERT_Destroy", "PK11_Free"}), ElementsAre("CERT_DestroyCertificate 2", "PK11_FreeSlot"))
        << "the last that was looked at";
    EXPECT_THAT(freed(), ElementsAre("FreeLibrary smime3.dll", "FreeLibrary plc4.dll", "FreeLibrary plds4.dll",
                                     "FreeLibrary nssutil3.dll", "FreeLibrary nss3.dll", "FreeLibrary mozutils.dll",
                                     "FreeLibrary nspr4.dll"))
        << "as after a check that found it";
}

TEST_F(firefox_test, NothingIsFoundInAnEmptySlot) {
    firefox.nss.slot.clear();
    EXPECT_EQ(check(), 22208321);
    EXPECT_THAT(firefox.logOf({"CERT_Destroy", "PK11_Free"}), ElementsAre("PK11_FreeSlot"));
    firefox.nss.hasList = false;
    EXPECT_EQ(check(), 22208321);
    EXPECT_THAT(firefox.logOf({"CERT_Destroy", "PK11_Free"}), ElementsAre("PK11_FreeSlot"));
}

// NSS has one structure for equal certificates; the same bytes in another one are none of the slot's.
TEST_F(firefox_test, CertificatesAreEqualByTheirArena) {
    firefox.nss.slotHasItsOwnCopies = true;
    EXPECT_EQ(check(), 22208321);
}

TEST_F(firefox_test, ANodeWithoutItsCertificateEndsTheWalk) {
    firefox.nss.slot = {certificateOf("First"), {}, certificateOf("Second")};
    EXPECT_EQ(check(certificateOf("First")), 0) << "found before";
    EXPECT_EQ(check(), 22208320);
    EXPECT_THAT(firefox.logOf({"PK11_Free"}), ElementsAre("PK11_FreeSlot"));
}

TEST_F(firefox_test, WithoutASlotNothingIsGivenBack) {
    firefox.nss.hasSlot = false;
    EXPECT_EQ(check(), 22208320);
    EXPECT_THAT(firefox.logOf({"PK11_", "CERT_Destroy"}), ElementsAre("PK11_GetInternalKeySlot"));
}

TEST_F(firefox_test, WhatIsNoCertificateIsNotDecoded) {
    for (const char* text : {"MTIz", "AAAA", "A===", "AA=A", "!!!!"}) {
        EXPECT_EQ(check(text), 22208319) << text;
        EXPECT_THAT(firefox.logOf({"PK11_", "CERT_GetDefault"}), IsEmpty());
    }
}

TEST_F(firefox_test, TheTextIsReadOnlyOnceNssRuns) {
    EXPECT_EQ(check("AAA"), 22208223);
    EXPECT_THAT(firefox.logOf({"PR_", "NSS_", "CERT_"}), testing::SizeIs(2));
    firefox.nss.starts = false;
    EXPECT_EQ(check("AAA"), 22208318);
}

TEST_F(firefox_test, WithoutAnInstallationItsKeyCannotBeOpened) {
    firefox.registry.clear();
    EXPECT_EQ(check(), 22208313);
    EXPECT_EQ(CheckCertificateInFirefox(nullptr, 0), 22208313);
    firefox.registry = {{std::string(kProduct) + "\\CurrentVersion", "3.6 (de)"}};
    EXPECT_EQ(check(), 22208313) << "a version without its key";
}

TEST_F(firefox_test, AnIncompleteRegistryCannotBeRead) {
    firefox.registry.erase(std::string(kMain) + "\\Install Directory");
    firefox.registry[std::string(kMain) + "\\PathToExe"] = "C:\\Firefox\\firefox.exe";
    EXPECT_EQ(check(), 22208314);
    firefox.registry.erase(std::string(kProduct) + "\\CurrentVersion");
    EXPECT_EQ(check(), 22208314);
}

TEST_F(firefox_test, AValueThatGrowsMeanwhileCannotBeRead) {
    firefox.toldSizes[std::string(kProduct) + "\\CurrentVersion"] = 3;
    EXPECT_EQ(check(), 22208314);
}

TEST_F(firefox_test, AValueEndsAtItsTerminator) {
    firefox.registry[std::string(kMain) + "\\Install Directory"] = std::string("C:\\Firefox\0garbage", 18);
    EXPECT_EQ(check(), 0);
    firefox.registry[std::string(kProduct) + "\\CurrentVersion"] = std::string("3.6 (de)\0", 9);
    EXPECT_EQ(check(), 0);
    firefox.registry[std::string(kProduct) + "\\CurrentVersion"] = "";
    EXPECT_EQ(check(), 22208313);
}

TEST_F(firefox_test, WithoutAUserNameThereIsNoProfile) {
    firefox.user.clear();
    EXPECT_EQ(check(), 22208315);
    EXPECT_THAT(firefox.logOf({"GetPrivate", "Load"}), IsEmpty());
}

TEST_F(firefox_test, AUserWithoutTheFirstProfileHasNone) {
    firefox.profiles.clear();
    EXPECT_EQ(check(), 22208322);
    EXPECT_THAT(firefox.logOf({"Find", "Load"}), IsEmpty());
}

TEST_F(firefox_test, LaterVersionsHaveAnotherFirstLibrary) {
    firefox.files.erase("C:\\Firefox\\mozutils.dll");
    firefox.files.insert("C:\\Firefox\\mozglue.dll");
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(firefox.logOf({"Find", "Load"}),
                ElementsAre("FindFirstFileA C:\\Firefox\\mozutils.dll", "LoadLibraryA mozglue.dll",
                            "LoadLibraryA nspr4.dll", "LoadLibraryA plc4.dll", "LoadLibraryA plds4.dll",
                            "LoadLibraryA nssutil3.dll", "LoadLibraryA nss3.dll", "LoadLibraryA smime3.dll"));
    EXPECT_THAT(freed(), ElementsAre("FreeLibrary smime3.dll", "FreeLibrary plc4.dll", "FreeLibrary plds4.dll",
                                     "FreeLibrary nssutil3.dll", "FreeLibrary nss3.dll", "FreeLibrary mozglue.dll",
                                     "FreeLibrary nspr4.dll"));
    firefox.files.insert("C:\\Firefox\\mozutils.dll");
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(firefox.logOf({"Load"}), testing::Contains("LoadLibraryA mozutils.dll"));
}

struct MissingLibrary {
    const char* name;
    std::vector<std::string> freed;
};
TEST_F(firefox_test, EachLibraryIsNeeded) {
    const MissingLibrary rows[] = {
        {"mozutils.dll", {"nspr4"}},
        {"nspr4.dll", {"mozutils"}},
        {"plc4.dll", {"nss3", "plds4", "nssutil3", "mozutils", "nspr4"}},
        {"plds4.dll", {"nss3", "plc4", "nssutil3", "mozutils", "nspr4"}},
        {"nssutil3.dll", {"nss3", "plc4", "plds4", "mozutils", "nspr4"}},
        {"nss3.dll", {"plc4", "plds4", "nssutil3", "mozutils", "nspr4"}},
        {"smime3.dll", {"nss3", "plc4", "plds4", "nssutil3", "mozutils", "nspr4"}},
    };
    for (const MissingLibrary& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = std::string("C:\\Firefox\\") + row.name;
        firefox.files.erase(path);
        EXPECT_EQ(check(), 22208316);
        std::vector<std::string> expected;
        for (const std::string& name : row.freed)
            expected.push_back("FreeLibrary " + name + ".dll");
        EXPECT_EQ(freed(), expected);
        EXPECT_THAT(firefox.logOf({"PR_", "NSS_"}), IsEmpty());
        firefox.files.insert(path);
    }
}

// Also those that are never called.
TEST_F(firefox_test, EachFunctionIsNeeded) {
    for (const auto& [name, library] : FakeNss::functions()) {
        SCOPED_TRACE(name);
        firefox.missing = {name};
        EXPECT_EQ(check(), 22208317);
        const bool isEarly = name.compare(0, 3, "PR_") == 0 || name.compare(0, 4, "NSS_") == 0;
        EXPECT_EQ(firefox.logOf({"NSS_Initialize"}).empty(), isEarly);
        EXPECT_THAT(firefox.logOf({"CERT_", "PK11_"}), IsEmpty());
        EXPECT_EQ(freed()[1], isEarly ? "FreeLibrary nss3.dll" : "FreeLibrary plc4.dll");
    }
}

TEST_F(firefox_test, NssThatDoesNotStartIsCleanedUp) {
    firefox.nss.starts = false;
    EXPECT_EQ(check(), 22208318);
    EXPECT_THAT(firefox.logOf({"PR_", "CERT_", "Free"}),
                ElementsAre("PR_Init 1 1 1", "PR_Cleanup", "FreeLibrary smime3.dll", "FreeLibrary nss3.dll",
                            "FreeLibrary plc4.dll", "FreeLibrary plds4.dll", "FreeLibrary nssutil3.dll",
                            "FreeLibrary mozutils.dll", "FreeLibrary nspr4.dll"));
}

TEST_F(firefox_test, TheSecondCheckGoesLikeTheFirst) {
    EXPECT_EQ(check(), 0);
    const std::vector<std::string> first = firefox.log();
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(firefox.log(), first);
}

TEST_F(firefox_test, TheProfilesPathIsTakenAsARelativeOne) {
    firefox.profiles[kList] = "D:\\elsewhere";
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(firefox.logOf({"NSS_Initialize"}),
                ElementsAre("NSS_Initialize C:\\Documents and Settings\\alice\\Application "
                            "Data\\Mozilla\\Firefox\\D:\\elsewhere [] [] secmod.db 0"));
}

// Long names and paths: whole or not at all, but for the profile's path, which the system cuts.
TEST_F(firefox_test, LongUserNamesAreNotCut) {
    const std::string before = "C:\\Documents and Settings\\";
    const std::string behind = R"(\Application Data\Mozilla\Firefox\profiles.ini)";
    const std::size_t longest = 259 - before.size() - behind.size();
    const auto makeUser = [&](std::size_t length) {
        firefox.user = std::string(length, 'u');
        std::string list = before;
        firefox.profiles[list.append(firefox.user).append(behind)] = "p";
    };
    makeUser(longest);
    EXPECT_EQ(check(), 0);
    for (const std::size_t length : {longest + 1, std::size_t{254}, std::size_t{255}}) {
        makeUser(length);
        EXPECT_EQ(check(), 22208322) << length;
        EXPECT_THAT(firefox.logOf({"GetPrivate"}), IsEmpty());
    }
    firefox.user = std::string(256, 'u');
    EXPECT_EQ(check(), 22208315);
}

TEST_F(firefox_test, LongInstallationPathsAreNotCut) {
    const std::string value = std::string(kMain) + "\\Install Directory";
    const auto install = [&](std::size_t length) {
        const std::string folder = "C:\\" + std::string(length - 3, 'f');
        firefox.registry[value] = folder;
        firefox.files.clear();
        for (const char* name :
             {"mozutils.dll", "nspr4.dll", "plc4.dll", "plds4.dll", "nssutil3.dll", "nss3.dll", "smime3.dll"})
            firefox.files.insert(folder + "\\" + name);
    };
    const std::size_t longest = 255 - std::string("\\nssutil3.dll").size();
    install(longest);
    EXPECT_EQ(check(), 0);
    for (const std::size_t length :
         {longest + 1, longest + 2, std::size_t{255}, std::size_t{256}, std::size_t{100000}}) {
        install(length);
        EXPECT_EQ(check(), 22208316) << length;
        EXPECT_THAT(firefox.logOf({"Find", "Load"}), IsEmpty());
    }
}

TEST_F(firefox_test, LongProfilePathsAreCutByTheSystem) {
    firefox.profiles[kList] = std::string(300, 'p');
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(firefox.logOf({"NSS_Initialize"}),
                ElementsAre("NSS_Initialize C:\\Documents and Settings\\alice\\Application Data\\Mozilla\\Firefox\\" +
                            std::string(259, 'p') + " [] [] secmod.db 0"));
}

TEST_F(firefox_test, LongVersionsOpenTheirKey) {
    const std::string version(5000, 'v');
    firefox.registry = {{std::string(kProduct) + "\\CurrentVersion", version},
                        {std::string(kProduct) + "\\" + version + "\\Main\\Install Directory", "C:\\Firefox"}};
    EXPECT_EQ(check(), 0);
}

// A text that the registry does not have the memory for.
TEST_F(firefox_test, ValuesOfAnImpossibleSizeExhaustMemory) {
    if (sizeof(std::size_t) > 4)
        return;
    for (const DWORD size : {0x7FFFFFFFU, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        firefox.toldSizes[std::string(kProduct) + "\\CurrentVersion"] = size;
        EXPECT_EQ(check(), 22018203) << size;
    }
}

TEST_F(firefox_test, EachCallThatFailsHasItsCode) {
    struct Row {
        const char* entry;
        int occurrence;
        std::int32_t code;
    };
    const Row rows[] = {
        {"RegOpenKeyExA", 1, 22208313},
        {"RegQueryValueExA", 1, 22208314},
        {"RegQueryValueExA", 2, 22208314},
        {"RegOpenKeyExA", 2, 22208313},
        {"RegQueryValueExA", 3, 22208314},
        {"RegQueryValueExA", 4, 22208314},
        {"RegCloseKey", 1, 0},
        {"RegCloseKey", 2, 0},
        {"GetUserNameA", 1, 22208315},
        {"GetPrivateProfileStringA", 1, 22208322},
        {"FindFirstFileA", 1, 22208316},
        {"FindClose", 1, 0},
        {"LoadLibraryA", 1, 22208316},
        {"LoadLibraryA", 7, 22208316},
        {"GetProcAddress", 1, 22208317},
        {"GetProcAddress", 15, 22208317},
        {"FreeLibrary", 1, 0},
        {"FreeLibrary", 7, 0},
    };
    const Replaced<&SystemApi::SetLastError> setLastError([](DWORD) {});
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.entry) + " " + std::to_string(row.occurrence));
        CallPlan calls;
        calls.failCall(row.entry, row.occurrence);
        EXPECT_EQ(check(), row.code);
        EXPECT_NE(calls.failed(), "");
        EXPECT_EQ(calls.openHandles(), "");
    }
}

// A text that the platform hands over without its end.
TEST_F(firefox_test, TextsWithoutAnEndAreEnded) {
    {
        const Replaced<&SystemApi::GetUserNameA> userName([](LPSTR name, const DWORD* size) {
            std::fill_n(name, *size, 'u');
            return TRUE;
        });
        EXPECT_EQ(check(), 22208322);
    }
    firefox.user = "u";
    const Replaced<&SystemApi::GetPrivateProfileStringA> profileString(
        [](LPCSTR, LPCSTR, LPCSTR, LPSTR value, DWORD capacity, LPCSTR) {
            std::fill_n(value, capacity, 'p');
            return capacity;
        });
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(firefox.logOf({"NSS_Initialize"}),
                ElementsAre("NSS_Initialize C:\\Documents and Settings\\u\\Application Data\\Mozilla\\Firefox\\" +
                            std::string(259, 'p') + " [] [] secmod.db 0"));
}

TEST_F(firefox_test, EachStepCanBeTakenAlone) {
    enrol::HeapText directory(new char[1]());
    EXPECT_EQ(enrol::FindFirefoxInstallDir(directory), 0);
    EXPECT_STREQ(directory.get(), "C:\\Firefox");
    const std::string text = base64(certificateOf("First"));
    EXPECT_EQ(enrol::CheckInProfile(directory.get(), text.data(), text.size()), 0);
    EXPECT_EQ(enrol::CheckInProfile("", text.data(), text.size()), 22208316);

    HMODULE nss = sys().LoadLibraryA("C:\\Firefox\\nss3.dll");
    HMODULE smime = sys().LoadLibraryA("C:\\Firefox\\smime3.dll");
    EXPECT_EQ(enrol::FindCertificateInSlot(nss, smime, text.data(), text.size()), 0);
    EXPECT_EQ(enrol::FindCertificateInSlot(smime, nss, text.data(), text.size()), 22208317);

    firefox.registry.clear();
    EXPECT_EQ(enrol::FindFirefoxInstallDir(directory), 22208313);
    EXPECT_EQ(directory, nullptr);
}

}  // namespace
