#include "crypto/soft_table.h"

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

const Cipher* findCipher(CK_MECHANISM_TYPE code) {
    for (const Cipher& cipher : kCiphers) {
        if (cipher.code == code)
            return &cipher;
    }
    return nullptr;
}

}  // namespace

int digestSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    switch (code) {
        case CKM_MD2:
            table.digestInit = MD2_Init;
            table.digestUpdate = MD2_Update;
            table.digestFinal = MD2_Final;
            return 0;
        case CKM_MD5:
            table.digestInit = MD5_Init;
            table.digestUpdate = MD5_Update;
            table.digestFinal = MD5_Final;
            return 0;
        case CKM_SHA_1:
            table.digestInit = SHA1_Init;
            table.digestUpdate = SHA1_Update;
            table.digestFinal = SHA1_Final;
            return 0;
        default:
            return crypto::kUnsupportedMechanism;
    }
}

int encryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Cipher* cipher = findCipher(code);
    if (cipher == nullptr)
        return crypto::kUnsupportedMechanism;
    table.encryptInit = cipher->encryptInit;
    table.encryptUpdate = cipher->encryptUpdate;
    table.encryptFinal = cipher->final;
    return 0;
}

int decryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    const Cipher* cipher = findCipher(code);
    if (cipher == nullptr)
        return crypto::kUnsupportedMechanism;
    table.decryptInit = cipher->decryptInit;
    table.decryptUpdate = cipher->decryptUpdate;
    table.decryptFinal = cipher->final;
    return 0;
}

int randomSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code) {
    switch (code) {
        case HASH_CHAIN_RANDOM_MD2:
            table.seed = HashChainRandom_MD2_Seed;
            table.generate = HashChainRandom_MD2_Generate;
            return 0;
        case HASH_CHAIN_RANDOM_MD5:
            table.seed = HashChainRandom_MD5_Seed;
            table.generate = HashChainRandom_MD5_Generate;
            return 0;
        case HASH_CHAIN_RANDOM_SHA1:
            table.seed = HashChainRandom_SHA1_Seed;
            table.generate = HashChainRandom_SHA1_Generate;
            return 0;
        default:
            return crypto::kUnsupportedMechanism;
    }
}

CK_MECHANISM_TYPE digestOf(CK_MECHANISM_TYPE code) {
    switch (code) {
        case CKM_MD2_RSA_PKCS:
            return CKM_MD2;
        case CKM_MD5_RSA_PKCS:
            return CKM_MD5;
        case CKM_SHA1_RSA_PKCS:
            return CKM_SHA_1;
        default:
            return code;
    }
}

bool isDigestWithRsa(CK_MECHANISM_TYPE code) {
    return digestOf(code) != code;
}

int fits(const MECHANISM& mechanism, const KEY_OBJ* key) {
    const bool isRsa = mechanism.code == CKM_RSA_PKCS || isDigestWithRsa(mechanism.code);
    const Cipher* cipher = findCipher(isRsa ? CKM_RSA_PKCS : mechanism.code);
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
