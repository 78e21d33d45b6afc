// mbedTLS 2, which has neither RC2 nor RC5; Debian's build has RC4 and no MD2.
#include <mbedtls/arc4.h>
#include <mbedtls/des.h>
#include <mbedtls/md5.h>
#include <mbedtls/sha1.h>

#include <algorithm>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

int direction(const Job& job) {
    return job.encrypting ? MBEDTLS_DES_ENCRYPT : MBEDTLS_DES_DECRYPT;
}

void des(const Job& job, const Bytes& in, Bytes& out) {
    mbedtls_des_context context;
    unsigned char iv[8];
    std::copy_n(job.iv.begin(), sizeof iv, iv);
    mbedtls_des_init(&context);
    (job.encrypting ? mbedtls_des_setkey_enc : mbedtls_des_setkey_dec)(&context, job.key.data());
    mbedtls_des_crypt_cbc(&context, direction(job), in.size(), iv, in.data(), out.data());
    mbedtls_des_free(&context);
}

void des3(const Job& job, const Bytes& in, Bytes& out) {
    mbedtls_des3_context context;
    unsigned char iv[8];
    std::copy_n(job.iv.begin(), sizeof iv, iv);
    mbedtls_des3_init(&context);
    (job.encrypting ? mbedtls_des3_set3key_enc : mbedtls_des3_set3key_dec)(&context, job.key.data());
    mbedtls_des3_crypt_cbc(&context, direction(job), in.size(), iv, in.data(), out.data());
    mbedtls_des3_free(&context);
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    mbedtls_arc4_context context;
    mbedtls_arc4_init(&context);
    mbedtls_arc4_setup(&context, job.key.data(), static_cast<unsigned>(job.key.size()));
    mbedtls_arc4_crypt(&context, in.size(), in.data(), out.data());
    mbedtls_arc4_free(&context);
}

}  // namespace

std::vector<Peer> mbedTlsPeers() {
    return {
        {"DES-CBC", "mbedTLS", des},
        {"3DES-CBC", "mbedTLS", des3},
        {"RC4", "mbedTLS", rc4},
        {"MD5", "mbedTLS",
         [](const Job& /*job*/, const Bytes& in, Bytes& out) { mbedtls_md5_ret(in.data(), in.size(), out.data()); }},
        {"SHA-1", "mbedTLS",
         [](const Job& /*job*/, const Bytes& in, Bytes& out) { mbedtls_sha1_ret(in.data(), in.size(), out.data()); }}};
}

}  // namespace bench
