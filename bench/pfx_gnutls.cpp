#include <gnutls/pkcs12.h>
#include <gnutls/x509.h>

#include <cstdlib>
#include <memory>

#include "bench/pfx_peers.h"

namespace bench {
namespace {

void check(int code) {
    if (code < 0)
        std::abort();
}

struct ReleaseFile {
    void operator()(gnutls_pkcs12_int* file) const { gnutls_pkcs12_deinit(file); }
};

void release(gnutls_x509_crt_t* certificates, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i)
        gnutls_x509_crt_deinit(certificates[i]);
    gnutls_free(certificates);
}

std::size_t open(const Bytes& der, const std::string& password) {
    gnutls_pkcs12_t made = nullptr;
    check(gnutls_pkcs12_init(&made));
    const std::unique_ptr<gnutls_pkcs12_int, ReleaseFile> file(made);
    const gnutls_datum_t in = {const_cast<unsigned char*>(der.data()), static_cast<unsigned int>(der.size())};
    check(gnutls_pkcs12_import(file.get(), &in, GNUTLS_X509_FMT_DER, 0));
    check(gnutls_pkcs12_verify_mac(file.get(), password.c_str()));
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_crt_t* chain = nullptr;
    gnutls_x509_crt_t* others = nullptr;
    unsigned int chainLength = 0;
    unsigned int othersLength = 0;
    check(gnutls_pkcs12_simple_parse(file.get(), password.c_str(), &key, &chain, &chainLength, &others, &othersLength,
                                     nullptr, 0));
    gnutls_x509_privkey_deinit(key);
    release(chain, chainLength);
    release(others, othersLength);
    return std::size_t{chainLength} + othersLength;
}

}  // namespace

PfxPeer gnuTlsPfx() {
    return {"GnuTLS", open};
}

}  // namespace bench
