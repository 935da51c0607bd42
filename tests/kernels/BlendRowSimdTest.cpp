// Every vector target gives the bytes of the scalar definitions of blends and colour conversions, in rows of
// exactly their size on the heap.
#include "kernels/BlendRow.h"
#include "kernels/ConvertRow.h"
#include "support/Rows.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace kernels;

using support::infinity;

constexpr SampleBlend blends[] = {SampleBlend::Sum, SampleBlend::Product, SampleBlend::Quotient,
                                  SampleBlend::Difference, SampleBlend::PlainDifference};

/// Identity; results on and next to halves and whole numbers; results out of range; results that are not
/// finite.
const LinearMap oddMaps[] = {
    {1, 0},        {1, 127.5},     {0.5, 0.25},      {-1.0 / 3, 99.5}, {1e-3, -0.0},
    {-1, 0},       {0, 0},         {0, 0.5 - 1e-17}, {1e308, 1e308},   {-1e300, 5},
    {infinity, 0}, {1, -infinity}, {2, -3},          {65536.5, 1e5},   {std::nan(""), 1.25},
};

std::vector<LinearMap> SomeMaps(std::uint32_t bands, std::mt19937& random) {
    std::vector<LinearMap> some(bands);
    for (LinearMap& map : some)
        map = oddMaps[random() % std::size(oddMaps)];
    return some;
}

template <class T>
struct Rows {
    std::unique_ptr<T[]> row1, row2;
    std::uint32_t bands1, bands2;
    std::size_t pixels;
};

/// Runs a kernel's scalar definition and a target's version on the same rows.
template <class T>
void Compare(const char* name, SimdTarget target, const Rows<T>& rows, std::uint32_t outputBands,
             const std::function<void(const BlendKernels<T>&, T*)>& run) {
    const std::size_t samples = rows.pixels * outputBands;
    const auto expected = std::make_unique<T[]>(samples);
    const auto actual = std::make_unique<T[]>(samples);
    run(BlendKernelsFor<T>(0), expected.get());
    run(BlendKernelsFor<T>(target), actual.get());
    support::ExpectSameRow(actual.get(), expected.get(), samples,
                           name + (" " + SimdTargetName(target)) + ", " + std::to_string(rows.bands1) +
                               " and " + std::to_string(rows.bands2) + " bands");
}

template <class T>
void CompareSamples(SimdTarget target, const Rows<T>& rows, std::mt19937& random) {
    const auto m1 = SomeMaps(rows.bands1, random);
    const auto m2 = SomeMaps(rows.bands1, random);
    const auto m = SomeMaps(rows.bands1, random);
    for (const SampleBlend blend : blends)
        Compare<T>("samples", target, rows, rows.bands1, [&](const BlendKernels<T>& kernels, T* out) {
            kernels.samples(rows.row1.get(), rows.row2.get(), out, rows.pixels, rows.bands1,
                            BlendMaps<T>(blend, m1, m2, m));
        });
    Compare<T>("largestDifference", target, rows, 1, [&](const BlendKernels<T>& kernels, T* out) {
        kernels.largestDifference(rows.row1.get(), rows.row2.get(), out, rows.pixels, rows.bands1, m[0]);
    });
}

template <class T>
void CompareMasks(SimdTarget target, const Rows<T>& rows, std::mt19937& random) {
    const auto color = support::RandomRow<T>(rows.bands1, random);
    for (const std::uint32_t value : {0u, unsigned{rows.row2[0]}, 0xFFFFu, 0x10000u})
        Compare<T>("mask", target, rows, rows.bands1, [&](const BlendKernels<T>& kernels, T* out) {
            kernels.mask(rows.row1.get(), rows.row2.get(), out, rows.pixels, rows.bands1, value, color.get());
        });
    if (rows.bands1 != 3) return;
    const auto map1 = SomeMaps(1, random);
    const auto map2 = SomeMaps(1, random);
    Compare<T>("addToFirst", target, rows, 3, [&](const BlendKernels<T>& kernels, T* out) {
        std::copy_n(rows.row1.get(), rows.pixels * 3, out);
        kernels.addToFirst(out, rows.row2.get(), rows.pixels, map1[0], map2[0]);
    });
}

template <class T>
void CompareBlends(SimdTarget target, std::size_t pixels, std::mt19937& random) {
    const auto make = [&](std::uint32_t bands1, std::uint32_t bands2) {
        return Rows<T>{support::RandomRow<T>(pixels * bands1, random),
                       support::RandomRow<T>(std::max<std::size_t>(pixels, 1) * bands2, random), bands1,
                       bands2, pixels};
    };
    for (std::uint32_t bands1 = 1; bands1 <= 9; ++bands1) {
        CompareSamples<T>(target, make(bands1, bands1), random);
        CompareMasks<T>(target, make(bands1, 1), random);
        const auto rows = make(bands1, static_cast<std::uint32_t>(1 + random() % 8));
        Compare<T>("merge", target, rows, rows.bands1 + rows.bands2,
                   [&](const BlendKernels<T>& kernels, T* out) {
                       kernels.merge(rows.row1.get(), rows.bands1, rows.row2.get(), rows.bands2, out, pixels);
                   });
    }
}

template <class T>
void CompareConversions(SimdTarget target, const T* in, std::size_t pixels) {
    const auto expected = std::make_unique<T[]>(pixels * 3);
    const auto actual = std::make_unique<T[]>(pixels * 3);
    for (const Conversion conversion :
         {Conversion::RgbToYuv, Conversion::YuvToRgb, Conversion::RgbToHsi, Conversion::HsiToRgb}) {
        ConvertRowFor<T>(conversion, 0)(in, expected.get(), pixels);
        ConvertRowFor<T>(conversion, target)(in, actual.get(), pixels);
        support::ExpectSameRow(actual.get(), expected.get(), pixels * 3,
                               std::to_string(static_cast<int>(conversion)) + " " + SimdTargetName(target));
    }
}

template <class T>
void CompareAll(SimdTarget target) {
    std::mt19937 random(6);
    for (const std::size_t pixels : support::KernelWidths()) {
        CompareBlends<T>(target, pixels, random);
        const auto row = support::RandomRow<T>(pixels * 3, random);
        if (pixels % 3 == 0)
            for (std::size_t i = 0; i < pixels * 3; ++i)
                row[i] = static_cast<T>(row[i] % 3); // near grey, and the samples that RGB to HSI makes
        CompareConversions(target, row.get(), pixels);
    }
}

TEST(BlendSimd, EveryTargetGivesTheBytesOfTheDefinition) {
    for (const SimdTarget target : SimdTargets()) {
        EXPECT_EQ(BlendKernelsFor<unsigned char>(target).merge == BlendKernelsFor<unsigned char>(0).merge,
                  target == 0);
        CompareAll<unsigned char>(target);
        CompareAll<unsigned short>(target);
    }
}

/// Results on whole numbers, halves and tenths, and slightly off them; differences of large terms; divisors
/// that are 0, close to 0 or of both signs.
const LinearMap everydayMaps[] = {
    {1, 0},        {0.1, 0},     {1, 127.5},  {0.5, 0.25},   {-1.0 / 3, 99.5}, {0.0625, 12}, {1.0 / 255, 0},
    {255, 0},      {2, -3},      {-1, 255},   {1, 1e-3},     {30.1, 0},        {30, -0.2},   {-29.9, 7630},
    {0, 5},        {1e-3, -0.0}, {0, 0},      {0.299, 0.5},  {1, -1e-9},       {1e-20, 0},   {1e5, 1e-40},
    {-16.25, 1e3}, {-1, 300},    {1, -255.7}, {1.1, -280.5}, {60.7, 0.1},      {1, 0.2},     {-1, 0.9},
};

/// Blends with the proven error of their filters.
const int exact = FilteredBlend<unsigned char>::exact;
const int notFiltered = -2;
struct Proof {
    SampleBlend blend;
    LinearMap input1, input2, output;
    int error8, error16;
};
const Proof proofs[] = {
    {SampleBlend::Sum, {}, {}, {1, 127.5}, exact, exact},
    {SampleBlend::Product, {}, {}, {1, 127.5}, exact, exact},
    {SampleBlend::Quotient, {}, {}, {1, 127.5}, 7, 2},
    {SampleBlend::Difference, {}, {}, {1, 127.5}, exact, exact},
    {SampleBlend::PlainDifference, {infinity, 0}, {}, {1, 127.5}, exact, exact},
    {SampleBlend::Sum, {1.0 / 3, 0}, {}, {1, 127.5}, 9, 2},
    {SampleBlend::Product, {1.0 / 3, 0}, {}, {1, 127.5}, notFiltered, notFiltered},
    {SampleBlend::Product, {1.0 / 3, 0}, {}, {1.0 / 255, 0}, 3, 2},
    {SampleBlend::Quotient, {}, {1, 1}, {}, 6, 2},
    {SampleBlend::Quotient, {}, {-1, 255.7}, {}, notFiltered, notFiltered},
    {SampleBlend::Quotient, {}, {-1, 263.1}, {}, 257, notFiltered},
    {SampleBlend::Quotient, {0.7, -255.7 * 0.7}, {0.05, 0}, {-1, 0}, 117, 2},
    {SampleBlend::Quotient, {}, {1, -100}, {}, notFiltered, notFiltered},
    {SampleBlend::Sum, {1e10, 0}, {}, {0, 0}, notFiltered, notFiltered},
    {SampleBlend::Difference, {}, {std::nan(""), 0}, {}, notFiltered, notFiltered},
};

/// Every pair of 8-bit samples, and the same number of random 16-bit pairs.
template <class T>
void ComparePairs(const BlendMaps<T>& maps, std::uint32_t bands, std::mt19937& random) {
    constexpr std::size_t pixels = 256 * 256;
    std::vector<T> row1, row2, expected(pixels * bands), actual(pixels * bands);
    for (std::size_t i = 0; i < pixels * bands; ++i) {
        const std::size_t pair = sizeof(T) == 1 ? i / bands : random();
        row1.push_back(static_cast<T>(pair >> 8 * sizeof(T)));
        row2.push_back(static_cast<T>(pair));
    }
    const auto run = [&](SimdTarget target, T* out) {
        BlendKernelsFor<T>(target).samples(row1.data(), row2.data(), out, pixels, bands, maps);
    };
    run(0, expected.data());
    for (const SimdTarget target : SimdTargets()) {
        run(target, actual.data());
        support::ExpectSameRow(actual.data(), expected.data(), actual.size(),
                               std::to_string(static_cast<int>(maps.blend)) + " " + SimdTargetName(target));
    }
}

// Without a proof a blend takes three times as long, which only these errors show.
TEST(BlendSimd, FilteredResultsAreProven) {
    std::mt19937 random(8);
    const auto check = [&](const Proof& proof, auto sample, int error) {
        using T = decltype(sample);
        const BlendMaps<T> maps(proof.blend, {&proof.input1, 1}, {&proof.input2, 1}, {&proof.output, 1});
        EXPECT_EQ(maps.filtered.isPossible ? maps.filtered.error : notFiltered, error);
        ComparePairs(maps, 1, random);
    };
    for (const Proof& proof : proofs) {
        SCOPED_TRACE(&proof - proofs);
        check(proof, static_cast<unsigned char>(0), proof.error8);
        check(proof, static_cast<unsigned short>(0), proof.error16);
    }
}

TEST(BlendSimd, PairsOfSamplesAreBlendedAlike) {
    std::mt19937 random(7);
    constexpr std::uint32_t bands = 3;
    const auto some = [&](bool isOutput) {
        std::vector<LinearMap> ofBands;
        for (std::uint32_t band = 0; band < bands; ++band) {
            const bool isIdentity = isOutput && random() % 2 == 0; // keeps more results in range
            ofBands.push_back(everydayMaps[isIdentity ? 0 : random() % std::size(everydayMaps)]);
        }
        return ofBands;
    };
    for (int i = 0; i < 6; ++i)
        for (const SampleBlend blend : blends) {
            const auto input1 = some(false), input2 = some(false), output = some(true);
            ComparePairs(BlendMaps<unsigned char>(blend, input1, input2, output), bands, random);
            ComparePairs(BlendMaps<unsigned short>(blend, input1, input2, output), bands, random);
        }
}

// Steps of a third from 0 to the largest sample in each band, with values next to both ends, so that
// saturations of one half and colours with equal bands occur.
TEST(BlendSimd, ColoursOfAllKindsAreConvertedAlike) {
    const auto compare = [](auto sample, unsigned step) {
        using T = decltype(sample);
        std::vector<T> colours;
        const auto forEachStep = [&](const auto& use) {
            for (unsigned value = 0; value < std::numeric_limits<T>::max(); value += step)
                use(static_cast<T>(value));
            use(std::numeric_limits<T>::max());
        };
        forEachStep([&](T r) {
            forEachStep([&](T g) { forEachStep([&](T b) { colours.insert(colours.end(), {r, g, b}); }); });
        });
        for (const SimdTarget target : SimdTargets())
            CompareConversions(target, colours.data(), colours.size() / 3);
    };
    compare(static_cast<unsigned char>(0), 3);
    compare(static_cast<unsigned short>(0), 1023);
}

} // namespace
