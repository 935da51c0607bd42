#include "imagery/DegradedRows.h"

#include <algorithm>
#include <cmath>

namespace imagery {

using KOVA::Tessara::Pixmere::RasterInfo;
using quality::GaussianAxis;

/// Has the fine rows `first` to `end` - 1 in `held`; reads those that are not there from the last time.
bool DegradedRows::Hold(std::size_t first, std::size_t end, Status& status) {
    const std::size_t columns = fine.GetColumns(), length = columns * fine.GetBands();
    const auto drop = [](auto& rows, std::size_t count) {
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count));
    };
    if (first < heldFirst || first > heldEnd) heldFirst = heldEnd = first;
    held.samples.resize((heldEnd - heldFirst) * length);
    held.valid.resize((heldEnd - heldFirst) * columns);
    drop(held.samples, (first - heldFirst) * length);
    drop(held.valid, (first - heldFirst) * columns);
    heldFirst = first;
    if (heldEnd >= end) return true;
    if (!fine.Read(static_cast<std::uint32_t>(heldEnd), static_cast<std::uint32_t>(end), fresh, status))
        return false;
    held.samples.insert(held.samples.end(), fresh.samples.begin(), fresh.samples.end());
    held.valid.insert(held.valid.end(), fresh.valid.begin(), fresh.valid.end());
    heldEnd = end;
    return true;
}

/// The rows of one coarse row become one with the columns of the fine image.
void DegradedRows::MakeDown(const GaussianAxis::Taps& taps) {
    constexpr std::size_t pixelsAtOnce = 256; // a nearer cache holds their sums
    const std::size_t bands = GetBands(), columns = fine.GetColumns(), start = taps.first - heldFirst;
    narrowed.assign(columns * bands, 0.0);
    narrowedMask.assign(columns, 1);
    for (std::size_t from = 0; from < columns; from += pixelsAtOnce) {
        const std::size_t pixels = std::min(pixelsAtOnce, columns - from);
        double* const sums = narrowed.data() + from * bands;
        unsigned char* const mask = narrowedMask.data() + from;
        for (std::size_t i = 0; i < taps.count; ++i) {
            const std::size_t at = (start + i) * columns + from;
            const unsigned char* valid = held.valid.data() + at;
            const unsigned short* samples = held.samples.data() + at * bands;
            for (std::size_t pixel = 0; pixel < pixels; ++pixel)
                mask[pixel] = valid[pixel] != 0 ? mask[pixel] : 0;
            if (down.IsOneForAll()) {
                const double weight = down.GetWeights(taps, 0)[i];
                addWeighted(samples, weight, pixels * bands, sums);
            } else
                for (std::size_t band = 0; band < bands; ++band) {
                    const double weight = down.GetWeights(taps, band)[i];
                    for (std::size_t sample = band; sample < pixels * bands; sample += bands)
                        sums[sample] += weight * samples[sample];
                }
        }
    }
}

/// Sums of the columns that a coarse pixel is made of; its bands are as many as a compiler knows, or `count`.
template <std::size_t known>
void DegradedRows::SumAcross(const GaussianAxis::Taps& taps, std::size_t count, double* out) const {
    const std::size_t bands = known > 0 ? known : count;
    const double* in = narrowed.data() + taps.first * bands;
    const double* weights = across.GetWeights(taps, 0);
    for (std::size_t i = 0; i < taps.count; ++i, in += bands)
        for (std::size_t band = 0; band < bands; ++band)
            out[band] += (known > 0 ? weights[i] : across.GetWeights(taps, band)[i]) * in[band];
}

void DegradedRows::MakeAcross(double* out, unsigned char* valid) const {
    const std::size_t bands = GetBands();
    const auto sum = !across.IsOneForAll() ? &DegradedRows::SumAcross<0>
                     : bands == 1          ? &DegradedRows::SumAcross<1>
                     : bands == 3          ? &DegradedRows::SumAcross<3>
                     : bands == 4          ? &DegradedRows::SumAcross<4>
                     : bands == 8          ? &DegradedRows::SumAcross<8>
                                           : &DegradedRows::SumAcross<0>;
    for (std::size_t column = 0; column < across.GetTaps().size(); ++column, out += bands) {
        const GaussianAxis::Taps& taps = across.GetTaps()[column];
        const auto* first = narrowedMask.data() + taps.first;
        valid[column] =
            taps.count > 0 && std::all_of(first, first + taps.count, [](unsigned char has) { return has; });
        if (valid[column]) (this->*sum)(taps, bands, out);
    }
}

bool DegradedRows::ReadNumbers(std::uint32_t first, std::uint32_t end, NumberRows& rows, Status& status) {
    constexpr std::uint32_t rowsAtOnce = 8;
    const std::size_t columns = GetColumns(), bands = GetBands();
    rows.numbers.assign(columns * (end - first) * bands, 0.0);
    rows.valid.assign(columns * (end - first), 0);
    for (std::uint32_t top = first; top < end; top += rowsAtOnce) {
        const std::uint32_t bottom = std::min(top + rowsAtOnce, end);
        std::size_t from = fine.GetRows(), to = 0;
        for (std::uint32_t row = top; row < bottom; ++row) {
            const GaussianAxis::Taps& taps = down.GetTaps()[row];
            if (taps.count == 0) continue;
            from = std::min(from, taps.first);
            to = std::max(to, taps.first + taps.count);
        }
        if (from >= to) continue;
        if (!Hold(from, to, status)) return false;
        for (std::uint32_t row = top; row < bottom; ++row) {
            const GaussianAxis::Taps& taps = down.GetTaps()[row];
            if (taps.count == 0) continue;
            MakeDown(taps);
            const std::size_t at = (row - first) * columns;
            MakeAcross(rows.numbers.data() + at * bands, rows.valid.data() + at);
        }
    }
    return true;
}

bool DegradedRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    if (!ReadNumbers(first, end, numbers, status)) return false;
    rows.samples.resize(numbers.numbers.size());
    std::transform(numbers.numbers.begin(), numbers.numbers.end(), rows.samples.begin(),
                   [](double number) { return static_cast<unsigned short>(std::floor(number + 0.5)); });
    rows.valid = numbers.valid;
    return true;
}

DegradedRows DegradeOnto(RowSource& fineRows, const RasterInfo& fine, const RasterInfo& coarse,
                         const hostkit::PixelRect& part, std::span<const double> transfers) {
    const double stepX = coarse.pixelSizeX / fine.pixelSizeX;
    const double stepY = coarse.pixelSizeY / fine.pixelSizeY;
    const double left = (coarse.xMin - fine.xMin) / fine.pixelSizeX + part.col0 * stepX;
    const double top = (fine.yMax - coarse.yMax) / fine.pixelSizeY + part.row0 * stepY;
    return {fineRows,
            GaussianAxis(GaussianAxis::Regular(part.GetColumns(), stepX, left, fine.cols), stepX, transfers),
            GaussianAxis(GaussianAxis::Regular(part.GetRows(), stepY, top, fine.rows), stepY, transfers)};
}

} // namespace imagery
