#include "fundament/Versions.h"

#include "support/System.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

using namespace KOVA::Tessara::Fundament;

void Put(std::string& bytes, std::size_t at, std::uint32_t value, int count = 4) {
    for (int i = 0; i < count; ++i)
        bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> 8 * i);
}

constexpr std::size_t optionalHeader = 0x98, resources = 0x600, block = resources + 0xA0;

// The smallest possible Windows module: two sections, the second with a named resource, an icon and version
// 2.1.45.7.
std::string MakeModule(bool wide) {
    std::string m(0x800, '\0');
    const std::uint32_t directories = wide ? 112 : 96;
    const std::size_t sections = optionalHeader + directories + 128;
    Put(m, 0, 0x5A4D, 2), Put(m, 0x3C, 0x80), Put(m, 0x80, 0x4550);
    Put(m, 0x86, 2, 2), Put(m, 0x94, directories + 128, 2);
    Put(m, optionalHeader, wide ? 0x20B : 0x10B, 2), Put(m, optionalHeader + directories - 4, 16);
    Put(m, optionalHeader + directories + 16, 0x3000);
    Put(m, sections + 12, 0x1000), Put(m, sections + 16, 0x200), Put(m, sections + 20, 0x400);
    Put(m, sections + 52, 0x3000), Put(m, sections + 56, 0x200), Put(m, sections + 60, 0x600);
    Put(m, resources + 12, 1, 2), Put(m, resources + 14, 2, 2);      // one name, two numbers
    Put(m, resources + 16, 16), Put(m, resources + 20, 0x80000060u); // the name at 16 is not the version
    Put(m, resources + 24, 3), Put(m, resources + 28, 0x80000060u);
    Put(m, resources + 32, 16), Put(m, resources + 36, 0x80000040u);
    Put(m, resources + 0x4E, 1, 2), Put(m, resources + 0x50, 1), Put(m, resources + 0x54, 0x80000060u);
    Put(m, resources + 0x6E, 1, 2), Put(m, resources + 0x70, 0x409), Put(m, resources + 0x74, 0x80);
    Put(m, resources + 0x80, 0x30A0), Put(m, resources + 0x84, 92);
    Put(m, block, 92, 2), Put(m, block + 2, 52, 2);
    for (std::size_t i = 0; i < 15; ++i)
        m[block + 6 + 2 * i] = "VS_VERSION_INFO"[i];
    Put(m, block + 40, 0xFEEF04BDu), Put(m, block + 48, 0x20001), Put(m, block + 52, 45 << 16 | 7);
    return m;
}

std::string VersionOf(const std::string& bytes) {
    std::istringstream stream(bytes);
    return ReadVersionResource(stream);
}

TEST(Versions, DamagedModulesHaveNone) {
    EXPECT_EQ(VersionOf(MakeModule(false)), "2.1.45");
    const std::string module = MakeModule(true);
    ASSERT_EQ(VersionOf(module), "2.1.45");
    const std::pair<std::size_t, std::uint32_t> damages[] = {
        {0, 0},
        {0x3C, 0xFFFFFFFFu},
        {0x80, 0},
        {0x86, 0xFFFF},
        {0x94, 64},
        {optionalHeader, 0x107},
        {optionalHeader + 108, 2},
        {optionalHeader + 128, 0},
        {optionalHeader + 128, 0xFFFFFFF0u},
        {resources + 32, 17},
        {resources + 0x54, 0x80000040u}, // a cycle in the tree
        {resources + 36, 0x40},
        {resources + 0x54, 0xFFFFFFFFu},
        {resources + 0x74, 0x80000060u},
        {resources + 0x74, 0x1F8},
        {resources + 0x80, 0x31F0},
        {resources + 0x84, 91},
        {block + 6, 'v'},
        {block + 40, 0xFEEF04BC}};
    for (const auto& [at, value] : damages) {
        std::string damaged = module;
        Put(damaged, at, value);
        EXPECT_EQ(VersionOf(damaged), "") << std::hex << at << " " << value;
    }
    for (std::size_t length = 0; length < block + 56; ++length)
        ASSERT_EQ(VersionOf(module.substr(0, length)), "") << length;
    const std::regex versionOrNone("|\\d+\\.\\d+\\.\\d+");
    for (std::size_t at = 0; at < module.size(); ++at)
        for (const char value : {'\x00', '\x7F', '\xFF'}) {
            std::string damaged = module;
            damaged[at] = value;
            ASSERT_TRUE(std::regex_match(VersionOf(damaged), versionOrNone)) << at;
        }
}

TEST(Versions, SharedLibrariesTellByName) {
    namespace fs = std::filesystem;
    const support::Folder made;
    const fs::path& folder = made.path;
    const std::string elf = std::string(1, '\x7F') + "ELF";
    std::string library = elf + std::string("\x02\x01") + std::string(58, '\0');
    library[16] = 3;
    std::string bigEndian = library, program = library;
    bigEndian[5] = 2, bigEndian[16] = 0, bigEndian[17] = 3;
    program[16] = 2;
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"libx.so.2.1.45", library, "2.1.45"},
        {"liby.so.25.9.20.1", bigEndian, "25.9.20"},
        {"libz.so.6", library, "6"},
        {"liba.so", library, ""},
        {"libb.so.1.debug", library, "1"},
        {"libc.so.1.2.3", program, ""},
        {"libd.so.1.2.3", elf, ""},
        {"libe.so.1.2.3", "", ""},
        {"f.dll", MakeModule(true), "2.1.45"}};
    for (const auto& [name, content, version] : cases) {
        std::ofstream(folder / name, std::ios::binary) << content;
        EXPECT_EQ(GetFileVersion((folder / name).string()), version) << name;
    }
    if (!support::isWindows) {
        fs::create_symlink("libx.so.2.1.45", folder / "libx.so");
        EXPECT_EQ(GetFileVersion((folder / "libx.so").string()), "2.1.45");
    }
    EXPECT_EQ(GetFileVersion(folder.string()) + GetFileVersion((folder / "none").string()), "");
    EXPECT_EQ(FormatVersion("2.1.45.7"), "2.1 (Build 45)");
    EXPECT_EQ(FormatVersion("2.1"), "");
}

} // namespace
