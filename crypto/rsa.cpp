#include "crypto/rsa.h"

#include <cstring>
#include <utility>

#include "crypto/codes.h"
#include "crypto/mpi_montgomery.h"

namespace {

// A field of the context, and what it holds at most.
struct Field {
    std::uint32_t* limbs;
    std::uint32_t capacity;
};

template <std::size_t words>
Field field(std::uint32_t (&limbs)[words]) {
    return {limbs, words - 1};
}

// MPI_FromBytes takes what a full number holds; the fields of half capacity need a look before they are written.
int load(const KEY_ITEM& item, const Field& to) {
    if ((item.bytes == nullptr && item.length != 0) || item.length > MPI_MAX_BYTES)
        return crypto::kNumberNotLoaded;
    std::uint32_t number[MPI_FULL_WORDS];
    if (MPI_FromBytes(item.bytes, static_cast<int>(item.length), number) < 0 || number[0] > to.capacity)
        return crypto::kNumberNotLoaded;
    MPI_Copy(to.limbs, number);
    return 0;
}

int loadItems(RSA_CTX* context, const KEY_ITEM* items) {
    const Field fields[RSA_ITEM_COUNT] = {field(context->modulus),         field(context->publicExponent),
                                          field(context->privateExponent), field(context->prime1),
                                          field(context->prime2),          field(context->exponent1),
                                          field(context->exponent2),       field(context->coefficient)};
    const std::uint32_t count = context->isPrivate != 0 ? RSA_ITEM_COUNT : RSA_PUBLIC_ITEM_COUNT;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (const int code = load(items[i], fields[i]))
            return code;
    }
    return context->isPrivate != 0 ? RSA_CheckKey(context) : 0;
}

bool isOne(const std::uint32_t* x) {
    return x[0] == 1 && x[1] == 1;
}

// Whether x is the rest of a modulo m.
bool isRest(const std::uint32_t* x, const std::uint32_t* a, const std::uint32_t* m) {
    std::uint32_t rest[MPI_DOUBLE_WORDS];
    MPI_Copy(rest, a);
    return MPI_Mod(rest, m) == 0 && MPI_Compare(x, rest) == 0;
}

// Whether y is the inverse of x modulo m, below m. A product settles it without working the inverse out.
bool isInverse(const std::uint32_t* y, const std::uint32_t* x, const std::uint32_t* m) {
    if (MPI_Compare(y, m) >= 0)
        return false;
    std::uint32_t product[MPI_DOUBLE_WORDS];
    MPI_Mul(product, x, y);
    return MPI_Mod(product, m) == 0 && isOne(product);
}

// x^65537 with an even n, which no Montgomery form has: what the same steps give all the same.
void powerOf65537ByReduction(std::uint32_t* result, const std::uint32_t* x, const std::uint32_t* n) {
    std::uint32_t power[MPI_DOUBLE_WORDS];
    std::uint32_t next[MPI_DOUBLE_WORDS];
    const std::uint32_t nPrime = MPI_MontConstant(n);
    MPI_ToMontgomery(power, x, n);
    for (int i = 0; i < 16; ++i) {
        MPI_Square(next, power);
        MPI_MontReduce(power, next, n, nPrime);
    }
    // The plain x carries no factor of Montgomery form, so that the last product leaves it.
    MPI_Mul(next, power, x);
    MPI_MontReduce(result, next, n, nPrime);
}

}  // namespace

int RSA_Init(void* context, const KEY_ITEM* items, std::uint32_t length, const void* /*parameter*/) {
    if (context == nullptr || items == nullptr)
        return crypto::kArgumentAbsent;
    auto* rsa = static_cast<RSA_CTX*>(context);
    std::memset(rsa->signature, 0, sizeof rsa->signature);
    rsa->signatureLength = 0;
    if (length < RSA_PUBLIC_LENGTH)
        return crypto::kArgumentAbsent;
    rsa->isPrivate = length >= RSA_PRIVATE_LENGTH ? 1 : 0;
    const int code = loadItems(rsa, items);
    if (code != 0)
        rsa->modulus[0] = 0;  // of no length that any operation takes
    return code;
}

int RSA_CheckKey(const RSA_CTX* context) {
    const std::uint32_t* const numbers[] = {context->modulus,   context->publicExponent, context->privateExponent,
                                            context->prime1,    context->prime2,         context->exponent1,
                                            context->exponent2, context->coefficient};
    for (const std::uint32_t* number : numbers) {
        if (number[0] < 1 || number[0] >= MPI_FULL_WORDS)
            return crypto::kInconsistentKey;
    }
    std::uint32_t product[MPI_DOUBLE_WORDS];
    MPI_Mul(product, context->prime1, context->prime2);
    if (MPI_Compare(product, context->modulus) != 0)
        return crypto::kInconsistentKey;

    std::uint32_t pLess1[MPI_FULL_WORDS];
    std::uint32_t qLess1[MPI_FULL_WORDS];
    MPI_Decrement(pLess1, context->prime1);
    MPI_Decrement(qLess1, context->prime2);
    MPI_Mul(product, pLess1, qLess1);
    const bool consistent = isRest(context->exponent1, context->privateExponent, pLess1) &&
                            isRest(context->exponent2, context->privateExponent, qLess1) &&
                            isInverse(context->privateExponent, context->publicExponent, product) &&
                            isInverse(context->coefficient, context->prime2, context->prime1);
    return consistent ? 0 : crypto::kInconsistentKey;
}

void RSA_PublicOp(std::uint32_t* result, const std::uint32_t* input, const std::uint32_t* e, const std::uint32_t* n) {
    if (e[0] != 1 || e[1] != 65537)
        MPI_ModExpSmallWindow(result, input, e, n);
    else if ((n[1] & 1) != 0)
        mpi::powerOf65537(result, input, n);
    else
        powerOf65537ByReduction(result, input, n);
}

void RSA_PrivateOp(std::uint32_t* result, const std::uint32_t* input, const std::uint32_t* p, const std::uint32_t* q,
                   const std::uint32_t* exponent1, const std::uint32_t* exponent2, const std::uint32_t* coefficient) {
    std::uint32_t rest[MPI_FULL_WORDS];
    std::uint32_t m1[MPI_FULL_WORDS];
    std::uint32_t m2[MPI_FULL_WORDS];
    MPI_Copy(rest, input);
    MPI_Mod(rest, p);
    MPI_ModExpNAF(m1, rest, exponent1, p);
    MPI_Copy(rest, input);
    MPI_Mod(rest, q);
    MPI_ModExpNAF(m2, rest, exponent2, q);

    const bool below = MPI_Compare(m1, m2) < 0;
    MPI_Sub(rest, below ? m2 : m1, below ? m1 : m2);
    std::uint32_t t[MPI_DOUBLE_WORDS];
    MPI_Mul(t, rest, coefficient);
    MPI_Mod(t, p);
    if (below)
        MPI_Sub(t, p, t);
    MPI_Mul(result, t, q);
    MPI_AddTo(result, m2);
}

int RSA_Final(void* /*context*/, std::uint8_t* /*output*/, std::uint32_t* outputLength) {
    if (outputLength == nullptr)
        return crypto::kArgumentAbsent;
    *outputLength = 0;
    return 0;
}
