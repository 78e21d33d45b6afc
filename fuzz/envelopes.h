// What the targets of digested, encrypted and enveloped messages share: a context, the keys of the seeds, and readings
// to compare.
#ifndef VT_FUZZ_ENVELOPES_H
#define VT_FUZZ_ENVELOPES_H

#include <array>

#include "fuzz/target.h"
#include "pki/flat/flat.h"
#include "tests/vectors/enveloped_messages.h"

namespace fuzz {

inline PKCS_Ctx* context() {
    static PKCS_Ctx* ctx = nullptr;
    if (ctx == nullptr)
        FUZZ_ASSERT(PKCS_CreateCtx(&ctx, nullptr) == 0);
    return ctx;
}

inline PKCS_Blob blobOf(Bytes& bytes) {
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}

// A constant of the vectors, which are digits alone.
inline Bytes hex(const char* digits) {
    const auto value = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
    Bytes bytes;
    for (; *digits != 0; digits += 2)
        bytes.push_back(static_cast<std::uint8_t>(value(digits[0]) << 4 | value(digits[1])));
    return bytes;
}

// The recipient of the seeds.
inline const PKCS_PriKey& recipientKey() {
    static std::array<Bytes, 8> numbers;
    static PKCS_PriKey key = {};
    if (key.modulus.data == nullptr) {
        PKCS_Blob* const fields[] = {&key.modulus, &key.publicExponent, &key.privateExponent, &key.prime1,
                                     &key.prime2,  &key.exponent1,      &key.exponent2,       &key.coefficient};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            numbers[i] = hex(vectors::kRecipientKey[i]);
            *fields[i] = blobOf(numbers[i]);
        }
    }
    return key;
}

// The engine's codes, those of its RSA core, and those that the readers and writers of these messages have of their
// own.
inline bool isTold(std::int32_t code) {
    constexpr std::int32_t kCodes[] = {-1001, -1003, -1006, -1009, -1010, -1012, -1015,
                                       -1016, -1017, -1018, -1020, -1021, -1022, -3000};
    return (code <= 0 && code >= -22) || (code <= -101 && code >= -115) ||
           std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

// What a call with one output gives.
struct Reading {
    std::int32_t code = 0;
    Bytes data;

    bool operator==(const Reading& other) const { return code == other.code && data == other.data; }
};

// reading runs a call that fills an output on success alone.
template <class Call>
Reading reading(Call&& call) {
    PKCS_Blob data = {nullptr, 0};
    Reading result;
    result.code = call(&data);
    FUZZ_ASSERT(isTold(result.code));
    FUZZ_ASSERT((result.code == 0) == (data.data != nullptr));
    if (data.data != nullptr)
        result.data.assign(data.data, data.data + data.length);
    T_free(data.data);
    return result;
}

// Whether a writer takes the bytes as they are; it nests those that are a message.
inline bool isRaw(Bytes& data) {
    const PKCS_Blob blob = blobOf(data);
    return !data.empty() && PKCS7_GetMsgType(context(), &blob) == PKCS7_UNKNOWN;
}

}  // namespace fuzz

#endif
