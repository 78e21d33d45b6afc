// Held<T>: what a message class has of a value: nothing, or a copy that it owns. One pointer, copied deeply.
#ifndef VT_PKI_HELD_H
#define VT_PKI_HELD_H

#include <memory>

// A class that has one with an incomplete T defines its constructors, assignment and destructor in its source.
template <class T>
class Held {
  public:
    Held() = default;
    Held(const Held& other) : value(other ? std::make_unique<T>(*other) : nullptr) {}
    Held(Held&& other) noexcept = default;
    Held& operator=(const Held& other) {
        if (this != &other)
            value = other ? std::make_unique<T>(*other) : nullptr;
        return *this;
    }
    Held& operator=(Held&& other) noexcept = default;
    ~Held() = default;

    // set stores a copy in place of what was there.
    void set(const T& source) { value = std::make_unique<T>(source); }

    // renew stores an empty value in place of what was there, and gives it.
    T& renew() {
        value = std::make_unique<T>();
        return *value;
    }

    // clear deletes what was there.
    void clear() { value.reset(); }

    // Null if there is nothing.
    const T* get() const { return value.get(); }

    // Whether there is something, and access to it: only if there is.
    explicit operator bool() const { return value != nullptr; }
    const T& operator*() const { return *value; }
    T& operator*() { return *value; }
    const T* operator->() const { return value.get(); }
    T* operator->() { return value.get(); }

  private:
    std::unique_ptr<T> value;
};

#endif
