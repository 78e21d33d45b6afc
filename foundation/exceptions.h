// The exceptions of the foundation and of the ASN.1 runtime.
//
//     MiException                     "exp"
//       MiLogicExp                    "logic exp"
//         MiInvalidArgumentExp        "invalid argument exp"   null or empty where something is required, an inverted
//                                                              range, a name that is not there
//         MiOutOfRangeExp             "out of range exp"       an index, offset or length past the end
//         MiDomainExp                 "domain exp"             division by zero
//       MiRuntimeExp                  "runtime exp"
//         MiRangeExp                  "range exp"              a tag, length, number text or month beyond its limits
//       AsnException                  "asn exception"
//         AsnDataExp                  "asn data exception"     a value with missing or malformed data
//         AsnDecodeExp                "asn decode exception"   DER that does not fit the type
//         AsnEncodeExp                "asn encode exception"   a mandatory member or a selection is missing
//
// They are thrown by value and caught by reference to MiException, which takes all of them; MiLogicExp, MiRuntimeExp,
// AsnException and MiException itself are never thrown. The type alone carries meaning. The message is for a debugger,
// or a derived class, to look at, and copies with the object. Exhausted memory is not among them (MiMemoryFailure).
#ifndef VT_FOUNDATION_EXCEPTIONS_H
#define VT_FOUNDATION_EXCEPTIONS_H

#include <string>

#include "foundation/object.h"

// The root: catch it by reference to take every exception of the library but exhausted memory.
class VT_API MiException : public MiObject {
  public:
    MiException();
    MiException(const MiException& other);
    MiException& operator=(const MiException& other);
    ~MiException() override;

  protected:
    std::string message;  // one of the texts above; nothing reads it
};

// What a caller could have known beforehand. Never thrown itself.
class VT_API MiLogicExp : public MiException {
  public:
    MiLogicExp();
};

// Null or empty where something is required, an inverted range, a name that is not there.
class VT_API MiInvalidArgumentExp : public MiLogicExp {
  public:
    MiInvalidArgumentExp();
};

// An index, offset or length past the end.
class VT_API MiOutOfRangeExp : public MiLogicExp {
  public:
    MiOutOfRangeExp();
};

// A division by zero.
class VT_API MiDomainExp : public MiLogicExp {
  public:
    MiDomainExp();
};

// What only the values at hand bring up. Never thrown itself.
class VT_API MiRuntimeExp : public MiException {
  public:
    MiRuntimeExp();
};

// A tag, length, number text or month beyond its limits.
class VT_API MiRangeExp : public MiRuntimeExp {
  public:
    MiRangeExp();
};

// What the ASN.1 runtime finds wrong with a value or its encoding. Never thrown itself.
class VT_API AsnException : public MiException {
  public:
    AsnException();
};

// A value with missing or malformed data.
class VT_API AsnDataExp : public AsnException {
  public:
    AsnDataExp();
};

// DER that does not fit the type.
class VT_API AsnDecodeExp : public AsnException {
  public:
    AsnDecodeExp();
};

// A mandatory member or a selection is missing, so that there is nothing to write.
class VT_API AsnEncodeExp : public AsnException {
  public:
    AsnEncodeExp();
};

#endif
