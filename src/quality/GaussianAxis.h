#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace quality {

/// How the pixels of a coarse grid are made from those of a fine one, along one axis: by a Gaussian with a
/// given modulation transfer at the coarse grid's Nyquist frequency.
class GaussianAxis {
public:
    /// A coarse pixel: the position of its centre among the fine pixels, where pixel i extends from i to i +
    /// 1, and the fine pixels that it may use.
    struct Target {
        double centre = 0.0;
        std::int64_t begin = 0, end = 0;
    };
    /// The fine pixels of one coarse pixel; none if it would need others than it may use.
    struct Taps {
        std::size_t first = 0;
        std::size_t count = 0;
        std::size_t weights = 0; ///< index of its first weight
    };

    /// `step` is the width of a coarse pixel in fine pixels. One transfer per band, above 0 and below 1, or
    /// one for all. All bands use the same fine pixels: up to 3.5 standard deviations of the widest Gaussian.
    GaussianAxis(std::span<const Target> targets, double step, std::span<const double> transfers);

    [[nodiscard]] const std::vector<Taps>& GetTaps() const { return taps; }
    /// First and end of all fine pixels that are used; 0 and 0 if none is.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> GetReach() const;
    /// True when all bands have the same weights.
    [[nodiscard]] bool IsOneForAll() const { return weights.size() == 1; }
    /// The weights of a band; they add up to 1.
    [[nodiscard]] const double* GetWeights(const Taps& of, std::size_t band) const {
        return weights[weights.size() == 1 ? 0 : band].data() + of.weights;
    }

    /// The pixels of an axis from 0 on, `step` fine pixels wide, with the corner of the first at `corner`.
    [[nodiscard]] static std::vector<Target> Regular(std::size_t count, double step, double corner,
                                                     std::int64_t finePixels);

private:
    std::vector<Taps> taps;
    std::vector<std::vector<double>> weights; ///< one per band, or one for all bands
};

/// The standard deviation, in pixels, of a Gaussian with this transfer at the Nyquist frequency.
[[nodiscard]] double SigmaOf(double transfer);

} // namespace quality
