// FakeCryptoApi: providers, key containers, keys, hashes and the encoding of names in memory, deterministic and the
// same on every platform. Keys are numbers made up from their size, signatures are made up from what was hashed;
// nothing here is cryptography. Certificates and stores are not its business.
#ifndef VT_TESTS_SUPPORT_FAKE_CRYPTO_API_H
#define VT_TESTS_SUPPORT_FAKE_CRYPTO_API_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "tests/support/hex.h"

namespace support {

class FakeCryptoApi {
  public:
    struct Provider {
        std::string name;
        DWORD type;
    };
    struct Key {
        DWORD flags = 0;    // as given to CryptGenKey, without the size
        DWORD bits = 0;     // as given to CryptGenKey
        Bytes publicBlob;   // what CryptExportKey gives; a private blob is this one with a tail (fakePrivateBlob)
        Bytes certificate;  // set by KP_CERTIFICATE
    };
    using Container = std::map<DWORD, Key>;                   // by key specification
    using ContainerId = std::pair<std::string, std::string>;  // provider and container name

    // Starts with one provider, "Fake Provider" of type PROV_RSA_FULL. Replaces the entries for providers, containers,
    // keys, hashes and names.
    FakeCryptoApi();
    // Puts back what stood in the table.
    ~FakeCryptoApi();
    FakeCryptoApi(const FakeCryptoApi&) = delete;
    FakeCryptoApi& operator=(const FakeCryptoApi&) = delete;

    std::vector<Provider> providers;
    std::map<ContainerId, Container> containers;

    // The public blob of a new key of so many bits; at first fakePublicBlob.
    std::function<Bytes(DWORD bits)> makePublicBlob;

    // The signature, least significant byte first as a provider gives it; at first fakeSignature.
    std::function<Bytes(const Key& key, ALG_ID alg, const Bytes& hashed)> makeSignature;

    // What the last CryptSignHashA signed, and under which algorithm.
    Bytes lastHashed;
    ALG_ID lastAlgorithm = 0;

    // addKey puts a container with one key in place, as an earlier request left it.
    Key& addKey(const std::string& provider, const std::string& container, DWORD spec, DWORD bits);

    // The one that is alive; the entries of the table find it here.
    static FakeCryptoApi* current;

    // For the entries of the table.
    struct OpenProvider {
        ContainerId id;
    };
    struct OpenKey {
        ContainerId id;
        DWORD spec;
    };
    struct OpenHash {
        ContainerId id;
        ALG_ID alg;
        Bytes hashed;
    };
    std::map<ULONG_PTR, OpenProvider> openProviders;
    std::map<ULONG_PTR, OpenKey> openKeys;
    std::map<ULONG_PTR, OpenHash> openHashes;
    ULONG_PTR nextHandle = 0x1000;

  private:
    platform::CryptoApi before_;
};

// fakeModulus: bits / 8 bytes, most significant first: C1, then a pattern, then an odd byte.
Bytes fakeModulus(DWORD bits);

// fakePublicBlob: PUBLICKEYSTRUC, RSAPUBKEY and the modulus of fakeModulus, least significant byte first.
Bytes fakePublicBlob(DWORD bits, DWORD exponent = 65537);

// fakePrivateBlob: the public blob as a PRIVATEKEYBLOB, with a made-up tail in place of the private numbers. The fake
// gives it out for a key whose flags say CRYPT_EXPORTABLE, and imports nothing else.
Bytes fakePrivateBlob(const Bytes& publicBlob);

// fakeSignature: as many bytes as the key's modulus has, made from the algorithm and the hashed bytes; most significant
// byte first as it stands in a request.
Bytes fakeSignature(DWORD bits, ALG_ID alg, const Bytes& hashed);

// rsaPublicKeyDer: the RSAPublicKey of PKCS#1 for a blob.
Bytes rsaPublicKeyDer(const Bytes& publicBlob);

}  // namespace support

#endif
