// Every vector target gives the bytes of the scalar definition. Rows lie on the heap with exactly their size,
// so that a sanitizer detects any access past them; weights put results on and next to halves, where a faster
// computation could differ.
#include "kernels/InjectionRow.h"
#include "pansharp/Methods.h"
#include "support/Rows.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>

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

/// Gains for every band; the second band has the two exchanged.
struct Gains {
    double gain, ratioGain, limit, floor;
};

const std::vector<Gains> gainSets = {
    {1, 0, infinity, 0},       {0.37, 0.61, 2, 40.7}, {0.42, 0.9, 2, 0},      {0, 1.1, infinity, 0},
    {0.5, 0.25, 1, 3},         {2.5, 1.3, 9, 0.01},   {3, 0.1, infinity, 7},  {-0.5, 0.3, 2, 1},
    {0.5, 0.7, 0, 20},         {0.5, 0.7, -1, 20},    {1e300, 1e-300, 2, 20}, {infinity, 0.5, 2, 20},
    {0.5, infinity, 1e300, 0}, {1, 1, 2, 1e300},      {1, 1, 2, -infinity},   {0.5, 0.5, 2, std::nan("")},
};

/// The gains of a set, for up to 16 bands.
class AllGains {
public:
    explicit AllGains(const Gains& set)
        : gains(16, set.gain),
          ratioGains(16, set.ratioGain), all{gains.data(), ratioGains.data(), set.limit, set.floor} {
        std::swap(gains[1], ratioGains[1]);
    }
    AllGains(const AllGains&) = delete;
    AllGains& operator=(const AllGains&) = delete;
    [[nodiscard]] const InjectionGains* Get() const { return &all; }

private:
    std::vector<double> gains, ratioGains;
    InjectionGains all;
};

/// Methods that must not silently fall back from a vector version to the definition.
const std::set<std::string> hasVectors = {"KOVA", "Brovey", "IHS", "Injection"};

/// Random samples, or all of one value.
template <class T>
std::unique_ptr<T[]> Row(std::size_t samples, std::optional<unsigned> value, std::mt19937& random) {
    auto row = support::RandomRow<T>(samples, random);
    if (value) std::fill_n(row.get(), samples, static_cast<T>(*value));
    return row;
}

template <class T>
void Compare(const PXL::Method& method, SimdTarget target, std::size_t pixels, std::uint32_t msBands,
             std::uint32_t outputBands, std::vector<double> weights, std::mt19937& random,
             std::optional<unsigned> msValue = {}, std::optional<unsigned> panValue = {}) {
    const bool isApart = msBands > 1 && random() % 2 == 0;
    const auto ms = Row<T>(pixels * (msBands - isApart), msValue, random);
    const auto pan = Row<T>(pixels, panValue, random);
    const auto last = Row<T>(pixels, msValue, random);
    const FusionRows<T> rows{ms.get(), pan.get(), isApart ? last.get() : nullptr};
    if (random() % 4 == 0) { // only the last band
        weights.assign(msBands, 0.0);
        weights.back() = 1.0;
    }
    const AllGains gains(gainSets[random() % gainSets.size()]);
    const BandWeights bands{weights.data(), msBands, outputBands, gains.Get()};
    const std::size_t samples = pixels * outputBands;
    const auto expected = std::make_unique<T[]>(samples);
    const auto actual = support::RandomRow<T>(samples, random);
    method.RowFor<T>(0)(rows, expected.get(), pixels, bands);
    method.RowFor<T>(target)(rows, actual.get(), pixels, bands);
    support::ExpectSameRow(actual.get(), expected.get(), samples,
                           method.description.keyword + (" " + SimdTargetName(target)) + ", " +
                               std::to_string(msBands) + " bands" + (isApart ? ", the last apart" : ""));
}

template <class T>
void CompareAll(const PXL::Method& method, SimdTarget target) {
    std::mt19937 random(1);
    for (std::uint32_t msBands = method.description.minimumBands; msBands <= 9; ++msBands)
        for (const std::size_t pixels : support::KernelWidths()) {
            const auto& weights = weightSets[random() % weightSets.size()];
            const auto outputBands = static_cast<std::uint32_t>(1 + random() % msBands);
            Compare<T>(method, target, pixels, msBands, outputBands, weights, random);
        }
    const auto any = static_cast<unsigned>(random());
    for (const auto& weights : weightSets)
        for (const std::uint32_t msBands : {3u, 4u, 8u}) {
            Compare<T>(method, target, 700, msBands, msBands, weights, random);
            Compare<T>(method, target, 700, msBands, 3, weights, random);
            Compare<T>(method, target, 700, msBands, msBands, weights, random, 0xFFFF);
            Compare<T>(method, target, 700, msBands, msBands, weights, random, 0, 0);
            Compare<T>(method, target, 700, msBands, msBands, weights, random, 0xFFFF, 0xFFFF);
            Compare<T>(method, target, 700, msBands, msBands, weights, random, any);
        }
}

} // namespace

TEST(FusionSimd, EveryTargetGivesTheBytesOfTheDefinition) {
    const std::vector<SimdTarget> targets = SimdTargets();
#if defined(__x86_64__)
    ASSERT_GT(targets.size(), 1u) << "no vector target ran";
#endif
    for (const SimdTarget target : targets) {
        for (const PXL::Method& method : PXL::Methods()) {
            const std::string keyword = method.description.keyword;
            if (target != 0 && hasVectors.contains(keyword)) {
                EXPECT_NE(method.row8(target), method.row8(0)) << keyword << " " << SimdTargetName(target);
            }
            CompareAll<unsigned char>(method, target);
            CompareAll<unsigned short>(method, target);
        }
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

/// Random pixels, enough for uncertain ones of all kinds.
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

/// All pairs of the largest band and another, with the third equal to either or 0, in every order, with many
/// values of pan.
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

/// With isApart the last band is another one, stored apart.
template <class T>
void CompareEvery(const Pixels<T>& pixels, const PXL::Method& method, double weight, const Gains& set,
                  bool isApart) {
    const std::uint32_t msBands = pixels.bands + (isApart ? 1 : 0);
    if (msBands < method.description.minimumBands) return;
    std::vector<T> expected(pixels.ms.size()), actual(pixels.ms.size());
    const std::vector<double> weights(msBands, weight);
    const AllGains gains(set);
    const BandWeights bands{weights.data(), msBands, pixels.bands, gains.Get()};
    const auto fuse = [&](SimdTarget target, std::vector<T>& out) {
        constexpr std::size_t rowPixels = 2005; // the last block of a row is not whole
        for (std::size_t first = 0; first < pixels.pan.size(); first += rowPixels) {
            const T* ms = pixels.ms.data() + first * pixels.bands;
            method.RowFor<T>(target)({ms, pixels.pan.data() + first, isApart ? ms : nullptr},
                                     out.data() + first * pixels.bands,
                                     std::min(rowPixels, pixels.pan.size() - first), bands);
        }
    };
    fuse(0, expected);
    for (const SimdTarget target : SimdTargets()) {
        fuse(target, actual);
        support::ExpectSameRow(actual.data(), expected.data(), actual.size(),
                               method.description.keyword + (" " + SimdTargetName(target)) + ", weight " +
                                   std::to_string(weight) + ", gain " + std::to_string(set.gain));
    }
}

template <class T>
void CompareEvery(const Pixels<T>& pixels, const std::vector<double>& equalWeights) {
    for (const PXL::Method& method : PXL::Methods()) {
        for (std::size_t i = 0; i < equalWeights.size(); ++i)
            CompareEvery(pixels, method, equalWeights[i], gainSets[i % 7], i % 2 == 0);
        const bool hasGains = method.description.bandParameterCount > 1 && pixels.bands == 3;
        for (std::size_t i = 0; hasGains && i < gainSets.size(); ++i)
            CompareEvery(pixels, method, i % 3 == 0 ? 1.0 : 0.3, gainSets[i], i % 2 == 0);
    }
}

} // namespace

// Weights that put sums on, just below and just above a half, and quotients on and next to whole numbers.
TEST(FusionSimd, ManyResultsAreRight) {
    const std::vector<double> weights = {0.0, 0.5, 0.5 + 1e-16, 0.5 - 1e-16, 1.0,   1.0 / 3,
                                         0.1, 0.7, -0.3,        1e-9,        -1e300};
    CompareEvery(AllPairs(), weights);
    CompareEvery(ManyColours(), {0.0});
    for (const std::uint32_t bands : {1u, 3u, 4u, 8u}) {
        CompareEvery(ManyPixels<unsigned char>(bands), weights);
        CompareEvery(ManyPixels<unsigned short>(bands), weights);
    }
}
