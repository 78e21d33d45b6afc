// Owners of what an operation builds, so that everything is freed once, on every path. For the sources of this room.
#ifndef VT_TOKEN_HOLDERS_H
#define VT_TOKEN_HOLDERS_H

#include <memory>

#include "crypto/alg_object.h"
#include "crypto/alloc_buffer.h"
#include "crypto/key_object.h"

namespace token {

// Bytes and their number have two kinds beside the exchange structures of callers (VT_PKCS11_BYTES, key.h) and of the
// engine (KEY_ITEM, crypto/rsa.h), which do not say whose the bytes are: a View borrows what is only read, a Buffer
// owns what an operation makes.
struct View {
    const std::uint8_t* bytes;
    std::uint32_t length;
};

struct BufferFree {
    void operator()(void* buffer) const { FreeBuffer(buffer); }
};

// Bytes of the engine's allocator.
struct Buffer {
    std::unique_ptr<std::uint8_t, BufferFree> bytes;
    std::uint32_t length = 0;

    // allocate gives size zero bytes in place of what was there; false for exhausted memory.
    bool allocate(std::uint32_t size) {
        bytes.reset(static_cast<std::uint8_t*>(AllocBuffer(size)));
        length = bytes == nullptr ? 0 : size;
        return bytes != nullptr;
    }

    operator View() const { return {bytes.get(), length}; }
};

// An object of the engine, which VT_P11_Alg and VT_P11_Key know as an untyped pointer.
template <class Object, Object* (*shell)(), void (*release)(Object**)>
class Owned {
  public:
    Owned() : object_(shell()) {}
    ~Owned() { release(&object_); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    operator Object*() const { return object_; }
    Object* operator->() const { return object_; }
    Object** address() { return &object_; }

    // build hands the shell to a function that takes it as untyped, and which may free it and make it null.
    template <class Builder>
    int build(Builder&& builder) {
        auto* untyped = reinterpret_cast<unsigned char*>(object_);
        const int code = builder(&untyped);
        object_ = reinterpret_cast<Object*>(untyped);
        return code;
    }

  private:
    Object* object_;
};

using OwnedAlg = Owned<ALG_OBJ, AlgShell, AlgFree>;
using OwnedKey = Owned<KEY_OBJ, KeyShell, KeyFree>;

}  // namespace token

#endif
