#include "rasterhost/assessing/DegradedRows.h"

#include <algorithm>

namespace rasterhost {

using KOVA::Tessara::Pixmere::RasterInfo;
using quality::GaussianAxis;

void DegradedRows::MakeAcross(std::size_t sourceRow, std::size_t row, const SampleRows& source) {
    const std::size_t bands = GetBands();
    const std::size_t columns = GetColumns();
    const double* samples = source.samples.data() + sourceRow * fine.GetColumns() * bands;
    const unsigned char* valid = source.valid.data() + sourceRow * fine.GetColumns();
    for (std::size_t column = 0; column < columns; ++column) {
        const GaussianAxis::Taps& taps = across.GetTaps()[column];
        const std::size_t at = row * columns + column;
        const auto* first = valid + taps.first;
        narrowed.valid[at] =
            taps.count > 0 && std::all_of(first, first + taps.count, [](unsigned char has) { return has; });
        if (!narrowed.valid[at]) continue;
        for (std::size_t band = 0; band < bands; ++band) {
            const double* weights = across.GetWeights(taps, band);
            double sum = 0.0;
            for (std::size_t i = 0; i < taps.count; ++i)
                sum += weights[i] * samples[(taps.first + i) * bands + band];
            narrowed.samples[at * bands + band] = sum;
        }
    }
}

void DegradedRows::MakeDown(const GaussianAxis::Taps& taps, std::size_t firstFine, double* out,
                            unsigned char* valid) const {
    const std::size_t bands = GetBands();
    const std::size_t columns = GetColumns();
    std::fill_n(valid, columns, static_cast<unsigned char>(1));
    for (std::size_t i = 0; i < taps.count; ++i) {
        const std::size_t start = (taps.first + i - firstFine) * columns;
        for (std::size_t column = 0; column < columns; ++column)
            if (!narrowed.valid[start + column]) valid[column] = 0;
        for (std::size_t band = 0; band < bands; ++band) {
            const double weight = down.GetWeights(taps, band)[i];
            const double* samples = narrowed.samples.data() + start * bands + band;
            for (std::size_t column = 0; column < columns; ++column)
                out[column * bands + band] += weight * samples[column * bands];
        }
    }
}

bool DegradedRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    const std::size_t columns = GetColumns();
    rows.Resize(columns * (end - first), GetBands());
    std::size_t from = fine.GetRows(), to = 0;
    for (std::uint32_t row = first; row < end; ++row) {
        const GaussianAxis::Taps& taps = down.GetTaps()[row];
        if (taps.count == 0) continue;
        from = std::min(from, taps.first);
        to = std::max(to, taps.first + taps.count);
    }
    if (from >= to) return true;
    narrowed.Resize(columns * (to - from), GetBands());
    SampleRows source;
    const std::uint32_t strip = ChooseStrip(std::uint64_t{fine.GetColumns()} * GetBands());
    for (std::size_t row = from; row < to; row += strip) {
        const std::size_t stop = std::min(row + strip, to);
        if (!fine.Read(static_cast<std::uint32_t>(row), static_cast<std::uint32_t>(stop), source, status))
            return false;
        for (std::size_t i = row; i < stop; ++i)
            MakeAcross(i - row, i - from, source);
    }
    for (std::uint32_t row = first; row < end; ++row) {
        const std::size_t start = (row - first) * columns;
        if (const GaussianAxis::Taps& taps = down.GetTaps()[row]; taps.count > 0)
            MakeDown(taps, from, rows.samples.data() + start * GetBands(), rows.valid.data() + start);
    }
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

} // namespace rasterhost
