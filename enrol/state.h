// The settings and staging buffers that all script methods share. They are module state: they survive between calls and
// across instances, and rest on the browser's single plug-in thread.
#ifndef VT_ENROL_STATE_H
#define VT_ENROL_STATE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace enrol {

// Name of the chosen provider, NUL-terminated, on the malloc heap; null until chooseProvider.
extern char* sProviderName;

// Key specification, 2 (AT_SIGNATURE) at first. Any integer is stored unchecked; never reset.
extern std::int32_t sKeySpec;

// Hash of the request's signature, CALG_SHA1 at first; never reset.
extern std::int32_t sHashAlgId;

// Code of the last method that wrote one; IsCertExist alone reads it back.
extern std::int32_t sLastError;

// Staging of the two request methods, and of listCSP.
extern char sRequestText[4096];
extern char sProviderListText[2048];

// chooseProvider stores a copy of length bytes of name as sProviderName and frees the former one. It does not ask
// whether such a provider exists. False when memory is exhausted; then no provider is chosen.
bool chooseProvider(const char* name, std::size_t length);

// chosenProvider gives a copy of sProviderName, empty when there is none. An operation that calls a provider works on
// such a copy: a provider's dialog lets messages through, and with them calls that choose another one or none.
std::string chosenProvider();

// forgetProvider frees and nulls sProviderName and zeroes sProviderListText: every instance starts and ends so.
void forgetProvider();

}  // namespace enrol

#endif
