// What the library under test loads and unloads: a ledger of LoadLibraryA and FreeLibrary for its lifetime, in which
// the module table is as it is when a program starts. At its end the table is so again, and what is still loaded is
// unloaded.
#ifndef VT_TESTS_TOKEN_LOADED_LIBRARIES_H
#define VT_TESTS_TOKEN_LOADED_LIBRARIES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/replace.h"
#include "token/module_table.h"

namespace support {

class LoadedLibraries {
  public:
    LoadedLibraries() {
        reset();
        open_.reserve(32);  // so that the ledger takes no memory where a test has none to give
        names_.reserve(32);
    }
    ~LoadedLibraries() {
        for (HMODULE module : open_)
            free_.original(module);
        reset();
    }
    LoadedLibraries(const LoadedLibraries&) = delete;
    LoadedLibraries& operator=(const LoadedLibraries&) = delete;

    // What is loaded and not unloaded, in the order of loading, and what was asked for.
    const std::vector<HMODULE>& open() const { return open_; }
    const std::vector<const char*>& names() const { return names_; }

  private:
    static void reset() {
        tokenModuleTable.moduleCount = 0;
        std::fill(std::begin(tokenModuleTable.moduleHandles), std::end(tokenModuleTable.moduleHandles), nullptr);
        std::fill(std::begin(tokenModuleTable.moduleSlots), std::end(tokenModuleTable.moduleSlots), kNoSlot);
    }

    std::vector<HMODULE> open_;
    std::vector<const char*> names_;
    Replaced<&platform::SystemApi::LoadLibraryA> load_{[this](LPCSTR name) {
        names_.push_back(name);
        HMODULE module = load_.original(name);
        if (module != nullptr)
            open_.push_back(module);
        return module;
    }};
    Replaced<&platform::SystemApi::FreeLibrary> free_{[this](HMODULE module) {
        const auto last = std::find(open_.rbegin(), open_.rend(), module);
        EXPECT_NE(last, open_.rend()) << "unloaded, but not loaded";
        if (last != open_.rend())
            open_.erase(std::next(last).base());
        return free_.original(module);
    }};
};

}  // namespace support

#endif
