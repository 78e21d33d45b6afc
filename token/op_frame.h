// The frame of the one-shot operations of VT_P11_OP: key and algorithm object, init, run, output. For the sources of
// this room.
#ifndef VT_TOKEN_OP_FRAME_H
#define VT_TOKEN_OP_FRAME_H

#include <cstdlib>
#include <memory>

#include "crypto/codes.h"
#include "crypto/operation.h"
#include "foundation/byte.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/holders.h"
#include "token/key.h"

namespace token {

inline const std::uint8_t* bytesOf(const MiByte& value) {
    return reinterpret_cast<const std::uint8_t*>(value.GetChars());
}

inline bool isOnToken(const CHOOSER* chooser) {
    return chooser != nullptr && chooser->useToken != 0;
}

// The objects of one operation. The algorithm object goes last: it takes a session key out of the token.
struct Frame {
    OwnedAlg alg;
    OwnedKey key;

    // build sets both objects up, with the class that the key has; a code ends the operation.
    int build(const VT_P11_Alg& algorithm, const VT_P11_Key& value) {
        const int keyClass = value.getAK();
        if (const int code = buildKey(value, keyClass))
            return code;
        return buildAlg(algorithm, keyClass);
    }

    int buildKey(const VT_P11_Key& value, int keyClass) {
        if (key == nullptr)
            return crypto::kNoMemory;
        return key.build([&](unsigned char** object) { return value.GetVCKKIObj(object, keyClass); });
    }

    int buildAlg(const VT_P11_Alg& algorithm, int keyClass) {
        if (alg == nullptr)
            return crypto::kNoMemory;
        return alg.build([&](unsigned char** object) { return algorithm.GetVCKAIObj(object, keyClass); });
    }
};

// Where an operation writes before the caller's object takes the bytes. A token is told the size; the engine writes
// what its query of the size says.
class Output {
  public:
    // allocate makes room for size bytes and two to spare. The room is not cleared: it may be large, and the operation
    // fills what it reports. 0; -3 for a size that does not fit into 32 bits; -1031.
    int allocate(std::uint64_t size) {
        constexpr std::uint32_t kSpare = 2;
        if (size > UINT32_MAX - kSpare)
            return crypto::kWrongLength;
        bytes_.reset(static_cast<std::uint8_t*>(std::malloc(static_cast<std::size_t>(size) + kSpare)));
        length = static_cast<std::uint32_t>(size);
        return bytes_ == nullptr ? kOutOfMemory : 0;
    }

    // take runs the operation, run(bytes, &length), and hands the bytes on if it succeeded. What a module reports is
    // never more than the room.
    template <class Run>
    int take(MiByte& target, Run&& run) {
        const int code = run(bytes(), &length);
        if (code == 0)
            target.SetByte(reinterpret_cast<const char*>(bytes()), length);
        if (code == kBufferTooSmall)
            drop(run);
        return code;
    }

    // drop ends an operation of a token without its output. A module that was asked for the size alone, or whose output
    // did not fit, keeps the operation open, and with it the session closed to others, until it is given room enough.
    template <class Run>
    static void drop(Run&& run) {
        constexpr std::uint32_t kPlenty = 0x10000;
        Output rest;
        if (rest.allocate(kPlenty) == 0)
            run(rest.bytes(), &rest.length);
    }

    [[nodiscard]] std::uint8_t* bytes() const { return bytes_.get(); }

    std::uint32_t length = 0;  // the size for the operation, and then what it reports

  private:
    static constexpr int kBufferTooSmall = 0x150;  // CKR_BUFFER_TOO_SMALL

    struct Free {
        void operator()(void* block) const { std::free(block); }
    };
    std::unique_ptr<std::uint8_t, Free> bytes_;
};

}  // namespace token

#endif
