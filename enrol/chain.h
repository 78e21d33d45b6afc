// The certificates of a PKCS#7 SignedData (RFC 2315, section 9) that carries a chain, and their way into the stores.
#ifndef VT_ENROL_CHAIN_H
#define VT_ENROL_CHAIN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "enrol/install_steps.h"

namespace enrol {

// Room for the leaf of a chain. A longer one is not taken.
using LeafBuffer = std::array<std::uint8_t, 10240>;

// ExtractLeafCertificate finds the certificate of the message that issued no other and stores it with its size.
//
// The size stays 0, with a result of 0, where there is no such certificate, where it has no room, and for a message
// with a signature that verifies: what an authority sends as a chain carries certificates alone, and a signed answer is
// meant for something else. 8204 for no input; 8001, 8002, 8012 when the message functions cannot be set up; 8014 for
// a message without certificates, and for what is no message. Throws std::bad_alloc.
std::int32_t ExtractLeafCertificate(const std::uint8_t* data, std::size_t length, LeafBuffer& leaf, std::size_t& size);

// One slot per certificate: the root, which names itself as its issuer, in slot 0; the leaf, which no other certificate
// names as its issuer, in the last; intermediates from slot 1 in the order of the message. Of two roots or two leaves
// the later one stays. A slot that nothing was put into is null.
using ChainSlots = std::vector<CertBytes>;

// BuildChainSlots gives no slots for a message that cannot be read or whose signature verifies. Throws std::bad_alloc.
ChainSlots BuildChainSlots(const std::uint8_t* data, std::size_t length);

// StoreChain adds the root to the store "ROOT" and the intermediates to "CA", in this order, up to the first that is
// refused. The leaf is not stored here. 0, or 8204 for fewer than two certificates, a missing link and a refusal.
std::int32_t StoreChain(const std::uint8_t* data, std::size_t length);

// AddToSystemStore adds a certificate, where it is not there yet, to the system store whose name ("MY", "CA", "ROOT",
// "SPC") the given one begins with. 8204 for an empty argument; 8101 when the store cannot be opened or is another;
// 8113 for what is no certificate; 8110 when the store refuses it.
std::int32_t AddToSystemStore(const char* name, const std::uint8_t* der, std::size_t length);

}  // namespace enrol

#endif
