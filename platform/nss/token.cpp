#include "platform/nss/token.h"

#include <cstring>
#include <optional>

#include "platform/nss/database.h"
#include "platform/nss/pin.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

constexpr char kWindowsProvider[] = "Microsoft Enhanced Cryptographic Provider v1.0";

// NSS's own module holds the user's database, already listed, databases that belong to the host, and a token without
// permanent keys.
bool isFurtherProvider(PK11SlotInfo* slot) {
    return nss().PK11_IsInternal(slot) == PR_FALSE && nss().PK11_DoesMechanism(slot, CKM_RSA_PKCS) != PR_FALSE;
}

bool answer(SECStatus checked) {
    if (checked == SECSuccess)
        return true;
    // SECWouldBlock is how NSS tells a wrong PIN from other failures.
    posix::setLastError(checked == SECWouldBlock ? SCARD_W_WRONG_CHV : NTE_FAIL);
    return false;
}

}  // namespace

std::vector<Token> providerTokens() {
    const Slot database = userDatabase();
    if (database == nullptr)
        return {};
    std::vector<Token> tokens = {{kDatabaseName, database}};
    const SlotList list(nss().PK11_GetAllTokens(CKM_INVALID_MECHANISM, PR_FALSE, PR_FALSE, nullptr));
    if (list == nullptr)
        return tokens;
    for (PK11SlotListElement* element = nss().PK11_GetFirstSafe(list.get()); element != nullptr;
         element = nss().PK11_GetNextSafe(list.get(), element, PR_FALSE)) {
        if (isFurtherProvider(element->slot))
            tokens.push_back(
                {nss().PK11_GetTokenName(element->slot), ownSlot(nss().PK11_ReferenceSlot(element->slot))});
    }
    return tokens;
}

Token findToken(const char* provider) {
    const std::vector<Token> tokens = providerTokens();
    if (tokens.empty())
        return {};
    if (provider == nullptr || std::strcmp(provider, kWindowsProvider) == 0)
        return tokens.front();
    for (const Token& token : tokens) {
        if (token.name == provider)
            return token;
    }
    posix::setLastError(NTE_KEYSET_NOT_DEF);
    return {};
}

bool isLoggedIn(const Token& token) {
    PK11SlotInfo* slot = token.slot.get();
    return nss().PK11_NeedLogin(slot) == PR_FALSE || nss().PK11_IsLoggedIn(slot, nullptr) != PR_FALSE;
}

bool logIn(const Token& token) {
    PK11SlotInfo* slot = token.slot.get();
    if (nss().PK11_NeedUserInit(slot) != PR_FALSE)
        return posix::fail(SCARD_E_NOT_READY) != FALSE;
    if (isLoggedIn(token))
        return true;
    if (nss().PK11_ProtectedAuthenticationPath(slot) != PR_FALSE)
        return answer(nss().PK11_CheckUserPassword(slot, nullptr));
    const std::optional<Pin> pin = askForPin(token.name);
    if (!pin)
        return posix::fail(SCARD_W_CANCELLED_BY_USER) != FALSE;
    return answer(nss().PK11_CheckUserPassword(slot, pin->text()));
}

}  // namespace platform::nss
