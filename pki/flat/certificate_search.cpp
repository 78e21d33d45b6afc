#include "pki/flat/certificate_search.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "asn/asn.h"
#include "pki/signer_access.h"
#include "schema/schema.h"
#include "token/codes.h"

namespace flat {

namespace {

// Below this the hashes cost more than they save.
constexpr unsigned int kMany = 32;

template <class Bytes>
std::size_t hashOfBytes(const Bytes& bytes) {
    return std::hash<std::string_view>()({bytes.GetChars(), bytes.GetLength()});
}

// Names and numbers that are equal have one hash. The types of strings do not count, nor does the order in which the
// attributes of a relative name come.
std::size_t hashOf(const AttributeTypeAndDistinguishedValue& attribute) {
    const AsnOid* const type = attribute.GetType();
    const AsnOctetString* const value = attribute.GetValue();
    const std::size_t hash = type != nullptr ? hashOfBytes(type->GetData()) : 0;
    return value != nullptr ? hash * 31 + hashOfBytes(value->GetData()) : hash;
}

std::size_t hashOf(const Name& issuer, const AsnInteger& serialNumber) {
    std::size_t hash = hashOfBytes(serialNumber.GetBigInteger().GetByte());
    const auto* const names = issuer.GetRdnSequence();
    for (unsigned int i = 0; names != nullptr && i < names->Size(); ++i) {
        const AsnSetOf<AttributeTypeAndDistinguishedValue>& name = *names->Get(i);
        std::size_t sum = 0;
        for (unsigned int j = 0; j < name.Size(); ++j)
            sum += hashOf(*name.Get(j));
        hash = hash * 31 + sum;
    }
    return hash;
}

}  // namespace

const Certificate* certificateIn(const ExtendedCertificateOrCertificate& choice) {
    return static_cast<const Certificate*>(choice.Get(0U));
}

int32_t CertificateSearch::find(const IssuerAndSerialNumber& signer, const Certificate*& found) {
    found = nullptr;
    if (certificates_ == nullptr)
        return 0;
    return certificates_->Size() < kMany ? findAmongFew(signer, found) : findByHash(signer, found);
}

int32_t CertificateSearch::lookAt(unsigned int position, const IssuerAndSerialNumber& signer,
                                  const Certificate*& found) const {
    const Certificate* const candidate = certificateIn(*certificates_->Get(position));
    if (candidate == nullptr)
        return token::kElementAbsent;
    bool matches = false;
    const int32_t result = pki::matchSigner(*candidate, signer, matches);
    if (result == 0 && matches)
        found = candidate;
    return result;
}

int32_t CertificateSearch::findAmongFew(const IssuerAndSerialNumber& signer, const Certificate*& found) const {
    int32_t result = 0;
    for (unsigned int i = 0; i < certificates_->Size() && result == 0 && found == nullptr; ++i)
        result = lookAt(i, signer, found);
    return result;
}

int32_t CertificateSearch::findByHash(const IssuerAndSerialNumber& signer, const Certificate*& found) {
    if (!indexed_)
        makeIndex();
    int32_t result = 0;
    if (signer.GetIssuer() != nullptr && signer.GetSerialNumber() != nullptr) {
        const std::size_t hash = hashOf(*signer.GetIssuer(), *signer.GetSerialNumber());
        auto entry = std::lower_bound(index_.begin(), index_.end(), std::make_pair(hash, 0U));
        for (; entry != index_.end() && entry->first == hash && result == 0 && found == nullptr; ++entry)
            result = lookAt(entry->second, signer, found);
    }
    return result == 0 && found == nullptr && faulty_ ? int32_t{token::kElementAbsent} : result;
}

void CertificateSearch::makeIndex() {
    index_.reserve(certificates_->Size());
    for (unsigned int i = 0; i < certificates_->Size() && !faulty_; ++i) {
        const Certificate* const candidate = certificateIn(*certificates_->Get(i));
        const TBSCertificate* const body = candidate != nullptr ? candidate->GetTBSCertificate() : nullptr;
        faulty_ = body == nullptr || body->GetIssuer() == nullptr || body->GetSerialNumber() == nullptr;
        if (!faulty_)
            index_.emplace_back(hashOf(*body->GetIssuer(), *body->GetSerialNumber()), i);
    }
    std::sort(index_.begin(), index_.end());
    indexed_ = true;
}

}  // namespace flat
