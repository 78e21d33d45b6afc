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

class VT_API MiException : public MiObject {
  public:
    MiException();
    MiException(const MiException& other);
    MiException& operator=(const MiException& other);
    ~MiException() override;

  protected:
    std::string message;
};

class VT_API MiLogicExp : public MiException {
  public:
    MiLogicExp();
};

class VT_API MiInvalidArgumentExp : public MiLogicExp {
  public:
    MiInvalidArgumentExp();
};

class VT_API MiOutOfRangeExp : public MiLogicExp {
  public:
    MiOutOfRangeExp();
};

class VT_API MiDomainExp : public MiLogicExp {
  public:
    MiDomainExp();
};

class VT_API MiRuntimeExp : public MiException {
  public:
    MiRuntimeExp();
};

class VT_API MiRangeExp : public MiRuntimeExp {
  public:
    MiRangeExp();
};

class VT_API AsnException : public MiException {
  public:
    AsnException();
};

class VT_API AsnDataExp : public AsnException {
  public:
    AsnDataExp();
};

class VT_API AsnDecodeExp : public AsnException {
  public:
    AsnDecodeExp();
};

class VT_API AsnEncodeExp : public AsnException {
  public:
    AsnEncodeExp();
};

#endif
