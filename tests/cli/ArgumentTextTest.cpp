#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

/// The reported inputs show how the command understood FILE,band=N, even if they cannot be opened.
TEST(ArgumentText, BandsOfFilesAndFilesThatAreNamedSo) {
    struct Case {
        const char* typed;
        const char* file;
        int band; ///< 0 for none
    };
    const Case cases[] = {
        {"ms.tif", "ms.tif", 0},
        {"ms.tif,band=3", "ms.tif", 3},
        {"really,band=2", "really,band=2", 0}, // exists under this name
        {"really,band=2,band=1", "really,band=2", 1},
        {"/vsizip/a b.zip/x.tif,band=12", "/vsizip/a b.zip/x.tif", 12},
        {"[a,b]", "[a,b]", 0},
        {"methods", "methods", 0}, // also the name of a command
        {"ms.tif,bands=3", "ms.tif,bands=3", 0},
    };
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    std::filesystem::copy(folder / "ms.tif", folder / "really,band=2");
    for (const Case& each : cases) {
        SCOPED_TRACE(each.typed);
        const child::Outcome outcome =
            child::Run(folder, {"sharpen", each.typed, "nowhere.tif", each.typed, "-o", "o.tif", "--infrared",
                                each.typed, "--json"});
        ASSERT_EQ(outcome.code, 1) << outcome.err;
        nlohmann::json expected = {{"file", each.file}};
        if (each.band > 0) expected["band"] = each.band;
        const auto inputs = nlohmann::json::parse(outcome.out).at("inputs");
        EXPECT_EQ(inputs.at("pan"), expected);
        EXPECT_EQ(inputs.at("multispectral").at(1), expected);
        EXPECT_EQ(inputs.at("infrared"), expected);
    }
}
