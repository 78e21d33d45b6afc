// A thin layer over the CryptoAPI calls: handles that close themselves, shared by the operations of this room.
#ifndef VT_ENROL_CAPI_H
#define VT_ENROL_CAPI_H

#include <utility>

#include "platform/platform.h"

namespace enrol {

using platform::capi;
using platform::sys;

// Handle owns one handle of the platform and closes it by Traits::close; Traits::none stands for "no handle".
template <class Traits>
class Handle {
  public:
    using Value = typename Traits::Value;

    Handle() = default;
    explicit Handle(Value value) : value_(value) {}
    ~Handle() { reset(); }
    Handle(Handle&& other) noexcept : value_(other.release()) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    Value get() const { return value_; }
    explicit operator bool() const { return value_ != Traits::none(); }

    // receive closes what is held and gives the address for a call that opens a handle:
    // capi().CryptCreateHash(prov.get(), alg, 0, 0, hash.receive()).
    Value* receive() {
        reset();
        return &value_;
    }

    // release gives the handle away: the caller closes it, or leaves it open.
    Value release() { return std::exchange(value_, Traits::none()); }

    void reset(Value value = Traits::none()) {
        const Value old = std::exchange(value_, value);
        if (old != Traits::none())
            Traits::close(old);
    }

  private:
    Value value_ = Traits::none();
};

struct ProviderTraits {
    using Value = HCRYPTPROV;
    static constexpr Value none() { return 0; }
    static void close(Value value) { capi().CryptReleaseContext(value, 0); }
};
struct KeyTraits {
    using Value = HCRYPTKEY;
    static constexpr Value none() { return 0; }
    static void close(Value value) { capi().CryptDestroyKey(value); }
};
struct HashTraits {
    using Value = HCRYPTHASH;
    static constexpr Value none() { return 0; }
    static void close(Value value) { capi().CryptDestroyHash(value); }
};

using ProviderHandle = Handle<ProviderTraits>;
using KeyHandle = Handle<KeyTraits>;
using HashHandle = Handle<HashTraits>;

}  // namespace enrol

#endif
