#include "pxl/ImageInfo.h"

#include <gtest/gtest.h>

namespace {

using PXL::ImageInfo;

TEST(ImageInfo, IsTheTranslationOfARasterDescription) {
    // Every number differs, so that a mixed-up field shows.
    KOVA::Tessara::Pixmere::RasterInfo raster;
    raster.rows = 2;
    raster.cols = 3;
    raster.bandsPerPixel = 4;
    raster.bitsPerBand = 16;
    raster.pixelKind = 5;
    raster.pixelSizeX = 6.5;
    raster.pixelSizeY = 7.5;
    raster.xMin = 100.0;
    raster.xMax = 200.0;
    raster.yMin = 300.0;
    raster.yMax = 500.0;
    const ImageInfo info(raster);
    EXPECT_TRUE(info.rows == 2 && info.cols == 3 && info.bands == 4 && info.bitsPerSample == 16);
    EXPECT_TRUE(info.pixelKind == 5 && info.pixelSizeX == 6.5 && info.pixelSizeY == 7.5);
    EXPECT_TRUE(info.originX == 100.0 && info.originY == 500.0) << "the upper-left corner";

    const char* names[] = {"Gray", "RGB",     "CMYK",     "Unknown", "Unknown",
                           "HSI",  "Unknown", "Paletted", "Unknown", "Unknown"};
    for (std::uint32_t code = 0; code < std::size(names); ++code) {
        raster.colorSpace = code;
        EXPECT_EQ(ImageInfo(raster).properties.ToXml({}),
                  std::string("<ColorSpace>") + names[code] + "</ColorSpace>\n");
    }
}

} // namespace
