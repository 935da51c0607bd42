// Every vector target gives the bytes of the scalar definition: rows of exactly their size on the heap, so
// that a sanitizer sees any step past them, and weights that put results on and beside a half, where a faster
// way could differ.
#include "kernels/BroveyRow.h"
#include "kernels/IhsRow.h"
#include "kernels/KovaRow.h"
#include "support/Rows.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace kernels;

using support::infinity;

const std::vector<std::vector<double>> weightSets = {
    {1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3},
    {0.25, 0.25, 0.25, 0.25, 0.5, 0.125, 0.0, 1.0, 0.5},
    {0.1, 0.2, 0.3, 0.4, 0.7, -0.1, 0.05, 0.15, 0.6},
    {-1.84, 1.2, 1.65, 0.036, -0.3, 0.251, 0.437, 0.285, 0.1},
    {1e-9, 0.5 + 1e-10, 0.5 - 1e-12, 0.5 + 1e-16, 1e-300, 0.5, -1e-11, 1e-17, 0.5},
    {1e5, -1e5, 1e12, -1e12, 3e300, -3e300, 1e308, 1e308, 1.0},
    {infinity, 1.0, -infinity, 0.0, 1.0, 1.0, 1.0, 1.0, 1.0},
    {std::nan(""), 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5},
    {0, 0, 0, 0, 0, 0, 0, 0, 0},
    {65.0, 64.0, 0, 0, 0, 0, 0, 0, 0}, // times 255, just beyond what 16 bits with a sign hold
};

/// Random samples, or all of one value.
template <class T>
std::unique_ptr<T[]> Row(std::size_t samples, std::optional<unsigned> value, std::mt19937& random) {
    auto row = support::RandomRow<T>(samples, random);
    if (value) std::fill_n(row.get(), samples, static_cast<T>(*value));
    return row;
}

template <class T>
struct Kernel {
    const char* name;
    FuseRow<T> (*rowFor)(SimdTarget);
    std::uint32_t fewestBands;
};

template <class T>
const std::vector<Kernel<T>> allKernels = {
    {"KOVA", &KovaRowFor<T>, 1}, {"Brovey", &BroveyRowFor<T>, 1}, {"IHS", &IhsRowFor<T>, ihsFewestBands}};

template <class T>
void Compare(const Kernel<T>& kernel, SimdTarget target, std::size_t pixels, std::uint32_t msBands,
             std::uint32_t outputBands, const std::vector<double>& weights, std::mt19937& random,
             std::optional<unsigned> msValue = {}, std::optional<unsigned> panValue = {}) {
    const auto ms = Row<T>(pixels * msBands, msValue, random);
    const auto pan = Row<T>(pixels, panValue, random);
    const BandWeights bands{weights.data(), msBands, outputBands};
    const std::size_t samples = pixels * outputBands;
    const auto expected = std::make_unique<T[]>(samples);
    const auto actual = support::RandomRow<T>(samples, random);
    kernel.rowFor(0)(ms.get(), pan.get(), expected.get(), pixels, bands);
    kernel.rowFor(target)(ms.get(), pan.get(), actual.get(), pixels, bands);
    support::ExpectSameRow(actual.get(), expected.get(), samples,
                           kernel.name + (" " + SimdTargetName(target)) + ", " + std::to_string(msBands) +
                               " bands");
}

template <class T>
void CompareAll(const Kernel<T>& kernel, SimdTarget target) {
    std::mt19937 random(1);
    for (std::uint32_t msBands = kernel.fewestBands; msBands <= 9; ++msBands)
        for (const std::size_t pixels : support::KernelWidths()) {
            const auto& weights = weightSets[random() % weightSets.size()];
            const auto outputBands = static_cast<std::uint32_t>(1 + random() % msBands);
            Compare(kernel, target, pixels, msBands, outputBands, weights, random);
        }
    const auto any = static_cast<unsigned>(random());
    for (const auto& weights : weightSets)
        for (const std::uint32_t msBands : {3u, 4u, 8u}) {
            Compare(kernel, target, 700, msBands, msBands, weights, random);
            Compare(kernel, target, 700, msBands, 3, weights, random);
            Compare(kernel, target, 700, msBands, msBands, weights, random, 0xFFFF);
            Compare(kernel, target, 700, msBands, msBands, weights, random, 0, 0);
            Compare(kernel, target, 700, msBands, msBands, weights, random, 0xFFFF, 0xFFFF);
            Compare(kernel, target, 700, msBands, msBands, weights, random, any);
        }
}

} // namespace

TEST(FusionSimd, EveryTargetGivesTheBytesOfTheDefinition) {
    const std::vector<SimdTarget> targets = SimdTargets();
#if defined(__x86_64__)
    ASSERT_GT(targets.size(), 1u) << "no vector target ran";
#endif
    for (const SimdTarget target : targets) {
        for (const auto& kernel : allKernels<unsigned char>) {
            EXPECT_EQ(kernel.rowFor(target) == kernel.rowFor(0), target == 0) << SimdTargetName(target);
            CompareAll(kernel, target);
        }
        for (const auto& kernel : allKernels<unsigned short>)
            CompareAll(kernel, target);
    }
}

namespace {

template <class T>
struct Pixels {
    std::uint32_t bands = 1;
    std::vector<T> ms, pan;
};

/// All pairs of a band and pan.
Pixels<unsigned char> AllPairs() {
    Pixels<unsigned char> pixels;
    for (unsigned pair = 0; pair < 65536; ++pair) {
        pixels.ms.push_back(static_cast<unsigned char>(pair >> 8));
        pixels.pan.push_back(static_cast<unsigned char>(pair & 255));
    }
    return pixels;
}

/// Random pixels, enough for doubts of all kinds.
template <class T>
Pixels<T> ManyPixels(std::uint32_t bands) {
    std::mt19937 random(bands);
    Pixels<T> pixels{bands, {}, {}};
    for (unsigned i = 0; i < 65536 * bands; ++i)
        pixels.ms.push_back(static_cast<T>(random()));
    for (unsigned i = 0; i < 65536; ++i)
        pixels.pan.push_back(static_cast<T>(random()));
    return pixels;
}

/// All pairs of the largest band and another, the third at either or 0, in every order, with many pans.
Pixels<unsigned char> ManyColours() {
    Pixels<unsigned char> pixels{3, {}, {}};
    unsigned n = 0;
    for (unsigned largest = 0; largest < 256; ++largest)
        for (unsigned other = 0; other <= largest; ++other)
            for (unsigned pan = n % 13; pan < 256; pan += 13, ++n) {
                const unsigned third[] = {0, other, largest, (largest + other) / 2};
                const unsigned rgb[] = {largest, other, third[n / 3 % 4]};
                for (unsigned band = 0; band < 3; ++band)
                    pixels.ms.push_back(static_cast<unsigned char>(rgb[(band + n) % 3]));
                pixels.pan.push_back(static_cast<unsigned char>(pan));
            }
    return pixels;
}

template <class T>
void CompareEvery(const Pixels<T>& pixels, const std::vector<double>& equalWeights) {
    std::vector<T> expected(pixels.ms.size()), actual(pixels.ms.size());
    for (const Kernel<T>& kernel : allKernels<T>)
        for (const double weight : equalWeights) {
            if (pixels.bands < kernel.fewestBands) continue;
            const std::vector<double> weights(pixels.bands, weight);
            const BandWeights bands{weights.data(), pixels.bands, pixels.bands};
            kernel.rowFor(0)(pixels.ms.data(), pixels.pan.data(), expected.data(), pixels.pan.size(), bands);
            for (const SimdTarget target : SimdTargets()) {
                kernel.rowFor(target)(pixels.ms.data(), pixels.pan.data(), actual.data(), pixels.pan.size(),
                                      bands);
                support::ExpectSameRow(actual.data(), expected.data(), actual.size(),
                                       kernel.name + (" " + SimdTargetName(target)) + ", weight " +
                                           std::to_string(weight));
            }
        }
}

} // namespace

// Weights that put sums on, just below and just above a half, and quotients on and beside whole numbers.
TEST(FusionSimd, ManyResultsAreRight) {
    const std::vector<double> weights = {0.0, 0.5, 0.5 + 1e-16, 0.5 - 1e-16, 1.0,   1.0 / 3,
                                         0.1, 0.7, -0.3,        1e-9,        -1e300};
    CompareEvery(AllPairs(), weights);
    CompareEvery(ManyColours(), {0.0});
    for (const std::uint32_t bands : {3u, 4u, 8u}) {
        CompareEvery(ManyPixels<unsigned char>(bands), weights);
        CompareEvery(ManyPixels<unsigned short>(bands), weights);
    }
}
