// FakeStore: certificate contexts and stores in memory, the same on every platform. As the platform does it keeps apart
// a certificate in a store and the contexts that refer to it; as Wine does it forgets a deletion that is not committed
// before the store is closed. A context that is still held when its store is closed fails the test.
#ifndef VT_TESTS_SUPPORT_FAKE_STORE_H
#define VT_TESTS_SUPPORT_FAKE_STORE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "tests/support/hex.h"

namespace support {

class FakeStore {
  public:
    struct KeyInfo {
        std::wstring container;
        std::wstring provider;
        DWORD type = 0;
        DWORD flags = 0;
        DWORD spec = 0;
    };
    struct Element {
        Bytes der;
        std::unique_ptr<KeyInfo> key;
        std::vector<DWORD> properties;  // others, which come before and after that of the key by their number
        bool deleted = false;           // and not committed
        // Read from the DER.
        Bytes serial;  // least significant byte first
        Bytes issuer;
        Bytes subject;
        Bytes publicKey;
        std::string algorithm;
        FILETIME notBefore = {};
    };
    using Elements = std::vector<std::shared_ptr<Element>>;

    // Replaces the entries for certificate contexts and stores, and CertNameToStrW.
    FakeStore();
    // Puts back what stood in the table.
    ~FakeStore();
    FakeStore(const FakeStore&) = delete;
    FakeStore& operator=(const FakeStore&) = delete;

    // By name: "MY", "ROOT", "CA". Only these can be opened.
    std::map<std::string, Elements> stores;

    // Flags of each CertCloseStore, in order.
    std::vector<DWORD> closeFlags;

    // Handle of the provider that "MY" was last opened with.
    HCRYPTPROV lastProvider = 0;

    // add puts a certificate in place; without a key it has no key information.
    Element& add(const std::string& store, const Bytes& der, bool withKey);

    // ders lists a store's certificates.
    std::vector<Bytes> ders(const std::string& store) const;

    // The one that is alive; the entries of the table find it here.
    static FakeStore* current;

    // For the entries of the table.
    struct OpenStore {
        std::string name;
        int contexts = 0;
        HCRYPTPROV provider = 0;  // released with the store, as the platform does
    };
    struct Context {
        CERT_CONTEXT context = {};
        CERT_INFO info = {};
        std::shared_ptr<Element> element;
        int references = 1;
    };
    std::map<HCERTSTORE, OpenStore> open;

  private:
    platform::CryptoApi before_;
};

// readElement takes a certificate apart; null when it is none.
std::shared_ptr<FakeStore::Element> readElement(const BYTE* der, std::size_t size);

}  // namespace support

#endif
