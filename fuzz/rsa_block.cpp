// Blocks of any content under fixed small keys: what RSA_RecoverBlock and RSA_DecryptBlock make of them, beside a plain
// reading of the block that the raw operation gives; and blocks of ours opened again.
#include <algorithm>
#include <optional>

#include "crypto/rsa.h"
#include "fuzz/target.h"

namespace {

using fuzz::Bytes;

// The first keys of 96, 127 and 160 bits of a fresh thread.
RSA_CTX makeKey(int bits) {
    RSA_CTX key = {};
    FUZZ_ASSERT(RSA_GenerateKey(&key, bits, nullptr) == 0);
    return key;
}

Bytes bytesOf(const std::uint32_t* x, int length) {
    Bytes bytes(static_cast<std::size_t>(length));
    MPI_ToBytes(bytes.data(), length, x);
    return bytes;
}

// The raw operation of the key's two halves on k bytes; nothing for a number that is not below the modulus.
std::optional<Bytes> raw(const RSA_CTX& key, const Bytes& input, bool privately) {
    std::uint32_t number[MPI_DOUBLE_WORDS];
    std::uint32_t power[MPI_DOUBLE_WORDS];
    MPI_FromBytes(input.data(), static_cast<int>(input.size()), number);
    if (MPI_Compare(number, key.modulus) >= 0)
        return std::nullopt;
    if (privately)
        RSA_PrivateOp(power, number, key.prime1, key.prime2, key.exponent1, key.exponent2, key.coefficient);
    else
        RSA_PublicOp(power, number, key.publicExponent, key.modulus);
    return bytesOf(power, static_cast<int>(input.size()));
}

// 00, the type, at least eight bytes of filler, 00: the data behind, if it is so.
std::optional<Bytes> read(const Bytes& block, int type) {
    const auto begin = block.begin() + 2;
    const auto end = type == 1 ? std::find_if(begin, block.end(), [](int byte) { return byte != 0xFF; })
                               : std::find(begin, block.end(), 0);
    if (block[0] != 0 || block[1] != type || end == block.end() || *end != 0 || end - begin < 8)
        return std::nullopt;
    return Bytes(end + 1, block.end());
}

void checkOpening(const RSA_CTX& key, const Bytes& input, bool privately) {
    const std::optional<Bytes> block = raw(key, input, privately);
    const std::optional<Bytes> data = block ? read(*block, privately ? 2 : 1) : std::nullopt;
    Bytes output(input.size() - 11);
    const auto open = privately ? RSA_DecryptBlock : RSA_RecoverBlock;
    const int result = open(&key, input.data(), output.data(), static_cast<std::int32_t>(input.size()));
    if (data) {
        FUZZ_ASSERT(result == static_cast<int>(data->size()));
        output.resize(data->size());
        FUZZ_ASSERT(output == *data);
    } else {
        FUZZ_ASSERT(result == (block ? -105 : -104));
        FUZZ_ASSERT(std::all_of(output.begin(), output.end(), [](int byte) { return byte == 0; }));
    }
}

// The input as what comes out of the raw operation, so that readable blocks are met at all.
void checkReading(const RSA_CTX& key, const Bytes& block, bool privately) {
    if (const std::optional<Bytes> input = raw(key, block, !privately))
        checkOpening(key, *input, privately);
}

void checkRoundTrip(const RSA_CTX& key, const Bytes& data, bool privately) {
    const auto k = static_cast<std::size_t>(RSA_ModulusLength(&key));
    Bytes block(k);
    const auto make = privately ? RSA_SignBlock : RSA_EncryptBlock;
    const int made = make(&key, data.data(), block.data(), static_cast<std::int32_t>(data.size()));
    FUZZ_ASSERT(made == (data.size() > k - 11 ? -102 : static_cast<int>(k)));
    if (made < 0)
        return;
    Bytes output(k - 11);
    const auto open = privately ? RSA_RecoverBlock : RSA_DecryptBlock;
    FUZZ_ASSERT(open(&key, block.data(), output.data(), made) == static_cast<int>(data.size()));
    output.resize(data.size());
    FUZZ_ASSERT(output == data);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const RSA_CTX keys[] = {makeKey(96), makeKey(127), makeKey(160)};
    fuzz::Source source(data, size);
    const unsigned what = source.byte();
    const RSA_CTX& key = keys[(what & 0x7F) % 3];
    const bool privately = (what & 0x80) != 0;
    Bytes block = source.rest();
    checkRoundTrip(key, block, privately);
    block.resize(static_cast<std::size_t>(RSA_ModulusLength(&key)));
    checkOpening(key, block, privately);
    checkReading(key, block, privately);
    return 0;
}
