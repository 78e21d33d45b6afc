// MiStringBuffer: a growable text, in which texts are assembled.
#ifndef VT_FOUNDATION_STRING_BUFFER_H
#define VT_FOUNDATION_STRING_BUFFER_H

#include <iosfwd>

#include "foundation/object.h"
#include "foundation/string.h"

// The buffer of MiByteBuffer for text: the same fields, the same rule for the capacity, with one difference: it grows
// also when the need equals it, so that the terminating zero always fits. 1023 characters fit into 1024, 1024 need
// 2048.
//
// Where the source is a text with an offset and a count, it is cut at its zero byte, and no more than offset + count
// characters are read. The storage always ends with a zero behind the length. Numbers are written in decimal.
// Operations that change the text return the buffer, so that calls chain. A source may lie in the buffer itself.
// Exhausted memory, or a length of 2^31 or more, is a memory failure (foundation/object.h). A call that throws has
// changed nothing.
class VT_API MiStringBuffer : public MiObject {
  public:
    MiStringBuffer();
    explicit MiStringBuffer(unsigned int n);                             // n characters of value zero
    MiStringBuffer(const MiString& src);                                 // as SetString
    MiStringBuffer(const char* text);                                    // as SetChars
    MiStringBuffer(const char* p, unsigned int offset, unsigned int n);  // as SetChars
    MiStringBuffer(const MiStringBuffer& other);
    MiStringBuffer& operator=(const MiStringBuffer& other);
    // As SetString.
    MiStringBuffer& operator=(const MiString& src) {
        SetString(src);
        return *this;
    }
    // As SetChars.
    MiStringBuffer& operator=(const char* text) {
        SetChars(text);
        return *this;
    }
    ~MiStringBuffer() override { Delt(); }

    // The texts alone; the capacity does not count.
    bool operator==(const MiStringBuffer& other) const;
    bool operator!=(const MiStringBuffer& other) const { return !(*this == other); }

    // Reset takes the text of src. Null sets the length to 0 and keeps the storage.
    MiStringBuffer& Reset(const MiStringBuffer* src);

    // SetChars and SetString replace the text. A null p or n = 0 gives length 0. Throws MiOutOfRangeExp for an offset
    // at or past the end of the text at p.
    MiStringBuffer& SetChars(const char* text);
    MiStringBuffer& SetChars(const char* p, unsigned int offset, unsigned int n);
    MiStringBuffer& SetString(const MiString& src);

    // A copy of the text.
    [[nodiscard]] MiString ToString() const;

    // The free room, `capacity - length` as it stands, and modulo 2^32 where a deletion has left the capacity below.
    [[nodiscard]] unsigned int Capacity() const { return capacity - length; }

    // EnsureCapacity doubles the capacity while it is at most n. It never shrinks it.
    MiStringBuffer& EnsureCapacity(unsigned int n);

    // Append. Nothing to append (null, n = 0, an empty text, an offset at or past its end) changes nothing.
    MiStringBuffer& Append(char c);
    MiStringBuffer& Append(const char* text);
    MiStringBuffer& Append(const char* p, unsigned int offset, unsigned int n);
    MiStringBuffer& Append(unsigned int number);
    MiStringBuffer& Append(int number);
    MiStringBuffer& Append(const MiString& src);

    // Insert at pos; pos = length appends. Nothing to insert changes nothing whatever pos is; else it throws
    // MiOutOfRangeExp for pos past the length.
    MiStringBuffer& Insert(unsigned int pos, char c);
    MiStringBuffer& Insert(unsigned int pos, const char* text);
    MiStringBuffer& Insert(unsigned int pos, const char* p, unsigned int offset, unsigned int n);
    MiStringBuffer& Insert(unsigned int pos, unsigned int number);
    MiStringBuffer& Insert(unsigned int pos, int number);
    MiStringBuffer& Insert(unsigned int pos, const MiString& src);

    // DeleteChars removes [start, end), end being cut at the length. Throws MiOutOfRangeExp for start at or past the
    // length or above end. DeleteCharAt removes one.
    MiStringBuffer& DeleteChars(unsigned int start, unsigned int end);
    MiStringBuffer& DeleteCharAt(unsigned int i);

    // Replace is DeleteChars(start, end), then an insertion at start; or changes each character `from` into `to`.
    MiStringBuffer& Replace(unsigned int start, unsigned int end, const MiString& src);
    MiStringBuffer& Replace(unsigned int start, unsigned int end, const char* text);
    MiStringBuffer& Replace(char from, char to);

    // As those of MiString.
    MiStringBuffer& Reverse();
    MiStringBuffer& ToLowerCase();
    MiStringBuffer& ToUpperCase();
    MiStringBuffer& ToInitialLower();
    MiStringBuffer& ToInitialUpper();

    // SubString, a new text: from start to the end, or [start, end), end being cut at the length. Throws
    // MiOutOfRangeExp for start at or past the length, MiInvalidArgumentExp for end below it.
    [[nodiscard]] MiString SubString(unsigned int start) const { return SubString(start, length); }
    [[nodiscard]] MiString SubString(unsigned int start, unsigned int end) const;

    // Each throws MiOutOfRangeExp for a position at or past the length.
    void SetCharAt(unsigned int i, unsigned char c);
    [[nodiscard]] char CharAt(unsigned int i) const;
    char operator[](unsigned int i) const { return CharAt(i); }
    char& operator[](unsigned int i);

    // The storage, which lives until the buffer changes; never null.
    [[nodiscard]] const char* GetChars() const { return data; }
    [[nodiscard]] unsigned int GetLength() const { return length; }  // in characters, the zero left out
    [[nodiscard]] bool Empty() const { return length == 0; }         // whether there is no character

    // ToOstream writes `level` times four blanks, then the text.
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const;

  protected:
    // Init sets the fields to zero; Delt releases the storage and does the same.
    void Init() noexcept {
        data = nullptr;
        length = 0;
        capacity = 0;
    }
    void Delt() noexcept;

    // ReAllocate sets the capacity by the rule above and returns it; the storage is the caller's business.
    unsigned int ReAllocate(unsigned int needed);

    char* data;             // owned, never null, zero-terminated
    unsigned int length;    // in characters, the zero left out
    unsigned int capacity;  // 1024 times a power of two

  private:
    MiStringBuffer& Change(unsigned int start, unsigned int removed, const char* p, std::size_t n, unsigned int room,
                           bool fresh);
    MiStringBuffer& Assign(const char* p, std::size_t n);
    MiStringBuffer& Put(unsigned int pos, const char* p, std::size_t n);
    MiStringBuffer& Exchange(unsigned int start, unsigned int end, const char* p, std::size_t n);
    MiStringBuffer& Clear();
};

// The text, as ToOstream(os, 0).
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiStringBuffer& value);

#endif
