#include "enrol/request_signature.h"

#include <algorithm>

#include "enrol/capi.h"

namespace enrol {
namespace {

std::int32_t sign(ProviderHandle& prov, HashHandle& hash, const char* providerName, const char* containerName,
                  std::int32_t keySpec, std::int32_t algId, const std::uint8_t* data, std::size_t dataLength,
                  HeapBytes& signature) {
    const auto spec = static_cast<DWORD>(keySpec);
    if (capi().CryptAcquireContextA(prov.receive(), containerName, providerName, PROV_RSA_FULL, 0) == FALSE)
        return -1;
    if (capi().CryptCreateHash(prov.get(), static_cast<ALG_ID>(algId), 0, 0, hash.receive()) == FALSE)
        return -2;
    if (capi().CryptHashData(hash.get(), data, static_cast<DWORD>(dataLength), 0) == FALSE)
        return -3;
    DWORD size = 0;
    if (capi().CryptSignHashA(hash.get(), spec, nullptr, 0, nullptr, &size) == FALSE)
        return -4;
    HeapBytes littleEndian;
    if (!littleEndian.allocate(size) ||
        capi().CryptSignHashA(hash.get(), spec, nullptr, 0, littleEndian.data.get(), &size) == FALSE ||
        !signature.allocate(size))
        return -5;
    std::reverse_copy(littleEndian.data.get(), littleEndian.data.get() + size, signature.data.get());
    return 0;
}

}  // namespace

std::int32_t SignRequestBody(const char* providerName, const char* containerName, std::int32_t keySpec,
                             std::int32_t algId, const std::uint8_t* data, std::size_t dataLength,
                             HeapBytes& signature) {
    ProviderHandle prov;
    HashHandle hash;
    const std::int32_t result =
        sign(prov, hash, providerName, containerName, keySpec, algId, data, dataLength, signature);
    if (result == 0)
        return 0;
    // Required: a failed signature leaves its handles open, and with them the provider's session for the container.
    hash.release();
    prov.release();
    return result;
}

}  // namespace enrol
