// vt_host <plug-in file> [<script>]: loads the plug-in file as a browser does and runs a script against its object,
// from the file or from standard input. Each run is a browser session of its own. tests/host/script.h has the commands.
//
// Ends with 0; with 1 when a command failed, named on standard error; with 2 when the plug-in could not be started.
#include <fstream>
#include <iostream>

#include "tests/host/browser.h"
#include "tests/host/plugin_file.h"
#include "tests/host/script.h"

namespace {

int runScript(host::Browser& browser, const NPPluginFuncs& plugin, std::istream& input) {
    host::Script script(browser, plugin, std::cout);
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        try {
            script.run(line);
        } catch (const std::exception& error) {
            std::cerr << "line " << number << ": " << error.what() << std::endl;
            return 1;
        }
    }
    return 0;
}

// What the plug-in did that a browser would not survive, or still holds at the end.
int reportLeftovers(const host::Browser& browser) {
    for (const std::string& problem : browser.problems())
        std::cerr << "problem: " << problem << std::endl;
    if (browser.liveObjects() != 0 || browser.windowReferences() != 0)
        std::cerr << "problem: objects are still held" << std::endl;
    return browser.problems().empty() && browser.liveObjects() == 0 && browser.windowReferences() == 0 ? 0 : 1;
}

int run(const std::string& pluginFile, std::istream& input) {
    host::Browser browser;
    const host::EntryPoints entries = host::loadPluginFile(pluginFile);
    const NPPluginFuncs plugin = host::start(entries, browser);
    const int failed = runScript(browser, plugin, input);
    entries.shutdown();
    return failed != 0 ? failed : reportLeftovers(browser);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: vt_host <plug-in file> [<script>]" << std::endl;
        return 2;
    }
    try {
        if (argc == 2)
            return run(argv[1], std::cin);
        std::ifstream script(argv[2]);
        if (!script)
            throw std::runtime_error(std::string("cannot read ") + argv[2]);
        return run(argv[1], script);
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
        return 2;
    }
}
