// AsnSequence: SEQUENCE, named members in the order of their schema.
//
// The members exist from the start, absent; Reset(nullptr) makes them absent again and keeps them, while Reset(other)
// replaces them by clones of those of other, schema and all. EqualsContent compares absent members by their reset
// values.
#ifndef VT_ASN_SEQUENCE_H
#define VT_ASN_SEQUENCE_H

#include "asn/list.h"
#include "asn/value.h"

struct AsnMember;

class VT_API AsnSequence : public AsnObject {
  public:
    AsnSequence();
    VT_ASN_VALUE(AsnSequence);

    // Each stores clones, after or before the present members or in place of one. MiInvalidArgumentExp for null, for
    // an element without a name, for a name that no member has, and for a replacement where there is no list;
    // MiOutOfRangeExp for an index past the end.
    void AddElement(const AsnObject* e);
    void InsertElement(unsigned int index, const AsnObject* e);
    void ReplaceElement(unsigned int index, const AsnObject* e);
    void ReplaceElement(const char* name, const AsnObject* e);

    // MiInvalidArgumentExp without a list or such a name, MiOutOfRangeExp for the index.
    void DelElement(unsigned int index);
    void DelElement(const char* name);
    // Keeps the empty list.
    void ClearAllElements();

    // A member. MiInvalidArgumentExp without a list, and for a null name; MiOutOfRangeExp for the index; null for a
    // name that no member has.
    AsnObject* Find(unsigned int index);
    AsnObject* Find(const char* name);
    const AsnObject* Get(unsigned int index) const;
    const AsnObject* Get(const char* name) const;

    // Copies value into the member (Reset) and makes it present; name, tag and role stay the member's own.
    // MiInvalidArgumentExp for null and for an unknown name; nothing has changed then.
    void Set(const char* name, const AsnObject* value);
    // As Set, and then the member takes name, tag, role and flags of value too, which is how a member of type ANY gets
    // the tag of its value. A later look-up by the old name fails unless value carries it.
    void AddCompleteData(const char* name, const AsnObject* value);

    // How many members there are, present or not; Empty() is whether there are none.
    unsigned int Size() const { return elements == nullptr ? 0 : elements->Size(); }
    bool Empty() const { return Size() == 0; }

    // The byte mode (object.h) that a decode gives to each direct member, so that it keeps its exact bytes. Copies
    // start without it.
    void OnComponentByte() { componentByteType = ASN_WHOLE_BYTE; }
    void OnComponentContentByte() { componentByteType = ASN_CONTENT_BYTE; }
    void OffComponentByte() { componentByteType = ASN_NO_BYTE; }
    void OffComponentContentByte() { componentByteType = ASN_NO_BYTE; }
    ASN_BYTE_TYPE GetComponentByteType() const { return componentByteType; }

  protected:
    // Builds the members on first use; resets each, and makes it absent, later. Here there are none to build.
    virtual void SetupElements();

    // What an override of SetupElements does with its table.
    void SetupMembers(const AsnMember* members, unsigned int count);

    AsnList* elements = nullptr;                    // owned; null until the first member exists
    ASN_BYTE_TYPE componentByteType = ASN_NO_BYTE;  // what a decode sets in each member
};

#endif
