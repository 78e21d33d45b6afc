// Operations whose allocations fail in turn: a code or std::bad_alloc, outputs as they were, nothing left behind.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>

#include "schema/schema.h"
#include "tests/support/failing_heap.h"
#include "tests/token/operations.h"
#include "token/chooser_object.h"
#include "token/module_calls.h"

namespace {

using namespace operations;

// A module that allocates nothing itself, so that all that fails is ours. It counts the objects that it holds.
int objectsInToken = 0;
const std::uint8_t kModulus[] = {0xC1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 17};

CK_RV keyedInit(CK_SESSION_HANDLE /*session*/, MECHANISM* /*mechanism*/, CK_OBJECT_HANDLE /*key*/) {
    return CKR_OK;
}
CK_RV give(CK_SESSION_HANDLE /*session*/, CK_BYTE* /*input*/, CK_ULONG /*inputLength*/, CK_BYTE* output,
           CK_ULONG* length) {
    constexpr CK_ULONG kSize = 8;
    *length = kSize;
    if (output != nullptr)
        std::memset(output, 0x51, kSize);
    return CKR_OK;
}
CK_RV giveAttributes(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE /*object*/, ATTRIBUTE* attributes,
                     CK_ULONG count) {
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ULONG size = attributes[i].type == CKA_PUBLIC_EXPONENT ? 3 : sizeof kModulus;
        if (attributes[i].value != nullptr)
            std::memcpy(attributes[i].value, kModulus, size);
        attributes[i].valueLength = size;
    }
    return CKR_OK;
}
// A label of one letter is free.
bool isThere = false;

CK_FUNCTION_LIST makeList() {
    CK_FUNCTION_LIST list = {};
    list.C_CreateObject = [](CK_SESSION_HANDLE, ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE* object) -> CK_RV {
        ++objectsInToken;
        *object = 1;
        return CKR_OK;
    };
    list.C_DestroyObject = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE) -> CK_RV {
        --objectsInToken;
        return CKR_OK;
    };
    list.C_GetAttributeValue = giveAttributes;
    list.C_FindObjectsInit = [](CK_SESSION_HANDLE, ATTRIBUTE* attributes, CK_ULONG) -> CK_RV {
        isThere = attributes[0].valueLength != 1;
        return CKR_OK;
    };
    list.C_FindObjects = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE* object, CK_ULONG, CK_ULONG* count) -> CK_RV {
        *object = 1;
        *count = isThere ? 1 : 0;
        return CKR_OK;
    };
    list.C_FindObjectsFinal = [](CK_SESSION_HANDLE) -> CK_RV { return CKR_OK; };
    list.C_EncryptInit = list.C_DecryptInit = list.C_SignInit = list.C_VerifyInit = keyedInit;
    list.C_Encrypt = list.C_Decrypt = list.C_Sign = list.C_Digest = give;
    list.C_DigestInit = [](CK_SESSION_HANDLE, MECHANISM*) -> CK_RV { return CKR_OK; };
    list.C_Verify = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG) -> CK_RV { return CKR_OK; };
    list.C_SeedRandom = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG) -> CK_RV { return CKR_OK; };
    list.C_GenerateRandom = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG) -> CK_RV { return CKR_OK; };
    return list;
}

// Operations by a chooser of the test's own, put in by the object's layout.
class TokenOp : public VT_P11_OP {
  public:
    TokenOp() {
        InstallTokenSide();
        void* own = &chooser_;
        VT_P11_OP& base = *this;
        std::memcpy(static_cast<void*>(&base), static_cast<const void*>(&own), sizeof base);
    }

  private:
    CK_FUNCTION_LIST list_ = makeList();
    CHOOSER chooser_ = {1, &list_, nullptr, 1};
};

// Runs the operation with each of its allocations failing in turn, and once more without. It must give one of the codes
// of exhausted memory, or throw, whenever it was one of its own allocations; the output is then as it was.
void expectSafe(const std::function<int(MiByte&)>& operation) {
    const MiByte before = untouched();
    MiByte output = before;
    ASSERT_EQ(operation(output), 0);
    const MiByte whole = output;
    long runs = 0;
    for (long n = 1;; ++n, ++runs) {
        output = before;
        int code = 0;
        bool failed = false;
        {
            const support::FailingHeap heap(n);
            try {
                code = operation(output);
            } catch (const std::bad_alloc&) {
                code = -1;
            }
            failed = heap.failed();
        }
        if (!failed)
            break;
        EXPECT_TRUE(code == -1 || code == -1031) << code << " at allocation " << n;
        EXPECT_EQ(output, before) << "at allocation " << n;
        EXPECT_EQ(objectsInToken, 0) << "at allocation " << n;
    }
    EXPECT_EQ(output, whole);
    EXPECT_GT(runs, 0);
}

void expectEveryOperationSafe(VT_P11_OP& op) {
    const RsaKeyVector& rsa = keyOfBits(512);
    const VT_P11_Key open = publicKey(rsa.items);
    const VT_P11_Key secret = privateKey(rsa.items);
    const VT_P11_Key des = sessionKey(2, Bytes(8, 1));
    const VT_P11_Alg desAlg = algorithm(4, Bytes(8, 2));
    const VT_P11_Alg rsaAlg = algorithm(8);
    const VT_P11_Alg sha1 = algorithm(1);
    const VT_P11_Alg sha1Rsa = algorithm(9);
    const MiByte text = mi("what is worked on");
    const MiByte signature = mi(hex(rsa.signedBlock));
    const MiByte hidden = mi(hex(rsa.encrypted));
    const MiByte message = mi(hex(rsa.message));
    expectSafe([&](MiByte& output) { return op.Encrypt(desAlg, des, text, output); });
    expectSafe([&](MiByte& output) { return op.Encrypt(rsaAlg, open, text, output); });
    expectSafe([&](MiByte& output) { return op.Decrypt(rsaAlg, secret, hidden, output); });
    expectSafe([&](MiByte& output) { return op.VerifyRecover(rsaAlg, open, signature, output); });
    expectSafe([&](MiByte& output) { return op.RSABigEncrypt(open, text, output); });
    expectSafe([&](MiByte& output) { return op.RSABigDecrypt(secret, hidden, output); });
    expectSafe([&](MiByte& output) { return op.Sign(rsaAlg, secret, text, output); });
    expectSafe([&](MiByte& output) { return op.Sign(sha1Rsa, secret, text, output); });
    expectSafe([&](MiByte& output) { return op.SignRecover(rsaAlg, secret, text, output); });
    expectSafe([&](MiByte&) { return op.Verify(rsaAlg, open, message, signature); });
    expectSafe([&](MiByte& output) { return op.Digest(sha1, text, output); });
}

TEST(op_exhaustion_test, InSoftware) {
    SoftOp op;
    expectEveryOperationSafe(op);
}

TEST(op_exhaustion_test, InAToken) {
    TokenOp op;
    expectEveryOperationSafe(op);
    const VT_P11_Key label = labelKey("label", 6);
    const VT_P11_Alg rsaAlg = algorithm(8);
    const MiByte text = mi("what is worked on");
    expectSafe([&](MiByte& output) { return op.Sign(rsaAlg, label, text, output); });
    expectSafe([&](MiByte& output) { return op.GenerateRandom(output, 0, text); });
}

// The generator has a working buffer of its own, and without it gives what was in the output: zeros, not what was in
// that memory before.
TEST(op_exhaustion_test, RandomBytesWithoutMemoryAreZeros) {
    SoftOp op;
    const MiByte seed = mi("seed");
    const std::string zeros(32, '\0');
    bool wasZeros = false;
    support::forEachExhaustion([&] {
        MiByte output;
        try {
            const int code = op.GenerateRandom(output, 32, seed);
            const bool isZeros = output.CompareTo(zeros.data(), 32) == 0;
            wasZeros = wasZeros || (code == 0 && isZeros);
        } catch (const std::bad_alloc&) {  // the output's way
        }
    });
    EXPECT_TRUE(wasZeros);
}

TEST(op_exhaustion_test, KeyPairsInSoftware) {
    SoftOp op;
    const MiByte label = mi("label");
    expectSafe([&](MiByte&) {
        VT_P11_Key open;
        VT_P11_Key secret;
        const int code = op.GenRSAKeyPair(open, label, secret, label, 512, 0);
        // -11 is what the generator gives when it cannot hold its numbers.
        return code == -11 ? -1 : code;
    });
}

TEST(op_exhaustion_test, ObjectsOfAToken) {
    TokenOp op;
    const MiByte taken = mi("taken");
    expectSafe([&](MiByte&) {
        VT_P11_Key open;
        return op.GetHardPubKey(taken, open);
    });
    RSAPublicKey numbers;
    ASSERT_EQ(publicKey(keyOfBits(512).items).getRSAPublicKey(numbers), 0);
    bool isSame = false;
    support::forEachExhaustion([&] {
        try {
            isSame = isSame || op.CheckRSAKeyPair(numbers, text("taken"), 5);
        } catch (const std::bad_alloc&) {  // the ASN.1 runtime's way
        }
    });
    EXPECT_FALSE(isSame);
    std::uint32_t length = 0;
    std::uint32_t longest = 0;
    EXPECT_EQ(support::forEachExhaustion([&] {
                  op.GetCertFromToken(text("taken"), 5, nullptr, &length);
                  longest = length > longest ? length : longest;
              }),
              1);
    EXPECT_EQ(longest, sizeof kModulus);
}

TEST(op_exhaustion_test, Choosers) {
    VT_P11_OP op;
    VT_P11_SELECTION selection = {};
    expectSafe([&](MiByte&) {
        const int code = op.createChooser(&selection);
        op.destroyChooser();
        return code;
    });
}

}  // namespace
