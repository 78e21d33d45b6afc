// RSA keys that the engine refuses, made so that it accepts them.
#ifndef VT_TOOLS_VTKEY_REPAIR_H
#define VT_TOOLS_VTKEY_REPAIR_H

#include <string>
#include <vector>

#include "tools/common/keys.h"

namespace vtkey {

struct Repair {
    tools::RsaNumbers key;
    std::vector<std::string> changes;  // what was changed and why, one line each; none for a key that was right
};

// The same key with a private exponent that is the inverse of the public one modulo (p - 1)(q - 1), and with the other
// numbers that follow from these. It needs the modulus, the public exponent, and either both primes or the private
// exponent. The public half never changes. InputError for less, and for numbers that do not belong together.
Repair repaired(const tools::RsaNumbers& key);

}  // namespace vtkey

#endif
