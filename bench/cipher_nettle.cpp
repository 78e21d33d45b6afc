// nettle, which has no RC5.
#include <nettle/arcfour.h>
#include <nettle/arctwo.h>
#include <nettle/cbc.h>
#include <nettle/des.h>
#include <nettle/md2.h>
#include <nettle/md5.h>
#include <nettle/sha1.h>

#include <algorithm>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

template <class Context>
void chained(const Job& job, const Context& context, nettle_cipher_func* encrypt, nettle_cipher_func* decrypt,
             const Bytes& in, Bytes& out) {
    std::uint8_t iv[8];
    std::copy_n(job.iv.begin(), sizeof iv, iv);
    if (job.encrypting)
        cbc_encrypt(&context, encrypt, sizeof iv, iv, in.size(), out.data(), in.data());
    else
        cbc_decrypt(&context, decrypt, sizeof iv, iv, in.size(), out.data(), in.data());
}

template <class Function>
nettle_cipher_func* generic(Function* function) {
    return reinterpret_cast<nettle_cipher_func*>(reinterpret_cast<void*>(function));
}

void des(const Job& job, const Bytes& in, Bytes& out) {
    des_ctx context;
    des_set_key(&context, job.key.data());
    chained(job, context, generic(des_encrypt), generic(des_decrypt), in, out);
}

void des3(const Job& job, const Bytes& in, Bytes& out) {
    des3_ctx context;
    des3_set_key(&context, job.key.data());
    chained(job, context, generic(des3_encrypt), generic(des3_decrypt), in, out);
}

void rc2(const Job& job, const Bytes& in, Bytes& out) {
    arctwo_ctx context;
    arctwo_set_key_ekb(&context, job.key.size(), job.key.data(), job.number);
    chained(job, context, generic(arctwo_encrypt), generic(arctwo_decrypt), in, out);
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    arcfour_ctx context;
    arcfour_set_key(&context, job.key.size(), job.key.data());
    arcfour_crypt(&context, in.size(), out.data(), in.data());
}

void md2(const Job& /*job*/, const Bytes& in, Bytes& out) {
    md2_ctx context;
    md2_init(&context);
    md2_update(&context, in.size(), in.data());
    md2_digest(&context, out.size(), out.data());
}

void md5(const Job& /*job*/, const Bytes& in, Bytes& out) {
    md5_ctx context;
    md5_init(&context);
    md5_update(&context, in.size(), in.data());
    md5_digest(&context, out.size(), out.data());
}

void sha1(const Job& /*job*/, const Bytes& in, Bytes& out) {
    sha1_ctx context;
    sha1_init(&context);
    sha1_update(&context, in.size(), in.data());
    sha1_digest(&context, out.size(), out.data());
}

}  // namespace

std::vector<Peer> nettlePeers() {
    return {{"DES-CBC", "nettle", des}, {"3DES-CBC", "nettle", des3}, {"RC2-CBC", "nettle", rc2},
            {"RC4", "nettle", rc4},     {"MD2", "nettle", md2},       {"MD5", "nettle", md5},
            {"SHA-1", "nettle", sha1}};
}

}  // namespace bench
