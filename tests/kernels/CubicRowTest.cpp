#include "kernels/CubicRow.h"

#include "support/Rows.h"

namespace {

using namespace kernels;

/// Both passes over rows of exactly their size, so that a sanitizer sees any step past them.
template <class T, class V>
void Separated(const std::array<std::unique_ptr<T[]>, 4>& source, std::uint32_t sourceColumns,
               const std::vector<CubicTap>& taps, std::uint32_t bands, const CubicTap& down,
               SimdTarget target, T* out) {
    const std::uint32_t pixel = CubicPixel(bands);
    std::vector<SpreadCubicTap<V>> spreadTaps;
    for (const CubicTap& tap : taps) {
        spreadTaps.push_back({tap.at, CubicWeights<V>(tap)});
        for (std::uint32_t& at : spreadTaps.back().at)
            at *= pixel;
    }
    const std::size_t samples = taps.size() * bands;
    const auto spread = std::make_unique<V[]>(std::size_t{sourceColumns} * pixel);
    std::array<std::unique_ptr<V[]>, 4> across;
    std::array<const V*, 4> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        across[i] = std::make_unique<V[]>(samples + cubicGroup - 1);
        SpreadCubic(source[i].get(), sourceColumns, bands, spread.get());
        CubicAcrossRowFor<V>(target)(spread.get(), spreadTaps.data(), taps.size(), bands, across[i].get());
        rows[i] = across[i].get();
    }
    CubicDownRowFor<T, V>(target)(rows, CubicWeights<V>(down), samples, out);
}

template <class T>
void ExpectTheDefinition(const GridAxis& axis, std::uint32_t bands, std::uint32_t sourceColumns, bool isWhole,
                         std::mt19937& random) {
    std::vector<CubicTap> taps, offsets, down;
    for (std::int64_t c = 0; c < 4 * sourceColumns + 3; ++c) {
        taps.push_back(MakeCubicTap(PanToMultispectral(axis, c), sourceColumns));
        offsets.push_back(taps.back());
        for (std::uint32_t& at : offsets.back().at)
            at *= bands;
    }
    for (const double fraction : {0.0, 0.5, 0.125, 0.875, 1.0 / 3.0})
        down.push_back(MakeCubicTap({0, fraction}, 4));
    EXPECT_EQ(HasWholeSteps(taps), isWhole);
    const std::size_t samples = taps.size() * bands;
    std::array<std::unique_ptr<T[]>, 4> source;
    std::vector<double> across(4 * samples);
    std::array<const double*, 4> rows{};
    for (std::size_t i = 0; i < 4; ++i) {
        source[i] = support::RandomRow<T>(std::size_t{sourceColumns} * bands, random);
        CubicAcross(source[i].get(), offsets.data(), taps.size(), bands, across.data() + i * samples);
        rows[i] = across.data() + i * samples;
    }
    std::vector<T> expected(samples);
    const auto out = std::make_unique<T[]>(samples);
    for (const CubicTap& tap : down) {
        CubicDown(rows, tap.weights, samples, expected.data());
        for (const SimdTarget target : SimdTargets()) {
            const std::string what = SimdTargetName(target) + " bands " + std::to_string(bands);
            Separated<T, double>(source, sourceColumns, taps, bands, tap, target, out.get());
            support::ExpectSameRow(out.get(), expected.data(), samples, what);
            if (!HasWholeSteps(taps) || !HasWholeSteps({&tap, 1})) continue;
            Separated<T, std::int32_t>(source, sourceColumns, taps, bands, tap, target, out.get());
            support::ExpectSameRow(out.get(), expected.data(), samples, what + " whole");
        }
    }
}

// A swapped tap, a wrong band or sums that are too large for their lanes give other samples.
TEST(CubicRow, EveryWayGivesTheSameSamples) {
    std::mt19937 random(21);
    for (std::uint32_t bands = 1; bands <= 9; ++bands)
        for (const std::uint32_t sourceColumns : {1u, 2u, 5u, 17u})
            for (const auto& [axis, isWhole] : {std::pair(MakeGridAxis(0.25, 0.0), true),
                                                {MakeGridAxis(0.5, 0.25), true},
                                                {MakeGridAxis(1.0 / 3.0, 0.1), false}}) {
                ExpectTheDefinition<unsigned char>(axis, bands, sourceColumns, isWhole, random);
                ExpectTheDefinition<unsigned short>(axis, bands, sourceColumns, isWhole, random);
            }
}

} // namespace
