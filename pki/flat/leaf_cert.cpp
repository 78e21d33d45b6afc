#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "platform/platform.h"
#include "token/codes.h"

namespace {

using platform::capi;

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;  // 65537

struct FreeContext {
    void operator()(const CERT_CONTEXT* context) const { capi().CertFreeCertificateContext(context); }
};
using Context = std::unique_ptr<const CERT_CONTEXT, FreeContext>;

// Subject and issuer of one node.
struct Names {
    std::wstring subject;
    std::wstring issuer;
};

// Why the platform did not take a certificate.
int32_t refusal() {
    const DWORD error = platform::sys().GetLastError();
    return error == static_cast<DWORD>(NTE_NO_MEMORY) || error == ERROR_NOT_ENOUGH_MEMORY ? VT_E_MEMORY
                                                                                          : VT_E_NULL_ARGUMENT;
}

// A text has a zero at its end that counts, so that no text at all is a failure.
int32_t readText(CERT_NAME_BLOB& name, std::wstring& text) {
    const DWORD count = capi().CertNameToStrW(kEncoding, &name, CERT_X500_NAME_STR, nullptr, 0);
    if (count == 0)
        return refusal();
    text.resize(count);
    return capi().CertNameToStrW(kEncoding, &name, CERT_X500_NAME_STR, text.data(), count) != 0 ? 0 : refusal();
}

int32_t readNames(const VT_List& list, std::vector<Names>& all) {
    int32_t result = 0;
    for (const VT_List* node = list.next; node != nullptr && result == 0; node = node->next) {
        const Context context(capi().CertCreateCertificateContext(kEncoding, node->data, node->length));
        if (context == nullptr)
            return refusal();
        Names& names = all.emplace_back();
        result = readText(context->pCertInfo->Subject, names.subject);
        if (result == 0)
            result = readText(context->pCertInfo->Issuer, names.issuer);
    }
    return result;
}

// The position of the first certificate that issued no other; all.size() if there is none.
size_t findLeaf(const std::vector<Names>& all) {
    std::unordered_map<std::wstring, size_t> issued;
    for (const Names& names : all)
        ++issued[names.issuer];
    for (size_t i = 0; i < all.size(); ++i) {
        const auto mine = issued.find(all[i].subject);
        // A certificate that issued itself is not one that issued another.
        const size_t own = all[i].subject == all[i].issuer ? 1 : 0;
        if (mine == issued.end() || mine->second == own)
            return i;
    }
    return all.size();
}

int32_t giveNode(const VT_List& list, size_t index, uint8_t*& der, uint32_t& length) {
    const VT_List* node = list.next;
    for (; node != nullptr && index != 0; --index)
        node = node->next;
    if (node == nullptr)
        return token::kElementAbsent;
    PKCS_Blob copy = {};
    const int32_t result = flat::giveBlob(reinterpret_cast<const char*>(node->data), node->length, copy);
    if (result != 0)
        return result;
    der = copy.data;
    length = copy.length;
    return 0;
}

}  // namespace

int32_t PKCS7_GetLeafCert(const VT_List* list, uint8_t** der, uint32_t* length) {
    if (list == nullptr || list->next == nullptr)
        return VT_E_NO_CERTIFICATES;
    if (flat::anyNull(der, length))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        std::vector<Names> all;
        const int32_t result = readNames(*list, all);
        return result != 0 ? result : giveNode(*list, findLeaf(all), *der, *length);
    });
}
