#include "SceneFiles.h"

#include <gmock/gmock.h>

namespace {

using namespace rasterhost;

unsigned Multispectral(int c, int r, int band) {
    return static_cast<unsigned>((c * 31 + r * 57 + band * 83 + c * r % 7) % 251);
}

/// A scene of 40 x 36 pan pixels, ratio 4, its bands in one file and one by one.
struct InfraredScene {
    InfraredScene() {
        const testfiles::FileShape ms{10, 9, 4, GDT_Byte, testfiles::Grid(40.0), {}};
        pan = folder.Write("pan.tif", {40, 36, 1, GDT_Byte, testfiles::Grid(10.0), {}},
                           [](int c, int r, int) { return static_cast<unsigned>((c * 7 + r * 13) % 256); });
        stacked = folder.Write("ms.tif", ms, Multispectral);
    }
    [[nodiscard]] SharpenRequest Request(const char* method, std::vector<int> multispectral,
                                         std::optional<int> infrared) const {
        SharpenRequest request = testfiles::MakeRequest();
        request.pan.file = pan;
        for (const int band : multispectral)
            request.multispectral.push_back({stacked, band});
        if (infrared) request.infrared = InputBand{stacked, infrared};
        request.method = method;
        request.output = folder / "fused.tif";
        request.overwrite = true;
        request.weightSource = WeightSource::Equal;
        return request;
    }
    testfiles::Folder folder;
    std::string pan;
    std::string stacked;
};

// The infrared band counts as the last multispectral one: as one more band that is not written it gives the
// same.
TEST(SharpenInfrared, EqualsOneMoreBandThatIsNotWritten) {
    const InfraredScene scene;
    for (const PansharpMethod& method : testfiles::Methods())
        for (const bool weighed : {false, true})
            for (const std::uint32_t windowRows : {0u, 1u, 7u}) {
                if (!hostkit::WeighsBands(method)) continue;
                auto merged = scene.Request(method.keyword, {3, 2, 1}, 4);
                auto stacked = scene.Request(method.keyword, {3, 2, 1, 4}, {});
                stacked.bands = {1, 2, 3};
                merged.windowRows = windowRows;
                if (weighed) {
                    merged.weights = {0.3, 0.25, 0.35};
                    merged.infraredWeight = 0.1;
                    stacked.weights = {0.3, 0.25, 0.35, 0.1};
                }
                auto outcome = testfiles::RunSharpen(merged);
                ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
                EXPECT_EQ(outcome.report.bands, 3u);
                EXPECT_EQ(outcome.report.infraredWeight, weighed ? 0.1 : 0.25);
                const auto pixels = testfiles::ReadAll(merged.output);
                outcome = testfiles::RunSharpen(stacked);
                ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
                EXPECT_EQ(pixels, testfiles::ReadAll(stacked.output))
                    << method.keyword << " " << weighed << " " << windowRows;
            }
}

// IHS takes band index 3 for the infrared one, so bands beyond the three colours must not stand before it.
TEST(SharpenInfrared, IhsTakesItForTheFourthBandHoweverManyThereAre) {
    const InfraredScene scene;
    auto three = scene.Request("IHS", {3, 2, 1}, 4);
    auto four = scene.Request("IHS", {3, 2, 1, 2}, 4);
    three.infraredWeight = four.infraredWeight = 0.5;
    auto outcome = testfiles::RunSharpen(three);
    ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
    EXPECT_EQ(outcome.report.bands, 3u);
    const auto pixels = testfiles::ReadAll(three.output);
    three.infraredWeight.reset();
    ASSERT_TRUE(testfiles::RunSharpen(three).isDone);
    EXPECT_NE(pixels, testfiles::ReadAll(three.output)) << "the weight has no effect";
    outcome = testfiles::RunSharpen(four);
    ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
    EXPECT_EQ(pixels, testfiles::ReadAll(four.output));
    four.bands = {1, 2, 3, 4};
    outcome = testfiles::RunSharpen(four);
    EXPECT_FALSE(outcome.isDone);
    EXPECT_THAT(outcome.status.ToText(), testing::HasSubstr("3 bands beside an infrared one"));
}

// What does not fit is said of the file that does not, and nothing is written.
TEST(SharpenInfrared, IsRefusedWhereItDoesNotFit) {
    const InfraredScene scene;
    const auto write = [&](const char* name, testfiles::FileShape shape) {
        return scene.folder.Write(name, shape, Multispectral);
    };
    const struct {
        std::string file;
        std::vector<double> weights;
        std::vector<const char*> words;
    } cases[] = {
        {write("many.tif", {10, 9, 3, GDT_Byte, testfiles::Grid(40.0), {}}),
         {},
         {"many.tif", "3 bands", "band=1"}},
        {write("deep.tif", {10, 9, 1, GDT_UInt16, testfiles::Grid(40.0), {}}),
         {},
         {"deep.tif", "16", "gdal_translate"}},
        {write("away.tif", {10, 9, 1, GDT_Byte, testfiles::Grid(40.0, 900000.0), {}}),
         {},
         {"away.tif", "overlap"}},
        {write("bare.tif", {10, 9, 1, GDT_Byte, {}, {}}), {}, {"bare.tif", "georeferenced"}},
        {write("ir.tif", {10, 9, 1, GDT_Byte, testfiles::Grid(40.0), {}}),
         {0.5, 0.25, 0.25},
         {"infrared", "weight"}},
        {scene.folder / "none.tif", {}, {"none.tif"}},
    };
    for (const auto& c : cases) {
        auto request = scene.Request("KOVA", {3, 2, 1}, {});
        request.infrared = InputBand{c.file, {}};
        request.weights = c.weights;
        const auto outcome = testfiles::RunSharpen(request);
        EXPECT_FALSE(outcome.isDone) << c.file;
        for (const char* word : c.words)
            EXPECT_THAT(outcome.status.ToText(), testing::HasSubstr(word));
        EXPECT_FALSE(std::filesystem::exists(request.output)) << c.file;
    }
}

} // namespace
