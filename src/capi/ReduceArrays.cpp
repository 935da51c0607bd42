#include "capi/ReduceArrays.h"

#include "capi/AssessArrays.h"
#include "capi/JobGaps.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"
#include "imagery/PairReduction.h"

#include <array>

namespace capi {

using imagery::HeldImage;
using imagery::ImageRows;
using KOVA::Tessara::Fundament::Status;

namespace {

/// Writes a reduced image to the caller's memory.
bool Hand(HeldImage& image, void* samples, unsigned char* valid, Status& status) {
    const hostkit::PixelRect all = hostkit::WholeImage(image.GetInfo());
    auto* bytes = static_cast<unsigned char*>(samples);
    return image.Read(all, bytes, status) && image.ReadValid(all, bytes, valid, status);
}

/// Marks where results are compared: where the truth, pan and all pixels of a cubic interpolation have data.
bool HandCompared(HeldImage& truth, HeldImage& pan, HeldImage& coarse, unsigned char* valid, Status& status) {
    const hostkit::AxisPlacement placement(pan.GetInfo(), coarse.GetInfo());
    ImageRows truthRows(truth), panRows(pan);
    imagery::UpsampledRows cubic(coarse, placement, hostkit::WholeImage(pan.GetInfo()),
                                 hostkit::Resampling::Cubic, false);
    imagery::MaskedRows onPan(truthRows, panRows), compared(onPan, cubic);
    imagery::SampleRows rows;
    return imagery::ForStrips(compared, [&](std::uint32_t first, std::uint32_t end) {
        if (!compared.Read(first, end, rows, status)) return false;
        for (const unsigned char has : rows.valid)
            *valid++ = has != 0 ? 255 : 0;
        return true;
    });
}

} // namespace

pansharp_result ReduceArrays(FuseJob& job, pansharp_reduction& r, Status& status) {
    const auto& ms = job.multispectral.info;
    imagery::SensorBlur blur;
    if (!ReadBlur(r.transfers, r.transfer_count, r.pan_transfer, ms.bandsPerPixel, blur, status))
        return PANSHARP_BAD_ARGUMENT;
    const imagery::PairReduction reduction(job.pan.info, ms);
    if (!reduction.GetObstacle().empty()) {
        Refuse(status, reduction.GetObstacle());
        return PANSHARP_BAD_ARGUMENT;
    }
    const double ratioX = reduction.GetRatioX(), ratioY = reduction.GetRatioY();
    const std::array<std::uint32_t, 4> sizes = {reduction.GetColumns(), reduction.GetRows(),
                                                static_cast<std::uint32_t>(reduction.GetColumns() / ratioX),
                                                static_cast<std::uint32_t>(reduction.GetRows() / ratioY)};
    const std::array<std::uint32_t, 4> known = {r.columns, r.rows, r.coarse_columns, r.coarse_rows};
    r.columns = sizes[0];
    r.rows = sizes[1];
    r.coarse_columns = sizes[2];
    r.coarse_rows = sizes[3];
    r.ratio_x = ratioX;
    r.ratio_y = ratioY;
    const std::array<const void*, 6> places = {r.pan,       r.multispectral,       r.truth,
                                               r.pan_valid, r.multispectral_valid, r.truth_valid};
    if (places == std::array<const void*, 6>{}) return PANSHARP_OK;
    for (const void* place : places)
        if (!place || known != sizes) {
            Refuse(status, "reduction: give memory for all samples and masks, or for none; a call with none "
                           "finds the sizes");
            return PANSHARP_BAD_ARGUMENT;
        }
    if (!FindCollars(job, status)) return PANSHARP_BAD_ARGUMENT;
    HeldImage pan("pan", sizes[0], sizes[1], 1, ms.bitsPerBand, 1.0, 1.0);
    HeldImage truth("truth", sizes[0], sizes[1], ms.bandsPerPixel, ms.bitsPerBand, 1.0, 1.0);
    HeldImage coarse("multispectral", sizes[2], sizes[3], ms.bandsPerPixel, ms.bitsPerBand, ratioX, ratioY);
    ArraySource panSource(job.pan), multispectralSource(job.multispectral);
    for (const imagery::PairReduction::Window& window : reduction.GetWindows()) {
        imagery::DegradedRows seen = reduction.ReducePan(panSource, window, blur.pan);
        ImageRows taken(multispectralSource, window.taken);
        if (!pan.Put(seen, window.column, window.row, status) ||
            !truth.Put(taken, window.column, window.row, status))
            return PANSHARP_FAILED;
    }
    ImageRows truthRows(truth);
    imagery::DegradedRows coarser = reduction.ReduceTruth(truthRows, blur.multispectral);
    const bool isDone = coarse.Put(coarser, 0, 0, status) && Hand(pan, r.pan, r.pan_valid, status) &&
                        Hand(coarse, r.multispectral, r.multispectral_valid, status) &&
                        Hand(truth, r.truth, r.truth_valid, status) &&
                        HandCompared(truth, pan, coarse, r.truth_valid, status);
    return isDone ? PANSHARP_OK : PANSHARP_FAILED;
}

} // namespace capi
