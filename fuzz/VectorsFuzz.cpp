// Every vector target gives the bytes of the scalar definition, for any samples and weights.
#include "Input.h"

#include "kernels/BilinearRow.h"
#include "kernels/CubicResampler.h"
#include "kernels/GapRow.h"
#include "kernels/InjectionRow.h"
#include "kernels/LimitedRow.h"
#include "kernels/LowPassRow.h"
#include "kernels/MappedRow.h"
#include "kernels/MaskedRow.h"
#include "pansharp/Methods.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <vector>

using namespace kernels;
using fuzz::Require;

namespace {

constexpr double awkward[] = {0.0,
                              -0.0,
                              0.5,
                              1.0 / 3,
                              0.25,
                              1e-300,
                              -1e300,
                              1e308,
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::denorm_min(),
                              0.5 + 1e-16,
                              0.49999999999999994,
                              255.0,
                              65535.0,
                              1.0 / 255,
                              2147483648.0,
                              -32768.5,
                              1e5};

/// Samples from the input as far as it goes, then by a rule. If there is a period, they repeat after it.
template <class T>
std::unique_ptr<T[]> Samples(fuzz::Input& input, std::size_t count, std::size_t period = 0) {
    auto row = std::make_unique<T[]>(count);
    for (std::size_t i = 0; i < count; ++i)
        row[i] = period != 0 && i >= period ? row[i - period]
                 : input.IsEmpty()          ? static_cast<T>((i > 2 ? row[i - 3] : 11) * 77 + i)
                                            : input.Take<T>();
    return row;
}

double Weight(fuzz::Input& input) {
    if (input.Flag()) return input.Pick(awkward);
    return input.Flag() ? input.Take<double>() : input.Take<std::int16_t>() / 1024.0;
}

template <class T>
void Fuse(fuzz::Input& input, const PXL::Method& method, const std::vector<SimdTarget>& targets) {
    const std::size_t pixels = input.Flag() ? input.Below(200) : 120 + input.Take<std::uint16_t>() % 1500;
    const std::uint32_t msBands = method.description.minimumBands + input.Below(10);
    const std::uint32_t outputBands = 1 + input.Below(msBands);
    std::vector<double> weights(msBands), gains(msBands), ratioGains(msBands);
    for (auto* values : {&weights, &gains, &ratioGains})
        for (double& value : *values)
            value = Weight(input);
    const InjectionGains injection{gains.data(), ratioGains.data(), Weight(input), Weight(input)};
    const bool isApart = msBands > 1 && input.Flag();
    // Pixels repeat, so that many of a long row are uncertain, and are fused again before the row ends.
    const std::size_t period = input.Flag() ? 1 + input.Below(32) : 0;
    const auto pan = Samples<T>(input, pixels, period);
    const auto last = Samples<T>(input, isApart ? pixels : 0, period);
    const auto ms = Samples<T>(input, pixels * (msBands - isApart), period * (msBands - isApart));
    const FusionRows<T> rows{ms.get(), pan.get(), isApart ? last.get() : nullptr};
    const BandWeights bands{weights.data(), msBands, outputBands, &injection};
    const std::size_t samples = pixels * outputBands;
    const auto expected = std::make_unique<T[]>(samples);
    method.RowFor<T>(0)(rows, expected.get(), pixels, bands);
    for (const SimdTarget target : targets) {
        if (target == 0) continue;
        const auto actual = std::make_unique<T[]>(samples);
        method.RowFor<T>(target)(rows, actual.get(), pixels, bands);
        Require(std::memcmp(expected.get(), actual.get(), samples * sizeof(T)) == 0,
                SimdTargetName(target).c_str());
    }
}

template <class T>
void Down(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::size_t count = input.Take<std::uint8_t>();
    const double fraction = input.Take<std::uint16_t>() / 65535.0;
    std::uint32_t steps = input.Pick(wholeSteps);
    const std::uint32_t across = input.Pick(wholeSteps);
    if (!AreWhole(across, steps)) steps = across;
    const std::uint32_t part = input.Below(steps);
    const auto upper = Samples<T>(input, count);
    const auto lower = Samples<T>(input, count);
    const auto doubles = [&](const T* row) {
        std::vector<double> values(count);
        for (std::size_t i = 0; i < count; ++i) // between a sample and its neighbour, as within a row
            values[i] = row[i] * (1.0 - fraction) + row[(i + 1) % count] * fraction;
        return values;
    };
    const auto wholes = [&](const T* row) {
        auto values = std::make_unique<WholeOf<T>[]>(count);
        for (std::size_t i = 0; i < count; ++i)
            values[i] = static_cast<WholeOf<T>>(row[i] * across);
        return values;
    };
    const auto upper1 = doubles(upper.get());
    const auto lower1 = doubles(lower.get());
    const auto upper2 = wholes(upper.get());
    const auto lower2 = wholes(lower.get());
    const auto expected = std::make_unique<T[]>(count);
    const auto actual = std::make_unique<T[]>(count);
    for (const SimdTarget target : targets) {
        DownRowScalar<T>(upper1.data(), lower1.data(), fraction, count, expected.get());
        DownRowFor<T>(target)(upper1.data(), lower1.data(), fraction, count, actual.get());
        Require(std::memcmp(expected.get(), actual.get(), count * sizeof(T)) == 0, "blending down in double");
        DownRowWholeScalar<T>(upper2.get(), lower2.get(), part, steps, across, count, expected.get());
        DownRowWholeFor<T>(target)(upper2.get(), lower2.get(), part, steps, across, count, actual.get());
        Require(std::memcmp(expected.get(), actual.get(), count * sizeof(T)) == 0, "blending down in whole");
    }
}

/// A row between four rows of a coarser source, by cubic convolution.
template <class T>
void Cubic(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::uint32_t bands = 1 + input.Below(17), pixels = 1 + input.Below(40);
    const std::uint32_t acrossSteps = input.Pick(wholeSteps), downSteps = input.Pick(wholeSteps);
    const bool isAwkward = input.Flag();
    const double ratio = isAwkward ? input.Take<std::uint16_t>() / 65536.0 + 1e-5 : 1.0 / acrossSteps;
    const GridAxis axis = MakeGridAxis(ratio, input.Below(48) / 48.0);
    const GridPosition row{0, static_cast<double>(input.Below(downSteps)) / downSteps};
    std::vector<GridPosition> columns;
    std::vector<CubicTap> taps;
    for (std::int64_t i = 0, count = 1 + input.Take<std::uint8_t>(); i < count; ++i) {
        columns.push_back(PanToMultispectral(axis, i - 3));
        taps.push_back(MakeCubicTap(columns.back(), pixels));
        for (std::uint32_t& at : taps.back().at)
            at *= bands;
    }
    const CubicTap down = MakeCubicTap(row, 4);
    const std::size_t samples = columns.size() * bands, sourceSamples = std::size_t{pixels} * bands;
    std::array<std::unique_ptr<T[]>, 4> source;
    std::array<std::vector<double>, 4> across;
    for (std::size_t i = 0; i < source.size(); ++i) {
        source[i] = Samples<T>(input, sourceSamples);
        across[i].resize(samples);
        CubicAcross(source[i].get(), taps.data(), taps.size(), bands, across[i].data());
    }
    const auto expected = std::make_unique<T[]>(samples), actual = std::make_unique<T[]>(samples);
    CubicDown({across[0].data(), across[1].data(), across[2].data(), across[3].data()}, down.weights, samples,
              expected.get());
    for (const SimdTarget target : targets) {
        const auto resampler = MakeCubicResampler<T>(columns, pixels, bands, WholeSteps({&row, 1}), target);
        if (!resampler) continue;
        const std::size_t first = std::size_t{resampler->GetFirstPixel()} * bands;
        resampler->Make({source[0].get() + first, source[1].get() + first, source[2].get() + first,
                         source[3].get() + first},
                        down, actual.get());
        Require(std::memcmp(expected.get(), actual.get(), samples * sizeof(T)) == 0, "cubic sampling");
    }
}

/// Limits for the samples of pixels, with and without a last band, and bits for their mask.
template <class T>
void Limit(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::uint32_t bands = 1 + input.Below(9);
    const std::size_t pixels = input.Take<std::uint8_t>(), at = input.Below(64), samples = pixels * bands;
    const SampleLimits<T> limits{input.Take<T>(), input.Take<T>(), input.Take<T>()};
    const auto valid = Samples<unsigned char>(input, pixels);
    for (std::size_t i = 0; i < pixels; ++i)
        valid[i] &= 0x41; // often 0
    const auto row = Samples<T>(input, samples);
    const GappedRow<T> gapped{row.get(), valid.get(), pixels, bands, input.Take<T>()};
    const GappedRow<T> some{row.get(), input.Flag() ? valid.get() : nullptr, pixels, bands, gapped.none};
    const std::size_t words = (pixels + gapBits - 1) / gapBits;
    std::vector<std::uint32_t> bits(words);
    const auto check = [&](const auto& given, auto definition, auto tried) {
        std::vector<T> expected(at + samples + pixels), actual = expected;
        const bool isAtEnd = definition(given, limits, expected.data() + at);
        Require(tried(given, limits, actual.data() + at) == isAtEnd, "samples at the limits");
        Require(expected == actual, "limits");
    };
    const GapCount gaps = GapRowScalar(valid.get(), pixels, bits.data());
    for (const SimdTarget target : targets) {
        const LimitRows<T> rows = LimitRowsFor<T>(target, input.Flag());
        check(gapped, &LimitGappedScalar<T>, rows.gapped);
        check(some, &LimitSpreadScalar<T>, rows.spread);
        std::vector<std::uint32_t> found(words);
        const GapCount count = GapRowFor(target)(valid.get(), pixels, found.data());
        Require(count.pixels == gaps.pixels && count.runs == gaps.runs, "number of gaps");
        Require(bits == found, "gaps");
    }
}

/// Runs of columns next to gaps.
template <class T>
void Mask(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::uint32_t across = 2U << input.Below(4), down = 2U << input.Below(4);
    const bool isExact = input.Flag();
    const std::uint32_t bands = isExact ? 4 : 1 + input.Below(10), pixels = 1 + input.Below(40);
    const auto upper = Samples<T>(input, std::size_t{pixels} * bands);
    const auto lower = Samples<T>(input, std::size_t{pixels} * bands);
    const auto fraction = [&](std::uint32_t steps) {
        return isExact ? (1.0 + input.Below(steps - 1)) / steps
                       : (1 + input.Below(200)) / (input.Flag() ? 201.0 : 256.0);
    };
    const MaskedSource<T> source{upper.get(), lower.get(), fraction(down), bands};
    std::vector<MaskedRun> runs;
    std::uint32_t columns = 0;
    for (std::uint32_t pixel = 0; pixel < pixels; ++pixel) {
        const std::uint32_t first = columns + input.Below(3), has = 1 + input.Below(15);
        columns = first + 1 + input.Below(12);
        const std::uint32_t next = std::min(pixel + 1, pixels - 1);
        const std::array<bool, 4> hasData{(has & 1) != 0, (has & 2) != 0, (has & 4) != 0, (has & 8) != 0};
        runs.push_back({first, columns, pixel * bands, next * bands, hasData});
    }
    std::vector<double> fractions(columns + maskedPadding);
    for (double& of : fractions)
        of = fraction(across);
    const std::vector<float> exact(fractions.begin(), fractions.end());
    const MaskedFractions places{fractions.data(), isExact ? exact.data() : nullptr};
    std::vector<T> expected(std::size_t{columns} * bands, 9);
    MaskedRowScalar<T>(source, runs, places, expected.data());
    for (const SimdTarget target : targets) {
        std::vector<T> actual(expected.size(), 9);
        MaskedRowFor<T>(target)(source, runs, places, actual.data());
        Require(expected == actual, "samples next to gaps");
    }
}

/// Lines through a source, within it and beyond its edges. Some positions are next to those of ties.
template <class T>
void Map(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::uint32_t bands = input.Flag() ? 4 : 1 + input.Below(10);
    const std::uint32_t columns = 1 + input.Below(250), height = 1 + input.Below(120), gap = input.Below(6);
    const std::size_t stride = std::size_t{columns} * bands + gap, all = stride * height - gap;
    const auto samples = Samples<T>(input, all);
    const MappedSource<T> source{samples.get(), stride * sizeof(T), all * sizeof(T), 0, 0, columns, height,
                                 bands};
    const auto place = [&](std::uint32_t size) {
        const double at = input.Take<std::uint16_t>() % (8 * (size + 2)) / 8.0 - 1.5;
        return at + (input.Flag() ? input.Take<std::int8_t>() * 0x1p-28 : 0.0);
    };
    const double shrink = input.Flag() ? 1.0 : 2.0;
    const auto grown = [&](double at) { return shrink == 1.0 ? at : (at + 0.5) * shrink - 0.5; };
    std::vector<MappedLine> lines;
    std::size_t pixels = 0;
    for (std::uint32_t line = 0, count = 1 + input.Below(3); line < count; ++line) {
        const std::uint32_t any = 1 + input.Take<std::uint16_t>() % 700, length = input.Flag() ? 256 : any;
        const std::uint32_t start = input.Below(length);
        lines.push_back({grown(place(columns)), grown(place(columns)), grown(place(height)),
                         grown(place(height)), static_cast<double>(start), 1.0, static_cast<double>(length),
                         length - start, shrink});
        pixels += length - start;
    }
    MappedPath path{lines.data()};
    const std::size_t skipped = input.Below(static_cast<std::uint32_t>(lines.front().pixels));
    if (skipped > 0) path.Next(skipped);
    pixels -= skipped;
    std::vector<T> expected(pixels * bands), actual(expected.size());
    const auto check = [&](MappedRow<T> definition, MappedRow<T> tried) {
        definition(source, path, pixels, expected.data());
        tried(source, path, pixels, actual.data());
        Require(expected == actual, "samples along lines");
    };
    for (const SimdTarget target : targets) {
        check(MappedRowsScalar<T>().bilinear, MappedRowsFor<T>(target).bilinear);
        check(MappedRowsScalar<T>().cubic, MappedRowsFor<T>(target).cubic);
    }
}

/// Sums down of rows, and sums across in a window of an axis.
template <class T>
void LowPass(fuzz::Input& input, const std::vector<SimdTarget>& targets) {
    const std::uint32_t columns = input.Take<std::uint16_t>() % 700;
    std::vector<std::unique_ptr<T[]>> samples(1 + input.Below(40));
    std::vector<const T*> rows;
    std::vector<std::uint32_t> weights;
    std::uint32_t left = lowPassOne;
    for (auto& row : samples) {
        row = Samples<T>(input, columns);
        rows.push_back(row.get());
        weights.push_back(input.Take<std::uint16_t>() % (left + 1));
        left -= weights.back();
    }
    const double ratio =
        input.Flag() ? input.Take<std::uint16_t>() / 65536.0 + 0.01 : 1.0 / (1 + input.Below(8));
    const std::uint32_t coarsePixels = 1 + columns, first = input.Take<std::uint16_t>() % coarsePixels;
    const auto finePixels = static_cast<std::uint32_t>(coarsePixels / ratio * (1 + input.Below(9)) / 8) + 1;
    const LowPassAxis axis(MakeGridAxis(ratio, input.Take<std::int16_t>() / 480.0),
                           0.05 + input.Below(200) / 100.0, coarsePixels, finePixels);
    const std::uint32_t downFirst = axis.GetTaps(first).first;
    const auto down = Samples<std::uint32_t>(input, finePixels - downFirst + lowPassGroup);
    for (std::uint32_t i = 0; i < finePixels - downFirst; ++i)
        down[i] >>= 2;
    std::vector<std::uint32_t> expectedDown(columns), actualDown(columns);
    std::vector<std::uint64_t> expected(coarsePixels - first), actual(expected.size());
    WeighRowsScalar<T>(rows.data(), weights.data(), rows.size(), columns, expectedDown.data());
    WeighAcrossScalar(axis, first, expected.size(), down.get(), downFirst, expected.data());
    for (const SimdTarget target : targets) {
        WeighRowsFor<T>(target)(rows.data(), weights.data(), rows.size(), columns, actualDown.data());
        Require(expectedDown == actualDown, "sums down");
        WeighAcrossFor(target)(axis, first, actual.size(), down.get(), downFirst, actual.data());
        Require(expected == actual, "sums across");
    }
}

template <class T>
void Compare(fuzz::Input& input, std::uint32_t which) {
    static const std::vector<SimdTarget> targets = SimdTargets();
    if (which < PXL::Methods().size())
        Fuse<T>(input, PXL::Methods()[which], targets);
    else if (which == PXL::Methods().size())
        Down<T>(input, targets);
    else if (which == PXL::Methods().size() + 1)
        Cubic<T>(input, targets);
    else if (which == PXL::Methods().size() + 2)
        Limit<T>(input, targets);
    else if (which == PXL::Methods().size() + 3)
        Mask<T>(input, targets);
    else if (which == PXL::Methods().size() + 4)
        Map<T>(input, targets);
    else
        LowPass<T>(input, targets);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto kinds = static_cast<std::uint32_t>(PXL::Methods().size()) + 6;
    const std::uint32_t which = input.Below(2 * kinds);
    if (which < kinds)
        Compare<unsigned char>(input, which);
    else
        Compare<unsigned short>(input, which - kinds);
    return 0;
}
