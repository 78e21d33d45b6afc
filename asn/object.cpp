#include "asn/object.h"

#include <memory>

#include "asn/der_decode.h"
#include "asn/der_encode.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

AsnObject::AsnObject(const AsnObject& other) : MiObject(other) {
    SetAsnBaseData(&other);
}

AsnObject::~AsnObject() {
    delete asnByte;
}

AsnObject& AsnObject::operator=(const AsnObject& other) = default;

bool AsnObject::IsAsnChoice() const {
    return false;
}

void AsnObject::SetAsnName(const char* name) {
    asnName = name;
}

void AsnObject::SetAsnName(const MiString& name) {
    asnName = name;
}

void AsnObject::SetAsnTag(ASN_TAG_CLASS tagClass, ASN_TAG_MODE tagMode, ASN_TAG_FORM tagForm, unsigned int tagNumber) {
    asnTag = {tagClass, tagMode, tagForm, tagNumber};
}

void AsnObject::SetAsnTag(ASN_TAG_CLASS tagClass, ASN_TAG_MODE tagMode, unsigned int tagNumber) {
    asnTag = {tagClass, tagMode, asnTag.tagForm, tagNumber};
}

// The copy is made before this, since the source may be the cache itself.
void AsnObject::replaceCache(MiByte* owned, ASN_BYTE_TYPE byteType) {
    delete asnByte;
    asnByte = owned;
    asnByteType = byteType;
}

void AsnObject::SetAsnByte(const MiByte* bytes) {
    replaceCache(bytes == nullptr ? nullptr : new MiByte(*bytes), ASN_WHOLE_BYTE);
}

void AsnObject::SetAsnByte(const char* p, unsigned int offset, unsigned int n) {
    replaceCache(p == nullptr ? nullptr : new MiByte(p, offset, n), ASN_WHOLE_BYTE);
}

void AsnObject::SetAsnContentByte(const MiByte* bytes) {
    replaceCache(bytes == nullptr ? nullptr : new MiByte(*bytes), ASN_CONTENT_BYTE);
}

void AsnObject::SetAsnContentByte(const char* p, unsigned int offset, unsigned int n) {
    replaceCache(p == nullptr ? nullptr : new MiByte(p, offset, n), ASN_CONTENT_BYTE);
}

void AsnObject::ClearByte() {
    replaceCache(nullptr, ASN_NO_BYTE);
}

void AsnObject::SetAsnBaseData(const AsnObject* other) {
    if (other == this)
        return;
    if (other == nullptr) {
        Delt();
        return;
    }
    std::unique_ptr<MiByte> cache(other->asnByte == nullptr ? nullptr : new MiByte(*other->asnByte));
    asnName = other->asnName;  // the last that memory can run out in
    asnTag = other->asnTag;
    replaceCache(cache.release(), other->asnByteType);
    asnState = other->asnState;
    asnPresent = other->asnPresent;
    asnAnyType = other->asnAnyType;
}

bool AsnObject::Equals(const AsnObject* other) const {
    if (other == nullptr)
        throw MiInvalidArgumentExp();
    if (!EqualsContent(other))
        return false;
    if (this == other)
        return true;
    return asnName == other->asnName && asnTag == other->asnTag && asnState == other->asnState &&
           asnPresent == other->asnPresent;
}

unsigned int AsnObject::DerEncode(MiByteBuffer& out, unsigned int offset) const {
    AsnDerEncode enc;
    return Encode(enc, out, offset);
}

unsigned int AsnObject::DerEncodeContent(MiByteBuffer& out, unsigned int offset) const {
    AsnDerEncode enc;
    return EncodeContent(enc, out, offset);
}

unsigned int AsnObject::DerDecode(const MiByte& in, unsigned int offset) {
    AsnDerDecode dec;
    return Decode(dec, in, offset);
}

unsigned int AsnObject::DerDecodeContent(const MiByte& in, unsigned int offset, unsigned int length) {
    AsnDerDecode dec;
    return DecodeContent(dec, in, offset, length);
}

void AsnObject::Init() {
    asnName.SetChars(nullptr);
    asnTag = AsnTag();
    asnByte = nullptr;
    asnByteType = ASN_NO_BYTE;
    asnState = ASN_MANDATORY;
    asnPresent = false;
    asnAnyType = false;
}

void AsnObject::Delt() {
    delete asnByte;
    Init();
}
