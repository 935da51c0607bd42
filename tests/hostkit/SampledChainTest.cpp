#include "hostkit/SampledChain.h"

#include "CodedImage.h"
#include "hostkit/HostKitStatus.h"
#include "kernels/BilinearRow.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace testimages;
using hostkit::AxisPlacement;
using hostkit::MakeRequest;
using hostkit::Resampling;
using hostkit::SampledChain;
using KOVA::Tessara::Pixmere::Aoi;
using KOVA::Tessara::Pixmere::IRaster;

/// The definition of one sample, from the whole source.
template <class T>
T Expected(const CodedImage<T>& source, const RasterInfo& pan, std::uint32_t column, std::uint32_t row,
           std::uint32_t band) {
    const AxisPlacement placement(pan, source.info);
    const auto x =
        kernels::ClampTap(kernels::PanToMultispectral(placement.GetAcross(), column), source.info.cols);
    const auto y = kernels::ClampTap(kernels::PanToMultispectral(placement.GetDown(), row), source.info.rows);
    return kernels::BilinearSample(source.At(x.first, y.first, band), source.At(x.second, y.first, band),
                                   source.At(x.first, y.second, band), source.At(x.second, y.second, band),
                                   x.fraction, y.fraction);
}

// Windows anywhere, rows in any order, and no samples beyond the named source block: always the samples of
// the definition. A window-relative position or a missing block row would fail.
template <class T>
void CompareRandomWindows() {
    std::mt19937 random(7);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    const RasterInfo pan = MakeInfo(61, 47, 1, sizeof(T) * 8, 15.0, 438900.0, 4478700.0);
    const struct {
        double pixelSize, left, top; // in map units; the corner relative to pan's
    } grids[] = {{30.0, -22.5, 7.5}, {60.0, 0.0, 0.0},      {45.0, 7.5, -7.5},
                 {37.0, -3.3, 11.0}, {30.0, 300.0, -120.0}, {30.0, -60.0, 60.0}};
    std::vector<T> copy;
    for (const auto& grid : grids)
        for (std::uint32_t bands : {1u, 3u, 5u}) {
            const CodedImage<T> source(MakeInfo(23, 17, bands, sizeof(T) * 8, grid.pixelSize,
                                                pan.xMin + grid.left, pan.yMax + grid.top),
                                       [&](auto, auto, auto) { return static_cast<unsigned>(random()); });
            for (int trial = 0; trial < 8; ++trial) {
                PixelRect window{below(pan.cols), below(pan.rows), 0, 0};
                window.col1 = window.col0 + 1 + below(pan.cols - window.col0);
                window.row1 = window.row0 + 1 + below(pan.rows - window.row0);
                const PixelRect needed =
                    AxisPlacement(pan, source.info).FindSource(window, Resampling::Bilinear);
                SampledChain chain("ms", pan, source.Part(needed, copy));
                Aoi request = MakeRequest(pan, window);
                ASSERT_EQ(chain.Initialize(&request), 1) << chain.GetStatus().ToText();
                IRaster* raster = chain.CreateRaster();
                for (std::uint32_t i = 0; i < window.GetRows(); ++i) {
                    const std::uint32_t row = trial % 2 == 0 ? i : below(window.GetRows());
                    const auto* samples = reinterpret_cast<const T*>(raster->GetRow(row));
                    for (std::uint32_t c = window.col0; c < window.col1; ++c)
                        for (std::uint32_t b = 0; b < bands; ++b)
                            ASSERT_EQ(*samples++, Expected(source, pan, c, window.row0 + row, b))
                                << "pan pixel " << c << ", " << window.row0 + row << " band " << b;
                }
            }
        }
}

TEST(SampledChain, AnyWindowAndRowOrderEqualsTheDefinition) {
    CompareRandomWindows<unsigned char>();
    CompareRandomWindows<unsigned short>();
}

// Source pixels of twice the size: data reach two pan pixels beyond the source, judged by the centres of the
// pan pixels.
TEST(SampledChain, DataReachOneSourcePixelOutside) {
    const RasterInfo pan = MakeInfo(40, 30, 1, 8);
    const struct {
        double left, top;
        PixelRect covered;
    } cases[] = {
        {10.0, -8.0, {8, 6, 22, 16}}, // source from column 10 to 20 and row 8 to 14
        {10.5, -8.0, {8, 6, 23, 16}}, // the centres of 8 and 22 lie exactly two outside: in
        {10.6, -8.0, {9, 6, 23, 16}}, // that of 8 lies 2.1 outside
        {-9.0, 4.0, {0, 0, 3, 4}},    // cut off by pan
        {-12.0, 0.0, {0, 0, 0, 8}},   // nothing
        {41.0, 0.0, {39, 0, 40, 8}},  // the last column only
    };
    for (const auto& c : cases) {
        const RasterInfo source = MakeInfo(5, 3, 1, 8, 2.0, c.left, c.top);
        EXPECT_EQ(AxisPlacement(pan, source).FindCovered(), c.covered) << c.left << " " << c.top;
    }
}

TEST(SampledChain, ReadsPixelCoordinatesUnscaled) {
    const CodedImage<unsigned char> source(MakeInfo(12, 12, 2, 8, 30.0));
    SampledChain chain("ms", MakeInfo(24, 24, 1, 8, 15.0), source.Whole());
    Aoi request;
    request.extent = {2.5, 7.5, 9.5, 4.5, 0.0, 0.0}; // columns 3 to 7, rows 5 to 9
    request.size = {4, 4};
    for (int order = 0; order < 2; ++order) {
        ASSERT_EQ(chain.Initialize(&request), 1) << chain.GetStatus().ToText();
        IRaster* raster = chain.CreateRaster();
        EXPECT_EQ(raster->GetRasterInfo()->cols, 4u);
        EXPECT_EQ(raster->GetRow(0)[0], source.At(3, 5, 0));
        EXPECT_EQ(raster->GetRow(3)[7], source.At(6, 8, 1));
        EXPECT_EQ(raster->GetRow(4), nullptr);
        std::swap(request.extent.vertical1, request.extent.vertical2);
    }
    request.extent = {9.5, 14.5, 4.5, 9.5, 0.0, 0.0}; // past the image's last column
    EXPECT_EQ(chain.Initialize(&request), 0);
    EXPECT_EQ(chain.GetStatus().GetItem(0).id, hostkit::HostKitStatus::SourceNotCovered);
}

TEST(SampledChain, FailsWithAReason) {
    const CodedImage<unsigned char> source(MakeInfo(12, 12, 1, 8, 30.0));
    const RasterInfo pan = MakeInfo(24, 24, 1, 8, 15.0);
    std::vector<unsigned char> copy;
    SampledChain chain("ms", pan, source.Part({0, 0, 12, 6}, copy));
    const auto id = [&] { return chain.GetStatus().GetItem(0).id; };
    EXPECT_EQ(chain.CreateRaster(), nullptr);
    EXPECT_EQ(id(), hostkit::HostKitStatus::NotInitialized);
    Aoi above = MakeRequest(pan, {0, 0, 24, 11}); // down to source row 5.25 - 0.5, which needs row 5
    EXPECT_EQ(chain.Initialize(&above), 1);
    Aoi below = MakeRequest(pan, {0, 0, 24, 12}); // 5.75 - 0.5 needs row 6
    EXPECT_EQ(chain.Initialize(&below), 0);
    EXPECT_EQ(id(), hostkit::HostKitStatus::SourceNotCovered);
    EXPECT_EQ(chain.CreateRaster(), nullptr); // not the raster of the request before
    EXPECT_EQ(chain.Initialize(nullptr), 0);
    EXPECT_EQ(id(), hostkit::HostKitStatus::RequestInvalid);
}

// Bands on two grids are at their positions and have the definition's samples.
template <class T>
void CompareJoinedBands() {
    constexpr std::uint32_t bits = sizeof(T) * 8;
    const RasterInfo pan = MakeInfo(40, 30, 1, bits);
    const CodedImage<T> fine(MakeInfo(20, 15, 2, bits, 2.0)), coarse(MakeInfo(9, 8, 1, bits, 4.0, 1.0, 1.0));
    RasterInfo all = coarse.info;
    all.bandsPerPixel = 3;
    const PixelRect window{5, 7, 36, 28};
    const AxisPlacement ofFine(pan, fine.info), ofCoarse(pan, coarse.info);
    KOVA::Tessara::Fundament::Status status;
    const auto open = [&](const AxisPlacement& placement, const CodedImage<T>& image) {
        return placement.Open(window, image.info, image.Whole().block, Resampling::Bilinear, status);
    };
    SampledChain chain("ms", pan,
                       {all, {}, {}, {{open(ofCoarse, coarse), {1}}, {open(ofFine, fine), {0, 2}}}, window});
    Aoi request = MakeRequest(pan, {5, 7, 36, 29});
    EXPECT_EQ(chain.Initialize(&request), 0); // not the window that is open
    request = MakeRequest(pan, window);
    ASSERT_EQ(chain.Initialize(&request), 1) << chain.GetStatus().ToText();
    IRaster* raster = chain.CreateRaster();
    EXPECT_EQ(raster->GetRasterInfo()->bandsPerPixel, 3u);
    ASSERT_EQ(raster->SetWindow(3, 2, 20, 11), 1);
    for (std::uint32_t r = 2; r < 11; ++r) {
        const auto* samples = reinterpret_cast<const T*>(raster->GetRow(r));
        for (std::uint32_t c = 3; c < 20; ++c, samples += 3) {
            ASSERT_EQ(samples[0], Expected(fine, pan, 5 + c, 7 + r, 0)) << c << " " << r;
            ASSERT_EQ(samples[1], Expected(coarse, pan, 5 + c, 7 + r, 0)) << c << " " << r;
            ASSERT_EQ(samples[2], Expected(fine, pan, 5 + c, 7 + r, 1)) << c << " " << r;
        }
    }
    EXPECT_EQ(raster->GetRow(11), nullptr);
}

TEST(SampledChain, JoinsBandsOfTwoGrids) {
    CompareJoinedBands<unsigned char>();
    CompareJoinedBands<unsigned short>();
}

} // namespace
