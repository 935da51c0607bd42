#include "kernels/FilteredBlend.h"

#include "kernels/BlendRow.h"
#include "kernels/FixedPoint.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kernels {

namespace {

/// Limits that keep float and double from overflowing, and divisors normal.
constexpr double mostOfMap = 1e9;
constexpr double leastDivisor = 1e-30;

/// The maps of one band.
struct Maps {
    LinearMap input1, input2, output;
};

template <class T>
struct Bounds {
    static constexpr double mostSample = std::numeric_limits<T>::max();

    /// Up to this magnitude few results are uncertain, and the error of the definition is negligible.
    static constexpr double mostMagnitude = sizeof(T) == 1 ? 1 << 14 : 1 << 30;

    /// The largest magnitude of the terms of m. |m(x)| is no larger, and the rounding error is in proportion
    /// to it.
    static double Largest(const LinearMap& m) { return mostSample * std::abs(m.gain) + std::abs(m.offset); }

    /// The sum of the magnitudes, in samples, that the rounding errors of a blend are in proportion to;
    /// infinite if the filter cannot be used. Each coefficient, product and sum errs by at most epsilon / 2
    /// of its magnitude. A product of two inputs has the most errors: three for each input, one of its own
    /// and the last sum, together 4 epsilon of this magnitude. Its offset has fewer, a sum of two inputs
    /// four, a quotient seven.
    static double Magnitude(SampleBlend blend, const Maps& maps) {
        const auto& [m1, m2, m] = maps;
        const double gain = std::abs(m.gain);
        const double offset = std::abs(m.offset);
        if (blend == SampleBlend::Product) return gain * Largest(m1) * Largest(m2) + offset;
        if (blend != SampleBlend::Quotient) return gain * (Largest(m1) + Largest(m2)) + offset;
        // A map's error exceeds the proportion to its result only if its terms cancel.
        const auto cancels = [](const LinearMap& map) {
            return map.gain != 0 && map.offset != 0 && std::signbit(map.gain) != std::signbit(map.offset);
        };
        const double ofMost = m2(mostSample);
        if (cancels(m2) && std::signbit(m2.offset) != std::signbit(ofMost)) return INFINITY;
        const double least = // of the divisors other than 0
            m2.offset == 0 ? std::abs(m2.gain) : std::min(std::abs(m2.offset), std::abs(ofMost));
        if (least < leastDivisor) return INFINITY;
        const double ofDividend = cancels(m1) ? gain * Largest(m1) / least : 0;
        return (mostSample + 1 + offset) * (cancels(m2) ? Largest(m2) / least : 1) + ofDividend;
    }

    /// The error of a result in steps of 1 / fixedOne, before the last sum makes it whole. The unit in the
    /// offset adds half a step to each of up to three sums before it.
    static int Error(double magnitude) {
        constexpr double epsilon = std::numeric_limits<typename FilteredBlend<T>::Real>::epsilon();
        return static_cast<int>(magnitude * 4 * epsilon * fixedOne) + 2;
    }

    /// Whether neither filter nor definition rounds any result in the range. If all maps are multiples of
    /// 1/16, sums are multiples of 2^-8 and products of 2^-12. Sums within these limits need fewer bits than
    /// Real has; so do products up to four times the largest offset.
    static bool RoundsNothing(SampleBlend blend, const Maps& maps, double magnitude) {
        const auto& [m1, m2, m] = maps;
        const auto isMultiple = [](double x) { return std::nearbyint(x * 16) == x * 16; };
        for (const LinearMap& map : {m1, m2, m})
            if (!isMultiple(map.gain) || !isMultiple(map.offset)) return false;
        if (blend == SampleBlend::Quotient) return false;
        if (blend != SampleBlend::Product) return magnitude <= mostMagnitude;
        return std::abs(m.gain) * Largest(m1) <= mostMagnitude && Largest(m2) <= mostMagnitude &&
               std::abs(m.offset) <= mostMagnitude / 16;
    }
};

bool IsModerate(const LinearMap& m) {
    return std::abs(m.gain) <= mostOfMap && std::abs(m.offset) <= mostOfMap;
}

} // namespace

template <class T>
FilteredBlend<T>::FilteredBlend(SampleBlend blend, std::span<const LinearMap> ofInput1,
                                std::span<const LinearMap> ofInput2, std::span<const LinearMap> ofOutput) {
    const std::size_t bands = ofOutput.size();
    const bool isDifference = blend == SampleBlend::Difference || blend == SampleBlend::PlainDifference;
    const bool isSum = isDifference || blend == SampleBlend::Sum;
    const auto mapsOf = [&](std::size_t band) {
        if (blend == SampleBlend::PlainDifference) return Maps{{}, {}, ofOutput[band]};
        return Maps{ofInput1[band], ofInput2[band], ofOutput[band]};
    };
    for (std::size_t band = 0; band < bands; ++band) {
        const Maps maps = mapsOf(band);
        if (!IsModerate(maps.input1) || !IsModerate(maps.input2) || !IsModerate(maps.output)) return;
        const double magnitude = Bounds<T>::Magnitude(blend, maps);
        if (Bounds<T>::RoundsNothing(blend, maps, magnitude)) continue;
        if (!(magnitude <= Bounds<T>::mostMagnitude)) return;
        error = std::max(error, Bounds<T>::Error(magnitude));
    }
    for (std::size_t i = 0; bands != 0 && i < bands + mostLanesOfMaps - 1; ++i) {
        const auto [m1, m2, m] = mapsOf(i % bands);
        const double gain = m.gain * fixedOne;
        const double last = (m.offset + (isDifference ? 0.5 : 0)) * fixedOne + FixedOffset<Real>(error);
        const double gainOf2 = isDifference ? -gain : gain;
        gain1.push_back(static_cast<Real>(m1.gain * gain));
        offset1.push_back(static_cast<Real>(m1.offset * gain));
        gain2.push_back(static_cast<Real>(isSum ? m2.gain * gainOf2 : m2.gain));
        offset2.push_back(static_cast<Real>(m2.offset));
        offset.push_back(static_cast<Real>(isSum ? m1.offset * gain + m2.offset * gainOf2 + last : last));
    }
    isPossible = bands != 0;
}

template struct FilteredBlend<unsigned char>;
template struct FilteredBlend<unsigned short>;

} // namespace kernels
