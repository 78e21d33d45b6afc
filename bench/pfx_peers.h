// PKCS#12 files opened by other libraries, as their public interfaces offer it. A file for each library, as their
// headers do not go together.
#ifndef VT_BENCH_PFX_PEERS_H
#define VT_BENCH_PFX_PEERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// One library. It aborts when something goes wrong.
//
//     open     a file and its password to the number of certificates in it: the MAC checked, the private key in the
//              clear, and the certificates apart
struct PfxPeer {
    std::string who;
    std::function<std::size_t(const Bytes& file, const std::string& password)> open;
    std::string notOpened = {};  // the file whose cipher it does not have
};

PfxPeer ourPfx();
PfxPeer gnuTlsPfx();
PfxPeer nssPfx();  // leaves the key closed: it opens keys into a database alone
PfxPeer openSslPfx();
PfxPeer wolfSslPfx();

}  // namespace bench

#endif
