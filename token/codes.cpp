#include "token/codes.h"

#include "crypto/codes.h"

const char* VT_EngineText(int code) {
    if (code > 0 || code <= -crypto::kEngineTextCount)
        return nullptr;
    return crypto::kEngineTexts[-code];
}
