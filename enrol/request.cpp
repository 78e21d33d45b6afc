#include "enrol/request.h"

#include <cstdio>
#include <limits>
#include <new>
#include <string>

#include "enrol/base64.h"
#include "enrol/capi.h"
#include "enrol/codes.h"
#include "enrol/container.h"
#include "enrol/heap_bytes.h"
#include "enrol/request_body.h"
#include "enrol/request_signature.h"
#include "enrol/state.h"
#include "enrol/subject.h"
#include "pki/flat/ms_key.h"

namespace enrol {
namespace {

// What the second of the two operations asks for on top of the first.
struct SubjectOrder {
    std::int32_t exportable;
    const std::wstring& text;
};

// The settings as they are when a request begins.
struct Settings {
    std::string provider = chosenProvider();
    std::int32_t keySpec = sKeySpec;
    std::int32_t hashAlgId = sHashAlgId;
};

bool isEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

// sizeFlag: the key size as CryptGenKey takes it, in the high half of its flags; 0 for a size that is not allowed.
DWORD sizeFlag(std::int32_t keyBits) {
    switch (keyBits) {
        case 512:
        case 1024:
        case 2048:
        case 4096:
            return static_cast<DWORD>(keyBits) << 16;
        default:
            return 0;
    }
}

void deleteContainer(const char* container, const std::string& provider) {
    HCRYPTPROV none = 0;
    capi().CryptAcquireContextA(&none, container, provider.c_str(), PROV_RSA_FULL, CRYPT_DELETEKEYSET);
}

// createContainer makes an empty container and replaces one of that name.
bool createContainer(const char* container, const std::string& provider, ProviderHandle& prov) {
    const auto create = [&] {
        return capi().CryptAcquireContextA(prov.receive(), container, provider.c_str(), PROV_RSA_FULL,
                                           CRYPT_NEWKEYSET) != FALSE;
    };
    if (create())
        return true;
    if (sys().GetLastError() != static_cast<DWORD>(NTE_EXISTS))
        return false;
    deleteContainer(container, provider);
    return create();
}

// keyFlags gives the flags of CryptGenKey besides the size.
std::int32_t keyFlags(const SubjectOrder* order, DWORD& flags) {
    flags = CRYPT_EXPORTABLE;
    if (order == nullptr)
        return kSuccess;
    if (order->exportable != 0 && order->exportable != 1)
        return kExportableOutOfRange;
    flags = CRYPT_FORCE_KEY_PROTECTION_HIGH | static_cast<DWORD>(order->exportable);
    return kSuccess;
}

// makeKey makes the key in its container and exports the public half; the key stays behind.
std::int32_t makeKey(const ProviderHandle& prov, std::int32_t keySpec, DWORD flags, HeapBytes& publicBlob) {
    KeyHandle key;
    if (capi().CryptGenKey(prov.get(), static_cast<ALG_ID>(keySpec), flags, key.receive()) == FALSE)
        return kRequestKeyOrSignatureFailed;
    DWORD size = 0;
    if (capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, nullptr, &size) == FALSE)
        return kRequestPublicKeySizeQueryFailed;
    if (!publicBlob.allocate(size))
        return kRequestNoMemory;
    if (capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, publicBlob.data.get(), &size) == FALSE)
        return kRequestPublicKeyExportFailed;
    publicBlob.size = size;
    return kSuccess;
}

// convertKey gives the RSAPublicKey of PKCS#1. A blob that is no RSA key of an allowed size ends the request as an
// exception would.
std::int32_t convertKey(const HeapBytes& blob, HeapBytes& publicKeyDer) {
    std::uint32_t size = 0;
    if (flat::publicKeyBlobToP1Der(blob.data.get(), blob.size, nullptr, &size) != 0)
        return kRequestNoProvider;
    if (!publicKeyDer.allocate(size))
        return kRequestNoMemory;
    if (flat::publicKeyBlobToP1Der(blob.data.get(), blob.size, publicKeyDer.data.get(), &size) != 0)
        return kRequestNoProvider;
    std::printf("p1PubkeyDerLen = %d\n", static_cast<int>(size));
    return kSuccess;
}

// encodeText gives the base64 of the request in a buffer one byte larger than its size, so that a text that ends in a
// line break is terminated as well.
std::int32_t encodeText(const BerWriter& request, HeapText& text, std::size_t& textLength) {
    const auto length = static_cast<std::size_t>(request.used);
    std::size_t size = 0;
    if (EncodeBase64Text(request.buffer, length, nullptr, size) != 0)
        return kRequestBase64Failed;
    HeapText encoded(new (std::nothrow) char[size + 1]());
    if (!encoded || EncodeBase64Text(request.buffer, length, encoded.get(), size) != 0)
        return kRequestBase64Failed;
    text = std::move(encoded);
    textLength = size;
    return kSuccess;
}

// buildRequest assembles, signs and encodes the request for a key that waits in its container.
std::int32_t buildRequest(const Settings& settings, const ContainerName& container, const HeapBytes& publicKeyDer,
                          const HeapBytes& subject, HeapText& text, std::size_t& textLength) {
    StagedModulus modulus;
    if (!readModulus(publicKeyDer.data.get(), publicKeyDer.size, modulus))
        return kRequestNoProvider;
    const BerValue publicKey = writePublicKey(modulus);
    if (!publicKey)
        return kRequestNoMemory;
    const BerValue info = writeRequestInfo(*publicKey, subject.data.get(), subject.size);
    if (!info)
        return kRequestNoMemory;
    HeapBytes signature;
    if (SignRequestBody(settings.provider.c_str(), container, settings.keySpec, settings.hashAlgId, info->buffer,
                        static_cast<std::size_t>(info->used), signature) != 0)
        return kRequestKeyOrSignatureFailed;
    const BerValue request = writeRequest(*info, settings.hashAlgId, signature.data.get(), signature.size);
    if (!request)
        return kRequestNoMemory;
    return encodeText(*request, text, textLength);
}

// keyInContainer makes the container and its key. Once the key generation has begun, a failure deletes the container.
std::int32_t keyInContainer(const Settings& settings, const ContainerName& container, DWORD size,
                            const SubjectOrder* order, HeapBytes& publicBlob) {
    ProviderHandle prov;
    if (!createContainer(container, settings.provider, prov))
        return kRequestContainerNotCreated;
    DWORD flags = 0;
    std::int32_t code = keyFlags(order, flags);
    if (code != kSuccess)
        return code;
    code = makeKey(prov, settings.keySpec, size | flags, publicBlob);
    prov.reset();
    if (code != kSuccess)
        deleteContainer(container, settings.provider);
    return code;
}

// generate is the whole request. The marker is written before anything else is looked at, and stays whatever follows.
std::int32_t generate(std::int32_t keyBits, const SubjectOrder* order, HeapText& text, std::size_t& textLength) {
    const Settings settings;
    ContainerName container;
    GenerateContainerName(container);
    if (WriteContainerMarker(container) != 0)
        return kRequestMarkerNotWritten;
    if (settings.provider.empty())
        return kRequestNoProvider;
    const DWORD size = sizeFlag(keyBits);
    if (size == 0)
        return kRequestKeyLengthNotAllowed;
    HeapBytes publicBlob;
    std::int32_t code = keyInContainer(settings, container, size, order, publicBlob);
    if (code != kSuccess)
        return code;
    HeapBytes publicKeyDer;
    code = convertKey(publicBlob, publicKeyDer);
    if (code != kSuccess)
        return code;
    HeapBytes subject;
    if (order != nullptr) {
        const std::int32_t reason = BuildSubject(order->text, subject);
        if (reason != 0)
            return makeCode(Operation::kShared, reason);
    }
    return buildRequest(settings, container, publicKeyDer, subject, text, textLength);
}

// widen converts the subject; false when a conversion call fails.
bool widen(const char* subject, std::size_t length, std::wstring& wide) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return false;
    const int bytes = static_cast<int>(length);
    const int count = sys().MultiByteToWideChar(CP_UTF8, 0, subject, bytes, nullptr, 0);
    if (count <= 0)
        return false;
    wide.resize(static_cast<std::size_t>(count));
    return sys().MultiByteToWideChar(CP_UTF8, 0, subject, bytes, wide.data(), count) > 0;
}

}  // namespace

std::int32_t GenerateRequest(std::int32_t keyBits, HeapText& text, std::size_t& textLength) {
    text.reset();
    textLength = 0;
    try {
        return generate(keyBits, nullptr, text, textLength);
    } catch (...) {
        return kRequestNoProvider;
    }
}

std::int32_t GenerateRequestWithSubject(std::int32_t keyBits, std::int32_t exportable, const char* subject,
                                        std::size_t subjectLength, HeapText& text, std::size_t& textLength) {
    text.reset();
    textLength = 0;
    if (isEmpty(sProviderName) || subjectLength == 0 || isEmpty(subject))
        return kRequestNoProvider;
    try {
        std::wstring wide;
        if (!widen(subject, subjectLength, wide))
            return kRequestSubjectNotUtf8;
        const SubjectOrder order = {exportable, wide};
        return generate(keyBits, &order, text, textLength);
    } catch (...) {
        return kRequestNoProvider;
    }
}

}  // namespace enrol
