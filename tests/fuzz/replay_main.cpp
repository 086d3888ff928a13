// Runs a fuzz target over files, or over all files of folders, for compilers without libFuzzer.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

namespace fs = std::filesystem;

bool replay(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "replay: %s: cannot be read\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    // A copy of exactly that size, so that the address checks see a read past its end.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    std::printf("%s\n", path.c_str()); // the last one named is the one that broke it
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

} // namespace

int main(int argc, char **argv) {
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
    std::size_t count = 0;
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (int i = 1; i < argc; ++i) {
        const fs::path place = argv[i];
        std::vector<fs::path> files;
        if (fs::is_directory(place)) {
            for (const auto &entry : fs::recursive_directory_iterator(place)) {
                if (entry.is_regular_file()) files.push_back(entry.path());
            }
        } else {
            files.push_back(place);
        }
        for (const auto &path : files) {
            if (!replay(path)) return 1;
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "replay: no input given\n");
        return 1;
    }
    return 0;
}
