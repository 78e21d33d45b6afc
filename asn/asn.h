// Umbrella header of the room `asn`: live ASN.1 values, DER in and out, printing.
#ifndef VT_ASN_ASN_H
#define VT_ASN_ASN_H

#include "asn/bit_string.h"
#include "asn/boolean.h"
#include "asn/byte_strings.h"
#include "asn/choice.h"
#include "asn/container.h"
#include "asn/decode.h"
#include "asn/der_decode.h"
#include "asn/der_encode.h"
#include "asn/encode.h"
#include "asn/instance_of.h"
#include "asn/integer.h"
#include "asn/list.h"
#include "asn/list_codec.h"
#include "asn/member.h"
#include "asn/null.h"
#include "asn/object.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/ostream.h"
#include "asn/sequence.h"
#include "asn/sequence_of.h"
#include "asn/set.h"
#include "asn/set_of.h"
#include "asn/tag.h"
#include "asn/text_strings.h"
#include "asn/times.h"
#include "asn/value.h"
#include "asn/wide_strings.h"

#endif
