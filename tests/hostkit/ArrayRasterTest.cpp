#include "hostkit/ArrayRaster.h"

#include "CodedImage.h"
#include "hostkit/HostKitStatus.h"

#include <gtest/gtest.h>

namespace {

using namespace testimages;
using hostkit::ArrayRaster;

TEST(ArrayRaster, RowsStartAtTheWindow) {
    const CodedImage<unsigned char> image(MakeInfo(8, 6, 2, 8));
    std::vector<unsigned char> copy;
    const PixelRect rect{2, 1, 7, 5};
    const hostkit::SourceImage part = image.Part(rect, copy);
    ArrayRaster raster(part.info, part.block);
    EXPECT_EQ(raster.GetRow(3)[0], 2 + 10 * 3); // without a window: all of the block
    ASSERT_EQ(raster.SetWindow(4, 2, 6, 4), 1);
    EXPECT_EQ(raster.GetRow(2)[0], 4 + 10 * 2);
    EXPECT_EQ(raster.GetRow(3)[1], 4 + 10 * 3 + 1);
    EXPECT_EQ(raster.GetRow(3)[2], 5 + 10 * 3);
    EXPECT_EQ(raster.GetRasterInfo()->cols, 8u); // of the whole image
}

TEST(ArrayRaster, RefusesWhatItDoesNotHold) {
    const CodedImage<unsigned short> image(MakeInfo(8, 6, 1, 16));
    std::vector<unsigned short> copy;
    const hostkit::SourceImage part = image.Part({2, 1, 7, 5}, copy);
    ArrayRaster raster(part.info, part.block);
    ASSERT_EQ(raster.SetWindow(3, 2, 5, 4), 1);
    const PixelRect refused[] = {{1, 2, 5, 4}, {3, 0, 5, 4}, {3, 2, 8, 4}, {3, 2, 5, 6},
                                 {5, 2, 5, 4}, {5, 2, 3, 4}, {3, 4, 5, 4}};
    for (const PixelRect& r : refused) {
        EXPECT_EQ(raster.SetWindow(r.col0, r.row0, r.col1, r.row1), 0) << r.col0 << " " << r.row0;
        ASSERT_EQ(raster.GetStatus().GetCount(), 1u); // items do not accumulate
        EXPECT_EQ(raster.GetStatus().GetItem(0).id, hostkit::HostKitStatus::WindowInvalid);
    }
    for (const std::uint32_t row : {0u, 1u, 4u, 0xFFFFFFFFu}) {
        EXPECT_EQ(raster.GetRow(row), nullptr);
        EXPECT_EQ(raster.GetStatus().GetItem(0).id, hostkit::HostKitStatus::RowOutsideWindow);
    }
    EXPECT_NE(raster.GetRow(2), nullptr); // the window from before the refused ones
}

} // namespace
