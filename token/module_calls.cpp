#include "token/module_calls.h"

#include "crypto/codes.h"
#include "crypto/token_side.h"
#include "token/token_object.h"

namespace {

const CK_FUNCTION_LIST& functionsOf(const ALG_OBJ* alg) {
    return *alg->chooser->functions;
}

CK_SESSION_HANDLE sessionOf(const ALG_OBJ* alg) {
    return alg->chooser->session;
}

bool isAbsent(const std::uint8_t* input, std::uint32_t length) {
    return input == nullptr && length != 0;
}

// The module's functions take what they only read without const.
CK_BYTE* plain(const std::uint8_t* bytes) {
    return const_cast<CK_BYTE*>(bytes);
}

// The key of an init.

bool isEmpty(const KEY_OBJ* key) {
    if (key == nullptr || key->attributes == nullptr)
        return true;
    return key->isTokenObject != 0 ? key->attributes[0].value == nullptr : key->data == nullptr;
}

// An algorithm object that served a key of the other sort before: neither is the program's own object to be left in the
// token, nor the token's object to be taken for the program's own, which AlgFree destroys.
void forgetKeyOfOtherSort(ALG_OBJ* alg, const KEY_OBJ& key) {
    if (alg->keyIsTokenObject == key.isTokenObject || alg->tokenKey == 0)
        return;
    if (alg->keyIsTokenObject == 0)
        functionsOf(alg).C_DestroyObject(sessionOf(alg), alg->tokenKey);
    alg->tokenKey = 0;
}

int createKey(ALG_OBJ* alg, const KEY_OBJ& key) {
    CK_OBJECT_HANDLE made = 0;
    const CK_RV code = functionsOf(alg).C_CreateObject(sessionOf(alg), key.attributes, key.templateCount, &made);
    if (code == CKR_OK)
        alg->tokenKey = made;
    return static_cast<int>(code);
}

int findKey(ALG_OBJ* alg, const KEY_OBJ& key) {
    CK_OBJECT_HANDLE found = 0;
    const int code = FindTokenObject(*alg->chooser, key.attributes, key.templateCount, found);
    alg->tokenKey = code == 0 ? found : 0;
    return code;
}

int readyKey(ALG_OBJ* alg, const KEY_OBJ* key) {
    if (isEmpty(key))
        return crypto::kKeyMissing;
    forgetKeyOfOtherSort(alg, *key);
    alg->keyIsTokenObject = key->isTokenObject;
    if (key->isTokenObject != 0)
        return findKey(alg, *key);
    return alg->tokenKey == 0 ? createKey(alg, *key) : 0;
}

template <CK_KEYED_INIT CK_FUNCTION_LIST::*init>
int keyedInit(ALG_OBJ* alg, KEY_OBJ* key) {
    if (const int code = readyKey(alg, key))
        return code;
    return static_cast<int>((functionsOf(alg).*init)(sessionOf(alg), alg->mechanism, alg->tokenKey));
}

// Steps without output.

template <CK_ABSORB CK_FUNCTION_LIST::*step>
int absorb(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length) {
    if (isAbsent(input, length))
        return crypto::kArgumentAbsent;
    return static_cast<int>((functionsOf(alg).*step)(sessionOf(alg), plain(input), length));
}

// Steps with output: run(&length) makes the call, with the room of the output as the length. A length beyond the room
// would have the caller read what is not its own.
template <class Run>
int withOutput(const std::uint8_t* output, std::uint32_t* outputLength, Run&& run) {
    if (outputLength == nullptr)
        return crypto::kArgumentAbsent;
    CK_ULONG length = *outputLength;
    if (const CK_RV code = run(&length))
        return static_cast<int>(code);
    if (length > (output != nullptr ? *outputLength : UINT32_MAX))
        return crypto::kWrongLength;
    *outputLength = static_cast<std::uint32_t>(length);
    return 0;
}

template <CK_TRANSFORM CK_FUNCTION_LIST::*step>
int transform(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength) {
    if (isAbsent(input, length))
        return crypto::kArgumentAbsent;
    return withOutput(output, outputLength, [&](CK_ULONG* made) {
        return (functionsOf(alg).*step)(sessionOf(alg), plain(input), length, output, made);
    });
}

// The updates of RSA count with a key of 1024 bits: callers that stream in such pieces rely on the limits.
constexpr std::uint32_t kMostToEncrypt = 117;
constexpr std::uint32_t kMostToDecrypt = 128;

template <CK_TRANSFORM CK_FUNCTION_LIST::*step, std::uint32_t mostOfRsa>
int update(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
           std::uint32_t* outputLength) {
    if (alg->mechanism->code == CKM_RSA_PKCS && length > mostOfRsa)
        return crypto::kWrongLength;
    return transform<step>(alg, input, length, output, outputLength);
}

template <CK_EMIT CK_FUNCTION_LIST::*step>
int emit(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    return withOutput(output, outputLength,
                      [&](CK_ULONG* made) { return (functionsOf(alg).*step)(sessionOf(alg), output, made); });
}

int digestInit(ALG_OBJ* alg) {
    return static_cast<int>(functionsOf(alg).C_DigestInit(sessionOf(alg), alg->mechanism));
}

int verify(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, const std::uint8_t* signature,
           std::uint32_t signatureLength) {
    if (isAbsent(input, length) || isAbsent(signature, signatureLength))
        return crypto::kArgumentAbsent;
    return static_cast<int>(
        functionsOf(alg).C_Verify(sessionOf(alg), plain(input), length, plain(signature), signatureLength));
}

int random(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t length) {
    if (isAbsent(output, length))
        return crypto::kArgumentAbsent;
    return static_cast<int>(functionsOf(alg).C_GenerateRandom(sessionOf(alg), output, length));
}

using List = CK_FUNCTION_LIST;

constexpr TOKEN_SIDE kTokenSide = {
    digestInit,
    absorb<&List::C_DigestUpdate>,
    emit<&List::C_DigestFinal>,
    transform<&List::C_Digest>,
    keyedInit<&List::C_EncryptInit>,
    update<&List::C_EncryptUpdate, kMostToEncrypt>,
    emit<&List::C_EncryptFinal>,
    transform<&List::C_Encrypt>,
    keyedInit<&List::C_DecryptInit>,
    update<&List::C_DecryptUpdate, kMostToDecrypt>,
    emit<&List::C_DecryptFinal>,
    transform<&List::C_Decrypt>,
    keyedInit<&List::C_SignInit>,
    absorb<&List::C_SignUpdate>,
    emit<&List::C_SignFinal>,
    transform<&List::C_Sign>,
    keyedInit<&List::C_VerifyInit>,
    absorb<&List::C_VerifyUpdate>,
    absorb<&List::C_VerifyFinal>,
    verify,
    absorb<&List::C_SeedRandom>,
    random,
};

}  // namespace

void InstallTokenSide() {
    UseTokenSide(&kTokenSide);
}
