#include <openssl/pkcs12.h>
#include <openssl/provider.h>

#include <cstdlib>
#include <memory>

#include "bench/pfx_peers.h"

namespace bench {
namespace {

template <class T>
T present(T object) {
    if (!object)
        std::abort();
    return object;
}

struct ReleaseFile {
    void operator()(PKCS12* file) const { PKCS12_free(file); }
};

std::size_t open(const Bytes& der, const std::string& password) {
    const unsigned char* at = der.data();
    const std::unique_ptr<PKCS12, ReleaseFile> file(present(d2i_PKCS12(nullptr, &at, static_cast<long>(der.size()))));
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;
    STACK_OF(X509)* others = nullptr;
    present(PKCS12_parse(file.get(), password.c_str(), &key, &certificate, &others) == 1);
    const int total = sk_X509_num(others) + 1;
    EVP_PKEY_free(key);
    X509_free(certificate);
    sk_X509_pop_free(others, X509_free);
    return static_cast<std::size_t>(total);
}

}  // namespace

PfxPeer openSslPfx() {
    present(OSSL_PROVIDER_load(nullptr, "legacy"));
    present(OSSL_PROVIDER_load(nullptr, "default"));
    return {"OpenSSL", open};
}

}  // namespace bench
