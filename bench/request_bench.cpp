// A request at 2048 bits, from the public key to base64 text, apart from the key operations: the signature is given.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "bench/key.h"
#include "enrol/base64.h"
#include "enrol/request_body.h"
#include "pki/flat/ms_key.h"

namespace {

constexpr std::int32_t kSha1 = 0x8004;

void require(bool holds) {
    if (!holds)
        throw std::runtime_error("a step of the benchmark failed");
}

// What the program does between the exported blob and the text that the page gets.
std::string ourRequest(const bench::Bytes& blob, const bench::Bytes& signature) {
    std::uint8_t keyDer[1024];
    std::uint32_t keyDerLength = sizeof keyDer;
    require(flat::publicKeyBlobToP1Der(blob.data(), blob.size(), keyDer, &keyDerLength) == 0);
    enrol::StagedModulus modulus;
    require(enrol::readModulus(keyDer, keyDerLength, modulus));
    const enrol::BerValue publicKey = enrol::writePublicKey(modulus);
    require(publicKey != nullptr);
    const enrol::BerValue info = enrol::writeRequestInfo(*publicKey, nullptr, 0);
    require(info != nullptr);
    const enrol::BerValue request = enrol::writeRequest(*info, kSha1, signature.data(), signature.size());
    require(request != nullptr);
    std::size_t size = 0;
    const auto used = static_cast<std::size_t>(request->used);
    require(enrol::EncodeBase64Text(request->buffer, used, nullptr, size) == 0);
    std::string text(size, '\0');
    require(enrol::EncodeBase64Text(request->buffer, used, text.data(), size) == 0);
    return text;
}

template <auto Free>
struct Freed {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Request = std::unique_ptr<X509_REQ, Freed<X509_REQ_free>>;
using Algorithm = std::unique_ptr<X509_ALGOR, Freed<X509_ALGOR_free>>;
using BitString = std::unique_ptr<ASN1_BIT_STRING, Freed<ASN1_BIT_STRING_free>>;
struct FreeDer {
    void operator()(unsigned char* der) const { OPENSSL_free(der); }
};
using Der = std::unique_ptr<unsigned char, FreeDer>;

Key opensslKey(const bench::Bytes& der) {
    const unsigned char* next = der.data();
    Key key(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &next, static_cast<long>(der.size())));
    require(key != nullptr);
    return key;
}

// The same request by OpenSSL, for a key that it already holds.
std::string opensslRequest(EVP_PKEY* key, const bench::Bytes& signature) {
    const Request request(X509_REQ_new());
    require(request != nullptr && X509_REQ_set_version(request.get(), 0) == 1);
    require(X509_REQ_set_pubkey(request.get(), key) == 1);
    require(X509_REQ_add1_attr_by_NID(request.get(), NID_pkcs9_emailAddress, V_ASN1_IA5STRING,
                                      reinterpret_cast<const unsigned char*>(enrol::kRequestEmail),
                                      sizeof(enrol::kRequestEmail) - 1) == 1);
    const Algorithm algorithm(X509_ALGOR_new());
    require(algorithm != nullptr &&
            X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha1WithRSAEncryption), V_ASN1_NULL, nullptr) == 1);
    require(X509_REQ_set1_signature_algo(request.get(), algorithm.get()) == 1);
    BitString bits(ASN1_BIT_STRING_new());
    require(bits != nullptr && ASN1_BIT_STRING_set(bits.get(), const_cast<unsigned char*>(signature.data()),
                                                   static_cast<int>(signature.size())) == 1);
    bits->flags = (bits->flags & ~0x07L) | ASN1_STRING_FLAG_BITS_LEFT;  // no unused bits
    X509_REQ_set0_signature(request.get(), bits.release());
    unsigned char* start = nullptr;
    const int length = i2d_X509_REQ(request.get(), &start);
    const Der der(start);
    require(length > 0);
    std::string text(static_cast<std::size_t>((length + 2) / 3 * 4 + 1), '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), start, length);
    return text;
}

std::string plainText(const std::string& text) {
    std::string plain;
    for (const char c : text)
        if (c != '\r' && c != '\n' && c != '\0')
            plain += c;
    return plain;
}

void ours(benchmark::State& state) {
    const bench::Bytes blob = bench::publicKeyBlob();
    const bench::Bytes signature = bench::signature();
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(ourRequest(blob, signature));
}
BENCHMARK(ours)->Name("request, 2048 bits/ours");

void openssl(benchmark::State& state) {
    const Key key = opensslKey(bench::publicKeyDer());
    const bench::Bytes signature = bench::signature();
    if (plainText(opensslRequest(key.get(), signature)) != plainText(ourRequest(bench::publicKeyBlob(), signature)))
        state.SkipWithError("the two requests differ");
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(opensslRequest(key.get(), signature));
}
BENCHMARK(openssl)->Name("request, 2048 bits/OpenSSL");

void opensslFromDer(benchmark::State& state) {
    const bench::Bytes der = bench::publicKeyDer();
    const bench::Bytes signature = bench::signature();
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(opensslRequest(opensslKey(der).get(), signature));
}
BENCHMARK(opensslFromDer)->Name("request, 2048 bits/OpenSSL, key decoded too");

}  // namespace
