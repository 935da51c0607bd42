#include "rasterhost/writing/Picture.h"

#include "SceneFiles.h"

#include <gmock/gmock.h>

using namespace testfiles;

// A ramp of 1001 values: 2 % of them are below 1020, 2 % above 1980. Pixels without data are black and do not
// count.
TEST(Picture, IsStretchedByWhatHasData) {
    const Folder folder;
    const std::string file =
        folder.Write("a.tif", {1001, 2, 1, GDT_UInt16, Grid(1.0), {}, 65000.0},
                     [](int column, int row, int) { return row == 0 ? 1000 + column : 65000; });
    GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str()));
    std::vector<std::array<double, 2>> stretches;
    const auto picture = rasterhost::MakePicture(*image, stretches);
    ASSERT_TRUE(picture);
    ASSERT_EQ(stretches.size(), 1u);
    EXPECT_EQ(stretches[0], (std::array<double, 2>{1020.0, 1980.0}));
    EXPECT_THAT(picture->GetMetadataItem("Stretch"), testing::HasSubstr("1020 to 1980"));
    std::vector<unsigned char> row(1001);
    ASSERT_EQ(picture->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, 1001, 1, row.data(), 1001, 1, GDT_Byte, 0, 0,
                                                  nullptr),
              CE_None);
    EXPECT_EQ(row[0], 0);
    EXPECT_EQ(row[20], 0);
    EXPECT_EQ(row[500], 128); // 480 / 960 of 255
    EXPECT_EQ(row[980], 255);
    EXPECT_EQ(row[1000], 255);
    unsigned char without = 1;
    ASSERT_EQ(
        picture->GetRasterBand(1)->RasterIO(GF_Read, 7, 1, 1, 1, &without, 1, 1, GDT_Byte, 0, 0, nullptr),
        CE_None);
    EXPECT_EQ(without, 0);
}

TEST(Picture, IsWrittenInFourFormats) {
    const Folder folder;
    rasterhost::SharpenRequest request = MakeRequest();
    const auto ground = [](int column, int row, int band) {
        return 300 + 90 * band + (column * 7 + row * 5) % 90;
    };
    request.pan = {folder.Write("pan.tif", {64, 64, 1, GDT_UInt16, Grid(1.0), {}}, ground), {}};
    const std::string ms = folder.Write("ms.tif", {32, 32, 3, GDT_UInt16, Grid(2.0), {}}, ground);
    request.multispectral = {{ms, 1, "red", 0.66}, {ms, 2, "green", 0.56}, {ms, 3, "blue", 0.48}};
    request.output = folder / "bits.jpg";
    EXPECT_THAT(RunSharpen(request).status.ToText(), testing::HasSubstr("keeps 12 of the 16 bits"));
    request.isPicture = true;
    request.acquired = "2020-01-02";
    for (const std::string name : {"look.png", "look.jpg", "cog.tif", "look.tif"}) {
        SCOPED_TRACE(name);
        request.output = folder / name;
        request.format = name == "cog.tif" ? "COG" : "";
        EXPECT_EQ(RunWell(request).report.bitsPerSample, 8u);
        GDALDatasetUniquePtr made(GDALDataset::Open(request.output.c_str()));
        ASSERT_TRUE(made);
        GDALRasterBand& band = *made->GetRasterBand(3);
        EXPECT_EQ(band.GetRasterDataType(), GDT_Byte);
        EXPECT_STREQ(band.GetDescription(), "blue");
        EXPECT_EQ(band.GetColorInterpretation(), GCI_BlueBand);
        EXPECT_STREQ(band.GetMetadataItem("CENTRAL_WAVELENGTH_UM", "IMAGERY"), "0.48");
        EXPECT_STREQ(made->GetMetadataItem("ACQUISITIONDATETIME", "IMAGERY"), "2020-01-02");
        if (request.format == "COG") { // its directory comes first
            EXPECT_EQ(ReadText(request.output).substr(4, 4), std::string("\xC0\0\0\0", 4));
        }
        const std::vector<unsigned> samples = ReadAll(request.output);
        EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 250u);
        EXPECT_LT(*std::min_element(samples.begin(), samples.end()), 5u);
    }
    request.noData = 389; // not the value of any stretched sample
    request.overwrite = true;
    const auto report = RunWell(request).report;
    GDALDatasetUniquePtr made(GDALDataset::Open(request.output.c_str()));
    EXPECT_EQ(made->GetRasterBand(1)->GetMaskFlags(), GMF_PER_DATASET);
    EXPECT_EQ(report.noDataBy, rasterhost::NoDataBy::Mask);
}
