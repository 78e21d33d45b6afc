// Certificates that a token holds.
#include <algorithm>

#include "token/codes.h"
#include "token/op.h"
#include "token/stored_certificate.h"
#include "token/token_object.h"

int VT_P11_OP::SetCertIntoToken(const unsigned char* label, std::uint32_t labelLength, const unsigned char* certificate,
                                std::uint32_t certificateLength) {
    if (label == nullptr || labelLength == 0 || certificate == nullptr || certificateLength == 0)
        return token::kNullArgument;
    if (CheckLabelExistInToken(label, labelLength, 0))
        return token::kCertificateLabelExists;
    return StoreCertValueOp(static_cast<CHOOSER*>(chooser), {label, labelLength}, {certificate, certificateLength});
}

int VT_P11_OP::GetCertFromToken(const unsigned char* label, std::uint32_t labelLength, unsigned char* output,
                                std::uint32_t* outputLength) {
    if (label == nullptr || outputLength == nullptr)
        return token::kNullArgument;
    token::Buffer value;
    const int code = FindCertValueOp(static_cast<CHOOSER*>(chooser), {label, labelLength}, value);
    // Callers tell a certificate that is not there, or not to be had, by the length alone.
    *outputLength = code == 0 ? value.length : 0;
    if (output != nullptr)
        std::copy_n(value.bytes.get(), *outputLength, output);
    return 0;
}

MiByte token::StoredCertificate::read(const VT_P11_OP& op, const std::uint8_t* label, std::uint32_t labelLength) {
    token::Buffer value;
    if (label == nullptr || FindCertValueOp(static_cast<const CHOOSER*>(op.chooser), {label, labelLength}, value) != 0)
        return {};
    return {reinterpret_cast<const char*>(value.bytes.get()), value.length};
}
