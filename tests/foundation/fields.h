// The protected fields and steps of the strings and buffers, for the tests.
#ifndef VT_TESTS_FOUNDATION_FIELDS_H
#define VT_TESTS_FOUNDATION_FIELDS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

// A derived class may form pointers to the protected members of its base.
template <class T>
struct Fields : T {
    using T::Delt;
    using T::Init;
    using T::T;

    static std::ptrdiff_t dataOffset(const T& value) { return offset(value, value.*(&Fields::data)); }
    static std::ptrdiff_t lengthOffset(const T& value) { return offset(value, value.*(&Fields::length)); }
    static std::ptrdiff_t capacityOffset(const T& value) { return offset(value, value.*(&Fields::capacity)); }

    static char* dataOf(const T& value) { return value.*(&Fields::data); }
    static unsigned int lengthOf(const T& value) { return value.*(&Fields::length); }
    static unsigned int capacityOf(const T& value) { return value.*(&Fields::capacity); }

    unsigned int reAllocate(unsigned int needed) { return this->ReAllocate(needed); }

  private:
    template <class Field>
    static std::ptrdiff_t offset(const T& value, const Field& field) {
        return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&value);
    }
};

// What a string or buffer holds, zero bytes too.
template <class T>
std::string contentOf(const T& value) {
    return value.GetLength() == 0 ? std::string() : std::string(value.GetChars(), value.GetLength());
}

// A text literal with its zero bytes, but the last.
template <std::size_t n>
std::string bytes(const char (&literal)[n]) {
    return {literal, n - 1};
}

#endif
