#include "fundament/Versions.h"

#include "fundament/Platform.h"
#include "fundament/Text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace KOVA::Tessara::Fundament {

namespace {

bool IsSharedLibrary(std::istream& file) {
    char head[18] = {};
    if (!file.seekg(0).read(head, sizeof head)) return false;
    const bool bigEndian = head[5] == 2;
    constexpr char shared = 3;
    return std::equal(head, head + 4,
                      "\x7F"
                      "ELF") &&
           head[bigEndian ? 17 : 16] == shared && head[bigEndian ? 16 : 17] == 0;
}

// Up to three numbers after ".so.".
std::string VersionInName(const std::string& name) {
    const std::string mark = ".so.";
    const auto at = name.find(mark);
    std::string version;
    if (at == std::string::npos) return version;
    int numbers = 0;
    for (const std::string& part : Tokenize(name.substr(at + mark.size()), ".")) {
        if (++numbers > 3 || part.find_first_not_of("0123456789") != std::string::npos) break;
        version += (version.empty() ? "" : ".") + part;
    }
    return version;
}

} // namespace

std::string GetFileVersion(const std::string& path) {
    const std::filesystem::path name = Platform::ToPath(path);
    std::error_code failure;
    if (!std::filesystem::is_regular_file(name, failure)) return {};
    std::ifstream file(name, std::ios::binary);
    if (!file) return {};
    if (!IsSharedLibrary(file)) {
        file.clear();
        return ReadVersionResource(file);
    }
    const auto target = std::filesystem::canonical(name, failure);
    return failure ? std::string() : VersionInName(Platform::FromPath(target.filename()));
}

std::string FormatVersion(const std::string& version) {
    const auto parts = Tokenize(version, ".");
    if (parts.size() < 3) return {};
    return FormatString("%s.%s (Build %s)", parts[0].c_str(), parts[1].c_str(), parts[2].c_str());
}

} // namespace KOVA::Tessara::Fundament
