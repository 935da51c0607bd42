#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

/// The committed manual is the one that the table of options makes now.
TEST(ManualText, InTheDocsIsCurrent) {
    for (const auto& [form, name] : {std::pair("man", "pansharp.1"), std::pair("markdown", "command.md")}) {
        FILE* tool = popen((std::string("'" PANSHARP_MANUAL_TOOL "' ") + form).c_str(), "r");
        ASSERT_NE(tool, nullptr);
        std::string made;
        char buffer[4096];
        for (std::size_t got = 0; (got = fread(buffer, 1, sizeof buffer, tool)) > 0;)
            made.append(buffer, got);
        ASSERT_EQ(pclose(tool), 0);
        std::ifstream file(std::string(PANSHARP_DOCS "/") + name, std::ios::binary);
        const std::string kept{std::istreambuf_iterator<char>(file), {}};
        EXPECT_TRUE(kept == made) << "docs/" << name << " is old; build the target 'manual' and commit it";
    }
}
