#include "tools/vtkey/repair.h"

#include <utility>

#include "tools/common/input.h"

namespace vtkey {

namespace {

using tools::InputError;
using tools::RsaNumbers;

bool isZero(const MiBigInteger& number) {
    return number.GetSign() == 0;
}

bool isOne(const MiBigInteger& number) {
    return number == MiBigInteger(1);
}

bool isOdd(const MiBigInteger& number) {
    return !isZero(number.Mod(2));
}

// The operators of MiBigInteger have another order than that of the numbers.
bool isBelow(const MiBigInteger& a, const MiBigInteger& b) {
    return (a - b).GetSign() < 0;
}

MiBigInteger commonDivisor(MiBigInteger a, MiBigInteger b) {
    while (!isZero(b)) {
        MiBigInteger rest = a % b;
        a = std::move(b);
        b = std::move(rest);
    }
    return a;
}

// Of a modulo m; zero where there is none.
MiBigInteger inverse(const MiBigInteger& a, const MiBigInteger& m) {
    MiBigInteger before = m;
    MiBigInteger now = a % m;
    MiBigInteger factorBefore = 0;
    MiBigInteger factor = 1;
    while (!isZero(now)) {
        const MiBigInteger quotient = before / now;
        before = std::exchange(now, before - quotient * now);
        factorBefore = std::exchange(factor, factorBefore - quotient * factor);
    }
    if (!isOne(before))
        return 0;
    return factorBefore.GetSign() < 0 ? factorBefore + m : factorBefore;
}

MiBigInteger power(const MiBigInteger& base, const MiBigInteger& exponent, const MiBigInteger& modulus) {
    MiBigInteger result = 1;
    for (const char c : tools::magnitude(exponent)) {
        for (int bit = 7; bit >= 0; --bit) {
            result = result * result % modulus;
            if ((static_cast<unsigned char>(c) >> bit & 1) != 0)
                result = result * base % modulus;
        }
    }
    return result;
}

// A factor of n that a root of one gives which is neither 1 nor -1, from base^odd by squaring; zero where it gives
// none.
MiBigInteger factorBy(unsigned int base, const MiBigInteger& odd, int squarings, const MiBigInteger& n) {
    MiBigInteger root = power(MiBigInteger(base), odd, n);
    for (int i = 0; i < squarings; ++i) {
        MiBigInteger square = root * root % n;
        if (isOne(square))
            return isOne(root) || isOne(n - root) ? MiBigInteger(0) : commonDivisor(n, root - 1);
        root = std::move(square);
    }
    return 0;
}

// The primes from the exponents: e d - 1 is a multiple of the order of every number modulo n, so that every second
// base, on average, gives a root of one that tells the factors.
void factor(RsaNumbers& key) {
    MiBigInteger odd = key.publicExponent * key.privateExponent - 1;
    int squarings = 0;
    for (; odd.GetSign() > 0 && !isOdd(odd); ++squarings)
        odd = odd.ShiftRight(1);
    constexpr unsigned int kMostBases = 100;
    for (unsigned int base = 2; squarings > 0 && base < kMostBases; ++base) {
        const MiBigInteger found = factorBy(base, odd, squarings, key.modulus);
        if (isZero(found))
            continue;
        const MiBigInteger other = key.modulus / found;
        key.prime1 = isBelow(found, other) ? other : found;
        key.prime2 = isBelow(found, other) ? found : other;
        return;
    }
    throw InputError("the primes are missing, and the exponents are not those of the modulus");
}

// The engine takes keys of this many bits at most; far larger numbers would take hours.
constexpr unsigned int kMostBits = 16384;

void checkSource(const RsaNumbers& key) {
    if (isZero(key.modulus) || isZero(key.publicExponent))
        throw InputError("modulus or public exponent are missing: nothing tells them");
    if (key.modulus.GetBitLength() > kMostBits + 8)
        throw InputError("the modulus has more than " + std::to_string(kMostBits) + " bits");
    for (const MiBigInteger* number : {&key.publicExponent, &key.privateExponent, &key.prime1, &key.prime2})
        if (!isBelow(*number, key.modulus))
            throw InputError("a number is larger than the modulus");
    if (!isOdd(key.modulus))
        throw InputError("the modulus is even");
}

class Repairer {
  public:
    explicit Repairer(RsaNumbers from) : key(std::move(from)) { checkSource(key); }

    Repair run() {
        findPrimes();
        const MiBigInteger p = key.prime1 - 1;
        const MiBigInteger q = key.prime2 - 1;
        setPrivateExponent(p, q);
        set(key.exponent1, key.privateExponent % p, "exponent1");
        set(key.exponent2, key.privateExponent % q, "exponent2");
        set(key.coefficient, inverse(key.prime2, key.prime1), "coefficient");
        return {key, changes};
    }

  private:
    void findPrimes() {
        if (isZero(key.prime1) != isZero(key.prime2)) {
            MiBigInteger& missing = isZero(key.prime1) ? key.prime1 : key.prime2;
            missing = key.modulus / (isZero(key.prime1) ? key.prime2 : key.prime1);
            changes.emplace_back("a prime was missing: divided the modulus by the other");
        } else if (isZero(key.prime1)) {
            if (isZero(key.privateExponent))
                throw InputError("the primes and the private exponent are missing: this is a public key");
            factor(key);
            changes.emplace_back("the primes were missing: factored the modulus by the exponents");
        }
        if (isOne(key.prime1) || isOne(key.prime2) || key.prime1 * key.prime2 != key.modulus)
            throw InputError("the modulus is not the product of the primes");
    }

    void setPrivateExponent(const MiBigInteger& p, const MiBigInteger& q) {
        const MiBigInteger product = p * q;
        const MiBigInteger exponent = inverse(key.publicExponent, product);
        if (isZero(exponent))
            throw InputError("the public exponent has no inverse: these are not the numbers of an RSA key");
        if (key.privateExponent == exponent)
            return;
        const MiBigInteger multiple = product / commonDivisor(p, q);
        if (isZero(key.privateExponent))
            changes.emplace_back("privateExponent was missing: computed as the inverse modulo (p - 1)(q - 1)");
        else if (isOne(key.publicExponent * key.privateExponent % multiple))
            changes.emplace_back(
                "privateExponent was reduced by the least common multiple of p - 1 and q - 1, or not "
                "at all: reduced by their product");
        else
            throw InputError("the private exponent is not that of the primes");
        key.privateExponent = exponent;
    }

    void set(MiBigInteger& number, const MiBigInteger& right, const std::string& name) {
        if (number == right)
            return;
        changes.push_back(name + (isZero(number) ? " was missing: computed" : " was wrong: computed again"));
        number = right;
    }

    RsaNumbers key;
    std::vector<std::string> changes;
};

}  // namespace

Repair repaired(const RsaNumbers& key) {
    return Repairer(key).run();
}

}  // namespace vtkey
