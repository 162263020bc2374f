// Replays inputs through a fuzz target without libFuzzer, so that the plain and sanitizer builds run the
// kept corpus and every regression input as tests. Arguments are files or folders (every file in a folder,
// in name order). Each input is handed over in a buffer of exactly its size, so that a read past its end is
// caught by the sanitizers. A target that finds a fault aborts the run; otherwise the exit code is 0.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path &path) {
    if (!std::filesystem::is_directory(path)) {
        return {path};
    }
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool replay(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const auto exact = std::make_unique<uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::exists(argv[i])) {
            std::fprintf(stderr, "replay: no such file or folder: %s\n", argv[i]);
            return 2;
        }
        for (const auto &file : inputsOf(argv[i])) {
            if (!replay(file)) {
                return 2;
            }
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    return 0;
}
