#include <memory>

#include "foundation/calendar_time.h"
#include "pki/certificate.h"
#include "pki/enveloped_access.h"
#include "pki/enveloped_data_content_info.h"
#include "pki/flat/ciphertext.h"
#include "pki/flat/flat.h"
#include "pki/flat/opening.h"

namespace {

using pki::EnvelopedAccess;

// ---- Reading

int32_t readEnveloped(PKCS_Ctx* ctx, const PKCS_Blob& message, int32_t mode, const PKCS_PriKey& record,
                      const PKCS_Blob* ciphertext, PKCS_Blob& data) {
    VT_P11_Key privateKey;
    int32_t result = flat::readPrivateKey(record, privateKey);
    VT_EnvelopedDataContentInfo enveloped;
    if (result == 0)
        result = flat::openMessage(ctx, message, enveloped);
    AlgorithmIdentifier algorithm;
    if (result == 0)
        result = enveloped.getEncryptedContentInfoAlgorithmIdentifier(algorithm);
    VT_P11_Key sessionKey;
    if (result == 0)
        result = flat::openSessionKey(*ctx->operation, enveloped, privateKey, algorithm, sessionKey);
    if (result == 0)
        result = flat::decryptContent(*ctx->operation, enveloped, mode, sessionKey, ciphertext);
    // A detached read has always confirmed that the ciphertext opens, and handed nothing back.
    if (result != 0 || mode != PKCS7_ATTACHED)
        return result;
    return flat::unwrapOutput(*EnvelopedAccess::content(enveloped), data);
}

// ---- Writing

struct EnvelopedParts {
    const PKCS_Blob& data;
    const PKCS_Alg& contentAlg;
    const PKCS_Alg& keyAlg;
    int32_t mode;
    const PKCS_Blob& certificate;
};

// Whom a message is for, and how.
struct Envelope {
    VT_Certificate certificate;
    VT_RecipientInfo recipient;
    VT_P11_Alg contentAlg;
    VT_P11_Key sessionKey;
};

int32_t readRecipient(const PKCS_Blob& certificate, Envelope& envelope) {
    int32_t result = envelope.certificate.setCertificate(flat::bytesOf(certificate));
    IssuerAndSerialNumber identity;
    if (result == 0)
        result = envelope.certificate.getIssuerAndSerialNumber(identity);
    return result != 0 ? result : envelope.recipient.setIssuerAndSerialNumber(identity);
}

int32_t readAlgorithms(const EnvelopedParts& parts, Envelope& envelope) {
    VT_P11_Alg keyAlg;
    AlgorithmIdentifier identifier;
    int32_t result = keyAlg.setAlgType(parts.keyAlg.algType);
    if (result == 0)
        result = keyAlg.getAlgorithmIdentifier(identifier);
    if (result == 0)
        result = envelope.recipient.setKeyEncryptionAlgorithmIdentifier(identifier);
    return result != 0 ? result : flat::readAlg(parts.contentAlg, envelope.contentAlg);
}

// The seed is the current second, which makes a session key that can be found by trying: docs/security.md.
int32_t makeSessionKey(VT_P11_OP& op, int bits, MiByte& bytes) {
    MiTime now;
    now.SetCurrentTime();
    const MiString text = now.GetTimeString(nullptr);
    return op.GenerateRandom(bytes, bits / 8, MiByte(text.GetChars(), text.GetLength()));
}

int32_t readRecipientsKey(const VT_Certificate& certificate, VT_P11_Key& key) {
    RSAPublicKey numbers;
    const int32_t result = certificate.getRSAPublicKey(numbers);
    return result != 0 ? result : key.setRSAPublicKey(numbers);
}

int32_t sealSessionKey(VT_P11_OP& op, Envelope& envelope, RecipientInfo& recipient) {
    MiByte bytes;
    int32_t result = makeSessionKey(op, envelope.contentAlg.getEffectiveBits(), bytes);
    AlgorithmIdentifier algorithm;
    if (result == 0)
        result = envelope.contentAlg.getAlgorithmIdentifier(algorithm);
    if (result == 0)
        result = envelope.sessionKey.setSessionKey(bytes, static_cast<int>(bytes.GetLength()), algorithm);
    VT_P11_Key publicKey;
    if (result == 0)
        result = readRecipientsKey(envelope.certificate, publicKey);
    if (result == 0)
        result = envelope.recipient.encryptKey(op, publicKey, bytes);
    return result != 0 ? result : envelope.recipient.composeRecipientInfo(recipient);
}

int32_t composeEnveloped(PKCS_Ctx* ctx, const EnvelopedParts& parts, MiByte& ciphertext, ContentInfo& content) {
    if (parts.data.data == nullptr || parts.certificate.data == nullptr)
        return token::kMaterialMissing;
    Envelope envelope;
    int32_t result = flat::wrapInput(ctx, parts.data, content);
    if (result == 0)
        result = readRecipient(parts.certificate, envelope);
    if (result == 0)
        result = readAlgorithms(parts, envelope);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    RecipientInfo recipient;
    if (result == 0)
        result = sealSessionKey(*ctx->operation, envelope, recipient);
    if (result != 0)
        return result;

    VT_EnvelopedDataContentInfo enveloped;
    enveloped.addRecipientInfo(recipient);
    result = EnvelopedAccess::encrypt(enveloped, *ctx->operation, envelope.contentAlg, envelope.sessionKey, content,
                                      ciphertext);
    content = ContentInfo();  // the members of a nested message keep the tags that they came with
    return result != 0 ? result : enveloped.composeEnvelopedDataContentInfo(content);
}

int32_t writeEnveloped(PKCS_Ctx* ctx, const EnvelopedParts& parts, PKCS_Blob* ciphertextOut, PKCS_Blob& message) {
    MiByte ciphertext;
    ContentInfo content;
    int32_t result = composeEnveloped(ctx, parts, ciphertext, content);
    const bool detached = parts.mode == PKCS7_DETACHED;
    PKCS_Blob apart = {nullptr, 0};
    if (result == 0 && ciphertextOut != nullptr)
        result = flat::giveBlob(detached ? ciphertext : MiByte(), apart);
    std::unique_ptr<uint8_t, void (*)(void*)> owner(apart.data, T_free);
    if (result == 0)
        result = detached ? flat::giveDer(content, message) : flat::giveWithCiphertext(content, ciphertext, message);
    if (result == 0 && ciphertextOut != nullptr) {
        *ciphertextOut = apart;
        (void)owner.release();
    }
    return result;
}

}  // namespace

int32_t PKCS7_ReadEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode, const PKCS_PriKey* key,
                                   const PKCS_Blob* ciphertext, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, key, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return readEnveloped(ctx, *message, mode, *key, ciphertext, *data); });
}

int32_t PKCS7_WriteEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* contentAlg,
                                    const PKCS_Alg* keyAlg, int32_t mode, const PKCS_Blob* certificate,
                                    PKCS_Blob* ciphertext, PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, contentAlg, keyAlg, certificate, message))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return writeEnveloped(ctx, {*data, *contentAlg, *keyAlg, mode, *certificate}, ciphertext, *message);
    });
}
