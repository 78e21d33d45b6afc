// What the message classes do with the values that they own: single ones, and the collection families (signers, digest
// algorithms, certificates, revocation lists, recipients), each of which lies in a set. For the sources of this room.
//
//     int VT_SignedDataContentInfo::addSignerInfo(const MiByte& der) {
//         return pki::addItem(signers, der);
//     }
//
// Where these functions return int, -1003 is for a set that is null. An index at or past the end is MiOutOfRangeExp,
// and malformed DER an exception of the decoder; both leave the set as it was.
#ifndef VT_PKI_COLLECTION_H
#define VT_PKI_COLLECTION_H

#include "asn/asn.h"
#include "foundation/exceptions.h"
#include "pki/certificate.h"
#include "pki/content.h"
#include "pki/held.h"
#include "schema/lists.h"
#include "schema/pkcs.h"
#include "schema/x509.h"
#include "token/codes.h"

namespace pki {

// copyField copies out a single value of a class. -1003 where it has not been set.
template <class T>
int copyField(const Held<T>& field, T& value) {
    if (!field)
        return token::kMaterialMissing;
    value = *field;
    return 0;
}

// storeField copies in an element of a decoded value. -1001 where it is absent.
template <class T>
int storeField(Held<T>& field, const T* element) {
    if (element == nullptr)
        return token::kElementAbsent;
    field.set(*element);
    return 0;
}

// addItem appends a copy of the item, or what its DER decodes to.
template <class T>
int addItem(Held<AsnSetOf<T>>& set, const T& item) {
    if (!set)
        return token::kMaterialMissing;
    set->AddElement(item);
    return 0;
}

template <class T>
int addItem(Held<AsnSetOf<T>>& set, const MiByte& der) {
    T item;
    decodeDer(der, item);
    return addItem(set, item);
}

// totalOf gives the number of items, 0 for a null set.
template <class T>
int totalOf(const Held<AsnSetOf<T>>& set) {
    return set ? static_cast<int>(set->Size()) : 0;
}

// itemAt gives an item, which the set keeps. A negative index is past the end.
template <class T>
int itemAt(const Held<AsnSetOf<T>>& set, int index, const T*& item) {
    if (!set)
        return token::kMaterialMissing;
    item = set->Get(static_cast<unsigned int>(index));
    return item == nullptr ? token::kElementAbsent : 0;
}

// copyItem copies an item out, as a value or as DER.
template <class T>
int copyItem(const Held<AsnSetOf<T>>& set, int index, T& item) {
    const T* held = nullptr;
    const int result = itemAt(set, index, held);
    if (result != 0)
        return result;
    item = *held;
    return 0;
}

template <class T>
int copyItem(const Held<AsnSetOf<T>>& set, int index, MiByte& der) {
    const T* held = nullptr;
    const int result = itemAt(set, index, held);
    if (result != 0)
        return result;
    encodeDer(*held, der);
    return 0;
}

// The same for the optional collections, which count as null while their flag is clear.
template <class T, class Result>
int copyItemIf(bool present, const Held<AsnSetOf<T>>& set, int index, Result& item) {
    return present ? copyItem(set, index, item) : token::kMaterialMissing;
}

using CertificateChoices = AsnSetOf<ExtendedCertificateOrCertificate>;

// addCertificate appends a choice with the certificate in its "certificate" alternative.
inline int addCertificate(Held<CertificateChoices>& set, const Certificate& certificate) {
    if (!set)
        return token::kMaterialMissing;
    ExtendedCertificateOrCertificate choice;
    choice.Set("certificate", &certificate);
    set->AddElement(choice);
    return 0;
}

inline int addCertificate(Held<CertificateChoices>& set, const MiByte& der) {
    Certificate certificate;
    decodeDer(der, certificate);
    return addCertificate(set, certificate);
}

// copyCertificate copies out the certificate of a choice. -1001 for a choice that has none.
inline int copyCertificate(bool present, const Held<CertificateChoices>& set, int index, VT_Certificate& certificate) {
    const ExtendedCertificateOrCertificate* choice = nullptr;
    const int result = present ? itemAt(set, index, choice) : token::kMaterialMissing;
    return result != 0 ? result : certificate.setExtendedCertificate(*choice);
}

template <class Result>
int copyCertificate(bool present, const Held<CertificateChoices>& set, int index, Result& certificate) {
    VT_Certificate held;
    const int result = copyCertificate(present, set, index, held);
    return result != 0 ? result : held.getCertificate(certificate);
}

// raiseFlag passes the result of an add on, and sets the flag of its collection if it was 0.
inline int raiseFlag(bool& present, int result) {
    present = present || result == 0;
    return result;
}

// wrapSet puts a copy of the set, as the alternative of that name, into the choice that is the member of that name.
template <class T>
void wrapSet(AsnSequence& value, const char* member, const char* alternative, const AsnSetOf<T>& set) {
    auto& choice = dynamic_cast<AsnChoice&>(*value.Find(member));
    choice.Set(alternative, &set);
    choice.SetAsnPresent(true);
}

// selectedSet gives the set that a choice between a SET and a SEQUENCE holds: null for an absent choice and for a
// sequence, which is read and then counts as absent. In all these choices the set comes first.
template <class T>
const AsnSetOf<T>* selectedSet(const AsnChoice* choice) {
    return choice == nullptr ? nullptr : static_cast<const AsnSetOf<T>*>(choice->Get(0U));
}

// storeSet copies a set out of a decoded value. -1001 where the value has none; -1003 where there is nowhere to put it.
template <class T>
int storeSet(Held<AsnSetOf<T>>& held, const AsnSetOf<T>* set) {
    if (set == nullptr)
        return token::kElementAbsent;
    if (!held)
        return token::kMaterialMissing;
    *held = *set;
    return 0;
}

// storeSetIf is storeSet for an optional collection, whose flag is raised where the value has one.
template <class T>
int storeSetIf(bool& present, Held<AsnSetOf<T>>& held, const AsnSetOf<T>* set) {
    return set == nullptr ? 0 : raiseFlag(present, storeSet(held, set));
}

// emptySet takes all items out. A null set stays null.
template <class T>
void emptySet(Held<AsnSetOf<T>>& set) {
    if (set)
        set->ClearAllElements();
}

}  // namespace pki

#endif
