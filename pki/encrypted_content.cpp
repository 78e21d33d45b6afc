#include "pki/encrypted_content.h"

#include "asn/asn.h"
#include "foundation/exceptions.h"
#include "pki/content.h"
#include "schema/schema.h"
#include "token/token.h"

namespace pki {

int encryptDetached(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, const ContentInfo* content,
                    Held<EncryptedContentInfo>& encrypted, MiByte& ciphertext) {
    if (content == nullptr)
        return token::kMaterialMissing;
    EncryptedContentInfo& target = encrypted.renew();
    const AsnOid* type = content->GetContentType();
    if (type == nullptr)
        return token::kElementAbsent;
    target.SetContentType(*type);

    AlgorithmIdentifier identifier;
    const int result = alg.getAlgorithmIdentifier(identifier);
    if (result != 0)
        return result;
    target.SetContentEncryptionAlgorithm(identifier);

    const AsnOctetString* plain = content->GetContent();
    if (plain == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    return op.Encrypt(alg, key, contentOctets(*plain, scratch), ciphertext);
}

int encryptAttached(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, const ContentInfo* content,
                    Held<EncryptedContentInfo>& encrypted) {
    MiByte ciphertext;
    const int result = encryptDetached(op, alg, key, content, encrypted, ciphertext);
    if (result != 0)
        return result;
    auto& octets = dynamic_cast<AsnOctetString&>(*encrypted->Find("encryptedContent"));
    octets.SetData(ciphertext);
    octets.SetAsnPresent(true);
    return 0;
}

namespace {

int loadAlgorithm(const EncryptedContentInfo& encrypted, VT_P11_Alg& alg) {
    const AlgorithmIdentifier* identifier = encrypted.GetContentEncryptionAlgorithm();
    return identifier == nullptr ? token::kElementAbsent : alg.setAlgorithmIdentifier(*identifier);
}

int decrypt(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, const EncryptedContentInfo& encrypted,
            const MiByte& ciphertext, Held<ContentInfo>& content) {
    MiByte plain;
    const int result = op.Decrypt(alg, key, ciphertext, plain);
    if (result != 0)
        return result;
    const AsnOid* type = encrypted.GetContentType();
    if (type == nullptr)
        return token::kElementAbsent;

    storeOctets(content.renew(), type->GetData().GetChars(), plain.GetChars(), plain.GetLength());
    return 0;
}

}  // namespace

int decryptAttached(VT_P11_OP& op, const VT_P11_Key& key, const Held<EncryptedContentInfo>& encrypted,
                    Held<ContentInfo>& content) {
    if (!encrypted)
        return token::kMaterialMissing;
    VT_P11_Alg alg;
    const int result = loadAlgorithm(*encrypted, alg);
    if (result != 0)
        return result;
    const AsnOctetString* ciphertext = encrypted->GetEncryptedContent();
    if (ciphertext == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    return decrypt(op, alg, key, *encrypted, contentOctets(*ciphertext, scratch), content);
}

int decryptDetached(VT_P11_OP& op, const VT_P11_Key& key, const Held<EncryptedContentInfo>& encrypted,
                    const MiByte& ciphertext, Held<ContentInfo>& content) {
    if (!encrypted)
        return token::kMaterialMissing;
    VT_P11_Alg alg;
    const int result = loadAlgorithm(*encrypted, alg);
    if (result != 0)
        return result;
    return decrypt(op, alg, key, *encrypted, ciphertext, content);
}

int algorithmOf(const Held<EncryptedContentInfo>& encrypted, AlgorithmIdentifier& identifier) {
    if (!encrypted)
        return token::kMaterialMissing;
    const AlgorithmIdentifier* named = encrypted->GetContentEncryptionAlgorithm();
    if (named == nullptr)
        return token::kElementAbsent;
    identifier = *named;
    return 0;
}

}  // namespace pki
