// Replaces the fuzzer: runs a target on the given files, or on the files in the given folders.
#include "Input.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

namespace {

bool Replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) return false;
    std::fprintf(stderr, "%s\n", path.filename().c_str());
    // A heap block of exactly the file's size, so that a sanitizer detects any access past it.
    const auto bytes = std::make_unique<std::uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), bytes.get());
    LLVMFuzzerTestOneInput(bytes.get(), content.size());
    return true;
}

} // namespace

int main(int count, char** arguments) {
    int replayed = 0;
    for (const char* argument : std::span(arguments, static_cast<std::size_t>(count)).subspan(1)) {
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(argument))
            for (const auto& entry : std::filesystem::directory_iterator(argument))
                files.push_back(entry.path());
        else
            files.emplace_back(argument);
        for (const auto& file : files) {
            if (!Replay(file)) {
                std::fprintf(stderr, "cannot read '%s'\n", file.c_str());
                return 1;
            }
            ++replayed;
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
