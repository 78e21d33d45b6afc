// Umbrella header of the room `schema`: one class for each ASN.1 type of X.500, X.509 and the PKCS standards.
#ifndef VT_SCHEMA_SCHEMA_H
#define VT_SCHEMA_SCHEMA_H

#endif
