#include "fitting/FitBlock.h"

#include "hostkit/PanLowPass.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace fitting {

namespace {

/// If less than this share of the weight lies on usable pixels, there is no mean.
constexpr double leastShare = 0.75;
constexpr double notUsable = std::numeric_limits<double>::quiet_NaN();

/// How pan's pixels lie on those of a block along one axis. Both count from their first pixel.
kernels::GridAxis AxisOf(const GridMap& onPan, std::uint32_t first, std::uint32_t panFirst) {
    return kernels::MakeGridAxis(1.0 / onPan.step, (panFirst - onPan.origin) / onPan.step - first);
}

/// The mean of samples whose weights add up to `share`.
double MeanOf(double sum, double share, double all) {
    return share >= leastShare * all ? sum / share : notUsable;
}

/// The low-pass when the axes are parallel: down first, then across, in exact whole numbers.
std::vector<double> LowPassAlong(const FitBlock& block, double sigma) {
    const std::uint32_t columns = block.rect.GetColumns(), rows = block.rect.GetRows();
    const std::size_t panColumns = block.panRect.GetColumns();
    const kernels::LowPassAxis across(AxisOf(block.onPan.across, block.rect.col0, block.panRect.col0), sigma,
                                      columns, block.panRect.GetColumns());
    const kernels::LowPassAxis down(AxisOf(block.onPan.down, block.rect.row0, block.panRect.row0), sigma,
                                    rows, block.panRect.GetRows());
    const kernels::SimdTarget target = kernels::ChosenSimdTarget();
    const auto weigh = kernels::WeighRowsFor<unsigned short>(target);
    const auto weighUsable = kernels::WeighRowsFor<unsigned char>(target);
    const auto weighAcross = kernels::WeighAcrossFor(target);
    std::vector<std::uint32_t> sums(panColumns + kernels::lowPassGroup), shares(sums.size());
    std::vector<std::uint64_t> rowSums(columns), rowShares(columns);
    std::vector<const unsigned short*> starts;
    std::vector<const unsigned char*> usableStarts;
    std::vector<double> low;
    low.reserve(block.GetCount());
    // If all of pan is usable, the weights of every row add up to the same.
    const bool isWhole = std::memchr(block.panUsable.data(), 0, block.panUsable.size()) == nullptr;
    std::fill(shares.begin(), shares.end(), kernels::lowPassOne);
    weighAcross(across, 0, columns, shares.data(), 0, rowShares.data());
    for (std::uint32_t row = 0; row < rows; ++row) {
        const auto& of = down.GetTaps(row);
        if (of.count == 0) {
            low.insert(low.end(), columns, notUsable);
            continue;
        }
        starts.clear();
        usableStarts.clear();
        for (std::size_t i = of.first; i < of.first + of.count; ++i) {
            starts.push_back(block.pan.data() + i * panColumns);
            usableStarts.push_back(block.panUsable.data() + i * panColumns);
        }
        weigh(starts.data(), down.GetWeights(of), of.count, panColumns, sums.data());
        weighAcross(across, 0, columns, sums.data(), 0, rowSums.data());
        if (!isWhole) {
            weighUsable(usableStarts.data(), down.GetWeights(of), of.count, panColumns, shares.data());
            weighAcross(across, 0, columns, shares.data(), 0, rowShares.data());
        }
        for (std::uint32_t column = 0; column < columns; ++column)
            low.push_back(MeanOf(static_cast<double>(rowSums[column]), static_cast<double>(rowShares[column]),
                                 double{kernels::lowPassOne} * kernels::lowPassOne));
    }
    return low;
}

/// The mean by a circular Gaussian at one position on pan, counted from the corner.
double LowPassAt(const FitBlock& block, double x, double y, double sigma) {
    const double reach = 3.0 * sigma;
    const auto limit = [](double place, std::uint32_t first, std::uint32_t end) {
        return std::clamp<double>(place, first, end);
    };
    const auto& pan = block.panRect;
    const auto col0 = static_cast<std::uint32_t>(limit(std::ceil(x - reach - 0.5), pan.col0, pan.col1));
    const auto col1 = static_cast<std::uint32_t>(limit(std::floor(x + reach + 0.5), pan.col0, pan.col1));
    const auto row0 = static_cast<std::uint32_t>(limit(std::ceil(y - reach - 0.5), pan.row0, pan.row1));
    const auto row1 = static_cast<std::uint32_t>(limit(std::floor(y + reach + 0.5), pan.row0, pan.row1));
    std::vector<double> weights;
    for (std::uint32_t column = col0; column < col1; ++column)
        weights.push_back(std::exp(-0.5 * std::pow((column + 0.5 - x) / sigma, 2.0)));
    double sum = 0.0, share = 0.0, all = 0.0;
    for (std::uint32_t row = row0; row < row1; ++row) {
        const double down = std::exp(-0.5 * std::pow((row + 0.5 - y) / sigma, 2.0));
        const std::size_t first = std::size_t{row - pan.row0} * pan.GetColumns() + (col0 - pan.col0);
        for (std::size_t i = 0; i < weights.size(); ++i) {
            sum += down * weights[i] * block.pan[first + i];
            share += down * weights[i] * block.panUsable[first + i];
            all += down * weights[i];
        }
    }
    return all > 0.0 ? MeanOf(sum, share, all) : notUsable;
}

/// First and end of the blocks along one axis.
std::vector<std::pair<std::uint32_t, std::uint32_t>> Divide(std::uint32_t first, std::uint32_t end,
                                                            std::uint32_t mostBlocks, std::uint32_t side) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> spans;
    const std::uint64_t length = end - first;
    if (length == 0) return spans;
    const std::uint64_t count = std::min<std::uint64_t>((length - 1) / side + 1, mostBlocks);
    const bool coversAll = count * side >= length;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t start = coversAll    ? i * length / count
                                    : count == 1 ? (length - side) / 2
                                                 : i * (length - side) / (count - 1);
        const std::uint64_t stop = coversAll ? (i + 1) * length / count : start + side;
        spans.emplace_back(first + static_cast<std::uint32_t>(start),
                           first + static_cast<std::uint32_t>(stop));
    }
    return spans;
}

struct PanPlace {
    double x = 0.0, y = 0.0;
};

PanPlace PlaceOf(const FitBlock& block, std::size_t pixel) {
    const double column = block.rect.col0 + static_cast<double>(pixel % block.rect.GetColumns()) + 0.5;
    const std::size_t rowOfBlock = pixel / block.rect.GetColumns();
    const double row = block.rect.row0 + static_cast<double>(rowOfBlock) + 0.5;
    const Footprint& on = block.onPan;
    return {on.across.origin + column * on.across.step + row * on.acrossOfRow,
            on.down.origin + row * on.down.step + column * on.downOfColumn};
}

/// Pan pixels per multispectral pixel, averaged over all directions.
double MeanStep(const Footprint& on) {
    return std::sqrt(std::fabs(on.across.step * on.down.step - on.acrossOfRow * on.downOfColumn));
}

} // namespace

std::vector<hostkit::PixelRect> SpreadBlocks(const hostkit::PixelRect& area, double ratio,
                                             const BlockPlan& plan) {
    constexpr double mostPanPixels = 1024.0; // across and down a block
    std::vector<hostkit::PixelRect> blocks;
    if (!(ratio <= mostPanPixels)) return blocks;
    const auto side =
        static_cast<std::uint32_t>(std::clamp(mostPanPixels / ratio, 1.0, static_cast<double>(plan.side)));
    for (const auto& [row0, row1] : Divide(area.row0, area.row1, plan.blocksAcross, side))
        for (const auto& [col0, col1] : Divide(area.col0, area.col1, plan.blocksAcross, side))
            blocks.push_back({col0, row0, col1, row1});
    return blocks;
}

bool FitBlock::FindPan(const KOVA::Tessara::Pixmere::RasterInfo& image) {
    constexpr double margin = 2.0;
    panRect = onPan.FindUnder(rect.col0 - margin, rect.row0 - margin, rect.col1 + margin, rect.row1 + margin,
                              image);
    return !panRect.IsEmpty();
}

void FitBlock::SetPan(std::vector<unsigned short> samplesOfPan, std::vector<unsigned char> usableOnes) {
    pan = std::move(samplesOfPan);
    panUsable = std::move(usableOnes);
    unsigned short* ofPan = pan.data();
    unsigned char* isUsable = panUsable.data();
    for (std::size_t pixel = 0, count = pan.size(); pixel < count; ++pixel) { // no branches, for vectors
        isUsable[pixel] = isUsable[pixel] != 0 ? 1 : 0;
        ofPan[pixel] = static_cast<unsigned short>(ofPan[pixel] * isUsable[pixel]);
    }
}

std::vector<double> FitBlock::LowPass(double transfer) const {
    const double sigma = hostkit::GaussianSigma(transfer);
    if (panRect.IsEmpty()) return std::vector<double>(GetCount(), notUsable);
    if (!onPan.isTurned) return LowPassAlong(*this, sigma);
    std::vector<double> low;
    for (std::size_t pixel = 0; pixel < GetCount(); ++pixel) {
        const PanPlace at = PlaceOf(*this, pixel);
        low.push_back(LowPassAt(*this, at.x, at.y, sigma * MeanStep(onPan)));
    }
    return low;
}

bool FitBlock::IsWithinPan(std::size_t pixel, double around) const {
    const PanPlace at = PlaceOf(*this, pixel);
    const double across = around * (onPan.isTurned ? MeanStep(onPan) : onPan.across.step);
    const double down = around * (onPan.isTurned ? MeanStep(onPan) : onPan.down.step);
    return !panRect.IsEmpty() && at.x - across >= panRect.col0 && at.x + across <= panRect.col1 &&
           at.y - down >= panRect.row0 && at.y + down <= panRect.row1;
}

} // namespace fitting
