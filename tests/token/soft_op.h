// An operation object of this library's own engine, and the keys that it is given.
#ifndef VT_TESTS_TOKEN_SOFT_OP_H
#define VT_TESTS_TOKEN_SOFT_OP_H

#include <gtest/gtest.h>

#include <array>

#include "tests/support/hex.h"
#include "token/token.h"

namespace support {

// An object with its chooser, which goes with it.
class SoftOp : public VT_P11_OP {
  public:
    SoftOp() {
        VT_P11_SELECTION none = {};
        EXPECT_EQ(createChooser(&none), 0);
    }
    ~SoftOp() { destroyChooser(); }
    SoftOp(const SoftOp&) = delete;
    SoftOp& operator=(const SoftOp&) = delete;

    VT_P11_OP& op() { return *this; }
    VT_P11_OP* operator->() { return this; }
};

// The private key of eight numbers in hex, in the order of VT_PKCS11_RSA_PRIVATE_KEY.
inline VT_P11_Key rsaPrivateKey(const char* const (&items)[8]) {
    std::array<Bytes, 8> numbers;
    std::array<VT_PKCS11_BYTES, 8> parts;
    for (std::size_t i = 0; i < 8; ++i) {
        numbers[i] = hex(items[i]);
        parts[i] = {numbers[i].data(), static_cast<std::uint32_t>(numbers[i].size())};
    }
    const VT_PKCS11_RSA_PRIVATE_KEY record = {parts[0], parts[1], parts[2], parts[3],
                                              parts[4], parts[5], parts[6], parts[7]};
    VT_P11_Key key;
    EXPECT_EQ(key.setKeyType(token::kRsaPrivateKey), 0);
    EXPECT_EQ(key.setPrivateKey(&record), 0);
    return key;
}

}  // namespace support

#endif
