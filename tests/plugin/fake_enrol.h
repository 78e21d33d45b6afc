// The operations of `enrol` as fakes, for tests of the dispatch alone: each writes down its call and gives what the
// test chose. The settings (enrol/state.h) and the codes are the real ones.
#ifndef VT_TESTS_PLUGIN_FAKE_ENROL_H
#define VT_TESTS_PLUGIN_FAKE_ENROL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fake_enrol {

struct Script {
    // "GenerateRequest 1024", "DeleteCertificate CN=a|0A"; a NUL inside a text shows as "\0".
    std::vector<std::string> calls;

    // What the operation called next gives.
    std::int32_t code = 0;

    // The request, and its buffer's size; hasText false gives none.
    bool hasText = true;
    std::string text = "REQUEST";
    std::size_t textLength = 8;

    // The provider's name; hasName false is the end of the list.
    bool hasName = true;
    std::string name = "Provider";
};

extern Script script;

}  // namespace fake_enrol

#endif
