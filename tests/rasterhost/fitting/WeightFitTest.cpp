#include "KnownPair.h"
#include "rasterhost/scene/Scene.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

namespace {

using namespace testfiles;
using namespace rasterhost;
using testing::HasSubstr;

// Ratio 4, and ratio 2.5, where a multispectral pixel ends within a pan pixel.
TEST(WeightFit, FindsTheWeightsThatPanWasMadeWith) {
    const struct {
        KnownPair pair;
        bool isBelowZero; ///< the last weight, which then becomes 0 and changes the others
    } cases[] = {{{1, 4, {0.2, 0.5, 0.25, 0.1}}, false},
                 {{2, 5, {0.1, 0.3, 0.6, 0.05}}, false},
                 {{1, 4, {0.4, 0.4, 0.4, -0.15}}, true}};
    for (const auto& c : cases) {
        const Folder folder;
        SharpenRequest request = c.pair.Write(folder);
        request.bands = {3, 1}; // the weights stay in the order of the bands
        const Outcome outcome = RunSharpen(request);
        ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
        const auto& report = outcome.report;
        ASSERT_TRUE(report.fit);
        EXPECT_EQ(report.fit->samples, 150u * 150u);
        EXPECT_GT(report.fit->rSquared, 0.9);
        EXPECT_LT(report.fit->rSquared, 1.0);
        EXPECT_LT(report.fit->correlations[3], 0.0);
        EXPECT_EQ(report.effectiveWeights, report.fit->weights);
        if (c.isBelowZero) {
            EXPECT_EQ(report.fit->weights[3], 0.0);
        }
        for (std::size_t band = 0; band < 4 && !c.isBelowZero; ++band)
            EXPECT_NEAR(report.effectiveWeights[band], c.pair.weights[band], 0.005) << band;
        EXPECT_THAT(report.warnings, testing::IsEmpty()); // band 4 is not written
    }
}

TEST(WeightFit, IsTheSameForAnyWindowAndThreadsAndAsTheInfraredBand) {
    const Folder folder;
    const KnownPair pair{1, 4, {0.2, 0.5, 0.25, 0.1}, 120};
    SharpenRequest request = pair.Write(folder);
    request.bands = {1, 2, 3};
    const auto first = RunSharpen(request);
    ASSERT_TRUE(first.report.fit);
    const auto pixels = ReadAll(request.output);
    for (const auto& [rows, threads] : {std::pair{1u, 1}, {37u, 5}}) {
        request.windowRows = rows;
        request.threads = threads;
        const auto again = RunSharpen(request);
        EXPECT_EQ(again.report.effectiveWeights, first.report.effectiveWeights);
        EXPECT_EQ(ReadAll(request.output), pixels);
    }
    request.windowRows = 0;
    const std::string ms = request.multispectral[0].file;
    request.multispectral = {{ms, 1}, {ms, 2}, {ms, 3}};
    request.infrared = InputBand{ms, 4};
    auto merged = RunSharpen(request);
    EXPECT_EQ(merged.report.infraredWeight, first.report.effectiveWeights[3]);
    EXPECT_EQ(merged.report.fit->infraredCorrelation, first.report.fit->correlations[3]);
    EXPECT_EQ(ReadAll(request.output), pixels);
    request.infraredWeight = 0.2; // fixed, so the others compensate
    merged = RunSharpen(request);
    EXPECT_EQ(merged.report.infraredWeight, 0.2);
    EXPECT_NE(merged.report.effectiveWeights[0], first.report.effectiveWeights[0]);
    GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
    EXPECT_STREQ(fused->GetMetadataItem("FitSamples"), "14400");
}

// A quarter of the scene is something else. If it is left out, it does no harm.
TEST(WeightFit, LeavesOutPixelsWithoutDataAndSaturatedOnes) {
    for (const char* what : {"nodata", "saturated pan", "bit depth"}) {
        SCOPED_TRACE(what);
        const Folder folder;
        const KnownPair pair{1, 4, {0.2, 0.5, 0.25, 0.1}, 80};
        SharpenRequest request = pair.Write(folder);
        request.bands = {1, 2, 3};
        const bool isPan = std::string(what) != "nodata";
        {
            const std::string& file = isPan ? request.pan.file : request.multispectral[0].file;
            GDALDatasetUniquePtr set(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
            const int size = isPan ? 161 : 40; // of pan the first column of one more pixel
            const unsigned short value = std::string(what) == "bit depth" ? 40000 : isPan ? 65535 : 3;
            std::vector<unsigned short> fill(static_cast<std::size_t>(size) * 160u, value);
            ASSERT_EQ(set->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, size, isPan ? 160 : 40, fill.data(),
                                                      size, isPan ? 160 : 40, GDT_UInt16, 0, 0, nullptr),
                      CE_None);
            if (!isPan) set->GetRasterBand(1)->SetNoDataValue(3);
        }
        FitOptions options;
        if (std::string(what) == "bit depth") options.bitDepth = 15;
        WeightFit fit;
        Status status;
        const auto scene = OpenScene(
            request, [](const std::string&) {}, status);
        ASSERT_TRUE(scene) << status.ToText();
        ASSERT_TRUE(FitWeights(*scene, options, fit, nullptr, status));
        if (std::string(what) == "bit depth")
            EXPECT_LT(fit.samples, 4800u);
        else
            EXPECT_EQ(fit.samples, isPan ? 4760u : 4800u);
        EXPECT_NEAR(fit.weights[1], 0.5, 0.01);
    }
}

TEST(WeightFit, SaysWhatIsWrong) {
    const Folder folder;
    const KnownPair pair{1, 4, {0.3, 0.3, 0.3, 0.0}, 60};
    const SharpenRequest good = pair.Write(folder);
    const std::string other =
        folder.Write("other.tif", {240, 240, 1, GDT_UInt16, Grid(1), {}},
                     [](int c, int r, int) { return unsigned(c * 7919 + r * 104729) % 9000u; });
    const std::string flat =
        folder.Write("flat.tif", {240, 240, 1, GDT_UInt16, Grid(1), {}}, [](int, int, int) { return 9u; });
    const std::string small = folder.Write("small.tif", {20, 20, 1, GDT_UInt16, Grid(1), {}},
                                           [](int c, int, int) { return unsigned(c + 1); });
    const struct {
        std::string pan;
        std::vector<const char*> words;
        bool isFitted;
    } cases[] = {{good.pan.file, {"band 4 does not follow pan (correlation -0."}, true},
                 {other, {"below 0.8", "shifted", "bands 1, 2, 3, 4 do not follow"}, true},
                 {flat, {"the same everywhere", "equal weights are used"}, false},
                 {small, {"too few", "25 lie wholly", "equal weights are used"}, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pan);
        SharpenRequest request = good;
        request.pan.file = c.pan;
        const Outcome outcome = RunSharpen(request);
        ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
        const auto& warnings = outcome.report.warnings;
        const std::string all = std::accumulate(warnings.begin(), warnings.end(), std::string());
        for (const char* word : c.words)
            EXPECT_THAT(all, HasSubstr(word));
        EXPECT_EQ(outcome.report.fit.has_value(), c.isFitted);
        if (!c.isFitted) {
            EXPECT_EQ(outcome.report.effectiveWeights, std::vector<double>(4, 0.25));
        }
    }
    SharpenRequest raw = good; // raw weights are the user's own choice
    raw.properties = {{"bandweight-2", "0.5"}};
    EXPECT_EQ(RunSharpen(raw).report.effectiveWeights, (std::vector<double>{0.25, 0.5, 0.25, 0.25}));
}

} // namespace
