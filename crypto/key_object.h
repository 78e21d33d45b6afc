// KEY_OBJ: one key, as the bytes that the software entries take and as the PKCS#11 attributes that a token is given to
// make the same key.
//
//     secret key    data: the key bytes                              attributes: 6, the last one CKA_VALUE
//     RSA private   data: eight pairs, length 64                     attributes: 16, the last eight the numbers
//     RSA public    data: two pairs, length 16                       attributes: 8
//     in a token    data: none                                       attributes: CKA_LABEL
//
// The pairs of an RSA key point into the attribute values. Integers among the values are CK_ULONG. Key material is
// freed as it stands, without being cleared.
#ifndef VT_CRYPTO_KEY_OBJECT_H
#define VT_CRYPTO_KEY_OBJECT_H

#include <cstddef>
#include <cstdint>

#include "crypto/pkcs11.h"
#include "crypto/rsa.h"

struct KEY_OBJ;

// What an object is built with: an allocator fills a shell, a setter stores a key, a getter gives a copy of it. Results
// are codes.
using KeyAllocator = int (*)(KEY_OBJ* object);
using KeySetter = int (*)(KEY_OBJ* object, const KEY_ITEM* value);
using KeyGetter = int (*)(const KEY_OBJ* object, KEY_ITEM** value);

struct KEY_OBJ {
    void* data;                   // key bytes, or pairs (RSA_KEY_ITEMS)
    std::uint32_t length;         // of data in bytes; 64 or 16 for pairs, on every platform
    ATTRIBUTE* attributes;        // what a token is given to make or find this key
    std::uint32_t templateCount;  // entries in attributes
    std::int32_t isTokenObject;   // 1 if the key is to be found by label rather than created
    KeySetter setter;             // stores the key
    KeyGetter getter;             // reads it back, may be absent
    KeyAllocator allocator;       // what built this object
};
static_assert(offsetof(KEY_OBJ, length) == sizeof(void*) && offsetof(KEY_OBJ, attributes) == 2 * sizeof(void*) &&
                  offsetof(KEY_OBJ, templateCount) == 3 * sizeof(void*) &&
                  offsetof(KEY_OBJ, isTokenObject) == 3 * sizeof(void*) + 4 &&
                  offsetof(KEY_OBJ, setter) == 3 * sizeof(void*) + 8 &&
                  offsetof(KEY_OBJ, getter) == 4 * sizeof(void*) + 8 &&
                  offsetof(KEY_OBJ, allocator) == 5 * sizeof(void*) + 8,
              "the layout of KEY_OBJ is a contract");

// KeyShell gives an object of zeros, for KeySetup or for an allocator; null for exhausted memory.
KEY_OBJ* KeyShell();

// KeySetup runs the allocator on a shell, and then the setter, if there is one, with the value. 0, -2 for an absent
// object, or what allocator or setter gave; after a failure the object is freed and the pointer null.
int KeySetup(KEY_OBJ** object, KeyAllocator allocator, const KEY_ITEM* value);

// KeyFree frees the object with everything in it and makes the pointer null: attribute values from the last to the
// first, attributes, data, object. Null, shells and half-built objects are accepted.
void KeyFree(KEY_OBJ** object);

// The allocators: each fills a shell with attributes, setter and getter. 0; -1 for exhausted memory, when what was
// allocated stays in the shell for KeyFree; -2 for an absent object.
//
//     allocator            value of the setter           its rule
//     KeyAllocDes          one pair                      at least 8 bytes, of which the first 8 are kept
//     KeyAllocDes3         one pair                      at least 24 bytes, of which the first 24 are kept
//     KeyAllocRc2          one pair                      1 to 128 bytes
//     KeyAllocRc4          one pair                      1 to 256 bytes
//     KeyAllocRsaPrivate   eight pairs (RSA_KEY_ITEMS)   none absent or empty
//     KeyAllocRsaPublic    the first two of them         none absent or empty
//     KeyAllocTokenKey     one pair, the label           not empty
//
// A setter copies. It returns 0, also without doing anything for no value at all (null, or one pair without bytes); -1;
// -4 for an absent or unallocated object; -7 for a value that breaks the rule; -10 for a public modulus above 1024
// bytes. On failure the object keeps what it had.
//
// A getter gives a fresh array of pairs, one, two or eight, which the caller frees by KeyItemsFree: 0; -1; -2 for an
// absent argument; -4 for an object that holds no key. A token's key has no getter.
int KeyAllocDes(KEY_OBJ* object);
int KeyAllocDes3(KEY_OBJ* object);
int KeyAllocRc2(KEY_OBJ* object);
int KeyAllocRc4(KEY_OBJ* object);
int KeyAllocRsaPrivate(KEY_OBJ* object);
int KeyAllocRsaPublic(KEY_OBJ* object);
int KeyAllocTokenKey(KEY_OBJ* object);

// KeyIsRsa says whether data holds pairs: an RSA key, which must not be taken for bytes, nor the reverse.
bool KeyIsRsa(const KEY_OBJ* object);

#endif
