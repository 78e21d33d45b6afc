#include <sys/stat.h>

#include "tests/platform/nss_fixture.h"

using namespace nss_test;
using support::tool;

namespace {

class nss_provider_test : public NssTest {};

DWORD acquireError(const char* container, const char* provider, DWORD type, DWORD flags) {
    HCRYPTPROV prov = 0;
    const DWORD error = errorOf([&] { return capi().CryptAcquireContextA(&prov, container, provider, type, flags); });
    if (prov != 0) {
        EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
    }
    return error;
}

}  // namespace

TEST_F(nss_provider_test, FirstProviderIsTheDatabase) {
    DWORD type = 0;
    DWORD size = 0;
    ASSERT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, nullptr, &size));
    EXPECT_EQ(type, PROV_RSA_FULL);
    EXPECT_EQ(size, sizeof kDatabaseProvider);
    char name[64];
    size = sizeof name;
    ASSERT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, name, &size));
    EXPECT_STREQ(name, kDatabaseProvider);
    EXPECT_EQ(size, sizeof kDatabaseProvider);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(1, nullptr, 0, &type, nullptr, &size); }),
              ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0xFFFFFFFF, nullptr, 0, &type, nullptr, &size); }),
              ERROR_NO_MORE_ITEMS);
}

TEST_F(nss_provider_test, EnumerationRefusesBadArguments) {
    DWORD type = 0;
    DWORD size = 5;
    char name[5];
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 0, &type, name, &size); }), ERROR_MORE_DATA);
    EXPECT_EQ(size, sizeof kDatabaseProvider);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 1, &type, nullptr, &size); }), NTE_BAD_FLAGS);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, &size, 0, &type, nullptr, &size); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 0, nullptr, nullptr, &size); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 0, &type, nullptr, nullptr); }),
              ERROR_INVALID_PARAMETER);
}

TEST_F(nss_provider_test, MakesTheDatabaseForTheUserAlone) {
    const Prov prov(nullptr, CRYPT_NEWKEYSET);
    ASSERT_TRUE(prov);
    for (const char* folder : {"/.pki", "/.pki/nssdb"}) {
        struct stat status = {};
        ASSERT_EQ(stat((home_.path() + folder).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777u, 0700u) << folder;
    }
    EXPECT_EQ(tool("certutil -K -d " + home_.database()).output.find("password"), std::string::npos)
        << "the database has an empty password";
}

TEST_F(nss_provider_test, EachHomeHasItsDatabase) {
    makeKey("first", 512);
    {
        const support::ScratchHome other;
        EXPECT_EQ(acquireError("first", kDatabaseProvider, PROV_RSA_FULL, 0), NTE_BAD_KEYSET);
    }
    EXPECT_EQ(acquireError("first", kDatabaseProvider, PROV_RSA_FULL, 0), 0u);
}

TEST_F(nss_provider_test, EmptyHomeMakesNoDatabaseAtTheRoot) {
    struct stat status = {};
    const bool wasThere = stat("/.pki", &status) == 0;
    setenv("HOME", "", 1);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_FAIL);
    EXPECT_EQ(stat("/.pki", &status) == 0, wasThere);
}

TEST_F(nss_provider_test, HomeWithoutRoomForADatabaseFails) {
    setenv("HOME", "/proc", 1);
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(0, nullptr, 0, &type, nullptr, &size); }), NTE_FAIL);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_FAIL);
    EXPECT_EQ(capi().CertOpenSystemStoreA(0, "MY"), nullptr);
    EXPECT_EQ(sys().GetLastError(), NTE_FAIL);
}

TEST_F(nss_provider_test, ContainerIsMadeOpenedAndDeletedOnce) {
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, 0), NTE_BAD_KEYSET);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET), NTE_BAD_KEYSET);
    makeKey("c", 512);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_EXISTS);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, 0), 0u);
    EXPECT_EQ(acquireError("C", kDatabaseProvider, PROV_RSA_FULL, 0), NTE_BAD_KEYSET) << "names are exact";
    HCRYPTPROV prov = 77;
    EXPECT_TRUE(capi().CryptAcquireContextA(&prov, "c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET));
    EXPECT_EQ(prov, 0u) << "a deleted container has no handle";
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, 0), NTE_BAD_KEYSET);
    EXPECT_EQ(tool("certutil -K -d " + home_.database()).output.find(" c\n"), std::string::npos);
}

TEST_F(nss_provider_test, DeletionTakesThePublicKeyAlong) {
    makeKey("c", 512);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET), 0u);
    const std::string count = "python3 -c \"import sqlite3,sys; print(sqlite3.connect('" + home_.path() +
                              "/.pki/nssdb/cert9.db').execute('select count(*) from nssPublic').fetchone()[0])\"";
    EXPECT_EQ(tool(count).output, "0\n");
}

TEST_F(nss_provider_test, ContainerWithoutKeyExistsUntilDeleted) {
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET), 0u);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_EXISTS);
    const Prov prov("c", 0);
    ASSERT_TRUE(prov);
    KeyHandle key;
    EXPECT_EQ(errorOf([&] { return capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()); }), NTE_NO_KEY);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET), 0u);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET), NTE_BAD_KEYSET);
}

TEST_F(nss_provider_test, WideNamesAreTheSame) {
    HCRYPTPROV prov = 0;
    ASSERT_TRUE(
        capi().CryptAcquireContextW(&prov, L"Schl\u00FCssel", L"NSS Certificate DB", PROV_RSA_FULL, CRYPT_NEWKEYSET));
    KeyHandle key;
    EXPECT_TRUE(capi().CryptGenKey(prov, AT_SIGNATURE, 512u << 16, key.out()));
    EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
    EXPECT_EQ(acquireError("Schl\xC3\xBCssel", nullptr, PROV_RSA_FULL, 0), 0u);
}

TEST_F(nss_provider_test, RefusesProvidersItDoesNotHave) {
    EXPECT_EQ(acquireError("c", "No such provider", PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_KEYSET_NOT_DEF);
    EXPECT_EQ(acquireError("c", "", PROV_RSA_FULL, CRYPT_NEWKEYSET), NTE_KEYSET_NOT_DEF);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, 0, 0), NTE_BAD_PROV_TYPE);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, 1000, 0), NTE_BAD_PROV_TYPE);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, 24, 0), NTE_PROV_TYPE_NO_MATCH);
    EXPECT_EQ(acquireError("c", nullptr, 24, 0), NTE_PROV_TYPE_NOT_DEF);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, 3), NTE_BAD_FLAGS);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT), NTE_BAD_FLAGS);
    EXPECT_EQ(acquireError(nullptr, kDatabaseProvider, PROV_RSA_FULL, 0), NTE_BAD_KEYSET);
    EXPECT_EQ(errorOf([] { return capi().CryptAcquireContextA(nullptr, "c", nullptr, PROV_RSA_FULL, 0); }),
              ERROR_INVALID_PARAMETER);
}

// Store queries make and delete the default container of that provider each time.
TEST_F(nss_provider_test, ProviderOfStoreQueriesTouchesNoKey) {
    makeKey("c", 512);
    for (const DWORD flags : {CRYPT_NEWKEYSET, CRYPT_NEWKEYSET, CRYPT_DELETEKEYSET, CRYPT_NEWKEYSET}) {
        EXPECT_EQ(acquireError(nullptr, kWindowsProvider, PROV_RSA_FULL, flags), 0u);
        EXPECT_EQ(acquireError("", kWindowsProvider, PROV_RSA_FULL, flags), 0u);
    }
    EXPECT_EQ(acquireError(nullptr, kWindowsProvider, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT), 0u);
    EXPECT_EQ(acquireError("c", kDatabaseProvider, PROV_RSA_FULL, 0), 0u) << "the key is still there";
    EXPECT_EQ(acquireError("c", kWindowsProvider, PROV_RSA_FULL, 0), 0u) << "both names mean the database";
}

TEST_F(nss_provider_test, ClosedHandlesAreRefused) {
    HCRYPTPROV prov = 0;
    ASSERT_TRUE(capi().CryptAcquireContextA(&prov, "c", nullptr, PROV_RSA_FULL, CRYPT_NEWKEYSET));
    EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
    EXPECT_EQ(errorOf([&] { return capi().CryptReleaseContext(prov, 0); }), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([] { return capi().CryptReleaseContext(0, 0); }), ERROR_INVALID_PARAMETER);
    KeyHandle key;
    EXPECT_EQ(errorOf([&] { return capi().CryptGenKey(prov, AT_SIGNATURE, 0, key.out()); }), ERROR_INVALID_PARAMETER);
    HCRYPTPROV flagged = 0;
    ASSERT_TRUE(capi().CryptAcquireContextA(&flagged, nullptr, nullptr, PROV_RSA_FULL, CRYPT_NEWKEYSET));
    EXPECT_EQ(errorOf([&] { return capi().CryptReleaseContext(flagged, 1); }), NTE_BAD_FLAGS)
        << "released all the same";
    EXPECT_EQ(errorOf([&] { return capi().CryptReleaseContext(flagged, 0); }), ERROR_INVALID_PARAMETER);
}
