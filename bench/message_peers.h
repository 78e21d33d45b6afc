// PKCS#7 messages by other libraries, as their public interfaces offer them. A file for each library, as their headers
// do not go together.
#ifndef VT_BENCH_MESSAGE_PEERS_H
#define VT_BENCH_MESSAGE_PEERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// data/message.sh made them: the key as PKCS#8, the certificates as DER.
struct MessageInputs {
    Bytes key;
    Bytes signer;
    Bytes authority;
    Bytes root;
};

// One library, its key and certificates made ready beforehand. What a library does not have is null. All of them abort
// when something goes wrong.
//
//     sign     content to signed data: SHA-1 with RSA over the content itself, no attributes, the three certificates
//     verify   signed data to the number of content bytes: the signature by the signer's certificate that is found in
//              the message; nobody judges the certificates
//     seal     content to enveloped data: triple DES in CBC mode, one recipient
//     open     enveloped data to the number of content bytes
//     digest   content to digested data: SHA-1
//     check    digested data to the number of content bytes, the digest compared
//
// sign, seal and digest make a message in the library's own way, and copy it for who wants it.
struct MessagePeer {
    std::string who;
    std::function<void(const Bytes& content, Bytes* message)> sign;
    std::function<std::size_t(const Bytes& message)> verify;
    std::function<void(const Bytes& content, Bytes* message)> seal;
    std::function<std::size_t(const Bytes& message)> open;
    std::function<void(const Bytes& content, Bytes* message)> digest = nullptr;
    std::function<std::size_t(const Bytes& message)> check = nullptr;
    std::vector<std::string> notVerified = {};  // whose messages it refuses by design
    std::vector<std::string> notOpened = {};
};

MessagePeer ourMessages(const MessageInputs& inputs);
MessagePeer gnuTlsMessages(const MessageInputs& inputs);
MessagePeer ksbaMessages(const MessageInputs& inputs);
MessagePeer nssMessages(const MessageInputs& inputs);
MessagePeer openSslMessages(const MessageInputs& inputs);
MessagePeer wolfSslMessages(const MessageInputs& inputs);

}  // namespace bench

#endif
