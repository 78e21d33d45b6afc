// The engine's objects as tests hold them: owners, choosers, and pairs over test bytes.
#ifndef VT_TESTS_CRYPTO_ENGINE_OBJECTS_H
#define VT_TESTS_CRYPTO_ENGINE_OBJECTS_H

#include <gtest/gtest.h>

#include "crypto/operation.h"
#include "tests/support/hex.h"

namespace engine {

using support::Bytes;
using support::hex;

// A pair over the bytes, which must outlive it. No bytes at all still have an address.
inline KEY_ITEM itemOf(const Bytes& bytes) {
    static std::uint8_t nothing = 0;
    return {bytes.empty() ? &nothing : const_cast<std::uint8_t*>(bytes.data()),
            static_cast<std::uint32_t>(bytes.size())};
}

inline Bytes bytesOf(const void* bytes, std::size_t length) {
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    return {first, first + length};
}

// A chooser of the software path with its table.
struct SoftChooser {
    SOFT_TABLE table = {};
    CHOOSER chooser = {0, nullptr, &table, 0};
    operator CHOOSER*() { return &chooser; }
};

// An algorithm object that was set up; its code says how that went.
class Alg {
  public:
    explicit Alg(AlgAllocator allocator, const void* parameter = nullptr) : object_(AlgShell()) {
        code = AlgSetup(&object_, allocator, parameter);
    }
    // The allocator's object under another mechanism of the same context.
    Alg(AlgAllocator allocator, const void* parameter, CK_MECHANISM_TYPE mechanism) : Alg(allocator, parameter) {
        object_->mechanism->code = mechanism;
    }
    Alg(const Alg&) = delete;
    Alg& operator=(const Alg&) = delete;
    ~Alg() { AlgFree(&object_); }
    operator ALG_OBJ*() const { return object_; }
    ALG_OBJ* operator->() const { return object_; }
    ALG_OBJ*& get() { return object_; }

    int code;

  private:
    ALG_OBJ* object_;
};

class Key {
  public:
    explicit Key(KeyAllocator allocator, const KEY_ITEM* value = nullptr) : object_(KeyShell()) {
        code = KeySetup(&object_, allocator, value);
    }
    Key(KeyAllocator allocator, const Bytes& bytes) : object_(KeyShell()) {
        const KEY_ITEM item = itemOf(bytes);
        code = KeySetup(&object_, allocator, &item);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { KeyFree(&object_); }
    operator KEY_OBJ*() const { return object_; }
    KEY_OBJ* operator->() const { return object_; }
    KEY_OBJ*& get() { return object_; }

    int code;

  private:
    KEY_OBJ* object_;
};

// The value of an attribute.
inline Bytes valueOf(const ATTRIBUTE& attribute) {
    return bytesOf(attribute.value, attribute.valueLength);
}

inline Bytes number(CK_ULONG value) {
    return bytesOf(&value, sizeof value);
}

}  // namespace engine

#endif
