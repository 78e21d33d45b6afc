// The check of a Firefox profile against the system itself: the registry, the user's profile list, and libraries in
// files, whose functions are those of FakeNss.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "enrol/enrol.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_nss.h"

namespace {

namespace fs = std::filesystem;

using enrol::CheckCertificateInFirefox;
using support::Bytes;
using support::FakeNss;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kProduct[] = "SOFTWARE\\Mozilla\\Mozilla Firefox";
constexpr char kVersion[] = "SOFTWARE\\Mozilla\\Mozilla Firefox\\3.6\\Main";

void note(const char* event, const char* library) {
    FakeNss::current->log.push_back(std::string(event) + " " + library);
}
FakeNss::Function findFunction(const char* name) {
    return FakeNss::find(name);
}
// What the libraries look for.
struct Hooks {
    FakeNss::Function (*find)(const char* name);
    void (*note)(const char* event, const char* library);
};
const Hooks kHooks = {findFunction, note};

// The folder of this program, beside which the libraries were built.
fs::path programFolder() {
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, sizeof path);
    return fs::path(path).parent_path();
}

void setText(const char* key, const char* name, const std::string& value) {
    HKEY handle = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, key, 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr), 0);
    EXPECT_EQ(RegSetValueExA(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>(value.size() + 1)),
              0);
    RegCloseKey(handle);
}

void removeText(const char* key, const char* name) {
    HKEY handle = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_WRITE, &handle), 0);
    EXPECT_EQ(RegDeleteValueA(handle, name), 0);
    RegCloseKey(handle);
}

std::string profilesFolder() {
    char user[256] = {};
    DWORD size = sizeof user;
    EXPECT_TRUE(GetUserNameA(user, &size));
    return std::string("C:\\Documents and Settings\\") + user + "\\Application Data\\Mozilla\\Firefox\\";
}

class firefox_libraries_test : public testing::Test {
  protected:
    firefox_libraries_test() {
        fs::create_directories(folder_);
        for (const char* name : {"mozutils", "plc4", "plds4", "nssutil3"})
            place("plain", name);
        place("nspr", "nspr4");
        place("nss", "nss3");
        place("smime", "smime3");
        setText(kProduct, "CurrentVersion", "3.6");
        setText(kVersion, "Install Directory", folder_.string());
        fs::create_directories(profiles_);
        writeList("[Profile0]\r\nName=default\r\nIsRelative=1\r\nPath=Profiles/abc.default\r\n");
        char address[32];
        (void)std::snprintf(address, sizeof address, "%lx",
                            static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(&kHooks)));
        SetEnvironmentVariableA("VT_FAKE_NSS", address);
        nss.slot = {certificateOf("First"), certificateOf("Second")};
    }
    ~firefox_libraries_test() override {
        SetEnvironmentVariableA("VT_FAKE_NSS", nullptr);
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProduct);
        std::error_code error;
        fs::remove_all("C:\\Documents and Settings", error);
        fs::remove_all(folder_, error);
    }

    static Bytes certificateOf(const std::string& subject) {
        support::CertificateParts parts;
        parts.subject = "CN=" + subject;
        return support::makeCertificate(parts);
    }

    void place(const std::string& built, const std::string& name) const {
        fs::copy_file(programFolder() / ("vt_browser_" + built + ".dll"), folder_ / (name + ".dll"),
                      fs::copy_options::overwrite_existing);
    }
    void remove(const std::string& name) const { fs::remove(folder_ / name); }

    // Takes an export away by giving it another name, whose place in the order is the same.
    void hideExport(const std::string& library, const std::string& function) const {
        std::ifstream in(folder_ / library, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        in.close();
        const std::string name = '\0' + function + '\0';
        ASSERT_NE(bytes.find(name), std::string::npos) << function;
        for (std::size_t at = 0; (at = bytes.find(name, at)) != std::string::npos;)
            --bytes[at + name.size() - 2];
        std::ofstream(folder_ / library, std::ios::binary) << bytes;
    }

    void writeList(const std::string& content) const {
        std::ofstream(profiles_ + "profiles.ini", std::ios::binary) << content;
    }

    std::int32_t check(const std::string& text) {
        nss.log.clear();
        const std::int32_t code = CheckCertificateInFirefox(text.data(), text.size());
        EXPECT_EQ(logOf("load").size(), logOf("free").size());
        return code;
    }
    std::int32_t check(const Bytes& der) { return check(support::base64(der)); }
    std::int32_t check() { return check(certificateOf("Second")); }

    std::vector<std::string> logOf(const std::string& word) const {
        std::vector<std::string> found;
        std::copy_if(nss.log.begin(), nss.log.end(), std::back_inserter(found),
                     [&](const std::string& call) { return call.compare(0, word.size(), word) == 0; });
        return found;
    }

    fs::path folder_ = fs::temp_directory_path() / "vt firefox";
    std::string profiles_ = profilesFolder();
    FakeNss nss;
};

TEST_F(firefox_libraries_test, EveryCallInItsOrder) {
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(nss.log, ElementsAre("load mozutils.dll", "load nspr4.dll", "load plc4.dll", "load plds4.dll",
                                     "load nssutil3.dll", "load nss3.dll", "load smime3.dll", "PR_Init 1 1 1",
                                     "NSS_Initialize " + profiles_ + "Profiles/abc.default [] [] secmod.db 0",
                                     "CERT_DecodeCertFromPackage " + std::to_string(certificateOf("Second").size()),
                                     "CERT_GetDefaultCertDB", "PK11_GetInternalKeySlot", "PK11_ListCertsInSlot",
                                     "CERT_DestroyCertificate 1", "PK11_FreeSlot", "free smime3.dll", "free plc4.dll",
                                     "free plds4.dll", "free nssutil3.dll", "free nss3.dll", "free mozutils.dll",
                                     "free nspr4.dll"));
    const std::vector<std::string> first = nss.log;
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(nss.log, first) << "the second check goes like the first";
}

TEST_F(firefox_libraries_test, WhatNssSaysBecomesACode) {
    EXPECT_EQ(check(certificateOf("Third")), 22208321);
    EXPECT_EQ(check("AAAA"), 22208319);
    EXPECT_EQ(check("AAA"), 22208223);
    nss.slot = {{}};
    EXPECT_EQ(check(), 22208320);
    nss.hasSlot = false;
    EXPECT_EQ(check(), 22208320);
    nss.starts = false;
    EXPECT_EQ(check(), 22208318);
    EXPECT_THAT(logOf("PR_"), ElementsAre("PR_Init 1 1 1", "PR_Cleanup"));
    EXPECT_THAT(logOf("free"), ElementsAre("free smime3.dll", "free nss3.dll", "free plc4.dll", "free plds4.dll",
                                           "free nssutil3.dll", "free mozutils.dll", "free nspr4.dll"));
}

TEST_F(firefox_libraries_test, LaterVersionsHaveAnotherFirstLibrary) {
    remove("mozutils.dll");
    EXPECT_EQ(check(), 22208316);
    place("plain", "mozglue");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(logOf("load").front(), "load mozglue.dll");
    EXPECT_EQ(logOf("free")[5], "free mozglue.dll");
    place("plain", "mozutils");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(logOf("load").front(), "load mozutils.dll");
}

TEST_F(firefox_libraries_test, EachLibraryIsNeeded) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> rows = {
        {"mozutils", {"nspr4"}},
        {"nspr4", {"mozutils"}},
        {"plc4", {"nss3", "plds4", "nssutil3", "mozutils", "nspr4"}},
        {"plds4", {"nss3", "plc4", "nssutil3", "mozutils", "nspr4"}},
        {"nssutil3", {"nss3", "plc4", "plds4", "mozutils", "nspr4"}},
        {"nss3", {"plc4", "plds4", "nssutil3", "mozutils", "nspr4"}},
        {"smime3", {"nss3", "plc4", "plds4", "nssutil3", "mozutils", "nspr4"}},
    };
    for (const auto& [missing, freed] : rows) {
        SCOPED_TRACE(missing);
        fs::rename(folder_ / (missing + ".dll"), folder_ / "away");
        EXPECT_EQ(check(), 22208316);
        std::vector<std::string> expected;
        for (const std::string& name : freed)
            expected.push_back("free " + name + ".dll");
        EXPECT_THAT(logOf("free"), ElementsAreArray(expected));
        fs::rename(folder_ / "away", folder_ / (missing + ".dll"));
    }
    std::ofstream(folder_ / "plds4.dll", std::ios::binary | std::ios::trunc) << "MZ is no library";
    EXPECT_EQ(check(), 22208316);
}

// Also those that are never called.
TEST_F(firefox_libraries_test, EachFunctionIsNeeded) {
    for (const auto& [function, library] : FakeNss::functions()) {
        SCOPED_TRACE(function);
        hideExport(library, function);
        EXPECT_EQ(check(), 22208317);
        EXPECT_EQ(logOf("load").size(), 7U);
        EXPECT_THAT(logOf("CERT_"), IsEmpty());
        place(library.substr(0, library.find_first_of("34")), library.substr(0, library.find('.')));
        EXPECT_EQ(check(), 0);
    }
}

TEST_F(firefox_libraries_test, TheRegistryLeadsToTheInstallation) {
    removeText(kVersion, "Install Directory");
    EXPECT_EQ(check(), 22208314);
    setText(kVersion, "Install Directory", folder_.string() + std::string(300, 'x'));
    EXPECT_EQ(check(), 22208316);
    setText(kVersion, "Install Directory", "");
    EXPECT_EQ(check(), 22208316);
    setText(kProduct, "CurrentVersion", "4.0");
    EXPECT_EQ(check(), 22208313);
    removeText(kProduct, "CurrentVersion");
    EXPECT_EQ(check(), 22208314);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProduct);
    EXPECT_EQ(check(), 22208313);
    EXPECT_THAT(nss.log, IsEmpty());
}

TEST_F(firefox_libraries_test, TheProfileIsTheFirstOfTheList) {
    writeList("[Profile1]\r\nDefault=1\r\nPath=Profiles/other\r\n[Profile0]\r\nPath=Profiles/first\r\n");
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(logOf("NSS_"), ElementsAre("NSS_Initialize " + profiles_ + "Profiles/first [] [] secmod.db 0"));
    writeList("[Profile1]\r\nDefault=1\r\nPath=Profiles/other\r\n");
    EXPECT_EQ(check(), 22208322);
    writeList("[Profile0]\r\nPath=" + std::string(400, 'p') + "\r\n");
    EXPECT_EQ(check(), 0);
    EXPECT_THAT(logOf("NSS_"),
                ElementsAre("NSS_Initialize " + profiles_ + std::string(259, 'p') + " [] [] secmod.db 0"));
    fs::remove(profiles_ + "profiles.ini");
    EXPECT_EQ(check(), 22208322);
    EXPECT_THAT(nss.log, IsEmpty());
}

// As they run in the browser, without a test behind them: the slot holds the profile's "certificate.der".
TEST_F(firefox_libraries_test, TheLibrariesAnswerAloneAsWell) {
    SetEnvironmentVariableA("VT_FAKE_NSS", nullptr);
    EXPECT_EQ(check(), 22208318);
    fs::create_directories(profiles_ + "Profiles/abc.default");
    const Bytes der = certificateOf("Second");
    std::ofstream(profiles_ + "Profiles/abc.default/certificate.der", std::ios::binary)
        << std::string(der.begin(), der.end());
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(check(certificateOf("First")), 22208321);
}

}  // namespace
