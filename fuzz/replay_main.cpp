// Runs a fuzz target once on each of the files given, or on all files of the folders given. A finding ends
// the program as it would under the fuzzer.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || bytes.empty()) {
        std::fprintf(stderr, "%s: nothing to read\n", path.c_str());
        return false;
    }
    std::fprintf(stderr, "%s\n", path.c_str());
    // An exact copy, so that a read past the end shows.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int passed = 0, failed = 0;
    const auto count = [&](const std::filesystem::path& path) { ++(replay(path) ? passed : failed); };
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            count(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
            count(entry.path());
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    return passed == 0 || failed != 0;
}
