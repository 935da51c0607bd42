#include "rasterhost/BandWeights.h"

#include "SceneFiles.h"

#include <gmock/gmock.h>

namespace {

using namespace rasterhost;
using Weights = std::vector<double>;

// As the methods read raw properties: KOVA's defaults are 1/n and 0, Brovey's 1 and 1, times 4 here.
TEST(BandWeights, RawPropertiesAreReadAsTheMethodDoes) {
    PropertyTexts properties;
    SetProperty(properties, "BandWeight-2", "0.5");
    SetProperty(properties, "bandweight-3", "many");
    EXPECT_EQ(FindEffectiveWeights("KOVA", 4, properties), (Weights{0.25, 0.5, 0.0, 0.25}));
    EXPECT_EQ(FindEffectiveWeights("Brovey", 4, properties), (Weights{4.0, 2.0, 4.0, 4.0}));
    SetProperty(properties, "AdditionalBandWeight", "0.125");
    EXPECT_EQ(FindEffectiveWeights("KOVA", 4, properties), (Weights{0.25, 0.5, 0.0, 0.125}));
    EXPECT_EQ(FindEffectiveWeights("Brovey", 4, properties), (Weights{4.0, 2.0, 4.0, 0.125}));
}

// Flat bands: with weights that sum to 1 Brovey keeps the bands' ratios and takes on pan's brightness.
TEST(BandWeights, BroveyIsAsBrightAsPan) {
    const testfiles::Folder folder;
    SharpenRequest request;
    request.pan.file = folder.Write("pan.tif", {16, 16, 1, GDT_UInt16, testfiles::Grid(10.0), {}},
                                    [](int, int, int) { return 1000u; });
    request.multispectral = {
        {folder.Write("ms.tif", {8, 8, 4, GDT_UInt16, testfiles::Grid(20.0), {}},
                      [](int, int, int band) { return 200u * static_cast<unsigned>(band + 1); }),
         {}}};
    request.output = folder / "fused.tif";
    request.method = "brovey";
    const auto outcome = testfiles::RunSharpen(request);
    ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
    const auto fused = testfiles::ReadAll(request.output); // the bands' mean is 500: all are doubled
    EXPECT_EQ(std::vector<unsigned>(fused.begin(), fused.begin() + 4),
              (std::vector<unsigned>{400, 800, 1200, 1600}));
    EXPECT_EQ(outcome.report.method, "Brovey");
    EXPECT_EQ(outcome.report.effectiveWeights, Weights(4, 0.25));
}

} // namespace
