#include "imagery/DegradedRows.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace imagery {

using KOVA::Tessara::Pixmere::RasterInfo;
using quality::GaussianAxis;

/// Weights the rows of one coarse row down; the columns stay those of the fine image.
void DegradedRows::MakeDown(const GaussianAxis::Taps& taps) {
    const std::size_t bands = GetBands(), columns = fine.GetSource().GetColumns();
    rowsOfOne.clear();
    samplesOfOne.clear();
    for (std::size_t i = 0; i < taps.count; ++i) {
        rowsOfOne.push_back(fine.Get(taps.first + i));
        samplesOfOne.push_back(rowsOfOne.back().samples);
    }
    narrowed.resize(columns * bands);
    if (down.IsOneForAll())
        sumWeighted(samplesOfOne.data(), down.GetWeights(taps, 0), taps.count, columns * bands,
                    narrowed.data());
    else
        for (std::size_t band = 0; band < bands; ++band) {
            const double* weights = down.GetWeights(taps, band);
            for (std::size_t sample = band; sample < columns * bands; sample += bands) {
                double sum = 0.0;
                for (std::size_t i = 0; i < taps.count; ++i)
                    sum += weights[i] * samplesOfOne[i][sample];
                narrowed[sample] = sum;
            }
        }
    narrowedMask.clear();
    for (const HeldRows::Row& row : rowsOfOne) {
        if (row.isWhole) continue;
        narrowedMask.resize(columns, 1);
        for (std::size_t pixel = 0; pixel < columns; ++pixel)
            narrowedMask[pixel] = row.valid[pixel] != 0 ? narrowedMask[pixel] : 0;
    }
}

/// Weights the columns that a coarse pixel is made of. It has `known` bands, or `count` bands if that is 0.
template <std::size_t known>
void DegradedRows::SumAcross(const GaussianAxis::Taps& taps, std::size_t count, double* out) const {
    const double* in = narrowed.data() + (taps.first - left) * (known > 0 ? known : count);
    if constexpr (known > 0) {
        const double* weights = across.GetWeights(taps, 0);
        std::array<double, known> sums{};
        for (std::size_t i = 0; i < taps.count; ++i, in += known)
            for (std::size_t band = 0; band < known; ++band)
                sums[band] += weights[i] * in[band];
        std::copy_n(sums.begin(), known, out);
    } else
        for (std::size_t i = 0; i < taps.count; ++i, in += count)
            for (std::size_t band = 0; band < count; ++band)
                out[band] += across.GetWeights(taps, band)[i] * in[band];
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
        const auto hasAll = [&] {
            const auto* first = narrowedMask.data() + (taps.first - left);
            return std::all_of(first, first + taps.count, [](unsigned char has) { return has != 0; });
        };
        valid[column] = taps.count > 0 && (narrowedMask.empty() || hasAll());
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
        std::size_t from = fine.GetSource().GetRows(), to = 0;
        for (std::uint32_t row = top; row < bottom; ++row) {
            const GaussianAxis::Taps& taps = down.GetTaps()[row];
            if (taps.count == 0) continue;
            from = std::min(from, taps.first);
            to = std::max(to, taps.first + taps.count);
        }
        if (from >= to) continue;
        if (!fine.Hold(from, to, status)) return false;
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

DegradedAxes AxesOnto(const RasterInfo& fine, const RasterInfo& coarse, const hostkit::PixelRect& part,
                      std::span<const double> transfers) {
    const double stepX = coarse.pixelSizeX / fine.pixelSizeX;
    const double stepY = coarse.pixelSizeY / fine.pixelSizeY;
    const double left = (coarse.xMin - fine.xMin) / fine.pixelSizeX + part.col0 * stepX;
    const double top = (fine.yMax - coarse.yMax) / fine.pixelSizeY + part.row0 * stepY;
    return {GaussianAxis(GaussianAxis::Regular(part.GetColumns(), stepX, left, fine.cols), stepX, transfers),
            GaussianAxis(GaussianAxis::Regular(part.GetRows(), stepY, top, fine.rows), stepY, transfers)};
}

} // namespace imagery
