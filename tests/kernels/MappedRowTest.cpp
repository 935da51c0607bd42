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
    std::size_t pixels = 0;
    std::uint32_t columns = 0, rows = 0;
    double stepX = 0.0, stepY = 0.0; ///< source pixels per position; 0 for anywhere
    std::size_t onLine = 64;
    double shrink = 1.0;
    double nudge = 0.0;
};

constexpr Places allPlaces[] = {
    {1, 11, 7},
    {63, 11, 7},
    {64, 11, 7},
    {333, 11, 7},
    {64, 90, 50, 0.25},
    {64, 90, 50, 1.0},
    {64, 90, 50, 0.25, 0.05},
    {64, 90, 50, 1, 0.6},
    {64, 90, 50, 0.25, -0.3},
    {333, 90, 50, 0.125, 0.02, 8},
    {4096, 1100, 90, 0.2477, 0.0171},
    {4096, 1100, 90, -0.2477, 0.0171, 500},
    {2048, 80, 700, 0.0113, -0.3301, 40},
    {2048, 80, 700, -0.0113, 0.3301, 64, 4.0},
    {2048, 600, 300, 0.25, 0.125, 64, 1.0, 0x1p-25},
    {60000, 200, 60, 0.002477, 0.000171},
    // beyond an edge, on lines that run along it; the pixels of a vector far apart
    {2048, 200, 300, 0.002477, -0.05, 64, 1.0, -1.9},
    {2048, 300, 200, -0.05, 0.002477, 64, 1.0, -1.9},
    {2048, 2100, 90, 0.95, 0.0171}};

/// The lines through positions that begin at these places and continue by these steps.
std::vector<MappedLine> MakeLines(const Places& of, double x, double y) {
    std::vector<MappedLine> lines;
    const auto length = static_cast<double>(of.onLine);
    const auto unshrunk = [&](double at) { return of.shrink == 1.0 ? at : (at + 0.5) * of.shrink - 0.5; };
    for (std::size_t p = 0; p < of.pixels; p += of.onLine) {
        const double before = static_cast<double>(p), after = before + length;
        lines.push_back({unshrunk(x + before * of.stepX), unshrunk(x + after * of.stepX),
                         unshrunk(y + before * of.stepY), unshrunk(y + after * of.stepY), 0.0, 2.0,
                         2.0 * length, std::min(of.onLine, of.pixels - p), of.shrink});
    }
    return lines;
}

// Positions on and beyond all edges, including whole ones and halves, whose samples are ties, those next to
// them, and lines along which neighbours share source rows. A filter that keeps an uncertain sample, a wrong
// neighbour or an access past a row would be noticed.
TYPED_TEST(MappedRowTest, VectorsGiveTheDefinition) {
    using T = TypeParam;
    std::mt19937 random(7);
    for (std::uint32_t bands = 1; bands <= 9; ++bands)
        for (const Places& places : allPlaces) {
            const std::size_t pixels = places.pixels;
            const std::uint32_t columns = places.columns, rows = places.rows;
            const double stepX = places.stepX, stepY = places.stepY;
            const std::size_t width = std::size_t{columns} * bands, gap = stepX == 0.0 ? 0 : bands;
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
            // Steps forward end at the last neighbours, steps back begin there.
            const auto begin = [&](std::uint32_t all, double step) {
                return all - 2.5 - places.nudge - std::max(step, 0.0) * static_cast<double>(pixels - 1);
            };
            std::vector<MappedLine> lines;
            if (stepX != 0.0)
                lines = MakeLines(places, begin(source.columns, stepX), begin(source.rows, stepY));
            for (std::size_t p = 0; stepX == 0.0 && p < pixels; ++p) {
                const double atX = place(source.firstColumn, columns), atY = place(source.firstRow, rows);
                lines.push_back({atX, atX, atY, atY, 0.0, 2.0, 128.0, 1});
            }
            const std::size_t skipped = pixels / 10;
            MappedPath path{lines.data()};
            path.Fill(&FillLineScalar, skipped, x.data(), y.data());
            MappedPath(path).Fill(&FillLineScalar, pixels - skipped, x.data(), y.data());
            const std::size_t made = pixels - skipped, count = made * bands;
            const auto expected = std::make_unique<T[]>(count), out = std::make_unique<T[]>(count);
            for (const SimdTarget target : SimdTargets()) {
                const std::string what = SimdTargetName(target) + ", bands " + std::to_string(bands) +
                                         ", step " + std::to_string(stepX);
                MappedBilinearScalar(source, x.data(), y.data(), made, expected.get());
                MappedRowsFor<T>(target).bilinear(source, path, made, out.get());
                support::ExpectSameRow(out.get(), expected.get(), count, "bilinear, " + what);
                MappedCubicScalar(source, x.data(), y.data(), made, expected.get());
                MappedRowsFor<T>(target).cubic(source, path, made, out.get());
                support::ExpectSameRow(out.get(), expected.get(), count, "cubic, " + what);
            }
        }
}

TEST(FillLine, EveryTargetGivesTheDefinition) {
    for (const SimdTarget target : SimdTargets())
        for (const std::size_t count : {1u, 8u, 61u}) {
            const double start = count == 8 ? 5.1 : 5.0, length = count == 1 ? 100.0 : 128.0;
            const double shrink = count == 61 ? 3.0 : 1.0;
            const MappedLine line{-3.7, 12.1, 0.3, -7.9, start, 2.0, length, count, shrink};
            std::vector<double> x(count), y(count), out(count), outY(count);
            FillLineScalar(line, x.data(), y.data());
            FillLineFor(target)(line, out.data(), outY.data());
            EXPECT_EQ(out, x) << SimdTargetName(target);
            EXPECT_EQ(outY, y) << SimdTargetName(target);
        }
}

} // namespace
