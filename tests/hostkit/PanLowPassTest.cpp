#include "hostkit/PanLowPass.h"

#include "CodedImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using namespace hostkit;
using testimages::CodedImage;
using testimages::MakeInfo;

template <class T>
struct LowPassed {
    std::vector<T> samples;
    std::vector<unsigned char> valid;
    bool lacks = false;
};

/// Computes from a part of pan of exactly the size needed.
template <class T>
LowPassed<T> Make(const PanLowPass& low, const CodedImage<T>& pan, const std::vector<unsigned char>* valid,
                  const PixelRect& rect) {
    LowPassed<T> made;
    made.samples.resize(std::size_t{rect.GetColumns()} * rect.GetRows());
    made.valid.resize(made.samples.size());
    const PixelRect needed = low.PanRect(rect);
    std::vector<T> copy;
    SampleBlock block = pan.Part(needed, copy).block;
    std::vector<unsigned char> part;
    for (std::uint32_t r = needed.row0; valid && r < needed.row1; ++r)
        for (std::uint32_t c = needed.col0; c < needed.col1; ++c)
            part.push_back((*valid)[std::size_t{r} * pan.info.cols + c]);
    if (valid) block.valid = part.data();
    made.lacks =
        low.Compute(block, rect, reinterpret_cast<unsigned char*>(made.samples.data()), made.valid.data());
    return made;
}

/// The mean by the Gaussian, in double, over pixels with data; below 0 if there are none.
template <class T>
double SlowMean(const CodedImage<T>& pan, const std::vector<unsigned char>& valid, double x, double y,
                double sigmaX, double sigmaY) {
    double sum = 0.0, weights = 0.0;
    for (std::uint32_t r = 0; r < pan.info.rows; ++r)
        for (std::uint32_t c = 0; c < pan.info.cols; ++c) {
            const double dx = (c + 0.5 - x) / sigmaX, dy = (r + 0.5 - y) / sigmaY;
            if (std::fabs(dx) > 3.0 || std::fabs(dy) > 3.0 || !valid[r * pan.info.cols + c]) continue;
            const double weight = std::exp(-0.5 * (dx * dx + dy * dy));
            sum += weight * pan.At(c, r, 0);
            weights += weight;
        }
    return weights > 0.0 ? sum / weights : -1.0;
}

/// Random pan with holes, under a grid that reaches beyond it on two sides, with a ratio down that is not
/// whole.
template <class T>
void ExpectTheGaussian(const PixelRect& size, const std::vector<PixelRect>& holes, double tolerance) {
    std::mt19937 random(3);
    const CodedImage<T> pan(MakeInfo(size.col1, size.row1, 1, sizeof(T) * 8),
                            [&](auto, auto, auto) { return random(); });
    auto grid = MakeInfo(18, 15, 3, sizeof(T) * 8, 4.0, -6.0, 5.0);
    grid.pixelSizeY = 3.7;
    grid.yMin = grid.yMax - 15 * 3.7;
    std::vector<unsigned char> valid(pan.samples.size(), 255);
    for (const PixelRect& hole : holes)
        for (std::uint32_t r = hole.row0; r < hole.row1; ++r)
            std::fill_n(valid.begin() + r * size.col1 + hole.col0, hole.GetColumns(), 0);
    const PanLowPass low(pan.info, grid, 0.3);
    grid = low.GetInfo(); // those of its pixels, and of more beyond, that pan reaches
    const auto made = Make(low, pan, &valid, WholeImage(grid));
    EXPECT_TRUE(made.lacks);
    const double sigma = std::sqrt(-2.0 * std::log(0.3)) / 3.14159265358979;
    int without = 0;
    for (std::uint32_t r = 0; r < grid.rows; ++r)
        for (std::uint32_t c = 0; c < grid.cols; ++c) {
            SCOPED_TRACE(testing::Message() << c << ", " << r);
            const std::size_t pixel = std::size_t{r} * grid.cols + c;
            const double expected = SlowMean(pan, valid, (c + 0.5) * 4.0 + grid.xMin,
                                             (r + 0.5) * 3.7 - grid.yMax, sigma * 4.0, sigma * 3.7);
            ASSERT_EQ(made.valid[pixel] != 0, expected >= 0.0);
            without += expected < 0.0 ? 1 : 0;
            if (expected >= 0.0) {
                EXPECT_NEAR(made.samples[pixel], expected, tolerance);
            }
        }
    EXPECT_GT(without, 4);
    // Any rectangle is a part of the whole, whether or not it includes the rows with gaps.
    for (const PixelRect& rect : {PixelRect{3, 2, 9, 3}, {0, 0, grid.cols, 4}, {8, 7, 9, grid.rows}}) {
        const auto part = Make(low, pan, &valid, rect);
        for (std::uint32_t r = rect.row0; r < rect.row1; ++r)
            for (std::uint32_t c = rect.col0; c < rect.col1; ++c) {
                const std::size_t at = std::size_t{r - rect.row0} * rect.GetColumns() + (c - rect.col0);
                EXPECT_EQ(part.samples[at], made.samples[std::size_t{r} * grid.cols + c]);
                EXPECT_EQ(part.valid[at], made.valid[std::size_t{r} * grid.cols + c]);
            }
    }
}

// The tolerance: half a step of rounding, and weights in steps of 2^-14. If each of about 14 x 14 weights had
// that error, the sum would err by 14 / 2^14 of the largest sample along each axis.
TEST(PanLowPass, IsTheGaussianMeanOfPixelsWithData) {
    ExpectTheGaussian<unsigned char>({0, 0, 60, 50}, {{16, 20, 40, 44}}, 0.5 + 255.0 / 1000.0);
    ExpectTheGaussian<unsigned short>({0, 0, 60, 50}, {{16, 20, 40, 44}}, 0.5 + 65535.0 / 1000.0);
    // Columns are computed 512 at a time: some rows have gaps across a limit, others within one stretch.
    ExpectTheGaussian<unsigned short>({0, 0, 1100, 44}, {{496, 0, 528, 20}, {700, 24, 724, 44}},
                                      0.5 + 65535.0 / 1000.0);
}

TEST(PanLowPass, KeepsAPlainImageUpToItsEdges) {
    const CodedImage<unsigned short> pan(MakeInfo(40, 40, 1, 16), [](auto, auto, auto) { return 65535u; });
    const auto grid = MakeInfo(10, 10, 1, 16, 4.0);
    for (const double transfer : {0.05, 0.3, 0.8}) {
        const PanLowPass low(pan.info, grid, transfer);
        const auto made = Make(low, pan, nullptr, WholeImage(low.GetInfo()));
        EXPECT_FALSE(made.lacks);
        EXPECT_GE(made.samples.size(), 100u);
        EXPECT_EQ(made.samples, std::vector<unsigned short>(made.samples.size(), 65535));
    }
}

} // namespace
