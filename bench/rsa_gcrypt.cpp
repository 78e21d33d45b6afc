// libgcrypt without padding; its numbers travel in S-expressions. It blinds the private operation.
#include <gcrypt.h>

#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

using Expression = std::shared_ptr<gcry_sexp>;

Expression owned(gcry_sexp_t made) {
    return {made, gcry_sexp_release};
}

gcry_mpi_t number(const Bytes& bytes) {
    gcry_mpi_t made = nullptr;
    gcry_mpi_scan(&made, GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr);
    return made;
}

// Its u is p^-1 mod q, so the primes change places.
Expression load(const RsaNumbers& key) {
    gcry_mpi_t parts[] = {number(key.n), number(key.e), number(key.d),
                          number(key.q), number(key.p), number(key.qInverse)};
    gcry_sexp_t made = nullptr;
    gcry_sexp_build(&made, nullptr, "(private-key(rsa(n %m)(e %m)(d %m)(p %m)(q %m)(u %m)))", parts[0], parts[1],
                    parts[2], parts[3], parts[4], parts[5]);
    for (gcry_mpi_t each : parts)
        gcry_mpi_release(each);
    return owned(made);
}

Expression dataOf(const Bytes& in, const char* format) {
    gcry_mpi_t x = number(in);
    gcry_sexp_t made = nullptr;
    gcry_sexp_build(&made, nullptr, format, x);
    gcry_mpi_release(x);
    return owned(made);
}

void give(gcry_mpi_t value, Bytes& out) {
    std::size_t length = 0;
    gcry_mpi_print(GCRYMPI_FMT_USG, nullptr, 0, &length, value);
    gcry_mpi_print(GCRYMPI_FMT_USG, out.data() + (out.size() - length), length, nullptr, value);
    gcry_mpi_release(value);
}

RsaRun publicOp(const RsaNumbers& numbers) {
    return [key = load(numbers)](const Bytes& in, Bytes& out) {
        gcry_sexp_t result = nullptr;
        gcry_pk_encrypt(&result, dataOf(in, "(data(flags raw)(value %m))").get(), key.get());
        const Expression held = owned(result);
        const Expression power = owned(gcry_sexp_find_token(result, "a", 0));
        give(gcry_sexp_nth_mpi(power.get(), 1, GCRYMPI_FMT_USG), out);
    };
}

RsaRun privateOp(const RsaNumbers& numbers) {
    return [key = load(numbers)](const Bytes& in, Bytes& out) {
        gcry_sexp_t result = nullptr;
        gcry_pk_decrypt(&result, dataOf(in, "(enc-val(flags raw)(rsa(a %m)))").get(), key.get());
        const Expression held = owned(result);
        give(gcry_sexp_nth_mpi(result, 1, GCRYMPI_FMT_USG), out);
    };
}

// A transient key, for which it does not wait for better random numbers.
void generate(int bits) {
    gcry_sexp_t wanted = nullptr;
    gcry_sexp_t made = nullptr;
    gcry_sexp_build(&wanted, nullptr, "(genkey(rsa(nbits %u)(rsa-use-e %u)(transient-key)))",
                    static_cast<unsigned>(bits), 65537U);
    gcry_pk_genkey(&made, wanted);
    gcry_sexp_release(wanted);
    gcry_sexp_release(made);
}

}  // namespace

std::vector<RsaPeer> gcryptRsa() {
    return {{"libgcrypt", publicOp, privateOp, generate, 512}};
}

}  // namespace bench
