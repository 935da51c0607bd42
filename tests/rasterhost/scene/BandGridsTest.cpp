#include "KnownPair.h"
#include "rasterhost/assessing/Compare.h"
#include "rasterhost/assessing/Preflight.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace testfiles;
using rasterhost::InputBand;
using rasterhost::SharpenRequest;
using testing::HasSubstr;

constexpr int columns = 200, rows = 150;

/// A flat pan, and files on grids of their own. Each has two bands that encode column and row by 100 per
/// pixel, and a hole without data.
class Grids : public testing::Test {
protected:
    Grids() {
        request.pan.file = folder.Write("pan.tif", {columns, rows, 1, GDT_UInt16, Grid(10.0), "EPSG:32630"},
                                        [](int, int, int) { return 3u; });
        FileShape shapes[] = {{110, 60, 2, GDT_UInt16, Grid(20.0, 500004.0, 3999993.0), "EPSG:32630"},
                              {52, 40, 2, GDT_UInt16, Grid(40.0), "EPSG:32630"},
                              {90, 90, 2, GDT_UInt16,
                               std::array{-3.001, 0.0003, 0.00001, 36.1475, 0.0, -0.00025}, "EPSG:4326"}};
        for (int i = 0; i < 3; ++i) {
            shapes[i].noData = 7.0 + i;
            const std::string file =
                folder.Write("ms" + std::to_string(i) + ".tif", shapes[i], [i](int c, int r, int band) {
                    const bool isHole = c >= 20 + i && c < 24 + i && r >= 18 && r < 22;
                    return isHole ? 7u + static_cast<unsigned>(i)
                                  : static_cast<unsigned>(1000 + 100 * (band == 0 ? c : r));
                });
            files.push_back({file, {}});
        }
        request.output = folder / "fused.tif";
        request.overwrite = true;
    }
    /// The fused samples of some files; pan, which is 3, is added to each.
    std::vector<unsigned> Fuse(const std::vector<InputBand>& inputs) {
        request.multispectral = inputs;
        request.weights.assign(2 * inputs.size(), 1e-300);
        return Fused(request);
    }

    const Folder folder;
    std::vector<InputBand> files;
    SharpenRequest request = MakeRequest();
};

// Each band equals the result of its file alone, in the requested order; a pixel has data where all bands
// have data.
TEST_F(Grids, EveryBandIsSampledFromItsOwn) {
    for (const auto resampling : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic}) {
        request.resampling = resampling;
        request.bands.clear();
        std::vector<std::vector<unsigned>> alone;
        for (const InputBand& file : files)
            alone.push_back(Fuse({file}));
        request.bands = {6, 1, 3, 4};
        const auto joined = Fuse(files);
        ASSERT_EQ(joined.size(), std::size_t{columns} * rows * 4);
        std::size_t withData = 0, expected = 0;
        for (std::size_t pixel = 0; pixel < joined.size() / 4; ++pixel) {
            bool hasData = true;
            for (const auto& file : alone)
                hasData = hasData && file[pixel * 2] > 100;
            expected += hasData;
            for (std::size_t band = 0; band < 4; ++band) {
                const auto source = static_cast<std::size_t>(request.bands[band]) - 1;
                const unsigned own = alone[source / 2][pixel * 2 + source % 2];
                ASSERT_EQ(joined[pixel * 4 + band], hasData ? own : 8u) << pixel << " " << band;
            }
            withData += joined[pixel * 4] != 8;
        }
        EXPECT_EQ(withData, expected);
        EXPECT_GT(withData, 10000u);
        EXPECT_LT(withData, 25000u);
    }
}

// Windows, threads and parts change no byte, with masks and another projection, on one grid and on several.
TEST_F(Grids, WindowsAndPartsEqualTheCutOfTheWhole) {
    for (const auto& inputs : {std::vector{files[2]}, files})
        for (const auto resampling : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic}) {
            request.resampling = resampling;
            request.windowRows = 0;
            request.part.reset();
            const auto whole = Fuse(inputs);
            for (const auto& [windowRows, threads] : {std::pair{1u, 1}, {7u, 3}, {64u, 2}}) {
                request.windowRows = windowRows;
                request.threads = threads;
                request.part.reset();
                EXPECT_EQ(Fuse(inputs), whole) << windowRows;
                request.part = {500330.0, 3999790.0, 501570.0, 3998950.0}; // 124 x 84 pixels from (33, 21)
                std::vector<unsigned> cut;
                const std::size_t bands = 2 * inputs.size();
                for (std::size_t r = 21; r < 105; ++r) {
                    const auto row = whole.begin() + static_cast<std::ptrdiff_t>(r * columns * bands);
                    cut.insert(cut.end(), row + static_cast<std::ptrdiff_t>(33 * bands),
                               row + static_cast<std::ptrdiff_t>(157 * bands));
                }
                EXPECT_EQ(Fuse(inputs), cut) << windowRows;
            }
        }
}

// For a method that takes fewer bands, the grids of the others do not count; the intersection counts all.
TEST_F(Grids, TakePartAsLongAsTheirBandsDo) {
    request.method = "IHS";
    request.weightSource = rasterhost::WeightSource::Equal;
    request.infrared = InputBand{files[0].file, 2};
    const auto fuse = [&](const std::vector<InputBand>& inputs) {
        request.multispectral = inputs;
        return Fused(request);
    };
    request.part = {500330.0, 3999790.0, 501570.0, 3998950.0};
    EXPECT_EQ(fuse({files[0], files[1]}), fuse({files[0], {files[1].file, 1}}));
    request.part.reset();
    request.method = "KOVA";
    request.infrared.reset();
    request.ignoreNoData = request.onlyIntersection = true;
    Fuse({files[0], files[1]});
    GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
    EXPECT_EQ(std::pair(fused->GetRasterXSize(), fused->GetRasterYSize()), std::pair(200, 120));
}

// The displacement is in pixels of 40 m. On a grid of 20 m it is twice as many pixels, on a grid turned by
// half a radian it has another direction.
TEST_F(Grids, AShiftIsOneWayOnTheGround) {
    request.ignoreNoData = true;
    const double c = 20.0 * std::cos(0.5), s = 20.0 * std::sin(0.5);
    const std::string turned = folder.Write(
        "turned.tif", {120, 120, 2, GDT_UInt16, std::array{500000.0, c, s, 3999200.0, s, -c}, "EPSG:32630"},
        [](int column, int row, int band) {
            return static_cast<unsigned>(1000 + 100 * (band == 0 ? column : row));
        });
    const std::vector<InputBand> inputs = {files[0], files[1], {turned, {}}};
    const auto before = Fuse(inputs);
    request.shift = {0.5, -0.25};
    const auto after = Fuse(inputs);
    const std::size_t middle = (60 * columns + 100) * 6;
    const double moved[] = {100.0, -50.0, 50.0, -25.0, 5.0 * c + 2.5 * s, 5.0 * s - 2.5 * c};
    for (std::size_t band = 0; band < 6; ++band)
        EXPECT_NEAR(static_cast<double>(after[middle + band]) - before[middle + band], moved[band], 1.0)
            << band;
}

TEST_F(Grids, AShiftTakesTheInfraredAlong) {
    request.ignoreNoData = true;
    request.infrared = InputBand{files[0].file, 1};
    request.infraredWeight = 0.25;
    const auto before = Fuse({files[1]});
    request.shift = {0.5, 0.0};
    const auto after = Fuse({files[1]});
    const std::size_t middle = (60 * columns + 100) * 2; // 20 m are 50 in the band, and one pixel of infrared
    EXPECT_NEAR(static_cast<double>(after[middle]) - before[middle], 50.0 - 0.25 * 100.0, 1.0);
}

TEST_F(Grids, AreToldAndNotCompared) {
    request.plugin = PANSHARP_PLUGIN_FILE;
    request.multispectral = {files[0], files[1]};
    request.weights = {0.25, 0.25, 0.25, 0.25};
    rasterhost::PreflightReport facts;
    KOVA::Tessara::Fundament::Status status;
    ASSERT_TRUE(rasterhost::Preflight(request, facts, status)) << status.ToText();
    EXPECT_EQ(facts.ratioX, 4.0);
    ASSERT_EQ(facts.images.size(), 2u);
    EXPECT_EQ(facts.images[1].columns, 110u);
    EXPECT_GT(facts.images[1].largest, 5000u);
    const rasterhost::CompareRequest pair{request, request, {}, {}};
    rasterhost::CompareReport table;
    EXPECT_FALSE(rasterhost::Compare(pair, table, status));
    EXPECT_THAT(status.ToText(), HasSubstr("2 different grids"));
}

/// Bands of KnownPair on another grid, with their content displaced to the right by some pixels.
std::string WriteBands(const Folder& folder, const std::string& name, const std::array<double, 6>& grid,
                       const std::vector<int>& bands, double right) {
    const auto size = static_cast<int>(std::lround(360.0 / std::hypot(grid[1], grid[4])));
    const auto sample = [&](int column, int row, int band) {
        double sum = 0.0;
        for (double y = row + 0.0625; y < row + 1; y += 0.125)
            for (double x = column - right + 0.0625; x < column - right + 1; x += 0.125)
                sum += KnownPair::Fine(
                    static_cast<int>(grid[0] + x * grid[1] + y * grid[2] - 500000.0 + 1000.0),
                    static_cast<int>(4000000.0 - grid[3] - x * grid[4] - y * grid[5] + 1000.0),
                    bands[static_cast<std::size_t>(band)]);
        return static_cast<unsigned>(sum / 64.0);
    };
    return folder.Write(name, {size, size, static_cast<int>(bands.size()), GDT_UInt16, grid, {}}, sample);
}

/// Files of KnownPair's bands on other grids.
struct FitCase {
    const char* name;
    std::vector<std::array<double, 6>> grids;
    std::vector<std::vector<int>> bands; ///< that each file has
    bool lastIsInfrared = false;
};

TEST(GridsFit, FindsTheWeightsThatPanWasMadeWith) {
    const double c = std::cos(0.5), s = std::sin(0.5);
    const std::array<double, 6> plain{500000, 4, 0, 4000000, 0, -4}, coarse{499992, 8, 0, 3999992, 0, -8},
        turned{500060, 4 * c, 4 * s, 3999830, 4 * s, -4 * c}, fine{500001, 2, 0, 3999999, 0, -2};
    const FitCase cases[] = {{"two sizes", {plain, coarse}, {{0, 3}, {1, 2}}},
                             {"turned", {turned}, {{0, 1, 2, 3}}},
                             {"turned and fine", {turned, fine}, {{2, 1}, {0, 3}}},
                             {"turned, infrared apart", {turned, coarse}, {{0, 1, 2}, {3}}, true},
                             {"infrared turned", {plain, turned}, {{0, 1, 2}, {3}}, true}};
    const KnownPair pair{1, 4, {0.2, 0.5, 0.25, 0.1}, 100};
    const Folder folder;
    SharpenRequest request = pair.Write(folder);
    for (const FitCase& example : cases) {
        SCOPED_TRACE(example.name);
        request.multispectral.clear();
        request.infrared.reset();
        std::vector<double> expected;
        for (std::size_t file = 0; file < example.grids.size(); ++file) {
            const auto& grid = example.grids[file];
            const std::vector<int>& bands = example.bands[file];
            const std::string name =
                WriteBands(folder, "bands" + std::to_string(file) + ".tif", grid, bands, 0.0);
            const bool isInfrared = example.lastIsInfrared && file == 1;
            if (isInfrared)
                request.infrared = InputBand{name, {}};
            else
                request.multispectral.push_back({name, {}});
            for (std::size_t band = 0; band < bands.size() && !isInfrared; ++band)
                expected.push_back(pair.weights[static_cast<std::size_t>(bands[band])]);
        }
        const Outcome outcome = RunWell(request);
        ASSERT_TRUE(outcome.report.fit) << outcome.report.warnings.front();
        EXPECT_GT(outcome.report.fit->rSquared, 0.9);
        EXPECT_GT(outcome.report.fit->samples, 1000u);
        EXPECT_THAT(outcome.report.effectiveWeights, testing::Pointwise(testing::DoubleNear(0.03), expected));
        if (example.lastIsInfrared) {
            EXPECT_NEAR(*outcome.report.infraredWeight, pair.weights[3], 0.03);
        }
    }
}

TEST(GridsFit, FindsTheShiftOfATurnedImage) {
    const double c = std::cos(0.5), s = std::sin(0.5);
    const KnownPair pair{1, 4, {0.2, 0.5, 0.25, 0.1}, 100};
    const Folder folder;
    SharpenRequest request = pair.Write(folder);
    request.plugin = PANSHARP_PLUGIN_FILE;
    const std::array<double, 6> turned{500060, 4 * c, 4 * s, 3999830, 4 * s, -4 * c};
    request.multispectral = {{WriteBands(folder, "off.tif", turned, {0, 1, 2, 3}, 0.5), {}}};
    rasterhost::PreflightReport facts;
    KOVA::Tessara::Fundament::Status status;
    ASSERT_TRUE(rasterhost::Preflight(request, facts, status)) << status.ToText();
    ASSERT_TRUE(facts.shift);
    EXPECT_TRUE(facts.shift->IsAgreed());
    EXPECT_NEAR(facts.shift->displacement.x, 0.5, 0.05);
    EXPECT_NEAR(facts.shift->displacement.y, 0.0, 0.05);
}

} // namespace
