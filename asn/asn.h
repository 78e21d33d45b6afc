// Umbrella header of the room `asn`: live ASN.1 values, DER in and out, printing.
#ifndef VT_ASN_ASN_H
#define VT_ASN_ASN_H

#endif
