// Any bytes as a name and as a certificate of the toolkit, and everything that can be asked of them.
#include "asn/asn.h"
#include "foundation/foundation.h"
#include "fuzz/target.h"
#include "pki/pki.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

// An operation object does not end its chooser.
struct Software {
    VT_P11_OP op;

    Software() {
        VT_P11_SELECTION selection{};
        FUZZ_ASSERT(op.createChooser(&selection) == 0);
    }
    ~Software() { op.destroyChooser(); }
};

VT_P11_OP& software() {
    static Software made;
    return made.op;
}

// Runs what may throw the exceptions of the runtime, and no others. False if it threw.
template <class Operation>
bool runs(const Operation& operation) {
    try {
        operation();
        return true;
    } catch (const MiException&) {
        return false;
    }
}

int total(const VT_Name& name) {
    int count = -1;
    FUZZ_ASSERT(name.getNameNodeTotal(count) == 0 && count >= 0);
    return count;
}

// A node that was read can be written again, unless it has no label or no value, and is then read alike.
void checkNode(const MiByte& node) {
    VT_Name name;
    const int result = name.addNameNode(node);
    if (node.GetLength() == 5) {
        FUZZ_ASSERT(result == -1019);
        return;
    }
    if (MiByte(node.GetChars(), 5) == MiByte(" ?? =", 5)) {
        FUZZ_ASSERT(result == -1006);
        return;
    }
    FUZZ_ASSERT(result == 0 && total(name) == 1);
    MiByte again;
    FUZZ_ASSERT(name.getNameNodeByIndex(0, again) == 0 && again == node);
    MiByte der;
    VT_Name decoded;
    FUZZ_ASSERT(name.getName(der) == 0 && decoded.setName(der) == 0);
    FUZZ_ASSERT(decoded.getNameNodeByIndex(0, again) == 0 && again == node);
}

void checkName(const VT_Name& name) {
    for (int i = 0; i < total(name); ++i) {
        MiByte node;
        int result = 0;
        if (!runs([&] { result = name.getNameNodeByIndex(i, node); }))
            continue;
        FUZZ_ASSERT(result == 0 || result == -1001);
        FUZZ_ASSERT(result != 0 || node.GetLength() >= 5);
        if (result == 0)
            checkNode(node);
    }
    MiByte past;
    FUZZ_ASSERT(!runs([&] { name.getNameNodeByIndex(total(name), past); }));
}

bool isDocumented(int code) {
    static constexpr int kToolkit[] = {0, -1001, -1002, -1006, -1010, -1014, -1015};
    return (code <= -1 && code >= -22) || (code <= -101 && code > -200) ||
           std::find(std::begin(kToolkit), std::end(kToolkit), code) != std::end(kToolkit);
}

// The code of a check against its own key, or 1 for an exception.
int verifies(const MiByte& der) {
    int result = 1;
    runs([&] { result = VT_Certificate_Tool::VerifyCertificateChain(software(), nullptr, &der); });
    int inTheOtherRole = 1;
    runs([&] { inTheOtherRole = VT_Certificate_Tool::VerifyCertificateChain(software(), &der, nullptr); });
    FUZZ_ASSERT(result == inTheOtherRole && (result == 1 || isDocumented(result)));
    return result;
}

void checkCertificate(const VT_Certificate& certificate, const MiByte& der) {
    IssuerAndSerialNumber issuerAndSerialNumber;
    const int named = certificate.getIssuerAndSerialNumber(issuerAndSerialNumber);
    FUZZ_ASSERT(named == 0 || named == -1001);

    RSAPublicKey key;
    int keyed = 0;
    runs([&] { keyed = certificate.getRSAPublicKey(key); });
    FUZZ_ASSERT(keyed == 0 || keyed == -1001 || keyed == -1006);

    int subjects = -1;
    const int counted = certificate.getSubjectsTotal(subjects);
    FUZZ_ASSERT(counted == -1001 || (counted == 0 && subjects >= 0));
    for (int i = 0; i < subjects; ++i) {
        MiByte node;
        runs([&] { certificate.getSubjectsByIndex(i, node); });
    }

    const int valid = certificate.VerifyValidityPeriod();
    FUZZ_ASSERT(valid == 0 || valid == -1001 || valid == -1003 || valid == -1024 || valid == -1025);

    // What verifies does so in its own encoding as well.
    const int verified = verifies(der);
    MiByte again;
    if (!runs([&] { certificate.getCertificate(again); })) {
        FUZZ_ASSERT(verified != 0);
        return;
    }
    FUZZ_ASSERT(verified != 0 || verifies(again) == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    const MiByte bytes(reinterpret_cast<const char*>(data), static_cast<unsigned int>(size));

    VT_Name name;
    int result = 0;
    if (runs([&] { result = name.setName(bytes); })) {
        FUZZ_ASSERT(result == 0);
        checkName(name);
    }

    VT_Certificate certificate;
    if (runs([&] { result = certificate.setCertificate(bytes); })) {
        FUZZ_ASSERT(result == 0);
        checkCertificate(certificate, bytes);
    }
    return 0;
}
