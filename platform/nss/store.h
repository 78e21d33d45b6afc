// Certificate stores over the tokens.
//
//   "MY"    certificates whose private key lies on the same token, and those that were added to "MY"
//   "ROOT"  self-issued authority certificates of the user's database, and those that were added to "ROOT"
//   "CA"    the other authority certificates of the user's database, and those that were added to "CA"
//
// Where a certificate's nature alone would not bring it back into the store that it was added to, its nickname begins
// with the store's name ("MY - Example"); so it is found there in every later process.
#ifndef VT_PLATFORM_NSS_STORE_H
#define VT_PLATFORM_NSS_STORE_H

#include <memory>
#include <vector>

#include "platform/nss/context.h"

namespace platform::nss {

enum class StoreKind { kMy, kRoot, kCa };

// What an HCERTSTORE stands for. Like the platform's, it is read when it is opened, and then follows what is added and
// deleted through it.
struct Store {
    StoreKind kind;
    HCRYPTPROV provider;  // released with the store; 0 for none
    std::vector<std::shared_ptr<CertificateElement>> elements;
    std::size_t openContexts = 0;
};

}  // namespace platform::nss

#endif
