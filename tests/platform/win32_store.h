// Certificates for the user's system stores, and what a new process finds there.
//
// The two certificates hold one key made by `openssl genrsa 512`; both are signed with it (sha256WithRSAEncryption),
// issued by "C=DE, O=Vemtrel Works, CN=First". `openssl x509 -text` shows serial numbers 0A01 and F002.
#ifndef VT_TESTS_PLATFORM_WIN32_STORE_H
#define VT_TESTS_PLATFORM_WIN32_STORE_H

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include "platform/platform.h"
#include "tests/support/hex.h"

namespace win32 {

inline constexpr char kFirst[] =
    "3082015a30820104a00302010202020a01300d06092a864886f70d01010b05003035310b300906035504061302444531163014060355040a"
    "130d56656d7472656c20576f726b73310e300c06035504030c054669727374301e170d3235303130313030303030305a170d333530313031"
    "3030303030305a3035310b300906035504061302444531163014060355040a130d56656d7472656c20576f726b73310e300c06035504030c"
    "054669727374305c300d06092a864886f70d0101010500034b003048024100cf9a60cc3e67382752e58788659d0e9c12411d74860835b622"
    "4a9cc40910ed7be7c5c519cb63244242678f7858f677fc402ee7f5237045e1ddaf3e7aa615fb730203010001300d06092a864886f70d0101"
    "0b050003410032ef9361c5d944be8155f25915035a3ed5d25d58ddd149979cb2d19f11a87f1d2a9cdf51015b803b2a40fb9f3a6d4e0b7e9b"
    "9b921e3ac0533ad9a22e40c5f8ca";
inline constexpr char kSecond[] =
    "3082015c30820106a003020102020300f002300d06092a864886f70d01010b05003035310b30090603550406130244453116301406035504"
    "0a130d56656d7472656c20576f726b73310e300c06035504030c054669727374301e170d3235303130313030303030305a170d3335303130"
    "313030303030305a3036310b300906035504061302444531163014060355040a130d56656d7472656c20576f726b73310f300d0603550403"
    "0c065365636f6e64305c300d06092a864886f70d0101010500034b003048024100cf9a60cc3e67382752e58788659d0e9c12411d74860835"
    "b6224a9cc40910ed7be7c5c519cb63244242678f7858f677fc402ee7f5237045e1ddaf3e7aa615fb730203010001300d06092a864886f70d"
    "01010b050003410002e58faeb56ea45331a4eb3ef63090fb7221e59840cb12f6ea9c9fbbcd78d84543544efc6debb45f28232851319a1c2a"
    "c738ee7df11790f2e84d874893f4c75e";
inline constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

inline support::Bytes derOf(PCCERT_CONTEXT cert) {
    return {cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded};
}

// The first such certificate of the store, for the caller to free or to delete; null if there is none.
inline PCCERT_CONTEXT find(HCERTSTORE store, const support::Bytes& der) {
    PCCERT_CONTEXT cert = nullptr;
    while ((cert = platform::capi().CertEnumCertificatesInStore(store, cert)) != nullptr) {
        if (derOf(cert) == der)
            break;
    }
    return cert;
}

// Runs the probe, which lies beside this program, and gives how many such certificates a new process sees.
inline DWORD seenByANewProcess(const char* store, const support::Bytes& der) {
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(nullptr, path.data(), path.size());
    const std::string program(path.data());
    const std::string folder = program.substr(0, program.rfind('\\') + 1);
    const std::string file = folder + "win32_store_probe.der";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
    std::string command = "\"" + folder + "win32_store_probe.exe\" " + store + " \"" + file + "\"";

    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    DWORD code = STILL_ACTIVE;
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process) !=
        0) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    std::remove(file.c_str());
    return code;
}

}  // namespace win32

#endif
