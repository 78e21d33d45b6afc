// A key pair in the chosen provider, and the PKCS#10 request for it as base64 text.
#ifndef VT_ENROL_REQUEST_H
#define VT_ENROL_REQUEST_H

#include <cstddef>
#include <cstdint>

#include "enrol/heap_text.h"

namespace enrol {

// GenerateRequest makes a key of keyBits (512, 1024, 2048 or 4096) in a fresh container of sProviderName and gives the
// request with an empty subject. textLength receives the buffer's size, which can exceed the text. 0 or a code.
std::int32_t GenerateRequest(std::int32_t keyBits, HeapText& text, std::size_t& textLength);

// GenerateRequestWithSubject does the same with a subject such as "C=DE,O=Example,CN=Name" in UTF-8, which need not be
// terminated. exportable is 1 or 0; either way the key is under the platform's high protection. 0 or a code.
std::int32_t GenerateRequestWithSubject(std::int32_t keyBits, std::int32_t exportable, const char* subject,
                                        std::size_t subjectLength, HeapText& text, std::size_t& textLength);

}  // namespace enrol

#endif
