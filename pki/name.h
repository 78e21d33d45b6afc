// VT_Name: a distinguished name as a list of texts, and back.
//
// Each attribute is a name node: five characters of label and the bytes of the value.
//
//     20 43 4E 20 3D 41 6C 69 63 65     " CN =Alice"
//
//     label     attribute                       written as
//     " CN ="   2.5.4.3  common name            PrintableString
//     " SN ="   2.5.4.4  surname                PrintableString
//     "  C ="   2.5.4.6  country                PrintableString
//     "  L ="   2.5.4.7  locality               PrintableString
//     "  S ="   2.5.4.8  state or province      PrintableString
//     "  O ="   2.5.4.10 organization           PrintableString
//     " OU ="   2.5.4.11 organizational unit    PrintableString
//     "  T ="   2.5.4.12 title                  PrintableString
//     "  N ="   2.5.4.41 name                   PrintableString
//     "  G ="   2.5.4.42 given name             PrintableString
//     "  I ="   2.5.4.43 initials               PrintableString
//     " GQ ="   2.5.4.44 generation qualifier   PrintableString
//     " DQ ="   2.5.4.46 name qualifier         PrintableString
//     "  E ="   1.2.840.113549.1.9.1 e-mail     IA5String
//     " ?? ="   any other, in reading alone
//
// Operations give 0 or a negative code; exceptions of the ASN.1 runtime pass through.
#ifndef VT_PKI_NAME_H
#define VT_PKI_NAME_H

#include <memory>

#include "foundation/export.h"
#include "schema/x509.h"

class MiByte;

class VT_API VT_Name {
  public:
    VT_Name();
    VT_Name(const VT_Name& other);
    VT_Name& operator=(const VT_Name& other);
    ~VT_Name();

    // Appends a relative name of one attribute; the name keeps the order of the calls. The label may be in either case.
    // The bytes of the value are stored as they are, in whatever encoding and also where the string type does not have
    // them: names in local encodings have been issued so. -1019 for a node without a value (five bytes or fewer), -1006
    // for a label that is not in the table above.
    int addNameNode(const MiByte& node);

    // The first attribute of the relative name at index, with its value as it is encoded: characters of two bytes come
    // as two bytes. -1001 for an attribute without type or value. MiOutOfRangeExp for an index at or past the total,
    // and for a relative name without attributes.
    int getNameNodeByIndex(int index, MiByte& node) const;

    // The number of relative names.
    int getNameNodeTotal(int& total) const;

    // The name as a value, which replaces what the target holds, and as DER. Reading -1001 for a Name without a
    // selection, which changes nothing; DER that is malformed throws, and changes nothing. What follows the name in the
    // DER does not count.
    int getName(Name& target) const;
    int setName(const Name& source);
    int getName(MiByte& der) const;
    int setName(const MiByte& der);

    // Back to the empty name.
    void Reset();

  private:
    using RdnSequence = AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>>;

    std::unique_ptr<RdnSequence> rdnSequence;  // never null
};

#endif
