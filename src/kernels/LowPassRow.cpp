#include "kernels/LowPassRow.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace kernels {

LowPassAxis::LowPassAxis(const GridAxis& axis, double sigma, std::uint32_t coarsePixels,
                         std::uint32_t finePixels) {
    constexpr double cut = 3.0; // standard deviations
    const double fineSigma = sigma / axis.ratio;
    const auto reach = [&](double fine) {
        return static_cast<std::int64_t>(std::clamp(fine, -1.0, static_cast<double>(finePixels)));
    };
    // For a simple ratio only a few phases occur, with the same weights each time.
    using Phase = std::tuple<std::int64_t, std::uint32_t, double>;
    std::map<Phase, std::size_t> made;
    taps.reserve(coarsePixels);
    for (std::uint32_t coarse = 0; coarse < coarsePixels; ++coarse) {
        const GridPosition centre = MultispectralToPan(axis, coarse);
        const double place = static_cast<double>(centre.index) + centre.fraction;
        const std::int64_t first = std::max(reach(std::ceil(place - cut * fineSigma)), std::int64_t{0});
        const std::int64_t end =
            std::min(reach(std::floor(place + cut * fineSigma)) + 1, std::int64_t{finePixels});
        taps.push_back({0, 0, weights.size(), 1});
        if (first >= end) continue;
        taps.back().first = static_cast<std::uint32_t>(first);
        taps.back().count = static_cast<std::uint32_t>(end - first);
        if (axis.denominator != 0) {
            const Phase phase{first - centre.index, taps.back().count, centre.fraction};
            const auto [known, isNew] = made.try_emplace(phase, weights.size());
            taps.back().weights = known->second;
            if (!isNew) continue;
        }
        AddWeights(centre, fineSigma, taps.back());
    }
    for (std::size_t i = taps.size(); i-- > 1;) {
        Taps& of = taps[i - 1];
        const Taps& next = taps[i];
        // Neighbours share weights only if their phase is the same, so the ratio is 1 to a whole number, the
        // step.
        if (of.count == next.count && of.weights == next.weights) of.alike = next.alike + 1;
    }
}

/// Rounds the running sums of the weights. So the weights add up to lowPassOne and none is negative.
void LowPassAxis::AddWeights(const GridPosition& centre, double sigma, const Taps& of) {
    std::vector<double> ends;
    double sum = 0.0;
    for (std::uint32_t i = 0; i < of.count; ++i) {
        const std::int64_t whole = std::int64_t{of.first} + i - centre.index;
        const double distance = (static_cast<double>(whole) - centre.fraction) / sigma;
        sum += std::exp(-0.5 * distance * distance);
        ends.push_back(sum);
    }
    std::uint32_t before = 0;
    for (const double end : ends) {
        const auto rounded = static_cast<std::uint32_t>(std::floor(end / sum * lowPassOne + 0.5));
        weights.push_back(rounded - before);
        before = rounded;
    }
    weights.resize(weights.size() + (lowPassGroup - of.count % lowPassGroup) % lowPassGroup);
}

template <class T>
void WeighRowsScalar(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                     std::size_t columns, std::uint32_t* sums) {
    for (std::size_t i = 0; i < columns; ++i) {
        std::uint32_t sum = 0;
        for (std::size_t row = 0; row < count; ++row)
            sum += rows[row][i] * weights[row];
        sums[i] = sum;
    }
}

void WeighAcrossScalar(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                       const std::uint32_t* down, std::uint32_t downFirst, std::uint64_t* sums) {
    for (std::size_t i = 0; i < columns; ++i) {
        const LowPassAxis::Taps& taps = across.GetTaps(first + static_cast<std::uint32_t>(i));
        sums[i] = taps.count == 0
                      ? 0
                      : WeighColumns(down + (taps.first - downFirst), across.GetWeights(taps), taps.count);
    }
}

template void WeighRowsScalar(const unsigned char* const*, const std::uint32_t*, std::size_t, std::size_t,
                              std::uint32_t*);
template void WeighRowsScalar(const unsigned short* const*, const std::uint32_t*, std::size_t, std::size_t,
                              std::uint32_t*);

} // namespace kernels
