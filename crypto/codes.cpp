#include "crypto/codes.h"

namespace crypto {

const char* const kEngineTexts[kEngineTextCount] = {
#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy) gbk,
#define VT_ENGINE_CODE_WITHOUT_TEXT(value, constant, raised, cause, remedy)
#define VT_RSA_CODE(value, constant, text, raised, remedy)
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_RSA_CODE
};

const char* const kRsaTexts[kRsaTextCount] = {
#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy)
#define VT_RSA_CODE(value, constant, text, raised, remedy) text,
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_ENGINE_CODE_WITHOUT_TEXT
#undef VT_RSA_CODE
};

}  // namespace crypto
