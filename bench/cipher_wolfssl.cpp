// wolfSSL, without RC2 and RC5 in Debian's build.
#include <wolfssl/options.h>
// The options first.
#include <wolfssl/wolfcrypt/arc4.h>
#include <wolfssl/wolfcrypt/des3.h>
#include <wolfssl/wolfcrypt/hash.h>
#include <wolfssl/wolfcrypt/md2.h>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

word32 sizeOf(const Bytes& bytes) {
    return static_cast<word32>(bytes.size());
}

int direction(const Job& job) {
    return job.encrypting ? DES_ENCRYPTION : DES_DECRYPTION;
}

void des(const Job& job, const Bytes& in, Bytes& out) {
    Des context;
    wc_Des_SetKey(&context, job.key.data(), job.iv.data(), direction(job));
    (job.encrypting ? wc_Des_CbcEncrypt : wc_Des_CbcDecrypt)(&context, out.data(), in.data(), sizeOf(in));
}

void des3(const Job& job, const Bytes& in, Bytes& out) {
    Des3 context;
    wc_Des3Init(&context, nullptr, INVALID_DEVID);
    wc_Des3_SetKey(&context, job.key.data(), job.iv.data(), direction(job));
    (job.encrypting ? wc_Des3_CbcEncrypt : wc_Des3_CbcDecrypt)(&context, out.data(), in.data(), sizeOf(in));
    wc_Des3Free(&context);
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    Arc4 context;
    wc_Arc4Init(&context, nullptr, INVALID_DEVID);
    wc_Arc4SetKey(&context, job.key.data(), sizeOf(job.key));
    wc_Arc4Process(&context, out.data(), in.data(), sizeOf(in));
    wc_Arc4Free(&context);
}

Run digest(int (*hash)(const byte* in, word32 length, byte* out)) {
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) { hash(in.data(), sizeOf(in), out.data()); };
}

}  // namespace

std::vector<Peer> wolfSslPeers() {
    return {{"DES-CBC", "wolfSSL", des},
            {"3DES-CBC", "wolfSSL", des3},
            {"RC4", "wolfSSL", rc4},
            {"MD2", "wolfSSL", digest(wc_Md2Hash)},
            {"MD5", "wolfSSL", digest(wc_Md5Hash)},
            {"SHA-1", "wolfSSL", digest(wc_ShaHash)}};
}

}  // namespace bench
