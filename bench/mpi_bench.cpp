// Products, squares, Montgomery's reduction, and powers with an exponent as long as the modulus, at the sizes of RSA
// moduli and primes, beside what the public interfaces
// of other libraries offer. Each peer gets the same numbers and its results are compared with ours first.
#include <benchmark/benchmark.h>
#include <botan/bigint.h>
#include <botan/monty.h>
#include <botan/numthry.h>
#include <cryptopp/integer.h>
#include <cryptopp/modarith.h>
#include <cryptopp/nbtheory.h>
#include <gcrypt.h>
#include <gmp.h>
#include <mbedtls/bignum.h>
#include <openssl/bn.h>
#include <tommath.h>

#include <memory>
#include <string>

#include "bench/key.h"
#include "bench/mpi_wolfssl.h"
#include "crypto/mpi.h"
#include "crypto/mpi_kernels.h"

namespace {

using bench::Bytes;

// Two factors, an odd modulus above both, and their product, which is what is reduced.
struct Numbers {
    Bytes a, b, n, product;
    explicit Numbers(int bits);
};

using Mpi = std::uint32_t[MPI_DOUBLE_WORDS];

void load(std::uint32_t* x, const Bytes& bytes) {
    MPI_FromBytes(bytes.data(), static_cast<int>(bytes.size()), x);
}

Bytes bytesOf(const std::uint32_t* x, std::size_t length) {
    Bytes bytes(length);
    MPI_ToBytes(bytes.data(), static_cast<int>(length), x);
    return bytes;
}

Numbers::Numbers(int bits) : a(bench::patternBytes(static_cast<std::size_t>(bits) / 8)), b(a.rbegin(), a.rend()), n(a) {
    n[0] = 0xff;
    Mpi x;
    Mpi y;
    Mpi z;
    load(x, a);
    load(y, b);
    MPI_Mul(z, x, y);
    product = bytesOf(z, 2 * a.size());
}

class Ours {
  public:
    explicit Ours(const Numbers& numbers) : length_(numbers.a.size()) {
        load(a_, numbers.a);
        load(b_, numbers.b);
        load(n_, numbers.n);
        load(t_, numbers.product);
        nPrime_ = MPI_MontConstant(n_);
    }
    void multiply() { MPI_Mul(r_, a_, b_); }
    void square() { MPI_Square(r_, a_); }
    void reduce() { MPI_MontReduce(r_, t_, n_, nPrime_); }
    void power() { MPI_ModExpNAF(r_, a_, b_, n_); }
    [[nodiscard]] Bytes result() const { return bytesOf(r_, 2 * length_); }

  private:
    std::size_t length_;
    Mpi a_, b_, n_, t_, r_;
    std::uint32_t nPrime_;
};

// One of our forms that is not the best one here.
template <int Form>
class OurForm : public Ours {
  public:
    explicit OurForm(const Numbers& numbers) : Ours(numbers) { mpi::useKernels(mpi::kernelForms()[Form]); }
    OurForm(const OurForm&) = delete;
    OurForm& operator=(const OurForm&) = delete;
    ~OurForm() { mpi::useKernels(nullptr); }
};

// The rows that GMP offers to others; its own Montgomery reduction is not among them.
class Gmp {
  public:
    explicit Gmp(const Numbers& numbers) : limbs_(static_cast<mp_size_t>(numbers.a.size() / sizeof(mp_limb_t))) {
        read(a_, numbers.a);
        read(b_, numbers.b);
        read(n_, numbers.n);
        read(t_, numbers.product);
        mp_limb_t inverse = n_[0];
        for (int i = 0; i < 6; ++i)
            inverse *= 2 - n_[0] * inverse;
        nPrime_ = 0 - inverse;
    }
    void multiply() { mpn_mul_n(r_, a_, b_, limbs_); }
    void square() { mpn_sqr(r_, a_, limbs_); }
    void reduce() {
        mpn_copyi(r_, t_, 2 * limbs_);
        for (mp_size_t i = 0; i < limbs_; ++i)
            r_[i] = mpn_addmul_1(r_ + i, n_, limbs_, r_[i] * nPrime_);
        mp_limb_t* const upper = r_ + limbs_;
        if (mpn_add_n(upper, upper, r_, limbs_) != 0 || mpn_cmp(upper, n_, limbs_) >= 0)
            mpn_sub_n(upper, upper, n_, limbs_);
        reduced_ = true;
    }
    [[nodiscard]] Bytes result() const {
        Bytes bytes;
        for (mp_size_t i = 2 * limbs_; i-- > 0;)
            for (int shift = 56; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<std::uint8_t>((reduced_ ? upperHalf(i) : r_[i]) >> shift));
        return bytes;
    }

  private:
    static constexpr int kLimbs = 128;
    static void read(mp_limb_t* limbs, const Bytes& bytes) {
        for (std::size_t i = 0; i < bytes.size() / 8; ++i) {
            limbs[i] = 0;
            for (std::size_t k = 0; k < 8; ++k)
                limbs[i] = limbs[i] << 8 | bytes[bytes.size() - 8 * (i + 1) + k];
        }
    }
    [[nodiscard]] mp_limb_t upperHalf(mp_size_t i) const { return i < limbs_ ? r_[limbs_ + i] : 0; }

    mp_size_t limbs_;
    bool reduced_ = false;
    mp_limb_t a_[kLimbs] = {}, b_[kLimbs] = {}, n_[kLimbs] = {}, t_[kLimbs] = {}, r_[kLimbs] = {}, nPrime_ = 0;
};

// GMP's own power, which reduces too.
class GmpPower {
  public:
    explicit GmpPower(const Numbers& numbers) : length_(numbers.a.size()) {
        for (mpz_ptr x : {a_, b_, n_, r_})
            mpz_init(x);
        read(a_, numbers.a);
        read(b_, numbers.b);
        read(n_, numbers.n);
    }
    GmpPower(const GmpPower&) = delete;
    GmpPower& operator=(const GmpPower&) = delete;
    ~GmpPower() {
        for (mpz_ptr x : {a_, b_, n_, r_})
            mpz_clear(x);
    }
    void power() { mpz_powm(r_, a_, b_, n_); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        const std::size_t length = (mpz_sizeinbase(r_, 2) + 7) / 8;
        mpz_export(bytes.data() + (bytes.size() - length), nullptr, 1, 1, 0, 0, r_);
        return bytes;
    }

  private:
    static void read(mpz_t x, const Bytes& bytes) { mpz_import(x, bytes.size(), 1, 1, 0, 0, bytes.data()); }
    mpz_t a_, b_, n_, r_;
    std::size_t length_;
};

template <auto Free>
struct Freed {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};

class OpenSsl {
  public:
    explicit OpenSsl(const Numbers& numbers)
        : context_(BN_CTX_new()),
          a_(read(numbers.a)),
          b_(read(numbers.b)),
          n_(read(numbers.n)),
          t_(read(numbers.product)),
          r_(BN_new()),
          field_(BN_MONT_CTX_new()),
          length_(numbers.a.size()) {
        BN_MONT_CTX_set(field_.get(), n_.get(), context_.get());
    }
    void multiply() { BN_mul(r_.get(), a_.get(), b_.get(), context_.get()); }
    void square() { BN_sqr(r_.get(), a_.get(), context_.get()); }
    void reduce() { BN_from_montgomery(r_.get(), t_.get(), field_.get(), context_.get()); }
    void power() { BN_mod_exp_mont(r_.get(), a_.get(), b_.get(), n_.get(), context_.get(), field_.get()); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        BN_bn2binpad(r_.get(), bytes.data(), static_cast<int>(bytes.size()));
        return bytes;
    }

  private:
    using Number = std::unique_ptr<BIGNUM, Freed<BN_free>>;
    static Number read(const Bytes& bytes) {
        return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    }
    std::unique_ptr<BN_CTX, Freed<BN_CTX_free>> context_;
    Number a_, b_, n_, t_, r_;
    std::unique_ptr<BN_MONT_CTX, Freed<BN_MONT_CTX_free>> field_;
    std::size_t length_;
};

class BotanPeer {
  public:
    explicit BotanPeer(const Numbers& numbers)
        : a_(numbers.a),
          b_(numbers.b),
          n_(numbers.n),
          t_(numbers.product),
          field_(Botan::BigInt(numbers.n)),
          length_(numbers.a.size()) {}
    void multiply() { r_ = a_ * b_; }
    void square() {
        r_ = a_;
        r_.square(workspace_);
    }
    void reduce() { r_ = field_.redc(t_, workspace_); }
    void power() { r_ = Botan::power_mod(a_, b_, n_); }
    [[nodiscard]] Bytes result() const {
        const auto bytes = Botan::BigInt::encode_1363(r_, 2 * length_);
        return {bytes.begin(), bytes.end()};
    }

  private:
    Botan::BigInt a_, b_, n_, t_, r_;
    Botan::Montgomery_Params field_;
    Botan::secure_vector<Botan::word> workspace_;
    std::size_t length_;
};

class CryptoPlusPlus {
  public:
    explicit CryptoPlusPlus(const Numbers& numbers)
        : a_(read(numbers.a)),
          b_(read(numbers.b)),
          t_(read(numbers.product)),
          field_(read(numbers.n)),
          length_(numbers.a.size()) {}
    void multiply() { r_ = a_.Times(b_); }
    void square() { r_ = a_.Squared(); }
    void reduce() { r_ = field_.ConvertOut(t_); }
    void power() { r_ = CryptoPP::ModularExponentiation(a_, b_, field_.GetModulus()); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        r_.Encode(bytes.data(), bytes.size());
        return bytes;
    }

  private:
    static CryptoPP::Integer read(const Bytes& bytes) { return {bytes.data(), bytes.size()}; }
    CryptoPP::Integer a_, b_, t_, r_;
    CryptoPP::MontgomeryRepresentation field_;
    std::size_t length_;
};

// Its squares are products, and its Montgomery arithmetic is not public.
class MbedTls {
  public:
    explicit MbedTls(const Numbers& numbers) : length_(numbers.a.size()) {
        for (mbedtls_mpi* const x : {&a_, &b_, &n_, &r_})
            mbedtls_mpi_init(x);
        mbedtls_mpi_read_binary(&a_, numbers.a.data(), length_);
        mbedtls_mpi_read_binary(&b_, numbers.b.data(), length_);
        mbedtls_mpi_read_binary(&n_, numbers.n.data(), length_);
    }
    MbedTls(const MbedTls&) = delete;
    MbedTls& operator=(const MbedTls&) = delete;
    ~MbedTls() {
        for (mbedtls_mpi* const x : {&a_, &b_, &n_, &r_})
            mbedtls_mpi_free(x);
    }
    void multiply() { mbedtls_mpi_mul_mpi(&r_, &a_, &b_); }
    void square() { mbedtls_mpi_mul_mpi(&r_, &a_, &a_); }
    void power() { mbedtls_mpi_exp_mod(&r_, &a_, &b_, &n_, nullptr); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        mbedtls_mpi_write_binary(&r_, bytes.data(), bytes.size());
        return bytes;
    }

  private:
    mbedtls_mpi a_, b_, n_, r_;
    std::size_t length_;
};

// It has no square of its own, and its Montgomery arithmetic is not public.
class Gcrypt {
  public:
    explicit Gcrypt(const Numbers& numbers)
        : a_(read(numbers.a)),
          b_(read(numbers.b)),
          n_(read(numbers.n)),
          r_(gcry_mpi_new(0)),
          length_(numbers.a.size()) {}
    void multiply() { gcry_mpi_mul(r_.get(), a_.get(), b_.get()); }
    void square() { gcry_mpi_mul(r_.get(), a_.get(), a_.get()); }
    void power() { gcry_mpi_powm(r_.get(), a_.get(), b_.get(), n_.get()); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        std::size_t length = 0;
        gcry_mpi_print(GCRYMPI_FMT_USG, nullptr, 0, &length, r_.get());
        gcry_mpi_print(GCRYMPI_FMT_USG, bytes.data() + (bytes.size() - length), length, nullptr, r_.get());
        return bytes;
    }

  private:
    using Number = std::unique_ptr<gcry_mpi, Freed<gcry_mpi_release>>;
    static Number read(const Bytes& bytes) {
        gcry_mpi_t made = nullptr;
        gcry_mpi_scan(&made, GCRYMPI_FMT_USG, bytes.data(), bytes.size(), nullptr);
        return Number(made);
    }
    Number a_, b_, n_, r_;
    std::size_t length_;
};

class WolfSsl : public bench::WolfSslNumbers {
  public:
    explicit WolfSsl(const Numbers& numbers) : WolfSslNumbers(numbers.a, numbers.b, numbers.n, numbers.product) {}
};

// The numbers behind libtomcrypt. Its digits have 60 bits, so its R is another one and the reduced value too.
class TomMath {
  public:
    explicit TomMath(const Numbers& numbers) : length_(numbers.a.size()) {
        const mp_err result = mp_init_multi(&a_, &b_, &n_, &t_, &r_, nullptr);
        if (result != MP_OKAY || !read(a_, numbers.a) || !read(b_, numbers.b) || !read(n_, numbers.n) ||
            !read(t_, numbers.product) || mp_montgomery_setup(&n_, &rho_) != MP_OKAY)
            std::abort();
    }
    TomMath(const TomMath&) = delete;
    TomMath& operator=(const TomMath&) = delete;
    ~TomMath() { mp_clear_multi(&a_, &b_, &n_, &t_, &r_, nullptr); }
    void multiply() { require(mp_mul(&a_, &b_, &r_)); }
    void square() { require(mp_sqr(&a_, &r_)); }
    void reduce() {
        require(mp_copy(&t_, &r_));
        require(mp_montgomery_reduce(&r_, &n_, rho_));
    }
    void power() { require(mp_exptmod(&a_, &b_, &n_, &r_)); }
    [[nodiscard]] Bytes result() const {
        Bytes bytes(2 * length_);
        std::size_t written = 0;
        require(mp_to_ubin(&r_, bytes.data(), bytes.size(), &written));
        Bytes wide(bytes.size() - written);
        wide.insert(wide.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(written));
        return wide;
    }

  private:
    static void require(mp_err result) {
        if (result != MP_OKAY)
            std::abort();
    }
    static bool read(mp_int& x, const Bytes& bytes) { return mp_from_ubin(&x, bytes.data(), bytes.size()) == MP_OKAY; }
    mutable mp_int a_, b_, n_, t_, r_;
    mp_digit rho_ = 0;
    std::size_t length_;
};

template <class Who, class Step>
void run(benchmark::State& state, int bits, Step step, bool compare) {
    const Numbers numbers(bits);
    Who who(numbers);
    for ([[maybe_unused]] auto round : state) {
        step(who);
        benchmark::ClobberMemory();
    }
    Ours ours(numbers);
    step(ours);
    if (compare && who.result() != ours.result())
        state.SkipWithError("not our result");
}

template <class Who, class Step>
void add(const char* row, int bits, const std::string& who, Step step, bool compare = true) {
    const std::string name = std::string(row) + ", " + std::to_string(bits) + " bits/" + who;
    benchmark::RegisterBenchmark(
        name.c_str(), [bits, step, compare](benchmark::State& state) { run<Who>(state, bits, step, compare); });
}

template <class Who>
void addProducts(int bits, const std::string& who) {
    add<Who>("product", bits, who, [](auto& numbers) { numbers.multiply(); });
}
template <class Who>
void addSquares(int bits, const std::string& who) {
    add<Who>("square", bits, who, [](auto& numbers) { numbers.square(); });
}
template <class Who>
void addReductions(int bits, const std::string& who, bool compare) {
    add<Who>(
        "Montgomery reduce", bits, who, [](auto& numbers) { numbers.reduce(); }, compare);
}

template <class Who>
void addPowers(int bits, const std::string& who) {
    add<Who>("power", bits, who, [](auto& numbers) { numbers.power(); });
}

template <class Who>
void addAll(int bits, const std::string& who, bool compare = true) {
    addProducts<Who>(bits, who);
    addSquares<Who>(bits, who);
    addReductions<Who>(bits, who, compare);
}

int addEverything() {
    for (const int bits : {512, 1024, 2048, 4096}) {
        addAll<Ours>(bits, "ours");
        addAll<OurForm<0>>(bits, "ours, plain");
        if (mpi::kernelForms()[1] != nullptr && mpi::kernelForms()[2] != nullptr)
            addAll<OurForm<1>>(bits, std::string("ours, ") + mpi::kernelForms()[1]->name);
        addAll<Gmp>(bits, "limit: GMP (mpn)");
        addAll<OpenSsl>(bits, "OpenSSL");
        addAll<BotanPeer>(bits, "Botan");
        addAll<CryptoPlusPlus>(bits, "Crypto++");
        addProducts<MbedTls>(bits, "mbedTLS");
        addSquares<MbedTls>(bits, "mbedTLS");
        addProducts<Gcrypt>(bits, "libgcrypt");
        addSquares<Gcrypt>(bits, "libgcrypt");
        addAll<WolfSsl>(bits, "wolfSSL");
        addAll<TomMath>(bits, "libtomcrypt (libtommath)", false);
    }
    for (const int bits : {512, 1024, 2048}) {
        addPowers<Ours>(bits, "ours");
        addPowers<OurForm<0>>(bits, "ours, plain");
        addPowers<GmpPower>(bits, "GMP");
        addPowers<OpenSsl>(bits, "OpenSSL");
        addPowers<BotanPeer>(bits, "Botan");
        addPowers<CryptoPlusPlus>(bits, "Crypto++");
        addPowers<MbedTls>(bits, "mbedTLS");
        addPowers<Gcrypt>(bits, "libgcrypt");
        addPowers<WolfSsl>(bits, "wolfSSL");
        addPowers<TomMath>(bits, "libtomcrypt (libtommath)");
    }
    return 0;
}
const int kAdded = addEverything();

}  // namespace
