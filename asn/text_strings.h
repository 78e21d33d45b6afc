// AsnNumericString, AsnPrintableString, AsnVisibleString: strings with an alphabet, kept as MiString.
//
// A setter empties the value for null or length 0 before it tests anything, and keeps the old value when the test
// fails (MiInvalidArgumentExp). Constructors from text test nothing. Sources are trusted to hold the n bytes at
// p + offset; a zero byte is in no alphabet.
#ifndef VT_ASN_TEXT_STRINGS_H
#define VT_ASN_TEXT_STRINGS_H

#include "asn/value.h"
#include "foundation/string.h"

// Blanks and digits.
class VT_API AsnNumericString : public AsnObject {
  public:
    AsnNumericString();
    AsnNumericString(const char* text);  // stored untested
    VT_ASN_VALUE(AsnNumericString);

    // Copies a text, or the n characters at p + offset.
    void SetData(const char* text);
    void SetData(const char* p, unsigned int offset, unsigned int n);
    const MiString& GetData() const { return data; }  // the text, which stays the object's

    // False for null and empty input.
    static bool TestData(const char* text);
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    MiString data;  // the text
};

// Digits, letters, blank and ( ) + , - . / : = ? and the backquote. Certificates and programs of twenty years depend on
// two differences from X.680: the backquote stands where the apostrophe should, which is refused; and the form with
// three arguments, which the decoder uses, takes the at sign as well.
class VT_API AsnPrintableString : public AsnObject {
  public:
    AsnPrintableString();
    AsnPrintableString(const char* text);  // stored untested
    VT_ASN_VALUE(AsnPrintableString);

    // Copies a text, or the n characters at p + offset.
    void SetData(const char* text);
    void SetData(const char* p, unsigned int offset, unsigned int n);
    const MiString& GetData() const { return data; }  // the text, which stays the object's

    // False for null and empty input, and for the at sign.
    static bool TestData(const char* text);
    // False for null and empty input.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    MiString data;  // the text
};

// Bytes from 0x20 to 0x7E, in the form with three arguments; the other stores any text as it stands.
class VT_API AsnVisibleString : public AsnObject {
  public:
    AsnVisibleString();
    AsnVisibleString(const char* text);  // stored untested
    VT_ASN_VALUE(AsnVisibleString);

    // Copies a text, or the n characters at p + offset.
    void SetData(const char* text);
    void SetData(const char* p, unsigned int offset, unsigned int n);
    const MiString& GetData() const { return data; }  // the text, which stays the object's

    // False for null and empty input.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    MiString data;  // the text
};

#endif
