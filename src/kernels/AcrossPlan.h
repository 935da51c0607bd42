#pragma once

#include "kernels/GridAxis.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

/// Interpolation across in vectors of any width.
namespace kernels {

/// How every vector of output samples of a row is made from the samples of a source row. The samples of the
/// first taps lie in one vector of the source; those of each next tap lie one pixel further. V is the type of
/// the numbers in the source row and of the weights.
template <class V>
struct AcrossPlan {
    using Lane = std::conditional_t<sizeof(V) == 8, std::int64_t, std::int32_t>;

    std::uint32_t lanes = 0; ///< samples per vector
    std::uint32_t bands = 0;
    std::uint32_t taps = 0;      ///< pixels of the source for each of the output
    std::int64_t firstPixel = 0; ///< first pixel of the source row that is needed; may lie before the image
    std::uint32_t pixels = 0;    ///< number of pixels needed from there on
    struct Vector {
        std::uint32_t out = 0;    ///< its first output sample
        std::uint32_t source = 0; ///< where the vector in the source begins, in samples from firstPixel
    };
    std::vector<Vector> vectors; ///< vector i uses pattern i modulo the number of patterns
    std::vector<Lane> lookups;   ///< per pattern: the source lane for every lane
    std::vector<V> weights;      ///< per pattern: the weights of the first taps of every lane, then of the
                                 ///< second, ...
};

/// The pixels around a position that are weighted, and how.
template <class V>
struct AcrossTaps {
    std::uint32_t before = 0; ///< pixels before that at or before the position
    std::uint32_t count = 0;
    std::function<void(const GridPosition&, V*)> weigh; ///< writes `count` weights
};

/// A plan for the columns of a window, for a target with this many lanes. Empty for 0 lanes, for rows of
/// 2^32 samples or more, and if the columns lie so far apart that a vector of output needs more than one
/// vector of the source.
template <class V>
[[nodiscard]] std::optional<AcrossPlan<V>> MakeAcrossPlan(std::span<const GridPosition> columns,
                                                          std::uint32_t bands, std::uint32_t lanes,
                                                          const AcrossTaps<V>& taps);

/// The part of a source row that a plan needs, with replicated edges and `lanes` more numbers. `rows` more
/// than one make room for such rows after it.
template <class V>
class PlannedRow {
public:
    PlannedRow(const AcrossPlan<V>& plan, std::int64_t sourcePixels, std::size_t rows = 1)
        : bands(plan.bands), end(std::size_t{plan.pixels} * plan.bands), numbers(rows * (end + plan.lanes)) {
        const auto within = [&](std::int64_t pixel) {
            return std::clamp<std::int64_t>(pixel, 0, sourcePixels - 1);
        };
        first = static_cast<std::uint32_t>(within(plan.firstPixel));
        const std::int64_t last = within(plan.firstPixel + plan.pixels - 1);
        count = static_cast<std::size_t>(last - first + 1) * bands;
        before = bands * static_cast<std::size_t>(std::clamp<std::int64_t>(first - plan.firstPixel, 0,
                                                                           std::int64_t{plan.pixels} - 1));
    }

    /// The first pixel of the source row that is read.
    [[nodiscard]] std::uint32_t GetFirstPixel() const { return first; }
    /// The number of samples read from there on.
    [[nodiscard]] std::size_t GetSamples() const { return count; }

    /// Lets `fill` write the numbers of these samples. Returns the row for the plan.
    template <class Fill>
    V* Make(const Fill& fill) {
        fill(numbers.data() + before);
        for (std::size_t i = before; i-- > 0;)
            numbers[i] = numbers[i + bands];
        for (std::size_t i = before + count; i < end; ++i)
            numbers[i] = numbers[i - bands];
        return numbers.data();
    }

private:
    std::size_t bands, end;
    std::vector<V> numbers;
    std::uint32_t first = 0;
    std::size_t count = 0;
    std::size_t before = 0; ///< numbers before those read
};

} // namespace kernels
