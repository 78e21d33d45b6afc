#include "enrol/state.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace enrol {

char* sProviderName = nullptr;
std::int32_t sKeySpec = AT_SIGNATURE;
std::int32_t sHashAlgId = CALG_SHA1;
std::int32_t sLastError = 0;
char sRequestText[4096] = {};
char sProviderListText[2048] = {};

bool chooseProvider(const char* name, std::size_t length) {
    std::free(sProviderName);
    sProviderName = length == SIZE_MAX ? nullptr : static_cast<char*>(std::calloc(length + 1, 1));
    if (sProviderName == nullptr)
        return false;
    std::memcpy(sProviderName, name, length);
    return true;
}

std::string chosenProvider() {
    return sProviderName == nullptr ? std::string() : std::string(sProviderName);
}

void forgetProvider() {
    std::free(sProviderName);
    sProviderName = nullptr;
    std::memset(sProviderListText, 0, sizeof(sProviderListText));
}

}  // namespace enrol
