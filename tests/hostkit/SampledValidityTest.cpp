#include "CodedImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace testimages;
using hostkit::Resampling;

double Keys(double x) {
    x = std::fabs(x);
    if (x >= 2.0) return 0.0;
    return x < 1.0 ? 1.5 * x * x * x - 2.5 * x * x + 1.0 : -0.5 * x * x * x + 2.5 * x * x - 4.0 * x + 2.0;
}
double Tent(double x) { return std::max(0.0, 1.0 - std::fabs(x)); }

/// A random source with pixels without data, and the value of a pan pixel by the sums of the definition.
template <class T>
struct GappedImage {
    GappedImage(const RasterInfo& info, unsigned gapsIn100, std::mt19937& random)
        : image(info, [&](auto, auto, auto) { return static_cast<unsigned>(random()); }) {
        for (std::uint32_t i = 0; i < info.cols * info.rows; ++i)
            valid.push_back(random() % 100 >= gapsIn100 ? 0xFF : 0);
    }
    /// The weighted mean of the valid pixels within the kernel's reach; `isWhole` tells if all were.
    std::optional<double> Mean(double x, double y, std::uint32_t band, double (*kernel)(double),
                               bool& isWhole) const {
        double sum = 0.0, weights = 0.0;
        bool hasAny = false;
        isWhole = true;
        const int reach = kernel == &Keys ? 2 : 1;
        for (int r = static_cast<int>(std::floor(y)) + 1 - reach;
             r <= static_cast<int>(std::floor(y)) + reach; ++r)
            for (int c = static_cast<int>(std::floor(x)) + 1 - reach;
                 c <= static_cast<int>(std::floor(x)) + reach; ++c) {
                const double weight = kernel(c - x) * kernel(r - y);
                if (std::fabs(weight) < 1e-12) continue;
                const auto column =
                    static_cast<std::uint32_t>(std::clamp(c, 0, static_cast<int>(image.info.cols) - 1));
                const auto row =
                    static_cast<std::uint32_t>(std::clamp(r, 0, static_cast<int>(image.info.rows) - 1));
                if (valid[row * image.info.cols + column] == 0) {
                    isWhole = false;
                    continue;
                }
                hasAny = true;
                sum += weight * image.At(column, row, band);
                weights += weight;
            }
        return hasAny ? std::optional(sum / weights) : std::nullopt;
    }
    std::optional<double> Expected(double x, double y, std::uint32_t band, Resampling resampling) const {
        bool isWhole = false;
        if (resampling == Resampling::Cubic) {
            const auto mean = Mean(x, y, band, &Keys, isWhole);
            const double largest = std::numeric_limits<T>::max();
            if (isWhole) return std::clamp(*mean, 0.0, largest);
        }
        return Mean(x, y, band, &Tent, isWhole);
    }

    CodedImage<T> image;
    std::vector<unsigned char> valid;
};

template <class T>
class SampledValidity : public testing::Test {};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(SampledValidity, Depths);

// Windows anywhere, with blocks of exactly what they need: every pixel is the mean of the definition, up to
// rounding, and no sample without data takes part. Random samples differ by half the range, so one that is
// used by mistake is noticed.
TYPED_TEST(SampledValidity, SamplesAreTheDefinition) {
    std::mt19937 random(3);
    const RasterInfo pan = MakeInfo(53, 41, 1, sizeof(TypeParam) * 8, 15.0, 438900.0, 4478700.0);
    const struct {
        double pixelSize, left, top;
    } grids[] = {{30.0, -22.5, 7.5}, {60.0, 0.0, 0.0}, {37.0, -3.3, 11.0}, {60.0, 300.0, -120.0}};
    for (const auto& grid : grids)
        for (const unsigned gaps : {0u, 3u, 60u})
            for (const Resampling resampling : {Resampling::Bilinear, Resampling::Cubic}) {
                const GappedImage<TypeParam> source(MakeInfo(23, 17, 3, sizeof(TypeParam) * 8, grid.pixelSize,
                                                             pan.xMin + grid.left, pan.yMax + grid.top),
                                                    gaps, random);
                const auto col0 = static_cast<std::uint32_t>(random() % 30);
                const auto row0 = static_cast<std::uint32_t>(random() % 30);
                const PixelRect window{col0, row0, col0 + 20, row0 + 11};
                const hostkit::AxisPlacement placement(pan, source.image.info);
                const PixelRect needed = placement.FindSource(window, resampling);
                std::vector<TypeParam> copy;
                hostkit::SourceImage part = source.image.Part(needed, copy);
                std::vector<unsigned char> valid;
                for (std::uint32_t r = needed.row0; r < needed.row1; ++r)
                    for (std::uint32_t c = needed.col0; c < needed.col1; ++c)
                        valid.push_back(source.valid[r * source.image.info.cols + c]);
                part.block.valid = gaps == 0 ? nullptr : valid.data();
                KOVA::Tessara::Fundament::Status status;
                const auto raster = placement.Open(window, part.info, part.block, resampling, status);
                ASSERT_NE(raster, nullptr) << status.ToText();
                for (std::uint32_t r = 0; r < window.GetRows(); ++r) {
                    const auto* samples = reinterpret_cast<const TypeParam*>(raster->GetRow(r));
                    const std::vector<hostkit::Reach> all(20, hostkit::Reach::All);
                    const hostkit::Reach* found = raster->FindReach(r);
                    const hostkit::Reach* reach = found ? found : all.data();
                    for (std::uint32_t i = 0; i < 20u * 3u; ++i) {
                        const double x = (15.0 * (col0 + i / 3 + 0.5) - grid.left) / grid.pixelSize - 0.5;
                        const double y = (15.0 * (row0 + r + 0.5) + grid.top) / grid.pixelSize - 0.5;
                        const auto expected = source.Expected(x, y, i % 3, resampling);
                        ASSERT_EQ(reach[i / 3] != hostkit::Reach::None, expected.has_value());
                        if (expected) {
                            ASSERT_NEAR(samples[i], *expected, 0.5 + 1e-6)
                                << "column " << i / 3 << " row " << r << " gaps " << gaps;
                        }
                    }
                }
            }
}

} // namespace
