#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

/// The degraded pair that was kept, fused and assessed by hand, has the indices that the comparison told.
TEST(CompareCommand, TellsWhatAssessTellsOfTheSamePixels) {
    const child::Folder folder;
    WritePair(folder);
    std::filesystem::create_directory(folder.path / "kept");
    const auto text = child::Run(folder, {"compare", "pan.tif", "ms.tif"});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("Best: "));
    EXPECT_THAT(text.out, HasSubstr("; plain cubic upsampling"));
    EXPECT_THAT(folder.List(), testing::ElementsAre("kept", "ms.tif", "pan.tif"));

    const auto told = child::Run(folder, {"compare", "pan.tif", "ms.tif", "-r", "cubic", "--mtf",
                                          "0.25,0.3,0.35", "--keep", "kept", "--json"});
    ASSERT_EQ(told.code, 0) << told.err;
    const json found = json::parse(told.out);
    EXPECT_EQ(found.at("entries").size(), 8u);
    EXPECT_EQ(found.at("modulation_transfer").at("multispectral"), json({0.25, 0.3, 0.35}));
    for (const json& entry : found.at("entries")) {
        EXPECT_GE(entry.at("ergas"), found.at("entries").at(found.at("best").get<std::size_t>()).at("ergas"));
        if (entry.at("weights") != "equal") continue;
        ASSERT_EQ(
            child::Run(folder, {"sharpen", "kept/pan.tif", "kept/ms.tif", "-o", "out.tif", "--overwrite",
                                "-w", "equal", "-r", "cubic", "--method", entry.at("method"), "-q"})
                .code,
            0);
        const auto run = child::Run(
            folder, {"assess", "out.tif", "--reference", "kept/truth.tif", "--ratio", "2", "--json"});
        ASSERT_EQ(run.code, 0) << run.err;
        const json indices = json::parse(run.out).at("indices");
        for (const char* name : {"pixels", "ergas", "sam", "mean_q", "bands"})
            EXPECT_EQ(indices.at(name), entry.at(name)) << name;
    }
}

TEST(AssessCommand, PrintsBothKindsAndRefusesTheRest) {
    const child::Folder folder;
    WritePair(folder);
    ASSERT_EQ(
        child::Run(folder, {"sharpen", "pan.tif", "ms.tif", "-o", "out.tif", "-q", "--preview", "look.png"})
            .code,
        0);
    const struct {
        child::Arguments arguments;
        int code;
        std::vector<std::string> words; ///< on standard output, or on standard error of a failure
    } cases[] = {
        {{"out.tif", "--pan", "pan.tif", "--ms", "ms.tif"}, 0, {"fused", "bilinear", "D_lambda", "HQNR"}},
        {{"ms.tif", "--reference", "ms.tif", "--ratio", "2"},
         0,
         {"inf", "mean Q 1.0000", "ERGAS 0.0000", "900 pixels"}},
        {{"ms.tif", "--reference", "ms.tif"}, 0, {"ERGAS takes a --ratio"}},
        {{"out.tif", "--reference", "ms.tif"}, 1, {"60 x 60 pixels"}},
        {{"out.tif"}, 2, {"--reference", "--pan and --ms"}},
        {{"out.tif", "--pan", "pan.tif"}, 2, {"--pan and --ms go together"}},
        {{"out.tif", "--reference", "ms.tif", "--pan", "pan.tif", "--ms", "ms.tif"},
         2,
         {"give what to assess"}},
        {{"ms.tif", "--reference", "ms.tif", "--ratio", "0"}, 2, {"'0' is no ratio"}},
        {{"out.tif", "--pan", "pan.tif", "--ms", "ms.tif", "--mtf", "0.3,1"},
         2,
         {"'1' is no modulation transfer"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(child::AsTyped(c.arguments));
        const auto run = child::Run(folder, child::Concatenate({{"assess"}, c.arguments}));
        EXPECT_EQ(run.code, c.code) << run.err;
        for (const std::string& words : c.words)
            EXPECT_THAT(c.code == 0 ? run.out : run.err, HasSubstr(words));
    }
    const json pair = json::parse(
        child::Run(folder, {"assess", "out.tif", "--pan", "pan.tif", "--ms", "ms.tif", "--json"}).out);
    EXPECT_LT(pair.at("rows").at(0).at("consistency").at("ergas"),
              pair.at("rows").at(1).at("consistency").at("ergas"));
    const json same =
        json::parse(child::Run(folder, {"assess", "ms.tif", "--reference", "ms.tif", "--json"}).out);
    EXPECT_EQ(same.at("indices").at("bands").at(2).at("rmse"), 0.0);
    EXPECT_TRUE(same.at("indices").at("ergas").is_null());
    const auto place = child::Run(
        folder, {"sharpen", "pan.tif", "ms.tif", "-o", "o.tif", "--preview", "p.png", "--preview-at", "3,4"});
    EXPECT_EQ(place.code, 1);
    EXPECT_THAT(place.err, HasSubstr("does not lie in what is fused"));
    EXPECT_THAT(folder.List(), testing::ElementsAre("look.png", "ms.tif", "out.tif", "pan.tif"));
}
