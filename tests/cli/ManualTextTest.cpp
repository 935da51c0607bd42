#include "support/RasterFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// The committed manual equals the one generated from the table of options.
TEST(ManualText, InTheDocsIsCurrent) {
    const testfiles::Folder folder;
    const std::filesystem::path& made = folder.path;
    ASSERT_EQ(std::system(("'" PANSHARP_MANUAL_TOOL "' docs '" + made.string() + "'").c_str()), 0);
    const auto read = [](const std::filesystem::path& name) {
        std::ifstream file(name, std::ios::binary);
        return std::string{std::istreambuf_iterator<char>(file), {}};
    };
    std::size_t pages = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(made)) {
        if (!entry.is_regular_file()) continue;
        const std::filesystem::path name = entry.path().lexically_relative(made);
        EXPECT_TRUE(read(entry.path()) == read(PANSHARP_DOCS / name))
            << "docs/" << name.string() << " is old; build the target 'manual' and commit it";
        ++pages;
    }
    EXPECT_GE(pages, 7u); // for man, for the program and for five commands
}
