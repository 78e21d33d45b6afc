// Botan 2, which has neither RC2, RC5 nor MD2.
#include <botan/cipher_mode.h>
#include <botan/hash.h>
#include <botan/stream_cipher.h>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

Run cipher(const std::string& name) {
    const std::shared_ptr<Botan::Cipher_Mode> encrypt = Botan::Cipher_Mode::create(name, Botan::ENCRYPTION);
    const std::shared_ptr<Botan::Cipher_Mode> decrypt = Botan::Cipher_Mode::create(name, Botan::DECRYPTION);
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        Botan::Cipher_Mode& mode = job.encrypting ? *encrypt : *decrypt;
        mode.set_key(job.key);
        mode.start(job.iv);
        out = in;
        mode.process(out.data(), out.size());
    };
}

Run stream(const std::string& name) {
    const std::shared_ptr<Botan::StreamCipher> stream = Botan::StreamCipher::create(name);
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        stream->set_key(job.key);
        stream->cipher(in.data(), out.data(), in.size());
    };
}

Run digest(const std::string& name) {
    const std::shared_ptr<Botan::HashFunction> hash = Botan::HashFunction::create(name);
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        hash->update(in.data(), in.size());
        hash->final(out.data());
    };
}

}  // namespace

std::vector<Peer> botanPeers() {
    return {{"DES-CBC", "Botan", cipher("DES/CBC/NoPadding")},
            {"3DES-CBC", "Botan", cipher("3DES/CBC/NoPadding")},
            {"RC4", "Botan", stream("RC4")},
            {"MD5", "Botan", digest("MD5")},
            {"SHA-1", "Botan", digest("SHA-1")}};
}

}  // namespace bench
