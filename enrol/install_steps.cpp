#include "enrol/install_steps.h"

#include <limits>
#include <utility>

#include "enrol/base64.h"
#include "enrol/codes.h"

namespace enrol {

CertBytes decodeCertificateText(const char* text, std::size_t length) {
    std::vector<std::uint8_t> bytes;
    const std::int32_t failure = DecodeBase64Text(text, length, bytes);
    if (failure == kBase64NoMemory)
        throw InstallFailure{kReasonNoMemory, kMessageNoMemory};
    if (failure != 0)
        throw InstallFailure{kReasonBadBase64, kMessageBadBase64};
    return std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
}

BerReaderPtr openReader(const std::uint8_t* bytes, std::size_t size) {
    static constexpr std::uint8_t kNothing = 0;
    const bool fits = size <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    BerReaderPtr reader(fits ? BerReaderCreate(size == 0 ? &kNothing : bytes, static_cast<std::int32_t>(size))
                             : nullptr);
    if (!reader)
        throw InstallFailure{kReasonNoMemory, kMessageNoMemory};
    return reader;
}

std::int32_t takeWaitingContainer(const char* provider, std::size_t textLength, ContainerName& container) {
    const std::int32_t read = ReadContainerMarker(container);
    DeleteContainerMarker();
    if (read != 0)
        return kMarkerNotReadable;
    if (provider == nullptr || *provider == '\0')
        return kInstallNoProvider;
    if (textLength == 0)
        return kInstallEmptyText;
    return kSuccess;
}

}  // namespace enrol
