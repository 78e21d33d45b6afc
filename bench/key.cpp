#include "bench/key.h"

#include "pki/flat/ms_key.h"

namespace bench {

constexpr std::size_t kModulusBytes = 256;

Bytes patternBytes(std::size_t length) {
    Bytes bytes(length);
    std::uint32_t state = 0x9E3779B9U;
    for (std::uint8_t& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    bytes.front() |= 0x80;
    bytes.back() |= 1;
    return bytes;
}

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
