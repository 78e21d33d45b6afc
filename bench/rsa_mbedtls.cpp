// mbedTLS by its bare operations. It blinds the private operation and checks its result.
#include <mbedtls/ctr_drbg.h>
#include <mbedtls/entropy.h>
#include <mbedtls/rsa.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

struct Random {
    Random() {
        mbedtls_entropy_init(&entropy);
        mbedtls_ctr_drbg_init(&generator);
        mbedtls_ctr_drbg_seed(&generator, mbedtls_entropy_func, &entropy, nullptr, 0);
    }
    mbedtls_entropy_context entropy;
    mbedtls_ctr_drbg_context generator;
};

void* rng() {
    static Random random;
    return &random.generator;
}

struct Context {
    Context() { mbedtls_rsa_init(&rsa, MBEDTLS_RSA_PKCS_V15, 0); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context() { mbedtls_rsa_free(&rsa); }
    mbedtls_rsa_context rsa;
};

std::shared_ptr<Context> load(const RsaNumbers& key) {
    auto context = std::make_shared<Context>();
    mbedtls_rsa_import_raw(&context->rsa, key.n.data(), key.n.size(), key.p.data(), key.p.size(), key.q.data(),
                           key.q.size(), key.d.data(), key.d.size(), key.e.data(), key.e.size());
    mbedtls_rsa_complete(&context->rsa);
    return context;
}

RsaRun publicOp(const RsaNumbers& key) {
    return [context = load(key)](const Bytes& in, Bytes& out) {
        mbedtls_rsa_public(&context->rsa, in.data(), out.data());
    };
}

RsaRun privateOp(const RsaNumbers& key) {
    return [context = load(key)](const Bytes& in, Bytes& out) {
        mbedtls_rsa_private(&context->rsa, mbedtls_ctr_drbg_random, rng(), in.data(), out.data());
    };
}

void generate(int bits) {
    Context context;
    mbedtls_rsa_gen_key(&context.rsa, mbedtls_ctr_drbg_random, rng(), static_cast<unsigned>(bits), 65537);
}

}  // namespace

std::vector<RsaPeer> mbedTlsRsa() {
    return {{"mbedTLS", publicOp, privateOp, generate, 512}};
}

}  // namespace bench
