#include "crypto/soft_table.h"

#include <algorithm>

#include "crypto/codes.h"
#include "crypto/des.h"
#include "crypto/des3.h"
#include "crypto/hash_chain_random.h"
#include "crypto/md2.h"
#include "crypto/md5.h"
#include "crypto/rc2.h"
#include "crypto/rc4.h"
#include "crypto/rc5.h"
#include "crypto/sha1.h"

namespace softtable {
namespace {

// In the shape of the other inits: the items travel as the key's bytes.
int rsaInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter) {
    return RSA_Init(context, static_cast<const KEY_ITEM*>(static_cast<const void*>(key)), keyLength, parameter);
}

struct Cipher {
    CK_MECHANISM_TYPE code;
    CipherInit encryptInit;
    CipherInit decryptInit;
    CipherUpdate encryptUpdate;
    CipherUpdate decryptUpdate;
    CipherFinal final;
    std::uint32_t keyLength;      // bytes that the init reads without looking at the key's length
    std::size_t parameterLength;  // bytes of its parameter record
};

constexpr Cipher kCiphers[] = {
    {CKM_RSA_PKCS, rsaInit, rsaInit, RSA_Encrypt, RSA_Decrypt, RSA_Final, RSA_PUBLIC_LENGTH, 0},
    {CKM_RC2_CBC, RC2_EncryptInit, RC2_DecryptInit, RC2_Update, RC2_Update, RC2_Final, 1, sizeof(RC2_PARAMETER)},
    {CKM_RC2_CBC_PAD, RC2_EncryptInit, RC2_DecryptInit, RC2_Update, RC2_Update, RC2_FinalPad, 1, sizeof(RC2_PARAMETER)},
    {CKM_RC4, RC4_Init, RC4_Init, RC4_Update, RC4_Update, RSA_Final, 1, 0},
    {CKM_DES_CBC, DES_EncryptInit, DES_DecryptInit, DES_Update, DES_Update, DES_Final, 8, 8},
    {CKM_DES_CBC_PAD, DES_EncryptInit, DES_DecryptInit, DES_Update, DES_Update, DES_FinalPad, 8, 8},
    {CKM_DES3_CBC, DES3_EncryptInit, DES3_DecryptInit, DES3_Update, DES3_Update, DES3_Final, 24, 8},
    {CKM_DES3_CBC_PAD, DES3_EncryptInit, DES3_DecryptInit, DES3_Update, DES3_Update, DES3_FinalPad, 24, 8},
    {CKM_RC5_CBC, RC5_EncryptInit, RC5_DecryptInit, RC5_Update, RC5_Update, RC5_Final, 1, sizeof(RC5_PARAMETER)},
    {CKM_RC5_CBC_PAD, RC5_EncryptInit, RC5_DecryptInit, RC5_Update, RC5_Update, RC5_FinalPad, 1, sizeof(RC5_PARAMETER)},
};

struct Digest {
    CK_MECHANISM_TYPE code;
    CK_MECHANISM_TYPE withRsa;  // the mechanism that signs it
    DigestInit init;
    DigestUpdate update;
    DigestFinal final;
};

constexpr Digest kDigests[] = {
    {CKM_MD2, CKM_MD2_RSA_PKCS, MD2_Init, MD2_Update, MD2_Final},
    {CKM_MD5, CKM_MD5_RSA_PKCS, MD5_Init, MD5_Update, MD5_Final},
    {CKM_SHA_1, CKM_SHA1_RSA_PKCS, SHA1_Init, SHA1_Update, SHA1_Final},
};

struct Generator {
    CK_MECHANISM_TYPE code;
    RandomSeed seed;
    RandomGenerate generate;
};

constexpr Generator kGenerators[] = {
    {HASH_CHAIN_RANDOM_MD2, HashChainRandom_MD2_Seed, HashChainRandom_MD2_Generate},
    {HASH_CHAIN_RANDOM_MD5, HashChainRandom_MD5_Seed, HashChainRandom_MD5_Generate},
    {HASH_CHAIN_RANDOM_SHA1, HashChainRandom_SHA1_Seed, HashChainRandom_SHA1_Generate},
};

// The row of a mechanism, or null.
template <class Row, std::size_t count>
const Row* find(const Row (&rows)[count], CK_MECHANISM_TYPE code) {
    const Row* row = std::find_if(rows, rows + count, [code](const Row& each) { return each.code == code; });
    return row == rows + count ? nullptr : row;
}

}  // namespace

int digestSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Digest* digest = find(kDigests, code);
    if (digest == nullptr)
        return crypto::kUnsupportedMechanism;
    table.digestInit = digest->init;
    table.digestUpdate = digest->update;
    table.digestFinal = digest->final;
    return 0;
}

int encryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Cipher* cipher = find(kCiphers, code);
    if (cipher == nullptr)
        return crypto::kUnsupportedMechanism;
    table.encryptInit = cipher->encryptInit;
    table.encryptUpdate = cipher->encryptUpdate;
    table.encryptFinal = cipher->final;
    return 0;
}

int decryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Cipher* cipher = find(kCiphers, code);
    if (cipher == nullptr)
        return crypto::kUnsupportedMechanism;
    table.decryptInit = cipher->decryptInit;
    table.decryptUpdate = cipher->decryptUpdate;
    table.decryptFinal = cipher->final;
    return 0;
}

int randomSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Generator* generator = find(kGenerators, code);
    if (generator == nullptr)
        return crypto::kUnsupportedMechanism;
    table.seed = generator->seed;
    table.generate = generator->generate;
    return 0;
}

CK_MECHANISM_TYPE digestOf(CK_MECHANISM_TYPE code) {
    for (const Digest& digest : kDigests) {
        if (digest.withRsa == code)
            return digest.code;
    }
    return code;
}

bool isDigestWithRsa(CK_MECHANISM_TYPE code) {
    return digestOf(code) != code;
}

int fits(const MECHANISM& mechanism, const KEY_OBJ* key) {
    const bool isRsa = mechanism.code == CKM_RSA_PKCS || isDigestWithRsa(mechanism.code);
    const Cipher* cipher = find(kCiphers, isRsa ? CKM_RSA_PKCS : mechanism.code);
    if (key == nullptr || key->data == nullptr || key->length == 0 || KeyIsRsa(key) != isRsa)
        return crypto::kKeyMissing;
    if (key->length < cipher->keyLength)
        return crypto::kBadKeyValue;
    const bool hasParameter = mechanism.parameter != nullptr;
    return hasParameter && mechanism.parameterLength < cipher->parameterLength ? crypto::kWrongLength : 0;
}

int run(CipherInit init, void* context, const KEY_OBJ& key, const MECHANISM& mechanism) {
    return init(context, static_cast<const std::uint8_t*>(key.data), key.length, mechanism.parameter);
}

}  // namespace softtable
