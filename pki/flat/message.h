// What the message functions share. For the sources of this room.
#ifndef VT_PKI_FLAT_MESSAGE_H
#define VT_PKI_FLAT_MESSAGE_H

#include <new>

#include "asn/set_of.h"
#include "foundation/exceptions.h"
#include "pki/flat/certificate_search.h"
#include "pki/flat/flat.h"
#include "schema/forward.h"

class MiByte;
class RSAPrivateKey;
class RSAPublicKey;
class VT_P11_Alg;
class VT_P11_Key;
class VT_SignerInfo;

namespace pki {
class SignedContent;
}

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

// giveDer stores the DER of a value in an output blob. -1031.
int32_t giveDer(const AsnObject& value, PKCS_Blob& blob);

// wrapInput gives the content that a message is made around: the bytes as data, or the message that they are.
int32_t wrapInput(PKCS_Ctx* ctx, const PKCS_Blob& data, ContentInfo& content);

// wrapData gives the bytes as data, whatever they are.
void wrapData(const PKCS_Blob& data, ContentInfo& content);

// unwrapOutput stores what a message was made around: bytes of data, any other message as DER. -1001 for a missing
// type, and for data without content.
int32_t unwrapOutput(const ContentInfo& content, PKCS_Blob& data);

// readAlg sets the type, the IV if there is one, and the effective bits.
int32_t readAlg(const PKCS_Alg& record, VT_P11_Alg& alg);

// readPrivateKey and readPublicKey make a key of a record. What the record lacks, the key lacks: its use tells.
int32_t readPrivateKey(const PKCS_PriKey& record, VT_P11_Key& key);
int32_t readPublicKey(const PKCS_PubKey& record, VT_P11_Key& key);

// readKeyObject makes a key of what signs for a key object: the token's key of the label for kind 4, else the private
// key. -1010 for an absent or empty label, -1031.
int32_t readKeyObject(const VTPKCS_KeyObj& object, VT_P11_Key& key);

// givePublicKey and givePrivateKey store copies of a key's numbers in a record. False, with the record as it was, if
// the key lacks them or memory is exhausted.
bool givePublicKey(const VT_P11_Key& key, PKCS_PubKey& record);
bool givePrivateKey(const VT_P11_Key& key, PKCS_PriKey& record);

// giveNumbers does the same with the numbers of a key that was decoded. Codes of VT_P11_Key for numbers that are
// missing or zero, -1031.
int32_t giveNumbers(const RSAPublicKey& numbers, PKCS_PubKey& record);
int32_t giveNumbers(const RSAPrivateKey& numbers, PKCS_PriKey& record);

// holds says whether there are bytes in a number of a record.
inline bool holds(const PKCS_Blob& number) {
    return number.data != nullptr && number.length != 0;
}

// appendNode appends bytes, of which there are some, to a list. -1031.
int32_t appendNode(VT_List& list, const char* bytes, uint32_t length);
int32_t appendNode(VT_List& list, const MiByte& bytes);

// fillList appends the DER of each certificate, or revocation list, to a list; null sets and lists are passed over.
// -1001 for a choice that has no certificate, -1031.
int32_t fillList(VT_List* list, const AsnSetOf<ExtendedCertificateOrCertificate>* certificates);
int32_t fillList(VT_List* list, const AsnSetOf<CertificateList>* certificateLists);

// What the signers of a message are checked with. external may be null.
struct SignerCheck {
    PKCS_Ctx* ctx;
    CertificateSearch& certificates;
    const PKCS_Blob* external;
    pki::SignedContent& content;
};

// checkSigner looks for a signer's certificate and checks its signature. verified says whether it is good; it is not,
// and the result is 0 all the same, if there is no certificate or the digest differs: another signer may do.
int32_t checkSigner(const SignerCheck& check, const VT_SignerInfo& signer, bool& verified);

}  // namespace flat

#endif
