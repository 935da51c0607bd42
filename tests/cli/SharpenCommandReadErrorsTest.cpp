#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

/// A file in packed tiles of 64 x 64 pixels.
void WriteTiled(const std::string& file, int size, int bands, double pixelSize) {
    const auto raster = scene::MakeRaster(size, size, bands, 8, 3);
    testfiles::WriteRaster(
        file,
        {size,
         size,
         bands,
         GDT_Byte,
         testfiles::Grid(pixelSize),
         {},
         {},
         {"TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64", "COMPRESS=DEFLATE", "INTERLEAVE=PIXEL"}},
        [&](int c, int r, int b) { return raster.At(b, r, c); });
}

/// Adds a mask for all but one pixel, in a separate file beside the image.
void AddMask(const std::string& file) {
    GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str()));
    ASSERT_EQ(image->CreateMaskBand(GMF_PER_DATASET), CE_None);
    GDALRasterBand& mask = *image->GetRasterBand(1)->GetMaskBand();
    ASSERT_EQ(mask.Fill(255.0), CE_None);
    unsigned char none = 0;
    ASSERT_EQ(mask.RasterIO(GF_Write, 3, 3, 1, 1, &none, 1, 1, GDT_Byte, 0, 0, nullptr), CE_None);
}

/// Damages the block in the middle of a file, so that it cannot be decompressed.
void DamageMiddle(const std::string& file) {
    std::string offset;
    {
        GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str()));
        ASSERT_TRUE(image);
        int width = 0, height = 0;
        image->GetRasterBand(1)->GetBlockSize(&width, &height);
        const std::string place = "BLOCK_OFFSET_" + std::to_string(image->GetRasterXSize() / 2 / width) +
                                  "_" + std::to_string(image->GetRasterYSize() / 2 / height);
        const char* found = image->GetRasterBand(1)->GetMetadataItem(place.c_str(), "TIFF");
        ASSERT_TRUE(found) << place;
        offset = found;
    }
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(std::stol(offset));
    stream << std::string(8, '\xFF');
}

struct Case {
    std::string damaged;
    std::vector<std::string> words; ///< in what standard error says
};

} // namespace

// Only the run itself reads this block, well after the output was begun. Pan rows 240 to 255 lie between
// multispectral rows 119 and 128, the last of which is the first row of the block.
TEST(SharpenCommandReadErrors, InTheMiddleNameFileAndRows) {
    const Case cases[] = {
        {"pan.tif", {"rows 256 to 272 of 'pan.tif' cannot be read", "damaged"}},
        {"ms.tif", {"rows 119 to 129 of 'ms.tif' cannot be read", "damaged"}},
        {"pan.tif.msk", {"of the mask of 'pan.tif' cannot be read", "damaged"}},
    };
    GDALAllRegister();
    for (const Case& c : cases)
        for (const std::string threads : {"1", "3"}) {
            SCOPED_TRACE(c.damaged + " " + threads);
            const child::Folder folder;
            WriteTiled(folder / "pan.tif", 512, 1, 10.0);
            WriteTiled(folder / "ms.tif", 256, 3, 20.0);
            if (c.damaged == "pan.tif.msk") AddMask(folder / "pan.tif");
            DamageMiddle(folder / c.damaged);
            std::ofstream(folder / "out.tif") << "precious";
            const auto before = folder.List();
            const child::Outcome outcome =
                child::Run(folder, {"sharpen", "pan.tif", "ms.tif", "-o", "out.tif", "--overwrite",
                                    "--window", "16", "-w", "equal", "-r", "bilinear", "--threads", threads});
            EXPECT_EQ(outcome.code, 1);
            EXPECT_THAT(outcome.err,
                        testing::AllOf(HasSubstr("40 % done"), HasSubstr("\npansharp: error: ")));
            EXPECT_EQ(testfiles::ReadText(folder / "out.tif"), "precious");
            for (const std::string& word : c.words)
                EXPECT_THAT(outcome.err, HasSubstr(word));
            EXPECT_EQ(folder.List(), before);
        }
}
