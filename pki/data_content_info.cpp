#include "pki/data_content_info.h"

#include "asn/asn.h"
#include "pki/collection.h"
#include "pki/content.h"
#include "schema/pkcs.h"
#include "token/codes.h"

VT_DataContentInfo::VT_DataContentInfo() = default;
VT_DataContentInfo::VT_DataContentInfo(const VT_DataContentInfo& other) = default;
VT_DataContentInfo& VT_DataContentInfo::operator=(const VT_DataContentInfo& other) = default;
VT_DataContentInfo::~VT_DataContentInfo() = default;

int VT_DataContentInfo::setData(const MiByte& bytes) {
    data.set(bytes);
    return 0;
}

int VT_DataContentInfo::getData(MiByte& bytes) const {
    return pki::copyField(data, bytes);
}

int VT_DataContentInfo::composeDataContentInfo(ContentInfo& message) const {
    if (!data)
        return token::kMaterialMissing;
    pki::storeData(message, data->GetChars(), data->GetLength());
    return 0;
}

int VT_DataContentInfo::decomposeDataContentInfo(const ContentInfo& message) {
    const AsnOctetString* content = nullptr;
    const int result = pki::openContent(message, pki::kDataType, content);
    if (result != 0)
        return result;
    MiByte scratch;
    data.set(pki::contentOctets(*content, scratch));
    return 0;
}
