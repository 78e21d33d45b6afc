// A message and its ciphertext as one. For the sources of this room.
#ifndef VT_PKI_FLAT_CIPHERTEXT_H
#define VT_PKI_FLAT_CIPHERTEXT_H

#include "pki/flat/flat.h"

class ContentInfo;
class MiByte;

namespace flat {

// giveWithCiphertext stores the DER of a message with the ciphertext put in. The message is one of encrypted or
// enveloped data, composed without it into a new ContentInfo: its tags are taken for those of the format. A ciphertext
// that went through the values would be copied at each layer around it; this way it is written once. -1031.
int32_t giveWithCiphertext(const ContentInfo& message, const MiByte& ciphertext, PKCS_Blob& blob);

}  // namespace flat

#endif
