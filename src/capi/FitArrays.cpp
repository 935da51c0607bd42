#include "capi/FitArrays.h"

#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace capi {

using fitting::FitBlock;
using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;

namespace {

/// Samples of a rectangle of an image as numbers, and which of its pixels have none that is saturated.
template <class Number>
void ReadNumbers(const InputImage& image, const PixelRect& rect, std::vector<Number>& numbers,
                 std::vector<unsigned char>& usable) {
    std::vector<unsigned short> buffer;
    const hostkit::SampleBlock block = MakeBlock(image.samples, image.layout, rect, buffer);
    const std::size_t bands = image.info.bandsPerPixel, perRow = rect.GetColumns() * bands;
    const unsigned saturated = (1u << image.info.bitsPerBand) - 1;
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
        usable[pixel] = *std::max_element(of, of + bands) < saturated ? 1 : 0;
    }
}

/// Blocks of the images of a job.
class ArrayFitBlocks final : public fitting::FitBlockSource {
public:
    explicit ArrayFitBlocks(const FuseJob& fuseJob) : job(fuseJob) {
        const hostkit::AxisPlacement placement(job.pan.info, job.multispectral.info);
        onPan = {placement.FindEdgesAcross(), placement.FindEdgesDown()};
    }

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
    [[nodiscard]] bool Read(const PixelRect& rect, FitBlock& block, Status&) override {
        block.rect = rect;
        block.bands = GetBands();
        block.onPan = onPan;
        ReadNumbers(job.multispectral, rect, block.samples, block.usable);
        if (!block.FindPan(job.pan.info)) return true;
        std::vector<unsigned short> pan;
        std::vector<unsigned char> usable;
        ReadNumbers(job.pan, block.panRect, pan, usable);
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

} // namespace capi
