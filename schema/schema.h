// Umbrella header of the room `schema`: one class for each ASN.1 type of X.500, X.509 and the PKCS standards.
//
// The classes are made from the tables x509.asn1, pkcs.asn1 and directory.asn1 (README.md) and work all alike. Each is
// an AsnSequence, AsnSet, AsnChoice or AsnContainer that has its members from the start, absent, and a pair of
// accessors for each. Members can be reached by their literal names too: Get("serialNumber").
//
// SetX copies what it is given and makes the member present; the member keeps its name, tag and role. What is set must
// have the type told: a value with another schema (after a Reset from one) takes the member's schema with it.
// GetX gives the member, which the object keeps, or null where it is absent: a member with a DEFAULT too, as
// defaults are kept nowhere. So a getter's result is valid until the member changes.
//
//     [n] EXPLICIT   the value in the tag is set and given; the accessors go through the AsnContainer around it.
//     ANY            an AsnOctetString that stands for a value of any type (SetDerObject, GetDerObject).
//                    An optional one takes the tag of what is set.
//     CHOICE         SetX selects its alternative. GetX gives whichever alternative is selected, whatever the name, and
//                    null without one; an EXPLICIT alternative alone is given only if it is the one. So look first:
//                    Get(index) is null unless that alternative is selected.
//
// Errors, which only a replaced schema can cause:
//
//     AsnDataExp             a getter, or the setter of an EXPLICIT or optional ANY member or of an alternative, does
//                            not find it
//     MiInvalidArgumentExp   another setter does not find its member; any accessor, if there are no members at all
#ifndef VT_SCHEMA_SCHEMA_H
#define VT_SCHEMA_SCHEMA_H

#include "schema/accessors.h"
#include "schema/directory.h"
#include "schema/forward.h"
#include "schema/lists.h"
#include "schema/pkcs.h"
#include "schema/registry.h"
#include "schema/x509.h"

#endif
