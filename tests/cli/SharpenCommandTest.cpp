#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>

using child::Arguments;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct GoodRun {
    int bits;
    Arguments line;              ///< after the panchromatic input
    std::vector<double> weights; ///< of the four bands of ms.tif; their sums have no rounding
    std::vector<int> wanted;     ///< bands of ms.tif in the output, from 0
    std::string method = "KOVA";
};

} // namespace

TEST(SharpenCommand, FusesWhatWasAsked) {
    const std::vector<double> equal(4, 0.25);
    const std::vector<double> uneven = {0.5, 0.125, 0.25, 0.125};
    const std::vector<int> all = {0, 1, 2, 3};
    const Arguments infrared = "ms.tif,band=4 ms.tif,band=2 ms.tif,band=3 --infrared ms.tif,band=1 -w "
                               "0.125,0.125,0.25 --infrared-weight 0.5";
    const GoodRun runs[] = {
        {8, "ms.tif -w equal", equal, all},
        {8, "-w equal -- ms.tif", equal, all},
        {16, "ms.tif --method KOVA --weights=Equal", equal, all},
        {16, "ms.tif -w -0.5,1,.25,0.25", {-0.5, 1, 0.25, 0.25}, all},
        {8, "ms.tif -w 0.5,0.125,0.25,0.125 -b 3,1", uneven, {2, 0}},
        {8, "ms.tif,band=4 ms.tif,band=2 -w 0.5,0.25", {0, 0.25, 0, 0.5}, {3, 1}},
        // Raw properties take precedence over weights, in any letter case.
        {8,
         "ms.tif -w 1,1,1,1 --set BandWeight-1=0.5 --set BandWeight-2=0.125 --set bandweight-3=0.25 --set "
         "BandWeight-4=0.125",
         uneven, all},
        {8, "ms.tif --method brovey -w equal", equal, all, "Brovey"},
        {16, "ms.tif --method=BROVEY -w 0.5,0.125,0.25,0.125 -b 4,2", uneven, {3, 1}, "Brovey"},
        {16, infrared + "-b 3,1", uneven, {2, 3}},
        {8, infrared + "--method brovey --simd scalar", uneven, {3, 1, 2}, "Brovey"},
        {8, "ms.tif --method ihs", {0.0}, {0, 1, 2}, "IHS"},
        {8, "ms.tif -f ENVI --co INTERLEAVE=BIP -w equal", equal, all},
    };
    for (const GoodRun& run : runs) {
        SCOPED_TRACE(child::AsTyped(run.line));
        const child::Folder folder;
        const scene::Pair pair(folder, 4, run.bits);
        const child::Outcome outcome =
            child::RunWell(folder, "sharpen -o out.tif -r bilinear pan.tif" + run.line);
        const scene::Raster fused = scene::Read(folder / "out.tif");
        EXPECT_EQ(fused.bits, run.bits);
        EXPECT_EQ(outcome.out.find("weights") == std::string::npos, run.method == "IHS");
        EXPECT_EQ(fused.samples, scene::Fuse(run.method, pair.pan, pair.ms, run.weights, run.wanted).samples);
    }
}

TEST(SharpenCommand, ClosesWithWhatWasDone) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    const child::Outcome outcome =
        child::RunWell(folder, "sharpen pan.tif ms.tif -o out.tif -w 0.5,0.25,0.25 -j 1 --method kova");
    const scene::Raster fused = scene::Read(folder / "out.tif");
    const auto zeros = std::count(fused.samples.begin(), fused.samples.begin() + 46 * 38, 0u);
    for (const std::string& words :
         {std::string("out.tif: 46 x 38 pixels, 3 bands of 8 bits, method KOVA"),
          std::string("weights 0.5, 0.25, 0.25\n"), std::string(" megapixels/s, 1 thread, peak memory "),
          "band 1: " + std::to_string(zeros) + " ("})
        EXPECT_THAT(outcome.out, HasSubstr(words));
    EXPECT_THAT(outcome.err, HasSubstr("100 % done"));
    EXPECT_THAT(folder.List(), ElementsAre("ms.tif", "out.tif", "pan.tif"));

    const child::Outcome quiet =
        child::RunWell(folder, "sharpen pan.tif ms.tif -o out.tif --overwrite -q -w equal --method kova");
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST(SharpenCommand, WarnsAndGoesOn) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    scene::Write(folder / "bare_pan.tif", pair.pan, {.pixelSize = 0, .epsg = 0});
    scene::Write(folder / "bare_ms.tif", pair.ms, {.pixelSize = 0, .epsg = 0});
    scene::Write(folder / "unprojected.tif", pair.ms, {.pixelSize = 20.0, .epsg = 0});
    const std::pair<Arguments, const char*> cases[] = {
        {{"bare_pan.tif", "bare_ms.tif"}, "neither 'bare_pan.tif' nor 'bare_ms.tif' is georeferenced"},
        {"pan.tif unprojected.tif", "'unprojected.tif' has no projection"},
        {"pan.tif ms.tif --set BandWieght-1=2", "the property BandWieght-1: there is no such property"},
        {"pan.tif ms.tif --set bandweight-2=2 --method kova", nullptr}};
    for (const auto& [arguments, words] : cases) {
        const auto err = child::RunWell(folder, "sharpen -q -o o.tif --overwrite" + arguments).err;
        EXPECT_EQ(err.find("pansharp: warning: ") != std::string::npos, words != nullptr) << err;
        EXPECT_THAT(err, HasSubstr(words ? words : ""));
    }
    for (const Arguments weighed : {"-w equal", "--set BandWeight-2=2"}) {
        const child::Outcome chosen =
            child::Run(folder, "sharpen pan.tif ms.tif -o c.tif --overwrite" + weighed);
        EXPECT_THAT(chosen.err,
                    HasSubstr(": the method KOVA is used, because Injection has no band weights"));
        EXPECT_THAT(chosen.out, HasSubstr("method KOVA"));
    }
}

/// The scene only declares a large size; after the first tenth, nine tenths of the time are left.
TEST(SharpenCommand, StopsWhenInterrupted) {
    for (const int signal : {SIGINT, SIGKILL}) {
        const child::Folder folder;
        scene::WriteSparse(folder / "pan.tif", 8192, 8192, 1, {.pixelSize = 10.0});
        scene::WriteSparse(folder / "ms.tif", 4096, 4096, 4, {.pixelSize = 20.0});
        child::Running running(folder,
                               "sharpen pan.tif ms.tif -o out.tif --no-nodata --window 16 -j 1 --json");
        // The unfinished output, under another name, shows that the run has begun.
        ASSERT_TRUE(child::WaitUntil([&] { return folder.List().size() == 3; }));
        running.Signal(signal);
        const child::Outcome outcome = running.Finish();
        if (signal == SIGKILL) { // leaves its files under a recognisable name; the next run removes them
            EXPECT_THAT(folder.List(),
                        ElementsAre(testing::StartsWith(".out.pansharp-"), "ms.tif", "pan.tif"));
            EXPECT_EQ(
                child::Run(folder, "sharpen pan.tif ms.tif -o out.tif --no-nodata --co BLOCKXSIZE=7").code,
                1);
        } else {
            EXPECT_EQ(outcome.code, 130);
            EXPECT_THAT(outcome.err, HasSubstr("pansharp: interrupted; 'out.tif' was not written"));
            const auto object = nlohmann::json::parse(outcome.out);
            EXPECT_EQ(object.at("exit_code"), 130);
            EXPECT_EQ(object.at("ok"), false);
        }
        EXPECT_THAT(folder.List(), ElementsAre("ms.tif", "pan.tif"));
    }
}
