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
// same result.
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
                auto outcome = testfiles::RunWell(merged);
                EXPECT_EQ(outcome.report.bands, 3u);
                EXPECT_EQ(outcome.report.infraredWeight, weighed ? 0.1 : 0.25);
                const auto pixels = testfiles::ReadAll(merged.output);
                outcome = testfiles::RunWell(stacked);
                EXPECT_EQ(pixels, testfiles::ReadAll(stacked.output))
                    << method.keyword << " " << weighed << " " << windowRows;
            }
}

// IHS takes band index 3 as infrared, so bands beyond the three colours must not come before it.
TEST(SharpenInfrared, IhsTakesItForTheFourthBandHoweverManyThereAre) {
    const InfraredScene scene;
    auto three = scene.Request("IHS", {3, 2, 1}, 4);
    auto four = scene.Request("IHS", {3, 2, 1, 2}, 4);
    three.infraredWeight = four.infraredWeight = 0.5;
    auto outcome = testfiles::RunWell(three);
    EXPECT_EQ(outcome.report.bands, 3u);
    const auto pixels = testfiles::ReadAll(three.output);
    three.infraredWeight.reset();
    EXPECT_NE(pixels, testfiles::Fused(three)) << "the weight has no effect";
    outcome = testfiles::RunWell(four);
    EXPECT_EQ(pixels, testfiles::ReadAll(four.output));
    four.bands = {1, 2, 3, 4};
    outcome = testfiles::RunSharpen(four);
    EXPECT_FALSE(outcome.isDone);
    EXPECT_THAT(outcome.status.ToText(), testing::HasSubstr("3 bands when there is an infrared band"));
}

} // namespace
