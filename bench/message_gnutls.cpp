// GnuTLS signs and verifies; it has no enveloped data.
#include <gnutls/abstract.h>
#include <gnutls/pkcs7.h>
#include <gnutls/x509.h>

#include <cstdlib>
#include <memory>

#include "bench/message_peers.h"

namespace bench {
namespace {

void check(int code) {
    if (code < 0)
        std::abort();
}

gnutls_datum_t datum(const Bytes& bytes) {
    return {const_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

using Certificate = std::shared_ptr<gnutls_x509_crt_int>;
using PrivateKey = std::shared_ptr<gnutls_privkey_st>;
struct ReleaseMessage {
    void operator()(gnutls_pkcs7_int* message) const { gnutls_pkcs7_deinit(message); }
};
using Message = std::unique_ptr<gnutls_pkcs7_int, ReleaseMessage>;

struct Keys {
    PrivateKey key;
    Certificate signer, authority, root;
};

Certificate certificate(const gnutls_datum_t& der) {
    gnutls_x509_crt_t made = nullptr;
    check(gnutls_x509_crt_init(&made));
    check(gnutls_x509_crt_import(made, &der, GNUTLS_X509_FMT_DER));
    return {made, gnutls_x509_crt_deinit};
}

PrivateKey privateKey(const Bytes& der) {
    const gnutls_datum_t in = datum(der);
    gnutls_privkey_t made = nullptr;
    check(gnutls_privkey_init(&made));
    check(gnutls_privkey_import_x509_raw(made, &in, GNUTLS_X509_FMT_DER, nullptr, 0));
    return {made, gnutls_privkey_deinit};
}

Message newMessage() {
    gnutls_pkcs7_t made = nullptr;
    check(gnutls_pkcs7_init(&made));
    return Message(made);
}

void sign(const Keys& keys, const Bytes& content, Bytes* message) {
    const gnutls_datum_t in = datum(content);
    const Message made = newMessage();
    check(gnutls_pkcs7_sign(made.get(), keys.signer.get(), keys.key.get(), &in, nullptr, nullptr, GNUTLS_DIG_SHA1,
                            GNUTLS_PKCS7_EMBED_DATA | GNUTLS_PKCS7_INCLUDE_CERT));
    check(gnutls_pkcs7_set_crt(made.get(), keys.authority.get()));
    check(gnutls_pkcs7_set_crt(made.get(), keys.root.get()));
    gnutls_datum_t out = {};
    check(gnutls_pkcs7_export2(made.get(), GNUTLS_X509_FMT_DER, &out));
    if (message != nullptr)
        message->assign(out.data, out.data + out.size);
    gnutls_free(out.data);
}

bool verifiedBy(gnutls_pkcs7_t message, int index) {
    gnutls_datum_t der = {};
    check(gnutls_pkcs7_get_crt_raw2(message, static_cast<unsigned>(index), &der));
    const Certificate signer = certificate(der);
    gnutls_free(der.data);
    return gnutls_pkcs7_verify_direct(message, signer.get(), 0, nullptr, GNUTLS_VERIFY_ALLOW_BROKEN) == 0;
}

std::size_t verify(const Bytes& der) {
    const gnutls_datum_t in = datum(der);
    const Message read = newMessage();
    check(gnutls_pkcs7_import(read.get(), &in, GNUTLS_X509_FMT_DER));
    const int count = gnutls_pkcs7_get_crt_count(read.get());
    int index = 0;
    while (index < count && !verifiedBy(read.get(), index))
        ++index;
    check(index < count ? 0 : -1);
    gnutls_datum_t content = {};
    check(gnutls_pkcs7_get_embedded_data(read.get(), 0, &content));
    gnutls_free(content.data);
    return content.size;
}

}  // namespace

MessagePeer gnuTlsMessages(const MessageInputs& inputs) {
    const Keys keys = {privateKey(inputs.key), certificate(datum(inputs.signer)), certificate(datum(inputs.authority)),
                       certificate(datum(inputs.root))};
    return {"GnuTLS", [keys](const Bytes& content, Bytes* message) { sign(keys, content, message); }, verify, nullptr,
            nullptr};
}

}  // namespace bench
