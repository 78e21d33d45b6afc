// What the tests of digested, encrypted and enveloped messages share: contexts, records and outputs of the flat
// functions, and everything that a reader must survive.
#ifndef VT_TESTS_FLAT_ENVELOPES_H
#define VT_TESTS_FLAT_ENVELOPES_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "pki/flat/flat.h"
#include "tests/flat/records.h"
#include "tests/flat/when_allocation_fails.h"
#include "tests/pki/envelopes.h"
#include "tests/support/broken_der.h"
#include "tests/support/noise.h"

namespace envelopes {

using records::List;
using records::Output;
using records::PrivateKey;

// Codes of the engine, and of the toolkit.
constexpr int32_t kNoChooser = -2;
constexpr int32_t kWrongLength = -3;
constexpr int32_t kWrongKey = -4;
constexpr int32_t kBadKey = -7;
constexpr int32_t kRsaFailed = -12;
constexpr int32_t kElementAbsent = -1001;
constexpr int32_t kMaterialMissing = -1003;
constexpr int32_t kUnsupported = -1006;
constexpr int32_t kRc2LengthInUse = -1007;
constexpr int32_t kWrongContentType = -1009;
constexpr int32_t kNullArgument = -1010;
constexpr int32_t kDigestMismatch = -1012;
constexpr int32_t kNoOperation = -1013;
constexpr int32_t kRc2ParametersMissing = -1016;
constexpr int32_t kNoSignerVerified = -1017;
constexpr int32_t kWrongVersion = -1020;

class MessageContext {
  public:
    MessageContext() { PKCS_CreateCtx(&ctx_, nullptr); }
    ~MessageContext() { PKCS_DestroyCtx(&ctx_); }
    MessageContext(const MessageContext&) = delete;
    MessageContext& operator=(const MessageContext&) = delete;

    operator PKCS_Ctx*() { return ctx_; }

  private:
    PKCS_Ctx* ctx_ = nullptr;
};

// A context without an operation object.
inline PKCS_Ctx* emptyContext() {
    static PKCS_Ctx empty = {};
    return &empty;
}

// A blob over bytes of its own, never null.
struct Input {
    Bytes bytes;
    PKCS_Blob blob;

    explicit Input(const Bytes& source) : bytes(source) {
        bytes.push_back(0);
        blob = {bytes.data(), static_cast<std::uint32_t>(source.size())};
    }
    explicit Input(const char* text) : Input(hex(text)) {}
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    operator const PKCS_Blob*() const { return &blob; }
};

inline const PKCS_Blob kNullData = {nullptr, 0};

// An algorithm's record, with an IV of its own if there are bytes for one.
struct Algorithm {
    Bytes iv;
    PKCS_Alg record;

    explicit Algorithm(int32_t type, Bytes ivBytes = {}, std::uint32_t bits = 0) : iv(std::move(ivBytes)) {
        record = {type, iv.empty() ? nullptr : iv.data(), static_cast<std::uint32_t>(iv.size()), bits};
    }
    Algorithm(const Algorithm&) = delete;
    Algorithm& operator=(const Algorithm&) = delete;

    operator const PKCS_Alg*() const { return &record; }
};

// A message with another tag in place of its first, also with such of many bytes: decoders read it all the same.
inline std::vector<Bytes> underOtherTags(const Bytes& message) {
    const Bytes rest(message.begin() + 1, message.end());
    std::vector<Bytes> all;
    for (const char* tag : {"24", "31", "A0", "3F 81 01", "1F 81 80 01", "BF 84 80 80 7F"})
        all.push_back(der::join({hex(tag), rest}));
    return all;
}

// ---- What a reader must survive

// Random bytes in random places, and lengths beyond every bound.
inline std::vector<Bytes> spoiled(const Bytes& good) {
    std::vector<Bytes> all;
    support::Noise noise(20261121);
    for (int i = 0; i < 1500; ++i) {
        Bytes bytes = good;
        for (std::uint32_t changes = 1 + noise.below(3); changes > 0; --changes)
            bytes[noise.below(static_cast<std::uint32_t>(bytes.size()))] = noise.byte();
        all.push_back(bytes);
    }
    for (const char* length : {"84 FF FF FF FF", "84 7F FF FF FF", "85 01 00 00 00 00", "FF", "80", "00"}) {
        for (std::size_t at = 1; at < std::min<std::size_t>(good.size(), 48); ++at) {
            Bytes bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(at));
            const Bytes octets = hex(length);
            bytes.insert(bytes.end(), octets.begin(), octets.end());
            bytes.insert(bytes.end(), good.begin() + static_cast<std::ptrdiff_t>(at) + 1, good.end());
            all.push_back(bytes);
        }
    }
    for (const std::uint8_t tag : Bytes{0x30, 0x31, 0xA0, 0x24}) {
        all.push_back(der::repeat(20000, {tag, 0x80}));
        Bytes nested;
        for (int i = 0; i < 1000; ++i)
            nested = der::tlv(tag, nested);
        all.push_back(nested);
    }
    return all;
}

// The codes that a reader may give for any bytes at all.
inline bool isCode(int32_t code) {
    return code == 0 || (code <= -1 && code >= -22) || (code <= -101 && code >= -115) ||
           (code <= -1000 && code >= -1031) || code == -3000;
}

// survives runs a reader over a good message broken in every way. read takes bytes and an output and gives the code;
// malformed is the reader's code for input that is no DER. Whatever it gives, the output is untouched unless it is 0.
template <class Read>
void survives(const Bytes& good, int32_t malformed, Read&& read) {
    const auto codeOf = [&](const Bytes& bytes) {
        Output data;
        const Input input(bytes);
        const int32_t code = read(input.blob, data);
        EXPECT_TRUE(isCode(code)) << code;
        EXPECT_TRUE(code == 0 || data.untouched());
        return code;
    };
    ASSERT_EQ(codeOf(good), 0);
    for (const support::Broken& cut : support::truncations(good))
        ASSERT_EQ(codeOf(cut.bytes), malformed) << "cut at " << cut.place;
    for (const auto& broken :
         {support::withTrailingData(good, {0x05, 0x00}), support::withShortLengths(good),
          support::withLongLengths(good), support::withTags(good, 0x30), support::withTags(good, 0x02),
          support::withTags(good, 0xA0), support::withIndefiniteLengths(good)})
        for (const support::Broken& one : broken)
            codeOf(one.bytes);
    for (const Bytes& bytes : spoiled(good))
        codeOf(bytes);
}

// survivesExhaustion runs a call with each of its allocations failing in turn. A failure gives a code and leaves the
// output alone; without one the result is 0.
template <class Call>
void survivesExhaustion(Call&& call) {
    int32_t code = -1;
    bool clean = true;
    const long failures = support::forEachExhaustion([&] {
        PKCS_Blob out = {nullptr, 0};
        code = call(out);
        clean = clean && (code == 0) == (out.data != nullptr) && isCode(code);
        T_free(out.data);
    });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(clean);
    EXPECT_GT(failures, 2);  // the pool takes most of what is asked for
}

}  // namespace envelopes

#endif
