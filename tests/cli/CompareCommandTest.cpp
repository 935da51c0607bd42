#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using child::Arguments;
using nlohmann::json;
using testing::HasSubstr;

namespace {

/// Blocks of random brightness, 60 x 60 in pan.tif, and every second pixel in three bands in ms.tif.
void WritePair(const child::Folder& folder) {
    const scene::Raster blocks = scene::MakeRaster(15, 15, 1, 8, 7);
    scene::Raster pan{60, 60, 1, 8, {}}, ms{30, 30, 3, 8, {}};
    for (int row = 0; row < 60; ++row)
        for (int column = 0; column < 60; ++column)
            pan.samples.push_back(blocks.At(0, row / 4, column / 4) / 2 + 60);
    for (int band = 0; band < 3; ++band)
        for (int row = 0; row < 30; ++row)
            for (int column = 0; column < 30; ++column)
                ms.samples.push_back(pan.At(0, 2 * row, 2 * column) - static_cast<unsigned>(20 * band));
    scene::Write(folder / "pan.tif", pan, {});
    scene::Write(folder / "ms.tif", ms, {.pixelSize = 20.0});
}

} // namespace

/// The degraded pair that was kept, fused and assessed by hand, has the indices that the comparison reported.
TEST(CompareCommand, TellsWhatAssessTellsOfTheSamePixels) {
    const child::Folder folder;
    WritePair(folder);
    std::filesystem::create_directory(folder.path / "kept");
    const auto text = child::RunWell(folder, "compare pan.tif ms.tif");
    EXPECT_THAT(text.out, HasSubstr("Best: "));
    EXPECT_THAT(text.out, HasSubstr("; plain cubic upsampling"));
    EXPECT_THAT(folder.List(), testing::ElementsAre("kept", "ms.tif", "pan.tif"));

    // In the second case a band takes part only in the simulated pan.
    const struct {
        Arguments inputs;
        const char* transfers;
        std::size_t entries;
        Arguments infrared, bands, reference;
    } cases[] = {{{"ms.tif"}, "0.3,0.2,0.35", 8, {}, {}, "--reference kept/truth.tif"},
                 {"ms.tif,band=1 ms.tif,band=3 --infrared ms.tif,band=2", "0.3,0.35,0.2", 7,
                  "--infrared kept/infrared.tif", "-b 2,1",
                  "--reference kept/truth.tif,band=2 --reference kept/truth.tif,band=1"}};
    for (const auto& c : cases) {
        const bool isFirst = c.infrared.empty();
        const auto told =
            child::RunWell(folder, "compare pan.tif -r cubic --keep kept --overwrite --json --mtf" +
                                       Arguments{c.transfers} + c.inputs + c.bands);
        const json found = json::parse(told.out);
        EXPECT_EQ(found.at("entries").size(), c.entries);
        EXPECT_EQ(found.at("modulation_transfer").at("multispectral"),
                  json::parse("[" + std::string(c.transfers) + "]"));
        for (const json& entry : found.at("entries")) {
            EXPECT_GE(entry.at("ergas"),
                      found.at("entries").at(found.at("best").get<std::size_t>()).at("ergas"));
            if (entry.at("weights") != "equal") continue;
            child::RunWell(
                folder,
                "sharpen kept/pan.tif kept/ms.tif -o out.tif --overwrite -w equal -r cubic -q --method" +
                    Arguments{entry.at("method").get<std::string>()} + c.infrared + c.bands);
            const auto run = child::RunWell(folder, "assess out.tif --ratio 2 --json" + c.reference);
            const json indices = json::parse(run.out).at("indices");
            for (const char* name : {"pixels", "ergas", "sam", "mean_q", "bands"})
                EXPECT_EQ(indices.at(name), entry.at(name)) << name;
        }
        if (isFirst) std::filesystem::copy(folder / "kept/ms.tif", folder / "first.tif");
    }
    // Degraded by its own transfer, like a band: the smallest, with the widest kernel, which is cut in the
    // same way.
    const auto same = child::Run(folder, "assess kept/infrared.tif --reference first.tif,band=2 --json");
    EXPECT_EQ(json::parse(same.out).at("indices").at("bands").at(0).at("rmse"), 0.0) << same.err;
}

TEST(AssessCommand, PrintsBothKindsAndRefusesTheRest) {
    const child::Folder folder;
    WritePair(folder);
    child::RunWell(folder, "sharpen pan.tif ms.tif -o out.tif -q --preview look.png");
    const struct {
        Arguments arguments;
        int code;
        std::vector<std::string> words; ///< on standard output, or on standard error of a failure
    } cases[] = {
        {"out.tif --pan pan.tif --ms ms.tif", 0, {"fused", "bilinear", "D_lambda", "HQNR"}},
        {"ms.tif --reference ms.tif --ratio 2", 0, {"inf", "mean Q 1.0000", "ERGAS 0.0000", "900 pixels"}},
        {"ms.tif --reference ms.tif", 0, {"ERGAS needs --ratio"}},
        {"out.tif --reference ms.tif", 1, {"60 x 60 pixels"}},
        {"out.tif --reference ms.tif -b 1", 2, {"--bands names bands of the pair"}},
        {{"out.tif"}, 2, {"--reference", "--pan and --ms"}},
        {"out.tif --pan pan.tif", 2, {"--pan and --ms name the pair"}},
        {"out.tif --reference ms.tif --pan pan.tif --ms ms.tif", 2, {"nothing to compare the image with"}},
        {"ms.tif --reference ms.tif --ratio 0", 2, {"'0' is not a ratio"}},
        {"out.tif --pan pan.tif --ms ms.tif --mtf 0.3,1", 2, {"'1' is not a modulation transfer"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(child::AsTyped(c.arguments));
        const auto run = child::Run(folder, "assess" + c.arguments);
        EXPECT_EQ(run.code, c.code) << run.err;
        for (const std::string& words : c.words)
            EXPECT_THAT(c.code == 0 ? run.out : run.err, HasSubstr(words));
    }
    const json pair = json::parse(child::Run(folder, "assess out.tif --pan pan.tif --ms ms.tif --json").out);
    EXPECT_LT(pair.at("rows").at(0).at("consistency").at("ergas"),
              pair.at("rows").at(1).at("consistency").at("ergas"));
    child::RunWell(folder, "sharpen pan.tif ms.tif -o two.tif -q -b 3,1");
    const auto by = [&](const Arguments& bands) {
        return json::parse(child::Run(folder, "assess two.tif --pan pan.tif --json" + bands).out).at("rows");
    };
    EXPECT_EQ(by("--ms ms.tif -b 3,1 --mtf 0.2,0.3,0.4"),
              by("--ms ms.tif,band=3 --ms ms.tif,band=1 --mtf 0.4,0.2"));
    const json same = json::parse(child::Run(folder, "assess ms.tif --reference ms.tif --json").out);
    EXPECT_EQ(same.at("indices").at("bands").at(2).at("rmse"), 0.0);
    EXPECT_TRUE(same.at("indices").at("ergas").is_null());
    const auto place = child::Run(folder, "sharpen pan.tif ms.tif -o o.tif --preview p.png --preview-at 3,4");
    EXPECT_EQ(place.code, 1);
    EXPECT_THAT(place.err, HasSubstr("lies outside the part that is fused"));
    EXPECT_THAT(folder.List(), testing::ElementsAre("look.png", "ms.tif", "out.tif", "pan.tif", "two.tif"));
}
