// Certificates and keys from files, as the flat functions take them.
#ifndef VT_TOOLS_COMMON_KEYS_H
#define VT_TOOLS_COMMON_KEYS_H

#include <array>
#include <string>
#include <vector>

#include "foundation/big_integer.h"
#include "pki/flat/flat.h"
#include "tools/common/input.h"

namespace tools {

// The identifier of RSA keys, in PKCS#8 and elsewhere.
inline constexpr char kRsaEncryption[] = "1.2.840.113549.1.1.1";

// The DER of each block of a file, in its order; label is what PEM calls them ("CERTIFICATE"), and blocks of another
// label are passed over. InputError for a file without any, and for a block that cannot be read.
std::vector<std::string> readDer(const std::string& file, const std::string& label);

// The first certificate of a file that an option names. The InputError names the file.
std::string readCertificate(const std::string& file);

// All blocks of that label, in all files that an option names. The InputError names the file.
std::vector<std::string> readAll(const std::vector<std::string>& files, const std::string& label);

// The subject of a certificate on one line, without what a terminal would act on: "O=Vemtrel, CN=Root".
std::string subjectOf(const std::string& der);

// The numbers of an RSA key (PKCS#1 RSAPrivateKey). Of a public key all but the first two are zero.
struct RsaNumbers {
    MiBigInteger modulus;
    MiBigInteger publicExponent;
    MiBigInteger privateExponent;
    MiBigInteger prime1;
    MiBigInteger prime2;
    MiBigInteger exponent1;
    MiBigInteger exponent2;
    MiBigInteger coefficient;
};

// Big-endian, without zeros in front; empty for zero.
std::string magnitude(const MiBigInteger& number);

// The numbers of the first private key among the blocks: PKCS#1 RSAPrivateKey or PKCS#8 PrivateKeyInfo that is not
// encrypted. A number may be zero. InputError for anything else.
RsaNumbers privateNumbers(const std::vector<Block>& blocks);

// An RSA private key and the record that points into it.
class PrivateKey {
  public:
    // The first key of a file. InputError for a file without one, and for a key that lacks a number.
    explicit PrivateKey(const std::string& file);
    explicit PrivateKey(const RsaNumbers& from);
    PrivateKey(const PrivateKey&) = delete;
    PrivateKey& operator=(const PrivateKey&) = delete;

    // Borrowed; lives as long as the key.
    const PKCS_PriKey* record() const { return &key; }

  private:
    std::array<std::string, 8> numbers;
    PKCS_PriKey key{};
};

}  // namespace tools

#endif
