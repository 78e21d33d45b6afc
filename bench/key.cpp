#include "bench/key.h"

#include "pki/flat/ms_key.h"

namespace bench {

constexpr std::size_t kModulusBytes = 256;

Bytes publicKeyBlob() {
    Bytes blob = {6, 2, 0, 0, 0, 0x24, 0, 0, 'R', 'S', 'A', '1', 0, 8, 0, 0, 1, 0, 1, 0};
    const Bytes modulus = patternBytes(kModulusBytes);
    blob.insert(blob.end(), modulus.rbegin(), modulus.rend());
    return blob;
}

Bytes publicKeyDer() {
    const Bytes blob = publicKeyBlob();
    std::uint32_t length = 0;
    flat::publicKeyBlobToP1Der(blob.data(), blob.size(), nullptr, &length);
    Bytes der(length);
    flat::publicKeyBlobToP1Der(blob.data(), blob.size(), der.data(), &length);
    return der;
}

Bytes signature() {
    return patternBytes(kModulusBytes);
}

}  // namespace bench
