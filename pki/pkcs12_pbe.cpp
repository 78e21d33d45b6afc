#include "pki/pkcs12_pbe.h"

#include <iterator>

#include "asn/asn.h"
#include "pki/content.h"
#include "pki/pkcs12_kdf.h"
#include "schema/schema.h"
#include "token/token.h"

namespace pki {

namespace {

struct Encryption {
    const char* identifier;
    unsigned int keyLength;
    int keyType;
    int algType;
    int effectiveBits;
    unsigned int ivLength;
};

// By pbeType, from 1.
constexpr Encryption kEncryptions[] = {
    {"1.2.840.113549.1.12.1.1", 16, token::kRc4Key, token::kRc4, 128, 0},
    {"1.2.840.113549.1.12.1.2", 5, token::kRc4Key, token::kRc4, 40, 0},
    {"1.2.840.113549.1.12.1.3", 24, token::kDes3Key, token::kDes3Cbc, 192, 8},
    {"1.2.840.113549.1.12.1.4", 16, token::kDes3TwoKey, token::kDes3Cbc, 128, 8},
    {"1.2.840.113549.1.12.1.5", 16, token::kRc2Key, token::kRc2Cbc, 128, 8},
    {"1.2.840.113549.1.12.1.6", 5, token::kRc2Key, token::kRc2Cbc, 40, 8},
};

constexpr unsigned int kSaltLength = 8;

const Encryption* encryptionOf(int pbeType) {
    const bool known = pbeType >= 1 && pbeType <= static_cast<int>(std::size(kEncryptions));
    return known ? &kEncryptions[pbeType - 1] : nullptr;
}

const Encryption* encryptionOf(const AsnOid& identifier) {
    for (const Encryption& known : kEncryptions)
        if (identifier.GetData() == known.identifier)
            return &known;
    return nullptr;
}

// What one encryption under a password is made of.
struct Cipher {
    VT_P11_Alg alg;
    VT_P11_Key key;
};

int setKey(const MiByte& bytes, int type, VT_P11_Key& key) {
    // The structure serves getters too; a setter copies.
    auto* const data = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.GetChars()));
    const VT_PKCS11_SESSION_KEY structure = {{data, bytes.GetLength()}, static_cast<std::int32_t>(bytes.GetLength())};
    const int result = key.setSessionKey(&structure);
    return result != 0 ? result : key.setKeyType(type);
}

int deriveCipher(VT_P11_OP& op, const Encryption& encryption, const MiByte& password, const MiByte& salt,
                 int iterations, Cipher& cipher) {
    MiByte bytes;
    int result = deriveKey(op, password, salt, iterations, encryption.keyLength, bytes);
    if (result == 0)
        result = setKey(bytes, encryption.keyType, cipher.key);
    if (result == 0)
        result = cipher.alg.setAlgType(encryption.algType);
    if (result == 0)
        result = cipher.alg.setEffectiveBits(encryption.effectiveBits);
    if (result != 0 || encryption.ivLength == 0)
        return result;
    result = deriveIv(op, password, salt, iterations, encryption.ivLength, bytes);
    return result != 0 ? result : cipher.alg.setIV(bytes);
}

AlgorithmIdentifier identifierFor(const Encryption& encryption, const MiByte& salt, int iterations) {
    PKCS12PbeParams parameters;
    parameters.SetSalt(octetsOf(salt));
    parameters.SetIterations(AsnInteger(iterations));
    AlgorithmIdentifier identifier;
    identifier.SetAlgorithm(AsnOid(encryption.identifier));
    identifier.SetParameters(anyOf(parameters));
    return identifier;
}

int readParameters(const AlgorithmIdentifier& algorithm, MiByte& salt, int& iterations) {
    const AsnOctetString* const any = algorithm.GetParameters();
    if (any == nullptr)
        return token::kElementAbsent;
    PKCS12PbeParams parameters;
    any->GetDerObject(&parameters);
    if (parameters.GetSalt() == nullptr || parameters.GetIterations() == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    salt = contentOctets(*parameters.GetSalt(), scratch);
    return countOf(*parameters.GetIterations(), iterations);
}

}  // namespace

int makeSalt(VT_P11_OP& op, int length, MiByte& salt) {
    AsnUTCTime now;
    now.SetCurrentTime();
    const MiString seed = now.GetTimeString();
    MiByte random;
    const int result = op.GenerateRandom(random, length, MiByte(seed.GetChars(), seed.GetLength()));
    if (result == 0)
        salt = random.SetLength(static_cast<unsigned int>(length));  // a module may give less
    return result;
}

int pbeEncrypt(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations, const MiByte& plain,
               AlgorithmIdentifier& algorithm, MiByte& encrypted) {
    const Encryption* const encryption = encryptionOf(pbeType);
    if (encryption == nullptr)
        return token::kUnsupported;
    MiByte salt;
    int result = makeSalt(op, kSaltLength, salt);
    Cipher cipher;
    if (result == 0)
        result = deriveCipher(op, *encryption, password, salt, iterations, cipher);
    if (result == 0)
        result = op.Encrypt(cipher.alg, cipher.key, plain, encrypted);
    if (result == 0)
        algorithm = identifierFor(*encryption, salt, iterations);
    return result;
}

int pbeDecrypt(VT_P11_OP& op, const MiByte& password, const AlgorithmIdentifier& algorithm, const MiByte& encrypted,
               MiByte& plain) {
    const AsnOid* const identifier = algorithm.GetAlgorithm();
    if (identifier == nullptr)
        return token::kElementAbsent;
    const Encryption* const encryption = encryptionOf(*identifier);
    if (encryption == nullptr)
        return token::kUnsupported;
    MiByte salt;
    int iterations = 0;
    int result = readParameters(algorithm, salt, iterations);
    Cipher cipher;
    if (result == 0)
        result = deriveCipher(op, *encryption, password, salt, iterations, cipher);
    return result != 0 ? result : op.Decrypt(cipher.alg, cipher.key, encrypted, plain);
}

}  // namespace pki
