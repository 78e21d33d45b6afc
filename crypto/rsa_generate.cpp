#include "crypto/alloc_buffer.h"
#include "crypto/codes.h"
#include "crypto/rsa.h"

namespace {

constexpr std::int32_t kMaxBits = 8192;
constexpr int kAttempts = 10;
constexpr std::uint32_t kBeforeFirstExponent = 65537;

enum class Outcome { kMade, kAgain, kCancelled };

bool isCancelled(const std::atomic<std::int32_t>* cancel) {
    return cancel != nullptr && cancel->load() > 0;
}

bool hasBit(const std::uint32_t* x, std::int32_t bit) {
    const auto limb = static_cast<std::uint32_t>(bit / 32) + 1;
    return limb <= x[0] && (x[limb] >> (bit % 32) & 1) != 0;
}

// q starts at what makes n = p q reach its top bit, so that q follows from p.
void startAboveQuotient(std::uint32_t* q, const std::uint32_t* p, std::int32_t bits) {
    std::uint32_t power[MPI_FULL_WORDS];
    MPI_SetPowerOfTwo(power, bits - 1);
    MPI_DivMod(power, p, q);
    MPI_AddWord(q, 1);
}

bool areTooClose(const std::uint32_t* p, const std::uint32_t* q) {
    const bool below = MPI_Compare(p, q) < 0;
    std::uint32_t difference[MPI_FULL_WORDS];
    MPI_Sub(difference, below ? q : p, below ? p : q);
    return MPI_BitLength(difference) <= 128;
}

// e is raised before it is tried first, so that no key has the exponent 65537.
Outcome findExponents(RSA_CTX* context, const std::atomic<std::int32_t>* cancel) {
    std::uint32_t pLess1[MPI_FULL_WORDS];
    std::uint32_t qLess1[MPI_FULL_WORDS];
    std::uint32_t phi[MPI_FULL_WORDS];
    MPI_Decrement(pLess1, context->prime1);
    MPI_Decrement(qLess1, context->prime2);
    MPI_Mul(phi, pLess1, qLess1);
    context->publicExponent[0] = 1;
    context->publicExponent[1] = kBeforeFirstExponent;
    do {
        if (isCancelled(cancel))
            return Outcome::kCancelled;
        MPI_AddWord(context->publicExponent, 2);
    } while (MPI_ModInverse(context->publicExponent, phi, context->privateExponent) == 0);

    std::uint32_t rest[MPI_FULL_WORDS];
    MPI_Copy(rest, context->privateExponent);
    MPI_Mod(rest, pLess1);
    MPI_Copy(context->exponent1, rest);
    MPI_Copy(rest, context->privateExponent);
    MPI_Mod(rest, qLess1);
    MPI_Copy(context->exponent2, rest);
    return Outcome::kMade;
}

Outcome attempt(RSA_CTX* context, std::int32_t bits, const std::atomic<std::int32_t>* cancel) {
    const std::int32_t pBits = (bits + 1) / 2;
    const std::int32_t qBits = bits - pBits;
    std::uint32_t p[MPI_FULL_WORDS];
    std::uint32_t q[MPI_FULL_WORDS];
    if (isCancelled(cancel))
        return Outcome::kCancelled;
    MPI_FillRandom(p, (pBits + 31) / 32);
    MPI_FillRandom(q, (qBits + 31) / 32);  // drawn for the generator's sake: another number takes its place
    if (isCancelled(cancel))
        return Outcome::kCancelled;
    MPI_FindPrime(p, pBits);
    if (isCancelled(cancel))
        return Outcome::kCancelled;
    startAboveQuotient(q, p, bits);
    MPI_FindPrime(q, qBits);
    if (isCancelled(cancel))
        return Outcome::kCancelled;
    if (MPI_Compare(p, q) == 0)
        return Outcome::kAgain;
    std::uint32_t n[MPI_DOUBLE_WORDS];
    MPI_Mul(n, p, q);
    if (!hasBit(n, bits - 1) || (bits >= kMaxBits && areTooClose(p, q)))
        return Outcome::kAgain;
    if (isCancelled(cancel))
        return Outcome::kCancelled;
    if (MPI_ModInverse(q, p, context->coefficient) == 0)
        return Outcome::kAgain;
    MPI_Copy(context->prime1, p);
    MPI_Copy(context->prime2, q);
    MPI_Copy(context->modulus, n);
    return findExponents(context, cancel);
}

KEY_ITEM itemOf(const std::uint32_t* number) {
    const std::uint32_t length = number[0] * 4;
    auto* bytes = static_cast<std::uint8_t*>(AllocBuffer(length));
    if (bytes != nullptr)
        MPI_ToBytes(bytes, static_cast<int>(length), number);
    return {bytes, length};
}

}  // namespace

int RSA_GenerateKey(RSA_CTX* context, std::int32_t bits, const std::atomic<std::int32_t>* cancel) {
    if (bits < 2 || bits > kMaxBits)
        return crypto::kRsaGenerationFailed;
    for (int i = 0; i < kAttempts; ++i) {
        const Outcome outcome = attempt(context, bits, cancel);
        if (outcome == Outcome::kCancelled)
            break;
        if (outcome == Outcome::kMade) {
            context->isPrivate = 1;
            return 0;
        }
    }
    return crypto::kRsaGenerationFailed;
}

int RSA_GenerateKeyItems(KEY_ITEM** items, std::int32_t bits) {
    if (items == nullptr)
        return crypto::kArgumentAbsent;
    RSA_CTX context;
    const std::atomic<std::int32_t> neverCancelled{0};
    if (RSA_GenerateKey(&context, bits, &neverCancelled) < 0)
        return crypto::kKeyGenerationFailed;
    auto* made = static_cast<KEY_ITEM*>(AllocBuffer(sizeof(RSA_KEY_ITEMS)));
    if (made == nullptr)
        return crypto::kNoMemory;
    const std::uint32_t* const numbers[RSA_ITEM_COUNT] = {
        context.modulus, context.publicExponent, context.privateExponent, context.prime1,
        context.prime2,  context.exponent1,      context.exponent2,       context.coefficient};
    for (std::uint32_t i = 0; i < RSA_ITEM_COUNT; ++i) {
        made[i] = itemOf(numbers[i]);
        if (made[i].bytes == nullptr) {
            KeyItemsFree(&made, RSA_ITEM_COUNT);
            return crypto::kKeyGenerationFailed;
        }
    }
    *items = made;
    return 0;
}

void KeyItemsFree(KEY_ITEM** items, std::uint32_t count) {
    if (items == nullptr || *items == nullptr)
        return;
    for (std::uint32_t i = 0; i < count; ++i)
        FreeBuffer((*items)[i].bytes);
    FreeBuffer(*items);
    *items = nullptr;
}
