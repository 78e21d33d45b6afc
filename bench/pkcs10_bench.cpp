// The signature of a request for an RSA-2048 key checked, from its DER, beside other libraries.
#include <benchmark/benchmark.h>
#include <botan/pk_keys.h>
#include <botan/pkcs10.h>
#include <gnutls/x509.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bench/pattern.h"
#include "bench/pkcs10_peers.h"

namespace {

using bench::Bytes;

Bytes request() {
    std::ifstream file(VT_BENCH_DATA "/request.der", std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (bytes.empty())
        std::abort();
    return bytes;
}

bool botan(const Bytes& der) {
    const Botan::PKCS10_Request read(der);
    const std::unique_ptr<Botan::Public_Key> key(read.subject_public_key());
    return read.check_signature(*key);
}

bool gnutls(const Bytes& der) {
    const gnutls_datum_t in = {const_cast<unsigned char*>(der.data()), static_cast<unsigned int>(der.size())};
    gnutls_x509_crq_t read = nullptr;
    gnutls_x509_crq_init(&read);
    const bool good = gnutls_x509_crq_import(read, &in, GNUTLS_X509_FMT_DER) == 0 &&
                      gnutls_x509_crq_verify(read, GNUTLS_VERIFY_ALLOW_BROKEN) == 0;
    gnutls_x509_crq_deinit(read);
    return good;
}

bool openssl(const Bytes& der) {
    const unsigned char* at = der.data();
    const std::unique_ptr<X509_REQ, decltype(&X509_REQ_free)> read(
        d2i_X509_REQ(nullptr, &at, static_cast<long>(der.size())), X509_REQ_free);
    return read != nullptr && X509_REQ_verify(read.get(), X509_REQ_get0_pubkey(read.get())) == 1;
}

struct Reader {
    const char* who;
    bool (*verify)(const Bytes& der);
};
constexpr Reader kReaders[] = {{"ours", bench::weVerifyRequest},
                               {"Botan", botan},
                               {"GnuTLS", gnutls},
                               {"NSS", bench::nssVerifiesRequest},
                               {"OpenSSL", openssl}};

const int kAdded = [] {
    for (const Reader& reader : kReaders)
        benchmark::RegisterBenchmark((std::string("verify request, 2048 bits/") + reader.who).c_str(),
                                     [&reader](benchmark::State& state) {
                                         const Bytes der = request();
                                         bool good = true;
                                         for ([[maybe_unused]] auto round : state)
                                             good = reader.verify(der) && good;
                                         if (!good)
                                             state.SkipWithError("not verified");
                                     });
    return 0;
}();

}  // namespace
