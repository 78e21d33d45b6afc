// The object identifiers of algorithms.
#ifndef VT_TOKEN_IDENTIFIERS_H
#define VT_TOKEN_IDENTIFIERS_H

class AsnOid;

namespace token {

// identifierOf gives the identifier of an algorithm code of alg.h as dotted text; null for none of them.
const char* identifierOf(int code);

// codeOf gives the algorithm code of an identifier; 0 for an identifier without one, and for null.
int codeOf(const AsnOid* identifier);

}  // namespace token

#endif
