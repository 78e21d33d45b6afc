#include "crypto/block_kernels.h"

#include <atomic>

namespace crypto {
namespace {

std::atomic<const BlockKernels*> inUse{nullptr};

BlockKernels plainCalled(const char* name) {
    return {name, kPlainDes, kPlainDes3, kPlainRc2, kPlainRc5, plainSha1, plainSha1Repeat};
}

// Each of these puts its loops in, where they can run, and tells whether they can.
bool putWide(BlockKernels& kernels) {
    if (kWideDes.encrypt == nullptr)
        return false;
    kernels.des = kWideDes;
    kernels.des3 = kWideDes3;
    return true;
}

bool putAvx2(BlockKernels& kernels) {
    if (avx2Rc2Decrypt() == nullptr || avx2Rc5Decrypt() == nullptr)
        return false;
    kernels.rc2.decrypt = avx2Rc2Decrypt();
    kernels.rc5.decrypt = avx2Rc5Decrypt();
    return true;
}

bool putSha(BlockKernels& kernels) {
    if (shaNiSha1() == nullptr || shaNiSha1Repeat() == nullptr)
        return false;
    kernels.sha1 = shaNiSha1();
    kernels.sha1Repeat = shaNiSha1Repeat();
    return true;
}

struct Forms {
    BlockKernels plain = plainCalled("plain");
    BlockKernels wide = plainCalled("wide");
    BlockKernels avx2 = plainCalled("avx2");
    BlockKernels sha = plainCalled("sha");
    BlockKernels fastest = plainCalled("fastest");
    BlockKernelForms usable;

    Forms() {
        usable.add(plain);
        if (putWide(wide))
            usable.add(wide);
        if (putAvx2(avx2))
            usable.add(avx2);
        if (putSha(sha))
            usable.add(sha);
        putWide(fastest);
        putAvx2(fastest);
        putSha(fastest);
    }
};

const Forms& forms() {
    static const Forms made;
    return made;
}

}  // namespace

const BlockKernels& blockKernels() {
    const BlockKernels* kernels = inUse.load(std::memory_order_acquire);
    if (kernels == nullptr) {
        kernels = &forms().fastest;
        inUse.store(kernels, std::memory_order_release);
    }
    return *kernels;
}

const BlockKernels& plainBlockKernels() {
    return forms().plain;
}

const BlockKernels& fastestBlockKernels() {
    return forms().fastest;
}

const BlockKernelForms& blockKernelForms() {
    return forms().usable;
}

void useBlockKernels(const BlockKernels& kernels) {
    inUse.store(&kernels, std::memory_order_release);
}

}  // namespace crypto
