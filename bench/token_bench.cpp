// What VT_P11_OP costs beyond the engine's own calls. Each piece of work is done three ways:
//
//     VT_P11_OP       the operation of the token layer, from values and into a MiByte
//     engine          the engine's calls with the objects built and freed for the call, as they are made to be
//     engine, kept    init and run alone, on objects that are there
//
// and "RSA-2048 public operation" is the yardstick: the bare number work of checking one signature.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "bench/pattern.h"
#include "crypto/chooser.h"
#include "crypto/operation.h"
#include "foundation/byte.h"
#include "tests/support/hex.h"
#include "tests/vectors/rsa_keys.h"
#include "token/token.h"

namespace bench {
namespace {

void check(int code) {
    if (code != 0)
        std::abort();
}

MiByte asMiByte(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

std::uint32_t lengthOf(const Bytes& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

KEY_ITEM itemOf(Bytes& bytes) {
    return {bytes.data(), lengthOf(bytes)};
}

struct FreeAlg {
    void operator()(ALG_OBJ* object) const { AlgFree(&object); }
};
struct FreeKey {
    void operator()(KEY_OBJ* object) const { KeyFree(&object); }
};
using Alg = std::unique_ptr<ALG_OBJ, FreeAlg>;
using Key = std::unique_ptr<KEY_OBJ, FreeKey>;

Alg newAlg(AlgAllocator allocator, const void* parameter) {
    ALG_OBJ* object = AlgShell();
    check(AlgSetup(&object, allocator, parameter));
    return Alg(object);
}

Key newKey(KeyAllocator allocator, const KEY_ITEM* value) {
    KEY_OBJ* object = KeyShell();
    check(KeySetup(&object, allocator, value));
    return Key(object);
}

struct RsaKey {
    explicit RsaKey(int bits) {
        const RsaKeyVector* vector = kRsaKeys;
        while (vector->bits != bits)
            ++vector;
        for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i) {
            strings[i] = support::hex(vector->items[i]);
            items[i] = itemOf(strings[i]);
        }
    }
    [[nodiscard]] VT_PKCS11_BYTES number(RsaItem item) const { return {items[item].bytes, items[item].length}; }
    [[nodiscard]] VT_P11_Key publicKey() const {
        VT_P11_Key key;
        const VT_PKCS11_RSA_PUBLIC_KEY numbers = {number(RSA_MODULUS), number(RSA_PUBLIC_EXPONENT)};
        check(key.setKeyType(token::kRsaPublicKey));
        check(key.setPublicKey(&numbers));
        return key;
    }
    [[nodiscard]] VT_P11_Key privateKey() const {
        VT_P11_Key key;
        const VT_PKCS11_RSA_PRIVATE_KEY numbers = {
            number(RSA_MODULUS), number(RSA_PUBLIC_EXPONENT), number(RSA_PRIVATE_EXPONENT), number(RSA_PRIME_1),
            number(RSA_PRIME_2), number(RSA_EXPONENT_1),      number(RSA_EXPONENT_2),       number(RSA_COEFFICIENT)};
        check(key.setKeyType(token::kRsaPrivateKey));
        check(key.setPrivateKey(&numbers));
        return key;
    }
    Bytes strings[RSA_ITEM_COUNT];
    RSA_KEY_ITEMS items;
};

VT_P11_Alg algorithm(int type) {
    VT_P11_Alg alg;
    check(alg.setAlgType(type));
    return alg;
}

// How the engine's side of a row gets its objects, and what it runs on them.
struct EngineWork {
    std::function<Alg()> alg;
    std::function<Key()> key;
    std::function<void(ALG_OBJ* alg, KEY_OBJ* key)> run;
};

template <class Work>
void registerRow(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for (auto _ : state)
            work();
    });
}

void registerEngine(const std::string& row, const EngineWork& work) {
    registerRow(row + "/engine", [work] {
        const Key key = work.key();
        const Alg alg = work.alg();
        work.run(alg.get(), key.get());
    });
    benchmark::RegisterBenchmark((row + "/engine, kept").c_str(), [work](benchmark::State& state) {
        const Key key = work.key();
        const Alg alg = work.alg();
        for (auto _ : state)
            work.run(alg.get(), key.get());
    });
}

// A chooser of each side, for the whole program.
CHOOSER* engineChooser() {
    static SOFT_TABLE table = {};
    static CHOOSER chooser = {0, nullptr, &table, 0};
    return &chooser;
}

VT_P11_OP& operations() {
    static VT_P11_OP op = [] {
        VT_P11_OP made;
        VT_P11_SELECTION software = {};
        check(made.createChooser(&software));
        return made;
    }();
    return op;
}

constexpr std::size_t kRoom = 2048;  // for every output here

void registerDigest(std::size_t length) {
    const std::string row = "Digest, SHA-1, " + std::to_string(length) + " bytes";
    const Bytes data = patternBytes(length);
    registerRow(row + "/VT_P11_OP", [alg = algorithm(token::kSha1), in = asMiByte(data)] {
        MiByte digest;
        check(operations().Digest(alg, in, digest));
    });
    const auto digest = [data](ALG_OBJ* alg, KEY_OBJ*) {
        std::uint8_t out[20];
        std::uint32_t outLength = 0;
        check(DigestInitOp(alg, engineChooser()));
        check(DigestOp(alg, data.data(), lengthOf(data), out, &outLength));
    };
    registerEngine(row, {[] { return newAlg(AlgAllocSha1, nullptr); }, [] { return Key(); }, digest});
}

void registerTripleDes(std::size_t length) {
    const std::string row = "Encrypt, triple DES, " + std::to_string(length) + " bytes";
    const auto keyBytes = std::make_shared<Bytes>(patternBytes(24));
    const auto iv = std::make_shared<Bytes>(patternBytes(8));
    const Bytes data = patternBytes(length);
    VT_P11_Alg alg = algorithm(token::kDes3Cbc);
    check(alg.setIV(asMiByte(*iv)));
    VT_P11_Key key;
    const VT_PKCS11_SESSION_KEY value = {{keyBytes->data(), lengthOf(*keyBytes)}, 24};
    check(key.setKeyType(token::kDes3Key));
    check(key.setSessionKey(&value));
    registerRow(row + "/VT_P11_OP", [=, in = asMiByte(data)] {
        MiByte encrypted;
        check(operations().Encrypt(alg, key, in, encrypted));
    });
    const auto newDes3 = [iv] {
        const KEY_ITEM item = itemOf(*iv);
        return newAlg(AlgAllocDes3CbcPad, &item);
    };
    const auto newDes3Key = [keyBytes] {
        const KEY_ITEM item = itemOf(*keyBytes);
        return newKey(KeyAllocDes3, &item);
    };
    const auto encrypt = [data](ALG_OBJ* object, KEY_OBJ* keyObject) {
        std::uint8_t out[kRoom];
        std::uint32_t outLength = 0;
        check(EncryptInitOp(object, keyObject, engineChooser()));
        check(EncryptOp(object, data.data(), lengthOf(data), out, &outLength));
    };
    registerEngine(row, {newDes3, newDes3Key, encrypt});
}

Alg newRsa() {
    return newAlg(AlgAllocRsa, nullptr);
}

void registerRsa(int bits) {
    const auto source = std::make_shared<RsaKey>(bits);
    const std::string size = "RSA-" + std::to_string(bits);
    const Bytes data = patternBytes(35);  // the length of a DigestInfo of SHA-1
    const VT_P11_Alg alg = algorithm(token::kRsa);
    const auto publicObject = [source] { return newKey(KeyAllocRsaPublic, source->items); };
    const auto privateObject = [source] { return newKey(KeyAllocRsaPrivate, source->items); };
    const MiByte in = asMiByte(data);
    MiByte signature;
    check(operations().SignRecover(alg, source->privateKey(), in, signature));

    registerRow("Sign, " + size + "/VT_P11_OP", [=, key = source->privateKey()] {
        MiByte made;
        check(operations().Sign(alg, key, in, made));
    });
    const auto sign = [data](ALG_OBJ* object, KEY_OBJ* key) {
        std::uint8_t out[kRoom];
        std::uint32_t outLength = 0;
        check(SignInitOp(object, key, engineChooser()));
        check(SignOp(object, data.data(), lengthOf(data), out, &outLength));
    };
    registerEngine("Sign, " + size, {newRsa, privateObject, sign});

    registerRow("Verify, " + size + "/VT_P11_OP",
                [=, key = source->publicKey()] { check(operations().Verify(alg, key, in, signature)); });
    const auto verify = [=](ALG_OBJ* object, KEY_OBJ* key) {
        check(VerifyInitOp(object, key, engineChooser()));
        check(VerifyOp(object, data.data(), lengthOf(data), reinterpret_cast<const std::uint8_t*>(signature.GetChars()),
                       signature.GetLength()));
    };
    registerEngine("Verify, " + size, {newRsa, publicObject, verify});

    registerRow("Encrypt, " + size + "/VT_P11_OP", [=, key = source->publicKey()] {
        MiByte encrypted;
        check(operations().Encrypt(alg, key, in, encrypted));
    });
    const auto encrypt = [data](ALG_OBJ* object, KEY_OBJ* key) {
        std::uint8_t out[kRoom];
        std::uint32_t outLength = 0;
        check(EncryptInitOp(object, key, engineChooser()));
        check(EncryptOp(object, data.data(), lengthOf(data), out, &outLength));
    };
    registerEngine("Encrypt, " + size, {newRsa, publicObject, encrypt});
}

void registerYardstick() {
    const auto context = std::make_shared<RSA_CTX>();
    check(RSA_Init(context.get(), RsaKey(2048).items, RSA_PUBLIC_LENGTH, nullptr));
    const auto base = std::make_shared<std::array<std::uint32_t, MPI_DOUBLE_WORDS>>();
    const Bytes number = support::hex(std::string("00") + std::string(510, '7'));
    MPI_FromBytes(number.data(), static_cast<int>(number.size()), base->data());
    registerRow("RSA-2048 public operation/engine", [=] {
        std::uint32_t power[MPI_DOUBLE_WORDS];
        RSA_PublicOp(power, base->data(), context->publicExponent, context->modulus);
        benchmark::DoNotOptimize(power);
    });
}

const int registered = [] {
    registerYardstick();
    registerDigest(20);
    registerDigest(1024);
    registerTripleDes(64);
    registerTripleDes(1024);
    registerRsa(512);
    registerRsa(2048);
    return 0;
}();

}  // namespace
}  // namespace bench
