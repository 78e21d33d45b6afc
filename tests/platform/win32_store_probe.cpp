// win32_store_probe <store> <file>: how many certificates with the file's bytes stand in the user's system store, as
// the exit code; 99 for an error. A process of its own sees what lasts, not what another process has in memory.
#include <fstream>
#include <iterator>
#include <vector>

#include "platform/platform.h"

namespace {

constexpr int kError = 99;

int countIn(const char* store, const std::vector<char>& der) {
    HCERTSTORE handle = CertOpenSystemStoreA(0, store);
    if (handle == nullptr)
        return kError;
    int count = 0;
    PCCERT_CONTEXT cert = nullptr;
    while ((cert = CertEnumCertificatesInStore(handle, cert)) != nullptr) {
        if (std::vector<char>(cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded) == der)
            ++count;
    }
    CertCloseStore(handle, 0);
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return kError;
    std::ifstream file(argv[2], std::ios::binary);
    const std::vector<char> der{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return der.empty() ? kError : countIn(argv[1], der);
}
