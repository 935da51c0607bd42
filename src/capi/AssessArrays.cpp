#include "capi/AssessArrays.h"

#include "capi/JobGaps.h"
#include "fundament/Text.h"
#include "imagery/ComparedRows.h"

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

} // namespace

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
    for (std::size_t band = 0; a.bands && band < own.bandsPerPixel; ++band)
        a.bands[band] = {found.errors[band].bias, found.errors[band].rmse, found.errors[band].psnr,
                         found.q[band], found.spatialCorrelation[band]};
    if (found.pixels != 0) return PANSHARP_OK;
    Refuse(status, "the images have no pixel with data in both; there is nothing to assess");
    return PANSHARP_BAD_ARGUMENT;
}

} // namespace capi
