// AsnOstream: values as indented text, four blanks a level. No line feed stands behind a printed value.
//
//     serialNumber  [1]  IMPLICIT  INTEGER : 5
//     name          tag            label     body; the tag is left out where it is universal
//
// Octet strings are dumped up to 64 bytes and bit strings up to 128 bits, with a notice of how many more there are.
// Each line feed is followed by a flush. Absent members of an INSTANCE OF are noticed on the standard output of the
// process and not on the stream. AsnDataExp for a composite that holds a null; a stream that fails keeps that in its
// state, or throws what its exception mask asks for.
#ifndef VT_ASN_OSTREAM_H
#define VT_ASN_OSTREAM_H

#include <iosfwd>

#include "foundation/export.h"
#include "foundation/object.h"

class AsnBMPString;
class AsnBitString;
class AsnBoolean;
class AsnChoice;
class AsnContainer;
class AsnEnumerated;
class AsnGeneralizedTime;
class AsnIA5String;
class AsnInstanceOf;
class AsnInteger;
class AsnList;
class AsnNull;
class AsnNumericString;
class AsnObject;
class AsnOctetString;
class AsnOid;
class AsnPrintableString;
class AsnSequence;
class AsnSet;
class AsnTeletexString;
class AsnUTCTime;
class AsnUTF8String;
class AsnUniversalString;
class AsnVisibleString;

class VT_API AsnOstream : public MiObject {
  public:
    ~AsnOstream() override;

    // DoVisit prints a value of that type, its members too, with level times four blanks at the start of each line.
    static void DoVisit(const AsnBoolean& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnOctetString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnInteger& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnBitString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnEnumerated& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnOid& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnGeneralizedTime& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnUTCTime& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnNull& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnBMPString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnIA5String& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnUniversalString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnUTF8String& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnNumericString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnPrintableString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnVisibleString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnTeletexString& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnSequence& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnSet& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnChoice& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnContainer& value, std::basic_ostream<char>& os, unsigned int level);
    static void DoVisit(const AsnInstanceOf& value, std::basic_ostream<char>& os, unsigned int level);

    // The items of a list of values in the shape of a sequence's members, under a label such as "SET OF ".
    static void DoVisitList(const AsnObject& value, const AsnList& items, const char* label,
                            std::basic_ostream<char>& os, unsigned int level);
};

#endif
