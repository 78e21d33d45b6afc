// AsnChoice: CHOICE, named alternatives of which one is selected or none.
//
// A choice has no tag of its own: it is written with that of its selection, and read by comparing the tag met with
// those of the alternatives.
#ifndef VT_ASN_CHOICE_H
#define VT_ASN_CHOICE_H

#include "asn/list.h"
#include "asn/value.h"

struct AsnMember;

class VT_API AsnChoice : public AsnObject {
  public:
    AsnChoice();
    VT_ASN_VALUE(AsnChoice);
    bool IsAsnChoice() const override;

    // Stores a clone. MiInvalidArgumentExp for null and for an element without a name.
    void AddElement(const AsnObject* e);
    // The same, in place of another alternative. A bad index or an unknown name does nothing.
    void ReplaceElement(unsigned int index, const AsnObject* e);
    void ReplaceElement(const char* name, const AsnObject* e);
    // A bad index or an unknown name does nothing. With the selected alternative goes the selection.
    void DelElement(unsigned int index);
    void DelElement(const char* name);
    // Keeps the empty list.
    void ClearAllElements();

    // An alternative, selected or not. Null without a list; MiOutOfRangeExp for the index; null for an unknown name.
    AsnObject* Find(unsigned int index);
    AsnObject* Find(const char* name);

    // The selection, null if there is none.
    const AsnObject* Get() const { return selected; }
    // The selection if it is the alternative at index, else null. MiOutOfRangeExp for the index, unless there is no
    // selection.
    const AsnObject* Get(unsigned int index) const;
    // The selection, whatever the name: callers ask for any alternative and look at what they get.
    const AsnObject* Get(const char* name) const;

    // Selects the alternative and copies value into it (Reset). MiInvalidArgumentExp for a null name, AsnDataExp for
    // an unknown one. A null value resets the alternative.
    void Set(const char* name, const AsnObject* value);
    void Set(const char* name);

    // How many alternatives there are, selected or not; Empty() is whether there are none.
    unsigned int Size() const { return elements == nullptr ? 0 : elements->Size(); }
    bool Empty() const { return Size() == 0; }

  protected:
    // Builds the alternatives on first use and resets each later. Here there are none to build.
    virtual void SetupElements();

    // What an override of SetupElements does with its table.
    void SetupMembers(const AsnMember* members, unsigned int count);

    AsnObject* selected = nullptr;  // one of the alternatives
    AsnList* elements = nullptr;    // owned; null until the first alternative exists

  private:
    void copyAlternatives(const AsnChoice& other);
    unsigned int indexOf(const char* name) const;
    AsnObject* requireAlternative(const char* name) const;
    void deselect(unsigned int index);
};

#endif
