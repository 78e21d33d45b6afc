// OpenSSL, with its legacy provider. Debian's build has neither RC5 nor MD2.
#include <openssl/evp.h>
#include <openssl/provider.h>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

Run cipher(const char* name, bool padless) {
    EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        int length = 0;
        const int direction = job.encrypting ? 1 : 0;
        EVP_CipherInit_ex(context, fetched, nullptr, job.key.data(), job.iv.data(), direction);
        if (padless)
            EVP_CIPHER_CTX_set_padding(context, 0);
        EVP_CipherUpdate(context, out.data(), &length, in.data(), static_cast<int>(in.size()));
        EVP_CipherFinal_ex(context, out.data() + length, &length);
    };
}

Run digest(const char* name) {
    EVP_MD* const fetched = EVP_MD_fetch(nullptr, name, nullptr);
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        EVP_DigestInit_ex(context, fetched, nullptr);
        EVP_DigestUpdate(context, in.data(), in.size());
        EVP_DigestFinal_ex(context, out.data(), nullptr);
    };
}

}  // namespace

std::vector<Peer> openSslPeers() {
    OSSL_PROVIDER_load(nullptr, "default");
    OSSL_PROVIDER_load(nullptr, "legacy");
    return {{"DES-CBC", "OpenSSL", cipher("DES-CBC", true)},
            {"3DES-CBC", "OpenSSL", cipher("DES-EDE3-CBC", true)},
            {"RC2-CBC", "OpenSSL", cipher("RC2-CBC", true)},
            {"RC4", "OpenSSL", cipher("RC4", false)},
            {"MD5", "OpenSSL", digest("MD5")},
            {"SHA-1", "OpenSSL", digest("SHA1")}};
}

}  // namespace bench
