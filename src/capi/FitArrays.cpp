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

/// Samples of a rectangle of an image as numbers, and which of its pixels have data and none that is
/// saturated.
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
        const bool hasData = !block.valid || block.valid[pixel] != 0; // then the block is the rectangle
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
        const PixelRect beneath = print.Beneath(block.col0, block.row0, block.col1, block.row1, image.info);
        if (beneath.IsEmpty()) return;
        std::vector<unsigned short> samples;
        std::vector<unsigned char> usable;
        ReadNumbers(image, beneath, job.largest, samples, usable);
        sums = fitting::AreaSums(beneath, samples, usable);
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

/// Adds the pixels of a block, the infrared band last.
void AddBlock(const FuseJob& job, const PixelRect& rect, fitting::FitMoments& moments) {
    const std::size_t bands = job.multispectral.info.bandsPerPixel;
    std::vector<double> samples, pixel;
    std::vector<unsigned char> usable;
    ReadNumbers(job.multispectral, rect, job.largest, samples, usable);
    const BlockMeans pans(job.pan, job, rect);
    std::optional<BlockMeans> infrareds;
    if (job.infrared) infrareds.emplace(*job.infrared, job, rect);
    for (std::size_t i = 0; i < usable.size(); ++i) {
        const auto pan = pans.At(i);
        const auto infrared = infrareds ? infrareds->At(i) : std::optional(0.0);
        if (!usable[i] || !pan || !infrared) continue;
        const auto first = samples.begin() + static_cast<std::ptrdiff_t>(i * bands);
        pixel.assign(first, first + static_cast<std::ptrdiff_t>(bands));
        if (infrareds) pixel.push_back(*infrared);
        moments.AddBands(pixel.data());
        moments.AddPan(pixel.data(), *pan);
    }
}

/// Blocks of the images of a job.
class ArrayFitBlocks final : public fitting::FitBlockSource {
public:
    explicit ArrayFitBlocks(const FuseJob& fuseJob) : job(fuseJob), onPan(FootprintOn(job.pan, job)) {}

    [[nodiscard]] std::size_t GetBands() const override { return job.multispectral.info.bandsPerPixel; }
    [[nodiscard]] std::array<double, 2> GetRatio() const override {
        return {job.multispectral.info.pixelSizeX, job.multispectral.info.pixelSizeY};
    }
    [[nodiscard]] PixelRect GetArea() const override {
        return onPan.FindWhollyOn(hostkit::WholeImage(job.multispectral.info), job.pan.info);
    }
    [[nodiscard]] std::vector<PixelRect> Choose(std::uint32_t blocks, std::uint32_t side) const override {
        return fitting::SpreadBlocks(GetArea(), std::max(GetRatio()[0], GetRatio()[1]), {blocks, side});
    }
    /// Those that weights are fitted to.
    [[nodiscard]] std::vector<PixelRect> ChooseUsual() const {
        const fitting::BlockPlan plan;
        return Choose(plan.blocksAcross, plan.side);
    }
    [[nodiscard]] bool Read(const PixelRect& rect, FitBlock& block, Status&) override {
        block.rect = rect;
        block.bands = GetBands();
        block.onPan = onPan;
        ReadNumbers(job.multispectral, rect, job.largest, block.samples, block.usable);
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
    const std::size_t bands = job.multispectral.info.bandsPerPixel + (job.infrared ? 1u : 0u);
    fit.obstacle = fitting::FindObstacle(bands);
    if (!fit.obstacle.empty()) return fit;
    fitting::FitMoments moments(bands);
    for (const PixelRect& rect : ArrayFitBlocks(job).ChooseUsual())
        AddBlock(job, rect, moments);
    return fitting::FitShares(moments, bands,
                              job.infrared && job.infraredWeight ? &*job.infraredWeight : nullptr);
}

} // namespace capi
