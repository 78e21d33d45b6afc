#include "enrol/move_key.h"

#include <vector>

#include "enrol/cert_handles.h"
#include "enrol/container.h"
#include "enrol/plain_certificate.h"
#include "enrol/reasons.h"

namespace enrol {
namespace {

// A private key in the clear, wiped in the end. The stores of a volatile are not optimised away.
class KeyBlob {
  public:
    KeyBlob() = default;
    ~KeyBlob() {
        for (volatile BYTE& byte : bytes)
            byte = 0;
    }
    KeyBlob(const KeyBlob&) = delete;
    KeyBlob& operator=(const KeyBlob&) = delete;

    std::vector<BYTE> bytes;
    DWORD size = 0;
};

std::int32_t exportKey(const char* container, const char* provider, std::int32_t keySpec, KeyBlob& blob) {
    ProviderHandle prov;
    if (capi().CryptAcquireContextA(prov.receive(), container, provider, PROV_RSA_FULL, 0) == FALSE)
        return kReasonContainerNotOpened;
    KeyHandle key;
    if (capi().CryptGetUserKey(prov.get(), static_cast<DWORD>(keySpec), key.receive()) == FALSE)
        return kReasonKeyNotFound;
    if (capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, nullptr, &blob.size) == FALSE)
        return kReasonKeySizeQueryFailed;
    blob.bytes.resize(blob.size);
    if (capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, blob.bytes.data(), &blob.size) == FALSE)
        return kReasonKeyExportFailed;
    return 0;
}

// Only a name that is taken, or a provider that is out of order, makes another attempt needed.
void makeContainer(const char* provider, ProviderHandle& prov, ContainerName& name) {
    do {
        GenerateContainerName(name);
    } while (capi().CryptAcquireContextA(prov.receive(), name, provider, PROV_RSA_FULL, CRYPT_NEWKEYSET) == FALSE);
}

}  // namespace

std::int32_t MoveKeyToNewContainer(const std::uint8_t* der, std::size_t length, const char* container,
                                   const char* provider, std::int32_t keySpec, DWORD importFlags) {
    if (der == nullptr || length == 0 || container == nullptr || *container == '\0')
        return kReasonEmptyArgument;
    KeyBlob blob;
    if (const std::int32_t reason = exportKey(container, provider, keySpec, blob); reason != 0)
        return reason;

    ProviderHandle prov;
    ContainerName name = {};
    makeContainer(provider, prov, name);
    // The store takes the provider's context over, so the key has to go before the store does.
    StoreHandle store;
    KeyHandle key;
    if (capi().CryptImportKey(prov.get(), blob.bytes.data(), blob.size, 0, importFlags, key.receive()) == FALSE)
        return kReasonKeyImportFailed;
    return storeWithKey(prov, store, der, length, name, provider, keySpec);
}

}  // namespace enrol
