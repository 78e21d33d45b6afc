#include "bench/mpi_wolfssl.h"

#define SP_WORD_SIZE 64  // as the library was built, which its options do not say
#include <wolfssl/options.h>
// The options first.
#include <wolfssl/wolfcrypt/settings.h>
#include <wolfssl/wolfcrypt/sp_int.h>

#include <algorithm>

namespace bench {

struct WolfSslNumbers::Values {
    sp_int a, b, n, t, r;
    sp_int_digit rho;
    std::size_t length;
};

WolfSslNumbers::WolfSslNumbers(const Bytes& a, const Bytes& b, const Bytes& n, const Bytes& product)
    : values_(std::make_unique<Values>()) {
    const auto load = [](sp_int& to, const Bytes& from) {
        sp_init(&to);
        sp_read_unsigned_bin(&to, from.data(), static_cast<word32>(from.size()));
    };
    load(values_->a, a);
    load(values_->b, b);
    load(values_->n, n);
    load(values_->t, product);
    sp_init(&values_->r);
    sp_mont_setup(&values_->n, &values_->rho);
    values_->length = a.size();
}

WolfSslNumbers::~WolfSslNumbers() = default;

void WolfSslNumbers::multiply() {
    sp_mul(&values_->a, &values_->b, &values_->r);
}

void WolfSslNumbers::square() {
    sp_sqr(&values_->a, &values_->r);
}

void WolfSslNumbers::reduce() {
    values_->r.used = values_->t.used;
    std::copy_n(values_->t.dp, values_->t.used, values_->r.dp);
    sp_mont_red(&values_->r, &values_->n, values_->rho);
}

void WolfSslNumbers::power() {
    sp_exptmod(&values_->a, &values_->b, &values_->n, &values_->r);
}

Bytes WolfSslNumbers::result() const {
    Bytes bytes(2 * values_->length);
    const auto length = static_cast<std::size_t>(sp_unsigned_bin_size(&values_->r));
    sp_to_unsigned_bin(&values_->r, bytes.data() + (bytes.size() - length));
    return bytes;
}

}  // namespace bench
