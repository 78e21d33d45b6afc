// VT_DataContentInfo: plain bytes as a PKCS#7 message (RFC 2315 section 8).
//
//     ContentInfo
//       contentType   1.2.840.113549.1.7.1
//       content       [0] OCTET STRING of the data
#ifndef VT_PKI_DATA_CONTENT_INFO_H
#define VT_PKI_DATA_CONTENT_INFO_H

#include "foundation/byte.h"
#include "foundation/export.h"
#include "pki/held.h"

class ContentInfo;

// Copies are deep. Operations return 0 for success; exceptions of the values pass through.
class VT_API VT_DataContentInfo {
  public:
    VT_DataContentInfo();
    VT_DataContentInfo(const VT_DataContentInfo& other);
    VT_DataContentInfo& operator=(const VT_DataContentInfo& other);
    ~VT_DataContentInfo();

    // setData stores a copy of the bytes, which may be none. getData copies them out; -1003 if none were set.
    int setData(const MiByte& bytes);
    int getData(MiByte& bytes) const;

    // composeDataContentInfo fills message, whatever it held. -1003 if no data were set.
    int composeDataContentInfo(ContentInfo& message) const;

    // decomposeDataContentInfo takes the data of a message: the octets of its content, of whatever tag. -1001 for a
    // missing type or content, -1009 for another type; the data stay as they were then.
    int decomposeDataContentInfo(const ContentInfo& message);

  private:
    Held<MiByte> data;
};

#endif
