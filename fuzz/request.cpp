// Certification requests, as openssl makes them and changed at will.
#include "foundation/foundation.h"
#include "fuzz/target.h"
#include "pki/pkcs10.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

struct Software {
    VT_P11_OP op;
    Software() {
        VT_P11_SELECTION none = {};
        FUZZ_ASSERT(op.createChooser(&none) == 0);
    }
    ~Software() { op.destroyChooser(); }
    Software(const Software&) = delete;
    Software& operator=(const Software&) = delete;
};

VT_P11_OP& software() {
    static Software software;
    return software.op;
}

MiByte derOf(const AsnObject& value) {
    MiByteBuffer out;
    value.DerEncode(out, 0);
    return out.GetByte();
}

bool isTold(int code) {
    return (code <= 0 && code >= -22) || (code <= -101 && code >= -115) || code == -1001 || code == -1002 ||
           code == -1006 || code == -1010 || code == -1014 || code == -1015;
}

// Whether the signature is good.
bool verifies(const MiByte& der) {
    try {
        const int code = VT_PKCS10::verifyPKCS10(software(), der);
        FUZZ_ASSERT(isTold(code));
        return code == 0;
    } catch (const MiException&) {
        return false;
    }
}

// Members that were taken out and composed are the same when they are taken out again. The signature is a filler then,
// and no good one.
void composeAgain(VT_PKCS10& parts) {
    VT_P11_Alg alg;
    FUZZ_ASSERT(alg.setAlgType(token::kSha1Rsa) == 0);
    CertificationRequest composed;
    FUZZ_ASSERT(parts.composePKCS10(software(), nullptr, &alg, composed) == 0);
    const MiByte der = derOf(composed);
    FUZZ_ASSERT(!verifies(der));
    VT_PKCS10 again;
    FUZZ_ASSERT(again.decomposePKCS10(software(), der) == 0);
    int before = -1, after = -1;
    FUZZ_ASSERT(parts.getAttributesTotal(before) == 0 && again.getAttributesTotal(after) == 0 && before == after);
    MiByte name, sameName;
    FUZZ_ASSERT(parts.getName(name) == 0 && again.getName(sameName) == 0 && name == sameName);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 16384)
        return 0;
    const MiByte der(reinterpret_cast<const char*>(data), static_cast<unsigned int>(size));
    const bool good = verifies(der);
    FUZZ_ASSERT(good == verifies(der));
    VT_PKCS10 parts;
    try {
        const int code = parts.decomposePKCS10(software(), der);
        FUZZ_ASSERT(code == 0 || code == -1003);
        FUZZ_ASSERT(code == 0 || !good);
        if (code == 0)
            composeAgain(parts);
    } catch (const MiException&) {
        FUZZ_ASSERT(!good);  // incomplete values, which have no DER
    }
    return 0;
}
