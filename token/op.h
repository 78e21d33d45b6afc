// VT_P11_OP: the one door to cryptography for everything above. The chooser decides whether an operation runs in this
// library or in a token; the caller's code is the same.
//
//     VT_P11_OP op;
//     VT_P11_SELECTION selection = {};                         // no texts: software
//     int code = op.createChooser(&selection);
//     code = op.Sign(alg, key, digestInfo, signature);         // builds, runs and frees all that it needs
//     op.destroyChooser();                                     // the destructor does not
//
// An operation leaves nothing behind but what the chooser holds. On failure its outputs are as they were (but for keys
// that memory runs out upon), and an output may be the same object as the input.
//
// Results, unless an operation tells more:
//       0    success
//      >0    the PKCS#11 return value of a module; the values of two calls in a row are added
//     -1, -1031  exhausted memory (MiByte itself throws std::bad_alloc)
//     -2   no chooser
//     -3   a length that does not fit the key or the cipher, or 32 bits
//     -4   a key of another kind than the algorithm's; -6 an algorithm that the operation does not have
//     -1003, -1006, -1007   key or algorithm cannot be made into the engine's objects (alg.h, key.h)
// and what the engine gives (crypto/operation.h): -7, -10, -12, -14, -103, -106. Key and algorithm are looked at before
// the chooser is.
//
// An object and its chooser are used from one thread at a time. A module has locks of its own.
#ifndef VT_TOKEN_OP_H
#define VT_TOKEN_OP_H

#include <cstdint>

#include "foundation/export.h"

class MiByte;
class RSAPublicKey;
class VT_P11_Alg;
class VT_P11_Key;

namespace token {
struct RepeatedDigest;
struct StoredCertificate;
}  // namespace token

// What createChooser is given. A length counts only if its text is there. With both texts there, and a module loaded,
// the chooser is on the token; what they say does not matter. The first word is carried along for the caller.
struct VT_P11_SELECTION {
    std::uint32_t first;    // the caller's own
    const char* text1;      // borrowed; null for none
    std::uint32_t length1;  // in bytes
    const char* text2;      // borrowed; null for none
    std::uint32_t length2;  // in bytes
};

class VT_API VT_P11_OP {
  public:
    VT_P11_OP();  // without a chooser

    // A copy shares the chooser, which runs one operation at a time and is to be destroyed through one of its holders,
    // once.
    VT_P11_OP(const VT_P11_OP& other);
    VT_P11_OP& operator=(const VT_P11_OP& other);

    // The destructor and Reset let go of the chooser without destroying it.
    ~VT_P11_OP();
    void Reset();

    // createChooser makes the chooser of a VT_P11_SELECTION, in place of one that the object had, which is not
    // destroyed. 0; -1; -2 for a null selection; -17 for a current module without C_GetFunctionList. A session that the
    // module refuses gives 0 as well, and no chooser: the first operation then gives -2.
    int createChooser(void* selection);

    // destroyChooser closes the session and frees the chooser, also when the module fails to close. Always 0, also
    // without a chooser.
    int destroyChooser();

    // Encrypt and Decrypt: DES, triple DES and RC2 in CBC mode with padding (PKCS#5), RC4, and RSA with PKCS#1 v1.5
    // blocks. The output always fits, whatever the size of an RSA key. In software RSA takes input of any size, k - 11
    // bytes to a block of k bytes, k being the modulus length, and makes type 2 blocks by a public key and type 1 by a
    // private one; a token is given all the input in one call. Empty input gives empty output in software. -3 for
    // ciphertext that is not whole blocks; -12 for an RSA block that does not open.
    int Encrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int Decrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);

    // VerifyRecover is Decrypt, by another name for the opening of a signature with the public key.
    int VerifyRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);

    // RSABigEncrypt and RSABigDecrypt are RSA alone, and ask for the size of the output first: on a token, two calls.
    int RSABigEncrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int RSABigDecrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output);

    // Sign: RSA over the data themselves, at most k - 11 bytes (algorithm 8), or over their digest (9 to 11). The
    // digest is bare in software, and wrapped in a DigestInfo by a token: for a standard signature on both, make the
    // DigestInfo and sign it by algorithm 8. -3 for a signature of more than 258 bytes; SignRecover has no such limit
    // and is the same otherwise.
    int Sign(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);
    int SignRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output);

    // Verify gives 0 for a signature of the data. Any other is -13 in software (under algorithms 9 to 11 one that does
    // not open has its own code, -3 or -12; an empty one is -2), and the module's code on a token. -3 for more than
    // 1025 bytes of data under algorithm 8; -5 for no chooser.
    int Verify(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& data, const MiByte& signature);

    // Digest: SHA-1, MD5 and MD2.
    int Digest(const VT_P11_Alg& alg, const MiByte& input, MiByte& output);

    // GenerateRandom gives length bytes; -3 for a length below 0. In software they depend on the seed and the length
    // alone (crypto/hash_chain_random.h): they are as hard to guess as the seed is. A token mixes the seed in.
    int GenerateRandom(MiByte& output, int length, const MiByte& seed);

    // GetHardPubKey reads the public key of the label from the token; key becomes an RSA public key, also an empty one
    // if the token gives no modulus or no exponent. -2 for a chooser in software; -16 for a modulus or exponent of more
    // than 1024 bytes; -19 if the label is not there; -1010 for an empty label.
    int GetHardPubKey(const MiByte& label, VT_P11_Key& key);

    // GenRSAKeyPair makes a key pair of 512, 1024 or 2048 bits; any other number counts as 1024. Labels are asked for
    // in any case. With inToken 0 both keys are given out; the chooser must be in software. With any other inToken they
    // stay in the token, under the labels: publicKey is given out, and privateKey names its label. In software the
    // public exponent is 65539 or above, and the key no secret (crypto/rsa.h); in a token it is 65537.
    //
    // -2 if chooser and inToken do not fit; -11; -19; -1010 for an empty label; -1029 and -1030 for a public and a
    // private label that exists.
    int GenRSAKeyPair(VT_P11_Key& publicKey, const MiByte& publicLabel, VT_P11_Key& privateKey,
                      const MiByte& privateLabel, int bits, int inToken);

    // SetCertIntoToken stores an X.509 certificate under the label. -2 for a chooser in software; -1010 for a null or
    // empty argument; -1028 if any object of the token has the label.
    int SetCertIntoToken(const unsigned char* label, std::uint32_t labelLength, const unsigned char* certificate,
                         std::uint32_t certificateLength);

    // GetCertFromToken gives the length of the certificate of the label, and its bytes if output is not null: ask for
    // the length first, as the output must have the room. A length of 0 says that there is none, or that it could not
    // be read; the result is 0 then too. -1010 for a null label or outputLength.
    int GetCertFromToken(const unsigned char* label, std::uint32_t labelLength, unsigned char* output,
                         std::uint32_t* outputLength);

    // CheckRSAKeyPair says whether the token's public key of the label has the same modulus and exponent as publicKey.
    // CheckLabelExistInToken says whether an object of the token has the label; unused is not looked at. Both are false
    // for whatever goes wrong, and in software.
    bool CheckRSAKeyPair(const RSAPublicKey& publicKey, const unsigned char* label, std::uint32_t labelLength);
    bool CheckLabelExistInToken(const unsigned char* label, std::uint32_t labelLength, int unused);

  private:
    friend struct token::RepeatedDigest;
    friend struct token::StoredCertificate;

    void* chooser = nullptr;
};

#endif
