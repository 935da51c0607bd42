#include "fundament/Text.h"
#include "fundament/Versions.h"

#include <cstdint>
#include <istream>
#include <optional>
#include <string_view>
#include <vector>

namespace KOVA::Tessara::Fundament {

namespace {

// A portable executable. Its section table maps addresses in the image to positions in the file.
class Module {
public:
    explicit Module(std::istream& module) : stream(module) {}

    // Little-endian numbers; 0 past the end, and the module then counts as damaged.
    std::uint32_t At(std::uint64_t offset, int bytes) {
        unsigned char raw[4] = {};
        stream.clear();
        stream.seekg(static_cast<std::streamoff>(offset));
        whole = whole && stream.read(reinterpret_cast<char*>(raw), bytes);
        if (!whole) return 0;
        std::uint32_t number = 0;
        for (int i = 3; i >= 0; --i)
            number = number << 8 | raw[i];
        return number;
    }

    // Reads the section table. Returns the address of the resources, or nothing.
    std::optional<std::uint32_t> Open() {
        if (At(0, 2) != 0x5A4D) return std::nullopt; // "MZ"
        const std::uint64_t header = At(0x3C, 4);
        if (At(header, 4) != 0x4550) return std::nullopt; // "PE"
        const std::uint64_t optional = header + 24;
        const std::uint32_t optionalSize = At(header + 20, 2);
        const std::uint32_t magic = At(optional, 2);
        if (magic != 0x10B && magic != 0x20B) return std::nullopt;
        const std::uint32_t directories = magic == 0x10B ? 96 : 112;
        constexpr std::uint32_t resources = 2;
        if (optionalSize < directories + 8 * (resources + 1)) return std::nullopt;
        if (At(optional + directories - 4, 4) <= resources) return std::nullopt;
        const std::uint32_t count = At(header + 6, 2);
        if (count > 96) return std::nullopt; // the loader's own limit
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint64_t entry = optional + optionalSize + std::uint64_t{40} * i;
            sections.push_back({At(entry + 12, 4), At(entry + 16, 4), At(entry + 20, 4)});
        }
        const std::uint32_t address = At(optional + directories + std::uint64_t{8} * resources, 4);
        return address ? std::optional(address) : std::nullopt;
    }

    // The position in the file of `size` bytes at an address of the image, if they lie in one section.
    std::optional<std::uint64_t> Find(std::uint64_t address, std::uint32_t size) const {
        for (const Section& section : sections)
            if (address >= section.address && address + size <= std::uint64_t{section.address} + section.size)
                return address - section.address + section.offset;
        return std::nullopt;
    }

    [[nodiscard]] bool IsWhole() const { return whole; }

private:
    struct Section {
        std::uint32_t address, size, offset;
    };

    std::istream& stream;
    bool whole = true;
    std::vector<Section> sections;
};

constexpr std::uint32_t subdirectory = 0x80000000u;

// Where the entry of an id, or else the first entry, of a directory points to. The directory lies `relative`
// bytes into the resources.
std::optional<std::uint32_t> Entry(Module& module, std::uint32_t resources, std::uint32_t relative,
                                   std::optional<std::uint32_t> id) {
    const std::uint64_t directory = std::uint64_t{resources} + (relative & ~subdirectory);
    const auto head = module.Find(directory, 16);
    if (!head) return std::nullopt;
    const std::uint32_t named = module.At(*head + 12, 2);
    const std::uint32_t numbered = module.At(*head + 14, 2);
    for (std::uint32_t i = id ? named : 0; i < named + numbered; ++i) {
        const auto entry = module.Find(directory + 16 + std::uint64_t{8} * i, 8);
        if (!entry) return std::nullopt;
        if (!id || module.At(*entry, 4) == *id) return module.At(*entry + 4, 4);
    }
    return std::nullopt;
}

} // namespace

std::string ReadVersionResource(std::istream& stream) {
    Module module(stream);
    const auto resources = module.Open();
    if (!resources) return {};

    // Three levels: the type (16 is a version), the name, the language.
    const auto names = Entry(module, *resources, 0, 16);
    if (!names || !(*names & subdirectory)) return {};
    const auto languages = Entry(module, *resources, *names, std::nullopt);
    if (!languages || !(*languages & subdirectory)) return {};
    const auto leaf = Entry(module, *resources, *languages, std::nullopt);
    if (!leaf || (*leaf & subdirectory)) return {};

    const auto data = module.Find(std::uint64_t{*resources} + *leaf, 16);
    constexpr std::uint32_t fixedStart = 40, fixedSize = 52;
    if (!data || module.At(*data + 4, 4) < fixedStart + fixedSize) return {};
    const auto block = module.Find(module.At(*data, 4), fixedStart + fixedSize);
    if (!block || module.At(*block + 2, 2) < fixedSize) return {};
    constexpr std::string_view key("VS_VERSION_INFO\0", 16); // in two bytes each
    for (std::size_t i = 0; i < key.size(); ++i)
        if (module.At(*block + 6 + 2 * i, 2) != static_cast<unsigned char>(key[i])) return {};
    const std::uint64_t fixed = *block + fixedStart;
    if (module.At(fixed, 4) != 0xFEEF04BDu) return {};
    const auto part = [&](std::uint32_t offset) {
        return static_cast<unsigned>(module.At(fixed + offset, 2));
    };
    const std::string version = FormatString("%u.%u.%u", part(10), part(8), part(14));
    return module.IsWhole() ? version : std::string();
}

} // namespace KOVA::Tessara::Fundament
