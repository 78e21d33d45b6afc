// What the readers of encrypted and enveloped messages share: the message taken apart, the session key of its first
// recipient, and decryption by mode. For the sources of this room.
#ifndef VT_PKI_FLAT_OPENING_H
#define VT_PKI_FLAT_OPENING_H

#include "foundation/byte.h"
#include "pki/enveloped_access.h"
#include "pki/flat/message.h"
#include "pki/recipient_info.h"
#include "schema/schema.h"
#include "token/token.h"

namespace flat {

// openMessage takes a message apart. -1013 for a context without operation object, which comes before what is wrong
// with a message that can be decoded.
template <class Message>
int32_t openMessage(const PKCS_Ctx* ctx, const PKCS_Blob& blob, Message& message) {
    ContentInfo content;
    decodeBlob(blob, content);
    return ctx->operation == nullptr ? int32_t{token::kNoOperation} : pki::EnvelopedAccess::decompose(message, content);
}

// openSessionKey makes a key for the content's algorithm of what the first recipient's part holds. No recipient is
// matched against the private key: callers bring the one that fits. Without a recipient the key stays empty, and
// decryption then tells.
template <class Message>
int32_t openSessionKey(VT_P11_OP& op, const Message& message, const VT_P11_Key& privateKey,
                       const AlgorithmIdentifier& algorithm, VT_P11_Key& sessionKey) {
    MiByte bytes;
    if (message.getRecipientInfoTotal() > 0) {
        RecipientInfo first;
        VT_RecipientInfo recipient;
        int32_t result = message.getRecipientInfoByIndex(0, first);
        if (result == 0)
            result = recipient.decomposeRecipientInfo(first);
        if (result == 0)
            result = recipient.decryptKey(op, privateKey, bytes);
        if (result != 0)
            return result;
    }
    return sessionKey.setSessionKey(bytes, static_cast<int>(bytes.GetLength()), algorithm);
}

// decryptContent decrypts what the message carries, or a ciphertext that comes apart from it.
template <class Message>
int32_t decryptContent(VT_P11_OP& op, Message& message, int32_t mode, const VT_P11_Key& sessionKey,
                       const PKCS_Blob* ciphertext) {
    switch (mode) {
        case PKCS7_ATTACHED:
            return message.decomposeAttachedEncryptedContentInfo(op, sessionKey);
        case PKCS7_DETACHED:
            if (ciphertext == nullptr)
                return VT_E_NULL_ARGUMENT;
            if (ciphertext->data == nullptr)
                return token::kMaterialMissing;
            return message.decomposeDetachedEncryptedContentInfo(op, sessionKey, bytesOf(*ciphertext));
        default:
            return token::kUnsupported;
    }
}

}  // namespace flat

#endif
