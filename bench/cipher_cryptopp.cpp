// Crypto++, which keeps old algorithms behind a name of its own.
#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1
#include <cryptopp/arc4.h>
#include <cryptopp/des.h>
#include <cryptopp/md2.h>
#include <cryptopp/md5.h>
#include <cryptopp/modes.h>
#include <cryptopp/rc2.h>
#include <cryptopp/rc5.h>
#include <cryptopp/sha.h>

#include <memory>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

template <class Cipher>
Run cipher(const char* number) {
    const auto encrypt = std::make_shared<typename CryptoPP::CBC_Mode<Cipher>::Encryption>();
    const auto decrypt = std::make_shared<typename CryptoPP::CBC_Mode<Cipher>::Decryption>();
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        CryptoPP::SymmetricCipher& mode = job.encrypting ? static_cast<CryptoPP::SymmetricCipher&>(*encrypt) : *decrypt;
        const CryptoPP::ConstByteArrayParameter iv(job.iv.data(), job.iv.size());
        if (number != nullptr)
            mode.SetKey(job.key.data(), job.key.size(),
                        CryptoPP::MakeParameters(CryptoPP::Name::IV(), iv)(number, static_cast<int>(job.number)));
        else
            mode.SetKey(job.key.data(), job.key.size(), CryptoPP::MakeParameters(CryptoPP::Name::IV(), iv));
        mode.ProcessData(out.data(), in.data(), in.size());
    };
}

void rc4(const Job& job, const Bytes& in, Bytes& out) {
    static CryptoPP::Weak::ARC4 stream;
    stream.SetKey(job.key.data(), job.key.size());
    stream.ProcessData(out.data(), in.data(), in.size());
}

template <class Digest>
Run digest() {
    const auto hash = std::make_shared<Digest>();
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        hash->Update(in.data(), in.size());
        hash->Final(out.data());
    };
}

}  // namespace

std::vector<Peer> cryptoPlusPlusPeers() {
    return {{"DES-CBC", "Crypto++", cipher<CryptoPP::DES>(nullptr)},
            {"3DES-CBC", "Crypto++", cipher<CryptoPP::DES_EDE3>(nullptr)},
            {"RC2-CBC", "Crypto++", cipher<CryptoPP::RC2>(CryptoPP::Name::EffectiveKeyLength())},
            {"RC4", "Crypto++", rc4},
            {"RC5-CBC", "Crypto++", cipher<CryptoPP::RC5>(CryptoPP::Name::Rounds())},
            {"MD2", "Crypto++", digest<CryptoPP::Weak::MD2>()},
            {"MD5", "Crypto++", digest<CryptoPP::Weak::MD5>()},
            {"SHA-1", "Crypto++", digest<CryptoPP::SHA1>()}};
}

}  // namespace bench
