#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

TEST(RunJson, TellsEverythingOfAGoodRun) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 16);
    const child::Outcome outcome =
        child::RunWell(folder, "sharpen pan.tif ms.tif,band=3 ms.tif,band=1 -o out.tif --json -w 0.75,0.3 -b "
                               "2 --window 8 -j 2 --set odd=1 --simd scalar --method kova");
    EXPECT_EQ(outcome.err, "");
    const json object = json::parse(outcome.out); // throws when anything follows the object
    const json expected = json::parse(R"({"command": "sharpen", "ok": true, "exit_code": 0,
        "inputs": {"pan": {"file": "pan.tif"},
                   "multispectral": [{"file": "ms.tif", "band": 3}, {"file": "ms.tif", "band": 1}]},
        "output": "out.tif", "format": "GTiff", "creation_options": [], "requested_bands": [2],
        "method": "KOVA", "resampling": "cubic", "vector_instructions": "scalar", "columns": 46, "rows": 38,
        "bands": 1, "bits_per_sample": 16, "bit_depth": 16, "no_data": {"by": "none", "pixels": 0},
        "ratio": [2.0, 2.0], "weights": [0.75, 0.3], "threads": 2, "window_rows": 8, "status": []})");
    EXPECT_EQ(object.at("version"), PANSHARP_VERSION);
    for (const auto& [name, value] : expected.items())
        EXPECT_EQ(object.value(name, json()), value) << name;
    EXPECT_THAT(std::string(object.at("plugin")), HasSubstr("Pansharp.process"));
    EXPECT_GT(object.at("seconds"), 0.0);
    EXPECT_NEAR(object.at("megapixels_per_second"), 46 * 38 / 1e6 / double(object.at("seconds")), 1e-3);
    EXPECT_GT(object.at("peak_memory_bytes"), 1000000);
    ASSERT_EQ(object.at("warnings").size(), 1u);
    EXPECT_THAT(std::string(object.at("warnings").at(0)), HasSubstr("the property odd"));

    const auto samples = scene::Read(folder / "out.tif").samples;
    const json limits = {{{"band", 1},
                          {"at_zero", std::count(samples.begin(), samples.end(), 0u)},
                          {"at_maximum", std::count(samples.begin(), samples.end(), 65535u)}}};
    EXPECT_GT(limits.at(0).at("at_zero"), 0);
    EXPECT_EQ(object.at("samples_at_limits"), limits);
}

TEST(RunJson, TellsWhyARunFailed) {
    struct Case {
        child::Arguments arguments;
        int code;
        const char* word;
    };
    const Case cases[] = {
        {"sharpen pan.tif nowhere.tif -o o.tif --json", 1, "nowhere.tif"},
        {"sharpen pan.tif ms.tif -o o.tif --json --method best", 2, "best"},
        {"sharpen pan.tif ms.tif -o o.tif --json --nonsense", 2, "--nonsense"},
        {"sharpen --json", 2, "no input"},
        {"frobnicate --json", 2, "frobnicate"},
        {"info pan.tif away.tif --json", 1, "do not overlap"},
        {"info pan.tif ms.tif,band=1 --method ihs --json", 1, "at least 3 multispectral bands"},
        {"info pan.tif ms.tif -o out.tif --json", 2, "-o"},
        {"info pan.tif --json", 2, "only 'pan.tif' is named"},
        {{"sharpen", "pan.tif", "\xff.tif", "-o", "o.tif", "--json"}, 1, "\xef\xbf\xbd.tif"}, // no UTF-8
    };
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    scene::Write(folder / "away.tif", pair.ms, {.x = 900000.0, .pixelSize = 20.0});
    for (const Case& each : cases) {
        SCOPED_TRACE(each.word);
        const child::Outcome outcome = child::Run(folder, each.arguments);
        EXPECT_EQ(outcome.code, each.code);
        EXPECT_THAT(outcome.err, testing::StartsWith("pansharp: error: "));
        const json object = json::parse(outcome.out);
        EXPECT_EQ(object.at("ok"), false);
        EXPECT_EQ(object.at("exit_code"), each.code);
        ASSERT_GE(object.at("status").size(), 1u);
        const json& item = object.at("status").at(0);
        EXPECT_THAT(std::string(item.at("id")), MatchesRegex("[0-9A-F]{6}"));
        EXPECT_THAT(std::string(item.at("message")), HasSubstr(each.word));
        EXPECT_NE(item.at("source"), "");
        EXPECT_TRUE(item.at("details").is_string());
        EXPECT_FALSE(object.contains(each.arguments[0] == "info" ? "sharpen" : "seconds")); // not done
    }
}
