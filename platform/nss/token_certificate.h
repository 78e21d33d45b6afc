// Certificates as they lie on tokens, and the keys that they belong to.
#ifndef VT_PLATFORM_NSS_TOKEN_CERTIFICATE_H
#define VT_PLATFORM_NSS_TOKEN_CERTIFICATE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/nss/certificate.h"
#include "platform/nss/container.h"
#include "platform/nss/token.h"

namespace platform::nss {

// A key pair on a token, as far as it shows without a PIN: on a token that is not logged in the public key stands for
// its private key, which cannot be seen.
struct TokenKey {
    Token token;
    Bytes modulus;  // without leading zeros
    std::string container;
    DWORD spec;
};

struct TokenCertificate {
    Token token;
    std::shared_ptr<Certificate> certificate;
    std::string nickname;
};

std::vector<TokenKey> listKeys(const Token& token);

// listCertificates leaves out what does not parse.
std::vector<TokenCertificate> listCertificates(const Token& token);

// findKeyOf gives the first of the keys that is the certificate's.
const TokenKey* findKeyOf(const Certificate& certificate, const std::vector<TokenKey>& keys);

// importForKey puts the certificate onto the key's token, with the key's identifier. False if the token refuses.
bool importForKey(const Certificate& certificate, const Key& key);

// importCertificate puts a certificate onto a token under a nickname, and grants no trust. False if NSS or the token
// refuses.
bool importCertificate(const Certificate& certificate, const Token& token, const std::string& nickname);

// removeCertificate deletes the certificate from the token and leaves keys alone. False if the token refuses; a
// certificate that is not there counts as deleted.
bool removeCertificate(const Certificate& certificate, const Token& token);

// nicknameFor gives the nickname under which a token takes the certificate: that of another one of its subject, as NSS
// holds one nickname for one subject, else the prefix and the common name, or what else the subject tells, with a
// number where another subject has that.
std::string nicknameFor(const Certificate& certificate, const Token& token, const std::string& prefix);

}  // namespace platform::nss

#endif
