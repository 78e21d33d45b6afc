// Keys of tests/vectors as the engine takes them.
#ifndef VT_TESTS_CRYPTO_RSA_KEYS_H
#define VT_TESTS_CRYPTO_RSA_KEYS_H

#include <array>
#include <memory>

#include "crypto/rsa.h"
#include "tests/support/hex.h"
#include "tests/vectors/rsa_keys.h"

namespace rsakeys {

using support::Bytes;
using support::hex;

// A number of the engine, full or double.
using Number = std::array<std::uint32_t, MPI_DOUBLE_WORDS>;

inline Number number(const Bytes& bytes) {
    Number x = {};
    MPI_FromBytes(bytes.data(), static_cast<int>(bytes.size()), x.data());
    return x;
}

inline Bytes bytesOf(const std::uint32_t* x, int length) {
    Bytes bytes(static_cast<std::size_t>(length));
    MPI_ToBytes(bytes.data(), length, x);
    return bytes;
}

// The eight strings of a key, each in a block of exactly its length, and the items that point to them.
class Key {
  public:
    explicit Key(const RsaKeyVector& vector) {
        for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i)
            set(static_cast<RsaItem>(i), hex(vector.items[i]));
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    const Bytes& operator[](RsaItem item) const { return strings_[item]; }
    void set(RsaItem item, Bytes bytes) {
        strings_[item] = std::move(bytes);
        items_[item] = {strings_[item].data(), static_cast<std::uint32_t>(strings_[item].size())};
    }
    const KEY_ITEM* items() { return items_; }

  private:
    Bytes strings_[RSA_ITEM_COUNT];
    RSA_KEY_ITEMS items_ = {};
};

inline std::unique_ptr<RSA_CTX> load(const KEY_ITEM* items, std::uint32_t length) {
    auto context = std::make_unique<RSA_CTX>();
    return RSA_Init(context.get(), items, length, nullptr) == 0 ? std::move(context) : nullptr;
}

inline std::unique_ptr<RSA_CTX> loadPublic(const RsaKeyVector& vector) {
    Key key(vector);
    return load(key.items(), RSA_PUBLIC_LENGTH);
}

inline std::unique_ptr<RSA_CTX> loadPrivate(const RsaKeyVector& vector) {
    Key key(vector);
    return load(key.items(), RSA_PRIVATE_LENGTH);
}

// The first vector of a size.
inline const RsaKeyVector& ofBits(int bits) {
    const RsaKeyVector* vector = kRsaKeys;
    while (vector->bits != bits)
        ++vector;
    return *vector;
}

inline std::size_t lengthOf(const RsaKeyVector& vector) {
    return static_cast<std::size_t>(vector.bits + 7) / 8;
}

}  // namespace rsakeys

#endif
