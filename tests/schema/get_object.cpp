#include "tests/schema/get_object.h"

#include "schema/schema.h"

#if defined(_WIN32)
#include <windows.h>
#endif

const AsnObject* objectOf(const CountryName& country) {
    return country.GetObject();
}
