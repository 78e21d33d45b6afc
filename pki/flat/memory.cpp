#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "pki/flat/flat.h"

void* T_malloc(size_t size) {
    return size == SIZE_MAX ? nullptr : std::calloc(size + 1, 1);
}

void* T_realloc(void* buffer, size_t size) {
    return std::realloc(buffer, size);
}

void T_free(void* buffer) {
    std::free(buffer);
}

void* T_memset(void* buffer, int value, size_t length) {
    return std::memset(buffer, value, length);
}

void* T_memcpy(void* to, const void* from, size_t length) {
    return std::memcpy(to, from, length);
}

void* T_memmove(void* to, const void* from, size_t length) {
    return std::memmove(to, from, length);
}

int T_memcmp(const void* left, const void* right, size_t length) {
    return std::memcmp(left, right, length);
}

size_t T_strlen(const char* text) {
    return std::strlen(text);
}

char* T_strcpy(char* to, const char* from) {
    return static_cast<char*>(std::memcpy(to, from, std::strlen(from) + 1));
}

int T_strcmp(const char* left, const char* right) {
    return std::strcmp(left, right);
}
