#include <algorithm>
#include <utility>

#include "tests/platform/nss_store_fixture.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

class nss_store_test : public NssTest {
  protected:
    // A certificate for a key that lies nowhere.
    Bytes strange(const Authority& authority, const std::string& subject, int serial,
                  const std::string& extensions = "basicConstraints=CA:FALSE") const {
        const ToolResult made =
            tool("cd " + home_.path() + " && openssl genrsa 1024 2>/dev/null | openssl rsa -pubout -out strange.pem");
        EXPECT_EQ(made.status, 0) << made.output;
        return authority.certify(home_.file("strange.pem"), subject, serial, extensions);
    }
};

using Certificates = std::vector<Bytes>;

HCERTSTORE openStore(LPCSTR provider, DWORD flags, const wchar_t* name) {
    return capi().CertOpenStore(provider, 0, 0, flags, name);
}

}  // namespace

TEST_F(nss_store_test, NewDatabaseHasEmptyStores) {
    for (const char* name : {"MY", "ROOT", "CA"})
        EXPECT_TRUE(contents(name).empty()) << name;
}

TEST_F(nss_store_test, MyHoldsCertificatesWithAPrivateKey) {
    makeKey("alice", 1024);
    const Authority authority(home_);
    const Bytes alice = authority.certify(publicKeyPem(home_, "alice"), "/CN=Alice", 5);
    setOnKey("alice", alice);
    EXPECT_EQ(contents("MY"), Certificates{alice});
    EXPECT_TRUE(contents("ROOT").empty());
    EXPECT_TRUE(contents("CA").empty());
}

TEST_F(nss_store_test, MyTakesACertificateBesideItsKey) {
    makeKey("alice", 1024);
    const Authority authority(home_);
    const Bytes alice = authority.certify(publicKeyPem(home_, "alice"), "/CN=Alice", 5);
    {
        const StoreHandle my("MY");
        EXPECT_EQ(addError(my, alice), 0u);
    }
    EXPECT_EQ(contents("MY"), Certificates{alice});
    const ToolResult list = tool("certutil -L -d " + home_.database());
    EXPECT_NE(list.output.find("u,u,u"), std::string::npos) << list.output;
    EXPECT_EQ(list.output.find("MY -"), std::string::npos) << "a key's certificate needs no mark\n" << list.output;
    EXPECT_TRUE(Prov("alice", 0)) << "the container keeps its name";
}

TEST_F(nss_store_test, MyKeepsWhatWasAddedWithoutKey) {
    const Authority authority(home_);
    const Bytes bob = strange(authority, "/CN=Bob", 6);
    {
        const StoreHandle my("MY");
        EXPECT_EQ(addError(my, bob), 0u);
    }
    EXPECT_EQ(contents("MY"), Certificates{bob});
    EXPECT_TRUE(contents("CA").empty());
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, bob);
    ASSERT_NE(cert, nullptr);
    EXPECT_FALSE(keyInfoOf(cert).found);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_store_test, ContextIsAddedOnceAndKeepsItsTrust) {
    const Authority authority(home_);
    const Bytes sub = strange(authority, "/CN=Sub CA", 9, "basicConstraints=critical,CA:TRUE");
    for (const auto& [name, der] : {std::pair("ROOT", authority.certificate()), std::pair("CA", sub)}) {
        PCCERT_CONTEXT alone =
            capi().CertCreateCertificateContext(kEncoding, der.data(), static_cast<DWORD>(der.size()));
        ASSERT_NE(alone, nullptr);
        for (int times = 0; times < 2; ++times) {
            const StoreHandle store(name);
            PCCERT_CONTEXT added = nullptr;
            ASSERT_TRUE(
                capi().CertAddCertificateContextToStore(store.get(), alone, CERT_STORE_ADD_USE_EXISTING, &added));
            EXPECT_EQ(derOf(added), der);
            EXPECT_TRUE(capi().CertFreeCertificateContext(added));
            if (times == 0) {
                const std::string nickname = der == sub ? "Sub CA" : "Test Root";
                EXPECT_EQ(tool("certutil -M -t C,, -n '" + nickname + "' -d " + home_.database()).status, 0)
                    << nickname;
            }
        }
        EXPECT_TRUE(capi().CertFreeCertificateContext(alone));
        EXPECT_EQ(contents(name), Certificates{der});
    }
    const std::string list = tool("certutil -L -d " + home_.database()).output;
    EXPECT_NE(list.find("C,,"), list.rfind("C,,")) << "both keep what their user gave them\n" << list;
    EXPECT_TRUE(contents("MY").empty());
}

TEST_F(nss_store_test, ContextThatIsNoneIsRefused) {
    const StoreHandle store("CA");
    EXPECT_EQ(errorOf([&] {
                  return capi().CertAddCertificateContextToStore(store.get(), nullptr, CERT_STORE_ADD_USE_EXISTING,
                                                                 nullptr);
              }),
              static_cast<DWORD>(E_INVALIDARG));
}

TEST_F(nss_store_test, AuthoritiesAreRootOrCa) {
    const Authority authority(home_);
    const Bytes sub = strange(authority, "/CN=Sub CA", 9, "basicConstraints=critical,CA:TRUE");
    {
        const StoreHandle root("ROOT");
        const StoreHandle ca("CA");
        EXPECT_EQ(addError(root, authority.certificate()), 0u);
        EXPECT_EQ(addError(ca, sub), 0u);
    }
    EXPECT_EQ(contents("ROOT"), Certificates{authority.certificate()});
    EXPECT_EQ(contents("CA"), Certificates{sub});
    EXPECT_TRUE(contents("MY").empty());
}

TEST_F(nss_store_test, AuthoritiesOfOtherProgramsAreSeen) {
    const Authority authority(home_);
    const Bytes sub = strange(authority, "/CN=Sub CA", 9, "basicConstraints=critical,CA:TRUE");
    const Bytes leaf = strange(authority, "/CN=Somebody else", 10);
    ASSERT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET)) << "makes the database";
    for (const auto& [name, der] :
         {std::pair("root", authority.certificate()), std::pair("sub", sub), std::pair("leaf", leaf)}) {
        const ToolResult added = tool("certutil -A -t ,, -n " + std::string(name) + " -i " +
                                      home_.file(name, textOf(der)) + " -d " + home_.database());
        EXPECT_EQ(added.status, 0) << added.output;
    }
    EXPECT_EQ(contents("ROOT"), Certificates{authority.certificate()});
    EXPECT_EQ(contents("CA"), Certificates{sub});
    EXPECT_TRUE(contents("MY").empty()) << "other people's certificates are not the user's";
}

TEST_F(nss_store_test, WhatWasAddedToAStoreIsFoundThere) {
    const Authority authority(home_);
    const Bytes leaf = strange(authority, "/CN=Leaf", 11);
    const Bytes sub = strange(authority, "/CN=Sub CA", 12, "basicConstraints=critical,CA:TRUE");
    const Bytes selfIssued = selfSigned(home_, "/CN=Self", "");
    {
        const StoreHandle root("ROOT");
        const StoreHandle ca("CA");
        EXPECT_EQ(addError(root, sub), 0u);
        EXPECT_EQ(addError(ca, leaf), 0u);
        EXPECT_EQ(addError(ca, selfIssued), 0u);
    }
    EXPECT_EQ(contents("ROOT"), Certificates{sub});
    const std::vector<Bytes> ca = contents("CA");
    EXPECT_EQ(ca.size(), 2u);
    EXPECT_EQ(std::count(ca.begin(), ca.end(), leaf), 1);
    EXPECT_EQ(std::count(ca.begin(), ca.end(), selfIssued), 1);
}

TEST_F(nss_store_test, AddingGrantsNoTrust) {
    const Authority authority(home_);
    {
        const StoreHandle root("ROOT");
        EXPECT_EQ(addError(root, authority.certificate()), 0u);
    }
    const ToolResult list = tool("certutil -L -d " + home_.database());
    EXPECT_NE(list.output.find("Test Root"), std::string::npos) << list.output;
    EXPECT_NE(list.output.find(" ,,"), std::string::npos) << list.output;
    const ToolResult check = tool("certutil -V -u L -n 'Test Root' -d " + home_.database());
    EXPECT_NE(check.output.find("not trusted"), std::string::npos) << check.output;
}

// Every installation of a chain adds the same authorities once more.
TEST_F(nss_store_test, AddingAgainLeavesTheUsersTrust) {
    const Authority authority(home_);
    const auto addRoot = [&] {
        const StoreHandle root("ROOT");
        EXPECT_EQ(addError(root, authority.certificate()), 0u);
    };
    addRoot();
    const ToolResult trusted = tool("certutil -M -t C,, -n 'Test Root' -d " + home_.database());
    ASSERT_EQ(trusted.status, 0) << trusted.output;
    addRoot();
    EXPECT_EQ(contents("ROOT"), Certificates{authority.certificate()});
    const ToolResult list = tool("certutil -L -d " + home_.database());
    EXPECT_NE(list.output.find(" C,,"), std::string::npos) << list.output;
}

// Nobody gets into another store by a name of his own choosing.
TEST_F(nss_store_test, NameLikeAStoresIsNoMark) {
    makeKey("alice", 1024);
    const Authority authority(home_);
    const Bytes alice = authority.certify(publicKeyPem(home_, "alice"), "/CN=ROOT - Alice", 5);
    const Bytes sub = strange(authority, "/CN=ROOT :- Sub", 9, "basicConstraints=critical,CA:TRUE");
    {
        const StoreHandle my("MY");
        const StoreHandle ca("CA");
        EXPECT_EQ(addError(my, alice), 0u);
        EXPECT_EQ(addError(ca, sub), 0u);
    }
    EXPECT_TRUE(contents("ROOT").empty());
    EXPECT_EQ(contents("MY"), Certificates{alice});
    EXPECT_EQ(contents("CA"), Certificates{sub});
}

TEST_F(nss_store_test, ReplacesACertificateOfSameIssuerAndSerial) {
    makeKey("alice", 1024);
    const Authority authority(home_);
    const std::string pem = publicKeyPem(home_, "alice");
    const Bytes first = authority.certify(pem, "/CN=Alice", 5);
    const Bytes second = authority.certify(pem, "/CN=Alice Renamed", 5);
    ASSERT_NE(first, second);
    {
        const StoreHandle my("MY");
        EXPECT_EQ(addError(my, first), 0u);
        EXPECT_EQ(addError(my, first), 0u) << "the same once more";
        EXPECT_EQ(addError(my, second), 0u);
    }
    EXPECT_EQ(contents("MY"), Certificates{second});
}

TEST_F(nss_store_test, DispositionsAreTheirWords) {
    const Authority authority(home_);
    const Bytes first = strange(authority, "/CN=First", 5);
    const Bytes second = strange(authority, "/CN=Second", 5);
    const StoreHandle my("MY");
    EXPECT_EQ(addError(my, first, CERT_STORE_ADD_NEW), 0u);
    EXPECT_EQ(addError(my, first, CERT_STORE_ADD_NEW), CRYPT_E_EXISTS);
    PCCERT_CONTEXT existing = nullptr;
    EXPECT_TRUE(capi().CertAddEncodedCertificateToStore(
        my.get(), kEncoding, second.data(), static_cast<DWORD>(second.size()), CERT_STORE_ADD_USE_EXISTING, &existing));
    ASSERT_NE(existing, nullptr);
    EXPECT_EQ(derOf(existing), first);
    EXPECT_TRUE(capi().CertFreeCertificateContext(existing));
    EXPECT_EQ(addError(my, first, 99), E_INVALIDARG);
    EXPECT_EQ(addError(my, first, 0), E_INVALIDARG);
}

TEST_F(nss_store_test, AddedContextBelongsToItsStore) {
    const Authority authority(home_);
    const StoreHandle root("ROOT");
    const Bytes& der = authority.certificate();
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(
        root.get(), kEncoding, der.data(), static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING, &added));
    EXPECT_EQ(derOf(added), der);
    EXPECT_EQ(added->hCertStore, root.get());
    EXPECT_EQ(added->dwCertEncodingType, kEncoding);
    EXPECT_TRUE(capi().CertFreeCertificateContext(added));
}

TEST_F(nss_store_test, DeletionLeavesTheKey) {
    makeKey("alice", 1024);
    const Authority authority(home_);
    const Bytes alice = authority.certify(publicKeyPem(home_, "alice"), "/CN=Alice", 5);
    setOnKey("alice", alice);
    {
        const StoreHandle my("MY");
        PCCERT_CONTEXT cert = find(my, alice);
        ASSERT_NE(cert, nullptr);
        EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert)) << "which frees the context";
        EXPECT_EQ(capi().CertEnumCertificatesInStore(my.get(), nullptr), nullptr);
        EXPECT_TRUE(capi().CertControlStore(my.get(), 0, CERT_STORE_CTRL_COMMIT, nullptr));
    }
    EXPECT_TRUE(contents("MY").empty());
    EXPECT_EQ(tool("certutil -L -d " + home_.database()).output.find("Alice"), std::string::npos);
    EXPECT_TRUE(Prov("alice", 0));
}

TEST_F(nss_store_test, DeletionWorksInsideAWalk) {
    const Authority authority(home_);
    {
        const StoreHandle my("MY");
        for (int serial = 1; serial <= 4; ++serial)
            EXPECT_EQ(addError(my, strange(authority, "/CN=N" + std::to_string(serial), serial)), 0u);
        int seen = 0;
        for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(my.get(), cert)) != nullptr;
             ++seen) {
            if (cert->pCertInfo->SerialNumber.pbData[0] % 2 == 0) {
                EXPECT_TRUE(capi().CertDeleteCertificateFromStore(capi().CertDuplicateCertificateContext(cert)));
            }
        }
        EXPECT_EQ(seen, 4);
    }
    EXPECT_EQ(contents("MY").size(), 2u);
}

TEST_F(nss_store_test, DeletingTwiceIsNoError) {
    const Authority authority(home_);
    const Bytes bob = strange(authority, "/CN=Bob", 6);
    const StoreHandle my("MY");
    ASSERT_EQ(addError(my, bob), 0u);
    PCCERT_CONTEXT cert = find(my, bob);
    ASSERT_NE(cert, nullptr);
    PCCERT_CONTEXT again = capi().CertDuplicateCertificateContext(cert);
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(again));
}

TEST_F(nss_store_test, ManyCertificatesOfOneSubjectStay) {
    const Authority authority(home_);
    {
        const StoreHandle my("MY");
        for (int serial = 1; serial <= 3; ++serial)
            EXPECT_EQ(addError(my, strange(authority, "/CN=Twin", serial)), 0u);
    }
    EXPECT_EQ(contents("MY").size(), 3u);
}

TEST_F(nss_store_test, NicknamesAreOfOneSubjectEach) {
    const Authority authority(home_);
    {
        const StoreHandle my("MY");
        EXPECT_EQ(addError(my, strange(authority, "/O=One/CN=Shared", 1)), 0u);
        EXPECT_EQ(addError(my, strange(authority, "/O=Two/CN=Shared", 2)), 0u);
    }
    EXPECT_EQ(contents("MY").size(), 2u);
    const ToolResult list = tool("certutil -L -d " + home_.database());
    EXPECT_NE(list.output.find("MY - Shared #2"), std::string::npos) << list.output;
}

TEST_F(nss_store_test, StoreFollowsOtherProgramsWhenOpenedAnew) {
    const Authority authority(home_);
    const Bytes bob = strange(authority, "/CN=Robert", 6);
    {
        const StoreHandle my("MY");
        EXPECT_EQ(addError(my, bob), 0u);
    }
    const ToolResult deleted = tool("certutil -D -n 'MY - Robert' -d " + home_.database());
    EXPECT_EQ(deleted.status, 0) << deleted.output;
    EXPECT_TRUE(contents("MY").empty());
}

TEST_F(nss_store_test, CertificateThatIsNoneIsRefused) {
    const Authority authority(home_);
    const StoreHandle root("ROOT");
    Bytes cut = authority.certificate();
    cut.pop_back();
    EXPECT_EQ(addError(root, cut), CRYPT_E_ASN1_CORRUPT);
    EXPECT_EQ(addError(root, {}), CRYPT_E_ASN1_EOD);
    EXPECT_EQ(errorOf([&] {
                  return capi().CertAddEncodedCertificateToStore(root.get(), 0, cut.data(),
                                                                 static_cast<DWORD>(cut.size()), 3, nullptr);
              }),
              E_INVALIDARG);
    EXPECT_TRUE(contents("ROOT").empty());
}

// A certificate that parses here and not in NSS: its key is none.
TEST_F(nss_store_test, CertificateThatNssRefusesIsNotAdded) {
    const Authority authority(home_);
    Bytes odd = authority.certificate();
    const Bytes rsaEncryption = support::hex("06 09 2A 86 48 86 F7 0D 01 01 01");
    const auto key = std::search(odd.begin(), odd.end(), rsaEncryption.begin(), rsaEncryption.end());
    ASSERT_NE(key, odd.end());
    // Behind the algorithm stand NULL, and the bit string's header of four and its count of unused bits; then the key.
    *(key + 11 + 2 + 5) = 0x31;
    const StoreHandle root("ROOT");
    const DWORD error = addError(root, odd);
    EXPECT_TRUE(error == 0 || error == NTE_FAIL) << std::hex << error;
}

TEST_F(nss_store_test, WithoutAStoreACertificateIsAContext) {
    const Authority authority(home_);
    const Bytes& der = authority.certificate();
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(nullptr, kEncoding, der.data(), static_cast<DWORD>(der.size()),
                                                        CERT_STORE_ADD_REPLACE_EXISTING, &added));
    EXPECT_EQ(derOf(added), der);
    EXPECT_TRUE(capi().CertFreeCertificateContext(added));
    EXPECT_TRUE(capi().CertAddEncodedCertificateToStore(nullptr, kEncoding, der.data(), static_cast<DWORD>(der.size()),
                                                        CERT_STORE_ADD_REPLACE_EXISTING, nullptr));
    EXPECT_EQ(
        errorOf([&] { return capi().CertAddEncodedCertificateToStore(nullptr, kEncoding, der.data(), 9, 3, &added); }),
        CRYPT_E_ASN1_CORRUPT);
}

TEST_F(nss_store_test, OpensByEitherFunction) {
    HCERTSTORE store = openStore(CERT_STORE_PROV_SYSTEM_W, CERT_SYSTEM_STORE_CURRENT_USER, L"mY");
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(capi().CertCloseStore(store, CERT_CLOSE_STORE_CHECK_FLAG));
    store = capi().CertOpenSystemStoreA(0, "root");
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(capi().CertCloseStore(store, 0));

    EXPECT_EQ(openStore(CERT_STORE_PROV_SYSTEM_W, CERT_SYSTEM_STORE_CURRENT_USER, L"Elsewhere"), nullptr);
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(openStore(CERT_STORE_PROV_SYSTEM_W, 0x20000, L"MY"), nullptr) << "the machine's";
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(openStore(CERT_STORE_PROV_SYSTEM_W, CERT_SYSTEM_STORE_CURRENT_USER, nullptr), nullptr);
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(openStore(reinterpret_cast<LPCSTR>(std::uintptr_t{2}), CERT_SYSTEM_STORE_CURRENT_USER, L"MY"), nullptr);
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(capi().CertOpenSystemStoreA(0, nullptr), nullptr);
    EXPECT_EQ(sys().GetLastError(), E_INVALIDARG);
}

TEST_F(nss_store_test, StoreReleasesTheContextItWasOpenedWith) {
    const auto openWith = [](DWORD flags, HCRYPTPROV& prov) {
        EXPECT_TRUE(capi().CryptAcquireContextA(&prov, nullptr, nullptr, PROV_RSA_FULL, CRYPT_NEWKEYSET));
        HCERTSTORE store =
            capi().CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, prov, CERT_SYSTEM_STORE_CURRENT_USER | flags, L"MY");
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
    };
    HCRYPTPROV prov = 0;
    openWith(0, prov);
    EXPECT_EQ(errorOf([&] { return capi().CryptReleaseContext(prov, 0); }), ERROR_INVALID_PARAMETER);
    openWith(CERT_STORE_NO_CRYPT_RELEASE_FLAG, prov);
    EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
}

TEST_F(nss_store_test, ClosingTellsOfContextsStillOpen) {
    const Authority authority(home_);
    HCERTSTORE root = capi().CertOpenSystemStoreA(0, "ROOT");
    const Bytes& der = authority.certificate();
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(root, kEncoding, der.data(), static_cast<DWORD>(der.size()), 3,
                                                        &added));
    EXPECT_EQ(errorOf([&] { return capi().CertCloseStore(root, CERT_CLOSE_STORE_CHECK_FLAG); }), CRYPT_E_PENDING_CLOSE);
    EXPECT_EQ(derOf(added), der) << "and they live on";
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(added));
    EXPECT_TRUE(contents("ROOT").empty());
}

TEST_F(nss_store_test, ClosedHandlesAreRefused) {
    HCERTSTORE store = capi().CertOpenSystemStoreA(0, "MY");
    EXPECT_EQ(errorOf([&] { return capi().CertControlStore(store, 0, 99, nullptr); }), ERROR_NOT_SUPPORTED);
    EXPECT_TRUE(capi().CertCloseStore(store, 0));
    EXPECT_EQ(errorOf([&] { return capi().CertCloseStore(store, 0); }), E_INVALIDARG);
    EXPECT_EQ(errorOf([&] { return capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr); }),
              E_INVALIDARG);
    EXPECT_EQ(capi().CertEnumCertificatesInStore(store, nullptr), nullptr);
    EXPECT_EQ(sys().GetLastError(), E_INVALIDARG);
    EXPECT_TRUE(capi().CertCloseStore(nullptr, 0));
}
