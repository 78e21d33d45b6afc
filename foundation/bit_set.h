// MiBitSet: an ordered sequence of bits, the value of an ASN.1 BIT STRING.
//
//     bit      0  1  2  3  4  5  6  7    8  9 10
//     byte     80 40 20 10 08 04 02 01   80 40 20 | padding
//
// Bit 0 is the top bit of the first byte, and (bits + 7) / 8 bytes are kept. The padding past the last bit is zero,
// except after SetBitsByte, which takes the bytes as they come so that a decoded value goes out unchanged.
//
// Operations that change the value return the object itself. One that throws leaves it as it was.
#ifndef VT_FOUNDATION_BIT_SET_H
#define VT_FOUNDATION_BIT_SET_H

#include <iosfwd>

#include "foundation/byte.h"
#include "foundation/export.h"
#include "foundation/object.h"
#include "foundation/string.h"

class VT_API MiBitSet : public MiObject {
  public:
    MiBitSet() = default;
    MiBitSet(unsigned int count);                                             // all zero
    MiBitSet(const char* text);                                               // as SetBitsString
    MiBitSet(const MiByte& source, unsigned int count);                       // as SetBits
    MiBitSet(const MiByte& source, unsigned int offset, unsigned int count);  // as SetBits
    MiBitSet(const MiBitSet& other) = default;
    MiBitSet(MiBitSet&& other) noexcept;
    ~MiBitSet() override = default;

    MiBitSet& operator=(const MiBitSet& other) = default;
    MiBitSet& operator=(MiBitSet&& other) noexcept;
    MiBitSet& Reset(const MiBitSet* source);  // null clears

    // The count of bits, then the bytes, padding too.
    bool operator==(const MiBitSet& other) const;
    bool operator!=(const MiBitSet& other) const { return !(*this == other); }

    // -1, 0 or 1: more bits are greater; of equal counts MiByte::CompareTo decides, which takes bytes as signed.
    [[nodiscard]] char CompareTo(const MiBitSet& other) const;

    // A position at or past the end throws MiOutOfRangeExp.
    [[nodiscard]] bool Get(unsigned int position) const;
    bool operator[](unsigned int position) const { return Get(position); }
    void Set(unsigned int position, bool on);

    // Takes count bits from the bytes at p + offset, the padding of the last byte as it comes. A null p or count 0
    // clears. The source is not checked. The offset is in bytes.
    MiBitSet& SetBitsByte(const char* p, unsigned int offset, unsigned int count);

    // The same from a byte string, with the padding set to zero. Count 0 clears. A source that ends before the last of
    // the bits throws MiOutOfRangeExp. The offset is in bytes.
    MiBitSet& SetBits(const MiByte& source, unsigned int count);
    MiBitSet& SetBits(const MiByte& source, unsigned int offset, unsigned int count);

    // One bit for each character, '0' or '1', bit 0 first; anything else throws MiInvalidArgumentExp. A null or empty
    // text clears.
    MiBitSet& SetBitsString(const char* text);
    [[nodiscard]] MiString GetBitsString() const;

    MiBitSet& SetLength(unsigned int count);  // keeps the bits that fit; new ones are 0

    // And and Or have the length of the shorter operand.
    [[nodiscard]] MiBitSet And(const MiBitSet& other) const;
    [[nodiscard]] MiBitSet Or(const MiBitSet& other) const;
    [[nodiscard]] MiBitSet Not() const;  // each bit the other way round; the padding stays zero

    // A set of the same length with each bit n places nearer to the front (left) or the end; the vacated bits are 0,
    // all of them for n at or above the length.
    [[nodiscard]] MiBitSet ShiftLeft(unsigned int n) const;
    [[nodiscard]] MiBitSet ShiftRight(unsigned int n) const;

    // In place: n bits, all on or all off, are added behind the last bit (right) or before bit 0 (left). A sum of 2^32
    // bits or more throws MiOutOfRangeExp.
    MiBitSet& ExpandRight(unsigned int n, bool on);
    MiBitSet& ExpandLeft(unsigned int n, bool on);

    // In place: n bits are dropped at that end. More than there are throws MiOutOfRangeExp.
    MiBitSet& CutRight(unsigned int n);
    MiBitSet& CutLeft(unsigned int n);

    [[nodiscard]] const MiByte& GetByte() const { return bytes; }  // valid as long as the object is and does not change
    [[nodiscard]] unsigned int GetBitLength() const { return bits; }  // the number of bits, padding left out
    [[nodiscard]] bool Empty() const { return bits == 0; }            // whether there is no bit

    // Each bit as '0' or '1', a blank behind each eighth of a line, a line feed and a flush behind the thirty-second
    // unless it is the last bit; level times four blanks at the start of each line. Nothing for no bits.
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const;

  protected:
    MiByte bytes;           // (bits + 7) / 8 of them
    unsigned int bits = 0;  // how many
};

#endif
