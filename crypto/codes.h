// Codes of the engine and their texts, all from codes.def.
//
// Entries give 0 or one of the codes -1 to -22; the RSA core below them gives codes from -101 down, of which -103 and
// -106 come through to the entries. No operation reads the texts: they are for users' programs.
#ifndef VT_CRYPTO_CODES_H
#define VT_CRYPTO_CODES_H

namespace crypto {

#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy) inline constexpr int constant = value;
#define VT_ENGINE_CODE_WITHOUT_TEXT(value, constant, raised, cause, remedy) inline constexpr int constant = value;
#define VT_RSA_CODE(value, constant, text, raised, remedy) inline constexpr int constant = value;
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_ENGINE_CODE_WITHOUT_TEXT
#undef VT_RSA_CODE

// kEngineTexts: entry i is the text of code -i, NUL-terminated GBK. -22 has none.
inline constexpr int kEngineTextCount = 22;
extern const char* const kEngineTexts[kEngineTextCount];

// kRsaTexts: entry 0 is the text of code 0, entry i that of -(100 + i). The last entry is for any number that is no
// code.
inline constexpr int kRsaTextCount = 16;
extern const char* const kRsaTexts[kRsaTextCount];

}  // namespace crypto

#endif
