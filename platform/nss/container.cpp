#include "platform/nss/container.h"

#include "platform/nss/attribute.h"
#include "platform/nss/item.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

Bytes identifierOf(const std::string& hexName) {
    Bytes identifier;
    for (std::size_t i = 0; i + 1 < hexName.size(); i += 2) {
        const std::size_t high = std::string(kHexDigits).find(hexName[i]);
        const std::size_t low = std::string(kHexDigits).find(hexName[i + 1]);
        if (high == std::string::npos || low == std::string::npos)
            return {};
        identifier.push_back(static_cast<BYTE>(high * 16 + low));
    }
    return hexName.size() % 2 == 0 ? identifier : Bytes();
}

PrivateKey findByIdentifier(const Token& token, Bytes identifier) {
    if (identifier.empty())
        return nullptr;
    SECItem item = itemOf(identifier);
    return PrivateKey(nss().PK11_FindKeyByKeyID(token.slot.get(), &item, nullptr));
}

bool canServe(SECKEYPrivateKey* key, DWORD spec) {
    return hasAttribute(key, CKA_SIGN) &&
           (spec == AT_SIGNATURE || hasAttribute(key, CKA_DECRYPT) || hasAttribute(key, CKA_UNWRAP));
}

}  // namespace

std::set<std::string>& keylessContainers() {
    static auto& containers = *new std::set<std::string>;
    return containers;
}

std::string keylessName(const Token& token, const std::string& name) {
    return std::to_string(reinterpret_cast<std::uintptr_t>(token.slot.get())) + "/" + name;
}

std::shared_ptr<Container> findContainer(HCRYPTPROV prov) {
    std::shared_ptr<Container> container = Containers::instance().find(prov);
    if (container == nullptr)
        posix::setLastError(ERROR_INVALID_PARAMETER);
    return container;
}

PrivateKey findPrivateKey(const Token& token, const std::string& name) {
    std::string nickname = name;
    const PrivateKeyList list(nss().PK11_ListPrivKeysInSlot(token.slot.get(), nickname.data(), nullptr));
    if (list == nullptr || PRIVKEY_LIST_END(PRIVKEY_LIST_HEAD(list), list))
        return findByIdentifier(token, identifierOf(name));
    return PrivateKey(nss().SECKEY_CopyPrivateKey(PRIVKEY_LIST_HEAD(list)->key));
}

std::string containerNameOf(const Bytes& nickname, const Bytes& identifier) {
    if (!nickname.empty())
        return {nickname.begin(), nickname.end()};
    std::string name;
    for (const BYTE byte : identifier)
        name.append({kHexDigits[byte >> 4], kHexDigits[byte & 15]});
    return name;
}

bool deleteKeyPair(const Token& token, PrivateKey key) {
    PK11SlotInfo* slot = token.slot.get();
    // By the modulus, as other programs make keys without identifiers or give one to several.
    const Bytes modulus = readNumber(key.get(), CKA_MODULUS);
    forEachObject(slot, CKO_PUBLIC_KEY, [&](PK11GenericObject* object) {
        if (!modulus.empty() && readNumber(object, CKA_MODULUS) == modulus)
            nss().PK11_DestroyTokenObject(slot, nss().PK11_GetObjectHandle(PK11_TypeGeneric, object, nullptr));
    });
    return nss().PK11_DeleteTokenPrivateKey(key.release(), PR_TRUE) == SECSuccess;
}

std::shared_ptr<Key> openKey(const Container& container, DWORD spec) {
    const bool known = spec == AT_SIGNATURE || spec == AT_KEYEXCHANGE;
    PrivateKey privateKey =
        !known || container.name.empty() ? nullptr : findPrivateKey(container.token, container.name);
    if (privateKey == nullptr || !canServe(privateKey.get(), spec)) {
        posix::setLastError(NTE_NO_KEY);
        return nullptr;
    }
    PublicKey publicKey(nss().SECKEY_ConvertToPublicKey(privateKey.get()));
    if (publicKey == nullptr || publicKey->keyType != rsaKey) {
        posix::setLastError(NTE_FAIL);
        return nullptr;
    }
    return std::make_shared<Key>(Key{container.token, std::move(privateKey), std::move(publicKey), spec});
}

}  // namespace platform::nss
