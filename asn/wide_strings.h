// AsnBMPString, AsnUniversalString, AsnUTF8String: strings of wide characters, all kept in one form, whatever they look
// like on the wire: four bytes a character, most significant first.
//
// Setters empty the value for null or length 0 before they test anything. A setter that fails leaves it empty.
#ifndef VT_ASN_WIDE_STRINGS_H
#define VT_ASN_WIDE_STRINGS_H

#include "asn/value.h"
#include "foundation/byte.h"
#include "foundation/string.h"

// One character, most significant byte first.
struct AsnQuadruple {
    unsigned char bytes[4];  // the code point
};

// An owned array of characters. Plain storage: the rules are in the classes below.
class VT_API AsnCharacters {
  public:
    AsnCharacters() = default;
    // n characters, the caller's to write.
    explicit AsnCharacters(unsigned int n);

    AsnCharacters(const AsnCharacters& other);
    AsnCharacters(AsnCharacters&& other) noexcept;
    AsnCharacters& operator=(AsnCharacters other) noexcept;
    ~AsnCharacters();

    // The characters, null for none, and their number.
    AsnQuadruple* Data() { return data; }
    const AsnQuadruple* Data() const { return data; }
    unsigned int Length() const { return length; }

  private:
    AsnQuadruple* data = nullptr;  // null when length is 0
    unsigned int length = 0;
};

// The same number of characters, and the same ones.
VT_API bool operator==(const AsnCharacters& a, const AsnCharacters& b);

// Characters below 0x10000; two bytes each on the wire.
class VT_API AsnBMPString : public AsnObject {
  public:
    AsnBMPString();
    AsnBMPString(const AsnQuadruple* characters, unsigned int count);  // as SetData
    VT_ASN_VALUE(AsnBMPString);

    // UCS-2, big-endian. AsnDataExp for an odd length.
    void SetData(const MiByte& ucs2);
    // UCS-2, big-endian. MiInvalidArgumentExp for null with n not 0, and for an odd n.
    void SetData(const char* p, unsigned int offset, unsigned int n);
    // AsnDataExp where TestData is false.
    void SetData(const AsnQuadruple* characters, unsigned int count);
    // Four bytes a character. AsnDataExp where TestData is false.
    void SetUniversalData(const MiByte& bytes);
    // A character for each byte.
    void SetVisibleString(const char* text);
    void SetVisibleString(const MiString& text);

    // The characters, which stay the object's, and their number.
    const AsnQuadruple* GetData() const { return data.Data(); }
    unsigned int GetDataLength() const { return data.Length(); }
    // Four bytes a character.
    MiByte GetByte() const;
    // The characters from 0x20 to 0x7E; all others are dropped, so that the text shrinks.
    MiString GetVisibleString() const;

    // Four bytes a character, at least one, all below 0x10000.
    static bool TestData(const MiByte& bytes);
    static bool TestData(const AsnQuadruple* characters, unsigned int count);

  protected:
    AsnCharacters data;  // four bytes a character
};

// Characters below 0x80000000; four bytes each on the wire.
class VT_API AsnUniversalString : public AsnObject {
  public:
    AsnUniversalString();
    VT_ASN_VALUE(AsnUniversalString);

    // Four bytes a character. MiInvalidArgumentExp for a length that is no multiple of 4, then AsnDataExp where
    // AsnUTF8String::TestData is false.
    void SetData(const MiByte& bytes);
    // The same; MiInvalidArgumentExp for null with n not 0 too, AsnDataExp where TestData is false.
    void SetData(const char* p, unsigned int offset, unsigned int n);
    // AsnDataExp for a character from 0x80000000 on.
    void SetData(const AsnQuadruple* characters, unsigned int count);
    // A character for each byte.
    void SetVisibleString(const char* text);

    // The characters, which stay the object's, and their number.
    const AsnQuadruple* GetData() const { return data.Data(); }
    unsigned int GetDataLength() const { return data.Length(); }
    // Four bytes a character.
    MiByte GetByte() const;
    // As many characters as there are: those from 0x20 to 0x7E in their places, blanks for all others.
    MiString GetVisibleString() const;

    // A positive multiple of 4 bytes whose groups of four start below 0x80. The groups are walked from offset to
    // position n of p, not to offset + n, so that with an offset the last ones go untested: strings in files from the
    // field are taken on those terms.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    AsnCharacters data;  // four bytes a character
};

// Characters below 0x80000000; the visitors convert from and to UTF-8.
class VT_API AsnUTF8String : public AsnObject {
  public:
    AsnUTF8String();
    VT_ASN_VALUE(AsnUTF8String);

    // Four bytes a character. AsnDataExp where TestData is false.
    void SetData(const MiByte& bytes);
    // Four bytes a character, from p + offset on. The loop ends at position n of p, not at offset + n, and only a zero
    // offset gives all of them. AsnDataExp for a group that starts above 0x7F. Null or n = 0 empties. A last group
    // that the n bytes at p + offset do not hold whole is tested and left out.
    void SetData(const char* p, unsigned int offset, unsigned int n);
    // AsnDataExp for a character from 0x80000000 on.
    void SetData(const AsnQuadruple* characters, unsigned int count);
    // A character for each byte.
    void SetVisibleString(const char* text);

    // The characters, which stay the object's, and their number.
    const AsnQuadruple* GetData() const { return data.Data(); }
    unsigned int GetDataLength() const { return data.Length(); }
    // Four bytes a character.
    MiByte GetByte() const;
    // As in AsnUniversalString.
    MiString GetVisibleString() const;

    // Four bytes a character, at least one, all below 0x80000000.
    static bool TestData(const MiByte& bytes);
    static bool TestData(const AsnQuadruple* characters, unsigned int count);
    // As in AsnUniversalString, but any n other than 0 will do.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    AsnCharacters data;  // four bytes a character
};

#endif
