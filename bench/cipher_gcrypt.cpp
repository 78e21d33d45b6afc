// libgcrypt, whose RC2 has 40 bits alone; it has neither RC5 nor MD2.
#include <gcrypt.h>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

Run cipher(int algorithm, int mode) {
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        gcry_cipher_hd_t handle = nullptr;
        gcry_cipher_open(&handle, algorithm, mode, 0);
        gcry_cipher_setkey(handle, job.key.data(), job.key.size());
        if (mode == GCRY_CIPHER_MODE_CBC)
            gcry_cipher_setiv(handle, job.iv.data(), job.iv.size());
        (job.encrypting ? gcry_cipher_encrypt : gcry_cipher_decrypt)(handle, out.data(), out.size(), in.data(),
                                                                     in.size());
        gcry_cipher_close(handle);
    };
}

Run digest(int algorithm) {
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        gcry_md_hash_buffer(algorithm, out.data(), in.data(), in.size());
    };
}

}  // namespace

std::vector<Peer> gcryptPeers() {
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    return {{"DES-CBC", "libgcrypt", cipher(GCRY_CIPHER_DES, GCRY_CIPHER_MODE_CBC)},
            {"3DES-CBC", "libgcrypt", cipher(GCRY_CIPHER_3DES, GCRY_CIPHER_MODE_CBC)},
            {"RC4", "libgcrypt", cipher(GCRY_CIPHER_ARCFOUR, GCRY_CIPHER_MODE_STREAM)},
            {"MD5", "libgcrypt", digest(GCRY_MD_MD5)},
            {"SHA-1", "libgcrypt", digest(GCRY_MD_SHA1)}};
}

}  // namespace bench
