// MiByte: an owned byte string of exact size, the carrier of raw data between all layers of the toolkit.
#ifndef VT_FOUNDATION_BYTE_H
#define VT_FOUNDATION_BYTE_H

#include <iosfwd>

#include "foundation/object.h"

// The storage is null exactly when the length is 0, and else one byte larger than the length: that byte is zero, so
// GetChars() of a value that is not empty can be read as a text.
//
// Every copy is deep. Sizes and positions are in bytes. A `const char*` source is trusted for the offset and length
// that come with it, and may lie inside the object's own storage. Operations that change the value return the object
// itself. Exhausted memory is a memory failure (foundation/object.h). A call that throws has changed nothing.
//
// Order: no data is below any data; then the shorter value is the smaller; then bytes compare as signed 8-bit values,
// so that 80 sorts below 00. The first difference decides.
class VT_API MiByte : public MiObject {
  public:
    MiByte() noexcept : data(nullptr), length(0) {}
    MiByte(const char* p, unsigned int n);                       // as SetByte
    MiByte(const char* p, unsigned int offset, unsigned int n);  // as SetByte
    explicit MiByte(unsigned int n);                             // n zero bytes
    MiByte(unsigned int n, unsigned char v);                     // n bytes of value v
    MiByte(const MiByte& other);
    MiByte(MiByte&& other) noexcept;
    MiByte& operator=(const MiByte& other);
    MiByte& operator=(MiByte&& other) noexcept;
    ~MiByte() override { Delt(); }

    // SetByte takes the n bytes at p + offset. A null p or n = 0 empties the value.
    MiByte& SetByte(const char* p, unsigned int n);
    MiByte& SetByte(const char* p, unsigned int offset, unsigned int n);

    // SetByte takes the first n bytes of src, or n from an offset; a range past the end of src is cut there. n = 0 or
    // an empty src empties the value. Throws MiOutOfRangeExp for an offset at or past the end of src.
    MiByte& SetByte(const MiByte& src, unsigned int n);
    MiByte& SetByte(const MiByte& src, unsigned int offset, unsigned int n);

    // Reset makes a deep copy of src. Null empties the value and releases its storage.
    MiByte& Reset(const MiByte* src);

    // Concat appends n bytes. A null p or n = 0 changes nothing.
    MiByte& Concat(const char* p, unsigned int n);

    // SetLength keeps the bytes that fit; new ones are zero. With v, all n bytes become v, the old ones too.
    MiByte& SetLength(unsigned int n);
    MiByte& SetLength(unsigned int n, unsigned char v);

    // Each throws MiOutOfRangeExp for a position at or past the end.
    void SetCharAt(unsigned int i, unsigned char v);
    [[nodiscard]] unsigned char CharAt(unsigned int i) const;
    unsigned char operator[](unsigned int i) const { return CharAt(i); }

    // The storage, which lives until the value changes; null when empty.
    [[nodiscard]] const char* GetChars() const { return data; }
    [[nodiscard]] const MiByte& GetByte() const { return *this; }    // the object itself
    [[nodiscard]] unsigned int GetLength() const { return length; }  // in bytes
    [[nodiscard]] bool Empty() const { return length == 0; }         // whether there is no byte

    // -1, 0 or 1 by the order above. A null p stands for no data, whatever n; a p that is not null for data, also with
    // n = 0.
    [[nodiscard]] char CompareTo(const MiByte& other) const;
    [[nodiscard]] char CompareTo(const char* p, unsigned int n) const;
    [[nodiscard]] char CompareTo(const char* p, unsigned int offset, unsigned int n) const;
    [[nodiscard]] bool Equals(const MiByte& other) const { return CompareTo(other) == 0; }
    bool operator==(const MiByte& other) const;
    bool operator!=(const MiByte& other) const { return !(*this == other); }
    bool operator>(const MiByte& other) const;
    bool operator>=(const MiByte& other) const;
    bool operator<(const MiByte& other) const { return !(*this >= other); }
    bool operator<=(const MiByte& other) const { return !(*this > other); }

    // The last four bytes (or the fewer there are) as a big-endian number, 0 when empty; Int32Value takes the top bit
    // of the first of them as the sign, so FF is -1 and 00 FF is 255.
    [[nodiscard]] int Int32Value() const;
    [[nodiscard]] unsigned int UInt32Value() const;

    // ToOstream writes a dump, nothing for an empty value: lines of 16 bytes, each begun by `level` times four blanks;
    // two upper-case digits a byte; behind each a blank, behind the eighth and sixteenth of a line two. A line feed and
    // a flush between lines, none behind the last. The stream's flags are neither used nor changed.
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const;

  protected:
    // Init sets the fields to zero; Delt releases the storage and does the same.
    void Init() noexcept {
        data = nullptr;
        length = 0;
    }
    void Delt() noexcept {
        if (data != nullptr)
            Release();
    }

    char* data;           // owned; null when the length is 0
    unsigned int length;  // in bytes, the zero behind them left out

  private:
    void Release() noexcept;
};

// ToOstream(os, 0).
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, MiByte& value);
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiByte& value);

#endif
