// AsnContainer: one value inside another tag, as EXPLICIT tags have it.
#ifndef VT_ASN_CONTAINER_H
#define VT_ASN_CONTAINER_H

#include "asn/value.h"

class VT_API AsnContainer : public AsnObject {
  public:
    AsnContainer();
    VT_ASN_VALUE(AsnContainer);

    // SetData stores a clone, SetDataSpace the value itself, which the container then owns. MiInvalidArgumentExp for
    // null.
    void SetData(const AsnObject* value);
    void SetDataSpace(AsnObject* value);

    // The inner value, null if there is none. Reset(nullptr) resets it and keeps it.
    AsnObject* Data() { return data; }
    const AsnObject* Data() const { return data; }
    const AsnObject* GetData() const { return data; }

  protected:
    AsnObject* data = nullptr;  // owned

  private:
    void replace(AsnObject* owned);
};

#endif
