#include <algorithm>

#include "tests/platform/nss_fixture.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

class nss_hash_test : public NssTest {};

class HashHandle {
  public:
    HashHandle(const Prov& prov, ALG_ID alg) { EXPECT_TRUE(capi().CryptCreateHash(prov.get(), alg, 0, 0, &handle_)); }
    ~HashHandle() { EXPECT_TRUE(capi().CryptDestroyHash(handle_)); }
    HashHandle(const HashHandle&) = delete;
    HashHandle& operator=(const HashHandle&) = delete;
    HCRYPTHASH get() const { return handle_; }

  private:
    HCRYPTHASH handle_ = 0;
};

constexpr char kMessage[] = "to be signed";

void feed(const HashHandle& hash) {
    // In two pieces, which must not matter.
    const auto* bytes = reinterpret_cast<const BYTE*>(kMessage);
    EXPECT_TRUE(capi().CryptHashData(hash.get(), bytes, 5, 0));
    EXPECT_TRUE(capi().CryptHashData(hash.get(), bytes + 5, sizeof kMessage - 1 - 5, 0));
}

Bytes sign(const HashHandle& hash, DWORD spec = AT_SIGNATURE) {
    DWORD size = 0;
    EXPECT_TRUE(capi().CryptSignHashA(hash.get(), spec, nullptr, 0, nullptr, &size))
        << std::hex << sys().GetLastError();
    Bytes signature(size);
    EXPECT_TRUE(capi().CryptSignHashA(hash.get(), spec, nullptr, 0, signature.data(), &size))
        << std::hex << sys().GetLastError();
    EXPECT_EQ(size, signature.size());
    return signature;
}

std::string verify(const support::ScratchHome& home, const char* container, const char* digest, Bytes signature) {
    std::reverse(signature.begin(), signature.end());
    const std::string signatureFile = home.file("signature", textOf(signature));
    const std::string messageFile = home.file("message", kMessage);
    return tool("openssl dgst -" + std::string(digest) + " -verify " + publicKeyPem(home, container) + " -signature " +
                signatureFile + " " + messageFile)
        .output;
}

}  // namespace

TEST_F(nss_hash_test, OpensslVerifiesEverySignature) {
    struct Case {
        ALG_ID alg;
        const char* digest;
    };
    const Case cases[] = {{CALG_MD5, "md5"},
                          {CALG_SHA1, "sha1"},
                          {CALG_SHA_256, "sha256"},
                          {CALG_SHA_384, "sha384"},
                          {CALG_SHA_512, "sha512"}};
    makeKey("c", 1024, 0);
    const Prov prov("c", 0);
    for (const Case& c : cases) {
        const HashHandle hash(prov, c.alg);
        feed(hash);
        EXPECT_EQ(verify(home_, "c", c.digest, sign(hash)), "Verified OK\n") << c.digest;
    }
}

TEST_F(nss_hash_test, EveryKeySizeSigns) {
    for (const DWORD bits : {512u, 2048u, 4096u}) {
        const std::string name = "key" + std::to_string(bits);
        makeKey(name.c_str(), bits, 0);
        const Prov prov(name.c_str(), 0);
        for (const ALG_ID alg : {CALG_MD5, CALG_SHA1}) {
            const HashHandle hash(prov, alg);
            feed(hash);
            const Bytes signature = sign(hash);
            EXPECT_EQ(signature.size(), bits / 8);
            EXPECT_EQ(verify(home_, name.c_str(), alg == CALG_MD5 ? "md5" : "sha1", signature), "Verified OK\n")
                << bits;
        }
    }
}

TEST_F(nss_hash_test, SignatureEndsTheHashing) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    const HashHandle hash(prov, CALG_SHA1);
    feed(hash);
    const Bytes first = sign(hash);
    const BYTE byte = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptHashData(hash.get(), &byte, 1, 0); }), NTE_BAD_HASH_STATE);
    EXPECT_EQ(sign(hash), first) << "the same may be signed again";
}

TEST_F(nss_hash_test, HashOutlivesItsContext) {
    makeKey("c", 512);
    HCRYPTPROV prov = 0;
    ASSERT_TRUE(capi().CryptAcquireContextA(&prov, "c", nullptr, PROV_RSA_FULL, 0));
    HCRYPTHASH hash = 0;
    ASSERT_TRUE(capi().CryptCreateHash(prov, CALG_SHA1, 0, 0, &hash));
    EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
    DWORD size = 0;
    EXPECT_TRUE(capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, nullptr, &size));
    EXPECT_EQ(size, 64u);
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
}

TEST_F(nss_hash_test, DigestThatDoesNotFitTheKeyFails) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    const HashHandle hash(prov, CALG_SHA_512);
    feed(hash);
    DWORD size = 64;
    Bytes signature(size);
    EXPECT_EQ(
        errorOf([&] { return capi().CryptSignHashA(hash.get(), AT_SIGNATURE, nullptr, 0, signature.data(), &size); }),
        NTE_FAIL);
}

TEST_F(nss_hash_test, RefusesBadArguments) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    HCRYPTHASH made = 0;
    const auto createError = [&](HCRYPTPROV handle, ALG_ID alg, HCRYPTKEY key, DWORD flags) {
        return errorOf([&] { return capi().CryptCreateHash(handle, alg, key, flags, &made); });
    };
    EXPECT_EQ(createError(prov.get(), 0x1234, 0, 0), NTE_BAD_ALGID);
    EXPECT_EQ(createError(prov.get(), CALG_SHA1, 1, 0), NTE_BAD_KEY);
    EXPECT_EQ(createError(prov.get(), CALG_SHA1, 0, 1), NTE_BAD_FLAGS);
    EXPECT_EQ(createError(0, CALG_SHA1, 0, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptCreateHash(prov.get(), CALG_SHA1, 0, 0, nullptr); }),
              ERROR_INVALID_PARAMETER);

    const HashHandle hash(prov, CALG_SHA1);
    const BYTE byte = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptHashData(hash.get(), &byte, 1, 1); }), NTE_BAD_FLAGS);
    EXPECT_EQ(errorOf([&] { return capi().CryptHashData(hash.get(), nullptr, 1, 0); }), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptHashData(hash.get(), nullptr, 0, 0); }), 0u);
    EXPECT_EQ(errorOf([&] { return capi().CryptHashData(0, &byte, 1, 0); }), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([] { return capi().CryptDestroyHash(0); }), ERROR_INVALID_PARAMETER);

    DWORD size = 0;
    const auto signError = [&](HCRYPTHASH handle, DWORD spec, DWORD flags) {
        return errorOf([&] { return capi().CryptSignHashA(handle, spec, nullptr, flags, nullptr, &size); });
    };
    EXPECT_EQ(signError(hash.get(), AT_KEYEXCHANGE, 0), NTE_NO_KEY);
    EXPECT_EQ(signError(hash.get(), 9, 0), NTE_NO_KEY);
    EXPECT_EQ(signError(hash.get(), AT_SIGNATURE, 1), NTE_BAD_FLAGS);
    EXPECT_EQ(signError(0, AT_SIGNATURE, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&] { return capi().CryptSignHashA(hash.get(), AT_SIGNATURE, nullptr, 0, nullptr, nullptr); }),
              ERROR_INVALID_PARAMETER);
    Bytes signature(63, 0x55);
    size = 63;
    EXPECT_EQ(
        errorOf([&] { return capi().CryptSignHashA(hash.get(), AT_SIGNATURE, nullptr, 0, signature.data(), &size); }),
        ERROR_MORE_DATA);
    EXPECT_EQ(size, 64u);
    EXPECT_EQ(signature, Bytes(63, 0x55));
}
