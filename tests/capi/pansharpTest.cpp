#include "pansharp.h"

#include "support/System.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>

extern "C" size_t JobSizeInC(void);

namespace {

using testing::HasSubstr;

TEST(Pansharp, FindsThePluginBesideItself) {
    support::SetVariable("PANSHARP_PLUGIN", nullptr);
    char error[2000];
    pansharp* library = pansharp_open(nullptr, error, sizeof error);
    ASSERT_NE(library, nullptr) << error;
    EXPECT_STREQ(error, "");
    EXPECT_TRUE(std::filesystem::equivalent(pansharp_plugin_path(library), PANSHARP_PLUGIN_FILE));
    EXPECT_STREQ(pansharp_plugin_version(library), pansharp_version());
    EXPECT_STREQ(pansharp_method(library, 0), "KOVA");
    EXPECT_EQ(pansharp_method(library, 1000), nullptr);
    pansharp_method_info info{};
    info.formula = "kept";
    ASSERT_EQ(pansharp_describe_method(library, 2, &info, offsetof(pansharp_method_info, formula)), 1);
    EXPECT_STREQ(info.keyword, "IHS");
    EXPECT_STREQ(info.formula, "kept");
    EXPECT_EQ(pansharp_describe_method(library, 1000, &info, sizeof info), 0);
    EXPECT_EQ(pansharp_describe_method(nullptr, 0, &info, sizeof info), 0);
    pansharp_close(library);
    EXPECT_STREQ(pansharp_version(), PANSHARP_VERSION);
    EXPECT_STREQ(pansharp_plugin_path(nullptr), "");
    EXPECT_STREQ(pansharp_plugin_version(nullptr), "");
    EXPECT_EQ(pansharp_method(nullptr, 0), nullptr);
}

TEST(Pansharp, ErrorIsCutToItsBuffer) {
    const char* path = "/\xC3\xA4"; // one letter of two bytes after the slash
    char whole[500];
    ASSERT_EQ(pansharp_open(path, whole, sizeof whole), nullptr);
    EXPECT_THAT(whole, HasSubstr(std::string("there is no plug-in file '") + path + "'"));
    const auto letter = static_cast<std::size_t>(std::strchr(whole, '\xC3') - whole);
    for (const std::size_t size : {std::size_t{1}, std::size_t{10}, letter + 1, letter + 2, letter + 3}) {
        std::string buffer(size + 1, '#');
        EXPECT_EQ(pansharp_open(path, buffer.data(), size), nullptr);
        const std::size_t kept = size == letter + 2 ? letter : size - 1; // never half a letter
        EXPECT_EQ(std::string(buffer.c_str()), std::string(whole, kept));
        EXPECT_EQ(buffer[size], '#');
    }
    EXPECT_EQ(pansharp_open(path, nullptr, 0), nullptr);
    EXPECT_EQ(pansharp_open(path, nullptr, 10), nullptr);
}

TEST(Pansharp, HeaderMeansTheSameInC) { EXPECT_EQ(JobSizeInC(), sizeof(pansharp_job)); }

} // namespace
