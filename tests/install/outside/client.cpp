// client <certificate.der>: what the certificate says, as a tree and by some of its members, in C++.
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "pki/flat/flat.h"
#include "pki/pki.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

unsigned int decode(Certificate& certificate, const std::string& der) {
    return certificate.DerDecode(MiByte(der.data(), static_cast<unsigned int>(der.size())), 0);
}

// A type of exception is one type on both sides of a library's border.
bool isRefused(const std::string& der) {
    try {
        Certificate certificate;
        decode(certificate, der);
        return false;
    } catch (const MiException&) {
        return true;
    }
}

int printSubject(std::string der) {
    const PKCS_Blob bytes = {reinterpret_cast<uint8_t*>(der.data()), static_cast<uint32_t>(der.size())};
    PKCS_Settings settings = {};
    PKCS_Ctx* context = nullptr;
    VT_List* subject = nullptr;
    int32_t code = PKCS_CreateCtx(&context, &settings);
    if (code == 0)
        code = VT_CreateList(&subject);
    if (code == 0)
        code = VT_GetSubjectFromCert(context, &bytes, subject);
    for (const VT_List* node = code == 0 ? subject->next : nullptr; node != nullptr; node = node->next)
        std::cout << "subject:" << std::string(reinterpret_cast<const char*>(node->data), node->length) << '\n';
    if (subject != nullptr)
        VT_DestroyList(&subject);
    PKCS_DestroyCtx(&context);
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string der((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    Certificate certificate;
    if (decode(certificate, der) != der.size() || !isRefused(der.substr(0, der.size() / 2)))
        return 1;
    certificate.ToOstream(std::cout, 0);
    std::cout << "\nserial: "
              << certificate.GetTBSCertificate()->GetSerialNumber()->GetBigInteger().GetStringBase10().GetChars()
              << '\n';
    // The library prints the variable that the program has set, wherever the linker has put it.
    newnumber = 7;
    terminal();
    return printSubject(der);
}
