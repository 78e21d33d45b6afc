#include "enrol/chain.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_set>

#include "enrol/cert_handles.h"
#include "enrol/ch_cert.h"
#include "pki/flat/flat.h"

namespace enrol {
namespace {

struct DestroyContext {
    void operator()(PKCS_Ctx* ctx) const { PKCS_DestroyCtx(&ctx); }
};
using MessageContext = std::unique_ptr<PKCS_Ctx, DestroyContext>;

struct DestroyList {
    void operator()(VT_List* list) const { VT_DestroyList(&list); }
};
using CertificateNodes = std::unique_ptr<VT_List, DestroyList>;

struct FreeFlat {
    void operator()(std::uint8_t* buffer) const { T_free(buffer); }
};
using FlatBytes = std::unique_ptr<std::uint8_t, FreeFlat>;

// What reads the certificates of a message.
struct MessageReader {
    MessageContext ctx;
    CertificateNodes certificates;
};

std::int32_t openMessageReader(MessageReader& reader) {
    PKCS_Ctx* ctx = nullptr;
    if (PKCS_CreateCtx(&ctx, nullptr) != 0)
        return kReasonContextNotMade;
    reader.ctx.reset(ctx);
    VT_List* list = nullptr;
    if (VT_CreateList(&list) != 0)
        return kReasonListNotMade;
    reader.certificates.reset(list);
    return 0;
}

// Closes the library, once that is called for, after everything that was opened behind it.
struct LibraryUse {
    LibraryUse() = default;
    ~LibraryUse() {
        if (closes)
            PKCS_Finalize();
    }
    LibraryUse(const LibraryUse&) = delete;
    LibraryUse& operator=(const LibraryUse&) = delete;

    bool closes = false;
};

// Fills the list. False for a message with a signature that verifies, which is no chain.
bool readChain(MessageReader& reader, const std::uint8_t* data, std::size_t length) {
    const PKCS_Blob message = {const_cast<std::uint8_t*>(data), static_cast<std::uint32_t>(length)};
    PKCS_Blob content = {};
    const std::int32_t code = PKCS7_ReadSignedDataMsg(reader.ctx.get(), &message, PKCS7_ATTACHED, nullptr,
                                                      reader.certificates.get(), nullptr, &content);
    T_free(content.data);
    return code != 0;
}

std::uint32_t countOf(const CertificateNodes& certificates) {
    std::uint32_t count = 0;
    VT_GetListNodeTotal(certificates.get(), &count);
    return count;
}

std::int32_t takeLeaf(const MessageReader& reader, LeafBuffer& leaf, std::size_t& size) {
    if (countOf(reader.certificates) == 0)
        return kReasonNoCertificates;
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    if (PKCS7_GetLeafCert(reader.certificates.get(), &der, &length) != 0)
        return 0;
    const FlatBytes owner(der);
    if (length > leaf.size())
        return 0;
    std::copy_n(der, length, leaf.begin());
    size = length;
    return 0;
}

struct Names {
    std::wstring subject;
    std::wstring issuer;
};

// The names of a node as text; false for a node that the platform does not take for a certificate.
bool readNames(const VT_List& node, Names& names) {
    const CertificateHandle handle(capi().CertCreateCertificateContext(kCertEncoding, node.data, node.length));
    if (!handle)
        return false;
    const CHCert certificate(handle.get());
    names = {certificate.GetSubjectName(), certificate.GetIssuerName()};
    return true;
}

ChainSlots slotsOf(const VT_List& certificates, std::uint32_t count) {
    std::vector<Names> all;
    std::unordered_set<std::wstring> issuers;
    for (const VT_List* node = certificates.next; node != nullptr; node = node->next) {
        if (!readNames(*node, all.emplace_back()))
            return {};
        issuers.insert(all.back().issuer);
    }
    ChainSlots slots(count);
    std::size_t cursor = 1;
    const VT_List* node = certificates.next;
    for (const Names& names : all) {
        CertBytes* slot = &slots.back();
        if (names.issuer == names.subject)
            slot = &slots.front();
        else if (issuers.count(names.subject) != 0)
            // Where each has issued another, there is no slot for the last of them.
            slot = cursor < count ? &slots[cursor++] : nullptr;
        if (slot != nullptr)
            *slot = std::make_shared<const std::vector<std::uint8_t>>(node->data, node->data + node->length);
        node = node->next;
    }
    return slots;
}

std::int32_t addSlot(const char* name, const CertBytes& slot) {
    const bool added = slot != nullptr && AddToSystemStore(name, slot->data(), slot->size()) == 0;
    return added ? 0 : kReasonWrongContentType;
}

}  // namespace

std::int32_t ExtractLeafCertificate(const std::uint8_t* data, std::size_t length, LeafBuffer& leaf, std::size_t& size) {
    size = 0;
    if (data == nullptr || length == 0)
        return kReasonWrongContentType;
    if (PKCS_Initialize(nullptr, nullptr, nullptr) != 0)
        return kReasonLibraryNotReady;
    LibraryUse library;
    MessageReader reader;
    if (const std::int32_t reason = openMessageReader(reader); reason != 0)
        return reason;
    library.closes = true;
    return readChain(reader, data, length) ? takeLeaf(reader, leaf, size) : 0;
}

ChainSlots BuildChainSlots(const std::uint8_t* data, std::size_t length) {
    if (PKCS_Initialize(nullptr, nullptr, nullptr) == 0)
        PKCS_Finalize();
    MessageReader reader;
    if (openMessageReader(reader) != 0 || !readChain(reader, data, length))
        return {};
    const std::uint32_t count = countOf(reader.certificates);
    return count == 0 ? ChainSlots() : slotsOf(*reader.certificates, count);
}

std::int32_t StoreChain(const std::uint8_t* data, std::size_t length) {
    const ChainSlots slots = BuildChainSlots(data, length);
    if (slots.size() < 2)
        return kReasonWrongContentType;
    if (addSlot("ROOT", slots.front()) != 0)
        return kReasonWrongContentType;
    for (std::size_t i = 1; i + 1 < slots.size(); ++i) {
        if (addSlot("CA", slots[i]) != 0)
            return kReasonWrongContentType;
    }
    return 0;
}

std::int32_t AddToSystemStore(const char* name, const std::uint8_t* der, std::size_t length) {
    if (name == nullptr || *name == '\0' || der == nullptr || length == 0)
        return kReasonWrongContentType;
    static constexpr const char* kStores[] = {"MY", "CA", "ROOT", "SPC"};
    const auto* known = std::find_if(std::begin(kStores), std::end(kStores), [name](const char* store) {
        return std::strncmp(name, store, std::strlen(store)) == 0;
    });
    if (known == std::end(kStores))
        return kReasonStoreNotOpened;
    const StoreHandle store(capi().CertOpenSystemStoreA(0, *known));
    if (!store)
        return kReasonStoreNotOpened;
    const CertificateHandle certificate(
        capi().CertCreateCertificateContext(kCertEncoding, der, static_cast<DWORD>(length)));
    if (!certificate)
        return kReasonCertificateNotParsed;
    // The context that is given back keeps what was added; a store of the platform that we test with loses it
    // otherwise.
    CertificateHandle added;
    if (capi().CertAddCertificateContextToStore(store.get(), certificate.get(), CERT_STORE_ADD_USE_EXISTING,
                                                added.receive()) == FALSE)
        return kReasonCertificateNotAdded;
    return 0;
}

}  // namespace enrol
