#include "hostkit/RequestRecord.h"

#include "CodedImage.h"
#include "hostkit/HostKitStatus.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace testimages;
using hostkit::FindRequestedWindow;
using hostkit::MakeRequest;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Pixmere::Aoi;

// Bounds are rounded products: degrees on the other side of the world must give the same pixels again.
TEST(RequestRecord, WindowsComeBack) {
    const RasterInfo grids[] = {MakeInfo(1498, 1197, 1, 16, 15.0, 438900.0, 4478700.0),
                                MakeInfo(200000, 100000, 1, 8, 0.000004491576, 151.123456789, -33.8),
                                MakeInfo(800, 800, 1, 8), MakeInfo(70000, 70000, 1, 8, 0.3, -1e7, 2e7)};
    for (const RasterInfo& grid : grids)
        for (const PixelRect& window :
             {PixelRect{0, 0, grid.cols, grid.rows}, PixelRect{0, 0, 1, 1}, PixelRect{17, 33, 18, 700},
              PixelRect{grid.cols - 1, grid.rows - 1, grid.cols, grid.rows}}) {
            Status status;
            Aoi request = MakeRequest(grid, window);
            const auto found = FindRequestedWindow(request, grid, status);
            ASSERT_TRUE(found) << status.ToText();
            EXPECT_EQ(found->rect, window);
            EXPECT_FALSE(found->inPixels);
            std::swap(request.extent.vertical1, request.extent.vertical2);
            EXPECT_EQ(FindRequestedWindow(request, grid, status)->rect, window);
        }
}

// The plug-in's request with "ReSampleMS" = false for the window (10, 20, 110, 220), and the infrared one.
TEST(RequestRecord, PixelCoordinatesSpanOnePixelMore) {
    Aoi request;
    request.extent = {9.5, 110.5, 220.5, 19.5, 0.0, 0.0};
    request.size = {100, 200};
    for (const double pixelSize : {1.0, 15.0, 0.5, 1e-5}) {
        Status status;
        const RasterInfo grid = MakeInfo(1000, 1000, 1, 8, pixelSize, 300000.0, 5000000.0);
        const auto found = FindRequestedWindow(request, grid, status);
        ASSERT_TRUE(found) << status.ToText();
        EXPECT_TRUE(found->inPixels);
        EXPECT_EQ(found->rect, (PixelRect{10, 20, 110, 220}));
        std::swap(request.extent.vertical1, request.extent.vertical2);
    }
}

// One pixel of two metres spans as much as one pixel and one more, so only the record's reference decides.
TEST(RequestRecord, ReferenceDecidesWhereBoundsCannot) {
    const RasterInfo grid = MakeInfo(100, 100, 1, 8, 2.0, -0.5, 0.5);
    Status status;
    Aoi request = MakeRequest(grid, {3, 4, 4, 5}, "EPSG:32630");
    EXPECT_FALSE(FindRequestedWindow(request, grid, status)->inPixels);
    request.srs = request.properties["RasterGroup/Srs"]; // as a process does for pixel coordinates
    request.extent = {2.5, 4.5, 5.5, 3.5, 0.0, 0.0};
    const auto found = FindRequestedWindow(request, grid, status);
    EXPECT_TRUE(found->inPixels);
    EXPECT_EQ(found->rect, (PixelRect{3, 4, 4, 5}));
}

TEST(RequestRecord, RefusesContradictions) {
    const RasterInfo grid = MakeInfo(100, 80, 1, 8, 2.0, 1000.0, 5000.0);
    const auto edited = [&](auto edit) {
        Aoi request = MakeRequest(grid, {10, 20, 30, 40});
        edit(request);
        return request;
    };
    const Aoi requests[] = {
        edited([](Aoi& a) { a.extent.right += 2.0; }), // a window of another size
        edited([&](Aoi& a) {
            a = MakeRequest(grid, {0, 0, 100, 80}), a.size = {100, 8};
        }), // a stale record
        edited([](Aoi& a) { a.size.columns = 0; }),
        edited([](Aoi& a) { a.extent.left -= 100.0, a.extent.right -= 100.0; }), // before the grid
        edited([](Aoi& a) { a.extent.vertical1 = std::nan(""); }),
        edited([](Aoi& a) { a.extent.left = a.extent.right = 1e300; }),
    };
    for (const Aoi& request : requests) {
        Status status;
        EXPECT_FALSE(FindRequestedWindow(request, grid, status)) << &request - requests;
        ASSERT_EQ(status.GetCount(), 1u);
        EXPECT_EQ(status.GetItem(0).id, hostkit::HostKitStatus::RequestInvalid);
    }
}

} // namespace
