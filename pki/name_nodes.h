// The relative names of a Name and their nodes, as VT_Name and VT_Certificate read them, without a copy of the name.
#ifndef VT_PKI_NAME_NODES_H
#define VT_PKI_NAME_NODES_H

#include "schema/x509.h"

class MiByte;

namespace pki {

using RdnSequence = AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>>;

// rdnSequenceOf gives the relative names, null for a Name without a selection.
const RdnSequence* rdnSequenceOf(const Name& name);

// readNameNode is VT_Name::getNameNodeByIndex.
int readNameNode(const RdnSequence& names, int index, MiByte& node);

}  // namespace pki

#endif
