// Key blobs between the flat functions and the system's CryptoAPI.
#include <gtest/gtest.h>

#include <algorithm>

#include "pki/flat/flat.h"
#include "tests/flat/records.h"
#include "tests/platform/win32_container.h"
#include "tests/vectors/ms_private_keys.h"
#include "tests/vectors/signed_messages.h"

namespace {

using records::PrivateKey;
using support::Bytes;
using support::hex;
using support::toHex;
using win32::Container;

Bytes reversed(Bytes bytes) {
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

class win32_key_blob_test : public testing::Test {
  protected:
    // An imported key lives as long as the test.
    HCRYPTKEY import(const Bytes& blob) {
        HCRYPTKEY key = 0;
        EXPECT_TRUE(CryptImportKey(container.provider(), blob.data(), static_cast<DWORD>(blob.size()), 0,
                                   CRYPT_EXPORTABLE, &key))
            << GetLastError();
        imported.push_back(key);
        return key;
    }

    HCRYPTHASH hashOfContent() const {
        HCRYPTHASH hash = 0;
        const Bytes content = hex(vectors::kContent);
        EXPECT_TRUE(CryptCreateHash(container.provider(), CALG_SHA1, 0, 0, &hash));
        EXPECT_TRUE(CryptHashData(hash, content.data(), static_cast<DWORD>(content.size()), 0));
        return hash;
    }

    // The signature of the content by the container's key, most significant byte first.
    std::string signature() const {
        const HCRYPTHASH hash = hashOfContent();
        DWORD size = 512;
        Bytes bytes(size);
        EXPECT_TRUE(CryptSignHashA(hash, AT_KEYEXCHANGE, nullptr, 0, bytes.data(), &size)) << GetLastError();
        bytes.resize(size);
        CryptDestroyHash(hash);
        return toHex(reversed(bytes));
    }

    ~win32_key_blob_test() override {
        for (const HCRYPTKEY key : imported)
            CryptDestroyKey(key);
    }

    Container container{"vt-win32-blobs"};
    std::vector<HCRYPTKEY> imported;
};

TEST_F(win32_key_blob_test, PrivateBlobOf2048BitsIsImportedAndSigns) {
    const PrivateKey dave(vectors::kDaveKey.items);
    Bytes blob(1172);
    std::uint32_t length = 1172;
    ASSERT_EQ(VT_VPKToMSPriKey(nullptr, dave, blob.data(), &length), 0);
    const HCRYPTKEY key = import(blob);
    EXPECT_EQ(toHex(Container::exported(key, PRIVATEKEYBLOB)), toHex(blob));
    EXPECT_EQ(signature(), toHex(hex(vectors::kDaveSha1)));
}

TEST_F(win32_key_blob_test, PrivateBlobOf1024BitsIsImportedAndSigns) {
    const PrivateKey alice(vectors::kAliceKey.items);
    Bytes blob(596);
    std::uint32_t length = 596;
    ASSERT_EQ(VT_VPKToMSPriKey1024(nullptr, alice, blob.data(), &length), 0);
    const HCRYPTKEY key = import(blob);
    EXPECT_EQ(toHex(Container::exported(key, PRIVATEKEYBLOB)), toHex(blob));
    EXPECT_EQ(signature(), toHex(hex(vectors::kAliceSha1)));
}

TEST_F(win32_key_blob_test, PublicBlobIsImportedAndVerifies) {
    const PrivateKey dave(vectors::kDaveKey.items);
    const PKCS_PubKey numbers = {dave.record.modulus, dave.record.publicExponent};
    Bytes blob(276);
    std::uint32_t length = 276;
    ASSERT_EQ(VT_VPKToMSPubKey(nullptr, &numbers, blob.data(), &length), 0);
    const HCRYPTKEY key = import(blob);
    const HCRYPTHASH hash = hashOfContent();
    Bytes good = reversed(hex(vectors::kDaveSha1));
    EXPECT_TRUE(CryptVerifySignatureA(hash, good.data(), static_cast<DWORD>(good.size()), key, nullptr, 0));
    good[5] ^= 1;
    EXPECT_FALSE(CryptVerifySignatureA(hash, good.data(), static_cast<DWORD>(good.size()), key, nullptr, 0));
    CryptDestroyHash(hash);
}

TEST_F(win32_key_blob_test, ExportedKeysComeBackAsTheyWere) {
    const HCRYPTKEY key = container.generate(AT_KEYEXCHANGE, 2048, CRYPT_EXPORTABLE);
    const Bytes blob = Container::exported(key, PRIVATEKEYBLOB);
    ASSERT_EQ(blob.size(), 1172u);
    std::uint32_t derLength = 2000;
    Bytes der(derLength);
    ASSERT_EQ(VT_MSPriKeyToP1Der(blob.data(), der.data(), &derLength), 0);
    Bytes back(1172);
    std::uint32_t length = 1172;
    ASSERT_EQ(VT_P1DerToMSPriKey(der.data(), derLength, back.data(), &length), 0);
    EXPECT_EQ(toHex(back), toHex(blob));
}

TEST_F(win32_key_blob_test, ExportedPublicKeyOfASignatureKeyIsWhatWeWrite) {
    const Bytes blob = Container::exported(container.generate(AT_SIGNATURE, 2048, 0), PUBLICKEYBLOB);
    ASSERT_EQ(blob.size(), 276u);
    PKCS_PubKey key = {};
    ASSERT_EQ(VT_MSPubKeyToVPK(nullptr, blob.data(), &key), 0);
    Bytes back(276);
    std::uint32_t length = 276;
    EXPECT_EQ(VT_VPKToMSPubKey(nullptr, &key, back.data(), &length), 0);
    PKCS_FreePubKey(&key);
    EXPECT_EQ(toHex(back), toHex(blob));
}

// The system takes the keys of openssl as we do.
TEST_F(win32_key_blob_test, BlobsOfOpensslAreTheSystemsToo) {
    for (const MsPrivateKey& vector : kMsPrivateKeys) {
        if (vector.bits != 2048 || vector.exponent != 65537)
            continue;
        const HCRYPTKEY key = import(hex(vector.blob));
        EXPECT_EQ(toHex(Container::exported(key, PRIVATEKEYBLOB)), toHex(hex(vector.blob)));
        Bytes exported = Container::exported(key, PRIVATEKEYBLOB);
        std::uint32_t length = 2000;
        Bytes der(length);
        ASSERT_EQ(VT_MSPriKeyToP1Der(exported.data(), der.data(), &length), 0);
        der.resize(length);
        EXPECT_EQ(toHex(der), toHex(hex(vector.der)));
    }
}

}  // namespace
