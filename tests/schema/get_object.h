// The two halves of get_object_test: one includes the system's headers first, the other last.
#ifndef VT_TESTS_SCHEMA_GET_OBJECT_H
#define VT_TESTS_SCHEMA_GET_OBJECT_H

class AsnObject;
class CountryName;

const AsnObject* objectOf(const CountryName& country);

#endif
