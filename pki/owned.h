// Owned<T>: the one pointer of a message class to a value that it owns, or null. A copy of the class copies the value.
#ifndef VT_PKI_OWNED_H
#define VT_PKI_OWNED_H

#include <memory>
#include <utility>

namespace pki {

// A pointer wide, as callers know the fields of these classes. T may be incomplete where the class is declared; the
// class then declares its copying and its destructor and defines them in its source, where T is known.
template <class T>
class Owned {
  public:
    Owned() noexcept = default;
    Owned(const Owned& other) : value_(copyOf(other.get())) {}
    Owned(Owned&& other) noexcept = default;
    Owned& operator=(const Owned& other) {
        if (this != &other)
            value_ = copyOf(other.get());
        return *this;
    }
    Owned& operator=(Owned&& other) noexcept = default;
    ~Owned() = default;

    // store replaces the value by a copy of another, which may be the one held. The old value stays if there is no
    // memory.
    void store(const T& value) { value_ = std::make_unique<T>(value); }

    // renew replaces the value by a new, empty one.
    T& renew() {
        value_ = std::make_unique<T>();
        return *value_;
    }

    void take(std::unique_ptr<T> value) { value_ = std::move(value); }
    void clear() { value_.reset(); }

    T* get() { return value_.get(); }
    const T* get() const { return value_.get(); }
    T& operator*() { return *value_; }
    const T& operator*() const { return *value_; }
    T* operator->() { return value_.get(); }
    const T* operator->() const { return value_.get(); }
    explicit operator bool() const { return value_ != nullptr; }

  private:
    static std::unique_ptr<T> copyOf(const T* value) {
        return value == nullptr ? nullptr : std::make_unique<T>(*value);
    }

    std::unique_ptr<T> value_;
};

}  // namespace pki

#endif
