// What the message functions share. For the sources of this room.
#ifndef VT_PKI_FLAT_MESSAGE_H
#define VT_PKI_FLAT_MESSAGE_H

#include <new>

#include "asn/set_of.h"
#include "foundation/exceptions.h"
#include "pki/flat/flat.h"
#include "schema/forward.h"

class MiByte;
class VT_P11_Alg;
class VT_P11_Key;
class VT_SignerInfo;

namespace flat {

// guarded runs the body of a flat function: no exception leaves it. malformed is the function's constant for the
// exceptions of the toolkit.
template <class Body>
int32_t guarded(int32_t malformed, Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return VT_E_MEMORY;
    } catch (...) {
        return malformed;
    }
}

// anyNull says whether one of the arguments is null.
template <class... Pointers>
bool anyNull(const Pointers*... pointers) {
    return ((pointers == nullptr) || ...);
}

// bytesOf gives a copy of a blob's bytes, decodeBlob what they decode to.
MiByte bytesOf(const PKCS_Blob& blob);
void decodeBlob(const PKCS_Blob& blob, AsnObject& value);

// giveBlob stores a copy of the bytes in an output blob. -1031.
int32_t giveBlob(const char* bytes, uint32_t length, PKCS_Blob& blob);
int32_t giveBlob(const MiByte& bytes, PKCS_Blob& blob);

// giveDer stores the DER of a value in an output blob. -1031. giveLastDer resets the value as soon as it is encoded, so
// that a large one is not held beside its copies.
int32_t giveDer(const AsnObject& value, PKCS_Blob& blob);
int32_t giveLastDer(AsnObject& value, PKCS_Blob& blob);

// wrapInput gives the content that a message is made around: the bytes as data, or the message that they are.
int32_t wrapInput(PKCS_Ctx* ctx, const PKCS_Blob& data, ContentInfo& content);

// wrapData gives the bytes as data, whatever they are.
void wrapData(const PKCS_Blob& data, ContentInfo& content);

// unwrapOutput stores what a message was made around: bytes of data, any other message as DER. -1001 for a missing
// type, and for data without content.
int32_t unwrapOutput(const ContentInfo& content, PKCS_Blob& data);

// readAlg sets the type, the IV if there is one, and the effective bits.
int32_t readAlg(const PKCS_Alg& record, VT_P11_Alg& alg);

// readPrivateKey makes a key of a private key's record.
int32_t readPrivateKey(const PKCS_PriKey& record, VT_P11_Key& key);

// fillList appends the DER of each certificate, or revocation list, to a list; null sets and lists are passed over.
// -1001 for a choice that has no certificate, -1031.
int32_t fillList(VT_List* list, const AsnSetOf<ExtendedCertificateOrCertificate>* certificates);
int32_t fillList(VT_List* list, const AsnSetOf<CertificateList>* certificateLists);

// What the signers of a message are checked with. The certificates may be null, and so may external.
struct SignerCheck {
    PKCS_Ctx* ctx;
    const AsnSetOf<ExtendedCertificateOrCertificate>* certificates;
    const PKCS_Blob* external;
    const ContentInfo* content;
};

// checkSigner looks for a signer's certificate and checks its signature. verified says whether it is good; it is not,
// and the result is 0 all the same, if there is no certificate or the digest differs: another signer may do.
int32_t checkSigner(const SignerCheck& check, const VT_SignerInfo& signer, bool& verified);

}  // namespace flat

#endif
