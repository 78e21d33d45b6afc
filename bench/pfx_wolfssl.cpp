#include <wolfssl/options.h>
#include <wolfssl/wolfcrypt/pkcs12.h>

#include <cstdlib>

#include "bench/pfx_peers.h"

namespace bench {
namespace {

void check(int code) {
    if (code < 0)
        std::abort();
}

std::size_t open(const Bytes& der, const std::string& password) {
    WC_PKCS12* file = wc_PKCS12_new();
    check(wc_d2i_PKCS12(der.data(), static_cast<word32>(der.size()), file));
    byte* key = nullptr;
    word32 keyLength = 0;
    byte* certificate = nullptr;
    word32 certificateLength = 0;
    WC_DerCertList* others = nullptr;
    check(wc_PKCS12_parse(file, password.c_str(), &key, &keyLength, &certificate, &certificateLength, &others));
    std::size_t total = 1;
    while (others != nullptr) {
        WC_DerCertList* const each = others;
        others = each->next;
        XFREE(each->buffer, nullptr, DYNAMIC_TYPE_PKCS);
        XFREE(each, nullptr, DYNAMIC_TYPE_PKCS);
        ++total;
    }
    XFREE(key, nullptr, DYNAMIC_TYPE_PUBLIC_KEY);
    XFREE(certificate, nullptr, DYNAMIC_TYPE_PKCS);
    wc_PKCS12_free(file);
    return total;
}

}  // namespace

PfxPeer wolfSslPfx() {
    return {"wolfSSL", open, "rc2.p12"};
}

}  // namespace bench
