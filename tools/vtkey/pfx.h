// PFX files through the flat functions.
#ifndef VT_TOOLS_VTKEY_PFX_H
#define VT_TOOLS_VTKEY_PFX_H

#include <string>
#include <vector>

#include "tools/common/keys.h"

namespace vtkey {

struct Opened {
    tools::RsaNumbers key;
    std::string certificate;         // of the key
    std::vector<std::string> chain;  // the others
};

// Failure for a code. The password has one byte a character.
std::string makePfx(const std::string& certificate, const tools::PrivateKey& key, const std::string& password,
                    const std::vector<std::string>& others);

// 0, or the code of VT_GetCertAndPrivateKeyFromPFX.
std::int32_t tryPfx(const std::string& pfx, const std::string& password, Opened& opened);

}  // namespace vtkey

#endif
