#include "SceneFiles.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace testfiles;
using rasterhost::SharpenRequest;

constexpr int columns = 200, rows = 150, msColumns = 60, msRows = 50;
constexpr double step = 100.0; ///< samples per source pixel

/// Two grids, the exact transform between them, and a source whose bands encode column and row.
struct GridPair {
    const char* name;
    std::array<double, 6> pan, ms;
    const char* panProjection = "EPSG:32630";
    const char* msProjection = "EPSG:32630";
    bool hasControlPoints = false; ///< pan is placed by them

    [[nodiscard]] SharpenRequest Write(const Folder& folder) const {
        SharpenRequest request = MakeRequest();
        const auto code = [](int c, int r, int band) {
            return static_cast<unsigned>(1000 + step * (band == 0 ? c : r));
        };
        request.pan.file =
            folder.Write("pan.tif",
                         {columns, rows, 1, GDT_UInt16, hasControlPoints ? Transform() : Transform(pan),
                          hasControlPoints ? "" : panProjection},
                         [](int, int, int) { return 3u; });
        request.multispectral = {
            {folder.Write("ms.tif", {msColumns, msRows, 2, GDT_UInt16, ms, msProjection}, code), {}}};
        request.output = folder / "fused.tif";
        request.weights = {1e-300, 1e-300}; // so that fusing adds pan, which is 3
        if (!hasControlPoints) return request;
        std::vector<GDAL_GCP> points;
        for (const auto& [c, r] : {std::pair(0.0, 0.0), {200.0, 0.0}, {0.0, 150.0}, {200.0, 150.0}}) {
            GDAL_GCP point{};
            point.pszId = point.pszInfo = const_cast<char*>("");
            point.dfGCPPixel = c;
            point.dfGCPLine = r;
            point.dfGCPX = pan[0] + c * pan[1] + r * pan[2];
            point.dfGCPY = pan[3] + c * pan[4] + r * pan[5];
            points.push_back(point);
        }
        OGRSpatialReference reference;
        reference.SetFromUserInput(panProjection);
        GDALDatasetUniquePtr file(
            GDALDataset::Open(request.pan.file.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        file->SetGCPs(4, points.data(), &reference);
        return request;
    }
    /// The position of the centre of a pan pixel, between the centres of the source.
    [[nodiscard]] std::pair<double, double> Position(OGRCoordinateTransformation* transformation, int c,
                                                     int r) const {
        double x = pan[0] + (c + 0.5) * pan[1] + (r + 0.5) * pan[2];
        double y = pan[3] + (c + 0.5) * pan[4] + (r + 0.5) * pan[5];
        EXPECT_TRUE(transformation->Transform(1, &x, &y));
        const double determinant = ms[1] * ms[5] - ms[2] * ms[4];
        x -= ms[0];
        if (x < -180.0) x += 360.0;
        y -= ms[3];
        return {(x * ms[5] - y * ms[2]) / determinant - 0.5, (y * ms[1] - x * ms[4]) / determinant - 0.5};
    }
};

const double c30 = std::cos(0.5), s30 = std::sin(0.5);
const GridPair pairs[] = {
    {"other zone",
     {745000, 10, 0, 4500000, 0, -10},
     {237300, 40, 0, 4500100, 0, -40},
     "EPSG:32630",
     "EPSG:32631"},
    {"degrees",
     {500100, 10, 0, 4500000, 0, -10},
     {-3.0, 0.0005, 0, 40.65, 0, -0.0004},
     "EPSG:32630",
     "EPSG:4326"},
    {"rotated source",
     {500000, 10, 0, 4500000, 0, -10},
     {499500, 40 * c30, 40 * s30, 4500300, 40 * s30, -40 * c30}},
    {"rotated pan",
     {500000, 10 * c30, 10 * s30, 4500000, 10 * s30, -10 * c30},
     {500000, 40, 0, 4500600, 0, -40}},
    {"both rotated alike",
     {500000, 10 * c30, 10 * s30, 4500000, 10 * s30, -10 * c30},
     {500000, 40 * c30, 40 * s30, 4500000, 40 * s30, -40 * c30}},
    {"rows of pan upward", {500000, 10, 0, 4500000, 0, 10}, {499900, 40, 0, 4501700, 0, -40}},
    {"rows of both upward", {500000, 10, 0, 4500000, 0, 10}, {499985, 40, 0, 4499985, 0, 40}},
    {"control points",
     {500000, 10 * c30, 10 * s30, 4500000, 10 * s30, -10 * c30},
     {500000, 40, 0, 4500600, 0, -40},
     "EPSG:32630",
     "EPSG:32630",
     true},
    {"pan across 180 degrees",
     {179.99, 0.0001, 0, -17.0, 0, -0.0001},
     {818300, 40, 0, 8118100, 0, -40},
     "EPSG:4326",
     "EPSG:32760"},
    {"source across 180 degrees",
     {818400, 10, 0, 8117900, 0, -10},
     {179.99, 0.0004, 0, -17.0, 0, -0.0004},
     "EPSG:32760",
     "EPSG:4326"},
};

// Every pixel is where the exact transform puts it, to 1/100 source pixel plus the rounding of a sample. Data
// reach one source pixel beyond the source. Windows, threads and parts make no difference, and pan's position
// is kept.
TEST(SharpenGrid, EveryPixelIsAtItsPlace) {
    for (const GridPair& pair : pairs) {
        SCOPED_TRACE(pair.name);
        const Folder folder;
        SharpenRequest request = pair.Write(folder);
        const Outcome outcome = RunWell(request);
        const auto samples = ReadAll(request.output);
        OGRSpatialReference from, to;
        from.SetFromUserInput(pair.panProjection);
        to.SetFromUserInput(pair.msProjection);
        from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        const std::unique_ptr<OGRCoordinateTransformation> transformation(
            OGRCreateCoordinateTransformation(&from, &to));
        std::size_t within = 0;
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c) {
                const auto [x, y] = pair.Position(transformation.get(), c, r);
                const std::size_t i = static_cast<std::size_t>(r * columns + c) * 2;
                const double edge = std::min({x + 1.5, y + 1.5, msColumns + 0.5 - x, msRows + 0.5 - y});
                if (std::fabs(edge) < 0.01) continue;
                ASSERT_EQ(samples[i] != 0, edge > 0.0) << c << " " << r;
                if (edge < 0.0) continue;
                ++within;
                const double column = std::clamp(x, 0.0, msColumns - 1.0),
                             row = std::clamp(y, 0.0, msRows - 1.0);
                ASSERT_NEAR((samples[i] - 1003.0) / step, column, 0.015) << c << " " << r;
                ASSERT_NEAR((samples[i + 1] - 1003.0) / step, row, 0.015) << c << " " << r;
            }
        EXPECT_GT(within, 10000u);
        request.overwrite = true;
        for (const auto resampling : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic}) {
            request.resampling = resampling;
            request.windowRows = 0;
            request.threads = 1;
            const auto whole = Fused(request);
            request.windowRows = 7;
            request.threads = 3;
            EXPECT_EQ(Fused(request), whole);
        }
        GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
        double transform[6] = {};
        if (pair.hasControlPoints) {
            EXPECT_EQ(fused->GetGCPCount(), 4);
        } else {
            EXPECT_EQ(fused->GetGeoTransform(transform), CE_None);
            EXPECT_THAT(transform, testing::Pointwise(testing::DoubleNear(1e-6), pair.pan));
        }
    }
}

TEST(SharpenGrid, TheIntersectionIsWhatLiesOnAll) {
    for (const GridPair& pair :
         {GridPair{"", {500000, 10, 0, 4500000, 0, -10}, {500105, 40, 0, 4499795, 0, -40}},
          GridPair{"", {500000, 10, 0, 4500000, 0, -10}, {500105, 40, 0, 4497795, 0, 40}}}) {
        const Folder folder;
        SharpenRequest request = pair.Write(folder);
        const auto whole = Fused(request);
        request.overwrite = request.onlyIntersection = true;
        const Outcome outcome = RunWell(request);
        EXPECT_EQ(outcome.report.pixelsWithoutData, 0u);
        EXPECT_THAT(outcome.report.warnings, testing::Not(testing::Contains(testing::HasSubstr("outside"))));
        // Centres from column 10 and row 20 on lie exactly on the corner's edge or inside.
        ASSERT_EQ(std::pair(outcome.report.columns, outcome.report.rows), std::pair(190u, 130u));
        std::vector<unsigned> cut;
        for (int r = 20; r < rows; ++r)
            for (int i = 10 * 2; i < columns * 2; ++i)
                cut.push_back(whole[static_cast<std::size_t>(r * columns * 2 + i)]);
        EXPECT_EQ(ReadAll(request.output), cut);
    }
}

// Content that is displaced to the right and down is sampled there, whether or not the grids are parallel.
TEST(SharpenGrid, AShiftIsMovedBack) {
    for (const int which : {0, 6}) {
        const Folder folder;
        SharpenRequest request = pairs[which].Write(folder);
        const auto before = Fused(request);
        request.overwrite = true;
        request.shift = {1.5, -0.25};
        const auto after = Fused(request);
        const std::size_t middle = static_cast<std::size_t>(75 * columns + 100) * 2;
        EXPECT_NEAR(static_cast<double>(after[middle]) - before[middle], 1.5 * step, 1.0);
        EXPECT_NEAR(static_cast<double>(after[middle + 1]) - before[middle + 1], -0.25 * step, 1.0);
    }
}

TEST(SharpenGrid, TheSameCornerForgetsThePositions) {
    const Folder folder;
    SharpenRequest request = pairs[0].Write(folder);
    request.sameCorner = true;
    const Outcome outcome = RunWell(request);
    EXPECT_EQ(outcome.report.pixelsWithoutData, 0u);
    EXPECT_EQ(ReadAll(request.output)[static_cast<std::size_t>(75 * columns + 100) * 2],
              static_cast<unsigned>(1003 + std::floor(step * (100.5 * msColumns / columns - 0.5) + 0.5)));
}

// Without positions: as if the images had positions that make the centres of their first pixels coincide.
TEST(SharpenGrid, FirstCentresCoincideWhereTheSizesAllowIt) {
    const Folder folder;
    const auto write = [&](bool isPlaced, int panColumns) {
        SharpenRequest request = MakeRequest();
        const auto value = [](int c, int r, int b) { return (c * 37 + r * 91 + b * 53) % 200 + 20; };
        const auto place = [&](double size) {
            return isPlaced ? Grid(size, 1000.0 - size / 2, 1000.0 + size / 2) : Transform();
        };
        request.pan.file = folder.Write("p.tif", {panColumns, 31, 1, GDT_Byte, place(15.0), ""}, value);
        request.multispectral = {{folder.Write("m.tif", {21, 16, 2, GDT_Byte, place(30.0), ""}, value), {}}};
        request.output = folder / "fused.tif";
        request.overwrite = true;
        return request;
    };
    const auto placed = Fused(write(true, 41));
    SharpenRequest request = write(false, 41);
    const auto cornered = Fused(request);
    request.sameFirstCentre = true;
    EXPECT_EQ(Fused(request), placed);
    EXPECT_NE(cornered, placed);
    request = write(false, 42);
    const auto other = Fused(request);
    request.sameFirstCentre = true;
    EXPECT_EQ(Fused(request), other);
}

} // namespace
