// The subject of a request: a text such as "C=DE,O=Example,OU=Unit,CN=Name" to the DER of a Name.
//
// Components stand between commas alone: a blank after a comma belongs to the next key, which is then unknown. Each
// component becomes an RDN of one attribute, in the text's order. Operations here give 0 or a bare reason.
#ifndef VT_ENROL_SUBJECT_H
#define VT_ENROL_SUBJECT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "enrol/heap_bytes.h"
#include "enrol/reasons.h"
#include "platform/types.h"

namespace enrol {

// A subject has at most so many components.
inline constexpr std::size_t kMaxSubjectComponents = 10;

struct SubjectComponent {
    CERT_RDN_ATTR attr = {};
    std::unique_ptr<BYTE[]> value;  // what attr.Value points to
};

// BuildSubjectComponent reads one component, "key=value". Keys are C, O, OU and CN in either case. C is a
// PrintableString in the thread's ANSI code page with its size in bytes; the others are a UTF8String given as wide text
// with its size in bytes. Blanks count, and the value may hold further "=" or be empty.
// 0; 8203 exhausted memory; 8124 the value of C has no ANSI form; 8227 another key; 8228 no "=".
std::int32_t BuildSubjectComponent(std::wstring_view text, SubjectComponent& component);

// EncodeSubject gives the DER of the Name; no components at all are 30 00.
// 0; 8124 when the platform cannot encode it; 8203 exhausted memory; 8227 for more than kMaxSubjectComponents.
std::int32_t EncodeSubject(const SubjectComponent* components, std::size_t count, HeapBytes& der);

// BuildSubject does both for a whole text, up to its first NUL. Empty components are passed over.
// 0 or a reason; 8227 also for an eleventh component.
std::int32_t BuildSubject(std::wstring_view text, HeapBytes& der);

}  // namespace enrol

#endif
