#include "pxl/SimpleImage.h"

#include "plugin/FakeHost.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace PXL;
using fakehost::FakeRaster;

struct Fixture {
    fakehost::Log log;
    bool destroyed = false;
    KOVA::Tessara::Pixmere::RasterInfo info;

    Fixture() {
        info.rows = 4;
        info.cols = 5;
        info.bandsPerPixel = 1;
        info.bitsPerBand = 16;
        info.colorSpace = 1;
    }

    /// A raster that reports its destruction, with samples of 1000 * row + column.
    FakeRaster* NewRaster() {
        struct Telling : FakeRaster {
            Telling(Fixture& f)
                : FakeRaster("r", f.log, f.info, [](auto c, auto r, auto) { return 1000u * r + c; }),
                  end(f.destroyed) {}
            ~Telling() override { end = true; }
            bool& end;
        };
        return new Telling(*this);
    }
};

TEST(SimpleImage, WithoutARasterGivesNothing) {
    SimpleImage16 image;
    EXPECT_EQ(image.GetRow(0), nullptr);
    const ImageInfo info = image.GetInfo();
    EXPECT_TRUE(info.rows == 0 && info.cols == 0 && info.bands == 1 && info.bitsPerSample == 8);
    EXPECT_EQ(info.properties.ToXml({}), "<ColorSpace>Unknown</ColorSpace>\n");
    image.status.Add(1, "old", {});
    EXPECT_FALSE(image.SetWindow(0, 0, 1, 1));
    EXPECT_EQ(image.status.GetCount(), 0u);
}

TEST(SimpleImage, PassesWindowsRowsAndRefusalsOn) {
    Fixture f;
    SimpleImage16 image;
    FakeRaster* raster = f.NewRaster();
    image.Attach(raster, true);
    EXPECT_TRUE(image.SetWindow(1, 2, 4, 3));
    EXPECT_EQ(f.log.back(), "r.SetWindow 1 2 4 3");
    const unsigned short* row = image.GetRow(2);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row[2], 2003);
    EXPECT_EQ(image.GetNextRow(), nullptr);

    raster->windowFails = true;
    EXPECT_FALSE(image.SetWindow(0, 0, 1, 1));
    EXPECT_EQ(support::StatusText(image.status), "7 FakeRaster|r window reason; 8 FakeRaster|r more");
    raster->windowFails = false;
    EXPECT_TRUE(image.SetWindow(0, 0, 1, 1));
    EXPECT_EQ(image.status.GetCount(), 0u);
    raster->rowFails = true;
    EXPECT_EQ(image.GetRow(0), nullptr);
    EXPECT_EQ(image.status.GetCount(), 0u) << "the raster keeps its reasons";
}

TEST(SimpleImage, DescribesTheRasterAnewUnlessToldOtherwise) {
    Fixture f;
    SimpleImage16 image;
    FakeRaster* raster = f.NewRaster();
    image.Attach(raster, true);
    EXPECT_EQ(image.GetInfo().properties.ToXml({}), "<ColorSpace>RGB</ColorSpace>\n");
    raster->info.rows = 9;
    EXPECT_EQ(image.GetInfo().rows, 9u);
    EXPECT_EQ(image.GetInfo().properties.GetCount(), 1u);

    ImageInfo other;
    other.cols = 77;
    EXPECT_TRUE(image.SetInfo(other));
    EXPECT_EQ(image.GetInfo().cols, 5u) << "a description of no rows is none";
    other.rows = 1;
    EXPECT_TRUE(image.SetInfo(other));
    EXPECT_EQ(image.GetInfo().cols, 77u);

    image.SetInfo({});
    raster->hasInfo = false;
    EXPECT_EQ(image.GetInfo().rows, 0u);
}

TEST(SimpleImage, DestroysExactlyTheRastersItOwns) {
    for (const bool owned : {true, false}) {
        for (const bool replaced : {true, false}) {
            Fixture f;
            FakeRaster* raster = f.NewRaster();
            {
                SimpleImage16 image;
                image.Attach(raster, owned);
                image.Attach(raster, owned);
                EXPECT_FALSE(f.destroyed) << "attached again";
                if (replaced) image.Attach(nullptr, owned);
                EXPECT_EQ(f.destroyed, owned && replaced);
            }
            EXPECT_EQ(f.destroyed, owned);
            if (!owned) delete raster;
        }
    }
}

} // namespace
