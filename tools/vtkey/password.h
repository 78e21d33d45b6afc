// Passwords, which never stand on a command line.
#ifndef VT_TOOLS_VTKEY_PASSWORD_H
#define VT_TOOLS_VTKEY_PASSWORD_H

#include <string>

#include "tools/common/arguments.h"

namespace vtkey {

// Whether a password that is typed is asked for again.
enum class Ask { kOnce, kTwice };

// The password: the first line of the file of --password-file, the variable of --password-env, or without both what is
// typed at the terminal, which does not show it. It is text in UTF-8, or what is no UTF-8 in bytes of one character
// each, and comes back with one byte a character, as the toolkit takes it. UsageError for both options, InputError for
// a password that cannot be had, and for a character above U+00FF.
std::string askPassword(const tools::Arguments& arguments, Ask ask);

// The options of openssl that name the same source: " -passin file:FILE"; empty for a password that is typed.
std::string opensslSource(const tools::Arguments& arguments, const std::string& option);

// A word for a command line of this system's shell: in quotes where it needs them.
std::string shellWord(const std::string& word);

}  // namespace vtkey

#endif
