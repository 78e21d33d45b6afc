// The examples of docs/toolkit.md, for their tests.
#ifndef VT_TESTS_TOOLKIT_EXAMPLES_EXAMPLES_H
#define VT_TESTS_TOOLKIT_EXAMPLES_EXAMPLES_H

#include <functional>
#include <string>

#include "schema/schema.h"

bool readCertificate(Certificate& certificate, const std::string& der);
std::string serialNumber(const Certificate& certificate);
const AsnOctetString* findAttribute(const Name& name, const char* type);
std::string textOf(const AsnOctetString& any);
bool isAuthority(const Certificate& certificate);
std::string lastDay(const Validity& validity);
void validUntil(Validity& validity, const MiTime& end);
AlgorithmIdentifier algorithmOf(const char* oid);
AttributeTypeAndDistinguishedValue attributeOf(const char* type, const char* text);
Name nameOf(const char* organization, const char* commonName);
AsnSequenceOf<Extension> authorityExtensions();
std::string derOf(const AsnObject& value);
std::string makeAuthority(const SubjectPublicKeyInfo& key, const std::function<MiByte(const std::string&)>& sign);
bool hasValidSignature(const std::string& der,
                       const std::function<bool(const MiByte& data, const MiByte& signature)>& verify);
std::string printed(const AsnObject& value);

#endif
