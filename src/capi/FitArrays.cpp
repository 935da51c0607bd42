#include "capi/FitArrays.h"

#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace capi {

using fitting::FitBlock;
using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;

namespace {

/// Samples of a rectangle of an image as numbers, and which of its pixels have data and are not saturated.
template <class Number>
void ReadNumbers(const InputImage& image, const PixelRect& rect, std::uint32_t saturated,
                 std::vector<Number>& numbers, std::vector<unsigned char>& usable) {
    BlockBuffers buffers;
    const hostkit::SampleBlock block = ReadBlock(image, rect, buffers);
    const std::size_t bands = image.info.bandsPerPixel, perRow = rect.GetColumns() * bands;
    numbers.clear();
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row) {
        const unsigned char* bytes = block.At(rect.col0, row, hostkit::PixelBytes(image.info));
        const auto* words = reinterpret_cast<const unsigned short*>(bytes);
        if (image.info.bitsPerBand == 8)
            numbers.insert(numbers.end(), bytes, bytes + perRow);
        else
            numbers.insert(numbers.end(), words, words + perRow);
    }
    usable.resize(std::size_t{rect.GetColumns()} * rect.GetRows());
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel) {
        const Number* of = numbers.data() + pixel * bands;
        const bool hasData = !block.valid || block.valid[pixel] != 0; // the block covers just the rectangle
        usable[pixel] = hasData && *std::max_element(of, of + bands) < saturated ? 1 : 0;
    }
}

/// Where multispectral pixels lie on another image.
fitting::Footprint FootprintOn(const InputImage& other, const FuseJob& job) {
    const hostkit::AxisPlacement placement(other.info, job.multispectral.info);
    return {placement.FindEdgesAcross(), placement.FindEdgesDown()};
}

/// The means of an image of one band over each pixel of a block of multispectral ones.
class BlockMeans {
public:
    BlockMeans(const InputImage& image, const FuseJob& job, const PixelRect& blockRect)
        : print(FootprintOn(image, job)), block(blockRect) {
        const PixelRect rect = print.FindUnder(block.col0, block.row0, block.col1, block.row1, image.info);
        if (rect.IsEmpty()) return;
        std::vector<unsigned short> samples;
        std::vector<unsigned char> usable;
        ReadNumbers(image, rect, job.largest, samples, usable);
        sums = fitting::AreaSums(rect, samples, usable);
    }

    [[nodiscard]] std::optional<double> At(std::size_t pixel) const {
        const double column = block.col0 + static_cast<double>(pixel % block.GetColumns());
        const std::size_t rowOfBlock = pixel / block.GetColumns();
        const double row = block.row0 + static_cast<double>(rowOfBlock);
        return print.Mean(sums, column, row, column + 1.0, row + 1.0);
    }

private:
    fitting::Footprint print;
    PixelRect block;
    fitting::AreaSums sums;
};

/// The number of bands of all coarse images of a job.
std::size_t CountBands(const FuseJob& job) {
    return job.multispectral.info.bandsPerPixel + (job.infrared ? 1u : 0u);
}

/// Reads the bands of a block; the infrared one comes last.
void ReadBands(const FuseJob& job, const PixelRect& rect, std::vector<double>& samples,
               std::vector<unsigned char>& usable) {
    ReadNumbers(job.multispectral, rect, job.largest, samples, usable);
    if (!job.infrared) return;
    const BlockMeans infrareds(*job.infrared, job, rect);
    const std::size_t bands = CountBands(job);
    std::vector<double> all;
    all.reserve(usable.size() * bands);
    auto next = samples.begin();
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel) {
        const auto end = next + static_cast<std::ptrdiff_t>(bands - 1);
        all.insert(all.end(), next, end);
        next = end;
        const std::optional<double> infrared = infrareds.At(pixel);
        if (!infrared) usable[pixel] = 0;
        all.push_back(infrared.value_or(0.0));
    }
    samples = std::move(all);
}

/// Adds the pixels of a block to the moments.
void AddBlock(const FuseJob& job, const PixelRect& rect, fitting::FitMoments& moments) {
    std::vector<double> samples;
    std::vector<unsigned char> usable;
    ReadBands(job, rect, samples, usable);
    const BlockMeans pans(job.pan, job, rect);
    const double* pixel = samples.data();
    for (std::size_t i = 0; i < usable.size(); ++i, pixel += CountBands(job)) {
        const auto pan = pans.At(i);
        if (!usable[i] || !pan) continue;
        moments.AddBands(pixel);
        moments.AddPan(pixel, *pan);
    }
}

/// Blocks of the images of a job.
class ArrayFitBlocks final : public fitting::FitBlockSource {
public:
    explicit ArrayFitBlocks(const FuseJob& fuseJob) : job(fuseJob), onPan(FootprintOn(job.pan, job)) {}

    [[nodiscard]] std::size_t GetBands() const override { return CountBands(job); }
    [[nodiscard]] std::array<double, 2> GetRatio() const override {
        return {job.multispectral.info.pixelSizeX, job.multispectral.info.pixelSizeY};
    }
    [[nodiscard]] PixelRect GetArea() const override {
        return onPan.FindWhollyOn(hostkit::WholeImage(job.multispectral.info), job.pan.info);
    }
    [[nodiscard]] std::vector<PixelRect> Choose(std::uint32_t blocks, std::uint32_t side) const override {
        return fitting::SpreadBlocks(GetArea(), std::max(GetRatio()[0], GetRatio()[1]), {blocks, side});
    }
    /// The blocks that weights are fitted to.
    [[nodiscard]] std::vector<PixelRect> ChooseUsual() const {
        const fitting::BlockPlan plan;
        return Choose(plan.blocksAcross, plan.side);
    }
    [[nodiscard]] bool Read(const PixelRect& rect, FitBlock& block, Status&) override {
        block.rect = rect;
        block.bands = GetBands();
        block.onPan = onPan;
        ReadBands(job, rect, block.samples, block.usable);
        if (!block.FindPan(job.pan.info)) return true;
        std::vector<unsigned short> pan;
        std::vector<unsigned char> usable;
        ReadNumbers(job.pan, block.panRect, job.largest, pan, usable);
        block.SetPan(std::move(pan), std::move(usable));
        return true;
    }

private:
    const FuseJob& job;
    fitting::Footprint onPan;
};

} // namespace

bool FitArrays(const FuseJob& job, fitting::DetailFit& fit, Status& status) {
    if (job.known.transfer && !job.known.gains.empty() && job.lowPassMean) {
        fit = {};
        fit.transfer = *job.known.transfer;
        fit.gains = job.known.gains;
        fit.areGainsGiven = true;
    } else {
        ArrayFitBlocks blocks(job);
        if (!fitting::FitDetail(blocks, job.known, job.processBands, fit, status)) return false;
    }
    if (job.lowPassMean) fit.lowPassMean = *job.lowPassMean;
    return true;
}

fitting::ShareFit FitWeights(const FuseJob& job) {
    fitting::ShareFit fit;
    const std::size_t bands = CountBands(job);
    fit.obstacle = fitting::FindObstacle(bands);
    if (!fit.obstacle.empty()) return fit;
    fitting::FitMoments moments(bands);
    for (const PixelRect& rect : ArrayFitBlocks(job).ChooseUsual())
        AddBlock(job, rect, moments);
    return fitting::FitShares(moments, bands,
                              job.infrared && job.infraredWeight ? &*job.infraredWeight : nullptr);
}

bool FitShift(const FuseJob& job, std::optional<fitting::Shift>& shift, Status& status) {
    ArrayFitBlocks blocks(job);
    const auto& info = job.multispectral.info;
    return fitting::FitShift(blocks, std::min(info.cols, info.rows), shift, status);
}

} // namespace capi
