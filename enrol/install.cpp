#include "enrol/install.h"

#include "enrol/codes.h"
#include "enrol/plain_certificate.h"
#include "enrol/signed_data.h"
#include "enrol/state.h"

namespace enrol {
namespace {

// How a private key is protected that moves to another container with the chain's leaf.
constexpr DWORD kImportProtected = CRYPT_EXPORTABLE | CRYPT_USER_PROTECTED;
constexpr DWORD kImportUnprotected = 0;

std::int32_t installEither(const char* text, std::size_t length, DWORD importFlags) {
    try {
        if (IsPlainCertificate(text, length) == 0)
            return InstallPlainCertificate(chosenProvider().c_str(), text, length, sKeySpec);
        if (IsSignedData(text, length) == 0)
            return InstallSignedCertificate(chosenProvider().c_str(), text, length, sKeySpec, importFlags);
        return kAnswerUnknownShape;
    } catch (...) {
        return kInstallException;
    }
}

}  // namespace

std::int32_t WriteClientCert(const char* text, std::size_t length) {
    return installEither(text, length, kImportProtected);
}

std::int32_t WriteClientCertNoProtect(const char* text, std::size_t length) {
    return installEither(text, length, kImportUnprotected);
}

std::int32_t WriteClientCertExpX509(const char* text, std::size_t length) {
    try {
        if (IsPlainCertificate(text, length) != 0)
            return kAnswerUnknownShape;
        return InstallPlainCertificate(chosenProvider().c_str(), text, length, sKeySpec);
    } catch (...) {
        return kInstallException;
    }
}

}  // namespace enrol
