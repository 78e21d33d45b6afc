#include <cstdlib>
#include <memory>
#include <sstream>

#include "bench/x509_peers.h"
#include "foundation/foundation.h"
#include "schema/x509.h"

namespace bench {

X509Peer ourX509(const Bytes& certificate) {
    const auto in = std::make_shared<MiByte>(reinterpret_cast<const char*>(certificate.data()),
                                             static_cast<unsigned int>(certificate.size()));
    const auto held = std::make_shared<Certificate>();
    held->DerDecode(*in, 0);
    return {"ours",
            [in] {
                Certificate made;
                if (made.DerDecode(*in, 0) != in->GetLength())
                    std::abort();
            },
            [held] {
                MiByteBuffer out;
                return std::size_t{held->DerEncode(out, 0)};
            },
            [held] {
                std::ostringstream out;
                held->ToOstream(out, 0);
                return out.str().size();
            }};
}

}  // namespace bench
