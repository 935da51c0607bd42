#include "rasterhost/reading/MaskTiff.h"

#include "support/RasterFiles.h"

#include <cpl_conv.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <fstream>

namespace {

using namespace testfiles;
using rasterhost::MaskTiff;

// A mask that is read without GDAL is the one that GDAL reads, for rectangles on all sides of the edges of
// blocks, some of which are alike. Rectangles come in an order in which blocks are read again.
TEST(MaskTiff, ReadsWhatGdalReads) {
    constexpr int columns = 83, rows = 75;
    const struct {
        const char* name;
        std::vector<const char*> options;
        const char* isInside;
        bool isPlain;
    } cases[] = {
        {"tiles", {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=32"}, "YES", true},
        {"a row a strip", {"BLOCKYSIZE=1"}, "YES", true},
        {"a last strip of fewer rows", {"BLOCKYSIZE=7"}, "YES", true},
        {"a file beside", {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=32"}, "NO", false},
    };
    const hostkit::PixelRect rects[] = {{0, 0, 83, 75}, {15, 31, 17, 33}, {16, 16, 32, 48}, {82, 74, 83, 75},
                                        {5, 3, 83, 60}, {0, 20, 83, 22},  {64, 0, 80, 75},  {1, 60, 78, 75}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Folder folder;
        const std::string file =
            folder.Write("a.tif", {columns, rows, 2, GDT_Byte, {}, {}, {}, c.options}, {});
        std::vector<unsigned char> all;
        for (int i = 0; i < columns * rows; ++i) // few gaps above, many below
            all.push_back(i % columns < 40 || i % 97 % (i < 3000 ? 90 : 3) != 0 ? 255 : 0);
        {
            const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", c.isInside, false);
            GDALDatasetUniquePtr made(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
            ASSERT_EQ(made->CreateMaskBand(GMF_PER_DATASET), CE_None);
            ASSERT_EQ(made->GetRasterBand(1)->GetMaskBand()->RasterIO(
                          GF_Write, 0, 0, columns, rows, all.data(), columns, rows, GDT_Byte, 0, 0, nullptr),
                      CE_None);
        }
        GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
        const auto mask = MaskTiff::Open(file, *dataset->GetRasterBand(1)->GetMaskBand());
        ASSERT_EQ(mask != nullptr, c.isPlain);
        if (!mask) continue;
        for (const hostkit::PixelRect& rect : rects) {
            std::vector<unsigned char> found(std::size_t{rect.GetColumns()} * rect.GetRows(), 7), wanted;
            for (std::uint32_t row = rect.row0; row < rect.row1; ++row)
                for (std::uint32_t column = rect.col0; column < rect.col1; ++column)
                    wanted.push_back(all[row * columns + column]);
            EXPECT_TRUE(mask->Read(rect, found.data()));
            EXPECT_EQ(found, wanted) << rect.col0 << " " << rect.row0;
        }
        const auto damaged = MaskTiff::Open(file, *dataset->GetRasterBand(1)->GetMaskBand());
        {
            const rasterhost::LocalTiff tiff = rasterhost::OpenLocalTiff(file);
            ASSERT_EQ(TIFFReadDirectory(tiff.get()), 1);
            std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
            bytes.seekp(static_cast<std::streamoff>(TIFFGetStrileOffset(tiff.get(), 1))) << "damaged";
        }
        EXPECT_TRUE(damaged->Read({0, 0, 1, 1}, all.data()));
        EXPECT_FALSE(damaged->Read(rects[0], all.data()));
        const auto other = MaskTiff::Open(file, *dataset->GetRasterBand(1)->GetMaskBand());
        std::filesystem::resize_file(file, 200);
        EXPECT_FALSE(other->Read(rects[0], all.data()));
    }
}

} // namespace
