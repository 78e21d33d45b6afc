// Tokens: which of them are providers, and logging in.
#ifndef VT_PLATFORM_NSS_TOKEN_H
#define VT_PLATFORM_NSS_TOKEN_H

#include <string>
#include <vector>

#include "platform/nss/loader.h"

namespace platform::nss {

// A provider is a token that can do RSA, under the token's name; all are of type PROV_RSA_FULL.
struct Token {
    std::string name;
    Slot slot;
};

// providerTokens gives the user's database ("NSS Certificate DB") first, then each further token that is present,
// belongs to another module than NSS's own, and can do RSA. Empty, with the last error, where the database cannot be
// opened. Nobody is asked for a PIN.
std::vector<Token> providerTokens();

// findToken gives the token of a provider's name; null asks for the first. The provider that store queries name on
// Windows means the user's database. A null slot, with the last error, where there is none: NTE_KEYSET_NOT_DEF, or what
// providerTokens says.
Token findToken(const char* provider);

// isLoggedIn: whether the token's private objects can be seen.
bool isLoggedIn(const Token& token);

// logIn makes the token's private objects visible. A PIN is asked for through the desktop's prompt (pin.h), once a
// call, as tokens lock themselves after a few wrong ones. False with the last error SCARD_W_CANCELLED_BY_USER (no
// answer), SCARD_W_WRONG_CHV (wrong PIN), SCARD_E_NOT_READY (a token that has never been set up) or NTE_FAIL.
bool logIn(const Token& token);

}  // namespace platform::nss

#endif
