// What the classes of the PKCS#7 content types share: the types, a ContentInfo around a value, and values in and out of
// their elements. For the sources of this room and of pki/flat.
#ifndef VT_PKI_CONTENT_H
#define VT_PKI_CONTENT_H

#include "foundation/byte.h"
#include "schema/pkcs.h"

class MiByteBuffer;

namespace pki {

// PKCS#7 section 14.
inline constexpr const char* kDataType = "1.2.840.113549.1.7.1";
inline constexpr const char* kSignedDataType = "1.2.840.113549.1.7.2";
inline constexpr const char* kEnvelopedDataType = "1.2.840.113549.1.7.3";
inline constexpr const char* kSignedAndEnvelopedDataType = "1.2.840.113549.1.7.4";
inline constexpr const char* kDigestedDataType = "1.2.840.113549.1.7.5";
inline constexpr const char* kEncryptedDataType = "1.2.840.113549.1.7.6";

// storeContent resets the message, gives it the type and stores the DER of the value as its content.
void storeContent(ContentInfo& message, const char* type, const AsnObject& value);

// encodeMessage gives the DER that a message has after storeContent, without the copies in between. sizeHint is about
// how much to expect.
void encodeMessage(const char* type, const AsnObject& value, unsigned int sizeHint, MiByteBuffer& der);

// storeOctets resets the message, gives it the type and stores the bytes as an OCTET STRING; storeData makes it one of
// data.
void storeOctets(ContentInfo& message, const char* type, const char* bytes, unsigned int length);
void storeData(ContentInfo& message, const char* bytes, unsigned int length);

// openContent gives the content of a message, which the message keeps. -1001 for a missing type or content, -1009 for
// another type than the one expected.
int openContent(const ContentInfo& message, const char* type, const AsnOctetString*& content);

// contentOctets gives the octets of a content without its tag and length. The result is the content's own storage, or
// scratch.
const MiByte& contentOctets(const AsnOctetString& content, MiByte& scratch);

// octetsOf gives an OCTET STRING of the bytes; anyOf a value in the place of an ANY, which our schemas hold as octets
// with the value's tag.
AsnOctetString octetsOf(const MiByte& bytes);
AsnOctetString anyOf(const AsnObject& value);

// isVersion says whether a version is there and has that value.
bool isVersion(const AsnInteger* version, int expected);

// encodeDer gives the DER of a value, decodeDer reads a value from the front of its DER.
void encodeDer(const AsnObject& value, MiByte& der);
void decodeDer(const MiByte& der, AsnObject& value);

}  // namespace pki

#endif
