// The numbers of RSA keys in VT_P11_Key: exchange structures, and DER.
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/support/broken_der.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/token/values.h"
#include "tests/vectors/token_values.h"
#include "token/key.h"

namespace {

using support::FailingHeap;
using values::Bytes;
using values::bytesOf;
using values::decoded;
using values::encoded;
using values::fieldsOf;
using values::hex;
using values::KeyFields;
using values::over;
using values::typeOf;

using PublicRecord = VT_PKCS11_RSA_PUBLIC_KEY;
using PrivateRecord = VT_PKCS11_RSA_PRIVATE_KEY;

constexpr VT_PKCS11_BYTES PublicRecord::*kPublicPairs[] = {&PublicRecord::modulus, &PublicRecord::publicExponent};
constexpr VT_PKCS11_BYTES PrivateRecord::*kPrivatePairs[] = {
    &PrivateRecord::modulus,   &PrivateRecord::publicExponent, &PrivateRecord::privateExponent,
    &PrivateRecord::prime1,    &PrivateRecord::prime2,         &PrivateRecord::exponent1,
    &PrivateRecord::exponent2, &PrivateRecord::coefficient};

// The same in DER, by the names of the elements.
const char* const kPublicNames[] = {"pkModulus", "publicExponent"};
const char* const kPrivateNames[] = {"pkModulus", "publicExponent", "privateExponent", "prime1",
                                     "prime2",    "exponent1",      "exponent2",       "coefficient"};

// The order in which a private key goes in, as indexes of the arrays above.
constexpr std::size_t kLoadOrder[] = {7, 0, 3, 4, 5, 6, 2, 1};

using Numbers = std::vector<Bytes>;

Numbers sample(std::size_t count, std::uint8_t first) {
    Numbers numbers;
    for (std::size_t i = 0; i < count; ++i)
        numbers.emplace_back(i + 3, static_cast<std::uint8_t>(first + i));
    return numbers;
}

template <class Record, std::size_t count>
Record record(const Numbers& numbers, VT_PKCS11_BYTES Record::*const (&pairs)[count]) {
    Record made = {};
    for (std::size_t i = 0; i < count; ++i)
        made.*pairs[i] = over(numbers[i]);
    return made;
}
PublicRecord publicRecord(const Numbers& numbers) {
    return record(numbers, kPublicPairs);
}
PrivateRecord privateRecord(const Numbers& numbers) {
    return record(numbers, kPrivatePairs);
}

// What the object holds; nothing where it is absent.
Numbers publicNumbers(const VT_P11_Key& key) {
    const KeyFields fields = fieldsOf(key);
    return {bytesOf(fields.publicModulus), bytesOf(fields.publicExponent)};
}
Numbers privateNumbers(const VT_P11_Key& key) {
    const KeyFields fields = fieldsOf(key);
    Numbers numbers;
    for (const VT_PKCS11_BYTES& number : fields.privateNumbers)
        numbers.push_back(bytesOf(number));
    return numbers;
}
const Numbers kNoPublic(2);
const Numbers kNoPrivate(8);

VT_P11_Key publicKey(const Numbers& numbers) {
    VT_P11_Key key;
    const PublicRecord given = publicRecord(numbers);
    EXPECT_EQ(key.setKeyType(5), 0);
    EXPECT_EQ(key.setPublicKey(&given), 0);
    return key;
}
VT_P11_Key privateKey(const Numbers& numbers) {
    VT_P11_Key key;
    const PrivateRecord given = privateRecord(numbers);
    EXPECT_EQ(key.setKeyType(6), 0);
    EXPECT_EQ(key.setPrivateKey(&given), 0);
    return key;
}

template <class Record, std::size_t count>
void expectZeros(const Record& got, VT_PKCS11_BYTES Record::*const (&pairs)[count]) {
    for (auto pair : pairs)
        EXPECT_TRUE((got.*pair).data == nullptr && (got.*pair).length == 0);
}

template <class Record, std::size_t count>
Numbers numbersOf(const Record& got, VT_PKCS11_BYTES Record::*const (&pairs)[count]) {
    Numbers numbers;
    for (auto pair : pairs)
        numbers.push_back(bytesOf(got.*pair));
    return numbers;
}

// An RSAPublicKey or RSAPrivateKey whose INTEGERs have these contents.
template <class Key, std::size_t count>
Key inDer(const Numbers& contents, const char* const (&names)[count]) {
    Key key;
    for (std::size_t i = 0; i < count; ++i) {
        AsnInteger number;
        number.SetData(reinterpret_cast<const char*>(contents[i].data()), 0,
                       static_cast<unsigned int>(contents[i].size()));
        key.Set(names[i], &number);
    }
    return key;
}
RSAPublicKey publicDer(const Numbers& contents) {
    return inDer<RSAPublicKey>(contents, kPublicNames);
}
RSAPrivateKey privateDer(const Numbers& contents) {
    return inDer<RSAPrivateKey>(contents, kPrivateNames);
}

TEST(key_numbers_test, APublicKeyGoesInAndOutAsACopy) {
    Numbers numbers = sample(2, 1);
    VT_P11_Key key;
    const PublicRecord given = publicRecord(numbers);
    ASSERT_EQ(key.setPublicKey(&given), 0);
    EXPECT_EQ(typeOf(key), -1) << "the code is not touched";
    numbers[0][0] = 0;
    PublicRecord got = {};
    ASSERT_EQ(key.getPublicKey(&got), 0);
    key.Reset();
    EXPECT_EQ(numbersOf(got, kPublicPairs), sample(2, 1));
    EXPECT_EQ(got.modulus.data[got.modulus.length], 0) << "a zero byte behind the data";
    VT_FreePublicKey(&got);
    expectZeros(got, kPublicPairs);
    VT_FreePublicKey(&got);
    VT_FreePublicKey(nullptr);
}

TEST(key_numbers_test, APrivateKeyGoesInAndOutAsACopy) {
    Numbers numbers = sample(8, 1);
    VT_P11_Key key;
    const PrivateRecord given = privateRecord(numbers);
    ASSERT_EQ(key.setPrivateKey(&given), 0);
    EXPECT_EQ(typeOf(key), -1) << "the code is not touched";
    for (Bytes& number : numbers)
        number[0] = 0;
    PrivateRecord got = {};
    ASSERT_EQ(key.getPrivateKey(&got), 0);
    key.Reset();
    EXPECT_EQ(numbersOf(got, kPrivatePairs), sample(8, 1));
    VT_FreePrivateKey(&got);
    expectZeros(got, kPrivatePairs);
    VT_FreePrivateKey(&got);
    VT_FreePrivateKey(nullptr);
}

TEST(key_numbers_test, NullStructuresAreRefused) {
    VT_P11_Key key = publicKey(sample(2, 1));
    EXPECT_EQ(key.setPublicKey(nullptr), -1010);
    EXPECT_EQ(key.getPublicKey(nullptr), -1010);
    EXPECT_EQ(publicNumbers(key), sample(2, 1));
    key = privateKey(sample(8, 1));
    EXPECT_EQ(key.setPrivateKey(nullptr), -1010);
    EXPECT_EQ(key.getPrivateKey(nullptr), -1010);
    EXPECT_EQ(privateNumbers(key), sample(8, 1));
}

// Each number in turn is null, or has no length.
TEST(key_numbers_test, APublicKeyThatIsNotWholeLeavesNone) {
    const Numbers numbers = sample(2, 1);
    for (auto pair : kPublicPairs) {
        for (const bool isNull : {true, false}) {
            VT_P11_Key key = publicKey(sample(2, 0x40));
            PublicRecord given = publicRecord(numbers);
            if (isNull)
                (given.*pair).data = nullptr;
            else
                (given.*pair).length = 0;
            EXPECT_EQ(key.setPublicKey(&given), 0);
            EXPECT_EQ(publicNumbers(key), kNoPublic);
            EXPECT_EQ(fieldsOf(key).publicModulus.data, nullptr);
            EXPECT_EQ(typeOf(key), 5);
        }
    }
}

TEST(key_numbers_test, APrivateKeyThatIsNotWholeLeavesNone) {
    const Numbers numbers = sample(8, 1);
    for (auto pair : kPrivatePairs) {
        for (const bool isNull : {true, false}) {
            VT_P11_Key key = privateKey(sample(8, 0x40));
            PrivateRecord given = privateRecord(numbers);
            if (isNull)
                (given.*pair).data = nullptr;
            else
                (given.*pair).length = 0;
            EXPECT_EQ(key.setPrivateKey(&given), 0);
            EXPECT_EQ(privateNumbers(key), kNoPrivate);
            for (const VT_PKCS11_BYTES& number : fieldsOf(key).privateNumbers)
                EXPECT_EQ(number.data, nullptr);
        }
    }
}

TEST(key_numbers_test, NoKeyGivesZeros) {
    unsigned char byte = 1;
    PublicRecord gotPublic = {{&byte, 1}, {&byte, 1}};
    EXPECT_EQ(VT_P11_Key().getPublicKey(&gotPublic), 0);
    expectZeros(gotPublic, kPublicPairs);
    PrivateRecord gotPrivate = {};
    for (auto pair : kPrivatePairs)
        gotPrivate.*pair = {&byte, 1};
    EXPECT_EQ(VT_P11_Key().getPrivateKey(&gotPrivate), 0);
    expectZeros(gotPrivate, kPrivatePairs);
}

TEST(key_numbers_test, ThePublicFormsAreIndependent) {
    VT_P11_Key key = privateKey(sample(8, 1));
    EXPECT_EQ(publicNumbers(key), kNoPublic);
    ASSERT_EQ(key.setRSAPrivateKey(privateDer(sample(8, 0x21))), 0);
    EXPECT_EQ(publicNumbers(key), kNoPublic);
    ASSERT_EQ(key.setRSAPublicKey(publicDer(sample(2, 0x31))), 0);
    EXPECT_EQ(typeOf(key), 5);
    EXPECT_EQ(publicNumbers(key), sample(2, 0x31));
    EXPECT_EQ(privateNumbers(key), sample(8, 0x21));
}

TEST(key_numbers_test, SettersReplaceWhatWasThere) {
    VT_P11_Key key = publicKey(sample(2, 1));
    const Numbers others = sample(2, 0x40);
    const PublicRecord given = publicRecord(others);
    ASSERT_EQ(key.setPublicKey(&given), 0);
    EXPECT_EQ(publicNumbers(key), others);
    ASSERT_EQ(key.setRSAPublicKey(publicDer(sample(2, 0x50))), 0);
    EXPECT_EQ(publicNumbers(key), sample(2, 0x50));
}

// What goes wrong with memory leaves no half of a key.
TEST(key_numbers_test, WithoutMemoryThereIsNoKey) {
    const Numbers twoNumbers = sample(2, 1);
    const Numbers eightNumbers = sample(8, 1);
    const PublicRecord givenPublic = publicRecord(twoNumbers);
    const PrivateRecord givenPrivate = privateRecord(eightNumbers);
    for (long n = 1; n <= 8; ++n) {
        VT_P11_Key key;
        int codes[4] = {1, 1, 1, 1};
        if (n <= 2) {
            const FailingHeap heap(n);
            codes[0] = key.setPublicKey(&givenPublic);
        }
        EXPECT_EQ(publicNumbers(key), kNoPublic);
        {
            const FailingHeap heap(n);
            codes[1] = key.setPrivateKey(&givenPrivate);
        }
        EXPECT_EQ(privateNumbers(key), kNoPrivate);
        key.setPublicKey(&givenPublic);
        key.setPrivateKey(&givenPrivate);
        PublicRecord gotPublic = {};
        PrivateRecord gotPrivate = {};
        if (n <= 2) {
            const FailingHeap heap(n);
            codes[2] = key.getPublicKey(&gotPublic);
        }
        {
            const FailingHeap heap(n);
            codes[3] = key.getPrivateKey(&gotPrivate);
        }
        expectZeros(gotPublic, kPublicPairs);
        expectZeros(gotPrivate, kPrivatePairs);
        for (const int index : {0, 1, 2, 3})
            EXPECT_EQ(codes[index], n > 2 && index % 2 == 0 ? 1 : 0) << index;
    }
}

// A zero byte in front, and then bytes with the top bit set, so that DER keeps it.
Bytes leadingZero(std::size_t length) {
    Bytes number(length, 0x9C);
    number[0] = 0;
    return number;
}

TEST(key_numbers_test, TheLeadingZeroGoesWhereTheRestIsAWholeKey) {
    for (std::size_t length = 2; length <= 300; ++length) {
        const Bytes given = leadingZero(length);
        const Bytes expected = length % 8 == 1 ? Bytes(given.begin() + 1, given.end()) : given;
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPublicKey(publicDer({given, given})), 0);
        EXPECT_EQ(publicNumbers(key), Numbers({expected, expected})) << length;
        ASSERT_EQ(key.setRSAPrivateKey(privateDer(Numbers(8, given))), 0);
        EXPECT_EQ(privateNumbers(key), Numbers(8, expected)) << length;
    }
}

TEST(key_numbers_test, OfKnownLengthsTheLeadingZeroGoesOrStays) {
    struct Row {
        std::size_t given;
        std::size_t held;
    };
    for (const Row& row : {Row{129, 128}, Row{65, 64}, Row{257, 256}, Row{130, 130}, Row{513, 512}, Row{258, 258},
                           Row{9, 8}, Row{2, 2}}) {
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPublicKey(publicDer({leadingZero(row.given), {3}})), 0);
        EXPECT_EQ(publicNumbers(key)[0].size(), row.held);
    }
}

TEST(key_numbers_test, OtherFirstBytesStayAtAnyLength) {
    for (const std::size_t length : {1U, 8U, 9U, 64U, 65U, 129U, 257U}) {
        const Bytes given(length, 0x71);
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPublicKey(publicDer({given, given})), 0);
        EXPECT_EQ(publicNumbers(key), Numbers({given, given})) << length;
    }
}

// Some programs leave the zero out that keeps a number positive.
TEST(key_numbers_test, ANegativeNumberCountsByItsBytes) {
    const Bytes modulus(128, 0xC3);
    VT_P11_Key key;
    ASSERT_EQ(key.setRSAPublicKey(publicDer({modulus, {0x80}})), 0);
    EXPECT_EQ(publicNumbers(key), Numbers({modulus, {0x80}}));
    RSAPublicKey written;
    ASSERT_EQ(key.getRSAPublicKey(written), 0);
    EXPECT_EQ(encoded(written),
              der::sequence({der::tlv(0x02, der::join({{0}, modulus})), der::tlv(0x02, {0x00, 0x80})}));
}

// The numbers of a vector as the object holds them: with the zero of DER where the rule leaves it.
Numbers held(const KeyVector& vector) {
    Numbers numbers;
    for (const char* text : vector.numbers) {
        Bytes number = hex(text);
        if (number[0] >= 0x80 && number.size() % 8 != 0)
            number.insert(number.begin(), 0);
        numbers.push_back(number);
    }
    return numbers;
}

TEST(key_numbers_test, ReadsThePublicKeysOfOpensslAndWritesTheSame) {
    for (const KeyVector& vector : kKeyVectors) {
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPublicKey(decoded<RSAPublicKey>(vector.publicDer)), 0);
        EXPECT_EQ(typeOf(key), 5);
        const Numbers expected = held(vector);
        EXPECT_EQ(publicNumbers(key), Numbers({expected[0], expected[1]})) << vector.bits;
        RSAPublicKey written = publicDer(sample(2, 1));
        ASSERT_EQ(key.getRSAPublicKey(written), 0);
        EXPECT_EQ(encoded(written), hex(vector.publicDer)) << vector.bits;
    }
}

TEST(key_numbers_test, ReadsThePrivateKeysOfOpensslAndWritesTheSame) {
    for (const KeyVector& vector : kKeyVectors) {
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPrivateKey(decoded<RSAPrivateKey>(vector.privateDer)), 0);
        EXPECT_EQ(typeOf(key), 6);
        EXPECT_EQ(privateNumbers(key), held(vector)) << vector.bits;
        RSAPrivateKey written = privateDer(sample(8, 1));
        ASSERT_EQ(key.getRSAPrivateKey(written), 0);
        EXPECT_EQ(encoded(written), hex(vector.privateDer)) << vector.bits;
    }
}

TEST(key_numbers_test, AModulusOf1032BitsKeepsItsZero) {
    VT_P11_Key key;
    ASSERT_EQ(key.setRSAPublicKey(decoded<RSAPublicKey>(kKeyVectors[2].publicDer)), 0);
    ASSERT_EQ(kKeyVectors[2].bits, 1032);
    EXPECT_EQ(publicNumbers(key)[0].size(), 130U);
    EXPECT_EQ(publicNumbers(key)[0][0], 0);
}

TEST(key_numbers_test, NumbersInDerAreShortestWhateverZerosTheyCarry) {
    for (const std::size_t zeros : {0U, 1U, 2U, 3U, 9U}) {
        for (const KeyVector& vector : kKeyVectors) {
            Numbers padded;
            for (const char* text : vector.numbers) {
                padded.emplace_back(zeros, 0);
                const Bytes number = hex(text);
                padded.back().insert(padded.back().end(), number.begin(), number.end());
            }
            RSAPublicKey writtenPublic;
            ASSERT_EQ(publicKey(padded).getRSAPublicKey(writtenPublic), 0);
            EXPECT_EQ(encoded(writtenPublic), hex(vector.publicDer));
            RSAPrivateKey writtenPrivate;
            ASSERT_EQ(privateKey(padded).getRSAPrivateKey(writtenPrivate), 0);
            EXPECT_EQ(encoded(writtenPrivate), hex(vector.privateDer));
        }
    }
}

TEST(key_numbers_test, ANumberOfZerosIsZeroInDer) {
    RSAPublicKey written;
    ASSERT_EQ(publicKey({{0, 0, 0}, {0}}).getRSAPublicKey(written), 0);
    EXPECT_EQ(encoded(written), hex("30 06 02 01 00 02 01 00"));
    VT_P11_Key key;
    EXPECT_EQ(key.setRSAPublicKey(written), -1015);
}

TEST(key_numbers_test, TheCodeDecidesWhatIsWritten) {
    for (const int code : {-1, 1, 2, 3, 4, 5, 6, 7}) {
        VT_P11_Key key = privateKey(sample(8, 1));
        const Numbers two = sample(2, 1);
        const PublicRecord given = publicRecord(two);
        key.setPublicKey(&given);
        if (code == -1) {
            VT_P11_Key noCode;
            noCode.setPublicKey(&given);
            key = noCode;
        } else {
            key.setKeyType(code);
        }
        RSAPublicKey writtenPublic = publicDer(sample(2, 0x20));
        EXPECT_EQ(key.getRSAPublicKey(writtenPublic), code == 5 ? 0 : -1000);
        EXPECT_EQ(encoded(writtenPublic), encoded(publicDer(sample(2, code == 5 ? 1 : 0x20))));
        RSAPrivateKey writtenPrivate = privateDer(sample(8, 0x20));
        EXPECT_EQ(key.getRSAPrivateKey(writtenPrivate), code == 6 ? 0 : -1000);
        EXPECT_EQ(writtenPrivate.GetVersion() != nullptr, code == 6);
    }
}

TEST(key_numbers_test, WithoutNumbersNothingIsWritten) {
    VT_P11_Key key;
    key.setKeyType(5);
    RSAPublicKey writtenPublic = publicDer(sample(2, 1));
    EXPECT_EQ(key.getRSAPublicKey(writtenPublic), -1003);
    EXPECT_EQ(writtenPublic.GetPkModulus(), nullptr) << "the target is reset";
    key.setKeyType(6);
    RSAPrivateKey writtenPrivate = privateDer(sample(8, 1));
    EXPECT_EQ(key.getRSAPrivateKey(writtenPrivate), -1003);
    EXPECT_EQ(writtenPrivate.GetPkModulus(), nullptr);
}

// Each number in turn is missing; before it in the order of loading there is the new key, behind it nothing.
template <class Spoil>
void expectStopAtEachPrivateNumber(int code, Spoil&& spoil) {
    const Numbers numbers = sample(8, 0x21);
    for (std::size_t stop = 0; stop < 8; ++stop) {
        RSAPrivateKey given = privateDer(numbers);
        spoil(given, kPrivateNames[kLoadOrder[stop]]);
        VT_P11_Key key = privateKey(sample(8, 1));
        key.setKeyType(2);
        EXPECT_EQ(key.setRSAPrivateKey(given), code) << kPrivateNames[kLoadOrder[stop]];
        EXPECT_EQ(typeOf(key), 2) << "the code comes at the end";
        Numbers expected = kNoPrivate;
        for (std::size_t i = 0; i < stop; ++i)
            expected[kLoadOrder[i]] = numbers[kLoadOrder[i]];
        EXPECT_EQ(privateNumbers(key), expected) << kPrivateNames[kLoadOrder[stop]];
        // A key that is not whole is not written either.
        key.setKeyType(6);
        RSAPrivateKey written;
        EXPECT_EQ(key.getRSAPrivateKey(written), -1003);
    }
}

template <class Spoil>
void expectStopAtEachPublicNumber(int code, Spoil&& spoil) {
    const Numbers numbers = sample(2, 0x21);
    for (std::size_t stop = 0; stop < 2; ++stop) {
        RSAPublicKey given = publicDer(numbers);
        spoil(given, kPublicNames[stop]);
        VT_P11_Key key = publicKey(sample(2, 1));
        key.setKeyType(2);
        EXPECT_EQ(key.setRSAPublicKey(given), code) << kPublicNames[stop];
        EXPECT_EQ(typeOf(key), 2) << "the code comes at the end";
        Numbers expected = kNoPublic;
        if (stop == 1)
            expected[0] = numbers[0];
        EXPECT_EQ(publicNumbers(key), expected) << kPublicNames[stop];
        key.setKeyType(5);
        RSAPublicKey written;
        EXPECT_EQ(key.getRSAPublicKey(written), -1003);
    }
}

TEST(key_numbers_test, AnAbsentNumberIsReported) {
    const auto spoil = [](AsnSequence& key, const char* name) { key.Find(name)->SetAsnPresent(false); };
    expectStopAtEachPublicNumber(-1010, spoil);
    expectStopAtEachPrivateNumber(-1010, spoil);
}

TEST(key_numbers_test, ANumberThatIsZeroIsReported) {
    const auto spoil = [](AsnSequence& key, const char* name) {
        const AsnInteger zero(0);
        key.Set(name, &zero);
    };
    expectStopAtEachPublicNumber(-1015, spoil);
    expectStopAtEachPrivateNumber(-1015, spoil);
}

TEST(key_numbers_test, AnEmptyKeyIsReported) {
    VT_P11_Key key;
    EXPECT_EQ(key.setRSAPublicKey(RSAPublicKey()), -1010);
    EXPECT_EQ(key.setRSAPrivateKey(RSAPrivateKey()), -1010);
    EXPECT_EQ(key.setRSAPublicKey(decoded<RSAPublicKey>("30 00")), -1010);
    EXPECT_EQ(key.setRSAPrivateKey(decoded<RSAPrivateKey>("30 00")), -1010);
    EXPECT_EQ(typeOf(key), -1);
}

TEST(key_numbers_test, AMissingElement) {
    RSAPublicKey noModulus = publicDer(sample(2, 1));
    noModulus.DelElement("pkModulus");
    RSAPublicKey noExponent = publicDer(sample(2, 1));
    noExponent.DelElement("publicExponent");
    VT_P11_Key key = publicKey(sample(2, 0x40));
    EXPECT_EQ(key.setRSAPublicKey(noModulus), -1010);
    EXPECT_THROW(key.setRSAPublicKey(noExponent), AsnDataExp);
    RSAPrivateKey noCoefficient = privateDer(sample(8, 1));
    noCoefficient.DelElement("coefficient");
    EXPECT_EQ(key.setRSAPrivateKey(noCoefficient), -1010);
    for (const char* name : kPrivateNames) {
        if (name == kPrivateNames[7])
            continue;
        RSAPrivateKey given = privateDer(sample(8, 1));
        given.DelElement(name);
        EXPECT_THROW(key.setRSAPrivateKey(given), AsnDataExp) << name;
    }
    EXPECT_EQ(typeOf(key), 5);
    noModulus.ClearAllElements();
    const RSAPublicKey noList(noModulus);
    EXPECT_THROW(key.setRSAPublicKey(noList), MiInvalidArgumentExp);
}

TEST(key_numbers_test, ANumberWithoutMemoryIsReported) {
    const Numbers numbers = sample(8, 0x21);
    const RSAPrivateKey givenPrivate = privateDer(numbers);
    const RSAPublicKey givenPublic = publicDer(numbers);
    for (std::size_t stop = 0; stop < 8; ++stop) {
        VT_P11_Key key;
        int code = 0;
        {
            const FailingHeap heap(static_cast<long>(stop) + 1);
            code = key.setRSAPrivateKey(givenPrivate);
        }
        EXPECT_EQ(code, -1031);
        EXPECT_EQ(typeOf(key), -1);
        Numbers expected = kNoPrivate;
        for (std::size_t i = 0; i < stop; ++i)
            expected[kLoadOrder[i]] = numbers[kLoadOrder[i]];
        EXPECT_EQ(privateNumbers(key), expected) << stop;
    }
    for (const long n : {1, 2}) {
        VT_P11_Key key;
        int code = 0;
        {
            const FailingHeap heap(n);
            code = key.setRSAPublicKey(givenPublic);
        }
        EXPECT_EQ(code, -1031);
        EXPECT_EQ(typeOf(key), -1);
        EXPECT_EQ(publicNumbers(key), n == 1 ? kNoPublic : Numbers({numbers[0], {}}));
    }
}

TEST(key_numbers_test, TheVersionIsNotLookedAt) {
    for (const int version : {0, 1, 77, -1}) {
        RSAPrivateKey given = privateDer(sample(8, 1));
        given.SetVersion(AsnInteger(version));
        VT_P11_Key key;
        ASSERT_EQ(key.setRSAPrivateKey(given), 0);
        RSAPrivateKey written;
        ASSERT_EQ(key.getRSAPrivateKey(written), 0);
        EXPECT_EQ(written.GetVersion()->GetInteger(), 0);
    }
}

// Whatever a broken key decodes to, the object takes it or says why not, and what it took goes through the engine's
// objects.
template <class Key>
void expectAnswer(const Bytes& der, int (VT_P11_Key::*set)(const Key&)) {
    VT_P11_Key key;
    try {
        const int code = (key.*set)(decoded<Key>(der));
        EXPECT_TRUE(code == 0 || code == -1010 || code == -1015) << code;
        values::KeyObject object;
        const int made = key.GetVCKKIObj(&object.object, key.getAK());
        EXPECT_EQ(made, code == 0 ? 0 : -1006);
    } catch (const MiException&) {
        EXPECT_EQ(typeOf(key), -1);
    }
}

TEST(key_numbers_test, BrokenKeysGiveACodeOrAnException) {
    const KeyVector& vector = kKeyVectors[0];
    const auto all = [](const Bytes& good, const std::function<void(const Bytes&)>& use) {
        for (const auto& list :
             {support::truncations(good), support::withShortLengths(good), support::withLongLengths(good),
              support::withTags(good, 0x05), support::withTags(good, 0x30), support::withTrailingData(good, {0, 0}),
              support::withIndefiniteLengths(good)}) {
            for (const support::Broken& broken : list)
                use(broken.bytes);
        }
    };
    all(hex(vector.publicDer), [](const Bytes& der) { expectAnswer(der, &VT_P11_Key::setRSAPublicKey); });
    all(hex(vector.privateDer), [](const Bytes& der) { expectAnswer(der, &VT_P11_Key::setRSAPrivateKey); });
}

TEST(key_numbers_test, AHugeModulusIsHeldAndRefusedByTheEngine) {
    VT_P11_Key key;
    ASSERT_EQ(key.setRSAPublicKey(publicDer({Bytes(100000, 0x55), {3}})), 0);
    EXPECT_EQ(publicNumbers(key)[0].size(), 100000U);
    values::KeyObject object;
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 2), -10);
    EXPECT_EQ(object.object, nullptr);
}

}  // namespace
