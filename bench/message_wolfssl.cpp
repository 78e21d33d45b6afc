#include <wolfssl/options.h>
// The options first.
#include <wolfssl/wolfcrypt/pkcs7.h>

#include <cstdlib>
#include <memory>

#include "bench/message_peers.h"

namespace bench {
namespace {

struct ReleaseMessage {
    void operator()(PKCS7* message) const { wc_PKCS7_Free(message); }
};
using Message = std::unique_ptr<PKCS7, ReleaseMessage>;

int notNegative(int code) {
    if (code < 0)
        std::abort();
    return code;
}

std::shared_ptr<WC_RNG> newRandom() {
    std::shared_ptr<WC_RNG> made(new WC_RNG, [](WC_RNG* random) {
        wc_FreeRng(random);
        delete random;
    });
    notNegative(wc_InitRng(made.get()));
    return made;
}

byte* bytesOf(const Bytes& bytes) {
    return const_cast<byte*>(bytes.data());
}

word32 lengthOf(const Bytes& bytes) {
    return static_cast<word32>(bytes.size());
}

Message newMessage(const MessageInputs& inputs, bool withKey) {
    Message made(wc_PKCS7_New(nullptr, INVALID_DEVID));
    notNegative(wc_PKCS7_InitWithCert(made.get(), withKey ? bytesOf(inputs.signer) : nullptr,
                                      withKey ? lengthOf(inputs.signer) : 0));
    if (withKey) {
        made->privateKey = bytesOf(inputs.key);
        made->privateKeySz = lengthOf(inputs.key);
    }
    return made;
}

void setContent(PKCS7* message, const Bytes& content) {
    message->content = bytesOf(content);
    message->contentSz = lengthOf(content);
    message->contentOID = DATA;
}

void sign(const MessageInputs& inputs, WC_RNG* random, const Bytes& content, Bytes* message) {
    const Message made = newMessage(inputs, true);
    setContent(made.get(), content);
    made->rng = random;
    made->hashOID = SHAh;
    made->encryptOID = RSAk;
    notNegative(wc_PKCS7_NoDefaultSignedAttribs(made.get()));
    notNegative(wc_PKCS7_AddCertificate(made.get(), bytesOf(inputs.authority), lengthOf(inputs.authority)));
    notNegative(wc_PKCS7_AddCertificate(made.get(), bytesOf(inputs.root), lengthOf(inputs.root)));
    Bytes out(content.size() + 4096);
    out.resize(static_cast<std::size_t>(notNegative(wc_PKCS7_EncodeSignedData(made.get(), out.data(), lengthOf(out)))));
    if (message != nullptr)
        *message = out;
}

std::size_t verify(const MessageInputs& inputs, const Bytes& der) {
    const Message read = newMessage(inputs, false);
    notNegative(wc_PKCS7_VerifySignedData(read.get(), bytesOf(der), lengthOf(der)));
    return Bytes(read->content, read->content + read->contentSz).size();  // it points into the message
}

void seal(const MessageInputs& inputs, WC_RNG* random, const Bytes& content, Bytes* message) {
    const Message made = newMessage(inputs, true);
    setContent(made.get(), content);
    made->rng = random;
    made->encryptOID = DES3b;
    Bytes out(content.size() + 4096);
    out.resize(
        static_cast<std::size_t>(notNegative(wc_PKCS7_EncodeEnvelopedData(made.get(), out.data(), lengthOf(out)))));
    if (message != nullptr)
        *message = out;
}

std::size_t open(const MessageInputs& inputs, const Bytes& der) {
    const Message read = newMessage(inputs, true);
    Bytes out(der.size());
    return static_cast<std::size_t>(
        notNegative(wc_PKCS7_DecodeEnvelopedData(read.get(), bytesOf(der), lengthOf(der), out.data(), lengthOf(out))));
}

}  // namespace

MessagePeer wolfSslMessages(const MessageInputs& inputs) {
    const std::shared_ptr<WC_RNG> random = newRandom();
    return {"wolfSSL", [=](const Bytes& content, Bytes* message) { sign(inputs, random.get(), content, message); },
            [=](const Bytes& der) { return verify(inputs, der); },
            [=](const Bytes& content, Bytes* message) { seal(inputs, random.get(), content, message); },
            [=](const Bytes& der) { return open(inputs, der); }};
}

}  // namespace bench
