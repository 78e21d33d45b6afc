#include "enrol/signed_data.h"

#include <algorithm>
#include <array>
#include <new>
#include <vector>

#include "enrol/chain.h"
#include "enrol/codes.h"
#include "enrol/install_steps.h"
#include "enrol/move_key.h"
#include "enrol/plain_certificate.h"

namespace enrol {
namespace {

constexpr std::array<std::int32_t, 7> kSignedData = {1, 2, 840, 113549, 1, 7, 2};

}  // namespace

void requireSignedData(const char* text, std::size_t length) {
    const CertBytes der = decodeCertificateText(text, length);
    BerOutput<std::int32_t> type;
    BerOutput<std::uint8_t> version, digestAlgorithms, encapContentInfo, certificates, signerInfos;
    if (BerReaderScanf(openReader(der->data(), der->size()).get(), "{O({$$$$$})}", &type.data, &type.size,
                       &version.data, &version.size, &digestAlgorithms.data, &digestAlgorithms.size,
                       &encapContentInfo.data, &encapContentInfo.size, &certificates.data, &certificates.size,
                       &signerInfos.data, &signerInfos.size) < 0)
        throw InstallFailure{kReasonBadEncoding, kMessageBadEncoding};
    if (!std::equal(type.data, type.data + type.size, kSignedData.begin(), kSignedData.end()))
        throw InstallFailure{kReasonWrongContentType, kMessageNotSignedData};
}

std::int32_t IsSignedData(const char* text, std::size_t length) {
    try {
        requireSignedData(text, length);
        return 0;
    } catch (const InstallFailure& failure) {
        return failure.reason;
    } catch (const std::bad_alloc&) {
        return kReasonNoMemory;
    }
}

std::int32_t InstallSignedCertificate(const char* provider, const char* text, std::size_t length, std::int32_t keySpec,
                                      DWORD importFlags) {
    try {
        ContainerName container = {};
        if (const std::int32_t code = takeWaitingContainer(provider, length, container); code != kSuccess)
            return code;
        const CertBytes message = decodeCertificateText(text, length);
        LeafBuffer buffer = {};
        std::size_t size = 0;
        if (ExtractLeafCertificate(message->data(), message->size(), buffer, size) != 0 || size == 0)
            return kInstallNoLeaf;
        const std::vector<std::uint8_t> leaf(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size));
        const std::int32_t code = InstallOnKey(provider, leaf, container, [&](const std::vector<std::uint8_t>& der) {
            return MoveKeyToNewContainer(der.data(), der.size(), container, provider, keySpec, importFlags);
        });
        if (code != kSuccess)
            return code;
        return StoreChain(message->data(), message->size()) == 0 ? kSuccess : kInstallChainNotStored;
    } catch (...) {
        return kInstallException;
    }
}

}  // namespace enrol
