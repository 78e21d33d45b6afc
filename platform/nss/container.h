// Key containers: a container is a private key on a token, found by the key's nickname.
#ifndef VT_PLATFORM_NSS_CONTAINER_H
#define VT_PLATFORM_NSS_CONTAINER_H

#include <memory>
#include <set>
#include <string>

#include "platform/nss/handle.h"
#include "platform/nss/loader.h"
#include "platform/nss/output.h"
#include "platform/nss/token.h"

namespace platform::nss {

// What an HCRYPTPROV stands for. An empty name is a context without keys of its own.
struct Container {
    Token token;
    std::string name;
};

using Containers = Handles<Container>;

// What an HCRYPTKEY stands for.
struct Key {
    Token token;
    PrivateKey privateKey;
    PublicKey publicKey;
    DWORD spec;  // AT_SIGNATURE or AT_KEYEXCHANGE
};

using Keys = Handles<Key>;

// The flags that a key is made or imported with.
inline constexpr DWORD kKeyFlags = CRYPT_EXPORTABLE | CRYPT_USER_PROTECTED | CRYPT_FORCE_KEY_PROTECTION_HIGH;

// Containers that were made and have no key yet. They exist for this process alone, as a token has no place for them.
std::set<std::string>& keylessContainers();
std::string keylessName(const Token& token, const std::string& name);

// findContainer gives the context of a handle, or null with the last error ERROR_INVALID_PARAMETER.
std::shared_ptr<Container> findContainer(HCRYPTPROV prov);

// findPrivateKey gives the key whose nickname is the name. Keys that other programs made may have none; such a key goes
// by the hex digits of its identifier (CKA_ID). Null where there is none. The token must be logged in.
PrivateKey findPrivateKey(const Token& token, const std::string& name);

// containerNameOf gives the name by which findPrivateKey finds a key of that nickname and identifier.
std::string containerNameOf(const Bytes& nickname, const Bytes& identifier);

// deleteKeyPair deletes the private key, and the public key object that goes with it. False if the token refuses.
bool deleteKeyPair(const Token& token, PrivateKey key);

// openKey gives the container's key as the key of that specification: any key that can sign is an AT_SIGNATURE key, and
// one that can decrypt is also an AT_KEYEXCHANGE key. Null with the last error NTE_NO_KEY, or NTE_FAIL.
std::shared_ptr<Key> openKey(const Container& container, DWORD spec);

}  // namespace platform::nss

#endif
