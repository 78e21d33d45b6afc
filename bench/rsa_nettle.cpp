// nettle: rsa_compute_root, which neither blinds nor checks, and rsa_compute_root_tr, which does both in constant time.
// Its public operation has no bare entry; what its padded ones call is GMP's mpz_powm.
#include <gmp.h>
#include <nettle/rsa.h>
#include <nettle/yarrow.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

yarrow256_ctx* rng() {
    static const auto context = [] {
        auto made = std::make_unique<yarrow256_ctx>();
        yarrow256_init(made.get(), 0, nullptr);
        const Bytes seed = patternBytes(YARROW256_SEED_FILE_SIZE);
        yarrow256_seed(made.get(), seed.size(), seed.data());
        return made;
    }();
    return context.get();
}

void random(void* context, std::size_t length, std::uint8_t* out) {
    yarrow256_random(static_cast<yarrow256_ctx*>(context), length, out);
}

struct Number {
    Number() { mpz_init(value); }
    explicit Number(const Bytes& bytes) : Number() { read(value, bytes); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    ~Number() { mpz_clear(value); }
    static void read(mpz_t to, const Bytes& bytes) { mpz_import(to, bytes.size(), 1, 1, 0, 0, bytes.data()); }
    void write(Bytes& out) const { nettle_mpz_get_str_256(out.size(), out.data(), value); }
    mpz_t value;
};

struct Key {
    explicit Key(const RsaNumbers& numbers) {
        rsa_public_key_init(&publicKey);
        rsa_private_key_init(&privateKey);
        Number::read(publicKey.n, numbers.n);
        Number::read(publicKey.e, numbers.e);
        Number::read(privateKey.d, numbers.d);
        Number::read(privateKey.p, numbers.p);
        Number::read(privateKey.q, numbers.q);
        Number::read(privateKey.a, numbers.dp);
        Number::read(privateKey.b, numbers.dq);
        Number::read(privateKey.c, numbers.qInverse);
        rsa_public_key_prepare(&publicKey);
        rsa_private_key_prepare(&privateKey);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        rsa_public_key_clear(&publicKey);
        rsa_private_key_clear(&privateKey);
    }
    rsa_public_key publicKey;
    rsa_private_key privateKey;
};

RsaRun publicOp(const RsaNumbers& numbers) {
    return [key = std::make_shared<Key>(numbers)](const Bytes& in, Bytes& out) {
        const Number x(in);
        Number power;
        mpz_powm(power.value, x.value, key->publicKey.e, key->publicKey.n);
        power.write(out);
    };
}

RsaRun bareRoot(const RsaNumbers& numbers) {
    return [key = std::make_shared<Key>(numbers)](const Bytes& in, Bytes& out) {
        const Number x(in);
        Number root;
        rsa_compute_root(&key->privateKey, root.value, x.value);
        root.write(out);
    };
}

RsaRun blindedRoot(const RsaNumbers& numbers) {
    return [key = std::make_shared<Key>(numbers)](const Bytes& in, Bytes& out) {
        const Number x(in);
        Number root;
        rsa_compute_root_tr(&key->publicKey, &key->privateKey, rng(), random, root.value, x.value);
        root.write(out);
    };
}

void generate(int bits) {
    rsa_public_key publicKey;
    rsa_private_key privateKey;
    rsa_public_key_init(&publicKey);
    rsa_private_key_init(&privateKey);
    mpz_set_ui(publicKey.e, 65537);
    rsa_generate_keypair(&publicKey, &privateKey, rng(), random, nullptr, nullptr, static_cast<unsigned>(bits), 0);
    rsa_public_key_clear(&publicKey);
    rsa_private_key_clear(&privateKey);
}

}  // namespace

std::vector<RsaPeer> nettleRsa() {
    return {{"nettle, unblinded", publicOp, bareRoot, generate, 512}, {"nettle", publicOp, blindedRoot, nullptr, 512}};
}

}  // namespace bench
