#include "rasterhost/assessing/Preflight.h"
#include "KnownPair.h"

#include <gmock/gmock.h>

namespace {

using namespace testfiles;
using namespace rasterhost;
using testing::HasSubstr;

struct Findings {
    bool works = false;
    PreflightReport report;
    KOVA::Tessara::Fundament::Status status;
};

Findings Look(SharpenRequest request) {
    request.plugin = PANSHARP_PLUGIN_FILE;
    Findings findings;
    findings.works = Preflight(request, findings.report, findings.status);
    return findings;
}

// What it predicts for a run is what the run does.
TEST(Preflight, SaysWhatARunWouldDo) {
    const Folder folder;
    const KnownPair pair{1, 4, {0.2, 0.5, 0.25, 0.1}, 80};
    SharpenRequest request = pair.Write(folder);
    request.bands = {3, 1};
    {
        GDALDatasetUniquePtr ms(GDALDataset::Open(request.multispectral[0].file.c_str(), GDAL_OF_UPDATE));
        std::vector<unsigned short> none(20 * 80, 7);
        ASSERT_EQ(ms->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, 20, 80, none.data(), 20, 80, GDT_UInt16, 0,
                                                 0, nullptr),
                  CE_None);
        ms->GetRasterBand(1)->SetNoDataValue(7);
    }
    const Outcome run = RunWell(request);
    request.output.clear(); // not checked
    const auto [works, report, status] = Look(request);
    ASSERT_TRUE(works) << status.ToText();
    EXPECT_EQ(report.effectiveWeights, run.report.effectiveWeights);
    EXPECT_EQ(report.method, run.report.method);
    EXPECT_EQ(report.outputColumns, 320u);
    EXPECT_EQ(report.outputBands, 2u);
    EXPECT_EQ(report.outputBytes, 320u * 320u * 2u * 2u);
    EXPECT_GT(report.memoryBytes, report.outputBytes);
    EXPECT_EQ(report.ratioX, 4.0);
    EXPECT_EQ(report.overlap, 1.0);
    ASSERT_EQ(report.images.size(), 1u);
    EXPECT_THAT(report.images[0].noData, testing::ElementsAre("the value 7"));
    EXPECT_DOUBLE_EQ(report.images[0].withoutData, 0.25);
    EXPECT_THAT(report.pan.noData, testing::IsEmpty());
    EXPECT_EQ(report.pan.bitDepth, 16u);
    ASSERT_TRUE(report.shift);
    EXPECT_LT(report.shift->GetLength(), 0.05);
    EXPECT_EQ(report.warnings, run.report.warnings);
    request.hasPreview = true; // 16 numbers per pixel
    EXPECT_GT(Look(request).report.memoryBytes, report.memoryBytes + 320u * 320u * 8u * 8u);
    request.hasPreview = false; // windows are rows of tiles when written; a low-pass needs more rows
    request.creationOptions = {"BLOCKYSIZE=64"};
    const std::uint64_t lowTiles = Look(request).report.memoryBytes;
    EXPECT_LT(lowTiles, report.memoryBytes);
    request.method = "injection";
    const std::uint64_t onDisk = Look(request).report.memoryBytes;
    EXPECT_GT(onDisk, lowTiles);
    request.output = "/vsimem/fused.tif";
    EXPECT_EQ(Look(request).report.memoryBytes, onDisk + 2 * report.outputBytes);
}

TEST(Preflight, WarnsOfTheGravestFirstAndPutsItRight) {
    const Folder folder;
    const KnownPair pair{5, 20, {0.2, 0.5, 0.25, 0.0}, 64, 6, -9};
    const SharpenRequest request = pair.Write(folder);
    const auto [works, report, status] = Look(request);
    ASSERT_TRUE(works) << status.ToText();
    ASSERT_EQ(report.warnings.size(), 3u);
    EXPECT_THAT(report.warnings[0], HasSubstr("0.30 to the right and 0.45 up"));
    EXPECT_THAT(report.warnings[1], HasSubstr("below 0.8"));
    EXPECT_THAT(report.warnings[2], HasSubstr("band 4 does not follow pan"));
    {
        const std::string command = "gdal_translate -a_ullr ";
        const char* corners = report.warnings[0].c_str() + report.warnings[0].find(command) + command.size();
        char* next = nullptr;
        const double left = std::strtod(corners, &next), top = std::strtod(next, nullptr);
        auto transform = *Grid(20.0, left, top);
        GDALDatasetUniquePtr ms(GDALDataset::Open(request.multispectral[0].file.c_str(), GDAL_OF_UPDATE));
        ms->SetGeoTransform(transform.data());
    }
    const auto right = Look(request).report;
    ASSERT_TRUE(right.shift);
    EXPECT_LT(right.shift->GetLength(), 0.05);
    EXPECT_THAT(right.warnings, testing::ElementsAre(HasSubstr("band 4"))); // there is no other warning now
}

// A run that would fail: the same message, and what was found until then.
TEST(Preflight, FailsAsTheRunWould) {
    const Folder folder;
    const SharpenRequest good = KnownPair{1, 4, {0.2, 0.5, 0.25, 0.1}, 20}.Write(folder);
    const std::pair<std::function<void(SharpenRequest&)>, bool> cases[] = {
        {[](SharpenRequest& r) { r.pan.file += "x"; }, false},
        {[](SharpenRequest& r) { std::swap(r.pan, r.multispectral[0]), r.pan.band = 1; }, false},
        {[](SharpenRequest& r) { r.method = "best"; }, true},
        {[](SharpenRequest& r) { r.multispectral[0].band = 1, r.method = "ihs"; }, true},
        {[](SharpenRequest& r) { r.noData = -0.5; }, false},
    };
    for (const auto& [change, isDescribed] : cases) {
        SharpenRequest request = good;
        change(request);
        const Outcome run = RunSharpen(request);
        const auto [works, report, status] = Look(request);
        EXPECT_FALSE(works);
        EXPECT_EQ(status.ToText(), run.status.ToText());
        EXPECT_EQ(report.pan.columns, isDescribed ? 80u : 0u);
    }
}

// The corner of the multispectral image lies at (-1.5, -0.5) pan pixels, however the file gives its position.
TEST(Preflight, FindsTheHalfPixelHoweverItIsTold) {
    const Folder folder;
    const auto flat = [](int, int, int) { return 9u; };
    SharpenRequest request = MakeRequest();
    request.pan.file = folder.Write("pan.tif", {40, 40, 1, GDT_Byte, Grid(15.0), "EPSG:32630"}, flat);
    const Transform corner = Grid(30.0, 500000.0 - 22.5, 4000000.0 + 7.5);
    const std::string area = folder.Write("area.tif", {21, 21, 1, GDT_Byte, corner, "EPSG:32630"}, flat);
    const std::string world = folder.Write("world.tif", {21, 21, 1, GDT_Byte, {}, {}}, flat);
    std::ofstream(folder / "world.tfw") << "30\n0\n0\n-30\n499992.5\n3999992.5\n"; // the first pixel's centre
    const std::string point = folder.Write("point.tif", {21, 21, 1, GDT_Byte, corner, "EPSG:32630"}, flat);
    GDALDatasetUniquePtr(GDALDataset::Open(point.c_str(), GDAL_OF_UPDATE))
        ->SetMetadataItem(GDALMD_AREA_OR_POINT, GDALMD_AOP_POINT);
    EXPECT_NE(ReadText(point), ReadText(area));
    for (const std::string& file : {area, world, point}) {
        SCOPED_TRACE(file);
        request.multispectral = {{file, {}}};
        const auto [works, report, status] = Look(request);
        ASSERT_TRUE(works) << status.ToText();
        EXPECT_EQ(report.corner, (std::array{-1.5, -0.5}));
        EXPECT_EQ(report.phase, (std::array{0.5, 0.5}));
    }
}

// Pan within one multispectral pixel: nothing could be sampled, and nothing is reported about it.
TEST(Preflight, SaysNothingOfWhatItDidNotSee) {
    const Folder folder;
    const auto flat = [](int, int, int) { return 9u; };
    SharpenRequest request = MakeRequest();
    request.pan.file =
        folder.Write("pan.tif", {3, 3, 1, GDT_Byte, Grid(10.0, 500005.0, 3999995.0), {}}, flat);
    request.multispectral = {{folder.Write("ms.tif", {2, 2, 1, GDT_Byte, Grid(40.0), {}}, flat), {}}};
    const auto [works, report, status] = Look(request);
    ASSERT_TRUE(works) << status.ToText();
    EXPECT_EQ(report.pan.seen, 0u);
    ASSERT_EQ(report.images.size(), 1u);
    EXPECT_FALSE(report.pan.largest || report.pan.bitDepth || report.images[0].largest);
}

} // namespace
