// The user's Firefox on Linux: installations made of files, and profiles made by NSS's own tools.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "platform/nss/firefox.h"
#include "tests/platform/nss_fixture.h"
#include "tests/support/own_process.h"

using namespace nss_test;
using platform::firefoxApi;
using support::tool;
using support::ToolResult;

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::Not;

void run(const std::string& command) {
    const ToolResult result = tool(command);
    ASSERT_EQ(result.status, 0) << command << "\n" << result.output;
}

// Which files of NSS are in the process.
std::string mappedFiles() {
    return textOf(readFile("/proc/self/maps"));
}

class nss_firefox_test : public NssTest {
  protected:
    nss_firefox_test() { fs::create_directories(profile_); }

    // A certificate by openssl, as a file in the home.
    Bytes makeCertificate(const std::string& name) const {
        run("cd " + home_.path() + " && openssl req -x509 -newkey rsa:1024 -nodes -keyout key.pem -subj '/CN=" + name +
            "' -days 30 -outform DER -out " + name + ".der");
        return readFile(home_.file(name + ".der"));
    }
    // A profile as Firefox has it, with that certificate in it.
    void makeProfile(const std::string& nickname, const std::string& kind = "sql:") const {
        run("certutil -N --empty-password -d " + kind + profile_);
        add(nickname, kind + profile_);
    }
    void add(const std::string& nickname, const std::string& database) const {
        run("certutil -A -n " + nickname + " -t ,, -i " + home_.file(nickname + ".der") + " -d " + database);
    }

    // check gives the last error, 0 for a certificate that was found.
    static DWORD check(const std::string& folder, const Bytes& certificate, const std::string& installation = "/none") {
        sys().SetLastError(0);
        if (firefoxApi().LoadNss(installation.c_str()) == FALSE)
            return sys().GetLastError();
        HANDLE profile = firefoxApi().OpenProfile(folder.c_str());
        if (profile == nullptr)
            return sys().GetLastError();
        const DWORD error = errorOf([&] {
            return firefoxApi().FindCertificate(profile, certificate.data(), static_cast<DWORD>(certificate.size()));
        });
        EXPECT_TRUE(firefoxApi().CloseProfile(profile));
        return error;
    }
    DWORD check(const Bytes& certificate) const { return check(profile_, certificate); }

    // What the folder of the profile holds, by name and bytes.
    std::string profileFiles() const {
        std::string all;
        for (const auto& entry : fs::directory_iterator(profile_))
            all += entry.path().string() + "\n" + textOf(readFile(entry.path())) + "\n";
        return all;
    }

    std::string profile_ = home_.path() + "/.mozilla/firefox/abc.default";
};

TEST_F(nss_firefox_test, CertificatesOfTheProfileAreFound) {
    const Bytes in = makeCertificate("in");
    const Bytes out = makeCertificate("out");
    makeProfile("in");
    const std::string before = profileFiles();
    EXPECT_EQ(check(in), 0U);
    EXPECT_EQ(check(out), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(check(in), 0U) << "the second time as the first";
    add("out", "sql:" + profile_);
    EXPECT_EQ(check(out), 0U) << "what was added meanwhile";
    run("certutil -D -n out -d sql:" + profile_);
    EXPECT_EQ(check(out), CRYPT_E_NOT_FOUND) << "what is gone again";
    run("certutil -A -n out -t ,, -i " + home_.file("out.der") + " -d sql:" + profile_ +
        " && certutil -D -n in -d sql:" + profile_);
    EXPECT_EQ(check(in), CRYPT_E_NOT_FOUND);
    EXPECT_NE(profileFiles(), before);
}

TEST_F(nss_firefox_test, AProfileIsOnlyRead) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    const std::string before = profileFiles();
    EXPECT_EQ(check(in), 0U);
    EXPECT_EQ(check(makeCertificate("out")), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(profileFiles(), before);
}

TEST_F(nss_firefox_test, AProfileWithoutCertificatesHasNone) {
    const Bytes certificate = makeCertificate("any");
    run("certutil -N --empty-password -d sql:" + profile_);
    EXPECT_EQ(check(certificate), CRYPT_E_NOT_FOUND);
}

// NSS trusts it as a root, by a module of the profile, and the profile's own slot has it not.
TEST_F(nss_firefox_test, ATrustedRootIsNoneOfTheProfiles) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    void* roots = dlopen("libnssckbi.so", RTLD_NOW);
    ASSERT_NE(roots, nullptr) << dlerror();
    dlclose(roots);
    run("modutil -force -dbdir sql:" + profile_ + " -add Roots -libfile libnssckbi.so");
    const ToolResult all = tool("certutil -L -h all -d sql:" + profile_);
    const std::size_t at = all.output.find("Builtin Object Token:");
    ASSERT_NE(at, std::string::npos) << all.output;
    const std::string line = all.output.substr(at, all.output.find('\n', at) - at);
    const std::string nickname = line.substr(0, line.find("  "));
    run("certutil -L -n '" + nickname + "' -r -d sql:" + profile_ + " > " + home_.file("root.der"));
    const Bytes root = readFile(home_.file("root.der"));
    ASSERT_GT(root.size(), 300U);
    EXPECT_EQ(check(root), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(check(in), 0U);
    // Also when the user's database has brought the roots into the process.
    run("mkdir -p " + home_.path() + "/.pki/nssdb && certutil -N --empty-password -d " + home_.database() +
        " && modutil -force -dbdir " + home_.database() + " -add Roots -libfile libnssckbi.so");
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
    EXPECT_THAT(mappedFiles(), HasSubstr("libnssckbi"));
    EXPECT_EQ(check(root), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(check(in), 0U);
}

// A certificate that only another token of the process has, the user's database.
TEST_F(nss_firefox_test, TheUsersDatabaseIsNotTheProfile) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    const Bytes out = makeCertificate("out");
    makeProfile("in");
    run("mkdir -p " + home_.path() + "/.pki/nssdb && certutil -N --empty-password -d " + home_.database());
    add("out", home_.database());
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
    EXPECT_EQ(check(out), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(check(in), 0U);
}

TEST_F(nss_firefox_test, APrimaryPasswordIsNotAskedFor) {
    const Bytes in = makeCertificate("in");
    home_.file("password", "secret\n");
    run("certutil -N -f " + home_.path() + "/password -d sql:" + profile_);
    home_.script("ask", "touch " + home_.path() + "/asked; echo secret");
    setenv("SSH_ASKPASS", (home_.path() + "/ask").c_str(), 1);
    run("certutil -A -n in -t ,, -f " + home_.path() + "/password -i " + home_.file("in.der") + " -d sql:" + profile_);
    EXPECT_EQ(check(in), 0U);
    EXPECT_EQ(check(makeCertificate("out")), CRYPT_E_NOT_FOUND);
    EXPECT_FALSE(fs::exists(home_.path() + "/asked"));
}

// Firefox before 2018.
TEST_F(nss_firefox_test, AnOldProfileIsRead) {
    const Bytes in = makeCertificate("in");
    makeProfile("in", "dbm:");
    ASSERT_TRUE(fs::exists(profile_ + "/cert8.db"));
    EXPECT_EQ(check(in), 0U);
    EXPECT_EQ(check(makeCertificate("out")), CRYPT_E_NOT_FOUND);
}

TEST_F(nss_firefox_test, WithoutADatabaseTheProfileDoesNotOpen) {
    const Bytes any = makeCertificate("any");
    EXPECT_EQ(check(any), NTE_FAIL);
    EXPECT_TRUE(fs::is_empty(profile_)) << "none is made";
    EXPECT_EQ(check(profile_ + "/nowhere", any), NTE_FAIL);
    EXPECT_EQ(check("", any), NTE_FAIL);
    for (const std::string& content : {std::string("no database"), std::string(5000, '\0'), std::string()}) {
        std::ofstream(profile_ + "/cert9.db", std::ios::binary) << content;
        EXPECT_THAT(check(any), testing::AnyOf(NTE_FAIL, CRYPT_E_NOT_FOUND)) << content.size();
    }
}

TEST_F(nss_firefox_test, ADatabaseThatIsCutIsNotFollowed) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    const Bytes whole = readFile(profile_ + "/cert9.db");
    for (std::size_t length = 0; length < whole.size(); length += 1777) {
        std::ofstream(profile_ + "/cert9.db", std::ios::binary | std::ios::trunc) << textOf(whole).substr(0, length);
        EXPECT_THAT(check(in), testing::AnyOf(0U, NTE_FAIL, CRYPT_E_NOT_FOUND)) << length;
    }
}

TEST_F(nss_firefox_test, CertificatesAreTakenInEveryFormThatNssReads) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    run("cd " + home_.path() +
        " && openssl x509 -inform DER -in in.der -out in.pem && openssl crl2pkcs7 -nocrl "
        "-certfile in.pem -outform DER -out in.p7 && openssl req -new -key key.pem -subj /CN=x -outform DER -out "
        "req.der");
    EXPECT_EQ(check(readFile(home_.file("in.pem"))), 0U);
    EXPECT_EQ(check(readFile(home_.file("in.p7"))), 0U);
    EXPECT_EQ(check(readFile(home_.file("req.der"))), CRYPT_E_ASN1_CORRUPT);
}

TEST_F(nss_firefox_test, WhatIsNoCertificateIsTold) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    EXPECT_EQ(check(Bytes()), CRYPT_E_ASN1_CORRUPT);
    EXPECT_EQ(check(Bytes(100, 0)), CRYPT_E_ASN1_CORRUPT);
    HANDLE profile = firefoxApi().OpenProfile(profile_.c_str());
    ASSERT_NE(profile, nullptr);
    for (DWORD length = 0; length < in.size(); ++length) {
        const Bytes cut(in.begin(), in.begin() + length);
        EXPECT_EQ(errorOf([&] { return firefoxApi().FindCertificate(profile, cut.data(), length); }),
                  CRYPT_E_ASN1_CORRUPT)
            << length;
    }
    for (std::size_t at = 0; at < in.size(); at += 3) {
        Bytes changed = in;
        changed[at] ^= 0x55;
        EXPECT_FALSE(firefoxApi().FindCertificate(profile, changed.data(), static_cast<DWORD>(changed.size()))) << at;
    }
    EXPECT_TRUE(firefoxApi().CloseProfile(profile));
}

TEST_F(nss_firefox_test, AnyNameOfAFolderDoes) {
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    for (const char* name :
         {"O'Brien", "a b", "a\"b", "a\\b", "a>b<c", "[a]", "{a}", "(a)", "a,b=c", "\xC3\xBC", "\xFF"}) {
        const std::string folder = home_.path() + "/" + name;
        fs::copy(profile_, folder);
        EXPECT_EQ(check(folder, in), 0U) << name;
    }
}

TEST_F(nss_firefox_test, NothingGrowsWithEachCheck) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    const auto openFiles = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    for (const bool isInUse : {false, true}) {
        if (isInUse) {
            EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
        }
        EXPECT_EQ(check(in), 0U);
        const auto before = openFiles();
        // NSS has room for some hundred tokens.
        for (int i = 0; i < 250; ++i)
            ASSERT_EQ(check(in), 0U) << i;
        EXPECT_EQ(openFiles(), before);
    }
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_FALSE(capi().CryptEnumProvidersA(1, nullptr, 0, &type, nullptr, &size)) << "a profile is no provider";
}

TEST_F(nss_firefox_test, TheProviderIsNotDisturbed) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    EXPECT_EQ(check(in), 0U) << "before any key";
    makeKey("mine", 1024);
    const Prov held("mine", 0);
    EXPECT_EQ(check(in), 0U) << "beside an open container";
    KeyHandle key;
    EXPECT_TRUE(capi().CryptGetUserKey(held.get(), AT_SIGNATURE, key.out()));
    makeKey("other", 1024);
    EXPECT_EQ(check(in), 0U);
    EXPECT_EQ(tool("certutil -K -d sql:" + profile_).output.find("mine"), std::string::npos);
    EXPECT_NE(tool("certutil -K -d " + home_.database()).output.find("mine"), std::string::npos);
}

// The host's own view of NSS, as in the tests of the provider.
struct Host {
    template <class Function>
    static Function* bind(const char* name) {
        static void* library = dlopen("libnss3.so", RTLD_NOW);
        return reinterpret_cast<Function*>(dlsym(library, name));
    }
    decltype(&::NSS_Initialize) initialize = bind<decltype(::NSS_Initialize)>("NSS_Initialize");
    decltype(&::NSS_Shutdown) shutdown = bind<decltype(::NSS_Shutdown)>("NSS_Shutdown");
    decltype(&::PK11_GetInternalKeySlot) keySlot = bind<decltype(::PK11_GetInternalKeySlot)>("PK11_GetInternalKeySlot");
    decltype(&::PK11_FreeSlot) freeSlot = bind<decltype(::PK11_FreeSlot)>("PK11_FreeSlot");
    decltype(&::PK11_FindCertFromNickname) findCertificate =
        bind<decltype(::PK11_FindCertFromNickname)>("PK11_FindCertFromNickname");
    decltype(&::CERT_DestroyCertificate) destroyCertificate =
        bind<decltype(::CERT_DestroyCertificate)>("CERT_DestroyCertificate");

    bool has(std::string nickname) const {
        CERTCertificate* found = findCertificate(nickname.data(), nullptr);
        if (found != nullptr)
            destroyCertificate(found);
        return found != nullptr;
    }
};

TEST_F(nss_firefox_test, AHostWithAnotherDatabaseIsNotDisturbed) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    const Bytes shared = makeCertificate("shared");
    makeProfile("in");
    add("shared", "sql:" + profile_);
    run("mkdir " + home_.path() + "/other && certutil -N --empty-password -d sql:" + home_.path() + "/other");
    add("shared", "sql:" + home_.path() + "/other");
    const Host host;
    ASSERT_EQ(host.initialize(("sql:" + home_.path() + "/other").c_str(), "", "", "secmod.db", 0), SECSuccess);
    EXPECT_TRUE(host.has("shared"));
    PK11SlotInfo* before = host.keySlot();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(check(in), 0U);
        EXPECT_EQ(check(shared), 0U);
    }
    PK11SlotInfo* after = host.keySlot();
    EXPECT_EQ(before, after) << "the host's key token is still its own";
    host.freeSlot(before);
    host.freeSlot(after);
    EXPECT_TRUE(host.has("shared"));
    EXPECT_FALSE(host.has("in"));
    EXPECT_EQ(host.shutdown(), SECSuccess) << "nothing of it is held";
    EXPECT_EQ(check(in), 0U) << "and NSS starts once more";
}

// Such as Firefox itself.
TEST_F(nss_firefox_test, AHostThatHasTheProfileOpenKeepsIt) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    const Bytes out = makeCertificate("out");
    makeProfile("in");
    const Host host;
    ASSERT_EQ(host.initialize(("sql:" + profile_).c_str(), "", "", "secmod.db", 0), SECSuccess);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(check(in), 0U);
        EXPECT_EQ(check(out), CRYPT_E_NOT_FOUND);
        EXPECT_TRUE(host.has("in"));
    }
    EXPECT_EQ(host.shutdown(), SECSuccess);
}

// An installation with libraries of its own, which are the system's under another path.
class nss_firefox_test_own : public nss_firefox_test {
  protected:
    nss_firefox_test_own() { fs::create_directories(installation_); }
    void copyLibraries() const {
        run("for name in libnss3 libnssutil3 libsmime3 libsoftokn3 libfreeblpriv3; do for folder in "
            "/usr/lib/*-linux-gnu "
            "/usr/lib/*-linux-gnu/nss /usr/lib64 /usr/lib; do if [ -e $folder/$name.so ]; then cp $folder/$name.so " +
            installation_ + "; break; fi; done; done; test -e " + installation_ + "/libnss3.so");
    }
    // A library with those functions, which do nothing.
    void makeLibrary(const std::string& name, const std::string& source) const {
        home_.file("library.c", source);
        run("cc -shared -fPIC -Wl,-soname," + name + " -o " + installation_ + "/" + name + " " + home_.path() +
            "/library.c");
    }
    bool isMapped() const { return mappedFiles().find(installation_) != std::string::npos; }

    std::string installation_ = home_.path() + "/firefox";
};

TEST_F(nss_firefox_test_own, ItsOwnLibrariesServeTheProfileAndThenTheProvider) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    copyLibraries();
    EXPECT_EQ(check(profile_, in, installation_), 0U);
    EXPECT_THAT(mappedFiles(), HasSubstr(installation_ + "/libnss3.so"));
    makeKey("mine", 1024);
    EXPECT_EQ(check(profile_, makeCertificate("out"), installation_), CRYPT_E_NOT_FOUND);
    EXPECT_TRUE(Prov("mine", 0));
    std::string others = mappedFiles();
    for (std::size_t at = 0; (at = others.find(installation_ + "/libnss3.so")) != std::string::npos;)
        others.erase(at, installation_.size() + 11);
    EXPECT_THAT(others, Not(HasSubstr("libnss3.so"))) << "one NSS for all";
}

TEST_F(nss_firefox_test_own, AnNssInUseIsUsed) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Bytes in = makeCertificate("in");
    makeProfile("in");
    copyLibraries();
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
    EXPECT_EQ(check(profile_, in, installation_), 0U);
    EXPECT_FALSE(isMapped());
}

TEST_F(nss_firefox_test_own, ALibraryThatLacksAFunctionIsRefused) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeLibrary("libnss3.so", "int NSS_InitContext;");
    makeLibrary("libsmime3.so", "int CERT_DecodeCertPackage;");
    EXPECT_EQ(check(profile_, {}, installation_), ERROR_PROC_NOT_FOUND);
    EXPECT_FALSE(isMapped()) << "and does not stay";
    EXPECT_EQ(platform::nss::firefoxNss(), nullptr);
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET)) << "the provider finds the system's";
}

// One function less than the check needs, and one less than the provider needs.
TEST_F(nss_firefox_test_own, EachFunctionIsNeeded) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    std::vector<std::string> names;
#define VT_NSS(name) names.emplace_back(#name);
#define VT_NSS_OLD(name) names.emplace_back("__" #name);
#include "platform/nss/firefox_functions.def"
#include "platform/nss/functions.def"
#undef VT_NSS
#undef VT_NSS_OLD
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    ASSERT_GT(names.size(), 60U);
    makeLibrary("libsmime3.so", "int nothing;");
    for (const std::string missing :
         {"SECMOD_CloseUserDB", "__CERT_DecodeDERCertificate", "PK11_ImportCert", "PK11_Sign"}) {
        std::string source;
        for (const std::string& name : names)
            source += name != missing ? "void " + name + "(void) {}\n" : "";
        makeLibrary("libnss3.so", source);
        run("cd " + installation_ + " && cc -shared -fPIC -Wl,-soname,libsmime3.so -o libsmime3.so " + home_.path() +
            "/library.c");
        EXPECT_EQ(check(profile_, {}, installation_), ERROR_PROC_NOT_FOUND) << missing;
        EXPECT_FALSE(isMapped());
    }
}

TEST_F(nss_firefox_test_own, AFileThatIsNoLibraryIsNotLoaded) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    std::ofstream(installation_ + "/libnss3.so") << "no library";
    EXPECT_EQ(check(profile_, {}, installation_), ERROR_MOD_NOT_FOUND);
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
}

TEST_F(nss_firefox_test_own, WithoutAnyNssNoneIsLoaded) {
    if (support::inOwnProcess()) {
        EXPECT_EQ(check(profile_, {}, installation_), ERROR_MOD_NOT_FOUND);
        return;
    }
    fs::create_directory(home_.path() + "/lib");
    home_.file("lib/libnss3.so", "no library");
    support::runInOwnProcess("LD_LIBRARY_PATH=" + home_.path() + "/lib");
}

// Programs, links to them and scripts that start them.
class nss_firefox_test_installation : public NssTest {
  protected:
    nss_firefox_test_installation() {
        for (const char* folder : {"bin", "usr/bin", "lib/firefox", "lib/firefox-esr", "other"})
            fs::create_directories(home_.path() + "/" + folder);
    }
    void install(const std::string& folder, const std::string& program) const {
        home_.script(folder + "/" + program, "exit 0");
        home_.file(folder + "/libxul.so", "");
    }
    void link(const std::string& program, const std::string& from) const {
        fs::create_symlink(home_.path() + "/" + program, home_.path() + "/" + from);
    }
    std::string find(const std::string& path, const std::vector<std::string>& others = {}) {
        const std::string found = platform::nss::findInstallation(path, others, isProgramFound_);
        return found.compare(0, home_.path().size(), home_.path()) == 0 ? found.substr(home_.path().size() + 1) : found;
    }
    std::string path() const { return home_.path() + "/bin:" + home_.path() + "/usr/bin"; }

    bool isProgramFound_ = false;
};

TEST_F(nss_firefox_test_installation, AProgramOfThePathLeadsToIt) {
    EXPECT_EQ(find(path()), "");
    EXPECT_FALSE(isProgramFound_);
    install("lib/firefox", "firefox");
    link("lib/firefox/firefox", "usr/bin/firefox");
    EXPECT_EQ(find(path()), "lib/firefox");
    EXPECT_EQ(find(home_.path() + "/lib/firefox"), "lib/firefox");
    EXPECT_EQ(find(":::" + path() + ":"), "lib/firefox");
    EXPECT_EQ(find(home_.path() + "/bin"), "");
    EXPECT_EQ(find(""), "");
}

TEST_F(nss_firefox_test_installation, AScriptLeadsNowhereButAnotherNameMay) {
    home_.script("usr/bin/firefox", "exec firefox-esr");
    EXPECT_EQ(find(path()), "");
    EXPECT_TRUE(isProgramFound_);
    install("lib/firefox-esr", "firefox-esr");
    EXPECT_EQ(find(path(), {home_.path() + "/other", home_.path() + "/lib/firefox-esr"}), "lib/firefox-esr");
    link("lib/firefox-esr/firefox-esr", "bin/firefox-esr");
    EXPECT_EQ(find(path()), "lib/firefox-esr");
}

TEST_F(nss_firefox_test_installation, WhatCannotRunIsNoProgram) {
    home_.file("bin/firefox", "text");
    link("nowhere", "usr/bin/firefox");
    EXPECT_EQ(find(path()), "");
    EXPECT_FALSE(isProgramFound_);
    EXPECT_EQ(find(home_.path() + "/lib"), "");
    EXPECT_FALSE(isProgramFound_) << "a folder of the name";
}

TEST_F(nss_firefox_test_installation, RelativeFoldersAreNotSearched) {
    install("lib/firefox", "firefox");
    const fs::path before = fs::current_path();
    fs::current_path(home_.path() + "/lib/firefox");
    EXPECT_EQ(find(".:"), "");
    EXPECT_EQ(find("../firefox"), "");
    fs::current_path(before);
}

TEST_F(nss_firefox_test_installation, TheEntryAsksTheEnvironment) {
    install("lib/firefox", "firefox");
    const std::string before = std::getenv("PATH");
    setenv("PATH", (home_.path() + "/lib/firefox").c_str(), 1);
    char folder[4096] = {};
    EXPECT_TRUE(firefoxApi().FindInstallation(folder, sizeof folder));
    EXPECT_EQ(folder, home_.path() + "/lib/firefox");
    const auto length = static_cast<DWORD>(std::string(folder).size());
    EXPECT_EQ(errorOf([&] { return firefoxApi().FindInstallation(folder, length); }), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_TRUE(firefoxApi().FindInstallation(folder, length + 1));
    setenv("PATH", before.c_str(), 1);
}

}  // namespace
