// What the operations share. For their sources alone; users of the engine include operation.h.
#ifndef VT_CRYPTO_OPERATION_STEPS_H
#define VT_CRYPTO_OPERATION_STEPS_H

#include "crypto/codes.h"
#include "crypto/operation.h"
#include "crypto/soft_table.h"
#include "crypto/token_side.h"

namespace operation {

// ready is what every step after an init begins with: 0, -2, or -5.
inline int ready(const ALG_OBJ* alg) {
    if (alg == nullptr || alg->mechanism == nullptr)
        return crypto::kArgumentAbsent;
    const CHOOSER* chooser = alg->chooser;
    return chooser == nullptr || (chooser->useToken == 0 && chooser->soft == nullptr) ? crypto::kNoChooser : 0;
}

inline bool usesToken(const ALG_OBJ* alg) {
    return alg->chooser->useToken != 0;
}

inline bool isAbsent(const std::uint8_t* input, std::uint32_t length) {
    return input == nullptr && length != 0;
}

// onToken calls an entry of the token side, which may be absent.
template <class Entry, class... Arguments>
int onToken(Entry entry, Arguments... arguments) {
    return entry == nullptr ? crypto::kUnsupportedMechanism : entry(arguments...);
}

// slotOf gives a slot of the table, or null for a digest with RSA: signing and verifying fill slots that take one half
// of its pair, and that ciphers and digests, whose context is not a pair, must not find.
template <class Entry>
Entry slotOf(const ALG_OBJ* alg, Entry SOFT_TABLE::*slot) {
    return softtable::isDigestWithRsa(alg->mechanism->code) ? nullptr : alg->chooser->soft->*slot;
}

// begin attaches the chooser and runs one of the two inits: tokenInit(), or softInit(table) on the cleared table, which
// is cleared again if that fails.
template <class TokenInit, class SoftInit>
int begin(ALG_OBJ* alg, CHOOSER* chooser, TokenInit&& tokenInit, SoftInit&& softInit) {
    if (alg == nullptr || alg->mechanism == nullptr || chooser == nullptr)
        return crypto::kArgumentAbsent;
    if (chooser->useToken == 0 && chooser->soft == nullptr)
        return crypto::kArgumentAbsent;
    alg->chooser = chooser;
    if (usesToken(alg))
        return tokenInit();
    *chooser->soft = {};
    const int code = softInit(*chooser->soft);
    if (code != 0)
        *chooser->soft = {};
    return code;
}

}  // namespace operation

#endif
