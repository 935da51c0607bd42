#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

using child::Arguments;
using testing::HasSubstr;

TEST(RunWeights, OfAnEarlierRunServeAnotherMethodAndScene) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const Arguments bands = {"sharpen", "pan.tif",  "ms.tif,band=1", "ms.tif,band=2", "ms.tif,band=3",
                             "-r",      "bilinear", "--infrared",    "ms.tif,band=4", "-o"};
    const child::Outcome first = child::RunWell(
        folder, child::Concatenate(
                    {bands, {"a.tif", "--json", "-w", "0.5,0.125,0.125", "--infrared-weight", "0.25"}}));
    std::ofstream(folder / "run.json") << first.out;
    const child::Outcome second = child::RunWell(
        folder, child::Concatenate({bands, {"b.tif", "--method", "brovey", "--weights-from", "run.json"}}));
    EXPECT_THAT(second.err, HasSubstr("warning: --weights-from: the run of 'run.json' was one of KOVA"));
    EXPECT_EQ(scene::Read(folder / "b.tif").samples,
              scene::Fuse("Brovey", pair.pan, pair.ms, {0.5, 0.125, 0.125, 0.25}, {0, 1, 2}).samples);
}

// Fitted weights come back to the last bit, with the pixels.
TEST(RunWeights, OfAFitServeAgain) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const Arguments arguments = {"sharpen",       "pan.tif", "ms.tif",   "-b",   "2", "--infrared",
                                 "ms.tif,band=1", "--json",  "--method", "kova", "-o"};
    const child::Outcome first = child::RunWell(folder, child::Concatenate({arguments, {"a.tif"}}));
    std::ofstream(folder / "run.json") << first.out;
    const auto run = nlohmann::json::parse(first.out);
    EXPECT_LT(run.at("fit").at("samples"), 23 * 19); // without saturated pixels
    EXPECT_GT(run.at("fit").at("samples"), 400);
    EXPECT_EQ(run.at("fit").at("correlations").size(), 4u);
    EXPECT_LT(run.at("fit").at("r_squared"), 0.8);
    EXPECT_THAT(std::string(run.at("warnings").at(0)), HasSubstr("below 0.8"));
    EXPECT_TRUE(run.at("fit").contains("infrared_correlation"));
    const child::Outcome second =
        child::RunWell(folder, child::Concatenate({arguments, {"b.tif", "--weights-from", "run.json"}}));
    const auto again = nlohmann::json::parse(second.out);
    EXPECT_EQ(again.at("weights"), run.at("weights"));
    EXPECT_EQ(again.at("infrared_weight"), run.at("infrared_weight"));
    EXPECT_FALSE(again.contains("fit"));
    EXPECT_EQ(scene::Read(folder / "b.tif").samples, scene::Read(folder / "a.tif").samples);
}

// So do blur and gains, to the last digit.
TEST(RunWeights, CarryBlurAndGains) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const Arguments arguments = {"sharpen", "pan.tif", "ms.tif", "--json", "-o"};
    const child::Outcome first =
        child::Run(folder, child::Concatenate({arguments, {"a.tif", "--mtf", "0.45"}}));
    ASSERT_EQ(first.code, 0) << first.err;
    std::ofstream(folder / "run.json") << first.out;
    const child::Outcome second =
        child::Run(folder, child::Concatenate({arguments, {"b.tif", "--weights-from", "run.json"}}));
    ASSERT_EQ(second.code, 0) << second.err;
    const auto again = nlohmann::json::parse(second.out);
    EXPECT_EQ(again.at("modulation_transfer"), 0.45);
    EXPECT_EQ(again.at("gains"), nlohmann::json::parse(first.out).at("gains"));
    EXPECT_EQ(again.at("detail_fit").at("gains_given"), true);
    EXPECT_EQ(scene::Read(folder / "b.tif").samples, scene::Read(folder / "a.tif").samples);
    const child::Outcome other = child::Run(
        folder, child::Concatenate({arguments, {"c.tif", "--weights-from", "run.json", "--method", "kova"}}));
    EXPECT_THAT(other.err, HasSubstr("the run of 'run.json' weighed no bands"));
}

TEST(RunWeights, AreRefusedWhereTheyDoNotServe) {
    const std::string good = R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": [0.5, 0.5])";
    const Arguments infrared = {"--infrared", "ms.tif,band=2"};
    struct Case {
        std::string json;
        Arguments options;
        const char* words;
    };
    const Case cases[] = {
        {"", {}, "holds no JSON object"},
        {good, {}, "holds no JSON object"}, // cut short
        {"[1, 2]", {}, "holds no JSON object"},
        {R"({"command": "methods", "ok": true})", {}, "of a run of 'sharpen'"},
        {R"({"command": "sharpen", "ok": false})", {}, "a run that failed"},
        {R"({"command": "sharpen", "ok": true, "method": "IHS", "weights": []})", {}, "weighs no bands"},
        {R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": 3})", {}, "run it again"},
        {R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": [1, null]})",
         {},
         "no finite number"},
        {good + "}", {"-w", "equal"}, "give one of them"},
        {good + "}", {"--method", "ihs"}, "IHS takes no weights"},
        {good + "}", infrared, "--infrared-weight"},
        {good + R"(, "infrared_weight": 0.1})", {}, "name one with --infrared"},
    };
    const child::Folder folder;
    const scene::Pair pair(folder, 2, 8);
    for (const Case& each : cases) {
        SCOPED_TRACE(each.json + " " + child::AsTyped(each.options));
        std::ofstream(folder / "run.json") << each.json;
        const child::Outcome outcome = child::Run(
            folder,
            child::Concatenate({{"sharpen", "pan.tif", "ms.tif", "-o", "o.tif", "--weights-from", "run.json"},
                                each.options}));
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.err, HasSubstr(each.words));
        EXPECT_THAT(folder.List(), testing::ElementsAre("ms.tif", "pan.tif", "run.json"));
    }
}
