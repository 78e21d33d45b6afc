// VT_P11_Alg: an algorithm with its parameters, as a plain value.
//
//     code   algorithm            identifier              mechanism             parameters in DER
//     1      SHA-1                1.3.14.3.2.26           CKM_SHA_1             NULL
//     2      MD5                  1.2.840.113549.2.5      CKM_MD5               NULL
//     3      MD2                  1.2.840.113549.2.2      CKM_MD2               NULL
//     4      DES CBC              1.3.14.3.2.7            CKM_DES_CBC_PAD       OCTET STRING, the iv; NULL without one
//     5      triple DES CBC       1.2.840.113549.3.7      CKM_DES3_CBC_PAD      the same
//     6      RC2 CBC              1.2.840.113549.3.2      CKM_RC2_CBC_PAD       RC2_CBC_parameter
//     7      RC4                  1.2.840.113549.3.4      CKM_RC4               NULL
//     8      RSA                  1.2.840.113549.1.1.1    CKM_RSA_PKCS          NULL
//     9      SHA-1 with RSA       1.2.840.113549.1.1.5    CKM_SHA1_RSA_PKCS     NULL
//     10     MD5 with RSA         1.2.840.113549.1.1.4    CKM_MD5_RSA_PKCS      NULL
//     11     MD2 with RSA         1.2.840.113549.1.1.2    CKM_MD2_RSA_PKCS      NULL
//
// It does no cryptography: it converts to and from AlgorithmIdentifier, and makes the engine's ALG_OBJ for one
// operation. The fields and their order are a binary contract. Results are 0 or a code of token/codes.h; the exceptions
// of the ASN.1 runtime pass. An object belongs to one thread at a time.
#ifndef VT_TOKEN_ALG_H
#define VT_TOKEN_ALG_H

#include <cstdint>

#include "foundation/export.h"

class AlgorithmIdentifier;
class MiByte;

namespace token {

// The codes of algorithms, as in the table above.
enum AlgorithmCode : std::int32_t {
    kSha1 = 1,
    kMd5 = 2,
    kMd2 = 3,
    kDesCbc = 4,
    kDes3Cbc = 5,
    kRc2Cbc = 6,
    kRc4 = 7,
    kRsa = 8,
    kSha1Rsa = 9,
    kMd5Rsa = 10,
    kMd2Rsa = 11
};

// The classes of keys: any key that is not RSA, and the halves of an RSA key.
enum KeyClass : std::int32_t { kSecretClass = 1, kPublicClass = 2, kPrivateClass = 3 };

}  // namespace token

class VT_API VT_P11_Alg {
  public:
    VT_P11_Alg();  // code 0, no iv, no effective bits

    // Copies have an iv of their own. One whose memory is exhausted has none, which is not reported.
    VT_P11_Alg(const VT_P11_Alg& other);
    VT_P11_Alg& operator=(const VT_P11_Alg& other);
    ~VT_P11_Alg();

    // setAlgType stores a code; 0, or -1006 for none of 1 to 11, when the old one stays. getAlgType gives the code, or
    // -1 if there is none; always 0.
    int setAlgType(int type);
    int getAlgType(int& type) const;

    // setIV copies the initial value. Its length is not looked at here: the block ciphers take the first 8 bytes, and
    // fewer fail in GetVCKAIObj. 0; -1010 for an empty value; -1031. After a failure the old iv stays.
    int setIV(const MiByte& value);

    // The effective key bits of RC2, stored unchecked; 0 stands for none. setEffectiveBits gives 0.
    int setEffectiveBits(int bits);
    int getEffectiveBits() const;

    // setAlgorithmIdentifier replaces the whole object by what the identifier says. 0; -1001 if it holds no algorithm;
    // -1006 for an algorithm without a code, or RC2 parameters of another version than 160, 120 and 58 (40, 64 and 128
    // bits); -1016 for RC2 without parameters; -1031. What the decoding of RC2 parameters throws passes. After a
    // failure the code is -1, and there is neither iv nor effective bits.
    //
    // Parameters of DES and triple DES count by their content, whatever their tag: that of NULL, and of an empty
    // string, is no iv. RC2 parameters with an empty iv give none either. Parameters of the other algorithms are not
    // looked at.
    int setAlgorithmIdentifier(const AlgorithmIdentifier& identifier);

    // getAlgorithmIdentifier resets the identifier and fills it, by the table above. RC2 without an iv gets an empty
    // one. 0; -1006 for no code, or for RC2 with other effective bits than 40, 64 and 128.
    int getAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;

    // GetVCKAIObj builds the ALG_OBJ of one operation. *object is a shell from AlgShell, as a byte pointer; keyClass is
    // that of the operation's key (VT_P11_Key::getAK), which counts for RSA alone.
    //
    // 0; -1003 for RC2 without iv or effective bits; -1006 for no code, or RSA with another key class than 2 and 3;
    // -2 for an absent shell, or DES or triple DES without an iv; -3 for an iv of less than 8 bytes; -1. If the engine
    // fails (-1, -2, -3), it has freed the shell and *object is null; otherwise the shell is as it was. So the caller
    // ends every path with AlgFree on *object, null or not.
    int GetVCKAIObj(unsigned char** object, int keyClass) const;

    // Reset makes the object as new. Destruction is the same.
    void Reset();

  private:
    std::int32_t algType = 0;  // -1 after a failed setAlgorithmIdentifier
    std::int32_t effectiveBits = 0;
    unsigned char* iv = nullptr;  // owned, null for none
    std::uint32_t ivLength = 0;
};

#endif
