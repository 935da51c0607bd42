// Version resources of modules, damaged in any way.
#include "Input.h"

#include "fundament/Text.h"
#include "fundament/Versions.h"

#include <sstream>

using namespace KOVA::Tessara::Fundament;
using fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string module = input.Rest();
    std::istringstream stream(module);
    const std::string version = ReadVersionResource(stream);
    Require(version.empty() || Tokenize(version, ".").size() == 3, "three numbers or nothing");
    Require(version.find_first_not_of("0123456789.") == std::string::npos, "numbers and points");
    Require(version.empty() == FormatVersion(version).empty(), "three parts are printed");
    fuzz::Drop(FormatVersion(module));
    return 0;
}
