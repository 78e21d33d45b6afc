#include <cstring>

#include "asn/asn.h"
#include "pki/content.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/name.h"
#include "pki/pkcs10.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"

namespace {

// What a request says that is asked for without a subject or attributes.
constexpr const char* kSampleSubject[] = {" CN =Holmar", " OU =Test", "  O =QTSA OCA", "  C =CN"};
constexpr const char* kEmailAddress = "1.2.840.113549.1.9.1";
constexpr const char* kSampleEmail = "holmar@example.com";

// ---- Making

// What is asked for. The lists are null for the samples.
struct Order {
    const PKCS_PubKey& publicKey;
    const VT_List* subject;
    const VT_List* attributes;
    int32_t signatureType;
};

int32_t setSampleSubject(VT_Name& subject) {
    int32_t result = 0;
    for (const char* node : kSampleSubject)
        if (result == 0)
            result = subject.addNameNode(MiByte(node, static_cast<unsigned int>(std::strlen(node))));
    return result;
}

int32_t readSubject(const VT_List* list, VT_Name& subject) {
    if (list == nullptr)
        return setSampleSubject(subject);
    int32_t result = 0;
    for (const VT_List* node = list->next; node != nullptr && result == 0; node = node->next)
        result = subject.addNameNode(flat::bytesOf({node->data, node->length}));
    return result;
}

// VT_GENPKCS10 has never read a list that it is given, and leaves the subject empty then.
int32_t leaveSubject(const VT_List* list, VT_Name& subject) {
    return list == nullptr ? setSampleSubject(subject) : 0;
}

int32_t addSampleAttribute(VT_PKCS10& request) {
    AsnIA5String email;
    email.SetVisibleString(kSampleEmail);
    AsnSetOf<AsnOctetString> values;
    values.AddElement(pki::anyOf(email));
    Attribute attribute;
    attribute.SetType(AsnOid(kEmailAddress));
    attribute.SetValues(values);
    return request.addAttribute(attribute);
}

int32_t addAttributes(const VT_List& list, VT_PKCS10& request) {
    int32_t result = 0;
    for (const VT_List* node = list.next; node != nullptr && result == 0; node = node->next) {
        Attribute attribute;
        flat::decodeBlob({node->data, node->length}, attribute);
        result = request.addAttribute(attribute);
    }
    return result;
}

// The types that a request can be signed with, from 8 (RSA alone) on.
int32_t readSignatureType(int32_t type, VT_P11_Alg& alg) {
    return type < token::kRsa || type > token::kMd2Rsa ? int32_t{token::kUnsupported} : alg.setAlgType(type);
}

int32_t fillRequest(const Order& order, const VT_Name& subject, VT_PKCS10& request) {
    int32_t result =
        order.attributes != nullptr ? addAttributes(*order.attributes, request) : addSampleAttribute(request);
    Name name;
    if (result == 0)
        result = subject.getName(name);
    if (result == 0)
        result = request.setName(name);
    VT_P11_Key key;
    if (result == 0)
        result = flat::readPublicKey(order.publicKey, key);
    RSAPublicKey numbers;
    if (result == 0)
        result = key.getRSAPublicKey(numbers);
    return result != 0 ? result : request.setRSAPublickKey(numbers);
}

// readKey gives the private key, and readSubject the subject.
template <class ReadKey, class ReadSubject>
int32_t makeRequest(VT_P11_OP& op, const Order& order, ReadKey readKey, ReadSubject readSubject, PKCS_Blob& out) {
    VT_P11_Key privateKey;
    int32_t result = readKey(privateKey);
    VT_P11_Alg alg;
    if (result == 0)
        result = readSignatureType(order.signatureType, alg);
    VT_Name subject;
    if (result == 0)
        result = readSubject(order.subject, subject);
    VT_PKCS10 request;
    if (result == 0)
        result = fillRequest(order, subject, request);
    CertificationRequest composed;
    if (result == 0)
        result = request.composePKCS10(op, &privateKey, &alg, composed);
    return result != 0 ? result : flat::giveDer(composed, out);
}

int32_t compareNumbers(const PKCS_Blob& one, const PKCS_Blob& other) {
    if (one.length != other.length)
        return token::kKeyMismatch;
    if (flat::anyNull(one.data, other.data))
        return token::kMaterialMissing;
    return std::memcmp(one.data, other.data, one.length);
}

int32_t comparePair(const PKCS_PriKey& privateKey, const PKCS_PubKey& publicKey) {
    const int32_t result = compareNumbers(privateKey.modulus, publicKey.modulus);
    return result != 0 ? result : compareNumbers(privateKey.publicExponent, publicKey.publicExponent);
}

// ---- Reading

int32_t appendNodes(const VT_Name& subject, VT_List& list) {
    int total = 0;
    int32_t result = subject.getNameNodeTotal(total);
    for (int i = 0; i < total && result == 0; ++i) {
        MiByte node;
        result = subject.getNameNodeByIndex(i, node);
        if (result == 0)
            result = flat::appendNode(list, node);
    }
    return result;
}

int32_t readRequest(VT_P11_OP& op, const PKCS_Blob& blob, PKCS_PubKey& publicKey, VT_List* list) {
    VT_PKCS10 request;
    int32_t result = request.decomposePKCS10(op, flat::bytesOf(blob));
    RSAPublicKey numbers;
    if (result == 0)
        result = request.getPublicKey(numbers);
    VT_P11_Key key;
    if (result == 0)
        result = key.setRSAPublicKey(numbers);
    Name name;
    if (result == 0 && list != nullptr)
        result = request.getName(name);
    VT_Name subject;
    if (result == 0 && list != nullptr)
        result = subject.setName(name);
    if (result == 0 && list != nullptr)
        result = appendNodes(subject, *list);
    if (result != 0)
        return result;
    return flat::givePublicKey(key, publicKey) ? 0 : VT_E_MEMORY;
}

}  // namespace

int32_t VTPKCS_GENPKCS10(PKCS_Ctx* ctx, const VTPKCS_KeyObj* key, const PKCS_PubKey* publicKey, const VT_List* subject,
                         const VT_List* attributes, int32_t signatureType, PKCS_Blob* request) {
    if (flat::anyNull(ctx, key, publicKey, request))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        const auto readKey = [&](VT_P11_Key& privateKey) { return flat::readKeyObject(*key, privateKey); };
        return makeRequest(*ctx->operation, {*publicKey, subject, attributes, signatureType}, readKey, readSubject,
                           *request);
    });
}

int32_t VT_GENPKCS10(PKCS_Ctx* ctx, const PKCS_PriKey* key, const PKCS_PubKey* publicKey, const VT_List* subject,
                     const VT_List* attributes, int32_t signatureType, PKCS_Blob* request) {
    if (flat::anyNull(ctx, key, publicKey, request))
        return VT_E_NULL_ARGUMENT;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        const auto readKey = [&](VT_P11_Key& privateKey) {
            const int32_t result = comparePair(*key, *publicKey);
            return result != 0 ? result : flat::readPrivateKey(*key, privateKey);
        };
        return makeRequest(*ctx->operation, {*publicKey, subject, attributes, signatureType}, readKey, leaveSubject,
                           *request);
    });
}

int32_t VTPKCS_DecomposePKCS10(PKCS_Ctx* ctx, const PKCS_Blob* request, PKCS_PubKey* publicKey, VT_List* subject) {
    if (flat::anyNull(ctx, request, publicKey))
        return VT_E_NULL_ARGUMENT;
    if (request->data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT,
                         [&] { return readRequest(*ctx->operation, *request, *publicKey, subject); });
}

int32_t VTPKCS_VerifyPKCS10(PKCS_Ctx* ctx, const PKCS_Blob* request) {
    if (flat::anyNull(ctx, request))
        return VT_E_NULL_ARGUMENT;
    if (request->data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_MALFORMED,
                         [&] { return int32_t{VT_PKCS10::verifyPKCS10(*ctx->operation, flat::bytesOf(*request))}; });
}
