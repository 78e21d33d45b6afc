// Private keys that come into the database, and what becomes of the names that they had.
#include <algorithm>

#include "tests/platform/nss_fixture.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

class nss_key_import_test : public NssTest {
  protected:
    // A private key of openssl's in the Microsoft layout, which it writes for key exchange.
    Bytes foreignKey(int bits) const {
        const ToolResult made = tool("cd " + home_.path() + " && openssl genrsa -out key.pem " + std::to_string(bits) +
                                     " 2>&1 && openssl rsa -in key.pem -outform MSBLOB -out key.blob 2>&1 && " +
                                     "openssl rsa -in key.pem -pubout -outform MSBLOB -out public.blob 2>&1");
        EXPECT_EQ(made.status, 0) << made.output;
        return readFile(home_.file("key.blob"));
    }
    Bytes foreignPublicKey() const { return readFile(home_.file("public.blob")); }
};

DWORD importError(HCRYPTPROV prov, const Bytes& blob, DWORD flags = CRYPT_EXPORTABLE, HCRYPTKEY wrapping = 0) {
    KeyHandle key;
    return errorOf([&] {
        return capi().CryptImportKey(prov, blob.data(), static_cast<DWORD>(blob.size()), wrapping, flags, key.out());
    });
}

void importInto(const char* container, const Bytes& blob, DWORD flags) {
    const Prov prov(container, CRYPT_NEWKEYSET);
    ASSERT_TRUE(prov);
    ASSERT_EQ(importError(prov.get(), blob, flags), 0u);
}

DWORD exportError(const char* container) {
    const Prov prov(container, 0);
    KeyHandle key;
    EXPECT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    DWORD size = 0;
    return errorOf([&] { return capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, nullptr, &size); });
}

}  // namespace

// A token keeps a key once, so the former name leads nowhere afterwards.
TEST_F(nss_key_import_test, KeyThatTheTokenHasGetsTheNewName) {
    for (const DWORD flags : {DWORD{CRYPT_EXPORTABLE}, DWORD{CRYPT_EXPORTABLE | CRYPT_USER_PROTECTED}, DWORD{0}}) {
        makeKey("old", 1024);
        const Bytes blob = exportKey("old", PRIVATEKEYBLOB);
        const Bytes publicBlob = exportKey("old", PUBLICKEYBLOB);
        importInto("new", blob, flags);
        EXPECT_EQ(exportKey("new", PUBLICKEYBLOB), publicBlob);
        EXPECT_EQ(errorOf([] { return static_cast<bool>(Prov("old", 0)); }), NTE_BAD_KEYSET);
        EXPECT_EQ(count(keyList(), "rsa "), 1) << keyList();
        EXPECT_EQ(count(keyList(), "new"), 1) << keyList();
        if (flags == 0) {
            EXPECT_EQ(exportError("new"), NTE_BAD_KEY_STATE) << "though it was exportable under its old name";
        } else {
            EXPECT_EQ(exportKey("new", PRIVATEKEYBLOB), blob);
        }
        HCRYPTPROV none = 0;
        EXPECT_TRUE(capi().CryptAcquireContextA(&none, "new", kDatabaseProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET));
    }
}

TEST_F(nss_key_import_test, ForeignKeysOfEverySizeComeIn) {
    for (const int bits : {512, 1024, 1040, 2048, 4096}) {
        const std::string name = "foreign " + std::to_string(bits);
        const Bytes blob = foreignKey(bits);
        importInto(name.c_str(), blob, CRYPT_EXPORTABLE);
        EXPECT_EQ(exportKey(name.c_str(), PUBLICKEYBLOB, AT_KEYEXCHANGE), foreignPublicKey()) << bits;
        EXPECT_EQ(exportKey(name.c_str(), PRIVATEKEYBLOB, AT_KEYEXCHANGE), blob) << bits;
        EXPECT_EQ(count(keyList(), name), 1) << keyList();
    }
}

TEST_F(nss_key_import_test, ImportedKeySigns) {
    const Bytes blob = foreignKey(1024);
    importInto("signer", blob, 0);
    const Prov prov("signer", 0);
    HCRYPTHASH hash = 0;
    ASSERT_TRUE(capi().CryptCreateHash(prov.get(), CALG_SHA1, 0, 0, &hash));
    const Bytes data = support::hex("61 62 63");
    ASSERT_TRUE(capi().CryptHashData(hash, data.data(), static_cast<DWORD>(data.size()), 0));
    Bytes signature(128);
    DWORD size = 128;
    ASSERT_TRUE(capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, signature.data(), &size));
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
    const std::string file = home_.file("signature", textOf(Bytes(signature.rbegin(), signature.rend())));
    const ToolResult verified =
        tool("cd " + home_.path() + " && printf abc | openssl dgst -sha1 -prverify key.pem " + "-signature " + file);
    EXPECT_EQ(verified.status, 0) << verified.output;
}

TEST_F(nss_key_import_test, SpecificationFollowsTheBlob) {
    Bytes blob = foreignKey(512);
    importInto("exchange", blob, 0);
    const Prov exchange("exchange", 0);
    KeyHandle key;
    EXPECT_TRUE(capi().CryptGetUserKey(exchange.get(), AT_KEYEXCHANGE, key.out()));
    blob = foreignKey(512);
    blob[5] = 0x24;  // CALG_RSA_SIGN
    importInto("sign", blob, 0);
    const Prov sign("sign", 0);
    KeyHandle none;
    EXPECT_EQ(errorOf([&] { return capi().CryptGetUserKey(sign.get(), AT_KEYEXCHANGE, none.out()); }), NTE_NO_KEY);
    EXPECT_TRUE(capi().CryptGetUserKey(sign.get(), AT_SIGNATURE, none.out()));
}

TEST_F(nss_key_import_test, KeyInTheContainerIsReplaced) {
    makeKey("c", 512);
    const Bytes blob = foreignKey(1024);
    const Prov prov("c", 0);
    EXPECT_EQ(importError(prov.get(), blob), 0u);
    EXPECT_EQ(exportKey("c", PUBLICKEYBLOB, AT_KEYEXCHANGE), foreignPublicKey());
    EXPECT_EQ(count(keyList(), "rsa "), 1) << keyList();
    EXPECT_EQ(importError(prov.get(), blob, 0), 0u) << "the same once more";
    EXPECT_EQ(count(keyList(), "rsa "), 1) << keyList();
    EXPECT_EQ(exportError("c"), NTE_BAD_KEY_STATE);
}

TEST_F(nss_key_import_test, BadArgumentsAreRefused) {
    const Bytes blob = foreignKey(512);
    const Prov prov("c", CRYPT_NEWKEYSET);
    EXPECT_EQ(importError(0, blob), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] {
                  KeyHandle key;
                  return capi().CryptImportKey(prov.get(), nullptr, 10, 0, 0, key.out());
              }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptImportKey(prov.get(), blob.data(), 10, 0, 0, nullptr); }),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(importError(prov.get(), blob, 0, prov.get()), NTE_BAD_KEY);
    EXPECT_EQ(importError(prov.get(), foreignPublicKey()), NTE_BAD_TYPE);
    EXPECT_EQ(importError(prov.get(), blob, 0x10), NTE_BAD_FLAGS);
    const Prov nameless(nullptr, CRYPT_NEWKEYSET);
    EXPECT_EQ(importError(nameless.get(), blob), NTE_PERM);
    EXPECT_EQ(count(keyList(), "rsa "), 0) << keyList();
}

TEST_F(nss_key_import_test, BlobCutAtEveryByteIsRefused) {
    const Bytes blob = foreignKey(512);
    const Prov prov("c", CRYPT_NEWKEYSET);
    for (std::size_t size = 1; size < blob.size(); ++size) {
        const Bytes cut(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(importError(prov.get(), cut), NTE_BAD_DATA) << size;
    }
    EXPECT_EQ(count(keyList(), "rsa "), 0) << keyList();
}

TEST_F(nss_key_import_test, BlobsOfAnotherKindAreRefused) {
    const Bytes blob = foreignKey(512);
    const Prov prov("c", CRYPT_NEWKEYSET);
    const struct {
        std::size_t at;
        std::uint8_t value;
    } kChanges[] = {{1, 3}, {5, 0x66}, {8, 'X'}, {11, '1'}, {12, 1}, {13, 0}, {14, 1}, {15, 0x80}};
    for (const auto& change : kChanges) {
        Bytes changed = blob;
        changed[change.at] = change.value;
        EXPECT_EQ(importError(prov.get(), changed), NTE_BAD_DATA) << change.at;
    }
    EXPECT_EQ(importError(prov.get(), Bytes()), ERROR_INVALID_PARAMETER) << "no bytes have no address";
}

TEST_F(nss_key_import_test, NumbersThatAreNoKeyAreRefused) {
    const Bytes blob = foreignKey(512);
    const Prov prov("c", CRYPT_NEWKEYSET);
    Bytes zeros = blob;
    std::fill(zeros.begin() + 20, zeros.end(), std::uint8_t{0});
    EXPECT_NE(importError(prov.get(), zeros), 0u);
    Bytes ones = blob;
    std::fill(ones.begin() + 20, ones.end(), std::uint8_t{0xFF});
    EXPECT_NE(importError(prov.get(), ones), 0u);
    EXPECT_EQ(count(keyList(), "rsa "), 0) << keyList();
}
