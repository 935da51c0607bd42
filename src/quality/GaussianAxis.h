#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace quality {

/// How the pixels of a coarse grid are made of those of a fine one, along one axis: by a Gaussian whose
/// modulation transfer at the coarse grid's Nyquist frequency is given.
class GaussianAxis {
public:
    /// A coarse pixel: where its centre lies among the fine pixels, of which pixel i reaches from i to i + 1,
    /// and those that it may be made of.
    struct Target {
        double centre = 0.0;
        std::int64_t begin = 0, end = 0;
    };
    /// The fine pixels of one coarse pixel; none when it would take others than it may be made of.
    struct Taps {
        std::size_t first = 0;
        std::size_t count = 0;
        std::size_t weights = 0; ///< position of the first of its weights
    };

    /// `step` is the coarse pixel's width in fine pixels; one transfer per band, above 0 and below 1, or one
    /// for all. All bands take the same fine pixels: up to 3.5 standard deviations of the widest.
    GaussianAxis(std::span<const Target> targets, double step, std::span<const double> transfers);

    [[nodiscard]] const std::vector<Taps>& GetTaps() const { return taps; }
    /// The first of all fine pixels that are taken, and the one after the last; 0 and 0 where none is.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> GetReach() const;
    /// True when all bands have the same weights.
    [[nodiscard]] bool IsOneForAll() const { return weights.size() == 1; }
    /// Those of a band add up to 1.
    [[nodiscard]] const double* GetWeights(const Taps& of, std::size_t band) const {
        return weights[weights.size() == 1 ? 0 : band].data() + of.weights;
    }

    /// Pixels of an axis from 0 on, `step` fine pixels wide, the corner of the first at `corner`.
    [[nodiscard]] static std::vector<Target> Regular(std::size_t count, double step, double corner,
                                                     std::int64_t finePixels);

private:
    std::vector<Taps> taps;
    std::vector<std::vector<double>> weights; ///< a band, or of all
};

/// The standard deviation of a Gaussian with this transfer at the Nyquist frequency, in pixels.
[[nodiscard]] double SigmaOf(double transfer);

} // namespace quality
