#include <openssl/cms.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <memory>

#include "bench/message_peers.h"

namespace bench {
namespace {

template <class T, void release(T*)>
struct Release {
    void operator()(T* object) const { release(object); }
};

using Message = std::unique_ptr<PKCS7, Release<PKCS7, PKCS7_free>>;
struct ReleaseBio {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using Bio = std::unique_ptr<BIO, ReleaseBio>;

struct Keys {
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> signer, authority, root;
};

template <class T>
T present(T object) {
    if (!object)
        std::abort();
    return object;
}

std::shared_ptr<X509> certificate(const Bytes& der) {
    const unsigned char* at = der.data();
    return {present(d2i_X509(nullptr, &at, static_cast<long>(der.size()))), X509_free};
}

Keys load(const MessageInputs& inputs) {
    const unsigned char* at = inputs.key.data();
    EVP_PKEY* key = present(d2i_AutoPrivateKey(nullptr, &at, static_cast<long>(inputs.key.size())));
    return {{key, EVP_PKEY_free}, certificate(inputs.signer), certificate(inputs.authority), certificate(inputs.root)};
}

Bio reader(const Bytes& bytes) {
    return present(Bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))));
}

Message decoded(const Bytes& der) {
    const unsigned char* at = der.data();
    return present(Message(d2i_PKCS7(nullptr, &at, static_cast<long>(der.size()))));
}

void giveEncoded(PKCS7* made, Bytes* message) {
    unsigned char* der = nullptr;
    const int length = i2d_PKCS7(made, &der);
    present(length > 0);
    if (message != nullptr)
        message->assign(der, der + length);
    OPENSSL_free(der);
}

std::size_t contentLength(BIO* content) {
    char* data = nullptr;
    return static_cast<std::size_t>(BIO_get_mem_data(content, &data));
}

void sign(const Keys& keys, const Bytes& content, Bytes* message) {
    constexpr int kFlags = PKCS7_BINARY | PKCS7_NOATTR;
    const Bio in = reader(content);
    const Message made(present(PKCS7_sign(nullptr, nullptr, nullptr, in.get(), kFlags | PKCS7_PARTIAL)));
    present(PKCS7_sign_add_signer(made.get(), keys.signer.get(), keys.key.get(), EVP_sha1(), kFlags));
    present(PKCS7_add_certificate(made.get(), keys.authority.get()));
    present(PKCS7_add_certificate(made.get(), keys.root.get()));
    present(PKCS7_final(made.get(), in.get(), kFlags));
    giveEncoded(made.get(), message);
}

std::size_t verify(const Bytes& der) {
    const Message read = decoded(der);
    const Bio out = present(Bio(BIO_new(BIO_s_mem())));
    present(PKCS7_verify(read.get(), nullptr, nullptr, nullptr, out.get(), PKCS7_NOVERIFY | PKCS7_BINARY));
    return contentLength(out.get());
}

void seal(const Keys& keys, const Bytes& content, Bytes* message) {
    STACK_OF(X509)* recipients = sk_X509_new_null();
    sk_X509_push(recipients, keys.signer.get());
    const Bio in = reader(content);
    const Message made(present(PKCS7_encrypt(recipients, in.get(), EVP_des_ede3_cbc(), PKCS7_BINARY)));
    sk_X509_free(recipients);
    giveEncoded(made.get(), message);
}

std::size_t open(const Keys& keys, const Bytes& der) {
    const Message read = decoded(der);
    const Bio out = present(Bio(BIO_new(BIO_s_mem())));
    present(PKCS7_decrypt(read.get(), keys.key.get(), keys.signer.get(), out.get(), PKCS7_BINARY));
    return contentLength(out.get());
}

// Its PKCS#7 functions have no digested data; that of CMS has the same bytes.
using Cms = std::unique_ptr<CMS_ContentInfo, Release<CMS_ContentInfo, CMS_ContentInfo_free>>;

void digest(const Bytes& content, Bytes* message) {
    const Bio in = reader(content);
    const Cms made = present(Cms(CMS_digest_create(in.get(), EVP_sha1(), CMS_BINARY)));
    unsigned char* der = nullptr;
    const int length = i2d_CMS_ContentInfo(made.get(), &der);
    present(length > 0);
    if (message != nullptr)
        message->assign(der, der + length);
    OPENSSL_free(der);
}

std::size_t checkDigest(const Bytes& der) {
    const unsigned char* at = der.data();
    const Cms read = present(Cms(d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(der.size()))));
    const Bio out = present(Bio(BIO_new(BIO_s_mem())));
    present(CMS_digest_verify(read.get(), nullptr, out.get(), CMS_BINARY));
    return contentLength(out.get());
}

}  // namespace

MessagePeer openSslMessages(const MessageInputs& inputs) {
    const Keys keys = load(inputs);
    return {"OpenSSL",
            [keys](const Bytes& content, Bytes* message) { sign(keys, content, message); },
            verify,
            [keys](const Bytes& content, Bytes* message) { seal(keys, content, message); },
            [keys](const Bytes& der) { return open(keys, der); },
            digest,
            checkDigest};
}

}  // namespace bench
