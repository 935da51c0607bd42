#include "hostkit/PanLowPass.h"

#include "hostkit/AxisPlacement.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>

namespace hostkit {

using kernels::LowPassAxis;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// The pan pixels that a span of coarse pixels is computed from: first and end.
std::pair<std::uint32_t, std::uint32_t> SpanOf(const LowPassAxis& axis, std::uint32_t first,
                                               std::uint32_t end) {
    std::pair<std::uint32_t, std::uint32_t> span{0, 0};
    for (std::uint32_t i = first; i < end; ++i) {
        const LowPassAxis::Taps& taps = axis.GetTaps(i);
        if (taps.count == 0) continue;
        if (span.second == 0) span.first = taps.first;
        span.second = taps.first + taps.count;
    }
    return span;
}

/// Rows of pan in stretches of columns. For those with gaps also stretches that hold 0 there, and stretches
/// of 1 for pixels with data.
template <class T>
class PanRows {
public:
    PanRows(const SampleBlock& pan, const PixelRect& panRect, kernels::SimdTarget target)
        : block(pan), rect(panRect), weighRows(kernels::WeighRowsFor<T>(target)),
          weighCounts(kernels::WeighRowsFor<unsigned char>(target)) {
        if (!block.valid || rect.IsEmpty()) return;
        const std::size_t columns = rect.GetColumns(), pixels = columns * rect.GetRows();
        cleared = std::make_unique_for_overwrite<T[]>(pixels);
        counts = std::make_unique_for_overwrite<unsigned char[]>(pixels);
        ones.assign(std::min(columns, stretch), 1);
        for (std::uint32_t row = 0; row < rect.GetRows(); ++row)
            for (std::size_t column = 0; column < columns; column += stretch)
                hasGap.push_back(ClearGaps(row, column, std::min(stretch, columns - column)));
    }

    /// Adds up weighted rows for all columns. Where some pixels have no data, also adds up the weights of
    /// those with data; returns true then. Without gaps anywhere `shares` is left as it is, so it must hold
    /// the weights of whole rows.
    bool Weigh(const LowPassAxis::Taps& taps, const std::uint32_t* weights, std::uint32_t* sums,
               std::uint32_t* shares) {
        const std::size_t columns = rect.GetColumns(), length = hasGap.empty() ? columns : stretch;
        const std::size_t stretches = (columns - 1) / length + 1;
        const std::uint32_t first = taps.first - rect.row0;
        bool lacks = false;
        for (std::size_t number = 0; number < stretches; ++number) {
            const std::size_t column = number * length, count = std::min(length, columns - column);
            bool lacksHere = false;
            rows.clear();
            countRows.clear();
            for (std::uint32_t row = first; row < first + taps.count; ++row) {
                const bool isCleared = !hasGap.empty() && hasGap[row * stretches + number] != 0;
                rows.push_back(isCleared ? cleared.get() + row * columns + column : SamplesOf(row) + column);
                countRows.push_back(isCleared ? counts.get() + row * columns + column : ones.data());
                lacksHere = lacksHere || isCleared;
            }
            weighRows(rows.data(), weights, rows.size(), count, sums + column);
            if (lacksHere)
                weighCounts(countRows.data(), weights, countRows.size(), count, shares + column);
            else if (!hasGap.empty())
                std::fill_n(shares + column, count, kernels::lowPassOne);
            lacks = lacks || lacksHere;
        }
        return lacks;
    }

private:
    /// Most stretches have no gap, or are one.
    static constexpr std::size_t stretch = 512;

    /// Makes the other two kinds of a stretch. False when it has no gap.
    bool ClearGaps(std::uint32_t row, std::size_t column, std::size_t count) {
        const unsigned char* valid =
            block.valid + std::size_t{rect.row0 + row - block.rect.row0} * block.rect.GetColumns() +
            (rect.col0 - block.rect.col0) + column;
        if (!std::memchr(valid, 0, count)) return false;
        const T* samples = SamplesOf(row) + column;
        const std::size_t at = row * std::size_t{rect.GetColumns()} + column;
        std::transform(valid, valid + count, counts.get() + at,
                       [](unsigned char has) { return static_cast<unsigned char>(has != 0 ? 1 : 0); });
        std::transform(samples, samples + count, valid, cleared.get() + at,
                       [](T sample, unsigned char has) { return has != 0 ? sample : T{0}; });
        return true;
    }
    [[nodiscard]] const T* SamplesOf(std::uint32_t row) const {
        return reinterpret_cast<const T*>(block.At(rect.col0, rect.row0 + row, sizeof(T)));
    }

    const SampleBlock& block;
    PixelRect rect;
    std::unique_ptr<T[]> cleared;            ///< 0 without data; only stretches with gaps are filled
    std::unique_ptr<unsigned char[]> counts; ///< of those stretches: 1 with data, else 0
    std::vector<unsigned char> ones;         ///< of any other stretch
    std::vector<unsigned char> hasGap;       ///< of each stretch of each row; empty when none has
    std::vector<const T*> rows;
    std::vector<const unsigned char*> countRows;
    kernels::WeighRows<T> weighRows;
    kernels::WeighRows<unsigned char> weighCounts;
};

/// 1 as the sum of all weights.
constexpr std::uint64_t wholeShare = std::uint64_t{kernels::lowPassOne} * kernels::lowPassOne;

/// Rounds the sums of one row when all pixels that its pixels are computed from exist and have data.
template <class T>
void RoundWhole(const std::vector<std::uint64_t>& sums, T* out) {
    std::transform(sums.begin(), sums.end(), out, [](std::uint64_t sum) {
        return static_cast<T>((sum + wholeShare / 2) >> (2 * kernels::lowPassBits));
    });
}

/// Rounds the quotients of the sums of one row and of their weights. True when some pixel has no data.
template <class T>
bool RoundShares(const std::vector<std::uint64_t>& sums, const std::vector<std::uint64_t>& shares, T* out,
                 unsigned char* valid) {
    bool lacks = false;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const std::uint64_t sum = sums[i], share = shares[i];
        valid[i] = share != 0 ? 1 : 0;
        if (share == wholeShare) // the same quotient, by a constant divisor
            out[i] = static_cast<T>((sum + wholeShare / 2) >> (2 * kernels::lowPassBits));
        else
            out[i] = static_cast<T>(share != 0 ? (2 * sum + share) / (2 * share) : 0);
        lacks = lacks || share == 0;
    }
    return lacks;
}

template <class T>
bool ComputeRows(const LowPassAxis& across, const LowPassAxis& down, PanRows<T> pan, const PixelRect& panRect,
                 const PixelRect& rect, kernels::SimdTarget target, T* out, unsigned char* valid) {
    const std::size_t panColumns = panRect.IsEmpty() ? 0 : panRect.GetColumns();
    std::vector<std::uint32_t> sums(panColumns + kernels::lowPassGroup);
    std::vector<std::uint32_t> shares(sums.size(), kernels::lowPassOne);
    std::vector<std::uint64_t> rowSums(rect.GetColumns()), rowShares(rowSums.size());
    const kernels::WeighAcross weighAcross = kernels::WeighAcrossFor(target);
    const auto weigh = [&](const std::vector<std::uint32_t>& from, std::vector<std::uint64_t>& to) {
        weighAcross(across, rect.col0, to.size(), from.data(), panRect.col0, to.data());
    };
    bool isReached = true;
    for (std::uint32_t column = rect.col0; column < rect.col1; ++column)
        isReached = isReached && across.GetTaps(column).count != 0;
    bool lacks = false;
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row) {
        const LowPassAxis::Taps& taps = down.GetTaps(row);
        if (taps.count == 0 || panRect.IsEmpty()) {
            std::fill_n(out, rect.GetColumns(), T{0});
            std::fill_n(valid, rect.GetColumns(), static_cast<unsigned char>(0));
            lacks = true;
        } else {
            const bool hasGaps = pan.Weigh(taps, down.GetWeights(taps), sums.data(), shares.data());
            weigh(sums, rowSums);
            if (!hasGaps && isReached) {
                RoundWhole(rowSums, out);
                std::fill_n(valid, rect.GetColumns(), static_cast<unsigned char>(1));
            } else {
                weigh(shares, rowShares);
                if (RoundShares(rowSums, rowShares, out, valid)) lacks = true;
            }
        }
        out += rect.GetColumns();
        valid += rect.GetColumns();
    }
    return lacks;
}

/// First and end of the coarse pixels along one axis whose Gaussian reaches pan, around those that pan's
/// pixels lie between.
std::pair<std::int64_t, std::int64_t> Covering(const kernels::GridAxis& axis, std::uint32_t panPixels,
                                               double transfer) {
    const double reach = 3.0 * GaussianSigma(transfer);
    const kernels::GridPosition first = kernels::PanToMultispectral(axis, 0);
    const kernels::GridPosition last = kernels::PanToMultispectral(axis, std::int64_t{panPixels} - 1);
    return {first.index + (first.fraction < reach ? 0 : 1),
            last.index + (1.0 - last.fraction < reach ? 2 : 1)};
}

/// The description of those pixels.
RasterInfo CoverPan(const RasterInfo& pan, const RasterInfo& coarse, double transfer) {
    const AxisPlacement placement(pan, coarse);
    const auto [col0, col1] = Covering(placement.GetAcross(), pan.cols, transfer);
    const auto [row0, row1] = Covering(placement.GetDown(), pan.rows, transfer);
    RasterInfo info = coarse;
    info.cols = static_cast<std::uint32_t>(std::max(col1 - col0, std::int64_t{1}));
    info.rows = static_cast<std::uint32_t>(std::max(row1 - row0, std::int64_t{1}));
    info.xMin = coarse.xMin + static_cast<double>(col0) * coarse.pixelSizeX;
    info.yMax = coarse.yMax - static_cast<double>(row0) * coarse.pixelSizeY;
    info.xMax = info.xMin + info.cols * info.pixelSizeX;
    info.yMin = info.yMax - info.rows * info.pixelSizeY;
    info.bandsPerPixel = 1;
    info.bitsPerBand = pan.bitsPerBand;
    info.colorSpace = 0;
    info.bandIds.clear();
    info.bandRecords.clear();
    return info;
}

} // namespace

/// exp(-2 pi^2 sigma^2 f^2) with f = 1/2.
double GaussianSigma(double transfer) { return std::sqrt(-2.0 * std::log(transfer)) / std::numbers::pi; }

PanLowPass::PanLowPass(const RasterInfo& pan, const RasterInfo& coarse, double nyquistTransfer)
    : info(CoverPan(pan, coarse, nyquistTransfer)), transfer(nyquistTransfer),
      across(AxisPlacement(pan, info).GetAcross(), GaussianSigma(transfer), info.cols, pan.cols),
      down(AxisPlacement(pan, info).GetDown(), GaussianSigma(transfer), info.rows, pan.rows) {}

PixelRect PanLowPass::PanRect(const PixelRect& rect) const {
    const auto [col0, col1] = SpanOf(across, rect.col0, rect.col1);
    const auto [row0, row1] = SpanOf(down, rect.row0, rect.row1);
    return {col0, row0, col1, row1};
}

bool PanLowPass::Compute(const SampleBlock& pan, const PixelRect& rect, unsigned char* out,
                         unsigned char* valid) const {
    const PixelRect panRect = PanRect(rect);
    if (info.bitsPerBand == 8)
        return ComputeRows(across, down, PanRows<unsigned char>(pan, panRect, target), panRect, rect, target,
                           out, valid);
    return ComputeRows(across, down, PanRows<unsigned short>(pan, panRect, target), panRect, rect, target,
                       reinterpret_cast<unsigned short*>(out), valid);
}

} // namespace hostkit
