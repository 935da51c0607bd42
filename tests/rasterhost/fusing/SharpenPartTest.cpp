#include "SceneFiles.h"

#include <gmock/gmock.h>

namespace {

using namespace testfiles;
using rasterhost::SharpenRequest;
using testing::HasSubstr;

/// Pan, and a multispectral image that ends within it, displaced by half a pixel; 12 bits of 16.
class Part : public testing::Test {
protected:
    Part() {
        WritePair({});
        request.output = folder / "fused.tif";
        request.overwrite = true;
    }
    void WritePair(const std::vector<const char*>& options) {
        unsigned state = 1;
        const auto random = [&](int, int, int) { return (state = state * 1664525u + 1013904223u) >> 20; };
        request.pan.file =
            folder.Write("pan.tif", {157, 211, 1, GDT_UInt16, Grid(15.0), "EPSG:32630", {}, options}, random);
        request.multispectral = {
            {folder.Write(
                 "ms.tif",
                 {60, 100, 3, GDT_UInt16, Grid(30.0, 500082.5, 3999932.5), "EPSG:32630", {}, options},
                 random),
             {}}};
    }
    const Folder folder;
    SharpenRequest request = MakeRequest();
};

// A part has the pixels that the whole has there, for any resampling and windows; its position tells where it
// was cut.
TEST_F(Part, EqualsTheCutOfTheWhole) {
    const struct {
        std::array<double, 4> sides; ///< left, top, right, bottom
        int column, row, columns, rows;
    } parts[] = {{{500150.0, 3999850.0, 501350.0, 3998650.0}, 10, 10, 80, 80},
                 {{500157.0, 3999844.0, 500166.0, 3999835.0}, 10, 10, 1, 1},
                 {{0.0, 3998000.0, 9e9, 0.0}, 0, 133, 157, 78}};
    for (const auto resampling : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic}) {
        request.resampling = resampling;
        request.part.reset();
        const auto whole = Fused(request);
        for (const auto& part : parts)
            for (const auto& [windowRows, byPixels] :
                 {std::pair(0u, false), std::pair(7u, false), std::pair(0u, true)}) {
                const auto [column, row] = std::pair(unsigned(part.column), unsigned(part.row));
                const hostkit::PixelRect window{column, row, column + unsigned(part.columns),
                                                row + unsigned(part.rows)};
                request.part = byPixels ? std::nullopt : std::optional(part.sides);
                request.window = byPixels ? std::optional(window) : std::nullopt;
                request.windowRows = windowRows;
                const Outcome outcome = RunWell(request);
                std::vector<unsigned> cut;
                for (int r = part.row; r < part.row + part.rows; ++r)
                    for (int i = part.column * 3; i < (part.column + part.columns) * 3; ++i)
                        cut.push_back(whole[static_cast<std::size_t>(r * 157 * 3 + i)]);
                EXPECT_EQ(ReadAll(request.output), cut);
                GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
                double transform[6] = {};
                EXPECT_EQ(fused->GetGeoTransform(transform), CE_None);
                EXPECT_EQ(transform[0], 500000.0 + 15.0 * part.column);
                EXPECT_EQ(transform[3], 4000000.0 - 15.0 * part.row);
            }
        request.windowRows = 0;
        request.window.reset();
    }
    request.part.reset();
    request.window = {140, 0, 150, 20}; // beyond the multispectral image
    EXPECT_EQ(RunWell(request).report.pixelsWithoutData, 200u);
    request.window = {100, 0, 158, 20};
    EXPECT_THAT(RunSharpen(request).status.ToText(), HasSubstr("does not lie within the 157 columns"));
    request.window.reset();
    for (const std::array<double, 4>& none :
         {std::array{500000.0, 4000900.0, 501000.0, 4000100.0}, {500001.0, 3999000.0, 500002.0, 3998000.0}}) {
        request.part = none;
        const Outcome outcome = RunSharpen(request);
        EXPECT_FALSE(outcome.isDone);
        EXPECT_THAT(outcome.status.ToText(), HasSubstr("holds no pixel"));
    }
}

// The depth is the request's, else the one that the files declare; the file's samples still have 16 bits.
TEST_F(Part, ResultsKeepToTheBitDepth) {
    const auto run = [&](unsigned depth) {
        const Outcome outcome = RunWell(request);
        EXPECT_EQ(outcome.report.bitDepth, depth);
        const auto samples = ReadAll(request.output);
        const unsigned largest = *std::max_element(samples.begin(), samples.end());
        EXPECT_TRUE(depth == 16 ? largest > 4095u : largest == (1u << depth) - 1) << largest;
        std::uint64_t atMaximum = 0;
        for (const auto& [low, high] : outcome.report.samplesAtLimits)
            atMaximum += high;
        EXPECT_EQ(atMaximum, std::count(samples.begin(), samples.end(), (1u << depth) - 1));
        GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
        EXPECT_EQ(fused->GetRasterBand(1)->GetMetadataItem("NBITS", "IMAGE_STRUCTURE"), nullptr);
    };
    run(16);
    request.bitDepth = 11;
    run(11);
    request.bitDepth.reset();
    WritePair({"NBITS=12"});
    run(12);
}

// Rational polynomials count pixels from the corner, and a part has another corner.
TEST_F(Part, CarriesRationalPolynomials) {
    {
        GDALDatasetUniquePtr pan(
            GDALDataset::Open(request.pan.file.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        CPLStringList rpc;
        for (const char* name : {"LINE_OFF", "SAMP_OFF", "LAT_OFF", "LONG_OFF", "HEIGHT_OFF", "LINE_SCALE",
                                 "SAMP_SCALE", "LAT_SCALE", "LONG_SCALE", "HEIGHT_SCALE"})
            rpc.SetNameValue(name, "77.5");
        for (const char* name : {"LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF", "SAMP_DEN_COEFF"})
            rpc.SetNameValue(name, "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20");
        pan->SetMetadata(rpc.List(), "RPC");
    }
    request.part = {500150.0, 3999700.0, 501350.0, 3998650.0};
    RunWell(request);
    GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
    for (const auto& [name, value] : {std::pair("SAMP_OFF", 67.5), {"LINE_OFF", 57.5}, {"LAT_OFF", 77.5}}) {
        const char* found = fused->GetMetadataItem(name, "RPC");
        ASSERT_NE(found, nullptr) << name;
        EXPECT_EQ(CPLAtof(found), value) << name;
    }
}

} // namespace
