#include "token/alg.h"

#include <iterator>

#include "crypto/alg_object.h"
#include "crypto/codes.h"
#include "schema/pkcs.h"
#include "schema/x509.h"
#include "token/codes.h"
#include "token/identifiers.h"
#include "token/owned_bytes.h"

namespace {

struct Algorithm {
    const char* identifier;
    AlgAllocator allocator;
};

// By code, from 1 on.
constexpr Algorithm kAlgorithms[] = {
    {"1.3.14.3.2.26", AlgAllocSha1},
    {"1.2.840.113549.2.5", AlgAllocMd5},
    {"1.2.840.113549.2.2", AlgAllocMd2},
    {"1.3.14.3.2.7", AlgAllocDesCbcPad},
    {"1.2.840.113549.3.7", AlgAllocDes3CbcPad},
    {"1.2.840.113549.3.2", AlgAllocRc2CbcPad},
    {"1.2.840.113549.3.4", AlgAllocRc4},
    {"1.2.840.113549.1.1.1", AlgAllocRsa},
    {"1.2.840.113549.1.1.5", AlgAllocSha1Rsa},
    {"1.2.840.113549.1.1.4", AlgAllocMd5Rsa},
    {"1.2.840.113549.1.1.2", AlgAllocMd2Rsa},
};
constexpr int kAlgorithmCount = static_cast<int>(std::size(kAlgorithms));
static_assert(kAlgorithmCount == token::kMd2Rsa);

const Algorithm* algorithmOf(int code) {
    return code >= 1 && code <= kAlgorithmCount ? &kAlgorithms[code - 1] : nullptr;
}

// The versions of RC2 parameters stand for effective bits (RFC 2268, section 6).
struct Rc2Version {
    int version;
    int effectiveBits;
};
constexpr Rc2Version kRc2Versions[] = {{160, 40}, {120, 64}, {58, 128}};

int bitsOfVersion(const AsnInteger* version) {
    for (const Rc2Version& known : kRc2Versions) {
        if (version != nullptr && version->GetBigInteger() == MiBigInteger(known.version))
            return known.effectiveBits;
    }
    return 0;
}

int versionOfBits(int effectiveBits) {
    for (const Rc2Version& known : kRc2Versions) {
        if (known.effectiveBits == effectiveBits)
            return known.version;
    }
    return 0;
}

bool hasIv(int code) {
    return code == token::kDesCbc || code == token::kDes3Cbc || code == token::kRc2Cbc;
}

int readRc2(const AsnOctetString& parameters, MiByte& iv, int& effectiveBits) {
    RC2_CBC_parameter rc2;
    parameters.GetDerObject(&rc2);
    effectiveBits = bitsOfVersion(rc2.GetRc2ParameterVersion());
    if (effectiveBits == 0)
        return token::kUnsupported;
    if (rc2.GetIv() != nullptr)
        iv = rc2.GetIv()->GetData();
    return 0;
}

// Leaves iv and bits alone where the parameters give none.
int readParameters(const AlgorithmIdentifier& identifier, int code, MiByte& iv, int& effectiveBits) {
    if (!hasIv(code))
        return 0;
    const AsnOctetString* parameters = identifier.GetParameters();
    if (code == token::kRc2Cbc)
        return parameters == nullptr ? token::kRc2ParametersMissing : readRc2(*parameters, iv, effectiveBits);
    if (parameters != nullptr)
        iv = parameters->GetData();
    return 0;
}

AsnOctetString octets(const unsigned char* data, std::uint32_t length) {
    AsnOctetString value;
    value.SetData(reinterpret_cast<const char*>(data), 0, length);
    return value;
}

void setParameters(AlgorithmIdentifier& identifier, const AsnObject& value) {
    AsnOctetString parameters;
    parameters.SetDerObject(&value);
    identifier.SetParameters(parameters);
}

}  // namespace

const char* token::identifierOf(int code) {
    const Algorithm* algorithm = algorithmOf(code);
    return algorithm == nullptr ? nullptr : algorithm->identifier;
}

int token::codeOf(const AsnOid* identifier) {
    for (int code = 1; identifier != nullptr && code <= kAlgorithmCount; ++code) {
        if (identifier->GetData().CompareTo(identifierOf(code)) == 0)
            return code;
    }
    return 0;
}

VT_P11_Alg::VT_P11_Alg() = default;

VT_P11_Alg::VT_P11_Alg(const VT_P11_Alg& other) {
    *this = other;
}

VT_P11_Alg& VT_P11_Alg::operator=(const VT_P11_Alg& other) {
    if (this == &other)
        return *this;
    algType = other.algType;
    effectiveBits = other.effectiveBits;
    token::copyBytes(iv, ivLength, other.iv, other.ivLength);
    return *this;
}

VT_P11_Alg::~VT_P11_Alg() {
    Reset();
}

void VT_P11_Alg::Reset() {
    algType = 0;
    effectiveBits = 0;
    token::clearBytes(iv, ivLength);
}

int VT_P11_Alg::setAlgType(int type) {
    if (algorithmOf(type) == nullptr)
        return token::kUnsupported;
    algType = type;
    return 0;
}

int VT_P11_Alg::getAlgType(int& type) const {
    type = algorithmOf(algType) == nullptr ? -1 : algType;
    return 0;
}

int VT_P11_Alg::setIV(const MiByte& value) {
    if (value.Empty())
        return token::kNullArgument;
    return token::replaceBytes(iv, ivLength, value.GetChars(), value.GetLength()) ? 0 : token::kOutOfMemory;
}

int VT_P11_Alg::setEffectiveBits(int bits) {
    effectiveBits = bits;
    return 0;
}

int VT_P11_Alg::getEffectiveBits() const {
    return effectiveBits;
}

int VT_P11_Alg::setAlgorithmIdentifier(const AlgorithmIdentifier& identifier) {
    Reset();
    algType = -1;
    const auto* algorithm = static_cast<const AsnOid*>(identifier.Get("algorithm"));
    if (algorithm == nullptr || !algorithm->IsAsnPresent() || algorithm->GetData().Empty())
        return token::kElementAbsent;
    const int code = token::codeOf(algorithm);
    if (code == 0)
        return token::kUnsupported;

    MiByte newIv;
    int newBits = 0;
    if (const int failure = readParameters(identifier, code, newIv, newBits))
        return failure;
    if (!newIv.Empty()) {
        if (const int failure = setIV(newIv))
            return failure;
    }
    algType = code;
    effectiveBits = newBits;
    return 0;
}

int VT_P11_Alg::getAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    identifier.Reset(nullptr);
    const Algorithm* algorithm = algorithmOf(algType);
    if (algorithm == nullptr)
        return token::kUnsupported;
    if (algType == token::kRc2Cbc) {
        const int version = versionOfBits(effectiveBits);
        if (version == 0)
            return token::kUnsupported;
        RC2_CBC_parameter rc2;
        rc2.SetRc2ParameterVersion(AsnInteger(version));
        rc2.SetIv(octets(iv, ivLength));
        setParameters(identifier, rc2);
    } else if (hasIv(algType) && iv != nullptr) {
        setParameters(identifier, octets(iv, ivLength));
    } else {
        setParameters(identifier, AsnNull());
    }
    identifier.SetAlgorithm(AsnOid(algorithm->identifier));
    return 0;
}

int VT_P11_Alg::GetVCKAIObj(unsigned char** object, int keyClass) const {
    const Algorithm* algorithm = algorithmOf(algType);
    if (algorithm == nullptr)
        return token::kUnsupported;
    if (algType == token::kRsa && keyClass != token::kPublicClass && keyClass != token::kPrivateClass)
        return token::kUnsupported;
    if (algType == token::kRc2Cbc && (iv == nullptr || effectiveBits == 0))
        return token::kMaterialMissing;
    if (object == nullptr)
        return crypto::kArgumentAbsent;
    const RC2_SETTING rc2 = {effectiveBits, {iv, ivLength}};
    const void* parameter = algType == token::kRc2Cbc ? static_cast<const void*>(&rc2) : &rc2.iv;
    auto* shell = reinterpret_cast<ALG_OBJ*>(*object);
    const int result = AlgSetup(&shell, algorithm->allocator, parameter);
    *object = reinterpret_cast<unsigned char*>(shell);
    return result;
}
