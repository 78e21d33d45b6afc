// The inner loops over whole blocks for which there is more than one form: a plain one everywhere, and faster ones
// where the build or the processor has what they need. The forms in use are one table, chosen once at run time; all
// give the same bytes.
#ifndef VT_CRYPTO_BLOCK_KERNELS_H
#define VT_CRYPTO_BLOCK_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "crypto/des.h"
#include "crypto/des3.h"
#include "crypto/rc2.h"
#include "crypto/rc5.h"

namespace crypto {

// A CbcLoop puts whole blocks through the context's cipher, in the one direction it is for, and moves the chain on.
// output may be input; otherwise they do not overlap.
template <class Context>
using CbcLoop = void (*)(Context& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks);

template <class Context>
struct CbcLoops {
    CbcLoop<Context> encrypt;
    CbcLoop<Context> decrypt;
};

// Compresses whole blocks of 64 bytes into the chaining value.
using Sha1Loop = void (*)(std::uint32_t (&state)[5], const std::uint8_t* data, std::size_t blocks);

// Replaces a digest by its own digest, so many times; both are in the words of the chaining value.
using Sha1RepeatLoop = void (*)(std::uint32_t (&digest)[5], std::uint32_t times);

struct BlockKernels {
    const char* name;
    CbcLoops<DES_CTX> des;
    CbcLoops<DES3_CTX> des3;
    CbcLoops<RC2_CTX> rc2;
    CbcLoops<RC5_CTX> rc5;
    Sha1Loop sha1;
    Sha1RepeatLoop sha1Repeat;
};

// blockKernels: the table in use, at first the fastest.
const BlockKernels& blockKernels();

// plainBlockKernels: 32-bit words and table look-ups throughout.
const BlockKernels& plainBlockKernels();

// fastestBlockKernels: for each loop the fastest form that this processor can run.
const BlockKernels& fastestBlockKernels();

// blockKernelForms: the plain table, then one table for each kind of fast form that can run here ("wide", "avx2",
// "sha"), plain but for the loops of that kind. Tests and benchmarks go through them.
class BlockKernelForms {
  public:
    void add(const BlockKernels& kernels) { forms_[count_++] = &kernels; }
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] const BlockKernels* front() const { return forms_[0]; }
    const BlockKernels* operator[](std::size_t i) const { return forms_[i]; }
    [[nodiscard]] const BlockKernels* const* begin() const { return forms_; }
    [[nodiscard]] const BlockKernels* const* end() const { return forms_ + count_; }

  private:
    const BlockKernels* forms_[4] = {};
    std::size_t count_ = 0;
};
const BlockKernelForms& blockKernelForms();

// useBlockKernels makes the table the one in use, in all threads. For tests and benchmarks.
void useBlockKernels(const BlockKernels& kernels);

// The forms, each in the file of its primitive. A null loop cannot run here.
extern const CbcLoops<DES_CTX> kPlainDes, kWideDes;
extern const CbcLoops<DES3_CTX> kPlainDes3, kWideDes3;
extern const CbcLoops<RC2_CTX> kPlainRc2;
extern const CbcLoops<RC5_CTX> kPlainRc5;
CbcLoop<RC2_CTX> avx2Rc2Decrypt();
CbcLoop<RC5_CTX> avx2Rc5Decrypt();
void plainSha1(std::uint32_t (&state)[5], const std::uint8_t* data, std::size_t blocks);
void plainSha1Repeat(std::uint32_t (&digest)[5], std::uint32_t times);
Sha1Loop shaNiSha1();
Sha1RepeatLoop shaNiSha1Repeat();

}  // namespace crypto

#endif
