#include "crypto/mpi_kernels.h"

#include <atomic>
#include <initializer_list>

namespace mpi {
namespace {

struct Forms {
    const Kernels* usable[5] = {};
    const Kernels* best = nullptr;

    Forms() {
        const Kernels** next = usable;
        for (const Kernels* form : {&plainKernels(), wideKernels(), adxKernels(), adx32Kernels()}) {
            if (form != nullptr && form->usable())
                *next++ = best = form;
        }
    }
};

const Forms& forms() {
    static const Forms found;
    return found;
}

// Null until the first use. Threads that come first together all store the same.
std::atomic<const Kernels*> inUse{nullptr};

}  // namespace

const Kernels& kernels() {
    const Kernels* form = inUse.load(std::memory_order_acquire);
    if (form == nullptr) {
        form = forms().best;
        inUse.store(form, std::memory_order_release);
    }
    return *form;
}

const Kernels* const* kernelForms() {
    return forms().usable;
}

void useKernels(const Kernels* form) {
    inUse.store(form, std::memory_order_release);
}

}  // namespace mpi
