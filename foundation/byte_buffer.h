// MiByteBuffer: a growable byte buffer, which the DER encoder writes into.
#ifndef VT_FOUNDATION_BYTE_BUFFER_H
#define VT_FOUNDATION_BYTE_BUFFER_H

#include <cstring>
#include <iosfwd>

#include "foundation/object.h"

class MiByte;

// The fields are data, never null; length, the bytes in use; and capacity, 1024 times a power of two. Storage is
// `capacity + 1` bytes, zeroed when it is taken. Every copy is deep and takes over the capacity too.
//
// SetByte, Append, Insert and DeleteByte bring the capacity to what they need by one rule: it doubles until it
// suffices; and when above 2048 it falls to twice the smallest power above the need, if that is less. So appending one
// byte to a large, nearly empty buffer shrinks it. DeleteByte asks with the number of bytes it removes (a buffer that
// loses a few bytes gives its room back), so the capacity can end up below the length. The room that there really is
// never does: it is kept in front of the block, and is always more than the length.
//
// Sizes and positions are in bytes. A `const char*` source is trusted for the offset and length that come with it.
// A source may lie in the buffer itself. Operations that change the content return the buffer, so that calls chain.
// Exhausted memory, or a length beyond 2^31, is a memory failure (foundation/object.h). A call that throws has changed
// nothing.
//
// Order: the longer buffer is the greater; then bytes compare as unsigned values (unlike those of MiByte).
class VT_API MiByteBuffer : public MiObject {
  public:
    MiByteBuffer();
    explicit MiByteBuffer(unsigned int n);                             // n zero bytes
    MiByteBuffer(const MiByte& src);                                   // as SetByte
    MiByteBuffer(const char* p, unsigned int n);                       // a null p gives length 0, with room for n
    MiByteBuffer(const char* p, unsigned int offset, unsigned int n);  // the same from p + offset
    MiByteBuffer(const MiByteBuffer& other);
    MiByteBuffer& operator=(const MiByteBuffer& other);
    ~MiByteBuffer() override { Delt(); }

    // SetByte replaces the content. A null p gives length 0.
    MiByteBuffer& SetByte(const char* p, unsigned int n);
    MiByteBuffer& SetByte(const char* p, unsigned int offset, unsigned int n);

    // SetByte with a MiByte: all of it, its first n bytes, or n from an offset; a range past its end is cut there.
    // Throws MiOutOfRangeExp for an offset at or past the end of src, also of an empty one.
    MiByteBuffer& SetByte(const MiByte& src);
    MiByteBuffer& SetByte(const MiByte& src, unsigned int n);
    MiByteBuffer& SetByte(const MiByte& src, unsigned int offset, unsigned int n);

    // Reset is SetByte of the content of src. Null sets the length to 0 and keeps the storage.
    MiByteBuffer& Reset(const MiByteBuffer* src);

    // SetLength: new bytes are zero. Shrinking costs nothing: it clears nothing and leaves the capacity alone.
    MiByteBuffer& SetLength(unsigned int n) {
        if (n > length)
            return Grow(n);
        length = n;
        return *this;
    }

    // A copy of the content.
    [[nodiscard]] MiByte GetByte() const;

    // The free room, `capacity - length` as it stands: not the total, and modulo 2^32 where a deletion has left the
    // capacity below the length.
    [[nodiscard]] unsigned int Capacity() const { return capacity - length; }

    // EnsureCapacity doubles the capacity until it is at least n. It never shrinks it.
    MiByteBuffer& EnsureCapacity(unsigned int n);

    // Append. Nothing to append (null, n = 0, an empty source, an offset at or past its end) changes nothing, and a
    // range past the end of a MiByte is cut there.
    MiByteBuffer& Append(unsigned char byte) {
        if (!FitsWith(1))
            return AppendSlowly(reinterpret_cast<const char*>(&byte), 1);
        data[length++] = static_cast<char>(byte);
        return *this;
    }
    MiByteBuffer& Append(const char* p, unsigned int n) {
        if (p == nullptr || n == 0)
            return *this;
        if (!FitsWith(n))
            return AppendSlowly(p, n);
        std::memmove(data + length, p, n);
        length += n;
        return *this;
    }
    MiByteBuffer& Append(const char* p, unsigned int offset, unsigned int n) {
        return Append(p == nullptr ? p : p + offset, n);
    }
    MiByteBuffer& Append(const MiByte* src);
    MiByteBuffer& Append(const MiByte& src);
    MiByteBuffer& Append(const MiByteBuffer& src) { return Append(src.data, src.length); }
    MiByteBuffer& Append(const MiByte& src, unsigned int n);
    MiByteBuffer& Append(const MiByte& src, unsigned int offset, unsigned int n);

    // Extend appends n bytes that the caller writes, and returns where: as Append would, but without a source. What
    // stands there until then is not told.
    char* Extend(unsigned int n) {
        if (!FitsWith(n))
            ExtendSlowly(n);
        char* const place = data + length;
        length += n;
        return place;
    }

    // Insert moves what stands at pos and behind it up. pos = length appends. Nothing to insert (null, n = 0, an empty
    // MiByte) changes nothing whatever pos is; else it throws MiOutOfRangeExp for pos past the length.
    MiByteBuffer& Insert(unsigned int pos, unsigned char byte);
    MiByteBuffer& Insert(unsigned int pos, const char* p, unsigned int n);
    MiByteBuffer& Insert(unsigned int pos, const char* p, unsigned int offset, unsigned int n);
    MiByteBuffer& Insert(unsigned int pos, const MiByte& src);

    // DeleteByte removes [start, end), end being cut at the length. Throws MiOutOfRangeExp for start at or past the
    // length (so any deletion from an empty buffer does) or above end.
    MiByteBuffer& DeleteByte(unsigned int start, unsigned int end);

    // Replace is DeleteByte(start, end), then an insertion at start.
    MiByteBuffer& Replace(unsigned int start, unsigned int end, const MiByte& src);
    MiByteBuffer& Replace(unsigned int start, unsigned int end, const char* p, unsigned int n);

    // Replace changes each byte `from` into `to`. A `from` of 80 and above matches nothing: it is compared unsigned
    // with signed bytes, and callers' data depends on that.
    MiByteBuffer& Replace(unsigned char from, unsigned char to);

    // Reverse turns the whole content round (an empty one too), what stands from start on, or [start, end), end being
    // cut at the length. Throws MiOutOfRangeExp for start at or past the length, MiInvalidArgumentExp for end below it.
    MiByteBuffer& Reverse();
    MiByteBuffer& Reverse(unsigned int start) { return Reverse(start, length); }
    MiByteBuffer& Reverse(unsigned int start, unsigned int end);

    // Each throws MiOutOfRangeExp for a position at or past the length.
    void SetCharAt(unsigned int i, unsigned char v);
    [[nodiscard]] unsigned char CharAt(unsigned int i) const;
    unsigned char operator[](unsigned int i) const { return CharAt(i); }
    unsigned char& operator[](unsigned int i);

    // The storage, which lives until the buffer changes; never null. It is not terminated.
    [[nodiscard]] const char* GetChars() const { return data; }
    [[nodiscard]] unsigned int GetLength() const { return length; }  // the bytes in use
    [[nodiscard]] bool Empty() const { return length == 0; }         // whether no byte is in use

    // The contents, by the order above; the capacity does not count.
    bool operator==(const MiByteBuffer& other) const;
    bool operator!=(const MiByteBuffer& other) const { return !(*this == other); }
    bool operator>=(const MiByteBuffer& other) const;
    bool operator<=(const MiByteBuffer& other) const;
    bool operator>(const MiByteBuffer& other) const { return !(*this <= other); }
    bool operator<(const MiByteBuffer& other) const { return !(*this >= other); }

    // The dump of MiByte::ToOstream.
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

    char* data;             // owned, never null
    unsigned int length;    // the bytes in use
    unsigned int capacity;  // 1024 times a power of two

  private:
    // Whether n more bytes fit and leave the capacity as it is.
    [[nodiscard]] bool FitsWith(unsigned int n) const {
        return length <= capacity && n <= capacity - length && (capacity <= 2048 || length + n >= capacity / 4);
    }
    MiByteBuffer& AppendSlowly(const char* p, unsigned int n);
    void ExtendSlowly(unsigned int n);
    MiByteBuffer& Grow(unsigned int n);
};

// ToOstream(os, 0).
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, MiByteBuffer& value);
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiByteBuffer& value);

#endif
