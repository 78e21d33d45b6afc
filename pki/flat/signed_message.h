// What the functions for signed messages share with their namesakes for key objects. For the sources of this room.
#ifndef VT_PKI_FLAT_SIGNED_MESSAGE_H
#define VT_PKI_FLAT_SIGNED_MESSAGE_H

#include "pki/flat/message.h"
#include "pki/signed_parts.h"

namespace flat {

// openSigned decodes a message into value, to whose elements parts then points.
int32_t openSigned(const PKCS_Blob& message, SignedData& value, pki::SignedParts& parts);

// What a signed message is made of. The lists may be null.
struct SignedRequest {
    const PKCS_Blob& data;
    const PKCS_Alg& digest;
    const PKCS_Alg& signature;
    int32_t mode;
    const PKCS_Blob& signerCertificate;
    const VT_P11_Key& key;
    const VT_List* certificates;
    const VT_List* certificateLists;
};

// writeSigned makes a message with one signer.
int32_t writeSigned(PKCS_Ctx* ctx, const SignedRequest& request, PKCS_Blob& message);

}  // namespace flat

#endif
