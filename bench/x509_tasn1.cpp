// libtasn1 with the certificate's module in data/pkix.asn.
#include <libtasn1.h>

#include <cstdlib>
#include <memory>

#include "bench/x509_peers.h"

namespace bench {

namespace {

asn1_node definitions() {
    static asn1_node tree = [] {
        asn1_node made = nullptr;
        char error[ASN1_MAX_ERROR_DESCRIPTION_SIZE];
        if (asn1_parser2tree(VT_BENCH_DATA "/pkix.asn", &made, error) != ASN1_SUCCESS)
            std::abort();
        return made;
    }();
    return tree;
}

asn1_node decoded(const Bytes& certificate) {
    asn1_node made = nullptr;
    if (asn1_create_element(definitions(), "PKIX.Certificate", &made) != ASN1_SUCCESS ||
        asn1_der_decoding(&made, certificate.data(), static_cast<int>(certificate.size()), nullptr) != ASN1_SUCCESS)
        std::abort();
    return made;
}

}  // namespace

X509Peer tasn1X509(const Bytes& certificate) {
    const std::shared_ptr<asn1_node_st> held(decoded(certificate),
                                             [](asn1_node made) { asn1_delete_structure(&made); });
    const auto out = std::make_shared<Bytes>(certificate.size());
    return {"libtasn1",
            [certificate] {
                asn1_node made = decoded(certificate);
                asn1_delete_structure(&made);
            },
            [held, out] {
                int length = static_cast<int>(out->size());
                if (asn1_der_coding(held.get(), "", out->data(), &length, nullptr) != ASN1_SUCCESS)
                    std::abort();
                return static_cast<std::size_t>(length);
            }};
}

}  // namespace bench
