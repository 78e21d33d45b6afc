// The provider beside an NSS that the host process has started for itself: each test plays such a host, in a process of
// its own.
#include <cert.h>
#include <dlfcn.h>
#include <nss.h>
#include <pk11pub.h>
#include <secerr.h>
#include <secmod.h>

#include "tests/platform/nss_store_fixture.h"
#include "tests/support/own_process.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

class nss_host_test : public NssTest {
  protected:
    // The enrolment's way through the provider: key, certificate, store.
    void useProvider() {
        char name[64];
        DWORD size = sizeof name;
        DWORD type = 0;
        ASSERT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, name, &size));
        EXPECT_STREQ(name, kDatabaseProvider);
        makeKey("hosted", 1024);
        const Authority authority(home_);
        const Bytes der = authority.certify(publicKeyPem(home_, "hosted"), "/CN=Hosted", 5);
        setOnKey("hosted", der);
        EXPECT_EQ(contents("MY"), std::vector<Bytes>{der});
        EXPECT_NE(tool("certutil -L -d " + home_.database()).output.find("u,u,u"), std::string::npos);
        const StoreHandle my("MY");
        EXPECT_TRUE(capi().CertDeleteCertificateFromStore(find(my, der)));
        EXPECT_EQ(tool("certutil -L -d " + home_.database()).output.find("Hosted"), std::string::npos);
        EXPECT_NE(tool("certutil -K -d " + home_.database()).output.find("hosted"), std::string::npos);
    }

    std::string makeOtherDatabase() {
        const std::string other = "sql:" + home_.path() + "/other";
        const ToolResult made = tool("mkdir " + home_.path() + "/other && certutil -N --empty-password -d " + other);
        EXPECT_EQ(made.status, 0) << made.output;
        return other;
    }

    void makeUsersDatabase() {
        const ToolResult made =
            tool("mkdir -p " + home_.path() + "/.pki/nssdb && certutil -N --empty-password -d " + home_.database());
        EXPECT_EQ(made.status, 0) << made.output;
    }
};

// The host's own view of NSS.
struct Host {
    template <class Function>
    static Function* bind(const char* name) {
        static void* library = dlopen("libnss3.so", RTLD_NOW);
        return reinterpret_cast<Function*>(dlsym(library, name));
    }
    decltype(&::NSS_NoDB_Init) noDbInit = bind<decltype(::NSS_NoDB_Init)>("NSS_NoDB_Init");
    decltype(&::NSS_Initialize) initialize = bind<decltype(::NSS_Initialize)>("NSS_Initialize");
    decltype(&::NSS_Shutdown) shutdown = bind<decltype(::NSS_Shutdown)>("NSS_Shutdown");
    decltype(&::PORT_GetError) getError = bind<decltype(::PORT_GetError)>("PORT_GetError");
    decltype(&::NSS_IsInitialized) isInitialized = bind<decltype(::NSS_IsInitialized)>("NSS_IsInitialized");
    decltype(&::PK11_GetInternalKeySlot) keySlot = bind<decltype(::PK11_GetInternalKeySlot)>("PK11_GetInternalKeySlot");
    decltype(&::PK11_FreeSlot) freeSlot = bind<decltype(::PK11_FreeSlot)>("PK11_FreeSlot");
    decltype(&::PK11_SetPasswordFunc) setPasswordFunc = bind<decltype(::PK11_SetPasswordFunc)>("PK11_SetPasswordFunc");
    decltype(&::PK11_FindCertFromNickname) findCertificate =
        bind<decltype(::PK11_FindCertFromNickname)>("PK11_FindCertFromNickname");
    decltype(&::CERT_DestroyCertificate) destroyCertificate =
        bind<decltype(::CERT_DestroyCertificate)>("CERT_DestroyCertificate");
};

// A host that ends its NSS learns that somebody still uses it, and nothing is taken away.
void endHost(const Host& host) {
    EXPECT_EQ(host.shutdown(), SECFailure);
    EXPECT_EQ(host.getError(), SEC_ERROR_BUSY);
}

}  // namespace

TEST_F(nss_host_test, HostWithoutNss) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    useProvider();
}

TEST_F(nss_host_test, HostWithoutDatabase) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const Host host;
    ASSERT_EQ(host.noDbInit(nullptr), SECSuccess);
    useProvider();
    endHost(host);
    EXPECT_TRUE(Prov("hosted", 0)) << "and ours goes on";
}

TEST_F(nss_host_test, HostWithAnotherDatabase) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const std::string other = makeOtherDatabase();
    const Host host;
    ASSERT_EQ(host.initialize(other.c_str(), "", "", "secmod.db", 0), SECSuccess);
    PK11SlotInfo* before = host.keySlot();
    useProvider();
    PK11SlotInfo* after = host.keySlot();
    EXPECT_EQ(before, after) << "the host's key token is still its own";
    host.freeSlot(before);
    host.freeSlot(after);
    EXPECT_EQ(tool("certutil -K -d " + other).output.find("hosted"), std::string::npos)
        << "nothing of ours is in the host's database";
    char name[64];
    DWORD size = sizeof name;
    DWORD type = 0;
    EXPECT_FALSE(capi().CryptEnumProvidersA(1, nullptr, 0, &type, name, &size)) << "which is no provider of ours";
}

TEST_F(nss_host_test, HostWithTheSameDatabase) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeUsersDatabase();
    const Host host;
    ASSERT_EQ(host.initialize(home_.database().c_str(), "", "", "secmod.db", 0), SECSuccess);
    useProvider();
}

TEST_F(nss_host_test, HostWithTheSameDatabaseReadOnly) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeUsersDatabase();
    const Host host;
    ASSERT_EQ(host.initialize(home_.database().c_str(), "", "", "secmod.db", NSS_INIT_READONLY), SECSuccess);
    useProvider();
}

TEST_F(nss_host_test, HostThatStartsAfterUs) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const std::string other = makeOtherDatabase();
    ASSERT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET));
    const Host host;
    ASSERT_EQ(host.initialize(other.c_str(), "", "", "secmod.db", 0), SECSuccess);
    useProvider();
    endHost(host);
    EXPECT_EQ(contents("MY").size(), 0u);
    EXPECT_TRUE(Prov("hosted", 0));
}

TEST_F(nss_host_test, HostSeesAnInstalledCertificateAtOnce) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeUsersDatabase();
    const Host host;
    ASSERT_EQ(host.initialize(home_.database().c_str(), "", "", "secmod.db", 0), SECSuccess);
    char nickname[] = "Alice";
    EXPECT_EQ(host.findCertificate(nickname, nullptr), nullptr);
    makeKey("alice", 1024);
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "alice"), "/CN=Alice", 5);
    setOnKey("alice", der);
    CERTCertificate* found = host.findCertificate(nickname, nullptr);
    ASSERT_NE(found, nullptr);
    host.destroyCertificate(found);
    const StoreHandle my("MY");
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(find(my, der)));
    EXPECT_EQ(host.findCertificate(nickname, nullptr), nullptr) << "and misses it when it is gone";
}

// A certificate that lies in the host's database as well stays there.
TEST_F(nss_host_test, DeletionSparesTheHostsDatabase) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const std::string other = makeOtherDatabase();
    const Authority authority(home_);
    const ToolResult added = tool("certutil -A -n shared -t C,, -i " + home_.file("ca.der") + " -d " + other);
    ASSERT_EQ(added.status, 0) << added.output;
    const Host host;
    ASSERT_EQ(host.initialize(other.c_str(), "", "", "secmod.db", 0), SECSuccess);
    {
        const StoreHandle root("ROOT");
        EXPECT_EQ(addError(root, authority.certificate()), 0u);
    }
    EXPECT_EQ(contents("ROOT").size(), 1u);
    {
        const StoreHandle root("ROOT");
        EXPECT_TRUE(capi().CertDeleteCertificateFromStore(find(root, authority.certificate())));
    }
    EXPECT_TRUE(contents("ROOT").empty());
    EXPECT_NE(tool("certutil -L -d " + other).output.find("C,,"), std::string::npos) << "with the host's trust";
}

namespace {
int hostPasswordCalls = 0;
char* hostPassword(PK11SlotInfo*, PRBool, void*) {
    ++hostPasswordCalls;
    return nullptr;
}
}  // namespace

TEST_F(nss_host_test, HostKeepsItsPasswordFunction) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeUsersDatabase();
    const ToolResult changed =
        tool("cd " + home_.path() + " && printf '\\n' > old && echo secret > new && certutil -W -f old -@ new -d " +
             home_.database());
    ASSERT_EQ(changed.status, 0) << changed.output;
    const Host host;
    host.setPasswordFunc(hostPassword);
    ASSERT_EQ(host.initialize(home_.database().c_str(), "", "", "secmod.db", 0), SECSuccess);
    setenv("SSH_ASKPASS", home_.script("ask", "echo secret").c_str(), 1);
    makeKey("c", 1024);
    EXPECT_EQ(hostPasswordCalls, 0) << "we ask for ourselves";
    EXPECT_TRUE(Prov("c", 0));
}
