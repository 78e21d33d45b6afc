// What the classes of encrypted, enveloped, and signed and enveloped data have in common: the EncryptedContentInfo
// around the ciphertext of a content. For the sources of this room.
#ifndef VT_PKI_ENCRYPTED_CONTENT_H
#define VT_PKI_ENCRYPTED_CONTENT_H

#include "pki/held.h"

class AlgorithmIdentifier;
class ContentInfo;
class EncryptedContentInfo;
class MiByte;
class VT_P11_Alg;
class VT_P11_Key;
class VT_P11_OP;

namespace pki {

// Encryption renews encrypted, and takes over the type of the content and the algorithm. What is encrypted are the
// octets of the content, without tag and length. encryptAttached puts the result in, encryptDetached hands it out.
//
//     -1001   the content has no type, or no content
//     -1003   there is no content to encrypt: it is null
//     other   codes of the algorithm and of the encryption
int encryptAttached(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, const ContentInfo* content,
                    Held<EncryptedContentInfo>& encrypted);
int encryptDetached(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, const ContentInfo* content,
                    Held<EncryptedContentInfo>& encrypted, MiByte& ciphertext);

// Decryption goes by the algorithm that encrypted names, and replaces content on success: the type that is told, and
// the octets as an OCTET STRING.
//
//     -1001   encrypted names no algorithm or no type, or there is no ciphertext in it
//     -1003   there is nothing to decrypt
//     other   codes of the algorithm and of the decryption
int decryptAttached(VT_P11_OP& op, const VT_P11_Key& key, const Held<EncryptedContentInfo>& encrypted,
                    Held<ContentInfo>& content);
int decryptDetached(VT_P11_OP& op, const VT_P11_Key& key, const Held<EncryptedContentInfo>& encrypted,
                    const MiByte& ciphertext, Held<ContentInfo>& content);

// algorithmOf copies out the algorithm that encrypted names: -1003 if there is no encrypted, -1001 if it names none.
int algorithmOf(const Held<EncryptedContentInfo>& encrypted, AlgorithmIdentifier& identifier);

}  // namespace pki

#endif
