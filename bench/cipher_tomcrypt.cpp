// libtomcrypt.
#include <tomcrypt.h>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

Run cipher(const ltc_cipher_descriptor* descriptor) {
    const int index = register_cipher(descriptor);
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        symmetric_CBC context;
        // RC2 has no rounds here: its key is as effective as it is long.
        const int rounds = job.number == 128 ? 0 : static_cast<int>(job.number);
        cbc_start(index, job.iv.data(), job.key.data(), static_cast<int>(job.key.size()), rounds, &context);
        if (job.encrypting)
            cbc_encrypt(in.data(), out.data(), in.size(), &context);
        else
            cbc_decrypt(in.data(), out.data(), in.size(), &context);
        cbc_done(&context);
    };
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    rc4_state context;
    rc4_stream_setup(&context, job.key.data(), job.key.size());
    rc4_stream_crypt(&context, in.data(), in.size(), out.data());
    rc4_stream_done(&context);
}

Run digest(const ltc_hash_descriptor& descriptor) {
    return [&descriptor](const Job& /*job*/, const Bytes& in, Bytes& out) {
        hash_state context;
        descriptor.init(&context);
        descriptor.process(&context, in.data(), in.size());
        descriptor.done(&context, out.data());
    };
}

}  // namespace

std::vector<Peer> tomCryptPeers() {
    return {{"DES-CBC", "libtomcrypt", cipher(&des_desc)}, {"3DES-CBC", "libtomcrypt", cipher(&des3_desc)},
            {"RC2-CBC", "libtomcrypt", cipher(&rc2_desc)}, {"RC4", "libtomcrypt", rc4},
            {"RC5-CBC", "libtomcrypt", cipher(&rc5_desc)}, {"MD2", "libtomcrypt", digest(md2_desc)},
            {"MD5", "libtomcrypt", digest(md5_desc)},      {"SHA-1", "libtomcrypt", digest(sha1_desc)}};
}

}  // namespace bench
