// MPI: the engine's numbers, non-negative integers in arrays of fixed capacity.
//
//     word    0        1          2           ...   L
//             L        limb 0     limb 1            limb L - 1
//
// An MPI is an array of 32-bit words. Word 0 is the number L of limbs; the limbs follow, the least significant first,
// each in the machine's own byte order, so that the value is the sum of limb i times 2^(32 i). L = 0 is the value zero.
//
//     12          {1, 12}
//     2^32        {2, 0, 1}
//     0           {0}
//
// - A value is canonical: its top limb is not zero. Every operation expects canonical operands and gives canonical
//   results.
// - Words above L are undefined. No operation reads them; one that needs zeros there writes them first.
// - There is no sign. A difference that would be negative wraps around as MPI_Sub tells.
// - The capacity is not stored and not checked. The caller owns the arrays and gives each enough room for the result.
//   Operands are of the capacities below; products, squares and what is reduced may be "double", all else is "full".
//
//     half      129 words   128 limbs   4096 bits    primes and CRT values in a key
//     full      257 words   256 limbs   8192 bits    modulus, exponents, general operands
//     double    513 words   512 limbs   16384 bits   products and squares before reduction
//
// Operands are borrowed. A result array must not be one of the operands unless the operation says so. Nothing is
// allocated and nothing is thrown; nothing is wiped, neither results nor local arrays. Those take up to 18 KB of stack
// in one operation and 40 KB with all that it calls. Nothing runs in constant time. Every operation may be called by
// several threads at once.
//
// What the processor offers changes how fast these are, never what they give (mpi_kernels.h).
#ifndef VT_CRYPTO_MPI_H
#define VT_CRYPTO_MPI_H

#include <cstdint>

constexpr int MPI_HALF_WORDS = 129;    // an array of half capacity, word 0 included
constexpr int MPI_FULL_WORDS = 257;    // an array of full capacity
constexpr int MPI_DOUBLE_WORDS = 513;  // an array of double capacity

// The longest byte string that MPI_FromBytes takes: what a full MPI holds.
constexpr int MPI_MAX_BYTES = 1024;

// Bytes, sizes and copies.

// MPI_FromBytes reads length big-endian bytes, of which leading zeros are skipped, and returns the limb count of out.
// A length above MPI_MAX_BYTES returns -10 and leaves out untouched, even if the excess bytes are zeros. A length of 0
// or less gives zero.
int MPI_FromBytes(const unsigned char* bytes, int length, std::uint32_t* out);

// MPI_ToBytes writes x as exactly length big-endian bytes: zeros stand in front of a shorter value, and of a longer one
// the high bytes are dropped without a report. It returns (length + 3) / 4. A length of 0 or less writes nothing.
int MPI_ToBytes(unsigned char* bytes, int length, const std::uint32_t* x);

// MPI_Copy copies the limb count and the limbs, L + 1 words. The two may be the same array.
void MPI_Copy(std::uint32_t* to, const std::uint32_t* from);

// MPI_Compare is negative, zero or positive for a below, equal to or above b: the difference of the limb counts if they
// differ, else -1, 0 or 1.
int MPI_Compare(const std::uint32_t* a, const std::uint32_t* b);

// MPI_ByteLength and MPI_BitLength count the significant bytes and bits; 0 for zero.
int MPI_ByteLength(const std::uint32_t* x);
int MPI_BitLength(const std::uint32_t* x);

// MPI_SetPowerOfTwo makes r = 2^k, k at least 0.
void MPI_SetPowerOfTwo(std::uint32_t* r, int k);

// Sums and differences. A carry and a borrow are 1 or 0.

// MPI_AddTo: a += b. a may grow by one limb over the longer of the two. a and b may be the same array.
void MPI_AddTo(std::uint32_t* a, const std::uint32_t* b);

// MPI_Add: r = a + b. r may be a or b, and a and b may be the same.
void MPI_Add(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b);

// MPI_AddWord: x += w. It returns the carry out of the top limb, which has then become a limb of x.
std::uint32_t MPI_AddWord(std::uint32_t* x, std::uint32_t w);

// MPI_SubFrom: a -= b, as MPI_Sub without its result. a and b may be the same array.
void MPI_SubFrom(std::uint32_t* a, const std::uint32_t* b);

// MPI_Sub: r = a - b, and returns the borrow. If b is above a, r is a - b + 2^(32 m), m being the longer of the two
// limb counts: callers compare first. r may be a or b.
std::uint32_t MPI_Sub(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b);

// MPI_SubWord: x -= w, and returns the borrow. Zero less w is the single limb 2^32 - w (zero, without a borrow, for
// w = 0), and so is a single limb below w wrapped within one limb.
std::uint32_t MPI_SubWord(std::uint32_t* x, std::uint32_t w);

// MPI_Decrement: r = x - 1, and returns the borrow. Of zero it makes the single limb ffffffff. r may be x.
std::uint32_t MPI_Decrement(std::uint32_t* r, const std::uint32_t* x);

// Products and shifts.

// MPI_Mul: r = a b. r needs room for the limbs of a and b together. a and b may be the same.
void MPI_Mul(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b);

// MPI_Square: r = a a, with about half the work of MPI_Mul. r needs room for twice the limbs of a.
void MPI_Square(std::uint32_t* r, const std::uint32_t* a);

// MPI_ShiftLeft shifts x up by bits, at least 0, in place. Zero stays zero.
void MPI_ShiftLeft(std::uint32_t* x, int bits);

// MPI_ShiftRight shifts x down by bits, at least 0, in place: first whole limbs, then by bits mod 32. It returns the
// bits that this second step shifts out of the low limb, as a number below 2^(bits mod 32); 0 if no limb was left.
std::uint32_t MPI_ShiftRight(std::uint32_t* x, int bits);

// Division.

// MPI_DivMod makes q the quotient of a by d, and a the remainder. It returns 0; a zero d returns 1 and changes nothing.
// The three are different arrays; q needs room for the limbs of a less those of d and one more, and for at least one.
int MPI_DivMod(std::uint32_t* a, const std::uint32_t* d, std::uint32_t* q);

// MPI_Mod is MPI_DivMod without the quotient.
int MPI_Mod(std::uint32_t* a, const std::uint32_t* d);

// MPI_ModWord returns x mod w, or ffffffff when w is 0.
std::uint32_t MPI_ModWord(const std::uint32_t* x, std::uint32_t w);

// MPI_ModInverse returns 1 and makes r the inverse of x modulo m, below m; or returns 0 if there is none. A null r asks
// for coprimality alone. r may be x or m; without an inverse it is left as it was.
int MPI_ModInverse(const std::uint32_t* x, const std::uint32_t* m, std::uint32_t* r);

// Montgomery arithmetic: P. L. Montgomery, Modular multiplication without trial division, 1985. R is 2^(32 m), with m
// the limb count of the modulus n.

// MPI_MontConstant returns n' = -1/n mod 2^32 for an odd n. For an even one, which has no inverse, it is the number
// that lifting bit by bit gives all the same.
std::uint32_t MPI_MontConstant(const std::uint32_t* n);

// MPI_MontReduce makes r = t / R mod n, for the n' of n and t below n R. n has at most 256 limbs. In exact words: to t,
// of 2 m limbs, the product of n and u, the low limb times n' mod 2^32, is added at each of the lower m limbs in turn;
// r is the upper m limbs, and n is subtracted from it once if it is not below n or the sums have overflowed. So it also
// is for a t of 2 m limbs that is too large, and for any other n'; limbs of t above 2 m are not read. r may be t.
void MPI_MontReduce(std::uint32_t* r, const std::uint32_t* t, const std::uint32_t* n, std::uint32_t nPrime);

// MPI_ToMontgomery: r = x R mod n. r needs room for the limbs of x and n together. A zero n gives x. r may be x.
void MPI_ToMontgomery(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* n);

// MPI_MontInverse returns 1 and makes r = 2^k / x mod m, below m; or returns 0 if x has no inverse modulo m, and leaves
// r as it was. k is at least 0. r may be m or x. It is quickest for an odd m.
int MPI_MontInverse(const std::uint32_t* m, const std::uint32_t* x, std::uint32_t* r, int k);

// Powers. x, e and n are full at most, x may be above n; r needs n's limbs and may be any operand. x^0 is 1, also
// modulo 1; modulo 0 any other power is zero.

// MPI_ModExpSmallWindow: r = x^e mod n, by windows of two bits. For public exponents and all that is no secret.
void MPI_ModExpSmallWindow(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n);

// MPI_ModExpNAF: r = x^e mod n, by signed digits. For private exponents: it saves products and costs an inversion of x.
// 0^0 is 0 here. For an even n, or an x that has no inverse modulo n, it is no faster than MPI_ModExpSmallWindow.
void MPI_ModExpNAF(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n);

// Primes.

// MPI_IsProbablePrime returns 1 if n has no divisor among the odd primes from 3 to 9739 and passes 30 rounds of
// Miller-Rabin with the bases 2, 3, 5, ... 113, else 0. So it is 0 for those primes themselves, but 1 for 2.
int MPI_IsProbablePrime(const std::uint32_t* n);

// MPI_FindPrime searches a prime of exactly bits bits, at least 2, from x on, and leaves it in x. The low bit and bit
// (bits - 1) of x are set first, those above are cleared, and missing limbs count as zero. A start of up to 9739 leads
// to the next prime, from the range's start again at its end. From a larger one the candidates lie 64 apart, go on at
// the range's start when they pass its end, and the sieve over them is not exact: which prime is found is part of the
// interface, since keys are derived from it. Of 14 bits, a search that comes to the range's end goes on as from a start
// of up to 9739, as it would never end otherwise.
void MPI_FindPrime(std::uint32_t* x, int bits);

// MPI_FillRandom makes x a number of exactly limbs limbs from RuntimeRand (runtime_rand.h): four values each, from the
// lowest limb to the highest, of which the low eight bits are used, the first value topmost. The top limb is drawn
// again until it is not zero. The numbers are not secret: every thread draws the same ones.
void MPI_FillRandom(std::uint32_t* x, int limbs);

#endif
