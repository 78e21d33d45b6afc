// wolfSSL by its operation without padding. The private operation and key generation call an mp_rand, which libtommath
// exports too, so they cannot run in one process with it.
#define SP_WORD_SIZE 64  // as the library was built, which its options do not say
#include <wolfssl/options.h>
// The options first.
#include <wolfssl/wolfcrypt/asn_public.h>
#include <wolfssl/wolfcrypt/rsa.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

struct Key {
    Key() { wc_InitRsaKey(&rsa, nullptr); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { wc_FreeRsaKey(&rsa); }
    RsaKey rsa;
};

RsaRun publicOp(const RsaNumbers& numbers) {
    const auto key = std::make_shared<Key>();
    const Bytes der = privateKeyDer(numbers);
    word32 at = 0;
    wc_RsaPrivateKeyDecode(der.data(), &at, &key->rsa, static_cast<word32>(der.size()));
    return [=](const Bytes& in, Bytes& out) {
        auto length = static_cast<word32>(out.size());
        wc_RsaDirect(const_cast<byte*>(in.data()), static_cast<word32>(in.size()), out.data(), &length, &key->rsa,
                     RSA_PUBLIC_ENCRYPT, nullptr);
    };
}

}  // namespace

std::vector<RsaPeer> wolfSslRsa() {
    return {{"wolfSSL", publicOp, nullptr, nullptr, 512}};
}

}  // namespace bench
