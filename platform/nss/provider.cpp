#include <string>

#include "platform/nss/container.h"
#include "platform/nss/entries.h"
#include "platform/nss/wide_text.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

constexpr DWORD kLastProviderType = 999;

// Takes what is not const, as the linter wants a parameter that is only compared to be const, and the table does not.
bool isGiven(void* reserved) {
    return reserved != nullptr;
}

bool isFlagKnown(DWORD flags) {
    return flags == 0 || flags == CRYPT_NEWKEYSET || flags == CRYPT_DELETEKEYSET || flags == CRYPT_VERIFYCONTEXT;
}

BOOL createContainer(const Token& token, const std::string& name) {
    const bool isNew =
        findPrivateKey(token, name) == nullptr && keylessContainers().insert(keylessName(token, name)).second;
    return isNew ? TRUE : posix::fail(NTE_EXISTS);
}

BOOL deleteContainer(const Token& token, const std::string& name) {
    const bool wasKeyless = keylessContainers().erase(keylessName(token, name)) != 0;
    PrivateKey key = findPrivateKey(token, name);
    if (key == nullptr)
        return wasKeyless ? TRUE : posix::fail(NTE_BAD_KEYSET);
    return deleteKeyPair(token, std::move(key)) ? TRUE : posix::fail(NTE_FAIL);
}

BOOL checkContainer(const Token& token, const std::string& name) {
    const bool exists =
        keylessContainers().count(keylessName(token, name)) != 0 || findPrivateKey(token, name) != nullptr;
    return exists ? TRUE : posix::fail(NTE_BAD_KEYSET);
}

BOOL handleNamed(const Token& token, const std::string& name, DWORD flags) {
    if (!logIn(token))
        return FALSE;
    if (flags == CRYPT_NEWKEYSET)
        return createContainer(token, name);
    return flags == CRYPT_DELETEKEYSET ? deleteContainer(token, name) : checkContainer(token, name);
}

BOOL openContainer(HCRYPTPROV* prov, const Token& token, const std::string& name, DWORD flags) {
    if (!name.empty() && handleNamed(token, name, flags) == FALSE)
        return FALSE;
    *prov = 0;  // a deleted container has no handle
    if (flags != CRYPT_DELETEKEYSET)
        *prov = Containers::instance().open(std::make_shared<Container>(Container{token, name}));
    return TRUE;
}

// Without a name there are no keys: nothing to make, nothing to delete, and nothing to open.
bool isNameGood(const std::string& name, DWORD flags) {
    if (flags == CRYPT_VERIFYCONTEXT ? name.empty() : !name.empty() || flags != 0)
        return true;
    posix::setLastError(flags == CRYPT_VERIFYCONTEXT ? NTE_BAD_FLAGS : NTE_BAD_KEYSET);
    return false;
}

}  // namespace

BOOL CryptEnumProvidersA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name, DWORD* size) {
    if (flags != 0)
        return posix::fail(NTE_BAD_FLAGS);
    if (isGiven(reserved) || type == nullptr || size == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    const std::vector<Token> tokens = providerTokens();
    if (tokens.empty())
        return FALSE;
    if (index >= tokens.size())
        return posix::fail(ERROR_NO_MORE_ITEMS);
    *type = PROV_RSA_FULL;
    return giveOut(tokens[index].name.c_str(), tokens[index].name.size() + 1, name, size);
}

BOOL CryptAcquireContextA(HCRYPTPROV* prov, LPCSTR container, LPCSTR provider, DWORD type, DWORD flags) {
    if (prov == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (type == 0 || type > kLastProviderType)
        return posix::fail(NTE_BAD_PROV_TYPE);
    if (type != PROV_RSA_FULL)
        return posix::fail(provider != nullptr ? NTE_PROV_TYPE_NO_MATCH : NTE_PROV_TYPE_NOT_DEF);
    if (!isFlagKnown(flags))
        return posix::fail(NTE_BAD_FLAGS);
    const Token token = findToken(provider);
    const std::string name = container != nullptr ? container : "";
    if (token.slot == nullptr || !isNameGood(name, flags))
        return FALSE;
    return openContainer(prov, token, name, flags);
}

BOOL CryptAcquireContextW(HCRYPTPROV* prov, LPCWSTR container, LPCWSTR provider, DWORD type, DWORD flags) {
    const std::string containerText = container != nullptr ? narrow(container) : "";
    const std::string providerText = provider != nullptr ? narrow(provider) : "";
    return CryptAcquireContextA(prov, containerText.c_str(), provider != nullptr ? providerText.c_str() : nullptr, type,
                                flags);
}

BOOL CryptReleaseContext(HCRYPTPROV prov, DWORD flags) {
    if (!Containers::instance().close(prov))
        return posix::fail(ERROR_INVALID_PARAMETER);
    return flags == 0 ? TRUE : posix::fail(NTE_BAD_FLAGS);
}

}  // namespace platform::nss
