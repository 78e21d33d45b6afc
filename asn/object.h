// AsnObject: root of every ASN.1 value.
//
// A value is a live object rather than a node of a parsed tree. It knows its name inside its parent, its tag, its role
// there and whether it is present, and it can keep the very bytes that it was read from. It does not encode or decode
// itself: it hands itself to a visitor (encode.h, decode.h), by the overload for its own type.
//
// The byte cache is a mode of the object, not a memo:
//
//     ASN_NO_BYTE        the value counts and the cache is ignored
//     ASN_CONTENT_BYTE   the content octets are kept as they are; tag and length are written around them
//     ASN_WHOLE_BYTE     the whole element, tag and length included, is kept as it is
//
// A decode in one of the last two modes stores bytes and does not parse them, so the value stays reset; an encode
// gives the stored bytes back. A change of the value does not touch the cache: the old bytes stay in force until
// ClearByte or OffByte. That is how a signature is checked over exactly what was received: switch the element, or all
// direct members of an element, into the mode before decoding, and read GetAsnByte afterwards.
//
// Nothing keeps the value of a DEFAULT: an absent member stays absent, and the caller decides what that means.
#ifndef VT_ASN_OBJECT_H
#define VT_ASN_OBJECT_H

#include <cstdint>
#include <iosfwd>

#include "asn/tag.h"
#include "foundation/byte.h"
#include "foundation/export.h"
#include "foundation/object.h"
#include "foundation/string.h"

class AsnDecode;
class AsnEncode;
class MiByteBuffer;

class VT_API AsnObject : public MiObject {
  public:
    // The role of a value in its parent.
    enum ASN_STATE : int {
        ASN_MANDATORY = 0,  // an encode without it fails
        ASN_OPTIONAL = 1,   // may be absent
        ASN_DEFAULT = 2,    // may be absent, and no value stands in for it
    };

    // The mode of the byte cache, as told above.
    enum ASN_BYTE_TYPE : int {
        ASN_NO_BYTE = 0,       // the value counts
        ASN_CONTENT_BYTE = 1,  // the content octets count
        ASN_WHOLE_BYTE = 2,    // the whole element counts
    };

    ~AsnObject() override;

    // Reset clears the value (null) or copies that of other, which must have the same dynamic type: that is not
    // verified. Tag, name, role, flags and cache stay. With the object itself nothing happens.
    virtual void Reset(const AsnObject* other) = 0;

    // EqualsContent compares values only. False for null and for another type, true for the object itself.
    virtual bool EqualsContent(const AsnObject* other) const = 0;

    // Double dispatch: each calls the visitor's overload for the type at hand. The contracts are those of AsnEncode
    // and AsnDecode: out is first cut back to offset, and the result is the number of bytes written or consumed.
    virtual unsigned int Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const = 0;
    virtual unsigned int EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const = 0;
    virtual unsigned int Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset, unsigned int length) = 0;

    // True for AsnChoice and what derives from it.
    virtual bool IsAsnChoice() const;

    // A deep copy of the same dynamic type, which the caller owns.
    virtual AsnObject* Clone() const = 0;

    // Prints the value as indented text (ostream.h).
    virtual void ToOstream(std::basic_ostream<char>& os, unsigned int level) const = 0;

    // Memberwise, and so the cache's pointer too: afterwards both objects point at one cache, and the old one of the
    // target is lost. It must not be used on objects that both live on. Every concrete class assigns through
    // SetAsnBaseData instead.
    AsnObject& operator=(const AsnObject& other);

    // The name inside the parent, by which members are found and printed; empty for a value that stands alone. Null
    // empties it.
    void SetAsnName(const char* name);
    void SetAsnName(const MiString& name);
    const MiString& GetAsnName() const { return asnName; }

    // The tag that the value is written with, and after a decode the one that it was read with.
    void SetAsnTag(const AsnTag& tag) { asnTag = tag; }
    void SetAsnTag(ASN_TAG_CLASS tagClass, ASN_TAG_MODE tagMode, ASN_TAG_FORM tagForm, unsigned int tagNumber);
    // Leaves the form as it is.
    void SetAsnTag(ASN_TAG_CLASS tagClass, ASN_TAG_MODE tagMode, unsigned int tagNumber);
    // One part of the tag, and the tag with its parts.
    void SetAsnTagClass(ASN_TAG_CLASS tagClass) { asnTag.tagClass = tagClass; }
    void SetAsnTagMode(ASN_TAG_MODE tagMode) { asnTag.tagMode = tagMode; }
    void SetAsnTagForm(ASN_TAG_FORM tagForm) { asnTag.tagForm = tagForm; }
    void SetAsnTagNumber(unsigned int tagNumber) { asnTag.tagNumber = tagNumber; }
    const AsnTag& GetAsnTag() const { return asnTag; }
    ASN_TAG_CLASS GetAsnTagClass() const { return asnTag.tagClass; }
    ASN_TAG_MODE GetAsnTagMode() const { return asnTag.tagMode; }
    ASN_TAG_FORM GetAsnTagForm() const { return asnTag.tagForm; }
    unsigned int GetAsnTagNumber() const { return asnTag.tagNumber; }

    // The role in the parent; whether the parent has the value; whether it stands for an ANY and accepts every tag.
    void SetAsnState(ASN_STATE state) { asnState = state; }
    ASN_STATE GetAsnState() const { return asnState; }
    void SetAsnPresent(bool present) { asnPresent = present; }
    bool IsAsnPresent() const { return asnPresent; }
    void SetAsnAnyType(bool any) { asnAnyType = any; }
    bool IsAsnAnyType() const { return asnAnyType; }

    // The mode alone; the cached bytes stay, so that OffByte and then OnByte brings them back. OffByte and
    // OffContentByte are one operation under two names.
    void OnByte() { asnByteType = ASN_WHOLE_BYTE; }
    void OnContentByte() { asnByteType = ASN_CONTENT_BYTE; }
    void OffByte() { asnByteType = ASN_NO_BYTE; }
    void OffContentByte() { asnByteType = ASN_NO_BYTE; }
    // Any of the three modes; the decoder hands the mode of a parent on to its members with it.
    void SetAsnByteType(ASN_BYTE_TYPE byteType) { asnByteType = byteType; }
    ASN_BYTE_TYPE GetAsnByteType() const { return asnByteType; }

    // Replace the cache by a copy and set the mode ASN_WHOLE_BYTE, or ASN_CONTENT_BYTE for the second pair. A null
    // source leaves the cache empty and still sets the mode. The n bytes at p + offset are trusted to be there.
    void SetAsnByte(const MiByte* bytes);
    void SetAsnByte(const char* p, unsigned int offset, unsigned int n);
    void SetAsnContentByte(const MiByte* bytes);
    void SetAsnContentByte(const char* p, unsigned int offset, unsigned int n);
    // The cache in that very mode, null in the others.
    const MiByte* GetAsnByte() const { return asnByteType == ASN_WHOLE_BYTE ? asnByte : nullptr; }
    const MiByte* GetAsnContentByte() const { return asnByteType == ASN_CONTENT_BYTE ? asnByte : nullptr; }
    // Deletes the cache and leaves the mode.
    void ClearByte();

    // Copies name, tag, cache (deeply), mode, role and both flags, or nothing if memory runs out. Null clears them all.
    void SetAsnBaseData(const AsnObject* other);

    // EqualsContent, and the same name, tag (its mode too), role and present flag. MiInvalidArgumentExp for null.
    bool Equals(const AsnObject* other) const;

    // DER by a visitor of their own. The results are the bytes written at offset, or consumed; everything that stood
    // in out at and behind offset is overwritten. `in` must not lie in the value, which is reset before it is read.
    // Errors: der_encode.h, der_decode.h.
    unsigned int DerEncode(MiByteBuffer& out, unsigned int offset) const;
    unsigned int DerEncodeContent(MiByteBuffer& out, unsigned int offset) const;
    unsigned int DerDecode(const MiByte& in, unsigned int offset);
    unsigned int DerDecodeContent(const MiByte& in, unsigned int offset, unsigned int length);

  protected:
    AsnObject() = default;
    AsnObject(const AsnObject& other);

    // Init sets the fields to their first values and releases nothing; Delt empties the name, clears the rest and
    // deletes the cache.
    void Init();
    void Delt();

    MiString asnName;                         // empty for a value that stands alone
    AsnTag asnTag;                            // the universal tag, unless the parent's schema gives another
    MiByte* asnByte = nullptr;                // the cache, owned
    ASN_BYTE_TYPE asnByteType = ASN_NO_BYTE;  // what the cache holds and what the visitors do with it
    ASN_STATE asnState = ASN_MANDATORY;       // the role in the parent
    bool asnPresent = false;                  // whether there is a value in the parent
    bool asnAnyType = false;                  // stands for an ANY and accepts every tag

  private:
    void replaceCache(MiByte* owned, ASN_BYTE_TYPE byteType);
};

#endif
