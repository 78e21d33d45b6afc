// OpenSSL by EVP_PKEY without padding. It blinds the private operation and checks its result.
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstdlib>
#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

using Operation = int (*)(EVP_PKEY_CTX*, unsigned char*, std::size_t*, const unsigned char*, std::size_t);

std::shared_ptr<EVP_PKEY_CTX> contextOf(const RsaNumbers& key, int (*init)(EVP_PKEY_CTX*)) {
    const Bytes der = privateKeyDer(key);
    const unsigned char* at = der.data();
    EVP_PKEY* pkey = d2i_PrivateKey(EVP_PKEY_RSA, nullptr, &at, static_cast<long>(der.size()));
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new(pkey, nullptr);
    EVP_PKEY_free(pkey);
    if (init(context) != 1 || EVP_PKEY_CTX_set_rsa_padding(context, RSA_NO_PADDING) != 1)
        std::abort();
    return {context, EVP_PKEY_CTX_free};
}

RsaRun runner(const RsaNumbers& key, int (*init)(EVP_PKEY_CTX*), Operation operation) {
    return [context = contextOf(key, init), operation](const Bytes& in, Bytes& out) {
        std::size_t length = out.size();
        operation(context.get(), out.data(), &length, in.data(), in.size());
    };
}

void generate(int bits) {
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr);
    EVP_PKEY* pkey = nullptr;
    EVP_PKEY_keygen_init(context);
    EVP_PKEY_CTX_set_rsa_keygen_bits(context, bits);
    EVP_PKEY_keygen(context, &pkey);
    EVP_PKEY_free(pkey);
    EVP_PKEY_CTX_free(context);
}

}  // namespace

std::vector<RsaPeer> openSslRsa() {
    return {{"OpenSSL", [](const RsaNumbers& key) { return runner(key, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt); },
             [](const RsaNumbers& key) { return runner(key, EVP_PKEY_decrypt_init, EVP_PKEY_decrypt); }, generate,
             512}};
}

}  // namespace bench
