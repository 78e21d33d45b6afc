// A PKCS#11 module that hands every call on to SoftHSM, but for three things in which tokens in the field differ from
// it:
//
//   * C_CreateObject takes a public key that tells its modulus bits, and a certificate without a subject.
//   * C_GenerateKeyPair takes a private key that tells modulus bits and public exponent.
//   * VT_TEST_SESSIONS in the environment is the number of sessions that it opens at most and tells of.
//
// VT_TEST_MODULE in the environment names SoftHSM's library.
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "crypto/pkcs11.h"

namespace {

constexpr CK_ATTRIBUTE_TYPE kSubject = 0x101;  // CKA_SUBJECT
constexpr CK_RV kSessionCount = 0xB1;          // CKR_SESSION_COUNT

CK_FUNCTION_LIST* real = nullptr;
CK_ULONG open = 0;

CK_ULONG mostSessions() {
    const char* text = std::getenv("VT_TEST_SESSIONS");
    return text == nullptr ? 0 : std::strtoul(text, nullptr, 10);
}

CK_RV getTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    const CK_RV code = real->C_GetTokenInfo(slot, info);
    if (code == CKR_OK && mostSessions() != 0) {
        info->ulMaxSessionCount = info->ulMaxRwSessionCount = mostSessions();
        info->ulSessionCount = info->ulRwSessionCount = open;
    }
    return code;
}

CK_RV openSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session) {
    if (mostSessions() != 0 && open >= mostSessions())
        return kSessionCount;
    const CK_RV code = real->C_OpenSession(slot, flags, application, notify, session);
    open += code == CKR_OK ? 1 : 0;
    return code;
}

CK_RV closeSession(CK_SESSION_HANDLE session) {
    const CK_RV code = real->C_CloseSession(session);
    open -= code == CKR_OK ? 1 : 0;
    return code;
}

CK_RV finalize(void* reserved) {
    open = 0;
    return real->C_Finalize(reserved);
}

std::vector<ATTRIBUTE> without(const ATTRIBUTE* attributes, CK_ULONG count,
                               const std::vector<CK_ATTRIBUTE_TYPE>& unwanted) {
    std::vector<ATTRIBUTE> kept;
    std::copy_if(attributes, attributes + count, std::back_inserter(kept), [&](const ATTRIBUTE& each) {
        return std::find(unwanted.begin(), unwanted.end(), each.type) == unwanted.end();
    });
    return kept;
}

bool isCertificate(const std::vector<ATTRIBUTE>& attributes) {
    return std::any_of(attributes.begin(), attributes.end(),
                       [](const ATTRIBUTE& each) { return each.type == CKA_CERTIFICATE_TYPE; });
}

CK_RV createObject(CK_SESSION_HANDLE session, ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* object) {
    std::vector<ATTRIBUTE> kept = without(attributes, count, {CKA_MODULUS_BITS});
    unsigned char noName[] = {0x30, 0x00};
    if (isCertificate(kept))
        kept.push_back({kSubject, noName, sizeof noName});
    return real->C_CreateObject(session, kept.data(), kept.size(), object);
}

CK_RV generateKeyPair(CK_SESSION_HANDLE session, MECHANISM* mechanism, ATTRIBUTE* publicAttributes,
                      CK_ULONG publicCount, ATTRIBUTE* privateAttributes, CK_ULONG privateCount,
                      CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey) {
    std::vector<ATTRIBUTE> kept = without(privateAttributes, privateCount, {CKA_MODULUS_BITS, CKA_PUBLIC_EXPONENT});
    return real->C_GenerateKeyPair(session, mechanism, publicAttributes, publicCount, kept.data(), kept.size(),
                                   publicKey, privateKey);
}

CK_FUNCTION_LIST tolerantList(const CK_FUNCTION_LIST& list) {
    CK_FUNCTION_LIST changed = list;
    changed.C_GetTokenInfo = getTokenInfo;
    changed.C_OpenSession = openSession;
    changed.C_CloseSession = closeSession;
    changed.C_Finalize = finalize;
    changed.C_CreateObject = createObject;
    changed.C_GenerateKeyPair = generateKeyPair;
    return changed;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
    constexpr CK_RV kGeneralError = 5;  // CKR_GENERAL_ERROR
    static CK_FUNCTION_LIST tolerant;
    if (real == nullptr) {
        void* library = dlopen(std::getenv("VT_TEST_MODULE"), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
            return kGeneralError;
        const auto entry = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
        if (entry == nullptr || entry(&real) != CKR_OK)
            return kGeneralError;
        tolerant = tolerantList(*real);
    }
    *list = &tolerant;
    return CKR_OK;
}
