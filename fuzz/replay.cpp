// Stands in for libFuzzer where there is none: runs the target once over each file of the folders it is given.
//
//     fuzz_ber_reader fuzz/ber_reader/corpus fuzz/ber_reader/regressions
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/target.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    if (!fs::is_directory(folder))
        return files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const fs::path& file) {
    (void)std::fprintf(stderr, "%s\n", file.filename().string().c_str());  // the last one named is the one that fails
    std::ifstream stream(file, std::ios::binary);
    const fuzz::Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int replayAll(int count, char** folders) {
    std::size_t replayed = 0;
    for (int i = 0; i < count; ++i) {
        for (const fs::path& file : filesOf(folders[i])) {
            replay(file);
            ++replayed;
        }
    }
    (void)std::fprintf(stderr, "%zu inputs\n", replayed);
    return replayed == 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return replayAll(argc - 1, argv + 1);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
