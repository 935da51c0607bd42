#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::json;
using testing::HasSubstr;

TEST(InfoCommand, PrintsWhatSharpenWouldDo) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 16);
    const child::Arguments arguments =
        "info pan.tif ms.tif,band=1 ms.tif,band=2 ms.tif,band=3 --infrared ms.tif,band=4 --method kova";
    const auto text = child::RunWell(folder, arguments);
    for (const char* words :
         {"'pan.tif': 46 x 38 pixels of 10 x 10, 1 band\n", "EPSG:32631", "16 bits unsigned",
          "ratio 2, overlap 100 % of pan", "band 3: correlation with pan", "46 x 38 pixels, 3 bands"})
        EXPECT_THAT(text.out, HasSubstr(words));
    EXPECT_THAT(text.err, testing::StartsWith("pansharp: warning: no weights of the bands make up pan well"));

    const auto told = child::Run(folder, arguments + "--json");
    EXPECT_EQ(told.err, "");
    const json info = json::parse(told.out);
    const auto run = child::Run(folder, "sharpen -o out.tif --json" +
                                            child::Arguments(arguments.begin() + 1, arguments.end()));
    const json fused = json::parse(run.out);
    child::Arguments trial = arguments + "--dry-run -o trial.tif";
    trial.front() = "sharpen";
    EXPECT_EQ(child::Run(folder, trial).out, text.out);
    const auto preview = child::Run(folder, trial + "--preview none/look.png");
    EXPECT_EQ(preview.code, 1);
    EXPECT_THAT(preview.err, HasSubstr("'none/look.png' cannot be created"));
    trial.back() = "none/trial.tif";
    EXPECT_THAT(child::Run(folder, trial).err, HasSubstr("the folder 'none' of the output does not exist"));
    EXPECT_EQ(info.at("command"), "info");
    for (const char* same : {"weights", "infrared_weight", "method", "columns", "rows", "bands"})
        EXPECT_EQ(info.at("sharpen").at(same), fused.at(same)) << same;
    EXPECT_EQ(info.at("fit").at("correlations"), fused.at("fit").at("correlations"));
    EXPECT_EQ(info.at("warnings"), fused.at("warnings"));
    EXPECT_EQ(info.at("images").at("infrared").at("columns"), 23);
    EXPECT_THAT(folder.List(), testing::ElementsAre("ms.tif", "out.tif", "pan.tif"));
}
