// VT_P11_OP: the one door to cryptography for everything above. The chooser decides whether an operation runs in this
// library or in a token.
#ifndef VT_TOKEN_OP_H
#define VT_TOKEN_OP_H

#include <cstdint>

#include "foundation/export.h"

class MiByte;
class RSAPublicKey;
class VT_P11_Alg;
class VT_P11_Key;

// What createChooser is given. A length counts only if its pointer is there.
struct VT_P11_SELECTION {
    std::uint32_t first;
    const char* text1;
    std::uint32_t length1;
    const char* text2;
    std::uint32_t length2;
};

class VT_API VT_P11_OP {
  public:
    VT_P11_OP();
    VT_P11_OP(const VT_P11_OP& other);
    VT_P11_OP& operator=(const VT_P11_OP& other);
    ~VT_P11_OP();

    int createChooser(void* selection);
    int destroyChooser();
    void Reset();

    int Encrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int Decrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int VerifyRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int RSABigEncrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int RSABigDecrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int Sign(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int Verify(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& data, const MiByte& signature);
    int SignRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int Digest(const VT_P11_Alg& alg, const MiByte& input, MiByte& output);
    int GenerateRandom(MiByte& output, int length, const MiByte& seed);

    int GetHardPubKey(const MiByte& label, VT_P11_Key& key);
    int GenRSAKeyPair(VT_P11_Key& publicKey, const MiByte& publicLabel, VT_P11_Key& privateKey,
                      const MiByte& privateLabel, int bits, int inToken);
    int SetCertIntoToken(const unsigned char* label, std::uint32_t labelLength, const unsigned char* certificate,
                         std::uint32_t certificateLength);
    int GetCertFromToken(const unsigned char* label, std::uint32_t labelLength, unsigned char* output,
                         std::uint32_t* outputLength);
    bool CheckRSAKeyPair(const RSAPublicKey& publicKey, const unsigned char* label, std::uint32_t labelLength);
    bool CheckLabelExistInToken(const unsigned char* label, std::uint32_t labelLength, int unused);

  private:
    void* chooser;
};

#endif
