#include "enrol/firefox.h"

#include "enrol/codes.h"

namespace enrol {

std::int32_t CheckCertificateInFirefox(const char* /*text*/, std::size_t /*length*/) {
    return kFirefoxKeyNotOpened;
}

}  // namespace enrol
