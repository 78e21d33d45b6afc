// VT_P11_Alg: an algorithm with its parameters, as a plain value.
//
//     code   algorithm            identifier
//     1      SHA-1                1.3.14.3.2.26
//     2      MD5                  1.2.840.113549.2.5
//     3      MD2                  1.2.840.113549.2.2
//     4      DES CBC              1.3.14.3.2.7
//     5      triple DES CBC       1.2.840.113549.3.7
//     6      RC2 CBC              1.2.840.113549.3.2
//     7      RC4                  1.2.840.113549.3.4
//     8      RSA                  1.2.840.113549.1.1.1
//     9      SHA-1 with RSA       1.2.840.113549.1.1.5
//     10     MD5 with RSA         1.2.840.113549.1.1.4
//     11     MD2 with RSA         1.2.840.113549.1.1.2
#ifndef VT_TOKEN_ALG_H
#define VT_TOKEN_ALG_H

#include <cstdint>

#include "foundation/export.h"

class AlgorithmIdentifier;
class MiByte;

class VT_API VT_P11_Alg {
  public:
    VT_P11_Alg();
    VT_P11_Alg(const VT_P11_Alg& other);
    VT_P11_Alg& operator=(const VT_P11_Alg& other);
    ~VT_P11_Alg();

    int setAlgType(int type);
    int getAlgType(int& type) const;
    int setIV(const MiByte& value);
    int setEffectiveBits(int bits);
    int getEffectiveBits() const;
    int setAlgorithmIdentifier(const AlgorithmIdentifier& identifier);
    int getAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;
    int GetVCKAIObj(unsigned char** object, int keyClass) const;
    void Reset();

  private:
    std::int32_t algType;
    std::int32_t effectiveBits;
    unsigned char* iv;
    std::uint32_t ivLength;
};

#endif
