// MiString: an owned text of exact size. Element names, object identifiers in dotted form, times as text.
#ifndef VT_FOUNDATION_STRING_H
#define VT_FOUNDATION_STRING_H

#include <iosfwd>

#include "foundation/object.h"

// A text is narrow, ends with a zero byte and has no assumed encoding. The storage is null exactly when the text is
// empty, and else one byte larger than the length, for the terminating zero.
//
// Every copy is deep. A source may lie in the text itself. Operations that change the text return the object.
// Exhausted memory is a memory failure (foundation/object.h). A call that throws has changed nothing.
//
// Order: no text is below any text (a null pointer and an empty one are the same here); then the shorter text is the
// smaller, whatever its letters; then characters compare as signed values. It is not the order of a dictionary.
class VT_API MiString : public MiObject {
  public:
    MiString() noexcept : data(nullptr), length(0) {}
    MiString(const char* text);                                    // as SetChars
    MiString(const char* p, unsigned int offset, unsigned int n);  // as SetChars
    MiString(unsigned int n, char c);                              // n times c
    MiString(const MiString& other);
    MiString(MiString&& other) noexcept;
    MiString& operator=(const MiString& other);
    MiString& operator=(MiString&& other) noexcept;
    // As SetChars.
    MiString& operator=(const char* text) {
        SetChars(text);
        return *this;
    }
    ~MiString() override { Delt(); }

    // Reset makes a copy. Null empties the text and releases its storage.
    MiString& Reset(const MiString* src);

    // SetChars takes the text at p, or n characters from an offset, cut at the end of the text there. A null p, an
    // empty text or n = 0 empties the value; but with an offset, one at or past the end throws MiOutOfRangeExp, so an
    // empty text does too. No more than offset + n characters are read.
    MiString& SetChars(const char* text);
    MiString& SetChars(const char* p, unsigned int offset, unsigned int n);

    // SetLength makes the text n times c.
    MiString& SetLength(unsigned int n, char c);

    // The storage, which lives until the text changes; null when empty.
    [[nodiscard]] const char* GetChars() const { return data; }
    operator char*() { return data; }
    operator const char*() const { return data; }
    [[nodiscard]] const MiString& GetString() const { return *this; }  // the object itself
    [[nodiscard]] unsigned int GetLength() const { return length; }    // in characters, which are bytes
    [[nodiscard]] bool Empty() const { return length == 0; }           // whether there is no character

    // Each throws MiOutOfRangeExp for a position at or past the end. The templates are for positions of other integer
    // types, which would else be an ambiguity with a subscript of the char pointer.
    [[nodiscard]] char CharAt(unsigned int i) const;
    char operator[](unsigned int i) const { return CharAt(i); }
    char& operator[](unsigned int i);
    template <class Integer>
    char operator[](Integer i) const {
        return CharAt(Position(static_cast<unsigned long long>(i)));
    }
    template <class Integer>
    char& operator[](Integer i) {
        return (*this)[Position(static_cast<unsigned long long>(i))];
    }

    // -1, 0 or 1 by the order above. IgnoreCase compares the texts in upper case, A to Z alone.
    [[nodiscard]] char CompareTo(const MiString& other) const;
    [[nodiscard]] char CompareTo(const char* text) const;
    [[nodiscard]] char CompareToIgnoreCase(const MiString& other) const;
    [[nodiscard]] char CompareToIgnoreCase(const char* text) const;
    [[nodiscard]] bool Equals(const MiString& other) const { return *this == other; }
    [[nodiscard]] bool Equals(const char* text) const { return CompareTo(text) == 0; }
    [[nodiscard]] bool EqualsIgnoreCase(const MiString& other) const { return CompareToIgnoreCase(other) == 0; }
    [[nodiscard]] bool EqualsIgnoreCase(const char* text) const { return CompareToIgnoreCase(text) == 0; }
    bool operator==(const MiString& other) const;
    bool operator==(const char* text) const { return CompareTo(text) == 0; }
    bool operator!=(const MiString& other) const { return !(*this == other); }
    bool operator!=(const char* text) const { return CompareTo(text) != 0; }

    // New strings, as the constructors make them.
    static MiString CopyOf(const MiString& other) { return other; }
    static MiString CopyOf(const char* text) { return text; }
    static MiString CopyOf(const char* p, unsigned int offset, unsigned int n) { return {p, offset, n}; }

    // The length of a text, 0 for null.
    static unsigned int StringSize(const char* text);

    // A number in digits 0 to 9 and A to Z, with "-" in front of a negative one. Throws MiInvalidArgumentExp for a base
    // outside 2 to 36, but for 0, which is "0" in any.
    static MiString IntToString(int value, unsigned int base);
    static MiString UIntToString(unsigned int value, unsigned int base);

    // The number that a text of digits with an optional sign stands for, reckoned as value * 11 + digit: "12" is 13,
    // and stored numbers depend on it; the base changes nothing. Sums beyond 32 bits wrap. Throws MiRangeExp for
    // anything but digits, no digits behind a sign, and a leading zero with more behind it. An empty text is 0 for
    // ToInt; null or empty throws MiInvalidArgumentExp from StringToInt.
    [[nodiscard]] int ToInt() const;
    static int StringToInt(const char* text, unsigned int base);

    // Concat appends. Null or empty changes nothing.
    MiString& Concat(const MiString& other);
    MiString& Concat(const char* text);

    // In place, on A to Z and a to z alone; Initial means the first character only. The static forms make a new text.
    MiString& ToLowerCase();
    MiString& ToUpperCase();
    MiString& ToInitialLower();
    MiString& ToInitialUpper();
    static MiString ToLowerCase(const char* text);
    static MiString ToUpperCase(const char* text);
    static MiString ToInitialLower(const char* text);
    static MiString ToInitialUpper(const char* text);

    // The first position at or behind start where it is found, or -1: also for a null or empty search text.
    [[nodiscard]] int IndexOf(char c) const { return IndexOf(c, 0U); }
    [[nodiscard]] int IndexOf(char c, unsigned int start) const;
    [[nodiscard]] int IndexOf(const MiString& text) const { return IndexOf(text, 0U); }
    [[nodiscard]] int IndexOf(const MiString& text, unsigned int start) const;
    [[nodiscard]] int IndexOf(const char* text) const { return IndexOf(text, 0U); }
    [[nodiscard]] int IndexOf(const char* text, unsigned int start) const;

    // The text from its last character to its first: in place, or as a new text (empty for null).
    MiString& Reverse();
    static MiString Reverse(const char* text);

    // Replace changes each character `from` into `to`.
    MiString& Replace(char from, char to);

    // SubString, a new text: from start to the end, which may be empty; the half-open range, cut at the end; from start
    // up to the first `stop` or to the end, empty for a start at or past the end. Throws MiOutOfRangeExp for a start
    // past the end (with an `end`: at or past it, unless the range or the whole text is empty), MiInvalidArgumentExp
    // for end below start.
    [[nodiscard]] MiString SubString(unsigned int start) const;
    [[nodiscard]] MiString SubString(unsigned int start, unsigned int end) const;
    [[nodiscard]] MiString SubString(unsigned int start, char stop) const;

    // ToOstream writes `level` times four blanks, then the text.
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

    char* data;           // owned, zero-terminated; null when the length is 0
    unsigned int length;  // in characters, the zero left out

  private:
    static unsigned int Position(unsigned long long i) { return i > 0xFFFFFFFFU ? 0xFFFFFFFFU : unsigned(i); }
    MiString& Assign(const char* p, std::size_t n);
    MiString& Attach(const char* p, std::size_t n);
    void Release() noexcept;
};

// As MiString's own, with the text in front.
inline bool operator==(const char* text, const MiString& string) {
    return string == text;
}
// As MiString's own, with the text in front.
inline bool operator!=(const char* text, const MiString& string) {
    return string != text;
}

// The text, as ToOstream(os, 0).
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiString& value);

#endif
