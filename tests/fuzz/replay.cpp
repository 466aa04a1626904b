// SPDX-License-Identifier: Apache-2.0
//
// Runs a target once on each of the given files, and on each file of the given folders: the corpus
// as an ordinary test, with any compiler, and a crash again. What does not hold ends the process;
// the file that runs is named before it does, so that the last name is the one.
#include "input.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

namespace fs = std::filesystem;

std::vector<fs::path> files_under(const fs::path &given)
{
    if (!fs::is_directory(given))
        return {given};
    std::vector<fs::path> files;
    for (const fs::directory_entry &each : fs::directory_iterator(given))
        if (each.is_regular_file())
            files.push_back(each.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool run(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    // A copy of the exact size, so that a read beyond its end is seen.
    std::vector<std::uint8_t> bytes(text.begin(), text.end());
    bytes.shrink_to_fit();
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    std::size_t runs = 0;
    for (int n = 1; n < argc; ++n)
        for (const fs::path &path : files_under(argv[n])) {
            if (!run(path))
                return EXIT_FAILURE;
            ++runs;
        }
    std::printf("replayed %zu inputs\n", runs);
    if (runs == 0)
        std::fprintf(stderr, "replay: there is no input in what was given\n");
    return runs == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
