#include "enrol/providers.h"

#include <new>

#include "enrol/capi.h"
#include "enrol/codes.h"

namespace enrol {

// The page's index counts the RSA full providers alone, so all before it are looked at as well.
std::int32_t EnumerateProvider(std::int32_t index, HeapText& name, std::uint32_t& length) {
    name.reset();
    length = 0;
    if (index < 0)
        return kEnumerateNegativeIndex;
    std::int32_t matches = 0;
    DWORD type = 0;
    DWORD size = 0;
    for (DWORD number = 0; capi().CryptEnumProvidersA(number, nullptr, 0, &type, nullptr, &size) != FALSE; ++number) {
        HeapText candidate(new (std::nothrow) char[std::size_t{size} + 1]());
        if (!candidate)
            return kEnumerateNoMemory;
        if (capi().CryptEnumProvidersA(number, nullptr, 0, &type, candidate.get(), &size) == FALSE ||
            type != PROV_RSA_FULL)
            continue;
        if (matches == index) {
            name = std::move(candidate);
            length = size;
            return kSuccess;
        }
        ++matches;
    }
    return kSuccess;
}

}  // namespace enrol
