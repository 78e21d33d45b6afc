// libtomcrypt over libtommath by its bare operation. It blinds the private operation and checks its result.
#define LTM_DESC  // the numbers of libtommath
#include <tomcrypt.h>

#include <cstdlib>
#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

std::shared_ptr<rsa_key> load(const RsaNumbers& numbers) {
    const Bytes der = privateKeyDer(numbers);
    const std::shared_ptr<rsa_key> key(new rsa_key, [](rsa_key* made) {
        rsa_free(made);
        delete made;
    });
    if (rsa_import(der.data(), static_cast<unsigned long>(der.size()), key.get()) != CRYPT_OK)
        std::abort();
    return key;
}

RsaRun runner(const RsaNumbers& numbers, int which) {
    return [key = load(numbers), which](const Bytes& in, Bytes& out) {
        unsigned long length = static_cast<unsigned long>(out.size());
        rsa_exptmod(in.data(), static_cast<unsigned long>(in.size()), out.data(), &length, which, key.get());
    };
}

void generate(int bits) {
    rsa_key key;
    if (rsa_make_key(nullptr, find_prng("sprng"), bits / 8, 65537, &key) != CRYPT_OK)
        std::abort();
    rsa_free(&key);
}

}  // namespace

std::vector<RsaPeer> tomCryptRsa() {
    ltc_mp = ltm_desc;
    if (register_prng(&sprng_desc) < 0)
        std::abort();
    return {{"libtomcrypt", [](const RsaNumbers& key) { return runner(key, PK_PUBLIC); },
             [](const RsaNumbers& key) { return runner(key, PK_PRIVATE); }, generate, 1024}};
}

}  // namespace bench
