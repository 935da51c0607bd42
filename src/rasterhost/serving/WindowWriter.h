#pragma once

#include "hostkit/StridedCopy.h"
#include "imagery/OutputRow.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rasterhost {

/// Where the samples of a window go, in the dataset's sample type. The memory is the caller's; strides are in
/// bytes.
struct WindowTarget {
    unsigned char* samples = nullptr; ///< first pixel of the first requested band
    std::ptrdiff_t pixelStride = 0, rowStride = 0, bandStride = 0;
    /// One byte per pixel, rows packed: 255 with data, 0 without; null when not wanted.
    unsigned char* mask = nullptr;
};

/// Writes fused rows, converted to rows of the file, into the requested bands of a target.
template <class T>
class WindowWriter {
public:
    WindowWriter(const imagery::OutputRules& outputRules, std::span<const std::uint32_t> wantedBands,
                 const WindowTarget& windowTarget, std::uint32_t windowColumns)
        : rules(outputRules), bands(wantedBands), target(windowTarget), columns(windowColumns),
          row(std::size_t{columns} * rules.GetFileBands()), tally(rules.bands) {}

    /// `fused` is null when no pixel has data, `valid` when all have.
    void Put(std::uint32_t number, const void* fused, const unsigned char* valid) {
        if (!bands.empty()) PutSamples(number, fused, valid);
        if (!target.mask) return;
        unsigned char* mask = target.mask + std::size_t{number} * columns;
        for (std::uint32_t column = 0; column < columns; ++column)
            mask[column] = !valid || valid[column] != 0 ? 0xFF : 0;
    }

private:
    void PutSamples(std::uint32_t number, const void* fused, const unsigned char* valid) {
        unsigned char* first = target.samples + static_cast<std::ptrdiff_t>(number) * target.rowStride;
        T* made = IsAsMade(first) ? reinterpret_cast<T*>(first) : row.data();
        imagery::MakeOutputRow(static_cast<const T*>(fused), valid, columns, rules, made, tally);
        for (std::size_t i = 0; made == row.data() && i < bands.size(); ++i) {
            const auto* in = reinterpret_cast<const unsigned char*>(row.data() + bands[i]);
            hostkit::CopyStrided<T>(in, static_cast<std::ptrdiff_t>(rules.GetFileBands() * sizeof(T)),
                                    first + static_cast<std::ptrdiff_t>(i) * target.bandStride,
                                    target.pixelStride, columns);
        }
    }

    /// True when the row can be made directly in the target.
    [[nodiscard]] bool IsAsMade(const unsigned char* first) const {
        const auto size = static_cast<std::ptrdiff_t>(sizeof(T));
        bool isAll = bands.size() == rules.GetFileBands();
        for (std::uint32_t band = 0; isAll && band < bands.size(); ++band)
            isAll = bands[band] == band;
        return isAll && target.bandStride == size &&
               target.pixelStride == size * static_cast<std::ptrdiff_t>(bands.size()) &&
               reinterpret_cast<std::uintptr_t>(first) % sizeof(T) == 0;
    }

    const imagery::OutputRules& rules;
    std::span<const std::uint32_t> bands;
    const WindowTarget& target;
    std::uint32_t columns;
    std::vector<T> row;
    imagery::LimitTally tally;
};

} // namespace rasterhost
