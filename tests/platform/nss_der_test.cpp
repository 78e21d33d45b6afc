#include "platform/nss/der.h"

#include <gtest/gtest.h>

#include "tests/support/hex.h"

using namespace platform::nss;
using support::hex;
using support::toHex;

namespace {

// Reads one element of a copy that ends where the text ends, so that the sanitizer sees a read behind it.
bool reads(const char* text, Element* element = nullptr) {
    const support::Bytes bytes = hex(text);
    DerReader reader({bytes.data(), bytes.size()});
    Element ignored = {};
    return reader.read(element != nullptr ? *element : ignored);
}

}  // namespace

TEST(nss_der_test, ReadsShortAndLongLengths) {
    EXPECT_TRUE(reads("05 00"));
    EXPECT_TRUE(reads("04 01 AA"));
    for (const std::size_t length : {127u, 128u, 255u, 256u, 65535u, 65536u}) {
        const Bytes der = derElement(kDerOctetString, Bytes(length, 0x55));
        DerReader reader({der.data(), der.size()});
        Element element = {};
        ASSERT_TRUE(reader.read(element)) << length;
        EXPECT_EQ(element.content.size, length);
        EXPECT_EQ(element.whole.size, der.size());
        EXPECT_TRUE(reader.atEnd());
    }
}

TEST(nss_der_test, RefusesWhatIsNotDer) {
    for (const char* text :
         {"", "04", "04 01", "04 80 00 00", "04 81", "04 81 7F", "04 81 01 AA", "04 82 00 81", "04 82 01",
          "04 83 00 01 00", "04 85 00 00 00 00 01", "04 84 FF FF FF FF", "1F 01 00", "3F 81 01 00", "04 FF"})
        EXPECT_FALSE(reads(text)) << text;
}

TEST(nss_der_test, FailedReadLeavesThePlace) {
    const support::Bytes bytes = hex("04 02 AA BB 04 05 00");
    DerReader reader({bytes.data(), bytes.size()});
    Element element = {};
    EXPECT_FALSE(reader.expect(kDerInteger, element));
    EXPECT_TRUE(reader.expect(kDerOctetString, element));
    EXPECT_FALSE(reader.read(element));
    EXPECT_TRUE(reader.isNext(kDerOctetString));
    EXPECT_FALSE(reader.atEnd());
}

TEST(nss_der_test, ObjectIdsReadAndWrite) {
    struct Case {
        const char* text;
        const char* der;
    };
    const Case cases[] = {{"2.5.4.3", "55 04 03"},
                          {"1.2.840.113549.1.1.1", "2A 86 48 86 F7 0D 01 01 01"},
                          {"0.9.2342.19200300.100.1.25", "09 92 26 89 93 F2 2C 64 01 19"},
                          {"1.2", "2A"},
                          {"2.16.840.1.101.3.4.2.1", "60 86 48 01 65 03 04 02 01"}};
    for (const Case& c : cases) {
        const support::Bytes der = hex(c.der);
        EXPECT_EQ(objectIdText({der.data(), der.size()}), c.text);
        EXPECT_EQ(toHex(objectIdDer(c.text)), c.der);
    }
    EXPECT_EQ(objectIdText({nullptr, 0}), "");
}
