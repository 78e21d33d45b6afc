// Certificates and keys from files, as the flat functions take them.
#ifndef VT_TOOLS_VTMSG_KEYS_H
#define VT_TOOLS_VTMSG_KEYS_H

#include <array>
#include <string>
#include <vector>

#include "pki/flat/flat.h"

class RSAPrivateKey;

namespace vtmsg {

// The DER of each block of a file, in its order; label is what PEM calls them ("CERTIFICATE"), and blocks of another
// label are passed over. InputError for a file without any, and for a block that cannot be read.
std::vector<std::string> readDer(const std::string& file, const std::string& label);

// An RSA private key and the record that points into it.
class PrivateKey {
  public:
    // The first key of a file: PKCS#1 RSAPrivateKey or PKCS#8 PrivateKeyInfo that is not encrypted, DER or PEM.
    // InputError for anything else.
    explicit PrivateKey(const std::string& file);
    PrivateKey(const PrivateKey&) = delete;
    PrivateKey& operator=(const PrivateKey&) = delete;

    // Borrowed; lives as long as the key.
    const PKCS_PriKey* record() const { return &key; }

  private:
    void take(const RSAPrivateKey& from);

    std::array<std::string, 8> numbers;
    PKCS_PriKey key{};
};

}  // namespace vtmsg

#endif
