#include "capi/AssessArrays.h"

#include "capi/InRounds.h"
#include "capi/JobGaps.h"
#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "imagery/ComparedRows.h"
#include "imagery/PairComparison.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace capi {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

bool ReadAssessed(const char* name, const pansharp_image& given, const pansharp_gaps& gaps,
                  std::uint32_t bits, InputImage& image, Status& status) {
    if (given.pixel_width != 0 || given.pixel_height != 0 || given.offset_x != 0 || given.offset_y != 0)
        return Refuse(status,
                      FormatString("%s.pixel_width, pixel_height, offset_x and offset_y must be 0: both "
                                   "have the same pixels",
                                   name));
    return ReadImage(name, given, bits, image, status) && ReadGapsOf(gaps, image, status) &&
           (!image.gaps.isWhole ||
            Refuse(
                status,
                FormatString("%s_gaps.rules has PANSHARP_COLLAR; collars are found by pansharp_fuse", name)));
}

/// Writes the indices of each band if there is room for them.
void TellBands(const quality::ReferenceIndices& found, pansharp_band_quality* bands) {
    for (std::size_t band = 0; bands && band < found.errors.size(); ++band)
        bands[band] = {found.errors[band].bias, found.errors[band].rmse, found.errors[band].psnr,
                       found.q[band], found.spatialCorrelation[band]};
}

void Tell(const imagery::PairIndices& found, pansharp_pair_quality& quality) {
    TellBands(found.consistency, quality.bands);
    quality = {quality.bands,
               found.consistency.pixels,
               found.consistency.meanQ,
               found.consistency.sam,
               found.consistency.ergas,
               found.pixels,
               found.spectralDistortion,
               found.spatialDistortion,
               found.qnr,
               found.spectralDistortionOfBlur,
               found.hqnr};
}

} // namespace

bool ReadBlur(const double* transfers, std::uint32_t count, double panTransfer, std::uint32_t bands,
              imagery::SensorBlur& blur, Status& status) {
    if (transfers ? count == 0 : count != 0)
        return Refuse(status, "transfers and transfer_count: give both, or neither for 0.3");
    if (transfers) blur.multispectral.assign(transfers, transfers + count);
    if (panTransfer != 0.0) blur.pan = panTransfer;
    const std::string fault = imagery::FindFault(blur, bands);
    return fault.empty() || Refuse(status, fault);
}

pansharp_result AssessArrays(pansharp_assessment& assessment, Status& status) {
    pansharp_assessment& a = assessment;
    InputImage image, reference;
    if (a.bits_per_sample != 8 && a.bits_per_sample != 16) {
        Refuse(status, FormatString("bits_per_sample is %u; give 8 or 16", a.bits_per_sample));
        return PANSHARP_BAD_ARGUMENT;
    }
    if (!ReadAssessed("image", a.image, a.image_gaps, a.bits_per_sample, image, status) ||
        !ReadAssessed("reference", a.reference, a.reference_gaps, a.bits_per_sample, reference, status))
        return PANSHARP_BAD_ARGUMENT;
    const auto& own = image.info;
    if (own.cols != reference.info.cols || own.rows != reference.info.rows ||
        own.bandsPerPixel != reference.info.bandsPerPixel || !(a.ratio >= 0.0 && std::isfinite(a.ratio))) {
        Refuse(status,
               "image and reference must have the same columns, rows and bands, and ratio be a number of 0 "
               "or more");
        return PANSHARP_BAD_ARGUMENT;
    }
    imagery::ComparedRows rows;
    rows.image = std::make_unique<imagery::ImageRows>(std::make_unique<ArraySource>(image));
    rows.reference = std::make_unique<imagery::ImageRows>(std::make_unique<ArraySource>(reference));
    quality::Comparison all(own.cols, own.bandsPerPixel);
    for (std::uint32_t row = 0; row < own.rows;) {
        const std::uint32_t end = row + std::min(imagery::comparedRows, own.rows - row);
        const auto part = imagery::ComparePart(rows, row, end, status);
        if (!part) return PANSHARP_FAILED;
        all.Append(*part);
        row = end;
    }
    const quality::ReferenceIndices found =
        all.Find(a.ratio != 0.0 ? a.ratio : std::numeric_limits<double>::quiet_NaN());
    a.pixels = found.pixels;
    a.q = found.meanQ;
    a.sam = found.sam;
    a.ergas = found.ergas;
    TellBands(found, a.bands);
    if (found.pixels != 0) return PANSHARP_OK;
    Refuse(status, "the images have no pixel with data in both; there is nothing to assess");
    return PANSHARP_BAD_ARGUMENT;
}

pansharp_result AssessPairArrays(const FuseJob& job, pansharp_pair_assessment& assessment, Status& status) {
    const auto& fine = job.pan.info;
    const auto& coarse = job.multispectral.info;
    InputImage image;
    imagery::SensorBlur blur;
    if (!ReadAssessed("image", assessment.image, assessment.image_gaps, fine.bitsPerBand, image, status) ||
        !ReadBlur(assessment.transfers, assessment.transfer_count, assessment.pan_transfer,
                  coarse.bandsPerPixel, blur, status))
        return PANSHARP_BAD_ARGUMENT;
    double ratio = assessment.ratio;
    if (image.info.cols != fine.cols || image.info.rows != fine.rows ||
        image.info.bandsPerPixel != coarse.bandsPerPixel ||
        !(ratio == 0.0 || (ratio >= 1.0 && std::isfinite(ratio)))) {
        Refuse(status,
               "image must have the columns and rows of pan and the bands of multispectral, and ratio "
               "be a number of 1 or more, or 0");
        return PANSHARP_BAD_ARGUMENT;
    }
    if (ratio == 0.0)
        ratio = std::sqrt(coarse.pixelSizeX / fine.pixelSizeX * (coarse.pixelSizeY / fine.pixelSizeY));
    const hostkit::AxisPlacement placement(fine, coarse);
    imagery::PairComparison comparison({fine, coarse, placement, blur, ratio});
    const auto open = [&](Status&) {
        imagery::PairImages images;
        images.fused = std::make_unique<ArraySource>(image);
        images.pan = std::make_unique<ArraySource>(job.pan);
        images.multispectral = std::make_unique<ArraySource>(job.multispectral);
        return images;
    };
    const std::uint32_t threads = job.threads != 0 ? job.threads : std::thread::hardware_concurrency();
    const auto inParts = [threads](std::size_t parts, const auto& openOne, const auto& make, const auto& take,
                                   Status& reasons) {
        return InRounds(threads, parts, openOne, make, take, reasons);
    };
    if (!comparison.Run(open, inParts, status)) return PANSHARP_FAILED;
    const std::vector<imagery::PairIndices> found = comparison.Find();
    if (found.empty()) {
        Refuse(status, "no multispectral pixel has data around it in all images; there is nothing to assess");
        return PANSHARP_BAD_ARGUMENT;
    }
    Tell(found[0], assessment.fused);
    Tell(found[1], assessment.upsampled);
    return PANSHARP_OK;
}

} // namespace capi
