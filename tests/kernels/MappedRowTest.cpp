#include "kernels/MappedRow.h"

#include "support/Rows.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using namespace kernels;

template <class T>
class MappedRowTest : public testing::Test {};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(MappedRowTest, Depths);

/// Positions of a test: on a line that ends at the last neighbours of the source, or anywhere.
struct Places {
    std::size_t pixels;
    std::uint32_t columns, rows;
    double stepX = 0.0, stepY = 0.0; ///< source pixels per position; 0 for anywhere
};

constexpr Places allPlaces[] = {{1, 11, 7},
                                {63, 11, 7},
                                {64, 11, 7},
                                {333, 11, 7},
                                {64, 90, 50, 0.25},
                                {64, 90, 50, 1.0},
                                {64, 90, 50, 0.25, 0.05},
                                {64, 90, 50, 1, 0.6},
                                {64, 90, 50, 0.25, -0.3},
                                {333, 90, 50, 0.125, 0.02}};

// Positions on and beyond all edges, including whole ones and halves, whose samples are ties, and lines along
// which neighbours share source rows. A filter that keeps an uncertain sample, a wrong neighbour or an access
// past a row would be noticed.
TYPED_TEST(MappedRowTest, VectorsGiveTheDefinition) {
    using T = TypeParam;
    std::mt19937 random(7);
    for (std::uint32_t bands = 1; bands <= 9; ++bands)
        for (const auto& [pixels, columns, rows, stepX, stepY] : allPlaces) {
            const std::size_t width = columns * bands, gap = stepX == 0.0 ? 0 : bands;
            const std::size_t size = rows * (width + gap) - gap;
            const auto samples = support::RandomRow<T>(size, random);
            const MappedSource<T> source{
                samples.get(), (width + gap) * sizeof(T), size * sizeof(T), 20, 30, columns + 20, rows + 30,
                bands};
            std::vector<double> x(pixels), y(pixels);
            const auto place = [&](std::uint32_t first, std::uint32_t count) {
                const double at = std::uniform_real_distribution(1.0, count + 1.5)(random);
                return first + (random() % 3 == 0 ? std::floor(at * 8) / 8 : at);
            };
            for (std::size_t p = 0; p < pixels; ++p) {
                const auto before = static_cast<double>(p), left = static_cast<double>(pixels - 1) - before;
                x[p] =
                    stepX == 0.0 ? place(source.firstColumn, columns) : source.columns - 2.5 - left * stepX;
                y[p] = stepX == 0.0 ? place(source.firstRow, rows)
                                    : source.rows - 2.5 - (stepY < 0.0 ? -before : left) * stepY;
            }
            const std::size_t count = pixels * bands;
            const auto expected = std::make_unique<T[]>(count), out = std::make_unique<T[]>(count);
            for (const SimdTarget target : SimdTargets()) {
                const std::string what = SimdTargetName(target) + ", bands " + std::to_string(bands) +
                                         ", step " + std::to_string(stepX);
                MappedBilinearScalar(source, x.data(), y.data(), pixels, expected.get());
                MappedRowsFor<T>(target).bilinear(source, x.data(), y.data(), pixels, out.get());
                support::ExpectSameRow(out.get(), expected.get(), count, "bilinear, " + what);
                MappedCubicScalar(source, x.data(), y.data(), pixels, expected.get());
                MappedRowsFor<T>(target).cubic(source, x.data(), y.data(), pixels, out.get());
                support::ExpectSameRow(out.get(), expected.get(), count, "cubic, " + what);
            }
        }
}

TEST(FillLine, EveryTargetGivesTheDefinition) {
    for (const SimdTarget target : SimdTargets())
        for (const std::size_t count : {1u, 8u, 61u}) {
            const MappedLine line{
                -3.7, 12.1, 0.3, -7.9, count == 8 ? 5.1 : 5.0, 2.0, count == 1 ? 100.0 : 128.0};
            std::vector<double> x(count), y(count), out(count), outY(count);
            FillLineScalar(line, count, x.data(), y.data());
            FillLineFor(target)(line, count, out.data(), outY.data());
            EXPECT_EQ(out, x) << SimdTargetName(target);
            EXPECT_EQ(outY, y) << SimdTargetName(target);
        }
}

} // namespace
