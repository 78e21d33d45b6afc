// Every public header, and with it the records that choosers and PKCS#11 modules are given, compiled for what the
// compiler says of its classes: sizes, offsets, virtual operations.
#include "asn/asn.h"
#include "ber/ber.h"
#include "foundation/foundation.h"
#include "pki/flat/flat.h"
#include "pki/pki.h"
#include "plugin/npapi.h"
#include "schema/schema.h"
#include "token/chooser_object.h"
#include "token/token.h"
