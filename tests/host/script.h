// Script is what vt_host runs: one command a line, in the manner of a page's script.
//
//     call genP10_exp_withdn 2048 1 "CN=x,C=DE"   calls a method; prints its outcome as one line of JSON
//     call writeClientCert @cert.b64              @file is the file's content as a string
//     call getVersion
//     default 1 2                                 calls the default method
//     set KeySpec 1                               assigns a property
//     get KeySpec                                 reads one
//     has genP10                                  whether there is such a method or property
//     providers                                   walks listCSP to its end, a line for each
//     save request.b64                            writes the last result's text to a file
//     expect 0                                    ends the script with failure when the last result is another
//     expect text                                 ... is not a text, or an empty one
//     expect undefined                            ... is not left out
//     expect error                                ... is no error of script
//     window 320 120                              gives the instance a real window (Windows)
//     snapshot file.bmp                           saves what the window shows (Windows)
//     reload                                      destroys the instance and makes another
//     # a remark
//
// Arguments: 12 and -1 are integers; 1.5, 1e9, nan, inf, -inf are doubles; "a text" takes \n \r \t \" \\ and \xHH;
// true, false, null, undefined; anything else is a text as it stands.
#ifndef VT_TESTS_HOST_SCRIPT_H
#define VT_TESTS_HOST_SCRIPT_H

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "tests/host/browser.h"
#include "tests/host/plugin_file.h"
#if defined(_WIN32)
#include "tests/host/window.h"
#endif

namespace host {

// splitCommand gives the words of a line; a quoted word keeps its opening quote as its first character. Throws
// std::runtime_error for a quote without an end or an unknown escape.
std::vector<std::string> splitCommand(const std::string& line);

// valueOf reads one argument as splitCommand gave it. Throws std::runtime_error for a file that cannot be read.
Value valueOf(const std::string& word);

// jsonOf gives {"ok":true,"type":"string","value":"..."}; bytes that are not UTF-8 come out as \u00XX.
std::string jsonOf(const Outcome& outcome);

class Script {
  public:
    Script(Browser& browser, const NPPluginFuncs& plugin, std::ostream& output);

    // run executes one line. Throws std::runtime_error with what is wrong: an unknown command, a failed expectation.
    void run(const std::string& line);

  private:
    void expect(const std::vector<std::string>& words);
    void listProviders();
    void print(const std::string& what, const Outcome& outcome);
    void remake();

    Browser& browser_;
    const NPPluginFuncs& plugin_;
    std::ostream& output_;
    std::unique_ptr<Page> page_;
#if defined(_WIN32)
    // False for another command, or a snapshot without a window.
    bool runWindowCommand(const std::vector<std::string>& words);
    std::unique_ptr<Window> window_;
#endif
    Outcome last_;
};

}  // namespace host

#endif
