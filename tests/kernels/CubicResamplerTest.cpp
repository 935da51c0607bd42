#include "kernels/CubicResampler.h"

#include "support/Rows.h"

#include <limits>

namespace {

using namespace kernels;

enum class Source {
    Random,
    Slope, ///< many results lie exactly between two samples
    Ends   ///< samples at the ends of the range, which give the largest sums
};

/// Four rows of exactly their size, so that a sanitizer detects any access past them.
template <class T>
std::array<std::unique_ptr<T[]>, 4> MakeSource(std::size_t samples, std::uint32_t bands, Source kind,
                                               std::mt19937& random) {
    std::array<std::unique_ptr<T[]>, 4> rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i] = support::RandomRow<T>(samples, random);
        for (std::size_t s = 0; s < samples; ++s)
            if (kind == Source::Slope)
                rows[i][s] = static_cast<T>(10 + 3 * i + s / bands);
            else if (kind == Source::Ends)
                rows[i][s] = (i + 1) / 2 % 2 == s / bands / 2 % 2 ? std::numeric_limits<T>::max() : T{0};
    }
    return rows;
}

template <class T>
void ExpectTheDefinition(std::span<const GridPosition> columns, std::uint32_t pixels, std::uint32_t bands,
                         Source kind, std::mt19937& random) {
    std::vector<CubicTap> taps;
    for (const GridPosition& column : columns)
        taps.push_back(MakeCubicTap(column, pixels));
    for (CubicTap& tap : taps)
        for (std::uint32_t& at : tap.at)
            at *= bands;
    const auto source = MakeSource<T>(std::size_t{pixels} * bands, bands, kind, random);
    const std::size_t samples = taps.size() * bands;
    std::array<std::vector<double>, 4> across;
    for (std::size_t i = 0; i < across.size(); ++i) {
        across[i].resize(samples);
        CubicAcross(source[i].get(), taps.data(), taps.size(), bands, across[i].data());
    }
    std::vector<T> expected(samples);
    const auto out = std::make_unique<T[]>(samples);
    for (const double fraction : {0.0, 0.5, 0.125, 0.875, 0.3125, 1.0 / 3.0, 0.4, 6.0 / 7.0}) {
        const GridPosition row{0, fraction};
        const CubicTap down = MakeCubicTap(row, 4);
        CubicDown({across[0].data(), across[1].data(), across[2].data(), across[3].data()}, down.weights,
                  samples, expected.data());
        for (const SimdTarget target : SimdTargets()) {
            for (const std::uint32_t steps : {0u, WholeSteps({&row, 1})}) {
                const auto resampler = MakeCubicResampler<T>(columns, pixels, bands, steps, target);
                if (target == 0) continue;
                ASSERT_TRUE(resampler);
                const std::size_t first = std::size_t{resampler->GetFirstPixel()} * bands;
                resampler->Make({source[0].get() + first, source[1].get() + first, source[2].get() + first,
                                 source[3].get() + first},
                                down, out.get());
                support::ExpectSameRow(out.get(), expected.data(), samples,
                                       SimdTargetName(target) + " bands " + std::to_string(bands) +
                                           " steps " + std::to_string(steps));
            }
        }
    }
}

// With a swapped tap, a wrong band, sums too large for their lanes or a result on the wrong side of a half,
// the samples would differ.
TEST(CubicResampler, EveryTargetGivesTheSamplesOfTheDefinition) {
    std::mt19937 random(21);
    for (const std::uint32_t bands : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 17u})
        for (const std::uint32_t pixels : {1u, 2u, 5u, 17u})
            for (const GridAxis& axis :
                 {MakeGridAxis(0.25, 0.0), MakeGridAxis(0.5, 0.25), MakeGridAxis(1.0, 0.5),
                  MakeGridAxis(0.125, 0.0), MakeGridAxis(1.0 / 3.0, 0.0), MakeGridAxis(0.2, 0.0),
                  MakeGridAxis(1.0 / 7.0, 0.0), MakeGridAxis(1.0 / 3.0, 0.1),
                  MakeGridAxis(0.23456789012345, 0.0)}) {
                std::vector<GridPosition> columns;
                for (std::int64_t c = static_cast<std::int64_t>(random() % 9) - 7; c < 4 * pixels + 6; ++c)
                    columns.push_back(PanToMultispectral(axis, c));
                for (const Source source : {Source::Random, Source::Slope, Source::Ends}) {
                    ExpectTheDefinition<unsigned char>(columns, pixels, bands, source, random);
                    ExpectTheDefinition<unsigned short>(columns, pixels, bands, source, random);
                }
            }
    // Columns two pixels apart.
    EXPECT_EQ(
        MakeCubicResampler<unsigned char>(
            std::vector<GridPosition>{
                {0, 0.5}, {2, 0.5}, {4, 0.5}, {6, 0.5}, {8, 0.5}, {10, 0.5}, {12, 0.5}, {14, 0.5}, {16, 0.5}},
            20, 4, 2, SimdTargets().front()),
        nullptr);
}

} // namespace
