#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

using child::Arguments;
using nlohmann::json;
using testing::HasSubstr;

TEST(RunWeights, OfAnEarlierRunServeAnotherMethod) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const Arguments bands =
        "sharpen pan.tif ms.tif,band=1 ms.tif,band=2 ms.tif,band=3 -r bilinear --infrared ms.tif,band=4 -o";
    std::ofstream(folder / "run.json")
        << child::RunWell(folder, bands + "a.tif --json -w 0.5,0.125,0.125 --infrared-weight 0.25").out;
    const auto second = child::RunWell(folder, bands + "b.tif --method brovey --weights-from run.json");
    EXPECT_THAT(second.err, HasSubstr("warning: --weights-from: the run of 'run.json' used the method KOVA"));
    EXPECT_EQ(scene::Read(folder / "b.tif").samples,
              scene::Fuse("Brovey", pair.pan, pair.ms, {0.5, 0.125, 0.125, 0.25}, {0, 1, 2}).samples);
}

// What was fitted is read back bit for bit and gives the same pixels.
TEST(RunWeights, OfAFitServeAgain) {
    const struct {
        Arguments arguments, first;
        std::vector<const char*> carried;
        const char* found; ///< reported by the run that fitted them
    } cases[] = {
        {"-b 2 --infrared ms.tif,band=1 --method kova", {}, {"weights", "infrared_weight"}, "fit"},
        {{}, "--mtf 0.45", {"modulation_transfer", "gains"}, "detail_fit"},
    };
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const Arguments sharpen = "sharpen pan.tif ms.tif --json --overwrite -o";
    json run;
    for (const auto& c : cases) {
        std::ofstream(folder / "run.json")
            << child::RunWell(folder, sharpen + "a.tif" + c.arguments + c.first).out;
        run = json::parse(std::ifstream(folder / "run.json"));
        const json again =
            json::parse(child::RunWell(folder, sharpen + "b.tif --weights-from run.json" + c.arguments).out);
        for (const char* name : c.carried)
            EXPECT_EQ(again.at(name), run.at(name)) << name;
        EXPECT_NE(again.value(c.found, json()), run.at(c.found));
        EXPECT_EQ(scene::Read(folder / "b.tif").samples, scene::Read(folder / "a.tif").samples);
        if (run.at("method") != "KOVA") continue;
        EXPECT_LT(run.at("fit").at("samples"), 23 * 19); // without saturated pixels
        EXPECT_GT(run.at("fit").at("samples"), 400);
        EXPECT_EQ(run.at("fit").at("correlations").size(), 4u);
        EXPECT_LT(run.at("fit").at("r_squared"), 0.8);
        EXPECT_THAT(std::string(run.at("warnings").at(0)), HasSubstr("below 0.8"));
        EXPECT_TRUE(run.at("fit").contains("infrared_correlation"));
    }
    EXPECT_EQ(run.at("modulation_transfer"), 0.45);
    const auto other = child::Run(folder, sharpen + "c.tif --weights-from run.json --method kova");
    EXPECT_THAT(other.err, HasSubstr("the run of 'run.json' had no band weights"));
}

TEST(RunWeights, AreRefusedWhereTheyDoNotServe) {
    const std::string good = R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": [0.5, 0.5])";
    const Arguments infrared = "--infrared ms.tif,band=2";
    struct Case {
        std::string json;
        Arguments options;
        const char* words;
    };
    const Case cases[] = {
        {"", {}, "holds no JSON object"},
        {good, {}, "holds no JSON object"}, // cut short
        {"[1, 2]", {}, "holds no JSON object"},
        {good + ", \"deep\": " + std::string(17, '[') + std::string(17, ']') + "}",
         {},
         "holds no JSON object"},
        {R"({"command": "methods", "ok": true})", {}, "of a run of 'sharpen'"},
        {R"({"command": "sharpen", "ok": false})", {}, "a run that failed"},
        {R"({"command": "sharpen", "ok": true, "method": "IHS", "weights": []})", {}, "has no band weights"},
        {R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": 3})", {}, "run it again"},
        {R"({"command": "sharpen", "ok": true, "method": "KOVA", "weights": [1, null]})",
         {},
         "not a finite number"},
        {good + "}", "-w equal", "give one of them"},
        {good + "}", "--method ihs", "IHS takes no weights"},
        {good + "}", infrared, "--infrared-weight"},
        {good + R"(, "infrared_weight": 0.1})", {}, "name one with --infrared"},
    };
    const child::Folder folder;
    const scene::Pair pair(folder, 2, 8);
    for (const Case& each : cases) {
        SCOPED_TRACE(each.json + " " + child::AsTyped(each.options));
        std::ofstream(folder / "run.json") << each.json;
        const child::Outcome outcome =
            child::Run(folder, "sharpen pan.tif ms.tif -o o.tif --weights-from run.json" + each.options);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.err, HasSubstr(each.words));
        EXPECT_THAT(folder.List(), testing::ElementsAre("ms.tif", "pan.tif", "run.json"));
    }
}
